// Finds in the text of an object or a list where it may be cut: at the commas between its members,
// and at its closing bracket. Looks at 64 bytes at a time; what stands in strings is left out.
#pragma once

#include <string_view>

#include "orb/Types.h"

namespace StateDirectory {

struct Cuts {
    static constexpr std::size_t none = ~std::size_t{0};

    std::size_t lastComma = none;  // of the container itself
    std::size_t close = none;      // its closing bracket; when it is there, there is no other cut
};

// text: what follows the opening bracket, or a comma of the container. Assumes well-formed JSON: of
// any other text the cuts say nothing.
Cuts findCuts(std::string_view text);

}  // namespace StateDirectory
