// tpcli as a function: arguments to an exit status.
#pragma once

#include <string>
#include <vector>

namespace Cli {

// Makes SIGINT the operator's interrupt (a second one ends the process; a SIGINT that was ignored
// before stays so), and writing to a closed pipe or beyond the limit of a file's size (ulimit -f)
// an error instead of a signal.
void installSignalHandlers();

// Runs one command line: reports to standard output, complaints to standard error. arguments: those
// behind the program's name. Returns the exit status.
int run(const std::vector<std::string>& arguments);

}  // namespace Cli
