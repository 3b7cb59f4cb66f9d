// The command "clear traffic-policy counters".
#pragma once

#include "cli/Session.h"

namespace Cli {

// What is cleared; the snapshots of everything else stay as they are.
struct ClearScope {
    std::string policy = {};  // empty: of all policies
    bool cpu = true;
    bool input = true;  // of interfaces
    bool output = true;
};

// Writes the live counts of the scope into snapshots.json, from which later shows count, with the
// user and the terminal, and says how many counters it cleared. Returns the exit status. A
// damaged snapshots document is kept under another name; the targets of a damaged or missing
// counter store stay as they were.
//
// Throws StateDirectory::StateError (a document cannot be read, the new one not be written) and
// textout::SigIntException, with nothing changed. When the report cannot be written either,
// standard error says what was cleared, and textout::WriteError or SigIntException is thrown.
int clearCounters(const Session& session, const ClearScope& scope = {});

}  // namespace Cli
