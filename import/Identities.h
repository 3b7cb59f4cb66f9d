// The names of the OpenConfig models for numbers.
#pragma once

#include <optional>
#include <string_view>

#include "orb/Types.h"

namespace Import {

// IP protocols (IANA "Protocol Numbers"): a number 0 to 254, or "IP_TCP".
std::optional<U32> protocolNumber(std::string_view text);
// EtherTypes (IANA "IEEE 802 Numbers"): a number, or "ETHERTYPE_IPV4".
std::optional<U32> etherTypeNumber(std::string_view text);
// ICMP types and codes (RFC 792, RFC 4443 and the IANA registries): a number, or a name. The name
// of a code begins with that of its type.
std::optional<U32> icmpTypeNumber(std::string_view text, bool isIpv6);
std::optional<U32> icmpCodeNumber(std::string_view text, bool isIpv6);
// The bit of a TCP flag in the header (RFC 9293): "TCP_SYN" is 2, "TCP_ECE" 0x40, "TCP_CWR" 0x80.
std::optional<U32> tcpFlagBit(std::string_view text);

}  // namespace Import
