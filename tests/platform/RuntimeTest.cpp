// What the object model offers beside objects: escaping of untrusted names, trace facilities, the
// activity lock.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <thread>

#include "orb/ActivityLock.h"
#include "orb/Escape.h"
#include "orb/Trace.h"

namespace {

TEST(Escape, showsControlCharactersAndReplacesInvalidUtf8) {
    using namespace std::string_literals;
    struct {
        std::string given, shown;
    } const rows[] = {
        {"", ""},
        {"edge in ~!\\\"", "edge in ~!\\\""},
        {"\0\t\n\r\x1b[2J\x1f"s, "\\x00\\x09\\x0a\\x0d\\x1b[2J\\x1f"},
        {"\x7f", "\\x7f"},
        {"\xc2\x80\xc2\x9b\xc2\x9f", "\\x80\\x9b\\x9f"},
        {"\xc2\xa0\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80",
         "\xc2\xa0\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"},
        {"\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf", "\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf"},
        // A bare C1 byte, a cut character, overlong forms, a surrogate, beyond U+10FFFF.
        {"\x9b", "\ufffd"},
        {"a\xc3", "a\ufffd"},
        {"\xc3(", "\ufffd("},
        {"\xe2\x82\x1b", "\ufffd\ufffd\\x1b"},
        {"\xc0\x9b", "\ufffd\ufffd"},
        {"\xc1\xbf", "\ufffd\ufffd"},
        {"\xe0\x80\x9b", "\ufffd\ufffd\ufffd"},
        {"\xf0\x80\x80\x9b", "\ufffd\ufffd\ufffd\ufffd"},
        {"\xed\xa0\x80", "\ufffd\ufffd\ufffd"},
        {"\xf4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd"},
        {"\xf5\xff\xfe", "\ufffd\ufffd\ufffd"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Orb::escaped(row.given), row.shown);
        // Plain text is what escaping leaves alone, ASCII only.
        EXPECT_TRUE(!Orb::isPlainAscii(row.given) || row.given == row.shown) << row.shown;
    }
    // No byte below 0x20 and no 0x7f survives, wherever it stands.
    for (int byte = 0; byte < 256; ++byte) {
        const std::string given = {'\xc2', static_cast<char>(byte), static_cast<char>(byte)};
        for (const char character : Orb::escaped(given)) {
            EXPECT_FALSE((character >= 0 && character < 0x20) || character == 0x7f) << byte;
        }
    }
}

// Trace lines go to a file for the life of the object.
class TraceFile {
  public:
    TraceFile() { Orb::traceOutputIs(fileno(file_)); }
    ~TraceFile() {
        Orb::traceOutputIs(STDERR_FILENO);
        std::fclose(file_);
    }
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    std::string text() const {
        std::array<char, 4096> buffer{};
        const ssize_t size = ::pread(fileno(file_), buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<std::size_t>(size < 0 ? 0 : size)};
    }

  private:
    std::FILE* file_ = std::tmpfile();
};

TEST(Trace, writesTheLevelsThatAreOn) {
    const TraceFile file;
    Orb::TraceFacility& trace = Orb::traceFacility("TraceTest");
    EXPECT_EQ(&Orb::traceFacility("TraceTest"), &trace);
    trace.levelIs(4);
    Orb::traceFacility("TraceTestOther").levelIs(9);
    for (U32 level = 0; level <= Orb::TraceFacility::maxLevel; ++level) {
        ORB_TRACE(trace, level, "level " << level);
    }
    trace.levelIs(0);
    ORB_TRACE(trace, 1, "off");
    ORB_TRACE(trace, 0, "name \x1b[31m" << std::string("x\ny"));
    EXPECT_EQ(file.text(),
              "TraceTest/0 level 0\nTraceTest/1 level 1\nTraceTest/2 level 2\n"
              "TraceTest/3 level 3\nTraceTest/4 level 4\n"
              "TraceTest/0 name \\x1b[31mx\\x0ay\n");
}

TEST(Trace, evaluatesNoArgumentWhileOff) {
    const TraceFile file;
    Orb::TraceFacility& trace = Orb::traceFacility("TraceTestOff");
    int evaluated = 0;
    ORB_TRACE(trace, 0, ++evaluated);
    trace.levelIs(Orb::TraceFacility::maxLevel);
    trace.levelDel();
    ORB_TRACE(trace, 0, ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(file.text(), "");
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
    {
        const Orb::ActivityUnlockGuard unlocked;
        EXPECT_FALSE(Orb::activityLockHeld());
        std::thread(add).join();  // would hang if the lock were still taken
    }
    EXPECT_TRUE(Orb::activityLockHeld());
    EXPECT_EQ(shared, 6000U);
    bool heldElsewhere = true;
    std::thread([&] { heldElsewhere = Orb::activityLockHeld(); }).join();
    EXPECT_FALSE(heldElsewhere);
}

TEST(ActivityLock, isTakenAgainWhenAnExceptionPasses) {
    const Orb::ActivityLockGuard guard;
    try {
        const Orb::ActivityUnlockGuard unlocked;
        throw 1;
    } catch (int) {
        EXPECT_TRUE(Orb::activityLockHeld());
    }
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
