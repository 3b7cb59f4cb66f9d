// One of two translation units that include the same headers in different orders; see Second.cpp.
#include "traffic-policy/ShowTrafficPolicy.h"
// Behind it, so that the orders differ.
#include "traffic-policy/ShowFieldSets.h"

// Uses a record of each room, so that its class is compared.
__attribute__((used)) U32 first(const TrafficPolicyCli::PolicyStateInterface& record,
                                const TrafficPolicyCli::FieldSetState& sizes,
                                const Classification::FieldSetConfig& sets) {
    return record.ruleCount() + sizes.vlanFieldSet().size() + sets.fieldSetVlan().size() +
           record.counter()->snapshot().size();
}
