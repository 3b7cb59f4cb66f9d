// The counters that a policy declares, as the policy view lists them.
#pragma once

#include "textout/RendererV2.h"
#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

// Prints nothing for a policy that declares none.
void renderNamedCounter(textout::RendererV2& renderer, const PolicyState& policyState);

}  // namespace TrafficPolicyCli
