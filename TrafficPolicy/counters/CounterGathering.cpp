// Copies the live counter records of a policy out of the store in use into the policy's record.
// Nothing is subtracted here; a view subtracts the last clear when it shows a count.
#include "frame/ShowTrafficPolicy.h"
#include "frame/Trace.h"

namespace TrafficPolicyCli {

namespace {

// Calls named(record) and ofClass(record) for the records that the reader has of a policy: of the
// counters that it declares, and of its rules.
template <class Named, class OfClass>
void gatherCounters(const CounterReader& reader, const PolicyState& policyState,
                    const PolicyMap::PolicyMapStatus& policyStatus, Named named, OfClass ofClass) {
    const PolicyMap::PolicyMapSmKey key{policyState.name(), ""};
    for (const auto& [counterName, isDeclared] : policyState.namedCounter()) {
        const auto record = reader.namedCounterData(key, counterName);
        if (record) named(record);
    }
    for (const auto& [className, cmapStatus] : policyStatus.classMapStatus()) {
        const auto record = reader.classCounterData(key, className);
        if (record) ofClass(record);
    }
}

}  // namespace

Orb::Ptr<const CounterReader> ShowTrafficPolicyBase::createCounterStatusHelper(bool) {
    SHOW_TRACE_ENTRY();
    return PolicyMap::PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(
        status());
}

void ShowTrafficPolicyBase::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto policyState = getOrCreatePolicyState(policyName);
    const auto policyStatus = getPolicyMapStatus(policyName);
    gatherCounters(
        *inputCounterHelper(), *policyState, *policyStatus,
        [&](const auto& record) { policyState->inputNamedCountersIs(record); },
        [&](const auto& record) { policyState->inputClassCountersIs(record); });
}

}  // namespace TrafficPolicyCli
