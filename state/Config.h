// Reads and writes the configuration document into the state.
#pragma once

#include "state/Node.h"
#include "state/State.h"
#include "state/Writer.h"

namespace StateDirectory {

void readConfig(const Node& root, State& state);
void writeConfig(Writer& writer, const State& state);

}  // namespace StateDirectory
