#include "traffic-policy/Packet.h"

#include <algorithm>
#include <string>

#include "hive/StructuredFilter.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

using namespace Classification;

struct FieldRow {
    std::string_view name;
    U64 highest;  // of numbers; addresses go over all values
};

constexpr U64 anyAddress = ~U64{0};
constexpr U64 tagOrNone = 0xfff + 1;  // of 12 bits

// By Field, from 0.
constexpr FieldRow fieldRows[innerFields] = {
    {"source", anyAddress},
    {"destination", anyAddress},
    {"protocol", ProtocolRange::bounds.highest},
    {"source-port", PortRange::bounds.highest},
    {"destination-port", PortRange::bounds.highest},
    {"tcp-flags", allTcpFlags},
    {"icmp-type", IcmpTypeRange::bounds.highest},
    {"icmp-code", IcmpCodeRange::bounds.highest},
    {"dscp", DscpRange::bounds.highest},
    {"ecn", EcnRange::bounds.highest},
    {"ttl", TtlRange::bounds.highest},
    {"length", PacketLengthRange::bounds.highest},
    {"fragment", FragmentOffsetRange::bounds.highest + 1},
    {"vlan", tagOrNone},
    {"vlan", tagOrNone},
    {"ip-options", 1},
    {"tracked", 1},
    {"bgp-neighbor", 1},
};

ValueSet valuesOf(Field field) {
    if (field == Field::innerFamily) {
        return ValueSet(
            {ValueSet::numbers(0, 0), ValueSet::numbers(4, 4), ValueSet::numbers(6, 6)});
    }
    const U64 highest = fieldRows[static_cast<U32>(field) % innerFields].highest;
    if (highest == anyAddress) return ValueSet({ValueSet::Interval{{}, {~U64{0}, ~U64{0}}}});
    return ValueSet({ValueSet::numbers(0, static_cast<U32>(highest))});
}

constexpr Field portFields[] = {Field::sourcePort, Field::destinationPort};
constexpr Field icmpFields[] = {Field::icmpType, Field::icmpCode};

}  // namespace

std::string_view fieldName(Field field) {
    static const auto innerNames = [] {
        std::array<std::string, innerFields> names;
        for (U32 i = 0; i < innerFields; ++i) names[i] = "inner " + std::string(fieldRows[i].name);
        return names;
    }();
    if (field == Field::innerFamily) return "inner family";
    if (field == Field::otherCriteria) return "other criteria";
    if (field == Field::otherAction) return "other action";
    const auto index = static_cast<U32>(field);
    if (isInnerField(field)) return innerNames[index - innerFields];
    return fieldRows[index].name;
}

const ValueSet& allValues(Field field) {
    static const auto all = [] {
        std::array<ValueSet, fieldCount> sets;
        for (U32 i = 0; i < fieldCount; ++i) sets[i] = valuesOf(static_cast<Field>(i));
        return sets;
    }();
    return all[static_cast<std::size_t>(field)];
}

const ValueSet& protocolsWithPorts() {
    static const ValueSet protocols({ValueSet::numbers(6, 6), ValueSet::numbers(17, 17),
                                     ValueSet::numbers(33, 33), ValueSet::numbers(132, 132),
                                     ValueSet::numbers(136, 136)});
    return protocols;
}

bool protocolHasPorts(U32 protocol) {
    return protocolsWithPorts().contains(FieldValue::number(protocol));
}

const ValueSet& fragmentsWithLayer4() {
    static const ValueSet fragments({ValueSet::numbers(0, 1)});
    return fragments;
}

const ValueSet& Narrowed::values(Field field) const {
    const auto found = std::ranges::find(entries_, field, &Entry::field);
    return found == entries_.end() ? allValues(field) : found->values;
}

void Narrowed::is(Field field, ValueSet values) {
    const auto found = std::ranges::find(entries_, field, &Entry::field);
    if (found != entries_.end()) {
        found->values = std::move(values);
    } else {
        entries_.push_back({field, std::move(values)});
    }
}

Packet::Packet(MatchOption family) : family_(family) {
    // What travels in a tunnel has no tags of its own.
    numberIs(innerField(Field::vlan), 0);
    numberIs(innerField(Field::secondVlan), 0);
}

bool Packet::hasInner() const {
    if (isKnown(Field::innerFamily)) return number(Field::innerFamily) != 0;
    for (U32 i = 0; i < innerFields; ++i) {
        const auto field = static_cast<Field>(i);
        const bool isTag = field == Field::vlan || field == Field::secondVlan;
        if (!isTag && isKnown(innerField(field))) return true;
    }
    return false;
}

// Of a frame without an IP header.
std::optional<Packet::Contradiction> Packet::settleFrame() const {
    constexpr std::string_view why = "no IP header in a frame of this family";
    for (U32 i = 0; i < static_cast<U32>(Field::vlan); ++i) {
        const auto field = static_cast<Field>(i);
        if (isKnown(field)) return Contradiction{field, why};
    }
    if (isKnown(Field::ipOptions)) return Contradiction{Field::ipOptions, why};
    if (hasInner()) return Contradiction{Field::innerFamily, why};
    return std::nullopt;
}

std::optional<Packet::Contradiction> Packet::settle() {
    if (family_ != MatchOption::ipv4 && family_ != MatchOption::ipv6) return settleFrame();
    if (hasInner()) {
        if (const auto contradiction = settleInner()) return contradiction;
        if (const auto contradiction = settleLayer4(true)) return contradiction;
    }
    return settleLayer4(false);
}

// A packet inside is that of a GTP-U packet, which goes to a port of its own.
std::optional<Packet::Contradiction> Packet::settleInner() {
    if (isKnown(Field::protocol) && number(Field::protocol) != protocolUdp) {
        return Contradiction{Field::protocol, "an inner packet without UDP"};
    }
    numberIs(Field::protocol, protocolUdp);
    if (isKnown(Field::destinationPort) && number(Field::destinationPort) != portGtpU) {
        return Contradiction{Field::destinationPort,
                             "an inner packet without the destination port 2152"};
    }
    numberIs(Field::destinationPort, portGtpU);
    if (!isKnown(Field::innerFamily)) {
        narrowed_.is(Field::innerFamily,
                     ValueSet({ValueSet::numbers(4, 4), ValueSet::numbers(6, 6)}));
    }
    return std::nullopt;
}

// The protocols that are the ICMP of a header's family; of an unknown family both.
ValueSet Packet::icmpProtocols(bool isInner) const {
    if (isInner && !isKnown(Field::innerFamily)) {
        return ValueSet({ValueSet::numbers(protocolIcmp, protocolIcmp),
                         ValueSet::numbers(protocolIcmpv6, protocolIcmpv6)});
    }
    const bool isIpv4 = isInner ? number(Field::innerFamily) == 4 : family_ == MatchOption::ipv4;
    const U32 protocol = isIpv4 ? protocolIcmp : protocolIcmpv6;
    return ValueSet({ValueSet::numbers(protocol, protocol)});
}

// Fields of a layer-4 header say which protocol it is of, and that it is there.
std::optional<Packet::Contradiction> Packet::settleLayer4(bool isInner) {
    const Field protocol = fieldAt(Field::protocol, isInner);
    const Field fragment = fieldAt(Field::fragment, isInner);
    const auto knownOf = [&](const auto& fields) -> std::optional<Field> {
        const auto* const found = std::ranges::find_if(
            fields, [&](Field field) { return isKnown(fieldAt(field, isInner)); });
        if (found == std::end(fields)) return std::nullopt;
        return fieldAt(*found, isInner);
    };
    struct Layer4 {
        std::optional<Field> field;
        ValueSet protocols;
        std::string_view why;
    };
    const Layer4 rows[] = {
        {knownOf(portFields), protocolsWithPorts(),
         "ports without TCP, UDP, UDP-Lite, SCTP or DCCP"},
        {knownOf(std::array{Field::tcpFlags}),
         ValueSet({ValueSet::numbers(protocolTcp, protocolTcp)}), "TCP flags without TCP"},
        {knownOf(icmpFields), icmpProtocols(isInner),
         "an ICMP type or code without the family's ICMP"},
    };
    ValueSet protocols = allValues(protocol);
    bool hasLayer4 = false;
    for (const Layer4& row : rows) {
        if (!row.field) continue;
        hasLayer4 = true;
        protocols = protocols.intersected(row.protocols);
        const bool fits =
            isKnown(protocol) ? row.protocols.contains(value(protocol)) : !protocols.empty();
        if (!fits) return Contradiction{*row.field, row.why};
        if (isKnown(fragment) && !fragmentsWithLayer4().contains(value(fragment))) {
            return Contradiction{*row.field, "a fragment that is not the first has no such header"};
        }
    }
    if (!hasLayer4) return std::nullopt;
    if (!isKnown(protocol)) narrow(protocol, std::move(protocols));
    if (!isKnown(fragment)) narrowed_.is(fragment, fragmentsWithLayer4());
    return std::nullopt;
}

// A field that can have one number only is known.
void Packet::narrow(Field field, ValueSet numbers) {
    const auto& intervals = numbers.intervals();
    if (intervals.size() == 1 && intervals[0].low.high == intervals[0].high.high) {
        valueIs(field, intervals[0].low);
    } else {
        narrowed_.is(field, std::move(numbers));
    }
}

}  // namespace TrafficPolicyCli::Diagnosis
