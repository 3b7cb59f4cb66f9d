#include "cli/shell/Shell.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/shell/CommandLine.h"
#include "cli/shell/LineFilters.h"
#include "cli/shell/LiveState.h"
#include "cli/shell/Pipes.h"
#include "cli/shell/ReportStream.h"
#include "cli/shell/Sinks.h"
#include "cli/shell/StandardOutputAside.h"
#include "orb/ActivityLock.h"
#include "textout/Interrupt.h"

namespace Cli {

namespace Shell {

namespace {

class CommandLoop {
  public:
    CommandLoop(const Options& options, std::string directory)
        : options_(options), directory_(std::move(directory)), live_(directory_) {}

    // Runs one line. place: where it stands, for messages.
    int run(std::string_view line, const std::string& place) {
        const Words words = splitLine(line).words;
        return reportFailures(place, words, [&] { return run(completeLine(line)); });
    }

    // Runs lines until one ends the shell, or nobody reads the reports any more. next: the next
    // line, or nothing; place: where it stands. Returns the status of the first that failed.
    template <class Next, class Place>
    int runAll(Next next, Place place) {
        int first = ExitStatus::success;
        while (const std::optional<std::string> line = next()) {
            const int status = run(*line, place());
            if (first == ExitStatus::success) first = status;
            const bool isOver = status == ExitStatus::closedPipe ||
                                status == ExitStatus::notWritten ||
                                status == ExitStatus::interrupted;
            if (isEnding_ || isOver) return first;
        }
        // An interrupt ends the waiting for a line, too.
        return Orb::interruptRequested() ? ExitStatus::interrupted : first;
    }

  private:
    int run(const CommandLine& line) {
        if (line.isEmpty()) return ExitStatus::success;
        const CommandLine::Stage& command = line.stages.front();
        const Plan plan = planOf(command.words);
        const Pipes pipes = readPipes(std::span(line.stages).subspan(1));
        live_.look();
        try {
            return run(plan, pipes);
        } catch (const StateDirectory::StateError& error) {
            throw StateDirectory::StateError(error.what() + hintFor(directory_));
        }
    }

    int run(const Plan& plan, const Pipes& pipes) {
        const U32 format = pipes.json ? 2 : options_.format();
        if (pipes.filters.empty() && !pipes.saveTo) {
            const Session session(directory_, STDOUT_FILENO, format, options_.revision, live_);
            const Orb::ActivityLockGuard lock;
            return plan(session);
        }
        const StandardOutputAside aside;
        ReportStream stream(throughFilters(pipes.filters, pipes.saveTo
                                                              ? toFile(*pipes.saveTo)
                                                              : toDescriptor(aside.descriptor())));
        Session session(directory_, stream.fd(), format, options_.revision, live_);
        session.atEndOfReport([&] {
            const Orb::ActivityUnlockGuard unlocked;
            stream.finish();
        });
        const int status = run(plan, session, stream);
        if (status == ExitStatus::interrupted) textout::throwInterrupt();
        return status;
    }

    static int run(const Plan& plan, const Session& session, ReportStream& stream) {
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
            // What is behind the pipe knows why.
            if (error.code().value() == EPIPE) stream.finish();
            throw;
        }
    }

    const Options& options_;
    std::string directory_;
    LiveState live_;
    bool isEnding_ = false;
};

// The lines of standard input.
class InputLines {
  public:
    ~InputLines() { ::free(line_); }
    std::optional<std::string> next() {
        const ssize_t length = ::getline(&line_, &capacity_, stdin);
        if (length < 0) return std::nullopt;
        ++number_;
        return std::string(line_, static_cast<std::size_t>(length));
    }
    std::string place() const { return "line " + std::to_string(number_) + ": "; }

  private:
    char* line_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t number_ = 0;
};

}  // namespace

}  // namespace Shell

int runShell(const Options& options, const std::string& stateDirectory) {
    Shell::CommandLoop loop(options, stateDirectory);
    const std::vector<std::string>& commands = options.commands;
    if (!commands.empty()) {
        std::size_t at = 0;
        return loop.runAll(
            [&] { return at < commands.size() ? std::optional(commands[at++]) : std::nullopt; },
            [&] { return commands.size() > 1 ? "command " + std::to_string(at) + ": " : ""; });
    }
    Shell::InputLines lines;
    return loop.runAll([&] { return lines.next(); }, [&] { return lines.place(); });
}

}  // namespace Cli
