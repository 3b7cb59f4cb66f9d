// What is wrong: between what is configured and what the platform reports, and within the
// configuration itself. A problem is stated only where the state proves it.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <span>

#include "diagnosis/Attachments.h"
#include "diagnosis/NaturalOrder.h"

namespace TrafficPolicyCli::Diagnosis {

// In the order in which the problems of a policy are told.
enum class ProblemKind : U8 {
    unknownPolicy,       // attached, and not configured
    noCurrentVersion,    // attached, and without a current version
    notAttached,         // configured, and attached nowhere
    unknownVrf,          // a VRF that does not exist
    unknownInterface,    // a report on an interface of the CPU that does not exist
    installationFailed,  // at a point, for a family
    notProcessed,        // likewise
    removedPolicy,       // not configured any more, and still in place
    notConfigured,       // in place at a point where it is not configured
    ruleNotTaken,        // by the platform, which says so
    ruleNotReported,     // the platform says nothing of it
    removedRule,         // not configured any more, and still with the platform
    undefinedFieldSet,
    emptyFieldSet,  // in use; a set without a current version too
    undefinedCounter,
    gotoNowhere,
    gotoBack,
    criterionCannotHold,
    contradictingActions,
    counterBelowSnapshot,
};

// "unknownPolicy" and so on.
std::string_view keyOf(ProblemKind kind);
// Those of all kinds, in their order.
std::span<const std::string_view> problemKeys();

struct ProblemPoint {
    Place place;
    Orb::String point;
    std::optional<Target> target = std::nullopt;  // on the CPU, where it is of one of them
};

struct Problem {
    ProblemKind kind;
    Orb::String text;  // tells all but the policy; names in it stand as they are
    Orb::String rule = {};
    std::optional<ProblemPoint> point = std::nullopt;
    std::optional<MatchOption> family = std::nullopt;
    U32 order = 0;  // among those of its kind: the place of its rule or its point
};

// By policy as people count; under an empty name those of no policy.
using Problems = std::map<Orb::String, std::vector<Problem>, NaturalLess>;

// Of one policy; with an empty name of all. A policy without problems has no entry.
Problems findProblems(const DiagnosisSources& sources, const Orb::String& onlyPolicy);

// The parts of the search. Each adds the problems of one policy; attachments: those of the policy.
using PolicyAttachments = std::vector<const Attachment*>;

void addPointProblems(const DiagnosisSources& sources, const Attachments& attachments,
                      const PolicyAttachments& ofPolicy, std::vector<Problem>& problems);
void addRuleProblems(const DiagnosisSources& sources, const Attachments& attachments,
                     const PolicyMap::PolicyMapSubConfig& version,
                     const PolicyAttachments& ofPolicy, std::vector<Problem>& problems);
// Why no packet meets the criteria of a match; empty when one can.
std::vector<Orb::String> impossibleCriteria(const PolicyMap::ClassMapMatch& match);
// Calls add(policy, problem) for the counters that fell below their snapshot.
void forEachFallenCounter(const DiagnosisSources& sources, const Orb::String& onlyPolicy,
                          const std::function<void(const Orb::String&, Problem)>& add);

// Says whether the VRF exists; true when nothing is known of VRFs.
bool vrfExists(const DiagnosisSources& sources, const L3::VrfName& vrf);
// "Ethernet5 input", "VRF default kernel", "VLAN 20".
Orb::String textOf(const ProblemPoint& point);

}  // namespace TrafficPolicyCli::Diagnosis
