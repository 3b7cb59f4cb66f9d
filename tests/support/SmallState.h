// Small states, told as the documents of a state directory, and the show objects over them.
#pragma once

#include "Captured.h"
#include "TemporaryFolder.h"
#include "state/State.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace SmallState {

using StateDirectory::State;

// A state from the text of its documents. Members may be replaced by others afterwards.
inline State stateOf(std::string_view config, std::string_view status) {
    const TemporaryFolder folder;
    fileIs(folder.file("config.json"), config);
    fileIs(folder.file("status.json"), status);
    try {
        return StateDirectory::readState(folder.path());
    } catch (const StateDirectory::StateError& error) {
        ADD_FAILURE() << error.what();
        return State{};
    }
}

// How a command is typed, and what it takes from outside the state.
struct Command {
    Orb::String policyName = {};
    bool summary = false;
    bool errors = false;
    bool detail = false;
    bool counters = false;
    bool bytes = false;
    bool inputOnly = false;
    bool outputOnly = false;
    Orb::Ptr<const TrafficPolicy::Counter> snapshots = nullptr;
    Orb::Ptr<const TrafficPolicy::Counter> outputSnapshots = nullptr;
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> inputStore = nullptr;
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> outputStore = nullptr;
};

enum class ShowKind { interface, cpu, vlan };

inline Orb::Ptr<TrafficPolicyCli::ShowTrafficPolicyInterface> interfaceShow(
    const State& state, const Command& command = {}) {
    return TrafficPolicyCli::showTrafficPolicyInterfaceFactory(
        "trafficPolicies", "Traffic policy ", state.config, state.interfaceInput, command.snapshots,
        command.policyName, command.summary, command.errors, command.detail, command.counters,
        command.bytes, state.fieldSetConfig, state.hwStatus, command.inputStore,
        state.interfaceOutput, command.outputSnapshots, state.intfConfigInput,
        state.intfConfigOutput, state.intfParamStatus, command.outputStore, command.inputOnly,
        command.outputOnly);
}

inline Orb::Ptr<TrafficPolicyCli::ShowTrafficPolicyCpu> cpuShow(const State& state,
                                                                const Command& command = {}) {
    return TrafficPolicyCli::showTrafficPolicyCpuFactory(
        "trafficPolicies", "Traffic policy ", state.config, state.cpu, command.snapshots,
        command.policyName, command.summary, command.errors, command.detail, command.counters,
        command.bytes, state.fieldSetConfig, state.hwStatus, command.inputStore, state.vrfConfig,
        state.allVrfConfig, state.l3IntfStatusDir, state.cpuSoftware);
}

inline Orb::Ptr<TrafficPolicyCli::ShowTrafficPolicyVAcl> vlanShow(const State& state,
                                                                  const Command& command = {}) {
    return TrafficPolicyCli::showTrafficPolicyVAclFactory(
        "trafficPolicies", "Traffic policy ", state.config, state.vlan, command.snapshots,
        command.policyName, command.summary, command.errors, command.detail, command.counters,
        command.bytes, state.fieldSetConfig, state.hwStatus, command.inputStore,
        state.intfConfigBridged);
}

inline Orb::Ptr<TrafficPolicyCli::ShowTrafficPolicyBase> showOf(ShowKind kind, const State& state,
                                                                const Command& command = {}) {
    switch (kind) {
        case ShowKind::interface:
            return interfaceShow(state, command);
        case ShowKind::cpu:
            return cpuShow(state, command);
        case ShowKind::vlan:
            break;
    }
    return vlanShow(state, command);
}

inline constexpr U32 text = 1;
inline constexpr U32 json = 2;

// What a show object prints.
inline std::string shown(TrafficPolicyCli::ShowTrafficPolicyBase& show, U32 format) {
    const Captured::MemoryFile file;
    show.render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

inline std::string shown(ShowKind kind, const State& state, const Command& command, U32 format) {
    return shown(*showOf(kind, state, command), format);
}

}  // namespace SmallState
