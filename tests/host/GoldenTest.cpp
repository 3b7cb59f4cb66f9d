// The report of every command in tests/golden/commands.txt on an example state, against the file
// that someone has read: of the branch, those that are named after it. scripts/golden writes the
// files anew, for a person to read and compare.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <regex>
#include <sstream>

#include "Process.h"

namespace {

const std::string folder = SOURCE_DIR "/tests/golden/";

struct Case {
    std::string file;
    std::vector<std::string> arguments;
};

std::vector<Case> cases() {
    std::vector<Case> cases;
    std::istringstream lines(contentsOf(folder + "commands.txt"));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#') continue;
        std::istringstream words(line);
        Case row;
        words >> row.file;
        row.arguments.assign(std::istream_iterator<std::string>(words), {});
        for (std::string& word : row.arguments) {
            if (word.starts_with("examples/")) word.insert(0, SOURCE_DIR "/");
        }
        cases.push_back(row);
    }
    return cases;
}

// The example switch with a counter store that is older than the clear; for some reports without
// byte counters.
class ExampleSwitch : public TemporaryFolder {
  public:
    explicit ExampleSwitch(bool countsBytes) {
        for (const char* const name : {"config.json", "status.json"}) {
            std::string document = contentsOf(EXAMPLES_DIR "/campus/" + std::string(name));
            const std::string flag = "\"byteCountersSupported\": true";
            const auto at = document.find(flag);
            if (!countsBytes && at != std::string::npos) {
                document.replace(at, flag.size(), "\"byteCountersSupported\": false");
            }
            fileIs(file(name), document);
        }
        const std::string agent = COUNTERAGENT_PATH " --once --state " + path();
        EXPECT_EQ(std::system(agent.c_str()), 0);
        fileIs(file("snapshots.json"), contentsOf(EXAMPLES_DIR "/campus/snapshots.json"));
    }
};

// Without what differs from run to run: the folder, and how old a document is.
std::string normalised(std::string report, const std::string& directory) {
    for (std::size_t at = 0; (at = report.find(directory, at)) != std::string::npos;) {
        report.replace(at, directory.size(), "DIR");
    }
    report = std::regex_replace(report, std::regex("changed .* ago"), "changed AGE ago");
    return std::regex_replace(report, std::regex("\"ageSeconds\":[0-9]+"), "\"ageSeconds\":0");
}

// Runs rates on a state that the platform writes anew between the two looks: tpcli sleeps there.
Outcome runRates(const std::vector<std::string>& words) {
    const TemporaryFolder state;
    for (const char* const name : {"config.json", "status.json", "later/status.json"}) {
        const std::string own = name[0] == 'l' ? "later.json" : name;
        fileIs(state.file(own), contentsOf(EXAMPLES_DIR "/branch/" + std::string(name)));
    }
    std::vector<std::string> arguments = {"--state", state.path()};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const int output = ::open(state.file("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const pid_t process = startTpcli(arguments, state, output);
    const std::string call = "/proc/" + std::to_string(process) + "/syscall";
    const std::string sleeping = std::to_string(SYS_clock_nanosleep) + " ";
    for (int i = 0; i < 10000 && !contentsOf(call).starts_with(sleeping); ++i) ::usleep(1000);
    std::filesystem::rename(state.file("later.json"), state.file("status.json"));
    const int status = waitFor(process);
    return {status, contentsOf(state.file("output")), contentsOf(state.file("errors"))};
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, isWhatSomeoneHasRead) {
    if (GetParam().file.starts_with("rates-")) {
        const Outcome outcome = runRates(GetParam().arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, contentsOf(folder + GetParam().file)) << outcome.errors;
        return;
    }
    const bool isOfBranch = GetParam().file.starts_with("branch-");
    const ExampleSwitch example(!GetParam().file.starts_with("packets-"));
    std::vector<std::string> arguments = {"--state",
                                          isOfBranch ? EXAMPLES_DIR "/branch" : example.path()};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    const Outcome outcome = runTpcli(arguments);
    const bool tellsDifferences =
        std::regex_match(GetParam().file, std::regex("compare(-detail)?\\..*"));
    EXPECT_EQ(outcome.status, tellsDifferences ? 1 : 0);
    EXPECT_EQ(normalised(outcome.output, example.path()), contentsOf(folder + GetParam().file));
    EXPECT_THAT(outcome.errors, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Example, Golden, testing::ValuesIn(cases()), [](const auto& row) {
    return std::regex_replace(row.param.file, std::regex("[^A-Za-z0-9]"), "_");
});

// The same of all commands without options in one process of the shell.
TEST(GoldenShell, printsTheSame) {
    const ExampleSwitch example(true);
    std::vector<std::string> arguments = {"--state", example.path(), "-c"};
    std::string expected;
    for (const Case& row : cases()) {
        if (std::regex_match(row.file, std::regex("(packets|branch|rates|compare)-?.*"))) continue;
        if (row.arguments.front().starts_with("--")) continue;
        std::string command;
        for (const std::string& word : row.arguments) command += word + ' ';
        arguments.push_back(command);
        expected += contentsOf(folder + row.file);
    }
    const Outcome outcome = runTpcli(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(normalised(outcome.output, example.path()), expected);
}

TEST(GoldenFiles, allHaveACommand) {
    std::vector<std::string> known = {"commands.txt"};
    for (const Case& row : cases()) known.push_back(row.file);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_THAT(known, testing::Contains(entry.path().filename().string()));
    }
}

}  // namespace
