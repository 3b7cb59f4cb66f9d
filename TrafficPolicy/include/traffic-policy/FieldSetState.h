// How many entries each configured field set has, counted once before rendering. A set without a
// current version has no record.
#pragma once

#include "orb/HashMap2018.h"
#include "orb/Type.h"

namespace TrafficPolicyCli {

class L4PortFieldSetState : public Orb::PtrInterface {
    ORB_TYPE(L4PortFieldSetState)
    ORB_CONSTRUCTIBLE(L4PortFieldSetState, Orb::String)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(totalEntries, U64)  // distinct ports

    explicit L4PortFieldSetState(Orb::String name) : name_(std::move(name)) {}
};

class PrefixFieldSetState : public Orb::PtrInterface {
    ORB_TYPE(PrefixFieldSetState)
    ORB_CONSTRUCTIBLE(PrefixFieldSetState, Orb::String)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(totalAcceptPrefixes, U64)
    ORB_ATTRIBUTE(totalExceptPrefixes, U64)

    explicit PrefixFieldSetState(Orb::String name) : name_(std::move(name)) {}
};

class VlanFieldSetState : public Orb::PtrInterface {
    ORB_TYPE(VlanFieldSetState)
    ORB_CONSTRUCTIBLE(VlanFieldSetState, Orb::String)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(totalEntries, U64)  // distinct VLANs

    explicit VlanFieldSetState(Orb::String name) : name_(std::move(name)) {}
};

class FieldSetState : public Orb::PtrInterface {
    ORB_TYPE(FieldSetState)
    ORB_CONSTRUCTIBLE(FieldSetState, Orb::String)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(l4PortFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<L4PortFieldSetState>>)
    ORB_ATTRIBUTE(ipPrefixFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<PrefixFieldSetState>>)
    ORB_ATTRIBUTE(ipv6PrefixFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<PrefixFieldSetState>>)
    ORB_ATTRIBUTE(vlanFieldSet, Orb::HashMap2018<Orb::String, Orb::Ptr<VlanFieldSetState>>)

    explicit FieldSetState(Orb::String name) : name_(std::move(name)) {}
};

}  // namespace TrafficPolicyCli
