#include "reef/StoreContents.h"

#include <algorithm>
#include <stdexcept>

namespace Reef {

using PolicyMap::PacketDataStatus;
using PolicyMap::PolicyMapStatus;
using PolicyMap::PolicyMapTypeStatus;

namespace {

class ContentsBuilder {
  public:
    explicit ContentsBuilder(std::optional<U64> firstIdentity) : nextIdentity_(firstIdentity) {}

    void add(Direction direction, const PolicyMapTypeStatus& status) {
        for (const auto& [name, policy] : status.policyMapStatus()) add(direction, *policy);
    }
    StoreContents take() { return std::move(contents_); }

  private:
    using Counters = std::vector<const PacketDataStatus*>;

    static Counters sorted(
        const Orb::HashMap2018<Orb::String, Orb::Ptr<const PacketDataStatus>>& records) {
        Counters counters;
        for (const auto& entry : records) counters.push_back(entry.value.get());
        std::ranges::sort(
            counters, {}, [](const auto* counter) -> auto& { return counter->name(); });
        return counters;
    }

    void add(Direction direction, const PolicyMapStatus& policy) {
        const Counters rules = sorted(policy.classCounter());
        const Counters named = sorted(policy.namedCounter());
        auto& counters = contents_.directory.counters;
        contents_.directory.policies.push_back({.direction = static_cast<U32>(direction),
                                                .firstCounter = position(),
                                                .ruleCount = static_cast<U32>(rules.size()),
                                                .namedCount = static_cast<U32>(named.size()),
                                                .name = rangeOf(policy.name())});
        for (const auto* rule : rules) add(rule->name(), rule->uniqueId(), rule->count());
        const CounterIndex firstNamed = position();
        for (const auto* counter : named) {
            add(counter->name(), counter->uniqueId(), counter->count());
        }
        for (std::size_t i = 0; i < named.size(); ++i) {
            counters[firstNamed + i].firstInterface = position();
            counters[firstNamed + i].interfaceCount = named[i]->perIntfCount().size();
            for (const auto& [interface, data] : named[i]->perIntfCount()) {
                add(interface.stringValue(), data->uniqueId(), data->countData());
            }
        }
    }

    void add(const Orb::String& name, Keel::UniqueId identity,
             const PolicyMap::PacketAndByte& counts) {
        if (contents_.counts.size() == maxCounters) {
            throw std::runtime_error("there are more than " + std::to_string(maxCounters) +
                                     " counters, and a store holds no more");
        }
        const U64 value = nextIdentity_ ? (*nextIdentity_)++ : identity.value;
        contents_.directory.counters.push_back({.identity = value, .name = rangeOf(name)});
        contents_.counts.push_back(counts);
    }

    CounterIndex position() const {
        return static_cast<CounterIndex>(contents_.directory.counters.size());
    }

    // Names repeat (interfaces, rules in both directions); each is kept once.
    NameRange rangeOf(const Orb::String& name) {
        if (const NameRange* known = ranges_.find(name)) return *known;
        std::string& names = contents_.directory.names;
        if (names.size() + name.size() > maxNameBytes) {
            throw std::runtime_error("the names of its counters are too long for a store");
        }
        const NameRange range = {static_cast<U32>(names.size()), static_cast<U32>(name.size())};
        names += name;
        ranges_.isNew({name, range});
        return range;
    }

    StoreContents contents_;
    std::optional<U64> nextIdentity_;
    Orb::HashMap2018<Orb::String, NameRange> ranges_;
};

}  // namespace

StoreContents contentsOf(const Orb::Ptr<const PolicyMapTypeStatus>& input,
                         const Orb::Ptr<const PolicyMapTypeStatus>& output,
                         std::optional<U64> firstIdentity) {
    ContentsBuilder builder(firstIdentity);
    if (input) builder.add(Direction::input, *input);
    if (output) builder.add(Direction::output, *output);
    return builder.take();
}

}  // namespace Reef
