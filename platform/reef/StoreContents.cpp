#include "reef/StoreContents.h"

#include <stdexcept>

namespace Reef {

using PolicyMap::PolicyMapStatus;
using PolicyMap::PolicyMapTypeStatus;

namespace {

class ContentsBuilder {
  public:
    ContentsBuilder(UnusedIdentities& unused, bool keepOwn) : unused_(unused), keepOwn_(keepOwn) {}

    void add(Direction direction, const PolicyMapTypeStatus& status) {
        for (const auto& [name, policy] : status.policyMapStatus()) add(direction, *policy);
    }
    StoreContents take() { return std::move(contents_); }

  private:
    void add(Direction direction, const PolicyMapStatus& policy) {
        const auto& rules = policy.classCounter();
        const auto& named = policy.namedCounter();
        auto& counters = contents_.directory.counters;
        contents_.directory.policies.push_back({.direction = static_cast<U32>(direction),
                                                .firstCounter = position(),
                                                .ruleCount = rules.size(),
                                                .namedCount = named.size(),
                                                .name = rangeOf(policy.name())});
        for (const auto& [name, rule] : rules) add(name, rule->uniqueId(), rule->count());
        CounterIndex owner = position();
        for (const auto& [name, counter] : named) add(name, counter->uniqueId(), counter->count());
        for (const auto& [name, counter] : named) {
            counters[owner].firstInterface = position();
            counters[owner].interfaceCount = counter->perIntfCount().size();
            ++owner;
            for (const auto& [interface, data] : counter->perIntfCount()) {
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
        const bool keeps = keepOwn_ && unused_.mayBegin(identity.value, counts);
        const U64 value = keeps ? identity.value : unused_.next();
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
        ranges_.insertNew({name, range});
        return range;
    }

    StoreContents contents_;
    UnusedIdentities& unused_;
    bool keepOwn_;
    Orb::HashMap2018<Orb::String, NameRange> ranges_;
};

}  // namespace

StoreContents contentsOf(const Orb::Ptr<const PolicyMapTypeStatus>& input,
                         const Orb::Ptr<const PolicyMapTypeStatus>& output,
                         UnusedIdentities& unused, bool keepOwn) {
    ContentsBuilder builder(unused, keepOwn);
    if (input) builder.add(Direction::input, *input);
    if (output) builder.add(Direction::output, *output);
    return builder.take();
}

}  // namespace Reef
