// Where policies are configured: on interfaces and VLANs, and on the CPU per VRF; and which VRF an
// interface belongs to.
#pragma once

#include "orb/Array.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "orb/Type.h"
#include "wire/IntfId.h"

namespace L3 {

using VrfName = Orb::String;

namespace Intf {

class ORB_EXPORT Status : public Orb::PtrInterface {
    ORB_KEYED_TYPE(Status, intfId, Wire::IntfId)
    ORB_ATTRIBUTE(vrf, VrfName)
};

class ORB_EXPORT StatusDir : public Orb::PtrInterface {
    ORB_TYPE(StatusDir)
    ORB_CONSTRUCTIBLE(StatusDir)
    ORB_ATTRIBUTE(intfStatus, Orb::HashMap2018<Wire::IntfId, Orb::Ptr<const Status>>)
};

}  // namespace Intf
}  // namespace L3

namespace Ip {

class ORB_EXPORT AllVrfConfig : public Orb::PtrInterface {
    ORB_TYPE(AllVrfConfig)
    ORB_CONSTRUCTIBLE(AllVrfConfig)
    ORB_ATTRIBUTE(vrf, Orb::HashSet2018<L3::VrfName>)
};

}  // namespace Ip

namespace PolicyMap {

// The policies of a point behind its first one, in the order of application.
using MorePolicies = Orb::Array<Orb::String>;

// Interfaces (or VLAN interfaces, "Vlan10") to policy names, in one direction. A point that has
// several policies has the first one in intf, the others in morePolicies.
class ORB_EXPORT IntfConfig : public Orb::PtrInterface {
    ORB_TYPE(IntfConfig)
    ORB_CONSTRUCTIBLE(IntfConfig)
    ORB_ATTRIBUTE(intf, Orb::HashMap2018<Wire::IntfId, Orb::String>)
    ORB_ATTRIBUTE(morePolicies, Orb::HashMap2018<Wire::IntfId, MorePolicies>)
};

// VRFs to the names of the policies on the CPU, likewise. The VRF "all" stands for every other one.
class ORB_EXPORT VrfConfig : public Orb::PtrInterface {
    ORB_TYPE(VrfConfig)
    ORB_CONSTRUCTIBLE(VrfConfig)
    ORB_ATTRIBUTE(vrf, Orb::HashMap2018<L3::VrfName, Orb::String>)
    ORB_ATTRIBUTE(morePolicies, Orb::HashMap2018<L3::VrfName, MorePolicies>)
};

// The points with their first policies.
inline const auto& firstPolicies(const IntfConfig& config) { return config.intf(); }
inline const auto& firstPolicies(const VrfConfig& config) { return config.vrf(); }

// Calls visit(policyName) for the policies of a point, in the order of application.
template <class Config, class Point, class Visit>
void forEachPolicyAt(const Config& config, const Point& point, const Visit& visit) {
    const Orb::String* const first = firstPolicies(config).find(point);
    if (first == nullptr) return;
    visit(*first);
    if (const MorePolicies* const more = config.morePolicies().find(point)) {
        for (const Orb::String& policy : *more) visit(policy);
    }
}

// Calls visit(point, policyName) for each policy of each point. The points come in any order, the
// policies of a point in that of application.
template <class Config, class Visit>
void forEachAttachment(const Config& config, const Visit& visit) {
    for (const auto& entry : firstPolicies(config)) {
        visit(entry.key, entry.value);
        if (config.morePolicies().empty()) continue;
        if (const MorePolicies* const more = config.morePolicies().find(entry.key)) {
            for (const Orb::String& policy : *more) visit(entry.key, policy);
        }
    }
}

}  // namespace PolicyMap
