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

// The sources from an object that has them as members of these names, as the state reader's State
// does. Without snapshots. The shared-memory counters may be null.
template <class State>
DiagnosisSources diagnosisSourcesOf(
    const State& state, Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> input,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> output) {
    DiagnosisSources sources;
    sources.config = state.config;
    sources.fieldSetConfig = state.fieldSetConfig;
    sources.macDir = state.macDir;
    sources.intfConfigInput = state.intfConfigInput;
    sources.intfConfigOutput = state.intfConfigOutput;
    sources.intfConfigBridged = state.intfConfigBridged;
    sources.vrfConfig = state.vrfConfig;
    sources.allVrfConfig = state.allVrfConfig;
    sources.l3IntfStatusDir = state.l3IntfStatusDir;
    sources.trafficPolicyHwStatus = state.hwStatus;
    sources.input = {state.interfaceInput, nullptr, std::move(input)};
    sources.output = {state.interfaceOutput, nullptr, std::move(output)};
    sources.cpu = {state.cpu, nullptr, nullptr};
    sources.kernel = {state.cpuSoftware, nullptr, nullptr};
    sources.vlan = {state.vlan, nullptr, nullptr};
    return sources;
}

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

// Everything that is wrong, a line each, under the policy it is of.
class ShowTrafficPolicyProblems : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyProblems, ShowTrafficPolicyDiagnosis)
    ORB_KEY(policyName, Orb::String)
    ORB_ATTRIBUTE(problemCount, U64)  // once rendered, how many were printed

    ShowTrafficPolicyProblems(DiagnosisSources sources, Orb::String policyName);

  protected:
    void renderReport(textout::RendererV2& renderer) override;
};

enum class ReferenceKind : U8 { policy, fieldSet, counter, vrf, nexthopGroup };

// Which rules of which policies name something, and where these policies are attached. Of a policy
// where it is attached; of a VRF also which policy its CPU has, and which field sets are fetched
// through it.
class ShowTrafficPolicyReferences : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyReferences, ShowTrafficPolicyDiagnosis)
    ORB_KEY(kind, ReferenceKind)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(foundReferences, bool)  // once rendered, at least one was printed

    ShowTrafficPolicyReferences(DiagnosisSources sources, ReferenceKind kind, Orb::String name);

  protected:
    void renderReport(textout::RendererV2& renderer) override;
};

enum class HoldingKind : U8 { address, l4Port, vlan, mac };

// Which field sets hold an address, a layer-4 port, a VLAN or a MAC address, and what in them does:
// the longest prefix or the narrowest range. A set whose exception takes an address out is listed
// with that exception, and does not hold it.
class ShowTrafficPolicyFieldSetHolding : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyFieldSetHolding, ShowTrafficPolicyDiagnosis)
    ORB_KEY(kind, HoldingKind)
    ORB_KEY(address, Wire::IpGenAddr)
    ORB_KEY(number, U32)
    ORB_KEY(mac, Wire::EthAddr)

    ShowTrafficPolicyFieldSetHolding(DiagnosisSources sources, HoldingKind kind,
                                     const Wire::IpGenAddr& address, U32 number,
                                     const Wire::EthAddr& mac);

  protected:
    void renderReport(textout::RendererV2& renderer) override;
};

// The factories, and the creators with the same arguments.

// interfaceName, vrfName, vlan (its number): shows only this interface, or the CPU of this VRF, or
// this VLAN; at most one is not empty. All empty: every point.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyAttachments> showTrafficPolicyAttachmentsFactory(
    DiagnosisSources sources, Orb::String interfaceName, Orb::String vrfName, Orb::String vlan);
ORB_EXPORT decltype(showTrafficPolicyAttachmentsFactory) ShowTrafficPolicyAttachmentsIs;

// policyName: only this policy; empty: all.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyProblems> showTrafficPolicyProblemsFactory(
    DiagnosisSources sources, Orb::String policyName);
ORB_EXPORT decltype(showTrafficPolicyProblemsFactory) ShowTrafficPolicyProblemsIs;

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyReferences> showTrafficPolicyReferencesFactory(
    DiagnosisSources sources, ReferenceKind kind, Orb::String name);
ORB_EXPORT decltype(showTrafficPolicyReferencesFactory) ShowTrafficPolicyReferencesIs;

// Of address, number (port 0 to 65535, VLAN 1 to 4094) and mac the one that the kind asks for is
// looked at. REQUIRES: of the kind address, that it is not the null address.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyFieldSetHolding> showTrafficPolicyFieldSetHoldingFactory(
    DiagnosisSources sources, HoldingKind kind, const Wire::IpGenAddr& address, U32 number,
    const Wire::EthAddr& mac);
ORB_EXPORT decltype(showTrafficPolicyFieldSetHoldingFactory) ShowTrafficPolicyFieldSetHoldingIs;

// The views of policies, and which of them warn of what.
enum class PolicyViewWord : U8 { interface, cpu, vlan };
struct PolicyViewShown {
    PolicyViewWord word;
    Orb::String policyName;  // only this policy; empty: all
    bool errors;
    bool counters;
};

// How many problems the policies of a view have that the view does not show. REQUIRES: the calling
// thread holds the activity lock.
ORB_EXPORT U64 trafficPolicyProblemsNotShown(const DiagnosisSources& sources,
                                             const PolicyViewShown& view);

}  // namespace TrafficPolicyCli
