// The order in which people count: numbers inside names compare by value, so that Ethernet2 stands
// before Ethernet10.
#pragma once

#include <compare>
#include <string_view>

namespace TrafficPolicyCli::Diagnosis {

// Names that differ only in leading zeros order by their bytes.
std::strong_ordering naturalOrder(std::string_view a, std::string_view b);

struct NaturalLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const { return naturalOrder(a, b) < 0; }
};

}  // namespace TrafficPolicyCli::Diagnosis
