// What an import gathers of a switch, and how it becomes the objects of a state. The sources differ
// in how they say things; what a rule of several families, a counter per interface or several
// policies at one point come to is settled here.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "hive/Actions.h"
#include "hive/MatchOption.h"
#include "hive/PolicyMapStatus.h"
#include "hive/StructuredFilter.h"
#include "state/State.h"

namespace Import {

using PolicyMap::ClassMapMatchOption;

// The places in which policies can be.
enum class Place : U8 { input, output, cpu };
inline constexpr std::size_t placeCount = 3;

// What the platform says of a rule.
enum class Taken : U8 { notReported, taken, notTaken };

struct Counts {
    U64 identity = 0;
    PolicyMap::PacketAndByte counts;
};

struct RuleMatch {
    ClassMapMatchOption option = ClassMapMatchOption::ipv4;
    Orb::Ptr<const Classification::StructuredFilter> filter;
};

// A rule at one place, as the platform reports it.
struct RuleReport {
    Taken taken = Taken::notReported;
    std::optional<Counts> counts;
    std::map<std::string, Counts> perInterface;
};

struct Rule {
    std::string name;
    std::vector<RuleMatch> matches;  // by family; never empty
    bool drops = false;
    bool logs = false;
    std::vector<std::string> redirectNexthops;  // addresses
    std::string other;                          // further actions, word for word
    bool counts = false;
    RuleReport reports[placeCount];

    RuleReport& reportAt(Place place) { return reports[static_cast<std::size_t>(place)]; }
};

// A rule that the platform has although it is not configured.
struct RemovedRule {
    std::string name;
    Place place = Place::input;
    ClassMapMatchOption option = ClassMapMatchOption::ipv4;
};

struct Policy {
    std::string name;
    std::vector<Rule> rules;  // in the order of asking
    std::vector<RemovedRule> removed;
};

// A policy at a point: an interface, or a VRF of the CPU.
struct Attachment {
    Place place = Place::input;
    std::string point;
    std::string policy;
    bool isConfigured = true;
    std::map<ClassMapMatchOption, PolicyMap::Installation> installed;  // empty: not reported
};

struct Gathered {
    std::vector<Policy> policies;
    std::vector<Attachment> attachments;  // of one point in the order of application
    Orb::Ptr<Classification::FieldSetConfig> fieldSets =
        Orb::make<Classification::FieldSetConfig>();
    TrafficPolicy::CounterGranularity granularity[2] = {};  // of input and output
    bool countersInReef = false;
    std::string source;
};

// The CPU's interface in a state of an import, and the VRF that it is in.
inline constexpr const char* cpuInterface = "Cpu";
inline constexpr const char* cpuVrf = "default";

// A name that a state may bear: control characters and bytes that are no UTF-8 are escaped, an
// empty one is "(no name)".
std::string nameOf(std::string_view text);

// An identity that follows from what is identified, the same in every import; never 0.
U64 identityOf(std::initializer_list<std::string_view> parts);

StateDirectory::State stateOf(const Gathered& gathered);

}  // namespace Import
