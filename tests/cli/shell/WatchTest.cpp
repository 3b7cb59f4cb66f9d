// Frames of a watched report: what is marked, and what fits.
#include "cli/shell/Watch.h"

#include <gmock/gmock.h>

namespace {

using Cli::Shell::frameText;
using Cli::Shell::Watch;

// A frame without the codes that place it.
std::string frame(bool colour, const std::string& text, const std::string& former,
                  std::size_t lines = 24, std::size_t columns = 80) {
    Watch how;
    how.colour = colour;
    std::string shown = frameText(how, "heading", text, former, lines, columns);
    for (const std::string code : {"\033[H", "\033[K\r", "\033[J"}) {
        for (auto at = shown.find(code); at != shown.npos; at = shown.find(code)) {
            shown.erase(at, code.size());
        }
    }
    return shown;
}

TEST(Watch, MarksWhatChanged) {
    const struct {
        bool colour;
        const char* former;
        const char* text;
        const char* shown;
    } rows[] = {
        {true, "", "a: 1 packets\n", "a: 1 packets\n"},
        {true, "a: 1 packets\n", "a: 2 packets\n", "a: \033[7m2\033[27m packets\033[0m\n"},
        {true, "a: 1\n", "a: 1\n  b: 1\n", "a: 1\n  \033[7mb:\033[27m \033[7m1\033[27m\033[0m\n"},
        {true, "\033[1mP 1\033[0m\n", "\033[1mP 2\033[0m\n",
         "\033[1mP \033[7m2\033[0m\033[27m\033[0m\n"},
        {false, "a: 1\nb: 1\n", "a: 1\nb: 2\n", "  a: 1\n* b: 2\n"},
        {false, "", "a: 1\n", "  a: 1\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(frame(row.colour, row.text, row.former), "heading\n" + std::string(row.shown));
    }
}

TEST(Watch, ShowsWhatFits) {
    EXPECT_EQ(frame(true, "1\n2\n3\n4\n", "", 5), "heading\n1\n2\n... 2 more lines\n");
    EXPECT_EQ(frame(true, "1\n2\n3\n", "", 5), "heading\n1\n2\n3\n");
    EXPECT_EQ(frame(true, "\033[1mabcdef\033[0m\n\xe4\xbd\xa0\xe5\xa5\xbd\n", "", 24, 3),
              "hea\n\033[1mabc\033[0m\n\xe4\xbd\xa0\n");
}

}  // namespace
