// The reader over the live counters of one of the sources' sides.
#pragma once

#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

// side: a member of the sources. Null: it has no counters.
Orb::Ptr<const PolicyMap::PolicyMapCounterStatusReaderBase> liveReaderOf(
    const DiagnosisSources& sources, const SideSources& side);

}  // namespace TrafficPolicyCli
