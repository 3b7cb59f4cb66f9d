// The match criteria of a rule but its protocols: the filter, and its lines and JSON. What stands
// in descending order in the filter must come out ascending.
#include "ViewsFixture.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::json;
using SmallState::text;
using std::string;

TEST(ViewsCriteria, printsThemInTheirOrder) {
    expectCriteria({
        {everyCriterion,
         "802.1Q VLAN: 10\n"
         "             100\n"
         "802.1Q VLAN: 10\n"
         "             300-400\n"
         "802.1Q VLAN: field-set FS1\n"
         "802.1Q VLAN: field-set FS2 (field-set 'FS2' has not been defined)\n"
         "             field-set FS9 (field-set 'FS9' has not been defined)\n"
         "Source prefix: 9.0.0.0/32\n"
         "               10.0.0.0/8\n"
         "               10.0.0.0/16\n"
         "               10.1.0.0/16\n"
         "Destination prefix: 10.0.0.0/8\n"
         "                    10.1.0.0/16\n"
         "Protocol: tcp\n"
         "IP length: 0-40\n"
         "           64\n"
         "           64-128\n"
         "Fragment: all\n"
         "DSCP: 0-8\n"
         "      af11\n"
         "      11\n"
         "      ef\n"
         "ECN: 1-3\n"
         "TTL: 255\n"
         "protocol neighbors bgp\n"
         "protocol bgp\n"
         "IP options: all\n"
         "Tracked: true\n"
         "Encapsulation GTPv1 inner header IPv4\n",
         R"("dot1qVlanTags":[)"
         R"({"dot1qVlans":[{"low":10,"high":10},{"low":100,"high":100}]},)"
         R"({"dot1qVlans":[{"low":10,"high":10},{"low":300,"high":400}]},)"
         R"({"dot1qVlanFieldSets":[{"name":"FS1","numVlans":4094}]},)"
         R"({"dot1qVlanFieldSets":[{"name":"FS2","undefined":true},{"name":"FS9","undefined":true}]}],)"
         R"("srcPrefixes":["9.0.0.0/32","10.0.0.0/8","10.0.0.0/16","10.1.0.0/16"],)"
         R"("destPrefixes":["10.0.0.0/8","10.1.0.0/16"],"protocols":[{"protocolRange":{"low":6,"high":6}}],)"
         R"("ipLengths":[{"low":0,"high":40},{"low":64,"high":64},{"low":64,"high":128}],)"
         R"("fragment":{"matchAllFragments":true},"dscps":[{"low":0,"high":8},)"
         R"({"low":10,"high":10},{"low":11,"high":11},{"low":46,"high":46}],)"
         R"("ecns":[{"low":1,"high":3}],"ttls":[{"low":255,"high":255}],"neighborProtocol":"bgp",)"
         R"("matchL4Protocol":"bgp","matchIpOptions":true,"matchTracked":true,)"
         R"("encapsulation":{"encapsulationType":"gtpv1"},"innerMatch":{"addressFamily":"ipv4"})"},
        {"", "", ""},
    });
}

TEST(ViewsCriteria, printsTheOtherForms) {
    const string undefined9 = " field-set FS9 (field-set 'FS9' has not been defined)\n";
    expectCriteria({
        {R"("srcPrefixSets":["FS9","FS10","FS1"],"dstPrefixSets":["FS9"],
            "fragment":{"type":"matchOffset","offset":["10-8191",1]})",
         "Source prefix: field-set FS1\n"
         "               field-set FS10 (field-set 'FS10' has not been defined)\n"
         "              " +
             undefined9 + "Destination prefix:" + undefined9 +
             "Fragment: offset: 1\n"
             "                  10-8191\n",
         R"("srcExtPrefixSet":[{"name":"FS1","numPrefixes":2,"numExceptPrefixes":1},)"
         R"({"name":"FS10","undefined":true},{"name":"FS9","undefined":true}],)"
         R"("srcPrefixSets":["FS1","FS10","FS9"],)"
         R"("destExtPrefixSet":[{"name":"FS9","undefined":true}],"destPrefixSets":["FS9"],)"
         R"("fragment":{"fragmentOffsets":[{"low":1,"high":1},{"low":10,"high":8191}]})"},
        {R"("sources":["2001:db8::/32","10.0.0.0/8","::/0"])",
         "Source prefix: 10.0.0.0/8\n"
         "               ::/0\n"
         "               2001:db8::/32\n",
         R"("srcPrefixes":["10.0.0.0/8","::/0","2001:db8::/32"])", "", "mac"},
    });
}

TEST(ViewsCriteria, addsSizesOfFieldSetsInDetail) {
    const string prefixSets = R"("srcPrefixSets":["FS1","FS6"],"dstLpmPrefixSets":["FS1"])";
    const string lpm = "Destination prefix (longest prefix match): field-set FS1 ";
    const string text4 =
        "Source prefix: field-set FS1 (Prefixes: 2, Except prefixes: 1)\n"
        "               field-set FS6 (field-set 'FS6' has not been defined)\n" +
        lpm + "(Prefixes: 2, Except prefixes: 1)\n";
    const struct {
        string option, filter, lines;
    } rows[] = {
        {"ipv4", prefixSets, text4},
        {"mac", prefixSets, text4},
        {"ipv6", prefixSets,
         "Source prefix: field-set FS1 (Prefixes: 1, Except prefixes: 0)\n"
         "               field-set FS6 (Prefixes: 0, Except prefixes: 1)\n" +
             lpm + "(Prefixes: 1, Except prefixes: 0)\n"},
        {"ipv4",
         R"("vlanTags":[{"vlanFieldSets":["FS1"]}],
            "protocols":{"17":{"portFields":[{"dportFieldSets":["FS1"]}]}})",
         "802.1Q VLAN: field-set FS1 (VLANs: 4094)\n"
         "Protocol: udp\n"
         "   Destination port: field-set FS1 (Ports: 65536)\n"},
    };
    for (const auto& row : rows) {
        const auto state = criteriaState(row.filter, row.option);
        EXPECT_EQ(shownRule(state, text, 2, true), row.lines) << row.option;
    }
}

TEST(ViewsCriteria, leavesOut) {
    const string flags = R"({"tcpFlags":[{"mask":1,"flag":1}]})";
    const auto inner = [](const string& filter) {
        return R"("innerMatch":{"encapType":"gtpv1","af":"ipv4","structuredFilter":{)" + filter +
               "}}";
    };
    const struct {
        string filter;
        const char *absentLine, *absentKey;
    } rows[] = {
        {R"("protocols":{"6-17":)" + flags + "}", "TCP flags", "tcpFlag"},
        {R"("protocols":{"17":)" + flags + "}", "TCP flags", "tcpFlag"},
        {inner(R"("protocols":{"6":)" + flags + "}"), "TCP flags", "tcpFlag"},
        {inner(R"("sourceLpms":["10.0.0.0/8"])"), "Source", "srcLpm"},
        {inner(R"("dscp":[1],"tracked":true,"vlanTags":[{"vlans":[1]}])"), ": ", "racked"},
        {R"("fragment":{"type":"matchOffset"})", "Fragment", "fragment"},
        {R"("srcLpmPrefixSets":["FS1"],"dstLpmPrefixSets":["FS1"])", "FS1\n   ", "PrefixSets"},
        {R"("protocols":{"17":{"portFields":[{"dportFieldSets":["FS1"]}]}})", "Source port", "src"},
        {R"("neighborsProtocol":"none","l4Protocol":"none")", "protocol", "Protocol"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.filter);
        const auto state = criteriaState(row.filter);
        for (const U32 revision : {1, 2}) {
            EXPECT_THAT(shownRule(state, text, revision),
                        testing::Not(testing::HasSubstr(row.absentLine)));
            EXPECT_THAT(shownRule(state, json, revision),
                        testing::Not(testing::HasSubstr(row.absentKey)));
        }
    }
}

TEST(ViewsCriteria, escapesNames) {
    const auto fill = [](Filter& filter) { filter.srcPrefixSetsIs("a\x1b\"\xff"); };
    EXPECT_EQ(criteriaByHand(fill, text),
              "   Source prefix: field-set a\\x1b\"\ufffd (field-set 'a\\x1b\"\ufffd' has not been "
              "defined)\n");
    EXPECT_THAT(criteriaByHand(fill, json),
                testing::HasSubstr(R"("srcPrefixSets":["a\u001b\"�"])"));
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
    for (const auto& [label, jsonName] : rows) EXPECT_EQ(jsonNameOf(label), jsonName) << label;
}

}  // namespace
}  // namespace TrafficPolicyCli
