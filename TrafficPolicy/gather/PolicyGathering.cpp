// The gathering that all kinds share: the walk over the policies, and per policy its configuration,
// its status and its rules. A rule's index is its place among the rules that the platform took.
#include "frame/Trace.h"
#include "gather/FieldSetReferences.h"
#include "gather/Walk.h"
#include "orb/Assert.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

using PolicyMap::ClassMapMatch;
using PolicyMap::ClassMapStatus;
using PolicyMap::PolicyMapStatus;
using PolicyMap::PolicyMapSubConfig;

void ShowTrafficPolicyBase::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    inputCounterHelperIs(createCounterStatusHelper(true));
    if (!status()) return;
    walkByKey(status()->policyMapStatus(),
              [this](const Orb::String& name) { cachePolicyState(name); });
}

Orb::Ptr<const PolicyMapStatus> ShowTrafficPolicyBase::getPolicyMapStatus(
    const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return status() ? status()->policyMapStatus(policyName) : nullptr;
}

void ShowTrafficPolicyBase::cachePolicyMapStatus(
    const Orb::Ptr<const PolicyMapStatus>& policyStatus) {
    SHOW_TRACE_ENTRY();
    if (!policyStatus) return;
    getOrCreatePolicyState(policyStatus->name())->policyMapStatusInputIs(policyStatus);
}

void ShowTrafficPolicyBase::cacheClassMapStatus(const Orb::String& policyName, U32 index,
                                                const Orb::Ptr<const ClassMapStatus>& cmapStatus) {
    SHOW_TRACE_ENTRY();
    if (!cmapStatus) return;
    getOrCreatePolicyState(policyName)->classMapStatusInputIs(index, cmapStatus);
}

void ShowTrafficPolicyBase::cachePolicyState(const Orb::String& policyName) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << policyName);
    const Orb::Ptr<PolicyState> policyState = getOrCreatePolicyState(policyName);
    policyState->countersPerInterfaceIs(status() && status()->countersPerInterface());
    showFlagsInto(*policyState);
    const PolicyMap::PolicyMapConfig* const policyMapConfig =
        config() ? config()->policyMapConfig(policyName) : nullptr;
    policyState->policyMapConfigIs(policyMapConfig);
    const Orb::Ptr<const PolicyMapStatus> policyStatus = getPolicyMapStatus(policyName);
    ORB_ASSERT(policyStatus);
    cachePolicyMapStatus(policyStatus);
    if (policyMapConfig == nullptr) {
        SHOW_TRACE(7, "PolicyMapConfig not found for " << policyName);
        return;
    }
    const Orb::Ptr<const PolicyMapSubConfig> currCfg = policyMapConfig->currCfg();
    if (!currCfg) {
        SHOW_TRACE(7, "currCfg not found for " << policyName);
        return;
    }
    for (const Orb::String& counterName : currCfg->namedCounter()) {
        policyState->namedCounterIs(counterName, true);
    }
    cacheClassState(currCfg);
    cacheIntfStatus(policyStatus);
    policyState->matchOptionListIs(MatchOption::ipv4);
    policyState->matchOptionListIs(MatchOption::ipv6);
    for (const MatchOption option : policyState->matchOptionList()) {
        cacheInstalledState(policyStatus, option);
        cacheInstallError(policyStatus, option);
    }
    cacheCounters(policyName);
    policyState->counterIs(counter());
}

const TrafficPolicy::Status* ShowTrafficPolicyBase::nextDirectionStatus() const { return nullptr; }

const RuleStatuses& ShowTrafficPolicyBase::gatheredRules(const PolicyState&) const {
    static const RuleStatuses none;
    return none;
}

void ShowTrafficPolicyBase::gatheredRulesAre(PolicyState&, RuleStatuses) const {}

void ShowTrafficPolicyBase::showFlagsInto(PolicyState& policyState) const {
    policyState.summaryIs(summary());
    policyState.errorsIs(errors());
    policyState.detailIs(detail());
    policyState.indentCountPerLevelIs(3U);
}

namespace {

// The rule names of a version, by ascending priority. Copied, because the version may go when a
// step of the walk over the rules gives up the activity lock.
std::vector<Orb::String> ruleOrder(const PolicyMapSubConfig& currCfg) {
    std::vector<Orb::String> names;
    names.reserve(currCfg.classPriority().size());
    for (const auto& [priority, name] : currCfg.classPriority()) names.push_back(name);
    return names;
}

// Says whether a rule status gives the rule a match option. Several are a broken invariant.
bool hasMatchOption(const ClassMapStatus* cmapStatus) {
    if (cmapStatus == nullptr) return false;
    if (cmapStatus->matchs() == 1) return true;
    ORB_ASSERT(cmapStatus->matchs() == 0);
    return false;
}

void traceMissing(const ClassMapStatus* cmapStatus, const Orb::String& className) {
    if (cmapStatus == nullptr) {
        SHOW_TRACE(7, "ClassMapStatus not found for " << className);
    } else {
        SHOW_TRACE(1, "No match option status found for " << className);
    }
}

// The record of a rule in a map by rule name; null when it has none. The maps of a policy are
// mostly filled in the order of the rules, so the rule's place is the likely position.
template <class Records>
auto* recordOf(const Records& records, const Orb::String& className, U32 place) {
    const auto* const record = records.find(className, place);
    return record == nullptr ? nullptr : record->get();
}

// The configured match of a rule for the option that the platform took it under, or an empty one.
Orb::Ptr<const ClassMapMatch> matchOf(const PolicyMapSubConfig& currCfg,
                                      const Orb::String& className, U32 place, MatchOption option) {
    const auto* const classConfig = recordOf(currCfg.classMap(), className, place);
    const ClassMapMatch* const match =
        classConfig != nullptr ? classConfig->match(option) : nullptr;
    if (match == nullptr) return Orb::make<ClassMapMatch>(className, option);
    SHOW_TRACE(7, "Found class match config for " << className << ", " << option);
    return match;
}

// The rules that the pass over the other direction has left in a record, by name. What the platform
// reports may have changed since, and their numbers with it.
class GatheredRules {
  public:
    GatheredRules(const PolicyState& policyState, const RuleStatuses& statuses)
        : matches_(policyState.classMapConfig()), statuses_(statuses) {}

    // The status of a rule; null when it has none. index: where it is likely to be.
    Orb::Ptr<const ClassMapStatus> statusOf(const Orb::String& className, U32 index) {
        if (statuses_.empty()) return nullptr;
        const auto* const match = matches_.find(index);
        if (match != nullptr && *match && (*match)->name() == className) {
            const auto* const status = statuses_.find(index);
            return status == nullptr ? nullptr : *status;
        }
        if (byName_.empty()) {
            for (const auto& status : statuses_) {
                if (status) byName_.is(status->name(), status);
            }
        }
        const auto* const found = byName_.find(className);
        return found == nullptr ? nullptr : *found;
    }

  private:
    Orb::Array<Orb::Ptr<const ClassMapMatch>> matches_;
    RuleStatuses statuses_;
    Orb::HashMap2018<Orb::String, Orb::Ptr<const ClassMapStatus>> byName_;  // made when needed
};

}  // namespace

void ShowTrafficPolicyBase::cacheClassState(const Orb::Ptr<const PolicyMapSubConfig>& currCfg) {
    SHOW_TRACE_ENTRY();
    const Orb::String& policyName = currCfg->name();
    const Orb::Ptr<PolicyState> policyState = getOrCreatePolicyState(policyName);
    const Orb::Ptr<const PolicyMapStatus> policyStatus = getPolicyMapStatus(policyName);
    ORB_ASSERT(policyStatus);
    const TrafficPolicy::Status* const nextStatus = nextDirectionStatus();
    const Orb::Ptr<const PolicyMapStatus> nextPolicyStatus =
        nextStatus != nullptr ? nextStatus->policyMapStatus(policyName) : nullptr;
    GatheredRules gathered(*policyState, gatheredRules(*policyState));
    RuleStatuses renumbered;
    policyState->classMapConfigDelAll();

    const std::vector<Orb::String> classNames = ruleOrder(*currCfg);
    U32 index = 0;
    U32 place = 0;  // of the rule in the policy
    for (const Orb::String& className : classNames) {
        const U32 at = place++;
        const Orb::Ptr<const ClassMapStatus> cmapStatus =
            recordOf(policyStatus->classMapStatus(), className, at);
        const bool hasStatus = hasMatchOption(cmapStatus.get());
        if (!hasStatus) traceMissing(cmapStatus.get(), className);
        const Orb::Ptr<const ClassMapStatus> otherCmapStatus =
            nextPolicyStatus ? recordOf(nextPolicyStatus->classMapStatus(), className, at)
                             : gathered.statusOf(className, index);
        // A rule that only the other direction took keeps its index here, as a hole.
        if (!hasStatus && !hasMatchOption(otherCmapStatus.get())) continue;

        const MatchOption option = *(hasStatus ? *cmapStatus : *otherCmapStatus).match().begin();
        Orb::Ptr<const ClassMapMatch> match = matchOf(*currCfg, className, at, option);
        SHOW_TRACE(7, "Caching " << index << " " << className << " " << option);
        if (hasStatus) cacheClassMapStatus(policyName, index, cmapStatus);
        if (!nextPolicyStatus && otherCmapStatus) renumbered.is(index, otherCmapStatus);
        if (!policyState->undefinedFieldSet() && match->structuredFilter().namesFieldSets() &&
            refersToUndefinedFieldSet(*match, fieldSetConfig().get())) {
            policyState->undefinedFieldSetIs(true);
        }
        policyState->classMapConfigIs(index, std::move(match));
        cacheCountAction(recordOf(currCfg->policyAction(), className, at), className, *policyState);
        ++index;
    }
    SHOW_TRACE(4, "ruleCount " << index << ", total class count " << classNames.size());
    gatheredRulesAre(*policyState, std::move(renumbered));
    policyState->ruleCountIs(index);
}

void ShowTrafficPolicyBase::cacheCountAction(const PolicyMap::PolicyClassAction* actions,
                                             const Orb::String& className,
                                             PolicyState& policyState) const {
    if (actions == nullptr) return;
    const PolicyMap::Action* const action = actions->action(PolicyMap::ActionType::count);
    if (action == nullptr) return;
    const Orb::String& counterName =
        static_cast<const PolicyMap::CountAction*>(action)->counterName();
    if (counterName.empty() || policyState.namedCounter(counterName) != nullptr) return;
    SHOW_TRACE(1, "Class: " << className << " " << counterName);
    policyState.undefinedCounterIs(true);
}

}  // namespace TrafficPolicyCli
