// A clear that dies at any instant: the snapshots are those of before or those of after, whole, and
// the next commands work.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "Process.h"

namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr int ruleCount = 600;

// The text for every rule, with its number for each "@", between commas.
std::string listOf(const std::string& text) {
    std::string list;
    for (int rule = 0; rule < ruleCount; ++rule) {
        if (rule > 0) list += ", ";
        for (const char c : text) list += c == '@' ? std::to_string(rule) : std::string(1, c);
    }
    return list;
}

std::string config() {
    return R"({"policyMapConfig": {"EDGE": {"currCfg": {"rules": [)" +
           listOf(R"({"name": "r@", "priority": @, "action": {"count": {}}})") + "]}}}}";
}

std::string statusWith(int packets) {
    return R"({"cpu": {"policyMapStatus": {"EDGE": {"classMapStatus": {)" +
           listOf(R"("r@": ["ipv4"])") + R"(}, "classCounter": {)" +
           listOf(R"("r@": {"uniqueId": 1, "packets": )" + std::to_string(packets) + "}") + "}}}}}";
}

class KilledClearSlow : public testing::Test {
  protected:
    KilledClearSlow() {
        clear();
        before_ = contentsOf(document_);
        fileIs(state_.file("status.json"), statusWith(9));
        const auto begin = steady_clock::now();
        clear();
        duration_ = std::chrono::duration_cast<microseconds>(steady_clock::now() - begin);
        after_ = withoutTime(contentsOf(document_));
        EXPECT_NE(withoutTime(before_), after_);
    }

    void clear() const {
        const Outcome outcome =
            runTpcli({"--state", state_.path(), "clear", "traffic-policy", "counters"});
        EXPECT_THAT(outcome.output, testing::StartsWith("Cleared")) << outcome.errors;
    }
    // A process that clears, stopped before its first instruction when it is to be traced.
    pid_t start(bool traced, const std::string& output = "/dev/null") const {
        fileIs(document_, before_);
        std::filesystem::remove(lock_);
        return startProgram(
            {TPCLI_PATH, "--state", state_.path(), "clear", "traffic-policy", "counters"},
            ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), "/dev/null",
            [&] {
                if (traced && ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(0);
            });
    }
    static void kill(pid_t process) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    // Kills or interrupts a clear, and waits for its end, when, once it has made its lock, it has
    // entered or left that many system calls. False when it ended before.
    bool signalAtStop(int count, int signal, const std::string& output = "/dev/null") const {
        const pid_t process = start(true, output);
        int status = 0;
        while (::waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
            if (std::filesystem::exists(lock_) && count-- == 0) {
                ::kill(process, signal);
                ::ptrace(PTRACE_DETACH, process, nullptr, nullptr);
                ::waitpid(process, nullptr, 0);
                return true;
            }
            ::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
        }
        return false;
    }
    // Says which snapshots stand, 0 for those of before, 1 for those of after, and expects a show
    // to work with them.
    int standing() const {
        const std::string text = withoutTime(contentsOf(document_));
        const bool isAfter = text == after_;
        EXPECT_TRUE(isAfter || text == withoutTime(before_)) << text.substr(0, 200);
        const Outcome show =
            runTpcli({"--state", state_.path(), "show", "traffic-policy", "cpu", "counters"});
        EXPECT_EQ(show.status, 0) << show.errors;
        EXPECT_NE(show.output.find(isAfter ? ": 0 packets\n" : ": 4 packets\n"), std::string::npos);
        return isAfter ? 1 : 0;
    }
    bool hasTemporaries() const {
        for (const auto& entry : std::filesystem::directory_iterator(state_.path())) {
            if (entry.path().filename().string().find(".new-") != std::string::npos) return true;
        }
        return false;
    }

    microseconds duration_{};

  private:
    static std::string withoutTime(const std::string& text) {
        constexpr std::string_view key = "\"timestamp\":";
        std::string result;
        std::size_t begin = 0;
        for (std::size_t at = 0; (at = text.find(key, begin)) != text.npos;) {
            result.append(text, begin, at - begin);
            begin = text.find_first_not_of("0123456789.", at + key.size());
        }
        return result.append(text, begin);
    }

    StateFixture state_{config(), statusWith(5)};
    std::string document_ = state_.file("snapshots.json");
    std::string lock_ = state_.file("snapshots.lock");
    std::string before_;
    std::string after_;
};

TEST_F(KilledClearSlow, leavesWholeSnapshotsAtEachSystemCall) {
    int found[2] = {0, 0};
    bool leftTemporary = false;
    int stop = 0;
    while (signalAtStop(stop, SIGKILL)) {
        ++found[standing()];
        leftTemporary = leftTemporary || hasTemporaries();
        if (HasFailure()) FAIL() << "at stop " << stop;
        ++stop;
    }
    // Opening, writing and syncing lie before the new document stands, syncing the directory and
    // the report behind it.
    EXPECT_GT(found[0], 20) << "of " << stop;
    EXPECT_GT(found[1], 4) << "of " << stop;
    EXPECT_TRUE(leftTemporary);
    clear();
    EXPECT_FALSE(hasTemporaries());
}

TEST_F(KilledClearSlow, saysWhatItDidWhereverItIsInterrupted) {
    const TemporaryFolder folder;
    const std::string output = folder.file("output");
    int found[2] = {0, 0};
    for (int stop = 0; signalAtStop(stop, SIGINT, output) && !HasFailure(); ++stop) {
        const int which = standing();
        ++found[which];
        const std::string text = contentsOf(output);
        EXPECT_EQ(text.find("Cleared") != std::string::npos, which == 1) << stop << ": " << text;
        EXPECT_EQ(text.find("exiting interrupted") == 0, which == 0) << stop << ": " << text;
        EXPECT_FALSE(hasTemporaries());
    }
    EXPECT_GT(found[0], 20);
    EXPECT_GT(found[1], 4);
}

TEST_F(KilledClearSlow, leavesWholeSnapshotsAtRandomInstants) {
    std::mt19937 random(1);
    int found[2] = {0, 0};
    for (int kills = 0; kills < 200; ++kills) {
        const pid_t process = start(false);
        std::this_thread::sleep_for(microseconds(random() % duration_.count()));
        kill(process);
        ++found[standing()];
        if (HasFailure()) FAIL() << "at kill " << kills;
    }
    EXPECT_GT(found[0], 0);
    clear();
    EXPECT_FALSE(hasTemporaries());
}

}  // namespace
