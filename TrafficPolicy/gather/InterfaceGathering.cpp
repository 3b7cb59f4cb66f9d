// Policies on interfaces: all of the input direction first, then all of the output direction, with
// isInput saying which. One interface, one report.
#include "gather/FindOrMake.h"
#include "gather/Outcome.h"
#include "gather/Walk.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using PolicyStatusPtr = Orb::Ptr<const PolicyMap::PolicyMapStatus>;

Orb::Ptr<PolicyState> ShowTrafficPolicyInterface::getOrCreatePolicyState(
    const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMakePolicyState<PolicyStateInterface>(policyName);
}

const TrafficPolicy::Status* ShowTrafficPolicyInterface::nextDirectionStatus() const {
    return isInput() ? statusOutput().get() : nullptr;
}

const RuleStatuses& ShowTrafficPolicyInterface::gatheredRules(
    const PolicyState& policyState) const {
    return isInput() ? ShowTrafficPolicyBase::gatheredRules(policyState)
                     : policyState.classMapStatusInput();
}

void ShowTrafficPolicyInterface::gatheredRulesAre(PolicyState& policyState,
                                                  RuleStatuses renumbered) const {
    if (!isInput()) policyState.classMapStatusInputIs(std::move(renumbered));
}

void ShowTrafficPolicyInterface::showFlagsInto(PolicyState& policyState) const {
    ShowTrafficPolicyBase::showFlagsInto(policyState);
    auto& interfaceState = static_cast<PolicyStateInterface&>(policyState);
    interfaceState.filterInputPoliciesIs(filterInputPolicies());
    interfaceState.filterOutputPoliciesIs(filterOutputPolicies());
}

void ShowTrafficPolicyInterface::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    const auto cacheConfigured = [](const PolicyMap::IntfConfig* intfConfig, auto configured) {
        if (intfConfig == nullptr) return;
        for (const auto& [intfId, name] : intfConfig->intf()) {
            textout::checkInterrupt();
            configured(name, intfId.stringValue());
        }
    };
    cacheConfigured(intfConfigInput().get(), [&](const auto& name, const Orb::String& intf) {
        policyStateOf<PolicyStateInterface>(name)->configuredIntfInputIs(intf, true);
    });
    cacheConfigured(intfConfigOutput().get(), [&](const auto& name, const Orb::String& intf) {
        policyStateOf<PolicyStateInterface>(name)->configuredIntfOutputIs(intf, true);
    });
    isInputIs(true);
    ShowTrafficPolicyBase::cachePoliciesState();
    isInputIs(false);
    outputCounterHelperIs(createCounterStatusHelper(false));
    if (!statusOutput()) return;
    walkByKey(statusOutput()->policyMapStatus(),
              [this](const Orb::String& name) { cachePolicyState(name); });
}

void ShowTrafficPolicyInterface::cachePolicyState(const Orb::String& policyName) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << policyName);
    ShowTrafficPolicyBase::cachePolicyState(policyName);
    const auto policyState = Orb::ptrCast<PolicyStateInterface>(getOrCreatePolicyState(policyName));
    ORB_ASSERT(policyState != nullptr);
    policyState->counterOutputIs(counterOutput());
    policyState->countersPerInterfaceOutputIs(statusOutput() &&
                                              statusOutput()->countersPerInterface());
}

PolicyStatusPtr ShowTrafficPolicyInterface::getPolicyMapStatus(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto& directionStatus = isInput() ? status() : statusOutput();
    return directionStatus ? directionStatus->policyMapStatus(policyName) : nullptr;
}

void ShowTrafficPolicyInterface::cachePolicyMapStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    if (!policyStatus) return;
    auto* const policyState = policyStateOf<PolicyStateInterface>(policyStatus->name());
    if (isInput()) {
        policyState->policyMapStatusInputIs(policyStatus);
    } else {
        policyState->policyMapStatusOutputIs(policyStatus);
    }
}

void ShowTrafficPolicyInterface::cacheClassMapStatus(
    const Orb::String& policyName, U32 index,
    const Orb::Ptr<const PolicyMap::ClassMapStatus>& cmapStatus) {
    SHOW_TRACE_ENTRY();
    if (!cmapStatus) return;
    auto* const policyState = policyStateOf<PolicyStateInterface>(policyName);
    if (isInput()) {
        policyState->classMapStatusInputIs(index, cmapStatus);
    } else {
        policyState->classMapStatusOutputIs(index, cmapStatus);
    }
}

void ShowTrafficPolicyInterface::cacheIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << "- isInput: " << isInput());
    auto* const policyState = policyStateOf<PolicyStateInterface>(policyStatus->name());
    for (const auto& [intfId, report] : policyStatus->intfStatus()) {
        const Orb::Ptr<InterfaceStatus> interfaceStatus = interfaceStatusFactory();
        interfaceStatus->intfStatusIs(report);
        if (isInput()) {
            policyState->interfaceStatusInputIs(intfId.stringValue(), interfaceStatus);
        } else {
            policyState->interfaceStatusOutputIs(intfId.stringValue(), interfaceStatus);
        }
    }
}

void ShowTrafficPolicyInterface::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                                     MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " matchOption " << option << " isInput: " << isInput());
    auto* const policyState = policyStateOf<PolicyStateInterface>(policyStatus->name());
    const auto& reports =
        isInput() ? policyState->interfaceStatusInput() : policyState->interfaceStatusOutput();
    sortByOutcome(
        reports, option,
        [&](const Orb::String& name) {
            const auto& list = isInput() ? policyState->appliedIntfInputIs(option)
                                         : policyState->appliedIntfOutputIs(option);
            list->intfListIs(name, true);
        },
        [&](const Orb::String& name) {
            const auto& list = isInput() ? policyState->failedIntfInputIs(option)
                                         : policyState->failedIntfOutputIs(option);
            list->intfListIs(name, true);
        });
}

void ShowTrafficPolicyInterface::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                                   MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", option:" << option << ", isInput: " << isInput());
    auto* const policyState = policyStateOf<PolicyStateInterface>(policyStatus->name());
    const Orb::Ptr<const PerAfIntfList> failed = policyState->getFailedIntfList(option, isInput());
    if (!failed) {
        traceNoFailures(option);
        return;
    }
    const auto errors = policyState->createInstallErrorColl(option, isInput());
    collectErrors(
        failed->intfList(),
        isInput() ? policyState->interfaceStatusInput() : policyState->interfaceStatusOutput(),
        option,
        [&](const Orb::String& name, const Orb::String& text) { errors->intfErrorIs(name, text); });
}

}  // namespace TrafficPolicyCli
