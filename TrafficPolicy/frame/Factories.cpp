// The exported factories. Each spells out its class's arguments, and is the way in which the class
// is built by name.
#include "frame/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

Orb::Ptr<ShowTrafficPolicyCpu> showTrafficPolicyCpuFactory(
    Orb::String policyJsonDictKeyword, Orb::String policyFeatureName,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config,
    Orb::Ptr<const TrafficPolicy::Status> status, Orb::Ptr<const TrafficPolicy::Counter> counter,
    Orb::String policyName, bool summary, bool errors, bool detail, bool counters,
    bool byteCountersSupported, Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
    Orb::Ptr<const TrafficPolicy::HwStatus> trafficPolicyHwStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCounters,
    Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig, Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig,
    Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir,
    Orb::Ptr<const TrafficPolicy::Status> iptablesStatus) {
    return Orb::make<ShowTrafficPolicyCpu>(
        ShowArguments{std::move(policyJsonDictKeyword), std::move(policyFeatureName),
                      std::move(config), std::move(status), std::move(counter),
                      std::move(policyName), summary, errors, detail, counters,
                      byteCountersSupported, std::move(fieldSetConfig),
                      std::move(trafficPolicyHwStatus), std::move(policyMapCounters)},
        std::move(vrfConfig), std::move(allVrfConfig), std::move(l3IntfStatusDir),
        std::move(iptablesStatus));
}

Orb::Ptr<ShowTrafficPolicyInterface> showTrafficPolicyInterfaceFactory(
    Orb::String policyJsonDictKeyword, Orb::String policyFeatureName,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config,
    Orb::Ptr<const TrafficPolicy::Status> status, Orb::Ptr<const TrafficPolicy::Counter> counter,
    Orb::String policyName, bool summary, bool errors, bool detail, bool counters,
    bool byteCountersSupported, Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
    Orb::Ptr<const TrafficPolicy::HwStatus> trafficPolicyHwStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCounters,
    Orb::Ptr<const TrafficPolicy::Status> statusOutput,
    Orb::Ptr<const TrafficPolicy::Counter> counterOutput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput,
    bool filterInputPolicies, bool filterOutputPolicies) {
    return Orb::make<ShowTrafficPolicyInterface>(
        ShowArguments{std::move(policyJsonDictKeyword), std::move(policyFeatureName),
                      std::move(config), std::move(status), std::move(counter),
                      std::move(policyName), summary, errors, detail, counters,
                      byteCountersSupported, std::move(fieldSetConfig),
                      std::move(trafficPolicyHwStatus), std::move(policyMapCounters)},
        std::move(statusOutput), std::move(counterOutput), std::move(intfConfigInput),
        std::move(intfConfigOutput), std::move(policyParamStatus),
        std::move(policyMapCountersOutput), filterInputPolicies, filterOutputPolicies);
}

Orb::Ptr<ShowTrafficPolicyVAcl> showTrafficPolicyVAclFactory(
    Orb::String policyJsonDictKeyword, Orb::String policyFeatureName,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config,
    Orb::Ptr<const TrafficPolicy::Status> status, Orb::Ptr<const TrafficPolicy::Counter> counter,
    Orb::String policyName, bool summary, bool errors, bool detail, bool counters,
    bool byteCountersSupported, Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig,
    Orb::Ptr<const TrafficPolicy::HwStatus> trafficPolicyHwStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCounters,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged) {
    return Orb::make<ShowTrafficPolicyVAcl>(
        ShowArguments{std::move(policyJsonDictKeyword), std::move(policyFeatureName),
                      std::move(config), std::move(status), std::move(counter),
                      std::move(policyName), summary, errors, detail, counters,
                      byteCountersSupported, std::move(fieldSetConfig),
                      std::move(trafficPolicyHwStatus), std::move(policyMapCounters)},
        std::move(intfConfigBridged));
}

namespace {

const bool registered = Orb::registerFactory<&showTrafficPolicyCpuFactory>() &&
                        Orb::registerFactory<&showTrafficPolicyInterfaceFactory>() &&
                        Orb::registerFactory<&showTrafficPolicyVAclFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
