// Ranges of numbers that rules match, and the flags and types of TCP and ICMP. Each type of range
// has the bounds of its numbers, from which readers, filters and messages take them. All bounds are
// inclusive; ranges order by (low, high). Those of plain numbers in the IP header stand beside
// their criteria in StructuredFilter.h.
#pragma once

#include <compare>

#include "base/Number.h"
#include "orb/Same.h"

namespace Classification {

struct NumericalRange {
    U32 low = 0;
    U32 high = 0;

    constexpr NumericalRange() = default;
    constexpr NumericalRange(U32 lowBound, U32 highBound) : low(lowBound), high(highBound) {}

    friend auto operator<=>(const NumericalRange&, const NumericalRange&) = default;
    U64 hashValue() const { return (U64{low} << 32) | high; }
    // "low-high", or the number alone when the bounds are equal.
    Orb::String stringValue() const { return Base::rangeText(low, high); }
};

// A range of numbers from lowest to highest, of a kind of its own.
template <U32 lowest, U32 highest, class Kind>
struct RangeOf : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{lowest, highest};
};

// IP protocol number (IANA "Protocol Numbers").
using ProtocolRange = RangeOf<0, 255, struct ProtocolNumber>;
// TCP, UDP or SCTP port.
using PortRange = RangeOf<0, 65535, struct PortNumber>;
// VLAN id (IEEE 802.1Q).
using VlanRange = RangeOf<1, 4094, struct VlanId>;
using IcmpCodeRange = RangeOf<0, 255, struct IcmpCode>;

// ICMP types with the codes they are restricted to; no codes: unrestricted.
struct IcmpTypeRange : RangeOf<0, 255, struct IcmpType> {
    using RangeOf::RangeOf;
    Orb::HashSet2018<IcmpCodeRange> codes;

    friend bool operator==(const IcmpTypeRange& a, const IcmpTypeRange& b) {
        return a.low == b.low && a.high == b.high && Orb::isSame(a.codes, b.codes);
    }
};

// A TCP flag, or a keyword that is matched like one.
struct TcpFlag {
    std::string_view name;
    U16 bit;
    bool isKeyword;  // alone in its group, and set
};

// The bits of the TCP header (RFC 9293), and those of the keywords.
namespace TcpBit {
inline constexpr U16 fin = 0x001, syn = 0x002, rst = 0x004, psh = 0x008, ack = 0x010, urg = 0x020;
inline constexpr U16 established = 0x100;  // ack or rst
inline constexpr U16 initialSyn = 0x200;   // syn without ack
}  // namespace TcpBit

// In the order in which the flags of a group are shown.
inline constexpr TcpFlag tcpFlags[] = {
    {"initial-syn", TcpBit::initialSyn, true},
    {"established", TcpBit::established, true},
    {"ack", TcpBit::ack, false},
    {"fin", TcpBit::fin, false},
    {"psh", TcpBit::psh, false},
    {"rst", TcpBit::rst, false},
    {"syn", TcpBit::syn, false},
    {"urg", TcpBit::urg, false},
};

// One group of TCP flags that must hold together: the bits of the mask are looked at, and each must
// have the value of its bit in flag. Orders by (mask, flag).
struct TcpFlagAndMask {
    U16 mask = 0;
    U16 flag = 0;

    friend auto operator<=>(const TcpFlagAndMask&, const TcpFlagAndMask&) = default;
    U64 hashValue() const { return (U64{mask} << 16) | flag; }
    // "flag/mask" in decimal.
    Orb::String stringValue() const { return std::to_string(flag) + "/" + std::to_string(mask); }
};

}  // namespace Classification
