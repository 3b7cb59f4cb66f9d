// The protocols that a rule matches, and what it asks of their layer-4 headers.
#pragma once

#include <string_view>

#include "hive/MatchOption.h"
#include "hive/StructuredFilter.h"
#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

// inner: the header is that of an encapsulated packet, whose TCP flags are not shown. The JSON of
// revision 1 has room for one group of TCP flags (the first) and one port field (the first
// configured) per protocol; later revisions, and text, show them all.
void renderProtocol(textout::RendererV2& renderer,
                    const Orb::Ptr<const FieldSetState>& fieldSetState, std::string_view label,
                    const Orb::Ptr<const Classification::StructuredFilter>& structuredFilter,
                    bool inner, U32 indent, U32 indentPerLevel,
                    PolicyMap::ClassMapMatchOption matchOption, bool detail, U32 revision,
                    U32 format);

}  // namespace TrafficPolicyCli
