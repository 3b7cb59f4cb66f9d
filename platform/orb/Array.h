// A dynamic array by index from 0 that may have holes: an index never set reads as the default
// value (null for pointers).
#pragma once

#include <vector>

#include "orb/Arena.h"

namespace Orb {

template <class Value>
class Array {
  public:
    // One beyond the highest index that was set.
    U32 size() const { return static_cast<U32>(values_.size()); }
    bool empty() const { return values_.empty(); }
    explicit operator bool() const { return !empty(); }
    auto begin() const { return values_.begin(); }
    auto end() const { return values_.end(); }

    // The value at an index; null beyond the end.
    const Value* find(U32 index) const {
        return index < values_.size() ? &values_[index] : nullptr;
    }

    void is(U32 index, Value value) {
        if (index >= values_.size()) values_.resize(std::size_t{index} + 1);
        values_[index] = std::move(value);
    }
    void del(U32 index) {
        if (index < values_.size()) values_[index] = Value();
    }
    void delAll() { values_.clear(); }

  private:
    std::vector<Value, BlockAllocator<Value>> values_;
};

}  // namespace Orb
