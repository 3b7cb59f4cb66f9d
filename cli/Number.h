// Numbers of the command line.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

#include "orb/Types.h"

namespace Cli {

// A number in decimal digits; null for anything else, and for what 32 bits do not hold.
inline std::optional<U32> parseNumber(std::string_view text) {
    U32 number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace Cli
