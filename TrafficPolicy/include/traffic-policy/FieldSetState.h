// How many entries each configured field set has, counted once before rendering. A set without a
// current version has no record.
#pragma once

#include "orb/HashMap2018.h"
#include "orb/Type.h"

namespace TrafficPolicyCli {

class L4PortFieldSetState : public Orb::PtrInterface {
    ORB_KEYED_TYPE(L4PortFieldSetState, name, Orb::String)
    ORB_ATTRIBUTE(totalEntries, U64)  // distinct ports
};

class PrefixFieldSetState : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PrefixFieldSetState, name, Orb::String)
    ORB_ATTRIBUTE(totalAcceptPrefixes, U64)
    ORB_ATTRIBUTE(totalExceptPrefixes, U64)
};

class VlanFieldSetState : public Orb::PtrInterface {
    ORB_KEYED_TYPE(VlanFieldSetState, name, Orb::String)
    ORB_ATTRIBUTE(totalEntries, U64)  // distinct VLANs
};

class FieldSetState : public Orb::PtrInterface {
    ORB_KEYED_TYPE(FieldSetState, name, Orb::String)
    ORB_ATTRIBUTE(l4PortFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<L4PortFieldSetState>>)
    ORB_ATTRIBUTE(ipPrefixFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<PrefixFieldSetState>>)
    ORB_ATTRIBUTE(ipv6PrefixFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<PrefixFieldSetState>>)
    ORB_ATTRIBUTE(vlanFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<VlanFieldSetState>>)
};

}  // namespace TrafficPolicyCli
