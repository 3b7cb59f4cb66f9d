#include "reef/CounterDirectory.h"

#include <algorithm>
#include <tuple>

#include "base/Escape.h"
#include "reef/CorruptionDetectedException.h"

namespace Reef {

namespace {

[[noreturn]] void damaged(const char* what) {
    throw Cairn::CorruptionDetectedException(std::string("its directory is damaged: ") + what);
}

}  // namespace

void CounterDirectory::check() const {
    const auto checkName = [this](NameRange range) {
        if (U64{range.offset} + range.length > names.size()) damaged("a name lies outside");
    };
    U64 next = 0;
    const PolicyEntry* previous = nullptr;
    for (const PolicyEntry& policy : policies) {
        checkName(policy.name);
        if (policy.direction > 1) damaged("a policy has no direction");
        if (previous != nullptr && std::tuple(previous->direction, nameOf(previous->name)) >=
                                       std::tuple(policy.direction, nameOf(policy.name))) {
            damaged("its policies do not ascend");
        }
        previous = &policy;
        if (policy.firstCounter != next) damaged("a policy's counters lie outside");
        next = checkCounters(policy);
    }
    if (next != counters.size()) damaged("counters belong to no policy");
    for (const CounterEntry& counter : counters) checkName(counter.name);
}

// Those of the rules, of the named counters and of their interfaces, which follow each other.
// Returns where the counters of the next policy begin.
U64 CounterDirectory::checkCounters(const PolicyEntry& policy) const {
    const U64 firstNamed = U64{policy.firstCounter} + policy.ruleCount;
    U64 interface = firstNamed + policy.namedCount;
    if (interface > counters.size()) damaged("a policy's counters lie outside");
    for (U64 i = policy.firstCounter; i < firstNamed; ++i) {
        if (counters[i].interfaceCount != 0) damaged("a rule counts per interface");
    }
    for (U64 i = firstNamed; i < firstNamed + policy.namedCount; ++i) {
        if (counters[i].firstInterface != interface) damaged("interfaces lie outside");
        interface += counters[i].interfaceCount;
    }
    if (interface > counters.size()) damaged("interfaces lie outside");
    return interface;
}

U64 CounterDirectory::checksum() const {
    U64 sum = Reef::checksum(std::as_bytes(std::span(policies)), 0);
    sum = Reef::checksum(std::as_bytes(std::span(counters)), sum);
    return Reef::checksum(std::as_bytes(std::span(names)), sum);
}

std::span<const PolicyEntry> CounterDirectory::policiesOf(Direction direction) const {
    const auto number = static_cast<U32>(direction);
    return {std::ranges::lower_bound(policies, number, {}, &PolicyEntry::direction),
            std::ranges::upper_bound(policies, number, {}, &PolicyEntry::direction)};
}

const PolicyEntry* CounterDirectory::policy(Direction direction, std::string_view name) const {
    const auto candidates = policiesOf(direction);
    const auto byName = [this](const PolicyEntry& entry) { return nameOf(entry.name); };
    const auto found = std::ranges::lower_bound(candidates, name, {}, byName);
    return found != candidates.end() && byName(*found) == name ? &*found : nullptr;
}

std::optional<CounterIndex> CounterDirectory::rule(const PolicyEntry& policy,
                                                   std::string_view name) const {
    return find(findersOf(policy).rules, policy.firstCounter, policy.ruleCount, name);
}

std::optional<CounterIndex> CounterDirectory::namedCounter(const PolicyEntry& policy,
                                                           std::string_view name) const {
    return find(findersOf(policy).named, policy.firstCounter + policy.ruleCount, policy.namedCount,
                name);
}

CounterDirectory::Finders& CounterDirectory::findersOf(const PolicyEntry& policy) const {
    if (finders_.empty()) finders_.resize(policies.size());
    return finders_[static_cast<std::size_t>(&policy - policies.data())];
}

std::optional<CounterIndex> CounterDirectory::find(Finder& finder, CounterIndex first, U32 count,
                                                   std::string_view name) const {
    const CounterIndex next = std::max(finder.next, first);
    if (next < first + count && nameOf(counters[next].name) == name) {
        finder.next = next + 1;
        return next;
    }
    if (finder.map.empty()) {
        finder.map.reserve(count);
        for (CounterIndex i = first; i < first + count; ++i) {
            finder.map.insertNew({nameOf(counters[i].name), i});
        }
    }
    const CounterIndex* const found = finder.map.find(name);
    if (found == nullptr) return std::nullopt;
    finder.next = *found + 1;
    return *found;
}

std::string CounterDirectory::describe(CounterIndex counter) const {
    const auto after = std::ranges::upper_bound(policies, counter, {}, &PolicyEntry::firstCounter);
    const PolicyEntry& policy = *std::prev(after);
    std::string text = policy.direction == 0 ? "input policy " : "output policy ";
    Base::appendEscaped(text, nameOf(policy.name));
    const CounterIndex firstNamed = policy.firstCounter + policy.ruleCount;
    CounterIndex owner = counter;
    if (counter >= firstNamed + policy.namedCount) {
        // Of unsigned differences only the owner's is below its count.
        owner = firstNamed;
        while (counter - counters[owner].firstInterface >= counters[owner].interfaceCount) ++owner;
    }
    text += owner < firstNamed ? ", rule " : ", counter ";
    Base::appendEscaped(text, nameOf(counters[owner].name));
    if (owner != counter) {
        text += ", interface ";
        Base::appendEscaped(text, nameOf(counters[counter].name));
    }
    return text;
}

}  // namespace Reef
