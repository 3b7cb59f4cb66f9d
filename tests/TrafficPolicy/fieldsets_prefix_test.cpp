// The view of prefix field sets: layout, sources, names and filters. Prefixes are inserted in an
// order that is not theirs.
#include "fieldsets_fixture.h"

namespace TrafficPolicyCli::FieldSets {
namespace {

using std::string;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// What a command is given besides the sets.
struct Question {
    string name{};
    bool ipv4 = true;
    string filter{};  // empty: none
    bool exact = false;
};

string listing(const Orb::Ptr<const Classification::FieldSetConfig>& config, U32 format,
               const Question& question = {}) {
    const auto filterPrefix =
        question.filter.empty() ? Wire::IpGenPrefix() : prefix(question.filter);
    return shown(showTrafficPolicyPrefixFieldSetFactory(config, question.name, question.ipv4,
                                                        !question.filter.empty(), filterPrefix,
                                                        question.exact),
                 format);
}

// One set S of the family that the question asks for.
Orb::Ptr<Classification::FieldSetConfig> configOf(
    const Orb::Ptr<Classification::FieldSetIpPrefixSubConfig>& version, bool ipv4 = true) {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    const auto set = prefixSet("S", version);
    ipv4 ? config->fieldSetIpPrefixIs("S", set) : config->fieldSetIpv6PrefixIs("S", set);
    return config;
}

Orb::Ptr<Classification::FieldSetConfig> someSets() {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    const auto addIpv4 = [&](const auto& set) { config->fieldSetIpPrefixIs(set->name(), set); };
    addIpv4(prefixSet("ZONES", prefixVersion({"10.2.0.0/16", "10.10.0.0/16", "10.1.0.0/16",
                                              "10.1.0.0/24", "192.0.2.1/32"},
                                             {"10.1.9.0/24"})));
    addIpv4(prefixSet("PENDING"));
    addIpv4(prefixSet("EMPTY", prefixVersion({}, {}, {ContentsSource::bgp})));
    config->fieldSetIpv6PrefixIs(
        "ZONES", prefixSet("ZONES", prefixVersion({"2001:db8:1::/48", "2001:db8::/32"})));
    return config;
}

TEST(PrefixFieldSets, ListsAllSetsOfTheFamilyByName) {
    EXPECT_EQ(listing(someSets(), textFormat),
              "Traffic policy IPv4 prefix field set: EMPTY\n"
              "Source: BGP\n"
              "\n"
              "Prefix\n"
              "------\n"
              "None\n"
              "\n"
              "Exception Prefixes\n"
              "------------------\n"
              "None\n"
              "\n"
              "Traffic policy IPv4 prefix field set: ZONES\n"
              "Source: static\n"
              "\n"
              "Prefix\n"
              "------\n"
              "10.1.0.0/16          10.1.0.0/24          10.2.0.0/16\n"
              "10.10.0.0/16         192.0.2.1/32\n"
              "\n"
              "Exception Prefixes\n"
              "------------------\n"
              "10.1.9.0/24\n");
    EXPECT_EQ(listing(someSets(), jsonFormat),
              R"({"prefixFieldSets":{)"
              R"("EMPTY":{"source":"bgp","prefixes":[],"exceptPrefixes":[]},)"
              R"("ZONES":{"source":"static","prefixes":[{"prefix":"10.1.0.0/16"},)"
              R"({"prefix":"10.1.0.0/24"},{"prefix":"10.2.0.0/16"},{"prefix":"10.10.0.0/16"},)"
              R"({"prefix":"192.0.2.1/32"}],"exceptPrefixes":[{"prefix":"10.1.9.0/24"}]}}})"
              "\n");
    EXPECT_EQ(listing(someSets(), textFormat, {.ipv4 = false}),
              "Traffic policy IPv6 prefix field set: ZONES\n"
              "Source: static\n"
              "\n"
              "Prefix\n"
              "------\n"
              "2001:db8::/32\n"
              "2001:db8:1::/48\n"
              "\n"
              "Exception Prefixes\n"
              "------------------\n"
              "None\n");
}

TEST(PrefixFieldSets, ColumnsHoldTheLongestPrefixes) {
    const auto widest = configOf(prefixVersion(
        {"255.255.255.252/32", "255.255.255.253/32", "255.255.255.254/32", "255.255.255.255/32"}));
    EXPECT_THAT(listing(widest, textFormat),
                HasSubstr("------\n"
                          "255.255.255.252/32   255.255.255.253/32   255.255.255.254/32\n"
                          "255.255.255.255/32\n\n"));
    const auto wholeRow = configOf(prefixVersion({"1.0.0.0/8", "2.0.0.0/8", "3.0.0.0/8"}));
    EXPECT_THAT(listing(wholeRow, textFormat),
                HasSubstr("------\n"
                          "1.0.0.0/8            2.0.0.0/8            3.0.0.0/8\n\n"));
    const auto ipv6 = configOf(prefixVersion({"ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe/128",
                                              "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"}),
                               false);
    EXPECT_THAT(listing(ipv6, textFormat, {.ipv4 = false}),
                HasSubstr("------\n"
                          "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe/128\n"
                          "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128\n\n"));
}

TEST(PrefixFieldSets, SaysWhereTheContentsComeFrom) {
    const struct {
        Source source;
        string text;
        string json;
    } rows[] = {
        {{ContentsSource::configured}, "Source: static\n\n", R"("source":"static")"},
        {{ContentsSource::bgp}, "Source: BGP\n\n", R"("source":"bgp")"},
        {{ContentsSource::url, "http://192.0.2.9/list"},
         "Source: http://192.0.2.9/list\n\n",
         R"("urlInfo":{"urlPath":"http://192.0.2.9/list"},"source":"url")"},
        {{ContentsSource::url, "flash:list", "mgmt"},
         "Source: flash:list vrf mgmt\n\n",
         R"("urlInfo":{"urlPath":"flash:list","vrf":"mgmt"},"source":"url")"},
        {{ContentsSource::url, "a\x1b[2J\xff", "b\n"},
         "Source: a\\x1b[2J\xef\xbf\xbd vrf b\\x0a\n\n",
         R"("urlInfo":{"urlPath":"a\u001b[2J)"
         "\xef\xbf\xbd"
         R"(","vrf":"b\n"},"source":"url")"},
        {{ContentsSource::other}, "Source: \n\n", R"("source":"other")"},
        {{static_cast<ContentsSource>(9), "unused", "unused"},
         "Source: \n\n",
         R"("source":"other")"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.json);
        const auto config = configOf(prefixVersion({"1.0.0.0/8"}, {}, row.source));
        EXPECT_THAT(listing(config, textFormat), HasSubstr("set: S\n" + row.text + "Prefix\n"));
        EXPECT_THAT(listing(config, jsonFormat),
                    HasSubstr(R"("S":{)" + row.json + R"(,"prefixes":)"));
    }
}

TEST(PrefixFieldSets, NamesAreEscaped) {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    const string name = "a\x1b]0;b\"";
    config->fieldSetIpPrefixIs(name, prefixSet(name, prefixVersion({})));
    EXPECT_THAT(listing(config, textFormat), HasSubstr("field set: a\\x1b]0;b\"\n"));
    EXPECT_THAT(listing(config, jsonFormat), HasSubstr(R"({"a\u001b]0;b\"":{)"));
}

// One set S, and the prefixes of it that the filter leaves, in order; none: the set is not shown.
struct FilterRow {
    bool ipv4;
    Prefixes prefixes;
    string filter;
    bool exact;
    Prefixes listed;
};

const FilterRow filterRows[] = {
    // The set's prefix contains the filter's, or is contained, or neither.
    {true, {"10.0.0.0/8", "11.0.0.0/8"}, "10.1.0.0/16", false, {"10.0.0.0/8"}},
    {true,
     {"10.1.2.0/24", "10.1.3.0/24", "10.2.0.0/24"},
     "10.1.0.0/16",
     false,
     {"10.1.2.0/24", "10.1.3.0/24"}},
    {true, {"10.1.0.0/16"}, "10.1.0.0/16", false, {"10.1.0.0/16"}},
    {true, {"10.1.0.0/16"}, "10.0.0.0/16", false, {}},
    {true, {"192.0.2.1/32", "192.0.2.0/32"}, "192.0.2.1/32", false, {"192.0.2.1/32"}},
    // Length 0 matches everything, in the set and in the filter; but there must be something.
    {true, {"0.0.0.0/0"}, "203.0.113.7/32", false, {"0.0.0.0/0"}},
    {true, {"1.0.0.0/8", "223.0.0.0/8"}, "0.0.0.0/0", false, {"1.0.0.0/8", "223.0.0.0/8"}},
    {true, {}, "0.0.0.0/0", false, {}},
    // Exact: address and length are equal.
    {true, {"10.0.0.0/8", "10.0.0.0/16"}, "10.0.0.0/16", true, {"10.0.0.0/16"}},
    {true, {"10.0.0.0/8", "10.0.0.0/24"}, "10.0.0.0/16", true, {}},
    {true, {"0.0.0.0/0", "10.0.0.0/8"}, "0.0.0.0/0", true, {"0.0.0.0/0"}},
    // A filter with host bits overlaps as its network does, and equals no network.
    {true, {"10.1.0.0/16"}, "10.1.2.3/16", false, {"10.1.0.0/16"}},
    {true, {"10.1.0.0/16"}, "10.1.2.3/16", true, {}},
    // IPv6, with lengths on both sides of its middle.
    {false, {"2001:db8::/32", "2001:db9::/32"}, "2001:db8:5::/48", false, {"2001:db8::/32"}},
    {false, {"2001:db8::1/128", "2001:db8::2/128"}, "2001:db8::2/127", false, {"2001:db8::2/128"}},
    {false, {"2001:db8::/64"}, "2001:db8::/65", true, {}},
    {false, {"2001:db8::/64"}, "::/0", false, {"2001:db8::/64"}},
    // The other family never matches, whatever its length.
    {true, {"0.0.0.0/0"}, "::/0", false, {}},
    {false, {"::/0", "::ffff:10.0.0.0/104"}, "10.0.0.0/8", false, {}},
    {false, {"::/0"}, "0.0.0.0/0", true, {}},
};

TEST(PrefixFieldSets, FilterLeavesMatchingPrefixesOfMatchingSets) {
    for (const FilterRow& row : filterRows) {
        SCOPED_TRACE(string(row.ipv4 ? "IPv4 " : "IPv6 ") + row.filter +
                     (row.exact ? " exact" : ""));
        const auto config = configOf(prefixVersion(row.prefixes), row.ipv4);
        const Question question{"", row.ipv4, row.filter, row.exact};
        string entries;
        for (const auto text : row.listed) {
            entries += (entries.empty() ? "" : ",") + (R"({"prefix":")" + string(text)) + "\"}";
        }
        const string set =
            R"("S":{"source":"static","prefixes":[)" + entries + R"(],"exceptPrefixes":[]})";
        EXPECT_EQ(listing(config, jsonFormat, question),
                  R"({"prefixFieldSets":{)" + (row.listed.empty() ? "" : set) + "}}\n");
        EXPECT_EQ(listing(config, textFormat, question) == "No matching prefix field sets found\n",
                  row.listed.empty());
    }
}

TEST(PrefixFieldSets, ExceptionsAreFilteredButMakeNoSetMatch) {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    config->fieldSetIpPrefixIs(
        "A", prefixSet("A", prefixVersion({"11.0.0.0/8"}, {"10.1.0.0/16", "10.2.0.0/16"})));
    config->fieldSetIpPrefixIs("B", prefixSet("B", prefixVersion({"10.0.0.0/8", "11.0.0.0/8"},
                                                                 {"10.1.0.0/16", "10.2.0.0/16"})));
    config->fieldSetIpPrefixIs("C",
                               prefixSet("C", prefixVersion({"10.1.0.0/16"}, {"10.2.0.0/16"})));
    config->fieldSetIpPrefixIs("D", prefixSet("D"));
    EXPECT_EQ(listing(config, textFormat, {.filter = "10.1.0.0/16"}),
              "Traffic policy IPv4 prefix field set: B\n"
              "Source: static\n"
              "\n"
              "Prefix\n"
              "------\n"
              "10.0.0.0/8\n"
              "\n"
              "Exception Prefixes\n"
              "------------------\n"
              "10.1.0.0/16\n"
              "\n"
              "Traffic policy IPv4 prefix field set: C\n"
              "Source: static\n"
              "\n"
              "Prefix\n"
              "------\n"
              "10.1.0.0/16\n"
              "\n"
              "Exception Prefixes\n"
              "------------------\n"
              "None\n");
}

TEST(PrefixFieldSets, ShowsTheNamedSetOnly) {
    const string noMatch = "No matching prefix field sets found\n";
    const string noSets = R"({"prefixFieldSets":{}})"
                          "\n";
    EXPECT_THAT(listing(someSets(), jsonFormat, {.name = "EMPTY"}),
                R"({"prefixFieldSets":{"EMPTY":{"source":"bgp","prefixes":[],)"
                R"("exceptPrefixes":[]}}})"
                "\n");
    const struct {
        Question question;
        string text;
    } rows[] = {
        {{.name = "ABSENT"}, ""},
        {{.name = "EMPTY", .ipv4 = false}, ""},
        {{.name = "PENDING"}, ""},
        {{.name = "ABSENT", .filter = "0.0.0.0/0"}, noMatch},
        {{.name = "PENDING", .filter = "0.0.0.0/0"}, noMatch},
        {{.name = "EMPTY", .filter = "0.0.0.0/0"}, noMatch},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.question.name);
        EXPECT_EQ(listing(someSets(), textFormat, row.question), row.text);
        EXPECT_EQ(listing(someSets(), jsonFormat, row.question), noSets);
    }
    for (const auto& config : {Orb::make<Classification::FieldSetConfig>(),
                               Orb::Ptr<Classification::FieldSetConfig>()}) {
        EXPECT_EQ(listing(config, textFormat), "");
        EXPECT_EQ(listing(config, jsonFormat), noSets);
        EXPECT_EQ(listing(config, textFormat, {.filter = "0.0.0.0/0"}), noMatch);
    }
}

TEST(PrefixFieldSets, TracesTheSetsThatAreLeftOut) {
    const Captured::Traces traces = allTraces();
    listing(someSets(), textFormat, {.filter = "10.2.0.0/16"});
    EXPECT_THAT(traces.lines(), Contains(EndsWith("PENDING, no currCfg")));
    EXPECT_THAT(traces.lines(), Contains(EndsWith("EMPTY, filtered")));
    EXPECT_THAT(traces.lines(), Not(Contains(HasSubstr("ZONES, filtered"))));
}

TEST(PrefixFieldSetsDeathTest, NullPrefixIsABrokenInvariant) {
    const auto version = prefixVersion({"10.0.0.0/8"});
    version->exceptPrefixesIs(Wire::IpGenPrefix());
    const auto config = configOf(version);
    EXPECT_DEATH(listing(config, textFormat), "assertion failed: !pfx.isNullPrefix\\(\\)");
}

}  // namespace
}  // namespace TrafficPolicyCli::FieldSets
