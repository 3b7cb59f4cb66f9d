#include "frame/Yield.h"

#include <ctime>

#include "blip/Blip.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli {

void yieldActivityLock(const char* label) {
    const Orb::ActivityUnlockGuard unlocked;
    Blip::trace(Orb::String("yielding activing lock: ") + label);
    const timespec millisecond{0, 1'000'000};
    ::nanosleep(&millisecond, nullptr);
    Blip::trace("resuming");
}

}  // namespace TrafficPolicyCli
