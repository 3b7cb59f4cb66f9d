// Snapshots written and read back.
#include <gmock/gmock.h>

#include "TemporaryState.h"

namespace {

using PolicyMap::PacketAndByte;
using StateDirectory::readSnapshots;
using StateDirectory::Snapshots;
using StateDirectory::snapshotsText;
using TrafficPolicy::CounterKey;
using TrafficPolicy::NamedCounterKey;

constexpr U64 largest = ~U64{0};

Snapshots someSnapshots() {
    Snapshots snapshots;
    auto& counter = *snapshots.interfaceInput;
    counter.timestampIs(Orb::Seconds(1716200000.123456));
    counter.userIs("o\"brien");
    counter.terminalIs("pts/3");
    counter.policyClearIs("Q", TrafficPolicy::Clear{Orb::Seconds(1716200001), "anna", ""});
    counter.policyClearIs("A", TrafficPolicy::Clear{Orb::Seconds(1716200002), "", ""});
    counter.snapshotIs(CounterKey{"P", "r2"}, TrafficPolicy::CounterVersion{{2}, 5});
    counter.snapshotIs(CounterKey{"P", "r\"1\\\xc3\xbc"},
                       TrafficPolicy::CounterVersion{{largest}, largest});
    counter.snapshotIs(CounterKey{"A", "r"}, TrafficPolicy::CounterVersion{{3}, 0});
    const auto& version = counter.namedSnapshotIs(NamedCounterKey{"P", "C"}, Keel::UniqueId{7});
    version->totalCountIs(PacketAndByte{9007199254740993, 64});
    version->perIntfCountIs(Wire::IntfId("Ethernet1"), Keel::UniqueId{8})
        ->countDataIs(PacketAndByte{1, 2});
    return snapshots;
}

TEST(Snapshots, ReadBackAsTheyWereWritten) {
    const std::string text = snapshotsText(someSnapshots());
    EXPECT_EQ(
        text,
        R"({"cpu":{"timestamp":0,"snapshot":{},"namedSnapshot":{}},)"
        R"("interfaceInput":{"timestamp":1716200000.123456,"user":"o\"brien","terminal":"pts/3",)"
        R"("policyClear":{"A":{"timestamp":1716200002},)"
        R"("Q":{"timestamp":1716200001,"user":"anna"}},"snapshot":{)"
        R"("A":{"r":{"uniqueId":3,"packets":0}},)"
        R"("P":{"r\"1\\ü":{"uniqueId":18446744073709551615,"packets":18446744073709551615},)"
        R"("r2":{"uniqueId":2,"packets":5}}},)"
        R"("namedSnapshot":{"P":{"C":{"uniqueId":7,"packets":9007199254740993,"bytes":64,)"
        R"("perIntfCount":{"Ethernet1":{"uniqueId":8,"packets":1,"bytes":2}}}}}},)"
        R"("interfaceOutput":{"timestamp":0,"snapshot":{},"namedSnapshot":{}}})"
        "\n");
    const TemporaryState directory;
    const Snapshots none = readSnapshots(directory.path());
    EXPECT_TRUE(none.cpu->snapshot().empty() && none.interfaceOutput->namedSnapshot().empty());
    EXPECT_EQ(none.interfaceInput->timestamp().count(), 0);
    directory.documentIs("snapshots", text);
    EXPECT_EQ(snapshotsText(readSnapshots(directory.path())), text);
}

TEST(Snapshots, NothingIsWrittenThatCouldNotBeReadBack) {
    for (const std::string name : {"", "a\nb", "a\xc2\x85", "a\xff"}) {
        Snapshots snapshots;
        snapshots.cpu->snapshotIs(CounterKey{"P", name}, TrafficPolicy::CounterVersion{{1}, 0});
        EXPECT_THROW(snapshotsText(snapshots), StateDirectory::StateError) << name;
    }
    Snapshots snapshots;
    snapshots.cpu->snapshotIs(CounterKey{"P", "r"}, TrafficPolicy::CounterVersion{{0}, 0});
    EXPECT_THROW(snapshotsText(snapshots), StateDirectory::StateError);
    Snapshots named;
    named.cpu->userIs("a\nb");
    EXPECT_THROW(snapshotsText(named), StateDirectory::StateError);
}

}  // namespace
