// The command line of tpexporter.
#pragma once

#include <netinet/in.h>

#include <string>
#include <vector>

#include "base/OptionTable.h"

namespace Exporter {

using Base::OptionError;

struct StateName {
    std::string directory;
    std::string name;  // the label "switch"; empty: none
};

// Where to listen: an IPv4 or IPv6 address and a port; port 0 is any that is free.
union ListenAddress {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;
};

// A series per rule and named counter, or one for all of a policy on a side.
enum class Grain { perRule, perPolicy };

struct Options {
    std::vector<StateName> states;
    ListenAddress listen{};
    bool isListenGiven = false;
    Grain grain = Grain::perRule;
    std::string textfile;     // empty: the figures are served
    U64 intervalSeconds = 0;  // between two textfiles; 0: one is written
};

// Reads the arguments behind the program's name. Throws OptionError.
Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options);

std::string helpText();

}  // namespace Exporter
