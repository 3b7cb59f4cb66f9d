// Ranges of numbers that rules match, and the flags and types of TCP and ICMP. All bounds are
// inclusive; ranges order by (low, high).
#pragma once

#include <compare>

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
    Orb::String stringValue() const {
        Orb::String text = std::to_string(low);
        if (low != high) text += "-" + std::to_string(high);
        return text;
    }
};

// IP packet length in bytes, 0 to 65535.
struct PacketLengthRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// Fragment offset in units of 8 bytes, 0 to 8191 (RFC 791).
struct FragmentOffsetRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// Differentiated services code point, 0 to 63 (RFC 2474).
struct DscpRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// Explicit congestion notification, 0 to 3 (RFC 3168).
struct EcnRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// Time to live or hop limit, 0 to 255.
struct TtlRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// IP protocol number, 0 to 255 (IANA "Protocol Numbers").
struct ProtocolRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// TCP, UDP or SCTP port, 0 to 65535.
struct PortRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// VLAN id, 1 to 4094 (IEEE 802.1Q).
struct VlanRange : NumericalRange {
    using NumericalRange::NumericalRange;
};
// ICMP code, 0 to 255.
struct IcmpCodeRange : NumericalRange {
    using NumericalRange::NumericalRange;
};

// ICMP types, 0 to 255, with the codes they are restricted to; no codes: unrestricted.
struct IcmpTypeRange : NumericalRange {
    using NumericalRange::NumericalRange;
    Orb::HashSet2018<IcmpCodeRange> codes;
};

// One group of TCP flags that must hold together: the bits of the mask are looked at, and each must
// have the value of its bit in flag. Bits 0x001 fin, 0x002 syn, 0x004 rst, 0x008 psh, 0x010 ack,
// 0x020 urg (RFC 9293), 0x100 established, 0x200 initial-syn. Orders by (mask, flag).
struct TcpFlagAndMask {
    U16 mask = 0;
    U16 flag = 0;

    friend auto operator<=>(const TcpFlagAndMask&, const TcpFlagAndMask&) = default;
    U64 hashValue() const { return (U64{mask} << 16) | flag; }
    // "flag/mask" in decimal.
    Orb::String stringValue() const { return std::to_string(flag) + "/" + std::to_string(mask); }
};

}  // namespace Classification
