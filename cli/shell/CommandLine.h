// A line of the shell, taken apart: the words of a command, and those of the filters that its
// report goes through.
//
//     show traffic-policy EDGE-IN interface | section drop|police | save "edge in.txt"
//
// "|" separates where a word could begin. A word in double quotes keeps its blanks, and \" is a
// quotation mark in it. What stands behind the first word of a filter is one word, blanks included.
// A line that begins with "#" has no words.
#pragma once

#include <string_view>

#include "cli/CommandError.h"

namespace Cli::Shell {

struct CommandLine {
    struct Stage {
        std::size_t position;  // of its first word among all words
        Words words;           // quoted ones of the command keep their quotes, which say NAME
    };

    Words words;                // all, "|" included, as typed
    std::vector<Stage> stages;  // the command, which may be without words, then filters
    // What the cursor stands in or behind, for a line that is still being typed: the place in the
    // line where the last word begins; the end of the line when it ends with a blank.
    std::size_t lastWordBegin;
    bool isInQuotes;  // a quoted word has no end yet

    bool isEmpty() const { return words.empty(); }
};

// Takes a line as it is typed: never fails.
CommandLine splitLine(std::string_view line);
// The same of a line that is to be run. Throws CommandError when a quoted word has no end. The
// words of an error are those of splitLine().
CommandLine completeLine(std::string_view line);

}  // namespace Cli::Shell
