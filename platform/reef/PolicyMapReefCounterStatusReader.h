// Reads the counter records of one direction of a counter store.
#pragma once

#include "reef/PolicyMapTypeCounters.h"

namespace PolicyMap {

// A null store reads as empty, and so does one that is missing or damaged: the corruption handler
// says so once, and no exception leaves the reader. Not so for the questions what the store has,
// which read no record: "it has none" would be untrue of such a store, and they throw
// Cairn::CorruptionDetectedException.
class ORB_EXPORT PolicyMapReefCounterStatusReader : public PolicyMapCounterStatusReaderBase {
    ORB_DERIVED_TYPE(PolicyMapReefCounterStatusReader, PolicyMapCounterStatusReaderBase)
    ORB_CONSTRUCTIBLE(PolicyMapReefCounterStatusReader,
                      Orb::Ptr<const Counters::PolicyMapTypeCounters>)
    ORB_KEY(counters, Orb::Ptr<const Counters::PolicyMapTypeCounters>)

    explicit PolicyMapReefCounterStatusReader(
        Orb::Ptr<const Counters::PolicyMapTypeCounters> counters);
    ~PolicyMapReefCounterStatusReader() override;

    Orb::Ptr<const PacketDataStatus> classCounterData(const PolicyMapSmKey& key,
                                                      const Orb::String& className) const override;
    Orb::Ptr<const PacketDataStatus> namedCounterData(
        const PolicyMapSmKey& key, const Orb::String& counterName) const override;
    U32 numClasses(const PolicyMapSmKey& key) const override;
    U32 numNamedCounters(const PolicyMapSmKey& key) const override;
    bool hasClassCounter(const PolicyMapSmKey& key, const Orb::String& className) const override;
    std::optional<std::set<Wire::IntfId>> namedCounterIntfs(
        const PolicyMapSmKey& key, const Orb::String& counterName) const override;
};

}  // namespace PolicyMap
