// The command "clear traffic-policy counters".
#pragma once

#include "cli/Session.h"

namespace Cli {

// Writes the live counts of the CPU and of both directions of the interfaces into snapshots.json,
// from which later shows count, and says how many counters it cleared. Returns the exit status. A
// damaged snapshots document is kept under another name; the targets of a damaged or missing
// counter store stay as they were. Throws StateDirectory::StateError and textout::WriteError.
int clearCounters(const Session& session);

}  // namespace Cli
