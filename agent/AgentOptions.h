// The command line of counteragent.
#pragma once

#include <string>
#include <vector>

#include "base/OptionTable.h"

namespace CounterAgent {

using Base::OptionError;

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
    std::vector<Rate> rates;  // of several for one counter the last counts
};

// Reads the arguments behind the program's name. Throws OptionError.
Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options);

std::string helpText();

}  // namespace CounterAgent
