// The kinds of attachment: which sides each gathers, and in which order.
#include "counters/CountActionView.h"
#include "counters/CounterGathering.h"
#include "counters/CounterView.h"
#include "frame/Report.h"
#include "frame/Trace.h"
#include "gather/InstallGathering.h"
#include "gather/PolicyGathering.h"
#include "orb/Assert.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

using PolicyStatusPtr = Orb::Ptr<const PolicyMap::PolicyMapStatus>;
using RuleStatusPtr = Orb::Ptr<const PolicyMap::ClassMapStatus>;

ORB_DEFINE_TYPE(ShowTrafficPolicyCpu)
ORB_DEFINE_TYPE(ShowTrafficPolicyInterface)
ORB_DEFINE_TYPE(ShowTrafficPolicyVAcl)

template <class Record, class Made>
Orb::Ptr<PolicyState> ShowTrafficPolicyBase::findOrMake(const Orb::String& policyName,
                                                        const Made& made) {
    // Gathering asks for the same record again and again, once for every rule. The change count is
    // compared first: the record may be gone when it differs.
    if (lastPolicyState_ == nullptr || lastPolicyStateChangeCount_ != policyState().changeCount() ||
        lastPolicyState_->name() != policyName) {
        PolicyState* const found = policyState(policyName);
        if (found == nullptr) {
            const auto record = Orb::make<Record>(policyName);
            copyShowFlags(*this, *record);
            made(*record);
            policyStateIs(policyName, record);
            lastPolicyState_ = record.get();
        } else {
            // A record that others entered may be of another kind, which breaks an invariant.
            Record* const policyState = dynamic_cast<Record*>(found);
            ORB_ASSERT(policyState != nullptr);
            lastPolicyState_ = policyState;
        }
        lastPolicyStateChangeCount_ = policyState().changeCount();
    }
    return lastPolicyState_;
}

// Policies on the CPU: configured per VRF; installed on the CPU-facing interfaces, which fold into
// their VRFs, in hardware and, independently, in the kernel.

ShowTrafficPolicyCpu::ShowTrafficPolicyCpu(ShowArguments arguments,
                                           Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig,
                                           Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig,
                                           Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir,
                                           Orb::Ptr<const TrafficPolicy::Status> iptablesStatus)
    : ShowTrafficPolicyBase(std::move(arguments)),
      vrfConfig_(std::move(vrfConfig)),
      allVrfConfig_(std::move(allVrfConfig)),
      l3IntfStatusDir_(std::move(l3IntfStatusDir)),
      iptablesStatus_(std::move(iptablesStatus)) {}

Orb::Ptr<PolicyState> ShowTrafficPolicyCpu::getOrCreatePolicyState(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMake<PolicyStateCpu>(policyName, [](PolicyState&) {});
}

void ShowTrafficPolicyCpu::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    gatherConfigured(*this, cpuHardware, vrfConfig());
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
    gatherReports(*getOrCreatePolicyState(policyStatus->name()), cpuHardware, *policyStatus,
                  vrfPoint(l3IntfStatusDir().get()));
}

void ShowTrafficPolicyCpu::cacheSoftwareIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    gatherReports(*getOrCreatePolicyState(policyStatus->name()), cpuSoftware, *policyStatus,
                  vrfPoint(l3IntfStatusDir().get()));
}

void ShowTrafficPolicyCpu::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                               MatchOption option) {
    SHOW_TRACE_ENTRY();
    gatherOutcomes(*getOrCreatePolicyState(policyStatus->name()), cpuHardware, option);
}

void ShowTrafficPolicyCpu::cacheSoftwareInstalledState(const PolicyStatusPtr& policyStatus,
                                                       MatchOption option) {
    SHOW_TRACE_ENTRY();
    gatherOutcomes(*getOrCreatePolicyState(policyStatus->name()), cpuSoftware, option);
}

void ShowTrafficPolicyCpu::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                             MatchOption option) {
    SHOW_TRACE_ENTRY();
    const Orb::Ptr<PolicyState> policyState = getOrCreatePolicyState(policyStatus->name());
    for (const Side* const side : onCpu.sides) gatherErrors(*policyState, *side, option);
}

void ShowTrafficPolicyCpu::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    const bool appliesToAll = vrfConfig() && vrfConfig()->vrf().contains(Orb::String("all"));
    const std::string_view note =
        appliesToAll && !errors()
            ? "NOTE: \"vrf all\" option is applied on CPU for VRFs which are not attached to a "
              "specific traffic policy\n"
            : "";
    renderPolicyView(onCpu, note, fd, format, revision);
}

void ShowTrafficPolicyCpu::renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    printReport(fd, format, revision, [&](textout::RendererV2& renderer) {
        renderMark(renderer, mark(), counter());
        _renderTrafficPolicyCounters(renderer, policyState(),
                                     {policyName(), byteCountersSupported(), onlyCounted()},
                                     cpuHardware);
    });
}

void ShowTrafficPolicyCpu::renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                                             const Orb::Ptr<const PolicyState>& policyState,
                                             const Orb::Ptr<const PolicyMap::Action>& action,
                                             U32 indent) {
    SHOW_TRACE_ENTRY();
    TrafficPolicyCli::renderCountAction(*renderer, ruleIndex, policyState, action, indent,
                                        byteCountersSupported());
}

// Policies on interfaces: all of the input direction first, then all of the output direction, with
// isInput saying which. One interface, one report.

ShowTrafficPolicyInterface::ShowTrafficPolicyInterface(
    ShowArguments arguments, Orb::Ptr<const TrafficPolicy::Status> statusOutput,
    Orb::Ptr<const TrafficPolicy::Counter> counterOutput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput,
    bool filterInputPolicies, bool filterOutputPolicies)
    : ShowTrafficPolicyBase(std::move(arguments)),
      statusOutput_(std::move(statusOutput)),
      counterOutput_(std::move(counterOutput)),
      intfConfigInput_(std::move(intfConfigInput)),
      intfConfigOutput_(std::move(intfConfigOutput)),
      policyParamStatus_(std::move(policyParamStatus)),
      policyMapCountersOutput_(std::move(policyMapCountersOutput)),
      filterInputPolicies_(filterInputPolicies),
      filterOutputPolicies_(filterOutputPolicies) {
    isInputIs(true);
}

const Side& ShowTrafficPolicyInterface::side() const {
    return isInput() ? interfaceInput : interfaceOutput;
}

Orb::Ptr<PolicyState> ShowTrafficPolicyInterface::getOrCreatePolicyState(
    const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMake<PolicyStateInterface>(
        policyName, [this](PolicyStateInterface& record) { filtersInto(record); });
}

void ShowTrafficPolicyInterface::filtersInto(PolicyStateInterface& record) const {
    record.filterInputPoliciesIs(filterInputPolicies());
    record.filterOutputPoliciesIs(filterOutputPolicies());
}

void ShowTrafficPolicyInterface::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    gatherConfigured(*this, interfaceInput, intfConfigInput(), interfacePoint);
    gatherConfigured(*this, interfaceOutput, intfConfigOutput(), interfacePoint);
    isInputIs(true);
    ShowTrafficPolicyBase::cachePoliciesState();
    isInputIs(false);
    outputCounterHelperIs(createCounterStatusHelper(false));
    gatherPolicies(*this, statusOutput().get());
}

void ShowTrafficPolicyInterface::cachePolicyState(const Orb::String& policyName) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << policyName);
    ShowTrafficPolicyBase::cachePolicyState(policyName);
    const auto policyState = Orb::ptrCast<PolicyStateInterface>(getOrCreatePolicyState(policyName));
    ORB_ASSERT(policyState != nullptr);
    filtersInto(*policyState);
    policyState->counterOutputIs(counterOutput());
    policyState->countersPerInterfaceOutputIs(statusOutput() &&
                                              statusOutput()->countersPerInterface());
}

PolicyStatusPtr ShowTrafficPolicyInterface::getPolicyMapStatus(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto& sideStatus = isInput() ? status() : statusOutput();
    return sideStatus ? sideStatus->policyMapStatus(policyName) : nullptr;
}

void ShowTrafficPolicyInterface::cachePolicyMapStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    if (!policyStatus) return;
    side().direction->statusIs(*getOrCreatePolicyState(policyStatus->name()), policyStatus);
}

void ShowTrafficPolicyInterface::cacheClassMapStatus(const Orb::String& policyName, U32 index,
                                                     const RuleStatusPtr& cmapStatus) {
    SHOW_TRACE_ENTRY();
    if (!cmapStatus) return;
    side().direction->ruleIs(*getOrCreatePolicyState(policyName), index, cmapStatus);
}

OtherDirection ShowTrafficPolicyInterface::otherDirection() const {
    if (isInput()) return {.nextStatus = statusOutput().get()};
    return {.gathered = interfaceInput.direction};
}

void ShowTrafficPolicyInterface::cacheIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << "- isInput: " << isInput());
    gatherReports(*getOrCreatePolicyState(policyStatus->name()), side(), *policyStatus,
                  interfacePoint);
}

void ShowTrafficPolicyInterface::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                                     MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " matchOption " << option << " isInput: " << isInput());
    gatherOutcomes(*getOrCreatePolicyState(policyStatus->name()), side(), option);
}

void ShowTrafficPolicyInterface::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                                   MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", option:" << option << ", isInput: " << isInput());
    gatherErrors(*getOrCreatePolicyState(policyStatus->name()), side(), option);
}

void ShowTrafficPolicyInterface::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    countersInto(policyName, *side().direction, getCounterStatusHelper(isInput()).get());
}

Orb::Ptr<const CounterReader> ShowTrafficPolicyInterface::createCounterStatusHelper(bool forInput) {
    SHOW_TRACE_ENTRY();
    if (!trafficPolicyHwStatus()) return nullptr;
    if (trafficPolicyHwStatus()->countersInReef()) {
        return readerOf(forInput ? policyMapCounters() : policyMapCountersOutput());
    }
    return readerOf(forInput ? status() : statusOutput());
}

Orb::Ptr<const CounterReader> ShowTrafficPolicyInterface::getCounterStatusHelper(
    bool forInput) const {
    return forInput ? inputCounterHelper() : outputCounterHelper();
}

void ShowTrafficPolicyInterface::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    renderPolicyView(onInterfaces, "", fd, format, revision);
}

void ShowTrafficPolicyInterface::renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    const auto renderSide = [&](textout::RendererV2& renderer, const Side& shown,
                                const TrafficPolicy::Status* sideStatus, bool isFirst) {
        if (sideStatus != nullptr && !sideStatus->policyMapStatus().empty()) {
            if (!isFirst) renderer.endLine();
            renderer.text("Traffic-policies applied on ").text(shown.headingWord).text(":");
            renderer.endLine();
            renderCounterGranularity(renderer, policyParamStatus(), shown);
        }
        _renderTrafficPolicyCounters(renderer, policyState(),
                                     {policyName(), byteCountersSupported(), onlyCounted()}, shown);
    };
    printReport(fd, format, revision, [&](textout::RendererV2& renderer) {
        renderMark(renderer, mark(), counter());
        const bool showsInput = !filterOutputPolicies();
        if (showsInput) renderSide(renderer, interfaceInput, status().get(), true);
        if (!filterInputPolicies()) {
            renderSide(renderer, interfaceOutput, statusOutput().get(), !showsInput);
        }
    });
}

void ShowTrafficPolicyInterface::renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                                                   const Orb::Ptr<const PolicyState>& policyState,
                                                   const Orb::Ptr<const PolicyMap::Action>& action,
                                                   U32 indent) {
    SHOW_TRACE_ENTRY();
    TrafficPolicyCli::renderCountAction(*renderer, ruleIndex, policyState, action, indent,
                                        byteCountersSupported());
}

// Policies on VLANs. A VLAN attachment is a VLAN interface ("Vlan10"); it is kept by its number.

ShowTrafficPolicyVAcl::ShowTrafficPolicyVAcl(
    ShowArguments arguments, Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged)
    : ShowTrafficPolicyBase(std::move(arguments)),
      intfConfigBridged_(std::move(intfConfigBridged)) {}

Orb::Ptr<PolicyState> ShowTrafficPolicyVAcl::getOrCreatePolicyState(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return findOrMake<PolicyStateVAcl>(policyName, [](PolicyState&) {});
}

void ShowTrafficPolicyVAcl::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    gatherConfigured(*this, vlan, intfConfigBridged(), vlanPoint);
    ShowTrafficPolicyBase::cachePoliciesState();
}

void ShowTrafficPolicyVAcl::cacheIntfStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    gatherReports(*getOrCreatePolicyState(policyStatus->name()), vlan, *policyStatus, vlanPoint);
}

void ShowTrafficPolicyVAcl::cacheInstalledState(const PolicyStatusPtr& policyStatus,
                                                MatchOption option) {
    SHOW_TRACE_ENTRY();
    gatherOutcomes(*getOrCreatePolicyState(policyStatus->name()), vlan, option);
}

void ShowTrafficPolicyVAcl::cacheInstallError(const PolicyStatusPtr& policyStatus,
                                              MatchOption option) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", option:" << option);
    gatherErrors(*getOrCreatePolicyState(policyStatus->name()), vlan, option);
}

void ShowTrafficPolicyVAcl::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    renderPolicyView(onVlans, "", fd, format, revision);
}

void ShowTrafficPolicyVAcl::renderTrafficPolicyCounters(U32, U32, U32) { SHOW_TRACE_ENTRY(); }

}  // namespace TrafficPolicyCli
