// The containers of the object model, against the standard ones under random operations.
#include <gtest/gtest.h>

#include <random>
#include <unordered_map>

#include "orb/Array.h"
#include "orb/Dir.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"

namespace {

using Orb::HashMap2018;
using Orb::RbTreeMap;

// All multiples of 64 share the low bits of their hash before mixing; every fourth key collides
// with its neighbours outright.
struct Key {
    U32 number = 0;
    U64 hashValue() const { return U64{64} * (number / 4); }
    friend bool operator==(const Key&, const Key&) = default;
};
struct StandardHash {
    std::size_t operator()(const Key& key) const { return key.number; }
};
using Map = HashMap2018<Key, std::string>;
using Model = std::unordered_map<Key, std::string, StandardHash>;

void expectEqual(const Map& map, const Model& model) {
    ASSERT_EQ(map.size(), model.size());
    ASSERT_EQ(map.empty(), model.empty());
    U32 walked = 0;
    for (const auto& [key, value] : map) {
        ++walked;
        const auto found = model.find(key);
        ASSERT_NE(found, model.end()) << key.number;
        ASSERT_EQ(value, found->second);
    }
    ASSERT_EQ(walked, model.size());
    for (const auto& [key, value] : model) {
        ASSERT_NE(map.find(key), nullptr) << key.number;
        ASSERT_EQ(*map.find(key), value);
    }
}

TEST(HashMap2018, agreesWithTheStandardMapUnderRandomOperations) {
    // Small ranges stay around the size at which the index begins, large ones rebuild it.
    for (const U32 range : {6U, 12U, 24U, 2000U}) {
        std::mt19937 random(range);
        Map map;
        Model model;
        for (int step = 0; step < 6000; ++step) {
            const Key key{static_cast<U32>(random() % range)};
            const auto dice = random() % 100;
            if (dice < 60) {
                const std::string value = std::to_string(step);
                map.is(key, value);
                model.insert_or_assign(key, value);
            } else if (dice < 95) {
                map.del(key);
                model.erase(key);
            } else if (dice == 95) {
                map.reserve(static_cast<U32>(random() % (2UL * range)));
            } else if (dice == 96 && range < 100) {
                map.delAll();
                model.clear();
            }
            ASSERT_EQ(map.contains(key), model.count(key) == 1);
            if (step % 50 == 0) {
                ASSERT_NO_FATAL_FAILURE(expectEqual(map, model));
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectEqual(map, model));
    }
}

TEST(HashMap2018, aWalkMayDelete) {
    for (const U32 count : {1U, 8U, 9U, 10U, 1000U}) {
        for (const U32 keepEvery : {1U, 2U, 3U, ~U32{0}}) {
            Map map;
            Model model;
            for (U32 i = 0; i < count; ++i) map.is(Key{i}, std::to_string(i));
            std::vector<U32> seen(count);
            for (auto entry = map.begin(); entry != map.end();) {
                ++seen[entry->key.number];
                if ((entry->key.number + 1) % keepEvery == 0) {
                    model[entry->key] = entry->value;
                    ++entry;
                } else {
                    entry = map.del(entry);
                }
            }
            EXPECT_EQ(seen, std::vector<U32>(count, 1));
            ASSERT_NO_FATAL_FAILURE(expectEqual(map, model));
        }
    }
}

TEST(HashMap2018, costsOnePointerWhileEmpty) {
    static_assert(sizeof(Map) == sizeof(void*));
    static_assert(sizeof(Orb::HashSet2018<U32>) == sizeof(void*));
    Map map;
    map.reserve(0);
    EXPECT_EQ(map.begin(), nullptr);
    map.del(Key{1});
    EXPECT_EQ(map.find(Key{1}), nullptr);
    // The last removal gives the memory back, with and without an index.
    for (const U32 count : {1U, 20U}) {
        for (U32 i = 0; i < count; ++i) map.is(Key{i}, "value");
        for (U32 i = 0; i < count; ++i) map.del(Key{i});
        EXPECT_EQ(map.begin(), nullptr);
    }
}

TEST(HashMap2018, copiesAreIndependent) {
    Map map;
    for (U32 i = 0; i < 20; ++i) map.is(Key{i}, std::to_string(i));
    Map copy = map;
    copy.del(Key{3});
    copy.is(Key{4}, "other");
    EXPECT_EQ(map.size(), 20U);
    EXPECT_EQ(*map.find(Key{4}), "4");
    const Map moved = std::move(copy);
    EXPECT_EQ(moved.size(), 19U);
    map = moved;
    EXPECT_EQ(*map.find(Key{4}), "other");
}

TEST(HashMap2018, findsKeysByEqualValuesOfOtherTypes) {
    Orb::HashSet2018<std::string> names;
    Orb::HashSet2018<Orb::Ptr<Orb::Dir>> directories;
    const Orb::Dir* sample = nullptr;
    for (int i = 0; i < 30; ++i) {
        names.is(std::to_string(i));
        const auto directory = Orb::make<Orb::Dir>(std::to_string(i));
        sample = directory.get();
        directories.is(directory);
    }
    EXPECT_TRUE(names.contains("29"));
    EXPECT_TRUE(names.contains(std::string_view("29")));
    EXPECT_FALSE(names.contains("30"));
    EXPECT_TRUE(directories.contains(Orb::Ptr<const Orb::Dir>(sample)));
}

TEST(HashMap2018, setsHoldEachKeyOnce) {
    Orb::HashSet2018<std::string> set;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 30; ++i) set.is(std::to_string(i));
    }
    EXPECT_EQ(set.size(), 30U);
    EXPECT_TRUE(set.contains("29"));
    set.del("29");
    EXPECT_FALSE(set.contains("29"));
}

TEST(RbTreeMap, countsEntriesThatComeGoAndAreReplaced) {
    RbTreeMap<std::string, int> map;
    static constexpr struct {
        const char* what;
        void (*change)(RbTreeMap<std::string, int>&);
        U64 counted;
    } rows[] = {
        {"a new key", [](auto& m) { m.is("b", 1); }, 1},
        {"a value alone", [](auto& m) { m.is("b", 2); }, 1},
        {"another key", [](auto& m) { m.is("d", 3); }, 1},
        {"removal of an absent key", [](auto& m) { m.del("x"); }, 0},
        {"removal", [](auto& m) { m.del("b"); }, 1},
        {"emptying", [](auto& m) { m.delAll(); }, 1},
        {"emptying the empty", [](auto& m) { m.delAll(); }, 0},
    };
    for (const auto& row : rows) {
        const U64 before = map.changeCount();
        row.change(map);
        EXPECT_EQ(map.changeCount() - before, row.counted) << row.what;
    }
}

TEST(RbTreeMap, firstAfterFindsThePlaceOfARemovedKey) {
    Orb::RbTreeSet<std::string> set;
    for (const char* name : {"d", "b", "f"}) set.is(name);
    static constexpr struct {
        std::string_view key, next;
    } rows[] = {{"", "b"}, {"a", "b"}, {"b", "d"}, {"c", "d"}, {"e", "f"}, {"f", ""}, {"g", ""}};
    for (const auto& row : rows) {
        const auto found = set.firstAfter(row.key);
        EXPECT_EQ(found == set.end() ? std::string_view() : *found, row.next) << row.key;
    }
}

// A walk that re-seeks by key after a change meets every key that stays exactly once.
TEST(RbTreeMap, walksThatReseekMissAndRepeatNothing) {
    std::mt19937 random(7);
    RbTreeMap<U32, U32> map;
    for (U32 i = 0; i < 1000; i += 2) map.is(i, 0U);
    std::vector<U32> walked;
    for (auto entry = map.begin(); entry != map.end();) {
        const U32 key = entry->first;
        walked.push_back(key);
        const U64 before = map.changeCount();
        // Odd keys come and go; of the even ones only that of the walk's place goes.
        map.is(static_cast<U32>(random() % 500 * 2 + 1), 1U);
        map.del(static_cast<U32>(random() % 500 * 2 + 1));
        if (key % 10 == 0) map.del(key);
        entry = map.changeCount() == before ? std::next(entry) : map.firstAfter(key);
    }
    EXPECT_TRUE(std::is_sorted(walked.begin(), walked.end()));
    std::erase_if(walked, [](U32 key) { return key % 2 == 1; });
    ASSERT_EQ(walked.size(), 500U);
    for (U32 i = 0; i < 500; ++i) EXPECT_EQ(walked[i], 2 * i);
}

TEST(Array, readsHolesAsTheDefault) {
    Orb::Array<std::string> array;
    array.is(2, "two");
    array.is("three");
    array.del(9);
    EXPECT_EQ(array.size(), 4U);
    EXPECT_EQ(*array.find(0), "");
    EXPECT_EQ(*array.find(3), "three");
    EXPECT_EQ(array.find(4), nullptr);
    array.del(2);
    EXPECT_EQ(*array.find(2), "");
    EXPECT_EQ(array.size(), 4U);
}

}  // namespace
