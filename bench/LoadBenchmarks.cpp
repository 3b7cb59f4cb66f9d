// Reading a state directory, and how the time grows with it.
#include "Scene.h"

namespace {

void load(benchmark::State& bench) {
    const auto rules = static_cast<U32>(bench.range(0));
    const std::string& directory = Bench::stateDirectory(Bench::shapeOf(rules));
    // Once before, so that a virtual machine has the memory from its host.
    StateDirectory::readState(directory);
    for (auto _ : bench) {
        StateDirectory::State state = StateDirectory::readState(directory);
        benchmark::DoNotOptimize(state);
        bench.PauseTiming();
        state = {};
        bench.ResumeTiming();
    }
    bench.counters["per_rule"] = benchmark::Counter(
        rules, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(load)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
