#include "fieldsets/Ipv4Order.h"

#include <algorithm>
#include <array>
#include <utility>

namespace TrafficPolicyCli::FieldSets {

namespace {

constexpr U32 keyBits = 30;
constexpr U64 keyMask = (U64{1} << keyBits) - 1;
constexpr U32 partCount = 256;

constexpr U32 digitBits = 10;
constexpr U32 digits = keyBits / digitBits;
constexpr U32 digitMask = (1U << digitBits) - 1;
using Places = std::array<U32, 1U << digitBits>;

// Where the keys with each value of a digit begin, from how many there are of each.
void countsToPlaces(Places& places) {
    U32 place = 0;
    for (U32& entry : places) place += std::exchange(entry, place);
}

// Sorts keys from the lowest digit to the highest: from one place into the other, back and forth.
void sortByDigits(U32* from, U32* to, U32 count) {
    std::array<Places, digits> places{};
    for (U32 i = 0; i < count; ++i) {
        for (U32 digit = 0; digit < digits; ++digit) {
            ++places[digit][from[i] >> digit * digitBits & digitMask];
        }
    }
    for (U32 digit = 0; digit < digits; ++digit) {
        countsToPlaces(places[digit]);
        for (U32 i = 0; i < count; ++i) {
            to[places[digit][from[i] >> digit * digitBits & digitMask]++] = from[i];
        }
        std::swap(from, to);
    }
}
static_assert(digits % 2 == 1, "the last digit is sorted into the second place");

// Fewer keys are sorted faster by comparing them.
constexpr U32 fewKeys = 256;

}  // namespace

void Ipv4Order::endPiece() {
    if (piece_.empty()) return;
    keys_.reserve(room_);
    const std::size_t begin = keys_.size();
    keys_.resize(begin + piece_.size());
    std::array<U32, partCount> places{};
    for (const U64 number : piece_) ++places[number >> keyBits];
    auto place = static_cast<U32>(begin);
    for (U32& entry : places) place += std::exchange(entry, place);
    for (const U64 number : piece_) {
        keys_[places[number >> keyBits]++] = static_cast<U32>(number & keyMask);
    }
    partEnds_.insert(partEnds_.end(), places.begin(), places.end());
    piece_.clear();
}

void Ipv4Order::sort() {
    endPiece();
    sorted_ = std::make_unique_for_overwrite<U32[]>(keys_.size());
    std::vector<U32> scratch;
    std::vector<U32> ends(partCount);
    U32 begin = 0;
    for (U32 part = 0; part < partCount; ++part) {
        scratch.clear();
        for (std::size_t i = part; i < partEnds_.size(); i += partCount) {
            const U32 partBegin = i == 0 ? 0 : partEnds_[i - 1];
            scratch.insert(scratch.end(), &keys_[partBegin], &keys_[partEnds_[i]]);
        }
        const auto count = static_cast<U32>(scratch.size());
        U32* const to = &sorted_[begin];
        if (count < fewKeys) {
            std::copy(scratch.begin(), scratch.end(), to);
            std::sort(to, to + count);
        } else {
            sortByDigits(scratch.data(), to, count);
        }
        begin += count;
        ends[part] = begin;
    }
    partEnds_ = std::move(ends);
    keys_ = {};
    piece_ = {};
}

}  // namespace TrafficPolicyCli::FieldSets
