// Reading a state directory, and how the time grows with it.
#include "Scene.h"

namespace {

void load(benchmark::State& bench) {
    const auto rules = static_cast<U32>(bench.range(0));
    const std::string& directory = Bench::stateDirectory(Bench::shapeOf(rules));
    double peak = 0;
    for (auto _ : bench) {
        bench.PauseTiming();
        const Bench::PeakMemory memory;
        bench.ResumeTiming();
        StateDirectory::State state = StateDirectory::readState(directory);
        benchmark::DoNotOptimize(state);
        bench.PauseTiming();
        peak = std::max(peak, memory.megabytesAbove());
        state = {};
        bench.ResumeTiming();
    }
    bench.counters["peak_MB"] = peak;
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
