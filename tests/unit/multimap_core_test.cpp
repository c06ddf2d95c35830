#include "multimap_fixture.hpp"

#include "multimap_internal.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <random>

using Values = std::vector<std::string>;
using Content = std::vector<KeyValues>;
using Sizes = std::vector<std::size_t>;

namespace {

uint32_t length_of(std::string_view value)
{
    return static_cast<uint32_t>(value.size());
}

int delete_value(multimap_t &map, const char *key, std::string_view value)
{
    return multimap_delete(&map, key, value.data(), length_of(value));
}

// None unless multimap_find gives 0.
std::optional<uint32_t> position_of(const multimap_t &map, const char *key, std::string_view value)
{
    uint32_t position = 77;
    const int result = multimap_find(&map, key, value.data(), length_of(value), &position);
    return result == 0 ? std::optional<uint32_t>(position) : std::nullopt;
}

// One call of each operation that takes a key and checks its arguments.
const struct {
    const char *name;
    int (*run)(multimap_t *map, const char *key);
} keyed_calls[] = {
    {"insert",
     [](multimap_t *map, const char *key) {
         return multimap_insert(map, key, "value", 5);
     }},
    {"find",
     [](multimap_t *map, const char *key) {
         return multimap_find(map, key, "value", 5, nullptr);
     }},
    {"delete",
     [](multimap_t *map, const char *key) {
         return multimap_delete(map, key, "value", 5);
     }},
    {"remove",
     [](multimap_t *map, const char *key) {
         return multimap_remove(map, key, 0);
     }},
    {"erase",
     [](multimap_t *map, const char *key) {
         return multimap_erase(map, key);
     }},
    {"index",
     [](multimap_t *map, const char *key) {
         return multimap_index(map, key, 0, nullptr, nullptr);
     }},
};

// Counts its calls; every key shares a bucket.
int hash_calls;

uint32_t counting_hash(const void *, const char *)
{
    ++hash_calls;
    return 0;
}

template <class Call>
int hashes_during(Call call)
{
    hash_calls = 0;
    call();
    return hash_calls;
}

int sign(int number)
{
    return (number > 0) - (number < 0);
}

} // namespace

class MultimapInit : public MultimapTest {};

TEST_F(MultimapInit, MakesAnEmptyMultimapOf32Buckets)
{
    EXPECT_EQ(map.maxkeys, -1);
    EXPECT_EQ(map.maxvalues, -1);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.numvalues, 0);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.hashfunc, nullptr);
    ASSERT_NE(map.buckets, nullptr);
    for (uint32_t i = 0; i < 32; ++i) {
        EXPECT_EQ(map.buckets[i].first, nullptr);
        EXPECT_EQ(map.buckets[i].last, &map.buckets[i].first);
    }
}

TEST_F(MultimapInit, RefusesNull)
{
    EXPECT_EQ(multimap_init(nullptr), EINVAL);
}

TEST_F(MultimapInit, AllocatesTheBucketsAlone)
{
    multimap_t other;
    allocations::Log log;
    EXPECT_EQ(multimap_init(&other), 0);
    EXPECT_EQ(log.sizes(), Sizes{32 * sizeof(map_bucket_t)});
    EXPECT_EQ(multimap_destroy(&other), 0);
}

TEST_F(MultimapInit, TakesNoNoticeOfWhatTheRecordHeld)
{
    multimap_t other;
    std::memset(&other, 0xA5, sizeof other);
    EXPECT_EQ(multimap_init(&other), 0);
    MultimapState expected = state_of(map);
    expected.buckets = other.buckets;
    EXPECT_EQ(state_of(other), expected);
    EXPECT_EQ(multimap_destroy(&other), 0);
}

TEST_F(MultimapInit, LeavesAReleasedRecordWithoutMemory)
{
    multimap_t other;
    std::memset(&other, 0xA5, sizeof other);
    {
        allocations::Failure failure(0);
        EXPECT_EQ(multimap_init(&other), ENOMEM);
    }
    EXPECT_EQ(other.maxkeys, -1);
    EXPECT_EQ(other.maxvalues, -1);
    EXPECT_EQ(other.numkeys, 0);
    EXPECT_EQ(other.numvalues, 0);
    EXPECT_EQ(other.casekeys, 0U);
    EXPECT_EQ(other.hashsize, 0U);
    EXPECT_EQ(other.hashfunc, nullptr);
    EXPECT_EQ(other.buckets, nullptr);
}

TEST_F(MultimapInit, MayBeCalledAgainAfterItFailed)
{
    multimap_t other;
    {
        allocations::Failure failure(0);
        ASSERT_EQ(multimap_init(&other), ENOMEM);
    }
    EXPECT_EQ(insert(other, "key", "value"), EINVAL);
    EXPECT_EQ(multimap_destroy(&other), EINVAL);
    ASSERT_EQ(multimap_init(&other), 0);
    EXPECT_EQ(insert(other, "key", "value"), 0);
    EXPECT_EQ(multimap_destroy(&other), 0);
}

class MultimapArguments : public MultimapTest {};

TEST_F(MultimapArguments, ANullMultimapIsRefused)
{
    for (const auto &call : keyed_calls) {
        SCOPED_TRACE(call.name);
        EXPECT_EQ(call.run(nullptr, "key"), EINVAL);
        EXPECT_EQ(call.run(nullptr, nullptr), EINVAL);
    }
}

TEST_F(MultimapArguments, ANullKeyIsRefusedAndChangesNothing)
{
    for (const Content &content : {Content{}, Content{{"key", {"value"}}}}) {
        fill(map, content);
        for (const auto &call : keyed_calls) {
            SCOPED_TRACE(call.name);
            expect_unchanged(EINVAL, [&] { return call.run(&map, nullptr); });
        }
    }
}

TEST_F(MultimapArguments, AReleasedMultimapIsRefusedAndStaysAsItIs)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_destroy(&map), 0);
    for (const auto &call : keyed_calls) {
        SCOPED_TRACE(call.name);
        expect_unchanged(EINVAL, [&] { return call.run(&map, "key"); });
    }
}

TEST_F(MultimapArguments, ANullValueIsRefusedWhateverItsLength)
{
    fill(map, {{"key", {""}}});
    for (const char *key : {"key", "missing"}) {
        for (const uint32_t len : {0U, 1U, UINT32_MAX}) {
            SCOPED_TRACE(key + " "s + std::to_string(len));
            uint32_t index = 77;
            expect_unchanged(EINVAL, [&] { return multimap_insert(&map, key, nullptr, len); });
            expect_unchanged(EINVAL,
                             [&] { return multimap_find(&map, key, nullptr, len, &index); });
            expect_unchanged(EINVAL, [&] { return multimap_delete(&map, key, nullptr, len); });
            EXPECT_EQ(index, 77U);
        }
    }
}

TEST_F(MultimapArguments, AreCheckedBeforeTheKeyLimit)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 0), 0);
    expect_unchanged(EINVAL, [&] { return multimap_insert(&map, "key", nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return multimap_insert(&map, nullptr, "value", 5); });
}

TEST_F(MultimapArguments, AreCheckedWithoutHashing)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    EXPECT_EQ(hashes_during([&] {
                  for (const auto &call : keyed_calls) {
                      EXPECT_EQ(call.run(&map, nullptr), EINVAL) << call.name;
                  }
                  EXPECT_EQ(multimap_insert(&map, "key", nullptr, 0), EINVAL);
                  EXPECT_EQ(multimap_find(&map, "key", nullptr, 0, nullptr), EINVAL);
                  EXPECT_EQ(multimap_delete(&map, "key", nullptr, 0), EINVAL);
              }),
              0);
}

TEST_F(MultimapArguments, TheKeyIsHashedOnce)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    for (const Values &values :
         {Values{}, Values{"value"}, Values{"value", "other"}, Values{"a"}}) {
        for (const auto &call : keyed_calls) {
            SCOPED_TRACE(call.name + " "s + testing::PrintToString(values));
            fill(map, {{"key", values}});
            EXPECT_EQ(hashes_during([&] { call.run(&map, "key"); }), 1);
            ASSERT_EQ(multimap_clear(&map), 0);
        }
    }
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(multimap_haskey(&map, "key"), 1); }), 1);
}

TEST_F(MultimapArguments, ReadingAndRemovingAllocateNothing)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    multimap_t other;
    ASSERT_EQ(multimap_init(&other), 0);
    fill(other, {{"a", {"1"}}});
    allocations::Log log;
    EXPECT_EQ(multimap_find(&map, "a", "1", 1, nullptr), 0);
    EXPECT_EQ(multimap_index(&map, "a", 0, nullptr, nullptr), 0);
    EXPECT_EQ(multimap_haskey(&map, "a"), 1);
    EXPECT_EQ(multimap_delete(&map, "a", "1", 1), 0);
    EXPECT_EQ(multimap_remove(&map, "a", 0), 0);
    EXPECT_EQ(multimap_erase(&map, "b"), 0);
    EXPECT_EQ(multimap_clear(&map), 0);
    EXPECT_EQ(multimap_destroy(&other), 0);
    EXPECT_EQ(log.sizes(), Sizes{});
}

class MultimapInsert : public MultimapTest {};

TEST_F(MultimapInsert, StoresACopyOfKeyAndValue)
{
    char key[] = "key";
    char value[] = "value";
    ASSERT_EQ(multimap_insert(&map, key, value, 5), 0);
    key[0] = value[0] = 'X';
    EXPECT_EQ(content_of(map), (Content{{"key", {"value"}}}));
}

TEST_F(MultimapInsert, CountsKeysAndValues)
{
    fill(map, {{"a", {"1"}}});
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
    fill(map, {{"a", {"2"}}, {"b", {"1", "2", "3"}}});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 5);
    EXPECT_EQ(_multimap_entry(&map, "a")->count, 2U);
    EXPECT_EQ(_multimap_entry(&map, "b")->count, 3U);
}

TEST_F(MultimapInsert, KeepsTheValuesOfAKeyInOrderOfInsertion)
{
    for (const char *value : {"b", "a", "c", "aa"}) {
        ASSERT_EQ(insert(map, "key", value), 0);
        ASSERT_EQ(insert(map, "other", value), 0);
    }
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a", "c", "aa"}));
    EXPECT_EQ(values_of(map, "other"), (Values{"b", "a", "c", "aa"}));
}

TEST_F(MultimapInsert, AppendsNewKeysAtTheEndOfTheBucket)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}});
    EXPECT_EQ(content_of(map), (Content{{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}}));
}

TEST_F(MultimapInsert, LeavesAnExistingKeyAtItsPlaceInTheBucket)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}, {"c", {"2"}}, {"a", {"2"}}});
    EXPECT_EQ(content_of(map), (Content{{"c", {"1", "2"}}, {"a", {"1", "2"}}, {"b", {"1"}}}));
}

TEST_F(MultimapInsert, MovesNoNode)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    const MultimapState before = state_of(map);
    ASSERT_EQ(insert(map, "a", "3"), 0);
    ASSERT_EQ(insert(map, "c", "1"), 0);
    ASSERT_EQ(delete_value(map, "a", "3"), 0);
    ASSERT_EQ(delete_value(map, "c", "1"), 0);
    EXPECT_EQ(state_of(map), before);
}

TEST_F(MultimapInsert, OfANewKeyAllocatesTheValueAndThenTheKey)
{
    allocations::Log log;
    ASSERT_EQ(insert(map, "seven77", "twelve bytes"), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(multimap_value_t) + 12, sizeof(multimap_key_t) + 7 + 1}));
}

TEST_F(MultimapInsert, UnderAnExistingKeyAllocatesTheValueAlone)
{
    fill(map, {{"key", {"1"}}});
    allocations::Log log;
    ASSERT_EQ(insert(map, "key", "twelve bytes"), 0);
    ASSERT_EQ(insert(map, "key", ""), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(multimap_value_t) + 12, sizeof(multimap_value_t)}));
}

TEST_F(MultimapInsert, LaysTheTextOfAKeyRightBehindItsNode)
{
    fill(map, {{"key", {"value"}}});
    const multimap_key_t *node = _multimap_entry(&map, "key");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(static_cast<const void *>(node->key), node + 1);
    EXPECT_EQ(std::memcmp(node + 1, "key", 4), 0);
}

TEST_F(MultimapInsert, LaysTheBytesOfAValueRightBehindItsNode)
{
    fill(map, {{"key", {"va\0ue"s}}});
    const multimap_key_t *key = _multimap_entry(&map, "key");
    ASSERT_NE(key, nullptr);
    const multimap_value_t *node = key->values.first;
    EXPECT_EQ(node->data, node + 1);
    EXPECT_EQ(node->len, 5U);
    EXPECT_EQ(std::memcmp(node + 1, "va\0ue", 5), 0);
}

TEST_F(MultimapInsert, RefusesAValueThatTheKeyHoldsAlready)
{
    fill(map, {{"key", {"first", "middle", "last"}}});
    for (const char *value : {"first", "middle", "last"}) {
        expect_unchanged(1, [&] { return insert(map, "key", value); });
    }
}

TEST_F(MultimapInsert, AllocatesNothingForAValueThatIsThereAlready)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    allocations::Log log;
    allocations::Failure failure(0);
    EXPECT_EQ(insert(map, "key", "value"), 1);
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(MultimapInsert, TakesAValueThatAnotherKeyHolds)
{
    fill(map, {{"a", {"value"}}, {"b", {"value"}}});
    EXPECT_EQ(values_of(map, "a"), Values{"value"});
    EXPECT_EQ(values_of(map, "b"), Values{"value"});
    EXPECT_NE(stored_text(map, "a", 0), stored_text(map, "b", 0));
    ASSERT_EQ(delete_value(map, "a", "value"), 0);
    EXPECT_EQ(values_of(map, "b"), Values{"value"});
}

TEST_F(MultimapInsert, TakesAValueAgainThatWasRemoved)
{
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(insert(map, "key", "a"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a"}));
}

TEST_F(MultimapInsert, KeepsValuesApartThatDifferOnlyInLength)
{
    const Values values{"ab", "ab\0"s, "a", "ab\0\0"s, ""};
    fill(map, {{"key", values}});
    EXPECT_EQ(values_of(map, "key"), values);
}

TEST_F(MultimapInsert, KeepsValuesApartThatDifferInOneByte)
{
    const Values values{"abc", "Abc", "abC", "aBc", "a\0c"s, "a\0d"s, "b\0c"s, "ab\343", "ab\303"};
    fill(map, {{"key", values}});
    EXPECT_EQ(values_of(map, "key"), values);
    for (const std::string &value : values) {
        expect_unchanged(1, [&] { return insert(map, "key", value); });
    }
}

TEST_F(MultimapInsert, StoresValuesWithEveryByte)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    fill(map, {{"all", {bytes}}});
    EXPECT_EQ(values_of(map, "all"), Values{bytes});
    expect_unchanged(1, [&] { return insert(map, "all", bytes); });
}

TEST_F(MultimapInsert, StoresOneEmptyValue)
{
    fill(map, {{"key", {"a", "", "b"}}});
    const void *data = nullptr;
    uint32_t len = 77;
    ASSERT_EQ(multimap_index(&map, "key", 1, &data, &len), 0);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(len, 0U);
    expect_unchanged(1, [&] { return insert(map, "key", ""); });
}

TEST_F(MultimapInsert, TellsNoEmptyValuesApartByTheirPointers)
{
    const char bytes[] = "ab";
    ASSERT_EQ(multimap_insert(&map, "key", bytes, 0), 0);
    expect_unchanged(1, [&] { return multimap_insert(&map, "key", bytes + 1, 0); });
    expect_unchanged(1, [&] { return multimap_insert(&map, "key", bytes + sizeof bytes, 0); });
}

TEST_F(MultimapInsert, TakesTheEmptyKey)
{
    fill(map, {{"", {"1", "2"}}});
    EXPECT_EQ(values_of(map, ""), (Values{"1", "2"}));
    EXPECT_EQ(map.buckets[0].first, _multimap_entry(&map, ""));
    EXPECT_EQ(multimap_haskey(&map, ""), 1);
    expect_unchanged(1, [&] { return insert(map, "", "1"); });
    EXPECT_EQ(multimap_erase(&map, ""), 0);
}

TEST_F(MultimapInsert, TakesLongKeysAndValues)
{
    const std::string key(100000, 'k');
    const std::string value(300000, 'v');
    ASSERT_EQ(insert(map, key.c_str(), value), 0);
    ASSERT_EQ(insert(map, (key + 'k').c_str(), value), 0);
    ASSERT_EQ(insert(map, key.c_str(), value + 'v'), 0);
    EXPECT_EQ(values_of(map, key.c_str()), (Values{value, value + 'v'}));
}

TEST_F(MultimapInsert, KeepsKeysWithBytesAbove0x7FApart)
{
    fill(map, {{"\351", {"1"}}, {"\311", {"2"}}, {"\377\200", {"3"}}, {"\200\377", {"4"}}});
    EXPECT_EQ(values_of(map, "\351"), Values{"1"});
    EXPECT_EQ(values_of(map, "\311"), Values{"2"});
    EXPECT_EQ(values_of(map, "\377\200"), Values{"3"});
    EXPECT_EQ(values_of(map, "\200\377"), Values{"4"});
}

TEST_F(MultimapInsert, KeepsSpellingsApartInACaseSensitiveMultimap)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1"}}});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(values_of(map, "key"), Values{});
    EXPECT_EQ(delete_value(map, "Key", "1"), 0);
    EXPECT_EQ(values_of(map, "KEY"), Values{"1"});
}

TEST_F(MultimapInsert, WithoutMemoryForTheValueChangesNothing)
{
    fill(map, {{"key", {"value"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return insert(map, key, "1234");
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(multimap_value_t) + 4});
    }
}

TEST_F(MultimapInsert, WithoutMemoryForTheKeyFreesTheValueAndChangesNothing)
{
    fill(map, {{"key", {"value"}}});
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(1);
        const int result = insert(map, "new", "value");
        EXPECT_TRUE(failure.happened());
        return result;
    });
    EXPECT_EQ(insert(map, "new", "value"), 0);
}

TEST_F(MultimapInsert, AsksForTheFullSizeOfTheGreatestLength)
{
    if (sizeof(std::size_t) == 4) {
        GTEST_SKIP() << "node and bytes do not fit the address space";
    }
    fill(map, {{"key", {"v"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return multimap_insert(&map, key, "v", UINT32_MAX);
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(multimap_value_t) + UINT32_MAX});
    }
}

TEST_F(MultimapInsert, RefusesALengthThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "a 32-bit length always fits";
    }
    fill(map, {{"key", {"v"}}});
    const uint32_t node = sizeof(multimap_value_t);
    for (const uint32_t below : {0U, 1U, node - 2, node - 1}) {
        for (const char *key : {"key", "new"}) {
            SCOPED_TRACE(below);
            allocations::Log log;
            expect_unchanged(ENOMEM,
                             [&] { return multimap_insert(&map, key, "v", UINT32_MAX - below); });
            EXPECT_EQ(log.sizes(), Sizes{});
        }
    }
    for (const uint32_t below : {node, node + 1}) {
        SCOPED_TRACE(below);
        expect_unchanged(ENOMEM,
                         [&] { return multimap_insert(&map, "new", "v", UINT32_MAX - below); });
    }
}

class MultimapKeyLimit : public MultimapTest {};

TEST_F(MultimapKeyLimit, Of0Or1AdmitsNoKey)
{
    for (const int limit : {0, 1}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(multimap_setmaxkeys(&map, limit), 0);
        expect_unchanged(1, [&] { return insert(map, "key", "value"); });
    }
}

TEST_F(MultimapKeyLimit, Of2AdmitsOneKey)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
}

TEST_F(MultimapKeyLimit, Of3AdmitsTwoKeysAndAnyNumberOfValues)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    EXPECT_EQ(insert(map, "a", "2"), 0);
    EXPECT_EQ(insert(map, "a", "3"), 0);
    EXPECT_EQ(insert(map, "b", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "c", "1"); });
    EXPECT_EQ(insert(map, "a", "4"), 0);
    EXPECT_EQ(insert(map, "b", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "c", "1"); });
}

TEST_F(MultimapKeyLimit, ThatIsNegativeIsNone)
{
    for (const int limit : {-1, -2, INT_MIN}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(multimap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(insert(map, std::to_string(limit).c_str(), "value"), 0);
    }
}

TEST_F(MultimapKeyLimit, OfTheGreatestNumberAdmitsKeys)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, INT_MAX), 0);
    EXPECT_EQ(insert(map, "key", "value"), 0);
}

TEST_F(MultimapKeyLimit, HoldsUpToTheGreatestCount)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, INT_MAX), 0);
    for (const int count : {INT_MAX - 1, INT_MAX}) {
        SCOPED_TRACE(count);
        map.numkeys = count;
        const int result = insert(map, "key", "value");
        map.numkeys = 0;
        EXPECT_EQ(result, 1);
    }
}

TEST_F(MultimapKeyLimit, LetsAKeyInWhenAnotherHasGone)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    fill(map, {{"a", {"1", "2"}}});
    ASSERT_EQ(delete_value(map, "a", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
    ASSERT_EQ(delete_value(map, "a", "2"), 0);
    EXPECT_EQ(insert(map, "b", "1"), 0);
}

TEST_F(MultimapKeyLimit, ThatIsReachedStillTakesValuesUnderPresentKeys)
{
    fill(map, {{"a", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(insert(map, "a", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "a", "2"); });
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
}

TEST_F(MultimapKeyLimit, RefusesOnceTheValueIsMadeAndFreesIt)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    allocations::Log log;
    expect_unchanged(1, [&] { return insert(map, "key", "twelve bytes"); });
    EXPECT_EQ(log.sizes(), Sizes{sizeof(multimap_value_t) + 12});
}

TEST_F(MultimapKeyLimit, ComesAfterMemoryForTheValueAndBeforeThatForTheKey)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return insert(map, "key", "value");
    });
    expect_unchanged(1, [&] {
        allocations::Failure failure(1);
        return insert(map, "key", "value");
    });
}

TEST_F(MultimapInsert, DoesNotEnforceTheValueLimit)
{
    for (const int limit : {0, 1, 2}) {
        ASSERT_EQ(multimap_clear(&map), 0);
        ASSERT_EQ(multimap_setmaxvalues(&map, limit), 0);
        SCOPED_TRACE(limit);
        EXPECT_EQ(insert(map, "a", "1"), 0);
        EXPECT_EQ(insert(map, "a", "2"), 0);
        EXPECT_EQ(insert(map, "b", "1"), 0);
        EXPECT_EQ(map.numvalues, 3);
        EXPECT_EQ(map.maxvalues, limit);
    }
}

class MultimapFind : public MultimapTest {
  protected:
    uint32_t index = 77;
};

TEST_F(MultimapFind, GivesThePositionOfTheValue)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"c", "b"}}});
    EXPECT_EQ(position_of(map, "key", "a"), 0U);
    EXPECT_EQ(position_of(map, "key", "b"), 1U);
    EXPECT_EQ(position_of(map, "key", "c"), 2U);
    EXPECT_EQ(position_of(map, "other", "c"), 0U);
    EXPECT_EQ(position_of(map, "other", "b"), 1U);
}

TEST_F(MultimapFind, GivesTheNewPositionsAfterARemoval)
{
    fill(map, {{"key", {"a", "b", "c"}}});
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(position_of(map, "key", "a"), std::nullopt);
    EXPECT_EQ(position_of(map, "key", "b"), 0U);
    EXPECT_EQ(position_of(map, "key", "c"), 1U);
}

TEST_F(MultimapFind, TakesNullForThePosition)
{
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(multimap_find(&map, "key", "b", 1, nullptr), 0);
    EXPECT_EQ(multimap_find(&map, "key", "c", 1, nullptr), ENOENT);
    EXPECT_EQ(multimap_find(&map, "missing", "b", 1, nullptr), ENOENT);
}

TEST_F(MultimapFind, ReportsAMissingKeyAndLeavesThePosition)
{
    expect_unchanged(ENOENT, [&] { return multimap_find(&map, "key", "a", 1, &index); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return multimap_find(&map, key, "a", 1, &index); });
    }
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, ReportsAMissingValueAndLeavesThePosition)
{
    fill(map, {{"key", {"ab", "cd"}}, {"other", {"value"}}});
    for (const auto &value : {"value"s, "a"s, "abc"s, "ab\0"s, "AB"s, "b"s, ""s}) {
        SCOPED_TRACE(value);
        expect_unchanged(ENOENT, [&] {
            return multimap_find(&map, "key", value.data(), length_of(value), &index);
        });
    }
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, LeavesThePositionForBadArguments)
{
    fill(map, {{"key", {"a"}}});
    EXPECT_EQ(multimap_find(nullptr, "key", "a", 1, &index), EINVAL);
    EXPECT_EQ(multimap_find(&map, nullptr, "a", 1, &index), EINVAL);
    EXPECT_EQ(multimap_find(&map, "key", nullptr, 1, &index), EINVAL);
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_find(&map, "key", "a", 1, &index), EINVAL);
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, ComparesBytesBehindANul)
{
    fill(map, {{"key", {"a\0b"s, "a\0c"s}}});
    EXPECT_EQ(position_of(map, "key", "a\0c"s), 1U);
    EXPECT_EQ(position_of(map, "key", "a\0d"s), std::nullopt);
}

TEST_F(MultimapFind, FindsTheEmptyValue)
{
    fill(map, {{"key", {"a", ""}}});
    EXPECT_EQ(position_of(map, "key", ""), 1U);
    ASSERT_EQ(delete_value(map, "key", ""), 0);
    EXPECT_EQ(position_of(map, "key", ""), std::nullopt);
}

TEST_F(MultimapFind, ReadsNoByteOfAValueOfAnotherLength)
{
    fill(map, {{"key", {"v", ""}}});
    EXPECT_EQ(multimap_find(&map, "key", "v", UINT32_MAX, &index), ENOENT);
    EXPECT_EQ(multimap_delete(&map, "key", "v", UINT32_MAX), ENOENT);
    EXPECT_EQ(multimap_find(&map, "missing", "v", UINT32_MAX, &index), ENOENT);
}

TEST_F(MultimapFind, MayWriteThePositionOverTheValueItWasGiven)
{
    const uint32_t wanted = 5;
    uint32_t value = wanted;
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(multimap_insert(&map, "key", &value, sizeof value), 0);
    EXPECT_EQ(multimap_find(&map, "key", &value, sizeof value, &value), 0);
    EXPECT_EQ(value, 2U);
    value = wanted + 1;
    EXPECT_EQ(multimap_find(&map, "key", &value, sizeof value, &value), ENOENT);
    EXPECT_EQ(value, wanted + 1);
}

class MultimapDelete : public MultimapTest {};

TEST_F(MultimapDelete, RemovesTheValueAlone)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"b"}}});
    EXPECT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(values_of(map, "other"), Values{"b"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 3);
    EXPECT_EQ(_multimap_entry(&map, "key")->count, 2U);
}

TEST_F(MultimapDelete, RemovesTheKeyWithItsLastValue)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"a"}}});
    ASSERT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(multimap_haskey(&map, "key"), 1);
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(multimap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
    EXPECT_EQ(content_of(map), (Content{{"other", {"a"}}}));
}

TEST_F(MultimapDelete, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(allocations::live(), live + 3);
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MultimapDelete, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", "a"); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return delete_value(map, key, "a"); });
    }
}

TEST_F(MultimapDelete, ReportsAMissingValueAndChangesNothing)
{
    fill(map, {{"key", {"ab", "cd"}}, {"other", {"value"}}});
    for (const auto &value : {"value"s, "a"s, "abc"s, "ab\0"s, "AB"s, "b"s, ""s}) {
        SCOPED_TRACE(value);
        expect_unchanged(ENOENT, [&] { return delete_value(map, "key", value); });
    }
}

TEST_F(MultimapDelete, TellsValuesApartByTheirLength)
{
    fill(map, {{"key", {"ab", "ab\0"s}}});
    ASSERT_EQ(delete_value(map, "key", "ab\0"s), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"ab"});
}

TEST_F(MultimapDelete, RemovesTheEmptyValue)
{
    fill(map, {{"key", {"", "a"}}});
    EXPECT_EQ(delete_value(map, "key", ""), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"a"});
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", ""); });
}

class MultimapRemove : public MultimapTest {};

TEST_F(MultimapRemove, RemovesTheValueAtThePosition)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"a", "b"}}});
    EXPECT_EQ(multimap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(multimap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"a"});
    EXPECT_EQ(values_of(map, "other"), (Values{"a", "b"}));
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 3);
}

TEST_F(MultimapRemove, RemovesTheKeyWithItsLastValue)
{
    fill(map, {{"key", {"a"}}, {"other", {"a"}}});
    EXPECT_EQ(multimap_remove(&map, "key", 0), 0);
    EXPECT_EQ(multimap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
}

TEST_F(MultimapRemove, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(multimap_remove(&map, "key", 1), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(multimap_remove(&map, "key", 0), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MultimapRemove, ReportsAPositionBehindTheLastAndChangesNothing)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"a", "b", "c", "d"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        expect_unchanged(ENOENT, [&] { return multimap_remove(&map, "key", index); });
    }
}

TEST_F(MultimapRemove, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return multimap_remove(&map, "key", 0); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "other"}) {
        expect_unchanged(ENOENT, [&] { return multimap_remove(&map, key, 0); });
    }
}

class MultimapErase : public MultimapTest {};

TEST_F(MultimapErase, RemovesTheKeyWithAllOfItsValues)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"a", "d"}}});
    EXPECT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_EQ(multimap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 2);
    EXPECT_EQ(content_of(map), (Content{{"other", {"a", "d"}}}));
}

TEST_F(MultimapErase, FreesKeyAndValues)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b", ""}}});
    ASSERT_EQ(allocations::live(), live + 4);
    ASSERT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MultimapErase, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return multimap_erase(&map, "key"); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return multimap_erase(&map, key); });
    }
}

TEST_F(MultimapErase, LetsTheKeyBeMadeAnew)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(multimap_erase(&map, "a"), 0);
    fill(map, {{"a", {"2"}}});
    EXPECT_EQ(content_of(map), (Content{{"b", {"1"}}, {"a", {"2"}}}));
}

// Each order in which three values, or three keys that share a bucket, can go: first, middle and
// last. A new one is appended after each step, which shows a wrong tail.
class MultimapUnlinking : public MultimapTest {
  protected:
    template <class Remove>
    void take_values(Remove remove)
    {
        Values order{"a", "b", "c"};
        do {
            Values expected{"a", "b", "c"};
            fill(map, {{"key", expected}});
            for (const std::string &value : order) {
                SCOPED_TRACE(testing::PrintToString(order) + " without " + value);
                const auto gone = std::find(expected.begin(), expected.end(), value);
                ASSERT_EQ(remove(value, static_cast<uint32_t>(gone - expected.begin())), 0);
                expected.erase(gone);
                EXPECT_EQ(content_of(map), (Content{{"key", expected}}));
                expected.push_back("after " + value);
                ASSERT_EQ(insert(map, "key", expected.back()), 0);
                EXPECT_EQ(content_of(map), (Content{{"key", expected}}));
            }
            ASSERT_EQ(multimap_clear(&map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }

    template <class Remove>
    void take_keys(Remove remove)
    {
        ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
        Values order{"a", "b", "c"};
        do {
            Content expected{{"a", {"1"}}, {"b", {"1"}}, {"c", {"1"}}};
            fill(map, expected);
            for (const std::string &key : order) {
                SCOPED_TRACE(testing::PrintToString(order) + " without " + key);
                ASSERT_EQ(remove(key.c_str()), 0);
                expected.erase(std::find(expected.begin(), expected.end(), KeyValues{key, {"1"}}));
                EXPECT_EQ(content_of(map), expected);
                expected.push_back({"after " + key, {"2"}});
                ASSERT_EQ(insert(map, expected.back().first.c_str(), "2"), 0);
                EXPECT_EQ(content_of(map), expected);
            }
            ASSERT_EQ(multimap_clear(&map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }
};

TEST_F(MultimapUnlinking, DeleteTakesValuesOutInAnyOrder)
{
    take_values(
        [&](const std::string &value, uint32_t) { return delete_value(map, "key", value); });
}

TEST_F(MultimapUnlinking, RemoveTakesValuesOutInAnyOrder)
{
    take_values(
        [&](const std::string &, uint32_t index) { return multimap_remove(&map, "key", index); });
}

TEST_F(MultimapUnlinking, DeleteOfTheLastValueTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return delete_value(map, key, "1"); });
}

TEST_F(MultimapUnlinking, RemoveOfTheLastValueTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return multimap_remove(&map, key, 0); });
}

TEST_F(MultimapUnlinking, EraseTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return multimap_erase(&map, key); });
}

TEST_F(MultimapUnlinking, OfTheOnlyKeyLeavesTheBucketAsItWas)
{
    const MultimapState before = state_of(map);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(delete_value(map, "key", "value"), 0);
    EXPECT_EQ(state_of(map), before);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_remove(&map, "key", 0), 0);
    EXPECT_EQ(state_of(map), before);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_EQ(state_of(map), before);
}

class MultimapIndex : public MultimapTest {
  protected:
    void expect_cleared(const char *key, uint32_t index)
    {
        SCOPED_TRACE(key + " "s + std::to_string(index));
        data = "untouched";
        len = 77;
        expect_unchanged(ENOENT, [&] { return multimap_index(&map, key, index, &data, &len); });
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(len, 0U);
    }

    const void *data = "untouched";
    uint32_t len = 77;
};

TEST_F(MultimapIndex, PointsIntoTheMultimap)
{
    fill(map, {{"key", {"a", "bc", "def"}}});
    const multimap_value_t *value = _multimap_entry(&map, "key")->values.first;
    for (uint32_t i = 0; i < 3; ++i, value = value->next) {
        ASSERT_EQ(multimap_index(&map, "key", i, &data, &len), 0);
        EXPECT_EQ(data, value->data);
        EXPECT_EQ(len, i + 1);
    }
}

TEST_F(MultimapIndex, TakesNullForEitherOutput)
{
    fill(map, {{"key", {"a", "bcd"}}});
    EXPECT_EQ(multimap_index(&map, "key", 1, nullptr, nullptr), 0);
    EXPECT_EQ(multimap_index(&map, "key", 1, &data, nullptr), 0);
    EXPECT_EQ(data, _multimap_value(&map, "key", "bcd", 3)->data);
    EXPECT_EQ(multimap_index(&map, "key", 1, nullptr, &len), 0);
    EXPECT_EQ(len, 3U);
    EXPECT_EQ(multimap_index(&map, "key", 2, nullptr, nullptr), ENOENT);
    EXPECT_EQ(multimap_index(&map, "missing", 0, nullptr, nullptr), ENOENT);
    EXPECT_EQ(multimap_index(&map, "missing", 0, &data, nullptr), ENOENT);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(multimap_index(&map, "missing", 0, nullptr, &len), ENOENT);
    EXPECT_EQ(len, 0U);
}

TEST_F(MultimapIndex, ClearsTheOutputsForAMissingKey)
{
    expect_cleared("key", 0);
    fill(map, {{"key", {"a"}}});
    expect_cleared("KEY", 0);
    expect_cleared("", 0);
}

TEST_F(MultimapIndex, ClearsTheOutputsForAPositionBehindTheLast)
{
    fill(map, {{"key", {"a", "b"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        expect_cleared("key", index);
    }
}

TEST_F(MultimapIndex, LeavesTheOutputsForBadArguments)
{
    const void *const before = data;
    fill(map, {{"key", {"a"}}});
    EXPECT_EQ(multimap_index(nullptr, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(multimap_index(&map, nullptr, 0, &data, &len), EINVAL);
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_index(&map, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(data, before);
    EXPECT_EQ(len, 77U);
}

TEST_F(MultimapIndex, GivesPointersThatLastWhileOtherKeysAndValuesComeAndGo)
{
    fill(map, {{"key", {"a", "value", "c"}}});
    ASSERT_EQ(multimap_index(&map, "key", 1, &data, &len), 0);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), "v"), 0);
        ASSERT_EQ(insert(map, "key", std::to_string(i)), 0);
    }
    for (int i = 0; i < 100; i += 2) {
        ASSERT_EQ(multimap_erase(&map, std::to_string(i).c_str()), 0);
        ASSERT_EQ(delete_value(map, "key", std::to_string(i)), 0);
    }
    ASSERT_EQ(multimap_remove(&map, "key", 0), 0);
    EXPECT_EQ(std::memcmp(data, "value", 5), 0);
    EXPECT_EQ(stored_text(map, "key", 0), data);
}

class MultimapHaskey : public MultimapTest {};

TEST_F(MultimapHaskey, TellsWhetherTheKeyIsThere)
{
    EXPECT_EQ(multimap_haskey(&map, "key"), 0);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(multimap_haskey(&map, "key"), 1);
    EXPECT_EQ(multimap_haskey(&map, "KEY"), 0);
    EXPECT_EQ(multimap_haskey(&map, ""), 0);
    EXPECT_EQ(multimap_haskey(&map, "other"), 0);
}

TEST_F(MultimapHaskey, DoesNotLookAtTheKeyInAnEmptyMultimap)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(multimap_haskey(&map, "key"), 0); }), 0);
}

TEST_F(MultimapHaskey, IsFalseForNullsAndReleasedMultimaps)
{
    EXPECT_EQ(multimap_haskey(nullptr, "key"), 0);
    EXPECT_EQ(multimap_haskey(&map, nullptr), 0);
    fill(map, {{"key", {"value"}}});
    expect_unchanged(0, [&] { return multimap_haskey(&map, nullptr); });
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(0, [&] { return multimap_haskey(&map, "key"); });
}

class MultimapClear : public MultimapTest {};

TEST_F(MultimapClear, RemovesEverythingAndKeepsSettingsAndBuckets)
{
    ASSERT_EQ(multimap_sethashsize(&map, 8), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_setmaxkeys(&map, 100), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 200), 0);
    const MultimapState before = state_of(map);
    const std::size_t live = allocations::live();
    for (std::size_t i = 0; i < 50; ++i) {
        fill(map, {{std::string(i, 'k'), {"1", "2", ""}}});
    }
    EXPECT_EQ(allocations::live(), live + 200);
    EXPECT_EQ(multimap_clear(&map), 0);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MultimapClear, OfAnEmptyMultimapDoesNothing)
{
    expect_unchanged(0, [&] { return multimap_clear(&map); });
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_clear(&map), 0);
    expect_unchanged(0, [&] { return multimap_clear(&map); });
}

TEST_F(MultimapClear, LooksAtNoBucketWithoutKeys)
{
    fill(map, {{"key", {"value"}}});
    for (const int count : {0, -1, INT_MIN}) {
        map.numkeys = count;
        EXPECT_EQ(multimap_clear(&map), 0);
        EXPECT_EQ(map.numkeys, count);
    }
    map.numkeys = 1;
    EXPECT_EQ(content_of(map), (Content{{"key", {"value"}}}));
}

TEST_F(MultimapClear, RefusesNullAndReleasedMultimaps)
{
    EXPECT_EQ(multimap_clear(nullptr), EINVAL);
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return multimap_clear(&map); });
}

TEST_F(MultimapClear, LeavesAMultimapThatCanBeFilledAgain)
{
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(multimap_clear(&map), 0);
    fill(map, {{"key", {"b", "a"}}});
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a"}));
}

TEST_F(MultimapClear, AsksNoHash)
{
    ASSERT_EQ(multimap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(multimap_clear(&map), 0); }), 0);
}

class MultimapDestroy : public MultimapTest {};

TEST_F(MultimapDestroy, ReleasesTheRecordAndKeepsLimitsAndCasekeys)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_setmaxkeys(&map, 9), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 11), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(map.buckets, nullptr);
    EXPECT_EQ(map.hashsize, 0U);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.numvalues, 0);
    EXPECT_EQ(map.maxkeys, 9);
    EXPECT_EQ(map.maxvalues, 11);
    EXPECT_EQ(map.casekeys, 1U);
}

TEST_F(MultimapDestroy, FreesKeysValuesAndBuckets)
{
    multimap_t other;
    const std::size_t live = allocations::live();
    ASSERT_EQ(multimap_init(&other), 0);
    for (int i = 0; i < 100; ++i) {
        fill(other, {{std::to_string(i), {"1", "2"}}});
    }
    EXPECT_EQ(allocations::live(), live + 301);
    EXPECT_EQ(multimap_destroy(&other), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MultimapDestroy, RefusesAReleasedMultimap)
{
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return multimap_destroy(&map); });
    expect_unchanged(EINVAL, [&] { return multimap_destroy(&map); });
}

TEST_F(MultimapDestroy, RefusesNull)
{
    EXPECT_EQ(multimap_destroy(nullptr), EINVAL);
}

TEST_F(MultimapDestroy, MayBeFollowedByInit)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 1), 0);
    ASSERT_EQ(multimap_destroy(&map), 0);
    ASSERT_EQ(multimap_init(&map), 0);
    EXPECT_EQ(map.maxkeys, -1);
    EXPECT_EQ(map.maxvalues, -1);
    EXPECT_EQ(map.casekeys, 0U);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "b"}));
}

// One key of three spellings.
class MultimapCaseInsensitive : public MultimapTest {
  protected:
    MultimapCaseInsensitive()
    {
        EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    }
};

TEST_F(MultimapCaseInsensitive, InsertAddsToTheKeyAndKeepsItsFirstSpelling)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}, {"key", {"3"}}});
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(map.numkeys, 1);
}

TEST_F(MultimapCaseInsensitive, InsertRefusesTheValueUnderAnySpelling)
{
    fill(map, {{"Key", {"1"}}});
    expect_unchanged(1, [&] { return insert(map, "kEY", "1"); });
}

TEST_F(MultimapCaseInsensitive, InsertNeedsNoRoomForAnotherSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(insert(map, "KEY", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "other", "1"); });
}

TEST_F(MultimapCaseInsensitive, ValuesStillDifferByCase)
{
    fill(map, {{"Key", {"value", "VALUE"}}});
    EXPECT_EQ(position_of(map, "KEY", "VALUE"), 1U);
    EXPECT_EQ(position_of(map, "KEY", "Value"), std::nullopt);
}

TEST_F(MultimapCaseInsensitive, EveryCallFindsAnySpelling)
{
    fill(map, {{"Key", {"1", "2", "3", "4"}}});
    EXPECT_EQ(multimap_haskey(&map, "kEY"), 1);
    EXPECT_EQ(position_of(map, "kEY", "2"), 1U);
    EXPECT_EQ(values_of(map, "KEY"), (Values{"1", "2", "3", "4"}));
    EXPECT_EQ(delete_value(map, "KEY", "2"), 0);
    EXPECT_EQ(multimap_remove(&map, "kEY", 0), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"3", "4"}}}));
    EXPECT_EQ(multimap_erase(&map, "keY"), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MultimapCaseInsensitive, AKeyMadeAnewTakesTheNewSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(delete_value(map, "key", "1"), 0);
    fill(map, {{"KEY", {"1"}}});
    EXPECT_EQ(content_of(map), (Content{{"KEY", {"1"}}}));
}

TEST_F(MultimapCaseInsensitive, SpellingsThatACallersHashPartsAreDifferentKeys)
{
    ASSERT_EQ(multimap_sethashsize(&map, 128), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"Key", {"1"}}, {"key", {"1"}}, {"KEY", {"2"}}});
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2"}}, {"key", {"1"}}}));
}

// Arguments that lie inside the multimap, in the very node that the call frees where it frees one.
class MultimapAliasing : public MultimapTest {};

TEST_F(MultimapAliasing, InsertTakesAKeysTextAsItsOwnValue)
{
    fill(map, {{"key", {"value"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(multimap_insert(&map, key, key, 4), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"value", "key\0"s}));
}

TEST_F(MultimapAliasing, InsertTakesAValuesTextAsANewKeyThatHoldsIt)
{
    fill(map, {{"key", {"value\0"s}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(multimap_insert(&map, text, text, 5), 0);
    EXPECT_EQ(values_of(map, "value"), Values{"value"});
    EXPECT_EQ(values_of(map, "key"), Values{"value\0"s});
}

TEST_F(MultimapAliasing, InsertCopiesAValueToAnotherKey)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_insert(&map, "other", stored_text(map, "key", 0), 5), 0);
    EXPECT_NE(stored_text(map, "other", 0), stored_text(map, "key", 0));
    ASSERT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_EQ(values_of(map, "other"), Values{"value"});
}

TEST_F(MultimapAliasing, InsertRefusesAValueItselfUnderItsOwnKey)
{
    fill(map, {{"key", {"a", "value"}}});
    const char *key = stored_key(map, "key");
    const char *text = stored_text(map, "key", 1);
    expect_unchanged(1, [&] { return multimap_insert(&map, key, text, 5); });
}

TEST_F(MultimapAliasing, InsertTakesAPartOfAValueUnderItsOwnKey)
{
    fill(map, {{"key", {"value"}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(multimap_insert(&map, stored_key(map, "key"), text + 1, 3), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"value", "alu"}));
}

TEST_F(MultimapAliasing, FindTakesKeyAndValueOfTheMultimap)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"b", "a"}}});
    uint32_t index = 77;
    EXPECT_EQ(multimap_find(&map, stored_key(map, "key"), stored_text(map, "key", 1), 1, &index),
              0);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(multimap_find(&map, stored_key(map, "other"), stored_text(map, "key", 1), 1, &index),
              0);
    EXPECT_EQ(index, 0U);
}

TEST_F(MultimapAliasing, IndexAndHaskeyTakeAKeyOfTheMultimap)
{
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(map, stored_key(map, "key")), (Values{"a", "b"}));
    EXPECT_EQ(multimap_haskey(&map, stored_key(map, "key")), 1);
}

TEST_F(MultimapAliasing, DeleteTakesTheBytesOfTheValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values left{"a", "b", "c"};
        fill(map, {{"key", left}});
        left.erase(left.begin() + index);
        const char *text = stored_text(map, "key", index);
        ASSERT_EQ(multimap_delete(&map, stored_key(map, "key"), text, 1), 0);
        EXPECT_EQ(content_of(map), (Content{{"key", left}}));
        ASSERT_EQ(multimap_clear(&map), 0);
    }
}

TEST_F(MultimapAliasing, DeleteTakesKeyAndValueThatGoTogether)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"value"}}, {"z", {"1"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(multimap_delete(&map, key, stored_text(map, "key", 0), 5), 0);
    EXPECT_EQ(content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(MultimapAliasing, DeleteTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(map, {{"key", {"key\0"s, "other"}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(multimap_delete(&map, text, text, 4), 0);
    EXPECT_EQ(content_of(map), (Content{{"key", {"other"}}}));
}

TEST_F(MultimapAliasing, DeleteTakesAKeyThatLiesInTheOnlyValue)
{
    fill(map, {{"key", {"key\0"s}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(multimap_delete(&map, text, text, 4), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapAliasing, DeleteTakesAValueThatLiesInTheKeyThatGoes)
{
    fill(map, {{"key", {"key"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(multimap_delete(&map, key, key, 3), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapAliasing, RemoveTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(multimap_remove(&map, stored_key(map, "key"), 1), 0);
    ASSERT_EQ(multimap_remove(&map, stored_key(map, "key"), 0), 0);
    EXPECT_EQ(content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(MultimapAliasing, RemoveTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(map, {{"key", {"other", "key\0"s}}});
    ASSERT_EQ(multimap_remove(&map, stored_text(map, "key", 1), 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"key", {"other"}}}));
    fill(map, {{"one", {"one\0"s}}});
    ASSERT_EQ(multimap_remove(&map, stored_text(map, "one", 0), 0), 0);
    EXPECT_EQ(content_of(map), (Content{{"key", {"other"}}}));
}

TEST_F(MultimapAliasing, EraseTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(multimap_erase(&map, stored_key(map, "key")), 0);
    EXPECT_EQ(content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(MultimapAliasing, EraseTakesAKeyThatLiesInAValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values values{"1", "2"};
        values.insert(values.begin() + index, "key\0"s);
        fill(map, {{"key", values}, {"other", {"1"}}});
        ASSERT_EQ(multimap_erase(&map, stored_text(map, "key", index)), 0);
        EXPECT_EQ(content_of(map), (Content{{"other", {"1"}}}));
        ASSERT_EQ(multimap_clear(&map), 0);
    }
}

class MultimapHashlist : public MultimapTest {
  protected:
    uint32_t bucket_of(const char *key)
    {
        return static_cast<uint32_t>(_multimap_hashlist(&map, key) - map.buckets);
    }
};

TEST_F(MultimapHashlist, MasksTheBuiltInHash)
{
    EXPECT_EQ(bucket_of(""), 0U);
    EXPECT_EQ(bucket_of("A"), 65U % 32);
    EXPECT_EQ(bucket_of("AB"), (65U * 31 + 66) % 32);
    ASSERT_EQ(multimap_sethashsize(&map, 1024), 0);
    EXPECT_EQ(bucket_of("AB"), (65U * 31 + 66) % 1024);
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    EXPECT_EQ(bucket_of("AB"), 0U);
}

TEST_F(MultimapHashlist, FoldsCaseWhateverCasekeysSays)
{
    ASSERT_EQ(multimap_sethashsize(&map, 4096), 0);
    for (const uint32_t casekeys : {0U, 1U}) {
        ASSERT_EQ(multimap_setcasekeys(&map, casekeys), 0);
        EXPECT_EQ(bucket_of("kEy"), 0x0001223FU % 4096);
        EXPECT_EQ(bucket_of("KEY"), bucket_of("key"));
        EXPECT_EQ(bucket_of("{"), 0x7BU);
        EXPECT_EQ(bucket_of("["), 0x5BU);
    }
}

TEST_F(MultimapHashlist, CountsBytesAbove0x7FAsNegative)
{
    ASSERT_EQ(multimap_sethashsize(&map, 4096), 0);
    EXPECT_EQ(bucket_of("\377"), 0xFFFFFFFFU % 4096);
    EXPECT_EQ(bucket_of("\351"), 0xFFFFFFE9U % 4096);
    EXPECT_EQ(bucket_of("\200"), 0xFFFFFF80U % 4096);
    EXPECT_EQ(bucket_of("\377A"), (0xFFFFFFFFU * 31 + 65) % 4096);
}

TEST_F(MultimapHashlist, MasksTheCallersHash)
{
    ASSERT_EQ(multimap_sethashfunc(&map, [](const void *, const char *) { return UINT32_MAX; }), 0);
    EXPECT_EQ(bucket_of("key"), 31U);
    ASSERT_EQ(multimap_sethashsize(&map, 4), 0);
    EXPECT_EQ(bucket_of("key"), 3U);
}

TEST_F(MultimapHashlist, GivesTheCallersHashTheMultimapAndTheKey)
{
    static const void *container;
    static const char *asked;
    ASSERT_EQ(multimap_sethashfunc(&map,
                                   [](const void *record, const char *text) {
                                       container = record;
                                       asked = text;
                                       return 5U;
                                   }),
              0);
    const char key[] = "key";
    EXPECT_EQ(bucket_of(key), 5U);
    EXPECT_EQ(container, &map);
    EXPECT_EQ(asked, key);
}

class MultimapKeycmp : public MultimapTest {};

TEST_F(MultimapKeycmp, OrdersAsStrcmp)
{
    EXPECT_EQ(sign(_multimap_keycmp(&map, "key", "key")), 0);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "a", "b")), -1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "b", "a")), 1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "", "a")), -1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "a", "aa")), -1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "a", "B")), 1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "key", "KEY")), 1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "\377", "a")), 1);
}

TEST_F(MultimapKeycmp, OrdersAsStrcasecmpOnceCasekeysIsSet)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "key", "KEY")), 0);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "KeY", "kEy")), 0);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "a", "B")), -1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "B", "a")), 1);
    EXPECT_EQ(sign(_multimap_keycmp(&map, "a", "AA")), -1);
    EXPECT_NE(sign(_multimap_keycmp(&map, "{", "[")), 0);
}

class MultimapEntry : public MultimapTest {};

TEST_F(MultimapEntry, IsTheNodeOfTheKeyWhereverItStandsInItsBucket)
{
    ASSERT_EQ(multimap_sethashsize(&map, 1), 0);
    fill(map, {{"one", {"1"}}, {"two", {"1", "2"}}, {"three", {"1", "2", "3"}}});
    const void *link = map.buckets[0].first;
    for (const char *key : {"one", "two", "three"}) {
        const multimap_key_t *node = _multimap_entry(&map, key);
        ASSERT_NE(node, nullptr) << key;
        EXPECT_EQ(node, link);
        EXPECT_STREQ(node->key, key);
        link = node->next;
    }
}

TEST_F(MultimapEntry, IsNullForAMissingKey)
{
    EXPECT_EQ(_multimap_entry(&map, "key"), nullptr);
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(_multimap_entry(&map, "KEY"), nullptr);
    EXPECT_EQ(_multimap_entry(&map, "value"), nullptr);
}

TEST_F(MultimapEntry, IsFoundByAnySpellingOnceCasekeysIsSet)
{
    fill(map, {{"Key", {"value"}}});
    const multimap_key_t *node = _multimap_entry(&map, "Key");
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(_multimap_entry(&map, "kEY"), node);
}

class MultimapValue : public MultimapTest {};

TEST_F(MultimapValue, IsTheNodeOfTheBytesUnderTheKey)
{
    fill(map, {{"key", {"a", "ab", "a\0"s}}, {"other", {"ab"}}});
    const multimap_value_t *first = _multimap_entry(&map, "key")->values.first;
    EXPECT_EQ(_multimap_value(&map, "key", "a", 1), first);
    EXPECT_EQ(_multimap_value(&map, "key", "ab", 2), first->next);
    EXPECT_EQ(_multimap_value(&map, "key", "a", 2), first->next->next);
    EXPECT_EQ(_multimap_value(&map, "other", "ab", 2),
              _multimap_entry(&map, "other")->values.first);
}

TEST_F(MultimapValue, IsNullForAMissingKeyOrValue)
{
    EXPECT_EQ(_multimap_value(&map, "key", "a", 1), nullptr);
    fill(map, {{"key", {"a"}}, {"other", {"b"}}});
    EXPECT_EQ(_multimap_value(&map, "missing", "a", 1), nullptr);
    EXPECT_EQ(_multimap_value(&map, "key", "b", 1), nullptr);
    EXPECT_EQ(_multimap_value(&map, "key", "a", 0), nullptr);
    EXPECT_EQ(_multimap_value(&map, "key", "a", 2), nullptr);
}

// Many calls in a random order, against a model: a list of keys that share a bucket.
class MultimapModel : public MultimapTest {};

TEST_F(MultimapModel, AgreesOverManyCalls)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    Content model;
    std::mt19937 random(1);
    const auto below = [&](uint32_t end) {
        return static_cast<uint32_t>(random()) % end;
    };
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(step);
        const std::string key(below(5), 'k');
        const std::string value(below(6), 'v');
        const uint32_t index = below(6);
        const auto node =
            std::find_if(model.begin(), model.end(), [&](auto &held) { return held.first == key; });
        const bool known = node != model.end();
        Values none;
        Values &values = known ? node->second : none;
        const auto held = std::find(values.begin(), values.end(), value);
        const auto take = [&](Values::iterator gone) {
            values.erase(gone);
            if (values.empty()) {
                model.erase(node);
            }
        };
        switch (below(8)) {
        case 0:
            ASSERT_EQ(delete_value(map, key.c_str(), value), held != values.end() ? 0 : ENOENT);
            if (held != values.end()) {
                take(held);
            }
            break;
        case 1:
            ASSERT_EQ(multimap_remove(&map, key.c_str(), index),
                      index < values.size() ? 0 : ENOENT);
            if (index < values.size()) {
                take(values.begin() + index);
            }
            break;
        case 2:
            if (index == 0) {
                ASSERT_EQ(multimap_erase(&map, key.c_str()), known ? 0 : ENOENT);
                if (known) {
                    model.erase(node);
                }
            }
            break;
        case 3:
            if (held == values.end()) {
                ASSERT_EQ(position_of(map, key.c_str(), value), std::nullopt);
            } else {
                ASSERT_EQ(position_of(map, key.c_str(), value),
                          static_cast<uint32_t>(held - values.begin()));
            }
            break;
        default:
            ASSERT_EQ(insert(map, key.c_str(), value), held != values.end() ? 1 : 0);
            if (!known) {
                model.push_back({key, {value}});
            } else if (held == values.end()) {
                values.push_back(value);
            }
        }
        ASSERT_EQ(content_of(map), model);
    }
}
