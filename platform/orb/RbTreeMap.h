// An ordered map (or, without a value type, an ordered set): walks ascend by key. A change counter
// and firstAfter() let a walk that gave up the activity lock find its place again by key.
#pragma once

#include <algorithm>
#include <map>
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
    RbTreeMap(const RbTreeMap&) = default;
    RbTreeMap(RbTreeMap&&) noexcept = default;
    ~RbTreeMap() = default;
    // A walk over what was there before must notice.
    RbTreeMap& operator=(RbTreeMap other) {
        tree_.swap(other.tree_);
        changeCount_ = std::max(changeCount_, other.changeCount_) + 1;
        return *this;
    }

    U32 size() const { return static_cast<U32>(tree_.size()); }
    bool empty() const { return tree_.empty(); }
    explicit operator bool() const { return !empty(); }

    Iterator begin() const { return tree_.begin(); }
    Iterator end() const { return tree_.end(); }
    template <class Lookup>
    Iterator seek(const Lookup& key) const {
        return tree_.find(key);
    }
    // The first entry whose key is greater than the given one; end() when there is none.
    template <class Lookup>
    Iterator firstAfter(const Lookup& key) const {
        return tree_.upper_bound(key);
    }
    // Grows whenever an entry comes, goes or is replaced, so a walk can tell that its iterator may
    // have died.
    U64 changeCount() const { return changeCount_; }

    template <class Lookup>
    bool contains(const Lookup& key) const {
        return tree_.find(key) != tree_.end();
    }
    // The value of a key (of a set: the key as stored); null when there is none.
    template <class Lookup>
    auto find(const Lookup& key) const {
        const auto entry = tree_.find(key);
        if constexpr (isSet) {
            return entry == tree_.end() ? nullptr : &*entry;
        } else {
            return entry == tree_.end() ? nullptr : &entry->second;
        }
    }

    // Sets: inserts a key.
    void is(const Key& key) requires(isSet) { changeCount_ += tree_.insert(key).second ? 1 : 0; }
    // Maps of records: returns the record of the key, which it makes from the key and the other
    // arguments on first use.
    template <class... Args>
    requires(!isSet && (sizeof...(Args) == 0 ||
                        (sizeof...(Args) == 1 && !(std::constructible_from<Stored, Args> &&
                                                   ...)))) const Stored& is(const Key& key,
                                                                            const Args&... args) {
        auto entry = tree_.lower_bound(key);
        if (entry == tree_.end() || tree_.key_comp()(key, entry->first)) {
            using Record = typename Detail::PointeeOf<Stored>::Type;
            entry = tree_.emplace_hint(entry, key, Detail::makeRecord<Record>(key, args...));
            ++changeCount_;
        }
        return entry->second;
    }
    // Inserts or replaces the value of a key, and returns it.
    template <class Given = Stored>
    requires(!isSet && std::constructible_from<Stored, Given>) const Stored& is(const Key& key,
                                                                                Given&& value) {
        ++changeCount_;
        return tree_.insert_or_assign(key, std::forward<Given>(value)).first->second;
    }

    // Inserts an entry whose key is known not to be there: no look-up when it is the greatest.
    void insertNew(typename Tree::value_type entry) {
        ++changeCount_;
        tree_.insert(tree_.end(), std::move(entry));
    }

    template <class Lookup>
    requires(!std::convertible_to<Lookup, Iterator>) void del(const Lookup& key) {
        const auto entry = tree_.find(key);
        if (entry != tree_.end()) del(entry);
    }
    // Removes an entry; returns the one behind it.
    Iterator del(Iterator entry) {
        ++changeCount_;
        return tree_.erase(entry);
    }
    void delAll() {
        if (!tree_.empty()) ++changeCount_;
        tree_.clear();
    }

  private:
    Tree tree_;
    U64 changeCount_ = 0;
};

template <class Key, class Less = std::less<>>
using RbTreeSet = RbTreeMap<Key, void, Less>;

}  // namespace Orb
