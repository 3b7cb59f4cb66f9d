#include "import/Identities.h"

#include <algorithm>
#include <span>

#include "base/Number.h"

namespace Import {

namespace {

struct NamedNumber {
    std::string_view name;
    U32 number;
};

constexpr NamedNumber protocols[] = {
    {"IP_ICMP", 1},  {"IP_IGMP", 2}, {"IP_IN_IP", 4}, {"IP_TCP", 6},   {"IP_UDP", 17},
    {"IP_RSVP", 46}, {"IP_GRE", 47}, {"IP_AUTH", 51}, {"IP_PIM", 103}, {"IP_L2TP", 115},
};

constexpr NamedNumber etherTypes[] = {
    {"ETHERTYPE_IPV4", 0x0800}, {"ETHERTYPE_ARP", 0x0806},  {"ETHERTYPE_VLAN", 0x8100},
    {"ETHERTYPE_IPV6", 0x86dd}, {"ETHERTYPE_MPLS", 0x8847}, {"ETHERTYPE_LLDP", 0x88cc},
    {"ETHERTYPE_ROCE", 0x8915},
};

constexpr NamedNumber icmpv4Types[] = {
    {"ECHO_REPLY", 0},
    {"DST_UNREACHABLE", 3},
    {"REDIRECT", 5},
    {"ECHO", 8},
    {"ROUTER_ADVERTISEMENT", 9},
    {"ROUTER_SOLICITATION", 10},
    {"TIME_EXCEEDED", 11},
    {"PARAM_PROBLEM", 12},
    {"TIMESTAMP", 13},
    {"TIMESTAMP_REPLY", 14},
    {"EXT_ECHO_REQUEST", 42},
    {"EXT_ECHO_REPLY", 43},
};
constexpr NamedNumber icmpv4Codes[] = {
    {"DST_UNREACHABLE_NET", 0},
    {"DST_UNREACHABLE_HOST", 1},
    {"DST_UNREACHABLE_PROTOCOL", 2},
    {"DST_UNREACHABLE_PORT", 3},
    {"DST_UNREACHABLE_CANNOT_FRAGMENT", 4},
    {"DST_UNREACHABLE_SRC_ROUTE_FAILED", 5},
    {"DST_UNREACHABLE_DST_NET_UNKNOWN", 6},
    {"DST_UNREACHABLE_DST_HOST_UNKNOWN", 7},
    {"DST_UNREACHABLE_SRC_HOST_ISOLATED", 8},
    {"DST_UNREACHABLE_DST_NET_ADMIN_PROHIBITED", 9},
    {"DST_UNREACHABLE_DST_HOST_ADMIN_PROHIBITED", 10},
    {"DST_UNREACHABLE_NET_UNREACHABLE_FOR_TOS", 11},
    {"DST_UNREACHABLE_HOST_UNREACHABLE_FOR_TOS", 12},
    {"DST_UNREACHABLE_ADMIN_PROHIBITED", 13},
    {"DST_UNREACHABLE_HOST_PRECEDENCE_VIOLATION", 14},
    {"DST_UNREACHABLE_PRECEDENCE_CUTOFF", 15},
    {"REDIRECT_NETWORK", 0},
    {"REDIRECT_HOST", 1},
    {"REDIRECT_TOS_NETWORK", 2},
    {"REDIRECT_TOS_HOST", 3},
    {"TIME_EXCEEDED_TTL", 0},
    {"TIME_EXCEEDED_FRAGMENT_REASSEMBLY", 1},
    {"PARAM_PROBLEM_POINTER", 0},
    {"PARAM_PROBLEM_MISSING_OPTION", 1},
    {"PARAM_PROBLEM_BAD_LENGTH", 2},
};

constexpr NamedNumber icmpv6Types[] = {
    {"DST_UNREACHABLE", 1},
    {"PACKET_TOO_BIG", 2},
    {"TIME_EXCEEDED", 3},
    {"PARAM_PROBLEM", 4},
    {"ECHO_REQUEST", 128},
    {"ECHO_REPLY", 129},
    {"MULTICAST_LISTENER_QUERY", 130},
    {"MULTICAST_LISTENER_REPORT", 131},
    {"MULTICAST_LISTENER_DONE", 132},
    {"ROUTER_SOLICITATION", 133},
    {"ROUTER_ADVERTISEMENT", 134},
    {"NEIGHBOR_SOLICITATION", 135},
    {"NEIGHBOR_ADVERTISEMENT", 136},
    {"REDIRECT", 137},
};
constexpr NamedNumber icmpv6Codes[] = {
    {"DST_UNREACHABLE_NO_ROUTE", 0},      {"DST_UNREACHABLE_ADMIN_PROHIBITED", 1},
    {"DST_UNREACHABLE_BEYOND_SCOPE", 2},  {"DST_UNREACHABLE_ADDR", 3},
    {"DST_UNREACHABLE_PORT", 4},          {"DST_UNREACHABLE_SRC_ADDR_POLICY", 5},
    {"DST_UNREACHABLE_REJECT_ROUTE", 6},  {"TIME_EXCEEDED_HOP_LIMIT", 0},
    {"TIME_EXCEEDED_FRAG_REASSEMBLY", 1}, {"PARAM_PROBLEM_ERR_HEADER", 0},
    {"PARAM_PROBLEM_UNKNOWN_HEADER", 1},  {"PARAM_PROBLEM_UNKNOWN_OPTION", 2},
};

constexpr NamedNumber tcpFlagBits[] = {
    {"TCP_FIN", 0x01}, {"TCP_SYN", 0x02}, {"TCP_RST", 0x04}, {"TCP_PSH", 0x08},
    {"TCP_ACK", 0x10}, {"TCP_URG", 0x20}, {"TCP_ECE", 0x40}, {"TCP_CWR", 0x80},
};

std::optional<U32> numberOf(std::string_view text, std::span<const NamedNumber> names,
                            U64 highest) {
    if (const auto number = Base::parseNumber(text, {0, highest})) {
        return static_cast<U32>(*number);
    }
    const auto found = std::ranges::find(names, text, &NamedNumber::name);
    return found == names.end() ? std::nullopt : std::optional(found->number);
}

}  // namespace

std::optional<U32> protocolNumber(std::string_view text) { return numberOf(text, protocols, 254); }

std::optional<U32> etherTypeNumber(std::string_view text) {
    return numberOf(text, etherTypes, 0xffff);
}

std::optional<U32> icmpTypeNumber(std::string_view text, bool isIpv6) {
    if (isIpv6) return numberOf(text, icmpv6Types, 255);
    return numberOf(text, icmpv4Types, 255);
}

std::optional<U32> icmpCodeNumber(std::string_view text, bool isIpv6) {
    if (isIpv6) return numberOf(text, icmpv6Codes, 255);
    return numberOf(text, icmpv4Codes, 255);
}

std::optional<U32> tcpFlagBit(std::string_view text) {
    const auto* const found = std::ranges::find(tcpFlagBits, text, &NamedNumber::name);
    return found == std::end(tcpFlagBits) ? std::nullopt : std::optional(found->number);
}

}  // namespace Import
