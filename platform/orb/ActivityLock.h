// The process-wide activity lock: whoever reads or changes objects of the model holds it. It is a
// plain, not a recursive lock; other threads take it with ActivityLockGuard.
#pragma once

#include "orb/Types.h"

namespace Orb {

ORB_EXPORT void activityLockTake();
ORB_EXPORT void activityLockRelease();
// Says whether the calling thread holds the activity lock.
ORB_EXPORT bool activityLockHeld();

// Holds the activity lock for its own life.
class ActivityLockGuard {
  public:
    ActivityLockGuard() { activityLockTake(); }
    ~ActivityLockGuard() { activityLockRelease(); }
    ActivityLockGuard(const ActivityLockGuard&) = delete;
    ActivityLockGuard& operator=(const ActivityLockGuard&) = delete;
};

// Lets other threads have the activity lock for its own life and takes it again at the end, also
// when an exception passes. REQUIRES: the calling thread holds the lock (assertion).
class ActivityUnlockGuard {
  public:
    ActivityUnlockGuard() { activityLockRelease(); }
    ~ActivityUnlockGuard() { activityLockTake(); }
    ActivityUnlockGuard(const ActivityUnlockGuard&) = delete;
    ActivityUnlockGuard& operator=(const ActivityUnlockGuard&) = delete;
};

}  // namespace Orb
