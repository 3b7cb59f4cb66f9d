#include "diagnosis/Matching.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

namespace {

// What a criterion, an alternative or a clause says: holds, does not, or depends.
RuleResult ask(const Criterion& criterion, const Packet& packet, const Narrowed& narrowed) {
    if (packet.isKnown(criterion.field)) {
        return criterion.values->contains(packet.value(criterion.field)) ? RuleResult::match
                                                                         : RuleResult::noMatch;
    }
    const ValueSet& possible = narrowed.values(criterion.field);
    if (!criterion.values->meets(possible)) return RuleResult::noMatch;
    return criterion.values->containsAll(possible) ? RuleResult::match : RuleResult::depends;
}

struct AlternativeAnswer {
    RuleResult result = RuleResult::match;
    std::size_t failedAt = 0;
};

AlternativeAnswer ask(const Alternative& alternative, const Packet& packet,
                      const Narrowed& narrowed) {
    AlternativeAnswer answer;
    for (std::size_t i = 0; i < alternative.size(); ++i) {
        const RuleResult result = ask(alternative[i], packet, narrowed);
        if (result == RuleResult::noMatch) return {result, i};
        if (result == RuleResult::depends) answer.result = result;
    }
    return answer;
}

RuleResult ask(const Clause& clause, const Packet& packet, const Narrowed& narrowed) {
    RuleResult result = RuleResult::noMatch;
    for (const Alternative& alternative : clause.alternatives) {
        const RuleResult one = ask(alternative, packet, narrowed).result;
        if (one == RuleResult::match) return one;
        if (one == RuleResult::depends) result = one;
    }
    return result;
}

// Of each criterion by itself; so a rule may be said to depend that always, or never, holds.
RuleResult ask(const CompiledRule& rule, const Packet& packet, const Narrowed& narrowed) {
    RuleResult result = rule.asksOther ? RuleResult::depends : RuleResult::match;
    for (const Clause& clause : rule.clauses) {
        const RuleResult one = ask(clause, packet, narrowed);
        if (one == RuleResult::noMatch) return one;
        if (one == RuleResult::depends) result = one;
    }
    return result;
}

// What failed in a clause of which every alternative fails: that of the alternative which came
// furthest.
Field failedCriterion(const Clause& clause, const Packet& packet, const Narrowed& narrowed) {
    Field failed = clause.asked;
    std::size_t furthest = 0;
    for (const Alternative& alternative : clause.alternatives) {
        const std::size_t at = ask(alternative, packet, narrowed).failedAt;
        if (at < furthest) continue;
        failed = alternative[at].asked;
        furthest = at + 1;
    }
    return failed;
}

// That a field of a layer-4 header is asked for says that the packet is to have one.
void leaveOutImplied(FieldMask& fields) {
    for (const bool isInner : {false, true}) {
        for (const Field field : {Field::sourcePort, Field::destinationPort, Field::tcpFlags,
                                  Field::icmpType, Field::icmpCode}) {
            if (fields.contains(fieldAt(field, isInner))) {
                fields.del(fieldAt(Field::fragment, isInner));
            }
        }
    }
}

void addOpenFields(const Alternative& alternative, const Packet& packet, const Narrowed& narrowed,
                   FieldMask& fields) {
    if (ask(alternative, packet, narrowed).result != RuleResult::depends) return;
    for (const Criterion& criterion : alternative) {
        if (ask(criterion, packet, narrowed) == RuleResult::depends) fields.is(criterion.field);
    }
}

FieldMask openFields(const CompiledRule& rule, const Packet& packet, const Narrowed& narrowed) {
    FieldMask fields;
    if (rule.asksOther) fields.is(Field::otherCriteria);
    for (const Clause& clause : rule.clauses) {
        if (ask(clause, packet, narrowed) != RuleResult::depends) continue;
        for (const Alternative& alternative : clause.alternatives) {
            addOpenFields(alternative, packet, narrowed, fields);
        }
    }
    leaveOutImplied(fields);
    return fields;
}

using Ways = std::vector<Narrowed>;

void append(Ways& to, Ways& from) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

// Splits a way by an alternative: where it holds, and where its first, second, ... criterion fails.
// Returns false, with nothing changed, when it holds nowhere.
bool split(const Narrowed& way, const Alternative& alternative, const Packet& packet, Ways& holds,
           Ways& fails) {
    if (ask(alternative, packet, way).result == RuleResult::noMatch) return false;
    Narrowed rest = way;
    Ways failing;
    for (const Criterion& criterion : alternative) {
        if (packet.isKnown(criterion.field)) continue;
        const ValueSet& possible = rest.values(criterion.field);
        ValueSet held = possible.intersected(*criterion.values);
        // Two criteria of one field may each leave something and together nothing.
        if (held.empty()) return false;
        ValueSet other = possible.without(*criterion.values);
        if (!other.empty()) {
            failing.push_back(rest);
            failing.back().is(criterion.field, std::move(other));
        }
        rest.is(criterion.field, std::move(held));
    }
    holds.push_back(std::move(rest));
    append(fails, failing);
    return true;
}

struct SplitWays {
    Ways holds;
    Ways fails;
    std::size_t failedClause = 0;  // when it holds nowhere: the first clause that it fails by
};

// Splits a way by a clause: its first alternative takes what it can, the next one of the rest.
void split(Narrowed way, const Clause& clause, const Packet& packet, Ways& holds, Ways& fails) {
    Ways rest;
    rest.push_back(std::move(way));
    for (const Alternative& alternative : clause.alternatives) {
        Ways next;
        for (Narrowed& open : rest) {
            if (!split(open, alternative, packet, holds, next)) next.push_back(std::move(open));
        }
        rest = std::move(next);
    }
    append(fails, rest);
}

SplitWays split(const Narrowed& way, const CompiledRule& rule, const Packet& packet) {
    SplitWays result;
    result.holds.push_back(way);
    for (std::size_t i = 0; i < rule.clauses.size() && !result.holds.empty(); ++i) {
        Ways holds;
        for (Narrowed& before : result.holds) {
            split(std::move(before), rule.clauses[i], packet, holds, result.fails);
        }
        result.holds = std::move(holds);
        result.failedClause = i;
    }
    return result;
}

RuleAnswer answerOf(const CompiledPolicy& policy, U32 index, const Packet& packet) {
    const CompiledRule& rule = policy.rule(index);
    const Narrowed& narrowed = packet.narrowed();
    RuleAnswer answer{index, rule.asksOther ? RuleResult::depends : RuleResult::match, {}, {}};
    for (const Clause& clause : rule.clauses) {
        const RuleResult result = ask(clause, packet, narrowed);
        if (result == RuleResult::noMatch) {
            return {index, result, failedCriterion(clause, packet, narrowed), {}};
        }
        if (result == RuleResult::depends) answer.result = result;
    }
    if (answer.result == RuleResult::match) return answer;
    // Alternatives may cover together what each leaves open, and clauses exclude each other.
    const SplitWays ways = split(narrowed, rule, packet);
    if (ways.holds.empty()) {
        const Clause& failed = rule.clauses[ways.failedClause];
        return {index, RuleResult::noMatch, failed.asked, {}};
    }
    if (ways.fails.empty() && !rule.asksOther) return {index, RuleResult::match, {}, {}};
    answer.dependsOn = openFields(rule, packet, narrowed);
    return answer;
}

// Follows the ways of a packet through a policy, rule by rule.
class Asking {
  public:
    Asking(const CompiledPolicy& policy, const Packet& packet, const MatchingLimits& limits)
        : policy_(policy), packet_(packet), limits_(limits) {
        ways_.push_back({packet.narrowed(), {}, 0, false, {}});
    }

    PolicyAnswer run() {
        for (U32 rule = 0; !ways_.empty(); ++rule) {
            if (rule >= policy_.size()) {
                for (Way& way : ways_) end(std::move(way), Verdict::forwarded);
                break;
            }
            if (isWaitedFor(rule)) askNext(rule);
        }
        for (Ending& ending : answer_.endings) leaveOutImplied(ending.hangsOn);
        return std::move(answer_);
    }

  private:
    struct Way {
        Narrowed narrowed;
        std::vector<U32> decidedBy;
        U32 next;
        bool redirects;
        FieldMask hangsOn;  // beyond what it is narrowed to
    };

    bool isWaitedFor(U32 rule) const {
        return std::ranges::any_of(ways_, [rule](const Way& way) { return way.next == rule; });
    }

    void askNext(U32 rule) {
        answer_.rules.push_back(answerOf(policy_, rule, packet_));
        const RuleAnswer& alone = answer_.rules.back();
        // What the packet as a whole does not do, no way of it does.
        if (alone.result == RuleResult::noMatch) {
            for (Way& way : ways_) way.next += way.next == rule ? 1 : 0;
            return;
        }
        std::vector<Way> ways = std::move(ways_);
        ways_.clear();
        for (Way& way : ways) {
            if (way.next != rule) {
                ways_.push_back(std::move(way));
            } else if (alone.result == RuleResult::match) {
                hold(std::move(way), rule);
            } else {
                follow(std::move(way), rule);
            }
        }
        if (!answer_.isExact) unite();
    }

    void follow(Way way, U32 rule) {
        const CompiledRule& compiled = policy_.rule(rule);
        if (answer_.isExact) {
            ++steps_;
            if (steps_ > limits_.steps || ways_.size() > limits_.ways) answer_.isExact = false;
        }
        const RuleResult result = ask(compiled, packet_, way.narrowed);
        if (result == RuleResult::match) return hold(std::move(way), rule);
        if (result == RuleResult::noMatch) {
            ++way.next;
            return ways_.push_back(std::move(way));
        }
        if (!answer_.isExact) {
            way.hangsOn |= openFields(compiled, packet_, way.narrowed);
            Way held = way;
            hold(std::move(held), rule);
            ++way.next;
            return ways_.push_back(std::move(way));
        }
        SplitWays split = Diagnosis::split(way.narrowed, compiled, packet_);
        if (compiled.asksOther && !split.holds.empty()) way.hangsOn.is(Field::otherCriteria);
        for (Narrowed& narrowed : split.holds) {
            hold({std::move(narrowed), way.decidedBy, rule, way.redirects, way.hangsOn}, rule);
        }
        // It may fail by what is not known of it, whatever the fields.
        if (compiled.asksOther) {
            ++way.next;
            return ways_.push_back(std::move(way));
        }
        for (Narrowed& narrowed : split.fails) {
            ways_.push_back(
                {std::move(narrowed), way.decidedBy, rule + 1, way.redirects, way.hangsOn});
        }
    }

    // The rule holds on the way.
    void hold(Way way, U32 rule) {
        const CompiledRule& compiled = policy_.rule(rule);
        way.decidedBy.push_back(rule);
        way.redirects = way.redirects || compiled.redirects;
        way.next = compiled.next;
        if (compiled.doesOther) {
            way.hangsOn.is(Field::otherAction);
            end(way, Verdict::dropped);
        }
        if (compiled.drops) return end(std::move(way), Verdict::dropped);
        if (way.next == CompiledRule::endsAsking) return end(std::move(way), Verdict::forwarded);
        ways_.push_back(std::move(way));
    }

    // With what it is narrowed to.
    FieldMask hangsOnOf(const Way& way) const {
        FieldMask hangsOn = way.hangsOn;
        for (const Narrowed::Entry& entry : way.narrowed.entries()) {
            if (entry.values != packet_.narrowed().values(entry.field)) hangsOn.is(entry.field);
        }
        return hangsOn;
    }

    void end(Way way, Verdict verdict) {
        const FieldMask hangsOn = hangsOnOf(way);
        for (const Ending& known : answer_.endings) {
            if (known.verdict != verdict || known.decidedBy != way.decidedBy) continue;
            answer_.endings[static_cast<std::size_t>(&known - answer_.endings.data())].hangsOn |=
                hangsOn;
            return;
        }
        if (answer_.endings.size() >= limits_.endings) {
            answer_.isComplete = false;
            return;
        }
        answer_.endings.push_back({verdict, way.redirects && verdict != Verdict::dropped,
                                   std::move(way.decidedBy), hangsOn});
    }

    // Of ways at the same rule that the same rules have decided so far one goes on, narrowed to
    // nothing but what the packet says. It hangs on what any of them does.
    void unite() {
        std::vector<Way> united;
        for (Way& way : ways_) {
            way.hangsOn = hangsOnOf(way);
            way.narrowed = packet_.narrowed();
            const auto same = std::ranges::find_if(united, [&way](const Way& other) {
                return other.next == way.next && other.decidedBy == way.decidedBy;
            });
            if (same != united.end()) {
                same->hangsOn |= way.hangsOn;
                continue;
            }
            if (united.size() >= limits_.ways) {
                answer_.isComplete = false;
                break;
            }
            united.push_back(std::move(way));
        }
        ways_ = std::move(united);
    }

    const CompiledPolicy& policy_;
    const Packet& packet_;
    const MatchingLimits limits_;
    PolicyAnswer answer_;
    std::vector<Way> ways_;
    U32 steps_ = 0;
};

}  // namespace

RuleAnswer askRule(const CompiledPolicy& policy, U32 rule, const Packet& packet) {
    return answerOf(policy, rule, packet);
}

RuleResult askCompiled(const CompiledRule& rule, const Packet& packet) {
    return ask(rule, packet, packet.narrowed());
}

PolicyAnswer askPolicy(const CompiledPolicy& policy, const Packet& packet,
                       const MatchingLimits& limits) {
    return Asking(policy, packet, limits).run();
}

}  // namespace TrafficPolicyCli::Diagnosis
