// The plumbing: numbers and ranges, and texts as messages show them.
#include <gtest/gtest.h>

#include "base/Number.h"
#include "base/Text.h"

namespace {

using Base::Bounds;

TEST(Numbers, haveOneGrammar) {
    // As a number and as a range of 1 to 4094: what it is, or what is wrong and what was meant.
    const struct {
        std::string_view text, number, range;
    } rows[] = {
        {"1", "1", "1"},
        {"4094", "4094", "4094"},
        {"0", "is out of range: ", "is out of range: "},
        {"4095", "is out of range: ", "is out of range: "},
        {"18446744073709551616", "is out of range: ", "is out of range: "},
        {"007", "has leading zeros: 7", "has leading zeros: 7"},
        {"00", "has leading zeros: ", "has leading zeros: "},
        {"09999", "has leading zeros: ", "has leading zeros: "},
        {"7-9", "is not a number: ", "7-9"},
        {"7-7", "is not a number: ", "7"},
        {"9-7", "is not a number: ", "starts above its end: 7-9"},
        {"09-07", "is not a number: ", "has leading zeros: 7-9"},
        {"7-5000", "is not a number: ", "is out of range: "},
    };
    constexpr Bounds vlans{1, 4094};
    const auto told = [](const Base::NumberFault& fault) {
        return std::string(fault.wrong) + ": " + fault.right;
    };
    for (const auto& row : rows) {
        const auto number = Base::parseNumber(row.text, vlans);
        EXPECT_EQ(number ? std::to_string(*number) : told(Base::numberFault(row.text, vlans)),
                  row.number)
            << row.text;
        const auto range = Base::parseRange(row.text, vlans);
        EXPECT_EQ(range ? Base::rangeText(range->low, range->high)
                        : told(Base::rangeFault(row.text, vlans)),
                  row.range)
            << row.text;
    }
    for (const std::string_view text :
         {"", "-", "7-", "-7", "+7", " 7", "7 ", "1-2-3", "0x7", "x"}) {
        EXPECT_EQ(told(Base::numberFault(text, vlans)), "is not a number: ") << text;
        EXPECT_FALSE(Base::parseNumber(text, vlans)) << text;
        EXPECT_EQ(told(Base::rangeFault(text, vlans)), "is not a range: ") << text;
        EXPECT_FALSE(Base::parseRange(text, vlans)) << text;
    }
    EXPECT_EQ(Base::parseNumber("18446744073709551615", {}), ~U64{0});
}

TEST(Texts, areQuotedAndCut) {
    const std::string long79(79, 'x');
    const struct {
        std::string given, quoted;
    } rows[] = {
        {"", R"("")"},
        {R"(a"b\c)", R"("a\"b\\c")"},
        {"\x1b[\u202e\u00a0", R"("\x1b[\u202e\xa0")"},
        {long79 + "y", "\"" + long79 + "y\""},
        {long79 + "yz", "\"" + long79 + "y...\""},
        {long79 + "\u00e9", "\"" + long79 + "...\""},
    };
    for (const auto& row : rows) EXPECT_EQ(Base::inQuotes(row.given), row.quoted);
    EXPECT_EQ(Base::shortened("a\"\x1b" + long79, 3), "a\"\\x1b...");
}

TEST(Texts, takeColumnsOfATerminal) {
    const struct {
        std::string_view text;
        U32 columns;
    } rows[] = {
        {"", 0},       {"EDGE-IN", 7},     {"\u65e5\u672c", 4}, {"e\u0301x", 2},
        {"\u00e9", 1}, {"\x1b\u200b", 10}, {"\xff", 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Base::terminalColumns(row.text), row.columns) << row.text;
}

}  // namespace
