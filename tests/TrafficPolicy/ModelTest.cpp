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
using SmallState::Kind;
using SmallState::shown;

struct Report {
    const char* intf;
    std::vector<std::pair<MatchOption, Installation>> installations;
};

constexpr MatchOption v4 = MatchOption::ipv4;
constexpr MatchOption v6 = MatchOption::ipv6;
constexpr auto reserved = static_cast<InstallState>(7);

Orb::Ptr<const IntfStatus> reportOf(const Report& report) {
    if (report.intf == nullptr) return nullptr;
    const auto status = Orb::make<IntfStatus>(Wire::IntfId(report.intf));
    for (const auto& [option, installation] : report.installations) {
        status->installationIs(option, installation);
    }
    return status;
}

TEST(ModelInstallStatus, judgesOneFamilyOverAllReports) {
    const Installation ok{InstallState::programmed, "not shown"};
    const Installation no{InstallState::failed, "no room"};
    const Installation late{InstallState::failed, "later"};
    const Installation waiting{InstallState::notReported, "waiting"};
    const Installation other{reserved, "state 7"};
    const struct {
        const char* name;
        std::vector<Report> reports;
        bool isProgrammed, isFailed;
        const char* errorText;
    } rows[] = {
        {"none", {}, false, false, ""},
        {"a null report", {{nullptr, {}}}, false, false, ""},
        {"programmed", {{"E1", {{v4, ok}}}}, true, false, ""},
        {"failed", {{"E1", {{v4, no}}}}, false, true, "no room"},
        {"another family only", {{"E1", {{v6, no}}}}, false, false, ""},
        {"not reported", {{"E1", {{v4, waiting}}}}, false, false, "waiting"},
        {"a state of no meaning", {{"E1", {{v4, other}}}}, false, false, "state 7"},
        {"both programmed", {{"E1", {{v4, ok}}}, {"E2", {{v4, ok}}}}, true, false, ""},
        {"one silent", {{"E1", {{v4, ok}}}, {"E2", {}}}, true, false, ""},
        {"silent before failed", {{"E1", {}}, {"E2", {{v4, no}}}}, false, true, ""},
        {"programmed and failed", {{"E1", {{v4, ok}}}, {"E2", {{v4, no}}}}, false, true, "no room"},
        {"two failed", {{"E1", {{v4, no}}}, {"E2", {{v4, late}}}}, false, true, "no room"},
        {"E10 stands before E2", {{"E10", {{v4, late}}}, {"E2", {{v4, no}}}}, false, true, "later"},
        {"waiting before failed",
         {{"E1", {{v4, waiting}}}, {"E2", {{v4, no}}}},
         false,
         true,
         "waiting"},
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

TEST(ModelPolicyState, countsItsRules) {
    const auto record = policyStateFactory("P");
    EXPECT_EQ(record->ruleCountInc(0), 0U);
    EXPECT_EQ(record->ruleCountInc(3), 3U);
    EXPECT_EQ(record->ruleCountInc(0), 3U);
    EXPECT_EQ(record->ruleCount(), 3U);
}

TEST(ModelPolicyState, selectsByDirection) {
    const auto record = policyStateInterfaceFactory("P");
    for (const bool isInput : {true, false}) {
        EXPECT_EQ(record->getInterfaceStatus("E1", isInput), nullptr);
        EXPECT_EQ(record->getAppliedIntfList(v4, isInput), nullptr);
        EXPECT_EQ(record->getFailedIntfList(v4, isInput), nullptr);
        EXPECT_EQ(record->getInstallErrorList(v4, isInput), nullptr) << "not an empty record";
    }
    const auto status = interfaceStatusFactory();
    const auto outputStatus = interfaceStatusFactory();
    record->interfaceStatusInputIs("E1", status);
    record->interfaceStatusOutputIs("E1", outputStatus);
    EXPECT_EQ(record->getInterfaceStatus("E1", true).get(), status.get());
    EXPECT_EQ(record->getInterfaceStatus("E1", false).get(), outputStatus.get());
    EXPECT_EQ(record->getAppliedIntfList(v4, true), nullptr);
    const Orb::Ptr<PerAfIntfList> applied = record->appliedIntfOutputIs(v4);
    const Orb::Ptr<PerAfIntfList> failed = record->failedIntfInputIs(v4);
    EXPECT_EQ(record->getAppliedIntfList(v4, false).get(), applied.get());
    EXPECT_EQ(record->getAppliedIntfList(v4, true), nullptr);
    EXPECT_EQ(record->getFailedIntfList(v4, true).get(), failed.get());
    EXPECT_EQ(record->getFailedIntfList(v4, false), nullptr);
    const auto errors = record->createInstallErrorColl(v6, false);
    EXPECT_EQ(record->createInstallErrorColl(v6, false), errors);
    EXPECT_NE(record->createInstallErrorColl(v6, true), errors);
    EXPECT_EQ(record->getInstallErrorList(v6, false).get(), errors.get());
    EXPECT_EQ(record->getInstallErrorList(v4, false), nullptr);
}

TEST(ModelPolicyState, makesPerFamilyRecordsOnceAndKeepsFamiliesApart) {
    const auto record = policyStateCpuFactory("P");
    const Orb::Ptr<PerAfVrfList> list = record->appliedVrfIs(v6);
    EXPECT_EQ(record->appliedVrfIs(v6), list);
    EXPECT_EQ(list->matchOption(), v6);
    list->vrfListIs("red", true);
    list->vrfListIs("red", false);
    list->vrfListIs("blue", true);
    EXPECT_EQ(list->vrfList().size(), 2U);
    EXPECT_FALSE(*list->vrfList("red"));
    EXPECT_EQ(list->vrfList().begin()->first, "blue");
    EXPECT_TRUE(record->appliedVrfIs(v4)->vrfList().empty());
    EXPECT_EQ(record->failedVrf(v6), nullptr);
    EXPECT_EQ(record->vrfIntfStatus("red"), nullptr);
    const Orb::Ptr<VrfIntfStatus> reports = record->vrfIntfStatusIs("red");
    EXPECT_EQ(record->vrfIntfStatusIs("red"), reports);
    EXPECT_EQ(reports->vrfName(), "red");
    EXPECT_EQ(record->vrfSoftwareIntfStatus("red"), nullptr);
    record->installErrorCollIs(v4)->vrfErrorIs("red", "full");
    EXPECT_EQ(*record->installErrorColl(v4)->vrfError("red"), "full");
    record->appliedVrfDel(record->appliedVrf().begin());
    EXPECT_EQ(record->appliedVrf(v4), nullptr);
    record->appliedVrfDelAll();
    EXPECT_TRUE(record->appliedVrf().empty());
}

TEST(ModelPolicyState, keepsCounterRecordsUnderTheirOwnName) {
    const auto record = policyStateInterfaceFactory("P");
    const auto first = Orb::make<PolicyMap::PacketDataStatus>("web", Keel::UniqueId{1});
    const auto second = Orb::make<PolicyMap::PacketDataStatus>("web", Keel::UniqueId{2});
    record->inputClassCountersIs(Orb::Ptr<const PolicyMap::PacketDataStatus>(first));
    record->inputClassCountersIs(Orb::Ptr<const PolicyMap::PacketDataStatus>(second));
    record->outputNamedCountersIs(Orb::Ptr<const PolicyMap::PacketDataStatus>(first));
    EXPECT_EQ(record->inputClassCounters("web"), second.get());
    EXPECT_EQ(record->outputNamedCounters("web"), first.get());
    EXPECT_EQ(record->inputNamedCounters("web"), nullptr);
}

// The numbers of living objects, of all types but the singletons, which live on once made.
std::map<std::string, U64> liveCounts() {
    std::map<std::string, U64> counts;
    for (const Orb::TypeInfo* type : Orb::registeredTypes()) {
        if (type->name() != "AclNameMap") counts[type->name()] = type->liveCount();
    }
    return counts;
}

// The types of which more or fewer objects live than before.
std::vector<std::string> changesSince(const std::map<std::string, U64>& before) {
    std::vector<std::string> changes;
    for (const auto& [type, count] : liveCounts()) {
        if (before.at(type) != count) changes.push_back(type);
    }
    return changes;
}

// Every type of the process, whatever the view.
TEST(ModelLiveObjects, dieWithTheShowObject) {
    const SmallState::State state = StateDirectory::readState(EXAMPLES_DIR "/campus");
    const auto before = liveCounts();
    const std::pair<Kind, const char*> records[] = {
        {Kind::interface, "TrafficPolicyCli::PolicyStateInterface"},
        {Kind::cpu, "TrafficPolicyCli::PolicyStateCpu"},
        {Kind::vlan, "TrafficPolicyCli::PolicyStateVAcl"}};
    for (const auto& [kind, recordType] : records) {
        for (const Command& command : {Command{}, Command{.summary = true}, Command{.errors = true},
                                       Command{.detail = true}, Command{.counters = true}}) {
            auto show = SmallState::showOf(kind, state, command);
            shown(*show, SmallState::text);
            auto during = liveCounts();
            EXPECT_EQ(during[recordType], show->policyState().size());
            EXPECT_GT(during[recordType], 0U);
            show = nullptr;
            EXPECT_THAT(changesSince(before), testing::IsEmpty());
        }
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
