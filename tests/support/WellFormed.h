// A judge of JSON texts that shares nothing with the renderer: one value and a line end, in valid
// UTF-8, without blanks between the values, without raw control characters (DEL and C1 count) and
// without a key that stands twice.
#pragma once

#include <simdjson.h>

#include <set>
#include <string>
#include <string_view>

class WellFormed {
  public:
    // Empty when the text is well formed, otherwise what is wrong with it.
    static std::string faultOf(std::string_view text) {
        simdjson::dom::parser parser;
        simdjson::dom::element document;
        const auto error = parser.parse(text.data(), text.size()).get(document);
        if (error != simdjson::SUCCESS) return simdjson::error_message(error);
        std::string compact(text.size(), '\0');
        std::size_t size = 0;
        if (simdjson::minify(text.data(), text.size(), compact.data(), size) != simdjson::SUCCESS ||
            compact.replace(size, compact.npos, "\n") != text) {
            return "blanks between the values, or no line end";
        }
        for (std::size_t at = 0; at < text.size(); ++at) {
            const bool isC1 = text[at] == '\xc2' && static_cast<unsigned char>(text[at + 1]) < 0xa0;
            if (isC1 || text[at] == '\x7f') return "a control character at " + std::to_string(at);
        }
        return hasKeyTwice(document) ? "a key stands twice" : "";
    }

  private:
    static bool hasKeyTwice(simdjson::dom::element element) {
        if (simdjson::dom::array list; element.get(list) == simdjson::SUCCESS) {
            return std::any_of(list.begin(), list.end(), hasKeyTwice);
        }
        std::set<std::string_view> keys;
        if (simdjson::dom::object object; element.get(object) == simdjson::SUCCESS) {
            for (const auto& [key, value] : object) {
                if (!keys.insert(key).second || hasKeyTwice(value)) return true;
            }
        }
        return false;
    }
};
