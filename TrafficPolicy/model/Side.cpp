// The rows of sides. The casts from a record to that of the kind stand here and nowhere else.
#include "model/Side.h"

namespace TrafficPolicyCli {

namespace {

using PolicyMap::ClassMapStatus;
using PolicyMap::PolicyMapStatus;

template <class Record>
const Record& as(const PolicyState& record) {
    return static_cast<const Record&>(record);
}
template <class Record>
Record& as(PolicyState& record) {
    return static_cast<Record&>(record);
}

// The points and error texts of the records of one family, whose attributes are named after what
// they list.
const Points& pointsOf(const PerAfIntfList& list) { return list.intfList(); }
const Points& pointsOf(const PerAfVrfList& list) { return list.vrfList(); }
const Points& pointsOf(const PerAfVAclList& list) { return list.vlanList(); }
void pointIs(PerAfIntfList& list, const Orb::String& point) { list.intfListIs(point, true); }
void pointIs(PerAfVrfList& list, const Orb::String& point) { list.vrfListIs(point, true); }
void pointIs(PerAfVAclList& list, const Orb::String& point) { list.vlanListIs(point, true); }
const PointErrors& errorsOf(const InterfaceInstallError& errors) { return errors.intfError(); }
const PointErrors& errorsOf(const InstallError& errors) { return errors.vrfError(); }
const PointErrors& errorsOf(const VAclInstallError& errors) { return errors.vlanError(); }
void errorIs(InterfaceInstallError& errors, const Orb::String& point, const Orb::String& text) {
    errors.intfErrorIs(point, text);
}
void errorIs(InstallError& errors, const Orb::String& point, const Orb::String& text) {
    errors.vrfErrorIs(point, text);
}
void errorIs(VAclInstallError& errors, const Orb::String& point, const Orb::String& text) {
    errors.vlanErrorIs(point, text);
}

// Null stays null.
template <class List>
const Points* pointsOrNull(const List* list) {
    return list == nullptr ? nullptr : &pointsOf(*list);
}
template <class Errors>
const PointErrors* errorsOrNull(const Errors* errors) {
    return errors == nullptr ? nullptr : &errorsOf(*errors);
}

constexpr std::string_view inputCountKeys[] = {"count", "inputCounter"};
constexpr std::string_view inputNamedKeys[] = {"countNamed", "inputNamedCounters"};
constexpr std::string_view outputCountKeys[] = {"outputCounter"};
constexpr std::string_view outputNamedKeys[] = {"outputNamedCounters"};

}  // namespace

// The attributes of a direction in a record.
#define DIRECTION(Record, policyStatus, ruleStatuses, rulesCounters, namesCounters, lastClear,     \
                  perInterface)                                                                    \
    .status = [](const PolicyState& record) -> auto& { return as<Record>(record).policyStatus(); } \
    ,                                                                                              \
        .statusIs =                                                                                \
            [](PolicyState& record, const Orb::Ptr<const PolicyMapStatus>& status) {               \
                as<Record>(record).policyStatus##Is(status);                                       \
            },                                                                                     \
        .rules = [](const PolicyState& record) -> auto& {                                          \
        return as<Record>(record).ruleStatuses();                                                  \
    }                                                                                              \
    ,                                                                                              \
        .ruleIs =                                                                                  \
            [](PolicyState& record, U32 index, const Orb::Ptr<const ClassMapStatus>& status) {     \
                as<Record>(record).ruleStatuses##Is(index, status);                                \
            },                                                                                     \
        .rulesAre =                                                                                \
            [](PolicyState& record, RuleStatuses rules) {                                          \
                as<Record>(record).ruleStatuses##Is(std::move(rules));                             \
            },                                                                                     \
        .classCounters = [](const PolicyState& record) -> auto& {                                  \
        return as<Record>(record).rulesCounters();                                                 \
    }                                                                                              \
    , .namedCounters = [](const PolicyState& record) -> auto& {                                    \
        return as<Record>(record).namesCounters();                                                 \
    }                                                                                              \
    ,                                                                                              \
        .countersAre =                                                                             \
            [](PolicyState& record, CounterMap ofClass, CounterMap named) {                        \
                as<Record>(record).rulesCounters##Is(std::move(ofClass));                          \
                as<Record>(record).namesCounters##Is(std::move(named));                            \
            },                                                                                     \
        .snapshots = [](const PolicyState& record) -> auto& {                                      \
        return as<Record>(record).lastClear();                                                     \
    }                                                                                              \
    , .countsPerInterface = [](const PolicyState& record) {                                        \
        return as<Record>(record).perInterface();                                                  \
    }

const Direction inputDirection{DIRECTION(PolicyState, policyMapStatusInput, classMapStatusInput,
                                         inputClassCounters, inputNamedCounters, counter,
                                         countersPerInterface)};
const Direction outputDirection{
    DIRECTION(PolicyStateInterface, policyMapStatusOutput, classMapStatusOutput,
              outputClassCounters, outputNamedCounters, counterOutput, countersPerInterfaceOutput)};

// The attributes of a side in a record. makeReport(record, point) gives the record of a point's
// reports.
#define POINTS(Record, configuredPoints, reports, appliedLists, failedLists, errorLists,    \
               makeReport)                                                                  \
    .configured = [](const PolicyState& record) -> auto& {                                  \
        return as<Record>(record).configuredPoints();                                       \
    }                                                                                       \
    ,                                                                                       \
        .configuredIs =                                                                     \
            [](PolicyState& record, const Orb::String& point) {                             \
                as<Record>(record).configuredPoints##Is(point, true);                       \
            },                                                                              \
        .reportIs = [](PolicyState& record, const Orb::String& point) -> InterfaceStatus& { \
            return *makeReport;                                                             \
        },                                                                                  \
        .eachReport =                                                                       \
            [](const PolicyState& record, const Side::VisitReport& visit) {                 \
                for (const auto& [point, report] : as<Record>(record).reports())            \
                    visit(point, *report);                                                  \
            },                                                                              \
        .report = [](const PolicyState& record,                                             \
                     const Orb::String& point) -> const InterfaceStatus* {                  \
            return as<Record>(record).reports(point);                                       \
        },                                                                                  \
        .applied =                                                                          \
            [](const PolicyState& record, MatchOption option) {                             \
                return pointsOrNull(as<Record>(record).appliedLists(option));               \
            },                                                                              \
        .appliedIs =                                                                        \
            [](PolicyState& record, MatchOption option, const Orb::String& point) {         \
                pointIs(*as<Record>(record).appliedLists##Is(option), point);               \
            },                                                                              \
        .failed =                                                                           \
            [](const PolicyState& record, MatchOption option) {                             \
                return pointsOrNull(as<Record>(record).failedLists(option));                \
            },                                                                              \
        .failedIs =                                                                         \
            [](PolicyState& record, MatchOption option, const Orb::String& point) {         \
                pointIs(*as<Record>(record).failedLists##Is(option), point);                \
            },                                                                              \
        .errors =                                                                           \
            [](const PolicyState& record, MatchOption option) {                             \
                return errorsOrNull(as<Record>(record).errorLists(option));                 \
            },                                                                              \
        .errorIs = [](PolicyState& record, MatchOption option, const Orb::String& point,    \
                      const Orb::String& text) {                                            \
            errorIs(*as<Record>(record).errorLists##Is(option), point, text);               \
        }

const Side interfaceInput{
    .direction = &inputDirection,
    POINTS(
        PolicyStateInterface, configuredIntfInput, interfaceStatusInput, appliedIntfInput,
        failedIntfInput, installErrorCollInput,
        as<PolicyStateInterface>(record).interfaceStatusInputIs(point, interfaceStatusFactory())),
    .objectKey = "input",
    .configuredLabel = "Configured on input of interfaces: ",
    .configuredKey = "configuredIntfs",
    .families = {{MatchOption::ipv4,
                  "Applied on input of interfaces for IPv4 traffic: ", "ipv4AppliedIntfs",
                  "Failed on interfaces for IPv4 input traffic: ", "ipv4FailedIntfs",
                  "ipv4InstallationErrors"},
                 {MatchOption::ipv6,
                  "Applied on input of interfaces for IPv6 traffic: ", "ipv6AppliedIntfs",
                  "Failed on interfaces for IPv6 input traffic: ", "ipv6FailedIntfs",
                  "ipv6InstallationErrors"}},
    .countSuffix = " (input)",
    .countKeys = inputCountKeys,
    .namedCountKeys = inputNamedKeys,
    .countersKey = "trafficPolicies",
    .headingWord = "input",
    .granularityKey = "ingressCounterGranularity",
    .granularity = &TrafficPolicy::TrafficPolicyIntfParamStatus::ingressCounterGranularity,
    .isShown =
        [](const PolicyState& record) {
            return !as<PolicyStateInterface>(record).filterOutputPolicies();
        },
};

const Side interfaceOutput{
    .direction = &outputDirection,
    POINTS(
        PolicyStateInterface, configuredIntfOutput, interfaceStatusOutput, appliedIntfOutput,
        failedIntfOutput, installErrorCollOutput,
        as<PolicyStateInterface>(record).interfaceStatusOutputIs(point, interfaceStatusFactory())),
    .objectKey = "output",
    .configuredLabel = "Configured on output of interfaces: ",
    .configuredKey = "configuredIntfs",
    .families = {{MatchOption::ipv4,
                  "Applied on output of interfaces for IPv4 traffic: ", "ipv4AppliedIntfs",
                  "Failed on interfaces for IPv4 output traffic: ", "ipv4FailedIntfs",
                  "ipv4InstallationErrors"},
                 {MatchOption::ipv6,
                  "Applied on output of interfaces for IPv6 traffic: ", "ipv6AppliedIntfs",
                  "Failed on interfaces for IPv6 output traffic: ", "ipv6FailedIntfs",
                  "ipv6InstallationErrors"}},
    .countSuffix = " (output)",
    .countKeys = outputCountKeys,
    .namedCountKeys = outputNamedKeys,
    .countersKey = "egressTrafficPolicies",
    .headingWord = "output",
    .granularityKey = "egressCounterGranularity",
    .granularity = &TrafficPolicy::TrafficPolicyIntfParamStatus::egressCounterGranularity,
    .isShown =
        [](const PolicyState& record) {
            return !as<PolicyStateInterface>(record).filterInputPolicies();
        },
};

const Side cpuHardware{
    .direction = &inputDirection,
    POINTS(PolicyStateCpu, configuredVrf, vrfIntfStatus, appliedVrf, failedVrf, installErrorColl,
           as<PolicyStateCpu>(record).vrfIntfStatusIs(point)),
    .configuredLabel = "Configured on CPU for VRFs: ",
    .configuredKey = "configuredVrfs",
    .families = {{MatchOption::ipv4,
                  "Applied on CPU for IPv4 traffic in VRFs (hardware): ", "ipv4AppliedVrfs",
                  "Failed on CPU for IPv4 traffic in VRFs (hardware): ", "ipv4FailedVrfs",
                  "ipv4InstallationErrors"},
                 {MatchOption::ipv6,
                  "Applied on CPU for IPv6 traffic in VRFs (hardware): ", "ipv6AppliedVrfs",
                  "Failed on CPU for IPv6 traffic in VRFs (hardware): ", "ipv6FailedVrfs",
                  "ipv6InstallationErrors"}},
    .countKeys = inputCountKeys,
    .namedCountKeys = inputNamedKeys,
    .countersKey = "trafficPolicies",
};

// In the kernel. Where the policy is configured is told with the hardware.
const Side cpuSoftware{
    .direction = nullptr,
    POINTS(PolicyStateCpu, configuredVrf, vrfSoftwareIntfStatus, appliedVrfSoftware,
           failedVrfSoftware, installErrorSoftwareColl,
           as<PolicyStateCpu>(record).vrfSoftwareIntfStatusIs(point)),
    .families = {{MatchOption::ipv4,
                  "Applied on CPU for IPv4 traffic in VRFs (software): ", "ipv4AppliedVrfsSoftware",
                  "Failed on CPU for IPv4 traffic in VRFs (software): ", "ipv4FailedVrfsSoftware",
                  "ipv4InstallationErrorsSoftware"},
                 {MatchOption::ipv6,
                  "Applied on CPU for IPv6 traffic in VRFs (software): ", "ipv6AppliedVrfsSoftware",
                  "Failed on CPU for IPv6 traffic in VRFs (software): ", "ipv6FailedVrfsSoftware",
                  "ipv6InstallationErrorsSoftware"}},
};

const Side vlan{
    .direction = &inputDirection,
    POINTS(PolicyStateVAcl, configuredVlan, vaclStatus, appliedVlan, failedVlan, installErrorColl,
           as<PolicyStateVAcl>(record).vaclStatusIs(point, interfaceStatusFactory())),
    .objectKey = "vacl",
    .configuredLabel = "Configured on VLANs: ",
    .configuredKey = "configuredVlans",
    .families = {{MatchOption::ipv4, "Applied on VLANs for IPv4 traffic: ", "ipv4AppliedVlans",
                  "Failed on VLANs for IPv4 traffic: ", "ipv4FailedVlans",
                  "ipv4InstallationErrors"},
                 {MatchOption::ipv6, "Applied on VLANs for IPv6 traffic: ", "ipv6AppliedVlans",
                  "Failed on VLANs for IPv6 traffic: ", "ipv6FailedVlans",
                  "ipv6InstallationErrors"}},
};

namespace {

constexpr const Side* interfaceSides[] = {&interfaceInput, &interfaceOutput};
constexpr const Side* cpuSides[] = {&cpuHardware, &cpuSoftware};
constexpr const Side* vlanSides[] = {&vlan};
constexpr const Direction* bothDirections[] = {&inputDirection, &outputDirection};
constexpr std::span<const Direction* const> onlyInput(bothDirections, 1);

}  // namespace

const Kind onInterfaces{"interface", interfaceSides, bothDirections};
const Kind onCpu{"cpu", cpuSides, onlyInput};
const Kind onVlans{"vlan", vlanSides, onlyInput};

const Kind& PolicyState::kind() const {
    static const Kind none{"", {}, onlyInput};
    return none;
}
const Kind& PolicyStateCpu::kind() const { return onCpu; }
const Kind& PolicyStateInterface::kind() const { return onInterfaces; }
const Kind& PolicyStateVAcl::kind() const { return onVlans; }

}  // namespace TrafficPolicyCli
