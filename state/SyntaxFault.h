// Finds where a text stops being JSON (RFC 8259), for the message about it. The parser that reads
// documents says only that they are none.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace StateDirectory {

struct TextPlace {
    std::size_t line = 1;    // from 1
    std::size_t column = 1;  // from 1, in characters
};

// REQUIRES: offset is at most the size of the text.
TextPlace placeAt(std::string_view text, std::size_t offset);

struct SyntaxFault {
    TextPlace place;
    std::string wrong;
    std::string expected;
};

// The first fault of the text; none when it is a document of numbers within 64 bits, nested less
// than 1,024 deep.
std::optional<SyntaxFault> findSyntaxFault(std::string_view text);

}  // namespace StateDirectory
