// Identities for counters that begin anew: a snapshot of a counter with another figure must never
// apply to them.
#pragma once

#include <chrono>
#include <unordered_set>

#include "orb/Types.h"

namespace Reef {

using UsedIdentities = std::unordered_set<U64>;

class UnusedIdentities {
  public:
    // Gives none of these, nor any that the clock gave before.
    explicit UnusedIdentities(UsedIdentities used) : used_(std::move(used)) {}

    const UsedIdentities& used() const { return used_; }
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
