#include "import/LiveCounters.h"

#include <algorithm>

#include "state/CounterStore.h"
#include "state/Snapshots.h"

namespace Import {

// In the order in which a new store has them: by direction and policy the rules, then the named
// counters, then these by interface.
std::vector<LiveCounters::Counter> LiveCounters::countersOf(const StateDirectory::State& state) {
    std::vector<Counter> counters;
    const std::pair<const char*, const Orb::Ptr<const TrafficPolicy::Status>*> directions[] = {
        {"input ", &state.interfaceInput}, {"output ", &state.interfaceOutput}};
    for (const auto& [direction, status] : directions) {
        if (!*status) continue;
        for (const auto& [policyName, policy] : (*status)->policyMapStatus()) {
            addCounters(direction + policyName + '\n', *policy, counters);
        }
    }
    return counters;
}

void LiveCounters::addCounters(const std::string& begin, const PolicyMap::PolicyMapStatus& policy,
                               std::vector<Counter>& counters) {
    const auto add = [&](const std::string& name, Keel::UniqueId identity,
                         const PolicyMap::PacketAndByte& counts) {
        counters.push_back({begin + name, identity.value, counts});
    };
    for (const auto& [name, counter] : policy.classCounter()) {
        add(name, counter->uniqueId(), counter->count());
    }
    for (const auto& [name, counter] : policy.namedCounter()) {
        add('\n' + Orb::String(name), counter->uniqueId(), counter->count());
    }
    for (const auto& [name, counter] : policy.namedCounter()) {
        for (const auto& [intfId, data] : counter->perIntfCount()) {
            add('\n' + Orb::String(name) + '\n' + intfId.stringValue(), data->uniqueId(),
                data->countData());
        }
    }
}

void LiveCounters::stateIs(const StateDirectory::State& state) {
    std::vector<Counter> counters = countersOf(state);
    const bool isSame =
        store_ && std::ranges::equal(counters, counters_, [](const Counter& a, const Counter& b) {
            return a.name == b.name && a.identity == b.identity;
        });
    if (isSame) {
        std::unordered_map<U64, PolicyMap::PacketAndByte> counts;
        for (const Counter& counter : counters) counts[counter.identity] = counter.counts;
        countsAre(counts);
        return;
    }
    Reef::UsedIdentities used;
    try {
        used = StateDirectory::identitiesOf(StateDirectory::readSnapshots(directory_));
    } catch (const StateDirectory::StateError&) {
        // A clear or a show says so to whom it concerns.
    }
    store_.reset();  // it holds the lock
    store_ = Reef::StoreWriter::create(StateDirectory::counterStorePath(directory_),
                                       state.interfaceInput, state.interfaceOutput,
                                       Reef::Identities::ofStatus, used);
    counters_ = std::move(counters);
}

// The store adds modulo 2^64, so that a counter that the switch has set back goes back as well.
void LiveCounters::countsAre(const std::unordered_map<U64, PolicyMap::PacketAndByte>& counts) {
    if (!store_) return;
    std::vector<Reef::Increment> increments;
    for (std::size_t i = 0; i < counters_.size(); ++i) {
        Counter& counter = counters_[i];
        const auto now = counts.find(counter.identity);
        if (now == counts.end() || now->second == counter.counts) continue;
        increments.push_back({static_cast<U32>(i),
                              {now->second.packets - counter.counts.packets,
                               now->second.bytes - counter.counts.bytes}});
        counter.counts = now->second;
    }
    store_->add(increments);
}

}  // namespace Import
