// The known fields of a packet, as an operator types them.
#pragma once

#include "textout/RendererV2.h"
#include "traffic-policy/Packet.h"

namespace TrafficPolicyCli::Diagnosis {

// The members of the open JSON object, or "family ipv4, source 10.1.2.3, protocol tcp" in the open
// line of text.
void renderPacketFields(textout::RendererV2& renderer, const Packet& packet);

}  // namespace TrafficPolicyCli::Diagnosis
