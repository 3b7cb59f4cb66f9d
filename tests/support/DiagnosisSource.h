// The sources of the diagnosis commands over a state.
#pragma once

#include "SmallState.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace SmallState {

inline TrafficPolicyCli::DiagnosisSources sourcesOf(const State& state) {
    TrafficPolicyCli::DiagnosisSources sources;
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
    sources.input.status = state.interfaceInput;
    sources.output.status = state.interfaceOutput;
    sources.cpu.status = state.cpu;
    sources.kernel.status = state.cpuSoftware;
    sources.vlan.status = state.vlan;
    return sources;
}

}  // namespace SmallState
