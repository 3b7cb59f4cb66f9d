// The commands: one row each, from which the grammar and the help are made.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Grammar.h"
#include "state/State.h"

namespace Cli {

// What a command runs on.
struct Session {
    std::string stateDirectory;
    StateDirectory::State state;
    U32 fd;        // where the report goes
    U32 format;    // 1 text, 2 JSON
    U32 revision;  // of the JSON model
};

// A command whose words have all been understood, ready to run: prints its report and returns the
// exit status. REQUIRES: the calling thread holds the activity lock. Throws
// StateDirectory::StateError before anything is printed, and textout::WriteError.
using Plan = std::function<int(const Session& session)>;

struct Command {
    std::string_view line;     // its words, in the notation of the grammar
    std::string_view purpose;  // for the help
    Plan (*plan)(const Match& match);
};

const std::vector<Command>& commands();

// Reads the words of one command. Throws CommandError.
Plan planOf(const Words& words);

}  // namespace Cli
