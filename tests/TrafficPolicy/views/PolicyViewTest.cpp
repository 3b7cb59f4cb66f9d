// The policy views and their errors form: small states against the exact report, in text and JSON.
#include <regex>

#include "ViewsFixture.h"
#include "WellFormed.h"
#include "views/PolicyView.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::Command;
using SmallState::ShowKind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;

struct View {
    Command command;
    string text;
    string json;
};

void expectViews(ShowKind kind, const State& state, const std::vector<View>& views) {
    for (const View& view : views) {
        EXPECT_EQ(shown(kind, state, view.command, SmallState::text), view.text);
        const string document = shown(kind, state, view.command, SmallState::json);
        EXPECT_EQ(document, R"({"trafficPolicies":{)" + view.json + "}}\n");
        EXPECT_EQ(WellFormed::faultOf(document), "");
    }
}

string failureWarning(const string& word) {
    return "WARNING: Policy installation failed. See \"show traffic-policy " + word +
           " errors\" for details about the failures.\n";
}

const Command plain;
const Command summary{.summary = true};
const Command errors{.errors = true};
const Command unknown{.policyName = "p"};
const string noRules = "   Total number of rules configured: 0\n";

TEST(PolicyViewVlan, showsListsErrorsAndRules) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c2","c10","c1"],"rules":[
                {"name":"r1","priority":1,"match":{"ipv4":{}}},
                {"name":"r2","priority":2,"match":{"ipv6":{"structuredFilter":{}}}},
                {"name":"r3","priority":3}]}}},
            "intfConfigBridged":{"Vlan10":"P","Vlan2":"P","Vlan3":"P","Vlan4":"P","Vlan100":"STAGED"}})",
        R"({"vlan":{"policyMapStatus":{"P":{
            "classMapStatus":{"r1":["ipv4"],"r2":["ipv6"]},
            "intfStatus":{
                "Vlan10":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"no IPv6"}},
                "Vlan2":{"ipv4":{"state":"programmed"}},
                "Vlan20":{"ipv4":{"state":"failed","errorText":"\u001b[31m \"full\""}},
                "Vlan3":{"ipv4":{"state":"failed"},"ipv6":{"state":"failed"}},
                "Vlan4":{"ipv4":{"state":7},"ipv6":{"state":"notReported","errorText":"soon"}}}}}}})");
    const auto text = [](const string& fourth) {
        return "Traffic policy P\n"
               "   Configured on VLANs: 10, 2, 3, " +
               fourth +
               "\n   Applied on VLANs for IPv4 traffic: 10, 2\n"
               "   Total number of rules configured: 2\n"
               "      counter c1 c10 c2\n"
               "      match r1 ipv4\n"
               "      match r2 ipv6\n"
               "Traffic policy STAGED\n"
               "   Configured on VLANs: 100\n" +
               noRules;
    };
    const auto json = [](const string& matches) {
        return R"("P":{"vacl":{"configuredVlans":["10","2","3","4"],)"
               R"("ipv4AppliedVlans":["10","2"]},"namedCounters":["c1","c10","c2"],)"
               R"("rules":[{"ruleString":"r1","matchOption":"ipv4"},)"
               R"({"ruleString":"r2","matchOption":"ipv6")" +
               matches + R"(}]},"STAGED":{"vacl":{"configuredVlans":["100"]},"rules":[]})";
    };
    const string errorsText =
        "Traffic policy P\n"
        "   Failed on VLANs for IPv4 traffic: 20, 3\n"
        "      20 (\\x1b[31m \"full\")\n"
        "      3 ()\n"
        "   Failed on VLANs for IPv6 traffic: 10, 3\n"
        "      10 (no IPv6)\n"
        "      3 ()\n"
        "Traffic policy STAGED\n";
    const string errorsJson =
        R"("P":{"vacl":{"ipv4FailedVlans":["20","3"],)"
        R"x("ipv4InstallationErrors":["20 (\u001b[31m \"full\")","3 ()"],"ipv6FailedVlans":["10","3"],)x"
        R"x("ipv6InstallationErrors":["10 (no IPv6)","3 ()"]}},"STAGED":{"vacl":{}})x";
    const Command detail{.detail = true};
    expectViews(ShowKind::vlan, state,
                {{plain, text("..."), json(",\"matches\":{}")},
                 {detail, text("4"), json(",\"matches\":{}")},
                 {summary, text("..."), json("")},
                 {unknown, "", ""},
                 {errors, errorsText, errorsJson}});
}

// P on both sides, with rules of either; Q, which only input did not take; and one that waits.
State interfaceState() {
    return stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c1"],"rules":[
                {"name":"r1","priority":1,"match":{"ipv4":{"structuredFilter":{"srcPrefixSets":["GONE"]}}},
                 "action":{"count":{"counterName":"c2"}}},
                {"name":"out","priority":2}]}},"Q":{"currCfg":{}}},
            "intfConfigInput":{"E1":"P","E2":"P","E3":"P","E10":"P"},
            "intfConfigOutput":{"E1":"P","E7":"STAGED"}})",
        R"({"interfaceInput":{"policyMapStatus":{
                "P":{"classMapStatus":{"r1":["ipv4"]},"intfStatus":{
                    "E1":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"no IPv6"}},
                    "E10":{"ipv4":{"state":"failed","errorText":"full"}},
                    "E2":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}},
                    "E3":{"ipv4":{"state":"failed"}}}},
                "Q":{"intfStatus":{"E4":{"ipv4":{"state":"failed"}}}}}},
            "interfaceOutput":{"policyMapStatus":{"P":{"classMapStatus":{"out":["ipv6"]},"intfStatus":{
                "E1":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}},
                "E8":{"ipv4":{"state":"failed","errorText":"a"},
                      "ipv6":{"state":"failed","errorText":"b"}}}}}}})");
}

const string undefined =
    "WARNING: One or more match rules are using an undefined field-set.\n"
    "WARNING: One or more match rules are using an undefined named counter. Hits against these "
    "rule will not be counted until counter is defined\n";

// A report without one of its directions.
View without(const string& direction, const View& both, const Command& command) {
    const std::regex lines("   (Configured|Applied|Failed) on [^\n]*" + direction +
                           "[^\n]*\n(      E[^\n]*\n)*");
    const std::regex member(",?\"" + direction + "\":\\{[^}]*\\}");
    const std::regex comma("\\{,");
    return {command, std::regex_replace(both.text, lines, ""),
            std::regex_replace(std::regex_replace(both.json, member, ""), comma, "{")};
}

TEST(PolicyViewInterface, showsBothDirectionsAndTheirFilters) {
    const string none =
        "   Configured on input of interfaces: \n   Configured on output of interfaces: \n";
    const string noneJson = R"("input":{"configuredIntfs":[]},"output":{"configuredIntfs":[]})";
    const View both{
        summary,
        "Traffic policy P\n"
        "   Configured on input of interfaces: E1, E10, E2, ...\n"
        "   Applied on input of interfaces for IPv4 traffic: E1, E2\n"
        "   Applied on input of interfaces for IPv6 traffic: E2\n"
        "   Configured on output of interfaces: E1\n"
        "   Applied on output of interfaces for IPv4 traffic: E1\n"
        "   Applied on output of interfaces for IPv6 traffic: E1\n"
        "   Total number of rules configured: 2\n"
        "      counter c1\n"
        "      match r1 ipv4\n"
        "      match out ipv6\n" +
            undefined + "Traffic policy Q\n" + none + noRules +
            "Traffic policy STAGED\n"
            "   Configured on input of interfaces: \n"
            "   Configured on output of interfaces: E7\n" +
            noRules + failureWarning("interface"),
        R"("P":{"input":{"configuredIntfs":["E1","E10","E2","E3"],)"
        R"("ipv4AppliedIntfs":["E1","E2"],"ipv6AppliedIntfs":["E2"]},)"
        R"("output":{"configuredIntfs":["E1"],"ipv4AppliedIntfs":["E1"],"ipv6AppliedIntfs":["E1"]},)"
        R"("namedCounters":["c1"],"rules":[{"ruleString":"r1","matchOption":"ipv4"},)"
        R"({"ruleString":"out","matchOption":"ipv6"}]},"Q":{)" +
            noneJson + R"(,"rules":[]},"STAGED":{"input":{"configuredIntfs":[]},)" +
            R"("output":{"configuredIntfs":["E7"]},"rules":[]})"};
    const View ofQ{
        {}, "Traffic policy Q\n" + none + noRules, "\"Q\":{" + noneJson + ",\"rules\":[]}"};
    const View failedQ{{}, ofQ.text + failureWarning("interface"), ofQ.json};
    expectViews(ShowKind::interface, interfaceState(),
                {both, without("output", both, {.summary = true, .inputOnly = true}),
                 without("input", both, {.summary = true, .outputOnly = true}),
                 // Its warning is of the directions that are shown.
                 without("output", failedQ, {.policyName = "Q", .inputOnly = true}),
                 without("input", ofQ, {.policyName = "Q", .outputOnly = true})});
}

TEST(PolicyViewInterface, showsErrorsOfBothDirections) {
    const View both{
        errors,
        "Traffic policy P\n"
        "   Failed on interfaces for IPv4 input traffic: E10, E3\n"
        "      E10 (full)\n"
        "      E3 ()\n"
        "   Failed on interfaces for IPv6 input traffic: E1\n"
        "      E1 (no IPv6)\n"
        "   Failed on interfaces for IPv4 output traffic: E8\n"
        "      E8 (a)\n"
        "   Failed on interfaces for IPv6 output traffic: E8\n"
        "      E8 (b)\n" +
            undefined +
            "Traffic policy Q\n"
            "   Failed on interfaces for IPv4 input traffic: E4\n"
            "      E4 ()\n"
            "Traffic policy STAGED\n",
        R"("P":{"input":{"ipv4FailedIntfs":["E10","E3"],)"
        R"x("ipv4InstallationErrors":["E10 (full)","E3 ()"],"ipv6FailedIntfs":["E1"],)x"
        R"x("ipv6InstallationErrors":["E1 (no IPv6)"]},"output":{"ipv4FailedIntfs":["E8"],)x"
        R"x("ipv4InstallationErrors":["E8 (a)"],"ipv6FailedIntfs":["E8"],)x"
        R"x("ipv6InstallationErrors":["E8 (b)"]}},"Q":{"input":{"ipv4FailedIntfs":["E4"],)x"
        R"x("ipv4InstallationErrors":["E4 ()"]},"output":{}},"STAGED":{"input":{},"output":{}})x"};
    expectViews(ShowKind::interface, interfaceState(),
                {both, without("output", both, {.errors = true, .inputOnly = true}),
                 without("input", both, {.errors = true, .outputOnly = true})});
}

TEST(PolicyViewCpu, showsHardwareAndSoftwareApart) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{}},"UNUSED":{"currCfg":{}}},
            "vrfConfig":{"red":"P","all":"P","blue":"Q"},
            "l3IntfStatusDir":{"Cpu0":{"vrf":"red"},"Cpu1":{"vrf":"red"},"Cpu2":{"vrf":"blue"},
                "Cpu3":{"vrf":"green"}}})",
        R"({"cpu":{"policyMapStatus":{"P":{"intfStatus":{
                "Cpu0":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}},
                "Cpu1":{"ipv4":{"state":"failed","errorText":"full"}},
                "Cpu2":{"ipv4":{"state":"programmed"}},
                "Cpu3":{"ipv6":{"state":"failed","errorText":"a"}},
                "Nowhere":{"ipv4":{"state":"failed","errorText":"no L3 status"}}}}}},
            "cpuSoftware":{"policyMapStatus":{"SOFTWARE-ONLY":{},"P":{"intfStatus":{
                "Cpu0":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"no module"}},
                "Cpu1":{"ipv4":{"state":"programmed"}},
                "Cpu3":{"ipv4":{"state":"failed","errorText":"b"},"ipv6":{"state":"programmed"}}}}}}})");
    const string note =
        "NOTE: \"vrf all\" option is applied on CPU for VRFs which are not attached to a specific "
        "traffic policy\n";
    const string textOfQ =
        "Traffic policy Q\n"
        "   Configured on CPU for VRFs: blue\n" +
        noRules;
    const string jsonOfQ = R"("Q":{"configuredVrfs":["blue"],"rules":[]})";
    const Command onlyQ{.policyName = "Q"};
    expectViews(
        ShowKind::cpu, state,
        {{onlyQ, note + textOfQ, jsonOfQ},
         {unknown, note, ""},
         {errors,
          "Traffic policy P\n"
          "   Failed on CPU for IPv4 traffic in VRFs (hardware): red\n"
          "      red (full)\n"
          "   Failed on CPU for IPv6 traffic in VRFs (hardware): green\n"
          "      green (a)\n"
          "   Failed on CPU for IPv4 traffic in VRFs (software): green\n"
          "      green (b)\n"
          "   Failed on CPU for IPv6 traffic in VRFs (software): red\n"
          "      red (no module)\n"
          "Traffic policy Q\n",
          R"x("P":{"ipv4FailedVrfs":["red"],"ipv4InstallationErrors":["red (full)"],)x"
          R"x("ipv6FailedVrfs":["green"],"ipv6InstallationErrors":["green (a)"],)x"
          R"x("ipv4FailedVrfsSoftware":["green"],"ipv4InstallationErrorsSoftware":["green (b)"],)x"
          R"x("ipv6FailedVrfsSoftware":["red"],"ipv6InstallationErrorsSoftware":["red (no module)"]},)x"
          R"("Q":{})"}});
}

// Records that nobody gathered: the points of each side, under its own labels.
TEST(PolicyView, printsARecordMadeByHand) {
    const auto interfaces = policyStateInterfaceFactory("P");
    interfaces->configuredIntfOutputIs("E1", true);
    interfaces->appliedIntfInputIs(MatchOption::ipv6)->intfListIs("E2", true);
    const auto onCpus = policyStateCpuFactory("P");
    onCpus->failedVrfSoftwareIs(MatchOption::ipv4)->vrfListIs("red", true);
    onCpus->installErrorSoftwareCollIs(MatchOption::ipv4)->vrfErrorIs("red", "full");
    onCpus->errorsIs(true);
    const auto print = [](const auto& renderModel, const PolicyState& record, U32 format) {
        return printed(format,
                       [&](textout::RendererV2& renderer) { renderModel(renderer, record, 1); });
    };
    EXPECT_EQ(print(renderCommonInterfaceModel, *interfaces, SmallState::text),
              " Configured on input of interfaces: \n"
              " Applied on input of interfaces for IPv6 traffic: E2\n"
              " Configured on output of interfaces: E1\n"
              " Total number of rules configured: 0\n");
    EXPECT_EQ(
        print(renderCommonModelCpu, *onCpus, SmallState::json),
        R"x({"ipv4FailedVrfsSoftware":["red"],"ipv4InstallationErrorsSoftware":["red (full)"]})x"
        "\n");
}

TEST(PolicyView, printsFeatureNameAndKeywordAsGiven) {
    const auto status = stateOf("{}", R"({"vlan":{"policyMapStatus":{"\ud83d\ude00":{}}}})").vlan;
    const auto show = showTrafficPolicyVAclFactory("policies \"here\"", "Policy named ", nullptr,
                                                   status, nullptr, "", false, false, false, false,
                                                   false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(shown(*show, SmallState::text),
              "Policy named \xf0\x9f\x98\x80\n   Configured on VLANs: \n" + noRules);
    EXPECT_EQ(shown(*show, SmallState::json),
              "{\"policies \\\"here\\\"\":{\"\xf0\x9f\x98\x80\":{\"vacl\":{\"configuredVlans\":[]},"
              "\"rules\":[]}}}\n");
}

TEST(PolicyViewDeathTest, errorsAndDetailExcludeEachOther) {
    const State state = stateOf("{}", R"({"interfaceInput":{"policyMapStatus":{"P":{}}},
        "cpu":{"policyMapStatus":{"P":{}}},"vlan":{"policyMapStatus":{"P":{}}}})");
    const Command both{.errors = true, .detail = true};
    const Command onOutput{.errors = true, .detail = true, .outputOnly = true};
    const string text = "assertion failed: !policyState->detail\\(\\)";
    EXPECT_DEATH(shown(ShowKind::interface, state, both, SmallState::text), text);
    EXPECT_DEATH(shown(ShowKind::interface, state, onOutput, SmallState::text), text);
    EXPECT_DEATH(shown(ShowKind::cpu, state, both, SmallState::text), text);
    EXPECT_DEATH(shown(ShowKind::vlan, state, both, SmallState::json), text);
}

}  // namespace
}  // namespace TrafficPolicyCli
