// What the object model offers beside objects: the nearest of known names, trace facilities, the
// activity lock.
#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "Captured.h"
#include "orb/ActivityLock.h"
#include "orb/Nearest.h"

namespace {

TEST(Nearest, fewestChangedBytesWin) {
    constexpr std::array<std::string_view, 4> known = {"interface", "cpu", "vlan", "vlam"};
    const std::pair<std::string_view, std::string_view> rows[] = {{"inteface", "interface"},
                                                                  {"interfacee", "interface"},
                                                                  {"intreface", "interface"},
                                                                  {"cup", "cpu"},
                                                                  {"vpu", "cpu"},
                                                                  {"", ""},
                                                                  {"vlans", "vlan"},
                                                                  {"OLD", ""},
                                                                  {"vrf", ""}};
    for (const auto& [word, nearest] : rows) EXPECT_EQ(Orb::nearest(word, known), nearest) << word;
    EXPECT_EQ(Orb::nearest("word", {}), "");
}

TEST(Trace, writesTheLevelsThatAreOn) {
    const Captured::Traces traces("TraceTest", 4);
    Orb::TraceFacility& trace = Orb::traceFacility("TraceTest");
    Orb::traceFacility("TraceTestOther").levelIs(9);
    for (U32 level = 0; level <= Orb::TraceFacility::maxLevel; ++level) {
        ORB_TRACE(trace, level, "level " << level);
    }
    trace.levelIs(0);
    int evaluated = 0;
    ORB_TRACE(trace, 1, ++evaluated);
    ORB_TRACE(trace, 0, "name \x1b[31m" << std::string("x\ny"));
    trace.levelDel();
    ORB_TRACE(trace, 0, ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(traces.lines(),
              (std::vector<std::string>{"0 level 0", "1 level 1", "2 level 2", "3 level 3",
                                        "4 level 4", "0 name \\x1b[31mx\\x0ay"}));
}

TEST(ActivityLockThreads, excludesAndLetsInWhereUnlocked) {
    U64 shared = 0;  // guarded by the activity lock
    const auto add = [&] {
        for (int i = 0; i < 2000; ++i) {
            const Orb::ActivityLockGuard guard;
            ++shared;
        }
    };
    std::thread first(add);
    std::thread second(add);
    first.join();
    second.join();

    const Orb::ActivityLockGuard guard;
    EXPECT_EQ(shared, 4000U);
    try {
        const Orb::ActivityUnlockGuard unlocked;
        EXPECT_FALSE(Orb::activityLockHeld());
        std::thread(add).join();  // would hang if the lock were still taken
        throw 1;
    } catch (int) {
    }
    EXPECT_TRUE(Orb::activityLockHeld());
    EXPECT_EQ(shared, 6000U);
    bool heldElsewhere = true;
    std::thread([&] { heldElsewhere = Orb::activityLockHeld(); }).join();
    EXPECT_FALSE(heldElsewhere);
}

TEST(ActivityLock, refusesTakingTwiceAndReleasingWithout) {
    EXPECT_DEATH(Orb::ActivityUnlockGuard(), "assertion failed: activityLockHeld\\(\\)");
    const auto takeTwice = [] {
        const Orb::ActivityLockGuard once;
        const Orb::ActivityLockGuard twice;
    };
    EXPECT_DEATH(takeTwice(), "assertion failed: !activityLockHeld\\(\\)");
}

}  // namespace
