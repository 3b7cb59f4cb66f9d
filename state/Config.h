// Reads the configuration document into the state.
#pragma once

#include "state/Node.h"
#include "state/State.h"

namespace StateDirectory {

void readConfig(const Node& root, State& state);

}  // namespace StateDirectory
