// A map of few or many entries side by side, ascending by key: for maps that are made in the order
// of their keys and then walked. An entry that is not the last costs the moves of those behind it.
#pragma once

#include <algorithm>

#include "orb/DenseEntries.h"
#include "orb/HashMap2018.h"

namespace Orb {

template <class Key, class Value>
class SortedMap {
  public:
    using Entry = MapEntry<Key, Value>;
    using Iterator = const Entry*;

    U32 size() const { return entries_.size(); }
    bool empty() const { return size() == 0; }
    explicit operator bool() const { return !empty(); }

    Iterator begin() const { return entries_.begin(); }
    Iterator end() const { return entries_.end(); }

    // The value of a key; null when there is none.
    const Value* find(const Key& key) const {
        const Iterator entry = placeOf(key);
        return entry != end() && entry->key == key ? &entry->value : nullptr;
    }

    // Inserts or replaces the value of a key, and returns it.
    const Value& is(const Key& key, Value value) {
        const auto place = static_cast<U32>(placeOf(key) - begin());
        if (place == size() || entries_[place].key != key) {
            entries_.push_back({key, std::move(value)});
            std::rotate(entries_.begin() + place, entries_.end() - 1, entries_.end());
        } else {
            entries_[place].value = std::move(value);
        }
        return entries_[place].value;
    }
    // Inserts a key that is known to be greater than all that are there: no look-up.
    void insertNew(Entry entry) { entries_.push_back(std::move(entry)); }
    void reserve(U32 count) { entries_.reserve(count); }

    void del(const Key& key) {
        const auto place = static_cast<U32>(placeOf(key) - begin());
        if (place == size() || entries_[place].key != key) return;
        std::move(entries_.begin() + place + 1, entries_.end(), entries_.begin() + place);
        entries_.pop_back();
    }
    void delAll() { entries_.reset(); }

  private:
    Iterator placeOf(const Key& key) const {
        return std::lower_bound(begin(), end(), key,
                                [](const Entry& entry, const Key& k) { return entry.key < k; });
    }

    DenseEntries<Entry> entries_;
};

}  // namespace Orb
