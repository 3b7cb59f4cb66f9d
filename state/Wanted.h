// What of a state its reader looks at. The rest need not be made into objects: its text is passed
// over, if the document is large enough for that to be worth while.
//
// A state that is read for less than all of it has all names: policies without a current version
// and statuses without a record stand for what was passed over, and so do field sets without one.
// So it is for the one command that said what it wants.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "orb/Types.h"

namespace StateDirectory {

struct State;

struct Wanted {
    enum class Policies : U8 {
        all,
        named,    // the one of that name, with all its statuses
        onCpu,    // those that are attached or reported on the CPU, likewise
        onVlans,  // on VLANs
        points,   // of each policy where it is reported, and in one rule the families of its rules
        none,     // names
    };
    enum class FieldSets : U8 { all, ipv4Prefix, ipv6Prefix, l4Port, vlan, mac, none };

    Policies policies = Policies::all;
    FieldSets fieldSets = FieldSets::all;
    std::string policy = {};    // of Policies::named
    std::string fieldSet = {};  // of the one kind of field sets only this one; empty: each

    // Whether policies are passed over at first.
    bool passesOverPolicies() const {
        return policies != Policies::all && policies != Policies::points;
    }
    // Whether the contents of a field set are looked at.
    bool hasFieldSet(FieldSets kind, std::string_view name) const {
        if (fieldSets == FieldSets::all) return true;
        return fieldSets == kind && (fieldSet.empty() || fieldSet == name);
    }
};

// Of the policies that were passed over, says by name which are wanted. state: has the attachments
// and the names; outlives the function.
std::function<bool(std::string_view)> wantedPolicies(const Wanted& wanted, const State& state);

}  // namespace StateDirectory
