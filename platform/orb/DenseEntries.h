// A vector that is one pointer wide and allocates nothing while it is empty: size, capacity and an
// index of the owner's stand before the entries, in one allocation.
//
//     pointer -> [ size, capacity, index | e0 | e1 | e2 | ... ]
#pragma once

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "orb/Arena.h"
#include "orb/Types.h"

namespace Orb {

// A table of positions that is one pointer wide, too: their number stands before the first.
class Slots {
  public:
    Slots() = default;
    Slots(std::size_t count, U32 value) : words_(new U32[count + 1]) {
        words_[0] = static_cast<U32>(count);
        std::fill_n(&words_[1], count, value);
    }
    Slots(Slots&&) noexcept = default;
    Slots& operator=(Slots&&) noexcept = default;
    Slots(const Slots& other) {
        if (other.empty()) return;
        words_.reset(new U32[other.size() + 1]);
        std::copy_n(other.words_.get(), other.size() + 1, words_.get());
    }
    Slots& operator=(const Slots& other) {
        if (this != &other) *this = Slots(other);
        return *this;
    }
    ~Slots() = default;

    bool empty() const { return !words_; }
    std::size_t size() const { return words_ ? words_[0] : 0; }
    U32& operator[](std::size_t slot) { return words_[slot + 1]; }
    U32 operator[](std::size_t slot) const { return words_[slot + 1]; }

  private:
    std::unique_ptr<U32[]> words_;
};

template <class Entry>
class DenseEntries {
  public:
    DenseEntries() = default;
    DenseEntries(DenseEntries&& other) noexcept : header_(std::exchange(other.header_, nullptr)) {}
    DenseEntries& operator=(DenseEntries&& other) noexcept {
        std::swap(header_, other.header_);
        return *this;
    }
    DenseEntries(const DenseEntries& other) {
        if (other.size() == 0) return;
        reserve(other.size());
        for (const Entry& entry : other) push_back(Entry(entry));
        header_->index = other.header_->index;
    }
    DenseEntries& operator=(const DenseEntries& other) {
        if (this != &other) *this = DenseEntries(other);
        return *this;
    }
    ~DenseEntries() { reset(); }

    U32 size() const { return header_ != nullptr ? header_->size : 0; }
    Entry* begin() { return entriesOf(header_); }
    Entry* end() { return begin() + size(); }
    const Entry* begin() const { return entriesOf(header_); }
    const Entry* end() const { return begin() + size(); }
    Entry& operator[](U32 position) { return begin()[position]; }
    const Entry& operator[](U32 position) const { return begin()[position]; }

    // The owner's. REQUIRES: something was inserted or reserved.
    Slots& index() { return header_->index; }
    const Slots& index() const { return header_->index; }

    void reserve(U32 capacity) {
        if (capacity > (header_ != nullptr ? header_->capacity : 0)) grow(capacity);
    }
    void push_back(Entry&& entry) {
        if (header_ == nullptr || header_->size == header_->capacity) grow(2 * size() + 1);
        new (end()) Entry(std::move(entry));
        ++header_->size;
    }
    void pop_back() {
        --header_->size;
        std::destroy_at(end());
    }
    // Empties it and frees everything.
    void reset() {
        if (header_ == nullptr) return;
        std::destroy(begin(), end());
        free(header_);
        header_ = nullptr;
    }

  private:
    struct Header {
        U32 size = 0;
        U32 capacity = 0;
        Slots index;
    };
    static_assert(alignof(Entry) <= alignof(U64));
    static constexpr std::size_t offset =
        (sizeof(Header) + alignof(Entry) - 1) / alignof(Entry) * alignof(Entry);

    static Entry* entriesOf(Header* header) {
        return header == nullptr
                   ? nullptr
                   : reinterpret_cast<Entry*>(reinterpret_cast<std::byte*>(header) + offset);
    }
    static void free(Header* header) {
        std::destroy_at(header);
        freeBlock(header);
    }

    void grow(U32 capacity) {
        auto* const grown =
            new (allocateBlock(offset + std::size_t{capacity} * sizeof(Entry))) Header;
        grown->capacity = capacity;
        if (header_ != nullptr) {
            std::uninitialized_move(begin(), end(), entriesOf(grown));
            grown->size = header_->size;
            grown->index = std::move(header_->index);
            std::destroy(begin(), end());
            free(header_);
        }
        header_ = grown;
    }

    Header* header_ = nullptr;
};

}  // namespace Orb
