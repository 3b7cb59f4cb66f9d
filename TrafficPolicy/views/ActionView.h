// The actions of one rule.
#pragma once

#include "textout/RendererV2.h"
#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

// Prints a count action.
using RenderCount = std::function<void(const Orb::Ptr<const PolicyMap::Action>& action)>;

// The heading at the column indent, and below it the actions by type. A rule without actions prints
// nothing; a type without a row is an assertion.
void renderActions(textout::RendererV2& renderer, const PolicyState& policyState,
                   const Orb::String& ruleName, U32 ruleIndex, U32 indent,
                   const RenderCount& renderCount);

}  // namespace TrafficPolicyCli
