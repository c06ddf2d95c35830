#include "multimap_fixture.hpp"

#include "multimap_internal.h"
#include "table/listing.hpp"

#include <algorithm>
#include <cstdlib>

namespace {

class MultimapKeyIterator : public MultimapTest {};

class MultimapAccess : public MultimapTest {};

class MultimapSort : public MultimapTest {};

class MultimapValueIterator : public MultimapTest {
  protected:
    // An iterator on the value at a position of the key's list.
    multimap_value_iter_t iterator_at(const char *key, uint32_t position)
    {
        multimap_value_iter_t it{};
        EXPECT_NE(multimap_value_first(&map, key, &it), nullptr);
        for (; position != 0; --position) {
            EXPECT_NE(multimap_value_next(&it), nullptr);
        }
        return it;
    }
};

int hashed;

uint32_t counting_hash(const void *, const char *)
{
    ++hashed;
    return 0;
}

std::vector<std::string> visited_keys(const multimap_t &map)
{
    std::vector<std::string> keys;
    multimap_key_iter_t it{};
    for (const char *key = multimap_key_first(&map, &it); key != nullptr;
         key = multimap_key_next(&it)) {
        keys.push_back(key);
    }
    return keys;
}

std::vector<std::string> visited_values(const multimap_t &map, const char *key)
{
    std::vector<std::string> values;
    multimap_value_iter_t it{};
    for (const void *data = multimap_value_first(&map, key, &it); data != nullptr;
         data = multimap_value_next(&it)) {
        values.emplace_back(static_cast<const char *>(data), multimap_value_size(&it));
    }
    return values;
}

std::vector<std::string> keys_of(const multimap_t &map)
{
    std::vector<std::string> keys;
    for (const auto &[key, values] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

// Keys that neither insertion nor hashing puts in sorted order, each with two values.
void insert_scrambled(multimap_t &map, int count)
{
    for (int i = 0; i < count; ++i) {
        fill(map, {{std::to_string(i * 7919 % 100003), {"v", "w"}}});
    }
}

uint32_t hash_all_to_maximum(const void *, const char *)
{
    return UINT32_MAX;
}

void expect_same(const multimap_key_iter_t &a, const multimap_key_iter_t &b)
{
    EXPECT_EQ(a.map, b.map);
    EXPECT_EQ(a.bucket, b.bucket);
    EXPECT_EQ(a.node, b.node);
}

void expect_same(const multimap_value_iter_t &a, const multimap_value_iter_t &b)
{
    EXPECT_EQ(a.map, b.map);
    EXPECT_EQ(static_cast<const void *>(a.key), static_cast<const void *>(b.key));
    EXPECT_EQ(a.node, b.node);
}

void expect_on_no_value(multimap_value_iter_t it)
{
    const multimap_value_iter_t before = it;
    EXPECT_EQ(multimap_value_next(&it), nullptr);
    EXPECT_EQ(multimap_value_elem(&it), nullptr);
    EXPECT_EQ(multimap_value_size(&it), 0U);
    EXPECT_EQ(multimap_value_count(&it), 0U);
    expect_same(it, before);
}

} // namespace

TEST_F(MultimapKeyIterator, VisitsBucketsByIndexAndEachChainInOrderOfInsertion)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    fill(map,
         {{"ccc", {"v"}}, {"b", {"v"}}, {"aa", {"v"}}, {"a", {"v"}}, {"", {"v"}}, {"bbb", {"v"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"", "b", "a", "aa", "ccc", "bbb"}));
}

TEST_F(MultimapKeyIterator, VisitsTheFirstAndTheLastBucket)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"\x1f", {"last"}}, {"\x20", {"first"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"\x20", "\x1f"}));
}

TEST_F(MultimapKeyIterator, VisitsAKeyOnceHoweverManyValuesItHolds)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"b", {"1", "2", "3"}}, {"a", {"1"}}, {"b", {"4"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "a"}));
}

TEST_F(MultimapKeyIterator, VisitsAKeyMadeAnewAfterTheOthersOfItsBucket)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}, {"c", {"v"}}});
    ASSERT_EQ(multimap_remove(&map, "a", 0), 0);
    ASSERT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "c", "a"}));
}

TEST_F(MultimapKeyIterator, VisitsEveryKeyOnceInTablesOfAnySize)
{
    insert_scrambled(map, 500);
    for (uint32_t size : {1U, 2U, 32U, 4096U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(multimap_sethashsize(&map, size), 0);
        std::vector<std::string> keys = visited_keys(map);
        EXPECT_EQ(keys, keys_of(map));
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
        EXPECT_EQ(keys.size(), 500U);
    }
}

TEST_F(MultimapKeyIterator, VisitsKeysOfAHashThatExceedsTheTable)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_maximum), 0);
    fill(map, {{"b", {"1"}}, {"a", {"2"}}});
    EXPECT_EQ(visited_keys(map), (std::vector<std::string>{"b", "a"}));
}

TEST_F(MultimapKeyIterator, TellsTheMultimapTheBucketAndTheNodeItStandsOn)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    fill(map, {{"aaaaaaa", {"v"}}, {"bbb", {"v"}}, {"aaa", {"v"}}});
    multimap_key_iter_t it{};
    ASSERT_STREQ(multimap_key_first(&map, &it), "bbb");
    expect_same(it, {&map, 3, _multimap_entry(&map, "bbb")});
    ASSERT_STREQ(multimap_key_next(&it), "aaa");
    expect_same(it, {&map, 3, _multimap_entry(&map, "aaa")});
    ASSERT_STREQ(multimap_key_next(&it), "aaaaaaa");
    expect_same(it, {&map, 7, _multimap_entry(&map, "aaaaaaa")});
}

TEST_F(MultimapKeyIterator, HandsOutTheStoredKeyItself)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b\xff", {"v"}}});
    multimap_key_iter_t it{};
    EXPECT_EQ(multimap_key_first(&map, &it), stored_key(map, "a"));
    EXPECT_EQ(multimap_key_elem(&it), stored_key(map, "a"));
    EXPECT_EQ(multimap_key_next(&it), stored_key(map, "b\xff"));
    EXPECT_EQ(multimap_key_elem(&it), stored_key(map, "b\xff"));
}

TEST_F(MultimapKeyIterator, ElemDoesNotMoveTheIterator)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    multimap_key_iter_t it{};
    ASSERT_STREQ(multimap_key_first(&map, &it), "a");
    const multimap_key_iter_t before = it;
    EXPECT_STREQ(multimap_key_elem(&it), "a");
    EXPECT_STREQ(multimap_key_elem(&it), "a");
    expect_same(it, before);
}

TEST_F(MultimapKeyIterator, GivesAPointerForAnEmptyKey)
{
    fill(map, {{"", {"v"}}});
    multimap_key_iter_t it{};
    EXPECT_STREQ(multimap_key_first(&map, &it), "");
    EXPECT_STREQ(multimap_key_elem(&it), "");
}

TEST_F(MultimapKeyIterator, FirstOfAnEmptyMultimapGivesNoneAndStandsPastTheEnd)
{
    Multimap filled;
    fill(*filled, {{"a", {"v"}}});
    for (uint32_t size : {1U, 32U, 64U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(multimap_sethashsize(&map, size), 0);
        multimap_key_iter_t used{};
        ASSERT_STREQ(multimap_key_first(&filled, &used), "a");
        for (multimap_key_iter_t it : {multimap_key_iter_t{}, used}) {
            EXPECT_EQ(multimap_key_first(&map, &it), nullptr);
            expect_same(it, {&map, size, nullptr});
            EXPECT_EQ(multimap_key_elem(&it), nullptr);
            EXPECT_EQ(multimap_key_next(&it), nullptr);
        }
    }
}

TEST_F(MultimapKeyIterator, FirstAfterTheLastValueIsRemovedGivesNone)
{
    fill(map, {{"a", {"v"}}});
    ASSERT_EQ(multimap_remove(&map, "a", 0), 0);
    multimap_key_iter_t it{};
    EXPECT_EQ(multimap_key_first(&map, &it), nullptr);
    expect_same(it, {&map, map.hashsize, nullptr});
}

TEST_F(MultimapKeyIterator, FirstWithoutBucketsGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(map, {{"a", {"v"}}});
    multimap_key_iter_t used{};
    ASSERT_STREQ(multimap_key_first(&map, &used), "a");
    const multimap_t released = released_multimap();
    for (const multimap_t *without : {&released, static_cast<const multimap_t *>(nullptr)}) {
        SCOPED_TRACE(without);
        for (const multimap_key_iter_t &before : {multimap_key_iter_t{}, used}) {
            multimap_key_iter_t it = before;
            EXPECT_EQ(multimap_key_first(without, &it), nullptr);
            expect_same(it, before);
        }
    }
}

TEST_F(MultimapKeyIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(multimap_key_first(&map, nullptr), nullptr);
}

TEST_F(MultimapKeyIterator, FirstStartsAUsedIteratorAnew)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    multimap_key_iter_t it{};
    ASSERT_STREQ(multimap_key_first(&map, &it), "a");
    ASSERT_STREQ(multimap_key_next(&it), "b");
    ASSERT_EQ(multimap_key_next(&it), nullptr);
    EXPECT_STREQ(multimap_key_first(&map, &it), "a");
    EXPECT_EQ(it.bucket, static_cast<uint32_t>('a') % map.hashsize);
    EXPECT_STREQ(multimap_key_next(&it), "b");
}

TEST_F(MultimapKeyIterator, FirstMovesAUsedIteratorToAnotherMultimap)
{
    fill(map, {{"a", {"v"}}});
    Multimap other;
    fill(*other, {{"z", {"w"}}});
    multimap_key_iter_t it{};
    ASSERT_STREQ(multimap_key_first(&map, &it), "a");
    EXPECT_STREQ(multimap_key_first(&other, &it), "z");
    EXPECT_EQ(it.map, &other);
    EXPECT_EQ(multimap_key_next(&it), nullptr);
}

TEST_F(MultimapKeyIterator, IteratorsOverOneMultimapAreIndependent)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    multimap_key_iter_t one{};
    multimap_key_iter_t two{};
    ASSERT_STREQ(multimap_key_first(&map, &one), "a");
    ASSERT_STREQ(multimap_key_first(&map, &two), "a");
    EXPECT_STREQ(multimap_key_next(&one), "b");
    EXPECT_STREQ(multimap_key_elem(&two), "a");
    EXPECT_STREQ(multimap_key_next(&two), "b");
}

TEST_F(MultimapKeyIterator, NextAfterTheEndKeepsReturningNoneAndStaysOnTheLastKey)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    for (const char *last : {"\x05", "\x1f"}) {
        SCOPED_TRACE(testing::PrintToString(last));
        ASSERT_EQ(multimap_clear(&map), 0);
        fill(map, {{"\x04", {"v"}}, {last, {"v", "w"}}});
        multimap_key_iter_t it{};
        ASSERT_STREQ(multimap_key_first(&map, &it), "\x04");
        ASSERT_STREQ(multimap_key_next(&it), last);
        for (int poll = 0; poll < 3; ++poll) {
            EXPECT_EQ(multimap_key_next(&it), nullptr);
            EXPECT_EQ(it.map, &map);
            EXPECT_GE(it.bucket, map.hashsize);
            EXPECT_EQ(it.node, _multimap_entry(&map, last));
            EXPECT_EQ(multimap_key_elem(&it), stored_key(map, last));
        }
    }
}

TEST_F(MultimapKeyIterator, NextKeepsReturningNoneWhenTheBucketNumberCannotGrow)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}});
    multimap_key_iter_t it{};
    ASSERT_STREQ(multimap_key_first(&map, &it), "a");
    it.bucket = UINT32_MAX;
    for (int poll = 0; poll < 3; ++poll) {
        EXPECT_EQ(multimap_key_next(&it), nullptr);
        EXPECT_GE(it.bucket, map.hashsize);
        EXPECT_STREQ(multimap_key_elem(&it), "a");
    }
}

TEST_F(MultimapKeyIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(map, {{"a", {"v"}}});
    const multimap_key_t *node = _multimap_entry(&map, "a");
    for (const multimap_key_iter_t &before :
         {multimap_key_iter_t{}, multimap_key_iter_t{&map, 0, nullptr},
          multimap_key_iter_t{nullptr, 0, node}}) {
        SCOPED_TRACE(testing::Message() << before.map << ' ' << before.node);
        multimap_key_iter_t it = before;
        EXPECT_EQ(multimap_key_next(&it), nullptr);
        EXPECT_EQ(multimap_key_elem(&it), nullptr);
        expect_same(it, before);
    }
}

TEST_F(MultimapKeyIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(multimap_key_next(nullptr), nullptr);
    EXPECT_EQ(multimap_key_elem(nullptr), nullptr);
}

TEST_F(MultimapKeyIterator, ChangesNothingAllocatesNothingAndLooksNothingUp)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    insert_scrambled(map, 50);
    expect_unchanged(0, [&] {
        hashed = 0;
        std::size_t steps = 0;
        std::size_t allocated;
        {
            allocations::Log log;
            multimap_key_iter_t it{};
            const char *key = multimap_key_first(&map, &it);
            for (; key != nullptr; key = multimap_key_next(&it)) {
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

TEST_F(MultimapValueIterator, VisitsTheValuesOfAKeyInOrderOfInsertion)
{
    fill(map, {{"k", {"z", "", "a\0b"s, "z\0"s, "\x80\xff"}}, {"other", {"x"}}});
    EXPECT_EQ(visited_values(map, "k"),
              (std::vector<std::string>{"z", "", "a\0b"s, "z\0"s, "\x80\xff"}));
}

TEST_F(MultimapValueIterator, VisitsNoValueOfAnotherKeyOfTheBucket)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"1"}}, {"b", {"2"}}, {"a", {"3"}}, {"c", {"4"}}});
    EXPECT_EQ(visited_values(map, "a"), (std::vector<std::string>{"1", "3"}));
    EXPECT_EQ(visited_values(map, "b"), (std::vector<std::string>{"2"}));
    EXPECT_EQ(visited_values(map, "c"), (std::vector<std::string>{"4"}));
}

TEST_F(MultimapValueIterator, VisitsAValueInsertedAgainAfterTheOthers)
{
    fill(map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(multimap_delete(&map, "k", "a", 1), 0);
    ASSERT_EQ(insert(map, "k", "a"), 0);
    EXPECT_EQ(visited_values(map, "k"), (std::vector<std::string>{"b", "c", "a"}));
}

TEST_F(MultimapValueIterator, VisitsEveryKeyAndValueTogetherWithAKeyIterator)
{
    insert_scrambled(map, 100);
    ASSERT_EQ(insert(map, "0", "third"), 0);
    std::vector<KeyValues> content;
    multimap_key_iter_t it{};
    for (const char *key = multimap_key_first(&map, &it); key != nullptr;
         key = multimap_key_next(&it)) {
        content.emplace_back(key, visited_values(map, key));
    }
    EXPECT_EQ(content, content_of(map));
}

TEST_F(MultimapValueIterator, TellsTheMultimapTheKeyAndTheNodeItStandsOn)
{
    fill(map, {{"k", {"one", "two"}}});
    const char *key = "k";
    multimap_value_iter_t it{};
    ASSERT_NE(multimap_value_first(&map, key, &it), nullptr);
    expect_same(it, {&map, key, _multimap_value(&map, "k", "one", 3)});
    ASSERT_NE(multimap_value_next(&it), nullptr);
    expect_same(it, {&map, key, _multimap_value(&map, "k", "two", 3)});
}

TEST_F(MultimapValueIterator, HandsOutTheStoredValueItselfAndItsLength)
{
    fill(map, {{"k", {"one", "a\0b\xff"s}}});
    multimap_value_iter_t it{};
    EXPECT_EQ(multimap_value_first(&map, "k", &it), stored_text(map, "k", 0));
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 0));
    EXPECT_EQ(multimap_value_size(&it), 3U);
    EXPECT_EQ(multimap_value_next(&it), stored_text(map, "k", 1));
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 1));
    EXPECT_EQ(multimap_value_size(&it), 4U);
}

TEST_F(MultimapValueIterator, CountsTheNulOfAStoredTextInItsSize)
{
    fill(map, {{"k", {"text\0"s}}});
    const auto it = iterator_at("k", 0);
    EXPECT_EQ(multimap_value_size(&it), 5U);
}

TEST_F(MultimapValueIterator, GivesTheLengthOfAnyValueWhole)
{
    // A value of two gigabytes costs too much to store: the node is made here.
    for (uint32_t len : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const multimap_value_t huge{nullptr, nullptr, "v", len};
        const multimap_value_iter_t it{&map, "k", &huge};
        EXPECT_EQ(multimap_value_size(&it), len);
    }
}

TEST_F(MultimapValueIterator, GivesAPointerForAnEmptyValue)
{
    fill(map, {{"k", {"", "v"}}});
    multimap_value_iter_t it{};
    EXPECT_NE(multimap_value_first(&map, "k", &it), nullptr);
    EXPECT_NE(multimap_value_elem(&it), nullptr);
    EXPECT_EQ(multimap_value_size(&it), 0U);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    EXPECT_NE(multimap_value_next(&it), nullptr);
    EXPECT_EQ(multimap_value_size(&it), 1U);
}

TEST_F(MultimapValueIterator, FindsTheValuesOfAnEmptyKey)
{
    fill(map, {{"", {"v"}}});
    EXPECT_EQ(visited_values(map, ""), (std::vector<std::string>{"v"}));
}

TEST_F(MultimapValueIterator, ComparesKeysAsTheMultimapDoes)
{
    fill(map, {{"Key", {"v", "w"}}});
    multimap_value_iter_t it{};
    EXPECT_EQ(multimap_value_first(&map, "kEY", &it), nullptr);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(multimap_value_first(&map, "kEY", &it), stored_text(map, "Key", 0));
    EXPECT_STREQ(it.key, "kEY");
    EXPECT_EQ(multimap_value_count(&it), 2U);
}

TEST_F(MultimapValueIterator, KeepsTheCallersKeyAndNotACopy)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"3", "4", "5"}}});
    char key[] = "a";
    multimap_value_iter_t it{};
    ASSERT_NE(multimap_value_first(&map, key, &it), nullptr);
    EXPECT_EQ(static_cast<const void *>(it.key), key);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    key[0] = 'b';
    EXPECT_EQ(multimap_value_count(&it), 3U);
    EXPECT_EQ(multimap_value_next(&it), stored_text(map, "a", 1));
    key[0] = 'x';
    EXPECT_EQ(multimap_value_count(&it), 0U);
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "a", 1));
}

TEST_F(MultimapValueIterator, TakesTheStoredKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at(stored_key(map, "k"), 1);
    EXPECT_EQ(it.key, stored_key(map, "k"));
    EXPECT_EQ(multimap_value_count(&it), 2U);
}

TEST_F(MultimapValueIterator, TakesAValueForAKey)
{
    fill(map, {{"k", {"other\0"s}}, {"other", {"1"}}});
    multimap_value_iter_t it{};
    EXPECT_EQ(multimap_value_first(&map, stored_text(map, "k", 0), &it),
              stored_text(map, "other", 0));
}

TEST_F(MultimapValueIterator, TakesItsOwnKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    auto it = iterator_at("k", 1);
    EXPECT_EQ(multimap_value_first(&map, it.key, &it), stored_text(map, "k", 0));
    EXPECT_STREQ(it.key, "k");
}

TEST_F(MultimapValueIterator, FirstOfAMissingKeyGivesNoneAndStandsOnNoValue)
{
    fill(map, {{"a", {"1", "2"}}});
    const char *missing = "b";
    for (multimap_value_iter_t it : {multimap_value_iter_t{}, iterator_at("a", 1)}) {
        EXPECT_EQ(multimap_value_first(&map, missing, &it), nullptr);
        expect_same(it, {&map, missing, nullptr});
        expect_on_no_value(it);
    }
}

TEST_F(MultimapValueIterator, AfterAMissingKeyCountsNothingEvenOnceTheKeyIsThere)
{
    multimap_value_iter_t it{};
    ASSERT_EQ(multimap_value_first(&map, "k", &it), nullptr);
    fill(map, {{"k", {"v"}}});
    expect_on_no_value(it);
}

TEST_F(MultimapValueIterator, FirstWithoutAnArgumentGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(map, {{"a", {"1", "2"}}});
    const multimap_t released = released_multimap();
    const struct {
        const multimap_t *map;
        const char *key;
    } calls[] = {{nullptr, "a"}, {&released, "a"}, {&map, nullptr}, {nullptr, nullptr}};
    for (const auto &call : calls) {
        SCOPED_TRACE(testing::Message() << call.map << ' ' << (call.key != nullptr));
        for (const multimap_value_iter_t &before : {multimap_value_iter_t{}, iterator_at("a", 1)}) {
            multimap_value_iter_t it = before;
            EXPECT_EQ(multimap_value_first(call.map, call.key, &it), nullptr);
            expect_same(it, before);
        }
    }
}

TEST_F(MultimapValueIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(multimap_value_first(&map, "a", nullptr), nullptr);
}

TEST_F(MultimapValueIterator, FirstMovesAUsedIteratorToAnotherMultimapAndKey)
{
    fill(map, {{"a", {"1", "2"}}});
    Multimap other;
    fill(*other, {{"z", {"3"}}});
    auto it = iterator_at("a", 1);
    EXPECT_EQ(multimap_value_first(&other, "z", &it), stored_text(*other, "z", 0));
    EXPECT_EQ(it.map, &other);
    EXPECT_EQ(multimap_value_count(&it), 1U);
    EXPECT_EQ(multimap_value_next(&it), nullptr);
}

TEST_F(MultimapValueIterator, IteratorsOverOneKeyAreIndependent)
{
    fill(map, {{"k", {"1", "2"}}});
    auto one = iterator_at("k", 0);
    const auto two = one;
    EXPECT_EQ(multimap_value_next(&one), stored_text(map, "k", 1));
    EXPECT_EQ(multimap_value_elem(&two), stored_text(map, "k", 0));
}

TEST_F(MultimapValueIterator, ElemAndSizeAndCountDoNotMoveTheIterator)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 0);
    const auto before = it;
    multimap_value_elem(&it);
    multimap_value_size(&it);
    multimap_value_count(&it);
    expect_same(it, before);
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 0));
}

TEST_F(MultimapValueIterator, NextAfterTheEndKeepsReturningNoneAndStaysOnTheLastValue)
{
    fill(map, {{"k", {"1", "last"}}});
    auto it = iterator_at("k", 1);
    const auto on_last = it;
    for (int poll = 0; poll < 3; ++poll) {
        EXPECT_EQ(multimap_value_next(&it), nullptr);
        expect_same(it, on_last);
        EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 1));
        EXPECT_EQ(multimap_value_size(&it), 4U);
        EXPECT_EQ(multimap_value_count(&it), 2U);
    }
}

TEST_F(MultimapValueIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 0);
    for (const multimap_value_iter_t &unstarted :
         {multimap_value_iter_t{}, multimap_value_iter_t{nullptr, it.key, it.node},
          multimap_value_iter_t{&map, nullptr, it.node},
          multimap_value_iter_t{&map, it.key, nullptr}}) {
        SCOPED_TRACE(testing::Message() << unstarted.map << ' ' << (unstarted.key != nullptr) << ' '
                                        << unstarted.node);
        expect_on_no_value(unstarted);
    }
}

TEST_F(MultimapValueIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(multimap_value_next(nullptr), nullptr);
    EXPECT_EQ(multimap_value_elem(nullptr), nullptr);
    EXPECT_EQ(multimap_value_size(nullptr), 0U);
    EXPECT_EQ(multimap_value_count(nullptr), 0U);
}

TEST_F(MultimapValueIterator, CountsTheSameFromEveryValueOfTheKey)
{
    fill(map, {{"k", {"1", "2", "3"}}, {"other", {"x"}}});
    for (uint32_t position = 0; position < 3; ++position) {
        const auto it = iterator_at("k", position);
        EXPECT_EQ(multimap_value_count(&it), 3U) << position;
    }
}

TEST_F(MultimapValueIterator, CountsValuesInsertedSince)
{
    fill(map, {{"k", {"1"}}});
    const auto it = iterator_at("k", 0);
    fill(map, {{"k", {"2", "3"}}, {"other", {"x"}}});
    EXPECT_EQ(multimap_value_count(&it), 3U);
}

TEST_F(MultimapValueIterator, CountsNoMoreTheValuesRemovedSince)
{
    fill(map, {{"k", {"1", "2", "3", "4"}}});
    const auto it = iterator_at("k", 1);
    ASSERT_EQ(multimap_delete(&map, "k", "1", 1), 0);
    EXPECT_EQ(multimap_value_count(&it), 3U);
    ASSERT_EQ(multimap_remove(&map, "k", 2), 0);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 0));
}

TEST_F(MultimapValueIterator, CountsTheRestWhenItsOwnValueIsGone)
{
    fill(map, {{"k", {"1", "2", "3"}}});
    const auto it = iterator_at("k", 1);
    ASSERT_EQ(multimap_remove(&map, "k", 1), 0);
    EXPECT_EQ(multimap_value_count(&it), 2U);
}

TEST_F(MultimapValueIterator, CountsNothingWhenItsKeyIsGone)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}, {"c", {"1"}}, {"rest", {"1"}}});
    const auto erased = iterator_at("a", 1);
    ASSERT_EQ(multimap_erase(&map, "a"), 0);
    EXPECT_EQ(multimap_value_count(&erased), 0U);
    const auto removed = iterator_at("b", 0);
    ASSERT_EQ(multimap_remove(&map, "b", 0), 0);
    EXPECT_EQ(multimap_value_count(&removed), 0U);
    const auto deleted = iterator_at("c", 0);
    ASSERT_EQ(multimap_delete(&map, "c", "1", 1), 0);
    EXPECT_EQ(multimap_value_count(&deleted), 0U);
}

TEST_F(MultimapValueIterator, CountsAgainWhenItsKeyIsMadeAnew)
{
    fill(map, {{"k", {"1"}}});
    const auto it = iterator_at("k", 0);
    ASSERT_EQ(multimap_erase(&map, "k"), 0);
    fill(map, {{"k", {"2", "3"}}});
    EXPECT_EQ(multimap_value_count(&it), 2U);
}

TEST_F(MultimapValueIterator, CountsNothingWhenTheMultimapIsClearedOrReleasedSince)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 0);
    ASSERT_EQ(multimap_clear(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
    ASSERT_EQ(multimap_init(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
}

TEST_F(MultimapValueIterator, CountsByTheComparisonOfNow)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    fill(map, {{"Key", {"1", "2"}}});
    const auto it = iterator_at("key", 0);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    ASSERT_EQ(multimap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
}

TEST_F(MultimapValueIterator, LooksTheKeyUpOnceToStartAndOnceToCount)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"other", {"x"}}, {"k", {"1", "2", "3"}}});
    multimap_value_iter_t it{};
    hashed = 0;
    ASSERT_NE(multimap_value_first(&map, "k", &it), nullptr);
    EXPECT_EQ(hashed, 1);
    while (multimap_value_next(&it) != nullptr) {
        multimap_value_elem(&it);
        multimap_value_size(&it);
    }
    EXPECT_EQ(hashed, 1);
    EXPECT_EQ(multimap_value_count(&it), 3U);
    EXPECT_EQ(hashed, 2);
}

TEST_F(MultimapValueIterator, ChangesNothingAndAllocatesNothing)
{
    fill(map, {{"k", {"1", "2", "3"}}, {"other", {"x"}}});
    expect_unchanged(0, [&] {
        allocations::Log log;
        multimap_value_iter_t it{};
        uint32_t steps = 0;
        const void *data = multimap_value_first(&map, "k", &it);
        for (; data != nullptr; data = multimap_value_next(&it)) {
            multimap_value_elem(&it);
            multimap_value_size(&it);
            multimap_value_count(&it);
            ++steps;
        }
        multimap_value_first(&map, "missing", &it);
        EXPECT_EQ(steps, 3U);
        return static_cast<int>(log.sizes().size());
    });
}

TEST_F(MultimapAccess, IsEmptyTellsWhetherTheMultimapHoldsKeys)
{
    EXPECT_EQ(multimap_isempty(&map), 1);
    fill(map, {{"", {"", "v"}}});
    EXPECT_EQ(multimap_isempty(&map), 0);
    ASSERT_EQ(multimap_remove(&map, "", 0), 0);
    EXPECT_EQ(multimap_isempty(&map), 0);
    ASSERT_EQ(multimap_remove(&map, "", 0), 0);
    EXPECT_EQ(multimap_isempty(&map), 1);
    fill(map, {{"a", {"v"}}, {"b", {"v"}}});
    EXPECT_EQ(multimap_isempty(&map), 0);
    ASSERT_EQ(multimap_clear(&map), 0);
    EXPECT_EQ(multimap_isempty(&map), 1);
}

TEST_F(MultimapAccess, ANullOrReleasedMultimapIsEmpty)
{
    EXPECT_EQ(multimap_isempty(nullptr), 1);
    const multimap_t released = released_multimap();
    EXPECT_EQ(multimap_isempty(&released), 1);
}

TEST_F(MultimapAccess, KeyCountStoresTheNumberOfKeysAndNotOfValues)
{
    uint32_t count = 7;
    EXPECT_EQ(multimap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 0U);
    insert_scrambled(map, 40);
    EXPECT_EQ(multimap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 40U);
    ASSERT_EQ(multimap_erase(&map, "0"), 0);
    EXPECT_EQ(multimap_key_count(&map, &count), 0);
    EXPECT_EQ(count, 39U);
}

TEST_F(MultimapAccess, KeyCountOfAReleasedMultimapIsZero)
{
    const multimap_t released = released_multimap();
    uint32_t count = 7;
    EXPECT_EQ(multimap_key_count(&released, &count), 0);
    EXPECT_EQ(count, 0U);
}

TEST_F(MultimapAccess, KeyCountRefusesANullMultimapOrOutput)
{
    uint32_t count = 7;
    EXPECT_EQ(multimap_key_count(nullptr, &count), EINVAL);
    EXPECT_EQ(count, 7U);
    expect_unchanged(EINVAL, [&] { return multimap_key_count(&map, nullptr); });
    EXPECT_EQ(multimap_key_count(nullptr, nullptr), EINVAL);
}

TEST_F(MultimapAccess, KeyNameGivesTheKeyAtEachOrdinalOfTheIterationOrder)
{
    insert_scrambled(map, 100);
    for (uint32_t size : {1U, 32U, 512U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(multimap_sethashsize(&map, size), 0);
        multimap_key_iter_t it{};
        int32_t ordinal = 0;
        for (const char *key = multimap_key_first(&map, &it); key != nullptr;
             key = multimap_key_next(&it)) {
            EXPECT_EQ(multimap_key_name(&map, ordinal), key) << ordinal;
            ++ordinal;
        }
        EXPECT_EQ(ordinal, 100);
        EXPECT_EQ(multimap_key_name(&map, ordinal), nullptr);
    }
}

TEST_F(MultimapAccess, KeyNameOutsideTheKeysGivesNone)
{
    insert_scrambled(map, 3);
    for (int32_t ordinal : {3, 4, 6, 1000, INT32_MAX, -1, -3, INT32_MIN}) {
        EXPECT_EQ(multimap_key_name(&map, ordinal), nullptr) << ordinal;
    }
}

TEST_F(MultimapAccess, KeyNameOfAMultimapWithoutKeysGivesNone)
{
    const multimap_t released = released_multimap();
    for (int32_t ordinal : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
        SCOPED_TRACE(ordinal);
        EXPECT_EQ(multimap_key_name(&map, ordinal), nullptr);
        EXPECT_EQ(multimap_key_name(&released, ordinal), nullptr);
        EXPECT_EQ(multimap_key_name(nullptr, ordinal), nullptr);
    }
}

TEST_F(MultimapAccess, CountingAndNamingChangeNothingAndLookNothingUp)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"3"}}});
    expect_unchanged(0, [&] {
        hashed = 0;
        std::size_t allocated;
        {
            allocations::Log log;
            uint32_t count;
            multimap_isempty(&map);
            multimap_key_count(&map, &count);
            multimap_key_name(&map, 1);
            multimap_key_name(&map, 2);
            allocated = log.sizes().size();
        }
        EXPECT_EQ(allocated, 0U);
        EXPECT_EQ(hashed, 0);
        return 0;
    });
}

TEST_F(MultimapSort, ListsTheStoredKeysInByteOrderWithTheirOrdinals)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    for (const char *key : {"b", "\xff", "ab", "B", "\x80", "a", ""}) {
        fill(map, {{key, {"v", "w"}}});
    }
    multimap_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_multimap_sort(&map, &items, &count), 0);
    const std::vector<std::pair<std::string, int32_t>> expected = {
        {"", 6}, {"B", 3}, {"a", 5}, {"ab", 2}, {"b", 0}, {"\x80", 4}, {"\xff", 1},
    };
    ASSERT_EQ(count, static_cast<int32_t>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].key, expected[i].first);
        EXPECT_EQ(items[i].ordinal, expected[i].second);
        EXPECT_EQ(items[i].key, multimap_key_name(&map, items[i].ordinal));
    }
    std::free(items);
}

TEST_F(MultimapSort, ListsUpperCaseFirstWhereKeysCompareWithoutCase)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"v"}}, {"Z", {"v"}}, {"_", {"v"}}});
    multimap_sort_item_t *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(_multimap_sort(&map, &items, &count), 0);
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(items[0].key, "Z");
    EXPECT_STREQ(items[1].key, "_");
    EXPECT_STREQ(items[2].key, "a");
    std::free(items);
}

TEST_F(MultimapSort, SortsAThousandKeysInATableOfAnySize)
{
    insert_scrambled(map, 1000);
    for (uint32_t size : {1U, 32U, 2048U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(multimap_sethashsize(&map, size), 0);
        std::vector<std::string> in_order = keys_of(map);
        const std::vector<std::string> by_ordinal = in_order;
        std::sort(in_order.begin(), in_order.end());
        multimap_sort_item_t *items = nullptr;
        int32_t count = 0;
        ASSERT_EQ(_multimap_sort(&map, &items, &count), 0);
        ASSERT_EQ(count, 1000);
        for (std::size_t i = 0; i < in_order.size(); ++i) {
            EXPECT_EQ(items[i].key, in_order[i]);
            EXPECT_EQ(by_ordinal.at(static_cast<std::size_t>(items[i].ordinal)), in_order[i]);
        }
        std::free(items);
    }
}

TEST_F(MultimapSort, MakesOneAllocationOfItsItemsAndNoLookUp)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    insert_scrambled(map, 300);
    multimap_sort_item_t *items = nullptr;
    int32_t count = 0;
    std::vector<std::size_t> sizes;
    hashed = 0;
    {
        allocations::Log log;
        ASSERT_EQ(_multimap_sort(&map, &items, &count), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, std::vector<std::size_t>{300 * sizeof(multimap_sort_item_t)});
    EXPECT_EQ(hashed, 0);
    std::free(items);
}

TEST_F(MultimapSort, LeavesTheMultimapAsItIs)
{
    insert_scrambled(map, 40);
    expect_unchanged(0, [&] {
        multimap_sort_item_t *items = nullptr;
        int32_t count = 0;
        const int result = _multimap_sort(&map, &items, &count);
        std::free(items);
        return result;
    });
}

TEST_F(MultimapSort, RefusesANullOutputAndLeavesTheOther)
{
    fill(map, {{"a", {"v"}}});
    multimap_sort_item_t other{};
    multimap_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(EINVAL, [&] { return _multimap_sort(&map, nullptr, &count); });
    EXPECT_EQ(count, -7);
    expect_unchanged(EINVAL, [&] { return _multimap_sort(&map, &items, nullptr); });
    EXPECT_EQ(items, &other);
    expect_unchanged(EINVAL, [&] { return _multimap_sort(&map, nullptr, nullptr); });
}

TEST_F(MultimapSort, WithoutMemoryLeavesTheOutputs)
{
    fill(map, {{"a", {"v"}}});
    multimap_sort_item_t other{};
    multimap_sort_item_t *items = &other;
    int32_t count = -7;
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return _multimap_sort(&map, &items, &count);
    });
    EXPECT_EQ(items, &other);
    EXPECT_EQ(count, -7);
}

TEST_F(MultimapSort, ComparesItemsByTheBytesOfTheirKeysAlone)
{
    const char *in_order[] = {"", "B", "a", "aa", "b", "\x80", "\xff"};
    int32_t earlier = 0;
    for (const char *a : in_order) {
        int32_t later = 0;
        for (const char *b : in_order) {
            SCOPED_TRACE(testing::PrintToString(a) + ' ' + testing::PrintToString(b));
            const multimap_sort_item_t one{a, 0};
            const std::string copy = b;
            const multimap_sort_item_t two{copy.c_str(), 1};
            const int result = textmaps::_sort_compare(one, two);
            EXPECT_EQ(result < 0, earlier < later);
            EXPECT_EQ(result > 0, earlier > later);
            ++later;
        }
        ++earlier;
    }
}
