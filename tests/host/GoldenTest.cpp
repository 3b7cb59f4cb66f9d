// The report of every command in tests/golden/commands.txt on the example state, against the file
// that someone has read. scripts/golden writes the files anew, for a person to read and compare.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
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
        for (std::string word; words >> word;) row.arguments.push_back(word);
        cases.push_back(row);
    }
    return cases;
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, isWhatSomeoneHasRead) {
    std::vector<std::string> arguments = {"--state", EXAMPLES_DIR "/campus"};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    const Outcome outcome = runTpcli(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, contentsOf(folder + GetParam().file));
    EXPECT_THAT(outcome.errors, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Example, Golden, testing::ValuesIn(cases()), [](const auto& row) {
    std::string name = row.param.file;
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Golden);

TEST(GoldenFiles, allHaveACommand) {
    std::vector<std::string> known = {"commands.txt"};
    for (const Case& row : cases()) known.push_back(row.file);
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_THAT(known, testing::Contains(entry.path().filename().string()));
    }
}

}  // namespace
