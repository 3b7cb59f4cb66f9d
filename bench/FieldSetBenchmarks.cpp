// Prefix field sets: one of a million prefixes, and a filter over a thousand sets. A second thread
// asks for the activity lock all the time, which shows how long others wait while a set is sorted.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "Scene.h"
#include "blip/Blip.h"
#include "orb/ActivityLock.h"
#include "traffic-policy/ShowFieldSets.h"

namespace {

using Clock = std::chrono::system_clock;  // that of the ring of trace messages
using textout::OutputFormat_t;

constexpr Bench::StateShape oneLargeSet{.policies = 1, .fieldSets = 1, .prefixes = 1'000'000};

void render(const Bench::StateShape& shape, OutputFormat_t format, const char* filter) {
    const StateDirectory::State& state = Bench::loadedState(shape);
    const auto prefix = filter != nullptr ? *Wire::IpGenPrefix::parse(filter) : Wire::IpGenPrefix();
    const Orb::ActivityLockGuard lock;
    TrafficPolicyCli::showTrafficPolicyPrefixFieldSetFactory(state.fieldSetConfig, "", true,
                                                             filter != nullptr, prefix, false)
        ->render(Bench::nullDevice(), static_cast<U32>(format), 2);
}

// Asks for the activity lock for its own life, and remembers how long it waited each time.
class Rival {
  public:
    Rival() : thread_([this] { ask(); }) {}
    Rival(const Rival&) = delete;
    Rival& operator=(const Rival&) = delete;
    ~Rival() { stop(); }

    // The longest wait, none of them counted beyond the given time. Ends the asking.
    double longestWaitUntil(Clock::time_point end) {
        stop();
        std::chrono::duration<double, std::milli> longest{};
        for (const auto& [begun, ended] : waits_) {
            longest = std::max<decltype(longest)>(longest, std::min(ended, end) - begun);
        }
        return longest.count();
    }

  private:
    void ask() {
        while (!stops_) {
            const auto begun = Clock::now();
            { const Orb::ActivityLockGuard lock; }
            const auto ended = Clock::now();
            if (ended - begun > std::chrono::microseconds(100)) waits_.push_back({begun, ended});
        }
    }
    void stop() {
        stops_ = true;
        if (thread_.joinable()) thread_.join();
    }

    std::vector<std::pair<Clock::time_point, Clock::time_point>> waits_;
    std::atomic<bool> stops_ = false;
    std::thread thread_;
};

Clock::time_point endOfLastSort() {
    Clock::time_point end;
    for (const Blip::Message& message : Blip::messages()) {
        if (message.text.starts_with("end copy+sort")) end = message.time;
    }
    return end;
}

void field_set_million(benchmark::State& bench, OutputFormat_t format) {
    Bench::loadedState(oneLargeSet);
    double peak = 0;
    for (auto _ : bench) {
        bench.PauseTiming();
        const Bench::PeakMemory memory;
        bench.ResumeTiming();
        render(oneLargeSet, format, nullptr);
        peak = std::max(peak, memory.megabytesAbove());
    }
    bench.counters["peak_bytes_per_prefix"] = peak * 1e6 / oneLargeSet.prefixes;
}
BENCHMARK_CAPTURE(field_set_million, text, OutputFormat_t::text)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(field_set_million, json, OutputFormat_t::json)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void field_set_million_longest_lock_hold(benchmark::State& bench) {
    Bench::loadedState(oneLargeSet);
    double longest = 0;
    for (auto _ : bench) {
        Rival rival;
        render(oneLargeSet, OutputFormat_t::text, nullptr);
        longest = std::max(longest, rival.longestWaitUntil(endOfLastSort()));
    }
    bench.counters["longest_hold_ms"] = longest;
}
BENCHMARK(field_set_million_longest_lock_hold)->Unit(benchmark::kMillisecond)->UseRealTime();

void field_set_filter(benchmark::State& bench, const char* filter) {
    Bench::loadedState(Bench::manySets);
    for (auto _ : bench) render(Bench::manySets, OutputFormat_t::text, filter);
}
BENCHMARK_CAPTURE(field_set_filter, address, "198.51.100.7/32")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(field_set_filter, network, "198.51.0.0/16")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
