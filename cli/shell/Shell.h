// The shell: many commands in one process, over a state that stays loaded.
#pragma once

#include <string>

#include "cli/TpcliOptions.h"

namespace Cli {

// Watches a command, or runs the commands of -c, else those of standard input: with a prompt when
// that and standard output are a terminal. Returns the exit status, which is that of the first
// command that failed; of commands with a prompt, success.
int runShell(const Options& options, const std::string& stateDirectory);

}  // namespace Cli
