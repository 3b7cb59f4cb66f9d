// The gathering that all kinds share: the walk over the policies, and per policy its configuration,
// its status and its rules. Each step that a kind may replace is asked of the show object.
#pragma once

#include "model/Side.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

// Notes, in the record of each policy, the points on which it is configured. config: null: none;
// pointOf: the name of the point of a key.
template <class Config, class PointName = std::identity>
void gatherConfigured(ShowTrafficPolicyBase& show, const Side& side,
                      const Orb::Ptr<const Config>& config, PointName pointOf = {}) {
    if (!config) return;
    PolicyMap::forEachAttachment(*config, [&](const auto& key, const Orb::String& policyName) {
        textout::checkInterrupt();
        side.configuredIs(*show.getOrCreatePolicyState(policyName), pointOf(key));
    });
}

// Copies into a record how it is to be shown.
void copyShowFlags(const ShowTrafficPolicyBase& show, PolicyState& record);
// Gathers every policy of a status (null: none), while others may come and go.
void gatherPolicies(ShowTrafficPolicyBase& show, const TrafficPolicy::Status* status);
// Gathers one policy.
void gatherPolicy(ShowTrafficPolicyBase& show, const Orb::String& policyName);

// A rule has an index when either direction has it. What the direction in hand shares its indices
// with:
struct OtherDirection {
    // The direction that is yet to be gathered: its status; null when there is none.
    const TrafficPolicy::Status* nextStatus = nullptr;
    // The direction that was gathered before, whose rules get the indices of this pass; null when
    // there is none.
    const Direction* gathered = nullptr;
};

// Gathers the rules of a policy's current version. A rule's index is its place among the rules that
// the platform took.
void gatherRules(ShowTrafficPolicyBase& show, const PolicyMap::PolicyMapSubConfig& currCfg,
                 const OtherDirection& other);

}  // namespace TrafficPolicyCli
