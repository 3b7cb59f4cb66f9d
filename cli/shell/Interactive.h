// The shell on a terminal: a prompt, an editor, a history.
#pragma once

#include "cli/shell/CommandLoop.h"

namespace Cli::Shell {

// Returns the exit status: success, or 128 + the signal that ended the shell.
int runInteractive(CommandLoop& loop);

}  // namespace Cli::Shell
