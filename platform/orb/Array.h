// A dynamic array by index from 0 that may have holes: an index never set reads as the default
// value (null for pointers).
#pragma once

#include "orb/DenseEntries.h"

namespace Orb {

template <class Value>
class Array {
  public:
    // One beyond the highest index that was set.
    U32 size() const { return values_.size(); }
    bool empty() const { return size() == 0; }
    explicit operator bool() const { return !empty(); }
    auto begin() const { return values_.begin(); }
    auto end() const { return values_.end(); }

    // The value at an index; null beyond the end.
    const Value* find(U32 index) const { return index < size() ? &values_[index] : nullptr; }

    void is(U32 index, Value value) {
        while (size() < index) values_.push_back(Value());
        if (index == size()) {
            values_.push_back(std::move(value));
        } else {
            values_[index] = std::move(value);
        }
    }
    void del(U32 index) {
        if (index < size()) values_[index] = Value();
    }
    void delAll() { values_.reset(); }

  private:
    DenseEntries<Value> values_;
};

}  // namespace Orb
