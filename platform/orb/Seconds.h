// Points in time of the model: seconds since 1970-01-01 00:00 UTC.
#pragma once

#include <chrono>

namespace Orb {

using Seconds = std::chrono::duration<double>;

inline Seconds now() { return std::chrono::system_clock::now().time_since_epoch(); }

}  // namespace Orb
