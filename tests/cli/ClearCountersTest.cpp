// Clears as the command does them: what is written, what is kept, and what a clear that fails says
// and leaves.
#include "cli/ClearCounters.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <memory>

#include "Captured.h"
#include "TemporaryFolder.h"
#include "cli/ExitStatus.h"
#include "reef/CounterDirectory.h"
#include "reef/StoreWriter.h"
#include "state/Snapshots.h"
#include "textout/Exceptions.h"

namespace {

using std::filesystem::path;
using testing::HasSubstr;
using testing::IsEmpty;

// A target of a status: one rule and one counter of one interface; or, of that many packets, the
// target of a snapshot of it.
std::string target(int identity, int packets, bool isSnapshot) {
    const auto figures = [&](int offset) {
        return "\"uniqueId\": " + std::to_string(identity + offset) +
               ", \"packets\": " + std::to_string(packets);
    };
    const std::string rule = "{\"r\": {" + figures(0) + "}}";
    const std::string named =
        "{\"c\": {" + figures(1) + ", \"perIntfCount\": {\"E1\": {" + figures(2) + "}}}}";
    return isSnapshot
               ? R"({"snapshot": {"P": )" + rule + R"(}, "namedSnapshot": {"P": )" + named + "}}"
               : R"({"policyMapStatus": {"P": {"classCounter": )" + rule + R"(, "namedCounter": )" +
                     named + "}}}";
}

// What a snapshot holds of that: the packets of rule, counter and interface; empty: nothing.
std::vector<U64> packetsOf(const TrafficPolicy::Counter& counter) {
    std::vector<U64> packets;
    for (const auto& [key, version] : counter.snapshot()) packets.push_back(version.packets);
    for (const auto& [key, version] : counter.namedSnapshot()) {
        packets.push_back(version->totalCount().packets);
        for (const auto& [intfId, data] : version->perIntfCount()) {
            packets.push_back(data->countData().packets);
        }
    }
    return packets;
}

// Root becomes one who may not do everything, for the life of the object, with the right to write a
// folder. Any other user is one already.
class AsOrdinaryUser {
  public:
    explicit AsOrdinaryUser(const TemporaryFolder& folder) {
        if (!isRoot_) return;
        ::chmod(folder.path().c_str(), 0777);
        EXPECT_EQ(::seteuid(65534), 0);
    }
    ~AsOrdinaryUser() {
        if (isRoot_) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;

  private:
    const bool isRoot_ = ::geteuid() == 0;
};

class ClearCounters : public testing::Test {
  protected:
    ClearCounters() {
        fileIs(folder_.file("config.json"), "{}");
        statusIs({"cpu", "interfaceInput", "interfaceOutput"}, false);
    }
    ~ClearCounters() override { Orb::interruptRequestedIs(false); }

    void statusIs(const std::vector<std::string>& targets, bool isReef) const {
        std::string text =
            "{\"hwStatus\": {\"countersInReef\": " + std::string(isReef ? "true" : "false") + "}";
        int identity = 100;
        for (const std::string& name : targets) {
            text += ", \"" + name + "\": " + target(identity += 100, 9, false);
        }
        fileIs(folder_.file("status.json"), text + "}");
    }
    // A store with the figures of the status.
    void makeStore() const {
        const auto state = StateDirectory::readState(folder_.path());
        Reef::StoreWriter::create(folder_.file("counters.reef"), state.interfaceInput,
                                  state.interfaceOutput, Reef::Identities::ofStatus);
    }
    void snapshotsAre(int packets) const {
        fileIs(document_, "{\"cpu\": " + target(200, packets, true) +
                              ", \"interfaceInput\": " + target(300, packets, true) +
                              ", \"interfaceOutput\": " + target(400, packets, true) + "}");
    }
    // One at a time.
    Cli::Session session(U32 fd) {
        source_ = std::make_unique<Cli::StateReadOnce>(folder_.path());
        return {folder_.path(), fd, 1, 2, *source_};
    }

    struct Result {
        int status;  // -1: an exception, whose message is among the errors
        std::string output, errors;
    };
    Result clear(const Cli::Session& session, const Captured::MemoryFile& output) const {
        Result result{-1, "", ""};
        testing::internal::CaptureStderr();
        std::string message;
        try {
            result.status = Cli::clearCounters(session);
        } catch (const std::exception& error) {
            message = error.what();
        }
        result.errors = testing::internal::GetCapturedStderr() + message;
        result.output = output.text();
        return result;
    }
    Result clear() {
        const Captured::MemoryFile output;
        return clear(session(static_cast<U32>(output.fd())), output);
    }
    // Of all three targets.
    std::vector<std::vector<U64>> packets() const {
        const auto snapshots = StateDirectory::readSnapshots(folder_.path());
        return {packetsOf(*snapshots.cpu), packetsOf(*snapshots.interfaceInput),
                packetsOf(*snapshots.interfaceOutput)};
    }
    std::vector<path> kept() const { return filesWith(".damaged-"); }
    std::vector<path> filesWith(const std::string& part) const {
        std::vector<path> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            const path& file = entry.path();
            if (file.string().find(part) != std::string::npos) found.push_back(file);
        }
        return found;
    }

    const TemporaryFolder folder_;
    const std::string document_ = folder_.file("snapshots.json");
    std::unique_ptr<Cli::StateReadOnce> source_;
    const std::vector<U64> none_;
    const std::vector<U64> old_{3, 3, 3};
    const std::vector<U64> live_{9, 9, 9};
};

TEST_F(ClearCounters, writesEachTargetThatItHas) {
    const struct {
        const char* name;
        bool isReef, hasStore, damages;
        std::vector<std::string> targets;
        std::vector<std::vector<U64>> packets;
        int counters, status;
    } rows[] = {
        {"state database",
         false,
         false,
         false,
         {"cpu", "interfaceInput", "interfaceOutput"},
         {live_, live_, live_},
         6,
         0},
        {"counter store",
         true,
         true,
         false,
         {"cpu", "interfaceInput", "interfaceOutput"},
         {live_, live_, live_},
         6,
         0},
        {"no cpu",
         false,
         false,
         false,
         {"interfaceInput", "interfaceOutput"},
         {old_, live_, live_},
         4,
         2},
        {"no input", false, false, false, {"cpu", "interfaceOutput"}, {live_, old_, live_}, 4, 2},
        {"no output", false, false, false, {"cpu", "interfaceInput"}, {live_, live_, old_}, 4, 2},
        {"no store", true, false, false, {"cpu", "interfaceInput"}, {live_, old_, old_}, 2, 2},
        {"damaged document",
         false,
         false,
         true,
         {"cpu", "interfaceInput", "interfaceOutput"},
         {live_, live_, live_},
         6,
         0},
        {"damaged document, no output",
         false,
         false,
         true,
         {"cpu", "interfaceInput"},
         {live_, live_, none_},
         4,
         2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove(folder_.file("counters.reef"));
        statusIs(row.targets, row.isReef);
        if (row.hasStore) makeStore();
        snapshotsAre(3);
        if (row.damages) fileIs(document_, "{\"cpu\": 0}");
        const Result result = clear();
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.output,
                  "Cleared " + std::to_string(row.counters) + " traffic-policy counters\n");
        EXPECT_EQ(packets(), row.packets);
        EXPECT_EQ(result.errors.empty(), row.status == 0 && !row.damages) << result.errors;
        EXPECT_THAT(filesWith(".new-"), IsEmpty());
        ASSERT_EQ(kept().size(), row.damages ? 1U : 0U);
        if (!row.damages) continue;
        EXPECT_EQ(contentsOf(kept().front()), "{\"cpu\": 0}");
        EXPECT_THAT(result.errors, HasSubstr(kept().front().filename().string()));
        std::filesystem::remove(kept().front());
    }
}

TEST_F(ClearCounters, writesNothingWhereNothingChanged) {
    statusIs({}, true);
    EXPECT_EQ(clear().status, 2);
    EXPECT_FALSE(std::filesystem::exists(document_));
    snapshotsAre(3);
    const std::string before = contentsOf(document_);
    const Result result = clear();
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "Cleared 0 traffic-policy counters\n");
    EXPECT_EQ(contentsOf(document_), before);
}

// Policies P and Q in every target, live at 9 packets; their snapshots at 3, each with one of a
// rule that is gone.
class ScopedClear : public ClearCounters {
  protected:
    ScopedClear() {
        const auto both = [](const std::string& text) {
            return "{\"P\": " + text + ", \"Q\": " + text + "}";
        };
        const auto figures = [](int identity, int packets) {
            return "{\"uniqueId\": " + std::to_string(identity) +
                   ", \"packets\": " + std::to_string(packets) + "}";
        };
        std::string status;
        std::string snapshots;
        for (const char* name : {"cpu", "interfaceInput", "interfaceOutput"}) {
            const std::string key = ", \"" + std::string(name) + "\": ";
            status += key + R"({"policyMapStatus": )" +
                      both(R"({"classCounter": {"r": )" + figures(1, 9) +
                           R"(}, "namedCounter": {"c": )" + figures(2, 9) + "}}") +
                      "}";
            snapshots += key + R"({"timestamp": 7, "user": "before", "snapshot": )" +
                         both("{\"r\": " + figures(1, 3) + ", \"gone\": " + figures(5, 3) + "}") +
                         R"(, "namedSnapshot": )" + both("{\"c\": " + figures(2, 3) + "}") + "}";
        }
        hiveStatus_ = R"({"hwStatus": {})" + status + "}";
        reefStatus_ = R"({"hwStatus": {"countersInReef": true})" + status + "}";
        before_ = "{" + snapshots.substr(2) + "}";
    }

    // "+P -Q": P was cleared, Q stands as it was; whose clear each is, where it is not of before.
    static std::string textOf(const TrafficPolicy::Counter& target) {
        std::string text;
        for (const std::string policy : {"P", "Q"}) {
            const auto* const rule = target.snapshot(TrafficPolicy::CounterKey{policy, "r"});
            const auto* const named =
                target.namedSnapshot(TrafficPolicy::NamedCounterKey{policy, "c"});
            const bool hasGone =
                target.snapshot(TrafficPolicy::CounterKey{policy, "gone"}) != nullptr;
            const U64 packets = rule == nullptr ? 0 : rule->packets;
            EXPECT_TRUE(named != nullptr && named->totalCount().packets == packets);
            const bool isCleared = packets == 9 && !hasGone;
            text += isCleared ? "+" : packets == 3 && hasGone ? "-" : "?";
            text += policy;
            const auto clear = target.lastClear(policy);
            if ((clear.user != "before") != isCleared || (clear.time.count() == 7) == isCleared) {
                text += "!";
            }
        }
        return text;
    }

    std::string hiveStatus_, reefStatus_, before_;
};

TEST_F(ScopedClear, leavesEverythingElseAsItWas) {
    const std::string none = "-P-Q";
    const std::string all = "+P+Q";
    const std::string onlyP = "+P-Q";
    const struct {
        Cli::ClearScope scope;
        std::vector<std::string> targets;  // the CPU, input, output
        int counters;
    } rows[] = {
        {{}, {all, all, all}, 12},
        {{"P"}, {onlyP, onlyP, onlyP}, 6},
        {{"", true, false, false}, {all, none, none}, 4},
        {{"", false, true, true}, {none, all, all}, 8},
        {{"", false, true, false}, {none, all, none}, 4},
        {{"P", false, false, true}, {none, none, onlyP}, 2},
        {{"P", true, false, false}, {onlyP, none, none}, 2},
        {{"NOPE"}, {none, none, none}, 0},
    };
    for (const bool isReef : {false, true}) {
        fileIs(folder_.file("status.json"), isReef ? reefStatus_ : hiveStatus_);
        if (isReef) makeStore();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.counters);
            fileIs(document_, before_);
            const Captured::MemoryFile output;
            testing::internal::CaptureStderr();
            EXPECT_EQ(Cli::clearCounters(session(static_cast<U32>(output.fd())), row.scope), 0);
            EXPECT_EQ(testing::internal::GetCapturedStderr(),
                      row.counters == 0 ? "tpcli: there is no traffic policy \"NOPE\"\n" : "");
            EXPECT_EQ(output.text(),
                      "Cleared " + std::to_string(row.counters) + " traffic-policy counters\n");
            const auto snapshots = StateDirectory::readSnapshots(folder_.path());
            EXPECT_EQ((std::vector{textOf(*snapshots.cpu), textOf(*snapshots.interfaceInput),
                                   textOf(*snapshots.interfaceOutput)}),
                      row.targets);
        }
    }
    // A clear of all policies is theirs, too.
    Cli::ClearScope scope{"P"};
    const Captured::MemoryFile output;
    EXPECT_EQ(Cli::clearCounters(session(static_cast<U32>(output.fd())), scope), 0);
    EXPECT_EQ(Cli::clearCounters(session(static_cast<U32>(output.fd()))), 0);
    EXPECT_TRUE(StateDirectory::readSnapshots(folder_.path()).cpu->policyClear().empty());
}

// The store is mapped, then cut: the input direction is read whole, the output one cannot be.
TEST_F(ClearCounters, keepsBothDirectionsOfAStoreThatIsCutInBetween) {
    std::string rules;
    for (int rule = 0; rule < 1000; ++rule) {
        rules += (rule == 0 ? "\"" : ", \"") + std::to_string(rule) + R"(": {"uniqueId": 7})";
    }
    fileIs(folder_.file("status.json"),
           R"({"hwStatus": {"countersInReef": true}, "cpu": )" + target(200, 9, false) +
               R"(, "interfaceInput": )" + target(300, 9, false) +
               R"(, "interfaceOutput": {"policyMapStatus": {"P": {"classCounter": {)" + rules +
               "}}}}}");
    makeStore();
    snapshotsAre(3);
    const Captured::MemoryFile output;
    const Cli::Session opened = session(static_cast<U32>(output.fd()));
    opened.counterStore()->directory();
    const std::string store = folder_.file("counters.reef");
    std::filesystem::resize_file(store, std::filesystem::file_size(store) - 900 * 64);
    const Result result = clear(opened, output);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "Cleared 2 traffic-policy counters\n");
    EXPECT_EQ(packets(), (std::vector{live_, old_, old_}));
}

// What cannot be read may be in order: the clear ends and leaves all as it was.
TEST_F(ClearCounters, endsWhereTheDocumentCannotBeRead) {
    const std::string elsewhere = folder_.file("elsewhere");
    const struct {
        const char* name;
        std::function<void()> prepare;
    } rows[] = {
        {"a FIFO", [&] { ::mkfifo(document_.c_str(), 0600); }},
        {"a directory", [&] { std::filesystem::create_directory(document_); }},
        {"a link to nothing", [&] { std::filesystem::create_symlink(elsewhere, document_); }},
        {"a link to somebody's file",
         [&] {
             fileIs(elsewhere, "no snapshots");
             std::filesystem::create_symlink(elsewhere, document_);
         }},
        {"one that may not be read",
         [&] {
             snapshotsAre(3);
             ::chmod(document_.c_str(), 0);
         }},
    };
    const AsOrdinaryUser user(folder_);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.prepare();
        const auto type = std::filesystem::symlink_status(document_).type();
        const Result result = clear();
        EXPECT_EQ(result.status, -1);
        EXPECT_THAT(result.errors, HasSubstr("snapshots.json"));
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_EQ(std::filesystem::symlink_status(document_).type(), type);
        EXPECT_THAT(kept(), IsEmpty());
        std::filesystem::remove(document_);
    }
    EXPECT_EQ(contentsOf(elsewhere), "no snapshots");
}

// Not under the sanitizers, which need descriptors themselves.
using ClearCountersSlow = ClearCounters;

// Whichever call finds no descriptor: the document changed if, and only if, the clear says so.
TEST_F(ClearCountersSlow, losesNothingWithoutDescriptors) {
    rlimit former{};
    ::getrlimit(RLIMIT_NOFILE, &former);
    for (const bool hasStore : {false, true}) {
        statusIs({"cpu", "interfaceInput", "interfaceOutput"}, true);
        std::filesystem::remove(folder_.file("counters.reef"));
        if (hasStore) makeStore();
        for (rlim_t spare = 0; spare < 6; ++spare) {
            SCOPED_TRACE(spare);
            snapshotsAre(3);
            const Captured::MemoryFile output;
            const Cli::Session opened = session(static_cast<U32>(output.fd()));
            opened.currentState();
            const int next = ::dup(output.fd());
            ::close(next);
            const rlimit few{static_cast<rlim_t>(next) + spare, former.rlim_max};
            ::setrlimit(RLIMIT_NOFILE, &few);
            int status = -1;
            try {
                status = Cli::clearCounters(opened);
            } catch (const StateDirectory::StateError&) {
            }
            ::setrlimit(RLIMIT_NOFILE, &former);
            const bool isCleared = packets()[0] == live_;
            EXPECT_EQ(output.text().empty(), !isCleared);
            EXPECT_EQ(status >= 0, isCleared);
            const bool isWhole = packets() == std::vector{live_, live_, live_};
            EXPECT_EQ(status == 0, isWhole);
            if (!isWhole) {
                EXPECT_EQ(packets()[1], old_);
                EXPECT_EQ(packets()[2], old_);
            }
            EXPECT_THAT(kept(), IsEmpty());
        }
    }
}

TEST_F(ClearCounters, isUndoneByAnInterruptAndToldWhenTheReportIsLost) {
    snapshotsAre(3);
    Orb::interruptRequestedIs(true);
    EXPECT_EQ(clear().status, -1);
    Orb::interruptRequestedIs(false);
    EXPECT_EQ(packets(), (std::vector{old_, old_, old_}));
    EXPECT_THAT(filesWith(".new-"), IsEmpty());
    const Captured::MemoryFile output;
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    const Result lost = clear(session(static_cast<U32>(full)), output);
    ::close(full);
    EXPECT_THAT(lost.errors, HasSubstr("6 traffic-policy counters were cleared\n"));
    EXPECT_EQ(packets(), (std::vector{live_, live_, live_}));
}

TEST_F(ClearCounters, leavesTheDocumentToThoseWhoHadIt) {
    const auto statusOf = [](const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::lstat(file.c_str(), &status), 0);
        return status;
    };
    const mode_t mask = ::umask(027);
    clear();
    EXPECT_EQ(statusOf(document_).st_mode & 0777, 0640U);
    ::umask(077);
    ::chmod(document_.c_str(), 0604);
    if (::geteuid() == 0) {
        EXPECT_EQ(::chown(document_.c_str(), 12, 34), 0);
    }
    const struct stat former = statusOf(document_);
    clear();
    EXPECT_EQ(statusOf(document_).st_mode & 0777, 0604U);
    EXPECT_EQ(statusOf(document_).st_uid, former.st_uid);
    EXPECT_EQ(statusOf(document_).st_gid, former.st_gid);
    ::umask(mask);

    // Behind a link, in another directory.
    const TemporaryFolder other;
    std::filesystem::rename(document_, other.file("kept.json"));
    std::filesystem::create_symlink(other.file("kept.json"), document_);
    fileIs(other.file("kept.json"), "{}");
    EXPECT_EQ(clear().status, 0);
    EXPECT_EQ(packets(), (std::vector{live_, live_, live_}));
    EXPECT_TRUE(std::filesystem::is_symlink(document_));
    EXPECT_EQ(statusOf(other.file("kept.json")).st_mode & 0777, 0604U);
    EXPECT_THAT(filesWith(".new-"), IsEmpty());

    // Another user of the directory clears too, whoever made the lock under whatever mask.
    std::filesystem::remove(document_);
    const AsOrdinaryUser user(folder_);
    EXPECT_EQ(clear().status, 0);
}

}  // namespace
