// The address families of addresses, prefixes and encapsulated headers.
#pragma once

#include "orb/Types.h"

namespace Wire {

enum class AddressFamily : U8 { ipv4 = 1, ipv6 = 2 };

}  // namespace Wire
