// The shared-memory counter store: shown while nobody counts and while an agent counts, the agent
// itself, and a clear from the loaded state to the synced document.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "Scene.h"
#include "orb/ActivityLock.h"
#include "reef/StoreWriter.h"
#include "state/SnapshotsFile.h"
#include "traffic-policy/CounterSnapshot.h"

namespace {

using PolicyMap::Counters::Direction;
using PolicyMap::Counters::PolicyMapTypeCounters;

const std::string& directory() { return Bench::stateDirectory(Bench::hundredThousandRules); }
const StateDirectory::State& state() { return Bench::loadedState(Bench::hundredThousandRules); }

// A store with the counters of the state, and the command that reads it.
class ReefScene {
  public:
    ReefScene()
        : path_(directory() + "/bench.reef"),
          writer_(Reef::StoreWriter::create(path_, state().interfaceInput, state().interfaceOutput,
                                            Reef::Identities::ofStatus)) {
        U32 counters = 0;
        for (const auto* status : {&state().interfaceInput, &state().interfaceOutput}) {
            for (const auto& [name, policy] : (*status)->policyMapStatus()) {
                counters += policy->classCounter().size() + policy->namedCounter().size();
            }
        }
        // Each counter once a round, far from its neighbours.
        for (U32 i = 0; i < counters; ++i) {
            const auto counter = static_cast<U32>(U64{i} * 7'919 % counters);
            increments_.push_back({counter, {1, 64}});
        }
    }
    ~ReefScene() { std::filesystem::remove(path_); }

    // Opens the store anew, as every command does.
    void show() const {
        auto hwStatus = Orb::make<TrafficPolicy::HwStatus>();
        hwStatus->countersInReefIs(true);
        hwStatus->byteCountersSupportedIs(true);
        const auto manager = Orb::make<Reef::StoreManager>(path_);
        Bench::Show command{.counters = true};
        command.hwStatus = hwStatus;
        command.reefInput = Orb::make<PolicyMapTypeCounters>(manager, Direction::input);
        command.reefOutput = Orb::make<PolicyMapTypeCounters>(manager, Direction::output);
        command.run(state());
    }
    // Counts every counter once; returns how many there are.
    U64 countAll() {
        writer_.add(increments_);
        return increments_.size();
    }

  private:
    std::string path_;
    Reef::StoreWriter writer_;
    std::vector<Reef::Increment> increments_;
};

void reef_show(benchmark::State& bench) {
    const ReefScene scene;
    for (auto _ : bench) scene.show();
}
BENCHMARK(reef_show)->Unit(benchmark::kMillisecond)->UseRealTime();

void reef_agent(benchmark::State& bench) {
    ReefScene scene;
    U64 updates = 0;
    for (auto _ : bench) updates += scene.countAll();
    bench.SetItemsProcessed(static_cast<int64_t>(updates));
}
BENCHMARK(reef_agent)->Unit(benchmark::kMillisecond)->UseRealTime();

// The time is that of the show; the rate is the agent's meanwhile.
void reef_show_while_agent_counts(benchmark::State& bench) {
    ReefScene scene;
    std::atomic<bool> stops = false;
    U64 updates = 0;
    std::chrono::duration<double> counting{};
    std::thread agent([&] {
        const auto begin = std::chrono::steady_clock::now();
        while (!stops) updates += scene.countAll();
        counting = std::chrono::steady_clock::now() - begin;
    });
    for (auto _ : bench) scene.show();
    stops = true;
    agent.join();
    bench.counters["agent_updates_per_second"] = static_cast<double>(updates) / counting.count();
}
BENCHMARK(reef_show_while_agent_counts)->Unit(benchmark::kMillisecond)->UseRealTime();

// A clear of all three targets, over the status documents' counters.
void clear(benchmark::State& bench) {
    U32 counters = 0;
    for (auto _ : bench) {
        const Orb::ActivityLockGuard lock;
        const StateDirectory::SnapshotsWriter writer(directory());
        const StateDirectory::Snapshots snapshots;
        const auto clearTarget = [](const auto& source, const auto& target) {
            TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory(source, target)
                ->clearCounter();
        };
        clearTarget(state().cpu, snapshots.cpu);
        clearTarget(state().interfaceInput, snapshots.interfaceInput);
        clearTarget(state().interfaceOutput, snapshots.interfaceOutput);
        const std::string fault = writer.save(snapshots);
        if (!fault.empty()) bench.SkipWithError(fault.c_str());
        counters = 0;
        for (const auto& target : {snapshots.interfaceInput, snapshots.interfaceOutput}) {
            counters += target->snapshot().size() + target->namedSnapshot().size();
        }
    }
    std::filesystem::remove(directory() + "/snapshots.json");
    bench.counters["counters"] = counters;
}
BENCHMARK(clear)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
