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
    const char* const expected[] = {
        "8 Rendering detailed view of the rule full",
        "8 renderMatches(...) full",
        "8 renderVlanTag(...)",
        "8 renderNumericalRange(...]",
        "8 802.1Q VLAN --> dot1qVlans",
        "8 renderPrefixSet(...)",
        "8 Source prefix --> srcPrefixes",
        "8 renderPrefixFieldSet(...)",
        "8 Destination prefix --> destExtPrefixSet",
        "8 renderPrefixFieldSet(...)",
        "8 Destination prefix --> destPrefixSets",
        "8 renderProtocol(...)",
        "8 Protocol --> protocols",
        "8 renderInnerMatch(... af: 2 encapType: 0",
        "8 Set DSCP --> setDscp",
        "8 Rendering detailed view of the rule bare",
        "8 renderMatches(... bare",
        "7 renderMatches(... structured filter not found",
        "8 No actions mapped to bare",
    };
    std::vector<testing::Matcher<string>> lines;
    for (const char* const line : expected) lines.push_back(traceLine(line));
    EXPECT_THAT(traces.lines(), testing::ElementsAreArray(lines));
}

TEST(ViewsRules, allocatesNothingPerRule) {
    const auto allocationsOf = [](U32 count, U32 format) {
        string config;
        string taken;
        for (U32 i = 0; i < count; ++i) {
            const string name =
                R"("a rule with a name beyond the short ones )" + std::to_string(i) + "\"";
            config += (i == 0 ? R"({"name":)" : R"(,{"name":)") + name + R"(,"priority":)" +
                      std::to_string(i) + R"(,"match":{"ipv4":{"structuredFilter":{)" +
                      (i % 2 == 0 ? everyCriterion : everyProtocolDetail) + R"(}}},"action":{)" +
                      everyAction + "}}";
            taken += (i == 0 ? "" : ",") + name + R"(:["ipv4"])";
        }
        const GatheredRules rules(rulesState(config, "{" + taken + "}"));
        rules.print(format);  // what is kept between lists grows here
        const U64 before = allocationCount();
        rules.print(format);
        return allocationCount() - before;
    };
    for (const U32 format : {text, json}) {
        EXPECT_EQ(allocationsOf(100, format), allocationsOf(2, format));
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
