// How a command that failed is reported: a message on standard error and an exit status.
#pragma once

#include <functional>
#include <string>

#include "cli/CommandError.h"

namespace Cli {

// Writes "tpcli: ", the message and a line end to standard error.
void complain(const std::string& message);

// What to add to the message about a state directory that was misnamed, or never made, which is no
// fault of a document; empty for any other.
std::string hintFor(const std::string& directory);

// Runs the body and turns what it throws into a message and an exit status. place: where the
// command stands, as "line 3: ", or empty; words: its words, to show the wrong one.
int reportFailures(const std::string& place, const Words& words, const std::function<int()>& body);

}  // namespace Cli
