// Policies on interfaces: an object "input" and an object "output", each left out when the command
// asks for the other direction only.
#include "orb/Assert.h"
#include "views/PolicyView.h"

namespace TrafficPolicyCli {

namespace {

struct FamilyLabels {
    MatchOption option;
    std::string_view applied;
    std::string_view failed;
};

struct DirectionLabels {
    std::string_view jsonKey;
    std::string_view configured;
    FamilyLabels families[2];
};

constexpr DirectionLabels inputLabels{
    "input",
    "Configured on input of interfaces: ",
    {{MatchOption::ipv4, "Applied on input of interfaces for IPv4 traffic: ",
      "Failed on interfaces for IPv4 input traffic: "},
     {MatchOption::ipv6, "Applied on input of interfaces for IPv6 traffic: ",
      "Failed on interfaces for IPv6 input traffic: "}}};

constexpr DirectionLabels outputLabels{
    "output",
    "Configured on output of interfaces: ",
    {{MatchOption::ipv4, "Applied on output of interfaces for IPv4 traffic: ",
      "Failed on interfaces for IPv4 output traffic: "},
     {MatchOption::ipv6, "Applied on output of interfaces for IPv6 traffic: ",
      "Failed on interfaces for IPv6 output traffic: "}}};

struct FamilyKeys {
    std::string_view applied;
    std::string_view failed;
    std::string_view errors;
};

constexpr FamilyKeys ipv4Keys{"ipv4AppliedIntfs", "ipv4FailedIntfs", "ipv4InstallationErrors"};
constexpr FamilyKeys ipv6Keys{"ipv6AppliedIntfs", "ipv6FailedIntfs", "ipv6InstallationErrors"};

const FamilyKeys& keysOf(MatchOption option) {
    return option == MatchOption::ipv4 ? ipv4Keys : ipv6Keys;
}

// A direction is left out when the command asks for the other one only.
bool shows(const PolicyStateInterface& record, bool isInput) {
    return isInput ? !record.filterOutputPolicies() : !record.filterInputPolicies();
}

bool showsFailure(const PolicyState& record) {
    const auto& interfaceRecord = static_cast<const PolicyStateInterface&>(record);
    return (shows(interfaceRecord, true) && !interfaceRecord.failedIntfInput().empty()) ||
           (shows(interfaceRecord, false) && !interfaceRecord.failedIntfOutput().empty());
}

void renderInstalled(textout::RendererV2& renderer, const PolicyStateInterface& record, U32 indent,
                     bool isInput) {
    const DirectionLabels& labels = isInput ? inputLabels : outputLabels;
    renderListEntry(renderer, labels.configured, "configuredIntfs",
                    isInput ? record.configuredIntfInput() : record.configuredIntfOutput(), indent,
                    record.detail(), renderer.isText());
    for (const FamilyLabels& family : labels.families) {
        const auto applied = record.getAppliedIntfList(family.option, isInput);
        if (!applied) continue;
        renderListEntry(renderer, family.applied, keysOf(family.option).applied,
                        applied->intfList(), indent, record.detail(), renderer.isText());
    }
}

void renderFailed(textout::RendererV2& renderer, const PolicyStateInterface& record, U32 indent,
                  bool isInput) {
    for (const FamilyLabels& family : (isInput ? inputLabels : outputLabels).families) {
        const auto failed = record.getFailedIntfList(family.option, isInput);
        if (!failed) continue;
        const FamilyKeys& keys = keysOf(family.option);
        renderListEntry(renderer, family.failed, keys.failed, failed->intfList(), indent,
                        record.detail(), renderer.isText());
        renderInterfaceInstallErrors(renderer, keys.errors, record,
                                     record.getInstallErrorList(family.option, isInput).get(),
                                     indent + record.indentCountPerLevel(), isInput);
    }
}

}  // namespace

void renderInterfaceOutputErrors(textout::RendererV2& renderer, const PolicyStateInterface& record,
                                 U32 indent) {
    SHOW_TRACE_ENTRY();
    const PolicyStateInterface* const policyState = &record;
    ORB_ASSERT(!policyState->detail());
    renderFailed(renderer, record, indent, false);
}

void renderCommonInterfaceModel(textout::RendererV2& renderer,
                                const Orb::Ptr<const PolicyState>& policyState, U32 indent) {
    SHOW_TRACE_ENTRY();
    const auto& record = static_cast<const PolicyStateInterface&>(*policyState);
    if (shows(record, true)) {
        const auto input = renderer.object(inputLabels.jsonKey);
        if (record.errors()) {
            ORB_ASSERT(!policyState->detail());
            renderFailed(renderer, record, indent, true);
        } else {
            renderInstalled(renderer, record, indent, true);
        }
    }
    if (shows(record, false)) {
        const auto output = renderer.object(outputLabels.jsonKey);
        if (record.errors()) {
            renderInterfaceOutputErrors(renderer, record, indent);
        } else {
            renderInstalled(renderer, record, indent, false);
        }
    }
    if (!record.errors()) renderRulesModel(renderer, record, indent);
}

void ShowTrafficPolicyInterface::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    constexpr PolicyViewKind kind{"interface", renderCommonInterfaceModel, showsFailure};
    renderPolicies(*this, kind, "", fd, format, revision);
}

}  // namespace TrafficPolicyCli
