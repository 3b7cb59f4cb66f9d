// The counters that a policy declares, as the policy view lists them.
#pragma once

#include "textout/RendererV2.h"
#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

// Prints nothing for a policy that declares none. The last argument is the column of the policy's
// rules; the line of the counters stands at 6 blanks whatever it is.
void renderNamedCounter(textout::RendererV2& renderer,
                        const Orb::Ptr<const PolicyState>& policyState, U32 indent);

}  // namespace TrafficPolicyCli
