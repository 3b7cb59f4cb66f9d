// The commands that answer across all policies: what is attached where, what is wrong, who uses
// what.
#pragma once

#include "cli/Commands.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace Cli {

// What these commands read: the whole state, with the counters.
TrafficPolicyCli::DiagnosisSources diagnosisSources(const Session& session);

Plan planAttachments(const Match& match);
// What happens to a packet at a point.
Plan planPacket(const Match& match);
// The packets of a capture file, by the rules that would take them.
Plan planCapture(const Match& match);

}  // namespace Cli
