// Reads and writes the match criteria of rules.
#pragma once

#include "hive/MatchOption.h"
#include "hive/StructuredFilter.h"
#include "state/Node.h"
#include "state/Writer.h"

namespace StateDirectory {

// The criteria of a rule of the match option. Refuses what cannot be shown: two forms of a source
// or of a destination, protocols in mac and mpls rules, prefixes of the other family, TCP flag
// groups that contradict themselves.
Orb::Ptr<const Classification::StructuredFilter> readStructuredFilter(
    const Node& node, PolicyMap::ClassMapMatchOption option);

void writeStructuredFilter(Writer& writer, const Classification::StructuredFilter& filter);

}  // namespace StateDirectory
