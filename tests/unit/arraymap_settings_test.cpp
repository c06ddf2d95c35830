#include "arraymap_fixture.hpp"

#include "arraymap_internal.h"

#include <algorithm>
#include <cstddef>

namespace {

using Content = std::vector<KeyValues>;
using Keys = std::vector<std::string>;
using Values = std::vector<std::string>;
using Indexes = std::vector<uint32_t>;

// What the recording hash was asked.
std::vector<const void *> hashed_for;
Keys hashed_keys;

uint32_t recording_hash(const void *container, const char *key)
{
    hashed_for.push_back(container);
    hashed_keys.emplace_back(key);
    return hash_first_byte(container, key);
}

void forget_hashing()
{
    hashed_for.clear();
    hashed_keys.clear();
}

struct Seeded {
    arraymap_t map;
    uint32_t seed;
};

uint32_t seeded_hash(const void *container, const char *key)
{
    return static_cast<const Seeded *>(container)->seed + hash_length(container, key);
}

std::size_t bucket_of(const arraymap_t &map, const char *key)
{
    return static_cast<std::size_t>(_arraymap_hashlist(&map, key) - map.buckets);
}

// Empty again, with a number of buckets that arraymap_sethashsize need not accept.
void remake(arraymap_t &map, uint32_t hashsize)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    ASSERT_EQ(arraymap_init_special(&map, hashsize), 0);
}

// In iteration order, with their addresses.
std::vector<ArraymapState::Key> nodes_of(const arraymap_t &map)
{
    std::vector<ArraymapState::Key> nodes;
    for (const auto &chain : state_of(map).chains) {
        nodes.insert(nodes.end(), chain.begin(), chain.end());
    }
    return nodes;
}

std::vector<ArraymapState::Key> sorted(std::vector<ArraymapState::Key> nodes)
{
    std::sort(
        nodes.begin(), nodes.end(),
        [](const ArraymapState::Key &a, const ArraymapState::Key &b) { return a.key < b.key; });
    return nodes;
}

Keys keys_of(const arraymap_t &map)
{
    Keys keys;
    for (const auto &[key, values] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

class SettingsTest : public ArraymapTest {
  protected:
    SettingsTest()
    {
        forget_hashing();
    }

    // Keys of one to three values each, the third equal to the first; those of a key are not
    // inserted in one go.
    void insert_numbered(int count)
    {
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < count; ++i) {
                const std::string key = std::to_string(i * 7919 % 100003);
                if (i % 3 >= round) {
                    ASSERT_EQ(insert(map, key.c_str(), std::to_string(i + round % 2)), 0);
                }
            }
        }
    }

    // One key, whose values have the indexes 0, 1, 1.
    void make_merged()
    {
        fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
        ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
        ASSERT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
        ASSERT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
    }

    // The call must find the setting as it is wanted, and neither rebuild nor allocate.
    void expect_no_rebuild(const std::function<int()> &call)
    {
        Keys asked;
        std::size_t allocated = 0;
        expect_unchanged(0, [&] {
            forget_hashing();
            allocations::Log log;
            const int result = call();
            allocated = log.sizes().size();
            asked = hashed_keys;
            return result;
        });
        EXPECT_EQ(asked, Keys{});
        EXPECT_EQ(allocated, 0U);
    }
};

// A call that puts every key into a bucket anew.
struct Rebuild {
    const char *name;
    int (*call)(arraymap_t *map);
    bool allocates;
};

const Rebuild rebuilds[] = {
    {"OneBucket", [](arraymap_t *map) { return arraymap_sethashsize(map, 1); }, true},
    {"FewerBuckets", [](arraymap_t *map) { return arraymap_sethashsize(map, 8); }, true},
    {"MoreBuckets", [](arraymap_t *map) { return arraymap_sethashsize(map, 1024); }, true},
    {"OtherHash", [](arraymap_t *map) { return arraymap_sethashfunc(map, hash_first_byte); },
     false},
    {"OneChain", [](arraymap_t *map) { return arraymap_sethashfunc(map, hash_all_to_zero); },
     false},
    {"CaseInsensitive", [](arraymap_t *map) { return arraymap_setcasekeys(map, 1); }, false},
};

std::string name_of(const testing::TestParamInfo<Rebuild> &info)
{
    return info.param.name;
}

class ArraymapRebuild : public SettingsTest, public testing::WithParamInterface<Rebuild> {};

class ArraymapSetHashSize : public SettingsTest {};

class ArraymapSetHashFunc : public SettingsTest {};

class ArraymapHashFunction : public SettingsTest {};

class ArraymapSetCaseKeys : public SettingsTest {};

class ArraymapMergedKey : public SettingsTest {
  protected:
    ArraymapMergedKey()
    {
        make_merged();
    }
};

class ArraymapSetMaxKeys : public SettingsTest {};

class ArraymapSetMaxValues : public SettingsTest {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Arraymap, ArraymapRebuild, testing::ValuesIn(rebuilds), name_of);

TEST_P(ArraymapRebuild, KeepsEveryKeyAndValueReachable)
{
    insert_numbered(200);
    const Content before = content_of(map);
    ASSERT_EQ(before.size(), 200U);
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(map.numkeys, 200);
    EXPECT_EQ(map.numvalues, 399);
    for (const auto &[key, values] : before) {
        EXPECT_EQ(values_of(map, key.c_str()), values) << key;
    }
}

TEST_P(ArraymapRebuild, KeepsIndexesThatAreNotThePositions)
{
    make_merged();
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
}

TEST_P(ArraymapRebuild, WorksOnANumberOfBucketsThatIsNoPowerOfTwo)
{
    remake(map, 48);
    insert_numbered(100);
    const auto before = sorted(nodes_of(map));
    ASSERT_EQ(before.size(), 100U);
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(GetParam().allocates, map.hashsize != 48);
    EXPECT_EQ(sorted(nodes_of(map)), before);
}

TEST_P(ArraymapRebuild, MovesNoKeyAndNoValueInMemory)
{
    insert_numbered(100);
    const auto before = sorted(nodes_of(map));
    const char *key = stored_key(map, "7919");
    const char *text = stored_text(map, "7919", 1);
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(sorted(nodes_of(map)), before);
    EXPECT_EQ(stored_key(map, "7919"), key);
    EXPECT_STREQ(key, "7919");
    EXPECT_EQ(stored_text(map, "7919", 1), text);
    EXPECT_EQ(*text, '2');
}

TEST_P(ArraymapRebuild, FillsEachBucketInTheOldIterationOrder)
{
    insert_numbered(200);
    const auto before = nodes_of(map);
    ASSERT_EQ(GetParam().call(&map), 0);
    std::vector<std::vector<ArraymapState::Key>> expected(map.hashsize);
    for (const ArraymapState::Key &node : before) {
        expected[bucket_of(map, node.key.c_str())].push_back(node);
    }
    EXPECT_EQ(state_of(map).chains, expected);
}

TEST_P(ArraymapRebuild, LeavesAnArraymapThatCanBeChanged)
{
    insert_numbered(50);
    ASSERT_EQ(GetParam().call(&map), 0);
    ASSERT_EQ(insert(map, "new", "v"), 0);
    ASSERT_EQ(insert(map, "7919", "last"), 0);
    EXPECT_EQ(state_of(map).chains.at(bucket_of(map, "new")).back().key, "new");
    EXPECT_EQ(values_of(map, "7919"), (Values{"1", "2", "last"}));
    for (const auto &[key, values] : content_of(map)) {
        ASSERT_EQ(arraymap_remove(&map, key.c_str(), 0), 0);
        EXPECT_EQ(values_of(map, key.c_str()), Values(values.begin() + 1, values.end()));
    }
}

TEST_P(ArraymapRebuild, KeepsMoreKeysAndValuesThanTheLimitsAdmit)
{
    insert_numbered(20);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 20), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, map.numvalues), 0);
    const int32_t values = map.numvalues;
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(state_of(map).numkeys, 20);
    EXPECT_EQ(map.numvalues, values);
    EXPECT_EQ(map.maxkeys, 20);
    EXPECT_EQ(map.maxvalues, values);
}

TEST_P(ArraymapRebuild, AllocatesNothingButABucketArray)
{
    insert_numbered(20);
    std::vector<std::size_t> sizes;
    {
        allocations::Log log;
        ASSERT_EQ(GetParam().call(&map), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, GetParam().allocates
                         ? std::vector<std::size_t>{map.hashsize * sizeof(map_bucket_t)}
                         : std::vector<std::size_t>{});
}

TEST_P(ArraymapRebuild, FreesNothingButTheOldBucketArray)
{
    insert_numbered(20);
    const std::size_t live = allocations::live();
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_P(ArraymapRebuild, WithoutMemoryFailsOnlyIfItNeedsABucketArray)
{
    insert_numbered(20);
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        const auto call = [&] {
            allocations::Failure no_memory(0, how);
            return GetParam().call(&map);
        };
        if (GetParam().allocates) {
            expect_unchanged(ENOMEM, call);
        } else {
            EXPECT_EQ(call(), 0);
        }
    }
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(state_of(map).numkeys, 20);
}

TEST_P(ArraymapRebuild, HashesEachKeyOnceHoweverManyValuesItHas)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"c", {"1", "2", "3"}}, {"a", {"1"}}, {"b", {"1", "2"}}});
    forget_hashing();
    ASSERT_EQ(GetParam().call(&map), 0);
    if (map.hashfunc == recording_hash) {
        EXPECT_EQ(hashed_keys, (Keys{"a", "b", "c"}));
        EXPECT_EQ(hashed_for, (std::vector<const void *>{&map, &map, &map}));
    } else {
        EXPECT_EQ(hashed_keys, Keys{});
    }
}

TEST_P(ArraymapRebuild, OfAnEmptyArraymapGivesAnEmptyArraymap)
{
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(values_of(map, "a"), Values{"v"});
}

TEST_P(ArraymapRebuild, RefusesANullArraymap)
{
    EXPECT_EQ(GetParam().call(nullptr), EINVAL);
}

TEST_F(ArraymapSetHashSize, RefusesASizeThatIsNoPowerOfTwo)
{
    fill(map, {{"b", {"1", "2"}}, {"a", {"1"}}});
    for (uint32_t size : {0U, 3U, 31U, 33U, 48U, 100U, 0x80000001U, 0xc0000000U, UINT32_MAX}) {
        SCOPED_TRACE(size);
        expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, size); });
        EXPECT_EQ(arraymap_sethashsize(nullptr, size), EINVAL);
    }
}

TEST_F(ArraymapSetHashSize, RefusesThePresentSizeIfItIsNoPowerOfTwo)
{
    remake(map, 48);
    fill(map, {{"b", {"1", "1"}}, {"a", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 48); });
    EXPECT_EQ(map.hashsize, 48U);
    remake(map, 0);
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 0); });
}

TEST_F(ArraymapSetHashSize, RefusesANullArraymapWithAnySize)
{
    EXPECT_EQ(arraymap_sethashsize(nullptr, 32), EINVAL);
    EXPECT_EQ(arraymap_sethashsize(nullptr, 0x80000000U), EINVAL);
}

TEST_F(ArraymapSetHashSize, OfThePresentSizeNeitherRebuildsNorAllocates)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return arraymap_sethashsize(&map, 32); });
    ASSERT_EQ(arraymap_sethashsize(&map, 64), 0);
    expect_no_rebuild([&] { return arraymap_sethashsize(&map, 64); });
}

TEST_F(ArraymapSetHashSize, StoresTheSizeAndSpreadsTheKeysOverIt)
{
    fill(map, {{"a", {"1"}}, {"!", {"1"}}, {"b", {"1"}}});
    ASSERT_EQ(keys_of(map), (Keys{"a", "!", "b"}));
    EXPECT_EQ(arraymap_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(bucket_of(map, "b"), 2U);
    EXPECT_EQ(bucket_of(map, "!"), 33U);
    EXPECT_EQ(keys_of(map), (Keys{"a", "b", "!"}));
}

TEST_F(ArraymapSetHashSize, OfOneKeepsTheOldIterationOrderInOneBucket)
{
    insert_numbered(100);
    const Content before = content_of(map);
    EXPECT_EQ(arraymap_sethashsize(&map, 1), 0);
    EXPECT_EQ(state_of(map).chains.size(), 1U);
    EXPECT_EQ(content_of(map), before);
}

TEST_F(ArraymapSetHashSize, IsFollowedByAnIterationOverTheSameKeys)
{
    insert_numbered(100);
    Keys before = keys_of(map);
    ASSERT_EQ(arraymap_sethashsize(&map, 256), 0);
    Keys visited;
    arraymap_key_iter_t iter{};
    for (const char *key = arraymap_key_first(&map, &iter); key != nullptr;
         key = arraymap_key_next(&iter)) {
        visited.emplace_back(key);
    }
    std::sort(before.begin(), before.end());
    std::sort(visited.begin(), visited.end());
    EXPECT_EQ(visited, before);
}

TEST_F(ArraymapSetHashSize, KeepsTheOtherSettings)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_sethashsize(&map, 8), 0);
    EXPECT_EQ(map.maxkeys, 10);
    EXPECT_EQ(map.maxvalues, 20);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
}

TEST_F(ArraymapSetHashSize, BeyondTheAddressSpaceChangesNothing)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (uint32_t size : {1U << 29, 1U << 30, 1U << 31}) {
        SCOPED_TRACE(size);
        const uint64_t bytes = uint64_t{size} * sizeof(map_bucket_t);
        std::vector<std::size_t> asked_for;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure no_memory(0);
            allocations::Log log;
            const int result = arraymap_sethashsize(&map, size);
            asked_for = log.sizes();
            return result;
        });
        // A size that does not fit must not be asked for at all: what wraps around is small enough
        // to be granted.
        EXPECT_EQ(asked_for, bytes <= SIZE_MAX
                                 ? std::vector<std::size_t>{static_cast<std::size_t>(bytes)}
                                 : std::vector<std::size_t>{});
    }
}

TEST_F(ArraymapSetHashSize, BringsADestroyedArraymapBackWithItsLimitsAndCaseFlag)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 7), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_destroy(&map), 0);

    EXPECT_EQ(arraymap_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(map.maxvalues, 7);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(insert(map, "Key", "v"), 0);
    EXPECT_EQ(insert(map, "KEY", "w"), 0);
    EXPECT_EQ(insert(map, "b", "v"), 0);
    EXPECT_EQ(insert(map, "c", "v"), 1);
    EXPECT_EQ(values_of(map, "key"), (Values{"v", "w"}));
}

TEST_F(ArraymapSetHashSize, BringsAnArraymapToLifeAfterAFailedInit)
{
    arraymap_t unborn;
    {
        allocations::Failure no_memory(0);
        ASSERT_EQ(arraymap_init(&unborn), ENOMEM);
    }
    EXPECT_EQ(arraymap_sethashsize(&unborn, 32), 0);
    EXPECT_EQ(insert(unborn, "a", "v"), 0);
    EXPECT_EQ(content_of(unborn), (Content{{"a", {"v"}}}));
    EXPECT_EQ(arraymap_destroy(&unborn), 0);
}

TEST_F(ArraymapSetHashSize, BringsAnArraymapWithoutBucketsToLifeWithItsSettings)
{
    remake(map, 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 4), 0);
    ASSERT_EQ(insert(map, "a", "v"), EINVAL);

    EXPECT_EQ(arraymap_sethashsize(&map, 32), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(map.maxvalues, 4);
    fill(map, {{"Key", {"v"}}, {"KEY", {"v"}}});
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v", "v"}}}));
    EXPECT_EQ(bucket_of(map, "Key"), 3U);
}

TEST_F(ArraymapSetHashSize, LeavesAReleasedArraymapReleasedWhenItFails)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 0); });
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 48); });
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return arraymap_sethashsize(&map, 32);
    });
    EXPECT_EQ(map.buckets, nullptr);
}

TEST_F(ArraymapSetHashFunc, PutsKeysWhereTheFunctionSays)
{
    fill(map, {{"a", {"1"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    ASSERT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    EXPECT_EQ(map.hashfunc, hash_first_byte);
    EXPECT_EQ(bucket_of(map, "ccc"), static_cast<std::size_t>('c') % 32);
    EXPECT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(bucket_of(map, "bb"), 2U);
    EXPECT_EQ(bucket_of(map, "ccc"), 3U);
    EXPECT_EQ(keys_of(map), (Keys{"a", "bb", "ccc"}));
}

TEST_F(ArraymapSetHashFunc, OfNoneRestoresTheBuiltInBuckets)
{
    fill(map, {{"a", {"1", "2"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    const ArraymapState before = state_of(map);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(bucket_of(map, "bb"), 0U);
    EXPECT_EQ(arraymap_sethashfunc(&map, nullptr), 0);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(state_of(map), before);
    // 'B' * 31 + 'B'
    EXPECT_EQ(bucket_of(map, "bb"), 2112U % 32);
}

TEST_F(ArraymapSetHashFunc, OfThePresentFunctionDoesNotRebuild)
{
    expect_no_rebuild([&] { return arraymap_sethashfunc(&map, nullptr); });
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return arraymap_sethashfunc(&map, recording_hash); });
}

TEST_F(ArraymapSetHashFunc, HashesEachKeyOnceInTheOldIterationOrder)
{
    fill(map, {{"c", {"1", "2"}}, {"a", {"1"}}, {"b", {"1", "2", "3"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    EXPECT_EQ(hashed_keys, (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for, (std::vector<const void *>{&map, &map, &map}));
}

TEST_F(ArraymapSetHashFunc, KeepsTheOtherSettings)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ArraymapState expected = state_of(map);
    expected.hashfunc = hash_length;
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapSetHashFunc, RefusesANullArraymap)
{
    EXPECT_EQ(arraymap_sethashfunc(nullptr, nullptr), EINVAL);
    EXPECT_EQ(arraymap_sethashfunc(nullptr, hash_length), EINVAL);
}

TEST_F(ArraymapSetHashFunc, OfAReleasedArraymapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(arraymap_sethashsize(&map, 32), 0);
    fill(map, {{"cccc", {"1"}}, {"d", {"1"}}});
    EXPECT_EQ(keys_of(map), (Keys{"d", "cccc"}));
}

TEST_F(ArraymapHashFunction, IsCalledOnceForEachCallThatTakesAKey)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"a", {"1", "2", "3", "4", "5"}}});
    const auto expect_hashed = [&](const char *key, const std::function<void()> &call) {
        forget_hashing();
        call();
        EXPECT_EQ(hashed_keys, Keys{key});
        EXPECT_EQ(hashed_for, std::vector<const void *>{&map});
    };
    expect_hashed("a", [&] { insert(map, "a", "6"); });
    expect_hashed("a", [&] { insert(map, "a", "6"); });
    expect_hashed("b", [&] { insert(map, "b", "1"); });
    expect_hashed("a", [&] { arraymap_replace(&map, "a", 4, "55", 2); });
    expect_hashed("a", [&] { arraymap_index(&map, "a", 4, nullptr, nullptr); });
    expect_hashed("a", [&] { arraymap_haskey(&map, "a"); });
    expect_hashed("a", [&] { arraymap_delete(&map, "a", "1", 1); });
    expect_hashed("a", [&] { arraymap_remove(&map, "a", 0); });
    expect_hashed("b", [&] { arraymap_delete(&map, "b", "1", 1); });
    expect_hashed("a", [&] { arraymap_erase(&map, "a"); });
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapHashFunction, CanKeepASeedInTheRecordThatEnclosesTheArraymap)
{
    Seeded records[2];
    for (Seeded &record : records) {
        ASSERT_EQ(arraymap_init(&record.map), 0);
        record.seed = &record == records ? 3 : 20;
        ASSERT_EQ(arraymap_sethashfunc(&record.map, seeded_hash), 0);
        ASSERT_EQ(insert(record.map, "aa", "v"), 0);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 5U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 22U);
    for (Seeded &record : records) {
        ASSERT_EQ(arraymap_sethashsize(&record.map, 4), 0);
        ASSERT_EQ(arraymap_setcasekeys(&record.map, 1), 0);
        EXPECT_EQ(values_of(record.map, "AA"), Values{"v"});
        state_of(record.map);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 1U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 2U);
    for (Seeded &record : records) {
        ASSERT_EQ(arraymap_destroy(&record.map), 0);
    }
}

TEST_F(ArraymapHashFunction, IsMaskedByTheNumberOfBuckets)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, [](const void *, const char *) { return UINT32_MAX; }), 0);
    fill(map, {{"a", {"1", "2"}}});
    for (uint32_t size : {1U, 2U, 32U, 256U}) {
        ASSERT_EQ(arraymap_sethashsize(&map, size), 0);
        EXPECT_EQ(bucket_of(map, "a"), size - 1);
        EXPECT_EQ(values_of(map, "a"), (Values{"1", "2"}));
    }
}

TEST_F(ArraymapSetCaseKeys, StoresOneForAnyFlagThatIsNotZero)
{
    for (uint32_t flag : {1U, 2U, 5U, 256U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(flag);
        EXPECT_EQ(arraymap_setcasekeys(&map, flag), 0);
        EXPECT_EQ(map.casekeys, 1U);
        EXPECT_EQ(arraymap_setcasekeys(&map, 0), 0);
        EXPECT_EQ(map.casekeys, 0U);
    }
}

TEST_F(ArraymapSetCaseKeys, MakesKeysCompareWithoutRegardToCase)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(arraymap_haskey(&map, "kEY"), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 5), 0);
    EXPECT_EQ(arraymap_haskey(&map, "kEY"), 1);
    EXPECT_EQ(insert(map, "KEY", "1"), 0);
    EXPECT_EQ(insert(map, "keY", "2"), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1", "2"}}}));
}

TEST_F(ArraymapSetCaseKeys, OfThePresentFlagDoesNotRebuild)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return arraymap_setcasekeys(&map, 0); });
    ASSERT_EQ(arraymap_setcasekeys(&map, 5), 0);
    for (uint32_t flag : {1U, 5U, 7U}) {
        SCOPED_TRACE(flag);
        expect_no_rebuild([&] { return arraymap_setcasekeys(&map, flag); });
    }
}

TEST_F(ArraymapSetCaseKeys, MergesKeysThatBecomeEqualIntoTheOneCreatedFirst)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 3);
}

TEST_F(ArraymapSetCaseKeys, LetsEachValueThatMovesKeepItsIndex)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
}

TEST_F(ArraymapSetCaseKeys, DropsAValueThatAnEarlierOneOfTheSameMergedKeyEquals)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "2", "1", "3", "2", "3"}}});
    const std::size_t live = allocations::live();
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 0, 3}));
    EXPECT_EQ(map.numvalues, 3);
    const std::size_t keys = 1;
    const std::size_t values = 4;
    EXPECT_EQ(allocations::live(), live - keys - values);
}

TEST_F(ArraymapSetCaseKeys, KeepsTheEqualValuesOfTheSurvivingKey)
{
    fill(map, {{"Key", {"1", "1", "2", "1"}}, {"KEY", {"1", "1", "3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1", "2", "1", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2, 3, 2}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(ArraymapSetCaseKeys, KeepsTheEqualValuesOfKeysThatAreNotMerged)
{
    fill(map, {{"x", {"1", "1"}}, {"Y", {"2", "1", "2"}}});
    for (uint32_t flag : {1U, 0U, 1U}) {
        SCOPED_TRACE(flag);
        ArraymapState expected = state_of(map);
        expected.casekeys = flag;
        EXPECT_EQ(arraymap_setcasekeys(&map, flag), 0);
        EXPECT_EQ(state_of(map), expected);
    }
}

TEST_F(ArraymapSetCaseKeys, PutsTheValuesOfTheMergedKeyBehindThoseOfTheFirstInTheirOrder)
{
    fill(map, {{"key", {"3", "1"}}, {"KEY", {"4", "1", "2", "3", "0"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"key", {"3", "1", "4", "2", "0"}}}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 2, 4}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(ArraymapSetCaseKeys, MergesAnyNumberOfKeysIntoTheFirst)
{
    fill(map, {{"kEY", {"1"}},
               {"KEY", {"2", "1"}},
               {"key", {"2", "3"}},
               {"Key", {"3", "4", "1"}},
               {"keY", {"4"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"kEY", {"1", "2", "3", "4"}}}));
    EXPECT_EQ(indexes_of(map, "kEY"), (Indexes{0, 0, 1, 1}));
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 4);
}

TEST_F(ArraymapSetCaseKeys, MergesOfSeveralKeysInOneBucketEachIntoItsFirst)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"1"}},
               {"B", {"1"}},
               {"A", {"2"}},
               {"c", {"1"}},
               {"b", {"1"}},
               {"C", {"2", "1"}},
               {"d", {"1"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"a", {"1", "2"}}, {"B", {"1"}}, {"c", {"1", "2"}}, {"d", {"1"}}}));
}

TEST_F(ArraymapSetCaseKeys, KeepsValuesApartThatDifferInLengthOrOneByte)
{
    fill(map, {{"Key", {"", "a\0x"s, "ab"s, "\xff"}},
               {"KEY", {"ab\0"s, "a\0y"s, "", "a", "\x7f", "a\0x"s, "\xff"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"Key", {"", "a\0x"s, "ab"s, "\xff", "ab\0"s, "a\0y"s, "a", "\x7f"}}}));
}

TEST_F(ArraymapSetCaseKeys, FreesMergedKeysAndTheValuesThatTheSurvivorHolds)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"x", {"1"}}, {"key", {"3"}}});
    const std::size_t live = allocations::live();
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    const std::size_t keys = 2;
    const std::size_t values = 3;
    EXPECT_EQ(allocations::live(), live - keys - values);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 4);
}

TEST_F(ArraymapSetCaseKeys, MovesNoSurvivingKeyOrValueInMemory)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    const arraymap_key_t *survivor = _arraymap_entry(&map, "Key");
    const std::vector<const char *> texts = {stored_text(map, "Key", 0), stored_text(map, "KEY", 0),
                                             stored_text(map, "KEY", 2)};
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(_arraymap_entry(&map, "key"), survivor);
    EXPECT_STREQ(survivor->key, "Key");
    for (uint32_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(stored_text(map, "key", i), texts[i]) << i;
    }
}

TEST_F(ArraymapSetCaseKeys, MergesInANumberOfBucketsThatIsNoPowerOfTwo)
{
    remake(map, 48);
    fill(map, {{"Key", {"1", "1"}}, {"x", {"1"}}, {"KEY", {"2", "1", "2"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1", "1", "2"}));
    EXPECT_EQ(values_of(map, "X"), Values{"1"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.hashsize, 48U);
}

TEST_F(ArraymapMergedKey, NumbersAnAppendedValueByTheNumberOfThoseBeforeIt)
{
    EXPECT_EQ(insert(map, "key", "3"), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1, 3}));
}

TEST_F(ArraymapMergedKey, ReplacesTheFirstValueOfAnIndexAndKeepsItsIndex)
{
    EXPECT_EQ(arraymap_replace(&map, "key", 1, "new", 3), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "new", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
}

TEST_F(ArraymapMergedKey, RemovesTheFirstValueOfAnIndexAndNumbersTheRestByPosition)
{
    ASSERT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "3", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1}));
}

TEST_F(ArraymapMergedKey, IsNumberedByPositionAfterADeletion)
{
    EXPECT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(arraymap_delete(&map, "key", "1", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"2", "3", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapMergedKey, HasPositionsWithoutAValueOfThatIndex)
{
    EXPECT_EQ(values_of(map, "key"), (Values{"1", "2", "3"}));
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 2); });
    expect_unchanged(ENOENT, [&] { return arraymap_replace(&map, "key", 2, "new", 3); });
}

TEST_F(ArraymapMergedKey, IsNotRenumberedByAFailedRemoval)
{
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 7); });
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "key", "4", 1); });
}

TEST_F(ArraymapMergedKey, KeepsItsIndexesWhenKeysAreCaseSensitiveAgain)
{
    ArraymapState expected = state_of(map);
    expected.casekeys = 0;
    EXPECT_EQ(arraymap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapMergedKey, CanSurviveOrLoseAnotherMerger)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    fill(map, {{"kEY", {"0", "3", "4", "5"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3", "0", "4", "5"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1, 0, 2, 3}));

    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    fill(map, {{"kEY", {"8"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map,
                                   [](const void *, const char *key) {
                                       return static_cast<uint32_t>(*key == 'k' ? 0 : 1);
                                   }),
              0);
    ASSERT_EQ(keys_of(map), (Keys{"kEY", "Key"}));
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"kEY", {"8", "1", "2", "3", "0", "4", "5"}}}));
    EXPECT_EQ(indexes_of(map, "kEY"), (Indexes{0, 0, 1, 1, 0, 2, 3}));
}

TEST_F(ArraymapSetCaseKeys, LetsTheFirstInIterationOrderSurviveNotTheOldest)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 256), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"key", {"1"}}, {"Key", {"2"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, nullptr), 0);
    ASSERT_EQ(keys_of(map), (Keys{"Key", "key"}));
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"2", "1"}}}));
}

TEST_F(ArraymapSetCaseKeys, LeavesKeysApartThatTheHashFunctionPutsIntoDifferentBuckets)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 256), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"Key", {"1"}}, {"key", {"1", "2"}}, {"kEY", {"3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1"}}, {"key", {"1", "2", "3"}}}));
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 4);
    EXPECT_EQ(values_of(map, "KEY"), Values{"1"});
    EXPECT_EQ(values_of(map, "keY"), (Values{"1", "2", "3"}));
}

TEST_F(ArraymapSetCaseKeys, BackToCaseSensitiveMergesNothingAndBringsNothingBack)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}, {"x", {"1"}}, {"Y", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ArraymapState expected = state_of(map);
    expected.casekeys = 0;
    EXPECT_EQ(arraymap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(state_of(map), expected);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(arraymap_haskey(&map, "KEY"), 0);
    EXPECT_EQ(values_of(map, "Key"), (Values{"1", "2"}));
    EXPECT_EQ(insert(map, "KEY", "1"), 0);
}

TEST_F(ArraymapSetCaseKeys, FoldsOnlyTheLettersOfAscii)
{
    fill(
        map,
        {{"\xc9", {"1"}}, {"\xe9", {"2"}}, {"[", {"1"}}, {"{", {"2"}}, {"@", {"1"}}, {"`", {"2"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.numkeys, 6);
    EXPECT_EQ(values_of(map, "\xc9"), Values{"1"});
    EXPECT_EQ(values_of(map, "\xe9"), Values{"2"});
}

TEST_F(ArraymapSetCaseKeys, HashesEachMergedKeyOnce)
{
    ASSERT_EQ(arraymap_sethashfunc(&map,
                                   [](const void *container, const char *key) {
                                       recording_hash(container, key);
                                       return hash_length(container, key);
                                   }),
              0);
    fill(map, {{"aa", {"1", "2", "3"}}, {"AA", {"1", "4", "5"}}, {"b", {"1"}}});
    forget_hashing();
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(hashed_keys, (Keys{"b", "aa", "AA"}));
    EXPECT_EQ(hashed_for, (std::vector<const void *>{&map, &map, &map}));
    EXPECT_EQ(values_of(map, "aA"), (Values{"1", "2", "3", "4", "5"}));
}

TEST_F(ArraymapSetCaseKeys, MergesWithoutAllocating)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}});
    {
        allocations::Failure no_memory(0);
        EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
        EXPECT_FALSE(no_memory.happened());
    }
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2"}}}));
}

TEST_F(ArraymapSetCaseKeys, MakesRoomUnderTheKeyLimit)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(insert(map, "a", "v"), 1);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(ArraymapSetCaseKeys, KeepsTheOtherSettings)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ArraymapState expected = state_of(map);
    expected.casekeys = 1;
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapSetCaseKeys, RefusesANullArraymap)
{
    EXPECT_EQ(arraymap_setcasekeys(nullptr, 0), EINVAL);
    EXPECT_EQ(arraymap_setcasekeys(nullptr, 1), EINVAL);
}

TEST_F(ArraymapSetCaseKeys, OfAReleasedArraymapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_setcasekeys(&map, 9), 0);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(arraymap_sethashsize(&map, 32), 0);
    fill(map, {{"Key", {"1"}}});
    EXPECT_EQ(arraymap_haskey(&map, "KEY"), 1);
}

TEST_F(ArraymapSetMaxKeys, StoresANegativeLimitAsItIs)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
        EXPECT_EQ(arraymap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
    }
    insert_numbered(100);
    EXPECT_EQ(map.numkeys, 102);
}

TEST_F(ArraymapSetMaxKeys, RefusesALimitBelowThePresentNumberOfKeys)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {0, 1, 2}) {
        SCOPED_TRACE(limit);
        expect_unchanged(1, [&] { return arraymap_setmaxkeys(&map, limit); });
    }
    ASSERT_EQ(arraymap_setmaxkeys(&map, 7), 0);
    expect_unchanged(1, [&] { return arraymap_setmaxkeys(&map, 2); });
    EXPECT_EQ(map.maxkeys, 7);
}

TEST_F(ArraymapSetMaxKeys, AcceptsThePresentNumberThoughThenOnlyValuesFit)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {3, 4}) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(arraymap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
        expect_unchanged(1, [&] { return insert(map, "d", "v"); });
        EXPECT_EQ(insert(map, "b", "new " + std::to_string(limit)), 0);
    }
    EXPECT_EQ(values_of(map, "b"), (Values{"1", "new 3", "new 4"}));
}

TEST_F(ArraymapSetMaxKeys, AdmitsOneKeyLessThanTheLimit)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    EXPECT_EQ(arraymap_setmaxkeys(&map, 5), 0);
    EXPECT_EQ(insert(map, "d", "v"), 0);
    EXPECT_EQ(insert(map, "e", "v"), 1);
}

TEST_F(ArraymapSetMaxKeys, AcceptsZeroForAnEmptyArraymapThoughThenNoKeyFits)
{
    EXPECT_EQ(arraymap_setmaxkeys(&map, 0), 0);
    EXPECT_EQ(map.maxkeys, 0);
    EXPECT_EQ(insert(map, "a", "v"), 1);
}

TEST_F(ArraymapSetMaxKeys, AcceptsTheGreatestLimit)
{
    EXPECT_EQ(arraymap_setmaxkeys(&map, INT32_MAX), 0);
    EXPECT_EQ(map.maxkeys, INT32_MAX);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(ArraymapSetMaxKeys, DoesNotCountValues)
{
    fill(map, {{"a", {"1", "1", "1", "1"}}});
    EXPECT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(arraymap_setmaxkeys(&map, 2), 0);
}

TEST_F(ArraymapSetMaxKeys, TouchesNothingElse)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ArraymapState expected = state_of(map);
    expected.maxkeys = 9;
    EXPECT_EQ(arraymap_setmaxkeys(&map, 9), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapSetMaxKeys, RefusesANullArraymapWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(arraymap_setmaxkeys(nullptr, limit), EINVAL);
    }
}

TEST_F(ArraymapSetMaxKeys, OfAReleasedArraymapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(arraymap_sethashsize(&map, 32), 0);
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(insert(map, "b", "v"), 1);
}

TEST_F(ArraymapSetMaxValues, StoresANegativeLimitAsItIs)
{
    fill(map, {{"a", {"1", "2"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
        EXPECT_EQ(arraymap_setmaxvalues(&map, limit), 0);
        EXPECT_EQ(map.maxvalues, limit);
    }
}

TEST_F(ArraymapSetMaxValues, RefusesALimitBelowThePresentNumberOfValuesUnderAllKeys)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {0, 1, 2, 3}) {
        SCOPED_TRACE(limit);
        expect_unchanged(1, [&] { return arraymap_setmaxvalues(&map, limit); });
    }
    ASSERT_EQ(arraymap_setmaxvalues(&map, 7), 0);
    expect_unchanged(1, [&] { return arraymap_setmaxvalues(&map, 3); });
    EXPECT_EQ(map.maxvalues, 7);
}

TEST_F(ArraymapSetMaxValues, CountsEqualValuesEach)
{
    fill(map, {{"a", {"1", "1", "1"}}});
    expect_unchanged(1, [&] { return arraymap_setmaxvalues(&map, 2); });
    EXPECT_EQ(arraymap_setmaxvalues(&map, 3), 0);
}

TEST_F(ArraymapSetMaxValues, AcceptsThePresentNumberAndAnyAbove)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {4, 5, INT32_MAX}) {
        EXPECT_EQ(arraymap_setmaxvalues(&map, limit), 0);
        EXPECT_EQ(map.maxvalues, limit);
    }
}

TEST_F(ArraymapSetMaxValues, LimitsNoInsert)
{
    EXPECT_EQ(arraymap_setmaxvalues(&map, 0), 0);
    EXPECT_EQ(map.maxvalues, 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(arraymap_setmaxvalues(&map, 3), 0);
    EXPECT_EQ(insert(map, "a", "3"), 0);
    EXPECT_EQ(insert(map, "c", "1"), 0);
    EXPECT_EQ(arraymap_insert_int(&map, "c", 7), 0);
    EXPECT_EQ(map.numvalues, 6);
    EXPECT_EQ(map.maxvalues, 3);
}

TEST_F(ArraymapSetMaxValues, TouchesNothingElse)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ArraymapState expected = state_of(map);
    expected.maxvalues = 9;
    EXPECT_EQ(arraymap_setmaxvalues(&map, 9), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapSetMaxValues, RefusesANullArraymapWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(arraymap_setmaxvalues(nullptr, limit), EINVAL);
    }
}

TEST_F(ArraymapSetMaxValues, OfAReleasedArraymapIsStored)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_setmaxvalues(&map, 0), 0);
    EXPECT_EQ(map.maxvalues, 0);
    EXPECT_EQ(map.buckets, nullptr);
}
