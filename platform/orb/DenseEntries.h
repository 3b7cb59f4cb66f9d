// A vector that is one pointer wide and allocates nothing while it is empty: size, capacity and an
// index of the owner's stand before the entries, in one allocation.
//
//     pointer -> [ size, capacity, index | e0 | e1 | e2 | ... ]
#pragma once

#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "orb/Types.h"

namespace Orb {

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
    std::vector<U32>& index() { return header_->index; }
    const std::vector<U32>& index() const { return header_->index; }

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
        std::vector<U32> index;
    };
    static_assert(alignof(Entry) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    static constexpr std::size_t offset =
        (sizeof(Header) + alignof(Entry) - 1) / alignof(Entry) * alignof(Entry);

    static Entry* entriesOf(Header* header) {
        return header == nullptr
                   ? nullptr
                   : reinterpret_cast<Entry*>(reinterpret_cast<std::byte*>(header) + offset);
    }
    static void free(Header* header) {
        std::destroy_at(header);
        ::operator delete(header);
    }

    void grow(U32 capacity) {
        auto* const grown =
            new (::operator new (offset + std::size_t{capacity} * sizeof(Entry))) Header;
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
