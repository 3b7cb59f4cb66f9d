// Reading a file through a mapping that somebody may truncate at any time. Memory beyond the end of
// the file raises SIGBUS; within guardedAccess() it makes the call return false instead.
//
// One process-wide handler, installed with the first mapping, serves all threads. It takes a fault
// only while the faulting thread is inside guardedAccess() and only when the address lies in the
// very mapping given there: it jumps back into that call. Everything else (a fault elsewhere, a
// signal that was sent) goes to the action that stood before; where that was the default, the
// process dies as it would have without us.
#pragma once

#include <atomic>
#include <csetjmp>
#include <cstddef>
#include <span>

namespace Reef {

struct BusGuard {
    std::span<const std::byte> mapping;
    sigjmp_buf resume;
};

// What this thread is reading now; null: nothing. In the static block of thread storage, so that
// the handler's look at it can not allocate.
extern thread_local BusGuard* busGuard __attribute__((tls_model("initial-exec")));

// Called once per mapping, before it is first read.
void busGuardInstall();

// Runs access, which reads or writes the mapping; false: it was cut short because the file no
// longer reaches so far. REQUIRES: access is not nested, does not throw, and creates nothing that
// needs a destructor, since the jump skips it.
template <class Access>
[[gnu::noinline]] bool guardedAccess(std::span<const std::byte> mapping, const Access& access) {
    BusGuard guard;
    guard.mapping = mapping;
    busGuard = &guard;
    // The signal mask is not saved: the handler runs with SA_NODEFER and changes none of it.
    if (sigsetjmp(guard.resume, 0) != 0) {
        busGuard = nullptr;
        return false;
    }
    access();
    std::atomic_signal_fence(std::memory_order_seq_cst);
    busGuard = nullptr;
    return true;
}

}  // namespace Reef
