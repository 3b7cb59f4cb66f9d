// The record of one counter, 64 bytes that one writer changes while readers read:
//
//     sequence | packets bytes check | packets bytes check | (unused)        64-bit words
//                pair 0                pair 1
//
// A sequence lock over two pairs. While the sequence is even, pair (sequence / 2) % 2 holds the
// counts. The writer makes the sequence odd, fills the other pair, and makes it even again, two
// higher than before; it waits for nobody. A reader takes a pair only when the sequence was even
// and the same before and after. A writer that dies half-way leaves an odd sequence and the former
// pair whole: setting the sequence to that pair's restores the record exactly.
//
// The check word ties a pair to its sequence and to the identity of its counter, so a record that
// anything but a writer changed is found out: no pair fits the sequence, or, when the sequence fell
// back by one write, both do.
#pragma once

#include <array>
#include <atomic>

#include "hive/PolicyMapStatus.h"
#include "orb/Hash.h"
#include "reef/Layout.h"

namespace Reef {

// whole: the counts read belong together. inProgress: a writer was at it. damaged: neither.
enum class RecordState { whole, inProgress, damaged };

struct alignas(recordSize) Record {
    struct Pair {
        std::atomic<U64> packets{0};
        std::atomic<U64> bytes{0};
        std::atomic<U64> check{0};
    };

    std::atomic<U64> sequence{0};
    std::array<Pair, 2> pairs;

    // Reads the counts once, without waiting.
    RecordState read(U64 identity, PolicyMap::PacketAndByte& counts) const {
        const U64 before = sequence.load(std::memory_order_acquire);
        if (before % 2 != 0) return RecordState::inProgress;
        // Each acquire keeps the loads that follow behind it, the second one of the sequence
        // included; a word of a later write seen here makes that load see the later sequence.
        const bool isWhole = load(identity, before, counts);
        PolicyMap::PacketAndByte later;
        const bool isOutdated = load(identity, before + 2, later);
        if (sequence.load(std::memory_order_relaxed) != before) return RecordState::inProgress;
        return isWhole && !isOutdated ? RecordState::whole : RecordState::damaged;
    }

    // For the only writer. Each release keeps the odd sequence before the word.
    void write(U64 identity, const PolicyMap::PacketAndByte& counts) {
        const U64 before = sequence.load(std::memory_order_relaxed) & ~U64{1};
        const U64 after = before + 2;
        sequence.store(before + 1, std::memory_order_relaxed);
        Pair& pair = pairs[after / 2 % 2];
        pair.packets.store(counts.packets, std::memory_order_release);
        pair.bytes.store(counts.bytes, std::memory_order_release);
        pair.check.store(checkOf(identity, after, counts), std::memory_order_release);
        sequence.store(after, std::memory_order_release);
    }

    // For the only writer: what it wrote last.
    PolicyMap::PacketAndByte lastWritten() const {
        const Pair& pair = pairs[sequence.load(std::memory_order_relaxed) / 2 % 2];
        return {pair.packets.load(std::memory_order_relaxed),
                pair.bytes.load(std::memory_order_relaxed)};
    }

    // For the only writer, before it first writes: goes back to the last pair that is whole, when a
    // writer that died left another unfinished or the record is damaged. False: none is.
    bool restore(U64 identity) {
        const U64 left = sequence.load(std::memory_order_relaxed) & ~U64{1};
        for (const U64 candidate : {left + 2, left, left - 2}) {
            PolicyMap::PacketAndByte counts;
            if (!load(identity, candidate, counts)) continue;
            const bool isLast = !load(identity, candidate + 2, counts);
            sequence.store(isLast ? candidate : candidate + 2, std::memory_order_release);
            return true;
        }
        return false;
    }

  private:
    // Loads the pair of a sequence; false: it is of another one, or damaged.
    bool load(U64 identity, U64 of, PolicyMap::PacketAndByte& counts) const {
        const Pair& pair = pairs[of / 2 % 2];
        counts.packets = pair.packets.load(std::memory_order_acquire);
        counts.bytes = pair.bytes.load(std::memory_order_acquire);
        return pair.check.load(std::memory_order_acquire) == checkOf(identity, of, counts);
    }
    static U64 checkOf(U64 identity, U64 sequence, const PolicyMap::PacketAndByte& counts) {
        return Orb::mixBits(identity + counts.packets) ^
               Orb::mixBits(Orb::mixBits(sequence + Header::storeMagic) + counts.bytes);
    }
};
static_assert(sizeof(Record) == recordSize);
static_assert(std::atomic<U64>::is_always_lock_free);

}  // namespace Reef
