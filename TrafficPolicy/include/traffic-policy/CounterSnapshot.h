// Clearing counters: the live counters go on counting, and their values at the clear are written
// into a snapshot store, from which later shows count. One helper per store that holds live
// counters; it is itself the reader over that store. Built for one clear, used once, dropped.
#pragma once

#include "hive/PolicyMapStatus.h"
#include "reef/PolicyMapReefCounterStatusReader.h"

namespace TrafficPolicyCli {

class TrafficPolicyHiveCounterSnapshotHelper : public PolicyMap::PolicyMapHiveCounterStatusReader {
    ORB_DERIVED_TYPE(TrafficPolicyHiveCounterSnapshotHelper,
                     PolicyMap::PolicyMapHiveCounterStatusReader)
    ORB_KEY(target, Orb::Ptr<TrafficPolicy::Counter>)
    ORB_KEY(clearedCounters, U64)  // how many clearCounter() wrote

    TrafficPolicyHiveCounterSnapshotHelper(
        const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& source,
        Orb::Ptr<TrafficPolicy::Counter> target);

    // Writes the value of every live counter into the target, stamps it with the time, and removes
    // snapshots whose counter is gone. Without a source it does nothing.
    virtual void clearCounter();
    // The same of one policy: the snapshots of all others stay, and so does the time of the target.
    virtual void clearCounterOf(const Orb::String& policyName);

  private:
    void snapshotPolicy(const PolicyMap::PolicyMapStatus& policy);
};

class TrafficPolicyReefCounterSnapshotHelper : public PolicyMap::PolicyMapReefCounterStatusReader {
    ORB_DERIVED_TYPE(TrafficPolicyReefCounterSnapshotHelper,
                     PolicyMap::PolicyMapReefCounterStatusReader)
    ORB_KEY(target, Orb::Ptr<TrafficPolicy::Counter>)
    ORB_KEY(perInterface, bool)
    ORB_KEY(clearedCounters, U64)  // how many clearCounter() wrote

    TrafficPolicyReefCounterSnapshotHelper(
        const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& source,
        Orb::Ptr<TrafficPolicy::Counter> target, bool perInterface);

    // The same. A damaged store is handed to the corruption handler, and the target stays as it
    // was. A single record that is not available keeps its former snapshot.
    virtual void clearCounter();
    virtual void clearCounterOf(const Orb::String& policyName);

  private:
    using Live =
        std::pair<PolicyMap::Counters::PolicyMapKey, PolicyMap::Counters::PolicyMapCounters>;
    // policyName: null: of all policies.
    void clear(const Orb::String* policyName);
    void snapshotPolicy(const Live& policy);
};

// Removes the snapshots, and those of single interfaces, whose live record the reader does not
// have. Throws Cairn::CorruptionDetectedException when the reader's store cannot tell.
void _cleanupStaleSnapshots(
    Orb::Ptr<TrafficPolicy::Counter> counter,
    const Orb::Ptr<const PolicyMap::PolicyMapCounterStatusReaderBase>& reader);

// The factories, and the creators: the same with the same arguments. source: the store of the live
// counters. target: where the snapshots are written. perInterface: whether named counters are
// snapshot per interface too; their totals always are.
ORB_EXPORT Orb::Ptr<TrafficPolicyHiveCounterSnapshotHelper>
trafficPolicyHiveCounterSnapshotHelperFactory(
    const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& source,
    const Orb::Ptr<TrafficPolicy::Counter>& target);
ORB_EXPORT decltype(trafficPolicyHiveCounterSnapshotHelperFactory)
    TrafficPolicyHiveCounterSnapshotHelperIs;
ORB_EXPORT Orb::Ptr<TrafficPolicyReefCounterSnapshotHelper>
trafficPolicyReefCounterSnapshotHelperFactory(
    const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& source,
    const Orb::Ptr<TrafficPolicy::Counter>& target, bool perInterface);
ORB_EXPORT decltype(trafficPolicyReefCounterSnapshotHelperFactory)
    TrafficPolicyReefCounterSnapshotHelperIs;

}  // namespace TrafficPolicyCli
