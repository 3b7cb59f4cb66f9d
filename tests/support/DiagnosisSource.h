// The sources of the diagnosis commands over a state.
#pragma once

#include "SmallState.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace SmallState {

inline TrafficPolicyCli::DiagnosisSources sourcesOf(const State& state) {
    return TrafficPolicyCli::diagnosisSourcesOf(state, nullptr, nullptr);
}

}  // namespace SmallState
