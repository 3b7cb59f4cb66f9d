#include "diagnosis/QuickPolicy.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

QuickPolicy::QuickPolicy(const CompiledPolicy& policy) : policy_(policy) {
    bounds_.resize(policy.size());
    for (U32 rule = 0; rule < policy.size(); ++rule) {
        for (std::size_t i = 0; i < keyFields.size(); ++i) {
            bounds_[rule][i] = boundsOf(policy.rule(rule), keyFields[i]);
        }
    }
}

// The bounds of what every clause allows; those of one clause hold all of its alternatives.
QuickPolicy::Bounds QuickPolicy::boundsOf(const CompiledRule& rule, Field field) {
    U64 low = 0;
    U64 high = ~U64{0};
    for (const Clause& clause : rule.clauses) {
        U64 lowest = ~U64{0};
        U64 highest = 0;
        for (const Alternative& alternative : clause.alternatives) {
            const auto criterion = std::ranges::find(alternative, field, &Criterion::field);
            if (criterion == alternative.end()) {
                lowest = 0;
                highest = ~U64{0};
            } else if (!criterion->values->empty()) {
                lowest = std::min(lowest, criterion->values->intervals().front().low.high);
                highest = std::max(highest, criterion->values->intervals().back().high.high);
            }
        }
        low = std::max(low, lowest);
        high = std::min(high, highest);
    }
    // What nothing can meet is found out when it is asked.
    return low <= high ? Bounds{low, high - low} : Bounds{};
}

// The values of a packet in the fields that are looked at first.
class QuickPolicy::Keys {
  public:
    explicit Keys(const Packet& packet) {
        for (std::size_t i = 0; i < keyFields.size(); ++i) {
            const bool isKnown = packet.isKnown(keyFields[i]);
            values_[i] = isKnown ? packet.value(keyFields[i]).high : 0;
            anyWidth_[i] = isKnown ? 0 : ~U64{0};
        }
    }
    bool mayMeet(const RuleBounds& bounds) const {
        bool all = true;
        for (std::size_t i = 0; i < keyFields.size(); ++i) {
            all = all & (values_[i] - bounds[i].low <= (bounds[i].width | anyWidth_[i]));
        }
        return all;
    }

  private:
    std::array<U64, keyFields.size()> values_{};
    std::array<U64, keyFields.size()> anyWidth_{};  // of a field that is not known
};

inline RuleResult QuickPolicy::ask(U32 rule, const Keys& keys, const Packet& packet) const {
    return keys.mayMeet(bounds_[rule]) ? askCompiled(policy_.rule(rule), packet)
                                       : RuleResult::noMatch;
}

QuickPolicy::Result QuickPolicy::decide(const Packet& packet, std::vector<U32>& decidedBy) const {
    decidedBy.clear();
    const Keys keys(packet);
    for (U32 rule = 0; rule < policy_.size();) {
        const RuleResult result = ask(rule, keys, packet);
        if (result == RuleResult::depends) return Result::depends;
        if (result == RuleResult::noMatch) {
            ++rule;
            continue;
        }
        decidedBy.push_back(rule);
        const CompiledRule& compiled = policy_.rule(rule);
        if (compiled.drops) return Result::dropped;
        if (compiled.next == CompiledRule::endsAsking) {
            return compiled.doesOther ? Result::taken : Result::forwarded;
        }
        if (compiled.doesOther) return Result::depends;
        rule = compiled.next;
    }
    return Result::forwarded;
}

}  // namespace TrafficPolicyCli::Diagnosis
