// The commands of tpcli over a state directory, as the fuzzers run them, and the judge of what they
// print. Whatever the state says, a report is harmless text or well-formed JSON, and a refusal one
// harmless line; the first that is not ends the process, with the command and what it printed on
// standard error.
#pragma once

#include <string>

namespace Fuzz {

enum class Commands { all, ofCounters };

// Reads the directory, runs the commands that show, clears the counters, and shows them again.
void runCommands(const std::string& directory, Commands which);

}  // namespace Fuzz
