// Policies on VLANs. A VLAN attachment is a VLAN interface ("Vlan10"); it is kept by its number.
#include "gather/FindOrMake.h"
#include "gather/Outcome.h"

namespace TrafficPolicyCli {

using PolicyStatusPtr = Orb::Ptr<const PolicyMap::PolicyMapStatus>;

namespace {

// The VLAN number, as text, of a VLAN interface.
Orb::String vlanKey(const Wire::IntfId& intfId) {
    constexpr std::string_view word = "Vlan";
    const Orb::String& text = intfId.stringValue();
    return text.substr(std::min(word.size(), text.size()));
}

}  // namespace

Orb::Ptr<PolicyState> ShowTrafficPolicyVAcl::getOrCreatePolicyState(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMakePolicyState<PolicyStateVAcl>(policyName);
}

void ShowTrafficPolicyVAcl::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    if (intfConfigBridged()) {
        for (const auto& [intfId, name] : intfConfigBridged()->intf()) {
            textout::checkInterrupt();
            policyStateOf<PolicyStateVAcl>(name)->configuredVlanIs(vlanKey(intfId), true);
        }
    }
    ShowTrafficPolicyBase::cachePoliciesState();
}

void ShowTrafficPolicyVAcl::cacheIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateVAcl>(policyStatus->name());
    for (const auto& [intfId, report] : policyStatus->intfStatus()) {
        const Orb::Ptr<InterfaceStatus> vlanStatus = interfaceStatusFactory();
        vlanStatus->intfStatusIs(report);
        policyState->vaclStatusIs(vlanKey(intfId), vlanStatus);
    }
}

void ShowTrafficPolicyVAcl::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                                MatchOption option) {
    SHOW_TRACE_ENTRY();
    auto* const policyState = policyStateOf<PolicyStateVAcl>(policyStatus->name());
    sortByOutcome(
        policyState->vaclStatus(), option,
        [&](const Orb::String& vlan) {
            policyState->appliedVlanIs(option)->vlanListIs(vlan, true);
        },
        [&](const Orb::String& vlan) {
            policyState->failedVlanIs(option)->vlanListIs(vlan, true);
        });
}

void ShowTrafficPolicyVAcl::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                              MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", option:" << option);
    auto* const policyState = policyStateOf<PolicyStateVAcl>(policyStatus->name());
    const PerAfVAclList* const failed = policyState->failedVlan(option);
    if (failed == nullptr) {
        traceNoFailures(option);
        return;
    }
    const auto& errors = policyState->installErrorCollIs(option);
    collectErrors(
        failed->vlanList(), policyState->vaclStatus(), option,
        [&](const Orb::String& vlan, const Orb::String& text) { errors->vlanErrorIs(vlan, text); });
}

}  // namespace TrafficPolicyCli
