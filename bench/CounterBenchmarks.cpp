// The shared-memory counter store: shown while nobody counts and while an agent counts, the agent
// itself, a clear and a mark from the loaded state to the synced document, and rates.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "Scene.h"
#include "orb/ActivityLock.h"
#include "reef/StoreWriter.h"
#include "state/DocumentWriter.h"
#include "state/SnapshotsFile.h"
#include "traffic-policy/CounterSnapshot.h"
#include "traffic-policy/ShowRates.h"

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
    // Two looks and what came between them.
    void rates() {
        auto hwStatus = Orb::make<TrafficPolicy::HwStatus>();
        hwStatus->countersInReefIs(true);
        hwStatus->byteCountersSupportedIs(true);
        const auto show = TrafficPolicyCli::showTrafficPolicyRatesFactory({}, "");
        for (const double time : {1.0, 2.0}) {
            const auto manager = Orb::make<Reef::StoreManager>(path_);
            auto sources = TrafficPolicyCli::diagnosisSourcesOf(
                state(), Orb::make<PolicyMapTypeCounters>(manager, Direction::input),
                Orb::make<PolicyMapTypeCounters>(manager, Direction::output));
            sources.trafficPolicyHwStatus = hwStatus;
            const Orb::ActivityLockGuard lock;
            show->look(sources, {Orb::Seconds(time), Orb::Seconds(time)});
        }
        show->render(Bench::nullDevice(), 1, 2);
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

void rates(benchmark::State& bench) {
    ReefScene scene;
    for (auto _ : bench) scene.rates();
}
BENCHMARK(rates)->Unit(benchmark::kMillisecond)->UseRealTime();

// Takes snapshots of all counters of the status documents.
void takeSnapshots(const StateDirectory::Snapshots& snapshots) {
    const auto take = [](const auto& source, const auto& target) {
        TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory(source, target)
            ->clearCounter();
    };
    take(state().cpu, snapshots.cpu);
    take(state().interfaceInput, snapshots.interfaceInput);
    take(state().interfaceOutput, snapshots.interfaceOutput);
}

// A mark beside another one, and the counts of one.
void mark(benchmark::State& bench) {
    const std::string path = directory() + "/marks.json";
    for (auto _ : bench) {
        const StateDirectory::DocumentWriter writer(
            directory(), "marks", StateDirectory::DocumentWriter::Access::ownerOnly);
        StateDirectory::Marks marks = StateDirectory::readMarks(path);
        marks.stateDirectory = directory();
        StateDirectory::Snapshots snapshots;
        takeSnapshots(snapshots);
        marks.marks.insert_or_assign(marks.marks.empty() ? "first" : "second", snapshots);
        const std::string fault = writer.save(StateDirectory::marksText(marks));
        if (!fault.empty()) bench.SkipWithError(fault.c_str());
    }
    std::filesystem::remove(path);
}
BENCHMARK(mark)->Unit(benchmark::kMillisecond)->UseRealTime();

// A clear of all three targets, over the status documents' counters.
void clear(benchmark::State& bench) {
    U32 counters = 0;
    for (auto _ : bench) {
        const Orb::ActivityLockGuard lock;
        const StateDirectory::SnapshotsWriter writer(directory());
        const StateDirectory::Snapshots snapshots;
        takeSnapshots(snapshots);
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
