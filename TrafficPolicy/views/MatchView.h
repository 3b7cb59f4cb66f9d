// The match criteria of one rule.
#pragma once

#include "hive/PolicyMapConfig.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {

// Prints the criteria in their fixed order, the JSON object "matches" around them; nothing at all
// for a match without a filter. More than one form of a source or of a destination is an assertion.
void renderMatches(const CriteriaView& view, const PolicyMap::ClassMapMatch& match);

}  // namespace TrafficPolicyCli
