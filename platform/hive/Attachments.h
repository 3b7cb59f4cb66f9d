// Where policies are configured: on interfaces and VLANs, and on the CPU per VRF; and which VRF an
// interface belongs to.
#pragma once

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

// Interfaces (or VLAN interfaces, "Vlan10") to policy names, in one direction.
class ORB_EXPORT IntfConfig : public Orb::PtrInterface {
    ORB_TYPE(IntfConfig)
    ORB_CONSTRUCTIBLE(IntfConfig)
    ORB_ATTRIBUTE(intf, Orb::HashMap2018<Wire::IntfId, Orb::String>)
};

// VRFs to the names of the policies on the CPU. The VRF "all" stands for every other one.
class ORB_EXPORT VrfConfig : public Orb::PtrInterface {
    ORB_TYPE(VrfConfig)
    ORB_CONSTRUCTIBLE(VrfConfig)
    ORB_ATTRIBUTE(vrf, Orb::HashMap2018<L3::VrfName, Orb::String>)
};

}  // namespace PolicyMap
