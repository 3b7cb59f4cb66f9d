#include "counters/CounterGathering.h"

#include "reef/PolicyMapReefCounterStatusReader.h"

namespace TrafficPolicyCli {

Orb::Ptr<const CounterReader> readerOf(const Orb::Ptr<const TrafficPolicy::Status>& status) {
    return PolicyMap::PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(status);
}

Orb::Ptr<const CounterReader> readerOf(
    const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& counters) {
    const auto reader = Orb::make<PolicyMap::PolicyMapReefCounterStatusReader>(counters);
    reader->hasNotificationActiveIs(true);
    return reader;
}

void gatherCounters(PolicyState& record, const Direction& direction, const CounterReader& reader,
                    const PolicyMap::PolicyMapStatus& policyStatus) {
    const PolicyMap::PolicyMapSmKey key{record.name(), ""};
    CounterMap named;
    for (const auto& [counterName, isDeclared] : record.namedCounter()) {
        if (auto data = reader.namedCounterData(key, counterName)) {
            named.is(data->name(), std::move(data));
        }
    }
    CounterMap ofClass;
    ofClass.reserve(policyStatus.classMapStatus().size());
    bool namesAgree = true;  // so far each record bears the name of its class
    for (const auto& [className, cmapStatus] : policyStatus.classMapStatus()) {
        auto data = reader.classCounterData(key, className);
        if (!data) continue;
        namesAgree = namesAgree && data->name() == className;
        if (namesAgree) {
            ofClass.insertNew({className, std::move(data)});
        } else {
            ofClass.is(data->name(), std::move(data));
        }
    }
    direction.countersAre(record, std::move(ofClass), std::move(named));
}

}  // namespace TrafficPolicyCli
