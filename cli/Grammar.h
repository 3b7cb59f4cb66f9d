// The words of the commands. Each command is one line of text, as the help prints it; the grammar
// reads those lines into one automaton, whose edges are keywords and arguments, and walks it for
// all commands at once. What can be said about a word (what it may be short for, what else could
// stand in its place) follows from the edges at the point that the words before it lead to.
//
//     show traffic-policy [NAME] interface [input | output] [summary | detail | errors]
//
// In lower case: keywords; in upper case: arguments; [ ]: may be left out; ( ): one of;
// ...: once or more often.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "cli/CommandError.h"

namespace Cli {

// One word of a command that the grammar took.
struct Token {
    std::string_view label;  // the keyword in full, or the argument ("NAME")
    std::string text;        // the word; of a quoted one what is between the quotes
    std::size_t position;
};

// A complete command.
struct Match {
    std::size_t command;  // its place among the lines that the grammar was made of
    std::vector<Token> tokens;

    // Says whether a keyword was given.
    bool has(std::string_view keyword) const { return find(keyword) != nullptr; }
    // The token of a keyword or of an argument; null when it was not given.
    const Token* find(std::string_view label) const;
    // What NAME was given; empty when none was, as no name is.
    std::string name() const;
};

class Grammar {
  public:
    // The lines must outlive the grammar.
    explicit Grammar(std::span<const std::string_view> lines);

    // Reads the words. Keywords may be shortened while unambiguous, and go before arguments: a word
    // that can be read as a keyword is one. A word in double quotes is always a NAME or a MARK.
    // Throws CommandError.
    Match match(const Words& words) const;

    // Where words that begin a command lead to.
    struct Position {
        Match before;                          // the words, read; the command may be any
        std::vector<std::string_view> labels;  // the keywords and arguments that can follow
        bool isComplete;                       // or none
    };
    // Throws CommandError.
    Position after(const Words& words) const;

  private:
    struct Edge {
        std::string_view label;
        std::size_t target;
    };
    struct Node {
        std::vector<Edge> edges;
        std::vector<std::size_t> alsoAt;      // nodes reached without a word
        std::optional<std::size_t> complete;  // the command that may end here
    };
    class LineReader;
    class Walk;

    // Says whether a word is a keyword of some command, is short for one, or is near to one.
    bool isLikeAKeyword(const std::string& word) const;
    // What the words would be if the one at the position were a NAME that only stands in the wrong
    // place, for a message; empty when it is none.
    std::string hintAboutName(const Words& words, std::size_t position) const;

    std::vector<Node> nodes_;
};

}  // namespace Cli
