// What a new counter store begins with: the counters of status objects, in the order of the file.
#pragma once

#include "hive/PolicyMapStatus.h"
#include "reef/CounterDirectory.h"
#include "reef/UnusedIdentities.h"

namespace Reef {

struct StoreContents {
    CounterDirectory directory;
    std::vector<PolicyMap::PacketAndByte> counts;  // by counter
};

// The counters of both directions (null: none). A counter gets an unused identity when its own is
// among the used ones, or when none keeps its own. Throws std::runtime_error when they are too many
// for a store.
StoreContents contentsOf(const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& input,
                         const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& output,
                         UnusedIdentities& unused, bool keepOwn);

}  // namespace Reef
