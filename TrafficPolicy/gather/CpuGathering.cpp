// Policies on the CPU: configured per VRF; installed on the CPU-facing interfaces, which fold into
// their VRFs, in hardware and, independently, in the kernel.
#include "gather/FindOrMake.h"
#include "gather/Outcome.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using PolicyStatusPtr = Orb::Ptr<const PolicyMap::PolicyMapStatus>;

namespace {

// Adds the reports of a policy, by the VRF of their interface, to the record that vrfReports(vrf)
// gives. Interfaces without an L3 status are passed over.
template <class VrfReports>
void foldIntoVrfs(const PolicyMap::PolicyMapStatus& policyStatus,
                  const L3::Intf::StatusDir* l3IntfStatusDir, VrfReports vrfReports) {
    if (l3IntfStatusDir == nullptr) return;
    for (const auto& [intfId, report] : policyStatus.intfStatus()) {
        const L3::Intf::Status* const l3Status = l3IntfStatusDir->intfStatus(intfId);
        if (l3Status != nullptr) vrfReports(l3Status->vrf())->intfStatusIs(report);
    }
}

}  // namespace

Orb::Ptr<PolicyState> ShowTrafficPolicyCpu::getOrCreatePolicyState(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMakePolicyState<PolicyStateCpu>(policyName);
}

void ShowTrafficPolicyCpu::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    if (vrfConfig()) {
        for (const auto& [vrf, name] : vrfConfig()->vrf()) {
            textout::checkInterrupt();
            policyStateOf<PolicyStateCpu>(name)->configuredVrfIs(vrf, true);
        }
    }
    ShowTrafficPolicyBase::cachePoliciesState();
}

void ShowTrafficPolicyCpu::cachePolicyState(const Orb::String& policyName) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << policyName);
    ShowTrafficPolicyBase::cachePolicyState(policyName);
    const auto policyState = Orb::ptrCast<PolicyStateCpu>(getOrCreatePolicyState(policyName));
    ORB_ASSERT(policyState != nullptr);
    policyState->countersPerInterfaceIs(false);
    const PolicyStatusPtr softwareStatus =
        iptablesStatus() ? iptablesStatus()->policyMapStatus(policyName) : nullptr;
    if (!softwareStatus) return;
    cacheSoftwareIntfStatus(softwareStatus);
    for (const MatchOption option : policyState->matchOptionList()) {
        cacheSoftwareInstalledState(softwareStatus, option);
        cacheInstallError(softwareStatus, option);
    }
}

void ShowTrafficPolicyCpu::cacheIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateCpu>(policyStatus->name());
    foldIntoVrfs(*policyStatus, l3IntfStatusDir().get(),
                 [&](const L3::VrfName& vrf) { return policyState->vrfIntfStatusIs(vrf); });
}

void ShowTrafficPolicyCpu::cacheSoftwareIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateCpu>(policyStatus->name());
    foldIntoVrfs(*policyStatus, l3IntfStatusDir().get(),
                 [&](const L3::VrfName& vrf) { return policyState->vrfSoftwareIntfStatusIs(vrf); });
}

void ShowTrafficPolicyCpu::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                               MatchOption option) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateCpu>(policyStatus->name());
    sortByOutcome(
        policyState->vrfIntfStatus(), option,
        [&](const L3::VrfName& vrf) { policyState->appliedVrfIs(option)->vrfListIs(vrf, true); },
        [&](const L3::VrfName& vrf) { policyState->failedVrfIs(option)->vrfListIs(vrf, true); });
}

void ShowTrafficPolicyCpu::cacheSoftwareInstalledState(const PolicyStatusPtr& policyStatus,
                                                       MatchOption option) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateCpu>(policyStatus->name());
    sortByOutcome(
        policyState->vrfSoftwareIntfStatus(), option,
        [&](const L3::VrfName& vrf) {
            policyState->appliedVrfSoftwareIs(option)->vrfListIs(vrf, true);
        },
        [&](const L3::VrfName& vrf) {
            policyState->failedVrfSoftwareIs(option)->vrfListIs(vrf, true);
        });
}

void ShowTrafficPolicyCpu::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                             MatchOption option) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateCpu>(policyStatus->name());
    const auto collect = [&](const PerAfVrfList* failed, const auto& reports, auto errorRecord) {
        if (failed == nullptr) {
            traceNoFailures(option);
            return;
        }
        const Orb::Ptr<InstallError> errors = errorRecord();
        collectErrors(failed->vrfList(), reports, option,
                      [&](const L3::VrfName& vrf, const Orb::String& text) {
                          errors->vrfErrorIs(vrf, text);
                      });
    };
    collect(policyState->failedVrf(option), policyState->vrfIntfStatus(),
            [&] { return policyState->installErrorCollIs(option); });
    collect(policyState->failedVrfSoftware(option), policyState->vrfSoftwareIntfStatus(),
            [&] { return policyState->installErrorSoftwareCollIs(option); });
}

}  // namespace TrafficPolicyCli
