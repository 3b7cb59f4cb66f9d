// Policies on VLANs: the lists stand in the object "vacl".
#include "orb/Assert.h"
#include "views/PolicyView.h"

namespace TrafficPolicyCli {

namespace {

struct FamilyRow {
    MatchOption option;
    std::string_view appliedLabel;
    std::string_view appliedKey;
    std::string_view failedLabel;
    std::string_view failedKey;
    std::string_view errorsKey;
};

constexpr FamilyRow familyRows[] = {
    {MatchOption::ipv4, "Applied on VLANs for IPv4 traffic: ", "ipv4AppliedVlans",
     "Failed on VLANs for IPv4 traffic: ", "ipv4FailedVlans", "ipv4InstallationErrors"},
    {MatchOption::ipv6, "Applied on VLANs for IPv6 traffic: ", "ipv6AppliedVlans",
     "Failed on VLANs for IPv6 traffic: ", "ipv6FailedVlans", "ipv6InstallationErrors"},
};

bool showsFailure(const PolicyState& record) {
    return record.errors() && !static_cast<const PolicyStateVAcl&>(record).failedVlan().empty();
}

void renderFailed(textout::RendererV2& renderer, const PolicyStateVAcl& record, U32 indent) {
    for (const FamilyRow& row : familyRows) {
        const PerAfVAclList* const failed = record.failedVlan(row.option);
        if (failed == nullptr) continue;
        renderListEntry(renderer, row.failedLabel, row.failedKey, failed->vlanList(), indent,
                        record.detail(), renderer.isText());
        renderVAclInstallErrors(renderer, row.errorsKey, record, row.option,
                                indent + record.indentCountPerLevel());
    }
}

}  // namespace

void renderCommonVAclModel(textout::RendererV2& renderer,
                           const Orb::Ptr<const PolicyState>& policyState, U32 indent) {
    SHOW_TRACE_ENTRY();
    const auto& record = static_cast<const PolicyStateVAcl&>(*policyState);
    const auto vacl = renderer.object("vacl");
    if (record.errors()) {
        ORB_ASSERT(!policyState->detail());
        renderFailed(renderer, record, indent);
        return;
    }
    renderListEntry(renderer, "Configured on VLANs: ", "configuredVlans", record.configuredVlan(),
                    indent, record.detail(), renderer.isText());
    for (const FamilyRow& row : familyRows) {
        const PerAfVAclList* const applied = record.appliedVlan(row.option);
        if (applied == nullptr) continue;
        renderListEntry(renderer, row.appliedLabel, row.appliedKey, applied->vlanList(), indent,
                        record.detail(), renderer.isText());
    }
    renderRulesModel(renderer, record, indent);
}

void ShowTrafficPolicyVAcl::renderTrafficPolicy(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    constexpr PolicyViewKind kind{"vlan", renderCommonVAclModel, showsFailure};
    renderPolicies(*this, kind, "", fd, format, revision);
}

void ShowTrafficPolicyVAcl::renderTrafficPolicyCounters(U32, U32, U32) { SHOW_TRACE_ENTRY(); }

}  // namespace TrafficPolicyCli
