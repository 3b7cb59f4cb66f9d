// The sets of prefixes and of ports that entries refer to, as field sets.
#pragma once

#include <set>
#include <string>

#include "hive/FieldSets.h"
#include "import/JsonTree.h"

namespace Import {

// The names of the sets that say more than a field set can: who refers to them means something
// else than what the field set shows.
struct PartlyReadSets {
    std::set<std::string> ipv4Prefixes;
    std::set<std::string> ipv6Prefixes;
    std::set<std::string> ports;
};

// definedSets: null: there are none.
PartlyReadSets readFieldSets(const JsonTree* definedSets, Classification::FieldSetConfig& config,
                             Findings& findings);

}  // namespace Import
