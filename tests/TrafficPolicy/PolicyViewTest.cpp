// The policy views and their errors form: small states against the exact report, in text and JSON.
#include <gmock/gmock.h>

#include "SmallState.h"
#include "WellFormed.h"
#include "views/PolicyView.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::Command;
using SmallState::Kind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;

struct View {
    const char* name;
    Command command;
    string text;
    string json;
};

void expectViews(Kind kind, const State& state, const std::vector<View>& views) {
    for (const View& view : views) {
        SCOPED_TRACE(view.name);
        EXPECT_EQ(shown(kind, state, view.command, SmallState::text), view.text);
        const string document = shown(kind, state, view.command, SmallState::json);
        EXPECT_EQ(document, R"({"trafficPolicies":{)" + view.json + "}}\n");
        EXPECT_EQ(WellFormed::faultOf(document), "");
    }
}

constexpr std::string_view undefinedWarnings =
    "WARNING: One or more match rules are using an undefined field-set.\n"
    "WARNING: One or more match rules are using an undefined named counter. Hits against these "
    "rule "
    "will not be counted until counter is defined\n";

string failureWarning(const string& word) {
    return "WARNING: Policy installation failed. See \"show traffic-policy " + word +
           " errors\" for details about the failures.\n";
}

TEST(PolicyViewVlan, showsListsErrorsAndRules) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c2","c1"],"rules":[
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
    const string rules =
        R"("namedCounters":["c1","c2"],"rules":[{"ruleString":"r1","matchOption":"ipv4"},)";
    const string lists = R"("vacl":{"configuredVlans":["10","2","3","4"],)"
                         R"("ipv4AppliedVlans":["10","2"]},)";
    const string staged = R"("STAGED":{"vacl":{"configuredVlans":["100"]},"rules":[]})";
    const string text =
        "Traffic policy P\n"
        "   Configured on VLANs: 10, 2, 3, ...\n"
        "   Applied on VLANs for IPv4 traffic: 10, 2\n"
        "   Total number of rules configured: 2\n"
        "      counter c1 c2\n"
        "      match r1 ipv4\n"
        "      match r2 ipv6\n";
    const string stagedText =
        "Traffic policy STAGED\n"
        "   Configured on VLANs: 100\n"
        "   Total number of rules configured: 0\n";
    string detailText = text;
    detailText.replace(detailText.find("..."), 3, "4");
    const string json = "\"P\":{" + lists + rules +
                        R"({"ruleString":"r2","matchOption":"ipv6","matches":{}}]},)" + staged;
    expectViews(
        Kind::vlan, state,
        {{"normal", {}, text + stagedText, json},
         {"detail", {.detail = true}, detailText + stagedText, json},
         {"summary",
          {.summary = true},
          text + stagedText,
          "\"P\":{" + lists + rules + R"({"ruleString":"r2","matchOption":"ipv6"}]},)" + staged},
         {"one policy", {.policyName = "STAGED"}, stagedText, staged},
         {"unknown policy", {.policyName = "p"}, "", ""},
         {"errors",
          {.errors = true},
          "Traffic policy P\n"
          "   Failed on VLANs for IPv4 traffic: 20, 3\n"
          "      20 (\\x1b[31m \"full\")\n"
          "      3 ()\n"
          "   Failed on VLANs for IPv6 traffic: 10, 3\n"
          "      10 (no IPv6)\n"
          "      3 ()\n"
          "Traffic policy STAGED\n",
          R"("P":{"vacl":{"ipv4FailedVlans":["20","3"],)"
          R"x("ipv4InstallationErrors":["20 (\u001b[31m \"full\")","3 ()"],)x"
          R"("ipv6FailedVlans":["10","3"],)"
          R"x("ipv6InstallationErrors":["10 (no IPv6)","3 ()"]}},"STAGED":{"vacl":{}})x"}});
}

TEST(PolicyViewInterface, showsBothDirectionsAndTheirFilters) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c1"],"rules":[
                {"name":"r1","priority":1,"match":{"ipv4":{"structuredFilter":{"srcPrefixSets":["GONE"]}}},
                 "action":{"count":{"counterName":"c2"}}}]}}},
            "intfConfigInput":{"E1":"P","E2":"P","E3":"P","E10":"P"},
            "intfConfigOutput":{"E1":"P","E7":"STAGED"}})",
        R"({"interfaceInput":{"policyMapStatus":{"P":{
                "classMapStatus":{"r1":["ipv4"]},
                "intfStatus":{
                    "E1":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"no IPv6"}},
                    "E10":{"ipv4":{"state":"failed","errorText":"full"}},
                    "E2":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}},
                    "E3":{"ipv4":{"state":"failed"}}}}}},
            "interfaceOutput":{"policyMapStatus":{"P":{
                "intfStatus":{"E1":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}}}}}}})");
    const string inputLists =
        "   Configured on input of interfaces: E1, E10, E2, ...\n"
        "   Applied on input of interfaces for IPv4 traffic: E1, E2\n"
        "   Applied on input of interfaces for IPv6 traffic: E2\n";
    const string outputLists =
        "   Configured on output of interfaces: E1\n"
        "   Applied on output of interfaces for IPv4 traffic: E1\n"
        "   Applied on output of interfaces for IPv6 traffic: E1\n";
    const string rules =
        "   Total number of rules configured: 1\n"
        "      counter c1\n"
        "      match r1 ipv4\n";
    const string stagedInput = "   Configured on input of interfaces: \n";
    const string stagedOutput = "   Configured on output of interfaces: E7\n";
    const string noRules = "   Total number of rules configured: 0\n";
    const auto report = [&](const string& lists, const string& stagedLists, bool hasFailures) {
        return "Traffic policy P\n" + lists + rules + string(undefinedWarnings) +
               "Traffic policy STAGED\n" + stagedLists + noRules +
               (hasFailures ? failureWarning("interface") : "");
    };
    const string inputJson = R"("input":{"configuredIntfs":["E1","E10","E2","E3"],)"
                             R"("ipv4AppliedIntfs":["E1","E2"],"ipv6AppliedIntfs":["E2"]})";
    const string outputJson = R"("output":{"configuredIntfs":["E1"],)"
                              R"("ipv4AppliedIntfs":["E1"],"ipv6AppliedIntfs":["E1"]})";
    const string rulesJson =
        R"(,"namedCounters":["c1"],"rules":[{"ruleString":"r1","matchOption":"ipv4"}]},)"
        R"("STAGED":{)";
    const string errors =
        "   Failed on interfaces for IPv4 input traffic: E10, E3\n"
        "      E10 (full)\n"
        "      E3 ()\n"
        "   Failed on interfaces for IPv6 input traffic: E1\n"
        "      E1 (no IPv6)\n";
    const string errorsJson =
        R"x("input":{"ipv4FailedIntfs":["E10","E3"],"ipv4InstallationErrors":["E10 (full)","E3 ()"],)x"
        R"x("ipv6FailedIntfs":["E1"],"ipv6InstallationErrors":["E1 (no IPv6)"]})x";
    expectViews(
        Kind::interface, state,
        {{"both",
          {.summary = true},
          report(inputLists + outputLists, stagedInput + stagedOutput, true),
          "\"P\":{" + inputJson + "," + outputJson + rulesJson +
              R"("input":{"configuredIntfs":[]},"output":{"configuredIntfs":["E7"]},"rules":[]})"},
         {"input",
          {.summary = true, .inputOnly = true},
          report(inputLists, stagedInput, true),
          "\"P\":{" + inputJson + rulesJson + R"("input":{"configuredIntfs":[]},"rules":[]})"},
         {"output, where nothing failed",
          {.summary = true, .outputOnly = true},
          report(outputLists, stagedOutput, false),
          "\"P\":{" + outputJson + rulesJson +
              R"("output":{"configuredIntfs":["E7"]},"rules":[]})"},
         {"errors",
          {.errors = true},
          "Traffic policy P\n" + errors + string(undefinedWarnings) + "Traffic policy STAGED\n",
          "\"P\":{" + errorsJson + R"(,"output":{}},"STAGED":{"input":{},"output":{}})"},
         {"errors on output",
          {.errors = true, .outputOnly = true},
          "Traffic policy P\n" + string(undefinedWarnings) + "Traffic policy STAGED\n",
          R"("P":{"output":{}},"STAGED":{"output":{}})"},
         {"one without failures",
          {.policyName = "STAGED", .errors = true},
          "Traffic policy STAGED\n",
          R"("STAGED":{"input":{},"output":{}})"}});
}

TEST(PolicyViewInterface, showsFailuresOnOutput) {
    const State state = stateOf(R"({"policyMapConfig":{"P":{"currCfg":{}}}})",
                                R"({"interfaceOutput":{"policyMapStatus":{"P":{"intfStatus":{
            "E1":{"ipv4":{"state":"failed","errorText":"a"},"ipv6":{"state":"failed","errorText":"b"}}}}}}})");
    expectViews(Kind::interface, state,
                {{"errors",
                  {.errors = true},
                  "Traffic policy P\n"
                  "   Failed on interfaces for IPv4 output traffic: E1\n      E1 (a)\n"
                  "   Failed on interfaces for IPv6 output traffic: E1\n      E1 (b)\n",
                  R"("P":{"input":{},"output":{"ipv4FailedIntfs":["E1"],)"
                  R"x("ipv4InstallationErrors":["E1 (a)"],"ipv6FailedIntfs":["E1"],)x"
                  R"x("ipv6InstallationErrors":["E1 (b)"]}})x"},
                 {"input has none",
                  {.inputOnly = true},
                  "Traffic policy P\n   Configured on input of interfaces: \n"
                  "   Total number of rules configured: 0\n",
                  R"("P":{"input":{"configuredIntfs":[]},"rules":[]})"}});
}

// Rules that only output has are named after the status there.
TEST(PolicyViewInterface, showsRulesOfEitherDirectionWhateverTheFilter) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"rules":[
            {"name":"in","priority":1},{"name":"out","priority":2}]}}}})",
        R"({"interfaceInput":{"policyMapStatus":{"P":{"classMapStatus":{"in":["ipv4"]}}}},
            "interfaceOutput":{"policyMapStatus":{"P":{"classMapStatus":{"out":["ipv6"]}}}}})");
    const string rules =
        "   Total number of rules configured: 2\n      match in ipv4\n      match out ipv6\n";
    const string rulesJson = R"("rules":[{"ruleString":"in","matchOption":"ipv4"},)"
                             R"({"ruleString":"out","matchOption":"ipv6"}]})";
    expectViews(Kind::interface, state,
                {{"output",
                  {.outputOnly = true},
                  "Traffic policy P\n   Configured on output of interfaces: \n" + rules,
                  R"("P":{"output":{"configuredIntfs":[]},)" + rulesJson}});
}

TEST(PolicyViewCpu, showsHardwareAndSoftwareApart) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"rules":[{"name":"r1","priority":1}]}},"Q":{"currCfg":{}}},
            "vrfConfig":{"red":"P","all":"P","blue":"Q"},
            "l3IntfStatusDir":{"Cpu0":{"vrf":"red"},"Cpu1":{"vrf":"red"},"Cpu2":{"vrf":"blue"}}})",
        R"({"cpu":{"policyMapStatus":{"Q":{},"P":{
                "classMapStatus":{"r1":["ipv4"]},
                "intfStatus":{
                    "Cpu0":{"ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"}},
                    "Cpu1":{"ipv4":{"state":"failed","errorText":"full"}},
                    "Cpu2":{"ipv4":{"state":"programmed"}},
                    "Nowhere":{"ipv4":{"state":"failed","errorText":"no L3 status"}}}}}},
            "cpuSoftware":{"policyMapStatus":{"SOFTWARE-ONLY":{},"P":{
                "intfStatus":{
                    "Cpu0":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"no module"}},
                    "Cpu1":{"ipv4":{"state":"programmed"}}}}}}})");
    const string note =
        "NOTE: \"vrf all\" option is applied on CPU for VRFs which are not attached to a specific "
        "traffic policy\n";
    const string textOfQ =
        "Traffic policy Q\n"
        "   Configured on CPU for VRFs: blue\n"
        "   Total number of rules configured: 0\n";
    const string jsonOfQ = R"("Q":{"configuredVrfs":["blue"],"rules":[]})";
    expectViews(
        Kind::cpu, state,
        {{"normal",
          {},
          note +
              "Traffic policy P\n"
              "   Configured on CPU for VRFs: all, red\n"
              "   Applied on CPU for IPv4 traffic in VRFs (hardware): blue\n"
              "   Applied on CPU for IPv6 traffic in VRFs (hardware): red\n"
              "   Applied on CPU for IPv4 traffic in VRFs (software): red\n"
              "   Total number of rules configured: 1\n"
              "      match r1 ipv4\n" +
              textOfQ + failureWarning("cpu"),
          R"("P":{"configuredVrfs":["all","red"],"ipv4AppliedVrfs":["blue"],)"
          R"("ipv6AppliedVrfs":["red"],"ipv4AppliedVrfsSoftware":["red"],)"
          R"("rules":[{"ruleString":"r1","matchOption":"ipv4"}]},)" +
              jsonOfQ},
         {"the note does not depend on the name", {.policyName = "Q"}, note + textOfQ, jsonOfQ},
         {"unknown policy", {.policyName = "R"}, note, ""},
         {"errors",
          {.errors = true},
          "Traffic policy P\n"
          "   Failed on CPU for IPv4 traffic in VRFs (hardware): red\n"
          "      red (full)\n"
          "   Failed on CPU for IPv6 traffic in VRFs (software): red\n"
          "      red (no module)\n"
          "Traffic policy Q\n",
          R"x("P":{"ipv4FailedVrfs":["red"],"ipv4InstallationErrors":["red (full)"],)x"
          R"x("ipv6FailedVrfsSoftware":["red"],"ipv6InstallationErrorsSoftware":["red (no module)"]},)x"
          R"("Q":{})"}});
}

TEST(PolicyViewCpu, showsTheOtherTwoPlacesOfFailureAndInstallation) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{}}},"l3IntfStatusDir":{"Cpu0":{"vrf":"red"}}})",
        R"({"cpu":{"policyMapStatus":{"P":{"intfStatus":{
                "Cpu0":{"ipv4":{"state":"programmed"},"ipv6":{"state":"failed","errorText":"a"}}}}}},
            "cpuSoftware":{"policyMapStatus":{"P":{"intfStatus":{
                "Cpu0":{"ipv4":{"state":"failed","errorText":"b"},"ipv6":{"state":"programmed"}}}}}}})");
    expectViews(
        Kind::cpu, state,
        {{"normal",
          {},
          "Traffic policy P\n"
          "   Configured on CPU for VRFs: \n"
          "   Applied on CPU for IPv4 traffic in VRFs (hardware): red\n"
          "   Applied on CPU for IPv6 traffic in VRFs (software): red\n"
          "   Total number of rules configured: 0\n" +
              failureWarning("cpu"),
          R"("P":{"configuredVrfs":[],"ipv4AppliedVrfs":["red"],)"
          R"("ipv6AppliedVrfsSoftware":["red"],"rules":[]})"},
         {"errors",
          {.errors = true},
          "Traffic policy P\n"
          "   Failed on CPU for IPv6 traffic in VRFs (hardware): red\n      red (a)\n"
          "   Failed on CPU for IPv4 traffic in VRFs (software): red\n      red (b)\n",
          R"x("P":{"ipv6FailedVrfs":["red"],"ipv6InstallationErrors":["red (a)"],)x"
          R"x("ipv4FailedVrfsSoftware":["red"],"ipv4InstallationErrorsSoftware":["red (b)"]})x"}});
}

TEST(PolicyView, printsFeatureNameAndKeywordAsGiven) {
    const auto show = showTrafficPolicyVAclFactory("policies \"here\"", "Policy named ", nullptr,
                                                   stateOf("{}", R"({"vlan":{"policyMapStatus":
            {"\ud83d\ude00 P":{}}}})")
                                                       .vlan,
                                                   nullptr, "", false, false, false, false, false,
                                                   nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(shown(*show, SmallState::text),
              "Policy named \xf0\x9f\x98\x80 P\n   Configured on VLANs: \n"
              "   Total number of rules configured: 0\n");
    EXPECT_EQ(
        shown(*show, SmallState::json),
        "{\"policies \\\"here\\\"\":{\"\xf0\x9f\x98\x80 P\":{\"vacl\":{\"configuredVlans\":[]},"
        "\"rules\":[]}}}\n");
}

// Prints a block of lists of a record, in JSON.
template <class Render>
string blockOf(const Orb::Ptr<PolicyState>& record, U32 format, const Render& render) {
    record->indentCountPerLevelIs(3);
    const Captured::MemoryFile file;
    textout::TextOutBuffer out(static_cast<U32>(file.fd()));
    textout::RendererV2 renderer(out, format, 2);
    renderer.documentBegin();
    render(renderer, record, 3);
    renderer.documentEnd();
    renderer.flush();
    return file.text();
}

TEST(PolicyView, failedListWithoutErrorRecordHasNoErrorsKey) {
    const auto vlans = policyStateVAclFactory("P");
    vlans->errorsIs(true);
    vlans->failedVlanIs(MatchOption::ipv6)->vlanListIs("7", true);
    EXPECT_EQ(blockOf(vlans, SmallState::json, renderCommonVAclModel),
              "{\"vacl\":{\"ipv6FailedVlans\":[\"7\"]}}\n");
    EXPECT_EQ(blockOf(vlans, SmallState::text, renderCommonVAclModel),
              "   Failed on VLANs for IPv6 traffic: 7\n");
    const auto interfaces = policyStateInterfaceFactory("P");
    interfaces->errorsIs(true);
    interfaces->failedIntfOutputIs(MatchOption::ipv4)->intfListIs("E1", true);
    EXPECT_EQ(blockOf(interfaces, SmallState::json, renderCommonInterfaceModel),
              "{\"input\":{},\"output\":{\"ipv4FailedIntfs\":[\"E1\"]}}\n");
    const auto vrfs = policyStateCpuFactory("P");
    vrfs->errorsIs(true);
    vrfs->failedVrfSoftwareIs(MatchOption::ipv4)->vrfListIs("red", true);
    EXPECT_EQ(blockOf(vrfs, SmallState::json, renderCommonModelCpu),
              "{\"ipv4FailedVrfsSoftware\":[\"red\"]}\n");
}

TEST(PolicyViewDeathTest, errorsAndDetailExcludeEachOther) {
    const State state = stateOf("{}", R"({"interfaceInput":{"policyMapStatus":{"P":{}}},
        "cpu":{"policyMapStatus":{"P":{}}},"vlan":{"policyMapStatus":{"P":{}}}})");
    const Command both{.errors = true, .detail = true};
    const Command onOutput{.errors = true, .detail = true, .outputOnly = true};
    const string text = "assertion failed: !policyState->detail\\(\\)";
    EXPECT_DEATH(shown(Kind::interface, state, both, SmallState::text), text);
    EXPECT_DEATH(shown(Kind::interface, state, onOutput, SmallState::text), text);
    EXPECT_DEATH(shown(Kind::cpu, state, both, SmallState::text), text);
    EXPECT_DEATH(shown(Kind::vlan, state, both, SmallState::json), text);
}

}  // namespace
}  // namespace TrafficPolicyCli
