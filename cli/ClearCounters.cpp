#include "cli/ClearCounters.h"

#include <cstdio>

#include "cli/ExitStatus.h"
#include "state/SnapshotsFile.h"
#include "textout/RendererV2.h"
#include "traffic-policy/CounterSnapshot.h"

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
    bool isChanged = false;   // there is something to save
    bool isWhole = true;      // no target was left out, nothing failed
    bool wasDamaged = false;  // the document that is replaced
};

// The snapshots as they stand. Only a document that was read whole can be known to be damaged, and
// then has none; one that cannot be read may hold all of them, and ends the clear. So does a
// damaged one behind a link, which may have been set to anybody's file.
Snapshots snapshotsBefore(const SnapshotsWriter& writer, Outcome& outcome) {
    try {
        return writer.read();
    } catch (const StateDirectory::UnreadableError&) {
        throw;
    } catch (const StateDirectory::StateError& error) {
        if (writer.isLinked()) {
            throw StateDirectory::StateError(
                error.what() + std::string("; a damaged document that snapshots.json links to is "
                                           "not replaced: mend it or remove the link"));
        }
        say(error.what());
        outcome.isChanged = outcome.wasDamaged = true;
        return {};
    }
}

// A copy of its own: a clear changes the versions of named counters where they are.
TargetPtr copyOf(const TrafficPolicy::Counter& target) {
    auto copy = Orb::make<TrafficPolicy::Counter>();
    copy->timestampIs(target.timestamp());
    copy->snapshotIs(target.snapshot());
    for (const auto& [key, version] : target.namedSnapshot()) {
        const auto own = copy->namedSnapshotIs(key, version->uniqueId());
        own->totalCountIs(version->totalCount());
        for (const auto& [intfId, data] : version->perIntfCount()) {
            own->perIntfCountIs(intfId, data->uniqueId())->countDataIs(data->countData());
        }
    }
    return copy;
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
    const auto clear = [&](Direction direction, const TrafficPolicy::Counter& before) {
        const TargetPtr target = copyOf(before);
        const auto helper = TrafficPolicyCli::trafficPolicyReefCounterSnapshotHelperFactory(
            session.counters(direction), target, true);
        helper->clearCounter();
        cleared += helper->clearedCounters();
        return target;
    };
    const TargetPtr input = clear(Direction::input, *snapshots.interfaceInput);
    const TargetPtr output = clear(Direction::output, *snapshots.interfaceOutput);
    if (!session.counterStore()->damage().empty()) {
        outcome.isWhole = false;
        return;
    }
    snapshots.interfaceInput = input;
    snapshots.interfaceOutput = output;
    outcome.counters += cleared;
    outcome.isChanged = true;
    outcome.isWhole = outcome.isWhole && session.counterStore()->recordsNotAvailable() == 0;
}

void save(const SnapshotsWriter& writer, const Snapshots& snapshots, Outcome& outcome) {
    if (outcome.wasDamaged) say("the damaged document is kept as " + writer.keepDamaged());
    const std::string failure = writer.save(snapshots);
    if (!failure.empty()) {
        say(failure);
        outcome.isWhole = false;
    }
    // One that came while the new document was put in place came too late to stop anything.
    Orb::interruptRequestedIs(false);
}

void report(textout::RendererV2& renderer, const Outcome& outcome) {
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
    Snapshots snapshots = snapshotsBefore(writer, outcome);
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
    // Its memory is asked for while the clear may still fail.
    textout::TextOutBuffer out(session.fd());
    textout::RendererV2 renderer(out, session.format(), session.revision());
    if (outcome.isChanged) save(writer, snapshots, outcome);
    try {
        report(renderer, outcome);
    } catch (...) {
        // Whoever cannot read the report learns it here.
        std::fprintf(stderr, "tpcli: %llu traffic-policy counters were cleared\n",
                     static_cast<unsigned long long>(outcome.counters));
        throw;
    }
    return outcome.isWhole ? ExitStatus::success : ExitStatus::badState;
}

}  // namespace Cli
