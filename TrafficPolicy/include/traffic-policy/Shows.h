// The policy show commands with named fields instead of the factories' long argument lists:
//
//     TrafficPolicyCli::VAclShow show;
//     show.config = config;
//     show.status = status;
//     show.intfConfigBridged = intfConfigBridged;
//     show.detail = true;
//     show.make()->render(STDOUT_FILENO, 1, 2);
//
// A field that is not set reads as the factories say of null, empty and false; the keyword and the
// name of the feature are those of tpcli.
#pragma once

#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

struct PolicyShow {
    Orb::String policyJsonDictKeyword = "trafficPolicies";
    Orb::String policyFeatureName = "Traffic policy ";
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config;
    Orb::Ptr<const TrafficPolicy::Status> status;
    Orb::Ptr<const TrafficPolicy::Counter> counter;
    Orb::String policyName;
    bool summary = false;
    bool errors = false;
    bool detail = false;
    bool counters = false;
    bool byteCountersSupported = false;
    Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
    Orb::Ptr<const TrafficPolicy::HwStatus> trafficPolicyHwStatus;
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCounters;

  protected:
    // Calls a factory with the fields above and those of the kind.
    template <class Factory, class... Own>
    auto madeBy(Factory& factory, const Own&... own) const {
        return factory(policyJsonDictKeyword, policyFeatureName, config, status, counter,
                       policyName, summary, errors, detail, counters, byteCountersSupported,
                       fieldSetConfig, trafficPolicyHwStatus, policyMapCounters, own...);
    }
};

struct CpuShow : PolicyShow {
    Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig;
    Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig;
    Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir;
    Orb::Ptr<const TrafficPolicy::Status> iptablesStatus;

    Orb::Ptr<ShowTrafficPolicyCpu> make() const {
        return madeBy(showTrafficPolicyCpuFactory, vrfConfig, allVrfConfig, l3IntfStatusDir,
                      iptablesStatus);
    }
};

struct InterfaceShow : PolicyShow {
    Orb::Ptr<const TrafficPolicy::Status> statusOutput;
    Orb::Ptr<const TrafficPolicy::Counter> counterOutput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput;
    Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus;
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput;
    bool filterInputPolicies = false;
    bool filterOutputPolicies = false;

    Orb::Ptr<ShowTrafficPolicyInterface> make() const {
        return madeBy(showTrafficPolicyInterfaceFactory, statusOutput, counterOutput,
                      intfConfigInput, intfConfigOutput, policyParamStatus, policyMapCountersOutput,
                      filterInputPolicies, filterOutputPolicies);
    }
};

struct VAclShow : PolicyShow {
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged;

    Orb::Ptr<ShowTrafficPolicyVAcl> make() const {
        return madeBy(showTrafficPolicyVAclFactory, intfConfigBridged);
    }
};

}  // namespace TrafficPolicyCli
