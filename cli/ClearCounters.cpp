#include "cli/ClearCounters.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>

#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/KnownNames.h"
#include "state/SnapshotsFile.h"
#include "textout/RendererV2.h"
#include "traffic-policy/CounterSnapshot.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;
using StateDirectory::Snapshots;
using StateDirectory::SnapshotsWriter;
using TargetPtr = Orb::Ptr<TrafficPolicy::Counter>;

// Whose clear it is: the user who started the program, and the terminal.
TrafficPolicy::Clear clearOfThisUser() {
    TrafficPolicy::Clear clear;
    char buffer[4096];
    passwd entry{};
    passwd* found = nullptr;
    const uid_t uid = ::getuid();
    if (::getpwuid_r(uid, &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr) {
        clear.user = found->pw_name;
    }
    if (!StateDirectory::canBeName(clear.user)) clear.user = "uid " + std::to_string(uid);
    for (const int fd : {STDIN_FILENO, STDERR_FILENO, STDOUT_FILENO}) {
        constexpr std::string_view folder = "/dev/";
        if (::ttyname_r(fd, buffer, sizeof buffer) != 0) continue;
        std::string_view terminal = buffer;
        if (terminal.starts_with(folder)) terminal.remove_prefix(folder.size());
        if (StateDirectory::canBeName(terminal)) clear.terminal = terminal;
        break;
    }
    return clear;
}

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
        complain(error.what());
        outcome.isChanged = outcome.wasDamaged = true;
        return {};
    }
}

// A copy of its own: a clear changes the versions of named counters where they are.
TargetPtr copyOf(const TrafficPolicy::Counter& target) {
    auto copy = Orb::make<TrafficPolicy::Counter>();
    copy->timestampIs(target.timestamp());
    copy->userIs(target.user());
    copy->terminalIs(target.terminal());
    copy->policyClearIs(target.policyClear());
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

// One clear: what is to be cleared, whose it is, and what came of it.
class Clearing {
  public:
    Clearing(const Session& session, const ClearScope& scope, Snapshots& snapshots,
             Outcome& outcome)
        : session_(session), scope_(scope), snapshots_(snapshots), outcome_(outcome) {}

    void run() {
        const StateDirectory::State& state = session_.currentState();
        if (scope_.cpu) fromStateDatabase(state.cpu, "cpu", snapshots_.cpu);
        if (!scope_.input && !scope_.output) return;
        if (!state.hwStatus) {
            complain("no hardware status: there are no interface counters to clear");
        } else if (state.hwStatus->countersInReef()) {
            fromCounterStore();
        } else {
            if (scope_.input) {
                fromStateDatabase(state.interfaceInput, "interfaceInput",
                                  snapshots_.interfaceInput);
            }
            if (scope_.output) {
                fromStateDatabase(state.interfaceOutput, "interfaceOutput",
                                  snapshots_.interfaceOutput);
            }
        }
    }

  private:
    // Clears what of the scope a helper has. Returns how many counters that were.
    template <class Helper>
    U64 clear(const Helper& helper) const {
        TrafficPolicy::Counter& target = *helper->target();
        if (scope_.policy.empty()) {
            helper->clearCounter();
            target.userIs(whose_.user);
            target.terminalIs(whose_.terminal);
            target.policyClearDelAll();
        } else {
            helper->clearCounterOf(scope_.policy);
            if (helper->clearedCounters() > 0) {
                target.policyClearIs(
                    scope_.policy, TrafficPolicy::Clear{Orb::now(), whose_.user, whose_.terminal});
            }
        }
        return helper->clearedCounters();
    }

    void fromStateDatabase(const Orb::Ptr<const TrafficPolicy::Status>& status,
                           std::string_view statusName, const TargetPtr& target) {
        if (!status) {
            complain("status.json has no \"" + std::string(statusName) +
                     "\": its counters are not cleared");
            outcome_.isWhole = false;
            return;
        }
        outcome_.counters +=
            clear(TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory(status, target));
        outcome_.isChanged = true;
    }

    // Both directions stand in one store: when it is damaged, both targets stay as they were.
    // Single records that are not available keep their former snapshot.
    void fromCounterStore() {
        U64 cleared = 0;
        const auto targetOf = [&](bool isWanted, Direction direction, const TargetPtr& before) {
            if (!isWanted) return before;
            TargetPtr target = copyOf(*before);
            cleared += clear(TrafficPolicyCli::trafficPolicyReefCounterSnapshotHelperFactory(
                session_.counters(direction), target, true));
            return target;
        };
        const TargetPtr input = targetOf(scope_.input, Direction::input, snapshots_.interfaceInput);
        const TargetPtr output =
            targetOf(scope_.output, Direction::output, snapshots_.interfaceOutput);
        if (!session_.counterStore()->damage().empty()) {
            outcome_.isWhole = false;
            return;
        }
        snapshots_.interfaceInput = input;
        snapshots_.interfaceOutput = output;
        outcome_.counters += cleared;
        outcome_.isChanged = true;
        outcome_.isWhole = outcome_.isWhole && session_.counterStore()->recordsNotAvailable() == 0;
    }

    const Session& session_;
    const ClearScope& scope_;
    Snapshots& snapshots_;
    Outcome& outcome_;
    const TrafficPolicy::Clear whose_ = clearOfThisUser();
};

void save(const SnapshotsWriter& writer, const Snapshots& snapshots, Outcome& outcome) {
    if (outcome.wasDamaged) complain("the damaged document is kept as " + writer.keepDamaged());
    const std::string failure = writer.save(snapshots);
    if (!failure.empty()) {
        complain(failure);
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

int clearCounters(const Session& session, const ClearScope& scope) {
    // The writer goes first: the live counts that are read below are those of its turn.
    const SnapshotsWriter writer(session.stateDirectory());
    const StateDirectory::State& state = session.currentState();
    Outcome outcome;
    Snapshots snapshots = snapshotsBefore(writer, outcome);
    Clearing(session, scope, snapshots, outcome).run();
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
    session.endReport();
    reportUnknownName(scope.policy, "traffic policy", policyNames(state));
    return outcome.isWhole ? ExitStatus::success : ExitStatus::badState;
}

}  // namespace Cli
