// The command "clear traffic-policy counters".
#pragma once

#include "cli/Session.h"

namespace Cli {

// Writes the live counts of the CPU and of both directions of the interfaces into snapshots.json,
// from which later shows count, and says how many counters it cleared. Returns the exit status. A
// damaged snapshots document is kept under another name; the targets of a damaged or missing
// counter store stay as they were.
//
// Throws StateDirectory::StateError (a document cannot be read, the new one not be written) and
// textout::SigIntException, with nothing changed. When the report cannot be written either,
// standard error says what was cleared, and textout::WriteError or SigIntException is thrown.
int clearCounters(const Session& session);

}  // namespace Cli
