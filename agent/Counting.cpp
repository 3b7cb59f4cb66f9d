#include "agent/Counting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "base/Text.h"
#include "reef/CounterDirectory.h"

namespace CounterAgent {

namespace {

// Collects increments and hands them to the store a thousand at a time.
class Batch {
  public:
    explicit Batch(Reef::StoreWriter& writer) : writer_(writer) {}
    void add(U32 counter, U64 packets) {
        increments_[size_++] = {counter, {packets, packets * bytesPerPacket}};
        if (size_ == increments_.size()) flush();
    }
    void flush() {
        writer_.add(std::span(increments_).first(size_));
        records_ += size_;
        size_ = 0;
    }
    U64 records() const { return records_; }

  private:
    Reef::StoreWriter& writer_;
    std::array<Reef::Increment, 1000> increments_;
    std::size_t size_ = 0;
    U64 records_ = 0;
};

// The rate of one counter.
struct SpecialRate {
    U64 packetsPerSecond = 0;
    bool isFound = false;
};

}  // namespace

Counting::Counting(const Reef::CounterDirectory& directory, std::span<const Rate> rates) {
    U64 general = 0;
    std::map<std::string, SpecialRate> specials;
    for (const Rate& rate : rates) {
        if (rate.counter.empty()) {
            general = rate.packetsPerSecond;
        } else {
            specials[rate.counter] = {rate.packetsPerSecond};
        }
    }
    for (const Reef::PolicyEntry& policy : directory.policies) {
        const std::string prefix = std::string(directory.nameOf(policy.name)) + '/';
        const U32 end = policy.firstCounter + policy.ruleCount + policy.namedCount;
        for (U32 counter = policy.firstCounter; counter < end; ++counter) {
            const Reef::CounterEntry& entry = directory.counters[counter];
            const auto special = specials.find(prefix + std::string(directory.nameOf(entry.name)));
            if (special != specials.end()) special->second.isFound = true;
            add(counter, entry,
                special == specials.end() ? general : special->second.packetsPerSecond);
        }
    }
    const auto missing =
        std::ranges::find_if(specials, [](const auto& special) { return !special.second.isFound; });
    if (missing != specials.end()) {
        throw OptionError("--rate: the store has no counter " + Base::inQuotes(missing->first) +
                          ", expected POLICY/RULE or POLICY/COUNTER");
    }
}

void Counting::add(U32 counter, const Reef::CounterEntry& entry, U64 packetsPerSecond) {
    if (packetsPerSecond == 0) return;
    isFastest_ = isFastest_ || packetsPerSecond == Rate::fastest;
    counted_.push_back({.counter = counter,
                        .firstInterface = entry.firstInterface,
                        .interfaceCount = entry.interfaceCount,
                        .packetsPerSecond = packetsPerSecond});
}

U64 Counting::advance(Reef::StoreWriter& writer, double seconds) {
    Batch batch(writer);
    for (Counted& counted : counted_) {
        U64 packets = 1;
        if (counted.packetsPerSecond != Rate::fastest) {
            counted.due += static_cast<double>(counted.packetsPerSecond) * seconds;
            const double whole = std::floor(counted.due);
            counted.due -= whole;
            packets = static_cast<U64>(whole);
            if (packets == 0) continue;
        }
        if (counted.interfaceCount != 0) {
            batch.add(counted.firstInterface + counted.turn, packets);
            counted.turn = (counted.turn + 1) % counted.interfaceCount;
        }
        batch.add(counted.counter, packets);
    }
    batch.flush();
    return batch.records();
}

}  // namespace CounterAgent
