#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(PolicyState)
ORB_DEFINE_TYPE(PolicyStateCpu)
ORB_DEFINE_TYPE(PolicyStateInterface)
ORB_DEFINE_TYPE(PolicyStateVAcl)

Orb::Ptr<const InterfaceStatus> PolicyStateInterface::getInterfaceStatus(
    const Orb::String& intfName, bool isInput) const {
    return isInput ? interfaceStatusInput(intfName) : interfaceStatusOutput(intfName);
}

Orb::Ptr<const PerAfIntfList> PolicyStateInterface::getAppliedIntfList(MatchOption matchOption,
                                                                       bool isInput) const {
    return isInput ? appliedIntfInput(matchOption) : appliedIntfOutput(matchOption);
}

Orb::Ptr<const PerAfIntfList> PolicyStateInterface::getFailedIntfList(MatchOption matchOption,
                                                                      bool isInput) const {
    return isInput ? failedIntfInput(matchOption) : failedIntfOutput(matchOption);
}

Orb::Ptr<const InterfaceInstallError> PolicyStateInterface::getInstallErrorList(
    MatchOption matchOption, bool isInput) const {
    return isInput ? installErrorCollInput(matchOption) : installErrorCollOutput(matchOption);
}

Orb::Ptr<InterfaceInstallError> PolicyStateInterface::createInstallErrorColl(
    MatchOption matchOption, bool isInput) {
    return isInput ? installErrorCollInputIs(matchOption) : installErrorCollOutputIs(matchOption);
}

Orb::Ptr<PolicyState> policyStateFactory(const Orb::String& name) {
    return Orb::make<PolicyState>(name);
}
Orb::Ptr<PolicyStateCpu> policyStateCpuFactory(const Orb::String& name) {
    return Orb::make<PolicyStateCpu>(name);
}
Orb::Ptr<PolicyStateInterface> policyStateInterfaceFactory(const Orb::String& name) {
    return Orb::make<PolicyStateInterface>(name);
}
Orb::Ptr<PolicyStateVAcl> policyStateVAclFactory(const Orb::String& name) {
    return Orb::make<PolicyStateVAcl>(name);
}

}  // namespace TrafficPolicyCli
