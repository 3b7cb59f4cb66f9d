// The protocols that a rule matches, and what it asks of their layer-4 headers.
#pragma once

#include "hive/StructuredFilter.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {

// inner: the header is that of an encapsulated packet, whose TCP flags are not shown. The JSON of
// revision 1 has room for one group of TCP flags (the first) and one port field (the first
// configured) per protocol; later revisions, and text, show them all.
void renderProtocol(const CriteriaView& view,
                    const Classification::StructuredFilter& structuredFilter, bool inner);

}  // namespace TrafficPolicyCli
