// Counts between two moments, as several people and a switch that goes on see them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Root and another user at the same time, each a policy of its own: nobody's clear is lost.
TEST_F(CountersOverTime, ClearsOfTwoUsersAtOnceStandBesideEachOther) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be two users";
    constexpr uid_t nobody = 65534;
    ::chmod(state_.path().c_str(), 0777);
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0777);
    const auto start = [&](const std::string& policy, bool asNobody) {
        const int output = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        return startTpcli(with({"clear", "traffic-policy", "counters", "policy", policy}), folder,
                          output, [=] {
                              if (!asNobody) return;
                              if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 ||
                                  ::setuid(nobody) != 0) {
                                  ::_exit(99);
                              }
                          });
    };
    for (int round = 0; round < 10; ++round) {
        const pid_t mine = start("P", false);
        const pid_t theirs = start("Q", true);
        ASSERT_EQ(waitFor(mine), 0);
        if (const int status = waitFor(theirs); status == 127) {
            GTEST_SKIP() << "another user cannot reach the program";
        } else {
            ASSERT_EQ(status, 0) << contentsOf(folder.file("errors"));
        }
    }
    const std::string json = outputOf({"--json", "show", "traffic-policy", "cpu", "counters"});
    EXPECT_THAT(json, HasSubstr(R"("r":{"totals":{"packetTotal":0}}},"lastClear":{"time":"20)"));
    EXPECT_THAT(json, HasSubstr(R"("user":"root")"));
    EXPECT_THAT(json, HasSubstr(R"("user":"nobody")"));
    const std::string text = outputOf({"show", "traffic-policy", "state"});
    EXPECT_THAT(text, HasSubstr("Last clear of CPU: never\n   only policy P: 20"));
    EXPECT_THAT(text, HasSubstr("Z, by nobody\n"));
    // Counts that fall below the clear are told.
    fileIs(state_.file("status.json"), statusOfTwo(8));
    EXPECT_THAT(outputOf({"--json", "show", "traffic-policy", "cpu", "counters"}),
                HasSubstr(R"("C":{"totals":{"packetTotal":0,"belowSnapshot":true}})"));
}

}  // namespace
