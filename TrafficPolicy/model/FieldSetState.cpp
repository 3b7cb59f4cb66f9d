// Registers the types of its header.
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(L4PortFieldSetState)
ORB_DEFINE_TYPE(PrefixFieldSetState)
ORB_DEFINE_TYPE(VlanFieldSetState)
ORB_DEFINE_TYPE(FieldSetState)

}  // namespace TrafficPolicyCli
