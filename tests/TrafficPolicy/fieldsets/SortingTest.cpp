// Large prefix sets: sorting in pieces, when the activity lock is given up, and what others do to
// the sets meanwhile.
#include <numeric>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "FieldSetsFixture.h"
#include "blip/Blip.h"
#include "fieldsets/Ipv4Order.h"
#include "fieldsets/SortedRuns.h"

namespace TrafficPolicyCli::FieldSets {
namespace {

using std::string;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using Version = Classification::FieldSetIpPrefixSubConfig;

TEST(SortedRuns, SortPiecesOfAnySize) {
    const std::vector<std::vector<U32>> rows = {
        {}, {0}, {1}, {0, 0, 5, 0}, {100}, {3, 2, 1}, {1, 2, 3, 4, 50}, std::vector<U32>(33, 7),
    };
    std::mt19937 random(1);
    for (const std::vector<U32>& pieces : rows) {
        std::multiset<U32> expected;
        SortedRuns<U32> sorted(0);
        for (const U32 size : pieces) {
            for (U32 i = 0; i < size; ++i) {
                const U32 value = random() % 50;
                expected.insert(value);
                sorted.add(value);
            }
            sorted.endPiece();
        }
        sorted.add(25);  // a piece that nobody ended
        expected.insert(25);
        EXPECT_THAT(sorted.take(), ElementsAreArray(expected));
    }
}

// Prefixes of every length, host bits included, most of them in few networks.
std::set<Wire::IpGenPrefix> randomPrefixes(U32 count, bool ipv4) {
    std::mt19937 random(count);
    std::set<Wire::IpGenPrefix> prefixes;
    while (prefixes.size() < count) {
        const U32 network = random() % 3 == 0 ? random() : 10U << 24 | random() >> 8;
        const U32 address = random() % 8 == 0 ? network & 0xff0000ff : network;
        prefixes.insert(ipv4 ? Wire::IpGenPrefix(Wire::IpGenAddr::ipv4(address), random() % 33)
                             : Wire::IpGenPrefix(Wire::IpGenAddr::ipv6(network, U64{address} << 9),
                                                 random() % 129));
    }
    return prefixes;
}

TEST(Ipv4Order, SortsPiecesOfAnySize) {
    const std::vector<U32> rows[] = {
        {}, {0}, {1}, {0, 5, 0, 1}, {300}, {255, 256, 257}, {20'000, 1, 20'000}};
    for (const std::vector<U32>& pieces : rows) {
        const U32 last = 3;  // in a piece that nobody ended
        const auto expected =
            randomPrefixes(std::accumulate(pieces.begin(), pieces.end(), last), true);
        std::vector<Wire::IpGenPrefix> given(expected.begin(), expected.end());
        std::shuffle(given.begin(), given.end(), std::mt19937(1));
        Ipv4Order order(0);
        auto next = given.begin();
        for (const U32 size : pieces) {
            for (U32 i = 0; i < size; ++i) order.add(*next++);
            order.endPiece();
        }
        while (next != given.end()) order.add(*next++);
        order.sort();
        std::vector<Wire::IpGenPrefix> sorted;
        order.forEach([&](const auto& pfx) { sorted.push_back(pfx); });
        EXPECT_TRUE(std::equal(sorted.begin(), sorted.end(), expected.begin(), expected.end()));
    }
}

// /32 prefixes from 10.0.0.0 upwards.
Wire::IpGenPrefix numbered(U32 number) {
    return Wire::IpGenPrefix(Wire::IpGenAddr::ipv4(0x0a000000 + number), 32);
}

// The first of these prefixes, inserted in a shuffled order.
Orb::Ptr<Version> largeVersion(U32 prefixes, U32 exceptPrefixes = 0) {
    const auto version = Orb::make<Version>();
    std::vector<U32> numbers(std::max(prefixes, exceptPrefixes));
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(prefixes));
    for (const U32 number : numbers) {
        if (number < prefixes) version->prefixesIs(numbered(number));
        if (number < exceptPrefixes) version->exceptPrefixesIs(numbered(number));
    }
    return version;
}

Orb::Ptr<FieldSetConfig> configOf(const Orb::Ptr<Version>& version) {
    const auto config = Orb::make<FieldSetConfig>();
    config->fieldSetIpPrefixIs("LARGE", prefixSet("LARGE", version));
    return config;
}

Orb::Ptr<Version> versionOf(std::string_view only) {
    const auto version = Orb::make<Version>();
    version->prefixesIs(prefix(only));
    return version;
}

Orb::Ptr<ShowTrafficPolicyPrefixFieldSet> showOf(const Orb::Ptr<const FieldSetConfig>& config,
                                                 const string& filter = "") {
    return showTrafficPolicyPrefixFieldSetFactory(
        config, "", true, !filter.empty(), filter.empty() ? Wire::IpGenPrefix() : prefix(filter),
        false);
}

// The JSON list of the first of these prefixes, in their order.
string listOf(U32 count) {
    string list;
    for (U32 i = 0; i < count; ++i) {
        list += (i == 0 ? "{\"prefix\":\"" : ",{\"prefix\":\"") + numbered(i).stringValue() + "\"}";
    }
    return "[" + list + "]";
}

// What the action leaves in the ring-buffer trace.
std::vector<string> blipsOf(const std::function<void()>& action) {
    Blip::trace("the test begins");
    action();
    std::vector<string> texts;
    for (const Blip::Message& message : Blip::messages()) {
        if (message.text == "the test begins") {
            texts.clear();
        } else {
            texts.push_back(message.text);
        }
    }
    return texts;
}

// After every 25,000 prefixes of a list; what the filter leaves out is walked all the same.
TEST(PrefixSorting, YieldsAfterEvery25000Prefixes) {
    const struct {
        U32 prefixes, exceptPrefixes;
        string filter;
        U32 yields, exceptYields;
    } rows[] = {{0, 0, "", 0, 0},
                {24'999, 0, "", 0, 0},
                {25'000, 0, "", 1, 0},
                {25'001, 24'999, "", 1, 0},
                {50'000, 25'000, "", 2, 1},
                {1, 124'999, "", 0, 4},
                {50'000, 50'000, "10.0.0.0/24", 2, 2}};
    for (const auto& row : rows) {
        std::vector<string> expected;
        string listed = R"({"prefixFieldSets":{"LARGE":{"source":"static")";
        const auto expectList = [&](const string& list, const string& label, U32 count,
                                    U32 yields) {
            expected.push_back("begin copy+sort " + list);
            for (U32 i = 0; i < yields; ++i) {
                expected.push_back("yielding activing lock: sort " + label);
                expected.emplace_back("resuming");
            }
            expected.push_back("end copy+sort " + list);
            listed += list == "prefixes " ? ",\"prefixes\":" : ",\"exceptPrefixes\":";
            listed += listOf(row.filter.empty() ? count : std::min(count, U32{256}));
        };
        expectList("prefixes ", "prefixes", row.prefixes, row.yields);
        expectList("exceptPrefix ", "exceptPrefix", row.exceptPrefixes, row.exceptYields);
        const auto config = configOf(largeVersion(row.prefixes, row.exceptPrefixes));
        string report;
        EXPECT_EQ(blipsOf([&] { report = shown(showOf(config, row.filter), json); }), expected);
        EXPECT_TRUE(report == listed + "}}}\n");
    }
}

// Both families, which only a host can put into one set, and more than the output's buffer holds.
TEST(PrefixSorting, ListsAllOfAMixedSetInOrder) {
    auto expected = randomPrefixes(40'000, true);
    expected.merge(randomPrefixes(40'000, false));
    std::vector<Wire::IpGenPrefix> given(expected.begin(), expected.end());
    std::shuffle(given.begin(), given.end(), std::mt19937(1));
    const auto version = Orb::make<Version>();
    for (const auto& pfx : given) version->prefixesIs(pfx);
    const auto config = configOf(version);

    string list;
    string words = "Prefix ------ ";
    for (const auto& pfx : expected) {
        list += (list.empty() ? "" : ",") + (R"({"prefix":")" + pfx.stringValue() + "\"}");
        words += pfx.stringValue() + " ";
    }
    const string document = shown(showOf(config), json);
    EXPECT_NE(document.find("\"prefixes\":[" + list + "],"), string::npos);

    std::istringstream report(shown(showOf(config), text));
    string inOneLine;
    for (string word; report >> word;) inOneLine += word + " ";
    EXPECT_NE(inOneLine.find(words + "Exception Prefixes"), string::npos);
}

// Runs the action in a second thread as soon as it gets the activity lock: in the first yield of
// the report.
string shownWhile(const Orb::Ptr<ShowTrafficPolicyPrefixFieldSet>& show, U32 format,
                  const std::function<void()>& action) {
    const MemoryFile file;
    std::thread other;
    {
        const Orb::ActivityLockGuard locked;
        other = std::thread([&] {
            const Orb::ActivityLockGuard otherLocked;
            action();
        });
        show->render(static_cast<U32>(file.fd()), format, 2);
    }
    other.join();
    return file.text();
}

TEST(PrefixSortingThreads, ReplacedSetIsListedWholeAsItWas) {
    const U32 count = 200'000;
    const auto config = Orb::make<FieldSetConfig>();
    const auto large = prefixSet("B", largeVersion(count));
    const auto add = [&](const auto& set) { config->fieldSetIpPrefixIs(set->name(), set); };
    add(large);
    add(prefixSet("A", versionOf("192.0.2.1/32")));
    add(prefixSet("C", versionOf("192.0.2.2/32")));
    add(prefixSet("D", versionOf("192.0.2.3/32")));
    const Orb::Ptr<const Version> oldVersion = large->currCfg();

    bool replaced = false;
    const string report = shownWhile(showOf(config), json, [&] {
        large->currCfgIs(versionOf("192.0.2.4/32"));
        config->fieldSetIpPrefixDel("A");
        config->fieldSetIpPrefixDel("B");
        config->fieldSetIpPrefixDel("C");
        add(prefixSet("D", versionOf("192.0.2.5/32")));
        for (U32 i = 0; i < 1000; ++i)
            add(prefixSet("N" + std::to_string(i), Orb::make<Version>()));
        replaced = true;
    });

    ASSERT_TRUE(replaced);
    EXPECT_NE(report.find(R"("B":{"source":"static","prefixes":)" + listOf(count)), string::npos);
    // What came before the yield stands; what comes after it is as the other thread left it.
    EXPECT_THAT(report, testing::StartsWith(R"({"prefixFieldSets":{"A":{)"));
    EXPECT_THAT(report, HasSubstr("192.0.2.1/32"));
    EXPECT_THAT(report, Not(HasSubstr("\"C\":")));
    EXPECT_THAT(report, Not(HasSubstr("192.0.2.4/32")));
    EXPECT_THAT(report,
                EndsWith(R"(,"D":{"source":"static","prefixes":[{"prefix":"192.0.2.5/32"}],)"
                         R"("exceptPrefixes":[]}}})"
                         "\n"));
    EXPECT_EQ(oldVersion->references(), 1U);
}

TEST(InterruptedThreads, InAYieldTheSortEnds) {
    for (const U32 format : {text, json}) {
        const auto show = showOf(configOf(largeVersion(200'000)));
        string output;
        string console;
        const auto blips = blipsOf([&] {
            const Captured::StandardOutput standardOutput;
            output = shownWhile(show, format, [] { Orb::interruptRequestedIs(true); });
            console = standardOutput.text();
        });
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(console, "exiting interrupted\n");
        EXPECT_EQ(blips.back(), "resuming");
        EXPECT_EQ(output, format == text
                              ? "Traffic policy IPv4 prefix field set: LARGE\nSource: static\n\n"
                              : R"({"prefixFieldSets":{"LARGE":{"source":"static"}})");
    }
}

TEST(Interrupted, BeforeItBeginsNoViewPrintsAnything) {
    const auto config = configOf(versionOf("10.0.0.0/8"));
    const auto expectNothing = [](const auto& show) {
        const Captured::StandardOutput standardOutput;
        Orb::interruptRequestedIs(true);
        const string output = shown(show, text);
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(standardOutput.text(), "exiting interrupted\n");
        EXPECT_EQ(output, "");
    };
    expectNothing(showOf(config));
    expectNothing(showTrafficPolicyL4PortFieldSetFactory(config, "", true, {}));
    expectNothing(showTrafficPolicyVlanFieldSetFactory(config, "", true, {}));
    expectNothing(showTrafficPolicyMacFieldSetFactory(Orb::make<Orb::Dir>("macs"), ""));
}

}  // namespace
}  // namespace TrafficPolicyCli::FieldSets
