// A hash map (or, without a value type, a hash set) that is one pointer wide and allocates nothing
// while it is empty: most collections of most rules are.
//
//     entries: [e0][e1][e2]...    dense, in order of insertion until one is removed
//     index:   [.][2][.][0]...    positions by hash, only beyond 8 entries
//
// Look-ups scan up to 8 entries and use the index beyond. The order of a walk is not to be relied
// on. An insertion or removal ends the validity of references and iterators, but for the iterator
// that del() returns, so a walk may delete as it goes.
#pragma once

#include <array>

#include "orb/DenseEntries.h"
#include "orb/Hash.h"

namespace Orb {

template <class Key, class Value>
struct MapEntry {
    Key key;
    Value value;
};

template <class Key, class Value = void>
class HashMap2018 {
  public:
    static constexpr bool isSet = std::is_void_v<Value>;
    using Stored = std::conditional_t<isSet, Key, Value>;  // what find() finds
    using Entry = std::conditional_t<isSet, Key, MapEntry<Key, Value>>;
    using Iterator = const Entry*;

    U32 size() const { return entries_.size(); }
    bool empty() const { return size() == 0; }
    explicit operator bool() const { return !empty(); }

    Iterator begin() const { return entries_.begin(); }
    Iterator end() const { return entries_.end(); }

    // The entry of a key; end() when there is none.
    template <class Lookup>
    Iterator seek(const Lookup& key) const {
        const U32 position = positionOf(key);
        return position == absent ? end() : begin() + position;
    }
    template <class Lookup>
    bool contains(const Lookup& key) const {
        return positionOf(key) != absent;
    }
    // The value of a key (of a set: the key as stored); null when there is none.
    template <class Lookup>
    auto find(const Lookup& key) const {
        Iterator entry = seek(key);
        if constexpr (isSet) {
            return entry == end() ? nullptr : entry;
        } else {
            return entry == end() ? nullptr : &entry->value;
        }
    }

    // The same, looking first at a position: maps that were filled in one order hold a key at the
    // same position, so that the position in one is likely that in another.
    template <class Lookup>
    auto find(const Lookup& key, U32 likely) const -> decltype(this->find(key)) {
        if (likely < size() && keyOf(entries_[likely]) == key) {
            if constexpr (isSet) {
                return &entries_[likely];
            } else {
                return &entries_[likely].value;
            }
        }
        return find(key);
    }

    // Sets: inserts a key.
    void is(const Key& key) requires(isSet) {
        if (!contains(key)) insert(Key(key));
    }
    // Maps of records: returns the record of the key, which it makes from the key and the other
    // arguments on first use.
    template <class... Args>
    requires(!isSet && (sizeof...(Args) == 0 ||
                        (sizeof...(Args) == 1 && !(std::constructible_from<Stored, Args> &&
                                                   ...)))) const Stored& is(const Key& key,
                                                                            const Args&... args) {
        const U32 position = positionOf(key);
        if (position != absent) return entries_[position].value;
        using Record = typename Detail::PointeeOf<Stored>::Type;
        return insert(Entry{key, Detail::makeRecord<Record>(key, args...)}).value;
    }
    // Inserts or replaces the value of a key, and returns it.
    template <class Given = Stored>
    requires(!isSet && std::constructible_from<Stored, Given>) const Stored& is(const Key& key,
                                                                                Given&& value) {
        const U32 position = positionOf(key);
        if (position == absent) return insert(Entry{key, std::forward<Given>(value)}).value;
        return entries_[position].value = std::forward<Given>(value);
    }

    // Inserts a key that is known not to be there: no look-up.
    void insertNew(Entry entry) { insert(std::move(entry)); }
    // Many keys at once: what is appended is found only after indexAll(), which says whether all
    // keys are different. Nothing else may be done before; with two equal keys, nothing but ending
    // it.
    void append(Entry entry) { entries_.push_back(std::move(entry)); }
    bool indexAll() {
        const U32 count = size();
        if (count <= scanLimit) return fewAreDifferent();
        index() = Slots(slotsFor(count));
        // A large index is in no cache: what a key needs is asked for some keys before its turn, at
        // first its slot, then the entry whose position is there already.
        constexpr U32 ahead = 8;
        std::array<std::size_t, std::size_t{4} * ahead> homes{};
        const auto homeOf = [&](U32 position) -> auto& { return homes[position % homes.size()]; };
        for (U32 next = 0; next < count + 2 * ahead; ++next) {
            if (next < count) {
                homeOf(next) = hashOf(keyOf(entries_[next])) & (index().size() - 1);
                __builtin_prefetch(index().placeOf(homeOf(next)));
            }
            const U32 nearer = next - ahead;
            if (nearer < count && index()[homeOf(nearer)] != absent) {
                __builtin_prefetch(&entries_[index()[homeOf(nearer)]]);
            }
            const U32 position = nearer - ahead;
            if (position < count && !enterNew(position, homeOf(position))) return false;
        }
        return true;
    }
    // Room for that many entries without a further allocation.
    void reserve(U32 count) {
        entries_.reserve(count);
        if (count > scanLimit && index().size() < 2 * std::size_t{count}) buildIndex(count);
    }

    template <class Lookup>
    requires(!std::convertible_to<Lookup, Iterator>) void del(const Lookup& key) {
        Iterator entry = seek(key);
        if (entry != end()) del(entry);
    }
    // Removes an entry; returns where the walk goes on.
    Iterator del(Iterator entry) {
        const auto position = static_cast<U32>(entry - begin());
        const U32 last = size() - 1;
        if (last == 0) {
            entries_.reset();
            return end();
        }
        if (last > scanLimit) {
            closeGap(slotOf(position));
            if (position != last) index().is(slotOf(last), position);
        } else if (entries_.hasIndex()) {
            index() = {};
        }
        if (position != last) entries_[position] = std::move(entries_[last]);
        entries_.pop_back();
        return begin() + position;
    }
    void delAll() { entries_.reset(); }

  private:
    static constexpr U32 absent = Slots::absent;
    static constexpr U32 scanLimit = 8;

    // Positions by hash, a power of two of slots, at most half full; empty up to scanLimit entries.
    Slots& index() { return entries_.index(); }
    const Slots& index() const { return entries_.index(); }

    static const Key& keyOf(const Entry& entry) {
        if constexpr (isSet) {
            return entry;
        } else {
            return entry.key;
        }
    }

    template <class Lookup>
    U32 positionOf(const Lookup& key) const {
        const U32 count = size();
        if (count <= scanLimit) {
            for (U32 i = 0; i < count; ++i) {
                if (keyOf(entries_[i]) == key) return i;
            }
            return absent;
        }
        const std::size_t mask = index().size() - 1;
        for (std::size_t slot = hashOf(key) & mask;; slot = (slot + 1) & mask) {
            const U32 position = index()[slot];
            if (position == absent || keyOf(entries_[position]) == key) return position;
        }
    }

    bool fewAreDifferent() const {
        for (U32 i = 0; i < size(); ++i) {
            if (positionOf(keyOf(entries_[i])) != i) return false;
        }
        return true;
    }

    Entry& insert(Entry entry) {
        entries_.push_back(std::move(entry));
        const U32 count = size();
        if (count > scanLimit || (entries_.hasIndex() && !index().empty())) {
            if (index().size() < 2 * std::size_t{count}) {
                buildIndex(2 * count);
            } else {
                indexIs(count - 1);
            }
        }
        return entries_[count - 1];
    }

    // Enters a position into the index, from a slot on; false when its key is there already.
    bool enterNew(U32 position, std::size_t slot) {
        for (; index()[slot] != absent; slot = (slot + 1) & (index().size() - 1)) {
            if (keyOf(entries_[index()[slot]]) == keyOf(entries_[position])) return false;
        }
        index().is(slot, position);
        return true;
    }

    void indexIs(U32 position) {
        const std::size_t mask = index().size() - 1;
        std::size_t slot = hashOf(keyOf(entries_[position])) & mask;
        while (index()[slot] != absent) slot = (slot + 1) & mask;
        index().is(slot, position);
    }

    // The slot that holds a position, which must be in the index.
    std::size_t slotOf(U32 position) const {
        const std::size_t mask = index().size() - 1;
        std::size_t slot = hashOf(keyOf(entries_[position])) & mask;
        while (index()[slot] != position) slot = (slot + 1) & mask;
        return slot;
    }

    // Empties a slot and moves later ones of its run up, so that no look-up ends at the gap.
    void closeGap(std::size_t gap) {
        Slots& slots = index();
        const std::size_t mask = slots.size() - 1;
        for (std::size_t slot = (gap + 1) & mask; slots[slot] != absent; slot = (slot + 1) & mask) {
            const std::size_t home = hashOf(keyOf(entries_[slots[slot]])) & mask;
            if (((slot - home) & mask) >= ((slot - gap) & mask)) {
                slots.is(gap, slots[slot]);
                gap = slot;
            }
        }
        slots.is(gap, absent);
    }

    static std::size_t slotsFor(U32 count) {
        std::size_t slots = 2 * std::size_t{scanLimit};
        while (slots < 2 * std::size_t{count}) slots *= 2;
        return slots;
    }

    // Lays the index anew, with room for that many entries.
    void buildIndex(U32 count) {
        index() = Slots(slotsFor(count));
        for (U32 i = 0; i < size(); ++i) indexIs(i);
    }

    DenseEntries<Entry, scanLimit> entries_;
};

template <class Key>
using HashSet2018 = HashMap2018<Key>;

}  // namespace Orb
