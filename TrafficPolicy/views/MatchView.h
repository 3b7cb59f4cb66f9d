// The match criteria of one rule.
#pragma once

#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"
#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

// Prints the criteria in their fixed order, the JSON object "matches" around them; nothing at all
// for a match without a filter. More than one form of a source or of a destination is an assertion.
void renderMatches(textout::RendererV2& renderer,
                   const Orb::Ptr<const FieldSetState>& fieldSetState,
                   const Orb::Ptr<const PolicyState>& policyState,
                   const Orb::Ptr<const PolicyMap::ClassMapMatch>& match, bool detail, U32 indent,
                   U32 revision, U32 format);

}  // namespace TrafficPolicyCli
