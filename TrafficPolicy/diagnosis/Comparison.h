// What differs between two states, as a model that a view prints.
#pragma once

#include <map>

#include "diagnosis/Attachments.h"
#include "diagnosis/NaturalOrder.h"
#include "diagnosis/Sameness.h"

namespace TrafficPolicyCli::Diagnosis {

enum class Change : U8 { added, removed, changed };
// "added", "removed", "changed".
std::string_view keyOf(Change change);

struct RuleChange {
    Orb::String rule;
    Change change = Change::changed;
    U32 placeBefore = 0;  // from 1; 0: it was not there
    U32 placeAfter = 0;
    bool isMoved = false;  // among the rules that both have; of as few as explain the new order
    RuleDifference difference{};
};

struct PolicyChange {
    Change change = Change::changed;
    U64 rulesBefore = 0;
    U64 rulesAfter = 0;
    std::vector<RuleChange> rules{};  // by their places after, the removed ones last
    std::vector<Orb::String> countersAdded{};
    std::vector<Orb::String> countersRemoved{};
};
using PolicyChanges = std::map<Orb::String, PolicyChange, NaturalLess>;

struct FieldSetChange {
    FieldSetKind kind;
    Orb::String name;
    Orb::String source;  // of a MAC set, which is one of its source
    Change change = Change::changed;
    U64 entriesBefore = 0;  // prefixes and exceptions, ranges, addresses
    U64 entriesAfter = 0;
    bool hasOtherSource = false;       // the contents are from elsewhere
    std::vector<Orb::String> added{};  // entries, in their order
    std::vector<Orb::String> removed{};
};

// The policies at one point.
struct AttachmentChange {
    Place place;
    Orb::String point;
    std::vector<Orb::String> before;
    std::vector<Orb::String> after;
};

struct InstallationChange {
    Orb::String policy;
    Place place;
    Orb::String point;
    Target target;
    MatchOption family;
    Installed before;
    Installed after;
};

// Only of one policy, unless the name is empty.
PolicyChanges comparePolicies(const DiagnosisSources& before, const DiagnosisSources& after,
                              const Orb::String& onlyPolicy);
// By kind and name. Of one policy those that its rules name.
std::vector<FieldSetChange> compareFieldSets(const DiagnosisSources& before,
                                             const DiagnosisSources& after,
                                             const Orb::String& onlyPolicy);

// By kind of place and point.
struct PlaceChanges {
    std::vector<AttachmentChange> attachments;
    std::vector<InstallationChange> installations;
};
PlaceChanges comparePlaces(const DiagnosisSources& before, const DiagnosisSources& after,
                           const Orb::String& onlyPolicy);

}  // namespace TrafficPolicyCli::Diagnosis
