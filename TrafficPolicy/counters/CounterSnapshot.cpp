#include "traffic-policy/CounterSnapshot.h"

#include <set>
#include <vector>

#include "frame/Creator.h"
#include "frame/Trace.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/ReefValueMapBase.h"

namespace TrafficPolicyCli {

using PolicyMap::IntfCountData;
using PolicyMap::PacketDataStatus;
using TrafficPolicy::Counter;
using TrafficPolicy::CounterKey;
using TrafficPolicy::CounterVersion;
using TrafficPolicy::NamedCounterKey;
using TrafficPolicy::NamedCounterVersion;

ORB_DEFINE_TYPE(TrafficPolicyHiveCounterSnapshotHelper)
ORB_DEFINE_TYPE(TrafficPolicyReefCounterSnapshotHelper)

namespace {

void snapshotInterfaces(NamedCounterVersion& version, const PacketDataStatus& record) {
    for (const auto& [intfId, live] : record.perIntfCount()) {
        const IntfCountData* const before = version.perIntfCount(intfId);
        if (before != nullptr && before->uniqueId() != live->uniqueId()) {
            version.perIntfCountDel(intfId);
        }
        version.perIntfCountIs(intfId, live->uniqueId())->countDataIs(live->countData());
    }
}

// A snapshot never carries figures of an earlier record of the same name: it is made anew when the
// identity differs.
void snapshotNamed(Counter& target, const Orb::String& policyName, const PacketDataStatus& record,
                   bool perInterface) {
    const NamedCounterKey key{policyName, record.name()};
    const NamedCounterVersion* const before = target.namedSnapshot(key);
    if (before != nullptr && before->uniqueId() != record.uniqueId()) target.namedSnapshotDel(key);
    const Orb::Ptr<NamedCounterVersion> version = target.namedSnapshotIs(key, record.uniqueId());
    version->totalCountIs(record.count());
    if (perInterface) snapshotInterfaces(*version, record);
}

void snapshotClass(Counter& target, const Orb::String& policyName, const PacketDataStatus& record) {
    target.snapshotIs(CounterKey{policyName, record.name()},
                      CounterVersion{record.uniqueId(), record.count().packets});
}

void removeGoneInterfaces(NamedCounterVersion& version, const std::set<Wire::IntfId>& live) {
    const auto& snapshots = version.perIntfCount();
    for (auto at = snapshots.begin(); at != snapshots.end();) {
        at = live.contains(at->first) ? std::next(at) : version.perIntfCountDel(at);
    }
}

// policyName: null: of all policies.
void removeStaleSnapshots(Counter& counter,
                          const PolicyMap::PolicyMapCounterStatusReaderBase& reader,
                          const Orb::String* policyName) {
    const auto isKept = [&](const Orb::String& policy) {
        return policyName != nullptr && *policyName != policy;
    };
    for (auto at = counter.snapshot().begin(); at != counter.snapshot().end();) {
        const auto& [policy, name] = at->key;
        const bool isLive = isKept(policy) || reader.hasClassCounter({policy, ""}, name);
        at = isLive ? at + 1 : counter.snapshotDel(at);
    }
    for (auto at = counter.namedSnapshot().begin(); at != counter.namedSnapshot().end();) {
        const auto& [policy, name] = at->key;
        if (isKept(policy)) {
            ++at;
            continue;
        }
        const auto live = reader.namedCounterIntfs({policy, ""}, name);
        if (live) removeGoneInterfaces(*at->value, *live);
        at = live ? at + 1 : counter.namedSnapshotDel(at);
    }
}

}  // namespace

void _cleanupStaleSnapshots(
    Orb::Ptr<Counter> counter,  // NOLINT(performance-unnecessary-value-param)
    const Orb::Ptr<const PolicyMap::PolicyMapCounterStatusReaderBase>& reader) {
    SHOW_TRACE_ENTRY();
    removeStaleSnapshots(*counter, *reader, nullptr);
}

TrafficPolicyHiveCounterSnapshotHelper::TrafficPolicyHiveCounterSnapshotHelper(
    const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& source, Orb::Ptr<Counter> target)
    : PolicyMapHiveCounterStatusReader(source), target_(std::move(target)) {}

void TrafficPolicyHiveCounterSnapshotHelper::clearCounter() {
    SHOW_TRACE_ENTRY();
    if (!status()) return;
    for (const auto& [policyName, policy] : status()->policyMapStatus()) snapshotPolicy(*policy);
    target()->timestampIs(Orb::now());
    _cleanupStaleSnapshots(target(), this);
}

void TrafficPolicyHiveCounterSnapshotHelper::clearCounterOf(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    if (!status()) return;
    const Orb::Ptr<const PolicyMap::PolicyMapStatus> policy = status()->policyMapStatus(policyName);
    if (policy) snapshotPolicy(*policy);
    removeStaleSnapshots(*target(), *this, &policyName);
}

void TrafficPolicyHiveCounterSnapshotHelper::snapshotPolicy(
    const PolicyMap::PolicyMapStatus& policy) {
    for (const auto& [name, record] : policy.namedCounter()) {
        snapshotNamed(*target(), policy.name(), *record, true);
    }
    for (const auto& [name, record] : policy.classCounter()) {
        snapshotClass(*target(), policy.name(), *record);
    }
    clearedCounters_ += U64{policy.namedCounter().size()} + policy.classCounter().size();
}

TrafficPolicyReefCounterSnapshotHelper::TrafficPolicyReefCounterSnapshotHelper(
    const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& source,
    Orb::Ptr<Counter> target, bool perInterface)
    : PolicyMapReefCounterStatusReader(source),
      target_(std::move(target)),
      perInterface_(perInterface) {}

void TrafficPolicyReefCounterSnapshotHelper::clearCounter() {
    SHOW_TRACE_ENTRY();
    clear(nullptr);
}

void TrafficPolicyReefCounterSnapshotHelper::clearCounterOf(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    clear(&policyName);
}

void TrafficPolicyReefCounterSnapshotHelper::clear(const Orb::String* policyName) {
    if (!counters()) return;
    try {
        // All is read before anything is written: a store that is damaged half-way leaves the
        // target as it was.
        std::vector<Live> live;
        for (const auto& key : counters()->policyMapKeys()) {
            if (policyName != nullptr && key.policyName != *policyName) continue;
            live.emplace_back(key, counters()->policyMapCounters(key));
        }
        for (const Live& policy : live) snapshotPolicy(policy);
        if (policyName == nullptr) target()->timestampIs(Orb::now());
        removeStaleSnapshots(*target(), *this, policyName);
    } catch (const Cairn::CorruptionDetectedException& corruption) {
        ReefValueMapBase::handleCorruptionDetected(corruption.what(), counters()->manager());
    }
}

void TrafficPolicyReefCounterSnapshotHelper::snapshotPolicy(const Live& policy) {
    const auto& [key, counters] = policy;
    for (const auto& record : counters.namedCounter) {
        snapshotNamed(*target(), key.policyName, *record, perInterface());
    }
    for (const auto& record : counters.classCounter) {
        snapshotClass(*target(), key.policyName, *record);
    }
    clearedCounters_ += counters.namedCounter.size() + counters.classCounter.size();
}

DEFINE_FACTORY_AND_CREATOR(
    TrafficPolicyHiveCounterSnapshotHelper, trafficPolicyHiveCounterSnapshotHelperFactory,
    (const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& source, const Orb::Ptr<Counter>& target),
    {
        auto helper = Orb::make<TrafficPolicyHiveCounterSnapshotHelper>(source, target);
        helper->hasNotificationActiveIs(true);
        return helper;
    })

DEFINE_FACTORY_AND_CREATOR(
    TrafficPolicyReefCounterSnapshotHelper, trafficPolicyReefCounterSnapshotHelperFactory,
    (const Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>& source,
     const Orb::Ptr<Counter>& target, bool perInterface),
    {
        auto helper =
            Orb::make<TrafficPolicyReefCounterSnapshotHelper>(source, target, perInterface);
        helper->hasNotificationActiveIs(true);
        return helper;
    })

namespace {

const bool isSnapshotHelperRegistered =
    Orb::registerFactory<&trafficPolicyHiveCounterSnapshotHelperFactory>() &&
    Orb::registerFactory<&trafficPolicyReefCounterSnapshotHelperFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
