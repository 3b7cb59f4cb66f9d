// Reads and writes the actions of a rule.
#pragma once

#include "hive/Actions.h"
#include "orb/HashMap2018.h"
#include "state/Node.h"
#include "state/Writer.h"

namespace StateDirectory {

using ActionMap = Orb::HashMap2018<PolicyMap::ActionType, Orb::Ptr<const PolicyMap::Action>>;

// Actions by their type. Refuses types without a meaning and names those that have one.
ActionMap readActions(const Node& node);
void writeActions(Writer& writer, const ActionMap& actions);

}  // namespace StateDirectory
