#include "base/Text.h"

#include <clocale>
#include <cwchar>

#include "base/Escape.h"

namespace Base {

namespace {

// Makes wcwidth() and mbrtowc() of this thread speak UTF-8, whatever the locale of the process.
class Utf8Locale {
  public:
    Utf8Locale() : previous_(::uselocale(utf8())) {}
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale() { ::uselocale(previous_); }

  private:
    // Without that locale the one in force stays.
    static locale_t utf8() {
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    locale_t previous_;
};

// The beginning of the text that is shown: at most that many bytes, whole characters.
std::string_view beginning(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    std::size_t end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
    return text.substr(0, end);
}

}  // namespace

std::string inQuotes(std::string_view text) {
    constexpr std::size_t shownBytes = 80;
    const std::string_view shown = beginning(text, shownBytes);
    std::string out = "\"";
    std::size_t done = 0;
    for (std::size_t at = 0; at <= shown.size(); ++at) {
        if (at < shown.size() && shown[at] != '"' && shown[at] != '\\') continue;
        appendEscaped(out, shown.substr(done, at - done));
        if (at < shown.size()) out += {'\\', shown[at]};
        done = at + 1;
    }
    return out + (shown.size() < text.size() ? "...\"" : "\"");
}

std::string shortened(std::string_view text, std::size_t maxBytes) {
    const std::string_view shown = beginning(text, maxBytes);
    std::string out = escaped(shown);
    if (shown.size() < text.size()) out += "...";
    return out;
}

U32 terminalColumns(std::string_view given) {
    if (isPlainAscii(given)) return static_cast<U32>(given.size());
    const std::string shown = escaped(given);
    std::string_view text = shown;
    const Utf8Locale utf8;
    std::mbstate_t state{};
    U32 columns = 0;
    while (!text.empty()) {
        wchar_t character = 0;
        std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        int width = 1;
        if (length == 0 || length > text.size()) {
            length = 1;
            state = {};
        } else {
            width = ::wcwidth(character);
        }
        columns += static_cast<U32>(width < 0 ? 1 : width);
        text.remove_prefix(length);
    }
    return columns;
}

std::string choiceText(std::span<const std::string_view> choices) {
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (i > 0) text += i + 1 == choices.size() ? " or " : ", ";
        text += choices[i];
    }
    return text;
}

}  // namespace Base
