#include "reef/BusGuard.h"

#include <csignal>
#include <functional>
#include <mutex>

namespace Reef {

thread_local BusGuard* busGuard = nullptr;

namespace {

struct sigaction previousAction;

bool isInside(const void* address, std::span<const std::byte> mapping) {
    // std::less orders pointers of different objects too.
    const std::less<const void*> isBefore;
    return !isBefore(address, mapping.data()) && isBefore(address, mapping.data() + mapping.size());
}

void passOn(int signal, siginfo_t* info, void* context) {
    const bool wasSent = info->si_code <= 0;
    if ((previousAction.sa_flags & SA_SIGINFO) != 0) {
        previousAction.sa_sigaction(signal, info, context);
    } else if (previousAction.sa_handler == SIG_IGN && wasSent) {
        return;
    } else if (previousAction.sa_handler == SIG_DFL || previousAction.sa_handler == SIG_IGN) {
        // A fault happens again, and ends the process, as soon as the handler returns.
        ::signal(signal, SIG_DFL);
        if (wasSent) ::raise(signal);
    } else {
        previousAction.sa_handler(signal);
    }
}

void onBusError(int signal, siginfo_t* info, void* context) {
    BusGuard* const guard = busGuard;
    const bool isFault = info->si_code > 0;  // else si_addr means nothing
    if (guard != nullptr && isFault && isInside(info->si_addr, guard->mapping)) {
        siglongjmp(guard->resume, 1);
    }
    passOn(signal, info, context);
}

}  // namespace

void busGuardInstall() {
    static std::once_flag installed;
    std::call_once(installed, [] {
        ::sigaction(SIGBUS, nullptr, &previousAction);
        struct sigaction action = {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, nullptr);
    });
}

}  // namespace Reef
