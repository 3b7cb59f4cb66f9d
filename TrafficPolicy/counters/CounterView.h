// The counters view: per policy its named counters, then the counts of the rules that have a
// counter of their own; and what it shares with the count action.
#pragma once

#include "model/Side.h"
#include "textout/RendererV2.h"

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

struct CountersShown {
    Orb::String policyName = {};  // only this policy; empty: all
    bool byteSwitch = false;
    bool onlyCounted = false;  // not what counted nothing
};

// The policies of one side.
void _renderTrafficPolicyCounters(textout::RendererV2& renderer, const PolicyRecords& policies,
                                  const CountersShown& shown, const Side& side);
void renderPolicyNamedCountersInfo(textout::RendererV2& renderer, const PolicyState& policyState,
                                   const NamedCountersUsed& namedCounters,
                                   const CountersShown& shown, const Side& side);
void renderPolicyUnnamedCountersInfo(textout::RendererV2& renderer, const PolicyState& policyState,
                                     const UnnamedCountersUsed& unnamedCounters, const Side& side);
// Since which mark the figures count; prints nothing without one (empty). snapshots: of the mark.
void renderMark(textout::RendererV2& renderer, const Orb::String& mark,
                const Orb::Ptr<const TrafficPolicy::Counter>& snapshots);
// Prints nothing without parameters (null), and for a granularity that has no name.
void renderCounterGranularity(
    textout::RendererV2& renderer,
    const Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus>& policyParamStatus,
    const Side& side);

}  // namespace TrafficPolicyCli
