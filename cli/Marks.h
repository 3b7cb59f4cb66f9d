// Marks: the counts of a moment, remembered for one user. A document for each state directory, in
// the user's own folder; the state directory is only read.
#pragma once

#include "cli/Commands.h"
#include "state/Snapshots.h"

namespace Cli {

// The commands.
Plan planMark(const Match& match);
Plan planShowMarks(const Match& match);
Plan planDeleteMark(const Match& match);

// The names of the marks on a state directory; none when they cannot be read.
std::vector<std::string> markNames(const std::string& stateDirectory);

// The counts of a mark. Throws CommandError when there is no such mark, and
// StateDirectory::StateError.
StateDirectory::Snapshots countsOfMark(const Session& session, const Token& mark);

}  // namespace Cli
