// The command "show traffic-policy state": what reports are made of.
#pragma once

#include "cli/Session.h"

namespace Cli {

// Prints the state directory, age and size of its documents, what they hold, the time of the last
// clear per target, and whether the counter store can be read. Returns the exit status. Throws
// StateDirectory::StateError and textout::WriteError.
int reportState(const Session& session);

}  // namespace Cli
