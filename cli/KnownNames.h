// The names that a state knows, for the line that tells an operator who asked for another one.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "state/State.h"

namespace Cli {

using Names = std::set<std::string_view>;

// Views into the state, which must outlive them.
// Policies: those that are configured, have a status, or are applied somewhere.
Names policyNames(const StateDirectory::State& state);

// What a command shows policies on.
enum class PolicyKind { interface, cpu, vlan };

// The words of the kinds of places that a policy is on: "interface", "cpu", "vlan".
std::vector<std::string_view> placeWordsOf(std::string_view policy,
                                           const StateDirectory::State& state);

Names counterNames(const StateDirectory::State& state);  // declared by a policy
// Interfaces that are configured, reported on, or in a VRF.
Names interfaceNames(const StateDirectory::State& state);
Names vrfNames(const StateDirectory::State& state);
Names vlanNumbers(const StateDirectory::State& state);
Names nexthopGroupNames(const StateDirectory::State& state);  // those that rules name

// Says on standard error that the state knows no such thing, and which known name is near. noun:
// what the name would be of, as "VLAN field set". Does nothing when the name is known, or is empty
// (none was asked for).
void reportUnknownName(const std::string& name, std::string_view noun, const Names& known);
// The same of an interface, a VRF or a VLAN: the state need not know each that there is.
void reportUnknownPoint(const std::string& name, std::string_view noun, const Names& known);
// The same of a policy; of one that is known, but not on that kind of place, says where it is.
void reportMissingPolicy(const std::string& name, PolicyKind kind,
                         const StateDirectory::State& state);

}  // namespace Cli
