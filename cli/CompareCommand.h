// compare: what differs between two state directories.
#pragma once

#include "cli/Commands.h"

namespace Cli {

Plan planComparison(const Match& match);

// The exit status of a command that failed with another: what is wrong with a comparison must not
// read like a difference.
int failedComparisonStatus(const Words& words, int status);

}  // namespace Cli
