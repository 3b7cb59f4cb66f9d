// Letting others go first in long loops.
#pragma once

#include "orb/Types.h"

namespace TrafficPolicyCli {

// Gives up the activity lock for a millisecond, so that other threads of the process get their
// turn, and takes it again. The label names the loop in the ring-buffer trace. REQUIRES: the
// calling thread holds the activity lock (assertion).
void yieldActivityLock(const char* label);

}  // namespace TrafficPolicyCli
