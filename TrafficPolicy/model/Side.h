// A side is one place in which a policy can be installed: the input of interfaces, their output,
// the CPU in hardware, the CPU in software, VLANs. A record has attributes of its own for each side
// of its kind; the rows here tell which they are, so that gathering and views know no kind.
#pragma once

#include <functional>
#include <span>

#include "traffic-policy/PolicyState.h"

namespace TrafficPolicyCli {

using PolicyRecords = Orb::RbTreeMap<Orb::String, Orb::Ptr<PolicyState>>;

// Attachment points by name (the bool is always true), and error texts by point.
using Points = Orb::RbTreeMap<Orb::String, bool>;
using PointErrors = Orb::RbTreeMap<Orb::String, Orb::String>;

// Where a record keeps the rules and counts of a direction. Everything but the output of interfaces
// is input.
struct Direction {
    const Orb::Ptr<const PolicyMap::PolicyMapStatus>& (*status)(const PolicyState& record);
    void (*statusIs)(PolicyState& record, const Orb::Ptr<const PolicyMap::PolicyMapStatus>& status);
    const RuleStatuses& (*rules)(const PolicyState& record);
    void (*ruleIs)(PolicyState& record, U32 index,
                   const Orb::Ptr<const PolicyMap::ClassMapStatus>& status);
    void (*rulesAre)(PolicyState& record, RuleStatuses rules);
    const CounterMap& (*classCounters)(const PolicyState& record);
    const CounterMap& (*namedCounters)(const PolicyState& record);
    void (*countersAre)(PolicyState& record, CounterMap ofClass, CounterMap named);
    // The snapshots of the last clear; null: never cleared.
    const Orb::Ptr<const TrafficPolicy::Counter>& (*snapshots)(const PolicyState& record);
    bool (*countsPerInterface)(const PolicyState& record);
};
extern const Direction inputDirection;   // of every record
extern const Direction outputDirection;  // of a PolicyStateInterface

// What is printed of a side in one address family.
struct FamilyLabels {
    MatchOption option;
    std::string_view applied, appliedKey;
    std::string_view failed, failedKey, errorsKey;
};

struct Side {
    using VisitReport =
        std::function<void(const Orb::String& point, const InterfaceStatus& report)>;

    const Direction* direction;  // null: its rules and counts are those of another side

    // Where a record keeps the side's points. Lists of a family are null until they have a point.
    const Points& (*configured)(const PolicyState& record);
    void (*configuredIs)(PolicyState& record, const Orb::String& point);
    // The platform's reports on a point: an empty one that takes the place of any before; on the
    // CPU, where several interfaces report on one point, the one that is there.
    InterfaceStatus& (*reportIs)(PolicyState& record, const Orb::String& point);
    void (*eachReport)(const PolicyState& record, const VisitReport& visit);
    const InterfaceStatus* (*report)(const PolicyState& record, const Orb::String& point);
    const Points* (*applied)(const PolicyState& record, MatchOption option);
    void (*appliedIs)(PolicyState& record, MatchOption option, const Orb::String& point);
    const Points* (*failed)(const PolicyState& record, MatchOption option);
    void (*failedIs)(PolicyState& record, MatchOption option, const Orb::String& point);
    const PointErrors* (*errors)(const PolicyState& record, MatchOption option);
    void (*errorIs)(PolicyState& record, MatchOption option, const Orb::String& point,
                    const Orb::String& text);

    // How it is printed: the JSON object around its lists (empty: none), the list of configured
    // points (empty: told with another side), and the lists of each family.
    std::string_view objectKey = {};
    std::string_view configuredLabel = {}, configuredKey = {};
    FamilyLabels families[2];
    // How its counts are: what stands behind them in text, and the JSON keys of a rule's own count
    // and of a named counter's.
    std::string_view countSuffix = {};
    std::span<const std::string_view> countKeys = {}, namedCountKeys = {};
    // In the counters view: the key of the dictionary of policies, the word of the heading, and
    // the granularity of the counters.
    std::string_view countersKey = {}, headingWord = {}, granularityKey = {};
    TrafficPolicy::CounterGranularity (
        TrafficPolicy::TrafficPolicyIntfParamStatus::*granularity)() const = nullptr;

    // False when the command asks for another side only.
    bool (*isShown)(const PolicyState& record) = [](const PolicyState&) { return true; };
};

extern const Side interfaceInput;
extern const Side interfaceOutput;
extern const Side cpuHardware;
extern const Side cpuSoftware;
extern const Side vlan;

// A kind of attachment: the word of its command, its sides in the order in which they are shown,
// and their directions.
struct Kind {
    std::string_view word;
    std::span<const Side* const> sides;
    std::span<const Direction* const> directions;
};

extern const Kind onInterfaces;
extern const Kind onCpu;
extern const Kind onVlans;

}  // namespace TrafficPolicyCli
