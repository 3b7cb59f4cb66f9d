// The commands "show traffic-policy state" and "check": what reports are made of, and whether it
// has mistakes.
#pragma once

#include "cli/Session.h"

namespace Cli {

// Prints the state directory, age and size of its documents, what they hold, the time of the last
// clear per target, and whether the counter store can be read. Returns the exit status. Throws
// StateDirectory::StateError and textout::WriteError.
int reportState(const Session& session);
// Reads all of the documents as they stand now, and prints which ones. Likewise.
int checkState(const Session& session);

}  // namespace Cli
