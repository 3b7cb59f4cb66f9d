// Whether two values mean the same: hash collections in any order, records when all of their
// attributes are the same.
#pragma once

#include <algorithm>

#include "orb/Array.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "orb/SortedMap.h"

namespace Orb {

// Says whether two records, either of which may be null, are of one type and have the same
// attributes.
ORB_EXPORT bool sameRecords(const PtrInterface* a, const PtrInterface* b);

// The parts of a value are compared by overloads that stand below, so all are declared first.
template <class T>
bool isSame(const T& a, const T& b);
template <class Key, class Value>
bool isSame(const HashMap2018<Key, Value>& a, const HashMap2018<Key, Value>& b);
template <class Key, class Value, class Less>
bool isSame(const RbTreeMap<Key, Value, Less>& a, const RbTreeMap<Key, Value, Less>& b);
template <class Key, class Value>
bool isSame(const SortedMap<Key, Value>& a, const SortedMap<Key, Value>& b);
template <class Value>
bool isSame(const Array<Value>& a, const Array<Value>& b);

template <class T>
bool isSame(const T& a, const T& b) {
    if constexpr (requires { a->fwkType(); }) {
        return sameRecords(a.get(), b.get());
    } else {
        return a == b;
    }
}

// Looks for each entry at its own place first.
template <class Key, class Value>
bool isSame(const HashMap2018<Key, Value>& a, const HashMap2018<Key, Value>& b) {
    if (a.size() != b.size()) return false;
    U32 place = 0;
    return std::all_of(a.begin(), a.end(), [&](const auto& entry) {
        if constexpr (std::is_void_v<Value>) {
            return b.find(entry, place++) != nullptr;
        } else {
            const Value* const other = b.find(entry.key, place++);
            return other != nullptr && isSame(entry.value, *other);
        }
    });
}

template <class Key, class Value, class Less>
bool isSame(const RbTreeMap<Key, Value, Less>& a, const RbTreeMap<Key, Value, Less>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        if constexpr (std::is_void_v<Value>) {
            return x == y;
        } else {
            return x.first == y.first && isSame(x.second, y.second);
        }
    });
}

template <class Key, class Value>
bool isSame(const SortedMap<Key, Value>& a, const SortedMap<Key, Value>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.key == y.key && isSame(x.value, y.value);
    });
}

template <class Value>
bool isSame(const Array<Value>& a, const Array<Value>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Value& x, const Value& y) { return isSame(x, y); });
}

}  // namespace Orb
