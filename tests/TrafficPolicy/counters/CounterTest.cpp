// Counts as they are shown: less the last clear, from either store, and the counters view.
#include <gmock/gmock.h>

#include <regex>

#include "CounterStores.h"
#include "WellFormed.h"

namespace TrafficPolicyCli {
namespace {

using CounterStores::everywhere;
using CounterStores::shownFrom;
using CounterStores::snapshotsOf;
using CounterStores::Where;
using SmallState::Command;
using SmallState::ShowKind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;
using testing::ElementsAreArray;

// What is shown of E1, E2 and in all of c, packets and bytes, and of the rule r1.
string figuresOf(const string& report) {
    std::smatch figures;
    const std::regex layout(
        "Traffic-policies applied on input:\nTraffic policy P\n   c:\n"
        "      E1: (\\d+) packets (\\d+) bytes\n      E2: (\\d+) packets (\\d+) bytes\n"
        "      Total: (\\d+) packets (\\d+) bytes\n   match rule: r1: (\\d+) packets\n");
    if (!std::regex_match(report, figures, layout)) return report;
    return figures.format("$1/$2 $3/$4 $5/$6 $7");
}

State countingState() {
    return stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c"],"rules":[
            {"name":"r1","priority":1,"action":{"count":{}}},
            {"name":"r2","priority":2,"action":{"count":{"counterName":"c"}}}]}}}})",
        R"({"hwStatus":{},"interfaceInput":{"countersPerInterface":true,"policyMapStatus":{"P":{
            "classMapStatus":{"r1":["ipv4"],"r2":["ipv4"]},
            "classCounter":{"r1":{"uniqueId":11,"packets":100,"bytes":9}},
            "namedCounter":{"c":{"uniqueId":21,"packets":200,"bytes":2000,"perIntfCount":{
                "E2":{"uniqueId":23,"packets":50,"bytes":500},
                "E1":{"uniqueId":22,"packets":150,"bytes":1500}}}}}}}})");
}

const string ruleBackwards = "1 Counter value for policy P, class r1 has moved backwards";
const string namedBackwards = "1 Counter value for policy P, counter c has moved backwards";
const string live = "150/1500 50/500 200/2000 100";

const struct {
    const char* name;
    CounterStores::Snapshot rule, named, onE1;
    string figures;
    std::vector<string> traces = {};
    const char* policyName = "P";  // of the snapshots; null: never cleared
} lookups[] = {
    {"never cleared", {}, {}, {}, live, {}, nullptr},
    {"no snapshots", {}, {}, {}, live},
    {"same records", {11, 1}, {21, 2, 20}, {22, 3, 30}, "147/1470 50/500 198/1980 99"},
    {"equal values", {11, 100}, {21, 200, 2000}, {22, 150, 1500}, "0/0 50/500 0/0 0"},
    {"one below",
     {11, 101},
     {21, 201, 2001},
     {22, 151, 1501},
     "0/0 50/500 0/0 0",
     {namedBackwards, namedBackwards, namedBackwards, namedBackwards, ruleBackwards}},
    {"far below", {11, ~U64{0}}, {}, {}, "150/1500 50/500 200/2000 0", {ruleBackwards}},
    {"only bytes", {}, {21, 0, 2001}, {}, "150/1500 50/500 200/0 100", {namedBackwards}},
    {"other records, smaller", {12, 900}, {99, 900, 9000}, {98, 900, 9000}, live},
    {"another record of the interface",
     {},
     {21, 50, 50},
     {98, 50, 50},
     "150/1500 50/500 150/1950 100"},
    {"another record of the counter",
     {},
     {99, 50, 50},
     {22, 50, 50},
     "100/1450 50/500 200/2000 100"},
    {"none of the interface", {}, {21, 50, 50}, {}, "150/1500 50/500 150/1950 100"},
    {"another policy's", {11, 1}, {21, 1, 1}, {22, 1, 1}, live, {}, "Q"},
};

TEST(CounterLookup, subtractsTheSnapshotOfTheSameRecord) {
    for (const auto& row : lookups) {
        for (const Where where : everywhere) {
            SCOPED_TRACE(string(row.name) + (where == Where::hive ? ", Hive" : ", Reef"));
            const Captured::Traces traces("TrafficPolicyShowCliHelper", 1);
            Command command{.counters = true, .bytes = true};
            if (row.policyName != nullptr) {
                command.snapshots = snapshotsOf(row.policyName, row.rule, row.named, row.onE1);
            }
            EXPECT_EQ(figuresOf(shownFrom(where, countingState(), command, SmallState::text)),
                      row.figures);
            EXPECT_THAT(traces.lines(), ElementsAreArray(row.traces));
        }
    }
}

TEST(CounterLookup, isZeroRightAfterAClear) {
    const State state = countingState();
    for (const Where where : everywhere) {
        const auto target = Orb::make<TrafficPolicy::Counter>();
        CounterStores::clear(where, state.interfaceInput, target);
        CounterStores::clear(where, state.interfaceInput, target);
        const string report = shownFrom(
            where, state, {.counters = true, .bytes = true, .snapshots = target}, SmallState::text);
        EXPECT_EQ(figuresOf(report), "0/0 0/0 0/0 0");
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
    shown(ShowKind::interface, bothDirections(), {.counters = true}, SmallState::text);
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
    const State whole = bothDirections();
    State state = whole;
    state.intfParamStatus = nullptr;
    state.interfaceOutput = Orb::make<TrafficPolicy::Status>();
    state.hwStatus = nullptr;
    const Command onlyP{.policyName = "P", .counters = true};
    EXPECT_EQ(shown(ShowKind::interface, state, onlyP, SmallState::text),
              "Traffic-policies applied on input:\nTraffic policy P\n   match rule: z: N/A\n"
              "   match rule: a: N/A\n   match rule: m: N/A\n")
        << "without a hardware status there is no store";
    state.interfaceInput = nullptr;
    state.interfaceOutput = whole.interfaceOutput;
    EXPECT_EQ(shown(ShowKind::interface, state, onlyP, SmallState::text),
              "\nTraffic-policies applied on output:\nTraffic policy P\n   match rule: z: N/A\n");
}

TEST(CounterView, ofTheCpuNeverBreaksDownByInterface) {
    State state = bothDirections();
    const auto perInterface = Orb::make<TrafficPolicy::Status>();
    perInterface->policyMapStatusIs(state.interfaceOutput->policyMapStatus());
    perInterface->countersPerInterfaceIs(true);
    state.cpu = perInterface;
    state.hwStatus = nullptr;
    const auto show = SmallState::cpuShow(state, {.counters = true, .bytes = true});
    EXPECT_EQ(shown(*show, SmallState::text),
              "Traffic policy P\n   used: 7 packets 18446744073709551615 bytes\n"
              "   match rule: z: 18446744073709551615 packets\n");
    EXPECT_FALSE(show->policyState("P")->countersPerInterface());
}

// "counter not enabled" is 0 and has no key; a value of no meaning is not shown at all.
TEST(CounterView, namesNoGranularityThatIsNotEnabled) {
    const std::regex line("(Counter granularity: )per-\\w+\n");
    const std::regex member("\"\\w+Granularity\":\"[a-z-]+\",");
    for (const U8 value : {0, 3}) {
        const auto granularity = static_cast<TrafficPolicy::CounterGranularity>(value);
        const auto parameters = Orb::make<TrafficPolicy::TrafficPolicyIntfParamStatus>();
        parameters->ingressCounterGranularityIs(granularity);
        parameters->egressCounterGranularityIs(granularity);
        State state = bothDirections();
        state.intfParamStatus = parameters;
        const Command command{.counters = true, .bytes = true};
        EXPECT_EQ(shown(ShowKind::interface, state, command, SmallState::text),
                  std::regex_replace(inputText + "\n" + outputText, line,
                                     value == 0 ? "$1counter not enabled\n" : ""));
        EXPECT_EQ(shown(ShowKind::interface, state, command, SmallState::json),
                  "{" + std::regex_replace(inputJson + "," + outputJson, member, "") + "}\n");
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
