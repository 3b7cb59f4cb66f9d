// Reads and writes the status document into the state.
#pragma once

#include "state/Node.h"
#include "state/State.h"
#include "state/Writer.h"

namespace StateDirectory {

// What is read of it agrees with itself: a rule has one match option in the platform; both
// directions number its rules by it.
void checkDirections(const Node& root, const State& state);
void readStatus(const Node& root, State& state);
void writeStatus(Writer& writer, const State& state);

}  // namespace StateDirectory
