// Policies on the CPU: the lists stand in the policy's object itself, in four rows of family and
// place of installation.
#include <array>

#include "orb/Assert.h"
#include "views/PolicyView.h"

namespace TrafficPolicyCli {

namespace {

bool showsFailure(const PolicyState& record) {
    const auto& cpuRecord = static_cast<const PolicyStateCpu&>(record);
    return !cpuRecord.failedVrf().empty() || !cpuRecord.failedVrfSoftware().empty();
}

struct ListRow {
    std::string_view label;
    std::string_view jsonKey;
    const PerAfVrfList* list;
};

void renderApplied(textout::RendererV2& renderer, const PolicyStateCpu& record, U32 indent) {
    const ListRow rows[] = {
        {"Applied on CPU for IPv4 traffic in VRFs (hardware): ", "ipv4AppliedVrfs",
         record.appliedVrf(MatchOption::ipv4)},
        {"Applied on CPU for IPv6 traffic in VRFs (hardware): ", "ipv6AppliedVrfs",
         record.appliedVrf(MatchOption::ipv6)},
        {"Applied on CPU for IPv4 traffic in VRFs (software): ", "ipv4AppliedVrfsSoftware",
         record.appliedVrfSoftware(MatchOption::ipv4)},
        {"Applied on CPU for IPv6 traffic in VRFs (software): ", "ipv6AppliedVrfsSoftware",
         record.appliedVrfSoftware(MatchOption::ipv6)},
    };
    for (const ListRow& row : rows) {
        if (row.list == nullptr) continue;
        renderListEntry(renderer, row.label, row.jsonKey, row.list->vrfList(), indent,
                        record.detail(), renderer.isText());
    }
}

struct FailedRow {
    ListRow failed;
    std::string_view errorsKey;
    const InstallError* errors;
};

void renderFailed(textout::RendererV2& renderer, const PolicyStateCpu& record, U32 indent) {
    const FailedRow rows[] = {
        {{"Failed on CPU for IPv4 traffic in VRFs (hardware): ", "ipv4FailedVrfs",
          record.failedVrf(MatchOption::ipv4)},
         "ipv4InstallationErrors",
         record.installErrorColl(MatchOption::ipv4)},
        {{"Failed on CPU for IPv6 traffic in VRFs (hardware): ", "ipv6FailedVrfs",
          record.failedVrf(MatchOption::ipv6)},
         "ipv6InstallationErrors",
         record.installErrorColl(MatchOption::ipv6)},
        {{"Failed on CPU for IPv4 traffic in VRFs (software): ", "ipv4FailedVrfsSoftware",
          record.failedVrfSoftware(MatchOption::ipv4)},
         "ipv4InstallationErrorsSoftware",
         record.installErrorSoftwareColl(MatchOption::ipv4)},
        {{"Failed on CPU for IPv6 traffic in VRFs (software): ", "ipv6FailedVrfsSoftware",
          record.failedVrfSoftware(MatchOption::ipv6)},
         "ipv6InstallationErrorsSoftware",
         record.installErrorSoftwareColl(MatchOption::ipv6)},
    };
    for (const FailedRow& row : rows) {
        if (row.failed.list == nullptr) continue;
        renderListEntry(renderer, row.failed.label, row.failed.jsonKey, row.failed.list->vrfList(),
                        indent, record.detail(), renderer.isText());
        renderCpuInstallErrors(renderer, row.errorsKey, row.errors,
                               indent + record.indentCountPerLevel());
    }
}

}  // namespace

void renderCommonModelCpu(textout::RendererV2& renderer,
                          const Orb::Ptr<const PolicyState>& policyState, U32 indent) {
    SHOW_TRACE_ENTRY();
    const auto& record = static_cast<const PolicyStateCpu&>(*policyState);
    if (record.errors()) {
        ORB_ASSERT(!policyState->detail());
        renderFailed(renderer, record, indent);
        return;
    }
    renderListEntry(renderer, "Configured on CPU for VRFs: ", "configuredVrfs",
                    record.configuredVrf(), indent, record.detail(), renderer.isText());
    renderApplied(renderer, record, indent);
    renderRulesModel(renderer, record, indent);
}

void ShowTrafficPolicyCpu::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    constexpr PolicyViewKind kind{"cpu", renderCommonModelCpu, showsFailure};
    const bool appliesToAll = vrfConfig() && vrfConfig()->vrf().contains(Orb::String("all"));
    const std::string_view note =
        appliesToAll && !errors()
            ? "NOTE: \"vrf all\" option is applied on CPU for VRFs which are not attached to a "
              "specific traffic policy\n"
            : "";
    renderPolicies(*this, kind, note, fd, format, revision);
}

}  // namespace TrafficPolicyCli
