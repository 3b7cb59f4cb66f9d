// The answers across all policies, on the state of 100,000 rules and, for the linearity, on larger
// and smaller ones; and membership over a thousand field sets.
#include "Scene.h"
#include "orb/ActivityLock.h"
#include "traffic-policy/ShowPacket.h"

namespace {

using namespace TrafficPolicyCli;

DiagnosisSources sourcesOf(const StateDirectory::State& state) {
    DiagnosisSources sources;
    sources.config = state.config;
    sources.fieldSetConfig = state.fieldSetConfig;
    sources.intfConfigInput = state.intfConfigInput;
    sources.intfConfigOutput = state.intfConfigOutput;
    sources.trafficPolicyHwStatus = state.hwStatus;
    sources.input.status = state.interfaceInput;
    sources.output.status = state.interfaceOutput;
    return sources;
}

template <class Make>
void run(benchmark::State& bench, const Bench::StateShape& shape, Make make) {
    const DiagnosisSources sources = sourcesOf(Bench::loadedState(shape));
    for (auto _ : bench) {
        bench.PauseTiming();
        Bench::emptyCaches();
        bench.ResumeTiming();
        const Orb::ActivityLockGuard lock;
        make(sources)->render(Bench::nullDevice(), 1, 2);
    }
}

void diagnosis_attachments(benchmark::State& bench) {
    run(bench, Bench::shapeOf(static_cast<U32>(bench.range(0))), [](const auto& sources) {
        return showTrafficPolicyAttachmentsFactory(sources, "", "", "");
    });
}
void diagnosis_problems(benchmark::State& bench) {
    run(bench, Bench::shapeOf(static_cast<U32>(bench.range(0))),
        [](const auto& sources) { return showTrafficPolicyProblemsFactory(sources, ""); });
}
void diagnosis_references(benchmark::State& bench) {
    run(bench, Bench::shapeOf(static_cast<U32>(bench.range(0))), [](const auto& sources) {
        return showTrafficPolicyReferencesFactory(sources, ReferenceKind::counter, "DROPS-10");
    });
}
BENCHMARK(diagnosis_attachments)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(diagnosis_problems)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(diagnosis_references)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The question of a packet of which all fields are told, on the first interface with a policy.
void diagnosis_packet(benchmark::State& bench) {
    using Diagnosis::Field;
    const Bench::StateShape shape = Bench::shapeOf(static_cast<U32>(bench.range(0)));
    Diagnosis::Packet packet(PolicyMap::ClassMapMatchOption::ipv4);
    for (const auto& [field, address] :
         {std::pair{Field::source, "203.0.113.9"}, std::pair{Field::destination, "198.51.100.7"}}) {
        packet.valueIs(field, Diagnosis::FieldValue::address(*Wire::IpGenAddr::parse(address)));
    }
    packet.numberIs(Field::protocol, 6);
    packet.numberIs(Field::sourcePort, 40'000);
    packet.numberIs(Field::destinationPort, 443);
    packet.settle();
    const Orb::String point =
        Bench::loadedState(shape).intfConfigInput->intf().begin()->key.stringValue();
    run(bench, shape, [&](const auto& sources) {
        return showTrafficPolicyPacketFactory(sources, {AskedPoint::Kind::input, point}, packet,
                                              false);
    });
}
BENCHMARK(diagnosis_packet)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void diagnosis_holding(benchmark::State& bench) {
    run(bench, Bench::manySets, [](const auto& sources) {
        return showTrafficPolicyFieldSetHoldingFactory(
            sources, HoldingKind::address, *Wire::IpGenAddr::parse("198.51.100.7"), 0, {});
    });
}
BENCHMARK(diagnosis_holding)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
