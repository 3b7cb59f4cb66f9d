// The commands about field sets. What differs between the kinds of them in words, and where their
// names are, is a row each; whoever asks for that asks the rows.
#pragma once

#include <span>

#include "cli/Commands.h"
#include "cli/KnownNames.h"

namespace Cli {

// The rows of these commands, as in commands().
std::span<const Command> fieldSetCommands();

// The names of the sets of the kind that is among the words, or of all kinds if none is.
Names fieldSetNames(const Match& match, const StateDirectory::State& state);
Names fieldSetNames(const StateDirectory::State& state);  // of all kinds

// What is said behind Tab of the word of a kind, and of a NAME behind it; empty of anything else.
std::string_view fieldSetHelp(std::string_view label, std::string_view before);

}  // namespace Cli
