// The show commands that answer an operator's own questions across all policies: what is attached
// where, what is wrong, who uses what. The command layer builds a show object through a factory,
// with references into the state database that may change only under the activity lock, and calls
// render() once, holding that lock.
//
//     TrafficPolicyCli::DiagnosisSources sources;
//     sources.config = config;
//     sources.input.status = statusOfInterfacesOnInput;
//     ...
//     TrafficPolicyCli::showTrafficPolicyAttachmentsFactory(sources, "", "", "")
//         ->render(STDOUT_FILENO, 1, 2);
#pragma once

#include "hive/Attachments.h"
#include "hive/FieldSets.h"
#include "hive/PolicyMapConfig.h"
#include "hive/PolicyMapStatus.h"
#include "orb/Dir.h"
#include "reef/PolicyMapTypeCounters.h"
#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// What belongs to one side: where the platform puts policies, and what it reports and counts there.
struct SideSources {
    Orb::Ptr<const TrafficPolicy::Status> status;    // null: the platform has no such status
    Orb::Ptr<const TrafficPolicy::Counter> counter;  // snapshots of the last clear; may be null
    // The shared-memory counters; null where there are none.
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCounters;
};

// What the commands read. Any pointer may be null: the state has no such object.
struct DiagnosisSources {
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config;
    Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
    // A directory per source of MAC field sets, which holds a FieldSetMacAddrConfig per set.
    Orb::Ptr<const Orb::Dir> macDir;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged;
    Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig;
    Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig;
    Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir;
    Orb::Ptr<const TrafficPolicy::HwStatus> trafficPolicyHwStatus;
    SideSources input;   // interfaces, input
    SideSources output;  // interfaces, output
    SideSources cpu;     // the CPU in hardware
    SideSources kernel;  // the CPU in the kernel's filter
    SideSources vlan;
};

// What the show objects have in common.
class ShowTrafficPolicyDiagnosis : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyDiagnosis)

    // Prints the report. fd: where to; not closed. format: 1 text, 2 JSON. revision: of the JSON
    // model. An operator's interrupt ends it: what was printed is flushed, "exiting interrupted"
    // goes to standard output, and render returns. textout::WriteError passes through. REQUIRES:
    // the calling thread holds the activity lock.
    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);

    const DiagnosisSources& sources() const { return sources_; }

  protected:
    explicit ShowTrafficPolicyDiagnosis(DiagnosisSources sources) : sources_(std::move(sources)) {}
    // Prints what stands between the beginning and the end of the document.
    virtual void renderReport(textout::RendererV2& renderer) = 0;

  private:
    DiagnosisSources sources_;
};

// Where policies are attached, and what the platform did there: a line per point, direction and
// policy. Points where hardware has a policy that is not configured there are listed too.
class ShowTrafficPolicyAttachments : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyAttachments, ShowTrafficPolicyDiagnosis)
    ORB_KEY(interfaceName, Orb::String)
    ORB_KEY(vrfName, Orb::String)
    ORB_KEY(vlan, Orb::String)

    ShowTrafficPolicyAttachments(DiagnosisSources sources, Orb::String interfaceName,
                                 Orb::String vrfName, Orb::String vlan);

  protected:
    void renderReport(textout::RendererV2& renderer) override;
};

// interfaceName, vrfName, vlan (its number): shows only this interface, or the CPU of this VRF, or
// this VLAN; at most one is not empty. All empty: every point.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyAttachments> showTrafficPolicyAttachmentsFactory(
    DiagnosisSources sources, Orb::String interfaceName, Orb::String vrfName, Orb::String vlan);

// The creators: the same with the same arguments.
inline constexpr auto& ShowTrafficPolicyAttachmentsIs = showTrafficPolicyAttachmentsFactory;

}  // namespace TrafficPolicyCli
