// The records: judgements over installation reports, look-ups by direction, and their death with
// the show object.
#include <gmock/gmock.h>

#include "SmallState.h"

namespace TrafficPolicyCli {
namespace {

using PolicyMap::Installation;
using PolicyMap::InstallState;
using PolicyMap::IntfStatus;
using SmallState::Command;
using SmallState::ShowKind;
using SmallState::shown;

constexpr MatchOption v4 = MatchOption::ipv4;
constexpr MatchOption v6 = MatchOption::ipv6;

struct Report {
    const char* intf;  // null: a null report; then nothing follows
    bool isSilent = true;
    InstallState state = {};
    const char* errorText = "";
    MatchOption option = v4;
};

Orb::Ptr<const IntfStatus> reportOf(const Report& report) {
    if (report.intf == nullptr) return nullptr;
    const auto status = Orb::make<IntfStatus>(Wire::IntfId(report.intf));
    if (!report.isSilent) {
        status->installationIs(report.option, Installation{report.state, report.errorText});
    }
    return status;
}

TEST(ModelInstallStatus, judgesOneFamilyOverAllReports) {
    constexpr auto programmed = InstallState::programmed;
    constexpr auto failed = InstallState::failed;
    const Report ok{"E1", false, programmed, "not shown"};
    const Report no{"E2", false, failed, "no room"};
    const Report late{"E10", false, failed, "later"};
    const Report waiting{"E1", false, InstallState::notReported, "waiting"};
    const struct {
        const char* name;
        std::vector<Report> reports;
        bool isProgrammed, isFailed;
        const char* errorText;
    } rows[] = {
        {"none", {}, false, false, ""},
        {"a null report", {{nullptr}}, false, false, ""},
        {"programmed", {ok}, true, false, ""},
        {"failed", {no}, false, true, "no room"},
        {"another family", {{"E1", false, failed, "no IPv6", v6}}, false, false, ""},
        {"not reported", {waiting}, false, false, "waiting"},
        {"no meaning", {{"E1", false, InstallState{7}, "state 7"}}, false, false, "state 7"},
        {"both programmed", {ok, {"E2", false, programmed}}, true, false, ""},
        {"one silent", {ok, {"E2"}}, true, false, ""},
        {"silent before failed", {{"E1"}, no}, false, true, ""},
        {"programmed and failed", {ok, no}, false, true, "no room"},
        {"E10 stands before E2", {no, late}, false, true, "later"},
        {"waiting before failed", {waiting, no}, false, true, "waiting"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        // The order in which the reports come does not matter.
        for (const bool backwards : {false, true}) {
            std::vector<Report> reports = row.reports;
            if (backwards) std::reverse(reports.begin(), reports.end());
            const auto status = interfaceStatusFactory();
            for (const Report& report : reports) status->intfStatusIs(reportOf(report));
            EXPECT_EQ(status->isProgrammed(v4), row.isProgrammed);
            EXPECT_EQ(status->isFailed(v4), row.isFailed);
            EXPECT_EQ(getInstalledErrorString(status, v4), row.errorText);
        }
    }
}

TEST(ModelPolicyState, selectsReportsByDirection) {
    const auto record = policyStateInterfaceFactory("P");
    const auto status = interfaceStatusFactory();
    record->interfaceStatusOutputIs("E1", status);
    EXPECT_EQ(record->getInterfaceStatus("E1", false).get(), status.get());
    EXPECT_EQ(record->getInterfaceStatus("E1", true), nullptr);
}

// The numbers of living objects, of all types but the singletons, which live on once made.
std::map<std::string, U64> liveCounts() {
    std::map<std::string, U64> counts;
    for (const Orb::TypeInfo* type : Orb::registeredTypes()) {
        if (type->name() != "AclNameMap") counts[type->name()] = type->liveCount();
    }
    return counts;
}

// Every type of the process, whatever the view.
TEST(ModelLiveObjects, dieWithTheShowObject) {
    const SmallState::State state = StateDirectory::readState(EXAMPLES_DIR "/campus");
    const auto before = liveCounts();
    const std::pair<ShowKind, const char*> records[] = {
        {ShowKind::interface, "TrafficPolicyCli::PolicyStateInterface"},
        {ShowKind::cpu, "TrafficPolicyCli::PolicyStateCpu"},
        {ShowKind::vlan, "TrafficPolicyCli::PolicyStateVAcl"}};
    for (const auto& [kind, recordType] : records) {
        for (const Command& command :
             {Command{}, Command{.errors = true}, Command{.counters = true}}) {
            auto show = SmallState::showOf(kind, state, command);
            shown(*show, SmallState::text);
            auto during = liveCounts();
            EXPECT_EQ(during[recordType], show->policyState().size());
            EXPECT_GT(during[recordType], 0U);
            show = nullptr;
            EXPECT_EQ(liveCounts(), before);
        }
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
