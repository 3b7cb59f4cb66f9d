// Whether two rules mean the same, criterion by criterion and action by action. Sets are the same
// in any order.
#pragma once

#include <string_view>
#include <vector>

#include "diagnosis/RuleWalk.h"

namespace TrafficPolicyCli::Diagnosis {

// A criterion that differs; of a family that only one of the rules has, "criteria" as a whole.
struct CriterionChange {
    PolicyMap::ClassMapMatchOption family;
    std::string_view key;    // as in the state documents
    std::string_view label;  // as in a text
};

struct RuleDifference {
    std::vector<CriterionChange> criteria;
    std::vector<PolicyMap::ActionType> actions;

    bool isNone() const { return criteria.empty() && actions.empty(); }
};

// What differs in two rules. The places in which they stand do not matter.
RuleDifference differenceOf(const Rule& before, const Rule& after);

}  // namespace TrafficPolicyCli::Diagnosis
