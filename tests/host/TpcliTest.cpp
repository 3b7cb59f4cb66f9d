// tpcli as a process: exit statuses, and what goes to standard output and standard error.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <sstream>

#include "Process.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

// The arguments that stand between blanks, over a state.
Arguments over(const TemporaryFolder& state, const std::string& line) {
    Arguments arguments = {"--state", state.path()};
    std::istringstream words(line);
    for (std::string word; words >> word;) arguments.push_back(word);
    return arguments;
}

class Tpcli : public testing::Test {
  protected:
    StateFixture state_{R"({
        "policyMapConfig": {"EDGE": {"currCfg": {"rules": [
            {"name": "web", "priority": 1, "match": {"ipv4": {"structuredFilter": {}}},
             "action": {"count": {}}}]}}},
        "intfConfigInput": {"Ethernet1": "EDGE"},
        "fieldSetConfig": {"fieldSetL4Port": {"WEB": {"currCfg": {"ports": [80, 443]}}}}
    })",
                        R"({
        "interfaceInput": {"policyMapStatus": {"EDGE": {
            "classMapStatus": {"web": ["ipv4"]},
            "intfStatus": {"Ethernet1": {"ipv4": {"state": "programmed"}}}}}},
        "cpuSoftware": {"policyMapStatus": {"OLD": {}}}
    })"};

    Outcome run(const std::string& line) const { return runTpcli(over(state_, line)); }
};

TEST_F(Tpcli, endsWellWithAnUnknownName) {
    struct {
        std::string line, output, errors;
    } const rows[] = {
        {"--json show traffic-policy EDG interface", "{\"trafficPolicies\":{}}\n",
         "tpcli: there is no traffic policy \"EDG\"; the nearest name is \"EDGE\"\n"},
        {"show traffic-policy \"cpu\" vlan errors", "",
         "tpcli: there is no traffic policy \"cpu\"\n"},
        {"show traffic-policy EDGE cpu", "",
         "tpcli: traffic policy \"EDGE\" is not on the CPU; it is on interfaces on input "
         "(Ethernet1)\n"},
        {"show traffic-policy field-set l4-port WEP filter 80",
         "No matching L4 port field sets found\n",
         "tpcli: there is no L4 port field set \"WEP\"; the nearest name is \"WEB\"\n"},
        {"--json show traffic-policy field-set mac x", "{\"sources\":{}}\n",
         "tpcli: there is no MAC field set \"x\", nor any other\n"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(row.line);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, row.output);
        EXPECT_EQ(outcome.errors, row.errors);
    }
}

TEST_F(Tpcli, saysThatTheStateDoesNotKnowAPoint) {
    struct {
        std::string point, errors;
    } const rows[] = {
        {"interface Ethernet2 input",
         "tpcli: the state knows no interface \"Ethernet2\"; the nearest name is \"Ethernet1\"\n"},
        {"interface Ethernet1 output", ""},
        {"cpu red", "tpcli: the state knows no VRF \"red\", nor any other\n"},
        {"vlan 7", "tpcli: the state knows no policy on VLAN \"7\", nor any other\n"},
        {"policy EDG", "tpcli: there is no traffic policy \"EDG\"; the nearest name is \"EDGE\"\n"},
        {"policy EDGE", ""},
    };
    for (const auto& row : rows) {
        for (const std::string& command : {"packet " + row.point + " source 10.0.0.1",
                                           "capture " EXAMPLES_DIR "/uplink.pcap " + row.point}) {
            const Outcome outcome = run("show traffic-policy " + command);
            EXPECT_EQ(outcome.status, 0) << command;
            EXPECT_EQ(outcome.errors, row.errors) << command;
        }
    }
}

// Who captures until an interrupt sees what was captured.
TEST_F(Tpcli, showsWhatAnInterruptedCaptureHasRead) {
    const std::string capture = contentsOf(EXAMPLES_DIR "/uplink.pcap");
    int input[2];
    int output[2];
    ASSERT_EQ(::pipe2(input, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(output, O_CLOEXEC), 0);
    ASSERT_EQ(::write(input[1], capture.data(), capture.size()),
              static_cast<ssize_t>(capture.size()));
    const TemporaryFolder directory;
    const pid_t child = startTpcli(over(state_, "show traffic-policy capture - policy EDGE"),
                                   directory, output[1], [&] { ::dup2(input[0], STDIN_FILENO); });
    int left = 1;
    for (int i = 0; i < 30'000 && left > 0; ++i) {
        ::usleep(2'000);
        ASSERT_EQ(::ioctl(input[0], FIONREAD, &left), 0);
    }
    EXPECT_EQ(left, 0);
    ::kill(child, SIGINT);
    EXPECT_THAT(readAll(output[0]), StartsWith("Capture: "));
    EXPECT_EQ(waitFor(child), 130);
    EXPECT_EQ(contentsOf(directory.file("errors")),
              "tpcli: \"-\": interrupted; what stands before is counted\n");
    ::close(input[0]);
    ::close(input[1]);
}

// For monitoring: 5 when there is a problem, and only when it was asked for.
TEST_F(Tpcli, endsByTheExitCodeOfProblems) {
    const std::string problems = "show traffic-policy problems ";
    EXPECT_EQ(run("--exit-code " + problems).status, 0);
    fileIs(state_.file("status.json"), "{}");
    EXPECT_EQ(run("--exit-code " + problems).status, 5);
    EXPECT_EQ(run("--exit-code --json " + problems + "EDGE").status, 5);
    EXPECT_EQ(run("--exit-code " + problems + "EDG").status, 0);
    EXPECT_EQ(run(problems).status, 0);
    for (const std::string words : {"show traffic-policy cpu", "clear traffic-policy counters"}) {
        const Outcome refused = run("--exit-code " + words);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.output + refused.errors,
                  "tpcli: --exit-code: this command finds no problems, expected \"show "
                  "traffic-policy problems\"\n");
    }
    const Arguments both = {
        "--state", state_.path(), "--exit-code", "-c", "show traffic-policy cpu", "-c", problems};
    EXPECT_EQ(runTpcli(both).status, 5);
}

// On a terminal only, and behind the report.
TEST_F(Tpcli, hintsAtProblemsOnATerminal) {
    fileIs(state_.file("status.json"), "{}");
    const auto shown = [&](const std::string& line, bool errorsToo) {
        int terminal = -1;
        int process = -1;
        EXPECT_EQ(::openpty(&terminal, &process, nullptr, nullptr, nullptr), 0);
        const TemporaryFolder directory;
        const int errors = errorsToo ? ::dup(process) : -1;
        const pid_t child = startTpcli(over(state_, line), directory, process, [errors] {
            if (errors >= 0) ::dup2(errors, STDERR_FILENO);
        });
        if (errors >= 0) ::close(errors);
        std::string text = readAll(terminal);
        EXPECT_EQ(waitFor(child), 0);
        return text;
    };
    const std::string hint =
        "tpcli: 1 problem is not shown here: show traffic-policy problems EDGE\r\n";
    EXPECT_TRUE(shown("show traffic-policy EDGE interface", true).ends_with(hint));
    EXPECT_THAT(shown("show traffic-policy EDGE interface", false), Not(HasSubstr("problem")));
    EXPECT_THAT(shown("--json show traffic-policy EDGE interface", true),
                Not(HasSubstr("problem")));
    EXPECT_THAT(run("show traffic-policy EDGE interface").errors, IsEmpty());
}

TEST_F(Tpcli, refusesWrongCommandLines) {
    struct {
        std::string line, errors;
    } const rows[] = {
        {"show traffic-policy cpu errors detail",
         "tpcli: \"detail\" cannot stand here\n"
         "  show traffic-policy cpu errors detail\n"
         "                                 ^~~~~~ expected the end of the command\n"},
        {"--revision two show traffic-policy cpu",
         "tpcli: --revision: \"two\" is not a number, expected a number 0 to 4294967295\n"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(row.line);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output + outcome.errors, row.errors);
    }
    // Words are looked at before the state.
    EXPECT_EQ(runTpcli({"show", "traffic-policy", "field-set", "vlan", "filter", "9-8"}).status, 1);
}

TEST_F(Tpcli, helpNamesTheCommands) {
    const Outcome outcome = run("show --help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, HasSubstr("show traffic-policy field-set mac [NAME]\n"));
    EXPECT_THAT(outcome.output, HasSubstr("'\"cpu\"'"));
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) EXPECT_LT(line.size(), 80U) << line;
    EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(Tpcli, showsNothingOfABadStateOrOfNone) {
    fileIs(state_.file("status.json"), R"({"hwstatus": {}})");
    const Outcome bad = run("--json show traffic-policy interface");
    EXPECT_EQ(bad.status, 2);
    EXPECT_THAT(bad.output, IsEmpty());
    EXPECT_THAT(
        bad.errors,
        MatchesRegex("tpcli: .*/status.json: at \"\", line 1, column 2: [^\n]*hwStatus[^\n]*\n"));
    for (Arguments arguments : {Arguments{}, Arguments{"--state", "/nowhere"}}) {
        arguments.insert(arguments.end(), {"show", "traffic-policy", "cpu"});
        const Outcome none = runTpcli(arguments);
        EXPECT_EQ(none.status, 2);
        EXPECT_THAT(none.output, IsEmpty());
        EXPECT_THAT(none.errors, HasSubstr("config.json: cannot be opened"));
        EXPECT_THAT(none.errors, HasSubstr("--state examples/campus"));
    }
}

// Both directions read the one store.
TEST_F(Tpcli, tellsOnceOfAMissingCounterStore) {
    fileIs(state_.file("status.json"), R"({"hwStatus": {"countersInReef": true}, "cpu": {},
        "interfaceInput": {"policyMapStatus": {"EDGE": {"classMapStatus": {"web": ["ipv4"]}}}},
        "interfaceOutput": {"policyMapStatus": {"EDGE": {"classMapStatus": {"web": ["ipv4"]}}}}})");
    for (const char* words : {"show traffic-policy interface", "clear traffic-policy counters"}) {
        EXPECT_THAT(run(words).errors,
                    MatchesRegex("counter store [^\n]*: there is no such file; [^\n]*\n"));
    }
}

// Only views that print counts need the snapshots of the last clear.
TEST_F(Tpcli, readsSnapshotsForCounts) {
    fileIs(state_.file("snapshots.json"), "[]");
    for (const char* view : {"interface counters", "interface", "interface detail", "cpu"}) {
        const Outcome outcome = run(std::string("show traffic-policy ") + view);
        EXPECT_EQ(outcome.status, 2) << view;
        EXPECT_THAT(outcome.output, IsEmpty());
        EXPECT_THAT(outcome.errors, HasSubstr("snapshots.json"));
    }
    for (const char* view : {"interface summary", "cpu errors", "vlan"}) {
        EXPECT_EQ(run(std::string("show traffic-policy ") + view).status, 0) << view;
    }
}

TEST_F(Tpcli, clearsCounters) {
    fileIs(state_.file("status.json"), R"({"cpu": {"policyMapStatus": {"EDGE": {
        "classMapStatus": {"web": ["ipv4"]},
        "classCounter": {"web": {"uniqueId": 1, "packets": 18446744073709551615}}}}}})");
    const std::string counters = "show traffic-policy EDGE cpu counters";
    EXPECT_THAT(run(counters).output, HasSubstr("18446744073709551615"));
    const Outcome clear = run("clear traffic-policy counters");
    EXPECT_EQ(clear.status, 0);
    EXPECT_EQ(clear.output, "Cleared 1 traffic-policy counters\n");
    EXPECT_THAT(run(counters).output, Not(HasSubstr("18446744073709551615")));
}

TEST_F(Tpcli, tracesAndDumpsTheRingToStandardError) {
    const std::string words = "show traffic-policy interface";
    const Outcome traced = run("--trace TrafficPolicyShowCliHelper/8,Blip " + words);
    EXPECT_EQ(traced.status, 0);
    EXPECT_EQ(traced.output, run(words).output);
    EXPECT_THAT(traced.errors, StartsWith("TrafficPolicyShowCliHelper/8 "));

    fileIs(state_.file("config.json"), R"({"fieldSetConfig": {"fieldSetIpPrefix":
        {"ONE": {"currCfg": {"prefixes": ["10.0.0.0/8"]}}}}})");
    const Outcome dumped = run("--trace Blip show traffic-policy field-set ipv4 prefix");
    EXPECT_EQ(dumped.status, 0);
    EXPECT_THAT(dumped.errors, HasSubstr(" begin copy+sort prefixes"));
}

// A report that did not arrive whole never ends in exit status 0.
TEST_F(Tpcli, tellsWhenItsOutputIsLost) {
    for (const char* line : {"show traffic-policy interface", "--help",
                             "--json show traffic-policy field-set l4-port"}) {
        const Arguments arguments = over(state_, line);
        const Outcome full = runTpcli(arguments, ::open("/dev/full", O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(full.status, 3);
        EXPECT_EQ(full.errors, "tpcli: standard output: No space left on device\n");

        const Outcome unwritable = runTpcli(arguments, ::open("/dev/null", O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(unwritable.status, 3);
        EXPECT_EQ(unwritable.errors, "tpcli: standard output: Bad file descriptor\n");

        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        ::close(ends[0]);
        const Outcome closed = runTpcli(arguments, ends[1]);
        EXPECT_EQ(closed.status, 141);
        EXPECT_THAT(closed.errors, IsEmpty());
    }
}

TEST_F(Tpcli, takesALimitOfFileSizesForAWriteError) {
    const std::string counted =
        R"({"policyMapStatus": {"EDGE": {"classMapStatus": {"web": ["ipv4"]},
        "classCounter": {"web": {"uniqueId": 1, "packets": 1}}}}})";
    fileIs(state_.file("status.json"), R"({"cpu": )" + counted + R"(, "interfaceInput": )" +
                                           counted + R"(, "interfaceOutput": )" + counted + "}");
    fileIs(state_.file("snapshots.json"), "{}");
    const TemporaryFolder directory;
    struct {
        const char* program;
        std::string words;
        int status;
        const char* errors;
    } const rows[] = {
        {TPCLI_PATH, "show --help", 3, "tpcli: standard output: File too large\n"},
        {TPCLI_PATH, "clear traffic-policy counters", 2,
         "tpcli: .*/snapshots.json.new-.*: cannot write: File too large\n"},
        {COUNTERAGENT_PATH, "--once", 2,
         "counteragent: .*: it cannot be written: File too large\n"},
    };
    for (const auto& row : rows) {
        Arguments arguments = over(state_, row.words);
        arguments.insert(arguments.begin(), row.program);
        const int output =
            ::open(directory.file("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const pid_t process = startProgram(arguments, output, directory.file("errors"), [] {
            const rlimit limit{200, 200};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        });
        EXPECT_EQ(waitFor(process), row.status);
        EXPECT_THAT(contentsOf(directory.file("errors")), MatchesRegex(row.errors));
    }
    EXPECT_EQ(contentsOf(state_.file("snapshots.json")), "{}");
    EXPECT_FALSE(std::filesystem::exists(state_.file("counters.reef")));
}

// A prefix set whose listing is larger than a pipe and than the output buffer.
std::string largeSet(unsigned size = 100'000) {
    std::string prefixes = "\"10.0.0.0/32\"";
    for (unsigned i = 1; i < size; ++i) {
        prefixes += ",\"10." + std::to_string(i >> 16) + "." + std::to_string(i >> 8 & 255) + "." +
                    std::to_string(i & 255) + "/32\"";
    }
    return R"({"fieldSetConfig": {"fieldSetIpPrefix": {"LARGE": {"currCfg": {"prefixes": [)" +
           prefixes + "]}}}}}";
}

class TpcliInterrupted : public testing::TestWithParam<const char*> {
  protected:
    TpcliInterrupted() { EXPECT_EQ(::pipe2(ends_, O_CLOEXEC), 0); }

    int ends_[2];
    StateFixture state_{largeSet(), "{}"};
    Arguments arguments_ =
        over(state_, GetParam() + std::string(" show traffic-policy field-set ipv4 prefix"));
};

TEST_P(TpcliInterrupted, endsAlthoughNobodyReads) {
    const TemporaryFolder directory;
    const pid_t tpcli = startTpcli(arguments_, directory, ends_[1]);
    waitUntilFull(ends_[0]);
    ::kill(tpcli, SIGINT);
    EXPECT_EQ(waitFor(tpcli), 130);
    EXPECT_THAT(contentsOf(directory.file("errors")), IsEmpty());
    // What was printed stands.
    const std::string output = readAll(ends_[0]);
    const std::string whole = runTpcli(arguments_).output;
    EXPECT_GE(output.size(), 4096U);
    EXPECT_LT(output.size(), whole.size());
    EXPECT_TRUE(whole.starts_with(output));
}

TEST_P(TpcliInterrupted, goesOnWhereInterruptsAreIgnored) {
    const pid_t tpcli = startTpcli(arguments_, state_, ends_[1], [] { ::signal(SIGINT, SIG_IGN); });
    waitUntilFull(ends_[0]);
    ::kill(tpcli, SIGINT);
    EXPECT_EQ(readAll(ends_[0]), runTpcli(arguments_).output);
    EXPECT_EQ(waitFor(tpcli), 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, TpcliInterrupted, testing::Values("", "--json"),
                         [](const auto& format) { return *format.param == 0 ? "text" : "json"; });

// Reads that many bytes.
void drain(int terminal, std::size_t bytes) {
    char buffer[512];
    while (bytes > 0) {
        const ssize_t count = ::read(terminal, buffer, std::min(bytes, sizeof buffer));
        if (count <= 0) FAIL() << "the terminal ended";
        bytes -= static_cast<std::size_t>(count);
    }
}

// A terminal shows a part of the report, stands still (Ctrl-S, a dead link), and its user types
// Ctrl-C or sends the signal. The controlling side of a terminal as standard output is one that
// cannot be opened once more, like the terminal of another user.
TEST(TpcliOnATerminal, endsWhereverTheTerminalStoodStill) {
    const StateFixture state(largeSet(25'000), "{}");
    const Arguments arguments = over(state, "show traffic-policy field-set ipv4 prefix");
    std::mt19937 random(1);
    for (int attempt = 0; attempt < 24; ++attempt) {
        const bool isTyped = attempt % 4 < 2;
        const bool isStopped = attempt % 4 == 1 || attempt % 4 == 2;
        int reader = 0;
        int writer = 0;
        ASSERT_EQ(::openpty(&reader, &writer, nullptr, nullptr, nullptr), 0);
        if (attempt % 4 == 3) std::swap(reader, writer);
        const int held = ::dup(writer);  // so that the terminal outlives the command
        const pid_t tpcli = startTpcli(arguments, state, writer, [&] {
            if (isTyped && (::setsid() < 0 || ::ioctl(STDOUT_FILENO, TIOCSCTTY, 0) != 0)) {
                ::_exit(125);
            }
        });
        drain(reader, 1 + random() % 200'000);
        constexpr char keys[] = {'\x13', '\x03'};  // Ctrl-S, Ctrl-C
        if (isStopped) {
            ASSERT_EQ(::write(reader, &keys[0], 1), 1);
        }
        if (isTyped) {
            ASSERT_EQ(::write(reader, &keys[1], 1), 1);
        } else {
            ::kill(tpcli, SIGINT);
        }
        ASSERT_EQ(waitFor(tpcli), 130) << "attempt " << attempt;
        ::close(held);
        ::close(reader);
    }
}

// With any amount of memory a command does all of its work, or says in one line why it did none.
// Below some megabytes the system does not even load the program.
TEST(TpcliMemorySlow, runsOutWithOneLineAndNothingHalfDone) {
    const StateFixture state(largeSet(), R"({"cpu": {"policyMapStatus": {"EDGE": {"classCounter": {
        "web": {"uniqueId": 1, "packets": 1}}}}}})");
    const TemporaryFolder directory;
    const std::string snapshots = state.file("snapshots.json");
    for (const char* const line :
         {"show traffic-policy field-set ipv4 prefix",
          "--json show traffic-policy field-set ipv4 prefix", "clear traffic-policy counters"}) {
        const std::string whole = runTpcli(over(state, line)).output;
        int ended[2] = {0, 0};  // well, and out of memory
        for (rlim_t megabytes = 8; megabytes < 200; megabytes += 6) {
            fileIs(snapshots, "{}");
            const int output = ::open(directory.file("output").c_str(),
                                      O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            const pid_t tpcli = startTpcli(over(state, line), directory, output, [&] {
                const rlimit limit{megabytes << 20, megabytes << 20};
                ::setrlimit(RLIMIT_AS, &limit);
            });
            const int status = waitFor(tpcli);
            if (status == 127) continue;
            const std::string printed = contentsOf(directory.file("output"));
            const std::string errors = contentsOf(directory.file("errors"));
            if (status != 0) {
                EXPECT_EQ(status, 4) << line << " with " << megabytes << " MB";
                EXPECT_EQ(errors, "tpcli: out of memory\n");
                EXPECT_EQ(contentsOf(snapshots), "{}");
            }
            EXPECT_EQ(printed, status == 0 ? whole : "");
            ++ended[status == 0 ? 0 : 1];
        }
        EXPECT_GT(ended[0], 4) << line;
        EXPECT_GT(ended[1], 4) << line;
    }
}

}  // namespace
