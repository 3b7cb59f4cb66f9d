// Makes state directories of any size. The same shape gives the same bytes on every machine: all
// that varies is drawn from one seeded generator, in the order of the documents.
#pragma once

#include <string>

#include "orb/Types.h"

namespace Bench {

struct StateShape {
    U32 seed = 1;
    U32 policies = 1000;
    U32 rules = 100;       // of each policy; every tenth counts into a named counter
    U32 points = 4;        // interfaces that each policy is attached to
    U32 ipv6Percent = 10;  // of the rules
    U32 fieldSets = 0;     // IPv4 prefix field sets
    U32 prefixes = 1000;   // of each field set, all different
};

// Writes config.json and status.json into the directory, which it makes. Every rule matches a
// source, a destination, a protocol and its ports, counts and drops. Three policies of four are
// applied on input, the fourth on output. Throws std::runtime_error when a file cannot be written.
void generateState(const StateShape& shape, const std::string& directory);

}  // namespace Bench
