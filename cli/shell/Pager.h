// The pager of a terminal, for what is longer than its screen.
#pragma once

#include <memory>
#include <string>

#include "cli/shell/Sink.h"

namespace Cli::Shell {

struct ScreenSize {
    std::size_t lines;
    std::size_t columns;
};
// Of the terminal behind standard output; 24 lines of 80 columns when it does not tell.
ScreenSize screenSize();

// The pager to run by the shell: PAGER of the environment, else less, if there is one; empty: none
// is wanted, or there.
std::string pagerCommand();

// A sink that writes to the terminal what fits on its screen, and hands anything longer to the
// pager, from the first line on. Throws ReaderLeft when the pager was left before the end, and
// std::runtime_error when it cannot be run. Whoever ends the sink waits until the pager is left.
std::unique_ptr<Sink> throughPager(int terminal, ScreenSize size, std::string command);

}  // namespace Cli::Shell
