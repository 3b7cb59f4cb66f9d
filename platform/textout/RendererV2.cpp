#include "textout/RendererV2.h"

#include <array>

#include "orb/Escape.h"

namespace textout {

namespace {

// The bytes that stand in a JSON string as they are: printable ASCII but for '"' and '\'.
constexpr auto plainInJson = [] {
    std::array<bool, 256> plain{};
    for (unsigned byte = 0x20; byte < 0x7f; ++byte) plain[byte] = byte != '"' && byte != '\\';
    return plain;
}();

// Says whether eight bytes are all plain in JSON. Of the bytes that are not, the lowest gets its
// high bit set: one below 0x20 and one equal to '"' or '\\' by a borrow, DEL by a carry.
bool arePlainInJson(U64 bytes) {
    constexpr U64 ones = 0x0101010101010101;
    constexpr U64 highBits = 0x80 * ones;
    const U64 quotes = bytes ^ ('"' * ones);
    const U64 backslashes = bytes ^ ('\\' * ones);
    const U64 special =
        (bytes - 0x20 * ones) | (quotes - ones) | (backslashes - ones) | bytes | (bytes + ones);
    return (special & highBits) == 0;
}

void appendUnicodeEscape(TextOutBuffer& out, unsigned byte) {
    static constexpr char digits[] = "0123456789abcdef";
    const char text[] = {'\\', 'u', '0', '0', digits[byte >> 4], digits[byte & 15]};
    out.append(std::string_view(text, sizeof text));
}

void appendShortEscape(TextOutBuffer& out, unsigned byte) {
    switch (byte) {
        case '"':
            out.append("\\\"");
            break;
        case '\\':
            out.append("\\\\");
            break;
        case '\n':
            out.append("\\n");
            break;
        case '\r':
            out.append("\\r");
            break;
        case '\t':
            out.append("\\t");
            break;
        default:
            appendUnicodeEscape(out, byte);
    }
}

// The first byte from a position on that is not plain.
std::size_t plainEnd(std::string_view text, std::size_t at) {
    for (U64 bytes = 0; at + sizeof bytes <= text.size(); at += sizeof bytes) {
        std::memcpy(&bytes, text.data() + at, sizeof bytes);
        if (!arePlainInJson(bytes)) break;
    }
    while (at < text.size() && plainInJson[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

}  // namespace

void RendererV2::appendName(std::string_view name) {
    if (Orb::isPlainAscii(name)) {
        out_.append(name);
    } else {
        out_.append(Orb::escaped(name));
    }
}

void RendererV2::appendJsonString(std::string_view text) {
    std::size_t run = plainEnd(text, 0);
    out_.append('"');
    for (std::size_t at = 0; at < text.size(); run = plainEnd(text, at)) {
        out_.append(text.substr(at, run - at));
        at = run;
        if (at == text.size()) break;
        const U32 length = Orb::utf8Length(text, at);
        if (length == 0) {
            out_.append("\xef\xbf\xbd");
            ++at;
            continue;
        }
        const auto last = static_cast<unsigned char>(text[at + length - 1]);
        if (length == 1) {
            appendShortEscape(out_, last);
        } else if (length == 2 && text[at] == '\xc2' && last < 0xa0) {
            appendUnicodeEscape(out_, last);
        } else {
            out_.append(text.substr(at, length));
        }
        at += length;
    }
    out_.append('"');
}

}  // namespace textout
