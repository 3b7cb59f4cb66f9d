// The commands: one row each, from which the grammar and the help are made.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "cli/Grammar.h"
#include "cli/Session.h"

namespace Cli {

// A command whose words have all been understood, ready to run: prints its report and returns the
// exit status. REQUIRES: the calling thread holds the activity lock. Throws
// StateDirectory::StateError before anything is printed, and textout::WriteError.
using Plan = std::function<int(const Session& session)>;

struct Command {
    std::string_view line;     // its words, in the notation of the grammar
    std::string_view purpose;  // for the help
    Plan (*plan)(const Match& match);
    // What the plan and its hints look at of the state; null: everything.
    StateDirectory::Wanted (*wanted)(const Match& match) = nullptr;
    // The words in full, where the line shows them shortened; empty: the line is full.
    std::string_view fullLine = {};
    bool findsProblems = false;  // may return ExitStatus::problemsFound

    // The line for the grammar.
    std::string_view grammarLine() const { return fullLine.empty() ? line : fullLine; }
};

const std::vector<Command>& commands();

const Grammar& grammar();

// Reads the words of one command. Throws CommandError.
Plan planOf(const Words& words);
// What the command of the words, which planOf took, looks at of the state.
StateDirectory::Wanted wantedBy(const Words& words);
// Says whether the words, which planOf took, are of a command that finds problems.
bool findsProblems(const Words& words);
// An error of the words, with the reason why no command begins like them, if there is a special
// one.
CommandError withReason(const CommandError& error, const Words& words);

}  // namespace Cli
