// The sets of prefixes and of ports that entries refer to, as field sets.
#pragma once

#include "hive/FieldSets.h"
#include "import/JsonTree.h"

namespace Import {

// definedSets: null: there are none.
void readFieldSets(const JsonTree* definedSets, Classification::FieldSetConfig& config,
                   Findings& findings);

}  // namespace Import
