// Runs lines of the shell, one by one.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/Grammar.h"
#include "cli/TpcliOptions.h"
#include "cli/shell/CommandLine.h"
#include "cli/shell/Execution.h"
#include "state/LiveState.h"

namespace Cli::Shell {

class CommandLoop {
  public:
    // Begins to load the state.
    CommandLoop(const Options& options, const std::string& stateDirectory);

    // Runs one line. place: where it stands, for messages. Returns the exit status.
    int run(std::string_view line, const std::string& place);
    // Watches the command of words, behind an interval if the first is one. Returns the exit
    // status.
    int watch(const Words& words);
    // Says whether the last line was to end the shell.
    bool isEnding() const { return isEnding_; }

    // Whether reports that are longer than the screen go through the pager.
    void pagesReports(bool pages) { pagesReports_ = pages; }
    // What "history" shows, the newest last.
    std::vector<std::string>& history() { return history_; }
    StateDirectory::LiveState& live() { return live_; }
    const std::string& stateDirectory() const { return stateDirectory_; }
    const Grammar& grammar() const { return grammar_; }

  private:
    struct BuiltIn;
    static const std::vector<BuiltIn>& builtIns();
    static std::string helpOfShell();

    int run(std::string_view line);
    int execute(const Plan& plan, const Route& route);
    // position: of the first of the words in the line.
    int watch(const Words& words, std::size_t position,
              std::span<const CommandLine::Stage> filters);
    Plan planOf(const Words& words);
    Route routeOf(Pipes pipes, const Words& command) const;
    void sayRefusal() const;

    const Options& options_;
    std::string stateDirectory_;
    StateDirectory::LiveState live_;
    Grammar grammar_;  // of all commands
    std::vector<std::string> history_;
    bool isEnding_ = false;
    bool pagesReports_ = false;
    std::optional<U32> terminalLength_;
};

}  // namespace Cli::Shell
