#include "textout/RendererV2.h"

#include <array>

#include "base/Escape.h"

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

void appendUnicodeEscape(TextOutBuffer& out, U32 code) {
    static constexpr char digits[] = "0123456789abcdef";
    const char text[] = {'\\',
                         'u',
                         digits[code >> 12],
                         digits[code >> 8 & 15],
                         digits[code >> 4 & 15],
                         digits[code & 15]};
    out.append(std::string_view(text, sizeof text));
}

// C0, DEL and C1, what ends a string, and what changes the direction of the text around it.
bool isEscapedInJson(U32 code) {
    return code < 0x20 || code == '"' || code == '\\' || (code >= 0x7f && code < 0xa0) ||
           Base::changesDirection(code);
}

void appendJsonEscape(TextOutBuffer& out, U32 code) {
    switch (code) {
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
            appendUnicodeEscape(out, code);
    }
}

// The first byte from a position on that is not plain.
std::size_t plainEnd(std::string_view text, std::size_t at) {
    U64 bytes = 0;
    if (text.size() >= sizeof bytes) {
        const std::size_t lastWhole = text.size() - sizeof bytes;
        for (; at < lastWhole; at += sizeof bytes) {
            std::memcpy(&bytes, text.data() + at, sizeof bytes);
            if (!arePlainInJson(bytes)) break;
        }
        // What is left is among the last eight, of which some may have been looked at.
        if (at >= lastWhole) {
            std::memcpy(&bytes, text.data() + lastWhole, sizeof bytes);
            if (arePlainInJson(bytes)) return text.size();
        }
    }
    while (at < text.size() && plainInJson[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

// Texts up to this length are written with a single look for room.
constexpr std::size_t longestAtOnce = 1024;

// Keys and names are short: two overlapping halves instead of a call.
void copyText(char* to, std::string_view text) {
    const std::size_t size = text.size();
    const auto copyHalves = [&]<class Half>(Half half) {
        std::memcpy(&half, text.data(), sizeof half);
        std::memcpy(to, &half, sizeof half);
        std::memcpy(&half, text.data() + size - sizeof half, sizeof half);
        std::memcpy(to + size - sizeof half, &half, sizeof half);
    };
    using Words = std::array<U64, 2>;
    if (size > 2 * sizeof(Words)) {
        std::memcpy(to, text.data(), size);
    } else if (size >= sizeof(Words)) {
        copyHalves(Words());
    } else if (size >= sizeof(U64)) {
        copyHalves(U64());
    } else if (size >= sizeof(U32)) {
        copyHalves(U32());
    } else {
        for (std::size_t i = 0; i < size; ++i) to[i] = text[i];
    }
}

}  // namespace

void RendererV2::appendName(std::string_view name) {
    if (Base::isPlainAscii(name)) {
        out_.append(name);
    } else {
        out_.append(Base::escaped(name));
    }
}

void RendererV2::appendJsonString(std::string_view text) {
    std::size_t run = plainEnd(text, 0);
    if (run == text.size() && run <= longestAtOnce) {
        char* const begin = out_.reserve(run + 2);
        begin[0] = '"';
        copyText(begin + 1, text);
        begin[run + 1] = '"';
        out_.advance(run + 2);
        return;
    }
    out_.append('"');
    for (std::size_t at = 0; at < text.size(); run = plainEnd(text, at)) {
        out_.append(text.substr(at, run - at));
        at = run;
        if (at == text.size()) break;
        const U32 length = Base::utf8Length(text, at);
        if (length == 0) {
            out_.append("\xef\xbf\xbd");
            ++at;
            continue;
        }
        const U32 code = Base::codePoint(text, at, length);
        if (isEscapedInJson(code)) {
            appendJsonEscape(out_, code);
        } else {
            out_.append(text.substr(at, length));
        }
        at += length;
    }
    out_.append('"');
}

}  // namespace textout
