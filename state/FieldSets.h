// Reads the field sets: those that rules refer to, and the directories of MAC field sets.
#pragma once

#include "hive/FieldSets.h"
#include "state/Node.h"

namespace StateDirectory {

Orb::Ptr<const Classification::FieldSetConfig> readFieldSetConfig(const Node& node);

// A directory of sources, each one a directory of sets by name.
Orb::Ptr<const Orb::Dir> readMacDir(const Node& node);
Orb::Ptr<const Orb::Dir> emptyMacDir();

}  // namespace StateDirectory
