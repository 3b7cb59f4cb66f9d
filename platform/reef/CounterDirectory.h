// What a counter store counts: its policies and their counters by name. A private copy, checked
// once, that nothing another process does to the file can change.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "orb/HashMap2018.h"
#include "reef/Direction.h"
#include "reef/Layout.h"

namespace Reef {

using PolicyMap::Counters::Direction;

// A position among the counters of a store, and among its records.
using CounterIndex = U32;

class ORB_EXPORT CounterDirectory {
  public:
    std::vector<PolicyEntry> policies;
    std::vector<CounterEntry> counters;
    std::string names;

    // Throws Cairn::CorruptionDetectedException unless every count, position and name lies where
    // it should and the policies ascend.
    void check() const;
    U64 checksum() const;

    // REQUIRES of all below: check() passed.
    std::string_view nameOf(NameRange range) const {
        return std::string_view(names).substr(range.offset, range.length);
    }
    // The policies of a direction, ascending by name.
    std::span<const PolicyEntry> policiesOf(Direction direction) const;
    // A policy by name; null when the store has none.
    const PolicyEntry* policy(Direction direction, std::string_view name) const;
    // A rule or named counter of one of the policies; nothing when the policy has none.
    std::optional<CounterIndex> rule(const PolicyEntry& policy, std::string_view name) const;
    std::optional<CounterIndex> namedCounter(const PolicyEntry& policy,
                                             std::string_view name) const;
    // "input policy P, rule R", for messages; untrusted bytes escaped.
    std::string describe(CounterIndex counter) const;

  private:
    using NameMap = Orb::HashMap2018<std::string_view, CounterIndex>;
    // Finds names of one kind in one policy. Who walks the rules in their own order finds each
    // behind the last and needs no map; the map is filled at the first look-up out of order.
    struct Finder {
        CounterIndex next = 0;
        NameMap map;
    };
    struct Finders {
        Finder rules;
        Finder named;
    };
    Finders& findersOf(const PolicyEntry& policy) const;
    U64 checkCounters(const PolicyEntry& policy) const;
    std::optional<CounterIndex> find(Finder& finder, CounterIndex first, U32 count,
                                     std::string_view name) const;

    mutable std::vector<Finders> finders_;  // by position of the policy
};

}  // namespace Reef
