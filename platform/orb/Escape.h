// The one form in which untrusted bytes reach a terminal: control characters (C0, DEL and C1) as
// \x and two hexadecimal digits, bytes that are no UTF-8 as U+FFFD.
#pragma once

#include <string_view>

#include "orb/Types.h"

namespace Orb {

// The length in bytes (1 to 4) of the UTF-8 character (RFC 3629) that begins at text[at]; 0 when
// the bytes there are no valid one. at must be below text.size().
ORB_EXPORT U32 utf8Length(std::string_view text, std::size_t at);

// Says whether appendEscaped would copy the text as it stands.
ORB_EXPORT bool isPlainAscii(std::string_view text);

// Appends the text to out, escaped.
ORB_EXPORT void appendEscaped(String& out, std::string_view text);
inline String escaped(std::string_view text) {
    String out;
    appendEscaped(out, text);
    return out;
}

}  // namespace Orb
