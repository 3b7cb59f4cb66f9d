// Counts as they are shown: less the last clear, from either store, and the counters view.
#include <gmock/gmock.h>

#include <regex>

#include "CounterStores.h"
#include "WellFormed.h"
#include "counters/CounterView.h"

namespace TrafficPolicyCli {
namespace {

using CounterStores::everywhere;
using CounterStores::shownFrom;
using CounterStores::snapshotsOf;
using CounterStores::SnapshotTarget;
using CounterStores::Where;
using SmallState::Command;
using SmallState::Kind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;
using testing::ElementsAreArray;

TEST(CounterLookup, subtractsTheSnapshotOfTheSameRecord) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c"],"rules":[
            {"name":"r1","priority":1,"action":{"count":{}}},
            {"name":"r2","priority":2,"action":{"count":{"counterName":"c"}}}]}}}})",
        R"({"hwStatus":{},"interfaceInput":{"countersPerInterface":true,"policyMapStatus":{"P":{
            "classMapStatus":{"r1":["ipv4"],"r2":["ipv4"]},
            "classCounter":{"r1":{"uniqueId":11,"packets":100,"bytes":9}},
            "namedCounter":{"c":{"uniqueId":21,"packets":200,"bytes":2000,"perIntfCount":{
                "E2":{"uniqueId":23,"packets":50,"bytes":500},
                "E1":{"uniqueId":22,"packets":150,"bytes":1500}}}}}}}})");
    const string classBackwards = "1 Counter value for policy P, class r1 has moved backwards";
    const string namedBackwards = "1 Counter value for policy P, counter c has moved backwards";
    const struct {
        const char* name;
        SnapshotTarget snapshots;
        const char *onE1, *total, *rule;
        std::vector<string> traces;
    } rows[] = {
        {"never cleared", nullptr, "150 packets 1500 bytes", "200 packets 2000 bytes", "100", {}},
        {"no snapshots",
         snapshotsOf("P", {}, {}, {}),
         "150 packets 1500 bytes",
         "200 packets 2000 bytes",
         "100",
         {}},
        {"same records",
         snapshotsOf("P", {11, 1}, {21, 2, 20}, {22, 3, 30}),
         "147 packets 1470 bytes",
         "198 packets 1980 bytes",
         "99",
         {}},
        {"equal values",
         snapshotsOf("P", {11, 100}, {21, 200, 2000}, {22, 150, 1500}),
         "0 packets 0 bytes",
         "0 packets 0 bytes",
         "0",
         {}},
        {"one below",
         snapshotsOf("P", {11, 101}, {21, 201, 2001}, {22, 151, 1501}),
         "0 packets 0 bytes",
         "0 packets 0 bytes",
         "0",
         {namedBackwards, namedBackwards, namedBackwards, namedBackwards, classBackwards}},
        {"far below",
         snapshotsOf("P", {11, ~U64{0}}, {}, {}),
         "150 packets 1500 bytes",
         "200 packets 2000 bytes",
         "0",
         {classBackwards}},
        {"only bytes went backwards",
         snapshotsOf("P", {}, {21, 0, 2001}, {}),
         "150 packets 1500 bytes",
         "200 packets 0 bytes",
         "100",
         {namedBackwards}},
        {"other records, smaller than the snapshots",
         snapshotsOf("P", {12, 900}, {99, 900, 9000}, {98, 900, 9000}),
         "150 packets 1500 bytes",
         "200 packets 2000 bytes",
         "100",
         {}},
        {"only the interface's record is another",
         snapshotsOf("P", {}, {21, 50, 50}, {98, 50, 50}),
         "150 packets 1500 bytes",
         "150 packets 1950 bytes",
         "100",
         {}},
        {"only the counter's record is another",
         snapshotsOf("P", {}, {99, 50, 50}, {22, 50, 50}),
         "100 packets 1450 bytes",
         "200 packets 2000 bytes",
         "100",
         {}},
        {"no snapshot of the interface",
         snapshotsOf("P", {}, {21, 50, 50}, {}),
         "150 packets 1500 bytes",
         "150 packets 1950 bytes",
         "100",
         {}},
        {"another policy's",
         snapshotsOf("Q", {11, 1}, {21, 1, 1}, {22, 1, 1}),
         "150 packets 1500 bytes",
         "200 packets 2000 bytes",
         "100",
         {}},
    };
    for (const auto& row : rows) {
        for (const Where where : everywhere) {
            SCOPED_TRACE(string(row.name) + (where == Where::hive ? ", Hive" : ", Reef"));
            const Captured::Traces traces("TrafficPolicyShowCliHelper", 1);
            EXPECT_EQ(shownFrom(where, state,
                                {.counters = true, .bytes = true, .snapshots = row.snapshots},
                                SmallState::text),
                      "Traffic-policies applied on input:\nTraffic policy P\n   c:\n      E1: " +
                          string(row.onE1) + "\n      E2: 50 packets 500 bytes\n      Total: " +
                          row.total + "\n   match rule: r1: " + row.rule + " packets\n");
            EXPECT_THAT(traces.lines(), ElementsAreArray(row.traces));
        }
    }
}

// Input and output of one policy, and the policies around it; output counts per interface.
State bothDirections() {
    return stateOf(
        R"({"policyMapConfig":{"NO-VERSION":{},"NO-COUNT":{"currCfg":{"rules":[{"name":"r1","priority":1}]}},
            "P":{"currCfg":{"namedCounter":["used","none","unused"],"rules":[
                {"name":"z","priority":1,"action":{"count":{}}},
                {"name":"a","priority":2,"action":{"count":{}}},
                {"name":"n1","priority":3,"action":{"count":{"counterName":"used"}}},
                {"name":"n2","priority":4,"action":{"drop":{},"count":{"counterName":"used"}}},
                {"name":"n3","priority":5,"action":{"count":{"counterName":"undeclared"}}},
                {"name":"n4","priority":6,"action":{"count":{"counterName":"none"}}},
                {"name":"m","priority":7,"action":{"count":{}}}]}}}})",
        R"({"hwStatus":{},
            "intfParamStatus":{"ingressCounterGranularity":"perPolicy","egressCounterGranularity":"perInterface"},
            "interfaceInput":{"policyMapStatus":{"GHOST":{},"NO-VERSION":{},
                "NO-COUNT":{"classMapStatus":{"r1":["ipv4"]}},
                "P":{"classMapStatus":{"z":["ipv4"],"a":["ipv4"],"n1":["ipv4"],"n2":["ipv4"],
                        "n3":["ipv4"],"n4":["ipv4"],"m":["ipv4"]},
                    "classCounter":{"z":{"uniqueId":1,"packets":5},"a":{"uniqueId":2,"packets":9007199254740993}},
                    "namedCounter":{"used":{"uniqueId":3,"packets":10,"bytes":1000,"perIntfCount":{
                                        "E1":{"uniqueId":4,"packets":10,"bytes":1000}}},
                                    "unused":{"uniqueId":5,"packets":99},
                                    "undeclared":{"uniqueId":6,"packets":98}}}}},
            "interfaceOutput":{"countersPerInterface":true,"policyMapStatus":{
                "P":{"classMapStatus":{"z":["ipv4"],"n1":["ipv4"]},
                    "classCounter":{"z":{"uniqueId":7,"packets":18446744073709551615}},
                    "namedCounter":{"used":{"uniqueId":8,"packets":7,"bytes":18446744073709551615,
                        "perIntfCount":{"E2":{"uniqueId":9,"packets":3,"bytes":300},
                                        "E10":{"uniqueId":10,"packets":4,"bytes":400}}}}}}}})");
}

const string inputText =
    "Traffic-policies applied on input:\n"
    "Counter granularity: per-policy\n"
    "Traffic policy NO-COUNT\n"
    "Traffic policy NO-VERSION\n"
    "Traffic policy P\n"
    "   used: 10 packets 1000 bytes\n"
    "   match rule: z: 5 packets\n"
    "   match rule: a: 9007199254740993 packets\n"
    "   match rule: m: N/A\n";
const string outputText =
    "Traffic-policies applied on output:\n"
    "Counter granularity: per-interface\n"
    "Traffic policy P\n"
    "   used:\n"
    "      E10: 4 packets 400 bytes\n"
    "      E2: 3 packets 300 bytes\n"
    "      Total: 7 packets 18446744073709551615 bytes\n"
    "   match rule: z: 18446744073709551615 packets\n";
const string inputJson =
    R"("ingressCounterGranularity":"per-policy","trafficPolicies":{"NO-COUNT":{},"NO-VERSION":{},)"
    R"("P":{"namedCounters":{"used":{"totals":{"packetTotal":10,"byteTotal":1000}}},)"
    R"("unnamedCounters":{"z":{"totals":{"packetTotal":5}},)"
    R"("a":{"totals":{"packetTotal":9007199254740993}}}}})";
const string outputJson =
    R"("egressCounterGranularity":"per-interface","egressTrafficPolicies":{)"
    R"("P":{"namedCounters":{"used":{"interfaces":{"E10":{"packetCount":4,"byteCount":400},)"
    R"("E2":{"packetCount":3,"byteCount":300}},)"
    R"("totals":{"packetTotal":7,"byteTotal":18446744073709551615}}},)"
    R"("unnamedCounters":{"z":{"totals":{"packetTotal":18446744073709551615}}}}})";

// The same report without its bytes.
string withoutBytes(const string& report) {
    return std::regex_replace(report, std::regex(R"x( \d+ bytes|,"byte(Total|Count)":\d+)x"), "");
}

TEST(CounterView, showsBothDirectionsFromEitherStore) {
    const State state = bothDirections();
    const struct {
        const char* name;
        Command command;
        string text, json;
    } rows[] = {
        {"both", {}, inputText + "\n" + outputText, inputJson + "," + outputJson},
        {"input", {.inputOnly = true}, inputText, inputJson},
        {"output", {.outputOnly = true}, outputText, outputJson},
        {"one policy",
         {.policyName = "NO-COUNT"},
         "Traffic-policies applied on input:\nCounter granularity: per-policy\n"
         "Traffic policy NO-COUNT\n\n"
         "Traffic-policies applied on output:\nCounter granularity: per-interface\n",
         R"("ingressCounterGranularity":"per-policy","trafficPolicies":{"NO-COUNT":{}},)"
         R"("egressCounterGranularity":"per-interface","egressTrafficPolicies":{})"},
    };
    for (const auto& row : rows) {
        for (const Where where : everywhere) {
            SCOPED_TRACE(string(row.name) + (where == Where::hive ? ", Hive" : ", Reef"));
            Command command = row.command;
            command.counters = true;
            EXPECT_EQ(shownFrom(where, state, command, SmallState::text), withoutBytes(row.text));
            EXPECT_EQ(shownFrom(where, state, command, SmallState::json),
                      "{" + withoutBytes(row.json) + "}\n");
            command.bytes = true;
            EXPECT_EQ(shownFrom(where, state, command, SmallState::text), row.text);
            const string document = shownFrom(where, state, command, SmallState::json);
            EXPECT_EQ(document, "{" + row.json + "}\n");
            EXPECT_EQ(WellFormed::faultOf(document), "");
        }
    }
}

TEST(CounterView, tracesWhatItLeavesOut) {
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 6);
    shown(Kind::interface, bothDirections(), {.counters = true}, SmallState::text);
    const auto lines = traces.lines();
    EXPECT_THAT(lines,
                testing::IsSupersetOf(
                    {"6 TrafficPolicyShowCliHelper::_renderTrafficPolicyCounters  - GHOST is "
                     "undefined; skip rendering its counters. isInput = 1",
                     "6 TrafficPolicyShowCliHelper::_renderTrafficPolicyCounters  - NO-COUNT "
                     "is undefined; skip rendering its counters. isInput = 0",
                     "1 Counter: undeclared is undefined", "1 Counter: none is undefined"}));
}

TEST(CounterView, saysWhatIsNotThere) {
    State state = bothDirections();
    state.intfParamStatus = nullptr;
    state.interfaceOutput = nullptr;
    state.hwStatus = nullptr;
    EXPECT_EQ(
        shown(Kind::interface, state, {.policyName = "P", .counters = true}, SmallState::text),
        "Traffic-policies applied on input:\nTraffic policy P\n   match rule: z: N/A\n"
        "   match rule: a: N/A\n   match rule: m: N/A\n")
        << "without a hardware status there is no store";
    EXPECT_EQ(
        shown(Kind::interface, state, {.policyName = "P", .counters = true}, SmallState::json),
        R"({"trafficPolicies":{"P":{"namedCounters":{},"unnamedCounters":{}}},)"
        R"("egressTrafficPolicies":{}})"
        "\n");
    state.interfaceInput = nullptr;
    state.interfaceOutput = bothDirections().interfaceOutput;
    EXPECT_EQ(shown(Kind::interface, state, {.counters = true}, SmallState::text),
              "\nTraffic-policies applied on output:\nTraffic policy P\n   match rule: z: N/A\n");
}

TEST(CounterView, ofTheCpuNeverBreaksDownByInterface) {
    State state = bothDirections();
    const auto perInterface = Orb::make<TrafficPolicy::Status>();
    perInterface->policyMapStatusIs(state.interfaceOutput->policyMapStatus());
    perInterface->countersPerInterfaceIs(true);
    state.cpu = perInterface;
    state.hwStatus = nullptr;
    const Command command{.counters = true, .bytes = true};
    EXPECT_EQ(shown(Kind::cpu, state, command, SmallState::text),
              "Traffic policy P\n   used: 7 packets 18446744073709551615 bytes\n"
              "   match rule: z: 18446744073709551615 packets\n");
    EXPECT_EQ(shown(Kind::cpu, state, command, SmallState::json),
              R"({"trafficPolicies":{"P":{"namedCounters":{"used":{"totals":{"packetTotal":7,)"
              R"("byteTotal":18446744073709551615}}},"unnamedCounters":{"z":{"totals":)"
              R"({"packetTotal":18446744073709551615}}}}}})"
              "\n");
}

TEST(CounterView, namesTheGranularity) {
    const struct {
        U32 value;
        string text, json;
    } rows[] = {
        {0, "Counter granularity: counter not enabled\n", ""},
        {1, "Counter granularity: per-policy\n", R"("gressCounterGranularity":"per-policy")"},
        {2, "Counter granularity: per-interface\n", R"("gressCounterGranularity":"per-interface")"},
        {3, "", ""},
    };
    for (const auto& row : rows) {
        for (const bool isInput : {true, false}) {
            const auto parameters = Orb::make<TrafficPolicy::TrafficPolicyIntfParamStatus>();
            const auto value = static_cast<TrafficPolicy::CounterGranularity>(row.value);
            if (isInput) {
                parameters->ingressCounterGranularityIs(value);
                parameters->egressCounterGranularityIs(
                    static_cast<TrafficPolicy::CounterGranularity>(9));
            } else {
                parameters->egressCounterGranularityIs(value);
                parameters->ingressCounterGranularityIs(
                    static_cast<TrafficPolicy::CounterGranularity>(9));
            }
            for (const U32 format : {SmallState::text, SmallState::json}) {
                const Captured::MemoryFile file;
                textout::TextOutBuffer out(static_cast<U32>(file.fd()));
                textout::RendererV2 renderer(out, format, 2);
                renderCounterGranularity(renderer, parameters, isInput);
                renderer.flush();
                string expected = format == SmallState::text ? row.text : row.json;
                if (format == SmallState::json && !expected.empty()) {
                    expected.insert(1, isInput ? "in" : "e");
                }
                EXPECT_EQ(file.text(), expected);
            }
        }
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
