// The one form in which untrusted bytes reach a terminal. What would act on the terminal or cannot
// be seen there is escaped: control characters (C0, DEL and C1) and the no-break space as \x and
// two hexadecimal digits, zero-width and direction-changing characters (U+200B to U+200F, U+202A to
// U+202E, U+2060 to U+2069, U+FEFF) as \u and four. Bytes that are not UTF-8 become U+FFFD.
#pragma once

#include <string_view>

#include "orb/Types.h"

namespace Base {

// The length in bytes (1 to 4) of the UTF-8 character (RFC 3629) that begins at text[at]; 0 when
// the bytes there are no valid one. at must be below text.size().
ORB_EXPORT U32 utf8Length(std::string_view text, std::size_t at);

// The code point of the character of that length, as utf8Length gives it, that begins at text[at].
ORB_EXPORT U32 codePoint(std::string_view text, std::size_t at, U32 length);

// Says whether a character changes the direction of the text around it.
constexpr bool changesDirection(U32 code) {
    return code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

// Says whether appendEscaped would copy the text as it stands.
ORB_EXPORT bool isPlainAscii(std::string_view text);

// Appends the text to out, escaped.
ORB_EXPORT void appendEscaped(std::string& out, std::string_view text);
inline std::string escaped(std::string_view text) {
    std::string out;
    appendEscaped(out, text);
    return out;
}

}  // namespace Base
