// The version of the library, its platform and the programs. This line is the only place that tells
// it; the build reads it from here.
#pragma once

#include <string_view>

namespace Base {

inline constexpr std::string_view version = "1.0.0";

}  // namespace Base
