// A packet of which some fields are known. A field that is not known may still be narrowed to some
// values: who names a port, but no protocol, speaks of a protocol that has ports. docs/matching.md
// says what each field is.
#pragma once

#include <array>
#include <bit>
#include <optional>
#include <string_view>

#include "hive/MatchOption.h"
#include "hive/Ranges.h"
#include "traffic-policy/ValueSet.h"

namespace TrafficPolicyCli::Diagnosis {

using MatchOption = PolicyMap::ClassMapMatchOption;

// The fields, in the order in which they are told. The same fields again, from the offset
// innerFields on, are those of the packet inside a GTP-U tunnel.
enum class Field : U8 {
    source,
    destination,
    protocol,    // IANA "Protocol Numbers", 0 to 255
    sourcePort,  // of TCP, UDP, UDP-Lite, SCTP, DCCP
    destinationPort,
    tcpFlags,  // a sum of Classification::TcpBit, of flags only
    icmpType,
    icmpCode,
    dscp,
    ecn,
    ttl,
    length,      // of the IP packet, in bytes
    fragment,    // 0: not a fragment; else the offset in units of 8 bytes, plus 1
    vlan,        // the outer tag: 0 for none, else the VLAN id plus 1
    secondVlan,  // the inner one, likewise
    ipOptions,   // 0 or 1, as the two below
    tracked,
    bgpNeighbor,
    innerFamily = 36,  // 0: there is no inner packet; else 4 or 6
    // No packet tells these: what a rule asks, and what it does, beyond what is understood of it.
    otherCriteria,
    otherAction,
};

inline constexpr U32 innerFields = 18;
inline constexpr U32 fieldCount = 39;

constexpr Field innerField(Field field) {
    return static_cast<Field>(static_cast<U32>(field) + innerFields);
}
constexpr bool isInnerField(Field field) {
    return static_cast<U32>(field) >= innerFields && field <= Field::innerFamily;
}
// A field of the outer packet, or of the one inside.
constexpr Field fieldAt(Field field, bool isInner) { return isInner ? innerField(field) : field; }

// The name of a field as an operator types it: "source-port", "inner destination". Both tags are
// "vlan". What cannot be typed: "other criteria", "other action".
ORB_EXPORT std::string_view fieldName(Field field);
// All values that the field can have.
const ValueSet& allValues(Field field);

// A set of fields.
class FieldMask {
  public:
    bool contains(Field field) const { return (bits_ & bitOf(field)) != 0; }
    bool empty() const { return bits_ == 0; }
    void is(Field field) { bits_ |= bitOf(field); }
    void del(Field field) { bits_ &= ~bitOf(field); }
    FieldMask& operator|=(const FieldMask& other) {
        bits_ |= other.bits_;
        return *this;
    }
    friend bool operator==(const FieldMask&, const FieldMask&) = default;
    // Calls visit(name) for each field, in order, naming both tags once.
    template <class Visit>
    void forEachName(const Visit& visit) const {
        for (U32 i = 0; i < fieldCount; ++i) {
            const auto field = static_cast<Field>(i);
            const bool isNamed = field == Field::secondVlan && contains(Field::vlan);
            if (contains(field) && !isNamed) visit(fieldName(field));
        }
    }

  private:
    static U64 bitOf(Field field) { return U64{1} << static_cast<U32>(field); }
    U64 bits_ = 0;
};

// What unknown fields are narrowed to; those that are not in it may have any value.
class Narrowed {
  public:
    struct Entry {
        Field field;
        ValueSet values;
    };
    const ValueSet& values(Field field) const;
    void is(Field field, ValueSet values);
    const std::vector<Entry>& entries() const { return entries_; }

  private:
    std::vector<Entry> entries_;
};

class ORB_EXPORT Packet {
  public:
    explicit Packet(MatchOption family);

    // Two fields that no packet can have together, or a field that its family does not have.
    struct Contradiction {
        Field field;           // the one to show as wrong
        std::string_view why;  // "ports without TCP, UDP, UDP-Lite, SCTP or DCCP"
    };
    // Notes what follows from the fields that were given. To be called once, when all are.
    std::optional<Contradiction> settle();

    MatchOption family() const { return family_; }
    bool isKnown(Field field) const { return known_.contains(field); }
    // REQUIRES: isKnown().
    const FieldValue& value(Field field) const { return values_[static_cast<std::size_t>(field)]; }
    U32 number(Field field) const { return static_cast<U32>(value(field).high); }
    void valueIs(Field field, const FieldValue& value) {
        values_[static_cast<std::size_t>(field)] = value;
        known_.is(field);
    }
    void numberIs(Field field, U32 number) { valueIs(field, FieldValue::number(number)); }
    const Narrowed& narrowed() const { return narrowed_; }
    // Says whether something was told of the packet inside.
    bool hasInner() const;

  private:
    std::optional<Contradiction> settleFrame() const;
    std::optional<Contradiction> settleLayer4(bool isInner);
    ValueSet icmpProtocols(bool isInner) const;
    void narrow(Field field, ValueSet numbers);
    std::optional<Contradiction> settleInner();

    MatchOption family_;
    FieldMask known_;
    std::array<FieldValue, fieldCount> values_{};
    Narrowed narrowed_;
};

// The protocols that have ports, and the fragments that have a layer-4 header: packets that are not
// fragmented, and first fragments.
const ValueSet& protocolsWithPorts();
const ValueSet& fragmentsWithLayer4();
ORB_EXPORT bool protocolHasPorts(U32 protocol);

inline constexpr U32 protocolIcmp = 1;
inline constexpr U32 protocolTcp = 6;
inline constexpr U32 protocolUdp = 17;
inline constexpr U32 protocolIcmpv6 = 58;
inline constexpr U32 portBgp = 179;
inline constexpr U32 portGtpU = 2152;

// All flags of a TCP header, and their names by bit, from the lowest.
inline constexpr U32 allTcpFlags = [] {
    U32 bits = 0;
    for (const auto& flag : Classification::tcpFlags) bits |= flag.isKeyword ? 0U : flag.bit;
    return bits;
}();
inline constexpr auto tcpFlagNames = [] {
    std::array<std::string_view, std::popcount(allTcpFlags)> names;
    for (const auto& flag : Classification::tcpFlags) {
        if (!flag.isKeyword) names[std::countr_zero(flag.bit)] = flag.name;
    }
    return names;
}();

}  // namespace TrafficPolicyCli::Diagnosis
