// Names are texts in every use, whether they share one or not; attributes that are kept sparsely
// are attributes.
#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <thread>

#include "hive/StructuredFilter.h"
#include "orb/HashMap2018.h"
#include "orb/Name.h"
#include "orb/RbTreeMap.h"

namespace {

using Orb::Name;

TEST(Name, isItsText) {
    const std::string longText(100, 'x');
    for (const std::string& text : {std::string(), std::string("a"), std::string("a\0b", 3),
                                    std::string("permit-web-10"), longText}) {
        const Name name(text);
        const Name other(text);
        Name copy = name;
        EXPECT_EQ(name, other);
        EXPECT_EQ(name, text);
        EXPECT_EQ(text, name);
        EXPECT_EQ(name <=> other, std::strong_ordering::equal);
        EXPECT_EQ(name.textHash(), Orb::hashOf(text));
        EXPECT_EQ(Orb::hashOf(name), Orb::hashOf(std::string_view(text)));
        EXPECT_EQ(name.empty(), text.empty());
        EXPECT_EQ(name.size(), text.size());
        EXPECT_NE(name, text + "y");
        EXPECT_LT(name, Name(text + "y"));
        // The text stands in memory once, and ends with its last name.
        EXPECT_EQ(&copy.text(), &name.text());
        const Name moved = std::move(copy);
        EXPECT_EQ(moved, text);
        copy = moved;
        copy = *&copy;
        EXPECT_EQ(copy, text);
    }
}

TEST(Name, isFoundByTextsOfEveryKind) {
    Orb::HashMap2018<Name, int> map;
    Orb::RbTreeSet<Name> set;
    for (const int i : {3, 1, 2}) {
        for (int repeated = 0; repeated < 2; ++repeated) {
            map.is("rule-" + std::to_string(i), i);
            set.is("rule-" + std::to_string(i));
        }
    }
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(*map.find("rule-1"), 1);
    EXPECT_EQ(*map.find(std::string("rule-2")), 2);
    EXPECT_EQ(*map.find(std::string_view("rule-3")), 3);
    EXPECT_EQ(*map.find(Name("rule-1"), 2), 1);
    EXPECT_EQ(map.find("rule-4"), nullptr);
    EXPECT_TRUE(set.contains("rule-2"));
    EXPECT_EQ(std::vector<std::string>(set.begin(), set.end()),
              (std::vector<std::string>{"rule-1", "rule-2", "rule-3"}));
}

TEST(NameThreads, isCountedByAllThreadsTogether) {
    Name name("shared");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([name] {
            std::vector<Name> copies;
            for (int step = 0; step < 2000; ++step) {
                copies.push_back(name);
                if (copies.size() > 50) copies.clear();
            }
        });
    }
    name = Name();
    for (std::thread& thread : threads) thread.join();
}

// Each criterion alone, in every order of being set, and gone again.
TEST(SparseAttributes, doNotDisturbEachOther) {
    using namespace Classification;
    static constexpr void (*set[])(StructuredFilter&) = {
        [](StructuredFilter& filter) { filter.ttlIs(TtlRange(1, 2)); },
        [](StructuredFilter& filter) { filter.srcPrefixSetsIs("a"); },
        [](StructuredFilter& filter) { filter.fragmentIs(Orb::make<Fragment>(FragmentType())); },
        [](StructuredFilter& filter) { filter.vlanTagsIs(1U, Orb::make<VlanRangeSet>()); },
        [](StructuredFilter& filter) { filter.otherCriteriaIs("b"); },
        [](StructuredFilter& filter) { filter.protocolsIs(ProtocolRange(6, 6), nullptr); },
        [](StructuredFilter& filter) { filter.dscpIs(DscpRange(3, 3)); },
        [](StructuredFilter& filter) { filter.ipOptionsIs(true); },
    };
    const auto present = [](const StructuredFilter& filter) {
        return std::vector<bool>{!filter.ttl().empty(),
                                 filter.srcPrefixSets().contains("a"),
                                 filter.fragment() != nullptr,
                                 filter.vlanTags().size() == 2,
                                 filter.otherCriteria().contains("b"),
                                 filter.protocols().size() == 1,
                                 filter.dscp().contains(DscpRange(3, 3)),
                                 filter.ipOptions()};
    };
    std::mt19937 random(1);
    const U64 fragments = Fragment::orbType().liveCount();
    std::vector<std::size_t> order(std::size(set));
    std::iota(order.begin(), order.end(), 0U);
    for (int round = 0; round < 200; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        const auto filter = Orb::make<StructuredFilter>();
        std::vector<bool> expected(std::size(set));
        EXPECT_EQ(present(*filter), expected);
        for (const std::size_t i : order) {
            set[i](*filter);
            expected[i] = true;
            ASSERT_EQ(present(*filter), expected);
        }
        filter->srcPrefixSetsDel(std::string("a"));
        filter->otherCriteriaDelAll();
        filter->fragmentIs(nullptr);
        expected[1] = expected[2] = expected[4] = false;
        EXPECT_EQ(present(*filter), expected);
        EXPECT_TRUE(filter->length().empty());
    }
    EXPECT_EQ(Fragment::orbType().liveCount(), fragments);
}

}  // namespace
