// Where a policy is installed, where its installation failed and why: the records per address
// family, and the platform's reports per attachment point from which they are judged.
#pragma once

#include "hive/Attachments.h"
#include "hive/PolicyMapStatus.h"

namespace TrafficPolicyCli {

using MatchOption = PolicyMap::ClassMapMatchOption;

// Reports order by the interface that they are on, so that what is told of several is the same in
// every run; an absent report goes first.
struct ByInterface {
    bool operator()(const Orb::Ptr<const PolicyMap::IntfStatus>& a,
                    const Orb::Ptr<const PolicyMap::IntfStatus>& b) const {
        if (!a || !b) return !a && b;
        return a->intfId() != b->intfId() ? a->intfId() < b->intfId() : a < b;
    }
};

// The reports on one attachment point, one per reporting agent.
class InterfaceStatus : public Orb::PtrInterface {
    ORB_TYPE(InterfaceStatus)
    ORB_CONSTRUCTIBLE(InterfaceStatus)
    ORB_ATTRIBUTE(intfStatus, Orb::RbTreeSet<Orb::Ptr<const PolicyMap::IntfStatus>, ByInterface>)

    // Some report names the family, and all that do say programmed.
    bool isProgrammed(MatchOption option) const;
    // Some report says failed.
    bool isFailed(MatchOption option) const;
};

Orb::Ptr<InterfaceStatus> interfaceStatusFactory();

// The error text of the first report that does not say programmed; empty when there is none, or
// when that report does not name the family.
Orb::String getInstalledErrorString(Orb::Ptr<const InterfaceStatus> interfaceStatus,
                                    MatchOption option);

// The reports on the CPU-facing interfaces of one VRF.
class VrfIntfStatus : public InterfaceStatus {
    ORB_DERIVED_TYPE(VrfIntfStatus, InterfaceStatus)
    ORB_CONSTRUCTIBLE(VrfIntfStatus, L3::VrfName)
    ORB_KEY(vrfName, L3::VrfName)

    explicit VrfIntfStatus(L3::VrfName vrfName) : vrfName_(std::move(vrfName)) {}
};

// Attachment points of one family. The bool is always true: the names are what counts.
class PerAfIntfList : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PerAfIntfList, matchOption, MatchOption)
    ORB_ATTRIBUTE(intfList, Orb::RbTreeMap<Orb::String, bool>)
};

class PerAfVrfList : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PerAfVrfList, matchOption, MatchOption)
    ORB_ATTRIBUTE(vrfList, Orb::RbTreeMap<L3::VrfName, bool>)
};

class PerAfVAclList : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PerAfVAclList, matchOption, MatchOption)
    ORB_ATTRIBUTE(vlanList, Orb::RbTreeMap<Orb::String, bool>)
};

// Error texts of one family by attachment point.
class InstallError : public Orb::PtrInterface {
    ORB_KEYED_TYPE(InstallError, matchOption, MatchOption)
    ORB_ATTRIBUTE(vrfError, Orb::RbTreeMap<L3::VrfName, Orb::String>)
};

class InterfaceInstallError : public Orb::PtrInterface {
    ORB_KEYED_TYPE(InterfaceInstallError, matchOption, MatchOption)
    ORB_ATTRIBUTE(intfError, Orb::RbTreeMap<Orb::String, Orb::String>)
};

class VAclInstallError : public Orb::PtrInterface {
    ORB_KEYED_TYPE(VAclInstallError, matchOption, MatchOption)
    ORB_ATTRIBUTE(vlanError, Orb::RbTreeMap<Orb::String, Orb::String>)
};

}  // namespace TrafficPolicyCli
