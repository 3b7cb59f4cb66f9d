// Every action of a rule but count, in text and in JSON, plain and in detail.
#include "ViewsFixture.h"
#include "WellFormed.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::json;
using SmallState::text;
using std::string;

struct Row {
    string action;
    string lines;            // below "Actions: "
    string members;          // what "actions" holds, whether detail is set or not
    string linesOfDetail{};  // empty: the same
};

void expectActions(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.action);
        const auto state = ruleState("", row.action);
        for (const bool detail : {false, true}) {
            const bool differs = detail && !row.linesOfDetail.empty();
            EXPECT_EQ(shownRule(state, text, 2, detail),
                      "Actions: \n" + (differs ? row.linesOfDetail : row.lines));
            EXPECT_EQ(shownRule(state, json, 2, detail), "\"actions\":{" + row.members + "}");
        }
    }
}

TEST(ViewsActions, printsThemAscendingByType) {
    expectActions(
        {{everyAction,
          "Drop\n"
          "Goto match r9\n"
          "Redirect next hop 10.0.0.1, 10.0.0.2, 2001:db8::1\n"
          "Redirect Next-hop Group g1,g10,g2\n"
          "Redirect Aggregation Group a, b\n"
          "Redirect Tool Interface c, d\n"
          "Set VRF blue\n"
          "Set DSCP 46\n"
          "Set Traffic Class 7\n"
          "Remove 802.1Q outer tag 100 200\n"
          "Set Dot1Q identity tag 10 inner identity tag 20\n"
          "Police rate 18446744073709551615 pps burst-size 5 packets\n"
          "Log\n",
          R"("drop":true,"goto":{"matchName":"r9"},"redirectNexthop":{"recursive":false,)"
          R"("nexthops":["10.0.0.1","10.0.0.2","2001:db8::1"]},)"
          R"("redirectNexthopGroups":["g1","g10","g2"],)"
          R"("tapAggRedirect":{"groups":["a","b"],"interfaces":["c","d"]},"setVrf":"blue",)"
          R"("setDscp":46,"setTc":7,"stripHeaderBytes":"100 200",)"
          R"("setIdentityTag":{"idTag":10,"innerIdTag":20},)"
          R"("police":{"rate":18446744073709551615,"unit":"pps","burstSize":5,)"
          R"("burstUnit":"packets"},"log":true)"}});
}

TEST(ViewsActions, printsTheOtherForms) {
    expectActions({
        {R"("redirectNexthop":{"vrfName":"red",
            "nexthops":["10.0.0.5","10.0.0.4","10.0.0.3","10.0.0.2","10.0.0.1"]})",
         "Redirect next hop 10.0.0.1, 10.0.0.2, 10.0.0.3, ... vrf red\n",
         R"("redirectNexthop":{"recursive":false,"nexthops":["10.0.0.1","10.0.0.2","10.0.0.3",)"
         R"("10.0.0.4","10.0.0.5"],"vrfName":"red"})",
         "Redirect next hop 10.0.0.1, 10.0.0.2, 10.0.0.3, 10.0.0.4, 10.0.0.5 vrf red\n"},
        {R"("redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1"],"vrfName":"red",
            "resolvedNexthops":["2001:db8::1","10.1.0.4","10.1.0.3","10.1.0.2"]})",
         "Redirect next hop recursive 10.0.0.1 vrf red\n"
         "Active routing action:\n"
         "   Route via next hop 10.1.0.2\n"
         "   Route via next hop 10.1.0.3\n"
         "   Route via next hop 10.1.0.4\n"
         "   Route via next hop 2001:db8::1\n",
         R"("redirectNexthop":{"recursive":true,"nexthops":["10.0.0.1"],"vrfName":"red",)"
         R"("resolvedNexthops":{"nexthops":["10.1.0.2","10.1.0.3","10.1.0.4",)"
         R"("2001:db8::1"]}})"},
    });
}

TEST(ViewsActions, printsNothingWithoutAnActionSet) {
    GatheredRules rules(ruleState(""));
    const auto noVersion = Orb::make<PolicyMap::PolicyMapConfig>("P");
    for (const auto& config : {noVersion, Orb::Ptr<PolicyMap::PolicyMapConfig>()}) {
        rules.record->policyMapConfigIs(config);
        EXPECT_EQ(rules.print(text), "      match r1 ipv4\n");
    }
}

// Makes an action of the record's type and adds it.
template <class Record, class Fill>
void add(PolicyMap::PolicyClassAction& actions, const Fill& fill) {
    const auto action = Orb::make<Record>();
    fill(*action);
    actions.actionIs(action->actionType(), Orb::Ptr<const PolicyMap::Action>(action));
}

TEST(ViewsActions, escapesNames) {
    using namespace PolicyMap;
    const string bad = "\x1b\n";
    const auto actions = Orb::make<PolicyClassAction>("r1");
    add<GotoAction>(*actions, [&](auto& action) { action.matchNameIs(bad); });
    add<RedirectNexthopAction>(*actions, [&](auto& action) { action.vrfNameIs(bad); });
    add<RedirectNexthopGroupAction>(*actions, [&](auto& action) { action.nexthopGroupsIs(bad); });
    add<SetAggGroupAction>(*actions, [&](auto& action) {
        action.groupsIs(bad);
        action.interfacesIs(bad);
    });
    add<SetVrfAction>(*actions, [&](auto& action) { action.vrfNameIs(bad); });
    add<StripHeaderBytesAction>(*actions, [&](auto& action) { action.stripHeaderBytesIs(bad); });
    GatheredRules rules(ruleState(""));
    rules.actionsAre(actions);
    const string report = rules.print(text);
    EXPECT_EQ(report.find('\x1b'), string::npos) << report;
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 9) << report;
    EXPECT_EQ(WellFormed::faultOf(rules.print(json)), "");
}

}  // namespace
}  // namespace TrafficPolicyCli
