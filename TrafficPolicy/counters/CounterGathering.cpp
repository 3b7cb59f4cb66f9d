// Copies the live counter records of a policy out of the store in use into the policy's record.
// Nothing is subtracted here; a view subtracts the last clear when it shows a count. A policy whose
// status went while its gathering had given up the activity lock has no counters.
#include "frame/Trace.h"
#include "reef/PolicyMapReefCounterStatusReader.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

using PolicyMap::PolicyMapHiveCounterStatusReader;
using PolicyMap::PolicyMapReefCounterStatusReader;

namespace {

// The summary and the errors view print no count, and spare the operator the wait for them.
bool showsCounts(const ShowTrafficPolicyBase& show) {
    return show.counters() || !(show.summary() || show.errors());
}

// The records that a reader has of a policy.
struct Records {
    CounterMap named;    // of the counters that the policy declares
    CounterMap ofClass;  // of its rules
};

Records recordsOf(const CounterReader& reader, const PolicyState& policyState,
                  const PolicyMap::PolicyMapStatus& policyStatus) {
    const PolicyMap::PolicyMapSmKey key{policyState.name(), ""};
    Records records;
    for (const auto& [counterName, isDeclared] : policyState.namedCounter()) {
        if (auto record = reader.namedCounterData(key, counterName)) {
            records.named.is(record->name(), std::move(record));
        }
    }
    records.ofClass.reserve(policyStatus.classMapStatus().size());
    bool comeOnce = true;  // so far each record bears the name of its class
    for (const auto& [className, cmapStatus] : policyStatus.classMapStatus()) {
        auto record = reader.classCounterData(key, className);
        if (!record) continue;
        comeOnce = comeOnce && record->name() == className;
        if (comeOnce) {
            records.ofClass.isNew({className, std::move(record)});
        } else {
            records.ofClass.is(record->name(), std::move(record));
        }
    }
    return records;
}

}  // namespace

Orb::Ptr<const CounterReader> ShowTrafficPolicyBase::createCounterStatusHelper(bool) {
    SHOW_TRACE_ENTRY();
    return PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(status());
}

void ShowTrafficPolicyBase::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    const auto policyState = getOrCreatePolicyState(policyName);
    const auto policyStatus = getPolicyMapStatus(policyName);
    if (!inputCounterHelper() || !policyStatus || !showsCounts(*this)) return;
    Records records = recordsOf(*inputCounterHelper(), *policyState, *policyStatus);
    policyState->inputNamedCountersIs(std::move(records.named));
    policyState->inputClassCountersIs(std::move(records.ofClass));
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
    if (!policyStatus || !showsCounts(*this)) return;
    Records records = recordsOf(*reader, *policyState, *policyStatus);
    if (isInput()) {
        policyState->inputNamedCountersIs(std::move(records.named));
        policyState->inputClassCountersIs(std::move(records.ofClass));
    } else {
        policyState->outputNamedCountersIs(std::move(records.named));
        policyState->outputClassCountersIs(std::move(records.ofClass));
    }
}

}  // namespace TrafficPolicyCli
