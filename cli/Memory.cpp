// How a process that reads a whole state gets its memory: from mimalloc, which is linked in the
// place of the C library's allocator. It keeps blocks of one size together, so that a walk over the
// rules finds what it needs side by side, and asks the kernel for pages of 2 MB: a first command
// spends most of its time on fetching some hundred megabytes, of which small pages double the cost.
//
// Memory that runs out ends the process at once, with one line and exit status 4. Nothing tries to
// go on: code that must not throw allocates too, the parser takes a failure for one of the
// document, and a report that was begun stays in its buffer, as a part of it would read like the
// whole.
#include <errno.h>
#include <mimalloc.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>

#include "cli/ExitStatus.h"
#include "cli/shell/OtherScreen.h"

namespace Cli::Shell {
// A program without a shell has none. NOLINTNEXTLINE(readability-redundant-declaration): weak here
[[gnu::weak]] void giveTerminalBack();
}  // namespace Cli::Shell

namespace {

// The allocator asks no handler of std::set_new_handler() before it aborts, but it tells its
// errors.
void endForWantOfMemory(int error, void*) {
    if (error != ENOMEM) return;
    static std::atomic_flag isTold;
    while (isTold.test_and_set()) ::pause();  // another thread ends the process
    if (Cli::Shell::giveTerminalBack != nullptr) Cli::Shell::giveTerminalBack();
    static char words[] = ": out of memory\n";
    const std::array pieces = {
        iovec{program_invocation_short_name, std::strlen(program_invocation_short_name)},
        iovec{words, sizeof words - 1}};
    // Nobody is left to hear that it cannot be written.
    [[maybe_unused]] const ssize_t written = ::writev(STDERR_FILENO, pieces.data(), pieces.size());
    ::_exit(Cli::ExitStatus::fault);
}

// The shared objects allocate before anything of the program runs, except for this.
[[gnu::used, gnu::section(".preinit_array")]] void (*const beforeSharedObjects)() = [] {
    mi_register_error(endForWantOfMemory, nullptr);
};

// Runs before main(). The environment variable MIMALLOC_LARGE_OS_PAGES goes before it.
[[gnu::constructor]] void useLargePages() {
    mi_option_set_enabled_default(mi_option_large_os_pages, true);
}

}  // namespace
