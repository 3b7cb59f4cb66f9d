// The containers of the object model, against the standard ones under random operations.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <unordered_map>

#include "orb/Array.h"
#include "orb/Dir.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "orb/SortedMap.h"

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
    ASSERT_EQ(std::distance(map.begin(), map.end()), model.size());
    for (const auto& [key, value] : map) ASSERT_EQ(model.count(key), 1U) << key.number;
    for (const auto& [key, value] : model) {
        ASSERT_NE(map.find(key), nullptr) << key.number;
        ASSERT_EQ(*map.find(key), value);
    }
}

TEST(HashMap2018, agreesWithTheStandardMapUnderRandomOperations) {
    // Small ranges stay around the size at which the index begins, large ones rebuild it.
    for (const U32 range : {6U, 12U, 24U, 130U, 2000U}) {
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
        const Map copy = map;
        Map moved = std::move(map);
        moved.is(Key{range}, "another");
        ASSERT_NO_FATAL_FAILURE(expectEqual(copy, model));
        moved = copy;
        ASSERT_NO_FATAL_FAILURE(expectEqual(moved, model));
    }
}

// An index has positions of one, two and four bytes.
TEST(HashMap2018, findsEachOfManyKeysWhateverTheSizeOfTheIndex) {
    for (const U32 count : {127U, 128U, 129U, 255U, 256U, 257U, 32768U, 32769U, 65537U}) {
        Orb::HashSet2018<U32> set;
        if (count % 2 == 0) set.reserve(count);
        for (U32 key = 0; key < count; ++key) set.insertNew(3 * key);
        U32 found = 0;
        for (U32 key = 0; key < 3 * count; ++key) found += set.contains(key) ? 1 : 0;
        EXPECT_EQ(found, count);
    }
}

TEST(SortedMap, agreesWithTheStandardMapUnderRandomOperations) {
    std::mt19937 random(1);
    Orb::SortedMap<U32, std::string> map;
    std::map<U32, std::string> model;
    for (int step = 0; step < 2000; ++step) {
        const auto key = static_cast<U32>(random() % 40);
        if (random() % 3 == 0) {
            map.del(key);
            model.erase(key);
        } else {
            EXPECT_EQ(map.is(key, std::to_string(step)), std::to_string(step));
            model[key] = std::to_string(step);
        }
        ASSERT_EQ(map.find(key) != nullptr, model.count(key) == 1);
        ASSERT_TRUE(std::equal(map.begin(), map.end(), model.begin(), model.end(),
                               [](const auto& entry, const auto& expected) {
                                   return entry.key == expected.first &&
                                          entry.value == expected.second;
                               }));
    }
    map.delAll();
    EXPECT_TRUE(map.empty());
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
    // The last removal gives the memory back, with and without an index.
    for (const U32 count : {0U, 1U, 20U}) {
        for (U32 i = 0; i < count; ++i) map.is(Key{i}, "value");
        for (U32 i = 0; i < count; ++i) map.del(Key{i});
        EXPECT_EQ(map.begin(), nullptr);
        EXPECT_EQ(map.find(Key{1}), nullptr);
    }
}

TEST(HashMap2018, setsHoldKeysOnceAndFindThemByEqualValuesOfOtherTypes) {
    Orb::HashSet2018<std::string> names;
    Orb::HashSet2018<Orb::Ptr<Orb::Dir>> directories;
    const auto directory = Orb::make<Orb::Dir>("sample");
    for (int i = 0; i < 60; ++i) {
        names.is(std::to_string(i % 30));
        directories.is(i == 7 ? directory : Orb::make<Orb::Dir>(std::to_string(i)));
    }
    EXPECT_EQ(names.size(), 30U);
    EXPECT_TRUE(names.contains(std::string_view("29")));
    EXPECT_FALSE(names.contains("30"));
    EXPECT_TRUE(directories.contains(Orb::Ptr<const Orb::Dir>(directory.get())));
}

TEST(HashMap2018, manyKeysAtOnceAreFoundOrRefused) {
    for (const U32 count : {0U, 1U, 2U, 8U, 9U, 17U, 1000U}) {
        Map map;
        for (U32 i = 0; i < count; ++i) map.append({Key{i}, std::to_string(i)});
        ASSERT_TRUE(map.indexAll()) << count;
        for (U32 i = 0; i < 2 * count; ++i) {
            ASSERT_EQ(map.contains(Key{i}), i < count) << i << " of " << count;
        }
        for (U32 i = 0; i < 2 * count; i += 2) map.is(Key{i}, "again");
        for (U32 i = 1; i < count; i += 2) map.del(Key{i});
        for (U32 i = 0; i < 2 * count; ++i) {
            ASSERT_EQ(map.contains(Key{i}), i % 2 == 0) << i << " of " << count;
        }
        for (const U32 repeated : {0U, count / 2, count - 1}) {
            if (count == 0) break;
            Map twice;
            for (U32 i = 0; i < count; ++i) twice.append({Key{i}, ""});
            twice.append({Key{repeated}, ""});
            EXPECT_FALSE(twice.indexAll()) << repeated << " of " << count;
        }
    }
}

TEST(RbTreeMap, countsEntriesThatComeGoAndAreReplaced) {
    RbTreeMap<std::string, int> map;
    const auto counted = [&](const auto& change) {
        const U64 before = map.changeCount();
        change();
        return map.changeCount() - before;
    };
    EXPECT_EQ(counted([&] { map.is("b", 1); }), 1U);
    EXPECT_EQ(counted([&] { map.is("b", 2); }), 1U);
    EXPECT_EQ(counted([&] { map.del("absent"); }), 0U);
    EXPECT_EQ(counted([&] { map.del("b"); }), 1U);
    EXPECT_EQ(counted([&] { map.delAll(); }), 0U);
    map.is("d", 3);
    EXPECT_EQ(counted([&] { map.delAll(); }), 1U);
    // A walk over what was there before notices an assignment, of an empty map too.
    using Names = RbTreeMap<std::string, int>;
    EXPECT_EQ(counted([&] { map = Names(); }), 1U);
    Names changed;
    for (int i = 0; i < 50; ++i) changed.is("e", i);
    EXPECT_GE(counted([&] { map = changed; }), 1U);
    EXPECT_GE(counted([&] { map = Names(); }), 1U);
    EXPECT_EQ(map.begin(), map.end());
    EXPECT_EQ(Names().begin(), Names().end());
}

TEST(RbTreeMap, firstAfterFindsThePlaceOfARemovedKey) {
    Orb::RbTreeSet<std::string> set;
    for (const char* name : {"d", "b", "f"}) set.is(name);
    static constexpr std::pair<std::string_view, std::string_view> rows[] = {
        {"", "b"}, {"a", "b"}, {"b", "d"}, {"c", "d"}, {"e", "f"}, {"f", ""}, {"g", ""}};
    for (const auto& [key, next] : rows) {
        const auto found = set.firstAfter(key);
        EXPECT_EQ(found == set.end() ? std::string_view() : *found, next) << key;
    }
}

TEST(Array, readsHolesAsTheDefault) {
    Orb::Array<std::string> array;
    array.is(2, "two");
    array.is(3, "three");
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
