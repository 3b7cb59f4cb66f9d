// What the benchmarks share: generated states, read once and kept; somewhere to print to; and what
// the process uses of memory and of the allocator.
#pragma once

#include <benchmark/benchmark.h>

#include "StateGenerator.h"
#include "state/State.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace Bench {

// 1,000 policies of 100 rules.
inline constexpr StateShape hundredThousandRules{};
inline constexpr StateShape manySets{.policies = 1, .fieldSets = 1'000, .prefixes = 1'000};
// The same with more or fewer policies. REQUIRES: a multiple of 100.
constexpr StateShape shapeOf(U32 rules) {
    StateShape shape;
    shape.policies = rules / shape.rules;
    return shape;
}

// A directory with the state of that shape, made at first use and removed at the end.
const std::string& stateDirectory(const StateShape& shape);
// The same, read.
const StateDirectory::State& loadedState(const StateShape& shape);

// The interface command. Counter stores are null unless a benchmark fills them in.
struct Show {
    bool summary = false;
    bool detail = false;
    bool counters = false;
    textout::OutputFormat_t format = textout::OutputFormat_t::text;
    Orb::Ptr<const TrafficPolicy::HwStatus> hwStatus = {};
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> reefInput = {};
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> reefOutput = {};

    // Gathers and renders to the null device, holding the activity lock.
    void run(const StateDirectory::State& state) const;
};

// The descriptor of the null device.
U32 nullDevice();

// Empties the processor's caches of what was there: a command runs once, and finds nothing that an
// earlier one left there.
void emptyCaches();

// How far the heap of this thread rises above what it is now.
class PeakMemory {
  public:
    PeakMemory();
    double megabytesAbove() const;

  private:
    long before_;
};

// How often this thread has allocated so far.
U64 allocations();

}  // namespace Bench
