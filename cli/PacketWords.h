// The words that tell a packet, and the point that it is asked about.
#pragma once

#include "cli/Grammar.h"
#include "traffic-policy/ShowPacket.h"

namespace Cli {

// The command in full, of which the help shows the fields as "FIELD VALUE ...".
inline constexpr std::string_view packetGrammar =
    "show traffic-policy packet (interface INTF (input | output) | cpu VRF | vlan VLAN | policy "
    "NAME) "
    "(source ADDRESS | destination ADDRESS | family (ipv4 | ipv6 | mac | mpls) | "
    "protocol PROTOCOL | source-port PORT | destination-port PORT | tcp-flags FLAGS | "
    "icmp-type NUMBER | icmp-code NUMBER | dscp DSCP | ecn NUMBER | ttl NUMBER | length NUMBER | "
    "fragment OFFSET | vlan TAGS | ip-options (yes | no) | tracked (yes | no) | "
    "bgp-neighbor (yes | no) | inner | detail) ...";

// The point behind "packet" or "capture FILE". Throws CommandError.
TrafficPolicyCli::AskedPoint pointOf(const Match& match);

// The packet of the fields behind the point. Throws CommandError, with the word that is wrong: a
// value that cannot be read, a field that stands twice, fields that contradict each other.
TrafficPolicyCli::Diagnosis::Packet packetOf(const Match& match);

}  // namespace Cli
