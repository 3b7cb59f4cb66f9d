// The count action inside a rule.
#pragma once

#include "model/Side.h"
#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// "Count: " with the figures of a named counter or of the rule, one side under the other, aligned.
// action: a PolicyMap::CountAction. indent: the column of its line. byteSwitch: named counters show
// bytes too.
void renderCountAction(textout::RendererV2& renderer, U32 ruleIndex,
                       const Orb::Ptr<const PolicyState>& policyState,
                       const Orb::Ptr<const PolicyMap::Action>& action, U32 indent,
                       bool byteSwitch);

}  // namespace TrafficPolicyCli
