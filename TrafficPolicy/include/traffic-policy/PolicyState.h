// Everything that one show command gathered about one policy; the views read nothing else. The rule
// arrays share one index, from 0; a rule without status in a direction leaves a hole there.
#pragma once

#include "hive/PolicyMapConfig.h"
#include "orb/Array.h"
#include "traffic-policy/InstallStatus.h"

namespace TrafficPolicyCli {

// Live counter records by their own name.
using CounterMap = Orb::HashMap2018<Orb::Name, Orb::Ptr<const PolicyMap::PacketDataStatus>>;

// The statuses of the rules in one direction, by rule index; null where the platform did not take
// one.
using RuleStatuses = Orb::Array<Orb::Ptr<const PolicyMap::ClassMapStatus>>;

template <class Record>
using PerFamily = Orb::RbTreeMap<MatchOption, Orb::Ptr<Record>>;
template <class Record>
using ErrorsPerFamily = Orb::HashMap2018<MatchOption, Orb::Ptr<Record>>;

struct Kind;

class PolicyState : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PolicyState, name, Orb::String)
    // Both families once the rules of a configured policy were gathered; else empty.
    ORB_ATTRIBUTE(matchOptionList, Orb::HashSet2018<MatchOption>)
    ORB_ATTRIBUTE(policyMapConfig, Orb::Ptr<const PolicyMap::PolicyMapConfig>)
    ORB_ATTRIBUTE(policyMapStatusInput, Orb::Ptr<const PolicyMap::PolicyMapStatus>)
    ORB_ATTRIBUTE(classMapConfig, Orb::Array<Orb::Ptr<const PolicyMap::ClassMapMatch>>)
    ORB_ATTRIBUTE(classMapStatusInput, RuleStatuses)
    ORB_ATTRIBUTE(ruleCount, U32)
    ORB_ATTRIBUTE(summary, bool)
    ORB_ATTRIBUTE(errors, bool)
    ORB_ATTRIBUTE(detail, bool)
    ORB_ATTRIBUTE(indentCountPerLevel, U32)  // blanks per level of text output
    ORB_ATTRIBUTE(counter, Orb::Ptr<const TrafficPolicy::Counter>)
    ORB_ATTRIBUTE(namedCounter, Orb::RbTreeMap<Orb::Name, bool>)  // those that are declared
    ORB_ATTRIBUTE(inputClassCounters, CounterMap)
    ORB_ATTRIBUTE(inputNamedCounters, CounterMap)
    ORB_ATTRIBUTE(undefinedCounter, bool)   // a count action names an undeclared counter
    ORB_ATTRIBUTE(undefinedFieldSet, bool)  // a rule refers to a field set that is not configured
    ORB_ATTRIBUTE(countersPerInterface, bool)
    // Adds to ruleCount and returns it.
    U32 ruleCountInc(U32 n) { return ruleCount_ += n; }
    // Where the policy can be installed; nowhere for a record of no kind.
    virtual const Kind& kind() const;
};

class PolicyStateCpu : public PolicyState {
    ORB_DERIVED_TYPE(PolicyStateCpu, PolicyState)
    ORB_CONSTRUCTIBLE(PolicyStateCpu, Orb::String)
    ORB_ATTRIBUTE(configuredVrf, Orb::RbTreeMap<L3::VrfName, bool>)
    ORB_ATTRIBUTE(appliedVrf, PerFamily<PerAfVrfList>)
    ORB_ATTRIBUTE(appliedVrfSoftware, PerFamily<PerAfVrfList>)
    ORB_ATTRIBUTE(failedVrf, PerFamily<PerAfVrfList>)
    ORB_ATTRIBUTE(failedVrfSoftware, PerFamily<PerAfVrfList>)
    ORB_ATTRIBUTE(vrfIntfStatus, Orb::HashMap2018<L3::VrfName, Orb::Ptr<VrfIntfStatus>>)
    ORB_ATTRIBUTE(vrfSoftwareIntfStatus, Orb::HashMap2018<L3::VrfName, Orb::Ptr<VrfIntfStatus>>)
    ORB_ATTRIBUTE(installErrorColl, ErrorsPerFamily<InstallError>)
    ORB_ATTRIBUTE(installErrorSoftwareColl, ErrorsPerFamily<InstallError>)

    using PolicyState::PolicyState;
    const Kind& kind() const override;
};

class PolicyStateInterface : public PolicyState {
    ORB_DERIVED_TYPE(PolicyStateInterface, PolicyState)
    ORB_CONSTRUCTIBLE(PolicyStateInterface, Orb::String)
    ORB_ATTRIBUTE(policyMapStatusOutput, Orb::Ptr<const PolicyMap::PolicyMapStatus>)
    ORB_ATTRIBUTE(classMapStatusOutput, RuleStatuses)
    ORB_ATTRIBUTE(filterInputPolicies, bool)   // only input is shown
    ORB_ATTRIBUTE(filterOutputPolicies, bool)  // only output is shown
    ORB_ATTRIBUTE(configuredIntfInput, Orb::RbTreeMap<Orb::String, bool>)
    ORB_ATTRIBUTE(configuredIntfOutput, Orb::RbTreeMap<Orb::String, bool>)
    ORB_ATTRIBUTE(appliedIntfInput, PerFamily<PerAfIntfList>)
    ORB_ATTRIBUTE(appliedIntfOutput, PerFamily<PerAfIntfList>)
    ORB_ATTRIBUTE(failedIntfInput, PerFamily<PerAfIntfList>)
    ORB_ATTRIBUTE(failedIntfOutput, PerFamily<PerAfIntfList>)
    ORB_ATTRIBUTE(interfaceStatusInput, Orb::HashMap2018<Orb::String, Orb::Ptr<InterfaceStatus>>)
    ORB_ATTRIBUTE(interfaceStatusOutput, Orb::HashMap2018<Orb::String, Orb::Ptr<InterfaceStatus>>)
    ORB_ATTRIBUTE(installErrorCollInput, ErrorsPerFamily<InterfaceInstallError>)
    ORB_ATTRIBUTE(installErrorCollOutput, ErrorsPerFamily<InterfaceInstallError>)
    ORB_ATTRIBUTE(outputClassCounters, CounterMap)
    ORB_ATTRIBUTE(outputNamedCounters, CounterMap)
    ORB_ATTRIBUTE(counterOutput, Orb::Ptr<const TrafficPolicy::Counter>)
    ORB_ATTRIBUTE(countersPerInterfaceOutput, bool)

    using PolicyState::PolicyState;
    const Kind& kind() const override;

    // The input collection's entry, or the output one's; null when absent.
    Orb::Ptr<const InterfaceStatus> getInterfaceStatus(const Orb::String& intfName,
                                                       bool isInput) const;
    Orb::Ptr<const PerAfIntfList> getAppliedIntfList(MatchOption matchOption, bool isInput) const;
    Orb::Ptr<const PerAfIntfList> getFailedIntfList(MatchOption matchOption, bool isInput) const;
    Orb::Ptr<const InterfaceInstallError> getInstallErrorList(MatchOption matchOption,
                                                              bool isInput) const;
    // The error record of the family and direction, made on first use.
    Orb::Ptr<InterfaceInstallError> createInstallErrorColl(MatchOption matchOption, bool isInput);
};

class PolicyStateVAcl : public PolicyState {
    ORB_DERIVED_TYPE(PolicyStateVAcl, PolicyState)
    ORB_CONSTRUCTIBLE(PolicyStateVAcl, Orb::String)
    // VLANs by their number as text.
    ORB_ATTRIBUTE(configuredVlan, Orb::RbTreeMap<Orb::String, bool>)
    ORB_ATTRIBUTE(appliedVlan, PerFamily<PerAfVAclList>)
    ORB_ATTRIBUTE(failedVlan, PerFamily<PerAfVAclList>)
    ORB_ATTRIBUTE(vaclStatus, Orb::HashMap2018<Orb::String, Orb::Ptr<InterfaceStatus>>)
    ORB_ATTRIBUTE(installErrorColl, ErrorsPerFamily<VAclInstallError>)

    using PolicyState::PolicyState;
    const Kind& kind() const override;
};

Orb::Ptr<PolicyState> policyStateFactory(const Orb::String& name);
Orb::Ptr<PolicyStateCpu> policyStateCpuFactory(const Orb::String& name);
Orb::Ptr<PolicyStateInterface> policyStateInterfaceFactory(const Orb::String& name);
Orb::Ptr<PolicyStateVAcl> policyStateVAclFactory(const Orb::String& name);

}  // namespace TrafficPolicyCli
