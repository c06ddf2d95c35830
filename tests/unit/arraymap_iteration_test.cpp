#include "arraymap_fixture.hpp"

#include "arraymap_internal.h"
#include "table/listing.hpp"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {

class ArraymapKeyIterator : public ArraymapTest {};

class ArraymapAccess : public ArraymapTest {};

class ArraymapSort : public ArraymapTest {};

class ArraymapValueIterator : public ArraymapTest {
  protected:
    // An iterator on the value at a position of the key's list.
    arraymap_value_iter_t iterator_at(const char *key, uint32_t position)
    {
        arraymap_value_iter_t it{};
        EXPECT_NE(arraymap_value_first(&map, key, &it), nullptr);
        for (; position != 0; --position) {
            EXPECT_NE(arraymap_value_next(&it), nullptr);
        }
        return it;
    }

    // An iterator that stays on the key's last value, moved on beyond it to a position.
    arraymap_value_iter_t iterator_past(const char *key, uint32_t position)
    {
        auto it = iterator_at(key, 0);
        for (uint32_t step = 0; step < position; ++step) {
            arraymap_value_next(&it);
        }
        EXPECT_EQ(it.node->next, nullptr);
        EXPECT_EQ(it.position, position);
        return it;
    }

    // A key "k" whose values 1, 2, 3, 4 have the indexes 0, 1, 1, 2.
    void fill_merged()
    {
        fill(map, {{"k", {"1", "2"}}, {"K", {"2", "3", "4"}}});
        ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
        ASSERT_EQ(indexes_of(map, "k"), (std::vector<uint32_t>{0, 1, 1, 2}));
    }
};

// Makes it an empty arraymap with as many buckets, a power of two or not.
void restart(arraymap_t &map, uint32_t hashsize)
{
    EXPECT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_init_special(&map, hashsize), 0);
}

arraymap_t arraymap_without_buckets()
{
    arraymap_t map;
    EXPECT_EQ(arraymap_init_special(&map, 0), 0);
    return map;
}

int hashed;

uint32_t counting_hash(const void *, const char *)
{
    ++hashed;
    return 0;
}

std::vector<std::string> visited_keys(const arraymap_t &map)
{
    std::vector<std::string> keys;
    arraymap_key_iter_t it{};
    for (const char *key = arraymap_key_first(&map, &it); key != nullptr;
         key = arraymap_key_next(&it)) {
        keys.push_back(key);
    }
    return keys;
}

std::vector<std::string> visited_values(const arraymap_t &map, const char *key)
{
    std::vector<std::string> values;
    arraymap_value_iter_t it{};
    for (const void *data = arraymap_value_first(&map, key, &it); data != nullptr;
         data = arraymap_value_next(&it)) {
        values.emplace_back(static_cast<const char *>(data), arraymap_value_size(&it));
    }
    return values;
}

std::vector<uint32_t> visited_positions(const arraymap_t &map, const char *key)
{
    std::vector<uint32_t> positions;
    arraymap_value_iter_t it{};
    for (const void *data = arraymap_value_first(&map, key, &it); data != nullptr;
         data = arraymap_value_next(&it)) {
        positions.push_back(arraymap_value_index(&it));
    }
    return positions;
}

std::vector<std::string> keys_of(const arraymap_t &map)
{
    std::vector<std::string> keys;
    for (const auto &[key, values] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

// Keys that neither insertion nor hashing puts in sorted order, each with two equal values.
void insert_scrambled(arraymap_t &map, int count)
{
    for (int i = 0; i < count; ++i) {
        fill(map, {{std::to_string(i * 7919 % 100003), {"v", "v"}}});
    }
}

uint32_t hash_all_to_maximum(const void *, const char *)
{
    return UINT32_MAX;
}

void expect_same(const arraymap_key_iter_t &a, const arraymap_key_iter_t &b)
{
    EXPECT_EQ(a.map, b.map);
    EXPECT_EQ(a.bucket, b.bucket);
    EXPECT_EQ(a.node, b.node);
}

void expect_same(const arraymap_value_iter_t &a, const arraymap_value_iter_t &b)
{
    EXPECT_EQ(a.map, b.map);
    EXPECT_EQ(a.position, b.position);
    EXPECT_EQ(a.key, b.key);
    EXPECT_EQ(a.node, b.node);
}

void expect_on_no_value(arraymap_value_iter_t it)
{
    const arraymap_value_iter_t before = it;
    EXPECT_EQ(arraymap_value_next(&it), nullptr);
    EXPECT_EQ(arraymap_value_elem(&it), nullptr);
    EXPECT_EQ(arraymap_value_size(&it), 0U);
    EXPECT_EQ(arraymap_value_index(&it), 0U);
    EXPECT_EQ(arraymap_value_count(&it), 0U);
    expect_same(it, before);
}

} // namespace

TEST_F(ArraymapKeyIterator, VisitsBucketsByIndexAndEachChainInOrderOfInsertion)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    fill(map,
         {{"ccc", {"v"}}, {"b", {"v"}}, {"aa", {"v"}}, {"a", {"v"}}, {"", {"v"}}, {"bbb", {"v"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"", "b", "a", "aa", "ccc", "bbb"}));
}

TEST_F(ArraymapKeyIterator, VisitsTheFirstAndTheLastBucket)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"\x1f", {"last"}}, {"\x20", {"first"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"\x20", "\x1f"}));
}

TEST_F(ArraymapKeyIterator, VisitsAKeyOnceHoweverManyValuesItHolds)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"b", {"1", "2", "3"}}, {"a", {"1"}}, {"b", {"4"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "a"}));
}

TEST_F(ArraymapKeyIterator, VisitsAKeyMadeAnewAfterTheOthersOfItsBucket)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}, {"c", {"v"}}});
    ASSERT_EQ(arraymap_remove(&map, "a", 0), 0);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "c", "a"}));
}

TEST_F(ArraymapKeyIterator, VisitsEveryKeyOnceInTablesOfAnySize)
{
    for (uint32_t size : {1U, 2U, 3U, 5U, 32U, 33U, 48U, 1000U, 4096U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        insert_scrambled(map, 200);
        std::vector<std::string> keys = visited_keys(map);
        EXPECT_EQ(keys, keys_of(map));
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
        EXPECT_EQ(keys.size(), 200U);
    }
}

TEST_F(ArraymapKeyIterator, VisitsTheBucketsInUseOfATableWhoseSizeIsNoPowerOfTwo)
{
    restart(map, 6);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    const struct {
        const char *key;
        uint32_t bucket;
    } in_order[] = {{"bb", 0}, {"ccc", 1}, {"a", 1}, {"ffffff", 4}, {"dddd", 4}, {"eeeee", 5}};
    for (const char *key : {"eeeee", "ccc", "ffffff", "a", "dddd", "bb"}) {
        fill(map, {{key, {"v"}}});
    }
    arraymap_key_iter_t it{};
    const char *key = arraymap_key_first(&map, &it);
    for (const auto &expected : in_order) {
        ASSERT_STREQ(key, expected.key);
        expect_same(it, {&map, expected.bucket, _arraymap_entry(&map, expected.key)});
        key = arraymap_key_next(&it);
    }
    EXPECT_EQ(key, nullptr);
    expect_same(it, {&map, 6, _arraymap_entry(&map, "eeeee")});
}

TEST_F(ArraymapKeyIterator, VisitsKeysThatWereMergedOnce)
{
    fill(map, {{"k", {"1"}}, {"K", {"2"}}, {"x", {"3"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"k", "x"}));
}

TEST_F(ArraymapKeyIterator, VisitsKeysOfAHashThatExceedsTheTable)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_maximum), 0);
    fill(map, {{"b", {"1"}}, {"a", {"2"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "a"}));
}

TEST_F(ArraymapKeyIterator, TellsTheArraymapTheBucketAndTheNodeItStandsOn)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    fill(map, {{"aaaaaaa", {"v"}}, {"bbb", {"v"}}, {"aaa", {"v"}}});
    arraymap_key_iter_t it{};
    ASSERT_STREQ(arraymap_key_first(&map, &it), "bbb");
    expect_same(it, {&map, 3, _arraymap_entry(&map, "bbb")});
    ASSERT_STREQ(arraymap_key_next(&it), "aaa");
    expect_same(it, {&map, 3, _arraymap_entry(&map, "aaa")});
    ASSERT_STREQ(arraymap_key_next(&it), "aaaaaaa");
    expect_same(it, {&map, 7, _arraymap_entry(&map, "aaaaaaa")});
}

TEST_F(ArraymapKeyIterator, HandsOutTheStoredKeyItself)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b\xff", {"v"}}});
    arraymap_key_iter_t it{};
    EXPECT_EQ(arraymap_key_first(&map, &it), stored_key(map, "a"));
    EXPECT_EQ(arraymap_key_elem(&it), stored_key(map, "a"));
    EXPECT_EQ(arraymap_key_next(&it), stored_key(map, "b\xff"));
    EXPECT_EQ(arraymap_key_elem(&it), stored_key(map, "b\xff"));
}

TEST_F(ArraymapKeyIterator, ElemDoesNotMoveTheIterator)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    arraymap_key_iter_t it{};
    ASSERT_STREQ(arraymap_key_first(&map, &it), "a");
    const arraymap_key_iter_t before = it;
    EXPECT_STREQ(arraymap_key_elem(&it), "a");
    EXPECT_STREQ(arraymap_key_elem(&it), "a");
    expect_same(it, before);
}

TEST_F(ArraymapKeyIterator, GivesAPointerForAnEmptyKey)
{
    fill(map, {{"", {"v"}}});
    arraymap_key_iter_t it{};
    EXPECT_STREQ(arraymap_key_first(&map, &it), "");
    EXPECT_STREQ(arraymap_key_elem(&it), "");
}

TEST_F(ArraymapKeyIterator, FirstOfAnEmptyArraymapGivesNoneAndStandsPastTheEnd)
{
    Arraymap filled;
    fill(*filled, {{"a", {"v"}}});
    for (uint32_t size : {1U, 32U, 48U, 64U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        arraymap_key_iter_t used{};
        ASSERT_STREQ(arraymap_key_first(&filled, &used), "a");
        for (arraymap_key_iter_t it : {arraymap_key_iter_t{}, used}) {
            EXPECT_EQ(arraymap_key_first(&map, &it), nullptr);
            expect_same(it, {&map, size, nullptr});
            EXPECT_EQ(arraymap_key_elem(&it), nullptr);
            EXPECT_EQ(arraymap_key_next(&it), nullptr);
        }
    }
}

TEST_F(ArraymapKeyIterator, FirstAfterTheLastValueIsRemovedGivesNone)
{
    fill(map, {{"a", {"v"}}});
    ASSERT_EQ(arraymap_remove(&map, "a", 0), 0);
    arraymap_key_iter_t it{};
    EXPECT_EQ(arraymap_key_first(&map, &it), nullptr);
    expect_same(it, {&map, map.hashsize, nullptr});
}

TEST_F(ArraymapKeyIterator, FirstWithoutBucketsGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(map, {{"a", {"v"}}});
    arraymap_key_iter_t used{};
    ASSERT_STREQ(arraymap_key_first(&map, &used), "a");
    const arraymap_t released = released_arraymap();
    const arraymap_t bucketless = arraymap_without_buckets();
    for (const arraymap_t *without :
         {&released, &bucketless, static_cast<const arraymap_t *>(nullptr)}) {
        SCOPED_TRACE(without);
        for (const arraymap_key_iter_t &before : {arraymap_key_iter_t{}, used}) {
            arraymap_key_iter_t it = before;
            EXPECT_EQ(arraymap_key_first(without, &it), nullptr);
            expect_same(it, before);
        }
    }
}

TEST_F(ArraymapKeyIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(arraymap_key_first(&map, nullptr), nullptr);
}

TEST_F(ArraymapKeyIterator, FirstStartsAUsedIteratorAnew)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    arraymap_key_iter_t it{};
    ASSERT_STREQ(arraymap_key_first(&map, &it), "a");
    ASSERT_STREQ(arraymap_key_next(&it), "b");
    ASSERT_EQ(arraymap_key_next(&it), nullptr);
    EXPECT_STREQ(arraymap_key_first(&map, &it), "a");
    EXPECT_EQ(it.bucket, static_cast<uint32_t>('a') % map.hashsize);
    EXPECT_STREQ(arraymap_key_next(&it), "b");
}

TEST_F(ArraymapKeyIterator, FirstMovesAUsedIteratorToAnotherArraymap)
{
    fill(map, {{"a", {"v"}}});
    Arraymap other;
    fill(*other, {{"z", {"w"}}});
    arraymap_key_iter_t it{};
    ASSERT_STREQ(arraymap_key_first(&map, &it), "a");
    EXPECT_STREQ(arraymap_key_first(&other, &it), "z");
    EXPECT_EQ(it.map, &other);
    EXPECT_EQ(arraymap_key_next(&it), nullptr);
}

TEST_F(ArraymapKeyIterator, IteratorsOverOneArraymapAreIndependent)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    arraymap_key_iter_t one{};
    arraymap_key_iter_t two{};
    ASSERT_STREQ(arraymap_key_first(&map, &one), "a");
    ASSERT_STREQ(arraymap_key_first(&map, &two), "a");
    EXPECT_STREQ(arraymap_key_next(&one), "b");
    EXPECT_STREQ(arraymap_key_elem(&two), "a");
    EXPECT_STREQ(arraymap_key_next(&two), "b");
}

TEST_F(ArraymapKeyIterator, NextAfterTheEndStaysOnTheLastKeyInTheBucketOfTheHashSize)
{
    for (uint32_t size : {1U, 32U, 33U, 48U}) {
        for (const char *last : {"\x05", "\x2f", "\xff"}) {
            SCOPED_TRACE(testing::Message() << size << ' ' << testing::PrintToString(last));
            restart(map, size);
            ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
            fill(map, {{"\x80", {"v"}}, {last, {"v", "v"}}});
            arraymap_key_iter_t it{};
            ASSERT_STREQ(arraymap_key_first(&map, &it), "\x80");
            ASSERT_STREQ(arraymap_key_next(&it), last);
            for (int poll = 0; poll < 5; ++poll) {
                EXPECT_EQ(arraymap_key_next(&it), nullptr);
                expect_same(it, {&map, size, _arraymap_entry(&map, last)});
                EXPECT_EQ(arraymap_key_elem(&it), stored_key(map, last));
            }
        }
    }
}

TEST_F(ArraymapKeyIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(map, {{"a", {"v"}}});
    const arraymap_key_t *node = _arraymap_entry(&map, "a");
    for (const arraymap_key_iter_t &before :
         {arraymap_key_iter_t{}, arraymap_key_iter_t{&map, 0, nullptr},
          arraymap_key_iter_t{nullptr, 0, node}}) {
        SCOPED_TRACE(testing::Message() << before.map << ' ' << before.node);
        arraymap_key_iter_t it = before;
        EXPECT_EQ(arraymap_key_next(&it), nullptr);
        EXPECT_EQ(arraymap_key_elem(&it), nullptr);
        expect_same(it, before);
    }
}

TEST_F(ArraymapKeyIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(arraymap_key_next(nullptr), nullptr);
    EXPECT_EQ(arraymap_key_elem(nullptr), nullptr);
}

TEST_F(ArraymapKeyIterator, ChangesNothingAllocatesNothingAndLooksNothingUp)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    insert_scrambled(map, 50);
    expect_unchanged(0, [&] {
        hashed = 0;
        std::size_t steps = 0;
        std::size_t allocated;
        {
            allocations::Log log;
            arraymap_key_iter_t it{};
            const char *key = arraymap_key_first(&map, &it);
            for (; key != nullptr; key = arraymap_key_next(&it)) {
                ++steps;
            }
            allocated = log.sizes().size();
        }
        EXPECT_EQ(steps, 50U);
        EXPECT_EQ(allocated, 0U);
        EXPECT_EQ(hashed, 0);
        return 0;
    });
}

TEST_F(ArraymapValueIterator, VisitsTheValuesOfAKeyInOrderOfInsertion)
{
    fill(map, {{"k", {"z", "", "a\0b"s, "z\0"s, "\x80\xff"}}, {"other", {"x"}}});
    EXPECT_EQ(visited_values(map, "k"),
              (std::vector<std::string>{"z", "", "a\0b"s, "z\0"s, "\x80\xff"}));
}

TEST_F(ArraymapValueIterator, VisitsEachOfEqualValuesInItsPlace)
{
    fill(map, {{"k", {"a", "b", "a", "a"}}});
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"a", "b", "a", "a"}));
    std::set<const void *> visited;
    for (uint32_t position = 0; position < 4; ++position) {
        SCOPED_TRACE(position);
        const auto it = iterator_at("k", position);
        EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", position));
        EXPECT_EQ(arraymap_value_index(&it), position);
        visited.insert(arraymap_value_elem(&it));
    }
    EXPECT_EQ(visited.size(), 4U);
}

TEST_F(ArraymapValueIterator, VisitsNoValueOfAnotherKeyOfTheBucket)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"1"}}, {"b", {"2"}}, {"a", {"1"}}, {"c", {"4"}}});
    EXPECT_EQ(visited_values(map, "a"), (std::vector<std::string>{"1", "1"}));
    EXPECT_EQ(visited_values(map, "b"), (std::vector<std::string>{"2"}));
    EXPECT_EQ(visited_values(map, "c"), (std::vector<std::string>{"4"}));
}

TEST_F(ArraymapValueIterator, VisitsAValueInsertedAgainAfterTheOthers)
{
    fill(map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(arraymap_delete(&map, "k", "a", 1), 0);
    ASSERT_EQ(insert(map, "k", "a"), 0);
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"b", "c", "a"}));
}

TEST_F(ArraymapValueIterator, VisitsAReplacedValueInItsPlace)
{
    fill(map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(arraymap_replace(&map, "k", 1, "longer", 6), 0);
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"a", "longer", "c"}));
    EXPECT_EQ(visited_positions(map, "k"), (std::vector<uint32_t>{0, 1, 2}));
}

TEST_F(ArraymapValueIterator, CountsPositionsAnewAfterARemoval)
{
    fill(map, {{"k", {"a", "b", "c", "b"}}});
    ASSERT_EQ(arraymap_remove(&map, "k", 0), 0);
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"b", "c", "b"}));
    EXPECT_EQ(visited_positions(map, "k"), (std::vector<uint32_t>{0, 1, 2}));
    ASSERT_EQ(arraymap_delete(&map, "k", "b", 1), 0);
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"c"}));
    EXPECT_EQ(visited_positions(map, "k"), (std::vector<uint32_t>{0}));
}

TEST_F(ArraymapValueIterator, CountsPositionsAndDoesNotReadTheIndexesOfTheNodes)
{
    fill_merged();
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"1", "2", "3", "4"}));
    EXPECT_EQ(visited_positions(map, "k"), (std::vector<uint32_t>{0, 1, 2, 3}));
    for (uint32_t position = 0; position < 4; ++position) {
        const auto it = iterator_at("k", position);
        EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", position)) << position;
    }
}

TEST_F(ArraymapValueIterator, VisitsEveryKeyAndValueTogetherWithAKeyIterator)
{
    for (uint32_t size : {1U, 32U, 48U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        insert_scrambled(map, 100);
        ASSERT_EQ(insert(map, "0", "v"), 0);
        std::vector<KeyValues> content;
        arraymap_key_iter_t it{};
        for (const char *key = arraymap_key_first(&map, &it); key != nullptr;
             key = arraymap_key_next(&it)) {
            content.emplace_back(key, visited_values(map, key));
        }
        EXPECT_EQ(content, content_of(map));
    }
}

TEST_F(ArraymapValueIterator, TellsTheArraymapThePositionTheKeyAndTheNodeItStandsOn)
{
    fill(map, {{"other", {"x"}}, {"k", {"one", "two"}}});
    const arraymap_key_t *key = _arraymap_entry(&map, "k");
    arraymap_value_iter_t it{};
    ASSERT_NE(arraymap_value_first(&map, "k", &it), nullptr);
    expect_same(it, {&map, 0, key, _arraymap_value(&map, "k", "one", 3)});
    ASSERT_NE(arraymap_value_next(&it), nullptr);
    expect_same(it, {&map, 1, key, _arraymap_value(&map, "k", "two", 3)});
}

TEST_F(ArraymapValueIterator, HandsOutTheStoredValueItselfAndItsLength)
{
    fill(map, {{"k", {"one", "a\0b\xff"s}}});
    arraymap_value_iter_t it{};
    EXPECT_EQ(arraymap_value_first(&map, "k", &it), stored_text(map, "k", 0));
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 0));
    EXPECT_EQ(arraymap_value_size(&it), 3U);
    EXPECT_EQ(arraymap_value_next(&it), stored_text(map, "k", 1));
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 1));
    EXPECT_EQ(arraymap_value_size(&it), 4U);
}

TEST_F(ArraymapValueIterator, CountsTheNulOfAStoredTextInItsSize)
{
    fill(map, {{"k", {"text\0"s}}});
    const auto it = iterator_at("k", 0);
    EXPECT_EQ(arraymap_value_size(&it), 5U);
}

TEST_F(ArraymapValueIterator, GivesLengthPositionAndCountOfAnySizeWhole)
{
    // Two gigabytes, or as many values, cost too much to store: the nodes are made here.
    for (uint32_t number : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        SCOPED_TRACE(number);
        const arraymap_key_t key{nullptr, nullptr, "k", number, {nullptr, nullptr}};
        const arraymap_value_t value{nullptr, nullptr, "v", number, 0};
        const arraymap_value_iter_t it{&map, number, &key, &value};
        EXPECT_EQ(arraymap_value_size(&it), number);
        EXPECT_EQ(arraymap_value_index(&it), number);
        EXPECT_EQ(arraymap_value_count(&it), number);
    }
}

TEST_F(ArraymapValueIterator, GivesAPointerForAnEmptyValue)
{
    fill(map, {{"k", {"", "v"}}});
    arraymap_value_iter_t it{};
    EXPECT_NE(arraymap_value_first(&map, "k", &it), nullptr);
    EXPECT_NE(arraymap_value_elem(&it), nullptr);
    EXPECT_EQ(arraymap_value_size(&it), 0U);
    EXPECT_EQ(arraymap_value_count(&it), 2U);
    EXPECT_NE(arraymap_value_next(&it), nullptr);
    EXPECT_EQ(arraymap_value_size(&it), 1U);
    EXPECT_EQ(arraymap_value_index(&it), 1U);
}

TEST_F(ArraymapValueIterator, FindsTheValuesOfAnEmptyKey)
{
    fill(map, {{"", {"v"}}});
    EXPECT_EQ(visited_values(map, ""), (std::vector<std::string>{"v"}));
}

TEST_F(ArraymapValueIterator, ComparesKeysAsTheArraymapDoes)
{
    fill(map, {{"Key", {"v", "w"}}});
    arraymap_value_iter_t it{};
    EXPECT_EQ(arraymap_value_first(&map, "kEY", &it), nullptr);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_value_first(&map, "kEY", &it), stored_text(map, "Key", 0));
    EXPECT_STREQ(it.key->key, "Key");
    EXPECT_EQ(arraymap_value_count(&it), 2U);
}

TEST_F(ArraymapValueIterator, KeepsTheStoredKeyAndNotTheCallers)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"3", "4", "5"}}});
    arraymap_value_iter_t it{};
    {
        std::string key = "a";
        ASSERT_NE(arraymap_value_first(&map, key.c_str(), &it), nullptr);
        EXPECT_EQ(it.key->key, stored_key(map, "a"));
        key = "b";
        EXPECT_EQ(arraymap_value_count(&it), 2U);
    }
    EXPECT_EQ(arraymap_value_next(&it), stored_text(map, "a", 1));
    EXPECT_EQ(arraymap_value_count(&it), 2U);
    EXPECT_EQ(arraymap_value_next(&it), nullptr);
}

TEST_F(ArraymapValueIterator, TakesTheStoredKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at(stored_key(map, "k"), 1);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 1));
}

TEST_F(ArraymapValueIterator, TakesAValueForAKey)
{
    fill(map, {{"k", {"other\0"s}}, {"other", {"1"}}});
    arraymap_value_iter_t it{};
    EXPECT_EQ(arraymap_value_first(&map, stored_text(map, "k", 0), &it),
              stored_text(map, "other", 0));
}

TEST_F(ArraymapValueIterator, TakesItsOwnKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    auto it = iterator_at("k", 1);
    EXPECT_EQ(arraymap_value_first(&map, it.key->key, &it), stored_text(map, "k", 0));
    expect_same(it, iterator_at("k", 0));
}

TEST_F(ArraymapValueIterator, TakesItsOwnValueForAKey)
{
    fill(map, {{"k", {"other\0"s}}, {"other", {"1"}}});
    auto it = iterator_at("k", 0);
    EXPECT_EQ(arraymap_value_first(&map, static_cast<const char *>(it.node->data), &it),
              stored_text(map, "other", 0));
    expect_same(it, iterator_at("other", 0));
}

TEST_F(ArraymapValueIterator, FirstOfAMissingKeyGivesNoneAndStandsOnNoKeyAndNoValue)
{
    fill(map, {{"a", {"1", "2"}}});
    for (arraymap_value_iter_t it :
         {arraymap_value_iter_t{}, iterator_at("a", 1), iterator_past("a", 3)}) {
        SCOPED_TRACE(it.position);
        EXPECT_EQ(arraymap_value_first(&map, "b", &it), nullptr);
        expect_same(it, {&map, 0, nullptr, nullptr});
        expect_on_no_value(it);
    }
}

TEST_F(ArraymapValueIterator, AfterAMissingKeyCountsNothingEvenOnceTheKeyIsThere)
{
    arraymap_value_iter_t it{};
    ASSERT_EQ(arraymap_value_first(&map, "k", &it), nullptr);
    fill(map, {{"k", {"v"}}});
    expect_on_no_value(it);
}

TEST_F(ArraymapValueIterator, FirstWithoutAnArgumentGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(map, {{"a", {"1", "2"}}});
    const arraymap_t released = released_arraymap();
    const arraymap_t bucketless = arraymap_without_buckets();
    const struct {
        const arraymap_t *map;
        const char *key;
    } calls[] = {
        {nullptr, "a"}, {&released, "a"}, {&bucketless, "a"}, {&map, nullptr}, {nullptr, nullptr}};
    for (const auto &call : calls) {
        SCOPED_TRACE(testing::Message() << call.map << ' ' << (call.key != nullptr));
        for (const arraymap_value_iter_t &before :
             {arraymap_value_iter_t{}, iterator_at("a", 1), iterator_past("a", 2)}) {
            arraymap_value_iter_t it = before;
            EXPECT_EQ(arraymap_value_first(call.map, call.key, &it), nullptr);
            expect_same(it, before);
        }
    }
}

TEST_F(ArraymapValueIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(arraymap_value_first(&map, "a", nullptr), nullptr);
}

TEST_F(ArraymapValueIterator, FirstStartsAUsedIteratorAnew)
{
    fill(map, {{"k", {"1", "2"}}});
    for (arraymap_value_iter_t it : {iterator_at("k", 1), iterator_past("k", 3)}) {
        SCOPED_TRACE(it.position);
        EXPECT_EQ(arraymap_value_first(&map, "k", &it), stored_text(map, "k", 0));
        EXPECT_EQ(arraymap_value_index(&it), 0U);
        EXPECT_EQ(arraymap_value_next(&it), stored_text(map, "k", 1));
        EXPECT_EQ(arraymap_value_index(&it), 1U);
    }
}

TEST_F(ArraymapValueIterator, FirstMovesAUsedIteratorToAnotherArraymapAndKey)
{
    fill(map, {{"a", {"1", "2"}}});
    Arraymap other;
    fill(*other, {{"z", {"3"}}});
    auto it = iterator_at("a", 1);
    EXPECT_EQ(arraymap_value_first(&other, "z", &it), stored_text(*other, "z", 0));
    expect_same(it,
                {&other, 0, _arraymap_entry(&other, "z"), _arraymap_value(&other, "z", "3", 1)});
    EXPECT_EQ(arraymap_value_count(&it), 1U);
    EXPECT_EQ(arraymap_value_next(&it), nullptr);
}

TEST_F(ArraymapValueIterator, IteratorsOverOneKeyAreIndependent)
{
    fill(map, {{"k", {"1", "2"}}});
    auto one = iterator_at("k", 0);
    const auto two = one;
    EXPECT_EQ(arraymap_value_next(&one), stored_text(map, "k", 1));
    EXPECT_EQ(arraymap_value_elem(&two), stored_text(map, "k", 0));
    EXPECT_EQ(arraymap_value_index(&one), 1U);
    EXPECT_EQ(arraymap_value_index(&two), 0U);
}

TEST_F(ArraymapValueIterator, ReadingTheCurrentValueDoesNotMoveTheIterator)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 0);
    const auto before = it;
    arraymap_value_elem(&it);
    arraymap_value_size(&it);
    arraymap_value_index(&it);
    arraymap_value_count(&it);
    expect_same(it, before);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 0));
}

TEST_F(ArraymapValueIterator, NextAfterTheEndStaysOnTheLastValueWhileThePositionGrows)
{
    fill(map, {{"several", {"1", "2", "last"}}, {"one", {"last"}}});
    for (const char *key : {"several", "one"}) {
        SCOPED_TRACE(key);
        const arraymap_key_t *node = _arraymap_entry(&map, key);
        const arraymap_value_t *last = _arraymap_value(&map, key, "last", 4);
        auto it = iterator_at(key, node->count - 1);
        for (uint32_t position = node->count; position < node->count + 5; ++position) {
            EXPECT_EQ(arraymap_value_next(&it), nullptr);
            expect_same(it, {&map, position, node, last});
            EXPECT_EQ(arraymap_value_elem(&it), last->data);
            EXPECT_EQ(arraymap_value_size(&it), 4U);
            EXPECT_EQ(arraymap_value_index(&it), position);
            EXPECT_EQ(arraymap_value_count(&it), node->count);
        }
    }
}

TEST_F(ArraymapValueIterator, AtItsEndTheIndexIsTheNumberOfValues)
{
    fill(map, {{"k", {"1", "1", "last"}}, {"other", {"x"}}});
    const auto it = iterator_past("k", 3);
    EXPECT_EQ(arraymap_value_index(&it), 3U);
    EXPECT_EQ(arraymap_value_index(&it), arraymap_value_count(&it));
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 2));
}

TEST_F(ArraymapValueIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 1);
    for (const arraymap_value_iter_t &unstarted :
         {arraymap_value_iter_t{}, arraymap_value_iter_t{nullptr, 1, it.key, it.node},
          arraymap_value_iter_t{&map, 1, nullptr, it.node},
          arraymap_value_iter_t{&map, 1, it.key, nullptr}}) {
        SCOPED_TRACE(testing::Message()
                     << unstarted.map << ' ' << unstarted.key << ' ' << unstarted.node);
        expect_on_no_value(unstarted);
    }
}

TEST_F(ArraymapValueIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(arraymap_value_next(nullptr), nullptr);
    EXPECT_EQ(arraymap_value_elem(nullptr), nullptr);
    EXPECT_EQ(arraymap_value_size(nullptr), 0U);
    EXPECT_EQ(arraymap_value_index(nullptr), 0U);
    EXPECT_EQ(arraymap_value_count(nullptr), 0U);
}

TEST_F(ArraymapValueIterator, CountsTheSameFromEveryValueOfTheKey)
{
    fill(map, {{"k", {"1", "2", "3"}}, {"other", {"x"}}});
    for (uint32_t position = 0; position < 3; ++position) {
        const auto it = iterator_at("k", position);
        EXPECT_EQ(arraymap_value_count(&it), 3U) << position;
    }
}

TEST_F(ArraymapValueIterator, CountsEachOfEqualValues)
{
    fill(map, {{"k", {"x", "x", "x"}}, {"other", {"x"}}});
    const auto it = iterator_at("k", 0);
    EXPECT_EQ(arraymap_value_count(&it), 3U);
}

TEST_F(ArraymapValueIterator, CountsValuesInsertedSince)
{
    fill(map, {{"k", {"1"}}});
    const auto it = iterator_at("k", 0);
    fill(map, {{"k", {"1", "3"}}, {"other", {"x"}}});
    EXPECT_EQ(arraymap_value_count(&it), 3U);
}

TEST_F(ArraymapValueIterator, CountsNoMoreTheValuesRemovedSince)
{
    fill(map, {{"k", {"1", "2", "3", "1"}}});
    const auto it = iterator_at("k", 1);
    ASSERT_EQ(arraymap_delete(&map, "k", "1", 1), 0);
    EXPECT_EQ(arraymap_value_count(&it), 2U);
    ASSERT_EQ(arraymap_remove(&map, "k", 1), 0);
    EXPECT_EQ(arraymap_value_count(&it), 1U);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 0));
}

TEST_F(ArraymapValueIterator, CountsTheRestWhenItsOwnValueIsGone)
{
    fill(map, {{"k", {"1", "2", "3"}}});
    const auto it = iterator_at("k", 1);
    ASSERT_EQ(arraymap_remove(&map, "k", 1), 0);
    EXPECT_EQ(arraymap_value_count(&it), 2U);
}

TEST_F(ArraymapValueIterator, KeepsItsPositionWhenValuesBeforeItAreRemoved)
{
    fill(map, {{"k", {"1", "2", "3"}}});
    const auto it = iterator_at("k", 2);
    ASSERT_EQ(arraymap_remove(&map, "k", 0), 0);
    ASSERT_EQ(indexes_of(map, "k"), (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(arraymap_value_index(&it), 2U);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 1));
}

TEST_F(ArraymapValueIterator, CountsTheValuesMergedIntoItsKey)
{
    fill(map, {{"k", {"1", "2"}}, {"K", {"2", "3"}}});
    const auto it = iterator_at("k", 1);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_value_count(&it), 3U);
}

TEST_F(ArraymapValueIterator, CountsItsKeyThoughItsTextIsFoundNoMore)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill(map, {{"Key", {"1", "2"}}});
    const auto it = iterator_at("key", 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    ASSERT_EQ(arraymap_haskey(&map, "key"), 0);
    EXPECT_EQ(arraymap_value_count(&it), 2U);
}

TEST_F(ArraymapValueIterator, StaysOnItsValueWhenTheTableIsRebuilt)
{
    fill(map, {{"k", {"1", "2"}}, {"other", {"x"}}});
    auto it = iterator_at("k", 0);
    const auto before = it;
    ASSERT_EQ(arraymap_sethashsize(&map, 64), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    expect_same(it, before);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 0));
    EXPECT_EQ(arraymap_value_count(&it), 2U);
    EXPECT_EQ(arraymap_value_next(&it), stored_text(map, "k", 1));
    EXPECT_EQ(arraymap_value_next(&it), nullptr);
}

TEST_F(ArraymapValueIterator, LooksTheKeyUpOnceToStartAndNeverAgain)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"other", {"x"}}, {"k", {"1", "2", "3"}}});
    arraymap_value_iter_t it{};
    hashed = 0;
    ASSERT_NE(arraymap_value_first(&map, "k", &it), nullptr);
    EXPECT_EQ(hashed, 1);
    do {
        arraymap_value_elem(&it);
        arraymap_value_size(&it);
        arraymap_value_index(&it);
        EXPECT_EQ(arraymap_value_count(&it), 3U);
    } while (arraymap_value_next(&it) != nullptr);
    EXPECT_EQ(hashed, 1);
}

TEST_F(ArraymapValueIterator, ChangesNothingAndAllocatesNothing)
{
    fill(map, {{"k", {"1", "1", "3"}}, {"other", {"x"}}});
    expect_unchanged(0, [&] {
        allocations::Log log;
        arraymap_value_iter_t it{};
        uint32_t steps = 0;
        const void *data = arraymap_value_first(&map, "k", &it);
        for (; data != nullptr; data = arraymap_value_next(&it)) {
            arraymap_value_elem(&it);
            arraymap_value_size(&it);
            arraymap_value_index(&it);
            arraymap_value_count(&it);
            ++steps;
        }
        arraymap_value_first(&map, "missing", &it);
        EXPECT_EQ(steps, 3U);
        return static_cast<int>(log.sizes().size());
    });
}

TEST_F(ArraymapAccess, IsEmptyTellsWhetherTheArraymapHoldsKeys)
{
    EXPECT_EQ(arraymap_isempty(&map), 1);
    fill(map, {{"", {"", "v"}}});
    EXPECT_EQ(arraymap_isempty(&map), 0);
    ASSERT_EQ(arraymap_remove(&map, "", 0), 0);
    EXPECT_EQ(arraymap_isempty(&map), 0);
    ASSERT_EQ(arraymap_remove(&map, "", 0), 0);
    EXPECT_EQ(arraymap_isempty(&map), 1);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    EXPECT_EQ(arraymap_isempty(&map), 0);
    ASSERT_EQ(arraymap_clear(&map), 0);
    EXPECT_EQ(arraymap_isempty(&map), 1);
}

TEST_F(ArraymapAccess, ANullOrReleasedArraymapIsEmpty)
{
    EXPECT_EQ(arraymap_isempty(nullptr), 1);
    const arraymap_t released = released_arraymap();
    EXPECT_EQ(arraymap_isempty(&released), 1);
    const arraymap_t bucketless = arraymap_without_buckets();
    EXPECT_EQ(arraymap_isempty(&bucketless), 1);
}

TEST_F(ArraymapAccess, KeyCountStoresTheNumberOfKeysAndNotOfValues)
{
    uint32_t count = 7;
    EXPECT_EQ(arraymap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 0U);
    insert_scrambled(map, 40);
    EXPECT_EQ(arraymap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 40U);
    ASSERT_EQ(arraymap_erase(&map, "0"), 0);
    EXPECT_EQ(arraymap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 39U);
}

TEST_F(ArraymapAccess, KeyCountOfAnArraymapWithoutBucketsIsZero)
{
    for (const arraymap_t &without : {released_arraymap(), arraymap_without_buckets()}) {
        uint32_t count = 7;
        EXPECT_EQ(arraymap_key_count(&without, &count), 0);
        EXPECT_EQ(count, 0U);
    }
}

TEST_F(ArraymapAccess, KeyCountCountsMergedKeysOnce)
{
    fill(map, {{"k", {"1"}}, {"K", {"2"}}, {"x", {"3"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    uint32_t count = 7;
    EXPECT_EQ(arraymap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 2U);
}

TEST_F(ArraymapAccess, KeyCountRefusesANullArraymapOrOutput)
{
    uint32_t count = 7;
    EXPECT_EQ(arraymap_key_count(nullptr, &count), EINVAL);
    EXPECT_EQ(count, 7U);
    expect_unchanged(EINVAL, [&] { return arraymap_key_count(&map, nullptr); });
    EXPECT_EQ(arraymap_key_count(nullptr, nullptr), EINVAL);
}

TEST_F(ArraymapAccess, KeyNameGivesTheKeyAtEachOrdinalOfTheIterationOrder)
{
    for (uint32_t size : {1U, 6U, 32U, 48U, 512U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        insert_scrambled(map, 100);
        arraymap_key_iter_t it{};
        int32_t ordinal = 0;
        for (const char *key = arraymap_key_first(&map, &it); key != nullptr;
             key = arraymap_key_next(&it)) {
            EXPECT_EQ(arraymap_key_name(&map, ordinal), key) << ordinal;
            ++ordinal;
        }
        EXPECT_EQ(ordinal, 100);
        EXPECT_EQ(arraymap_key_name(&map, ordinal), nullptr);
    }
}

TEST_F(ArraymapAccess, KeyNameOutsideTheKeysGivesNone)
{
    insert_scrambled(map, 3);
    for (int32_t ordinal : {3, 4, 6, 1000, INT32_MAX, -1, -3, INT32_MIN}) {
        EXPECT_EQ(arraymap_key_name(&map, ordinal), nullptr) << ordinal;
    }
}

TEST_F(ArraymapAccess, KeyNameOfAnArraymapWithoutKeysGivesNone)
{
    const arraymap_t released = released_arraymap();
    const arraymap_t bucketless = arraymap_without_buckets();
    for (int32_t ordinal : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
        SCOPED_TRACE(ordinal);
        EXPECT_EQ(arraymap_key_name(&map, ordinal), nullptr);
        EXPECT_EQ(arraymap_key_name(&released, ordinal), nullptr);
        EXPECT_EQ(arraymap_key_name(&bucketless, ordinal), nullptr);
        EXPECT_EQ(arraymap_key_name(nullptr, ordinal), nullptr);
    }
}

TEST_F(ArraymapAccess, CountingAndNamingChangeNothingAndLookNothingUp)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"3"}}});
    expect_unchanged(0, [&] {
        hashed = 0;
        std::size_t allocated;
        {
            allocations::Log log;
            uint32_t count;
            arraymap_isempty(&map);
            arraymap_key_count(&map, &count);
            arraymap_key_name(&map, 1);
            arraymap_key_name(&map, 2);
            allocated = log.sizes().size();
        }
        EXPECT_EQ(allocated, 0U);
        EXPECT_EQ(hashed, 0);
        return 0;
    });
}

TEST_F(ArraymapSort, ListsTheStoredKeysInByteOrderWithTheirOrdinals)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    for (const char *key : {"b", "\xff", "ab", "B", "\x80", "a", ""}) {
        fill(map, {{key, {"v", "w"}}});
    }
    arraymap_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_arraymap_sort(&map, &items, &count), 0);
    const std::vector<std::pair<std::string, int32_t>> expected = {
        {"", 6}, {"B", 3}, {"a", 5}, {"ab", 2}, {"b", 0}, {"\x80", 4}, {"\xff", 1},
    };
    ASSERT_EQ(count, static_cast<int32_t>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].key, expected[i].first);
        EXPECT_EQ(items[i].ordinal, expected[i].second);
        EXPECT_EQ(items[i].key, arraymap_key_name(&map, items[i].ordinal));
    }
    std::free(items);
}

TEST_F(ArraymapSort, ListsUpperCaseFirstWhereKeysCompareWithoutCase)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"Z", {"v"}}, {"_", {"v"}}});
    arraymap_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_arraymap_sort(&map, &items, &count), 0);
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(items[0].key, "Z");
    EXPECT_STREQ(items[1].key, "_");
    EXPECT_STREQ(items[2].key, "a");
    std::free(items);
}

TEST_F(ArraymapSort, SortsAThousandKeysInATableOfAnySize)
{
    for (uint32_t size : {32U, 33U, 600U, 2048U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        insert_scrambled(map, 1000);
        std::vector<std::string> in_order = keys_of(map);
        const std::vector<std::string> by_ordinal = in_order;
        std::sort(in_order.begin(), in_order.end());
        arraymap_sort_item_t *items = nullptr;
        int32_t count = 0;
        ASSERT_EQ(_arraymap_sort(&map, &items, &count), 0);
        ASSERT_EQ(count, 1000);
        for (std::size_t i = 0; i < in_order.size(); ++i) {
            EXPECT_EQ(items[i].key, in_order[i]);
            EXPECT_EQ(by_ordinal.at(static_cast<std::size_t>(items[i].ordinal)), in_order[i]);
        }
        std::free(items);
    }
}

TEST_F(ArraymapSort, MakesOneAllocationOfItsItemsAndNoLookUp)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    insert_scrambled(map, 300);
    arraymap_sort_item_t *items = nullptr;
    int32_t count = 0;
    std::vector<std::size_t> sizes;
    hashed = 0;
    {
        allocations::Log log;
        ASSERT_EQ(_arraymap_sort(&map, &items, &count), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, std::vector<std::size_t>{300 * sizeof(arraymap_sort_item_t)});
    EXPECT_EQ(hashed, 0);
    std::free(items);
}

TEST_F(ArraymapSort, LeavesTheArraymapAsItIs)
{
    insert_scrambled(map, 40);
    expect_unchanged(0, [&] {
        arraymap_sort_item_t *items = nullptr;
        int32_t count = 0;
        const int result = _arraymap_sort(&map, &items, &count);
        std::free(items);
        return result;
    });
}

TEST_F(ArraymapSort, RefusesANullOutputAndLeavesTheOther)
{
    fill(map, {{"a", {"v"}}});
    arraymap_sort_item_t other{};
    arraymap_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(EINVAL, [&] { return _arraymap_sort(&map, nullptr, &count); });
    EXPECT_EQ(count, -7);
    expect_unchanged(EINVAL, [&] { return _arraymap_sort(&map, &items, nullptr); });
    EXPECT_EQ(items, &other);
    expect_unchanged(EINVAL, [&] { return _arraymap_sort(&map, nullptr, nullptr); });
}

TEST_F(ArraymapSort, WithoutMemoryLeavesTheOutputs)
{
    fill(map, {{"a", {"v"}}});
    arraymap_sort_item_t other{};
    arraymap_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return _arraymap_sort(&map, &items, &count);
    });
    EXPECT_EQ(items, &other);
    EXPECT_EQ(count, -7);
}

TEST_F(ArraymapSort, ComparesItemsByTheBytesOfTheirKeysAlone)
{
    const char *in_order[] = {"", "B", "a", "aa", "b", "\x80", "\xff"};
    int32_t earlier = 0;
    for (const char *a : in_order) {
        int32_t later = 0;
        for (const char *b : in_order) {
            SCOPED_TRACE(testing::PrintToString(a) + ' ' + testing::PrintToString(b));
            const arraymap_sort_item_t one{a, 0};
            const std::string copy = b;
            const arraymap_sort_item_t two{copy.c_str(), 1};
            const int result = textmaps::_sort_compare(one, two);
            EXPECT_EQ(result < 0, earlier < later);
            EXPECT_EQ(result > 0, earlier > later);
            ++later;
        }
        ++earlier;
    }
}
