// What can stand at the cursor: keywords from the grammar that also reads the commands, names out
// of the state.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Grammar.h"
#include "state/State.h"

namespace Cli::Shell {

struct Completion {
    struct Choice {
        std::string text;  // as it would be typed; of arguments without names, what they are called
        std::string_view help;
        bool isTyped = true;  // the text itself could stand here
    };
    std::size_t wordBegin = 0;  // where the word under the cursor begins in the line
    std::vector<Choice> choices;
    bool isComplete = false;  // the command may end here
    bool isInQuotes = false;  // a quoted word has no end yet
    std::string problem;      // why nothing can stand here
};

// Where names come from.
struct NameSources {
    const StateDirectory::State* state = nullptr;     // null when it is not loaded: none of it
    std::function<std::vector<std::string>()> marks;  // asked when a mark can stand there
};

// What can begin with the last word of the line, or, behind a blank, come next. commands: the
// grammar of all commands.
Completion complete(std::string_view line, const Grammar& commands, const NameSources& names);

// The arguments that may follow these on a command line: keywords, and names, in double quotes only
// when they would be read as keywords. None when the words are wrong.
std::vector<std::string> argumentsAfter(const Words& words, const NameSources& names);

// What Tab does: the text to insert at the end of the line, and what to show below it.
struct TabAnswer {
    std::string inserted;
    std::string shown;
};
TabAnswer answerTab(std::string_view line, const Completion& completion, std::size_t columns);
// What "?" shows.
std::string helpText(const Completion& completion);

}  // namespace Cli::Shell
