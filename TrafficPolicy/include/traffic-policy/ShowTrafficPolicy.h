// The policy show commands. The command layer builds a show object through a factory, with
// references into the state database that may change only under the activity lock, and calls
// render() once, holding that lock. render() first gathers one record per policy and then prints.
//
//     auto show = TrafficPolicyCli::showTrafficPolicyVAclFactory("trafficPolicies",
//         "Traffic policy ", config, status, counter, "", false, false, false, false, false,
//         fieldSetConfig, hwStatus, nullptr, intfConfigBridged);
//     show->render(STDOUT_FILENO, 1, 2);
#pragma once

#include "hive/Attachments.h"
#include "hive/FieldSets.h"
#include "hive/PolicyMapConfig.h"
#include "hive/PolicyMapStatus.h"
#include "reef/PolicyMapTypeCounters.h"
#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"
#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

using CounterReader = PolicyMap::PolicyMapCounterStatusReaderBase;
struct Direction;
struct OtherDirection;
struct Side;

// What every kind of policy show command is given, in the order of the factories' arguments:
//   policyJsonDictKeyword  JSON key of the dictionary of policies, as "trafficPolicies"
//   policyFeatureName      stands before the name on a policy's heading line, as "Traffic policy "
//   config                 configured policies; null: none
//   status                 where the platform installed them (interfaces: input; CPU: hardware);
//                          null: nowhere
//   counter                snapshots of the last clear (interfaces: input); null: none
//   policyName             shows only this policy; empty: all
//   summary .. counters    the view; counters goes before the others; errors excludes detail
//   byteCountersSupported  byte figures stand beside packet figures
//   fieldSetConfig         configured field sets; null: every reference is undefined
//   trafficPolicyHwStatus  what the hardware can do; null: unknown, interface counts not available
//   policyMapCounters      counters in the shared-memory store (interfaces: input); may be null
// clang-format off
#define TRAFFIC_POLICY_SHOW_ARGUMENTS(argument)                                   \
    argument(Orb::String, policyJsonDictKeyword)                                  \
    argument(Orb::String, policyFeatureName)                                      \
    argument(Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig>, config)          \
    argument(Orb::Ptr<const TrafficPolicy::Status>, status)                       \
    argument(Orb::Ptr<const TrafficPolicy::Counter>, counter)                     \
    argument(Orb::String, policyName)                                             \
    argument(bool, summary)                                                       \
    argument(bool, errors)                                                        \
    argument(bool, detail)                                                        \
    argument(bool, counters)                                                      \
    argument(bool, byteCountersSupported)                                         \
    argument(Orb::Ptr<const Classification::FieldSetConfig>, fieldSetConfig)      \
    argument(Orb::Ptr<const TrafficPolicy::HwStatus>, trafficPolicyHwStatus)      \
    argument(Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>, policyMapCounters)
// clang-format on
#define TRAFFIC_POLICY_PARAMETER(type, name) type name,
#define TRAFFIC_POLICY_MEMBER(type, name) type name;

struct ShowArguments {
    TRAFFIC_POLICY_SHOW_ARGUMENTS(TRAFFIC_POLICY_MEMBER)
};

class ShowTrafficPolicyBase : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyBase)
    ORB_KEY(policyJsonDictKeyword, Orb::String)
    ORB_KEY(policyFeatureName, Orb::String)
    ORB_KEY(config, Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig>)
    ORB_KEY(status, Orb::Ptr<const TrafficPolicy::Status>)
    ORB_KEY(counter, Orb::Ptr<const TrafficPolicy::Counter>)
    ORB_KEY(policyName, Orb::String)
    ORB_KEY(summary, bool)
    ORB_KEY(errors, bool)
    ORB_KEY(detail, bool)
    ORB_KEY(counters, bool)
    ORB_KEY(byteCountersSupported, bool)
    ORB_KEY(fieldSetConfig, Orb::Ptr<const Classification::FieldSetConfig>)
    ORB_KEY(trafficPolicyHwStatus, Orb::Ptr<const TrafficPolicy::HwStatus>)
    ORB_KEY(policyMapCounters, Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>)
    ORB_KEY(fieldSetState, Orb::Ptr<FieldSetState>)
    ORB_ATTRIBUTE(policyState, Orb::RbTreeMap<Orb::String, Orb::Ptr<PolicyState>>)
    ORB_ATTRIBUTE(inputCounterHelper, Orb::Ptr<const CounterReader>)
    // The operations that a kind replaces, in an order that stays.

    // Prints the policy view, or the errors view, of every record.
    virtual void renderTrafficPolicy(U32 fd, U32 format, U32 revision) = 0;
    // Prints the counters view.
    virtual void renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) = 0;
    // Prints a count action inside a rule; indent is the column of its line.
    virtual void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                                   const Orb::Ptr<const PolicyState>& policyState,
                                   const Orb::Ptr<const PolicyMap::Action>& action, U32 indent);
    // Gathers every policy.
    virtual void cachePoliciesState();
    // Gathers one policy.
    virtual void cachePolicyState(const Orb::String& policyName);
    // Gathers what the platform reports per attachment point.
    virtual void cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus);
    // Sorts the attachment points of one family into applied and failed ones.
    virtual void cacheInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                                     MatchOption option);
    // Gathers the error texts of the failed attachment points of one family.
    virtual void cacheInstallError(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                                   MatchOption option);
    // Gathers the live counter records of one policy.
    virtual void cacheCounters(const Orb::String& policyName);
    // The record of a policy, made on first use; of the kind's own type.
    virtual Orb::Ptr<PolicyState> getOrCreatePolicyState(const Orb::String& policyName);
    // A new reader over the counter store in use; null: there is none.
    virtual Orb::Ptr<const CounterReader> createCounterStatusHelper(bool isInput);
    // The status of a policy in the direction being gathered; null: none.
    virtual Orb::Ptr<const PolicyMap::PolicyMapStatus> getPolicyMapStatus(
        const Orb::String& policyName);
    virtual void cachePolicyMapStatus(
        const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus);
    virtual void cacheClassMapStatus(const Orb::String& policyName, U32 index,
                                     const Orb::Ptr<const PolicyMap::ClassMapStatus>& cmapStatus);
    // Prints the actions of one rule at the given column.
    virtual void renderActions(textout::RendererV2* renderer, const Orb::String& ruleName,
                               U32 ruleIndex, const Orb::Ptr<const PolicyState>& policyState,
                               U32 indent);

    // Gathers and prints. fd: where to; not closed. format: 1 text, 2 JSON. revision: of the JSON
    // model. An operator's interrupt ends the report: what was printed is flushed, "exiting
    // interrupted" goes to standard output, and render returns. textout::WriteError passes
    // through. REQUIRES: the caller holds the activity lock where other threads change the state.
    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);

    // What else the counters view is told before render(). onlyCounted: it shows only what counted
    // something. mark: the snapshots are those of a mark of this name, not of the last clear, and
    // the view says so; empty: no mark.
    bool onlyCounted() const { return onlyCounted_; }
    void onlyCountedIs(bool onlyCounted) { onlyCounted_ = onlyCounted; }
    const Orb::String& mark() const { return mark_; }
    void markIs(Orb::String mark) { mark_ = std::move(mark); }

    // Makes and stores an empty field-set record.
    Orb::Ptr<FieldSetState> fieldSetStateIs(const Orb::String& name);

    // Fills the field-set record with the sizes of the configured sets.
    void cacheFieldSetState();
    // Gathers the rules of a policy's current version.
    void cacheClassState(const Orb::Ptr<const PolicyMap::PolicyMapSubConfig>& currCfg);
    // Prints all rules of a policy at the given column.
    void renderRules(textout::RendererV2* renderer, const Orb::Ptr<const PolicyState>& policyState,
                     U32 indent, U32 format, U32 revision);

  protected:
    explicit ShowTrafficPolicyBase(ShowArguments arguments);
    ~ShowTrafficPolicyBase() override;

    // What the direction being gathered shares the indices of its rules with.
    virtual OtherDirection otherDirection() const;

    // The body of getOrCreatePolicyState for a kind whose record is a Record. A record that is made
    // here bears the show flags, so that a policy known only from the attachment configuration is
    // shown in the same view as the others; made(record) tells it more.
    template <class Record, class Made>
    Orb::Ptr<PolicyState> findOrMake(const Orb::String& policyName, const Made& made);
    // The body of renderTrafficPolicy. The note goes before the policies, in text only.
    void renderPolicyView(const Kind& kind, std::string_view note, U32 fd, U32 format,
                          U32 revision);
    // The body of cacheCounters. reader: null: there are no counters.
    void countersInto(const Orb::String& policyName, const Direction& direction,
                      const CounterReader* reader);

  private:
    bool onlyCounted_ = false;
    Orb::String mark_;
    // The record that was asked for last, valid while the map of records has this change count.
    PolicyState* lastPolicyState_ = nullptr;
    U64 lastPolicyStateChangeCount_ = 0;
};

class ShowTrafficPolicyCpu : public ShowTrafficPolicyBase {
    ORB_DERIVED_TYPE(ShowTrafficPolicyCpu, ShowTrafficPolicyBase)
    ORB_KEY(vrfConfig, Orb::Ptr<const PolicyMap::VrfConfig>)
    ORB_KEY(allVrfConfig, Orb::Ptr<const Ip::AllVrfConfig>)
    ORB_KEY(l3IntfStatusDir, Orb::Ptr<const L3::Intf::StatusDir>)
    ORB_KEY(iptablesStatus, Orb::Ptr<const TrafficPolicy::Status>)

    ShowTrafficPolicyCpu(ShowArguments arguments, Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig,
                         Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig,
                         Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir,
                         Orb::Ptr<const TrafficPolicy::Status> iptablesStatus);

    void renderTrafficPolicy(U32 fd, U32 format, U32 revision) override;
    void renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) override;
    void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                           const Orb::Ptr<const PolicyState>& policyState,
                           const Orb::Ptr<const PolicyMap::Action>& action, U32 indent) override;
    void cachePoliciesState() override;
    void cachePolicyState(const Orb::String& policyName) override;
    void cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus) override;
    void cacheInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                             MatchOption option) override;
    void cacheInstallError(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                           MatchOption option) override;
    Orb::Ptr<PolicyState> getOrCreatePolicyState(const Orb::String& policyName) override;

    // The same as cacheIntfStatus and cacheInstalledState for the installation in the kernel.
    void cacheSoftwareIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus);
    void cacheSoftwareInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                                     MatchOption option);
};

class ShowTrafficPolicyInterface : public ShowTrafficPolicyBase {
    ORB_DERIVED_TYPE(ShowTrafficPolicyInterface, ShowTrafficPolicyBase)
    ORB_KEY(statusOutput, Orb::Ptr<const TrafficPolicy::Status>)
    ORB_KEY(counterOutput, Orb::Ptr<const TrafficPolicy::Counter>)
    ORB_KEY(intfConfigInput, Orb::Ptr<const PolicyMap::IntfConfig>)
    ORB_KEY(intfConfigOutput, Orb::Ptr<const PolicyMap::IntfConfig>)
    ORB_KEY(policyParamStatus, Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus>)
    ORB_KEY(policyMapCountersOutput, Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters>)
    ORB_KEY(filterInputPolicies, bool)
    ORB_KEY(filterOutputPolicies, bool)
    ORB_ATTRIBUTE(outputCounterHelper, Orb::Ptr<const CounterReader>)
    ORB_ATTRIBUTE(isInput, bool)  // the direction being gathered; only these operations ask for it

    ShowTrafficPolicyInterface(
        ShowArguments arguments, Orb::Ptr<const TrafficPolicy::Status> statusOutput,
        Orb::Ptr<const TrafficPolicy::Counter> counterOutput,
        Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput,
        Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput,
        Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus,
        Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput,
        bool filterInputPolicies, bool filterOutputPolicies);

    void renderTrafficPolicy(U32 fd, U32 format, U32 revision) override;
    void renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) override;
    void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                           const Orb::Ptr<const PolicyState>& policyState,
                           const Orb::Ptr<const PolicyMap::Action>& action, U32 indent) override;
    void cachePoliciesState() override;
    void cachePolicyState(const Orb::String& policyName) override;
    void cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus) override;
    void cacheInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                             MatchOption option) override;
    void cacheInstallError(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                           MatchOption option) override;
    void cacheCounters(const Orb::String& policyName) override;
    Orb::Ptr<PolicyState> getOrCreatePolicyState(const Orb::String& policyName) override;
    Orb::Ptr<const CounterReader> createCounterStatusHelper(bool isInput) override;
    Orb::Ptr<const PolicyMap::PolicyMapStatus> getPolicyMapStatus(
        const Orb::String& policyName) override;
    void cachePolicyMapStatus(
        const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus) override;
    void cacheClassMapStatus(const Orb::String& policyName, U32 index,
                             const Orb::Ptr<const PolicyMap::ClassMapStatus>& cmapStatus) override;

    // The reader of the direction; null when there is none. Makes none.
    Orb::Ptr<const CounterReader> getCounterStatusHelper(bool isInput) const;

  protected:
    OtherDirection otherDirection() const override;

  private:
    const Side& side() const;
    void filtersInto(PolicyStateInterface& record) const;
};

class ShowTrafficPolicyVAcl : public ShowTrafficPolicyBase {
    ORB_DERIVED_TYPE(ShowTrafficPolicyVAcl, ShowTrafficPolicyBase)
    ORB_KEY(intfConfigBridged, Orb::Ptr<const PolicyMap::IntfConfig>)

    ShowTrafficPolicyVAcl(ShowArguments arguments,
                          Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged);

    void renderTrafficPolicy(U32 fd, U32 format, U32 revision) override;
    void renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) override;
    void cachePoliciesState() override;
    void cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus) override;
    void cacheInstalledState(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                             MatchOption option) override;
    void cacheInstallError(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus,
                           MatchOption option) override;
    Orb::Ptr<PolicyState> getOrCreatePolicyState(const Orb::String& policyName) override;
};

// The factories, and the creators: the same with the same arguments. Those that are told here
// follow the shared ones; any reference may be null and reads as empty. The pointers are kept until
// the object dies.

// clang-format off
// Policies on the CPU by VRF; all VRFs; the VRF of each interface; the kernel's installation.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyCpu> showTrafficPolicyCpuFactory(
    TRAFFIC_POLICY_SHOW_ARGUMENTS(TRAFFIC_POLICY_PARAMETER)
    Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig, Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig,
    Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir,
    Orb::Ptr<const TrafficPolicy::Status> iptablesStatus);
ORB_EXPORT decltype(showTrafficPolicyCpuFactory) ShowTrafficPolicyCpuIs;

// The same as status, counter and policyMapCounters for the output direction; where policies are
// configured; whether only policies of one direction are shown.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyInterface> showTrafficPolicyInterfaceFactory(
    TRAFFIC_POLICY_SHOW_ARGUMENTS(TRAFFIC_POLICY_PARAMETER)
    Orb::Ptr<const TrafficPolicy::Status> statusOutput,
    Orb::Ptr<const TrafficPolicy::Counter> counterOutput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput,
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput,
    Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> policyParamStatus,
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> policyMapCountersOutput,
    bool filterInputPolicies, bool filterOutputPolicies);
ORB_EXPORT decltype(showTrafficPolicyInterfaceFactory) ShowTrafficPolicyInterfaceIs;

// Where policies are configured, by VLAN interface ("Vlan10").
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyVAcl> showTrafficPolicyVAclFactory(
    TRAFFIC_POLICY_SHOW_ARGUMENTS(TRAFFIC_POLICY_PARAMETER)
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged);
ORB_EXPORT decltype(showTrafficPolicyVAclFactory) ShowTrafficPolicyVAclIs;
// clang-format on

}  // namespace TrafficPolicyCli

#undef TRAFFIC_POLICY_MEMBER
#undef TRAFFIC_POLICY_PARAMETER
