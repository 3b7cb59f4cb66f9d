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
    while (at < text.size() && plainInJson[static_cast<unsigned char>(text[at])]) ++at;
    return at;
}

// Texts up to this length are written with a single look for room.
constexpr std::size_t longestAtOnce = 1024;

// Says of eight bytes at a time which are not printable ASCII, or not plain in JSON either: of
// those, the lowest gets its high bit set, one below 0x20 and one equal to '"' or '\\' by a borrow,
// DEL by a carry.
constexpr U64 ones = 0x0101010101010101;
struct NotPrintable {
    U64 operator()(U64 bytes) const { return (bytes - 0x20 * ones) | bytes | (bytes + ones); }
};
struct NotPlainInJson {
    U64 operator()(U64 bytes) const {
        return NotPrintable()(bytes) | ((bytes ^ '"' * ones) - ones) |
               ((bytes ^ '\\' * ones) - ones);
    }
};

// Copies a text, and says whether no byte of it is special. Keys and names are short: the last
// eight bytes are copied as one word, some of them again.
template <class Special>
bool copyIfPlain(char* to, std::string_view text, Special special) {
    const std::size_t size = text.size();
    const char* const from = text.data();
    U64 found = 0;
    const auto copy = [&]<class Piece>(std::size_t at, Piece piece) {
        std::memcpy(&piece, from + at, sizeof piece);
        std::memcpy(to + at, &piece, sizeof piece);
        return piece;
    };
    if (size >= sizeof(U64)) {
        for (std::size_t at = 0; at + sizeof(U64) < size; at += sizeof(U64)) {
            found |= special(copy(at, U64()));
        }
        found |= special(copy(size - sizeof(U64), U64()));
    } else if (size >= sizeof(U32)) {
        found = special(U64{copy(0, U32())} << 32 | copy(size - sizeof(U32), U32()));
    } else {
        U64 bytes = ' ' * ones;
        for (std::size_t i = 0; i < size; ++i) {
            bytes = bytes << 8 | static_cast<unsigned char>(copy(i, char()));
        }
        found = special(bytes);
    }
    return (found & 0x80 * ones) == 0;
}

}  // namespace

void RendererV2::appendName(std::string_view name) {
    if (name.size() <= longestAtOnce &&
        copyIfPlain(out_.reserve(name.size()), name, NotPrintable())) {
        out_.advance(name.size());
    } else {
        out_.append(Base::escaped(name));
    }
}

void RendererV2::appendKey(std::string_view key) {
    if (key.size() <= longestAtOnce) {
        char* const begin = out_.reserve(key.size() + 4);
        char* to = begin;
        if (needsComma_) *to++ = ',';
        *to++ = '"';
        if (copyIfPlain(to, key, NotPlainInJson())) {
            to += key.size();
            *to++ = '"';
            *to++ = ':';
            out_.advance(static_cast<std::size_t>(to - begin));
            needsComma_ = true;
            return;
        }
    }
    separate();
    appendEscaped(key);
    out_.append(':');
}

void RendererV2::appendJsonString(std::string_view text) {
    if (text.size() <= longestAtOnce) {
        char* const begin = out_.reserve(text.size() + 2);
        if (copyIfPlain(begin + 1, text, NotPlainInJson())) {
            begin[0] = '"';
            begin[text.size() + 1] = '"';
            out_.advance(text.size() + 2);
            return;
        }
    }
    appendEscaped(text);
}

void RendererV2::appendEscaped(std::string_view text) {
    out_.append('"');
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t run = plainEnd(text, at);
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
