#include "cli/Run.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "blip/Blip.h"
#include "cli/Commands.h"
#include "cli/CompareCommand.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/Help.h"
#include "cli/TpcliOptions.h"
#include "cli/shell/Colour.h"
#include "cli/shell/Complete.h"
#include "cli/shell/Execution.h"
#include "cli/shell/Shell.h"
#include "orb/Interrupt.h"
#include "orb/Trace.h"
#include "state/StateError.h"
#include "textout/TextOutBuffer.h"

namespace Cli {

namespace {

class BlipDumpAtEnd {
  public:
    explicit BlipDumpAtEnd(bool isWanted) : isWanted_(isWanted) {}
    BlipDumpAtEnd(const BlipDumpAtEnd&) = delete;
    BlipDumpAtEnd& operator=(const BlipDumpAtEnd&) = delete;
    ~BlipDumpAtEnd() {
        if (isWanted_ && !Blip::dump(STDERR_FILENO)) std::perror("tpcli: standard error");
    }

  private:
    bool isWanted_;
};

// Sends SIGALRM, once it is set.
timer_t reminder;
constexpr itimerspec reminderTimes = {{0, 3'000'000}, {0, 3'000'000}};

int print(const std::string& text) {
    textout::TextOutBuffer out(STDOUT_FILENO);
    out.append(text);
    out.flush();
    return ExitStatus::success;
}

int runCommand(const Plan& plan, const Options& options) {
    const std::string directory = stateDirectoryOf(options);
    StateReadOnce source(directory, wantedBy(options.words));
    try {
        Shell::Route route;
        route.colour = Shell::wantsColour(options.colour);
        return options.statusOf(
            Shell::execute(plan, {directory, options.format(), options.revision, source}, route));
    } catch (const StateDirectory::StateError& error) {
        throw StateDirectory::StateError(error.what() + hintFor(directory));
    }
}

int runOptions(const Options& options) {
    const bool isOneCommand = options.commands.empty() && !options.words.empty();
    const bool isPlanned = isOneCommand && !options.watches;
    const Plan plan = isPlanned ? planOf(options.words) : Plan();
    if (isPlanned && options.exitCode && !findsProblems(options.words)) {
        throw OptionError("--exit-code: this command finds no problems, expected " +
                          inQuotes("show traffic-policy problems"));
    }
    for (const auto& [facility, level] : options.traces) {
        Orb::traceFacility(facility).levelIs(level);
    }
    const BlipDumpAtEnd blipDumpAtEnd(options.dumpsBlip);
    return isPlanned ? runCommand(plan, options) : runShell(options, stateDirectoryOf(options));
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
    ::sigaction(SIGXFSZ, &action, nullptr);

    struct sigaction previous {};
    ::sigaction(SIGINT, nullptr, &previous);
    if (previous.sa_handler == SIG_IGN) return;
    // Calls that begin to wait after the interrupt, to a terminal that nobody drains, are to notice
    // it as well: from then on a signal comes every 3 ms.
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    ::timer_create(CLOCK_MONOTONIC, nullptr, &reminder);
    // No SA_RESTART: what waits is to notice. SA_RESETHAND: the second one ends the process.
    action.sa_handler = [](int) {
        Orb::interruptRequestedIs(true);
        ::timer_settime(reminder, 0, &reminderTimes, nullptr);
    };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
}

int run(const std::vector<std::string>& arguments) {
    Options options;
    bool hasRun = false;
    const int status = reportFailures("", options.words, [&] {
        if (!arguments.empty() && arguments.front() == "--complete") {
            return printCompletions({arguments.begin() + 1, arguments.end()});
        }
        switch (parseOptions(arguments, options)) {
            case Base::Request::help:
                return print(helpText());
            case Base::Request::version:
                return print(Base::versionText("tpcli"));
            case Base::Request::run:
                break;
        }
        const int ended = runOptions(options);
        hasRun = true;
        return ended;
    });
    return hasRun ? status : failedComparisonStatus(options.words, status);
}

}  // namespace Cli
