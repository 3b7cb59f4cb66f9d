// The counter store as its agent and its readers use it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "ReefScene.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/Record.h"

namespace ReefTest {

namespace {

using Reef::Increment;
using Reef::Record;
using Reef::RecordState;

void kill(pid_t child) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

class ReefStore : public ReefScene {
  protected:
    // A store of three rules whose packets and bytes agree, and so must ever after.
    void createPairs() const {
        auto status = Orb::make<TrafficPolicy::Status>();
        auto policy = Orb::make<PolicyMap::PolicyMapStatus>("p");
        for (const std::string rule : {"a", "b", "c"}) {
            policy->classCounterIs(rule, record(rule, {7, {}}));
        }
        status->policyMapStatusIs("p", policy);
        StoreWriter::create(path, status, nullptr, Identities::ofStatus);
    }
    // A child that counts a packet of 64 bytes into one of them after the other until it is killed;
    // returns when it has counted that many.
    pid_t countInChild(U64 packets) const {
        const pid_t child = ::fork();
        if (child == 0) {
            StoreWriter writer = StoreWriter::resume(path);
            const Increment increments[] = {{0, {1, 64}}, {1, {1, 64}}, {2, {1, 64}}};
            for (;;) writer.add(increments);
        }
        const auto store = manager();
        const U64 before = store->counts(2)->packets;
        for (auto now = store->counts(2); !now || now->packets < before + packets;) {
            std::this_thread::yield();
            now = store->counts(2);
        }
        return child;
    }
    static U64 packetsOf(const Orb::Ptr<StoreManager>& store, U32 counter) {
        const auto counts = store->counts(counter);
        EXPECT_TRUE(counts && counts->bytes == counts->packets * 64) << "counter " << counter;
        return counts ? counts->packets : 0;
    }
    // Whatever instant an agent is killed at, the next one continues with whole pairs.
    void killAgents(int times) const {
        createPairs();
        for (int i = 0; i < times && !HasFailure(); ++i) {
            kill(countInChild(1000));
            const StoreWriter writer = StoreWriter::resume(path);
            ASSERT_EQ(writer.recordsReset(), 0U);
            for (U32 counter = 0; counter < 3; ++counter) packetsOf(manager(), counter);
        }
    }
    void readUnderLoad(int reads) const {
        createPairs();
        const pid_t child = countInChild(1);
        const auto store = manager();
        U64 former = 1;
        for (int i = 0; i < reads && !HasFailure(); ++i) {
            const U64 packets = packetsOf(store, 1);
            EXPECT_GE(packets, former);
            former = packets;
        }
        kill(child);
    }
    // Where the record of a counter begins in the file.
    std::size_t placeOf(std::size_t counter) const {
        return contents().size() - (expected().size() - counter) * sizeof(Record);
    }
};
class ReefStoreSlow : public ReefStore {};

TEST_F(ReefStore, showsWhatItWasMadeFrom) {
    const StoreWriter writer = create();
    EXPECT_EQ(walk(manager()), expected());

    const auto view = reader();
    EXPECT_EQ(view.classCounterData({"edge", ""}, "dns")->count(), (PacketAndByte{1020, 65280}));
    EXPECT_EQ(view.classCounterData({"edge", ""}, "hits"), nullptr);
    EXPECT_EQ(view.classCounterData({"gone", ""}, "dns"), nullptr);
    EXPECT_EQ(view.namedCounterData({"core", ""}, "hits")->perIntfCount().size(), 2U);
    EXPECT_EQ(view.numClasses({"core", ""}), 4U);
    EXPECT_EQ(view.numNamedCounters({"core", ""}), 2U);
    EXPECT_EQ(view.numClasses({"none", ""}) + view.numNamedCounters({"gone", ""}), 0U);
    EXPECT_EQ(PolicyMapReefCounterStatusReader(nullptr).numClasses({"core", ""}), 0U);

    const PolicyMapTypeCounters counters(manager(), Direction::output);
    std::string policies;
    for (const auto& key : counters.policyMapKeys()) policies += key.policyName + " ";
    EXPECT_EQ(policies, "core edge none ");
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U & ~::umask(022));
}

TEST_F(ReefStore, takesAnEmptyState) {
    StoreWriter::create(path, nullptr, nullptr, Identities::ofStatus);
    EXPECT_EQ(walk(manager()), Figures());
}

TEST_F(ReefStore, keepsIdentitiesAndCountsWhenItIsContinued) {
    create();
    Figures figures = expected();
    {
        StoreWriter writer = StoreWriter::resume(path);
        const Increment increments[] = {{2, {1, 64}}, {0, {~U64{0}, 1}}, {2, {1, 64}}};
        writer.add(increments);
    }
    PacketAndByte& twice = figures["input core rule default"].count;
    twice = {twice.packets + 2, twice.bytes + 128};
    PacketAndByte& wrapped = figures["input core rule web"].count;
    wrapped = {wrapped.packets - 1, wrapped.bytes + 1};
    EXPECT_EQ(walk(manager()), figures);
    EXPECT_EQ(StoreWriter::resume(path).recordsReset(), 0U);
    EXPECT_EQ(walk(manager()), figures);
}

TEST_F(ReefStore, getsNewIdentitiesWhenItIsMadeAnew) {
    create();
    const auto early = manager();
    std::set<U64> identities;
    for (const auto& [name, figure] : walk(early)) identities.insert(figure.identity);
    for (int i = 0; i < 3; ++i) {
        create(Identities::unused);
        const Figures now = walk(manager());
        ASSERT_EQ(now.size(), expected().size());
        for (const auto& [name, figure] : now) {
            EXPECT_TRUE(identities.insert(figure.identity).second) << name;
            EXPECT_EQ(figure.count, expected()[name].count) << name;
        }
    }
    EXPECT_EQ(walk(early), expected()) << "the one that was open is another file";
}

// Each record in turn: one pair is gone, or both.
TEST_F(ReefStore, startsALostRecordUnderAnIdentityOfItsOwn) {
    create();
    Figures figures = expected();
    { StoreWriter::resume(path).add(std::vector<Increment>(1, {1, {5, 5}})); }
    ::chmod(path.c_str(), 0604);
    overwrite(placeOf(1) + 8, "damage to pair 0");
    const Reef::UsedIdentities used = {{7, {}}};
    EXPECT_EQ(StoreWriter::resume(path, used).recordsRestored(), 1U);
    EXPECT_EQ(walk(manager()), figures) << "the former pair";

    const std::string unused = "input core rule dns";
    overwrite(placeOf(1) + 32, "damage to pair 1");
    {
        StoreWriter writer = StoreWriter::resume(path, used);
        EXPECT_EQ(writer.recordsReset(), 1U);
        writer.add(std::vector<Increment>(1, {1, {2, 128}}));
    }
    Figures now = walk(manager());
    EXPECT_GT(now[unused].identity, 1000U);
    EXPECT_EQ(now[unused].count, (PacketAndByte{2, 128}));
    const U64 first = now[unused].identity;
    now[unused] = figures[unused];
    EXPECT_EQ(now, figures) << "the others stay";
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0604U);

    // Neither of the used ones, whatever the clock says.
    Reef::UnusedIdentities identities({});
    const U64 next = identities.next();
    Reef::UnusedIdentities others({{next + 1, {}}, {next + 2, {}}});
    for (int i = 0; i < 4; ++i) EXPECT_FALSE(others.used().contains(others.next()));
    EXPECT_NE(first, next);
    // A store that was lost: what counts less now than was kept of it gets another identity, the
    // rest its own.
    const auto [identity, count] = figures[unused];
    for (const bool isLess : {false, true}) {
        std::filesystem::remove(path);
        StoreWriter::create(path, input.status, output.status, Identities::ofStatus,
                            {{identity, {count.packets, count.bytes + (isLess ? 1 : 0)}}});
        now = walk(manager());
        EXPECT_EQ(now[unused].identity != identity, isLess);
        now[unused].identity = identity;
        EXPECT_EQ(now, figures);
    }
}

TEST_F(ReefStore, hasOneAgentAtATimeAndTellsWhyItCannotBeMade) {
    const StoreWriter writer = create();
    EXPECT_THROW(StoreWriter::resume(path), std::runtime_error);
    EXPECT_THROW(create(Identities::unused), std::runtime_error);
    EXPECT_EQ(walk(manager()), expected());
    EXPECT_FALSE(std::filesystem::exists(path + ".new"));

    path = folder + "/none/counters.reef";
    EXPECT_THROW(create(), std::runtime_error);
    path = folder + "/link";
    std::filesystem::create_symlink(folder + "/elsewhere", path);
    EXPECT_THROW(create(), std::runtime_error);
    EXPECT_THROW(StoreWriter::resume(path), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(folder + "/elsewhere"));
}

TEST_F(ReefStore, ofADeadWriterLosesOnlyTheUnfinishedRecord) {
    create();
    // Counter 1 is the rule "dns" of the input policy "core"; its writer got half-way.
    overwrite(placeOf(1), std::string("\x03\0\0\0\0\0\0\0\x77", 9));
    CaptureStderr();
    const auto store = manager();
    Figures figures = expected();
    figures.erase("input core rule dns");
    EXPECT_EQ(walk(store), figures);
    EXPECT_EQ(walk(store), figures);
    EXPECT_EQ(store->recordsNotAvailable(), 1U);
    EXPECT_EQ(GetCapturedStderr(),
              "counter store " + path + ": the record of input policy core, rule dns was left " +
                  "unfinished by an agent that is gone; its counts are not available\n");
    EXPECT_EQ(StoreWriter::resume(path).recordsReset(), 0U);
    EXPECT_EQ(walk(store), expected());
}

TEST_F(ReefStore, waitsAtMostASecondForAStuckWriter) {
    const StoreWriter writer = create();
    for (const std::size_t counter : {1, 2, 3, 6}) overwrite(placeOf(counter), "\x03");
    CaptureStderr();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(walk(manager()).size(), expected().size() - 4);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(900));
    EXPECT_LE(took, std::chrono::milliseconds(1500));
    const std::string lines = GetCapturedStderr();
    EXPECT_NE(lines.find("rule dns stays unfinished by its agent;"), std::string::npos) << lines;
}

TEST_F(ReefStore, continuesAfterAgentsWereKilled) { killAgents(10); }

TEST_F(ReefStoreSlow, continuesAfterManyAgentsWereKilled) { killAgents(300); }

TEST_F(ReefStore, tearsNoPairUnderLoad) { readUnderLoad(50'000); }

TEST_F(ReefStoreSlow, tearsNoPairInAMillionReads) { readUnderLoad(1'000'000); }

TEST(ReefRecordThreads, shareARecordWithoutARace) {
    Record record;
    record.write(5, {});
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (U64 i = 1; i <= 20'000; ++i) record.write(5, {i, i * 64});
        done = true;
    });
    PacketAndByte counts;
    U64 former = 0;
    int damaged = 0;
    while (!done) {
        const RecordState state = record.read(5, counts);
        if (state == RecordState::inProgress) continue;
        damaged += state == RecordState::damaged || counts.bytes != counts.packets * 64 ||
                   counts.packets < former;
        former = counts.packets;
    }
    writer.join();
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(record.read(5, counts), RecordState::whole);
    EXPECT_EQ(counts.packets, 20'000U);
}

// As a process sees it: with a byte changed.
struct DamagedRecord : Record {
    DamagedRecord(const Record& whole, std::size_t at, int bits) {
        std::memcpy(static_cast<void*>(this), static_cast<const void*>(&whole), sizeof whole);
        reinterpret_cast<unsigned char*>(this)[at] ^= static_cast<unsigned char>(bits);
    }
};

TEST(ReefRecord, isFoundOutAndMendedWhenAnyBitChanges) {
    // The sequence of the third write becomes that of the second by one bit.
    Record record;
    for (const U64 packets : {U64{1000}, U64{1001}, U64{1002}}) {
        record.write(5, {packets, packets * 64});
    }
    PacketAndByte counts;
    for (std::size_t bit = 0; bit < sizeof record * 8; ++bit) {
        DamagedRecord damaged(record, bit / 8, 1 << bit % 8);
        const bool isOfSequence = bit < 64;
        const bool isOfPairInForce = bit / 64 >= 4 && bit / 64 < 7;
        ASSERT_EQ(damaged.read(5, counts) == RecordState::whole, !isOfSequence && !isOfPairInForce)
            << "bit " << bit;
        // The pair in force is the second one; without it there is the one before. Neither fits a
        // sequence that is far off.
        const bool isLost = isOfSequence && bit > 2;
        ASSERT_EQ(damaged.restore(5), !isLost) << "bit " << bit;
        if (isLost) continue;
        ASSERT_EQ(damaged.read(5, counts), RecordState::whole) << "bit " << bit;
        const U64 packets = isOfPairInForce ? 1001 : 1002;
        ASSERT_EQ(counts, (PacketAndByte{packets, packets * 64})) << "bit " << bit;
        damaged.write(5, {7, 7});
        ASSERT_EQ(damaged.read(5, counts), RecordState::whole) << "bit " << bit;
        ASSERT_EQ(counts.packets, 7U);
    }
    EXPECT_EQ(record.read(6, counts), RecordState::damaged) << "the record of another counter";
    EXPECT_FALSE(record.restore(6));
}

// A writer that dies between any two words of a write.
TEST(ReefRecord, isWholeAgainWhereverItsWriterDied) {
    Record record;
    U64 words[2][8];
    for (const U64 packets : {U64{1}, U64{2}, U64{3}}) {
        record.write(5, {packets, packets});
        if (packets > 1) {
            std::memcpy(words[packets - 2], static_cast<const void*>(&record), sizeof record);
        }
    }
    words[0][0] += 1;  // the sequence while a write is under way
    std::size_t written = 0;
    for (const std::size_t word : {4U, 5U, 6U, 0U}) {
        Record left;
        std::memcpy(static_cast<void*>(&left), words[0], sizeof left);
        PacketAndByte counts;
        EXPECT_EQ(left.read(5, counts), RecordState::inProgress);
        EXPECT_TRUE(left.restore(5));
        EXPECT_EQ(left.read(5, counts), RecordState::whole);
        EXPECT_EQ(counts.packets, written == 3 ? 3U : 2U);
        words[0][word] = words[1][word];
        ++written;
    }
}

}  // namespace

}  // namespace ReefTest
