#include "hive/Counters.h"

#include "hive/PolicyMapStatus.h"

namespace PolicyMap {

ORB_DEFINE_TYPE(IntfCountData)
ORB_DEFINE_TYPE(PacketDataStatus)
ORB_DEFINE_TYPE(PolicyMapCounterStatusReaderBase)
ORB_DEFINE_TYPE(PolicyMapHiveCounterStatusReader)

bool PolicyMapCounterStatusReaderBase::hasClassCounter(const PolicyMapSmKey& key,
                                                       const Orb::String& className) const {
    return classCounterData(key, className) != nullptr;
}

std::optional<std::set<Wire::IntfId>> PolicyMapCounterStatusReaderBase::namedCounterIntfs(
    const PolicyMapSmKey& key, const Orb::String& counterName) const {
    const auto record = namedCounterData(key, counterName);
    if (!record) return std::nullopt;
    std::set<Wire::IntfId> interfaces;
    for (const auto& [intfId, data] : record->perIntfCount()) interfaces.insert(intfId);
    return interfaces;
}

PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReader(
    Orb::Ptr<const PolicyMapTypeStatus> status)
    : status_(std::move(status)) {}

PolicyMapHiveCounterStatusReader::~PolicyMapHiveCounterStatusReader() = default;

Orb::Ptr<PolicyMapHiveCounterStatusReader>
PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(
    const Orb::Ptr<const PolicyMapTypeStatus>& status) {
    auto reader = Orb::make<PolicyMapHiveCounterStatusReader>(status);
    reader->hasNotificationActiveIs(true);
    return reader;
}

const PolicyMapStatus* PolicyMapHiveCounterStatusReader::policyOf(const PolicyMapSmKey& key) const {
    if (!status_) return nullptr;
    const auto& policies = status_->policyMapStatus();
    // The change count is compared first: the policy may be gone when it differs.
    if (lastPolicy_ == nullptr || lastChangeCount_ != policies.changeCount() ||
        lastPolicy_->name() != key.policyName) {
        lastPolicy_ = status_->policyMapStatus(key.policyName);
        lastChangeCount_ = policies.changeCount();
        nextClass_ = 0;
    }
    return lastPolicy_;
}

Orb::Ptr<const PacketDataStatus> PolicyMapHiveCounterStatusReader::classCounterData(
    const PolicyMapSmKey& key, const Orb::String& className) const {
    const PolicyMapStatus* policy = policyOf(key);
    if (policy == nullptr) return nullptr;
    const auto& counters = policy->classCounter();
    if (nextClass_ + Orb::stepsAhead < counters.size()) {
        Orb::fetchSoon((counters.begin() + nextClass_ + Orb::stepsAhead)->value.get());
    }
    const auto* const record = counters.find(className, nextClass_++);
    return record == nullptr ? nullptr : *record;
}

Orb::Ptr<const PacketDataStatus> PolicyMapHiveCounterStatusReader::namedCounterData(
    const PolicyMapSmKey& key, const Orb::String& counterName) const {
    const PolicyMapStatus* policy = policyOf(key);
    return policy == nullptr ? nullptr : policy->namedCounter(counterName);
}

U32 PolicyMapHiveCounterStatusReader::numClasses(const PolicyMapSmKey& key) const {
    const PolicyMapStatus* policy = policyOf(key);
    return policy == nullptr ? 0 : policy->classCounter().size();
}

U32 PolicyMapHiveCounterStatusReader::numNamedCounters(const PolicyMapSmKey& key) const {
    const PolicyMapStatus* policy = policyOf(key);
    return policy == nullptr ? 0 : policy->namedCounter().size();
}

}  // namespace PolicyMap

namespace TrafficPolicy {

ORB_DEFINE_TYPE(NamedCounterVersion)
ORB_DEFINE_TYPE(Counter)

}  // namespace TrafficPolicy
