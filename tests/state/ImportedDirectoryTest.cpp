// Documents that change in one step: who reads sees those of one import, and the rest of the
// directory stays.
#include "state/ImportedDirectory.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "TemporaryState.h"

namespace {

using StateDirectory::ImportedDirectory;
using StateDirectory::readState;
using StateDirectory::StateError;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

std::string configOf(int number) {
    return R"({"vrfConfig": {"default": "P)" + std::to_string(number) + "\"}}";
}
std::string statusOf(int number) {
    return R"({"cpu": {"policyMapStatus": {"P)" + std::to_string(number) + "\": {}}}}";
}
Orb::String configured(const StateDirectory::State& state) {
    return *state.vrfConfig->vrf().find("default");
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

std::string refusal(const std::string& directory) {
    try {
        const ImportedDirectory imported(directory);
        return "";
    } catch (const StateError& error) {
        return error.what();
    }
}

TEST(ImportedDirectory, KeepsTheGenerationBeforeAndWhatOthersWrote) {
    const TemporaryFolder folder;
    const std::string directory = folder.file("made/here");
    ImportedDirectory imported(directory);
    imported.documentsAre(configOf(1), statusOf(1));
    fileIs(directory + "/snapshots.json", "{}");
    fileIs(directory + "/counters.reef", "counts");
    // What an import that died has left.
    std::filesystem::create_directory(directory + "/generation-8");
    std::filesystem::create_symlink("generation-8", directory + "/current.new");
    imported.documentsAre(configOf(2), statusOf(2));
    imported.documentsAre(configOf(3), statusOf(3));
    EXPECT_THAT(
        namesIn(directory),
        UnorderedElementsAre("config.json", "status.json", "current", "generation-9",
                             "generation-10", "import.lock", "snapshots.json", "counters.reef"));
    EXPECT_EQ(configured(readState(directory)), "P3");
    EXPECT_EQ(contentsOf(directory + "/config.json"), configOf(3));
    EXPECT_EQ(contentsOf(directory + "/counters.reef"), "counts");
}

TEST(ImportedDirectory, RefusesWhatIsNotItsOwn) {
    const TemporaryState byHand;
    EXPECT_THAT(refusal(byHand.path()), HasSubstr("config.json: was not written by an import"));
    EXPECT_EQ(contentsOf(byHand.document("config")), "{}");
    const TemporaryFolder folder;
    const ImportedDirectory first(folder.path());
    EXPECT_THAT(refusal(folder.path()), HasSubstr("another import is writing it"));
    fileIs(folder.file("file"), "");
    EXPECT_THAT(refusal(folder.file("file/below")), HasSubstr("cannot be made"));
}

TEST(ImportedDirectory, AFailedImportLeavesTheFormerState) {
    const TemporaryFolder folder;
    ImportedDirectory imported(folder.path());
    imported.documentsAre(configOf(1), statusOf(1));
    // Nothing can be renamed over a directory.
    std::filesystem::create_directory(folder.file("current.new"));
    fileIs(folder.file("current.new/something"), "");
    EXPECT_THROW(imported.documentsAre(configOf(2), statusOf(2)), StateError);
    EXPECT_EQ(configured(readState(folder.path())), "P1");
    EXPECT_FALSE(std::filesystem::exists(folder.file("generation-2")));
}

TEST(ImportedDirectory, TellsWhenTheSwitchWasHeard) {
    const TemporaryFolder folder;
    ImportedDirectory imported(folder.path());
    const auto heard = [&] { return StateDirectory::readHeard(folder.path()); };
    EXPECT_FALSE(heard());
    imported.heardIs(StateDirectory::Heard{Orb::Seconds(1700000000), "\"no\" answer\x1b"});
    EXPECT_EQ(heard()->time.count(), 1700000000);
    EXPECT_EQ(heard()->lost, "\"no\" answer\x1b");
    imported.heardIs(StateDirectory::Heard{Orb::Seconds(1700000001), ""});
    EXPECT_EQ(heard()->lost, "");
    imported.heardIs(std::nullopt);
    imported.heardIs(std::nullopt);
    EXPECT_THAT(namesIn(folder.path()), UnorderedElementsAre("import.lock"));
    for (const char* const text : {"", "{}", R"({"time": 5})", R"({"time": "now"})"}) {
        fileIs(folder.file("heard.json"), text);
        EXPECT_THROW(heard(), StateError) << text;
    }
    // A file that somebody made is no way out of the directory.
    std::filesystem::create_symlink(folder.file("elsewhere"), folder.file("heard.json.new"));
    EXPECT_THROW(imported.heardIs(StateDirectory::Heard{}), StateError);
}

TEST(ImportedDirectoryThreads, ReadersNeverSeeDocumentsOfTwoImports) {
    const TemporaryFolder folder;
    ImportedDirectory imported(folder.path());
    imported.documentsAre(configOf(0), statusOf(0));
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        for (int number = 1; number <= 100; ++number) {
            imported.documentsAre(configOf(number), statusOf(number));
        }
        isOver = true;
    });
    int states = 0;
    for (; !isOver; ++states) {
        const auto state = readState(folder.path());
        EXPECT_TRUE(state.cpu->policyMapStatus().contains(configured(state)));
    }
    writer.join();
    EXPECT_GT(states, 0);
    EXPECT_EQ(configured(readState(folder.path())), "P100");
}

}  // namespace
