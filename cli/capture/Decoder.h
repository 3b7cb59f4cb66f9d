// Frames of a capture to packets of which everything is known that a frame can show.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "traffic-policy/Packet.h"

namespace Cli {

// Says whether frames of a link type (a DLT_ value of libpcap) can be decoded: Ethernet, raw IP,
// Linux cooked captures, BSD loopback.
bool canDecode(int linkType);

struct Decoded {
    std::optional<TrafficPolicyCli::Diagnosis::Packet> packet;
    std::string reason;  // when there is no packet: why, as "malformed IP header"
};

// The captured bytes of a frame. REQUIRES: canDecode(linkType).
Decoded decode(int linkType, std::span<const U8> frame);

}  // namespace Cli
