// Fetching the records of rules ahead of a walk. The state of a large switch is far beyond the
// processor's caches, and what a rule consists of is reached by chains of pointers; a walk that
// meets one after the other would wait for memory most of its time. So a walk asks for a group of
// rules at once, level by level, and the waits of a level overlap.
#pragma once

#include "hive/PolicyMapConfig.h"
#include "model/PolicyState.h"

namespace TrafficPolicyCli {

// A walk calls the functions below for every so many rules.
inline constexpr U32 rulesFetchedTogether = 32;

// What gathering needs of the rules from a place of the policy on. The maps are mostly filled in
// the order of the rules; where they are not, this does no good and no harm.
void fetchForGathering(const PolicyMap::PolicyMapSubConfig& currCfg,
                       const PolicyMap::PolicyMapStatus& policyStatus, U32 from);

// What the counters view needs of the rules of a direction from an index on: names, count actions
// and figures.
void fetchForCounters(const PolicyState& policyState, bool isInput, U32 from);

// What the views need of the rules from an index on: names, and criteria, actions and figures
// unless it is the summary.
void fetchForRules(const PolicyState& policyState, bool onInterfaces, U32 from);

}  // namespace TrafficPolicyCli
