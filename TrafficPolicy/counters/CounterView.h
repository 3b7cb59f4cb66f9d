// The counters view: per policy its named counters, then the counts of the rules that have a
// counter of their own; and what it shares with the count action.
#pragma once

#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

// The named counters that a policy's rules use (the value is not read), and by rule index the names
// of the rules with a counter of their own, null for the others.
using NamedCountersUsed = Orb::RbTreeMap<Orb::String, U32>;
using UnnamedCountersUsed = Orb::Array<const Orb::String*>;

// The count action of a rule in the policy's current version; null when it has none.
const PolicyMap::CountAction* countActionOf(const PolicyState& policyState,
                                            const Orb::String& ruleName, U32 ruleIndex);

// Prints a named counter's packets and, when byteSwitch is set, bytes, without a line end.
void renderCounts(textout::RendererV2& renderer, U64 packets, U64 bytes, bool byteSwitch);

void renderPolicyNamedCountersInfo(textout::RendererV2& renderer,
                                   const Orb::Ptr<const PolicyState>& policyState,
                                   const NamedCountersUsed& namedCounters, bool byteSwitch,
                                   U32 indent, bool isInput, bool isCpu);
void renderPolicyUnnamedCountersInfo(textout::RendererV2& renderer,
                                     const Orb::Ptr<const PolicyState>& policyState,
                                     const UnnamedCountersUsed& unnamedCounters, bool isInput);
void renderCounterGranularity(
    textout::RendererV2& renderer,
    const Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus>& policyParamStatus,
    bool isInput);

}  // namespace TrafficPolicyCli
