// What the live counters of a side stood at when they were looked at: copies, in the order in which
// they are shown.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "traffic-policy/ShowRates.h"

namespace TrafficPolicyCli {

// A side whose counters can be looked at.
struct RateSide {
    std::string_view key;
    std::string_view heading;
    bool RateScope::*isWanted;
    SideSources DiagnosisSources::*sources;
    bool isOfInterfaces;
};
std::span<const RateSide> rateSides();

// A record: its counts, and what is shown of them since the last clear.
struct Figures {
    Keel::UniqueId uniqueId;
    PolicyMap::PacketAndByte live;
    PolicyMap::PacketAndByte shown;
};

struct InterfaceLook {
    Orb::String name;
    Figures figures;
};

struct CounterLook {
    Orb::String name;  // of the rule, or of the named counter
    bool isNamed;      // a named counter; else a rule, which counts packets only
    bool isLive;       // it has a record
    bool isPerInterface;
    Figures figures;
    std::vector<InterfaceLook> interfaces;
};

struct PolicyLook {
    Orb::String name;
    std::vector<CounterLook> counters;  // named ones by name, then those of rules in their order
};

struct SideLook {
    const RateSide* side = nullptr;
    Orb::Seconds time{0};
    bool countsBytes = false;
    std::vector<PolicyLook> policies;  // by name
};

// Reads the counters of the sides that are wanted and that the platform has. policyName: empty: of
// all policies.
std::vector<SideLook> lookAt(const DiagnosisSources& sources, const LookTimes& times,
                             const RateScope& scope, const Orb::String& policyName);

}  // namespace TrafficPolicyCli
