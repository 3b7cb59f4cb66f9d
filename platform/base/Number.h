// The one grammar of numbers and ranges that people write, in documents and on the command line:
// decimal digits without sign, blank or leading zero, and "low-high" with both bounds included.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orb/Types.h"

namespace Base {

// What a number may be, both bounds included.
struct Bounds {
    U64 lowest = 0;
    U64 highest = ~U64{0};

    constexpr bool holds(U64 number) const { return number >= lowest && number <= highest; }
    // "0 to 65535".
    std::string stringValue() const {
        return std::to_string(lowest) + " to " + std::to_string(highest);
    }
};

struct NumberRange {
    U64 low = 0;
    U64 high = 0;
};

// Why a text was refused: "is not a number", "has leading zeros", "starts above its end" or "is out
// of range".
struct NumberFault {
    std::string_view wrong;
    std::string right;  // what was most likely meant, when that is within the bounds; else empty
};

// A number, or a range: "low-high" or a single number. Nothing when the text is none, or is out of
// bounds.
ORB_EXPORT std::optional<U64> parseNumber(std::string_view text, Bounds bounds);
ORB_EXPORT std::optional<NumberRange> parseRange(std::string_view text, Bounds bounds);

// What is wrong with a text that the function above refused under the same bounds.
ORB_EXPORT NumberFault numberFault(std::string_view text, Bounds bounds);
ORB_EXPORT NumberFault rangeFault(std::string_view text, Bounds bounds);

// "low-high", or the number alone when the bounds are equal.
ORB_EXPORT std::string rangeText(U64 low, U64 high);

}  // namespace Base
