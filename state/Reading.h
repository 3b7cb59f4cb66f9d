// The two ways to read the documents of a folder. What they accept, and what they make of it, is
// the same.
#pragma once

#include "state/Pieces.h"
#include "state/State.h"

namespace StateDirectory {

// In pieces, on two threads: with less memory, and in less time. Throws NotInPieces for any
// mistake. runSize: as of Pieces.
State readInPieces(const std::string& folder, std::size_t runSize = Pieces::usualRunSize);

// As a whole, which tells what is wrong and where. Throws StateError.
State readWhole(const std::string& folder);

}  // namespace StateDirectory
