// One function per production of the grammar. Each moves behind what it takes and throws at the
// first byte that does not fit.
#include "state/SyntaxFault.h"

#include <algorithm>
#include <charconv>

#include "base/Escape.h"
#include "base/Text.h"

namespace StateDirectory {

namespace {

struct Fault {
    std::size_t at;
    const char* wrong;  // null: whatever stands there
    const char* expected;
};

constexpr std::size_t maxDepth = 1024;

class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    void document() {
        value(1);
        skipBlanks();
        if (at_ < text_.size()) fail("the end of the document");
    }

  private:
    [[noreturn]] void fail(const char* expected, const char* wrong = nullptr) const {
        throw Fault{at_, wrong, expected};
    }

    char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    bool take(char wanted) {
        if (next() != wanted || at_ == text_.size()) return false;
        ++at_;
        return true;
    }
    void skipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\n\r", at_), text_.size()); }

    void value(std::size_t depth) {
        skipBlanks();
        if (depth >= maxDepth) fail("fewer than 1024 levels", "too deeply nested");
        const char first = next();
        if (first == '{') {
            object(depth);
        } else if (first == '[') {
            array(depth);
        } else if (first == '"') {
            string();
        } else if (first == '-' || (first >= '0' && first <= '9')) {
            number();
        } else if (!literal("true") && !literal("false") && !literal("null")) {
            fail("a value");
        }
    }

    void object(std::size_t depth) {
        take('{');
        skipBlanks();
        if (take('}')) return;
        do {
            skipBlanks();
            if (next() != '"') fail("a key in double quotes");
            string();
            skipBlanks();
            if (!take(':')) fail("\":\"");
            value(depth + 1);
            skipBlanks();
        } while (take(','));
        if (!take('}')) fail("\",\" or \"}\"");
    }

    void array(std::size_t depth) {
        take('[');
        skipBlanks();
        if (take(']')) return;
        do {
            value(depth + 1);
            skipBlanks();
        } while (take(','));
        if (!take(']')) fail("\",\" or \"]\"");
    }

    void string() {
        take('"');
        while (!take('"')) {
            if (at_ == text_.size()) fail("a double quote at the end of the string");
            const U32 length = Base::utf8Length(text_, at_);
            if (length == 0) fail("UTF-8", "invalid byte in a string");
            if (static_cast<unsigned char>(next()) < 0x20) {
                fail("\\u00XX in its place", "control character in a string");
            }
            if (next() == '\\') {
                escape();
            } else {
                at_ += length;
            }
        }
    }

    void escape() {
        const std::size_t begin = at_++;
        if (std::string_view("\"\\/bfnrt").find(next()) != std::string_view::npos) {
            ++at_;
            return;
        }
        if (!take('u')) fail("\", \\, /, b, f, n, r, t or u after a backslash");
        const U32 unit = hexUnit();
        if (unit < 0xd800 || unit > 0xdfff) return;
        const bool isPair = unit < 0xdc00 && take('\\') && take('u') && hexUnit() >> 10 == 0x37;
        if (isPair) return;
        at_ = begin;
        fail("two surrogates, a high and a low one", "unpaired surrogate in a string");
    }

    U32 hexUnit() {
        U32 unit = 0;
        const char* const begin = text_.data() + at_;
        const char* const end = begin + std::min<std::size_t>(4, text_.size() - at_);
        const auto result = std::from_chars(begin, end, unit, 16);
        if (result.ptr != begin + 4) fail("four hexadecimal digits");
        at_ += 4;
        return unit;
    }

    void digits() {
        const std::size_t begin = at_;
        at_ = std::min(text_.find_first_not_of("0123456789", at_), text_.size());
        if (at_ == begin) fail("a digit");
    }

    void number() {
        const std::size_t begin = at_;
        const bool isNegative = take('-');
        if (!take('0')) digits();
        const std::size_t integerEnd = at_;
        if (take('.')) digits();
        if (take('e') || take('E')) {
            if (!take('+')) take('-');
            digits();
        }
        const char* const first = text_.data() + begin;
        const char* const last = text_.data() + at_;
        std::errc error{};
        if (at_ != integerEnd) {
            double real = 0;
            error = std::from_chars(first, last, real).ec;
        } else if (isNegative) {
            std::int64_t integer = 0;
            error = std::from_chars(first, last, integer).ec;
        } else {
            U64 integer = 0;
            error = std::from_chars(first, last, integer).ec;
        }
        if (error == std::errc()) return;
        at_ = begin;
        fail("at most 64 bits", "number too large");
    }

    bool literal(std::string_view word) {
        if (!text_.substr(at_).starts_with(word)) return false;
        at_ += word.size();
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

std::string whatStandsAt(std::string_view text, std::size_t at) {
    if (at == text.size()) return "the document ends";
    const std::size_t length = std::max<std::size_t>(1, Base::utf8Length(text, at));
    return "unexpected " + Base::inQuotes(text.substr(at, length));
}

}  // namespace

TextPlace placeAt(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    const auto characters = std::count_if(line.begin(), line.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
    });
    return {static_cast<std::size_t>(lines) + 1, static_cast<std::size_t>(characters) + 1};
}

std::optional<SyntaxFault> findSyntaxFault(std::string_view text) {
    try {
        Scanner(text).document();
        return std::nullopt;
    } catch (const Fault& fault) {
        return SyntaxFault{placeAt(text, fault.at),
                           fault.wrong == nullptr ? whatStandsAt(text, fault.at) : fault.wrong,
                           fault.expected};
    }
}

}  // namespace StateDirectory
