// The two stores that hold live counters, filled from one status, so that a test can ask the same
// of both.
#pragma once

#include "SmallState.h"
#include "reef/Layout.h"
#include "reef/StoreWriter.h"
#include "traffic-policy/CounterSnapshot.h"

namespace CounterStores {

using PolicyMap::Counters::Direction;
using PolicyMap::Counters::PolicyMapTypeCounters;
using SnapshotTarget = Orb::Ptr<TrafficPolicy::Counter>;

enum class Where { hive, reef };
inline constexpr Where everywhere[] = {Where::hive, Where::reef};

// A folder with a store file, which goes with the object.
class ReefFolder : TemporaryFolder {
  public:
    // The counters of one direction of a new store with the figures of both.
    Orb::Ptr<const PolicyMapTypeCounters> countersOf(
        const Orb::Ptr<const TrafficPolicy::Status>& input,
        const Orb::Ptr<const TrafficPolicy::Status>& output, Direction direction) const {
        Reef::StoreWriter::create(file("counters.reef"), input, output, Reef::Identities::ofStatus);
        return counters(direction);
    }
    // Leaves a record half-written, counted from the last, which is 1.
    void leaveUnfinished(int fromEnd) const {
        std::fstream store(file("counters.reef"), std::ios::in | std::ios::out | std::ios::binary);
        store.seekp(-fromEnd * static_cast<int>(Reef::recordSize), std::ios::end).put(3);
    }
    // Cuts off that many records.
    void cut(std::uintmax_t records) const {
        const std::string path = file("counters.reef");
        std::filesystem::resize_file(path,
                                     std::filesystem::file_size(path) - records * Reef::recordSize);
    }
    // The counters of one direction of whatever the file is.
    Orb::Ptr<const PolicyMapTypeCounters> counters(Direction direction) const {
        return Orb::make<PolicyMapTypeCounters>(
            Orb::make<Reef::StoreManager>(file("counters.reef")), direction);
    }
};

// A copy of a status without its counters, as it is when these are in the other store.
inline Orb::Ptr<const TrafficPolicy::Status> withoutCounters(
    const Orb::Ptr<const TrafficPolicy::Status>& status) {
    if (!status) return nullptr;
    const auto bare = Orb::make<TrafficPolicy::Status>();
    bare->countersPerInterfaceIs(status->countersPerInterface());
    for (const auto& [name, policy] : status->policyMapStatus()) {
        const auto barePolicy = Orb::make<PolicyMap::PolicyMapStatus>(name);
        barePolicy->classMapStatusIs(policy->classMapStatus());
        barePolicy->intfStatusIs(policy->intfStatus());
        bare->policyMapStatusIs(name, Orb::Ptr<const PolicyMap::PolicyMapStatus>(barePolicy));
    }
    return bare;
}

// What the interface command prints of a state whose counters are in one of the stores.
inline std::string shownFrom(Where where, SmallState::State state, SmallState::Command command,
                             U32 format) {
    const ReefFolder folder;
    if (where == Where::reef) {
        command.inputStore =
            folder.countersOf(state.interfaceInput, state.interfaceOutput, Direction::input);
        command.outputStore = folder.counters(Direction::output);
        const auto hwStatus = Orb::make<TrafficPolicy::HwStatus>();
        hwStatus->countersInReefIs(true);
        state.hwStatus = hwStatus;
        state.interfaceInput = withoutCounters(state.interfaceInput);
        state.interfaceOutput = withoutCounters(state.interfaceOutput);
    }
    return SmallState::shown(SmallState::ShowKind::interface, state, command, format);
}

// Clears the counters of a status that is in one of the stores (null: an empty or absent one).
inline void clear(Where where, const Orb::Ptr<const TrafficPolicy::Status>& status,
                  const SnapshotTarget& target, bool perInterface = true) {
    if (where == Where::hive) {
        TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory(status, target)
            ->clearCounter();
        return;
    }
    const ReefFolder folder;
    TrafficPolicyCli::trafficPolicyReefCounterSnapshotHelperFactory(
        folder.countersOf(status, nullptr, Direction::input), target, perInterface)
        ->clearCounter();
}

struct Snapshot {
    U64 identity = 0;  // 0: none
    U64 packets = 0;
    U64 bytes = 0;
};

// The snapshots of a clear, of the rule r1, the counter c, and c on the interface E1.
inline SnapshotTarget snapshotsOf(const Orb::String& policyName, Snapshot rule, Snapshot named,
                                  Snapshot onE1) {
    auto target = Orb::make<TrafficPolicy::Counter>();
    if (rule.identity != 0) {
        target->snapshotIs(TrafficPolicy::CounterKey{policyName, "r1"},
                           TrafficPolicy::CounterVersion{{rule.identity}, rule.packets});
    }
    if (named.identity == 0) return target;
    const Orb::Ptr<TrafficPolicy::NamedCounterVersion> version = target->namedSnapshotIs(
        TrafficPolicy::NamedCounterKey{policyName, "c"}, Keel::UniqueId{named.identity});
    version->totalCountIs(PolicyMap::PacketAndByte{named.packets, named.bytes});
    if (onE1.identity == 0) return target;
    version->perIntfCountIs(Wire::IntfId("E1"), Keel::UniqueId{onE1.identity})
        ->countDataIs(PolicyMap::PacketAndByte{onE1.packets, onE1.bytes});
    return target;
}

}  // namespace CounterStores
