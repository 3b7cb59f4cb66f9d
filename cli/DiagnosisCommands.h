// The commands that answer across all policies: what is attached where, what is wrong, who uses
// what.
#pragma once

#include "cli/Commands.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace Cli {

// What these commands read: the state, with the live counters.
TrafficPolicyCli::DiagnosisSources diagnosisSources(const Session& session);
// The same with the snapshots of the last clear. Throws StateDirectory::StateError.
TrafficPolicyCli::DiagnosisSources diagnosisSourcesSinceClear(const Session& session);

Plan planAttachments(const Match& match);
// What happens to a packet at a point.
Plan planPacket(const Match& match);
// The packets of a capture file, by the rules that would take them.
Plan planCapture(const Match& match);
Plan planProblems(const Match& match);
Plan planReferences(const Match& match);

// How many problems there are. Throws StateDirectory::StateError.
U64 problemsOf(const Session& session);
// On a terminal says on standard error how many problems the policies of a view have that it does
// not show; says nothing when there are none.
void hintAtProblems(const Session& session, const TrafficPolicyCli::PolicyViewShown& view);

}  // namespace Cli
