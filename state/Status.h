// Reads the status document into the state.
#pragma once

#include "state/Node.h"
#include "state/State.h"

namespace StateDirectory {

void readStatus(const Node& root, State& state);

}  // namespace StateDirectory
