// The exported factories and creators, which are the way in which the classes are built by name.
#include "frame/Creator.h"
#include "traffic-policy/ShowTrafficPolicy.h"

#define PARAMETER(type, name) type name,
#define VALUE(type, name) std::move(name),

namespace TrafficPolicyCli {

DEFINE_FACTORY_AND_CREATOR(
    ShowTrafficPolicyCpu, showTrafficPolicyCpuFactory,
    (TRAFFIC_POLICY_SHOW_ARGUMENTS(PARAMETER) Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig,
     Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig,
     Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir,
     Orb::Ptr<const TrafficPolicy::Status> iptablesStatus),
    {
        return Orb::make<ShowTrafficPolicyCpu>(
            ShowArguments{TRAFFIC_POLICY_SHOW_ARGUMENTS(VALUE)}, std::move(vrfConfig),
            std::move(allVrfConfig), std::move(l3IntfStatusDir), std::move(iptablesStatus));
    })

DEFINE_FACTORY_AND_CREATOR(
    ShowTrafficPolicyInterface, showTrafficPolicyInterfaceFactory,
    (TRAFFIC_POLICY_SHOW_ARGUMENTS(PARAMETER) Orb::Ptr<const TrafficPolicy::Status> statusOutput,
     Orb::Ptr<const TrafficPolicy::Counter> counterOutput,
     Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput,
     Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput,
     Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus,
     Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput,
     bool filterInputPolicies, bool filterOutputPolicies),
    {
        return Orb::make<ShowTrafficPolicyInterface>(
            ShowArguments{TRAFFIC_POLICY_SHOW_ARGUMENTS(VALUE)}, std::move(statusOutput),
            std::move(counterOutput), std::move(intfConfigInput), std::move(intfConfigOutput),
            std::move(policyParamStatus), std::move(policyMapCountersOutput), filterInputPolicies,
            filterOutputPolicies);
    })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyVAcl, showTrafficPolicyVAclFactory,
                           (TRAFFIC_POLICY_SHOW_ARGUMENTS(PARAMETER)
                                Orb::Ptr<const PolicyMap::IntfConfig>
                                    intfConfigBridged),
                           {
                               return Orb::make<ShowTrafficPolicyVAcl>(
                                   ShowArguments{TRAFFIC_POLICY_SHOW_ARGUMENTS(VALUE)},
                                   std::move(intfConfigBridged));
                           })

namespace {

const bool areShowsRegistered = Orb::registerFactory<&showTrafficPolicyCpuFactory>() &&
                                Orb::registerFactory<&showTrafficPolicyInterfaceFactory>() &&
                                Orb::registerFactory<&showTrafficPolicyVAclFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
