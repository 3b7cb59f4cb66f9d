// The match criteria of a rule. Every collection is a set of alternatives; an absent criterion is
// an empty collection, and most of them are empty in most rules.
#pragma once

#include "hive/Ranges.h"
#include "orb/Array.h"
#include "orb/HashMap2018.h"
#include "orb/Type.h"
#include "wire/AddressFamily.h"
#include "wire/IpGenPrefix.h"

namespace Classification {

// One 802.1Q tag criterion: VLAN ids, or names of VLAN field sets; never both.
class ORB_EXPORT VlanRangeSet : public Orb::PtrInterface {
    ORB_TYPE(VlanRangeSet)
    ORB_CONSTRUCTIBLE(VlanRangeSet)
    ORB_ATTRIBUTE(vlans, Orb::HashSet2018<VlanRange>)
    ORB_ATTRIBUTE(vlanFieldSets, Orb::HashSet2018<Orb::String>)
};

// Ports, or names of L4-port field sets, of the source and the destination.
class ORB_EXPORT PortField : public Orb::PtrInterface {
    ORB_TYPE(PortField)
    ORB_CONSTRUCTIBLE(PortField)
    ORB_ATTRIBUTE(sport, Orb::HashSet2018<PortRange>)
    ORB_ATTRIBUTE(sportFieldSets, Orb::HashSet2018<Orb::String>)
    ORB_ATTRIBUTE(dport, Orb::HashSet2018<PortRange>)
    ORB_ATTRIBUTE(dportFieldSets, Orb::HashSet2018<Orb::String>)
};

// What a protocol criterion asks of the layer-4 header.
class ORB_EXPORT ProtoField : public Orb::PtrInterface {
    ORB_TYPE(ProtoField)
    ORB_CONSTRUCTIBLE(ProtoField)
    ORB_ATTRIBUTE(portFields, Orb::Array<Orb::Ptr<const PortField>>)
    ORB_ATTRIBUTE(tcpFlags, Orb::HashSet2018<TcpFlagAndMask>)
    ORB_ATTRIBUTE(icmpTypes, Orb::Array<IcmpTypeRange>)
};

enum class FragmentType : U8 { matchAll = 0, matchOffset = 2 };

// A match of fragments: all of them, or those at some offsets.
class ORB_EXPORT Fragment : public Orb::PtrInterface {
    ORB_TYPE(Fragment)
    ORB_CONSTRUCTIBLE(Fragment, FragmentType)
    ORB_KEY(type, FragmentType)
    ORB_ATTRIBUTE(offset, Orb::HashSet2018<FragmentOffsetRange>)

    explicit Fragment(FragmentType type) : type_(type) {}
};

enum class NeighborsProtocol : U8 { none = 0, bgp = 1 };
enum class L4Protocol : U8 { none = 0, bgp = 1 };
enum class EncapsulationType : U8 { gtpv1 = 0 };

class InnerMatch;

class ORB_EXPORT StructuredFilter : public Orb::PtrInterface {
    ORB_TYPE(StructuredFilter)
    ORB_CONSTRUCTIBLE(StructuredFilter)
    ORB_ATTRIBUTE(vlanTags, Orb::Array<Orb::Ptr<const VlanRangeSet>>)
    // Of the four forms of a source at most one is not empty; of a destination likewise.
    ORB_ATTRIBUTE(sources, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(srcPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_ATTRIBUTE(sourceLpms, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(srcLpmPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_ATTRIBUTE(destinations, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(dstPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_ATTRIBUTE(destinationLpms, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(dstLpmPrefixSets, Orb::HashSet2018<Orb::String>)
    // Protocols, each with what it asks of its layer-4 header; null: nothing.
    ORB_ATTRIBUTE(protocols, Orb::HashMap2018<ProtocolRange, Orb::Ptr<const ProtoField>>)
    ORB_ATTRIBUTE(length, Orb::HashSet2018<PacketLengthRange>)
    ORB_ATTRIBUTE(fragment, Orb::Ptr<const Fragment>)  // null: no criterion
    ORB_ATTRIBUTE(dscp, Orb::HashSet2018<DscpRange>)
    ORB_ATTRIBUTE(ecn, Orb::HashSet2018<EcnRange>)
    ORB_ATTRIBUTE(ttl, Orb::HashSet2018<TtlRange>)
    ORB_ATTRIBUTE(neighborsProtocol, NeighborsProtocol)
    ORB_ATTRIBUTE(l4Protocol, L4Protocol)
    ORB_ATTRIBUTE(ipOptions, bool)
    ORB_ATTRIBUTE(tracked, bool)
    ORB_ATTRIBUTE(innerMatch, Orb::Ptr<const InnerMatch>)  // null: no criterion

    StructuredFilter();
    ~StructuredFilter() override;

    // Says whether some criterion, of the outer or the inner header, names a field set.
    bool refersToFieldSets() const;
};

// A match of what an encapsulated packet holds.
class ORB_EXPORT InnerMatch : public Orb::PtrInterface {
    ORB_TYPE(InnerMatch)
    ORB_CONSTRUCTIBLE(InnerMatch, Wire::AddressFamily, EncapsulationType)
    ORB_KEY(af, Wire::AddressFamily)
    ORB_KEY(encapType, EncapsulationType)
    ORB_ATTRIBUTE(structuredFilter, Orb::Ptr<const StructuredFilter>)  // null: no criteria

    InnerMatch(Wire::AddressFamily family, EncapsulationType encapsulation)
        : af_(family), encapType_(encapsulation) {}
};

}  // namespace Classification
