// A vector that is one pointer wide and allocates nothing while it is empty: size and capacity
// stand before the entries, in one allocation. Where there is room for many entries, an index of
// the owner's does, too.
//
//     pointer -> [ size, capacity | e0 | e1 | ... ]
//     pointer -> [ index, size, capacity | e0 | e1 | e2 | ... ]
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "orb/Arena.h"
#include "orb/Types.h"

namespace Orb {

// A table of positions that is one pointer wide, too: the number of slots stands before the first.
// A position takes one, two or four bytes, as the number of slots asks.
class Slots {
  public:
    static constexpr U32 absent = ~U32{0};

    Slots() = default;
    // So many slots, all absent; a position must be less than their number.
    explicit Slots(std::size_t count) : bytes_(new U8[bytesFor(count)]) {
        std::fill_n(bytes_.get(), bytesFor(count), U8{0xff});
        const auto size = static_cast<U32>(count);
        std::memcpy(bytes_.get(), &size, sizeof(size));
    }
    Slots(Slots&&) noexcept = default;
    Slots& operator=(Slots&&) noexcept = default;
    Slots(const Slots& other) {
        if (other.empty()) return;
        bytes_.reset(new U8[bytesFor(other.size())]);
        std::copy_n(other.bytes_.get(), bytesFor(other.size()), bytes_.get());
    }
    Slots& operator=(const Slots& other) {
        if (this != &other) *this = Slots(other);
        return *this;
    }
    ~Slots() = default;

    bool empty() const { return !bytes_; }
    std::size_t size() const { return bytes_ ? get<U32>(bytes_.get()) : 0; }
    U32 operator[](std::size_t slot) const {
        const U8* const first = bytes_.get() + sizeof(U32);
        switch (widthFor(size())) {
            case sizeof(U8):
                return widened(first[slot]);
            case sizeof(U16):
                return widened(get<U16>(first + slot * sizeof(U16)));
            default:
                return get<U32>(first + slot * sizeof(U32));
        }
    }
    const void* placeOf(std::size_t slot) const {
        return bytes_.get() + sizeof(U32) + slot * widthFor(size());
    }
    void is(std::size_t slot, U32 position) {
        U8* const first = bytes_.get() + sizeof(U32);
        const std::size_t width = widthFor(size());
        // The low bytes come first on the machines that this runs on.
        std::memcpy(first + slot * width, &position, width);
    }

  private:
    // The greatest value of the type stands for absent.
    static constexpr std::size_t widthFor(std::size_t count) {
        return count <= std::numeric_limits<U8>::max() + std::size_t{1}    ? sizeof(U8)
               : count <= std::numeric_limits<U16>::max() + std::size_t{1} ? sizeof(U16)
                                                                           : sizeof(U32);
    }
    static std::size_t bytesFor(std::size_t count) { return sizeof(U32) + count * widthFor(count); }
    template <class Word>
    static Word get(const U8* place) {
        Word word;
        std::memcpy(&word, place, sizeof(word));
        return word;
    }
    template <class Narrow>
    static U32 widened(Narrow position) {
        return position == std::numeric_limits<Narrow>::max() ? absent : position;
    }

    std::unique_ptr<U8[]> bytes_;
};
static_assert(std::endian::native == std::endian::little);

// A vector for more than fewEntries entries has an index.
template <class Entry, U32 fewEntries = ~U32{0}>
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
        if (hasIndex()) index() = other.index();
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

    bool hasIndex() const { return header_ != nullptr && isLarge(header_->capacity); }
    // The owner's. REQUIRES: hasIndex().
    Slots& index() { return *indexOf(header_); }
    const Slots& index() const { return *indexOf(header_); }

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
        destroyEntries();
        free(header_);
        header_ = nullptr;
    }

  private:
    struct Header {
        U32 size;
        U32 capacity;
    };
    static_assert(alignof(Entry) <= alignof(U64));
    static_assert(sizeof(Header) == sizeof(U64) && sizeof(Slots) == sizeof(U64));

    static constexpr bool isLarge(U32 capacity) { return capacity > fewEntries; }
    static Entry* entriesOf(Header* header) {
        return header == nullptr ? nullptr : reinterpret_cast<Entry*>(header + 1);
    }
    static Slots* indexOf(Header* header) { return reinterpret_cast<Slots*>(header) - 1; }

    static Header* newHeader(U32 capacity) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): entries may be pointers
        const std::size_t size = sizeof(Header) + std::size_t{capacity} * sizeof(Entry);
        if (!isLarge(capacity)) return new (allocateBlock(size)) Header{0, capacity};
        auto* const index = new (allocateBlock(sizeof(Slots) + size)) Slots;
        return new (index + 1) Header{0, capacity};
    }
    static void free(Header* header) {
        if (!isLarge(header->capacity)) {
            freeBlock(header);
            return;
        }
        Slots* const index = indexOf(header);
        std::destroy_at(index);
        freeBlock(index);
    }

    // The record that an entry refers to; null when it is no reference.
    static const void* recordOf(const Entry& entry) {
        if constexpr (requires { entry.get(); }) {
            return entry.get();
        } else if constexpr (requires { entry.value.get(); }) {
            return entry.value.get();
        } else {
            return nullptr;
        }
    }
    void destroyEntries() {
        const U32 count = size();
        for (U32 i = 0; i < count; ++i) {
            if (i + stepsAhead < count) fetchSoon(recordOf(begin()[i + stepsAhead]));
            std::destroy_at(begin() + i);
        }
    }

    void grow(U32 capacity) {
        auto* const grown = newHeader(capacity);
        if (header_ != nullptr) {
            std::uninitialized_move(begin(), end(), entriesOf(grown));
            grown->size = header_->size;
            if (hasIndex()) *indexOf(grown) = std::move(index());
            std::destroy(begin(), end());
            free(header_);
        }
        header_ = grown;
    }

    Header* header_ = nullptr;
};

}  // namespace Orb
