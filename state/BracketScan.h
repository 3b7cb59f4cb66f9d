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

// A scan of text that comes in parts: what follows the opening bracket, or a comma of the
// container. Assumes well-formed JSON: of any other text the cuts say nothing.
class BracketScan {
  public:
    static constexpr std::size_t blockSize = 64;

    // Goes on with the next part; false when the closing bracket is in it. All parts but the last
    // one are whole blocks.
    bool take(std::string_view text);
    // Counted from the beginning of the first part.
    const Cuts& cuts() const { return cuts_; }

    // Where the characters stand in a block, a bit each.
    struct BlockBits {
        U64 quote = 0;
        U64 backslash = 0;
        U64 comma = 0;
        U64 open = 0;
        U64 close = 0;
    };

  private:
    bool takeBlock(const char* text, std::size_t place);
    bool takeBrackets(const BlockBits& marks, std::size_t place);

    int depth_ = 0;
    U64 inString_ = 0;  // all bits, or none
    bool isEscaping_ = false;
    std::size_t taken_ = 0;
    Cuts cuts_;
};

// The same of a text in one part.
Cuts findCuts(std::string_view text);

}  // namespace StateDirectory
