#include "gather/PolicyGathering.h"

#include "frame/Trace.h"
#include "gather/FieldSetReferences.h"
#include "gather/Walk.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using PolicyMap::ClassMapMatch;
using PolicyMap::ClassMapStatus;
using PolicyMap::PolicyMapStatus;
using PolicyMap::PolicyMapSubConfig;

void copyShowFlags(const ShowTrafficPolicyBase& show, PolicyState& record) {
    record.summaryIs(show.summary());
    record.errorsIs(show.errors());
    record.detailIs(show.detail());
    record.indentCountPerLevelIs(3U);
}

void gatherPolicies(ShowTrafficPolicyBase& show, const TrafficPolicy::Status* status) {
    if (status == nullptr) return;
    walkByKey(status->policyMapStatus(),
              [&](const Orb::String& name) { show.cachePolicyState(name); });
}

namespace {

// What follows from the version of a policy and from its status.
void gatherVersion(ShowTrafficPolicyBase& show, PolicyState& record,
                   const Orb::Ptr<const PolicyMapSubConfig>& currCfg,
                   const Orb::Ptr<const PolicyMapStatus>& policyStatus) {
    for (const Orb::Name& counterName : currCfg->namedCounter()) {
        record.namedCounterIs(counterName, true);
    }
    show.cacheClassState(currCfg);
    show.cacheIntfStatus(policyStatus);
    record.matchOptionListIs(MatchOption::ipv4);
    record.matchOptionListIs(MatchOption::ipv6);
    for (const MatchOption option : record.matchOptionList()) {
        show.cacheInstalledState(policyStatus, option);
        show.cacheInstallError(policyStatus, option);
    }
    show.cacheCounters(record.name());
    record.counterIs(show.counter());
}

}  // namespace

void gatherPolicy(ShowTrafficPolicyBase& show, const Orb::String& policyName) {
    const Orb::Ptr<PolicyState> policyState = show.getOrCreatePolicyState(policyName);
    policyState->countersPerInterfaceIs(show.status() && show.status()->countersPerInterface());
    copyShowFlags(show, *policyState);
    const PolicyMap::PolicyMapConfig* const policyMapConfig =
        show.config() ? show.config()->policyMapConfig(policyName) : nullptr;
    policyState->policyMapConfigIs(policyMapConfig);
    const Orb::Ptr<const PolicyMapStatus> policyStatus = show.getPolicyMapStatus(policyName);
    ORB_ASSERT(policyStatus);
    show.cachePolicyMapStatus(policyStatus);
    if (policyMapConfig == nullptr) {
        SHOW_TRACE(7, "PolicyMapConfig not found for " << policyName);
        return;
    }
    const Orb::Ptr<const PolicyMapSubConfig> currCfg = policyMapConfig->currCfg();
    if (!currCfg) {
        SHOW_TRACE(7, "currCfg not found for " << policyName);
        return;
    }
    gatherVersion(show, *policyState, currCfg, policyStatus);
}

namespace {

// Says whether a rule status gives the rule a match option. Several are a broken invariant.
bool hasMatchOption(const ClassMapStatus* cmapStatus) {
    if (cmapStatus == nullptr) return false;
    if (cmapStatus->matchs() == 1) return true;
    ORB_ASSERT(cmapStatus->matchs() == 0);
    return false;
}

void traceMissing(const ClassMapStatus* cmapStatus, const Orb::Name& className) {
    if (cmapStatus == nullptr) {
        SHOW_TRACE(7, "ClassMapStatus not found for " << className);
    } else {
        SHOW_TRACE(1, "No match option status found for " << className);
    }
}

// The record of a rule in a map by rule name; null when it has none. The maps of a policy are
// mostly filled in the order of the rules, so the rule's place is the likely position.
template <class Records>
auto* recordOf(const Records& records, const Orb::Name& className, U32 place) {
    const auto* const record = records.find(className, place);
    return record == nullptr ? nullptr : record->get();
}

// The record of a rule in a map that was filled in the order of the rules; null beyond its end.
template <class Records>
auto* recordAt(const Records& records, U32 place) {
    return place < records.size() ? (records.begin() + place)->value.get() : nullptr;
}

// Fetches what gathering a rule some places on looks at.
void fetchAhead(const PolicyMapStatus& policyStatus, const PolicyMapSubConfig& version, U32 place) {
    const U32 far = place + Orb::stepsAhead;
    Orb::fetchSoon(recordAt(policyStatus.classMapStatus(), far));
    Orb::fetchSoon(recordAt(version.policyAction(), far));
    Orb::fetchSoon(recordAt(version.classMap(), far));
    const auto* const near = recordAt(version.classMap(), place + Orb::stepsAhead / 2);
    if (near != nullptr && near->match()) Orb::fetchSoon(near->match().begin()->value.get());
}

// The configured match of a rule for the option that the platform took it under, or an empty one.
Orb::Ptr<const ClassMapMatch> matchOf(const PolicyMapSubConfig& currCfg, const Orb::Name& className,
                                      U32 place, MatchOption option) {
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
    GatheredRules(const PolicyState& record, const Direction* direction)
        : direction_(direction), matches_(record.classMapConfig()) {
        if (direction != nullptr) statuses_ = direction->rules(record);
    }
    // Enters the statuses under their new indices.
    void renumberedAre(PolicyState& record, RuleStatuses statuses) const {
        if (direction_ != nullptr) direction_->rulesAre(record, std::move(statuses));
    }

    // The status of a rule; null when it has none. index: where it is likely to be.
    Orb::Ptr<const ClassMapStatus> statusOf(const Orb::Name& className, U32 index) {
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
    const Direction* direction_;  // null: there was none
    Orb::Array<Orb::Ptr<const ClassMapMatch>> matches_;
    RuleStatuses statuses_;
    Orb::HashMap2018<Orb::Name, Orb::Ptr<const ClassMapStatus>> byName_;  // made when needed
};

// Notes when a rule refers to a field set that is not configured.
void noteFieldSets(PolicyState& record, const ClassMapMatch& match,
                   const Classification::FieldSetConfig* fieldSetConfig) {
    if (record.undefinedFieldSet() || !match.structuredFilter().namesFieldSets()) return;
    if (refersToUndefinedFieldSet(match, fieldSetConfig)) record.undefinedFieldSetIs(true);
}

// Notes when a rule counts into a counter that the policy does not declare.
void noteCountAction(PolicyState& record, const PolicyMap::PolicyClassAction* actions,
                     const Orb::Name& className) {
    if (actions == nullptr) return;
    const PolicyMap::Action* const action = actions->action(PolicyMap::ActionType::count);
    if (action == nullptr) return;
    const Orb::Name& counterName =
        static_cast<const PolicyMap::CountAction*>(action)->counterName();
    if (counterName.empty() || record.namedCounter(counterName) != nullptr) return;
    SHOW_TRACE(1, "Class: " << className << " " << counterName);
    record.undefinedCounterIs(true);
}

// The status of a rule that the platform took under one match option; null, with a trace, when it
// did not.
Orb::Ptr<const ClassMapStatus> takenStatus(const PolicyMapStatus& policyStatus,
                                           const Orb::Name& className, U32 place) {
    const ClassMapStatus* const cmapStatus =
        recordOf(policyStatus.classMapStatus(), className, place);
    if (hasMatchOption(cmapStatus)) return cmapStatus;
    traceMissing(cmapStatus, className);
    return nullptr;
}

struct Rule {
    const Orb::Name& className;
    U32 place;  // in the policy
    U32 index;  // among the rules that the platform took
    MatchOption option;
    Orb::Ptr<const ClassMapStatus> status;  // in the direction being gathered; may be null
};

void gatherRule(ShowTrafficPolicyBase& show, PolicyState& record, const PolicyMapSubConfig& currCfg,
                const Rule& rule) {
    Orb::Ptr<const ClassMapMatch> match = matchOf(currCfg, rule.className, rule.place, rule.option);
    SHOW_TRACE(7, "Caching " << rule.index << " " << rule.className << " " << rule.option);
    if (rule.status) show.cacheClassMapStatus(record.name(), rule.index, rule.status);
    noteFieldSets(record, *match, show.fieldSetConfig().get());
    record.classMapConfigIs(rule.index, std::move(match));
    noteCountAction(record, recordOf(currCfg.policyAction(), rule.className, rule.place),
                    rule.className);
}

}  // namespace

void gatherRules(ShowTrafficPolicyBase& show, const PolicyMapSubConfig& currCfg,
                 const OtherDirection& other) {
    const Orb::String& policyName = currCfg.name();
    const Orb::Ptr<PolicyState> policyState = show.getOrCreatePolicyState(policyName);
    const Orb::Ptr<const PolicyMapStatus> policyStatus = show.getPolicyMapStatus(policyName);
    ORB_ASSERT(policyStatus);
    const Orb::Ptr<const PolicyMapStatus> nextPolicyStatus =
        other.nextStatus != nullptr ? other.nextStatus->policyMapStatus(policyName) : nullptr;
    GatheredRules gathered(*policyState, other.gathered);
    RuleStatuses renumbered;
    policyState->classMapConfigDelAll();

    // A version never changes, but it may be replaced when a step of the walk gives up the activity
    // lock.
    const Orb::Ptr<const PolicyMapSubConfig> version(&currCfg);
    U32 index = 0;
    U32 place = 0;  // of the rule in the policy
    for (const auto& [priority, className] : version->classPriority()) {
        const U32 at = place++;
        fetchAhead(*policyStatus, *version, at);
        const Orb::Ptr<const ClassMapStatus> status = takenStatus(*policyStatus, className, at);
        const Orb::Ptr<const ClassMapStatus> gatheredStatus = gathered.statusOf(className, index);
        const Orb::Ptr<const ClassMapStatus> otherStatus =
            nextPolicyStatus ? recordOf(nextPolicyStatus->classMapStatus(), className, at)
                             : gatheredStatus.get();
        // A rule that only the other direction took keeps its index here, as a hole.
        if (!status && !hasMatchOption(otherStatus.get())) continue;

        const MatchOption option = *(status ? *status : *otherStatus).match().begin();
        gatherRule(show, *policyState, currCfg, {className, at, index, option, status});
        if (gatheredStatus) renumbered.is(index, gatheredStatus);
        ++index;
    }
    SHOW_TRACE(4, "ruleCount " << index << ", total class count " << place);
    gathered.renumberedAre(*policyState, std::move(renumbered));
    policyState->ruleCountIs(index);
}

}  // namespace TrafficPolicyCli
