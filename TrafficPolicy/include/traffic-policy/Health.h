// The figures of a switch's policies for programs that watch it: what is installed, how many rules
// the platform did not take, how many problems there are. They are those of the reports on
// attachments and problems.
#pragma once

#include <string_view>
#include <vector>

#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

// A family of a policy that the platform was asked to install at a point.
struct PolicyInstallation {
    Orb::String policy;
    std::string_view kind;       // of the point: "interface", "cpu", "vlan"
    Orb::String point;           // interface, VRF, or VLAN number
    std::string_view direction;  // "input", "output"; empty: points of the kind have none
    std::string_view family;     // "ipv4", "ipv6", "mac", "mpls"
    std::string_view place;      // "hardware", "software"
    bool isInstalled = false;
};

struct PolicyRules {
    Orb::String policy;
    U64 rules = 0;     // of the current version
    U64 notTaken = 0;  // of these by the platform
};

struct ProblemCount {
    std::string_view kind;  // as in the JSON of the problems
    U64 count = 0;
};

struct PolicyHealth {
    std::vector<PolicyInstallation> installations;  // by kind and point
    std::vector<PolicyRules> rules;                 // ascending by policy
    std::vector<ProblemCount> problems;             // every kind
};

// REQUIRES: the calling thread holds the activity lock.
ORB_EXPORT PolicyHealth trafficPolicyHealth(const DiagnosisSources& sources);

}  // namespace TrafficPolicyCli
