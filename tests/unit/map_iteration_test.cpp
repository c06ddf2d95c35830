#include "map_fixture.hpp"

#include "map_internal.h"

#include <algorithm>
#include <cstdlib>

namespace {

class MapIterator : public MapTest {};

class MapAccess : public MapTest {};

class MapSort : public MapTest {};

std::vector<std::string> visited(const map_t &map)
{
    std::vector<std::string> keys;
    map_iter_t it{};
    for (const char *key = map_first(&map, &it); key != nullptr; key = map_next(&it)) {
        keys.push_back(key);
    }
    return keys;
}

// Keys that neither insertion nor hashing puts in sorted order.
void insert_scrambled(map_t &map, int count)
{
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i * 7919 % 100003).c_str(), "v"), 0);
    }
}

void expect_same(const map_iter_t &a, const map_iter_t &b)
{
    EXPECT_EQ(a.map, b.map);
    EXPECT_EQ(a.bucket, b.bucket);
    EXPECT_EQ(a.entry, b.entry);
}

} // namespace

TEST_F(MapIterator, VisitsBucketsByIndexAndEachChainInOrderOfInsertion)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    for (const char *key : {"ccc", "b", "aa", "a", "", "bbb"}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    EXPECT_EQ(visited(map), (std::vector<std::string>{"", "b", "a", "aa", "ccc", "bbb"}));
}

TEST_F(MapIterator, VisitsTheFirstAndTheLastBucket)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    ASSERT_EQ(insert(map, "\x1f", "last"), 0);
    ASSERT_EQ(insert(map, "\x20", "first"), 0);
    EXPECT_EQ(visited(map), (std::vector<std::string>{"\x20", "\x1f"}));
}

TEST_F(MapIterator, VisitsAReplacedKeyAfterTheOthersOfItsBucket)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    for (const char *key : {"a", "b", "c"}) {
        ASSERT_EQ(insert(map, key, "old"), 0);
    }
    ASSERT_EQ(replace(map, "a", "new"), 0);
    EXPECT_EQ(visited(map), (std::vector<std::string>{"b", "c", "a"}));
}

TEST_F(MapIterator, VisitsEveryKeyOnceInTablesOfAnySize)
{
    insert_scrambled(map, 500);
    for (uint32_t size : {1U, 2U, 32U, 4096U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(map_sethashsize(&map, size), 0);
        std::vector<std::string> keys = visited(map);
        EXPECT_EQ(keys, keys_of(map));
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
        EXPECT_EQ(keys.size(), 500U);
    }
}

TEST_F(MapIterator, VisitsKeysOfAHashThatExceedsTheTable)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_maximum), 0);
    ASSERT_EQ(insert(map, "b", "1"), 0);
    ASSERT_EQ(insert(map, "a", "2"), 0);
    EXPECT_EQ(visited(map), (std::vector<std::string>{"b", "a"}));
}

TEST_F(MapIterator, TellsTheMapTheBucketAndTheEntryItStandsOn)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    for (const char *key : {"aaaaaaa", "bbb", "aaa"}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "bbb");
    expect_same(it, {&map, 3, map_get_entry(&map, "bbb")});
    ASSERT_STREQ(map_next(&it), "aaa");
    expect_same(it, {&map, 3, map_get_entry(&map, "aaa")});
    ASSERT_STREQ(map_next(&it), "aaaaaaa");
    expect_same(it, {&map, 7, map_get_entry(&map, "aaaaaaa")});
}

TEST_F(MapIterator, HandsOutTheStoredKeyAndValueThemselves)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(insert(map, "a", "one"), 0);
    ASSERT_EQ(insert(map, "b", "x\0y\xff"s), 0);
    map_iter_t it{};
    for (const char *key : {"a", "b"}) {
        SCOPED_TRACE(key);
        const map_entry_t *entry = map_get_entry(&map, key);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(it.map == nullptr ? map_first(&map, &it) : map_next(&it), entry->key);
        EXPECT_EQ(map_key(&it), entry->key);
        EXPECT_EQ(map_value(&it), entry->value);
        EXPECT_EQ(map_valuesz(&it), entry->valuesz);
    }
    EXPECT_EQ(map_valuesz(&it), 4U);
}

TEST_F(MapIterator, GivesAPointerForAnEmptyValue)
{
    ASSERT_EQ(insert(map, "a", ""), 0);
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "a");
    EXPECT_NE(map_value(&it), nullptr);
    EXPECT_EQ(map_valuesz(&it), 0U);
}

TEST_F(MapIterator, FirstWithoutAnEntryGivesNoneAndLeavesTheIteratorAsItWas)
{
    Map filled;
    ASSERT_EQ(insert(*filled, "a", "v"), 0);
    map_iter_t used{};
    ASSERT_STREQ(map_first(&filled, &used), "a");

    Map released;
    ASSERT_EQ(map_destroy(&released), 0);
    for (const map_t *without : {&map, &released, static_cast<map_t *>(nullptr)}) {
        SCOPED_TRACE(without);
        for (const map_iter_t &before : {map_iter_t{}, used}) {
            map_iter_t it = before;
            EXPECT_EQ(map_first(without, &it), nullptr);
            expect_same(it, before);
        }
    }
}

TEST_F(MapIterator, FirstAfterTheLastKeyIsErasedGivesNone)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(map_erase(&map, "a"), 0);
    map_iter_t it{};
    EXPECT_EQ(map_first(&map, &it), nullptr);
    EXPECT_EQ(map_key(&it), nullptr);
}

TEST_F(MapIterator, FirstWithoutAnIteratorGivesNone)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(map_first(&map, nullptr), nullptr);
}

TEST_F(MapIterator, FirstStartsAUsedIteratorAnew)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(insert(map, "b", "v"), 0);
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "a");
    ASSERT_STREQ(map_next(&it), "b");
    ASSERT_EQ(map_next(&it), nullptr);
    EXPECT_STREQ(map_first(&map, &it), "a");
    EXPECT_EQ(it.bucket, static_cast<uint32_t>('a') % map.hashsize);
    EXPECT_STREQ(map_next(&it), "b");
}

TEST_F(MapIterator, FirstMovesAUsedIteratorToAnotherMap)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    Map other;
    ASSERT_EQ(insert(*other, "z", "w"), 0);
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "a");
    EXPECT_STREQ(map_first(&other, &it), "z");
    EXPECT_EQ(it.map, &other);
    EXPECT_EQ(map_next(&it), nullptr);
}

TEST_F(MapIterator, IteratorsOverOneMapAreIndependent)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(insert(map, "b", "v"), 0);
    map_iter_t one{};
    map_iter_t two{};
    ASSERT_STREQ(map_first(&map, &one), "a");
    ASSERT_STREQ(map_first(&map, &two), "a");
    EXPECT_STREQ(map_next(&one), "b");
    EXPECT_STREQ(map_key(&two), "a");
    EXPECT_STREQ(map_next(&two), "b");
}

TEST_F(MapIterator, NextAfterTheEndKeepsReturningNoneAndMovesTheBucketOnly)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    for (const char *only : {"\x05", "\x1f"}) {
        SCOPED_TRACE(testing::PrintToString(only));
        ASSERT_EQ(map_clear(&map), 0);
        ASSERT_EQ(insert(map, only, "v"), 0);
        map_iter_t it{};
        ASSERT_STREQ(map_first(&map, &it), only);
        for (uint32_t beyond = 0; beyond < 3; ++beyond) {
            EXPECT_EQ(map_next(&it), nullptr);
            expect_same(it, {&map, map.hashsize + beyond, map_get_entry(&map, only)});
        }
    }
}

TEST_F(MapIterator, KeepsReportingTheLastEntryAfterTheEnd)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(insert(map, "a", "one"), 0);
    ASSERT_EQ(insert(map, "b", "three"), 0);
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "a");
    ASSERT_STREQ(map_next(&it), "b");
    ASSERT_EQ(map_next(&it), nullptr);
    ASSERT_EQ(map_next(&it), nullptr);
    const map_entry_t *last = map_get_entry(&map, "b");
    EXPECT_EQ(map_key(&it), last->key);
    EXPECT_EQ(map_value(&it), last->value);
    EXPECT_EQ(map_valuesz(&it), 5U);
}

TEST_F(MapIterator, NextKeepsReturningNoneWhenTheBucketNumberCannotGrow)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    map_iter_t it{};
    ASSERT_STREQ(map_first(&map, &it), "a");
    ASSERT_EQ(map_next(&it), nullptr);
    it.bucket = UINT32_MAX;
    for (int poll = 0; poll < 3; ++poll) {
        EXPECT_EQ(map_next(&it), nullptr);
        EXPECT_GE(it.bucket, map.hashsize);
        EXPECT_STREQ(map_key(&it), "a");
    }
}

TEST_F(MapIterator, GivesNothingWhenItWasNeverStarted)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    const map_entry_t *entry = map_get_entry(&map, "a");
    for (const map_iter_t &before :
         {map_iter_t{}, map_iter_t{&map, 0, nullptr}, map_iter_t{nullptr, 0, entry}}) {
        SCOPED_TRACE(testing::Message() << before.map << ' ' << before.entry);
        map_iter_t it = before;
        EXPECT_EQ(map_next(&it), nullptr);
        EXPECT_EQ(map_key(&it), nullptr);
        EXPECT_EQ(map_value(&it), nullptr);
        EXPECT_EQ(map_valuesz(&it), 0U);
        expect_same(it, before);
    }
}

TEST_F(MapIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(map_next(nullptr), nullptr);
    EXPECT_EQ(map_key(nullptr), nullptr);
    EXPECT_EQ(map_value(nullptr), nullptr);
    EXPECT_EQ(map_valuesz(nullptr), 0U);
}

TEST_F(MapIterator, ChangesNothingAndAllocatesNothing)
{
    insert_scrambled(map, 50);
    const MapState before = state_of(map);
    std::size_t allocated;
    {
        allocations::Log log;
        map_iter_t it{};
        const char *key = map_first(&map, &it);
        while (key != nullptr) {
            key = map_next(&it);
        }
        allocated = log.sizes().size();
    }
    EXPECT_EQ(allocated, 0U);
    EXPECT_EQ(state_of(map), before);
}

TEST_F(MapAccess, IsEmptyTellsWhetherTheMapHoldsKeys)
{
    EXPECT_EQ(map_isempty(&map), 1);
    ASSERT_EQ(insert(map, "", ""), 0);
    EXPECT_EQ(map_isempty(&map), 0);
    ASSERT_EQ(insert(map, "b", ""), 0);
    EXPECT_EQ(map_isempty(&map), 0);
    ASSERT_EQ(map_clear(&map), 0);
    EXPECT_EQ(map_isempty(&map), 1);
}

TEST_F(MapAccess, ANullOrReleasedMapIsEmpty)
{
    EXPECT_EQ(map_isempty(nullptr), 1);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_isempty(&map), 1);
}

TEST_F(MapAccess, KeyCountStoresTheNumberOfKeys)
{
    int32_t count = -7;
    EXPECT_EQ(map_key_count(&map, &count), 0);
    EXPECT_EQ(count, 0);
    insert_scrambled(map, 40);
    EXPECT_EQ(map_key_count(&map, &count), 0);
    EXPECT_EQ(count, 40);
    ASSERT_EQ(map_erase(&map, "0"), 0);
    ASSERT_EQ(replace(map, "7919", "new"), 0);
    EXPECT_EQ(map_key_count(&map, &count), 0);
    EXPECT_EQ(count, 39);
}

TEST_F(MapAccess, KeyCountOfAReleasedMapIsZero)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(map_destroy(&map), 0);
    int32_t count = -7;
    EXPECT_EQ(map_key_count(&map, &count), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(MapAccess, KeyCountRefusesANullMapOrOutput)
{
    int32_t count = -7;
    EXPECT_EQ(map_key_count(nullptr, &count), EINVAL);
    EXPECT_EQ(count, -7);
    EXPECT_EQ(map_key_count(&map, nullptr), EINVAL);
    EXPECT_EQ(map_key_count(nullptr, nullptr), EINVAL);
}

TEST_F(MapAccess, KeyNameGivesTheKeyAtEachPositionOfTheIterationOrder)
{
    insert_scrambled(map, 100);
    map_iter_t it{};
    int32_t index = 0;
    for (const char *key = map_first(&map, &it); key != nullptr; key = map_next(&it)) {
        EXPECT_EQ(map_key_name(&map, index), key) << index;
        ++index;
    }
    EXPECT_EQ(index, 100);
}

TEST_F(MapAccess, KeyNameOutsideTheKeysGivesNone)
{
    insert_scrambled(map, 3);
    for (int32_t index : {3, 4, 1000, INT32_MAX, -1, -3, INT32_MIN}) {
        EXPECT_EQ(map_key_name(&map, index), nullptr) << index;
    }
}

TEST_F(MapAccess, KeyNameOfAMapWithoutKeysGivesNone)
{
    for (int32_t index : {-1, 0, 1}) {
        EXPECT_EQ(map_key_name(&map, index), nullptr) << index;
        EXPECT_EQ(map_key_name(nullptr, index), nullptr) << index;
    }
    ASSERT_EQ(insert(map, "a", "v"), 0);
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_key_name(&map, 0), nullptr);
}

TEST_F(MapAccess, GetEntryGivesNoneForANullMapOrKey)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(map_get_entry(nullptr, "a"), nullptr);
    EXPECT_EQ(map_get_entry(&map, nullptr), nullptr);
    EXPECT_EQ(map_get_entry(nullptr, nullptr), nullptr);
}

TEST_F(MapSort, ListsTheStoredKeysInByteOrderWithTheirPositions)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    for (const char *key : {"b", "\xff", "ab", "B", "\x80", "a", ""}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    map_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_map_sort(&map, &items, &count), 0);
    const std::vector<std::pair<std::string, int32_t>> expected = {
        {"", 6}, {"B", 3}, {"a", 5}, {"ab", 2}, {"b", 0}, {"\x80", 4}, {"\xff", 1},
    };
    ASSERT_EQ(count, static_cast<int32_t>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].key, expected[i].first);
        EXPECT_EQ(items[i].index, expected[i].second);
        EXPECT_EQ(items[i].key, map_key_name(&map, items[i].index));
    }
    std::free(items);
}

TEST_F(MapSort, SortsAThousandKeys)
{
    insert_scrambled(map, 1000);
    std::vector<std::string> in_order = keys_of(map);
    const std::vector<std::string> by_position = in_order;
    std::sort(in_order.begin(), in_order.end());
    map_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_map_sort(&map, &items, &count), 0);
    ASSERT_EQ(count, 1000);
    for (std::size_t i = 0; i < in_order.size(); ++i) {
        ASSERT_EQ(items[i].key, in_order[i]);
        ASSERT_EQ(by_position.at(static_cast<std::size_t>(items[i].index)), in_order[i]);
    }
    std::free(items);
}

TEST_F(MapSort, SortsKeysHoweverLongTheyBeginAlike)
{
    std::vector<std::string> in_order;
    for (std::size_t length = 0; length <= 17; ++length) {
        for (const char *end : {"", "A", "a", "b", "\x80", "\xff"}) {
            in_order.push_back(std::string(length, 'a') + 'B' + end);
        }
    }
    for (const std::string &key : in_order) {
        ASSERT_EQ(insert(map, key.c_str(), "v"), 0);
    }
    std::sort(in_order.begin(), in_order.end());
    map_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_map_sort(&map, &items, &count), 0);
    for (std::size_t i = 0; i < in_order.size(); ++i) {
        EXPECT_EQ(items[i].key, in_order[i]);
        EXPECT_EQ(items[i].key, map_key_name(&map, items[i].index));
    }
    std::free(items);
}

TEST_F(MapSort, MakesOneAllocationOfItsItems)
{
    insert_scrambled(map, 1000);
    map_sort_item_t *items = nullptr;
    int32_t count = 0;
    std::vector<std::size_t> sizes;
    {
        allocations::Log log;
        ASSERT_EQ(_map_sort(&map, &items, &count), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, std::vector<std::size_t>{1000 * sizeof(map_sort_item_t)});
    std::free(items);
}

TEST_F(MapSort, RefusesANullOutputAndLeavesTheOther)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    map_sort_item_t other{};
    map_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(EINVAL, [&] { return _map_sort(&map, nullptr, &count); });
    EXPECT_EQ(count, -7);
    expect_unchanged(EINVAL, [&] { return _map_sort(&map, &items, nullptr); });
    EXPECT_EQ(items, &other);
    expect_unchanged(EINVAL, [&] { return _map_sort(&map, nullptr, nullptr); });
}

TEST_F(MapSort, WithoutMemoryLeavesTheOutputs)
{
    ASSERT_EQ(insert(map, "a", "v"), 0);
    map_sort_item_t other{};
    map_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return _map_sort(&map, &items, &count);
    });
    EXPECT_EQ(items, &other);
    EXPECT_EQ(count, -7);
}
