// The rules of one policy.
#pragma once

#include "model/Side.h"
#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

// Prints the actions of a rule at a column.
using RenderActions = std::function<void(const Orb::String& ruleName, U32 ruleIndex, U32 indent)>;

// A line per rule with its name and address family, then its criteria and actions, unless the
// record's summary is set. indent: the column of these lines.
void renderRules(textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& policyState,
                 const FieldSetState& fieldSets, U32 indent, const RenderActions& renderActions);

}  // namespace TrafficPolicyCli
