// The live counter records of a policy, from the store in use into the policy's record. Nothing is
// subtracted here; a view subtracts the last clear when it shows a count.
#pragma once

#include "model/Side.h"
#include "reef/PolicyMapTypeCounters.h"

namespace TrafficPolicyCli {

using CounterReader = PolicyMap::PolicyMapCounterStatusReaderBase;

// A new reader over the state database, and one over the shared-memory store; both marked
// notification-active.
Orb::Ptr<const CounterReader> readerOf(const Orb::Ptr<const TrafficPolicy::Status>& status);
Orb::Ptr<const CounterReader> readerOf(
    const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& counters);

// Copies the counters that the policy declares, and those of the rules that its status names.
void gatherCounters(PolicyState& record, const Direction& direction, const CounterReader& reader,
                    const PolicyMap::PolicyMapStatus& policyStatus);

}  // namespace TrafficPolicyCli
