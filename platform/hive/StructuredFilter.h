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

using FragmentOffsetRange =
    RangeOf<0, 8191, struct FragmentOffset>;  // in units of 8 bytes (RFC 791)

// A match of fragments: all of them, or those at some offsets.
class ORB_EXPORT Fragment : public Orb::PtrInterface {
    ORB_KEYED_TYPE(Fragment, type, FragmentType)
    ORB_ATTRIBUTE(offset, Orb::HashSet2018<FragmentOffsetRange>)
};

enum class NeighborsProtocol : U8 { none = 0, bgp = 1 };
enum class L4Protocol : U8 { none = 0, bgp = 1 };
enum class EncapsulationType : U8 { gtpv1 = 0 };

using PacketLengthRange = RangeOf<0, 65535, struct PacketLength>;  // of the IP packet, in bytes
using DscpRange = RangeOf<0, 63, struct Dscp>;  // differentiated services code point (RFC 2474)
using EcnRange = RangeOf<0, 3, struct Ecn>;     // explicit congestion notification (RFC 3168)
using TtlRange = RangeOf<0, 255, struct Ttl>;   // time to live or hop limit

class InnerMatch;

class ORB_EXPORT StructuredFilter : public Orb::PtrInterface {
    ORB_TYPE(StructuredFilter)
    ORB_CONSTRUCTIBLE(StructuredFilter)
    ORB_SPARSE_ATTRIBUTES
    ORB_SPARSE_ATTRIBUTE(vlanTags, Orb::Array<Orb::Ptr<const VlanRangeSet>>)
    // Of the four forms of a source at most one is not empty; of a destination likewise.
    ORB_SPARSE_ATTRIBUTE(sources, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_SPARSE_ATTRIBUTE(srcPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_SPARSE_ATTRIBUTE(sourceLpms, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_SPARSE_ATTRIBUTE(srcLpmPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_SPARSE_ATTRIBUTE(destinations, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_SPARSE_ATTRIBUTE(dstPrefixSets, Orb::HashSet2018<Orb::String>)
    ORB_SPARSE_ATTRIBUTE(destinationLpms, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_SPARSE_ATTRIBUTE(dstLpmPrefixSets, Orb::HashSet2018<Orb::String>)
    // Protocols, each with what it asks of its layer-4 header; null: nothing.
    ORB_SPARSE_ATTRIBUTE(protocols, Orb::HashMap2018<ProtocolRange, Orb::Ptr<const ProtoField>>)
    ORB_SPARSE_ATTRIBUTE(length, Orb::HashSet2018<PacketLengthRange>)
    ORB_SPARSE_ATTRIBUTE(fragment, Orb::Ptr<const Fragment>)  // null: no criterion
    ORB_SPARSE_ATTRIBUTE(dscp, Orb::HashSet2018<DscpRange>)
    ORB_SPARSE_ATTRIBUTE(ecn, Orb::HashSet2018<EcnRange>)
    ORB_SPARSE_ATTRIBUTE(ttl, Orb::HashSet2018<TtlRange>)
    ORB_ATTRIBUTE(neighborsProtocol, NeighborsProtocol)
    ORB_ATTRIBUTE(l4Protocol, L4Protocol)
    ORB_ATTRIBUTE(ipOptions, bool)
    ORB_ATTRIBUTE(tracked, bool)
    // What the configuration of a switch asks beyond these criteria, word for word: "ethertype
    // 0x88cc". Whether a packet meets it is not known.
    ORB_SPARSE_ATTRIBUTE(otherCriteria, Orb::HashSet2018<Orb::String>)
    ORB_SPARSE_ATTRIBUTE(innerMatch, Orb::Ptr<const InnerMatch>)  // null: no criterion

    StructuredFilter();
    ~StructuredFilter() override;
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

// The kinds of field sets that filters name.
enum class FieldSetKind : U8 { prefix, vlan, l4Port };

template <class Visit>
bool anyPortSetNames(const ProtoField& protoField, Visit visit, const InnerMatch* inner) {
    for (const auto& ports : protoField.portFields()) {
        if (visit(FieldSetKind::l4Port, ports->sportFieldSets(), inner)) return true;
        if (visit(FieldSetKind::l4Port, ports->dportFieldSets(), inner)) return true;
    }
    return false;
}

// Walks the names of field sets of a filter, those of the packet inside last. Calls
// visit(kind, names, inner) for the names of each criterion, with the match of the packet inside or
// null, until a call returns true. Says whether one did.
template <class Visit>
bool anyFieldSetNames(const StructuredFilter& filter, Visit visit,
                      const InnerMatch* inner = nullptr) {
    for (const auto* const names : {&filter.srcPrefixSets(), &filter.srcLpmPrefixSets(),
                                    &filter.dstPrefixSets(), &filter.dstLpmPrefixSets()}) {
        if (visit(FieldSetKind::prefix, *names, inner)) return true;
    }
    for (const auto& tag : filter.vlanTags()) {
        if (visit(FieldSetKind::vlan, tag->vlanFieldSets(), inner)) return true;
    }
    for (const auto& [range, protoField] : filter.protocols()) {
        if (protoField && anyPortSetNames(*protoField, visit, inner)) return true;
    }
    const InnerMatch* const next = inner == nullptr ? filter.innerMatch().get() : nullptr;
    return next != nullptr && next->structuredFilter() &&
           anyFieldSetNames(*next->structuredFilter(), visit, next);
}

// A filter, or null, and whether it names field sets, which is looked up once: who walks many rules
// need not look into their filters. The filter must not change any more.
class ORB_EXPORT FilterReference : public Orb::Ptr<const StructuredFilter> {
  public:
    FilterReference() = default;
    template <class Filter>
    requires std::is_convertible_v<Filter, Orb::Ptr<const StructuredFilter>> FilterReference(
        Filter filter)
        : Orb::Ptr<const StructuredFilter>(std::move(filter)), namesFieldSets_(looksForNames()) {}

    bool namesFieldSets() const { return namesFieldSets_; }

  private:
    bool looksForNames() const;

    bool namesFieldSets_ = false;
};

}  // namespace Classification
