// Reads the actions of a rule.
#pragma once

#include "hive/Actions.h"
#include "orb/HashMap2018.h"
#include "state/Node.h"

namespace StateDirectory {

using ActionMap = Orb::HashMap2018<PolicyMap::ActionType, Orb::Ptr<const PolicyMap::Action>>;

// Actions by their type. Refuses types without a meaning and names those that have one.
ActionMap readActions(const Node& node);

}  // namespace StateDirectory
