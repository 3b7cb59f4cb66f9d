// The count action of a rule, on the CPU and on interfaces.
#include <gmock/gmock.h>

#include "CounterStores.h"
#include "WellFormed.h"

namespace TrafficPolicyCli {
namespace {

using CounterStores::snapshotsOf;
using SmallState::Command;
using SmallState::Kind;
using SmallState::shown;
using SmallState::State;
using SmallState::stateOf;
using std::string;

// The count action of the rule r1 among its actions, in text at 9 blanks.
struct CountRow {
    const char* name;
    string action;  // of the rule
    string input;   // counters of the input status, or of the CPU's
    string output;  // of the output status; empty: the rule has no status there
    Command command;
    string text;
    string json;
};

State countState(const CountRow& row) {
    const string status = R"({"policyMapStatus":{"P":{"classMapStatus":{"r1":["ipv4"]})";
    const auto statusWith = [&](const string& counters) {
        return counters.empty() ? string("{}") : status + "," + counters + "}}}";
    };
    return stateOf(R"({"policyMapConfig":{"P":{"currCfg":{"namedCounter":["c","größe"],"rules":[
                       {"name":"r1","priority":1,"action":{"count":)" +
                       row.action + "}}]}}}}",
                   R"({"hwStatus":{},"interfaceInput":)" + statusWith(row.input) +
                       R"(,"interfaceOutput":)" + statusWith(row.output) + R"(,"cpu":)" +
                       statusWith(row.input) + "}");
}

void expectCountActions(Kind kind, const std::vector<CountRow>& rows) {
    for (const CountRow& row : rows) {
        SCOPED_TRACE(row.name);
        const State state = countState(row);
        const string report = shown(kind, state, row.command, SmallState::text);
        const string heading = "         Actions: \n";
        string lines = report.substr(report.find(heading) + heading.size());
        lines = lines.substr(0, lines.find("WARNING"));
        EXPECT_EQ(lines, row.text);
        const string document = shown(kind, state, row.command, SmallState::json);
        EXPECT_EQ(document.substr(document.find("\"actions\"")),
                  "\"actions\":{" + row.json + "}}]}}}\n");
        EXPECT_EQ(WellFormed::faultOf(document), "");
    }
}

const string undeclaredText =
    "         Count: x (counter 'x' is inactive because it has not been declared)\n";
const string undeclaredJson =
    R"("countNamed":{"x":{"undefined":true}},"inputNamedCounters":{"x":{"undefined":true}})";
const string namedC = R"({"counterName":"c"})";
const string liveC = R"("namedCounter":{"c":{"uniqueId":1,"packets":12,"bytes":340}})";
const string liveR1 = R"("classCounter":{"r1":{"uniqueId":2,"packets":12,"bytes":340}})";
const string noCounters = R"("classCounter":{})";

TEST(CounterAction, onTheCpu) {
    expectCountActions(
        Kind::cpu,
        {{"named",
          namedC,
          liveC,
          "",
          {},
          "         Count: c: 12 packets\n",
          R"("countNamed":{"c":{"packetCount":12}},"inputNamedCounters":{"c":{"packetCount":12}})"},
         {"named, with bytes and snapshots",
          namedC,
          liveC,
          "",
          {.bytes = true, .snapshots = snapshotsOf("P", {}, {1, 2, 40}, {})},
          "         Count: c: 10 packets 300 bytes\n",
          R"("countNamed":{"c":{"packetCount":10,"byteCount":300}},)"
          R"("inputNamedCounters":{"c":{"packetCount":10,"byteCount":300}})"},
         {"named, without a record", namedC, noCounters, "", {}, "         Count: c: N/A\n", ""},
         {"undeclared, though it counts",
          R"({"counterName":"x"})",
          R"("namedCounter":{"x":{"uniqueId":1,"packets":12}})",
          "",
          {},
          undeclaredText,
          undeclaredJson},
         {"the rule's own, never with bytes",
          "{}",
          liveR1,
          "",
          {.bytes = true, .snapshots = snapshotsOf("P", {2, 2}, {}, {})},
          "         Count: 10 packets\n",
          R"("count":10,"inputCounter":10)"},
         {"the rule's own, without a record",
          "{}",
          noCounters,
          "",
          {},
          "         Count: N/A\n",
          ""}});
}

TEST(CounterAction, onInterfaces) {
    const string outputC = R"("namedCounter":{"c":{"uniqueId":3,"packets":7,"bytes":8}})";
    const string outputR1 = R"("classCounter":{"r1":{"uniqueId":4,"packets":7}})";
    expectCountActions(
        Kind::interface,
        {{"named, both directions",
          namedC,
          liveC,
          outputC,
          {.bytes = true,
           .snapshots = snapshotsOf("P", {}, {1, 2, 40}, {}),
           .outputSnapshots = snapshotsOf("P", {}, {3, 1, 1}, {})},
          "         Count: c: 10 packets 300 bytes (input)\n"
          "                   6 packets 7 bytes (output)\n",
          R"("countNamed":{"c":{"packetCount":10,"byteCount":300}},)"
          R"("inputNamedCounters":{"c":{"packetCount":10,"byteCount":300}},)"
          R"("outputNamedCounters":{"c":{"packetCount":6,"byteCount":7}})"},
         {"named, input only",
          namedC,
          liveC,
          outputC,
          {.inputOnly = true},
          "         Count: c: 12 packets (input)\n",
          R"("countNamed":{"c":{"packetCount":12}},"inputNamedCounters":{"c":{"packetCount":12}})"},
         {"named, output only",
          namedC,
          liveC,
          outputC,
          {.outputOnly = true},
          "         Count: c: 7 packets (output)\n",
          R"("outputNamedCounters":{"c":{"packetCount":7}})"},
         {"named, nothing live",
          namedC,
          noCounters,
          noCounters,
          {},
          "         Count: c: N/A (input)\n                   N/A (output)\n",
          ""},
         {"named, with a name that is not ASCII",
          R"({"counterName":"größe"})",
          R"("namedCounter":{"größe":{"uniqueId":1,"packets":1}})",
          noCounters,
          {},
          "         Count: größe: 1 packets (input)\n"
          "                       N/A (output)\n",
          R"("countNamed":{"größe":{"packetCount":1}},"inputNamedCounters":{"größe":{"packetCount":1}})"},
         {"undeclared, input only",
          R"({"counterName":"x"})",
          noCounters,
          noCounters,
          {.inputOnly = true},
          undeclaredText,
          undeclaredJson + R"(,"outputNamedCounters":{"x":{"undefined":true}})"},
         {"the rule's own",
          "{}",
          liveR1,
          outputR1,
          {.bytes = true, .outputSnapshots = snapshotsOf("P", {4, 1}, {}, {})},
          "         Count: 12 packets (input)\n                6 packets (output)\n",
          R"("count":12,"inputCounter":12,"outputCounter":6)"},
         {"the rule's own, only on output",
          "{}",
          "",
          outputR1,
          {},
          "         Count: N/A (input)\n                7 packets (output)\n",
          R"("outputCounter":7)"},
         {"the rule's own, output only",
          "{}",
          liveR1,
          outputR1,
          {.outputOnly = true},
          "         Count: 7 packets (output)\n",
          R"("outputCounter":7)"},
         {"the rule's own, input only, without a record",
          "{}",
          noCounters,
          outputR1,
          {.inputOnly = true},
          "         Count: N/A (input)\n",
          ""}});
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
