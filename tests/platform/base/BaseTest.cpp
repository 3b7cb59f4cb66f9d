// The plumbing: numbers and ranges, and texts as messages show them.
#include <gtest/gtest.h>

#include "base/Number.h"
#include "base/Text.h"
#include "base/Time.h"

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

TEST(Times, areReadAndWritten) {
    const struct {
        std::string_view text, written;  // empty: no time
    } rows[] = {
        {"2026-11-21T15:40:00Z", "2026-11-21T15:40:00Z"},
        {"2026-11-21t15:40:00.75z", "2026-11-21T15:40:00Z"},
        {"2026-11-21T00:10:00+01:30", "2026-11-20T22:40:00Z"},
        {"2026-11-21T23:50:00-01:30", "2026-11-22T01:20:00Z"},
        {"2024-02-29T23:59:60Z", "2024-03-01T00:00:00Z"},
        {"1970-01-01T00:00:00Z", "1970-01-01T00:00:00Z"},
        {"9999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"},
        {"1969-12-31T23:59:59Z", ""},
        {"9999-12-31T23:59:59-00:01", ""},
        {"2026-02-29T00:00:00Z", ""},
        {"2026-13-01T00:00:00Z", ""},
        {"2026-00-01T00:00:00Z", ""},
        {"2026-11-31T00:00:60Z", ""},
        {"2026-11-21T24:00:00Z", ""},
        {"2026-11-21T15:60:00Z", ""},
        {"2026-11-21T15:40:61Z", ""},
        {"2026-11-21T15:40:00", ""},
        {"2026-11-21T15:40:00.Z", ""},
        {"2026-11-21T15:40:00+24:00", ""},
        {"2026-11-21T15:40:00+01:60", ""},
        {"2026-11-21T15:40:00+0100", ""},
        {"2026-11-21T15:40:00Zx", ""},
        {"2026-11-21T15:40Z", ""},
        {"2026-11-21", ""},
        {"", ""},
    };
    for (const auto& [text, written] : rows) {
        const auto time = Base::parseTime(text);
        EXPECT_EQ(time ? Base::timeText(*time) : "", written) << text;
    }
    EXPECT_EQ(Base::parseTime("1970-01-01T00:00:01.25Z"), Orb::Seconds(1.25));
}

}  // namespace
