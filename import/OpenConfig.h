// OpenConfig data of a switch as what a state is made of.
#pragma once

#include "import/JsonTree.h"
#include "import/StateBuilder.h"

namespace Import {

// tree: the merged files. Throws StateError when they hold nothing about ACLs.
Gathered gatherOpenConfig(const JsonTree& tree, Findings& findings);

}  // namespace Import
