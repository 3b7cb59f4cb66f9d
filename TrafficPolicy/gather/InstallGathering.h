// Where the platform installed a policy: its reports by attachment point, and the lists that follow
// from them. Programmed points are applied, points that failed are failed with an error text,
// others are not processed and in neither list.
#pragma once

#include <optional>

#include "model/Side.h"

namespace TrafficPolicyCli {

// The attachment point that an interface stands for, by name; nothing: none.
using PointOf = std::function<std::optional<Orb::String>(const Wire::IntfId& intfId)>;

// The name of an interface.
Orb::String interfacePoint(const Wire::IntfId& intfId);
// The VLAN number, as text, of a VLAN interface ("Vlan10").
Orb::String vlanPoint(const Wire::IntfId& intfId);
// The VRF of a CPU-facing interface; none when it has no L3 status (dir: null: none has).
PointOf vrfPoint(const L3::Intf::StatusDir* dir);

// Enters what the platform reports of a policy under the points that its interfaces stand for.
void gatherReports(PolicyState& record, const Side& side,
                   const PolicyMap::PolicyMapStatus& policyStatus, const PointOf& pointOf);
// Sorts the points of one family into applied and failed ones.
void gatherOutcomes(PolicyState& record, const Side& side, MatchOption option);
// The error texts of the failed points of one family.
void gatherErrors(PolicyState& record, const Side& side, MatchOption option);

}  // namespace TrafficPolicyCli
