// Where policies are: every point with the policy that is configured there, or that the platform
// reports there; and the one answer to what the platform did with a policy at a point.
//
//     interface  Ethernet5  input     one report                      hardware
//     cpu        default              reports of the VRF's interfaces hardware, and the kernel
//     vlan       20                   one report                      hardware
#pragma once

#include <array>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli::Diagnosis {

using MatchOption = PolicyMap::ClassMapMatchOption;

enum class Place : U8 { input, output, cpu, vlan };

// Where on the CPU; everything else is in hardware only.
enum class Target : U8 { hardware, kernel };

// "interface", "cpu", "vlan".
std::string_view kindOf(Place place);
// "input", "output"; empty for places without direction.
std::string_view directionOf(Place place);
// A point as a text tells it: "Ethernet5", "VRF default", "VLAN 20". Not escaped.
Orb::String pointText(Place place, const Orb::String& point);

// What the platform did with a policy at a point, for one family.
enum class Outcome : U8 {
    applied,
    failed,
    notProcessed,   // it was asked to, and is not known to have done it
    notAsked,       // the policy has no rules of the family
    notConfigured,  // it is in place, but the policy is not configured at this point
};

// How an outcome is told.
struct OutcomeWords {
    std::string_view key;       // in JSON
    std::string_view cell;      // in a table
    std::string_view sentence;  // in a line
};
const OutcomeWords& wordsOf(Outcome outcome);

struct Installed {
    Outcome outcome = Outcome::notAsked;
    Orb::String reason;  // of a failure what the platform says; empty: nothing is known
};

// The reports on one point, ascending by interface; only the CPU has several. Valid while the
// status objects stay as they are.
using Reports = std::vector<const PolicyMap::IntfStatus*>;

// Says whether some report says programmed, whatever the family.
bool sayProgrammed(const Reports& reports);

struct Attachment {
    Place place = Place::input;
    Orb::String point;   // interface, VRF, or VLAN number
    Orb::String policy;  // may be configured nowhere
    bool isConfigured = false;
    bool isByAll = false;  // a VRF that has the policy of the VRF "all"
    U32 order = 0;  // of what is configured at a point: the place in the order of application
    Reports hardware{};
    Reports kernel{};
};

// REQUIRES: the sources stay as they are, and outlive the object.
class Attachments {
  public:
    explicit Attachments(const DiagnosisSources& sources) : sources_(sources) {}

    // Every one, by kind of place and point as people count; of one point input goes before output,
    // and what is configured, in the order of application, before what is not.
    std::vector<Attachment> all() const;
    // Those of one point: those that are configured, in the order of application, then the others.
    std::vector<Attachment> at(Place place, const Orb::String& point) const;

    Installed installed(const Attachment& attachment, MatchOption option, Target target) const;
    // Says whether the platform would have told of the family, had it done something: of MAC and
    // MPLS it may say nothing, which means nothing then.
    bool isTold(const Attachment& attachment, MatchOption option, Target target) const;

    // Says whether the platform did something, or would have told.
    bool isReported(const Installed& installed, const Attachment& attachment, MatchOption option,
                    Target target) const {
        return installed.outcome == Outcome::notProcessed ? isTold(attachment, option, target)
                                                          : installed.outcome != Outcome::notAsked;
    }

    // The current version of a policy; null: there is none, or no such policy.
    const PolicyMap::PolicyMapSubConfig* versionOf(const Orb::String& policy) const;
    // Says whether some rule of the version is of the family; false without a version.
    bool hasRules(const PolicyMap::PolicyMapSubConfig* version, MatchOption option) const;
    // The platform has something to report of the kernel.
    bool hasKernel() const { return sources_.kernel.status != nullptr; }
    // Where a policy at a place can be: in hardware, on the CPU in the kernel as well.
    std::span<const Target> targetsAt(Place place) const;
    const SideSources& sideOf(Place place, Target target) const;
    // What the platform reports of a policy there; null: nothing.
    const PolicyMap::PolicyMapStatus* statusOf(Place place, Target target,
                                               const Orb::String& policy) const;

  private:
    using PolicyStatus = PolicyMap::PolicyMapStatus;

    const PolicyMap::IntfConfig* intfConfigOf(Place place) const;
    const L3::VrfName* vrfOf(const Wire::IntfId& intfId) const;
    bool vrfHasInterface(const L3::VrfName& vrf) const;
    Reports reportsIn(const L3::VrfName& vrf, const PolicyStatus* status) const;

    void addInterfaces(Place place, std::vector<Attachment>& found) const;
    void addLeftOver(Place place, std::vector<Attachment>& found) const;
    // Calls visit(vrf, policy, report) for each report on the CPU.
    template <class Visit>
    void eachReportOnCpu(Target target, const Visit& visit) const;
    void addVrfs(std::vector<Attachment>& found) const;
    Attachment configuredAt(Place place, const Wire::IntfId& intfId,
                            const Orb::String& policy) const;
    std::vector<Attachment> atVrf(const L3::VrfName& vrf) const;
    std::vector<Attachment> atInterface(Place place, const Orb::String& point) const;
    // The VRF whose policies the CPU has in a VRF: itself or "all"; null: it has none.
    const L3::VrfName* ownerOfPolicies(const L3::VrfName& vrf) const;
    // Marks the attachments that the configuration gives a VRF; attachmentOf(policy) gives each.
    template <class AttachmentOf>
    void configureVrf(const L3::VrfName& vrf, const AttachmentOf& attachmentOf) const;

    const DiagnosisSources& sources_;
    mutable std::unordered_map<const PolicyMap::PolicyMapSubConfig*,
                               std::array<std::optional<bool>, 4>>
        families_;
};

}  // namespace TrafficPolicyCli::Diagnosis
