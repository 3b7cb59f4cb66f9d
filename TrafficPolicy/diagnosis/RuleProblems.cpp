// What is wrong with the rules of a policy: those that the platform did not take or does not
// report, and those whose words name nothing, lead nowhere or contradict each other.
#include <algorithm>
#include <array>
#include <unordered_map>

#include "diagnosis/FieldSets.h"
#include "diagnosis/Problems.h"
#include "diagnosis/RuleWalk.h"

namespace TrafficPolicyCli::Diagnosis {

using PolicyMap::ActionType;
using PolicyMap::PolicyMapSubConfig;

namespace {

constexpr std::size_t optionCount = 4;

// A side on which a policy is configured and known to the platform.
struct KnownSide {
    Orb::String label;
    const PolicyMap::PolicyMapStatus* status;
    U32 taken = 0;  // how many of its rules are configured
};

struct RedirectAction {
    ActionType type;
    std::string_view text;
};
constexpr RedirectAction redirects[] = {
    {ActionType::redirectNexthop, "a redirect to next hops"},
    {ActionType::redirectNexthopGroup, "a redirect to next-hop groups"},
    {ActionType::setAggGroup, "a redirect to tool interfaces"},
};
// What never happens beside a drop, apart from the redirects.
constexpr RedirectAction forwards[] = {
    {ActionType::setVrf, "a change of the VRF"},
    {ActionType::gotoMatch, "a goto"},
};

class RuleProblems {
  public:
    RuleProblems(const DiagnosisSources& sources, const Attachments& attachments,
                 const PolicyMapSubConfig& version, const PolicyAttachments& ofPolicy,
                 std::vector<Problem>& problems)
        : sources_(sources), version_(version), problems_(problems) {
        sides_ = knownSides(attachments, ofPolicy);
    }

    void find() {
        forEachRule(version_, [this](const Rule& rule) {
            place_ = rule.place;
            findNotTaken(rule);
            if (rule.config != nullptr) {
                for (const auto& [option, match] : rule.config->match()) {
                    if (match) findInMatch(rule, *match);
                }
            }
            if (rule.actions != nullptr && !rule.actions->action().empty()) findInActions(rule);
        });
        for (const KnownSide& side : sides_) findRemoved(side);
    }

  private:
    std::vector<KnownSide> knownSides(const Attachments& attachments,
                                      const PolicyAttachments& ofPolicy) const {
        constexpr struct {
            Place place;
            Target target;
            std::string_view label;
        } rows[] = {{Place::input, Target::hardware, "interface input"},
                    {Place::output, Target::hardware, "interface output"},
                    {Place::cpu, Target::hardware, "the CPU in hardware"},
                    {Place::cpu, Target::kernel, "the CPU in the kernel"},
                    {Place::vlan, Target::hardware, "VLANs"}};
        std::vector<KnownSide> sides;
        for (const auto& row : rows) {
            const auto& status = attachments.sideOf(row.place, row.target).status;
            const auto* const policy = status ? status->policyMapStatus(version_.name()) : nullptr;
            if (policy == nullptr) continue;
            // The kernel need not tell what it took.
            if (row.target == Target::kernel && policy->classMapStatus().empty()) continue;
            const bool isAttached = std::ranges::any_of(ofPolicy, [&](const auto* attachment) {
                return attachment->isConfigured && attachment->place == row.place;
            });
            if (isAttached) sides.push_back({Orb::String(row.label), policy});
        }
        return sides;
    }

    void add(ProblemKind kind, const Orb::String& rule, const Orb::String& text,
             std::optional<MatchOption> family = std::nullopt) {
        problems_.push_back({.kind = kind,
                             .text = "rule " + rule +
                                     (family ? " " + Orb::String(matchOptionName(*family)) : "") +
                                     ": " + text,
                             .rule = rule,
                             .family = family,
                             .order = place_});
    }

    void findNotTaken(const Rule& rule) {
        if (rule.config == nullptr || rule.config->match().empty()) return;
        Orb::String notTaken;  // the sides
        Orb::String notReported;
        const auto addTo = [](Orb::String& labels, const Orb::String& label) {
            labels += (labels.empty() ? "" : ", ") + label;
        };
        for (KnownSide& side : sides_) {
            const auto* const status =
                recordOf(side.status->classMapStatus(), rule.name, rule.place);
            if (status == nullptr) {
                addTo(notReported, side.label);
                continue;
            }
            ++side.taken;
            if (status->matchs() == 0) {
                addTo(notTaken, side.label);
                continue;
            }
            const MatchOption option = *status->match().begin();
            if (rule.config->match().contains(option)) continue;
            add(ProblemKind::ruleNotTaken, rule.name,
                "the platform took it as " + Orb::String(matchOptionName(option)) + " on " +
                    side.label + ", which it is not");
        }
        // A rule of one family says which.
        const bool isOfOne = rule.config->match().size() == 1;
        const auto tell = [&](ProblemKind kind, const char* what, const Orb::String& labels) {
            if (labels.empty()) return;
            add(kind, rule.name, what + labels,
                isOfOne ? std::optional(rule.config->match().begin()->key) : std::nullopt);
        };
        tell(ProblemKind::ruleNotTaken, "not taken by the platform on ", notTaken);
        tell(ProblemKind::ruleNotReported, "not reported by the platform on ", notReported);
    }

    void findRemoved(const KnownSide& side) {
        if (side.taken == side.status->classMapStatus().size()) return;
        std::vector<Orb::String> removed;
        for (const auto& [name, status] : side.status->classMapStatus()) {
            if (status && status->matchs() > 0 && !version_.classMap().contains(name)) {
                removed.push_back(name);
            }
        }
        std::ranges::sort(removed, NaturalLess());
        for (const Orb::String& name : removed) {
            add(ProblemKind::removedRule, name,
                "not configured, but the platform has it on " + side.label);
        }
    }

    void findInMatch(const Rule& rule, const PolicyMap::ClassMapMatch& match) {
        forEachFieldSet(
            match, [&](FieldSetKind kind, std::string_view criterion, const Orb::String& name) {
                const FieldSetContents contents = contentsOf(sources_.fieldSetConfig, kind, name);
                if (contents == FieldSetContents::some) return;
                const bool isUndefined = contents == FieldSetContents::undefined;
                const Orb::String what = contents == FieldSetContents::none ? " is empty"
                                         : isUndefined                      ? " is not configured"
                                                       : " has no current version";
                add(isUndefined ? ProblemKind::undefinedFieldSet : ProblemKind::emptyFieldSet,
                    rule.name,
                    Orb::String(criterion) + ": " + Orb::String(labelOf(kind)) + " field set " +
                        name + what,
                    match.option());
            });
        for (const Orb::String& why : impossibleCriteria(match)) {
            add(ProblemKind::criterionCannotHold, rule.name, why, match.option());
        }
    }

    void findInActions(const Rule& rule) {
        const auto& actions = rule.actions->action();
        if (const auto* const count = actionOf<PolicyMap::CountAction>(rule, ActionType::count)) {
            const Orb::String& name = count->counterName();
            if (!name.empty() && !version_.namedCounter().contains(name)) {
                add(ProblemKind::undefinedCounter, rule.name,
                    "counter " + name + " is not declared by the policy");
            }
        }
        if (actions.size() > 1) findContradictions(rule);
        if (!actions.contains(ActionType::drop)) findGoto(rule);
        if (const auto* const set = actionOf<PolicyMap::SetVrfAction>(rule, ActionType::setVrf)) {
            findVrf(rule, set->vrfName());
        }
        if (const auto* const redirect =
                actionOf<PolicyMap::RedirectNexthopAction>(rule, ActionType::redirectNexthop)) {
            findVrf(rule, redirect->vrfName());
        }
    }

    void findVrf(const Rule& rule, const L3::VrfName& vrf) {
        if (vrf.empty() || vrfExists(sources_, vrf)) return;
        add(ProblemKind::unknownVrf, rule.name, "VRF " + vrf + " does not exist");
    }

    void findContradictions(const Rule& rule) {
        const auto& actions = rule.actions->action();
        std::vector<std::string_view> redirected;
        for (const auto& [type, text] : redirects) {
            if (actions.contains(type)) redirected.push_back(text);
        }
        if (actions.contains(ActionType::drop)) {
            std::vector<std::string_view> beside = redirected;
            for (const auto& [type, text] : forwards) {
                if (actions.contains(type)) beside.push_back(text);
            }
            for (const std::string_view text : beside) {
                add(ProblemKind::contradictingActions, rule.name,
                    "drop beside " + Orb::String(text));
            }
        } else if (redirected.size() > 1) {
            add(ProblemKind::contradictingActions, rule.name,
                Orb::String(redirected[0]) + " beside " + Orb::String(redirected[1]));
        }
    }

    void findGoto(const Rule& rule) {
        const auto* const action = actionOf<PolicyMap::GotoAction>(rule, ActionType::gotoMatch);
        if (action == nullptr) return;
        const Orb::String& target = action->matchName();
        U32 from = rule.place + 1;  // where asking goes on
        if (!target.empty()) {
            const auto place = placeOf(target);
            if (!place) {
                add(ProblemKind::gotoNowhere, rule.name,
                    "goto leads to rule " + target + ", which does not exist");
                return;
            }
            if (*place <= rule.place) {
                add(ProblemKind::gotoBack, rule.name,
                    *place == rule.place ? "goto leads to the rule itself"
                                         : "goto leads back to rule " + target);
                return;
            }
            from = *place;
        }
        if (rule.config == nullptr) return;
        for (const auto& entry : rule.config->match()) {
            if (lastPlaceOf(entry.key) > from) continue;
            const Orb::String family(matchOptionName(entry.key));
            add(ProblemKind::gotoNowhere, rule.name,
                target.empty() ? "goto leads to the next " + family + " rule, and there is none"
                               : "goto leads to rule " + target + ", and no " + family +
                                     " rule is there or behind it",
                entry.key);
        }
    }

    std::optional<U32> placeOf(const Orb::String& name) {
        if (places_.empty()) {
            U32 place = 0;
            for (const auto& [priority, rule] : version_.classPriority()) places_[rule] = place++;
        }
        const auto found = places_.find(name);
        return found == places_.end() ? std::nullopt : std::optional(found->second);
    }

    // The place of the last rule of a family, from 1.
    U32 lastPlaceOf(MatchOption option) {
        if (!lastPlaces_) {
            lastPlaces_.emplace();
            forEachRule(version_, [this](const Rule& rule) {
                if (rule.config == nullptr) return;
                for (const auto& entry : rule.config->match()) {
                    lastPlaces_->at(static_cast<std::size_t>(entry.key)) = rule.place + 1;
                }
            });
        }
        return lastPlaces_->at(static_cast<std::size_t>(option));
    }

    const DiagnosisSources& sources_;
    const PolicyMapSubConfig& version_;
    std::vector<Problem>& problems_;
    std::vector<KnownSide> sides_;
    U32 place_ = 0;                                           // of the rule that is looked at
    std::optional<std::array<U32, optionCount>> lastPlaces_;  // once asked for
    std::unordered_map<std::string_view, U32> places_;
};

}  // namespace

void addRuleProblems(const DiagnosisSources& sources, const Attachments& attachments,
                     const PolicyMapSubConfig& version, const PolicyAttachments& ofPolicy,
                     std::vector<Problem>& problems) {
    RuleProblems(sources, attachments, version, ofPolicy, problems).find();
}

}  // namespace TrafficPolicyCli::Diagnosis
