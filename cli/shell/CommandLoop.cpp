#include "cli/shell/CommandLoop.h"

#include <cctype>

#include "base/Escape.h"
#include "base/Number.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/RateCommands.h"
#include "cli/shell/Colour.h"
#include "cli/shell/CommandLine.h"
#include "cli/shell/Watch.h"
#include "textout/TextOutBuffer.h"

namespace Cli::Shell {

namespace {

// Not of the grammar, as any command can stand behind it.
constexpr std::string_view watchLine = "watch [SECONDS] WORDS";
constexpr std::string_view watchPurpose = "a show command again and again; Ctrl-C ends it";

bool isWatch(const Words& words) {
    return !words.empty() && !words.front().empty() &&
           std::string_view("watch").starts_with(words.front());
}

bool isNumber(const std::string& word) {
    return !word.empty() &&
           (std::isdigit(static_cast<unsigned char>(word.front())) != 0 || word.front() == '.');
}

}  // namespace

// A command of the shell itself, in text whatever the format of reports.
struct CommandLoop::BuiltIn {
    std::string_view line;
    std::string_view purpose;
    // Returns what to print.
    std::string (*run)(CommandLoop& loop, const Match& match);
};

std::string CommandLoop::helpOfShell() {
    std::string text =
        "Tab completes a word, or lists what can stand there; ? tells what that is.\n"
        "Words may be shortened while that is unambiguous. Ctrl-R searches the\n"
        "history, Ctrl-C ends a command, Ctrl-V types the next key as it is.\n"
        "\nCommands:\n";
    for (const Command& row : Cli::commands()) {
        text.append("  ").append(row.line).append("\n");
    }
    const auto add = [&](const auto& row) {
        text.append("  ").append(row.line);
        text.append(row.line.size() < 18 ? 20 - row.line.size() : 2, ' ');
        text.append(row.purpose).append("\n");
    };
    for (const BuiltIn& row : builtIns()) add(row);
    add(FilterCommand{watchLine, watchPurpose});
    text += "\nBehind a command, after |:\n";
    for (const FilterCommand& row : filterCommands()) add(row);
    return text;
}

namespace {

// The lines, each with its number.
template <class Lines>
std::string historyText(const Lines& lines) {
    std::string text;
    std::size_t number = 0;
    for (const std::string& line : lines) {
        const std::string digits = std::to_string(++number);
        text.append(digits.size() < 5 ? 5 - digits.size() : 0, ' ');
        text += digits + "  " + Base::escaped(line) + "\n";
    }
    return text;
}

}  // namespace

const std::vector<CommandLoop::BuiltIn>& CommandLoop::builtIns() {
    static const std::vector<BuiltIn> rows = {
        {"exit", "leave the shell, as Ctrl-D does",
         [](CommandLoop& loop, const Match&) {
             loop.isEnding_ = true;
             return std::string();
         }},
        {"help", "print this text", [](CommandLoop&, const Match&) { return helpOfShell(); }},
        {"history", "the lines that were typed, in earlier sessions too",
         [](CommandLoop& loop, const Match&) { return historyText(loop.history_); }},
        {"terminal length LINES", "where the pager begins; 0: no pager",
         [](CommandLoop& loop, const Match& match) {
             const Token& lines = *match.find("LINES");
             const auto number = Base::parseNumber(lines.text, {0, ~U32{0}});
             if (!number) {
                 throw CommandError(lines.position,
                                    inQuotes(lines.text) + " is not a number of lines",
                                    "lines of the screen, as 24, or 0 for no pager");
             }
             loop.terminalLength_ = static_cast<U32>(*number);
             return std::string();
         }},
    };
    return rows;
}

CommandLoop::CommandLoop(const Options& options, const std::string& stateDirectory)
    : options_(options), stateDirectory_(stateDirectory), live_(stateDirectory), grammar_([] {
          std::vector<std::string_view> lines;
          for (const Command& row : Cli::commands()) lines.push_back(row.grammarLine());
          for (const BuiltIn& row : builtIns()) lines.push_back(row.line);
          lines.push_back(watchLine);
          return Grammar(lines);
      }()) {}

int CommandLoop::run(std::string_view line, const std::string& place) {
    const Words words = splitLine(line).words;
    return reportFailures(place, words, [&] { return options_.statusOf(run(line)); });
}

int CommandLoop::run(std::string_view text) {
    const CommandLine line = completeLine(text);
    if (line.isEmpty()) return ExitStatus::success;
    const Words& words = line.stages.front().words;
    const auto filters = std::span(line.stages).subspan(1);
    if (isWatch(words)) return watch(Words(words.begin() + 1, words.end()), 1, filters);
    const Plan plan = planOf(words);
    return execute(plan, routeOf(readPipes(filters), words));
}

int CommandLoop::watch(const Words& words) {
    return reportFailures("", words, [&] { return options_.statusOf(watch(words, 0, {})); });
}

int CommandLoop::watch(const Words& words, std::size_t position,
                       std::span<const CommandLine::Stage> filters) {
    Shell::Watch how;
    Words command = words;
    if (!command.empty() && isNumber(command.front())) {
        how.seconds = secondsOf({"SECONDS", command.front(), position});
        command.erase(command.begin());
        ++position;
    }
    // Errors of the command's words are told of the line that was typed.
    const auto inLine = [&](const auto& run) {
        try {
            return run();
        } catch (const CommandError& error) {
            throw CommandError(error.position() + position, error.what(), error.expected());
        }
    };
    const Plan plan = inLine([&] {
        const Match match = grammar_.match(command);
        if (match.tokens.front().label != "show") {
            throw CommandError(0, inQuotes(command.front()) + " cannot be watched",
                               "a command that begins with show");
        }
        return planOf(command);
    });
    Route route = routeOf(readPipes(filters), command);
    route.screen.reset();
    how.json = options_.json || route.pipes.json;
    how.colour = route.colour;
    for (const std::string& word : command) how.title += (how.title.empty() ? "" : " ") + word;
    return inLine([&] {
        return Shell::watch(how, [&](std::string& text) {
            route.text = &text;
            return execute(plan, route);
        });
    });
}

int CommandLoop::execute(const Plan& plan, const Route& route) {
    live_.look();
    try {
        return Shell::execute(plan, {stateDirectory_, options_.format(), options_.revision, live_},
                              route);
    } catch (const StateDirectory::StateError& error) {
        throw StateDirectory::StateError(error.what() + hintFor(stateDirectory_));
    }
}

Plan CommandLoop::planOf(const Words& words) {
    try {
        const Match match = grammar_.match(words);
        if (match.command < Cli::commands().size()) {
            const Plan plan = Cli::commands()[match.command].plan(match);
            return [this, plan](const Session& session) {
                sayRefusal();
                return plan(session);
            };
        }
        const BuiltIn& row = builtIns()[match.command - Cli::commands().size()];
        return [this, &row, match](const Session& session) {
            textout::TextOutBuffer out(session.fd());
            out.append(row.run(*this, match));
            out.flush();
            return ExitStatus::success;
        };
    } catch (const CommandError& error) {
        throw withReason(error, words);
    }
}

// Said before the report: it is not of the documents as they stand.
void CommandLoop::sayRefusal() const {
    const auto refusal = live_.refusal();
    if (!refusal || refusal->inForceSince.empty()) return;
    complain(refusal->mistake + "\ntpcli: the state of " + refusal->inForceSince +
             " stays in force");
}

Route CommandLoop::routeOf(Pipes pipes, const Words& command) const {
    if (pipes.top && !grammar_.match(command).has("rate")) {
        throw CommandError(pipes.top->position, "\"top\" cannot stand behind this command",
                           "it behind counters rate, as: show traffic-policy cpu counters rate | "
                           "top 5");
    }
    Route route;
    route.colour = wantsColour(options_.colour);
    if (pagesReports_ && !pipes.noMore && terminalLength_ != 0U) {
        route.pager = pagerCommand();
        route.screen = screenSize();
        if (terminalLength_) route.screen->lines = *terminalLength_;
        if (route.pager.empty()) route.screen.reset();
    }
    route.pipes = std::move(pipes);
    return route;
}

}  // namespace Cli::Shell
