// Registers the types of its header.
#include "hive/PolicyMapStatus.h"

namespace PolicyMap {

ORB_DEFINE_TYPE(IntfStatus)
ORB_DEFINE_TYPE(ClassMapStatus)
ORB_DEFINE_TYPE(PolicyMapStatus)
ORB_DEFINE_TYPE(PolicyMapTypeStatus)

}  // namespace PolicyMap

namespace TrafficPolicy {

ORB_DEFINE_TYPE(Status)
ORB_DEFINE_TYPE(HwStatus)
ORB_DEFINE_TYPE(TrafficPolicyIntfParamStatus)

}  // namespace TrafficPolicy
