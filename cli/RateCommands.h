// The command that shows how fast policies count.
#pragma once

#include "cli/Commands.h"

namespace Cli {

Plan planRates(const Match& match);

// A number of seconds 0.1 to 3600, as "5" or "0.5". Throws CommandError.
double secondsOf(const Token& token);

}  // namespace Cli
