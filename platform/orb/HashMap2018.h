// A hash map (or, without a value type, a hash set) that is one pointer wide and allocates nothing
// while it is empty: most collections of most rules are.
//
//     map -> rep { entries: [e0][e1][e2]...    dense, in order of insertion until one is removed
//                  index:   [.][2][.][0]... }  positions by hash, only beyond 8 entries
//
// Look-ups scan up to 8 entries and use the index beyond. The order of a walk is not to be relied
// on. An insertion or removal ends the validity of references and iterators, but for the iterator
// that del() returns, so a walk may delete as it goes.
#pragma once

#include <memory>
#include <vector>

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

    HashMap2018() = default;
    HashMap2018(HashMap2018&&) noexcept = default;
    HashMap2018& operator=(HashMap2018&&) noexcept = default;
    HashMap2018(const HashMap2018& other) : rep_(other.rep_ ? new Rep(*other.rep_) : nullptr) {}
    HashMap2018& operator=(const HashMap2018& other) {
        if (this != &other) rep_.reset(other.rep_ ? new Rep(*other.rep_) : nullptr);
        return *this;
    }
    ~HashMap2018() = default;

    U32 size() const { return rep_ ? static_cast<U32>(rep_->entries.size()) : 0; }
    bool empty() const { return size() == 0; }
    explicit operator bool() const { return !empty(); }

    Iterator begin() const { return rep_ ? rep_->entries.data() : nullptr; }
    Iterator end() const { return begin() + size(); }

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
        if (position != absent) return rep_->entries[position].value;
        using Record = typename Detail::PointeeOf<Stored>::Type;
        return insert(Entry{key, Detail::makeRecord<Record>(key, args...)}).value;
    }
    // Inserts or replaces the value of a key.
    template <class Given = Stored>
    requires(!isSet && std::constructible_from<Stored, Given>) void is(const Key& key,
                                                                       Given&& value) {
        const U32 position = positionOf(key);
        if (position == absent) {
            insert(Entry{key, std::forward<Given>(value)});
        } else {
            rep_->entries[position].value = std::forward<Given>(value);
        }
    }

    // Inserts a key that is known not to be there: no look-up.
    void isNew(Entry entry) { insert(std::move(entry)); }
    // Room for that many entries without a further allocation.
    void reserve(U32 count) {
        if (count == 0) return;
        if (!rep_) rep_ = std::make_unique<Rep>();
        rep_->entries.reserve(count);
        if (count > scanLimit && rep_->index.size() < 2 * std::size_t{count}) {
            buildIndex(*rep_, count);
        }
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
            rep_.reset();
            return end();
        }
        if (last <= scanLimit) {
            rep_->index.clear();
        } else {
            closeGap(*rep_, slotOf(*rep_, position));
            if (position != last) rep_->index[slotOf(*rep_, last)] = position;
        }
        if (position != last) rep_->entries[position] = std::move(rep_->entries[last]);
        rep_->entries.pop_back();
        return begin() + position;
    }
    void delAll() { rep_.reset(); }

  private:
    static constexpr U32 absent = ~U32{0};
    static constexpr U32 scanLimit = 8;

    struct Rep {
        std::vector<Entry> entries;
        std::vector<U32>
            index;  // a power of two of slots, at most half full; empty up to scanLimit
    };

    static const Key& keyOf(const Entry& entry) {
        if constexpr (isSet) {
            return entry;
        } else {
            return entry.key;
        }
    }

    template <class Lookup>
    U32 positionOf(const Lookup& key) const {
        if (!rep_) return absent;
        const auto& entries = rep_->entries;
        if (entries.size() <= scanLimit) {
            for (U32 i = 0; i < entries.size(); ++i) {
                if (keyOf(entries[i]) == key) return i;
            }
            return absent;
        }
        const auto& index = rep_->index;
        const std::size_t mask = index.size() - 1;
        for (std::size_t slot = hashOf(key) & mask;; slot = (slot + 1) & mask) {
            if (index[slot] == absent) return absent;
            if (keyOf(entries[index[slot]]) == key) return index[slot];
        }
    }

    Entry& insert(Entry entry) {
        if (!rep_) rep_ = std::make_unique<Rep>();
        rep_->entries.push_back(std::move(entry));
        const auto count = static_cast<U32>(rep_->entries.size());
        if (count > scanLimit || !rep_->index.empty()) {
            if (rep_->index.size() < 2 * std::size_t{count}) {
                buildIndex(*rep_, 2 * count);
            } else {
                indexIs(*rep_, count - 1);
            }
        }
        return rep_->entries.back();
    }

    static void indexIs(Rep& rep, U32 position) {
        const std::size_t mask = rep.index.size() - 1;
        std::size_t slot = hashOf(keyOf(rep.entries[position])) & mask;
        while (rep.index[slot] != absent) slot = (slot + 1) & mask;
        rep.index[slot] = position;
    }

    // The slot that holds a position, which must be in the index.
    static std::size_t slotOf(const Rep& rep, U32 position) {
        const std::size_t mask = rep.index.size() - 1;
        std::size_t slot = hashOf(keyOf(rep.entries[position])) & mask;
        while (rep.index[slot] != position) slot = (slot + 1) & mask;
        return slot;
    }

    // Empties a slot and moves later ones of its run up, so that no look-up ends at the gap.
    static void closeGap(Rep& rep, std::size_t gap) {
        const std::size_t mask = rep.index.size() - 1;
        for (std::size_t slot = (gap + 1) & mask; rep.index[slot] != absent;
             slot = (slot + 1) & mask) {
            const std::size_t home = hashOf(keyOf(rep.entries[rep.index[slot]])) & mask;
            if (((slot - home) & mask) >= ((slot - gap) & mask)) {
                rep.index[gap] = rep.index[slot];
                gap = slot;
            }
        }
        rep.index[gap] = absent;
    }

    // Lays the index anew, with room for that many entries.
    static void buildIndex(Rep& rep, U32 count) {
        std::size_t size = 2 * std::size_t{scanLimit};
        while (size < 2 * std::size_t{count}) size *= 2;
        rep.index.assign(size, absent);
        for (U32 i = 0; i < rep.entries.size(); ++i) indexIs(rep, i);
    }

    std::unique_ptr<Rep> rep_;
};

template <class Key>
using HashSet2018 = HashMap2018<Key>;

}  // namespace Orb
