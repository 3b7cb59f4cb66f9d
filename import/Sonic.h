// The databases of a SONiC switch as what a state is made of.
#pragma once

#include <unordered_map>

#include "import/SonicDatabases.h"
#include "import/StateBuilder.h"

namespace Import {

bool holdsAcls(const SonicDatabases& databases);

// The counts of the rules, by the identities that a state gives their counters.
std::unordered_map<U64, PolicyMap::PacketAndByte> countsByIdentity(const SonicDatabases& databases);

Gathered gatherSonic(const SonicDatabases& databases, Findings& findings);

}  // namespace Import
