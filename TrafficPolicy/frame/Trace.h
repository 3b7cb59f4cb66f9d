// The trace facility of this library. Level 8: entry to a gathering or rendering function; 7: a
// look-up that found nothing, and the outcome per attachment point; 4: summaries; 1:
// inconsistencies of the configuration.
#pragma once

#include "orb/Trace.h"

namespace TrafficPolicyCli {

inline Orb::TraceFacility& showTrace = Orb::traceFacility("TrafficPolicyShowCliHelper");

}  // namespace TrafficPolicyCli

#define SHOW_TRACE(level, ...) ORB_TRACE(::TrafficPolicyCli::showTrace, level, __VA_ARGS__)
#define SHOW_TRACE_ENTRY() SHOW_TRACE(8, __PRETTY_FUNCTION__)
