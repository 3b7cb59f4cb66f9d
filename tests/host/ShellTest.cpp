// Many commands in one process: those of -c, and those of standard input.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Process.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* portSets = R"({"fieldSetConfig": {"fieldSetL4Port": {
    "WEB": {"currCfg": {"ports": [80, 443]}}, "DNS": {"currCfg": {"ports": [53]}}}}})";

class ShellOfCommands : public testing::Test {
  protected:
    std::vector<std::string> with(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--state", state_.path()});
        return arguments;
    }
    Outcome runInput(const std::string& input) const {
        const TemporaryFolder directory;
        fileIs(directory.file("input"), input);
        const std::string output = directory.file("output");
        const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const int status = waitFor(startTpcli(
            with({}), directory, fd, [&] { ::dup2(::open("input", O_RDONLY), STDIN_FILENO); }));
        return {status, contentsOf(output), contentsOf(directory.file("errors"))};
    }

    StateFixture state_{portSets, "{}"};
};

TEST_F(ShellOfCommands, runsAllAndEndsWithTheStatusOfTheFirstThatFailed) {
    const std::string dns = "field-set l4-port DNS\n   53\n";
    const Outcome words =
        runTpcli(with({"-c", "show traffic-policy field-set l4-port DNS", "show cpu",
                       "sh tr field-set l4 | count", "--json", "-c", "sh tr field-set l4 DNS"}));
    EXPECT_EQ(words.status, 1);
    EXPECT_THAT(words.output, StartsWith("{\"l4PortFieldSets\":{\"DNS\""));
    EXPECT_THAT(words.output, HasSubstr("}\n1 line\n{"));
    EXPECT_THAT(words.errors, StartsWith("tpcli: command 2: \"cpu\" cannot stand here\n"));

    const Outcome input = runInput(
        "# a comment\n\nsh tr field-set l4 DNS\nshow traffic-policy cpu | include [\n"
        "sh tr field-set l4 DN\n  show traffic-policy cpu | save /nowhere/x");
    EXPECT_EQ(input.status, 1);
    EXPECT_EQ(input.output, dns);
    EXPECT_THAT(input.errors, StartsWith("tpcli: line 4: \"[\" is not a regular expression"));
    EXPECT_THAT(input.errors, HasSubstr("there is no L4 port field set \"DN\""));
    EXPECT_THAT(input.errors, HasSubstr("tpcli: line 6: /nowhere/x: cannot be written: "));

    const Outcome one = runTpcli(with({"-c", "show cpu"}));
    EXPECT_EQ(one.errors, runTpcli(with({"show", "cpu"})).errors);
    EXPECT_EQ(runInput("").status, 0);
}

// A state with a mistake is refused for each command; the environment names a state too.
TEST_F(ShellOfCommands, readsTheStateThatIsNamed) {
    ::setenv("TPCLI_STATE", state_.path().c_str(), 1);
    const Outcome named = runTpcli({"-c", "show traffic-policy field-set l4-port | count"});
    const Outcome one = runTpcli({"show", "traffic-policy", "field-set", "l4-port", "DNS"});
    const Outcome overruled = runTpcli({"--state", "/nowhere", "-c", "show traffic-policy cpu"});
    ::unsetenv("TPCLI_STATE");
    EXPECT_EQ(named.output, "5 lines\n");
    EXPECT_EQ(one.output, "field-set l4-port DNS\n   53\n");
    EXPECT_EQ(overruled.status, 2);
    EXPECT_THAT(overruled.errors, HasSubstr("--state examples/campus"));
}

TEST_F(ShellOfCommands, answersTheCompletionOfOtherShells) {
    struct {
        std::vector<std::string> arguments;
        const char* output;
    } const rows[] = {
        {{"sh"}, "show\n"},
        {{"--state", state_.path(), "show", "traffic-policy", "field-set", "l4-port", ""},
         "DNS\nWEB\n\"filter\"\nfilter\n"},
        {{"--state", state_.path(), "show", "traffic-policy", "field-set", "l4-port", "D"},
         "DNS\n"},
        {{"--state", "/nowhere", "show", "traffic-policy", "cp"}, "cpu\n"},
        {{"--state", ""}, ""},
        {{"show", "nothing", ""}, ""},
        {{"--st"}, "--state\n"},
    };
    fileIs(state_.file("config.json"),
           R"({"fieldSetConfig": {"fieldSetL4Port": {"WEB": {}, "DNS": {}, "filter": {}}}})");
    for (const auto& row : rows) {
        std::vector<std::string> arguments = row.arguments;
        arguments.insert(arguments.begin(), "--complete");
        EXPECT_EQ(runTpcli(arguments).output, row.output);
    }
}

TEST_F(ShellOfCommands, tellsOfTheState) {
    fileIs(state_.file("status.json"), R"({"cpu": {"policyMapStatus": {"P": {
        "intfStatus": {"Ethernet1": {"ipv4": {"state": "failed"}}}}}}})");
    runTpcli(with({"clear", "traffic-policy", "counters"}));
    const std::string text = runTpcli(with({"show", "traffic-policy", "state"})).output;
    for (const char* line : {"   status.json: 106 bytes, changed ", "Policies: 1\nRules: 0\n",
                             "Last clear of CPU: 20", "Z, by ", "Failed installations: 1\n",
                             "Last clear of interface input: never\n", "not available: "}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    const std::string json = runTpcli(with({"--json", "show", "traffic-policy", "state"})).output;
    EXPECT_THAT(
        json, HasSubstr("\"points\":0,\"failures\":1,\"problems\":0,\"lastClear\":{\"cpu\":\"20"));
}

// What a file held before stands until the report is whole.
TEST_F(ShellOfCommands, savesWholeReports) {
    const std::string path = state_.file("saved");
    const auto save = [&](const std::string& command) {
        return runTpcli(with({"-c", command + " | save \"" + path + "\""}));
    };
    EXPECT_EQ(save("show traffic-policy field-set l4-port DNS | json").output, "");
    const std::string report = contentsOf(path);
    EXPECT_EQ(
        report,
        runTpcli(with({"--json", "show", "traffic-policy", "field-set", "l4-port", "DNS"})).output);
    ::chmod(path.c_str(), 0640);
    fileIs(state_.file("config.json"), "{");
    EXPECT_EQ(save("show traffic-policy cpu").status, 2);
    EXPECT_EQ(contentsOf(path), report);
    fileIs(state_.file("config.json"), portSets);
    EXPECT_EQ(save("show traffic-policy field-set l4-port | count").status, 0);
    EXPECT_EQ(contentsOf(path), "5 lines\n");
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

}  // namespace
