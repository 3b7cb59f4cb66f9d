// Registers the types of its header.
#include "hive/Actions.h"

namespace PolicyMap {

ORB_DEFINE_TYPE(Action)
ORB_DEFINE_TYPE(GotoAction)
ORB_DEFINE_TYPE(RedirectNexthopAction)
ORB_DEFINE_TYPE(RedirectNexthopGroupAction)
ORB_DEFINE_TYPE(SetAggGroupAction)
ORB_DEFINE_TYPE(SetVrfAction)
ORB_DEFINE_TYPE(SetDscpAction)
ORB_DEFINE_TYPE(SetTcAction)
ORB_DEFINE_TYPE(StripHeaderBytesAction)
ORB_DEFINE_TYPE(SetIdentityTagAction)
ORB_DEFINE_TYPE(PoliceAction)
ORB_DEFINE_TYPE(CountAction)
ORB_DEFINE_TYPE(OtherAction)

}  // namespace PolicyMap
