// How a process that reads a whole state gets its memory: from mimalloc, which is linked in the
// place of the C library's allocator. It keeps blocks of one size together, so that a walk over the
// rules finds what it needs side by side, and asks the kernel for pages of 2 MB: a first command
// spends most of its time on fetching some hundred megabytes, of which small pages double the cost.
#include <mimalloc.h>

namespace {

// Runs before main(). The environment variable MIMALLOC_LARGE_OS_PAGES goes before it.
[[gnu::constructor]] void useLargePages() {
    mi_option_set_enabled_default(mi_option_large_os_pages, true);
}

}  // namespace
