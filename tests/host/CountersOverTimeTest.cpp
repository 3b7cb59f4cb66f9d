// Counts between two moments, as several people and a switch that goes on see them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "Process.h"

namespace {

using testing::HasSubstr;

constexpr const char* twoPolicies = R"({"policyMapConfig": {
    "P": {"currCfg": {"namedCounter": ["C"], "rules": [
        {"name": "r", "priority": 1, "action": {"count": {}}},
        {"name": "c", "priority": 2, "action": {"count": {"counterName": "C"}}}]}},
    "Q": {"currCfg": {"rules": [{"name": "r", "priority": 1, "action": {"count": {}}}]}}}})";

std::string statusOfTwo(int packets) {
    const std::string figures = R"({"uniqueId": 1, "packets": )" + std::to_string(packets) + "}";
    return R"({"cpu": {"policyMapStatus": {
        "P": {"classMapStatus": {"r": ["ipv4"], "c": ["ipv4"]}, "classCounter": {"r": )" +
           figures + R"(}, "namedCounter": {"C": )" + figures + R"(}},
        "Q": {"classMapStatus": {"r": ["ipv4"]}, "classCounter": {"r": )" +
           figures + "}}}}}";
}

class CountersOverTime : public testing::Test {
  protected:
    std::vector<std::string> with(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--state", state_.path()});
        return arguments;
    }
    std::string outputOf(const std::vector<std::string>& arguments) const {
        return runTpcli(with(arguments)).output;
    }

    StateFixture state_{twoPolicies, statusOfTwo(9)};
};

std::string nameOf(uid_t user) {
    const passwd* const entry = ::getpwuid(user);
    return entry == nullptr ? "uid " + std::to_string(user) : entry->pw_name;
}

// Two users at the same time, each a policy of its own: nobody's clear is lost. Where the second
// one cannot be another user, both are the same.
TEST_F(CountersOverTime, ClearsOfTwoUsersAtOnceStandBesideEachOther) {
    ::chmod(state_.path().c_str(), 0777);
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0777);
    const auto start = [&](const std::vector<std::string>& arguments, uid_t user) {
        const int output = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        return startTpcli(arguments, folder, output, [=] {
            if (user == ::geteuid()) return;
            if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) {
                ::_exit(99);
            }
        });
    };
    const auto startClear = [&](const std::string& policy, uid_t user) {
        return start(with({"clear", "traffic-policy", "counters", "policy", policy}), user);
    };
    // Only root can be another user, who may not reach the program.
    constexpr uid_t nobody = 65534;
    const uid_t me = ::geteuid();
    const uid_t other = waitFor(start({"--version"}, nobody)) == 0 ? nobody : me;
    for (int round = 0; round < 10; ++round) {
        const pid_t mine = startClear("P", me);
        const pid_t theirs = startClear("Q", other);
        ASSERT_EQ(waitFor(mine), 0);
        ASSERT_EQ(waitFor(theirs), 0) << contentsOf(folder.file("errors"));
    }
    const std::string json = outputOf({"--json", "show", "traffic-policy", "cpu", "counters"});
    EXPECT_THAT(json, HasSubstr(R"("r":{"totals":{"packetTotal":0}}},"lastClear":{"time":"20)"));
    EXPECT_THAT(json, HasSubstr(R"("user":")" + nameOf(me) + '"'));
    EXPECT_THAT(json, HasSubstr(R"("user":")" + nameOf(other) + '"'));
    const std::string text = outputOf({"show", "traffic-policy", "state"});
    EXPECT_THAT(text, HasSubstr("Last clear of CPU: never\n   only policy P: 20"));
    EXPECT_THAT(text, HasSubstr("Z, by " + nameOf(other) + "\n"));
    // Counts that fall below the clear are told.
    fileIs(state_.file("status.json"), statusOfTwo(8));
    EXPECT_THAT(outputOf({"--json", "show", "traffic-policy", "cpu", "counters"}),
                HasSubstr(R"("C":{"totals":{"packetTotal":0,"belowSnapshot":true}})"));
}

// A switch that counts in the shared-memory store.
class CountingSwitch : public testing::Test {
  protected:
    CountingSwitch() { ::setenv("XDG_STATE_HOME", home_.path().c_str(), 1); }
    ~CountingSwitch() override {
        stopAgent();
        ::unsetenv("XDG_STATE_HOME");
    }

    void startAgent(const std::vector<std::string>& options) {
        stopAgent();
        std::vector<std::string> arguments = {COUNTERAGENT_PATH, "--state", state_.path()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        agent_ = startProgram(arguments, -1, "/dev/null");
    }
    void stopAgent() {
        if (agent_ <= 0) return;
        ::kill(agent_, SIGTERM);
        waitFor(agent_);
        agent_ = -1;
    }
    // Counts the agent's packets once, without going on.
    void store(const std::vector<std::string>& options) {
        startAgent(options);
        waitFor(agent_);
        agent_ = -1;
    }
    Outcome run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--state", state_.path()});
        return runTpcli(arguments);
    }
    std::string counters(std::vector<std::string> more) const {
        std::vector<std::string> words = {"show", "traffic-policy", "interface", "counters"};
        words.insert(words.end(), more.begin(), more.end());
        return run(words).output;
    }

    const TemporaryFolder home_;
    StateFixture state_{
        R"({"policyMapConfig": {"P": {"currCfg": {"rules": [
            {"name": "r", "priority": 1, "action": {"count": {}}},
            {"name": "s", "priority": 2, "action": {"count": {}}}]}}}})",
        R"({"hwStatus": {"countersInReef": true}, "interfaceInput": {"policyMapStatus": {"P": {
            "classMapStatus": {"r": ["ipv4"], "s": ["ipv4"]}, "classCounter": {
            "r": {"uniqueId": 1, "packets": 10}, "s": {"uniqueId": 2}}}}}})"};
    pid_t agent_ = -1;
};

TEST_F(CountingSwitch, RatesComeFromTheStore) {
    store({"--once"});
    EXPECT_THAT(counters({"rate", "0.1"}), HasSubstr("r: 0 packets/s, 10 packets\n"));
    startAgent({"--rate", "P/r=max"});
    std::string text;
    do text = counters({"rate", "0.2"});
    while (text.find("r: 0 packets/s") != text.npos);
    EXPECT_THAT(text, testing::ContainsRegex("rule: r: [1-9][0-9]+ packets/s, [0-9]+ packets"));
    // The agent makes the store anew between the looks.
    const TemporaryFolder folder;
    const int output = ::open(folder.file("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    stopAgent();
    const pid_t show = startTpcli(
        {"--state", state_.path(), "show", "traffic-policy", "interface", "counters", "rate", "3"},
        folder, output);
    // The first look is over when the store is open.
    const std::string maps = "/proc/" + std::to_string(show) + "/maps";
    for (int i = 0; i < 2000 && contentsOf(maps).find("counters.reef") == std::string::npos; ++i) {
        ::usleep(1000);
    }
    ::usleep(100000);
    store({"--once", "--recreate"});
    EXPECT_EQ(waitFor(show), 0);
    EXPECT_THAT(contentsOf(folder.file("output")),
                HasSubstr("match rule: r: counter restarted, 10 packets\n"));
}

TEST_F(CountingSwitch, MarksOutlastTheAgent) {
    EXPECT_EQ(run({"mark", "early"}).status, 2);  // no store yet
    store({"--once"});
    EXPECT_EQ(run({"mark", "before"}).output, "Marked 2 traffic-policy counters as before\n");
    EXPECT_THAT(counters({"since", "before"}), HasSubstr("match rule: r: 0 packets\n"));
    EXPECT_THAT(counters({}), HasSubstr("match rule: r: 10 packets\n"));
    startAgent({"--rate", "P/r=max"});
    while (counters({"since", "before"}).find("r: 0 packets") != std::string::npos) {
    }
    stopAgent();
    // A restart goes on with the records.
    store({"--once"});
    const std::string text = counters({"nonzero", "since", "before"});
    EXPECT_THAT(text, testing::ContainsRegex("^Counts since mark before of 20[^ ]+Z:\n"));
    EXPECT_THAT(text, testing::ContainsRegex("match rule: r: [1-9][0-9]* packets\n$"));
    // Records made anew have nothing to do with the mark.
    store({"--once", "--recreate"});
    EXPECT_THAT(counters({"since", "before"}), HasSubstr("match rule: r: 10 packets\n"));

    struct stat status {};
    std::size_t documents = 0;
    for (const auto& entry : std::filesystem::directory_iterator(home_.path() + "/tpcli")) {
        if (entry.path().extension() != ".json") continue;
        ++documents;
        ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600U);
    }
    EXPECT_EQ(documents, 1U);
    EXPECT_FALSE(std::filesystem::exists(state_.file("snapshots.lock")));

    EXPECT_THAT(run({"show", "marks"}).output, testing::ContainsRegex("^before: 20.*, 2 counters"));
    EXPECT_THAT(run({"--json", "show", "marks"}).output,
                testing::ContainsRegex(
                    R"(^\{"marks":\[\{"mark":"before","time":"20[^"]+Z","counters":2\}\]\})"));
    ::setenv("TPCLI_STATE", state_.path().c_str(), 1);
    EXPECT_EQ(runTpcli({"--complete", "delete", "mark", "be"}).output, "before\n");
    ::unsetenv("TPCLI_STATE");
    const Outcome wrong = run({"show", "traffic-policy", "cpu", "counters", "since", "nothing"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_THAT(wrong.errors, HasSubstr("\"nothing\" is no mark of yours"));
    EXPECT_EQ(run({"delete", "mark", "before"}).output, "Deleted mark before\n");
    EXPECT_EQ(run({"delete", "mark", "before"}).status, 1);
    EXPECT_EQ(run({"--json", "mark", "x"}).output, R"({"mark":"x","markedCounters":2})"
                                                   "\n");
    EXPECT_EQ(run({"--json", "delete", "mark", "x"}).output, R"({"deleted":"x"})"
                                                             "\n");
    EXPECT_EQ(run({"show", "marks"}).output, "No marks.\n");
}

// Of status documents and the CPU, and of each interface.
TEST_F(CountingSwitch, MarksHoldEveryKindOfCounter) {
    const std::string branch = EXAMPLES_DIR "/branch";
    EXPECT_EQ(runTpcli({"--state", branch, "mark", "x"}).output,
              "Marked 8 traffic-policy counters as x\n");
    EXPECT_THAT(runTpcli({"--state", branch, "show", "traffic-policy", "interface", "counters",
                          "since", "x"})
                    .output,
                HasSubstr("match rule: 50-rest: 0 packets\n"));
    for (const char* const name : {"config.json", "status.json"}) {
        fileIs(state_.file(name), contentsOf(EXAMPLES_DIR "/campus/" + std::string(name)));
    }
    store({"--once"});
    run({"mark", "x"});
    EXPECT_THAT(counters({"since", "x"}), HasSubstr("Ethernet49/1: 0 packets 0 bytes\n"));
    EXPECT_THAT(run({"show", "traffic-policy", "cpu", "counters", "since", "x"}).output,
                HasSubstr("match rule: ssh: 0 packets\n"));
    // What others cleared stays told.
    fileIs(state_.file("snapshots.json"),
           R"({"interfaceOutput": {"timestamp": 1, "user": "anna", "terminal": "pts/9"}})");
    for (const char* const policy : {"EDGE-OUT", "SERVER-FARM"}) {
        EXPECT_THAT(run({"--json", "clear", "traffic-policy", "counters", "policy", policy}).output,
                    testing::ContainsRegex("^\\{\"clearedCounters\":[1-9][0-9]*\\}\n$"));
    }
    EXPECT_THAT(
        run({"show", "traffic-policy", "state"}).output,
        testing::ContainsRegex("output: 1970-01-01T00:00:01Z, by anna on pts/9\n"
                               " *only policy EDGE-OUT: 20.*\n *only policy SERVER-FARM: 20"));
}

}  // namespace
