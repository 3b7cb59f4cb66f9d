// The direction of the traffic that a policy is applied to.
#pragma once

#include "orb/Types.h"

namespace PolicyMap::Counters {

enum class Direction : U32 { input = 0, output = 1 };

}  // namespace PolicyMap::Counters
