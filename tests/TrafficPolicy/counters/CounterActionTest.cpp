// The count action of a rule, on the CPU and on interfaces.
#include <gmock/gmock.h>

#include "CounterStores.h"
#include "WellFormed.h"

namespace TrafficPolicyCli {
namespace {

using CounterStores::snapshotsOf;
using SmallState::Command;
using SmallState::ShowKind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;

const string liveInput =
    R"("namedCounter":{"c":{"uniqueId":1,"packets":12,"bytes":340},"x":{"uniqueId":5,"packets":1},
        "größe":{"uniqueId":6,"packets":1}},
       "classCounter":{"r1":{"uniqueId":2,"packets":12,"bytes":340}})";
const string liveOutput =
    R"("namedCounter":{"c":{"uniqueId":3,"packets":7,"bytes":8}},
       "classCounter":{"r1":{"uniqueId":4,"packets":7}})";
const string none = R"("classCounter":{})";

// The count action of the rule r1 among its actions, in text without its 9 blanks.
struct CountRow {
    const char* counterName;  // of the action; null: the rule's own
    Command command;
    string text;
    string json;
    string input = liveInput;    // counters of the input status, or of the CPU's
    string output = liveOutput;  // of the output status; empty: the rule has no status there
};

State countState(const CountRow& row) {
    const auto statusWith = [](const string& key, const string& counters) {
        return "\"" + key + "\":" +
               (counters.empty() ? "{}"
                                 : R"({"policyMapStatus":{"P":{"classMapStatus":{"r1":["ipv4"]},)" +
                                       counters + "}}}");
    };
    const string counter =
        row.counterName == nullptr ? "" : R"("counterName":")" + string(row.counterName) + "\"";
    return stateOf(R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c","größe"],"rules":[
                       {"name":"r1","priority":1,"action":{"count":{)" +
                       counter + "}}}]}}}}",
                   R"({"hwStatus":{},)" + statusWith("interfaceInput", row.input) + "," +
                       statusWith("interfaceOutput", row.output) + "," +
                       statusWith("cpu", row.input) + "}");
}

void expectCountActions(ShowKind kind, const std::vector<CountRow>& rows) {
    for (const CountRow& row : rows) {
        SCOPED_TRACE(row.text);
        const State state = countState(row);
        const string report = shown(kind, state, row.command, SmallState::text);
        const string heading = "         Actions: \n         ";
        const string lines = report.substr(report.find(heading) + heading.size());
        EXPECT_EQ(lines.substr(0, lines.find("WARNING")), row.text);
        const string document = shown(kind, state, row.command, SmallState::json);
        EXPECT_EQ(document.substr(document.find("\"actions\"")),
                  "\"actions\":{" + row.json + "}}]}}}\n");
        EXPECT_EQ(WellFormed::faultOf(document), "");
    }
}

const string undeclaredText =
    "Count: x (counter 'x' is inactive because it has not been declared)\n";
const string undeclaredJson =
    R"("countNamed":{"x":{"undefined":true}},"inputNamedCounters":{"x":{"undefined":true}})";
const string bytesJson = R"("countNamed":{"c":{"packetCount":10,"byteCount":300}},)"
                         R"("inputNamedCounters":{"c":{"packetCount":10,"byteCount":300}})";
const string packetsJson =
    R"("countNamed":{"c":{"packetCount":12}},"inputNamedCounters":{"c":{"packetCount":12}})";
constexpr const char* rulesOwn = nullptr;
const Command withCounts;
const Command inputOnly{.inputOnly = true};
const Command outputOnly{.outputOnly = true};
const Command cleared{.bytes = true,
                      .snapshots = snapshotsOf("P", {2, 2}, {1, 2, 40}, {}),
                      .outputSnapshots = snapshotsOf("P", {4, 1}, {3, 1, 1}, {})};

TEST(CounterAction, onTheCpu) {
    expectCountActions(
        ShowKind::cpu,
        {{"c", withCounts, "Count: c: 12 packets\n", packetsJson},
         {"c", cleared, "Count: c: 10 packets 300 bytes\n", bytesJson},
         {"c", withCounts, "Count: c: N/A\n", "", none},
         {"x", withCounts, undeclaredText, undeclaredJson},
         {rulesOwn, cleared, "Count: 10 packets\n", R"("count":10,"inputCounter":10)"},
         {rulesOwn, withCounts, "Count: N/A\n", "", none}});
}

TEST(CounterAction, onInterfaces) {
    expectCountActions(
        ShowKind::interface,
        {{"c", cleared,
          "Count: c: 10 packets 300 bytes (input)\n"
          "                   6 packets 7 bytes (output)\n",
          bytesJson + R"(,"outputNamedCounters":{"c":{"packetCount":6,"byteCount":7}})"},
         {"c", inputOnly, "Count: c: 12 packets (input)\n", packetsJson},
         {"c", outputOnly, "Count: c: 7 packets (output)\n",
          R"("outputNamedCounters":{"c":{"packetCount":7}})"},
         {"c", withCounts, "Count: c: N/A (input)\n                   N/A (output)\n", "", none,
          none},
         {"größe", withCounts,
          "Count: größe: 1 packets (input)\n                       N/A (output)\n",
          R"("countNamed":{"größe":{"packetCount":1}},)"
          R"("inputNamedCounters":{"größe":{"packetCount":1}})"},
         {"x", inputOnly, undeclaredText,
          undeclaredJson + R"(,"outputNamedCounters":{"x":{"undefined":true}})"},
         {rulesOwn, cleared, "Count: 10 packets (input)\n                6 packets (output)\n",
          R"("count":10,"inputCounter":10,"outputCounter":6)"},
         {rulesOwn, withCounts, "Count: N/A (input)\n                7 packets (output)\n",
          R"("outputCounter":7)", ""},
         {rulesOwn, outputOnly, "Count: 7 packets (output)\n", R"("outputCounter":7)"},
         {rulesOwn, inputOnly, "Count: N/A (input)\n", "", none}});
}

TEST(CounterDeathTest, brokenInvariantsNameTheirExpression) {
    const auto count = Orb::make<PolicyMap::CountAction>();
    const Captured::MemoryFile file;
    textout::TextOutBuffer out(static_cast<U32>(file.fd()));
    textout::RendererV2 renderer(out, SmallState::text, 2);
    const auto onCpu = SmallState::cpuShow(State{});
    const auto onInterfaces = SmallState::interfaceShow(State{});
    EXPECT_DEATH(onCpu->renderCountAction(&renderer, 0, nullptr, count, 0),
                 "assertion failed: policyState");
    EXPECT_DEATH(onInterfaces->renderCountAction(&renderer, 0, nullptr, count, 0),
                 "assertion failed: policyState");
    EXPECT_DEATH(onCpu->renderCountAction(&renderer, 0, policyStateCpuFactory("P"), count, 0),
                 "assertion failed: cmapStatus");
    const auto record = policyStateInterfaceFactory("P");
    const auto statusOf = [](const char* name) {
        return Orb::Ptr<const PolicyMap::ClassMapStatus>(
            Orb::make<PolicyMap::ClassMapStatus>(name));
    };
    record->classMapStatusInputIs(0, statusOf("r1"));
    record->classMapStatusOutputIs(0, statusOf("r2"));
    EXPECT_DEATH(onInterfaces->renderCountAction(&renderer, 0, record, count, 0),
                 "assertion failed: cmapStatusOutput->name\\(\\) == cmapStatus->name\\(\\)");
}

}  // namespace
}  // namespace TrafficPolicyCli
