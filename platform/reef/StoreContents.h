// What a new counter store begins with: the counters of status objects, in the order of the file.
#pragma once

#include "hive/PolicyMapStatus.h"
#include "reef/Directory.h"

namespace Reef {

struct StoreContents {
    Directory directory;
    std::vector<PolicyMap::PacketAndByte> counts;  // by counter
};

// The counters of both directions (null: none). With firstIdentity they get the identities from
// there on instead of their own. Throws std::runtime_error when they are too many for a store.
StoreContents contentsOf(const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& input,
                         const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& output,
                         std::optional<U64> firstIdentity);

}  // namespace Reef
