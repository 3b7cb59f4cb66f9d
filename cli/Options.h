// The command line of tpcli: options, which may stand anywhere, and the words of a command.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/CommandError.h"
#include "orb/Types.h"

namespace Cli {

struct Options {
    std::string stateDirectory = ".";
    bool json = false;
    U32 revision = 2;
    std::vector<std::pair<std::string, U32>> traces;  // facilities and their levels
    bool dumpsBlip = false;
    bool help = false;
    Words words;
};

// Reads the arguments behind the program's name. Throws OptionError.
Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace Cli
