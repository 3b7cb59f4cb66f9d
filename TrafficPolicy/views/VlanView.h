// The 802.1Q tag criteria of a rule.
#pragma once

#include "hive/MatchOption.h"
#include "hive/StructuredFilter.h"
#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

// Criteria with VLAN ids first, by their ranges; then those with field sets, by their names. One
// that holds both is an assertion.
void renderVlanTag(textout::RendererV2& renderer,
                   const Orb::Ptr<const FieldSetState>& fieldSetState,
                   const Orb::Ptr<const Classification::StructuredFilter>& structuredFilter,
                   U32 indent, PolicyMap::ClassMapMatchOption matchOption, bool detail);

}  // namespace TrafficPolicyCli
