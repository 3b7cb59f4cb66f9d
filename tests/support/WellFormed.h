// An independent judge of JSON texts (RFC 8259): one value and nothing behind it, in valid UTF-8,
// without raw control characters (DEL and C1 count) and without a key that stands twice.
#pragma once

#include <set>
#include <string>
#include <string_view>

class WellFormed {
  public:
    // Empty when the text is well formed, otherwise where it is not.
    static std::string faultOf(std::string_view text) {
        WellFormed judge(text);
        if (judge.value() && judge.rest_ == "\n") return "";
        const std::size_t at = text.size() - judge.rest_.size();
        return "at " + std::to_string(at) + ": " + std::string(judge.rest_.substr(0, 40));
    }

  private:
    explicit WellFormed(std::string_view text) : rest_(text) {}

    bool take(std::string_view expected) {
        if (!rest_.starts_with(expected)) return false;
        rest_.remove_prefix(expected.size());
        return true;
    }
    bool value() {
        if (take("true") || take("false")) return true;
        if (rest_.starts_with('"')) return string();
        if (take("[")) {
            return take("]") || members(']', [this] { return value(); });
        }
        if (take("{")) {
            std::set<std::string_view> keys;
            return take("}") || members('}', [&] {
                       const std::string_view before = rest_;
                       if (!string()) return false;
                       const auto key = before.substr(0, before.size() - rest_.size());
                       return keys.insert(key).second && take(":") && value();
                   });
        }
        const std::size_t digits = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
        if (digits == 0 || (digits > 1 && rest_[0] == '0')) return false;
        rest_.remove_prefix(digits);
        return true;
    }
    template <class Member>
    bool members(char closing, Member member) {
        do {
            if (!member()) return false;
        } while (take(","));
        return take(std::string_view(&closing, 1));
    }
    bool string() {
        if (!take("\"")) return false;
        while (!take("\"")) {
            if (!(take("\\") ? escape() : character())) return false;
        }
        return true;
    }
    bool escape() {
        if (!take("u")) {
            if (rest_.empty() || std::string_view("\"\\/bfnrt").find(rest_[0]) == rest_.npos) {
                return false;
            }
            rest_.remove_prefix(1);
            return true;
        }
        if (rest_.substr(0, 4).find_first_not_of("0123456789abcdefABCDEF") < 4) return false;
        if (rest_.size() < 4) return false;
        rest_.remove_prefix(4);
        return true;
    }
    // One UTF-8 character (RFC 3629) that is no control character.
    bool character() {
        if (rest_.empty()) return false;
        const auto byte = [this](std::size_t i) -> unsigned {
            return i < rest_.size() ? static_cast<unsigned char>(rest_[i]) : 0U;
        };
        const unsigned first = byte(0);
        const std::size_t length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
        unsigned code = length == 1 ? first : first & (0x7fU >> length);
        for (std::size_t i = 1; i < length; ++i) {
            if ((byte(i) & 0xc0U) != 0x80) return false;
            code = code << 6 | (byte(i) & 0x3fU);
        }
        static constexpr unsigned least[] = {0x20, 0xa0, 0x800, 0x10000};
        if (first >= 0xf8 || (first & 0xc0U) == 0x80 || code < least[length - 1]) return false;
        if (code == 0x7f || (code >= 0xd800 && code < 0xe000) || code > 0x10ffff) return false;
        rest_.remove_prefix(length);
        return true;
    }

    std::string_view rest_;
};
