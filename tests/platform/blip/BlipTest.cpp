// The ring of the last messages: order, wrap-around, cutting, threads, and the dumped lines.
#include "blip/Blip.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <thread>

#include "Captured.h"

namespace {

TEST(Blip, keepsTheLastMessagesInOrder) {
    const auto before = std::chrono::system_clock::now();
    const U32 count = 2 * Blip::capacity + 5;
    for (U32 i = 0; i < count; ++i) Blip::trace("message " + std::to_string(i));
    const auto all = Blip::messages();
    ASSERT_EQ(all.size(), Blip::capacity);
    for (U32 i = 0; i < all.size(); ++i) {
        ASSERT_EQ(all[i].text, "message " + std::to_string(count - Blip::capacity + i));
        ASSERT_GE(all[i].time, i == 0 ? before : all[i - 1].time);
    }
    EXPECT_LE(all.back().time, std::chrono::system_clock::now());
}

TEST(Blip, cutsLongTextsBetweenCharacters) {
    const std::string fill(Blip::maxLength - 3, 'x');
    const std::pair<const char*, const char*> rows[] = {
        {"abc", "abc"},
        {"abcd", "abc"},
        {"a\xc3\xa9", "a\xc3\xa9"},
        {"ab\xc3\xa9", "ab"},
        {"\xf0\x9f\x98\x80", ""},
        {"a\xf0\x9f\x98\x80", "a"},
        {"a\x80\x80\x80\x80\x80\x80\x80\x80", "a\x80\x80"},
    };
    for (const auto& [given, kept] : rows) {
        Blip::trace(fill + given);
        EXPECT_EQ(Blip::messages().back().text, fill + kept);
    }
}

TEST(BlipThreads, loseNoMessage) {
    constexpr std::ptrdiff_t threadCount = 4;
    constexpr std::ptrdiff_t perThread = 900;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (std::ptrdiff_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < perThread; ++i) {
                Blip::trace("thread " + std::to_string(thread) + " " + std::to_string(i));
                EXPECT_FALSE(i % 300 == 0 && Blip::messages().empty());
            }
        });
    }
    for (auto& thread : threads) thread.join();
    // Every message is there, whole, and those of one thread are in order.
    const auto all = Blip::messages();
    std::map<std::string, int> next;
    for (auto message = all.end() - threadCount * perThread; message != all.end(); ++message) {
        const std::string thread = message->text.substr(0, 8);
        EXPECT_EQ(message->text, thread + " " + std::to_string(next[thread]++));
    }
    EXPECT_EQ(next.size(), threadCount);
}

TEST(Blip, dumpsOneEscapedLinePerMessage) {
    Blip::trace("yielding\n\x1b[31m\xc2\x9b\xff");
    Blip::trace("resuming");
    const Captured::MemoryFile file;
    ASSERT_TRUE(Blip::dump(file.fd()));
    const std::string text = file.text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), Blip::messages().size());
    const std::string time = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z )";
    const std::size_t last = text.rfind('\n', text.rfind("Z yielding"));
    EXPECT_TRUE(std::regex_match(
        text.substr(last + 1),
        std::regex(time + R"(yielding\\x0a\\x1b\[31m\\x9b)" + "\ufffd\n" + time + "resuming\n")))
        << text.substr(last + 1);
    const int full = ::open("/dev/full", O_WRONLY);
    EXPECT_FALSE(Blip::dump(full));
    ::close(full);
}

}  // namespace
