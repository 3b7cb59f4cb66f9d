// The directory of singletons: of each entered type one object in the process, made on first use.
#pragma once

#include <string_view>

#include "orb/Ptr.h"

namespace Orb {

// The one object of a registered type, which is built without arguments on first use and lives
// until the process ends. Safe in every thread. Throws std::invalid_argument when no type of that
// name is registered or it cannot be built without arguments. REQUIRES: the type's constructor
// asks for no singleton.
ORB_EXPORT Ptr<PtrInterface> singleton(std::string_view typeName);

}  // namespace Orb
