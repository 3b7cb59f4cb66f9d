#include "cli/shell/Execution.h"

#include <unistd.h>

#include <cerrno>
#include <memory>

#include "cli/ExitStatus.h"
#include "cli/shell/Colour.h"
#include "cli/shell/LineFilters.h"
#include "cli/shell/ReportStream.h"
#include "cli/shell/Sinks.h"
#include "cli/shell/StandardOutputAside.h"
#include "orb/ActivityLock.h"
#include "textout/Exceptions.h"

namespace Cli::Shell {

namespace {

constexpr U32 json = 2;

std::unique_ptr<Sink> sinkOf(const Route& route, bool isColoured, int output) {
    if (route.pipes.saveTo) {
        return throughFilters(route.pipes.filters, toFile(*route.pipes.saveTo));
    }
    std::unique_ptr<Sink> sink = route.text != nullptr ? toText(*route.text)
                                 : route.screen ? throughPager(output, *route.screen, route.pager)
                                                : toDescriptor(output);
    if (isColoured) sink = throughColours(std::move(sink));
    return throughFilters(route.pipes.filters, std::move(sink));
}

int runInto(ReportStream& stream, const Plan& plan, const Session& session) {
    try {
        int status = 0;
        {
            const Orb::ActivityLockGuard lock;
            status = plan(session);
        }
        stream.finish();
        return status;
    } catch (const ReaderLeft&) {
        return ExitStatus::success;
    } catch (const textout::WriteError& error) {
        // Who reads the stream knows why it is closed.
        try {
            if (error.code().value() == EPIPE) stream.finish();
        } catch (const ReaderLeft&) {
            return ExitStatus::success;
        }
        throw;
    }
}

}  // namespace

int execute(const Plan& plan, const Surroundings& with, const Route& route) {
    const U32 format = route.pipes.json ? json : with.format;
    const U64 top = route.pipes.top ? route.pipes.top->count : 0;
    const bool isColoured = route.colour && format != json;
    const bool isOnTerminal =
        route.pipes.filters.empty() && !route.pipes.saveTo && ::isatty(STDOUT_FILENO) != 0;
    if (route.pipes.filters.empty() && !route.pipes.saveTo && !isColoured && !route.screen &&
        route.text == nullptr) {
        Session session(with.stateDirectory, STDOUT_FILENO, format, with.revision, with.source);
        session.isOnTerminalIs(isOnTerminal);
        session.topIs(top);
        const Orb::ActivityLockGuard lock;
        return plan(session);
    }
    const StandardOutputAside aside;
    ReportStream stream(sinkOf(route, isColoured, aside.descriptor()));
    Session session(with.stateDirectory, stream.fd(), format, with.revision, with.source);
    session.isOnTerminalIs(isOnTerminal);
    session.topIs(top);
    session.atEndOfReport([&] {
        const Orb::ActivityUnlockGuard unlocked;
        stream.finish();
        // All has arrived: what was typed to the pager afterwards is not for the command.
        if (route.screen) Orb::interruptRequestedIs(false);
    });
    const int status = runInto(stream, plan, session);
    if (status == ExitStatus::interrupted) textout::throwInterrupt();
    return status;
}

}  // namespace Cli::Shell
