#include "orb/Interrupt.h"

namespace Orb {

namespace Detail {
std::atomic<bool> interruptFlag{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set in signal handlers");
}  // namespace Detail

void interruptRequestedIs(bool requested) {
    Detail::interruptFlag.store(requested, std::memory_order_relaxed);
}

}  // namespace Orb
