// Finds keys in the text of an object without parsing it.
#pragma once

#include <span>
#include <string_view>

#include "orb/Types.h"

namespace StateDirectory {

// Which of the names (a bit each, at most 64) are keys of some object in the text. The text is JSON
// without any escape, so a name in quotes is a string of its own, and a key if a colon follows. All
// names begin with one of the two letters.
U64 keysIn(std::string_view text, std::span<const std::string_view> names,
           const char (&letters)[2]);

}  // namespace StateDirectory
