// Registers the types of its header.
#include "hive/PolicyMapConfig.h"

namespace PolicyMap {

ORB_DEFINE_TYPE(ClassMapMatch)
ORB_DEFINE_TYPE(ClassMapConfig)
ORB_DEFINE_TYPE(PolicyClassAction)
ORB_DEFINE_TYPE(PolicyMapSubConfig)
ORB_DEFINE_TYPE(PolicyMapConfig)

}  // namespace PolicyMap

namespace TrafficPolicy {

ORB_DEFINE_TYPE(TrafficPolicyConfig)

}  // namespace TrafficPolicy
