#include "cli/StateReport.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <string>

#include "base/Escape.h"
#include "base/Time.h"
#include "cli/DiagnosisCommands.h"
#include "cli/ExitStatus.h"
#include "cli/KnownNames.h"
#include "orb/Seconds.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/CounterDirectory.h"
#include "state/Heard.h"
#include "state/Snapshots.h"
#include "textout/RendererV2.h"

namespace Cli {

namespace {

using StateDirectory::State;
using textout::RendererV2;

// "3 minutes", in the largest unit that fits.
std::string durationText(U64 seconds) {
    constexpr struct {
        U64 seconds;
        const char* name;
    } units[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
    for (const auto& unit : units) {
        if (seconds < unit.seconds && unit.seconds > 1) continue;
        const U64 count = seconds / unit.seconds;
        return std::to_string(count) + " " + unit.name + (count == 1 ? "" : "s");
    }
    return "";
}

// Whole seconds; 0 when the time is yet to come.
U64 secondsSince(double time) {
    const double age = Orb::now().count() - time;
    return age > 0 ? static_cast<U64>(age) : 0;
}

void reportOrigin(RendererV2& renderer, const State& state) {
    if (!state.source.empty()) {
        renderer.pair("source", state.source);
        renderer.text("Source: ").name(state.source).endLine();
    }
    if (!state.time) return;
    const std::string time = Base::timeText(*state.time);
    const U64 seconds = secondsSince(state.time->count());
    renderer.pair("time", time);
    renderer.pair("ageSeconds", seconds);
    renderer.text("Time: ").text(time).text(", ").text(durationText(seconds));
    renderer.text(" ago").endLine();
}

void reportHeard(RendererV2& renderer, const Session& session) {
    const auto heard = StateDirectory::readHeard(session.stateDirectory());
    if (!heard) return;
    const std::string time = Base::timeText(heard->time);
    const U64 seconds = secondsSince(heard->time.count());
    const auto object = renderer.object("heard");
    renderer.pair("time", time);
    renderer.pair("ageSeconds", seconds);
    renderer.text("Switch last heard: ").text(time).text(", ").text(durationText(seconds));
    renderer.text(" ago").endLine();
    if (heard->lost.empty()) return;
    renderer.pair("lost", heard->lost);
    renderer.text("   not followed any more: ").name(heard->lost).endLine();
}

void reportDocuments(RendererV2& renderer, const Session& session) {
    const auto documents = renderer.object("documents");
    for (const std::string name : {"config.json", "status.json", "snapshots.json"}) {
        struct stat status {};
        const std::string path = session.stateDirectory() + "/" + name;
        renderer.indent(3).text(name).text(": ");
        if (::stat(path.c_str(), &status) != 0) {
            renderer.text("not there").endLine();
            continue;
        }
        const U64 seconds = secondsSince(static_cast<double>(status.st_mtim.tv_sec));
        const U64 bytes = static_cast<U64>(status.st_size);
        const auto document = renderer.object(name);
        renderer.pair("ageSeconds", seconds);
        renderer.pair("bytes", bytes);
        renderer.number(bytes).text(" bytes, changed ").text(durationText(seconds));
        renderer.text(" ago").endLine();
    }
}

U64 rulesOf(const State& state) {
    U64 rules = 0;
    if (!state.config) return 0;
    for (const auto& [name, policy] : state.config->policyMapConfig()) {
        if (policy->currCfg()) rules += policy->currCfg()->classPriority().size();
    }
    return rules;
}

U64 pointsOf(const State& state) {
    U64 points = state.vrfConfig ? state.vrfConfig->vrf().size() : 0;
    for (const auto* config :
         {&state.intfConfigInput, &state.intfConfigOutput, &state.intfConfigBridged}) {
        if (*config) points += (*config)->intf().size();
    }
    return points;
}

U64 failuresOf(const PolicyMap::IntfStatus& point) {
    return static_cast<U64>(std::ranges::count_if(point.installation(), [](const auto& entry) {
        return entry.value.state == PolicyMap::InstallState::failed;
    }));
}

// Failed installations: of a policy, on a point, for one address family.
U64 failuresOf(const State& state) {
    U64 failures = 0;
    for (const auto* status : {&state.interfaceInput, &state.interfaceOutput, &state.cpu,
                               &state.cpuSoftware, &state.vlan}) {
        if (!*status) continue;
        for (const auto& [name, policy] : (*status)->policyMapStatus()) {
            for (const auto& [intfId, point] : policy->intfStatus()) {
                failures += failuresOf(*point);
            }
        }
    }
    return failures;
}

struct ClearTarget {
    const char* key;
    const char* label;
    const TrafficPolicy::Counter& counter;
};

// "2026-05-20T10:13:20Z, by admin on pts/3"
void tellClear(RendererV2& renderer, const TrafficPolicy::Clear& clear) {
    renderer.text(Base::timeText(clear.time));
    if (!clear.user.empty()) renderer.text(", by ").name(clear.user);
    if (!clear.terminal.empty()) renderer.text(" on ").name(clear.terminal);
    renderer.endLine();
}

void listClear(RendererV2& renderer, const ClearTarget& target, const std::string* policy,
               const TrafficPolicy::Clear& clear) {
    const auto object = renderer.object();
    renderer.pair("target", std::string_view(target.key));
    if (policy != nullptr) renderer.pair("policy", *policy);
    renderer.pair("time", Base::timeText(clear.time));
    if (!clear.user.empty()) renderer.pair("user", clear.user);
    if (!clear.terminal.empty()) renderer.pair("terminal", clear.terminal);
}

void reportLastClear(RendererV2& renderer, const Session& session) {
    const auto snapshots = StateDirectory::readSnapshots(session.stateDirectory());
    const ClearTarget targets[] = {
        {"cpu", "CPU", *snapshots.cpu},
        {"interfaceInput", "interface input", *snapshots.interfaceInput},
        {"interfaceOutput", "interface output", *snapshots.interfaceOutput}};
    {
        const auto times = renderer.object("lastClear");
        for (const ClearTarget& target : targets) {
            const Orb::Seconds time = target.counter.timestamp();
            if (time.count() > 0) renderer.pair(target.key, Base::timeText(time));
        }
    }
    const auto clears = renderer.list("clears");
    for (const ClearTarget& target : targets) {
        const TrafficPolicy::Clear all{target.counter.timestamp(), target.counter.user(),
                                       target.counter.terminal()};
        renderer.text("Last clear of ").text(target.label).text(": ");
        if (all.time.count() > 0) {
            tellClear(renderer, all);
            listClear(renderer, target, nullptr, all);
        } else {
            renderer.text("never").endLine();
        }
        std::map<std::string, TrafficPolicy::Clear> ofPolicies;
        for (const auto& [policy, clear] : target.counter.policyClear()) ofPolicies[policy] = clear;
        for (const auto& [policy, clear] : ofPolicies) {
            renderer.text("   only policy ").name(policy).text(": ");
            tellClear(renderer, clear);
            listClear(renderer, target, &policy, clear);
        }
    }
}

void reportCounterStore(RendererV2& renderer, const Session& session) {
    const auto store = renderer.object("counterStore");
    const std::string path = StateDirectory::counterStorePath(session.stateDirectory());
    renderer.pair("path", path);
    renderer.text("Counter store: ").name(path);
    try {
        const U64 counters = session.counterStore()->directory().counters.size();
        renderer.pair("counters", counters);
        renderer.text(", ").number(counters).text(" counters").endLine();
    } catch (const Cairn::CorruptionDetectedException& error) {
        renderer.pair("problem", std::string_view(error.what()));
        renderer.text(", not available: ").name(error.what()).endLine();
    }
}

}  // namespace

int reportState(const Session& session) {
    const State& state = session.state();
    const U64 problems = problemsOf(session);
    textout::TextOutBuffer out(session.fd());
    RendererV2 renderer(out, session.format(), session.revision());
    renderer.documentBegin();
    renderer.pair("directory", session.stateDirectory());
    renderer.text("State directory: ").name(session.stateDirectory()).endLine();
    reportOrigin(renderer, state);
    reportHeard(renderer, session);
    reportDocuments(renderer, session);
    const struct {
        const char* key;
        const char* label;
        U64 count;
    } counts[] = {{"policies", "Policies: ", policyNames(state).size()},
                  {"rules", "Rules: ", rulesOf(state)},
                  {"points", "Points with a policy: ", pointsOf(state)},
                  {"failures", "Failed installations: ", failuresOf(state)},
                  {"problems", "Problems: ", problems}};
    for (const auto& row : counts) {
        renderer.pair(row.key, row.count);
        renderer.text(row.label).number(row.count).endLine();
    }
    reportLastClear(renderer, session);
    reportCounterStore(renderer, session);
    renderer.documentEnd();
    renderer.flush();
    return ExitStatus::success;
}

int checkState(const Session& session) {
    session.currentState();
    StateDirectory::readSnapshots(session.stateDirectory());
    StateDirectory::readHeard(session.stateDirectory());
    textout::TextOutBuffer out(session.fd());
    RendererV2 renderer(out, session.format(), session.revision());
    renderer.documentBegin();
    renderer.pair("directory", session.stateDirectory());
    renderer.text("State directory: ").name(session.stateDirectory()).endLine();
    {
        const auto documents = renderer.list("documents");
        for (const std::string name :
             {"config.json", "status.json", "snapshots.json", StateDirectory::heardName}) {
            const std::string path = session.stateDirectory() + "/" + name;
            if (::access(path.c_str(), F_OK) != 0) continue;
            renderer.item(name);
            renderer.indent(3).text(name).text(": no mistakes").endLine();
        }
    }
    renderer.documentEnd();
    renderer.flush();
    return ExitStatus::success;
}

}  // namespace Cli
