#include "reef/PolicyMapTypeCounters.h"

#include "reef/CounterDirectory.h"

namespace PolicyMap::Counters {

using Reef::CounterDirectory;
using Reef::CounterEntry;
using Reef::CounterIndex;
using Reef::PolicyEntry;

ORB_DEFINE_TYPE(PolicyMapTypeCounters)

PolicyMapTypeCounters::PolicyMapTypeCounters(Orb::Ptr<Reef::StoreManager> manager,
                                             Direction direction)
    : manager_(std::move(manager)), direction_(direction) {}

PolicyMapTypeCounters::~PolicyMapTypeCounters() = default;

std::vector<PolicyMapKey> PolicyMapTypeCounters::policyMapKeys() const {
    const CounterDirectory& directory = manager_->directory();
    std::vector<PolicyMapKey> keys;
    for (const PolicyEntry& policy : directory.policiesOf(direction_)) {
        keys.push_back({Orb::String(directory.nameOf(policy.name))});
    }
    return keys;
}

PolicyMapCounters PolicyMapTypeCounters::policyMapCounters(const PolicyMapKey& key) const {
    PolicyMapCounters result;
    const PolicyEntry* const policy = policyOf(key.policyName);
    if (policy == nullptr) return result;
    const CounterIndex firstNamed = policy->firstCounter + policy->ruleCount;
    result.classCounter.reserve(policy->ruleCount);
    for (CounterIndex rule = policy->firstCounter; rule < firstNamed; ++rule) {
        if (auto data = dataOf(rule)) result.classCounter.push_back(std::move(data));
    }
    result.namedCounter.reserve(policy->namedCount);
    for (CounterIndex named = firstNamed; named < firstNamed + policy->namedCount; ++named) {
        if (auto data = dataOf(named)) result.namedCounter.push_back(std::move(data));
    }
    return result;
}

const PolicyEntry* PolicyMapTypeCounters::policyOf(std::string_view name) const {
    const CounterDirectory& directory = manager_->directory();
    if (lastPolicy_ == nullptr || directory.nameOf(lastPolicy_->name) != name) {
        lastPolicy_ = directory.policy(direction_, name);
    }
    return lastPolicy_;
}

Orb::Ptr<const PacketDataStatus> PolicyMapTypeCounters::classCounterData(
    const Orb::String& policyName, const Orb::String& className) const {
    const PolicyEntry* const policy = policyOf(policyName);
    if (policy == nullptr) return nullptr;
    const auto rule = manager_->directory().rule(*policy, className);
    return rule ? dataOf(*rule) : nullptr;
}

Orb::Ptr<const PacketDataStatus> PolicyMapTypeCounters::namedCounterData(
    const Orb::String& policyName, const Orb::String& counterName) const {
    const PolicyEntry* const policy = policyOf(policyName);
    if (policy == nullptr) return nullptr;
    const auto named = manager_->directory().namedCounter(*policy, counterName);
    return named ? dataOf(*named) : nullptr;
}

U32 PolicyMapTypeCounters::numClasses(const Orb::String& policyName) const {
    const PolicyEntry* const policy = policyOf(policyName);
    return policy == nullptr ? 0 : policy->ruleCount;
}

U32 PolicyMapTypeCounters::numNamedCounters(const Orb::String& policyName) const {
    const PolicyEntry* const policy = policyOf(policyName);
    return policy == nullptr ? 0 : policy->namedCount;
}

bool PolicyMapTypeCounters::hasClassCounter(const Orb::String& policyName,
                                            const Orb::String& className) const {
    const PolicyEntry* const policy = policyOf(policyName);
    return policy != nullptr && manager_->directory().rule(*policy, className).has_value();
}

std::optional<std::set<Wire::IntfId>> PolicyMapTypeCounters::namedCounterIntfs(
    const Orb::String& policyName, const Orb::String& counterName) const {
    const PolicyEntry* const policy = policyOf(policyName);
    if (policy == nullptr) return std::nullopt;
    const CounterDirectory& directory = manager_->directory();
    const auto named = directory.namedCounter(*policy, counterName);
    if (!named) return std::nullopt;
    const CounterEntry& entry = directory.counters[*named];
    std::set<Wire::IntfId> interfaces;
    for (const CounterEntry& row :
         std::span(directory.counters).subspan(entry.firstInterface, entry.interfaceCount)) {
        interfaces.emplace(Orb::String(directory.nameOf(row.name)));
    }
    return interfaces;
}

Orb::Ptr<const PacketDataStatus> PolicyMapTypeCounters::dataOf(U32 counter) const {
    const auto counts = manager_->counts(counter);
    if (!counts) return nullptr;
    const CounterDirectory& directory = manager_->directory();
    const CounterEntry& entry = directory.counters[counter];
    auto data = Orb::make<PacketDataStatus>(Orb::String(directory.nameOf(entry.name)),
                                            Keel::UniqueId{entry.identity});
    data->countIs(*counts);
    const CounterIndex end = entry.firstInterface + entry.interfaceCount;
    for (CounterIndex interface = entry.firstInterface; interface < end; ++interface) {
        const auto interfaceCounts = manager_->counts(interface);
        if (!interfaceCounts) continue;
        const CounterEntry& row = directory.counters[interface];
        auto rowData = Orb::make<IntfCountData>(
            Wire::IntfId(Orb::String(directory.nameOf(row.name))), Keel::UniqueId{row.identity});
        rowData->countDataIs(*interfaceCounts);
        data->perIntfCountIs(rowData->intfId(), rowData);
    }
    return data;
}

}  // namespace PolicyMap::Counters
