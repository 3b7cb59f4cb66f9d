// A show object's report, as every command prints it.
#pragma once

#include "cli/ExitStatus.h"
#include "cli/Session.h"
#include "orb/Interrupt.h"

namespace Cli {

// Prints the report of a show object, and returns the exit status.
template <class Show>
int print(const Show& show, const Session& session) {
    show->render(session.fd(), session.format(), session.revision());
    session.endReport();
    return Orb::interruptRequested() ? ExitStatus::interrupted : ExitStatus::success;
}

}  // namespace Cli
