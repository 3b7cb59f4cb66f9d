#include "cli/shell/Shell.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "cli/ExitStatus.h"
#include "cli/shell/CommandLoop.h"
#include "cli/shell/Interactive.h"
#include "orb/Interrupt.h"

namespace Cli {

namespace Shell {

namespace {

// Runs lines until one ends the shell, or nobody reads the reports any more. next: the next line,
// or nothing; place: where it stands. Returns the status of the first that failed.
template <class Next, class Place>
int runAll(CommandLoop& loop, Next next, Place place) {
    int first = ExitStatus::success;
    while (const std::optional<std::string> line = next()) {
        const int status = loop.run(*line, place());
        if (first == ExitStatus::success) first = status;
        const bool isOver = status == ExitStatus::closedPipe || status == ExitStatus::notWritten ||
                            status == ExitStatus::interrupted;
        if (loop.isEnding() || isOver) return first;
    }
    // An interrupt ends the waiting for a line, too.
    return Orb::interruptRequested() ? ExitStatus::interrupted : first;
}

// The lines of standard input.
class InputLines {
  public:
    InputLines() = default;
    InputLines(const InputLines&) = delete;
    InputLines& operator=(const InputLines&) = delete;
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

int runCommands(CommandLoop& loop, const std::vector<std::string>& commands) {
    std::size_t at = 0;
    return runAll(
        loop, [&] { return at < commands.size() ? std::optional(commands[at++]) : std::nullopt; },
        [&] { return commands.size() > 1 ? "command " + std::to_string(at) + ": " : ""; });
}

int runInput(CommandLoop& loop) {
    InputLines lines;
    return runAll(
        loop, [&] { return lines.next(); }, [&] { return lines.place(); });
}

bool isOnTerminal() { return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1; }

}  // namespace

}  // namespace Shell

int runShell(const Options& options, const std::string& stateDirectory) {
    Shell::CommandLoop loop(options, stateDirectory);
    const int status = options.watches             ? loop.watch(options.words)
                       : !options.commands.empty() ? Shell::runCommands(loop, options.commands)
                       : Shell::isOnTerminal()     ? Shell::runInteractive(loop)
                                                   : Shell::runInput(loop);
    // Nobody waits for a state that nobody will ask for.
    if (loop.live().isReading()) {
        std::fflush(nullptr);
        ::_exit(status);
    }
    return status;
}

}  // namespace Cli
