// The views of prefix, port and VLAN field sets: layout, sources, names and filters. What is shown
// in an order is told in another.
#include "FieldSetsFixture.h"

namespace TrafficPolicyCli::FieldSets {
namespace {

using std::string;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

Orb::Ptr<const FieldSetConfig> someSets() {
    return configOf(R"("fieldSetIpPrefix":{"PENDING":{},"ZONES":{"currCfg":{"prefixes":[
            "10.2.0.0/16","10.10.0.0/16","10.1.0.0/16","10.1.0.0/24","192.0.2.1/32"],
            "exceptPrefixes":["10.1.9.0/24"]}},"EMPTY":{"currCfg":{"contentsSource":"bgp"}}},
        "fieldSetIpv6Prefix":{"ZONES":{"currCfg":{
            "prefixes":["2001:db8:1::/48","2001:db8::/32"]}}},
        "fieldSetL4Port":{"WEB":{"currCfg":{"ports":["8080-8088",443,80]}},"PENDING":{},
            "OTHER":{"currCfg":{"contentsSource":"other"}}},
        "fieldSetVlan":{"GUESTS":{"currCfg":{"vlans":["100-199",7,"20-4094"],
                "contentsSource":"url","urlPath":"flash:guests","urlVrf":"mgmt"}},
            "VOICE":{"currCfg":{"vlans":[30]}}})");
}

const string emptyIpv4 =
    "Traffic policy IPv4 prefix field set: EMPTY\nSource: BGP\n\n"
    "Prefix\n------\nNone\n\n"
    "Exception Prefixes\n------------------\nNone\n";
const string emptyIpv4Json =
    R"({"prefixFieldSets":{"EMPTY":{"source":"bgp","prefixes":[],"exceptPrefixes":[]})";
const string noPrefixSets = "{\"prefixFieldSets\":{}}\n";

TEST(FieldSets, areListedByName) {
    const string noPrefix = "No matching prefix field sets found\n";
    const string noPorts = "{\"l4PortFieldSets\":{}}\n";
    const struct {
        Question question;
        string text, json;
    } rows[] = {
        {{Of::ipv4},
         emptyIpv4 + "\nTraffic policy IPv4 prefix field set: ZONES\nSource: static\n\n"
                     "Prefix\n------\n"
                     "10.1.0.0/16          10.1.0.0/24          10.2.0.0/16\n"
                     "10.10.0.0/16         192.0.2.1/32\n\n"
                     "Exception Prefixes\n------------------\n10.1.9.0/24\n",
         emptyIpv4Json +
             R"(,"ZONES":{"source":"static","prefixes":[{"prefix":"10.1.0.0/16"},)"
             R"({"prefix":"10.1.0.0/24"},{"prefix":"10.2.0.0/16"},{"prefix":"10.10.0.0/16"},)"
             R"({"prefix":"192.0.2.1/32"}],"exceptPrefixes":[{"prefix":"10.1.9.0/24"}]}}})"
             "\n"},
        {{Of::ports, "OTHER"},
         "field-set l4-port OTHER\n   source \n",
         "{\"l4PortFieldSets\":{\"OTHER\":{\"source\":\"other\",\"ports\":[]}}}\n"},
        {{Of::vlans, "", "30"},
         "field-set vlan GUESTS\n   source flash:guests vrf mgmt\n   7, 20-4094, 100-199\n\n"
         "field-set vlan VOICE\n   30\n",
         R"({"vlanFieldSets":{"GUESTS":{"urlInfo":{"urlPath":"flash:guests","vrf":"mgmt"},)"
         R"("source":"url","vlans":[{"low":7,"high":7},{"low":20,"high":4094},)"
         R"({"low":100,"high":199}]},"VOICE":{"source":"static","vlans":[)"
         R"({"low":30,"high":30}]}}})"
         "\n"},
        {{Of::vlans, "VOICE", "31"},
         "No matching VLAN field sets found\n",
         "{\"vlanFieldSets\":{}}\n"},
        {{Of::ipv4, "EMPTY"}, emptyIpv4, emptyIpv4Json + "}}\n"},
        {{Of::ipv4, "PENDING"}, "", noPrefixSets},
        {{Of::ipv4, "ABSENT", "0.0.0.0/0"}, noPrefix, noPrefixSets},
        {{Of::ipv4, "PENDING", "0.0.0.0/0"}, noPrefix, noPrefixSets},
        {{Of::ipv4, "EMPTY", "0.0.0.0/0"}, noPrefix, noPrefixSets},
        {{Of::ports, "PENDING", "1"}, "No matching L4 port field sets found\n", noPorts},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(listing(someSets(), text, row.question), row.text);
        EXPECT_EQ(listing(someSets(), json, row.question), row.json);
    }
    EXPECT_EQ(listing(nullptr, text), "");
    EXPECT_EQ(listing(nullptr, json), noPrefixSets);
    EXPECT_EQ(listing(nullptr, text, {Of::ipv4, "", "0.0.0.0/0"}), noPrefix);
    EXPECT_EQ(listing(nullptr, json, {Of::vlans}), "{\"vlanFieldSets\":{}}\n");
}

TEST(FieldSets, haveTheirNamesEscaped) {
    const auto version = Orb::make<Classification::FieldSetIpPrefixSubConfig>();
    const auto set = prefixSet("a\x1b]0;b\"", version);
    version->contentsSourceIs(Classification::ContentsSource::url);
    version->urlPathIs("a\x1b[2J\xff");
    version->urlVrfIs("b\n");
    const auto config = Orb::make<FieldSetConfig>();
    config->fieldSetIpPrefixIs(set->name(), set);
    EXPECT_THAT(listing(config, text),
                HasSubstr("a\\x1b]0;b\"\nSource: a\\x1b[2J\xef\xbf\xbd vrf b\\x0a\n"));
    EXPECT_THAT(listing(config, json),
                HasSubstr(R"({"a\u001b]0;b\"":{"urlInfo":{"urlPath":"a\u001b[2J)"
                          "\xef\xbf\xbd\",\"vrf\":\"b\\n\"}"));
}

string quoted(const std::vector<string>& prefixes, const string& before, const string& after) {
    string list;
    for (const string& one : prefixes) list += (list.empty() ? "" : ",") + before + one + after;
    return "[" + list + "]";
}

// One set S of these prefixes, of the family that the question asks for.
Orb::Ptr<const FieldSetConfig> prefixesOf(Of kind, const std::vector<string>& prefixes) {
    return configOf(string(kind == Of::ipv4 ? R"("fieldSetIpPrefix")" : R"("fieldSetIpv6Prefix")") +
                    R"(:{"S":{"currCfg":{"prefixes":)" + quoted(prefixes, "\"", "\"") + "}}}");
}

TEST(PrefixFieldSets, haveColumnsForTheLongestPrefixes) {
    const string ipv4 = "255.255.255.25";
    const string ipv6 = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fff";
    const auto lines = [](Of kind, const std::vector<string>& prefixes) {
        const string report = listing(prefixesOf(kind, prefixes), text, {kind});
        const std::size_t begin = report.find("------\n") + 7;
        return report.substr(begin, report.find("\n\n", begin) - begin);
    };
    EXPECT_EQ(lines(Of::ipv4, {ipv4 + "2/32", ipv4 + "3/32", ipv4 + "4/32", ipv4 + "5/32"}),
              ipv4 + "2/32   " + ipv4 + "3/32   " + ipv4 + "4/32\n" + ipv4 + "5/32");
    EXPECT_EQ(lines(Of::ipv4, {"1.0.0.0/8", "2.0.0.0/8", "3.0.0.0/8"}),
              "1.0.0.0/8            2.0.0.0/8            3.0.0.0/8");
    EXPECT_EQ(lines(Of::ipv6, {ipv6 + "e/128", ipv6 + "f/128"}), ipv6 + "e/128\n" + ipv6 + "f/128");
}

// The prefixes of one set, and those of them that the filter leaves, in order; none: the set is not
// shown.
const struct FilterRow {
    Of kind;
    std::vector<string> prefixes;
    string filter;
    bool exact;
    std::vector<string> listed;
} filterRows[] = {
    // The set's prefix contains the filter's, or is contained, or neither.
    {Of::ipv4,
     {"10.1.0.0/16", "10.0.0.0/8", "11.0.0.0/8", "10.1.2.0/24", "10.2.0.0/24"},
     "10.1.0.0/16",
     false,
     {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"}},
    {Of::ipv4, {"10.1.0.0/16"}, "10.0.0.0/16", false, {}},
    // Length 0 matches everything, in the set and in the filter; but there must be something.
    {Of::ipv4, {"0.0.0.0/0"}, "203.0.113.7/32", false, {"0.0.0.0/0"}},
    {Of::ipv4, {"1.0.0.0/8", "223.0.0.0/8"}, "0.0.0.0/0", false, {"1.0.0.0/8", "223.0.0.0/8"}},
    {Of::ipv4, {}, "0.0.0.0/0", false, {}},
    // Exact: address and length are equal.
    {Of::ipv4, {"10.0.0.0/8", "10.0.0.0/16"}, "10.0.0.0/16", true, {"10.0.0.0/16"}},
    {Of::ipv4, {"0.0.0.0/0", "10.0.0.0/8"}, "0.0.0.0/0", true, {"0.0.0.0/0"}},
    // A filter with host bits overlaps as its network does, and equals no network.
    {Of::ipv4, {"10.1.0.0/16"}, "10.1.2.3/16", false, {"10.1.0.0/16"}},
    {Of::ipv4, {"10.1.0.0/16"}, "10.1.2.3/16", true, {}},
    // IPv6, with lengths on both sides of its middle.
    {Of::ipv6, {"2001:db8::/32", "2001:db9::/32"}, "2001:db8:5::/48", false, {"2001:db8::/32"}},
    {Of::ipv6,
     {"2001:db8::2/128", "2001:db8::1/128"},
     "2001:db8::2/127",
     false,
     {"2001:db8::2/128"}},
    // The other family never matches, whatever its length.
    {Of::ipv4, {"0.0.0.0/0"}, "::/0", false, {}},
    {Of::ipv6, {"::/0", "::ffff:10.0.0.0/104"}, "10.0.0.0/8", false, {}},
    {Of::ipv6, {"::/0"}, "0.0.0.0/0", true, {}},
};

TEST(PrefixFieldSets, areFilteredByPrefix) {
    for (const FilterRow& row : filterRows) {
        SCOPED_TRACE(row.filter + (row.exact ? " exact" : ""));
        const auto config = prefixesOf(row.kind, row.prefixes);
        const Question question{row.kind, "", row.filter, row.exact};
        const string set = R"("S":{"source":"static","prefixes":)" +
                           quoted(row.listed, "{\"prefix\":\"", "\"}") + R"(,"exceptPrefixes":[]})";
        EXPECT_EQ(listing(config, json, question),
                  R"({"prefixFieldSets":{)" + (row.listed.empty() ? "" : set) + "}}\n");
        EXPECT_EQ(listing(config, text, question) == "No matching prefix field sets found\n",
                  row.listed.empty());
    }
}

TEST(PrefixFieldSets, doNotMatchByTheirExceptions) {
    const string exceptions = R"("exceptPrefixes":["10.1.0.0/16","10.2.0.0/16"])";
    const auto config = configOf(
        R"("fieldSetIpPrefix":{
        "A":{"currCfg":{"prefixes":["11.0.0.0/8"],)" +
        exceptions + R"(}},"B":{"currCfg":{"prefixes":["10.0.0.0/8","11.0.0.0/8"],)" + exceptions +
        R"(}},
        "C":{"currCfg":{"prefixes":["10.1.0.0/16"],"exceptPrefixes":["10.2.0.0/16"]}},"D":{}})");
    EXPECT_EQ(listing(config, json, {Of::ipv4, "", "10.1.0.0/16"}),
              R"({"prefixFieldSets":{"B":{"source":"static","prefixes":[{"prefix":"10.0.0.0/8"}],)"
              R"("exceptPrefixes":[{"prefix":"10.1.0.0/16"}]},"C":{"source":"static",)"
              R"("prefixes":[{"prefix":"10.1.0.0/16"}],"exceptPrefixes":[]}}})"
              "\n");
}

TEST(PrefixFieldSetsDeathTest, NullPrefixIsABrokenInvariant) {
    const auto version = Orb::make<Classification::FieldSetIpPrefixSubConfig>();
    version->exceptPrefixesIs(Wire::IpGenPrefix());
    const auto config = Orb::make<FieldSetConfig>();
    config->fieldSetIpPrefixIs("S", prefixSet("S", version));
    EXPECT_DEATH(listing(config, text), "assertion failed: !pfx.isNullPrefix\\(\\)");
}

Orb::Ptr<const FieldSetConfig> portsOf(const string& ranges) {
    return configOf(R"("fieldSetL4Port":{"S":{"currCfg":{"ports":[)" + ranges + "]}}}");
}

TEST(RangeFieldSets, fillLinesUpTo79Characters) {
    const auto lines = [&](const string& more) {
        return listing(portsOf(more + R"("60000-60001","50000-50001","40000-40001","30000-30001",
            "20000-20001")"),
                       text, {Of::ports})
            .substr(string("field-set l4-port S\n").size());
    };
    const string five = "20000-20001, 30000-30001, 40000-40001, 50000-50001, 60000-60001";
    // A last line of 79 characters; with a comma behind it one range less fits.
    EXPECT_EQ(lines(R"("10000-10001",)"), "   10000-10001, " + five + "\n");
    EXPECT_EQ(lines(R"("10000-10001",)").size(), 80U);
    EXPECT_EQ(lines(R"("10000-10001",65535,)"),
              "   10000-10001, 20000-20001, 30000-30001, 40000-40001, 50000-50001,\n"
              "   60000-60001, 65535\n");
    // A wrapped line of 79 characters, its comma included.
    EXPECT_EQ(lines(R"("1000-10001",65535,)"), "   1000-10001, " + five + ",\n   65535\n");
}

TEST(RangeFieldSets, areFilteredByASingleRange) {
    const struct {
        const char *ranges, *filter;
        bool matches;
    } rows[] = {
        {R"("1-1024")", "80", true},
        {R"("79-80","81-90")", "80", true},
        {R"("79-80","81-90")", "80-81", false},
        {R"("79-90","80-81")", "80-81", true},
        {R"("80-81")", "80-81", true},
        {R"("80-81")", "79-81", false},
        {R"("80-81")", "80-82", false},
        {R"("80-81")", "79-82", false},
        {R"("0-65535")", "0-65535", true},
        {R"("1-65535")", "0", false},
        {"443,80", "80", true},
        {"", "0", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.filter);
        const auto config = portsOf(row.ranges);
        // A set that matches is listed whole.
        EXPECT_EQ(listing(config, text, {Of::ports, "", row.filter}),
                  row.matches ? listing(config, text, {Of::ports})
                              : "No matching L4 port field sets found\n");
        EXPECT_EQ(listing(config, json, {Of::ports, "", row.filter}),
                  row.matches ? listing(config, json, {Of::ports}) : "{\"l4PortFieldSets\":{}}\n");
    }
}

TEST(FieldSets, traceTheSetsThatAreLeftOut) {
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
    listing(someSets(), text, {Of::ipv4, "", "10.2.0.0/16"});
    EXPECT_THAT(traces.lines(), Contains(EndsWith(", fsName:PENDING, no currCfg")));
    EXPECT_THAT(traces.lines(), Contains(EndsWith(", fsName:EMPTY, filtered")));
    EXPECT_THAT(traces.lines(), Not(Contains(HasSubstr("ZONES, filtered"))));
    listing(someSets(), text, {Of::ports, "", "1"});
    EXPECT_THAT(traces.lines(), Contains(EndsWith(", fsName:WEB, filtered")));
}

}  // namespace
}  // namespace TrafficPolicyCli::FieldSets
