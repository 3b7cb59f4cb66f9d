// The rules of a policy: which of them are shown, in summary and in full; what the views trace; and
// that printing a rule allocates nothing.
#include <gmock/gmock.h>

#include "AllocationCount.h"
#include "ViewsFixture.h"
#include "counters/NamedCounterView.h"

namespace TrafficPolicyCli {
namespace {

using std::string;
using testing::HasSubstr;

void dropEverything(PolicyMap::PolicyClassAction& actions) {
    addPlainAction(actions, PolicyMap::ActionType::drop);
}

TEST(ViewsRules, printsEachWithItsCriteriaAndActions) {
    RuleFixture fixture;
    fixture.addRule("r2", matchOf([](Filter& filter) { filter.trackedIs(true); }));
    fixture.addRule("r1\x1b", matchOf([](Filter&) {}, MatchOption::ipv6));
    fixture.addRule("r0", Orb::make<PolicyMap::ClassMapMatch>("r0", MatchOption::mac));
    fixture.addRule("m", matchOf([](Filter&) {}, MatchOption::mpls));
    fixture.addRule("x", matchOf([](Filter&) {}, static_cast<MatchOption>(9)));
    fixture.setActions("r2", dropEverything);
    fixture.setActions("r0", dropEverything);
    EXPECT_EQ(fixture.rules(textFormat),
              "      match r2 ipv4\n"
              "         Tracked: true\n"
              "         Actions: \n"
              "         Drop\n"
              "      match r1\\x1b ipv6\n"
              "      match r0 mac\n"
              "         Actions: \n"
              "         Drop\n"
              "      match m mpls\n"
              "      match x \n");
    EXPECT_EQ(fixture.rules(jsonFormat),
              R"({"rules":[{"ruleString":"r2","matchOption":"ipv4",)"
              R"("matches":{"matchTracked":true},"actions":{"drop":true}},)"
              R"({"ruleString":"r1\u001b","matchOption":"ipv6","matches":{}},)"
              R"({"ruleString":"r0","matchOption":"mac","actions":{"drop":true}},)"
              R"({"ruleString":"m","matchOption":"mpls","matches":{}},)"
              R"({"ruleString":"x","matchOption":"","matches":{}}]})"
              "\n");

    fixture.policyState->summaryIs(true);
    EXPECT_EQ(fixture.rules(textFormat),
              "      match r2 ipv4\n"
              "      match r1\\x1b ipv6\n"
              "      match r0 mac\n"
              "      match m mpls\n"
              "      match x \n");
    EXPECT_THAT(fixture.rules(jsonFormat),
                HasSubstr(R"([{"ruleString":"r2","matchOption":"ipv4"},{"ruleString":"r1)"));
}

// Rules by index: 0 has status on input, 1 on output, 2 on neither side, 3 on both.
TEST(ViewsRules, takesStatusFromInputThenFromOutput) {
    const auto status = [](const char* name) {
        return Orb::Ptr<const PolicyMap::ClassMapStatus>(
            Orb::make<PolicyMap::ClassMapStatus>(name));
    };
    const auto fill = [&](PolicyState& state) {
        for (U32 index = 0; index < 4; ++index) {
            state.classMapConfigIs(index, matchOf([](Filter&) {}));
        }
        state.classMapStatusInputIs(U32{0}, status("in0"));
        state.classMapStatusInputIs(U32{3}, status("both3"));
        state.summaryIs(true);
    };
    const auto onInterfaces = policyStateInterfaceFactory("p1");
    fill(*onInterfaces);
    onInterfaces->classMapStatusOutputIs(U32{1}, status("out1"));
    onInterfaces->classMapStatusOutputIs(U32{3}, status("both3"));
    EXPECT_EQ(RuleFixture(onInterfaces).rules(textFormat),
              "      match in0 ipv4\n      match out1 ipv4\n      match both3 ipv4\n");

    const auto onVlans = policyStateVAclFactory("p1");
    fill(*onVlans);
    EXPECT_EQ(RuleFixture(onVlans).rules(textFormat),
              "      match in0 ipv4\n      match both3 ipv4\n");
}

TEST(ViewsRules, indentsByTheBlanksPerLevel) {
    RuleFixture fixture(policyStateVAclFactory("p1"));
    fixture.policyState->indentCountPerLevelIs(1);
    fixture.addRule("r1", matchOf([](Filter& filter) {
                        addProtocol(filter, 17, 17, [](ProtoField& field) {
                            addPorts(field, [](PortField& ports) {
                                ports.dportIs(Classification::PortRange(53, 53));
                            });
                        });
                    }));
    fixture.setActions("r1", [](PolicyMap::PolicyClassAction& actions) {
        addAction<PolicyMap::RedirectNexthopAction>(actions,
                                                    [](PolicyMap::RedirectNexthopAction& action) {
                                                        action.recursiveIs(true);
                                                        action.nexthopsIs(address("10.0.0.1"));
                                                    });
    });
    EXPECT_EQ(fixture.rules(textFormat),
              "      match r1 ipv4\n"
              "       Protocol: udp\n"
              "        Destination port: 53\n"
              "       Actions: \n"
              "       Redirect next hop recursive 10.0.0.1\n"
              "       Active routing action:\n"
              "        No resolved next hop\n");
}

TEST(ViewsRules, listsDeclaredCounters) {
    const auto policyState = policyStateFactory("p1");
    const auto print = [&](U32 format) {
        return printed(format, 2, [&](textout::RendererV2& renderer) {
            renderNamedCounter(renderer, policyState, 0);
        });
    };
    EXPECT_EQ(print(textFormat), "");
    EXPECT_EQ(print(jsonFormat), "{}\n");
    for (const char* name : {"c2", "c10", "c\x1b"}) policyState->namedCounterIs(name, true);
    EXPECT_EQ(print(textFormat), "      counter c\\x1b c10 c2\n");
    EXPECT_EQ(print(jsonFormat), "{\"namedCounters\":[\"c\\u001b\",\"c10\",\"c2\"]}\n");
}

// A rule with a criterion of every kind that traces, one without a filter, one without actions.
TEST(ViewsRules, traces) {
    RuleFixture fixture;
    fixture.addRule("full", matchOf([](Filter& filter) {
                        addVlanTag(filter, [](VlanRangeSet& tag) {
                            tag.vlansIs(Classification::VlanRange(1, 1));
                        });
                        filter.sourcesIs(prefix("10.0.0.0/8"));
                        filter.dstPrefixSetsIs("FS1");
                        addProtocol(filter, 6, 6);
                        setInnerMatch(filter, 2, 0, [](Filter&) {});
                    }));
    fixture.addRule("bare", Orb::make<PolicyMap::ClassMapMatch>("bare", MatchOption::ipv4));
    fixture.setActions("full", [](PolicyMap::PolicyClassAction& actions) {
        addAction<PolicyMap::SetDscpAction>(actions);
    });
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
    fixture.rules(textFormat);
    const std::vector<string> lines = traces.lines();
    const struct {
        const char* level;
        const char* function;  // part of the signature that the line begins with; empty: none
        const char* end;
    } expected[] = {
        {"8", "ShowTrafficPolicyBase::renderRules(", ")"},
        {"8", "", "Rendering detailed view of the rule full"},
        {"8", "renderMatches(", " r1"},
        {"8", "renderVlanTag(", ")"},
        {"8", "renderNumericalRange(", "]"},
        {"8", "", "802.1Q VLAN --> dot1qVlans"},
        {"8", "renderPrefixSet(", ")"},
        {"8", "", "Source prefix --> srcPrefixes"},
        {"8", "renderPrefixFieldSet(", ")"},
        {"8", "", "Destination prefix --> destExtPrefixSet"},
        {"8", "renderPrefixFieldSet(", ")"},
        {"8", "", "Destination prefix --> destPrefixSets"},
        {"8", "renderProtocol(", ")"},
        {"8", "", "Protocol --> protocols"},
        {"8", "renderInnerMatch(", " af: 2 encapType: 0"},
        {"8", "ShowTrafficPolicyBase::renderActions(", " full 0"},
        {"8", "", "Set DSCP --> setDscp"},
        {"8", "", "Rendering detailed view of the rule bare"},
        {"8", "renderMatches(", " bare"},
        {"7", "renderMatches(", " structured filter not found"},
        {"8", "ShowTrafficPolicyBase::renderActions(", " bare 1"},
        {"8", "", "No actions mapped to bare"},
    };
    ASSERT_EQ(lines.size(), std::size(expected));
    auto line = lines.begin();
    for (const auto& row : expected) {
        const string level = string(row.level) + " ";
        if (*row.function == '\0') {
            EXPECT_EQ(*line++, level + row.end);
        } else {
            EXPECT_THAT(*line++, testing::AllOf(testing::StartsWith(level), HasSubstr(row.function),
                                                testing::EndsWith(row.end)));
        }
    }
}

// Two of everything that is sorted, and one of everything else.
void fillRule(Filter& filter) {
    using namespace Classification;
    for (const U32 i : {2, 1}) {
        const string name = "FS" + std::to_string(i);
        addVlanTag(filter, [&](VlanRangeSet& tag) { tag.vlansIs(VlanRange(i, i)); });
        addVlanTag(filter, [&](VlanRangeSet& tag) { tag.vlanFieldSetsIs(name); });
        filter.sourcesIs(prefix(std::to_string(i) + ".0.0.0/8"));
        filter.dstPrefixSetsIs(name);
        filter.lengthIs(PacketLengthRange(i, i));
        filter.dscpIs(DscpRange(i, i));
        filter.ecnIs(EcnRange(i, i));
        filter.ttlIs(TtlRange(i, i));
        addProtocol(filter, i, 6, [&](ProtoField& field) {
            addPorts(field, [&](PortField& ports) {
                ports.sportIs(PortRange(i, i));
                ports.sportIs(PortRange(1, 3));
                ports.dportFieldSetsIs(name);
            });
            field.icmpTypesIs(IcmpTypeRange(i, i));
            field.icmpTypesIs(IcmpTypeRange(1, 3));
        });
    }
    addProtocol(filter, 6, 6, [](ProtoField& field) {
        for (const U16 bit : {1, 2}) addFlags(field, bit, bit);
    });
    filter.fragmentIs(Orb::make<Fragment>(FragmentType::matchAll));
    setInnerMatch(filter, 1, 0, [](Filter& inner) { inner.sourcesIs(prefix("10.0.0.0/8")); });
}

void takeActions(PolicyMap::PolicyClassAction& actions) {
    using namespace PolicyMap;
    for (const ActionType type : {ActionType::log, ActionType::drop}) addPlainAction(actions, type);
    addAction<PoliceAction>(actions);
    addAction<SetDscpAction>(actions);
    addAction<RedirectNexthopAction>(actions, [](RedirectNexthopAction& action) {
        action.recursiveIs(true);
        for (const char* text : {"10.0.0.1", "2001:db8::1"}) {
            action.nexthopsIs(address(text));
            action.resolvedNexthopsIs(address(text));
        }
    });
    addAction<SetAggGroupAction>(actions, [](SetAggGroupAction& action) {
        for (const char* name : {"a", "b"}) action.groupsIs(name);
    });
}

TEST(ViewsRules, allocatesNothingPerRule) {
    const auto allocationsOf = [](const RuleFixture& fixture, U32 format) {
        fixture.rules(format);  // what is kept between lists grows here
        const U64 before = allocationCount();
        fixture.rules(format);
        return allocationCount() - before;
    };
    for (const U32 format : {textFormat, jsonFormat}) {
        RuleFixture one;
        RuleFixture many;
        for (U32 i = 0; i < 100; ++i) {
            const string name = "a rule with a name beyond the short ones " + std::to_string(i);
            if (i == 0) one.addRule(name, matchOf(fillRule));
            if (i == 0) one.setActions(name, takeActions);
            many.addRule(name, matchOf(fillRule));
            many.setActions(name, takeActions);
        }
        EXPECT_EQ(allocationsOf(many, format), allocationsOf(one, format));
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
