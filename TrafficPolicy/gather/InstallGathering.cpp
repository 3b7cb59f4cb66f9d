#include "gather/InstallGathering.h"

#include "frame/Trace.h"

namespace TrafficPolicyCli {

Orb::String interfacePoint(const Wire::IntfId& intfId) { return intfId.stringValue(); }

Orb::String vlanPoint(const Wire::IntfId& intfId) {
    constexpr std::string_view word = "Vlan";
    const Orb::String& text = intfId.stringValue();
    return text.substr(std::min(word.size(), text.size()));
}

PointOf vrfPoint(const L3::Intf::StatusDir* dir) {
    return [dir](const Wire::IntfId& intfId) -> std::optional<Orb::String> {
        const L3::Intf::Status* const status = dir == nullptr ? nullptr : dir->intfStatus(intfId);
        return status == nullptr ? std::nullopt : std::optional(status->vrf());
    };
}

void gatherReports(PolicyState& record, const Side& side,
                   const PolicyMap::PolicyMapStatus& policyStatus, const PointOf& pointOf) {
    for (const auto& [intfId, report] : policyStatus.intfStatus()) {
        if (const auto point = pointOf(intfId)) side.reportIs(record, *point).intfStatusIs(report);
    }
}

namespace {

void noteOutcome(PolicyState& record, const Side& side, MatchOption option,
                 const Orb::String& point, const InterfaceStatus& report) {
    if (report.isProgrammed(option)) {
        SHOW_TRACE(7, "Applied on " << point);
        return side.appliedIs(record, option, point);
    }
    if (report.isFailed(option)) {
        SHOW_TRACE(7, "Failed on " << point);
        return side.failedIs(record, option, point);
    }
    SHOW_TRACE(7, point << " is not processed");
}

}  // namespace

void gatherOutcomes(PolicyState& record, const Side& side, MatchOption option) {
    side.eachReport(record, [&](const Orb::String& point, const InterfaceStatus& report) {
        noteOutcome(record, side, option, point, report);
    });
}

void gatherErrors(PolicyState& record, const Side& side, MatchOption option) {
    const Points* const failed = side.failed(record, option);
    if (failed == nullptr) {
        SHOW_TRACE(8, "No failures for option: " << option);
        return;
    }
    for (const auto& [point, isFailed] : *failed) {
        side.errorIs(record, option, point,
                     getInstalledErrorString(side.report(record, point), option));
    }
}

}  // namespace TrafficPolicyCli
