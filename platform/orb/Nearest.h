// The known word that a mistyped one was most likely meant to be: the one that takes the fewest
// single-byte insertions, removals and replacements (Levenshtein distance).
#pragma once

#include <span>
#include <string_view>

#include "orb/Types.h"

namespace Orb {

// The candidate nearest to the word, the first of equally near ones; empty when there are no
// candidates. Of long words the first 256 bytes count.
ORB_EXPORT std::string_view nearest(std::string_view word,
                                    std::span<const std::string_view> candidates);

}  // namespace Orb
