// An ordered map (or, without a value type, an ordered set): walks ascend by key. A change counter
// and firstAfter() let a walk that gave up the activity lock find its place again by key. One that
// was never filled is a pointer wide and has no tree.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <set>

#include "orb/Ptr.h"

namespace Orb {

namespace Detail {

template <class Key, class Value, class Less>
struct TreeOf {
    using Type = std::map<Key, Value, Less, BlockAllocator<std::pair<const Key, Value>>>;
};
template <class Key, class Less>
struct TreeOf<Key, void, Less> {
    using Type = std::set<Key, Less, BlockAllocator<Key>>;
};

}  // namespace Detail

template <class Key, class Value = void, class Less = std::less<>>
class RbTreeMap {
  public:
    static constexpr bool isSet = std::is_void_v<Value>;
    using Stored = std::conditional_t<isSet, Key, Value>;  // what find() finds
    using Tree = typename Detail::TreeOf<Key, Value, Less>::Type;
    using Iterator = typename Tree::const_iterator;

    RbTreeMap() = default;
    RbTreeMap(const RbTreeMap& other)
        : filled_(other.filled_ ? new Filled(*other.filled_) : nullptr) {}
    RbTreeMap(RbTreeMap&&) noexcept = default;
    ~RbTreeMap() = default;
    // A walk over what was there before must notice.
    RbTreeMap& operator=(RbTreeMap other) {
        if (!filled_ && !other.filled_) return *this;
        const U64 changes = std::max(changeCount(), other.changeCount()) + 1;
        filled_.swap(other.filled_);
        filled().changeCount = changes;
        return *this;
    }

    U32 size() const { return static_cast<U32>(tree().size()); }
    bool empty() const { return tree().empty(); }
    explicit operator bool() const { return !empty(); }

    Iterator begin() const { return tree().begin(); }
    Iterator end() const { return tree().end(); }
    template <class Lookup>
    Iterator seek(const Lookup& key) const {
        return tree().find(key);
    }
    // The first entry whose key is greater than the given one; end() when there is none.
    template <class Lookup>
    Iterator firstAfter(const Lookup& key) const {
        return tree().upper_bound(key);
    }
    // Grows whenever an entry comes, goes or is replaced, so a walk can tell that its iterator may
    // have died.
    U64 changeCount() const { return filled_ ? filled_->changeCount : 0; }

    template <class Lookup>
    bool contains(const Lookup& key) const {
        return tree().find(key) != tree().end();
    }
    // The value of a key (of a set: the key as stored); null when there is none.
    template <class Lookup>
    auto find(const Lookup& key) const {
        const auto entry = tree().find(key);
        if constexpr (isSet) {
            return entry == tree().end() ? nullptr : &*entry;
        } else {
            return entry == tree().end() ? nullptr : &entry->second;
        }
    }

    // Sets: inserts a key.
    void is(const Key& key) requires(isSet) {
        Filled& map = filled();
        map.changeCount += map.tree.insert(key).second ? 1 : 0;
    }
    // Maps of records: returns the record of the key, which it makes from the key and the other
    // arguments on first use.
    template <class... Args>
    requires(!isSet && (sizeof...(Args) == 0 ||
                        (sizeof...(Args) == 1 && !(std::constructible_from<Stored, Args> &&
                                                   ...)))) const Stored& is(const Key& key,
                                                                            const Args&... args) {
        Filled& map = filled();
        auto entry = map.tree.lower_bound(key);
        if (entry == map.tree.end() || map.tree.key_comp()(key, entry->first)) {
            using Record = typename Detail::PointeeOf<Stored>::Type;
            entry = map.tree.emplace_hint(entry, key, Detail::makeRecord<Record>(key, args...));
            ++map.changeCount;
        }
        return entry->second;
    }
    // Inserts or replaces the value of a key, and returns it.
    template <class Given = Stored>
    requires(!isSet && std::constructible_from<Stored, Given>) const Stored& is(const Key& key,
                                                                                Given&& value) {
        Filled& map = filled();
        ++map.changeCount;
        return map.tree.insert_or_assign(key, std::forward<Given>(value)).first->second;
    }

    // Inserts an entry whose key is known not to be there: no look-up when it is the greatest.
    void insertNew(typename Tree::value_type entry) {
        Filled& map = filled();
        ++map.changeCount;
        map.tree.insert(map.tree.end(), std::move(entry));
    }

    template <class Lookup>
    requires(!std::convertible_to<Lookup, Iterator>) void del(const Lookup& key) {
        const auto entry = seek(key);
        if (entry != end()) del(entry);
    }
    // Removes an entry; returns the one behind it.
    Iterator del(Iterator entry) {
        Filled& map = filled();
        ++map.changeCount;
        return map.tree.erase(entry);
    }
    void delAll() {
        if (empty()) return;
        Filled& map = filled();
        ++map.changeCount;
        map.tree.clear();
    }

  private:
    struct Filled {
        Tree tree;
        U64 changeCount = 0;

        static void* operator new(std::size_t size) { return allocateBlock(size); }
        static void operator delete(void* block) noexcept { freeBlock(block); }
    };

    const Tree& tree() const {
        static const Tree none;
        return filled_ ? filled_->tree : none;
    }
    Filled& filled() {
        if (!filled_) filled_.reset(new Filled);
        return *filled_;
    }

    std::unique_ptr<Filled> filled_;
};

template <class Key, class Less = std::less<>>
using RbTreeSet = RbTreeMap<Key, void, Less>;

}  // namespace Orb
