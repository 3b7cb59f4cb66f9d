// Reads the counter records of one direction of a counter store.
#pragma once

#include "reef/PolicyMapTypeCounters.h"

namespace PolicyMap {

// A null store reads as empty, and so does one that is missing or damaged: the corruption handler
// says so once, and no exception leaves the reader.
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
};

}  // namespace PolicyMap
