#include "orb/ActivityLock.h"

#include <atomic>
#include <mutex>
#include <thread>

#include "orb/Assert.h"

namespace Orb {

namespace {

struct Lock {
    std::mutex mutex;
    std::atomic<std::thread::id> owner;
};

Lock& lock() {
    static auto* const only = new Lock;
    return *only;
}

}  // namespace

void activityLockTake() {
    ORB_ASSERT(!activityLockHeld());
    lock().mutex.lock();
    lock().owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void activityLockRelease() {
    ORB_ASSERT(activityLockHeld());
    lock().owner.store(std::thread::id(), std::memory_order_relaxed);
    lock().mutex.unlock();
}

bool activityLockHeld() {
    return lock().owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

}  // namespace Orb
