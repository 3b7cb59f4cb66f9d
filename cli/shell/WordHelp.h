// What "?" says about the words of commands.
#pragma once

#include <string_view>

namespace Cli::Shell {

// One line about a keyword or an argument of the grammar that stands behind another one (empty: at
// the beginning of the line). Empty when there is none.
std::string_view helpOf(std::string_view label, std::string_view before);

}  // namespace Cli::Shell
