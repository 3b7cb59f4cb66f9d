#include "cli/CommandError.h"

#include <clocale>
#include <cwchar>

#include "orb/Escape.h"

namespace Cli {

namespace {

// Makes wcwidth() and mbrtowc() of this thread speak UTF-8, whatever the locale of the process.
class Utf8Locale {
  public:
    Utf8Locale()
        : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
          previous_(locale_ != nullptr ? ::uselocale(locale_) : nullptr) {}
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale() {
        if (locale_ == nullptr) return;
        ::uselocale(previous_);
        ::freelocale(locale_);
    }

  private:
    locale_t locale_;
    locale_t previous_;
};

// How many columns of a terminal an escaped text takes: wide characters take two, combining ones
// none, and where the system does not know a character, each of its bytes one.
std::size_t displayColumns(std::string_view text) {
    const Utf8Locale utf8;
    std::mbstate_t state{};
    std::size_t columns = 0;
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
        columns += static_cast<std::size_t>(width < 0 ? 1 : width);
        text.remove_prefix(length);
    }
    return columns;
}

}  // namespace

std::string quoted(const std::string& text) { return "\"" + Orb::escaped(text) + "\""; }

std::string explain(const Words& words, const CommandError& error) {
    std::string command = "  ";
    std::string marks;
    for (std::size_t i = 0; i <= words.size(); ++i) {
        if (i == error.position()) {
            marks.assign(displayColumns(command), ' ');
            marks += '^';
        }
        if (i == words.size()) break;
        const std::string word = Orb::escaped(words[i]);
        const std::size_t width = displayColumns(word);
        if (i == error.position() && width > 1) marks.append(width - 1, '~');
        command += word + " ";
    }
    command.pop_back();
    return std::string(error.what()) + "\n" + command + "\n" + marks + " expected " +
           error.expected();
}

}  // namespace Cli
