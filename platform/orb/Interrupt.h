// The operator's interrupt: a process-wide flag that a signal handler may set. Renderer calls and
// gathering loops look at it and leave by textout::SigIntException.
#pragma once

#include <atomic>

#include "orb/Types.h"

namespace Orb {

namespace Detail {
extern ORB_EXPORT std::atomic<bool> interruptFlag;
}

// Sets or clears the flag. Safe in a signal handler.
ORB_EXPORT void interruptRequestedIs(bool requested);
inline bool interruptRequested() { return Detail::interruptFlag.load(std::memory_order_relaxed); }

}  // namespace Orb
