// A directory of the state database: named entries, which may be directories themselves.
#pragma once

#include "orb/RbTreeMap.h"
#include "orb/Type.h"

namespace Orb {

class ORB_EXPORT Dir : public PtrInterface {
    ORB_KEYED_TYPE(Dir, name, String)
    ORB_ATTRIBUTE(entry, RbTreeMap<String, Ptr<const PtrInterface>>)
};

}  // namespace Orb
