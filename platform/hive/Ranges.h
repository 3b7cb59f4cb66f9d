// Ranges of numbers that rules match, and the flags and types of TCP and ICMP. Each type of range
// has the bounds of its numbers, from which readers, filters and messages take them. All bounds are
// inclusive; ranges order by (low, high).
#pragma once

#include <compare>

#include "base/Number.h"
#include "orb/HashMap2018.h"

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

// IP packet length in bytes.
struct PacketLengthRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 65535};
};
// Fragment offset in units of 8 bytes (RFC 791).
struct FragmentOffsetRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 8191};
};
// Differentiated services code point (RFC 2474).
struct DscpRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 63};
};
// Explicit congestion notification (RFC 3168).
struct EcnRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 3};
};
// Time to live or hop limit.
struct TtlRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 255};
};
// IP protocol number (IANA "Protocol Numbers").
struct ProtocolRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 255};
};
// TCP, UDP or SCTP port.
struct PortRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 65535};
};
// VLAN id (IEEE 802.1Q).
struct VlanRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{1, 4094};
};
// ICMP code.
struct IcmpCodeRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 255};
};

// ICMP types with the codes they are restricted to; no codes: unrestricted.
struct IcmpTypeRange : NumericalRange {
    using NumericalRange::NumericalRange;
    static constexpr Base::Bounds bounds{0, 255};
    Orb::HashSet2018<IcmpCodeRange> codes;
};

// A TCP flag, or a keyword that is matched like one.
struct TcpFlag {
    std::string_view name;
    U16 bit;
    bool isKeyword;  // alone in its group, and set
};

// In the order in which the flags of a group are shown (RFC 9293).
inline constexpr TcpFlag tcpFlags[] = {
    {"initial-syn", 0x200, true}, {"established", 0x100, true}, {"ack", 0x010, false},
    {"fin", 0x001, false},        {"psh", 0x008, false},        {"rst", 0x004, false},
    {"syn", 0x002, false},        {"urg", 0x020, false},
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
