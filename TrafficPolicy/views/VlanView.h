// The 802.1Q tag criteria of a rule.
#pragma once

#include "hive/StructuredFilter.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {

// Criteria with VLAN ids first, by their ranges; then those with field sets, by their names. One
// that holds both is an assertion.
void renderVlanTag(const CriteriaView& view,
                   const Classification::StructuredFilter& structuredFilter);

}  // namespace TrafficPolicyCli
