// Sets of values of a packet field: addresses, or numbers. Both are 128 bits wide with the
// address's first bit, or the number, on top, so that one arithmetic does for all fields:
//
//     number 80          00000000'00000050'xxxxxxxx'xxxxxxxx    x: any bit
//     address 10.1.2.3   0a010203'xxxxxxxx'xxxxxxxx'xxxxxxxx
//
// A number stands for every value that begins with it, so the ends of ranges meet without gaps.
#pragma once

#include <compare>
#include <vector>

#include "wire/IpGenPrefix.h"

namespace TrafficPolicyCli::Diagnosis {

struct FieldValue {
    U64 high = 0;
    U64 low = 0;

    static FieldValue number(U32 number) { return {number, 0}; }
    static FieldValue address(const Wire::IpGenAddr& address) {
        return {address.high(), address.low()};
    }
    friend auto operator<=>(const FieldValue&, const FieldValue&) = default;
};

class ValueSet {
  public:
    // Both ends belong to it.
    struct Interval {
        FieldValue low;
        FieldValue high;
        friend bool operator==(const Interval&, const Interval&) = default;
    };
    static Interval numbers(U32 low, U32 high) { return {{low, 0}, {high, ~U64{0}}}; }
    static Interval addresses(const Wire::IpGenPrefix& prefix);

    ValueSet() = default;  // of nothing
    // In any order; they may overlap.
    explicit ValueSet(std::vector<Interval> intervals);

    bool empty() const { return intervals_.empty(); }
    // Ascending, with gaps between.
    const std::vector<Interval>& intervals() const { return intervals_; }

    bool contains(const FieldValue& value) const;
    // Says whether the sets have a value in common, and whether the other lies in this one.
    bool meets(const ValueSet& other) const;
    bool containsAll(const ValueSet& other) const;

    ValueSet intersected(const ValueSet& other) const;
    ValueSet without(const ValueSet& other) const;
    ValueSet united(const ValueSet& other) const;

    friend bool operator==(const ValueSet&, const ValueSet&) = default;

  private:
    // The first interval that does not end below the value.
    std::vector<Interval>::const_iterator seek(const FieldValue& value) const;

    std::vector<Interval> intervals_;
};

}  // namespace TrafficPolicyCli::Diagnosis
