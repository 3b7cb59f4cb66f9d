#include "traffic-policy/InstallStatus.h"

namespace TrafficPolicyCli {

using PolicyMap::Installation;
using PolicyMap::InstallState;

ORB_DEFINE_TYPE(InterfaceStatus)
ORB_DEFINE_TYPE(VrfIntfStatus)
ORB_DEFINE_TYPE(PerAfIntfList)
ORB_DEFINE_TYPE(PerAfVrfList)
ORB_DEFINE_TYPE(PerAfVAclList)
ORB_DEFINE_TYPE(InstallError)
ORB_DEFINE_TYPE(InterfaceInstallError)
ORB_DEFINE_TYPE(VAclInstallError)

namespace {

// A report's entry for a family; null when it has none.
const Installation* installationOf(const Orb::Ptr<const PolicyMap::IntfStatus>& report,
                                   MatchOption option) {
    return report ? report->installation(option) : nullptr;
}

}  // namespace

bool InterfaceStatus::isProgrammed(MatchOption option) const {
    bool seen = false;
    for (const auto& report : intfStatus()) {
        const Installation* installation = installationOf(report, option);
        if (installation == nullptr) continue;
        if (installation->state != InstallState::programmed) return false;
        seen = true;
    }
    return seen;
}

bool InterfaceStatus::isFailed(MatchOption option) const {
    for (const auto& report : intfStatus()) {
        const Installation* installation = installationOf(report, option);
        if (installation != nullptr && installation->state == InstallState::failed) return true;
    }
    return false;
}

Orb::Ptr<InterfaceStatus> interfaceStatusFactory() { return Orb::make<InterfaceStatus>(); }

// NOLINTNEXTLINE(performance-unnecessary-value-param)
Orb::String getInstalledErrorString(Orb::Ptr<const InterfaceStatus> interfaceStatus,
                                    MatchOption option) {
    for (const auto& report : interfaceStatus->intfStatus()) {
        const Installation* installation = installationOf(report, option);
        if (installation == nullptr) return {};
        if (installation->state != InstallState::programmed) return installation->errorText;
    }
    return {};
}

}  // namespace TrafficPolicyCli
