#include "multimap_fixture.hpp"

#include "multimap_internal.h"

#include <algorithm>
#include <cstddef>

namespace {

using Content = std::vector<KeyValues>;
using Keys = std::vector<std::string>;
using Values = std::vector<std::string>;

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
    multimap_t map;
    uint32_t seed;
};

uint32_t seeded_hash(const void *container, const char *key)
{
    return static_cast<const Seeded *>(container)->seed + hash_length(container, key);
}

std::size_t bucket_of(const multimap_t &map, const char *key)
{
    return static_cast<std::size_t>(_multimap_hashlist(&map, key) - map.buckets);
}

// In iteration order, with their addresses.
std::vector<MultimapState::Key> nodes_of(const multimap_t &map)
{
    std::vector<MultimapState::Key> nodes;
    for (const auto &chain : state_of(map).chains) {
        nodes.insert(nodes.end(), chain.begin(), chain.end());
    }
    return nodes;
}

std::vector<MultimapState::Key> sorted(std::vector<MultimapState::Key> nodes)
{
    std::sort(
        nodes.begin(), nodes.end(),
        [](const MultimapState::Key &a, const MultimapState::Key &b) { return a.key < b.key; });
    return nodes;
}

Keys keys_of(const multimap_t &map)
{
    Keys keys;
    for (const auto &[key, values] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

class SettingsTest : public MultimapTest {
  protected:
    SettingsTest()
    {
        forget_hashing();
    }

    // Keys of one to three values each; those of a key are not inserted in one go.
    void insert_numbered(int count)
    {
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < count; ++i) {
                const std::string key = std::to_string(i * 7919 % 100003);
                if (i % 3 >= round) {
                    ASSERT_EQ(insert(map, key.c_str(), std::to_string(i + round)), 0);
                }
            }
        }
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
    int (*call)(multimap_t *map);
    bool allocates;
};

const Rebuild rebuilds[] = {
    {"OneBucket", [](multimap_t *map) { return multimap_sethashsize(map, 1); }, true},
    {"FewerBuckets", [](multimap_t *map) { return multimap_sethashsize(map, 8); }, true},
    {"MoreBuckets", [](multimap_t *map) { return multimap_sethashsize(map, 1024); }, true},
    {"OtherHash", [](multimap_t *map) { return multimap_sethashfunc(map, hash_first_byte); },
     false},
    {"OneChain", [](multimap_t *map) { return multimap_sethashfunc(map, hash_all_to_zero); },
     false},
    {"CaseInsensitive", [](multimap_t *map) { return multimap_setcasekeys(map, 1); }, false},
};

std::string name_of(const testing::TestParamInfo<Rebuild> &info)
{
    return info.param.name;
}

class MultimapRebuild : public SettingsTest, public testing::WithParamInterface<Rebuild> {};

class MultimapSetHashSize : public SettingsTest {};

class MultimapSetHashFunc : public SettingsTest {};

class MultimapHashFunction : public SettingsTest {};

class MultimapSetCaseKeys : public SettingsTest {};

class MultimapSetMaxKeys : public SettingsTest {};

class MultimapSetMaxValues : public SettingsTest {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Multimap, MultimapRebuild, testing::ValuesIn(rebuilds), name_of);

TEST_P(MultimapRebuild, KeepsEveryKeyAndValueReachable)
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

TEST_P(MultimapRebuild, MovesNoKeyAndNoValueInMemory)
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

TEST_P(MultimapRebuild, FillsEachBucketInTheOldIterationOrder)
{
    insert_numbered(200);
    const auto before = nodes_of(map);
    ASSERT_EQ(GetParam().call(&map), 0);
    std::vector<std::vector<MultimapState::Key>> expected(map.hashsize);
    for (const MultimapState::Key &node : before) {
        expected[bucket_of(map, node.key.c_str())].push_back(node);
    }
    EXPECT_EQ(state_of(map).chains, expected);
}

TEST_P(MultimapRebuild, LeavesAMultimapThatCanBeChanged)
{
    insert_numbered(50);
    ASSERT_EQ(GetParam().call(&map), 0);
    ASSERT_EQ(insert(map, "new", "v"), 0);
    ASSERT_EQ(insert(map, "7919", "last"), 0);
    EXPECT_EQ(state_of(map).chains.at(bucket_of(map, "new")).back().key, "new");
    EXPECT_EQ(values_of(map, "7919"), (Values{"1", "2", "last"}));
    for (const auto &[key, values] : content_of(map)) {
        ASSERT_EQ(multimap_remove(&map, key.c_str(), 0), 0);
        EXPECT_EQ(values_of(map, key.c_str()), Values(values.begin() + 1, values.end()));
    }
}

TEST_P(MultimapRebuild, KeepsMoreKeysAndValuesThanTheLimitsAdmit)
{
    insert_numbered(20);
    ASSERT_EQ(multimap_setmaxkeys(&map, 20), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, map.numvalues), 0);
    const int32_t values = map.numvalues;
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(state_of(map).numkeys, 20);
    EXPECT_EQ(map.numvalues, values);
    EXPECT_EQ(map.maxkeys, 20);
    EXPECT_EQ(map.maxvalues, values);
}

TEST_P(MultimapRebuild, AllocatesNothingButABucketArray)
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

TEST_P(MultimapRebuild, FreesNothingButTheOldBucketArray)
{
    insert_numbered(20);
    const std::size_t live = allocations::live();
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_P(MultimapRebuild, WithoutMemoryFailsOnlyIfItNeedsABucketArray)
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

TEST_P(MultimapRebuild, HashesEachKeyOnceHoweverManyValuesItHas)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
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

TEST_P(MultimapRebuild, OfAnEmptyMultimapGivesAnEmptyMultimap)
{
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(values_of(map, "a"), Values{"v"});
}

TEST_P(MultimapRebuild, RefusesANullMultimap)
{
    EXPECT_EQ(GetParam().call(nullptr), EINVAL);
}

TEST_F(MultimapSetHashSize, RefusesASizeThatIsNoPowerOfTwo)
{
    fill(map, {{"b", {"1", "2"}}, {"a", {"1"}}});
    for (uint32_t size : {0U, 3U, 31U, 33U, 48U, 100U, 0x80000001U, 0xc0000000U, UINT32_MAX}) {
        SCOPED_TRACE(size);
        expect_unchanged(EINVAL, [&] { return multimap_sethashsize(&map, size); });
        EXPECT_EQ(multimap_sethashsize(nullptr, size), EINVAL);
    }
}

TEST_F(MultimapSetHashSize, RefusesANullMultimapWithAnySize)
{
    EXPECT_EQ(multimap_sethashsize(nullptr, 32), EINVAL);
    EXPECT_EQ(multimap_sethashsize(nullptr, 0x80000000U), EINVAL);
}

TEST_F(MultimapSetHashSize, OfThePresentSizeNeitherRebuildsNorAllocates)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return multimap_sethashsize(&map, 32); });
    ASSERT_EQ(multimap_sethashsize(&map, 64), 0);
    expect_no_rebuild([&] { return multimap_sethashsize(&map, 64); });
}

TEST_F(MultimapSetHashSize, StoresTheSizeAndSpreadsTheKeysOverIt)
{
    fill(map, {{"a", {"1"}}, {"!", {"1"}}, {"b", {"1"}}});
    ASSERT_EQ(keys_of(map), (Keys{"a", "!", "b"}));
    EXPECT_EQ(multimap_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(bucket_of(map, "b"), 2U);
    EXPECT_EQ(bucket_of(map, "!"), 33U);
    EXPECT_EQ(keys_of(map), (Keys{"a", "b", "!"}));
}

TEST_F(MultimapSetHashSize, OfOneKeepsTheOldIterationOrderInOneBucket)
{
    insert_numbered(100);
    const Content before = content_of(map);
    EXPECT_EQ(multimap_sethashsize(&map, 1), 0);
    EXPECT_EQ(state_of(map).chains.size(), 1U);
    EXPECT_EQ(content_of(map), before);
}

TEST_F(MultimapSetHashSize, IsFollowedByAnIterationOverTheSameKeys)
{
    insert_numbered(100);
    Keys before = keys_of(map);
    ASSERT_EQ(multimap_sethashsize(&map, 256), 0);
    Keys visited;
    multimap_key_iter_t iter{};
    for (const char *key = multimap_key_first(&map, &iter); key != nullptr;
         key = multimap_key_next(&iter)) {
        visited.emplace_back(key);
    }
    std::sort(before.begin(), before.end());
    std::sort(visited.begin(), visited.end());
    EXPECT_EQ(visited, before);
}

TEST_F(MultimapSetHashSize, KeepsTheOtherSettings)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(multimap_sethashsize(&map, 8), 0);
    EXPECT_EQ(map.maxkeys, 10);
    EXPECT_EQ(map.maxvalues, 20);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
}

TEST_F(MultimapSetHashSize, BeyondTheAddressSpaceChangesNothing)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (uint32_t size : {1U << 29, 1U << 30, 1U << 31}) {
        SCOPED_TRACE(size);
        const uint64_t bytes = uint64_t{size} * sizeof(map_bucket_t);
        std::vector<std::size_t> asked_for;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure no_memory(0);
            allocations::Log log;
            const int result = multimap_sethashsize(&map, size);
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

TEST_F(MultimapSetHashSize, BringsADestroyedMultimapBackWithItsLimitsAndCaseFlag)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 7), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(multimap_destroy(&map), 0);

    EXPECT_EQ(multimap_sethashsize(&map, 64), 0);
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

TEST_F(MultimapSetHashSize, BringsAMultimapToLifeAfterAFailedInit)
{
    multimap_t unborn;
    {
        allocations::Failure no_memory(0);
        ASSERT_EQ(multimap_init(&unborn), ENOMEM);
    }
    EXPECT_EQ(multimap_sethashsize(&unborn, 32), 0);
    EXPECT_EQ(insert(unborn, "a", "v"), 0);
    EXPECT_EQ(content_of(unborn), (Content{{"a", {"v"}}}));
    EXPECT_EQ(multimap_destroy(&unborn), 0);
}

TEST_F(MultimapSetHashSize, LeavesAReleasedMultimapReleasedWhenItFails)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return multimap_sethashsize(&map, 0); });
    expect_unchanged(EINVAL, [&] { return multimap_sethashsize(&map, 48); });
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return multimap_sethashsize(&map, 32);
    });
    EXPECT_EQ(map.buckets, nullptr);
}

TEST_F(MultimapSetHashFunc, PutsKeysWhereTheFunctionSays)
{
    fill(map, {{"a", {"1"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    ASSERT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    EXPECT_EQ(map.hashfunc, hash_first_byte);
    EXPECT_EQ(bucket_of(map, "ccc"), static_cast<std::size_t>('c') % 32);
    EXPECT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(bucket_of(map, "bb"), 2U);
    EXPECT_EQ(bucket_of(map, "ccc"), 3U);
    EXPECT_EQ(keys_of(map), (Keys{"a", "bb", "ccc"}));
}

TEST_F(MultimapSetHashFunc, OfNoneRestoresTheBuiltInBuckets)
{
    fill(map, {{"a", {"1", "2"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    const MultimapState before = state_of(map);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(bucket_of(map, "bb"), 0U);
    EXPECT_EQ(multimap_sethashfunc(&map, nullptr), 0);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(state_of(map), before);
    // 'B' * 31 + 'B'
    EXPECT_EQ(bucket_of(map, "bb"), 2112U % 32);
}

TEST_F(MultimapSetHashFunc, OfThePresentFunctionDoesNotRebuild)
{
    expect_no_rebuild([&] { return multimap_sethashfunc(&map, nullptr); });
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return multimap_sethashfunc(&map, recording_hash); });
}

TEST_F(MultimapSetHashFunc, HashesEachKeyOnceInTheOldIterationOrder)
{
    fill(map, {{"c", {"1", "2"}}, {"a", {"1"}}, {"b", {"1", "2", "3"}}});
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
    EXPECT_EQ(hashed_keys, (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for, (std::vector<const void *>{&map, &map, &map}));
}

TEST_F(MultimapSetHashFunc, KeepsTheOtherSettings)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    MultimapState expected = state_of(map);
    expected.hashfunc = hash_length;
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(MultimapSetHashFunc, RefusesANullMultimap)
{
    EXPECT_EQ(multimap_sethashfunc(nullptr, nullptr), EINVAL);
    EXPECT_EQ(multimap_sethashfunc(nullptr, hash_length), EINVAL);
}

TEST_F(MultimapSetHashFunc, OfAReleasedMultimapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(multimap_sethashsize(&map, 32), 0);
    fill(map, {{"cccc", {"1"}}, {"d", {"1"}}});
    EXPECT_EQ(keys_of(map), (Keys{"d", "cccc"}));
}

TEST_F(MultimapHashFunction, IsCalledOnceForEachCallThatTakesAKey)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
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
    expect_hashed("a", [&] { multimap_find(&map, "a", "5", 1, nullptr); });
    expect_hashed("a", [&] { multimap_index(&map, "a", 4, nullptr, nullptr); });
    expect_hashed("a", [&] { multimap_haskey(&map, "a"); });
    expect_hashed("a", [&] { multimap_delete(&map, "a", "1", 1); });
    expect_hashed("a", [&] { multimap_remove(&map, "a", 0); });
    expect_hashed("b", [&] { multimap_delete(&map, "b", "1", 1); });
    expect_hashed("a", [&] { multimap_erase(&map, "a"); });
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapHashFunction, CanKeepASeedInTheRecordThatEnclosesTheMultimap)
{
    Seeded records[2];
    for (Seeded &record : records) {
        ASSERT_EQ(multimap_init(&record.map), 0);
        record.seed = &record == records ? 3 : 20;
        ASSERT_EQ(multimap_sethashfunc(&record.map, seeded_hash), 0);
        ASSERT_EQ(insert(record.map, "aa", "v"), 0);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 5U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 22U);
    for (Seeded &record : records) {
        ASSERT_EQ(multimap_sethashsize(&record.map, 4), 0);
        ASSERT_EQ(multimap_setcasekeys(&record.map, 1), 0);
        EXPECT_EQ(values_of(record.map, "AA"), Values{"v"});
        state_of(record.map);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 1U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 2U);
    for (Seeded &record : records) {
        ASSERT_EQ(multimap_destroy(&record.map), 0);
    }
}

TEST_F(MultimapHashFunction, IsMaskedByTheNumberOfBuckets)
{
    ASSERT_EQ(multimap_sethashfunc(&map, [](const void *, const char *) { return UINT32_MAX; }), 0);
    fill(map, {{"a", {"1", "2"}}});
    for (uint32_t size : {1U, 2U, 32U, 256U}) {
        ASSERT_EQ(multimap_sethashsize(&map, size), 0);
        EXPECT_EQ(bucket_of(map, "a"), size - 1);
        EXPECT_EQ(values_of(map, "a"), (Values{"1", "2"}));
    }
}

TEST_F(MultimapSetCaseKeys, StoresOneForAnyFlagThatIsNotZero)
{
    for (uint32_t flag : {1U, 2U, 5U, 256U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(flag);
        EXPECT_EQ(multimap_setcasekeys(&map, flag), 0);
        EXPECT_EQ(map.casekeys, 1U);
        EXPECT_EQ(multimap_setcasekeys(&map, 0), 0);
        EXPECT_EQ(map.casekeys, 0U);
    }
}

TEST_F(MultimapSetCaseKeys, MakesKeysCompareWithoutRegardToCase)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(multimap_haskey(&map, "kEY"), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 5), 0);
    EXPECT_EQ(multimap_haskey(&map, "kEY"), 1);
    EXPECT_EQ(insert(map, "KEY", "1"), 1);
    EXPECT_EQ(insert(map, "KEY", "2"), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2"}}}));
}

TEST_F(MultimapSetCaseKeys, OfThePresentFlagDoesNotRebuild)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recording_hash), 0);
    fill(map, {{"b", {"1"}}, {"a", {"1"}}});
    expect_no_rebuild([&] { return multimap_setcasekeys(&map, 0); });
    ASSERT_EQ(multimap_setcasekeys(&map, 5), 0);
    for (uint32_t flag : {1U, 5U, 7U}) {
        SCOPED_TRACE(flag);
        expect_no_rebuild([&] { return multimap_setcasekeys(&map, flag); });
    }
}

TEST_F(MultimapSetCaseKeys, MergesKeysThatBecomeEqualIntoTheOneCreatedFirst)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2"}}}));
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 2);
}

TEST_F(MultimapSetCaseKeys, PutsTheValuesOfTheMergedKeyBehindThoseOfTheFirstInTheirOrder)
{
    fill(map, {{"key", {"3", "1"}}, {"KEY", {"4", "1", "2", "3", "0"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"key", {"3", "1", "4", "2", "0"}}}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(MultimapSetCaseKeys, MergesAnyNumberOfKeysIntoTheFirst)
{
    fill(map, {{"kEY", {"1"}},
               {"KEY", {"2", "1"}},
               {"key", {"2", "3"}},
               {"Key", {"3", "4", "1"}},
               {"keY", {"4"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"kEY", {"1", "2", "3", "4"}}}));
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 4);
}

TEST_F(MultimapSetCaseKeys, MergesOfSeveralKeysInOneBucketEachIntoItsFirst)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"a", {"1"}},
               {"B", {"1"}},
               {"A", {"2"}},
               {"c", {"1"}},
               {"b", {"1"}},
               {"C", {"2", "1"}},
               {"d", {"1"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"a", {"1", "2"}}, {"B", {"1"}}, {"c", {"1", "2"}}, {"d", {"1"}}}));
}

TEST_F(MultimapSetCaseKeys, KeepsValuesApartThatDifferInLengthOrOneByte)
{
    fill(map, {{"Key", {"", "a\0x"s, "ab"s, "\xff"}},
               {"KEY", {"ab\0"s, "a\0y"s, "", "a", "\x7f", "a\0x"s, "\xff"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"Key", {"", "a\0x"s, "ab"s, "\xff", "ab\0"s, "a\0y"s, "a", "\x7f"}}}));
}

TEST_F(MultimapSetCaseKeys, FreesMergedKeysAndTheValuesThatTheSurvivorHolds)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"x", {"1"}}, {"key", {"3"}}});
    const std::size_t live = allocations::live();
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    const std::size_t keys = 2;
    const std::size_t values = 3;
    EXPECT_EQ(allocations::live(), live - keys - values);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 4);
}

TEST_F(MultimapSetCaseKeys, MovesNoSurvivingKeyOrValueInMemory)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    const multimap_key_t *survivor = _multimap_entry(&map, "Key");
    const std::vector<const char *> texts = {stored_text(map, "Key", 0), stored_text(map, "KEY", 0),
                                             stored_text(map, "KEY", 2)};
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(_multimap_entry(&map, "key"), survivor);
    EXPECT_STREQ(survivor->key, "Key");
    for (uint32_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(stored_text(map, "key", i), texts[i]) << i;
    }
}

TEST_F(MultimapSetCaseKeys, LeavesAMergedListThatCanBeChanged)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(insert(map, "key", "3"), 1);
    EXPECT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(multimap_delete(&map, "key", "2", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "3", "4"}}}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(multimap_remove(&map, "key", 0), 0);
    }
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapSetCaseKeys, LetsTheFirstInIterationOrderSurviveNotTheOldest)
{
    ASSERT_EQ(multimap_sethashsize(&map, 256), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"key", {"1"}}, {"Key", {"2"}}});
    ASSERT_EQ(multimap_sethashfunc(&map, nullptr), 0);
    ASSERT_EQ(keys_of(map), (Keys{"Key", "key"}));
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"2", "1"}}}));
}

TEST_F(MultimapSetCaseKeys, LeavesKeysApartThatTheHashFunctionPutsIntoDifferentBuckets)
{
    ASSERT_EQ(multimap_sethashsize(&map, 256), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"Key", {"1"}}, {"key", {"1", "2"}}, {"kEY", {"3"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1"}}, {"key", {"1", "2", "3"}}}));
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 4);
    EXPECT_EQ(values_of(map, "KEY"), Values{"1"});
    EXPECT_EQ(values_of(map, "keY"), (Values{"1", "2", "3"}));
}

TEST_F(MultimapSetCaseKeys, BackToCaseSensitiveMergesNothingAndBringsNothingBack)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}, {"x", {"1"}}, {"Y", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    MultimapState expected = state_of(map);
    expected.casekeys = 0;
    EXPECT_EQ(multimap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(state_of(map), expected);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(multimap_haskey(&map, "KEY"), 0);
    EXPECT_EQ(values_of(map, "Key"), (Values{"1", "2"}));
    EXPECT_EQ(insert(map, "KEY", "1"), 0);
}

TEST_F(MultimapSetCaseKeys, FoldsOnlyTheLettersOfAscii)
{
    fill(
        map,
        {{"\xc9", {"1"}}, {"\xe9", {"2"}}, {"[", {"1"}}, {"{", {"2"}}, {"@", {"1"}}, {"`", {"2"}}});
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.numkeys, 6);
    EXPECT_EQ(values_of(map, "\xc9"), Values{"1"});
    EXPECT_EQ(values_of(map, "\xe9"), Values{"2"});
}

TEST_F(MultimapSetCaseKeys, HashesEachMergedKeyOnce)
{
    ASSERT_EQ(multimap_sethashfunc(&map,
                                   [](const void *container, const char *key) {
                                       recording_hash(container, key);
                                       return hash_length(container, key);
                                   }),
              0);
    fill(map, {{"aa", {"1", "2", "3"}}, {"AA", {"1", "4", "5"}}, {"b", {"1"}}});
    forget_hashing();
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(hashed_keys, (Keys{"b", "aa", "AA"}));
    EXPECT_EQ(hashed_for, (std::vector<const void *>{&map, &map, &map}));
    EXPECT_EQ(values_of(map, "aA"), (Values{"1", "2", "3", "4", "5"}));
}

TEST_F(MultimapSetCaseKeys, MergesWithoutAllocating)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}});
    {
        allocations::Failure no_memory(0);
        EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
        EXPECT_FALSE(no_memory.happened());
    }
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2"}}}));
}

TEST_F(MultimapSetCaseKeys, MakesRoomUnderTheKeyLimit)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(insert(map, "a", "v"), 1);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(MultimapSetCaseKeys, KeepsTheOtherSettings)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 20), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    MultimapState expected = state_of(map);
    expected.casekeys = 1;
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(MultimapSetCaseKeys, RefusesANullMultimap)
{
    EXPECT_EQ(multimap_setcasekeys(nullptr, 0), EINVAL);
    EXPECT_EQ(multimap_setcasekeys(nullptr, 1), EINVAL);
}

TEST_F(MultimapSetCaseKeys, OfAReleasedMultimapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_setcasekeys(&map, 9), 0);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(multimap_sethashsize(&map, 32), 0);
    fill(map, {{"Key", {"1"}}});
    EXPECT_EQ(multimap_haskey(&map, "KEY"), 1);
}

TEST_F(MultimapSetMaxKeys, StoresANegativeLimitAsItIs)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
        EXPECT_EQ(multimap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
    }
    insert_numbered(100);
    EXPECT_EQ(map.numkeys, 102);
}

TEST_F(MultimapSetMaxKeys, RefusesALimitBelowThePresentNumberOfKeys)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {0, 1, 2}) {
        SCOPED_TRACE(limit);
        expect_unchanged(1, [&] { return multimap_setmaxkeys(&map, limit); });
    }
    ASSERT_EQ(multimap_setmaxkeys(&map, 7), 0);
    expect_unchanged(1, [&] { return multimap_setmaxkeys(&map, 2); });
    EXPECT_EQ(map.maxkeys, 7);
}

TEST_F(MultimapSetMaxKeys, AcceptsThePresentNumberThoughThenOnlyValuesFit)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {3, 4}) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(multimap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
        expect_unchanged(1, [&] { return insert(map, "d", "v"); });
        EXPECT_EQ(insert(map, "b", "new " + std::to_string(limit)), 0);
    }
    EXPECT_EQ(values_of(map, "b"), (Values{"1", "new 3", "new 4"}));
}

TEST_F(MultimapSetMaxKeys, AdmitsOneKeyLessThanTheLimit)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    EXPECT_EQ(multimap_setmaxkeys(&map, 5), 0);
    EXPECT_EQ(insert(map, "d", "v"), 0);
    EXPECT_EQ(insert(map, "e", "v"), 1);
}

TEST_F(MultimapSetMaxKeys, AcceptsZeroForAnEmptyMultimapThoughThenNoKeyFits)
{
    EXPECT_EQ(multimap_setmaxkeys(&map, 0), 0);
    EXPECT_EQ(map.maxkeys, 0);
    EXPECT_EQ(insert(map, "a", "v"), 1);
}

TEST_F(MultimapSetMaxKeys, AcceptsTheGreatestLimit)
{
    EXPECT_EQ(multimap_setmaxkeys(&map, INT32_MAX), 0);
    EXPECT_EQ(map.maxkeys, INT32_MAX);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(MultimapSetMaxKeys, TouchesNothingElse)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    MultimapState expected = state_of(map);
    expected.maxkeys = 9;
    EXPECT_EQ(multimap_setmaxkeys(&map, 9), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(MultimapSetMaxKeys, RefusesANullMultimapWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(multimap_setmaxkeys(nullptr, limit), EINVAL);
    }
}

TEST_F(MultimapSetMaxKeys, OfAReleasedMultimapHoldsOnceItLivesAgain)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(multimap_sethashsize(&map, 32), 0);
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(insert(map, "b", "v"), 1);
}

TEST_F(MultimapSetMaxValues, StoresANegativeLimitAsItIs)
{
    fill(map, {{"a", {"1", "2"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(multimap_setmaxvalues(&map, 2), 0);
        EXPECT_EQ(multimap_setmaxvalues(&map, limit), 0);
        EXPECT_EQ(map.maxvalues, limit);
    }
}

TEST_F(MultimapSetMaxValues, RefusesALimitBelowThePresentNumberOfValuesUnderAllKeys)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {0, 1, 2, 3}) {
        SCOPED_TRACE(limit);
        expect_unchanged(1, [&] { return multimap_setmaxvalues(&map, limit); });
    }
    ASSERT_EQ(multimap_setmaxvalues(&map, 7), 0);
    expect_unchanged(1, [&] { return multimap_setmaxvalues(&map, 3); });
    EXPECT_EQ(map.maxvalues, 7);
}

TEST_F(MultimapSetMaxValues, AcceptsThePresentNumberAndAnyAbove)
{
    fill(map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {4, 5, INT32_MAX}) {
        EXPECT_EQ(multimap_setmaxvalues(&map, limit), 0);
        EXPECT_EQ(map.maxvalues, limit);
    }
}

TEST_F(MultimapSetMaxValues, LimitsNoInsert)
{
    EXPECT_EQ(multimap_setmaxvalues(&map, 0), 0);
    EXPECT_EQ(map.maxvalues, 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(multimap_setmaxvalues(&map, 3), 0);
    EXPECT_EQ(insert(map, "a", "3"), 0);
    EXPECT_EQ(insert(map, "c", "1"), 0);
    EXPECT_EQ(multimap_insert_int(&map, "c", 7), 0);
    EXPECT_EQ(map.numvalues, 6);
    EXPECT_EQ(map.maxvalues, 3);
}

TEST_F(MultimapSetMaxValues, TouchesNothingElse)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    MultimapState expected = state_of(map);
    expected.maxvalues = 9;
    EXPECT_EQ(multimap_setmaxvalues(&map, 9), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(MultimapSetMaxValues, RefusesANullMultimapWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(multimap_setmaxvalues(nullptr, limit), EINVAL);
    }
}

TEST_F(MultimapSetMaxValues, OfAReleasedMultimapIsStored)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_setmaxvalues(&map, 0), 0);
    EXPECT_EQ(map.maxvalues, 0);
    EXPECT_EQ(map.buckets, nullptr);
}
