// The command line of tpcli: options, which may stand anywhere, and the words of a command.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/OptionTable.h"
#include "cli/CommandError.h"
#include "cli/ExitStatus.h"
#include "orb/Types.h"

namespace Cli {

using Base::OptionError;

enum class ColourMode { automatic, always, never };

struct Options {
    std::string stateDirectory;  // empty: none was named
    bool json = false;
    U32 revision = 2;
    std::vector<std::pair<std::string, U32>> traces;  // facilities and their levels
    bool dumpsBlip = false;
    bool exitCode = false;  // of problems: status 5 when there is one
    bool watches = false;   // the words are a command to watch, behind an interval if there is one
    ColourMode colour = ColourMode::automatic;
    // Either the commands of -c and behind it, one line each, or the words of one command; without
    // either, commands come from standard input.
    std::vector<std::string> commands;
    Words words;

    // Of reports: 1 text, 2 JSON.
    U32 format() const { return json ? 2 : 1; }
    // What a command's status is to whoever called the program.
    int statusOf(int status) const {
        return status == ExitStatus::problemsFound && !exitCode ? ExitStatus::success : status;
    }
};

// Of --state, else of TPCLI_STATE, else the current one.
std::string stateDirectoryOf(const Options& options);

std::vector<std::string> optionNames();

// Reads the arguments behind the program's name. Throws OptionError.
Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options);

// The options in the help: the first lines of how to call tpcli, and what each does.
std::string optionsUsage();
std::string optionsHelp();

}  // namespace Cli
