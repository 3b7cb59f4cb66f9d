// When a switch whose state is followed was last heard, as heard.json in the state directory tells
// it. The documents of the state change only when the switch does.
#pragma once

#include <optional>
#include <string>

#include "orb/Seconds.h"
#include "orb/Types.h"
#include "state/StateError.h"

namespace StateDirectory {

struct Heard {
    Orb::Seconds time{0};
    Orb::String lost;  // why nothing is heard any more; empty: the switch is followed
};

inline constexpr const char* heardName = "heard.json";

// Nothing when there is no such document: nobody followed the switch. Throws StateError when it
// cannot be read or has a mistake.
std::optional<Heard> readHeard(const std::string& directory);

// The document that is read back as the same.
std::string heardText(const Heard& heard);

}  // namespace StateDirectory
