// Reads and writes the field sets: those that rules refer to, and the directories of MAC field
// sets.
#pragma once

#include "hive/FieldSets.h"
#include "state/Node.h"
#include "state/Writer.h"

namespace StateDirectory {

Orb::Ptr<const Classification::FieldSetConfig> readFieldSetConfig(const Node& node);
void writeFieldSetConfig(Writer& writer, const Classification::FieldSetConfig& config);

// A directory of sources, each one a directory of sets by name.
Orb::Ptr<const Orb::Dir> readMacDir(const Node& node);
void writeMacDir(Writer& writer, const Orb::Dir& dir);
Orb::Ptr<const Orb::Dir> emptyMacDir();

}  // namespace StateDirectory
