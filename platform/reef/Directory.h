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

class Directory {
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
    struct PolicyIndex {
        NameMap rules;
        NameMap named;
    };
    std::optional<CounterIndex> indexed(const PolicyEntry& policy, NameMap PolicyIndex::*kind,
                                        CounterIndex first, U32 count, std::string_view name) const;

    // By position of the policy; a policy's names are entered at the first look-up among them.
    mutable std::vector<PolicyIndex> index_;
};

}  // namespace Reef
