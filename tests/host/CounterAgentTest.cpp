// counteragent as its users run it, on a state of one rule and one counter per interface.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "Process.h"
#include "reef/PolicyMapTypeCounters.h"

namespace {

using PolicyMap::PacketAndByte;
using PolicyMap::Counters::Direction;
using PolicyMap::Counters::PolicyMapCounters;
using PolicyMap::Counters::PolicyMapTypeCounters;

const std::string status = R"({"interfaceInput": {"policyMapStatus": {"EDGE": {
    "classCounter": {"web": {"uniqueId": 1, "packets": 10, "bytes": 9000}},
    "namedCounter": {"HITS": {"uniqueId": 2, "packets": 5, "bytes": 320, "perIntfCount": {
        "Ethernet1": {"uniqueId": 3, "packets": 4, "bytes": 256},
        "Ethernet2": {"uniqueId": 4, "packets": 1, "bytes": 64}}}}}}}})";

class CounterAgent : public testing::Test {
  protected:
    // Runs the agent to its end.
    Outcome run(const std::string& arguments) {
        const std::string errors = state_.file("errors");
        const std::string command =
            COUNTERAGENT_PATH " --state " + state_.path() + " " + arguments + " 2>" + errors;
        const int result = std::system(command.c_str());
        return {WEXITSTATUS(result), "", contentsOf(errors)};
    }
    // Starts an agent that counts, lets it, and ends it by the signal. Returns its exit status.
    int countUntil(int signal, const std::string& rate, const std::function<void()>& meanwhile) {
        // The store must not become the descriptor of the standard output.
        const pid_t process = startProgram(
            {COUNTERAGENT_PATH, "--state", state_.path(), "--rate", rate}, -1, "/dev/null");
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const PacketAndByte before = counters().namedCounter.front()->count();
        while (counters().namedCounter.front()->count() == before &&
               std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        meanwhile();
        ::kill(process, signal);
        return waitFor(process);
    }
    std::string store() const { return state_.file("counters.reef"); }
    PolicyMapCounters counters() const {
        const auto manager = Orb::make<Reef::StoreManager>(store());
        return PolicyMapTypeCounters(manager, Direction::input).policyMapCounters({"EDGE"});
    }

    StateFixture state_{"{}", status};
};

TEST_F(CounterAgent, countsUntilItIsStoppedAndGoesOnLater) {
    EXPECT_EQ(run("--once").status, 0);
    EXPECT_EQ(counters().classCounter.front()->count(), (PacketAndByte{10, 9000}));
    PacketAndByte former = counters().namedCounter.front()->count();
    for (const auto& [signal, rate] :
         {std::pair(SIGTERM, "EDGE/HITS=1000"), std::pair(SIGINT, "EDGE/HITS=max")}) {
        EXPECT_EQ(countUntil(signal, rate, [] {}), 0);
        const PolicyMapCounters now = counters();
        ASSERT_EQ(now.namedCounter.size(), 1U);
        const auto& hits = *now.namedCounter.front();
        EXPECT_EQ(hits.uniqueId().value, 2U);
        EXPECT_GT(hits.count().packets, former.packets);
        PacketAndByte sum;
        for (const auto& [intfId, data] : hits.perIntfCount()) {
            sum.packets += data->countData().packets;
            sum.bytes += data->countData().bytes;
        }
        EXPECT_EQ(sum, hits.count());
        EXPECT_EQ(hits.count().bytes, hits.count().packets * 64);
        EXPECT_EQ(now.classCounter.front()->count(), (PacketAndByte{10, 9000}));
        former = hits.count();
    }
    // Only a request makes it anew.
    EXPECT_EQ(run("--once").status, 0);
    EXPECT_EQ(counters().namedCounter.front()->count(), former);
    EXPECT_EQ(run("--once --recreate").status, 0);
    EXPECT_EQ(counters().namedCounter.front()->count(), (PacketAndByte{5, 320}));
    EXPECT_GT(counters().namedCounter.front()->uniqueId().value, 4U);
}

// A snapshot of a counter that is gone must not apply to the one that begins in its place.
TEST_F(CounterAgent, givesNoIdentityTwice) {
    const auto identities = [&] {
        const PolicyMapCounters now = counters();
        const auto& hits = *now.namedCounter.front();
        std::vector<U64> found = {now.classCounter.front()->uniqueId().value};
        found.push_back(hits.uniqueId().value);
        for (const auto& [intfId, data] : hits.perIntfCount()) {
            found.push_back(data->uniqueId().value);
        }
        return found;
    };
    const std::string snapshots = R"({"interfaceInput": {"snapshot": {"EDGE": {"web": {
        "uniqueId": 1, "packets": 5000}}}, "namedSnapshot": {"EDGE": {"HITS": {"uniqueId": 9,
        "perIntfCount": {"Ethernet1": {"uniqueId": 3, "packets": 4000}}}}}}})";
    EXPECT_EQ(run("--once").status, 0);
    EXPECT_EQ(identities(), (std::vector<U64>{1, 2, 3, 4}));
    fileIs(state_.file("snapshots.json"), snapshots);
    std::filesystem::remove(store());
    EXPECT_EQ(run("--once").status, 0);
    const auto lost = identities();
    EXPECT_TRUE(lost[0] > 9 && lost[1] == 2 && lost[2] > 9 && lost[3] == 4);

    // The rule's record, whose both pairs are damaged.
    std::fstream(store(), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(static_cast<std::streamoff>(std::filesystem::file_size(store())) - 4 * 64 + 8)
        .write(std::string(48, 'x').data(), 48);
    const Outcome outcome = run("--once");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "counteragent: counter store " + store() +
                                  ": 1 damaged records count from 0 again, as new counters\n");
    EXPECT_EQ(counters().classCounter.front()->count(), (PacketAndByte{0, 0}));
    const auto damaged = identities();
    EXPECT_TRUE(damaged[0] > lost[0] && damaged[1] == 2 && damaged[2] == lost[2]);

    // Snapshots that cannot be read may hold any.
    std::filesystem::remove(store());
    std::filesystem::remove(state_.file("snapshots.json"));
    std::filesystem::create_directory(state_.file("snapshots.json"));
    EXPECT_EQ(run("--once").status, 0);
    EXPECT_GT(identities()[1], 9U);
}

// What stands in the way is named, and nothing is advised that would not help.
TEST_F(CounterAgent, tellsWhatIsNoStore) {
    run("--once");
    for (const std::string name : {".new", ""}) {
        const std::string path = store() + name;
        std::filesystem::remove(path);
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
        const Outcome outcome = run("--once --recreate");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.errors, "counteragent: counter store " + path +
                                      ": it is not a regular file; move it away first\n");
        EXPECT_EQ(run("--once").status, name.empty() ? 2 : 0);
        EXPECT_EQ(std::filesystem::remove(path), true);
    }
}

TEST_F(CounterAgent, keepsOthersOut) {
    run("--once");
    const int ended = countUntil(SIGTERM, "1000", [&] {
        for (const char* arguments : {"", "--recreate"}) {
            const Outcome second = run(arguments);
            EXPECT_EQ(second.status, 2);
            EXPECT_EQ(second.errors, "counteragent: counter store " + store() +
                                         ": another agent is counting into it\n");
        }
    });
    EXPECT_EQ(ended, 0);
}

TEST_F(CounterAgent, refusesWhatItCannotDo) {
    const struct {
        const char* arguments;
        const char* errors;
    } rows[] = {
        {"--rat 5",
         "unknown option \"--rat\", expected --state, --recreate, --once, --rate, --help or "
         "--version"},
        {"now", "\"now\" is not an option; --help lists them"},
        {"--rate", "--rate needs a value, expected a rate"},
        {"--once=1", "--once takes no value"},
        {"--rate 1e3",
         "--rate: \"1e3\" is not a number, expected a number 0 to 1000000000000 or max"},
        {"--rate 1000000000001",
         "--rate: \"1000000000001\" is out of range, expected a number 0 to 1000000000000 or max"},
        {"--rate 010", "--rate: \"010\" has leading zeros, expected 10"},
        {"--rate HITS=3",
         "--rate: \"HITS\" is not a counter, expected POLICY/RULE or POLICY/COUNTER"},
        {"--rate EDGE/HIT=3",
         "--rate: the store has no counter \"EDGE/HIT\", expected POLICY/RULE or POLICY/COUNTER"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(row.arguments);
        EXPECT_EQ(outcome.status, 1) << row.arguments;
        EXPECT_EQ(outcome.errors, "counteragent: " + std::string(row.errors) + "\n");
    }
    std::filesystem::resize_file(store(), 10);
    const Outcome damaged = run("--once");
    EXPECT_EQ(damaged.status, 2);
    EXPECT_EQ(damaged.errors, "counteragent: counter store " + store() +
                                  ": it is shorter than its header says; --recreate makes it "
                                  "anew\n");
    fileIs(state_.file("status.json"), "{");
    EXPECT_EQ(run("--once --recreate").status, 2);
    EXPECT_EQ(std::filesystem::file_size(store()), 10U);
}

}  // namespace
