// The views of port, VLAN and MAC field sets, and what all four show objects are to the object
// model.
#include "fieldsets_fixture.h"

namespace TrafficPolicyCli::FieldSets {
namespace {

using std::string;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

string portListing(const Orb::Ptr<const Classification::FieldSetConfig>& config, U32 format,
                   const string& name = "", bool filter = false, PortRange filterPorts = {}) {
    return shown(showTrafficPolicyL4PortFieldSetFactory(config, name, filter, filterPorts), format);
}
string vlanListing(const Orb::Ptr<const Classification::FieldSetConfig>& config, U32 format,
                   const string& name = "", bool filter = false, VlanRange filterVlans = {}) {
    return shown(showTrafficPolicyVlanFieldSetFactory(config, name, filter, filterVlans), format);
}

Orb::Ptr<Classification::FieldSetConfig> configOf(const std::vector<PortRange>& ranges,
                                                  const Source& source = {}) {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    config->fieldSetL4PortIs("S", portSet("S", ranges, source));
    return config;
}

Orb::Ptr<Classification::FieldSetConfig> someSets() {
    const auto config = Orb::make<Classification::FieldSetConfig>();
    config->fieldSetL4PortIs("WEB", portSet("WEB", {{8080, 8088}, {443, 443}, {80, 80}}));
    config->fieldSetL4PortIs("EMPTY", portSet("EMPTY", {}, {ContentsSource::bgp}));
    config->fieldSetL4PortIs("PENDING", fieldSet<Classification::FieldSetL4PortConfig>("PENDING"));
    config->fieldSetVlanIs("GUESTS", vlanSet("GUESTS", {{100, 199}, {7, 7}, {20, 4094}},
                                             {ContentsSource::url, "flash:guests", "mgmt"}));
    config->fieldSetVlanIs("VOICE", vlanSet("VOICE", {{30, 30}}));
    return config;
}

TEST(RangeFieldSets, ListAllSetsByName) {
    EXPECT_EQ(portListing(someSets(), textFormat),
              "field-set l4-port EMPTY\n"
              "   source BGP\n"
              "\n"
              "field-set l4-port WEB\n"
              "   80, 443, 8080-8088\n");
    EXPECT_EQ(portListing(someSets(), jsonFormat),
              R"({"l4PortFieldSets":{"EMPTY":{"source":"bgp","ports":[]},)"
              R"("WEB":{"source":"static","ports":[{"low":80,"high":80},)"
              R"({"low":443,"high":443},{"low":8080,"high":8088}]}}})"
              "\n");
    EXPECT_EQ(vlanListing(someSets(), textFormat),
              "field-set vlan GUESTS\n"
              "   source flash:guests vrf mgmt\n"
              "   7, 20-4094, 100-199\n"
              "\n"
              "field-set vlan VOICE\n"
              "   30\n");
    EXPECT_EQ(vlanListing(someSets(), jsonFormat),
              R"({"vlanFieldSets":{"GUESTS":{"urlInfo":{"urlPath":"flash:guests","vrf":"mgmt"},)"
              R"("source":"url","vlans":[{"low":7,"high":7},{"low":20,"high":4094},)"
              R"({"low":100,"high":199}]},"VOICE":{"source":"static","vlans":[)"
              R"({"low":30,"high":30}]}}})"
              "\n");
}

TEST(RangeFieldSets, TextNamesTheSourceUnlessItIsStatic) {
    const struct {
        Source source;
        string text;
    } rows[] = {
        {{ContentsSource::configured}, ""},
        {{ContentsSource::bgp}, "   source BGP\n"},
        {{ContentsSource::url, "flash:p\x7f"}, "   source flash:p\\x7f\n"},
        {{ContentsSource::url, "flash:p", "mgmt"}, "   source flash:p vrf mgmt\n"},
        {{ContentsSource::other}, "   source \n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(portListing(configOf({{1, 2}}, row.source), textFormat),
                  "field-set l4-port S\n" + row.text + "   1-2\n");
    }
}

TEST(RangeFieldSets, LinesAreFilledUpTo79Characters) {
    std::vector<PortRange> ranges;
    for (U32 low = 20000; low <= 60000; low += 10000) ranges.emplace_back(low, low + 1);
    const string five = "20000-20001, 30000-30001, 40000-40001, 50000-50001, 60000-60001";
    const auto text = [&](std::vector<PortRange> more) {
        more.insert(more.end(), ranges.begin(), ranges.end());
        return portListing(configOf(more), textFormat)
            .substr(string("field-set l4-port S\n").size());
    };
    // A last line of 79 characters; with a comma behind it one range less fits.
    EXPECT_EQ(text({{10000, 10001}}), "   10000-10001, " + five + "\n");
    EXPECT_EQ(text({{10000, 10001}}).size(), 80U);
    EXPECT_EQ(text({{10000, 10001}, {65535, 65535}}),
              "   10000-10001, 20000-20001, 30000-30001, 40000-40001, 50000-50001,\n"
              "   60000-60001, 65535\n");
    // A wrapped line of 79 characters, its comma included.
    EXPECT_EQ(text({{1000, 10001}, {65535, 65535}}), "   1000-10001, " + five + ",\n   65535\n");
    EXPECT_EQ(text({{1000, 10001}, {65535, 65535}}).find('\n'), 79U);
}

TEST(RangeFieldSets, FilterIsContainedInASingleRange) {
    const struct {
        std::vector<PortRange> ranges;
        PortRange filter;
        bool matches;
    } rows[] = {
        {{{1, 1024}}, {80, 80}, true},
        {{{79, 80}, {81, 90}}, {80, 80}, true},
        {{{79, 80}, {81, 90}}, {80, 81}, false},
        {{{79, 90}, {80, 81}}, {80, 81}, true},
        {{{80, 81}}, {80, 81}, true},
        {{{80, 81}}, {79, 81}, false},
        {{{80, 81}}, {80, 82}, false},
        {{{80, 81}}, {79, 82}, false},
        {{{0, 65535}}, {0, 65535}, true},
        {{{1, 65535}}, {0, 0}, false},
        {{{443, 443}, {80, 80}}, {80, 80}, true},
        {{}, {0, 0}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.filter.stringValue());
        const auto config = configOf(row.ranges);
        const string text = portListing(config, textFormat, "", true, row.filter);
        // A set that matches is listed whole.
        EXPECT_EQ(text, row.matches ? portListing(config, textFormat)
                                    : "No matching L4 port field sets found\n");
        EXPECT_EQ(portListing(config, jsonFormat, "", true, row.filter),
                  row.matches ? portListing(config, jsonFormat) : "{\"l4PortFieldSets\":{}}\n");
    }
    EXPECT_THAT(vlanListing(someSets(), textFormat, "", true, {30, 30}),
                testing::AllOf(HasSubstr("vlan GUESTS\n"), HasSubstr("7, 20-4094, 100-199\n"),
                               HasSubstr("vlan VOICE\n")));
    EXPECT_EQ(vlanListing(someSets(), textFormat, "VOICE", true, {31, 31}),
              "No matching VLAN field sets found\n");
}

TEST(RangeFieldSets, NoSetsNoOutput) {
    EXPECT_EQ(portListing(someSets(), textFormat, "WEB"),
              "field-set l4-port WEB\n   80, 443, 8080-8088\n");
    for (const string name : {"ABSENT", "PENDING"}) {
        EXPECT_EQ(portListing(someSets(), textFormat, name), "");
        EXPECT_EQ(portListing(someSets(), textFormat, name, true, {1, 1}),
                  "No matching L4 port field sets found\n");
    }
    EXPECT_EQ(vlanListing(nullptr, textFormat), "");
    EXPECT_EQ(vlanListing(nullptr, jsonFormat), "{\"vlanFieldSets\":{}}\n");
    const Captured::Traces traces = allTraces();
    portListing(someSets(), textFormat, "", true, {1, 1});
    EXPECT_THAT(traces.lines(), Contains(EndsWith(", fsName:PENDING, no currCfg")));
    EXPECT_THAT(traces.lines(), Contains(EndsWith(", fsName:WEB, filtered")));
}

string macListing(const Orb::Ptr<const Orb::Dir>& configDir, U32 format, const string& name = "") {
    return shown(showTrafficPolicyMacFieldSetFactory(configDir, name), format);
}

Orb::Ptr<Orb::Dir> macSources() {
    const auto add = [](Orb::Dir& source, const string& name,
                        const std::vector<string>& addresses) {
        const auto version = Orb::make<Classification::FieldSetMacAddrSubConfig>();
        for (const string& text : addresses) version->macAddrsIs(*Wire::EthAddr::parse(text));
        source.entryIs(name, fieldSet<Classification::FieldSetMacAddrConfig>(name, version));
    };
    const auto dir = Orb::make<Orb::Dir>("fieldSetMacAddr");
    const auto controller = Orb::make<Orb::Dir>("controller");
    add(*controller, "PRINTERS", {"00:00:5e:00:00:07"});
    const auto cli = Orb::make<Orb::Dir>("cli");
    add(*cli, "PRINTERS", {"FF:00:00:00:00:01", "00:00:5E:00:00:99", "00:00:5e:00:00:0a"});
    add(*cli, "EMPTY", {});
    cli->entryIs("PENDING", fieldSet<Classification::FieldSetMacAddrConfig>("PENDING"));
    cli->entryIs("FOREIGN", Orb::make<Orb::Dir>("FOREIGN"));
    dir->entryIs("controller", controller);
    dir->entryIs("cli", cli);
    dir->entryIs("bgp", Orb::make<Orb::Dir>("bgp"));
    dir->entryIs("foreign", Orb::make<Classification::FieldSetConfig>());
    return dir;
}

TEST(MacFieldSets, ListEachSource) {
    EXPECT_EQ(macListing(macSources(), textFormat),
              "Source: bgp\n"
              "\n"
              "Source: cli\n"
              "Field-set: EMPTY\n"
              "   MAC Address\n"
              "   -----------\n"
              "   None\n"
              "\n"
              "Field-set: PRINTERS\n"
              "   MAC Address\n"
              "   -----------\n"
              "   00:00:5e:00:00:0a\n"
              "   00:00:5e:00:00:99\n"
              "   ff:00:00:00:00:01\n"
              "\n"
              "Source: controller\n"
              "Field-set: PRINTERS\n"
              "   MAC Address\n"
              "   -----------\n"
              "   00:00:5e:00:00:07\n");
    EXPECT_EQ(macListing(macSources(), jsonFormat),
              R"({"sources":{"bgp":{"macFieldSets":{}},"cli":{"macFieldSets":{)"
              R"("EMPTY":{"macAddrs":[]},"PRINTERS":{"macAddrs":["00:00:5e:00:00:0a",)"
              R"("00:00:5e:00:00:99","ff:00:00:00:00:01"]}}},"controller":{"macFieldSets":{)"
              R"("PRINTERS":{"macAddrs":["00:00:5e:00:00:07"]}}}}})"
              "\n");
}

TEST(MacFieldSets, NameIsLookedUpInEverySource) {
    EXPECT_EQ(macListing(macSources(), textFormat, "EMPTY"),
              "Source: bgp\n"
              "\n"
              "Source: cli\n"
              "Field-set: EMPTY\n"
              "   MAC Address\n"
              "   -----------\n"
              "   None\n"
              "\n"
              "Source: controller\n");
    EXPECT_EQ(macListing(macSources(), jsonFormat, "PENDING"),
              R"({"sources":{"bgp":{"macFieldSets":{}},"cli":{"macFieldSets":{}},)"
              R"("controller":{"macFieldSets":{}}}})"
              "\n");
    EXPECT_EQ(macListing(nullptr, textFormat), "");
    EXPECT_EQ(macListing(nullptr, jsonFormat), "{\"sources\":{}}\n");
}

TEST(MacFieldSets, Traces) {
    const Captured::Traces traces = allTraces();
    macListing(macSources(), textFormat);
    EXPECT_THAT(traces.lines(), Contains(EndsWith(" source: controller")));
    EXPECT_THAT(traces.lines(), Contains(EndsWith("PENDING, no currCfg")));
}

template <class Show>
std::vector<string> attributesOf() {
    std::vector<string> names;
    for (const Orb::Attribute& attribute : Show::orbType().attributes()) {
        names.emplace_back(attribute.name);
    }
    return names;
}

TEST(FieldSetShows, AreTypesThatCanBeBuiltByName) {
    EXPECT_THAT(attributesOf<ShowTrafficPolicyPrefixFieldSet>(),
                ElementsAre("fsConfig", "fieldSetName", "ipv4", "filter", "filterPrefix", "exact",
                            "foundMatches", "sortYieldThreshold"));
    EXPECT_THAT(attributesOf<ShowTrafficPolicyL4PortFieldSet>(),
                ElementsAre("fsConfig", "fieldSetName", "filter", "filterPorts", "foundMatches"));
    EXPECT_THAT(attributesOf<ShowTrafficPolicyVlanFieldSet>(),
                ElementsAre("fsConfig", "fieldSetName", "filter", "filterVlans", "foundMatches"));
    EXPECT_THAT(attributesOf<ShowTrafficPolicyMacFieldSet>(),
                ElementsAre("configDir", "fieldSetName"));

    const auto prefixes = Orb::ptrCast<ShowTrafficPolicyPrefixFieldSet>(
        Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicyPrefixFieldSet")
            ->create({nullptr, string("S"), false, true, prefix("::/0"), true}));
    EXPECT_TRUE(!prefixes->ipv4() && prefixes->filter() && prefixes->exact());
    EXPECT_FALSE(prefixes->foundMatches());
    EXPECT_EQ(prefixes->sortYieldThreshold(), 25'000U);
    const auto ports = Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicyL4PortFieldSet")
                           ->create({nullptr, string("S"), true, PortRange(1, 2)});
    EXPECT_EQ(std::get<Orb::String>(ports->fwkType().attribute("filterPorts")->value(*ports)),
              "1-2");
    EXPECT_TRUE(Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicyVlanFieldSet")
                    ->create({nullptr, string("S"), true, VlanRange(1, 2)}));
    EXPECT_TRUE(Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicyMacFieldSet")
                    ->create({nullptr, string("S")}));
}

}  // namespace
}  // namespace TrafficPolicyCli::FieldSets
