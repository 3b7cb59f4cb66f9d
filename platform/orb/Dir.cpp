// Registers the types of its header.
#include "orb/Dir.h"

namespace Orb {

ORB_DEFINE_TYPE(Dir)

}  // namespace Orb
