// The known word that a mistyped one was most likely meant to be: the one that takes the fewest
// changes, which are insertions, removals and replacements of one byte and swaps of two neighbours
// (optimal string alignment distance).
#pragma once

#include <span>
#include <string_view>

#include "orb/Types.h"

namespace Orb {

// The candidate nearest to the word, the first of equally near ones. Empty when none is near: it
// takes more changes than a third, rounded, of the bytes of the longer word. Of long words the
// first 256 bytes count.
ORB_EXPORT std::string_view nearest(std::string_view word,
                                    std::span<const std::string_view> candidates);

}  // namespace Orb
