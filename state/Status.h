// Reads and writes the status document into the state.
#pragma once

#include "state/Node.h"
#include "state/State.h"
#include "state/Writer.h"

namespace StateDirectory {

void readStatus(const Node& root, State& state);
void writeStatus(Writer& writer, const State& state);

}  // namespace StateDirectory
