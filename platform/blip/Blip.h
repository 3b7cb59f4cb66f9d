// The flight recorder: a ring of the last trace messages of the process, always on, which the host
// can read or dump after something went wrong. Safe in every thread; writing allocates nothing.
#pragma once

#include <chrono>
#include <string_view>
#include <vector>

#include "orb/Types.h"

namespace Blip {

// How many messages the ring holds; a further one overwrites the oldest.
inline constexpr U32 capacity = 4096;
// The longest text kept, in bytes; longer ones are cut before the UTF-8 character that would not
// fit whole.
inline constexpr U32 maxLength = 240;

struct Message {
    std::chrono::system_clock::time_point time;  // CLOCK_REALTIME
    Orb::String text;                            // as given, not escaped
};

// Adds a message with the present time.
ORB_EXPORT void trace(std::string_view text);

// The messages in the ring, the oldest first.
ORB_EXPORT std::vector<Message> messages();

// Writes one line per message, the oldest first: the time in UTC with microseconds (RFC 3339), a
// blank, the text with control characters escaped. False when not all could be written (errno says
// why). Not for signal handlers.
[[nodiscard]] ORB_EXPORT bool dump(int fd);

}  // namespace Blip
