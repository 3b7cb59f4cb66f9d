// Registers the types of its header.
#include "hive/Attachments.h"

namespace L3::Intf {

ORB_DEFINE_TYPE(Status)
ORB_DEFINE_TYPE(StatusDir)

}  // namespace L3::Intf

namespace Ip {

ORB_DEFINE_TYPE(AllVrfConfig)

}  // namespace Ip

namespace PolicyMap {

ORB_DEFINE_TYPE(IntfConfig)
ORB_DEFINE_TYPE(VrfConfig)

}  // namespace PolicyMap
