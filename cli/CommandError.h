// What is wrong with the command line. A word is shown within its command with a caret under it,
// and what could stand there; the exit status is 1.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "base/Text.h"

namespace Cli {

using Base::inQuotes;

using Words = std::vector<std::string>;

// A command that cannot be run because of one of its words, or because one is missing: then the
// position is the number of words.
class CommandError : public std::runtime_error {
  public:
    // problem: what is wrong; expected: what would be right. Both escaped, without line ends.
    CommandError(std::size_t position, const std::string& problem, std::string expected)
        : std::runtime_error(problem), position_(position), expected_(std::move(expected)) {}

    std::size_t position() const { return position_; }
    const std::string& expected() const { return expected_; }

  private:
    std::size_t position_;
    std::string expected_;
};

// Three lines without the last line end:
//     the problem
//       show traffic-policy interface sumary
//                                     ^~~~~~ expected ..., errors or the end of the command
// Long words are cut, and so is what follows on a line that is long.
std::string explain(const Words& words, const CommandError& error);

}  // namespace Cli
