#include "diagnosis/Comparison.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <unordered_map>

namespace TrafficPolicyCli::Diagnosis {

using PolicyMap::PolicyMapSubConfig;

namespace {

constexpr std::string_view changeKeys[] = {"added", "removed", "changed"};
constexpr U32 nowhere = ~U32{0};

// Marks the members of a longest ascending run of distinct numbers.
std::vector<bool> longestRun(const std::vector<U32>& numbers) {
    std::vector<std::size_t> ends;  // by length less one, where the run with the lowest end ends
    std::vector<std::size_t> before(numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto end = std::ranges::lower_bound(
            ends, numbers[i], {}, [&](std::size_t place) { return numbers[place]; });
        before[i] = end == ends.begin() ? i : *(end - 1);
        if (end == ends.end()) {
            ends.push_back(i);
        } else {
            *end = i;
        }
    }
    std::vector<bool> isMember(numbers.size());
    if (ends.empty()) return isMember;
    for (std::size_t i = ends.back();; i = before[i]) {
        isMember[i] = true;
        if (before[i] == i) return isMember;
    }
}

std::vector<Rule> rulesOf(const PolicyMapSubConfig* version) {
    std::vector<Rule> rules;
    if (version == nullptr) return rules;
    rules.reserve(version->classPriority().size());
    forEachRule(*version, [&](const Rule& rule) { rules.push_back(rule); });
    return rules;
}

// Compares the rules of one policy.
class RuleComparison {
  public:
    RuleComparison(const std::vector<Rule>& before, const std::vector<Rule>& after)
        : before_(before), after_(after), formerPlaces_(after.size(), nowhere) {
        findFormerPlaces();
    }

    std::vector<RuleChange> changes() const {
        std::vector<RuleChange> changes;
        const std::vector<bool> isMoved = movedRules();
        for (U32 place = 0; place < after_.size(); ++place) {
            const U32 former = formerPlaces_[place];
            RuleChange change{.rule = after_[place].name, .placeAfter = place + 1};
            if (former == nowhere) {
                change.change = Change::added;
            } else {
                textout::checkInterrupt();
                change.placeBefore = former + 1;
                change.isMoved = isMoved[place];
                change.difference = differenceOf(before_[former], after_[place]);
                if (!change.isMoved && change.difference.isNone()) continue;
            }
            changes.push_back(std::move(change));
        }
        std::vector<bool> stays(before_.size());
        for (const U32 former : formerPlaces_) {
            if (former != nowhere) stays[former] = true;
        }
        for (U32 place = 0; place < before_.size(); ++place) {
            if (stays[place]) continue;
            changes.push_back(
                {.rule = before_[place].name, .change = Change::removed, .placeBefore = place + 1});
        }
        return changes;
    }

  private:
    // Rules mostly follow each other as before, so each is looked for behind the last one first.
    void findFormerPlaces() {
        std::unordered_map<std::string_view, U32> places;
        U32 next = 0;
        for (U32 place = 0; place < after_.size(); ++place) {
            const std::string_view name = after_[place].name;
            if (next >= before_.size() || before_[next].name != name) {
                if (places.empty()) {
                    places.reserve(before_.size());
                    for (U32 i = 0; i < before_.size(); ++i) places[before_[i].name] = i;
                }
                const auto found = places.find(name);
                if (found == places.end()) continue;
                next = found->second;
            }
            formerPlaces_[place] = next++;
        }
    }

    // By place after.
    std::vector<bool> movedRules() const {
        std::vector<U32> common;
        for (const U32 former : formerPlaces_) {
            if (former != nowhere) common.push_back(former);
        }
        const std::vector<bool> stays = longestRun(common);
        std::vector<bool> isMoved(after_.size());
        std::size_t i = 0;
        for (std::size_t place = 0; place < after_.size(); ++place) {
            if (formerPlaces_[place] != nowhere) isMoved[place] = !stays[i++];
        }
        return isMoved;
    }

    const std::vector<Rule>& before_;
    const std::vector<Rule>& after_;
    std::vector<U32> formerPlaces_;  // by place after
};

const PolicyMap::PolicyMapConfig* configOf(const DiagnosisSources& sources,
                                           const Orb::String& policy) {
    return sources.config ? sources.config->policyMapConfig(policy) : nullptr;
}

PolicyChange comparePolicy(const PolicyMap::PolicyMapConfig* before,
                           const PolicyMap::PolicyMapConfig* after) {
    const auto* const versionBefore = before == nullptr ? nullptr : before->currCfg().get();
    const auto* const versionAfter = after == nullptr ? nullptr : after->currCfg().get();
    const std::vector<Rule> rulesBefore = rulesOf(versionBefore);
    const std::vector<Rule> rulesAfter = rulesOf(versionAfter);
    PolicyChange change{.change = before == nullptr  ? Change::added
                                  : after == nullptr ? Change::removed
                                                     : Change::changed,
                        .rulesBefore = rulesBefore.size(),
                        .rulesAfter = rulesAfter.size()};
    // What a policy had that came or went as a whole is told by its size.
    if (change.change != Change::changed) return change;
    change.rules = RuleComparison(rulesBefore, rulesAfter).changes();
    static const Orb::RbTreeSet<Orb::Name> none;
    const auto& countersBefore = versionBefore == nullptr ? none : versionBefore->namedCounter();
    const auto& countersAfter = versionAfter == nullptr ? none : versionAfter->namedCounter();
    std::ranges::set_difference(countersAfter, countersBefore,
                                std::back_inserter(change.countersAdded));
    std::ranges::set_difference(countersBefore, countersAfter,
                                std::back_inserter(change.countersRemoved));
    return change;
}

bool isNone(const PolicyChange& change) {
    return change.change == Change::changed && change.rules.empty() &&
           change.countersAdded.empty() && change.countersRemoved.empty();
}

}  // namespace

std::string_view keyOf(Change change) { return changeKeys[static_cast<std::size_t>(change)]; }

PolicyChanges comparePolicies(const DiagnosisSources& before, const DiagnosisSources& after,
                              const Orb::String& onlyPolicy) {
    std::set<std::string_view> names;
    for (const DiagnosisSources* const sources : {&before, &after}) {
        if (!sources->config) continue;
        for (const auto& [name, config] : sources->config->policyMapConfig()) {
            if (onlyPolicy.empty() || name == onlyPolicy) names.insert(name);
        }
    }
    PolicyChanges changes;
    for (const std::string_view view : names) {
        const Orb::String name(view);
        PolicyChange change = comparePolicy(configOf(before, name), configOf(after, name));
        if (!isNone(change)) changes.emplace(name, std::move(change));
    }
    return changes;
}

namespace {

// What a point is compared by, in the order in which people count.
struct PointLess {
    bool operator()(const std::pair<Place, Orb::String>& a,
                    const std::pair<Place, Orb::String>& b) const {
        const auto rank = [](Place place) { return place == Place::output ? Place::input : place; };
        if (rank(a.first) != rank(b.first)) return rank(a.first) < rank(b.first);
        if (const auto order = naturalOrder(a.second, b.second); order != 0) return order < 0;
        return a.first < b.first;
    }
};

// What both states have at one point, by policy; null: it is not there.
struct AtPoint {
    std::map<Orb::String, std::array<const Attachment*, 2>, NaturalLess> policies;
};
using PointsOfStates = std::map<std::pair<Place, Orb::String>, AtPoint, PointLess>;

// Enters the attachments of one of the states; an empty policy stands for all.
void addPoints(const std::vector<Attachment>& found, std::size_t state,
               const Orb::String& onlyPolicy, PointsOfStates& points) {
    for (const Attachment& attachment : found) {
        if (!onlyPolicy.empty() && attachment.policy != onlyPolicy) continue;
        points[{attachment.place, attachment.point}].policies[attachment.policy].at(state) =
            &attachment;
    }
}

// What the platform told of an attachment, which may be null; notAsked when it told nothing.
Installed installedIn(const Attachments& state, const Attachment* attachment, MatchOption family,
                      Target target) {
    if (attachment == nullptr) return {};
    Installed installed = state.installed(*attachment, family, target);
    if (!state.isReported(installed, *attachment, family, target)) return {};
    return installed;
}

void addInstallations(const std::array<const Attachments*, 2>& states, const Orb::String& policy,
                      const std::array<const Attachment*, 2>& at, PlaceChanges& changes) {
    const Attachment& any = at[0] != nullptr ? *at[0] : *at[1];
    const Attachments& oneWithMore = *states[states[0]->hasKernel() ? 0 : 1];
    for (const Target target : oneWithMore.targetsAt(any.place)) {
        for (const MatchOption family : PolicyMap::matchOptions) {
            const Installed before = installedIn(*states[0], at[0], family, target);
            const Installed after = installedIn(*states[1], at[1], family, target);
            if (before.outcome == after.outcome && before.reason == after.reason) continue;
            changes.installations.push_back(
                {policy, any.place, any.point, target, family, before, after});
        }
    }
}

}  // namespace

PlaceChanges comparePlaces(const DiagnosisSources& before, const DiagnosisSources& after,
                           const Orb::String& onlyPolicy) {
    const Attachments attachmentsBefore(before);
    const Attachments attachmentsAfter(after);
    const std::array<const Attachments*, 2> states = {&attachmentsBefore, &attachmentsAfter};
    const std::vector<Attachment> allBefore = attachmentsBefore.all();
    const std::vector<Attachment> allAfter = attachmentsAfter.all();
    PointsOfStates points;
    addPoints(allBefore, 0, onlyPolicy, points);
    addPoints(allAfter, 1, onlyPolicy, points);
    PlaceChanges changes;
    for (const auto& [point, at] : points) {
        AttachmentChange change{point.first, point.second, {}, {}};
        for (const auto& [policy, pair] : at.policies) {
            if (pair[0] != nullptr && pair[0]->isConfigured) change.before.push_back(policy);
            if (pair[1] != nullptr && pair[1]->isConfigured) change.after.push_back(policy);
            addInstallations(states, policy, pair, changes);
        }
        if (change.before != change.after) changes.attachments.push_back(std::move(change));
    }
    return changes;
}

}  // namespace TrafficPolicyCli::Diagnosis
