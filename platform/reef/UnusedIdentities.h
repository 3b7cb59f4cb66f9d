// Identities for counters that begin anew: a snapshot of a counter with another figure must never
// apply to them.
#pragma once

#include <chrono>
#include <unordered_map>

#include "hive/Counters.h"

namespace Reef {

// Identities that something was kept of, each with the highest count kept.
using UsedIdentities = std::unordered_map<U64, PolicyMap::PacketAndByte>;

class UnusedIdentities {
  public:
    // Gives none of these, nor any that the clock gave before.
    explicit UnusedIdentities(UsedIdentities used) : used_(std::move(used)) {}

    const UsedIdentities& used() const { return used_; }
    // Says whether a counter may begin with these counts under the identity: nothing was kept of it
    // that is above them.
    bool mayBegin(U64 identity, const PolicyMap::PacketAndByte& counts) const {
        const auto kept = used_.find(identity);
        return kept == used_.end() ||
               (kept->second.packets <= counts.packets && kept->second.bytes <= counts.bytes);
    }
    U64 next() {
        do ++last_;
        while (used_.contains(last_));
        return last_;
    }

  private:
    static U64 now() {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<U64>(std::chrono::nanoseconds(now).count());
    }

    UsedIdentities used_;
    U64 last_ = now();
};

}  // namespace Reef
