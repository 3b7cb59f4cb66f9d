// Copies the live counter records of a policy out of the store in use into the policy's record.
// Nothing is subtracted here; a view subtracts the last clear when it shows a count.
#include "frame/ShowTrafficPolicy.h"
#include "frame/Trace.h"
#include "reef/PolicyMapReefCounterStatusReader.h"

namespace TrafficPolicyCli {

using PolicyMap::PolicyMapHiveCounterStatusReader;
using PolicyMap::PolicyMapReefCounterStatusReader;

namespace {

// Enters into named and ofClass the records that the reader has of a policy: of the counters that
// it declares, and of its rules.
template <class Named, class OfClass>
void gatherCounters(const CounterReader& reader, const PolicyState& policyState,
                    const PolicyMap::PolicyMapStatus& policyStatus, Named named, OfClass ofClass) {
    const PolicyMap::PolicyMapSmKey key{policyState.name(), ""};
    for (const auto& [counterName, isDeclared] : policyState.namedCounter()) {
        if (auto record = reader.namedCounterData(key, counterName)) named(std::move(record));
    }
    for (const auto& [className, cmapStatus] : policyStatus.classMapStatus()) {
        if (auto record = reader.classCounterData(key, className)) ofClass(std::move(record));
    }
}

}  // namespace

Orb::Ptr<const CounterReader> ShowTrafficPolicyBase::createCounterStatusHelper(bool) {
    SHOW_TRACE_ENTRY();
    return PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(status());
}

void ShowTrafficPolicyBase::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto policyState = getOrCreatePolicyState(policyName);
    gatherCounters(
        *inputCounterHelper(), *policyState, *getPolicyMapStatus(policyName),
        [&](auto record) { policyState->inputNamedCountersIs(std::move(record)); },
        [&](auto record) { policyState->inputClassCountersIs(std::move(record)); });
}

Orb::Ptr<const CounterReader> ShowTrafficPolicyInterface::createCounterStatusHelper(bool isInput) {
    SHOW_TRACE_ENTRY();
    if (!trafficPolicyHwStatus()) return nullptr;
    if (trafficPolicyHwStatus()->countersInReef()) {
        const auto reader = Orb::make<PolicyMapReefCounterStatusReader>(
            isInput ? policyMapCounters() : policyMapCountersOutput());
        reader->hasNotificationActiveIs(true);
        return reader;
    }
    return PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(
        isInput ? status() : statusOutput());
}

Orb::Ptr<const CounterReader> ShowTrafficPolicyInterface::getCounterStatusHelper(
    bool isInput) const {
    return isInput ? inputCounterHelper() : outputCounterHelper();
}

void ShowTrafficPolicyInterface::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto reader = getCounterStatusHelper(isInput());
    if (!reader) return;
    const auto policyState = Orb::ptrCast<PolicyStateInterface>(getOrCreatePolicyState(policyName));
    const auto policyStatus = getPolicyMapStatus(policyName);
    if (isInput()) {
        gatherCounters(
            *reader, *policyState, *policyStatus,
            [&](auto record) { policyState->inputNamedCountersIs(std::move(record)); },
            [&](auto record) { policyState->inputClassCountersIs(std::move(record)); });
    } else {
        gatherCounters(
            *reader, *policyState, *policyStatus,
            [&](auto record) { policyState->outputNamedCountersIs(std::move(record)); },
            [&](auto record) { policyState->outputClassCountersIs(std::move(record)); });
    }
}

}  // namespace TrafficPolicyCli
