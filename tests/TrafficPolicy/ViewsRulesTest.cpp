// The rules of a policy: which of them are shown, in summary and in full; what the views trace; and
// that printing a rule allocates nothing.
#include "AllocationCount.h"
#include "ViewsFixture.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::json;
using SmallState::text;
using std::string;

TEST(ViewsRules, printsEachWithItsCriteriaAndActions) {
    GatheredRules rules(rulesState(
        R"({"name":"r2","priority":1,"match":{"ipv4":{"structuredFilter":{
                "protocols":{"17":{"portFields":[{"dport":[53]}]}}}}},
            "action":{"redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1"]}}},
           {"name":"r1","priority":2,"match":{"ipv6":{"structuredFilter":{}}}},
           {"name":"r0","priority":3,"action":{"drop":{}}},{"name":"m","priority":4})",
        R"({"r2":["ipv4"],"r1":["ipv6"],"r0":["mac"],"m":["mpls"]})"));
    rules.record->indentCountPerLevelIs(1);
    EXPECT_EQ(rules.print(text),
              "      match r2 ipv4\n"
              "       Protocol: udp\n"
              "        Destination port: 53\n"
              "       Actions: \n"
              "       Redirect next hop recursive 10.0.0.1\n"
              "       Active routing action:\n"
              "        No resolved next hop\n"
              "      match r1 ipv6\n"
              "      match r0 mac\n"
              "       Actions: \n"
              "       Drop\n"
              "      match m mpls\n");
    EXPECT_THAT(
        rules.print(json),
        testing::EndsWith(R"({"ruleString":"r1","matchOption":"ipv6","matches":{}},)"
                          R"({"ruleString":"r0","matchOption":"mac","actions":{"drop":true}},)"
                          R"({"ruleString":"m","matchOption":"mpls"}]})"
                          "\n"));
    // Of a rule the status tells the name.
    rules.record->summaryIs(true);
    rules.record->classMapStatusInputIs(0, Orb::Ptr<const PolicyMap::ClassMapStatus>(
                                               Orb::make<PolicyMap::ClassMapStatus>("a\x1b")));
    EXPECT_EQ(rules.print(text),
              "      match a\\x1b ipv4\n"
              "      match r1 ipv6\n"
              "      match r0 mac\n"
              "      match m mpls\n");
    EXPECT_THAT(rules.print(json),
                testing::StartsWith(R"({"rules":[{"ruleString":"a\u001b","matchOption":"ipv4"},)"));
}

// A rule with a criterion of every kind that traces, and one without a filter and without actions.
TEST(ViewsRules, traces) {
    const GatheredRules rules(rulesState(
        R"({"name":"full","priority":1,"match":{"ipv4":{"structuredFilter":{
                "vlanTags":[{"vlans":[1]}],"sources":["10.0.0.0/8"],"dstPrefixSets":["FS1"],
                "protocols":{"6":{}},
                "innerMatch":{"encapType":"gtpv1","af":"ipv6","structuredFilter":{}}}}},
            "action":{"setDscp":{"dscp":1}}},
           {"name":"bare","priority":2})",
        R"({"full":["ipv4"],"bare":["ipv4"]})"));
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
    rules.print(text);
    const struct {
        const char* begin;  // of the line, or of the signature with which it begins
        const char* end;
    } expected[] = {
        {"ShowTrafficPolicyBase::renderRules(", ")"},
        {"8 Rendering detailed view of the rule full", ""},
        {"renderMatches(", " full"},
        {"renderVlanTag(", ")"},
        {"renderNumericalRange(", "]"},
        {"8 802.1Q VLAN --> dot1qVlans", ""},
        {"renderPrefixSet(", ")"},
        {"8 Source prefix --> srcPrefixes", ""},
        {"renderPrefixFieldSet(", ")"},
        {"8 Destination prefix --> destExtPrefixSet", ""},
        {"renderPrefixFieldSet(", ")"},
        {"8 Destination prefix --> destPrefixSets", ""},
        {"renderProtocol(", ")"},
        {"8 Protocol --> protocols", ""},
        {"renderInnerMatch(", " af: 2 encapType: 0"},
        {"ShowTrafficPolicyBase::renderActions(", " full 0"},
        {"8 Set DSCP --> setDscp", ""},
        {"8 Rendering detailed view of the rule bare", ""},
        {"renderMatches(", " bare"},
        {"renderMatches(", " structured filter not found"},
        {"ShowTrafficPolicyBase::renderActions(", " bare 1"},
        {"8 No actions mapped to bare", ""},
    };
    const std::vector<string> lines = traces.lines();
    ASSERT_EQ(lines.size(), std::size(expected));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const string begin = expected[i].begin;
        const string end = expected[i].end;
        if (end.empty()) {
            EXPECT_EQ(lines[i], begin);
        } else {
            EXPECT_EQ(lines[i].substr(0, 2), end.ends_with("not found") ? "7 " : "8 ");
            EXPECT_THAT(lines[i],
                        testing::AllOf(testing::HasSubstr(begin), testing::EndsWith(end)));
        }
    }
}

// A rule with two of everything that is sorted, and one of everything else.
string largeRule(U32 number) {
    return R"({"name":"a rule with a name beyond the short ones )" + std::to_string(number) +
           R"(","priority":)" + std::to_string(number) + R"(,"match":{"ipv4":{"structuredFilter":{
        "vlanTags":[{"vlans":[2,1]},{"vlans":[1]},{"vlanFieldSets":["F2","F1"]},{"vlanFieldSets":["F1"]}],
        "sources":["2.0.0.0/8","1.0.0.0/8"],"dstPrefixSets":["F2","F1"],
        "protocols":{"6":{"portFields":[{"sport":[2,1,"1-3"],"dportFieldSets":["F2","F1"]},{"dport":[1]}],
            "icmpTypes":[{"type":2},{"type":1},{"type":"1-3"}],
            "tcpFlags":[{"mask":2,"flag":2},{"mask":1,"flag":1}]},"1-6":{},"2-6":{}},
        "length":[2,1],"fragment":{"type":"matchAll"},"dscp":[2,1],"ecn":[2,1],"ttl":[2,1],
        "innerMatch":{"encapType":"gtpv1","af":"ipv4","structuredFilter":{"sources":["1.0.0.0/8"]}}}}},
        "action":{"log":{},"drop":{},"setDscp":{"dscp":1},"setAggGroup":{"groups":["a","b"]},
            "police":{"rate":1,"rateUnit":"bps","burstSize":2,"burstUnit":"bytes"},
            "redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1","2001:db8::1"],
                "resolvedNexthops":["10.0.0.1","2001:db8::1"]}}})";
}

TEST(ViewsRules, allocatesNothingPerRule) {
    const auto allocationsOf = [](U32 count, U32 format) {
        string config;
        string taken;
        for (U32 i = 0; i < count; ++i) {
            config += (i == 0 ? "" : ",") + largeRule(i);
            taken += (i == 0 ? "\"" : ",\"") + string("a rule with a name beyond the short ones ") +
                     std::to_string(i) + R"(":["ipv4"])";
        }
        const GatheredRules rules(rulesState(config, "{" + taken + "}"));
        rules.print(format);  // what is kept between lists grows here
        const U64 before = allocationCount();
        rules.print(format);
        return allocationCount() - before;
    };
    for (const U32 format : {text, json}) {
        EXPECT_EQ(allocationsOf(100, format), allocationsOf(1, format));
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
