// The interface command on a loaded state: gathering and rendering, to the null device.
#include "Scene.h"

namespace {

using textout::OutputFormat_t;

void show(benchmark::State& bench, const Bench::Show& command) {
    const auto rules = static_cast<U32>(bench.range(0));
    const StateDirectory::State& state = Bench::loadedState(Bench::shapeOf(rules));
    double peak = 0;
    U64 allocated = 0;
    for (auto _ : bench) {
        bench.PauseTiming();
        Bench::emptyCaches();
        const Bench::PeakMemory memory;
        bench.ResumeTiming();
        const U64 before = Bench::allocations();
        command.run(state);
        allocated += Bench::allocations() - before;
        peak = std::max(peak, memory.megabytesAbove());
    }
    bench.counters["peak_MB"] = peak;
    bench.counters["allocations_per_rule"] = benchmark::Counter(
        static_cast<double>(allocated) / rules, benchmark::Counter::kAvgIterations);
    bench.counters["per_rule"] = benchmark::Counter(
        rules, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The scale that every view is measured at, and that which shows how time grows.
void atScale(benchmark::internal::Benchmark* bench) {
    bench->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(show, summary_text, {.summary = true})->Apply(atScale);
BENCHMARK_CAPTURE(show, summary_json, {.summary = true, .format = OutputFormat_t::json})
    ->Apply(atScale);
BENCHMARK_CAPTURE(show, detail_text, {.detail = true})->Apply(atScale);
BENCHMARK_CAPTURE(show, detail_json, {.detail = true, .format = OutputFormat_t::json})
    ->Apply(atScale);
BENCHMARK_CAPTURE(show, counters_text, {.counters = true})->Apply(atScale);
BENCHMARK_CAPTURE(show, counters_json, {.counters = true, .format = OutputFormat_t::json})
    ->Apply(atScale);

}  // namespace
