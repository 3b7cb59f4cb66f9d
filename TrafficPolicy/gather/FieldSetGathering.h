// The sizes of field sets.
#pragma once

#include "hive/FieldSets.h"
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

// Counts the entries of every configured field set, so that the views need not count while
// printing.
void gatherFieldSets(FieldSetState& sizes, const Classification::FieldSetConfig& config);

}  // namespace TrafficPolicyCli
