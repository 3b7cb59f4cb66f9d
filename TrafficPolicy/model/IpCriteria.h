// The criteria of the IP header behind the protocol, in the order in which they are shown and
// asked. All but that of fragments are ranges of one number, and differ only in what stands in
// their rows.
#pragma once

#include <string_view>
#include <tuple>

#include "hive/StructuredFilter.h"
#include "traffic-policy/Packet.h"

namespace TrafficPolicyCli {

template <class Range>
struct NumericCriterion {
    std::string_view attribute;  // of the filter
    const Orb::HashSet2018<Range>& (Classification::StructuredFilter::*ranges)() const;
    std::string_view label;     // in a report
    std::string_view jsonName;  // likewise
    std::string_view name;      // in a line about what differs
    // Of a packet, that the criterion asks for; Field::otherCriteria when packets have no such
    // field: then it is not known whether the criterion holds.
    Diagnosis::Field field;
};

struct FragmentCriterion {};

inline constexpr std::tuple ipCriteria = {
    NumericCriterion<Classification::PacketLengthRange>{
        "length", &Classification::StructuredFilter::length, "IP length", "ipLengths", "length",
        Diagnosis::Field::length},
    FragmentCriterion{},
    NumericCriterion<Classification::DscpRange>{"dscp", &Classification::StructuredFilter::dscp,
                                                "DSCP", "dscps", "DSCP", Diagnosis::Field::dscp},
    NumericCriterion<Classification::EcnRange>{"ecn", &Classification::StructuredFilter::ecn, "ECN",
                                               "ecns", "ECN", Diagnosis::Field::ecn},
    NumericCriterion<Classification::TtlRange>{"ttl", &Classification::StructuredFilter::ttl, "TTL",
                                               "ttls", "TTL", Diagnosis::Field::ttl},
};

// Calls numeric(criterion) for each row, and fragment() in its place.
template <class Numeric, class Fragment>
constexpr void forEachIpCriterion(const Numeric& numeric, const Fragment& fragment) {
    const auto visit = [&](const auto& row) {
        if constexpr (std::is_same_v<decltype(row), const FragmentCriterion&>) {
            fragment();
        } else {
            numeric(row);
        }
    };
    std::apply([&](const auto&... row) { (visit(row), ...); }, ipCriteria);
}
template <class Numeric>
constexpr void forEachNumericCriterion(const Numeric& numeric) {
    forEachIpCriterion(numeric, [] {});
}

}  // namespace TrafficPolicyCli
