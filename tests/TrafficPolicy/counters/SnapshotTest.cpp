// Clearing counters, from either store: what is written, renewed and removed, and that counts begin
// at zero afterwards.
#include <gmock/gmock.h>

#include <algorithm>

#include "CounterStores.h"

namespace TrafficPolicyCli {
namespace {

using CounterStores::clear;
using CounterStores::everywhere;
using CounterStores::SnapshotTarget;
using CounterStores::Where;
using SmallState::stateOf;
using std::string;
using Lines = std::vector<string>;

// "policy name #identity packets[/bytes]", with the interface behind the name for its own row.
Lines linesOf(const TrafficPolicy::Counter& target) {
    Lines lines;
    const auto figures = [](Keel::UniqueId identity, PolicyMap::PacketAndByte count) {
        return " #" + identity.stringValue() + " " + std::to_string(count.packets) + "/" +
               std::to_string(count.bytes);
    };
    for (const auto& [key, version] : target.snapshot()) {
        lines.push_back(key.policyName + " " + key.className + " #" +
                        version.uniqueId.stringValue() + " " + std::to_string(version.packets));
    }
    for (const auto& [key, version] : target.namedSnapshot()) {
        const string name = key.policyName + " " + key.counterName;
        lines.push_back(name + figures(version->uniqueId(), version->totalCount()));
        for (const auto& [intfId, data] : version->perIntfCount()) {
            lines.push_back(name + " " + intfId.stringValue() +
                            figures(data->uniqueId(), data->countData()));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

Orb::Ptr<const TrafficPolicy::Status> statusOf(const string& policies) {
    return stateOf("{}", R"({"interfaceInput":{"policyMapStatus":)" + policies + "}}")
        .interfaceInput;
}

const string before = R"({"P":{
    "classCounter":{"r1":{"uniqueId":11,"packets":100,"bytes":9}},
    "namedCounter":{"c":{"uniqueId":21,"packets":200,"bytes":2000,"perIntfCount":{
        "E1":{"uniqueId":22,"packets":150,"bytes":1500},"E2":{"uniqueId":23,"packets":50,"bytes":500}}}}}})";

const Lines linesBefore = {"P c #21 200/2000", "P c E1 #22 150/1500", "P c E2 #23 50/500",
                           "P r1 #11 100"};

TEST(Snapshot, clearingRenewsWhatLivesAndRemovesWhatIsGone) {
    const struct {
        const char* name;
        string after;
        Lines lines;
    } rows[] = {
        {"nothing changed", before, linesBefore},
        {"counted on",
         R"({"P":{"classCounter":{"r1":{"uniqueId":11,"packets":18446744073709551615}},
             "namedCounter":{"c":{"uniqueId":21,"packets":9007199254740993,"bytes":1,"perIntfCount":{
                "E1":{"uniqueId":22,"packets":7,"bytes":70},"E2":{"uniqueId":23,"packets":8,"bytes":80}}}}}})",
         {"P c #21 9007199254740993/1", "P c E1 #22 7/70", "P c E2 #23 8/80",
          "P r1 #11 18446744073709551615"}},
        {"policy gone, another came",
         R"({"Q":{"classCounter":{"r1":{"uniqueId":41,"packets":4}}}})",
         {"Q r1 #41 4"}},
        {"one interface gone, one came",
         R"({"P":{"namedCounter":{"c":{"uniqueId":21,"packets":1,"bytes":2,"perIntfCount":{
             "E2":{"uniqueId":23,"packets":3,"bytes":4},"E3":{"uniqueId":24,"packets":5,"bytes":6}}}}}})",
         {"P c #21 1/2", "P c E2 #23 3/4", "P c E3 #24 5/6"}},
        {"an interface's record made anew",
         R"({"P":{"namedCounter":{"c":{"uniqueId":21,"packets":1,"bytes":2,"perIntfCount":{
             "E1":{"uniqueId":32,"packets":3,"bytes":4}}}}}})",
         {"P c #21 1/2", "P c E1 #32 3/4"}},
        {"all records made anew",
         R"({"P":{"classCounter":{"r1":{"uniqueId":31,"packets":1}},
             "namedCounter":{"c":{"uniqueId":41,"packets":2,"bytes":3,"perIntfCount":{
                "E2":{"uniqueId":43,"packets":4,"bytes":5}}}}}})",
         {"P c #41 2/3", "P c E2 #43 4/5", "P r1 #31 1"}},
    };
    for (const auto& row : rows) {
        for (const Where where : everywhere) {
            SCOPED_TRACE(string(row.name) + (where == Where::hive ? ", Hive" : ", Reef"));
            const auto target = Orb::make<TrafficPolicy::Counter>();
            clear(where, statusOf(before), target);
            EXPECT_EQ(linesOf(*target), linesBefore);
            const Orb::Seconds firstTime = target->timestamp();
            clear(where, statusOf(row.after), target);
            EXPECT_EQ(linesOf(*target), row.lines);
            EXPECT_GT(target->timestamp(), firstTime);
        }
    }
}

TEST(Snapshot, perInterfacePartIsWrittenFromReefOnlyOnRequest) {
    const auto target = Orb::make<TrafficPolicy::Counter>();
    clear(Where::reef, statusOf(before), target, false);
    EXPECT_EQ(linesOf(*target), (Lines{"P c #21 200/2000", "P r1 #11 100"}));
    clear(Where::reef, statusOf(before), target, true);
    EXPECT_EQ(linesOf(*target), linesBefore);
    // Rows of an earlier clear stay as they are while their interface lives.
    clear(Where::reef,
          statusOf(R"({"P":{"namedCounter":{"c":{"uniqueId":21,"packets":300,"bytes":3000,
        "perIntfCount":{"E1":{"uniqueId":22,"packets":250,"bytes":2500}}}}}})"),
          target, false);
    EXPECT_EQ(linesOf(*target), (Lines{"P c #21 300/3000", "P c E1 #22 150/1500"}));
    // A counter that was made anew begins without them.
    clear(Where::reef, statusOf(R"({"P":{"namedCounter":{"c":{"uniqueId":51,"packets":1,"bytes":1,
        "perIntfCount":{"E1":{"uniqueId":22,"packets":250,"bytes":2500}}}}}})"),
          target, false);
    EXPECT_EQ(linesOf(*target), (Lines{"P c #51 1/1"}));
}

TEST(Snapshot, absentOrDamagedStoreLeavesTheTargetAlone) {
    const auto target = Orb::make<TrafficPolicy::Counter>();
    clear(Where::reef, statusOf(before), target);
    target->timestampIs(Orb::Seconds(1));
    trafficPolicyHiveCounterSnapshotHelperFactory(nullptr, target)->clearCounter();
    trafficPolicyReefCounterSnapshotHelperFactory(nullptr, target, true)->clearCounter();
    const CounterStores::ReefFolder folder;
    const auto missing = folder.counters(CounterStores::Direction::input);
    testing::internal::CaptureStderr();
    const auto helper = trafficPolicyReefCounterSnapshotHelperFactory(missing, target, true);
    helper->clearCounter();
    EXPECT_TRUE(helper->hasNotificationActive());
    EXPECT_NE(testing::internal::GetCapturedStderr(), "") << "the corruption handler says so";
    EXPECT_NE(missing->manager()->damage(), "");
    EXPECT_EQ(linesOf(*target), linesBefore);
    EXPECT_EQ(target->timestamp(), Orb::Seconds(1));
}

// One policy is read, then the store is cut: nothing of the target changes.
TEST(Snapshot, aStoreThatIsCutHalfWayLeavesTheTargetAlone) {
    string rules;
    for (int rule = 0; rule < 1000; ++rule) {
        rules += (rule == 0 ? "\"" : ",\"") + std::to_string(rule) + R"(":{"uniqueId":7})";
    }
    const auto target = Orb::make<TrafficPolicy::Counter>();
    clear(Where::reef, statusOf(before), target);
    const CounterStores::ReefFolder folder;
    const auto source =
        folder.countersOf(statusOf(R"({"P":{"classCounter":{"r1":{"uniqueId":11,"packets":101}}},
                     "Q":{"classCounter":{)" +
                                   rules + "}}}"),
                          nullptr, CounterStores::Direction::input);
    source->manager()->directory();
    folder.cut(900);
    testing::internal::CaptureStderr();
    trafficPolicyReefCounterSnapshotHelperFactory(source, target, true)->clearCounter();
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(linesOf(*target), linesBefore);
}

TEST(Snapshot, ofARecordThatIsNotAvailableStays) {
    const auto target = Orb::make<TrafficPolicy::Counter>();
    clear(Where::reef, statusOf(before), target);
    const CounterStores::ReefFolder folder;
    const auto source =
        folder.countersOf(statusOf(R"({"P":{"classCounter":{"r1":{"uniqueId":11,"packets":101}},
            "namedCounter":{"c":{"uniqueId":21,"packets":300,"bytes":3000}}}})"),
                          nullptr, CounterStores::Direction::input);
    folder.leaveUnfinished(2);  // the rule's
    testing::internal::CaptureStderr();
    trafficPolicyReefCounterSnapshotHelperFactory(source, target, true)->clearCounter();
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(linesOf(*target), (Lines{"P c #21 300/3000", "P r1 #11 100"}));
}

}  // namespace
}  // namespace TrafficPolicyCli
