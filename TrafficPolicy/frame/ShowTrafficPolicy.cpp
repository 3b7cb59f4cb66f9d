#include "traffic-policy/ShowTrafficPolicy.h"

#include "frame/Trace.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(ShowTrafficPolicyBase)
ORB_DEFINE_TYPE(ShowTrafficPolicyCpu)
ORB_DEFINE_TYPE(ShowTrafficPolicyInterface)
ORB_DEFINE_TYPE(ShowTrafficPolicyVAcl)

#define INITIAL(type, name) name##_(std::move(arguments.name)),

ShowTrafficPolicyBase::ShowTrafficPolicyBase(ShowArguments arguments)
    : TRAFFIC_POLICY_SHOW_ARGUMENTS(INITIAL) fieldSetState_(Orb::make<FieldSetState>("")) {}

ShowTrafficPolicyBase::~ShowTrafficPolicyBase() = default;

Orb::Ptr<FieldSetState> ShowTrafficPolicyBase::fieldSetStateIs(const Orb::String& name) {
    fieldSetState_ = Orb::make<FieldSetState>(name);
    return fieldSetState_;
}

void ShowTrafficPolicyBase::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    try {
        if (fieldSetConfig()) cacheFieldSetState();
        cachePoliciesState();
        if (counters()) {
            renderTrafficPolicyCounters(fd, format, revision);
        } else {
            renderTrafficPolicy(fd, format, revision);
        }
    } catch (const textout::SigIntException& interrupt) {
        textout::printExiting(interrupt.what());
    }
}

void ShowTrafficPolicyBase::renderCountAction(textout::RendererV2*, U32,
                                              const Orb::Ptr<const PolicyState>&,
                                              const Orb::Ptr<const PolicyMap::Action>&, U32) {
    SHOW_TRACE_ENTRY();
}

void ShowTrafficPolicyBase::cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>&) {
    SHOW_TRACE_ENTRY();
}
void ShowTrafficPolicyBase::cacheInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>&,
                                                MatchOption) {
    SHOW_TRACE_ENTRY();
}
void ShowTrafficPolicyBase::cacheInstallError(const Orb::Ptr<const PolicyMap::PolicyMapStatus>&,
                                              MatchOption) {
    SHOW_TRACE_ENTRY();
}

Orb::Ptr<PolicyState> ShowTrafficPolicyBase::getOrCreatePolicyState(const Orb::String&) {
    SHOW_TRACE_ENTRY();
    return nullptr;
}

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

ShowTrafficPolicyVAcl::ShowTrafficPolicyVAcl(
    ShowArguments arguments, Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged)
    : ShowTrafficPolicyBase(std::move(arguments)),
      intfConfigBridged_(std::move(intfConfigBridged)) {}

}  // namespace TrafficPolicyCli
