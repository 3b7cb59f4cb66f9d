// Which field sets a rule refers to, and whether they are configured.
#pragma once

#include "hive/FieldSets.h"
#include "hive/PolicyMapConfig.h"

namespace TrafficPolicyCli {

// Says whether a match names a field set that the configuration lacks. A set without a current
// version is configured; without a configuration (null) no set is. Prefix sets are looked up in the
// family of the match, inside an inner match in the inner family. REQUIRES: the match has a filter.
bool refersToUndefinedFieldSet(const PolicyMap::ClassMapMatch& match,
                               const Classification::FieldSetConfig* fieldSetConfig);

}  // namespace TrafficPolicyCli
