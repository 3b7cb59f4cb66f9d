#include "cli/shell/Complete.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/Marks.h"
#include "cli/TpcliOptions.h"
#include "cli/shell/Completer.h"
#include "state/StateError.h"

namespace Cli {

int printCompletions(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return ExitStatus::success;
    const std::string& begun = arguments.back();
    Options options;
    try {
        // With a value for the option that may still need one.
        parseOptions({arguments.begin(), arguments.end() - 1}, options);
    } catch (const OptionError&) {
        return ExitStatus::success;  // the value of an option
    }
    std::vector<std::string> found;
    if (begun.starts_with('-')) {
        found = optionNames();
    } else if (options.commands.empty()) {
        StateDirectory::State state;
        try {
            state = StateDirectory::readState(stateDirectoryOf(options));
        } catch (const StateDirectory::StateError&) {
            state = {};  // keywords are to be had without names
        }
        found = Shell::argumentsAfter(
            options.words, {&state, [&] { return markNames(stateDirectoryOf(options)); }});
    }
    for (const std::string& word : found) {
        if (word.starts_with(begun)) std::printf("%s\n", word.c_str());
    }
    return ExitStatus::success;
}

}  // namespace Cli
