// The view of MAC field sets, and what all four show objects are to the object model.
#include "FieldSetsFixture.h"

namespace TrafficPolicyCli::FieldSets {
namespace {

using std::string;
using testing::Contains;
using testing::EndsWith;

string macListing(const Orb::Ptr<const Orb::Dir>& configDir, U32 format, const string& name = "") {
    return shown(showTrafficPolicyMacFieldSetFactory(configDir, name), format);
}

// Sets of three sources, and among them entries that are neither.
Orb::Ptr<const Orb::Dir> macSources() {
    const auto state = SmallState::stateOf(R"({"fieldSetMacAddr":{
        "controller":{"PRINTERS":{"currCfg":{"macAddrs":["00:00:5e:00:00:07"]}}},
        "cli":{"PRINTERS":{"currCfg":{"macAddrs":
                ["FF:00:00:00:00:01","00:00:5E:00:00:99","00:00:5e:00:00:0a"]}},
            "EMPTY":{"currCfg":{}},"PENDING":{}},
        "bgp":{}}})",
                                           "{}");
    const auto dir = Orb::make<Orb::Dir>("fieldSetMacAddr");
    dir->entryIs(state.macDir->entry());
    dir->entryIs("foreign", Orb::make<FieldSetConfig>());
    const auto cli = Orb::make<Orb::Dir>("cli");
    cli->entryIs(Orb::ptrCast<const Orb::Dir>(*state.macDir->entry().find("cli"))->entry());
    cli->entryIs("FOREIGN", Orb::make<Orb::Dir>("FOREIGN"));
    dir->entryIs("cli", cli);
    return dir;
}

TEST(MacFieldSets, areListedBySource) {
    const string heading = "   MAC Address\n   -----------\n";
    const string empty = "Field-set: EMPTY\n" + heading + "   None\n";
    const struct {
        const char* name;
        string text, json;
    } rows[] = {
        {"",
         "Source: bgp\n\nSource: cli\n" + empty + "\nField-set: PRINTERS\n" + heading +
             "   00:00:5e:00:00:0a\n   00:00:5e:00:00:99\n   ff:00:00:00:00:01\n\n"
             "Source: controller\nField-set: PRINTERS\n" +
             heading + "   00:00:5e:00:00:07\n",
         R"({"sources":{"bgp":{"macFieldSets":{}},"cli":{"macFieldSets":{)"
         R"("EMPTY":{"macAddrs":[]},"PRINTERS":{"macAddrs":["00:00:5e:00:00:0a",)"
         R"("00:00:5e:00:00:99","ff:00:00:00:00:01"]}}},"controller":{"macFieldSets":{)"
         R"("PRINTERS":{"macAddrs":["00:00:5e:00:00:07"]}}}}})"},
        {"EMPTY", "Source: bgp\n\nSource: cli\n" + empty + "\nSource: controller\n",
         R"({"sources":{"bgp":{"macFieldSets":{}},"cli":{"macFieldSets":{"EMPTY":{"macAddrs":[]}}},)"
         R"("controller":{"macFieldSets":{}}}})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
        EXPECT_EQ(macListing(macSources(), text, row.name), row.text);
        EXPECT_EQ(macListing(macSources(), json, row.name), row.json + "\n");
        EXPECT_THAT(traces.lines(), Contains(EndsWith(" source: controller")));
        const auto skipped = Contains(EndsWith("PENDING, no currCfg"));
        EXPECT_EQ(testing::Value(traces.lines(), skipped), row.name == string());
    }
    EXPECT_EQ(macListing(nullptr, text), "");
    EXPECT_EQ(macListing(nullptr, json), "{\"sources\":{}}\n");
}

TEST(FieldSetShows, areTypesThatCanBeBuiltByName) {
    const struct {
        string type;
        std::vector<std::any> arguments;
        string attributes;
    } rows[] = {
        {"Prefix",
         {nullptr, string("S"), false, true, prefix("::/0"), true},
         "fsConfig fieldSetName ipv4 filter filterPrefix exact foundMatches sortYieldThreshold "},
        {"L4Port",
         {nullptr, string("S"), true, PortRange(1, 2)},
         "fsConfig fieldSetName filter filterPorts foundMatches "},
        {"Vlan",
         {nullptr, string("S"), true, VlanRange(1, 2)},
         "fsConfig fieldSetName filter filterVlans foundMatches "},
        {"Mac", {nullptr, string("S")}, "configDir fieldSetName "},
    };
    for (const auto& row : rows) {
        const auto show =
            Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicy" + row.type + "FieldSet")
                ->create(row.arguments);
        string attributes;
        for (const Orb::Attribute& attribute : show->fwkType().attributes()) {
            attributes += string(attribute.name) + " ";
        }
        EXPECT_EQ(attributes, row.attributes);
        if (const auto prefixes = Orb::ptrCast<ShowTrafficPolicyPrefixFieldSet>(show)) {
            EXPECT_TRUE(!prefixes->ipv4() && prefixes->filter() && prefixes->exact());
            EXPECT_FALSE(prefixes->foundMatches());
            EXPECT_EQ(prefixes->sortYieldThreshold(), 25'000U);
        } else if (const auto ports = Orb::ptrCast<ShowTrafficPolicyL4PortFieldSet>(show)) {
            EXPECT_EQ(
                std::get<Orb::String>(ports->fwkType().attribute("filterPorts")->value(*ports)),
                "1-2");
        }
    }
}

}  // namespace
}  // namespace TrafficPolicyCli::FieldSets
