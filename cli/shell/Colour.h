// Colours of reports on a terminal: headings bold, what failed and what drops red, warnings yellow.
#pragma once

#include <memory>
#include <string_view>

#include "cli/TpcliOptions.h"
#include "cli/shell/Sink.h"

namespace Cli::Shell {

// Ends all colours of a terminal.
inline constexpr std::string_view plain = "\033[0m";

// Whether text on standard output is to have colours: as asked, else on a terminal, unless the
// environment has NO_COLOR or a TERM without colours.
bool wantsColour(ColourMode mode);

// Takes text lines and hands them to the sink with escape codes around some.
std::unique_ptr<Sink> throughColours(std::unique_ptr<Sink> sink);

}  // namespace Cli::Shell
