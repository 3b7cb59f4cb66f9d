// A state that stays loaded while its documents change.
#include "state/LiveState.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "TemporaryState.h"
#include "orb/ActivityLock.h"

namespace {

using StateDirectory::LiveState;

// Puts a document in place as a whole, as who writes states does.
void replace(const TemporaryState& directory, std::string_view name, const std::string& text) {
    const std::string fresh = directory.file("fresh");
    fileIs(fresh, text);
    std::filesystem::rename(fresh, directory.document(name));
}

// Both policies of a version have its number.
std::string versionText(int number) {
    const std::string digits = std::to_string(number);
    return R"({"policyMapConfig": {"A)" + digits + R"(": {}, "B)" + digits + R"(": {}}})";
}

// The version that a state is of; -1: it is of none, or of several.
int versionOf(const StateDirectory::State& state) {
    std::set<int> numbers;
    for (const auto& [name, policy] : state.config->policyMapConfig()) {
        numbers.insert(std::stoi(name.substr(1)));
    }
    return numbers.size() == 1 ? *numbers.begin() : -1;
}

TEST(LiveStateThreads, sessionsKeepTheVersionThatTheyBeganWith) {
    const TemporaryState directory;
    replace(directory, "config", versionText(0));
    LiveState live(directory.path());
    {
        const Orb::ActivityLockGuard lock;
        EXPECT_EQ(versionOf(*live.loaded()), 0);
    }
    constexpr int last = 30;
    std::jthread writer([&] {
        for (int number = 1; number <= last; ++number) {
            replace(directory, "config", number % 3 == 1 ? "{" : versionText(number));
        }
    });
    for (int seen = 0; seen < last;) {
        const Orb::ActivityLockGuard lock;
        const StateDirectory::StatePtr state = live.loaded();
        const int begun = versionOf(*state);
        EXPECT_GE(begun, seen);
        {
            const Orb::ActivityUnlockGuard others;
            live.look();
            live.takeNews();
            live.refusal();
        }
        EXPECT_EQ(versionOf(*state), begun);
        seen = begun;
    }
    EXPECT_FALSE(live.refusal());
}

// A mistake leaves the former version in force; the documents put right are read again.
TEST(LiveStateThreads, refuseAMistakeAndKeepTheFormerVersion) {
    const TemporaryState directory;
    replace(directory, "config", "{");
    LiveState live(directory.path());
    {
        const Orb::ActivityLockGuard lock;
        EXPECT_THROW(live.loaded(), StateDirectory::StateError);
        EXPECT_EQ(live.loadedSoFar(), nullptr);
    }
    const auto caughtUp = [&] {
        live.catchUp(std::chrono::minutes(1));
        return live.inForce().state;
    };
    replace(directory, "config", versionText(1));
    ASSERT_NE(caughtUp(), nullptr);
    EXPECT_FALSE(live.refusal());
    const U64 refusals = live.refusals();
    replace(directory, "status", R"({"cpu": 1})");
    EXPECT_EQ(versionOf(*caughtUp()), 1);
    ASSERT_TRUE(live.refusal());
    EXPECT_THAT(live.refusal()->mistake, testing::HasSubstr("status.json: at \"/cpu\""));
    EXPECT_NE(live.refusal()->inForceSince, "");
    EXPECT_THAT(live.takeNews().value_or(""), testing::HasSubstr("is refused"));
    // A change that is told twice may be read twice.
    EXPECT_GT(live.refusals(), refusals);
    std::filesystem::remove(directory.document("config"));
    EXPECT_EQ(versionOf(*caughtUp()), 1);
    EXPECT_THAT(live.refusal()->mistake, testing::HasSubstr("config.json"));
    replace(directory, "status", "{}");
    replace(directory, "config", versionText(2));
    EXPECT_EQ(versionOf(*caughtUp()), 2);
}

}  // namespace
