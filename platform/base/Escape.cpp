#include "base/Escape.h"

#include <algorithm>
#include <cstring>

namespace Base {

namespace {

bool isPlain(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 && byte < 0x7f;
}

// Characters that a terminal obeys, or that cannot be seen.
bool isEscaped(U32 code) {
    return code < 0x20 || (code >= 0x7f && code <= 0xa0) || (code >= 0x200b && code <= 0x200f) ||
           (code >= 0x202a && code <= 0x202e) || (code >= 0x2060 && code <= 0x2069) ||
           code == 0xfeff;
}

// The leading bytes of a character with how many bytes it has, and what its second byte may be:
// overlong forms, surrogates and values beyond U+10FFFF differ there (RFC 3629).
struct Utf8Lead {
    unsigned first, last;
    U32 length;
    unsigned secondFirst, secondLast;
};
constexpr Utf8Lead utf8Leads[] = {
    {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf}, {0xe1, 0xec, 3, 0x80, 0xbf},
    {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf}, {0xf0, 0xf0, 4, 0x90, 0xbf},
    {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

void appendCode(std::string& out, U32 code) {
    static constexpr char digits[] = "0123456789abcdef";
    if (code > 0xff) {
        out += {'\\', 'u', digits[code >> 12], digits[code >> 8 & 15]};
    } else {
        out += {'\\', 'x'};
    }
    out += {digits[code >> 4 & 15], digits[code & 15]};
}

}  // namespace

U32 utf8Length(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t offset) {
        return static_cast<unsigned char>(text[at + offset]);
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const auto* const row = std::ranges::find_if(
        utf8Leads, [lead](const Utf8Lead& one) { return one.first <= lead && lead <= one.last; });
    if (row == std::end(utf8Leads) || at + row->length > text.size()) return 0;
    if (byte(1) < row->secondFirst || byte(1) > row->secondLast) return 0;
    for (U32 i = 2; i < row->length; ++i) {
        if ((byte(i) & 0xc0) != 0x80) return 0;
    }
    return row->length;
}

U32 codePoint(std::string_view text, std::size_t at, U32 length) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (length == 1) return lead;
    U32 code = lead & (0x7fU >> length);
    for (U32 i = 1; i < length; ++i) {
        code = code << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3f);
    }
    return code;
}

bool isPlainAscii(std::string_view text) {
    // Eight bytes at a time: what is below a blank borrows from its high bit, DEL carries into it.
    constexpr U64 ones = 0x0101010101010101;
    U64 special = 0;
    std::size_t at = 0;
    for (U64 bytes = 0; at + sizeof bytes <= text.size(); at += sizeof bytes) {
        std::memcpy(&bytes, text.data() + at, sizeof bytes);
        special |= (bytes - 0x20 * ones) | bytes | (bytes + ones);
    }
    return (special & 0x80 * ones) == 0 && std::all_of(text.begin() + at, text.end(), isPlain);
}

void appendEscaped(std::string& out, std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        if (isPlain(text[at])) {
            out += text[at++];
            continue;
        }
        const U32 length = utf8Length(text, at);
        if (length == 0) {
            out += "\xef\xbf\xbd";
            ++at;
            continue;
        }
        const U32 code = codePoint(text, at, length);
        if (isEscaped(code)) {
            appendCode(out, code);
        } else {
            out.append(text, at, length);
        }
        at += length;
    }
}

}  // namespace Base
