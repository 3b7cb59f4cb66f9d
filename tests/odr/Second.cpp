// Linked with First.cpp by a compiler that compares the classes of the two: a class must not depend
// on what was included before its header.
#include "traffic-policy/ShowFieldSets.h"
// Behind it, so that the orders differ.
#include "traffic-policy/ShowTrafficPolicy.h"

__attribute__((used)) U32 second(const TrafficPolicyCli::PolicyStateInterface& record,
                                 const TrafficPolicyCli::FieldSetState& sizes,
                                 const Classification::FieldSetConfig& sets) {
    return record.ruleCount() + sizes.vlanFieldSet().size() + sets.fieldSetVlan().size() +
           record.counter()->snapshot().size();
}
