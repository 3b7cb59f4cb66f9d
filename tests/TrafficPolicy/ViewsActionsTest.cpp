// Every action of a rule, in text and in JSON, plain and in detail.
#include <gmock/gmock.h>

#include "ViewsFixture.h"

namespace TrafficPolicyCli {
namespace {

using namespace PolicyMap;
using std::string;

struct Row {
    string name;
    TakeActions take;
    string text;             // below "Actions: "
    string json;             // what "actions" holds, whether detail is set or not
    string detailText = {};  // empty: the same
};

TakeActions nexthops(bool recursive, std::initializer_list<const char*> addresses,
                     const string& vrfName = {}, std::initializer_list<const char*> resolved = {}) {
    return [=, addresses = std::vector<string>(addresses.begin(), addresses.end()),
            resolved = std::vector<string>(resolved.begin(), resolved.end())](auto& actions) {
        addAction<RedirectNexthopAction>(actions, [&](RedirectNexthopAction& action) {
            action.recursiveIs(recursive);
            action.vrfNameIs(vrfName);
            for (const string& text : addresses) action.nexthopsIs(address(text));
            for (const string& text : resolved) action.resolvedNexthopsIs(address(text));
        });
    };
}

TakeActions groups(std::initializer_list<const char*> names) {
    return [names = std::vector<string>(names.begin(), names.end())](auto& actions) {
        addAction<RedirectNexthopGroupAction>(actions, [&](RedirectNexthopGroupAction& action) {
            for (const string& name : names) action.nexthopGroupsIs(name);
        });
    };
}

TakeActions tools(std::initializer_list<const char*> aggregationGroups,
                  std::initializer_list<const char*> interfaces) {
    return [groups = std::vector<string>(aggregationGroups.begin(), aggregationGroups.end()),
            interfaces = std::vector<string>(interfaces.begin(), interfaces.end())](auto& actions) {
        addAction<SetAggGroupAction>(actions, [&](SetAggGroupAction& action) {
            for (const string& name : groups) action.groupsIs(name);
            for (const string& name : interfaces) action.interfacesIs(name);
        });
    };
}

TakeActions identityTag(U16 tag, U16 innerTag) {
    return [=](PolicyClassAction& actions) {
        addAction<SetIdentityTagAction>(actions, [&](SetIdentityTagAction& action) {
            action.idTagIs(tag);
            action.innerIdTagIs(innerTag);
        });
    };
}

TakeActions police(U64 rate, RateUnit rateUnit, U64 burst, BurstUnit burstUnit) {
    return [=](PolicyClassAction& actions) {
        addAction<PoliceAction>(actions, [&](PoliceAction& action) {
            action.rateIs(rate);
            action.rateUnitIs(rateUnit);
            action.burstSizeIs(burst);
            action.burstUnitIs(burstUnit);
        });
    };
}

TakeActions goTo(const string& name) {
    return [=](PolicyClassAction& actions) {
        addAction<GotoAction>(actions, [&](GotoAction& action) { action.matchNameIs(name); });
    };
}

TakeActions count(const string& name) {
    return [=](PolicyClassAction& actions) {
        addAction<CountAction>(actions, [&](CountAction& action) { action.counterNameIs(name); });
    };
}

TakeActions plain(ActionType type) {
    return [=](PolicyClassAction& actions) { addPlainAction(actions, type); };
}

// In the order of the lines of a rule.
const std::vector<Row> rows = {
    {"drop", plain(ActionType::drop), "   Drop\n", R"("drop":true)"},
    {"goto a rule", goTo("r9"), "   Goto match r9\n", R"("goto":{"matchName":"r9"})"},
    {"goto the next rule", goTo(""), "   Goto next\n", R"("goto":{"nextMatch":true})"},
    {"redirect to next hops", nexthops(false, {"2001:db8::1", "10.0.0.2", "10.0.0.1"}),
     "   Redirect next hop 10.0.0.1, 10.0.0.2, 2001:db8::1\n",
     R"("redirectNexthop":{"recursive":false,"nexthops":["10.0.0.1","10.0.0.2","2001:db8::1"]})"},
    {"redirect to more than three next hops of a VRF",
     nexthops(false, {"10.0.0.5", "10.0.0.4", "10.0.0.3", "10.0.0.2", "10.0.0.1"}, "red"),
     "   Redirect next hop 10.0.0.1, 10.0.0.2, 10.0.0.3, ... vrf red\n",
     R"("redirectNexthop":{"recursive":false,"nexthops":["10.0.0.1","10.0.0.2","10.0.0.3",)"
     R"("10.0.0.4","10.0.0.5"],"vrfName":"red"})",
     "   Redirect next hop 10.0.0.1, 10.0.0.2, 10.0.0.3, 10.0.0.4, 10.0.0.5 vrf red\n"},
    {"redirect to a recursive next hop",
     nexthops(true, {"10.0.0.1"}, "red",
              {"10.1.0.4", "10.1.0.3", "10.1.0.2", "10.1.0.1", "2001:db8::1"}),
     "   Redirect next hop recursive 10.0.0.1 vrf red\n"
     "   Active routing action:\n"
     "      Route via next hop 10.1.0.1\n"
     "      Route via next hop 10.1.0.2\n"
     "      Route via next hop 10.1.0.3\n"
     "      Route via next hop 10.1.0.4\n"
     "      Route via next hop 2001:db8::1\n",
     R"("redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1"],"vrfName":"red",)"
     R"("resolvedNexthops":{"nexthops":["10.1.0.1","10.1.0.2","10.1.0.3","10.1.0.4",)"
     R"("2001:db8::1"]}})"},
    {"redirect to a recursive next hop that is not resolved", nexthops(true, {"10.0.0.1"}),
     "   Redirect next hop recursive 10.0.0.1\n"
     "   Active routing action:\n"
     "      No resolved next hop\n",
     R"("redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1"],)"
     R"("resolvedNexthops":{"nexthops":[]}})"},
    {"redirect to next-hop groups", groups({"g2", "g10", "g1"}),
     "   Redirect Next-hop Group g1,g10,g2\n", R"("redirectNexthopGroups":["g1","g10","g2"])"},
    {"redirect to more than three next-hop groups", groups({"g5", "g4", "g3", "g2", "g1"}),
     "   Redirect Next-hop Group g1,g2,g3,...\n",
     R"("redirectNexthopGroups":["g1","g2","g3","g4","g5"])",
     "   Redirect Next-hop Group g1,g2,g3,g4,g5\n"},
    {"redirect to aggregation groups", tools({"b", "a"}, {}),
     "   Redirect Aggregation Group a, b\n",
     R"("tapAggRedirect":{"groups":["a","b"],"interfaces":[]})"},
    {"redirect to tool interfaces", tools({}, {"Ethernet2", "Ethernet10"}),
     "   Redirect Tool Interface Ethernet10, Ethernet2\n",
     R"("tapAggRedirect":{"groups":[],"interfaces":["Ethernet10","Ethernet2"]})"},
    {"redirect to many of both", tools({"d", "c", "b", "a"}, {"E4", "E3", "E2", "E1"}),
     "   Redirect Aggregation Group a, b, c, ...\n"
     "   Redirect Tool Interface E1, E2, E3, ...\n",
     R"("tapAggRedirect":{"groups":["a","b","c","d"],"interfaces":["E1","E2","E3","E4"]})",
     "   Redirect Aggregation Group a, b, c, d\n"
     "   Redirect Tool Interface E1, E2, E3, E4\n"},
    {"set VRF",
     [](auto& actions) {
         addAction<SetVrfAction>(actions, [](SetVrfAction& action) { action.vrfNameIs("blue"); });
     },
     "   Set VRF blue\n", R"("setVrf":"blue")"},
    {"set DSCP, never by name",
     [](auto& actions) {
         addAction<SetDscpAction>(actions, [](SetDscpAction& action) { action.dscpIs(U8{46}); });
     },
     "   Set DSCP 46\n", R"("setDscp":46)"},
    {"set traffic class",
     [](auto& actions) {
         addAction<SetTcAction>(actions, [](SetTcAction& action) { action.tcIs(U8{7}); });
     },
     "   Set Traffic Class 7\n", R"("setTc":7)"},
    {"strip the outer tag",
     [](auto& actions) {
         addAction<StripHeaderBytesAction>(
             actions, [](StripHeaderBytesAction& action) { action.stripHeaderBytesIs("100 200"); });
     },
     "   Remove 802.1Q outer tag 100 200\n", R"("stripHeaderBytes":"100 200")"},
    {"set one identity tag", identityTag(4094, 0), "   Set Dot1Q identity tag 4094\n",
     R"("setIdentityTag":{"idTag":4094,"innerIdTag":0})"},
    {"set two identity tags", identityTag(10, 20),
     "   Set Dot1Q identity tag 10 inner identity tag 20\n",
     R"("setIdentityTag":{"idTag":10,"innerIdTag":20})"},
    {"police", police(~U64{0}, RateUnit::pps, 5, BurstUnit::packets),
     "   Police rate 18446744073709551615 pps burst-size 5 packets\n",
     R"("police":{"rate":18446744073709551615,"unit":"pps","burstSize":5,"burstUnit":"packets"})"},
    {"log", plain(ActionType::log), "   Log\n", R"("log":true)"},
    {"count, which the kind prints", count("c1"), "   Count 7 of p1\n", R"("count":7)"},
    {"count, of which the kind prints nothing", count("nothing"), "", ""},
};

void expectPrinted(const Row& row) {
    SCOPED_TRACE(row.name);
    RuleFixture fixture;
    fixture.setActions("r1", row.take);
    for (const bool detail : {false, true}) {
        fixture.policyState->detailIs(detail);
        const string& lines = detail && !row.detailText.empty() ? row.detailText : row.text;
        EXPECT_EQ(fixture.actions(textFormat), "   Actions: \n" + lines);
        EXPECT_EQ(fixture.actions(jsonFormat), R"({"actions":{)" + row.json + "}}\n");
    }
}

TEST(ViewsActions, printsEachAlone) {
    for (const Row& row : rows) expectPrinted(row);
}

// One action per type; the last row of a type that is inserted again is the one that stays.
TEST(ViewsActions, printsThemAscendingByType) {
    std::vector<Row> chosen;
    Row all{"all", {}, "", ""};
    for (const char* const name :
         {"drop", "goto a rule", "redirect to next hops", "redirect to next-hop groups",
          "redirect to aggregation groups", "set VRF", "set DSCP, never by name",
          "set traffic class", "strip the outer tag", "set two identity tags", "police", "log",
          "count, which the kind prints"}) {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](const Row& candidate) { return candidate.name == name; });
        ASSERT_NE(row, rows.end()) << name;
        all.text += row->text;
        all.json += (all.json.empty() ? "" : ",") + row->json;
        all.take = [before = all.take, take = row->take](PolicyClassAction& actions) {
            take(actions);
            if (before) before(actions);
        };
    }
    expectPrinted(all);
}

TEST(ViewsActions, namesEveryUnit) {
    const std::pair<const char*, const char*> units[] = {
        {"bps", "bytes"}, {"kbps", "kbytes"}, {"mbps", "mbytes"}, {"gbps", "packets"}};
    U8 value = 0;
    for (const auto& [rate, burst] : units) {
        const auto take = police(1, static_cast<RateUnit>(value), 2, static_cast<BurstUnit>(value));
        ++value;
        expectPrinted({rate, take,
                       "   Police rate 1 " + string(rate) + " burst-size 2 " + burst + "\n",
                       R"("police":{"rate":1,"unit":")" + string(rate) +
                           R"(","burstSize":2,"burstUnit":")" + burst + R"("})"});
    }
}

TEST(ViewsActions, printsNothingWithoutAnActionSet) {
    RuleFixture absent;
    RuleFixture empty;
    empty.setActions("r1", [](PolicyClassAction&) {});
    RuleFixture noVersion;
    noVersion.policyState->policyMapConfigIs(Orb::make<PolicyMapConfig>("p1"));
    RuleFixture noConfiguration;
    noConfiguration.policyState->policyMapConfigIs(nullptr);
    for (const RuleFixture* const fixture : {&absent, &empty, &noVersion, &noConfiguration}) {
        EXPECT_EQ(fixture->actions(textFormat), "");
        EXPECT_EQ(fixture->actions(jsonFormat), "{}\n");
    }
}

TEST(ViewsActions, escapesNamesFromOutside) {
    const string bad = "a\x1b\n";
    const std::pair<string, TakeActions> actions[] = {
        {"Goto match ", goTo(bad)},
        {"Redirect Next-hop Group ", groups({bad.c_str()})},
        {"Redirect Aggregation Group ", tools({bad.c_str()}, {})},
        {"Redirect Tool Interface ", tools({}, {bad.c_str()})},
        {"Redirect next hop 10.0.0.1 vrf ", nexthops(false, {"10.0.0.1"}, bad)},
        {"Set VRF ",
         [&](auto& set) {
             addAction<SetVrfAction>(set, [&](SetVrfAction& action) { action.vrfNameIs(bad); });
         }},
        {"Remove 802.1Q outer tag ",
         [&](auto& set) {
             addAction<StripHeaderBytesAction>(
                 set, [&](StripHeaderBytesAction& action) { action.stripHeaderBytesIs(bad); });
         }},
    };
    for (const auto& [label, take] : actions) {
        RuleFixture fixture;
        fixture.setActions("r1", take);
        EXPECT_EQ(fixture.actions(textFormat), "   Actions: \n   " + label + "a\\x1b\\x0a\n");
        EXPECT_THAT(fixture.actions(jsonFormat), testing::HasSubstr("\"a\\u001b\\n\""));
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
