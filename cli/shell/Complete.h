// The answers to "tpcli --complete", which the completion of another shell asks.
#pragma once

#include <string>
#include <vector>

namespace Cli {

// Prints what the last of the arguments can become, one word to a line: options, keywords, names
// out of the state that the other arguments or the environment name. Returns the exit status, which
// is success whatever the arguments.
int printCompletions(const std::vector<std::string>& arguments);

}  // namespace Cli
