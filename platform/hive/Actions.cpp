// Registers the types of its header.
#include "hive/Actions.h"

namespace PolicyMap {

POLICY_MAP_ACTIONS(ORB_DEFINE_TYPE)

}  // namespace PolicyMap
