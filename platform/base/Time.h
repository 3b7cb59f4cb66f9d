// Points in time as text (RFC 3339).
#pragma once

#include <optional>
#include <string_view>

#include "orb/Seconds.h"
#include "orb/Types.h"

namespace Base {

// "2026-11-21T15:40:00Z": whole seconds, in UTC. Of 1970 to 9999.
ORB_EXPORT Orb::String timeText(Orb::Seconds time);

// The time of a text such as "2026-11-21T15:40:00Z" or "2026-11-21T16:40:00.5+01:00"; nothing when
// it is none, or before 1970.
ORB_EXPORT std::optional<Orb::Seconds> parseTime(std::string_view text);

}  // namespace Base
