// The names that a state knows, for the line that tells an operator who asked for another one.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "state/State.h"

namespace Cli {

using Names = std::set<std::string_view>;

// Views into the state, which must outlive them.
// Policies: those that are configured, have a status, or are applied somewhere.
Names policyNames(const StateDirectory::State& state);
Names prefixFieldSetNames(const StateDirectory::State& state, bool ipv4);
Names portFieldSetNames(const StateDirectory::State& state);
Names vlanFieldSetNames(const StateDirectory::State& state);
// Of all sources.
Names macFieldSetNames(const StateDirectory::State& state);

// Says on standard error that the state knows no such thing, and the nearest name that it knows.
// noun: what the name would be of, as "traffic policy". Does nothing when the name is known, or is
// empty (none was asked for).
void reportUnknownName(const std::string& name, std::string_view noun, const Names& known);

}  // namespace Cli
