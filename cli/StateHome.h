// Where the program keeps what belongs to its user: the history of the shell, marks.
#pragma once

#include <filesystem>

namespace Cli {

// The program's folder in the state directory of the XDG base directory convention
// (https://specifications.freedesktop.org/basedir-spec): below XDG_STATE_HOME, else below
// ~/.local/state. A path that is not absolute counts as none; empty when there is no place for it.
std::filesystem::path stateHome();
// The same, made if need be.
std::filesystem::path madeStateHome();

}  // namespace Cli
