// Files of OpenConfig data, in the forms in which tools deliver it: a whole document, a tree that
// is cut off at a path, gNMI notifications as lists of path and value.
#pragma once

#include <string>

#include "import/JsonTree.h"

namespace Import {

// Merges the data of a file into the tree, whose children are "acl" and "defined-sets". Throws
// StateError when it cannot be read, or is no JSON.
void readOpenConfig(const std::string& path, JsonTree& tree, Findings& findings);

// A path as gNMI writes it: "/openconfig-acl:acl/acl-sets/acl-set[name=A][type=ACL_IPV4]/config".
// Within a key a backslash stands before "]" and itself. Throws StateError when it is none.
std::vector<PathStep> parsePath(std::string_view text);

}  // namespace Import
