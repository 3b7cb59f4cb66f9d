#include "cli/ClearCounters.h"

#include <cstdio>

#include "cli/ExitStatus.h"
#include "counters/CounterSnapshot.h"
#include "state/SnapshotsFile.h"
#include "textout/RendererV2.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;
using StateDirectory::Snapshots;
using StateDirectory::SnapshotsWriter;
using TargetPtr = Orb::Ptr<TrafficPolicy::Counter>;

void say(const std::string& message) { std::fprintf(stderr, "tpcli: %s\n", message.c_str()); }

// What a clear did.
struct Outcome {
    U64 counters = 0;
    bool isChanged = false;  // there is something to save
    bool isWhole = true;     // no target was left out
};

// The snapshots as they stand. A damaged document has none, and is kept under another name.
Snapshots snapshotsBefore(const SnapshotsWriter& writer, const std::string& directory,
                          Outcome& outcome) {
    try {
        return StateDirectory::readSnapshots(directory);
    } catch (const StateDirectory::StateError& error) {
        say(error.what());
        say("the damaged document is kept as " + writer.keepDamaged());
        outcome.isChanged = true;
        return {};
    }
}

// The same once more, when there is nothing left to say.
Snapshots snapshotsAgain(const std::string& directory) {
    try {
        return StateDirectory::readSnapshots(directory);
    } catch (const StateDirectory::StateError&) {
        return {};
    }
}

void clearFromStateDatabase(const Orb::Ptr<const TrafficPolicy::Status>& status,
                            std::string_view statusName, const TargetPtr& target,
                            Outcome& outcome) {
    if (!status) {
        say("status.json has no \"" + std::string(statusName) + "\": its counters are not cleared");
        outcome.isWhole = false;
        return;
    }
    const auto helper =
        TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory(status, target);
    helper->clearCounter();
    outcome.counters += helper->clearedCounters();
    outcome.isChanged = true;
}

// Both directions stand in one store: when it is damaged, both targets stay as they were. Single
// records that are not available keep their former snapshot.
void clearFromCounterStore(const Session& session, Snapshots& snapshots, Outcome& outcome) {
    U64 cleared = 0;
    const auto clear = [&](Direction direction, const TargetPtr& target) {
        const auto helper = TrafficPolicyCli::trafficPolicyReefCounterSnapshotHelperFactory(
            session.counters(direction), target, true);
        helper->clearCounter();
        cleared += helper->clearedCounters();
    };
    clear(Direction::input, snapshots.interfaceInput);
    clear(Direction::output, snapshots.interfaceOutput);
    if (session.counterStore()->damage().empty()) {
        outcome.counters += cleared;
        outcome.isChanged = true;
        outcome.isWhole = outcome.isWhole && session.counterStore()->recordsNotAvailable() == 0;
    } else {
        const Snapshots before = snapshotsAgain(session.stateDirectory());
        snapshots.interfaceInput = before.interfaceInput;
        snapshots.interfaceOutput = before.interfaceOutput;
        outcome.isWhole = false;
    }
}

void report(const Session& session, const Outcome& outcome) {
    textout::TextOutBuffer out(session.fd());
    textout::RendererV2 renderer(out, session.format(), session.revision());
    renderer.documentBegin();
    renderer.pair("clearedCounters", outcome.counters);
    renderer.text("Cleared ").number(outcome.counters).text(" traffic-policy counters").endLine();
    renderer.documentEnd();
    renderer.flush();
}

}  // namespace

int clearCounters(const Session& session) {
    // The writer goes first: the live counts that are read below are those of its turn.
    const SnapshotsWriter writer(session.stateDirectory());
    const StateDirectory::State& state = session.currentState();
    Outcome outcome;
    Snapshots snapshots = snapshotsBefore(writer, session.stateDirectory(), outcome);
    clearFromStateDatabase(state.cpu, "cpu", snapshots.cpu, outcome);
    if (!state.hwStatus) {
        say("no hardware status: there are no interface counters to clear");
    } else if (state.hwStatus->countersInReef()) {
        clearFromCounterStore(session, snapshots, outcome);
    } else {
        clearFromStateDatabase(state.interfaceInput, "interfaceInput", snapshots.interfaceInput,
                               outcome);
        clearFromStateDatabase(state.interfaceOutput, "interfaceOutput", snapshots.interfaceOutput,
                               outcome);
    }
    textout::checkInterrupt();  // the last moment at which nothing has changed
    if (outcome.isChanged) writer.save(snapshots);
    report(session, outcome);
    return outcome.isWhole ? ExitStatus::success : ExitStatus::badState;
}

}  // namespace Cli
