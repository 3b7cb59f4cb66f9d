#include "cli/Run.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "blip/Blip.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Help.h"
#include "cli/Options.h"
#include "orb/ActivityLock.h"
#include "orb/Interrupt.h"
#include "orb/Trace.h"
#include "state/StateError.h"
#include "textout/RendererV2.h"
#include "textout/TextOutBuffer.h"

namespace Cli {

namespace {

void complain(const std::string& message) { std::fprintf(stderr, "tpcli: %s\n", message.c_str()); }

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

int printHelp() {
    textout::TextOutBuffer out(STDOUT_FILENO);
    out.append(helpText());
    out.flush();
    return ExitStatus::success;
}

// A state directory that was misnamed, or never made, is no fault of a document.
std::string hintFor(const std::string& directory) {
    std::error_code ignored;
    const std::filesystem::path path(directory);
    if (std::filesystem::exists(path / "config.json", ignored)) return "";
    return "\ntpcli: name a state directory with --state DIR; an example comes with the sources: "
           "--state examples/campus";
}

int runCommand(const Options& options) {
    const Plan plan = planOf(options.words);
    for (const auto& [facility, level] : options.traces) {
        Orb::traceFacility(facility).levelIs(level);
    }
    const BlipDumpAtEnd blipDumpAtEnd(options.dumpsBlip);
    const auto format =
        options.json ? textout::OutputFormat_t::json : textout::OutputFormat_t::text;
    try {
        const Session session(options.stateDirectory, STDOUT_FILENO, static_cast<U32>(format),
                              options.revision);
        const Orb::ActivityLockGuard lock;
        return plan(session);
    } catch (const StateDirectory::StateError& error) {
        complain(error.what() + hintFor(options.stateDirectory));
        return ExitStatus::badState;
    }
}

int runOptions(const Options& options) {
    if (options.help) return printHelp();
    if (options.words.empty()) {
        std::fputs(usageText().c_str(), stderr);
        return ExitStatus::badCommand;
    }
    try {
        return runCommand(options);
    } catch (const CommandError& error) {
        complain(explain(options.words, error));
        return ExitStatus::badCommand;
    }
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
    try {
        return runOptions(parseOptions(arguments));
    } catch (const OptionError& error) {
        complain(error.what());
        return ExitStatus::badCommand;
    } catch (const textout::SigIntException& interrupt) {
        textout::printExiting(interrupt.what());
        return ExitStatus::interrupted;
    } catch (const textout::WriteError& error) {
        if (error.code().value() == EPIPE) return ExitStatus::closedPipe;
        complain("standard output: " + error.code().message());
        return ExitStatus::notWritten;
    } catch (const std::exception& error) {
        complain(error.what());
        return ExitStatus::fault;
    }
}

}  // namespace Cli
