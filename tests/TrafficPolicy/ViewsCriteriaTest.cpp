// Every match criterion: the filter, and its lines and JSON. What is inserted in descending order
// must come out ascending.
#include <gmock/gmock.h>

#include "ViewsFixture.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {
namespace {

using namespace Classification;
using std::string;

// The order is that of the lines of a rule.
const std::vector<CriteriaRow> singleCriteria = {
    {"no criterion", [](Filter&) {}, "", ""},
    {"VLAN ids and field sets, by their sorted contents",
     [](Filter& filter) {
         addVlanTag(filter, [](VlanRangeSet& tag) {
             tag.vlanFieldSetsIs("FS9");
             tag.vlanFieldSetsIs("FS2");
         });
         addVlanTag(filter, [](VlanRangeSet& tag) { tag.vlanFieldSetsIs("FS1"); });
         addVlanTag(filter, [](VlanRangeSet& tag) {
             tag.vlansIs(VlanRange(300, 400));
             tag.vlansIs(VlanRange(20, 20));
         });
         addVlanTag(filter, [](VlanRangeSet& tag) {
             tag.vlansIs(VlanRange(100, 100));
             tag.vlansIs(VlanRange(10, 10));
         });
     },
     "   802.1Q VLAN: 10\n"
     "                100\n"
     "   802.1Q VLAN: 20\n"
     "                300-400\n"
     "   802.1Q VLAN: field-set FS1\n"
     "   802.1Q VLAN: field-set FS2 (field-set 'FS2' has not been defined)\n"
     "                field-set FS9 (field-set 'FS9' has not been defined)\n",
     R"("dot1qVlanTags":[)"
     R"({"dot1qVlans":[{"low":10,"high":10},{"low":100,"high":100}]},)"
     R"({"dot1qVlans":[{"low":20,"high":20},{"low":300,"high":400}]},)"
     R"({"dot1qVlanFieldSets":[{"name":"FS1","numVlans":4094}]},)"
     R"({"dot1qVlanFieldSets":[{"name":"FS2","undefined":true},{"name":"FS9","undefined":true}]}])"},
    {"source prefixes, IPv4 before IPv6, then by address, then by length",
     [](Filter& filter) {
         for (const auto* text :
              {"2001:db8::/32", "10.1.0.0/16", "10.0.0.0/16", "10.0.0.0/8", "9.0.0.0/32", "::/0"}) {
             filter.sourcesIs(prefix(text));
         }
     },
     "   Source prefix: 9.0.0.0/32\n"
     "                  10.0.0.0/8\n"
     "                  10.0.0.0/16\n"
     "                  10.1.0.0/16\n"
     "                  ::/0\n"
     "                  2001:db8::/32\n",
     R"("srcPrefixes":["9.0.0.0/32","10.0.0.0/8","10.0.0.0/16","10.1.0.0/16","::/0",)"
     R"("2001:db8::/32"])"},
    {"source prefix field sets, by name as plain strings",
     [](Filter& filter) {
         for (const auto* name : {"FS9", "FS10", "FS1"}) filter.srcPrefixSetsIs(name);
     },
     "   Source prefix: field-set FS1\n"
     "                  field-set FS10 (field-set 'FS10' has not been defined)\n"
     "                  field-set FS9 (field-set 'FS9' has not been defined)\n",
     R"("srcExtPrefixSet":[{"name":"FS1","numPrefixes":4,"numExceptPrefixes":1},)"
     R"({"name":"FS10","undefined":true},{"name":"FS9","undefined":true}],)"
     R"("srcPrefixSets":["FS1","FS10","FS9"])"},
    {"source prefixes by longest match",
     [](Filter& filter) { filter.sourceLpmsIs(prefix("10.0.0.0/8")); },
     "   Source prefix (longest prefix match): 10.0.0.0/8\n", R"("srcLpmPrefixes":["10.0.0.0/8"])"},
    {"source prefix field sets by longest match",
     [](Filter& filter) { filter.srcLpmPrefixSetsIs("FS1"); },
     "   Source prefix (longest prefix match): field-set FS1\n",
     R"("srcLpmPrefixSet":[{"name":"FS1","numPrefixes":4,"numExceptPrefixes":1}])"},
    {"destination prefixes",
     [](Filter& filter) {
         filter.destinationsIs(prefix("10.1.0.0/16"));
         filter.destinationsIs(prefix("10.0.0.0/8"));
     },
     "   Destination prefix: 10.0.0.0/8\n"
     "                       10.1.0.0/16\n",
     R"("destPrefixes":["10.0.0.0/8","10.1.0.0/16"])"},
    {"destination prefix field sets", [](Filter& filter) { filter.dstPrefixSetsIs("FS9"); },
     "   Destination prefix: field-set FS9 (field-set 'FS9' has not been defined)\n",
     R"("destExtPrefixSet":[{"name":"FS9","undefined":true}],"destPrefixSets":["FS9"])"},
    {"destination prefixes by longest match",
     [](Filter& filter) { filter.destinationLpmsIs(prefix("2001:db8::/32")); },
     "   Destination prefix (longest prefix match): 2001:db8::/32\n",
     R"("destLpmPrefixes":["2001:db8::/32"])"},
    {"destination prefix field sets by longest match",
     [](Filter& filter) { filter.dstLpmPrefixSetsIs("FS9"); },
     "   Destination prefix (longest prefix match): field-set FS9 (field-set 'FS9' has not been "
     "defined)\n",
     R"("destLpmPrefixSet":[{"name":"FS9","undefined":true}])"},
    {"IP length",
     [](Filter& filter) {
         filter.lengthIs(PacketLengthRange(64, 128));
         filter.lengthIs(PacketLengthRange(64, 64));
         filter.lengthIs(PacketLengthRange(0, 40));
     },
     "   IP length: 0-40\n"
     "              64\n"
     "              64-128\n",
     R"("ipLengths":[{"low":0,"high":40},{"low":64,"high":64},{"low":64,"high":128}])"},
    {"all fragments",
     [](Filter& filter) { filter.fragmentIs(Orb::make<Fragment>(FragmentType::matchAll)); },
     "   Fragment: all\n", R"("fragment":{"matchAllFragments":true})"},
    {"fragments by offset",
     [](Filter& filter) {
         const auto fragment = Orb::make<Fragment>(FragmentType::matchOffset);
         fragment->offsetIs(FragmentOffsetRange(10, 8191));
         fragment->offsetIs(FragmentOffsetRange(1, 1));
         filter.fragmentIs(fragment);
     },
     "   Fragment: offset: 1\n"
     "                     10-8191\n",
     R"("fragment":{"fragmentOffsets":[{"low":1,"high":1},{"low":10,"high":8191}]})"},
    {"DSCP: names of single values that have one, never of ranges",
     [](Filter& filter) {
         for (const U32 low : {46, 11, 10}) filter.dscpIs(DscpRange(low, low));
         filter.dscpIs(DscpRange(0, 8));
     },
     "   DSCP: 0-8\n"
     "         af11\n"
     "         11\n"
     "         ef\n",
     R"("dscps":[{"low":0,"high":8},{"low":10,"high":10},{"low":11,"high":11},)"
     R"({"low":46,"high":46}])"},
    {"ECN", [](Filter& filter) { filter.ecnIs(EcnRange(1, 3)); }, "   ECN: 1-3\n",
     R"("ecns":[{"low":1,"high":3}])"},
    {"TTL", [](Filter& filter) { filter.ttlIs(TtlRange(255, 255)); }, "   TTL: 255\n",
     R"("ttls":[{"low":255,"high":255}])"},
    {"traffic of BGP neighbors",
     [](Filter& filter) { filter.neighborsProtocolIs(NeighborsProtocol::bgp); },
     "   protocol neighbors bgp\n", R"("neighborProtocol":"bgp")"},
    {"BGP traffic", [](Filter& filter) { filter.l4ProtocolIs(L4Protocol::bgp); },
     "   protocol bgp\n", R"("matchL4Protocol":"bgp")"},
    {"IP options", [](Filter& filter) { filter.ipOptionsIs(true); }, "   IP options: all\n",
     R"("matchIpOptions":true)"},
    {"tracked", [](Filter& filter) { filter.trackedIs(true); }, "   Tracked: true\n",
     R"("matchTracked":true)"},
};

TEST(ViewsCriteria, printsEachAlone) { expectPrinted(singleCriteria); }

TEST(ViewsCriteria, printsThemInTheirOrder) {
    // One row per line of a rule that has them all: a filter has one form of source only.
    CriteriaRow all{"all", {}, "", ""};
    for (const CriteriaRow& row : singleCriteria) {
        if (row.name.find("prefix field sets") != string::npos ||
            row.name.find("by longest match") != string::npos ||
            row.name == "fragments by offset") {
            continue;
        }
        all.text += row.text;
        if (!all.json.empty() && !row.json.empty()) all.json += ',';
        all.json += row.json;
        all.fill = [before = all.fill, fill = row.fill](Filter& filter) {
            fill(filter);
            if (before) before(filter);
        };
    }
    expectPrinted({all});
}

TEST(ViewsCriteria, addsSizesOfFieldSetsInDetail) {
    const auto prefixSets = [](Filter& filter) {
        filter.srcPrefixSetsIs("FS1");
        filter.srcPrefixSetsIs("FS6");
        filter.dstLpmPrefixSetsIs("FS1");
    };
    const string text =
        "   Source prefix: field-set FS1 (Prefixes: 4, Except prefixes: 1)\n"
        "                  field-set FS6 (field-set 'FS6' has not been defined)\n"
        "   Destination prefix (longest prefix match): field-set FS1 (Prefixes: 4, Except "
        "prefixes: "
        "1)\n";
    const string json =
        R"("srcExtPrefixSet":[{"name":"FS1","numPrefixes":4,"numExceptPrefixes":1},)"
        R"({"name":"FS6","undefined":true}],"srcPrefixSets":["FS1","FS6"],)"
        R"("destLpmPrefixSet":[{"name":"FS1","numPrefixes":4,"numExceptPrefixes":1}])";
    expectPrinted({
        {"IPv4", prefixSets, text, json, {}, MatchOption::ipv4, true},
        {"MAC rules know the sets of IPv4", prefixSets, text, json, {}, MatchOption::mac, true},
        {"IPv6",
         prefixSets,
         "   Source prefix: field-set FS1 (Prefixes: 600, Except prefixes: 0)\n"
         "                  field-set FS6 (Prefixes: 6, Except prefixes: 2)\n"
         "   Destination prefix (longest prefix match): field-set FS1 (Prefixes: 600, Except "
         "prefixes: 0)\n",
         R"("srcExtPrefixSet":[{"name":"FS1","numPrefixes":600,"numExceptPrefixes":0},)"
         R"({"name":"FS6","numPrefixes":6,"numExceptPrefixes":2}],"srcPrefixSets":["FS1","FS6"],)"
         R"("destLpmPrefixSet":[{"name":"FS1","numPrefixes":600,"numExceptPrefixes":0}])",
         {},
         MatchOption::ipv6,
         true},
        {"VLANs and ports",
         [](Filter& filter) {
             addVlanTag(filter, [](VlanRangeSet& tag) { tag.vlanFieldSetsIs("FS1"); });
             addProtocol(filter, 17, 17, [](ProtoField& field) {
                 addPorts(field, [](PortField& ports) { ports.dportFieldSetsIs("FS1"); });
             });
         },
         "   802.1Q VLAN: field-set FS1 (VLANs: 4094)\n"
         "   Protocol: udp\n"
         "      Destination port: field-set FS1 (Ports: 65536)\n",
         R"("dot1qVlanTags":[{"dot1qVlanFieldSets":[{"name":"FS1","numVlans":4094}]}],)"
         R"("protocols":[{"protocolRange":{"low":17,"high":17},"ports":[)"
         R"({"destExtL4PortFieldSet":[{"name":"FS1","numPorts":65536}],)"
         R"("destL4PortFieldSets":["FS1"]}]}])",
         R"("dot1qVlanTags":[{"dot1qVlanFieldSets":[{"name":"FS1","numVlans":4094}]}],)"
         R"("protocols":[{"protocolRange":{"low":17,"high":17},)"
         R"("destExtL4PortFieldSet":[{"name":"FS1","numPorts":65536}],)"
         R"("destL4PortFieldSets":["FS1"]}])",
         MatchOption::ipv4, true},
    });
}

TEST(ViewsCriteria, leavesOut) {
    struct {
        string name;
        Fill fill;
        string absentLine, absentKey;
    } const rows[] = {
        {"the flags of a range of protocols",
         [](Filter& filter) {
             addProtocol(filter, 6, 17, [](ProtoField& field) { addFlags(field, 1, 1); });
         },
         "TCP flags", "tcpFlag"},
        {"the flags of another protocol",
         [](Filter& filter) {
             addProtocol(filter, 17, 17, [](ProtoField& field) { addFlags(field, 1, 1); });
         },
         "TCP flags", "tcpFlag"},
        {"the flags of an inner header",
         [](Filter& filter) {
             setInnerMatch(filter, 1, 0, [](Filter& inner) {
                 addProtocol(inner, 6, 6, [](ProtoField& field) { addFlags(field, 1, 1); });
             });
         },
         "TCP flags", "tcpFlag"},
        {"an inner source by longest match",
         [](Filter& filter) {
             setInnerMatch(filter, 1, 0,
                           [](Filter& inner) { inner.sourceLpmsIs(prefix("10.0.0.0/8")); });
         },
         "Source", "srcLpm"},
        {"fragments by offset without offsets",
         [](Filter& filter) { filter.fragmentIs(Orb::make<Fragment>(FragmentType::matchOffset)); },
         "Fragment", "fragment"},
        {"fragments of another type",
         [](Filter& filter) {
             const auto fragment = Orb::make<Fragment>(static_cast<FragmentType>(1));
             fragment->offsetIs(FragmentOffsetRange(1, 1));
             filter.fragmentIs(fragment);
         },
         "Fragment", "fragment"},
        {"the bare names of longest-match sets",
         [](Filter& filter) {
             filter.srcLpmPrefixSetsIs("FS1");
             filter.dstLpmPrefixSetsIs("FS1");
         },
         "FS1\n    ", "PrefixSets"},
        {"the source of a port field that has none",
         [](Filter& filter) {
             addProtocol(filter, 17, 17, [](ProtoField& field) {
                 addPorts(field, [](PortField& ports) { ports.dportFieldSetsIs("FS1"); });
             });
         },
         "Source port", "src"},
        {"values other than BGP",
         [](Filter& filter) {
             filter.neighborsProtocolIs(static_cast<NeighborsProtocol>(2));
             filter.l4ProtocolIs(static_cast<L4Protocol>(2));
         },
         "protocol", "Protocol"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto match = matchOf(row.fill);
        for (const U32 revision : {1, 2}) {
            EXPECT_THAT(criteria(match, textFormat, revision),
                        testing::Not(testing::HasSubstr(row.absentLine)));
            EXPECT_THAT(criteria(match, jsonFormat, revision),
                        testing::Not(testing::HasSubstr(row.absentKey)));
        }
    }
}

// "matches" is there for an empty filter and not there without one.
TEST(ViewsCriteria, tellsAnEmptyFilterFromNone) {
    const auto none = Orb::make<PolicyMap::ClassMapMatch>("r1", MatchOption::ipv4);
    EXPECT_EQ(criteria(none, textFormat, 2), "");
    EXPECT_EQ(criteria(none, jsonFormat, 2), "{}\n");
    EXPECT_EQ(criteria(matchOf([](Filter&) {}), jsonFormat, 2), inMatches(""));
}

TEST(ViewsCriteria, escapesNamesFromOutside) {
    const auto match = matchOf([](Filter& filter) { filter.srcPrefixSetsIs("a\x1b\"\xff"); });
    EXPECT_EQ(criteria(match, textFormat, 2),
              "   Source prefix: field-set a\\x1b\"\ufffd (field-set 'a\\x1b\"\ufffd' has not been "
              "defined)\n");
    EXPECT_EQ(criteria(match, jsonFormat, 2),
              inMatches(R"("srcExtPrefixSet":[{"name":"a\u001b\"�","undefined":true}],)"
                        R"("srcPrefixSets":["a\u001b\"�"])"));
}

TEST(CliMap, hasAKeyForEveryLabel) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"Source prefix", "srcPrefixes"},
        {"Source prefix (longest prefix match)", "srcLpmPrefixes"},
        {"Source prefix field-set", "srcPrefixSets"},
        {"Destination prefix", "destPrefixes"},
        {"Destination prefix (longest prefix match)", "destLpmPrefixes"},
        {"Destination prefix field-set", "destPrefixSets"},
        {"Protocol", "protocols"},
        {"Destination port", "destPorts"},
        {"Destination port field-set", "destL4PortFieldSets"},
        {"Source port", "srcPorts"},
        {"Source port field-set", "srcL4PortFieldSets"},
        {"ICMP type", "icmpTypes"},
        {"ICMP code", "icmpCodes"},
        {"IP length", "ipLengths"},
        {"Fragment: offset", "fragmentOffsets"},
        {"DSCP", "dscps"},
        {"ECN", "ecns"},
        {"TTL", "ttls"},
        {"TCP flags", "tcpFlags"},
        {"Set DSCP", "setDscp"},
        {"Set Traffic Class", "setTc"},
        {"802.1Q VLAN", "dot1qVlans"},
    };
    EXPECT_EQ(std::size(rows), 22U);
    for (const auto& [label, jsonName] : rows) EXPECT_EQ(jsonNameOf(label), jsonName) << label;
}

}  // namespace
}  // namespace TrafficPolicyCli
