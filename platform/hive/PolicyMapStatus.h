// What the platform reports of policies: which rules it took, where it installed them and why not,
// and the counters it keeps; one status object per direction and kind of attachment.
#pragma once

#include "hive/Counters.h"
#include "hive/MatchOption.h"

namespace PolicyMap {

// The states of an installation that mean something to this system. Any other number means neither
// programmed nor failed; a family without an entry counts as notReported with an empty text.
enum class InstallState : U32 { notReported = 0, programmed = 1, failed = 2 };

struct Installation {
    InstallState state = InstallState::notReported;
    Orb::String errorText;
    friend bool operator==(const Installation&, const Installation&) = default;
    Orb::String stringValue() const {
        return std::to_string(static_cast<U32>(state)) + " " + errorText;
    }
};

// The result of programming a policy on one interface (or VLAN interface), per address family.
class ORB_EXPORT IntfStatus : public Orb::PtrInterface {
    ORB_KEYED_TYPE(IntfStatus, intfId, Wire::IntfId)
    ORB_ATTRIBUTE(installation, Orb::HashMap2018<ClassMapMatchOption, Installation>)
};

// What the platform made of one rule ("class"): the match options under which it took it. A rule
// that it took has one.
class ORB_EXPORT ClassMapStatus : public Orb::PtrInterface {
    ORB_KEYED_TYPE(ClassMapStatus, name, Orb::Name)
    ORB_ATTRIBUTE(match, Orb::HashSet2018<ClassMapMatchOption>)
    // How many match options there are.
    U32 matchs() const { return match().size(); }
};

class ORB_EXPORT PolicyMapStatus : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PolicyMapStatus, name, Orb::String)
    ORB_ATTRIBUTE(classMapStatus, Orb::HashMap2018<Orb::Name, Orb::Ptr<const ClassMapStatus>>)
    ORB_ATTRIBUTE(intfStatus, Orb::RbTreeMap<Wire::IntfId, Orb::Ptr<const IntfStatus>>)
    // The counter records that the state database keeps, by rule and by counter name.
    ORB_ATTRIBUTE(classCounter, Orb::HashMap2018<Orb::Name, Orb::Ptr<const PacketDataStatus>>)
    ORB_ATTRIBUTE(namedCounter, Orb::HashMap2018<Orb::Name, Orb::Ptr<const PacketDataStatus>>)
};

class ORB_EXPORT PolicyMapTypeStatus : public Orb::PtrInterface {
    ORB_TYPE(PolicyMapTypeStatus)
    ORB_CONSTRUCTIBLE(PolicyMapTypeStatus)
    ORB_ATTRIBUTE(countersPerInterface, bool)  // named counters are kept per interface too
    ORB_ATTRIBUTE(policyMapStatus, Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMapStatus>>)
};

}  // namespace PolicyMap

namespace TrafficPolicy {

class ORB_EXPORT Status : public PolicyMap::PolicyMapTypeStatus {
    ORB_DERIVED_TYPE(Status, PolicyMap::PolicyMapTypeStatus)
    ORB_CONSTRUCTIBLE(Status)
};

// What the hardware can do.
class ORB_EXPORT HwStatus : public Orb::PtrInterface {
    ORB_TYPE(HwStatus)
    ORB_CONSTRUCTIBLE(HwStatus)
    // Interface counters are kept in the Reef shared-memory store, not in the state database.
    ORB_ATTRIBUTE(countersInReef, bool)
    ORB_ATTRIBUTE(byteCountersSupported, bool)
};

enum class CounterGranularity : U32 { notEnabled = 0, perPolicy = 1, perInterface = 2 };

// The platform's parameters for policies on interfaces.
class ORB_EXPORT TrafficPolicyIntfParamStatus : public Orb::PtrInterface {
    ORB_TYPE(TrafficPolicyIntfParamStatus)
    ORB_CONSTRUCTIBLE(TrafficPolicyIntfParamStatus)
    ORB_ATTRIBUTE(ingressCounterGranularity, CounterGranularity)
    ORB_ATTRIBUTE(egressCounterGranularity, CounterGranularity)
};

}  // namespace TrafficPolicy
