// The command line of counteragent.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "orb/Types.h"

namespace CounterAgent {

// How fast to count: packets of 64 bytes a second, or a packet a time as fast as it goes.
struct Rate {
    static constexpr U64 fastest = ~U64{0};
    static constexpr U64 highest = 1'000'000'000'000;
    std::string counter;  // POLICY/NAME of a rule or named counter; empty: all others
    U64 packetsPerSecond = 0;
};

struct Options {
    std::string stateDirectory = ".";
    bool recreate = false;
    bool once = false;
    bool help = false;
    bool version = false;
    std::vector<Rate> rates;  // of several for one counter the last counts
};

// What is wrong with the command line, and what would be right.
class OptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads the arguments behind the program's name. Throws OptionError.
Options parseOptions(const std::vector<std::string>& arguments);

std::string helpText();

}  // namespace CounterAgent
