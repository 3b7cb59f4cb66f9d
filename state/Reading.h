// The two ways to read the documents of a folder. What they accept, and what they make of it, is
// the same if everything is wanted.
#pragma once

#include "state/Pieces.h"
#include "state/State.h"

namespace StateDirectory {

// In pieces, on two threads: with less memory, and in less time. Throws NotInPieces for any
// mistake in what is wanted, and for some in the rest. runSize: as of Pieces.
State readInPieces(const std::string& folder, const Wanted& wanted = {},
                   std::size_t runSize = Pieces::usualRunSize);

// As a whole, which tells what is wrong and where. Throws StateError.
State readWhole(const std::string& folder);

}  // namespace StateDirectory
