#include "orb/Nearest.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(Nearest, FewestChangedBytesWin) {
    struct {
        const char* word;
        const char* nearest;
    } const cases[] = {
        {"interface", "interface"},
        {"inteface", "interface"},
        {"interfacee", "interface"},
        {"intreface", "interface"},
        {"cup", "cpu"},
        {"vlans", "vlan"},
        {"", "cpu"},
        {"vpu", "cpu"},
    };
    constexpr std::array<std::string_view, 4> known = {"interface", "cpu", "vlan", "vlam"};
    for (const auto& [word, nearest] : cases) EXPECT_EQ(Orb::nearest(word, known), nearest) << word;
    EXPECT_EQ(Orb::nearest("word", {}), "");
}

}  // namespace
