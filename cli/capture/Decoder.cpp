// IPv4 headers and tags are read by libtins. It reads no layer-4 header of a first fragment, takes
// ESP for an IPv6 extension header, and knows no GTP, so these few bytes are read here.
#include "cli/capture/Decoder.h"

#include <pcap/dlt.h>
#include <tins/dot1q.h>
#include <tins/exceptions.h>
#include <tins/ip.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace Cli {

namespace {

using TrafficPolicyCli::Diagnosis::Field;
using TrafficPolicyCli::Diagnosis::fieldAt;
using TrafficPolicyCli::Diagnosis::FieldValue;
using TrafficPolicyCli::Diagnosis::Packet;
using TrafficPolicyCli::Diagnosis::portGtpU;
using TrafficPolicyCli::Diagnosis::protocolHasPorts;
using MatchOption = PolicyMap::ClassMapMatchOption;
using Bytes = std::span<const U8>;

U32 word16(Bytes bytes, std::size_t at) { return U32{bytes[at]} << 8 | bytes[at + 1]; }

constexpr U32 dltIpv4 = 228;
constexpr U32 dltIpv6 = 229;

// The header chain of an IPv6 packet, up to the upper-layer protocol (RFC 8200).
struct Ipv6Chain {
    U32 protocol = 0;
    U32 fragment = 0;  // as the field is told: the offset plus 1
    bool hasOptions = false;
    bool isWhole = true;  // clear: the captured bytes end within it
    Bytes rest{};         // behind the last header
};

// Of the offset and the flag of a fragment header: the field as it is told, 0 for a packet that is
// whole in its one fragment.
U32 fragmentOf(U32 offsetAndFlag) {
    const U32 offset = offsetAndFlag >> 3;
    return offset != 0 || (offsetAndFlag & 1) != 0 ? offset + 1 : 0;
}

Ipv6Chain chainOf(Bytes packet) {
    constexpr U32 hopByHop = 0, routing = 43, fragment = 44, authentication = 51, destination = 60;
    static constexpr U32 extensions[] = {hopByHop, routing, fragment, authentication, destination};
    Ipv6Chain chain;
    chain.protocol = packet[6];
    chain.rest = packet.subspan(40);
    for (;;) {
        const U32 type = chain.protocol;
        const bool isExtension = std::ranges::find(extensions, type) != std::end(extensions);
        // Behind a later fragment's header stands the middle of some other one.
        if (!isExtension || chain.fragment > 1) return chain;
        if (chain.rest.size() < 8) {
            chain.isWhole = false;
            return chain;
        }
        std::size_t length = 8 * (std::size_t{chain.rest[1]} + 1);
        if (type == authentication) length = 4 * (std::size_t{chain.rest[1]} + 2);
        if (type == fragment) {
            length = 8;
            chain.fragment = std::max(chain.fragment, fragmentOf(word16(chain.rest, 2)));
        }
        chain.hasOptions = chain.hasOptions || type == hopByHop || type == destination;
        chain.protocol = chain.rest[0];
        if (chain.rest.size() < length) {
            chain.isWhole = false;
            return chain;
        }
        chain.rest = chain.rest.subspan(length);
    }
}

// Fills in the fields of one IP header, and of what follows it.
class IpReader {
  public:
    IpReader(Packet& packet, bool isInner) : packet_(packet), isInner_(isInner) {}

    // The bytes begin with the header. Throws Tins::malformed_packet when it is cut off.
    void readIpv4(Bytes bytes) {
        const std::size_t headerSize = bytes.empty() ? 0 : 4 * std::size_t{bytes[0] & 15U};
        if (headerSize < 20 || bytes.size() < headerSize) throw Tins::malformed_packet();
        const Tins::IP ip = headerOnly(bytes.first(headerSize));
        set(Field::source, address(ip.src_addr()));
        set(Field::destination, address(ip.dst_addr()));
        differentiated(ip.tos());
        set(Field::ttl, ip.ttl());
        // Large packets that the network card cuts up have no length when they are captured.
        const U32 length = word16(bytes, 2);
        if (length != 0) {
            set(Field::length, length);
            if (length < headerSize) throw Tins::malformed_packet();
            bytes = bytes.first(std::min<std::size_t>(bytes.size(), length));
        }
        const U32 offset = ip.fragment_offset();
        const bool isFragment = offset != 0 || (ip.flags() & Tins::IP::MORE_FRAGMENTS) != 0;
        set(Field::fragment, isFragment ? offset + 1 : 0);
        set(Field::ipOptions, headerSize > 20 ? 1 : 0);
        upper(bytes[9], offset != 0, bytes.subspan(headerSize));
    }

    void readIpv6(Bytes bytes) {
        if (bytes.size() < 40) throw Tins::malformed_packet();
        set(Field::source, address(bytes.subspan(8, 16)));
        set(Field::destination, address(bytes.subspan(24, 16)));
        differentiated((word16(bytes, 0) >> 4) & 0xff);
        set(Field::ttl, bytes[7]);
        const U32 payload = word16(bytes, 4);
        if (payload != 0) {
            set(Field::length, std::min(payload + 40, 65535U));
            bytes = bytes.first(std::min<std::size_t>(bytes.size(), payload + 40));
        }
        const Ipv6Chain chain = chainOf(bytes);
        if (!chain.isWhole) return;
        set(Field::fragment, chain.fragment);
        set(Field::ipOptions, chain.hasOptions ? 1 : 0);
        upper(chain.protocol, chain.fragment > 1, chain.rest);
    }

  private:
    void set(Field field, U32 number) { packet_.numberIs(fieldAt(field, isInner_), number); }
    void set(Field field, const FieldValue& value) {
        packet_.valueIs(fieldAt(field, isInner_), value);
    }

    static FieldValue address(const Tins::IPv4Address& address) {
        const U32 network = address;
        const U32 host =
            std::endian::native == std::endian::little ? __builtin_bswap32(network) : network;
        return {U64{host} << 32, 0};
    }
    static FieldValue address(Bytes bytes) {
        FieldValue value;
        for (std::size_t at = 0; at < 16; ++at) {
            U64& half = at < 8 ? value.high : value.low;
            half = half << 8 | bytes[at];
        }
        return value;
    }
    // The protocol is taken out, so that nothing behind the header is looked at.
    static Tins::IP headerOnly(Bytes header) {
        U8 copy[60];
        std::memcpy(copy, header.data(), header.size());
        constexpr U8 experimental = 253;
        copy[9] = experimental;
        copy[2] = 0;
        copy[3] = static_cast<U8>(header.size());
        return {copy, static_cast<uint32_t>(header.size())};
    }

    void differentiated(U32 octet) {
        set(Field::dscp, octet >> 2);
        set(Field::ecn, octet & 3);
    }

    // What is cut off stays unknown.
    void upper(U32 protocol, bool isLaterFragment, Bytes bytes) {
        constexpr U32 tcp = 6, udp = 17;
        set(Field::protocol, protocol);
        if (isLaterFragment) return;
        const bool isIcmp = protocol == (isIpv4() ? 1U : 58U);
        const auto size = static_cast<uint32_t>(bytes.size());
        if (isIcmp && size >= 2) {
            set(Field::icmpType, bytes[0]);
            set(Field::icmpCode, bytes[1]);
        }
        if (!protocolHasPorts(protocol) || size < 4) return;
        ports(word16(bytes, 0), word16(bytes, 2));
        if (protocol == tcp && size >= 14) set(Field::tcpFlags, bytes[13] & 0x3f);
        if (protocol == udp && !isInner_ && word16(bytes, 2) == portGtpU && size > 8) {
            tunnel(bytes.subspan(8));
        }
    }
    bool isIpv4() const {
        return isInner_ ? packet_.number(Field::innerFamily) == 4
                        : packet_.family() == MatchOption::ipv4;
    }
    void ports(U32 source, U32 destination) {
        set(Field::sourcePort, source);
        set(Field::destinationPort, destination);
    }

    // GTP version 1 user data (3GPP TS 29.281): a header of 8 bytes, 4 more when one of its three
    // flags is set, and extension headers.
    void tunnel(Bytes bytes) {
        if (bytes.size() < 8) return;
        constexpr U32 versionOne = 0x30, userData = 255, moreFields = 0x07, extension = 0x04;
        if ((bytes[0] & 0xf0) != versionOne || bytes[1] != userData) {
            return packet_.numberIs(Field::innerFamily, 0);
        }
        std::size_t at = (bytes[0] & moreFields) != 0 ? 12 : 8;
        if (bytes.size() < at) return;
        U32 next = (bytes[0] & extension) != 0 ? bytes[11] : 0;
        while (next != 0) {
            if (at >= bytes.size() || bytes[at] == 0) return;
            const std::size_t length = 4 * std::size_t{bytes[at]};
            if (at + length > bytes.size()) return;
            next = bytes[at + length - 1];
            at += length;
        }
        inner(bytes.subspan(at));
    }

    void inner(Bytes bytes) {
        if (bytes.empty()) return packet_.numberIs(Field::innerFamily, 0);
        const U32 version = bytes[0] >> 4;
        packet_.numberIs(Field::innerFamily, version == 4 || version == 6 ? version : 0);
        try {
            if (version == 4) IpReader(packet_, true).readIpv4(bytes);
            if (version == 6) IpReader(packet_, true).readIpv6(bytes);
        } catch (const Tins::exception_base&) {
            // What could be read stands; the rest is unknown.
        }
    }

    Packet& packet_;
    bool isInner_;
};

// What an EtherType says is behind it.
Packet payloadOf(U32 etherType, U32 outerTag, U32 innerTag, Bytes bytes) {
    constexpr U32 ipv4 = 0x0800, ipv6 = 0x86dd, mpls = 0x8847, mplsMulticast = 0x8848;
    Packet packet(etherType == ipv4                                 ? MatchOption::ipv4
                  : etherType == ipv6                               ? MatchOption::ipv6
                  : etherType == mpls || etherType == mplsMulticast ? MatchOption::mpls
                                                                    : MatchOption::mac);
    packet.numberIs(Field::vlan, outerTag);
    packet.numberIs(Field::secondVlan, innerTag);
    IpReader reader(packet, false);
    if (etherType == ipv4) reader.readIpv4(bytes);
    if (etherType == ipv6) reader.readIpv6(bytes);
    return packet;
}

// Tags and what they are in front of.
Packet tagged(U32 etherType, Bytes bytes) {
    U32 tags[2] = {0, 0};
    for (U32 count = 0; etherType == 0x8100 || etherType == 0x88a8 || etherType == 0x9100;
         ++count) {
        if (bytes.size() < 4) throw Tins::malformed_packet();
        const Tins::Dot1Q tag(bytes.data(), 4);
        if (count < 2) tags[count] = U32{tag.id()} + 1;
        etherType = word16(bytes, 2);
        bytes = bytes.subspan(4);
    }
    return payloadOf(etherType, tags[0], tags[1], bytes);
}

Packet rawIp(Bytes frame) {
    const U32 version = frame.empty() ? 0 : frame[0] >> 4;
    if (version != 4 && version != 6) throw Tins::malformed_packet();
    return payloadOf(version == 4 ? 0x0800 : 0x86dd, 0, 0, frame);
}

Packet ethernet(Bytes frame) {
    if (frame.size() < 14) throw Tins::malformed_packet();
    return tagged(word16(frame, 12), frame.subspan(14));
}

Packet linuxCooked(Bytes frame) {
    if (frame.size() < 16) throw Tins::malformed_packet();
    return tagged(word16(frame, 14), frame.subspan(16));
}

// The family in the byte order of the machine that captured stands before the packet, which tells
// it too.
Packet loopback(Bytes frame) {
    if (frame.size() < 4) throw Tins::malformed_packet();
    return rawIp(frame.subspan(4));
}

struct LinkType {
    int type;
    Packet (*decode)(Bytes frame);
};
constexpr LinkType linkTypes[] = {
    {DLT_EN10MB, ethernet},       {DLT_RAW, rawIp},     {dltIpv4, rawIp}, {dltIpv6, rawIp},
    {DLT_LINUX_SLL, linuxCooked}, {DLT_NULL, loopback},
};

const LinkType* find(int linkType) {
    for (const LinkType& row : linkTypes) {
        if (row.type == linkType) return &row;
    }
    return nullptr;
}

}  // namespace

bool canDecode(int linkType) { return find(linkType) != nullptr; }

Decoded decode(int linkType, std::span<const U8> frame) {
    try {
        return {find(linkType)->decode(frame), {}};
    } catch (const Tins::malformed_packet&) {
        return {std::nullopt, "a header is malformed or cut off"};
    } catch (const Tins::exception_base& error) {
        return {std::nullopt, error.what()};
    }
}

}  // namespace Cli
