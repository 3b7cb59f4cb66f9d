// The attributes of an object of which most objects have few: only those that were set take memory,
// a word each.
//
//     pointer -> [ which ones, capacity | w0 | w1 | w2 | ... ]
#pragma once

#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "orb/Arena.h"
#include "orb/Types.h"

namespace Orb {

class Sparse {
  public:
    // Attributes have numbers below this one.
    static constexpr U32 maxAttributes = 56;

    // A type that fits is a word that can be moved by its bytes, as containers of one pointer and
    // Ptr are.
    template <class T>
    static constexpr bool fits = sizeof(T) == sizeof(U64);

    Sparse() = default;
    Sparse(const Sparse&) = delete;
    Sparse& operator=(const Sparse&) = delete;
    // REQUIRES: each attribute was dropped.
    ~Sparse() {
        if (head_ != nullptr) freeBlock(head_);
    }

    // The attribute of a number; a default value when it was never set.
    template <class T>
    const T& get(U32 number) const {
        static constinit const Default<T> none;
        return has(number) ? *std::launder(reinterpret_cast<const T*>(wordOf(number))) : none.value;
    }
    // The same to change it.
    template <class T>
    T& set(U32 number) {
        static_assert(fits<T>);
        if (!has(number)) new (insert(number)) T{};
        return *std::launder(reinterpret_cast<T*>(wordOf(number)));
    }
    template <class T>
    void drop(U32 number) {
        if (has(number)) std::destroy_at(std::launder(reinterpret_cast<T*>(wordOf(number))));
    }

  private:
    // A default value that is there from the start to the end of the process.
    template <class T>
    union Default {
        constexpr Default() : value{} {}
        constexpr ~Default() {}
        T value;
    };

    static constexpr U64 usualCapacity = 3;
    static constexpr U64 presentBits = (U64{1} << maxAttributes) - 1;

    bool has(U32 number) const { return head_ != nullptr && (*head_ >> number & 1) != 0; }
    U64 present() const { return head_ == nullptr ? 0 : *head_ & presentBits; }
    U64 capacity() const { return head_ == nullptr ? 0 : *head_ >> maxAttributes; }
    U64* wordOf(U32 number) const {
        const U64 before = *head_ & ((U64{1} << number) - 1);
        return head_ + 1 + count(before);
    }
    // The bits that are set. Few are, and the processor's own instruction is not in the baseline.
    static U64 count(U64 bits) {
        U64 sum = 0;
        for (; bits != 0; bits &= bits - 1) ++sum;
        return sum;
    }

    // Makes room for an attribute that is not there; returns its word.
    void* insert(U32 number) {
        const U64 size = count(present());
        if (size == capacity()) grow(size);
        *head_ |= U64{1} << number;
        U64* const word = wordOf(number);
        std::memmove(word + 1, word,
                     static_cast<std::size_t>(head_ + 1 + size - word) * sizeof(U64));
        return word;
    }
    void grow(U64 size) {
        const U64 grown = size + usualCapacity;
        auto* const words = static_cast<U64*>(allocateBlock((1 + grown) * sizeof(U64)));
        *words = present() | grown << maxAttributes;
        if (head_ != nullptr) {
            std::memcpy(words + 1, head_ + 1, size * sizeof(U64));
            freeBlock(head_);
        }
        head_ = words;
    }

    U64* head_ = nullptr;
};

}  // namespace Orb
