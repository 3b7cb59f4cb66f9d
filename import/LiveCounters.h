// The counter store of a state directory that an import keeps up to date, as the counter agent of a
// switch does: counts change in the store, and no document is written for them.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "reef/StoreWriter.h"
#include "state/State.h"

namespace Import {

class LiveCounters {
  public:
    explicit LiveCounters(std::string directory) : directory_(std::move(directory)) {}

    // The store has the counters of this state, with its counts. It is made anew when they are
    // others than before. Throws std::runtime_error when another agent holds it or it cannot be
    // written.
    void stateIs(const StateDirectory::State& state);
    // New counts, by the identities of the state's counters. Those of others are ignored.
    void countsAre(const std::unordered_map<U64, PolicyMap::PacketAndByte>& counts);

  private:
    struct Counter {
        std::string name;  // with its policy, direction and interface
        U64 identity;
        PolicyMap::PacketAndByte counts;
    };

    static std::vector<Counter> countersOf(const StateDirectory::State& state);
    static void addCounters(const std::string& begin, const PolicyMap::PolicyMapStatus& policy,
                            std::vector<Counter>& counters);

    std::string directory_;
    std::vector<Counter> counters_;  // in the order of the store
    std::optional<Reef::StoreWriter> store_;
};

}  // namespace Import
