#include "traffic-policy/ValueSet.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

namespace {

constexpr U64 allOnes = ~U64{0};

// REQUIRES: not the greatest value, or the least one.
FieldValue after(const FieldValue& value) {
    return {value.high + (value.low == allOnes ? 1 : 0), value.low + 1};
}
FieldValue before(const FieldValue& value) {
    return {value.high - (value.low == 0 ? 1 : 0), value.low - 1};
}
bool isGreatest(const FieldValue& value) { return value.high == allOnes && value.low == allOnes; }

}  // namespace

ValueSet::Interval ValueSet::addresses(const Wire::IpGenPrefix& prefix) {
    const FieldValue low = FieldValue::address(prefix.masked().address());
    const U32 length = prefix.length();
    const U64 highBits = length >= 64 ? 0 : allOnes >> length;
    const bool isIpv4 = prefix.family() == Wire::AddressFamily::ipv4;
    const U64 lowBits = isIpv4 || length <= 64 ? allOnes
                        : length >= 128        ? 0
                                               : allOnes >> (length - 64);
    return {low, {low.high | highBits, low.low | lowBits}};
}

ValueSet::ValueSet(std::vector<Interval> intervals) : intervals_(std::move(intervals)) {
    std::sort(intervals_.begin(), intervals_.end(),
              [](const Interval& a, const Interval& b) { return a.low < b.low; });
    std::size_t last = 0;
    for (std::size_t i = 1; i < intervals_.size(); ++i) {
        Interval& kept = intervals_[last];
        const Interval& next = intervals_[i];
        if (isGreatest(kept.high) || next.low <= after(kept.high)) {
            kept.high = std::max(kept.high, next.high);
        } else {
            intervals_[++last] = next;
        }
    }
    if (!intervals_.empty()) intervals_.resize(last + 1);
}

std::vector<ValueSet::Interval>::const_iterator ValueSet::seek(const FieldValue& value) const {
    return std::lower_bound(
        intervals_.begin(), intervals_.end(), value,
        [](const Interval& interval, const FieldValue& at) { return interval.high < at; });
}

bool ValueSet::contains(const FieldValue& value) const {
    const auto found = seek(value);
    return found != intervals_.end() && found->low <= value;
}

bool ValueSet::meets(const ValueSet& other) const {
    if (intervals_.size() < other.intervals_.size()) return other.meets(*this);
    return std::ranges::any_of(other.intervals_, [this](const Interval& interval) {
        const auto found = seek(interval.low);
        return found != intervals_.end() && found->low <= interval.high;
    });
}

bool ValueSet::containsAll(const ValueSet& other) const {
    return std::ranges::all_of(other.intervals_, [this](const Interval& interval) {
        const auto found = seek(interval.low);
        return found != intervals_.end() && found->low <= interval.low &&
               interval.high <= found->high;
    });
}

ValueSet ValueSet::intersected(const ValueSet& other) const {
    if (intervals_.size() < other.intervals_.size()) return other.intersected(*this);
    ValueSet result;
    for (const Interval& interval : other.intervals_) {
        for (auto at = seek(interval.low); at != intervals_.end() && at->low <= interval.high;
             ++at) {
            result.intervals_.push_back(
                {std::max(at->low, interval.low), std::min(at->high, interval.high)});
        }
    }
    return result;
}

ValueSet ValueSet::without(const ValueSet& other) const {
    ValueSet result;
    for (Interval interval : intervals_) {
        bool isGone = false;
        for (auto at = other.seek(interval.low);
             at != other.intervals_.end() && at->low <= interval.high; ++at) {
            if (interval.low < at->low) {
                result.intervals_.push_back({interval.low, before(at->low)});
            }
            isGone = interval.high <= at->high;
            if (isGone) break;
            interval.low = after(at->high);
        }
        if (!isGone) result.intervals_.push_back(interval);
    }
    return result;
}

ValueSet ValueSet::united(const ValueSet& other) const {
    std::vector<Interval> all = intervals_;
    all.insert(all.end(), other.intervals_.begin(), other.intervals_.end());
    return ValueSet(std::move(all));
}

}  // namespace TrafficPolicyCli::Diagnosis
