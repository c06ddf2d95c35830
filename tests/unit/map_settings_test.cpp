#include "map_fixture.hpp"
#include "recorded_hashing.hpp"

#include "map_internal.h"

#include <algorithm>
#include <map>

namespace {

struct Seeded {
    map_t map;
    uint32_t seed;
};

uint32_t seeded_hash(const void *container, const char *key)
{
    return static_cast<const Seeded *>(container)->seed + hash_length(container, key);
}

std::size_t bucket_of(const map_t &map, const char *key)
{
    return static_cast<std::size_t>(_map_hashlist(&map, key) - map.buckets);
}

class SettingsTest : public MapTest {
  protected:
    SettingsTest()
    {
        hashings.clear();
    }

    void insert_all(std::initializer_list<const char *> keys)
    {
        for (const char *key : keys) {
            ASSERT_EQ(insert(map, key, "value of "s + key), 0);
        }
    }

    void insert_numbered(int count)
    {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(insert(map, std::to_string(i * 7919 % 100003).c_str(), std::to_string(i)), 0);
        }
    }

    // The call must find the setting as it is wanted, and not rebuild.
    void expect_no_rebuild(const std::function<int()> &call)
    {
        Keys asked;
        std::size_t allocated = 0;
        expect_unchanged(0, [&] {
            hashings.clear();
            allocations::Log log;
            const int result = call();
            allocated = log.sizes().size();
            asked = hashed_keys();
            return result;
        });
        EXPECT_EQ(asked, Keys{});
        EXPECT_EQ(allocated, 0U);
    }
};

// A call that puts every entry into a bucket anew.
struct Rebuild {
    const char *name;
    int (*call)(map_t *map);
    bool allocates;
};

const Rebuild rebuilds[] = {
    {"OneBucket", [](map_t *map) { return map_sethashsize(map, 1); }, true},
    {"FewerBuckets", [](map_t *map) { return map_sethashsize(map, 8); }, true},
    {"MoreBuckets", [](map_t *map) { return map_sethashsize(map, 1024); }, true},
    {"OtherHash", [](map_t *map) { return map_sethashfunc(map, hash_first_byte); }, false},
    {"OneChain", [](map_t *map) { return map_sethashfunc(map, hash_all_to_zero); }, false},
    {"CaseInsensitive", [](map_t *map) { return map_setcasekeys(map, 1); }, false},
};

std::string rebuild_name(const testing::TestParamInfo<Rebuild> &info)
{
    return info.param.name;
}

class MapRebuild : public SettingsTest, public testing::WithParamInterface<Rebuild> {};

class MapSetHashSize : public SettingsTest {};

class MapSetHashFunc : public SettingsTest {};

class MapSetCaseKeys : public SettingsTest {};

class MapSetMaxKeys : public SettingsTest {};

class MapHashFunction : public SettingsTest {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Map, MapRebuild, testing::ValuesIn(rebuilds), rebuild_name);

TEST_P(MapRebuild, KeepsEveryKeyAndItsValue)
{
    insert_numbered(200);
    auto before = content_of(map);
    ASSERT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(map.numkeys, 200);
    for (const auto &[key, value] : before) {
        EXPECT_EQ(value_of(map, key.c_str()), value) << key;
    }
    auto after = content_of(map);
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    EXPECT_EQ(after, before);
}

TEST_P(MapRebuild, KeepsCallersPointersToValuesKeysAndEntries)
{
    insert_numbered(100);
    struct Held {
        const map_entry_t *entry;
        const void *value;
        uint32_t length;
        std::string bytes;
        std::string key;
    };
    std::vector<Held> held;
    for (const auto &[key, value] : content_of(map)) {
        Held one{map_get_entry(&map, key.c_str()), nullptr, 0, value, key};
        ASSERT_EQ(map_index(&map, key.c_str(), &one.value, &one.length), 0);
        held.push_back(one);
    }
    ASSERT_EQ(GetParam().call(&map), 0);
    for (const Held &one : held) {
        SCOPED_TRACE(one.key);
        EXPECT_EQ(map_get_entry(&map, one.key.c_str()), one.entry);
        EXPECT_EQ(one.entry->value, one.value);
        EXPECT_EQ(one.entry->key, one.key);
        EXPECT_EQ(std::string(static_cast<const char *>(one.value), one.length), one.bytes);
    }
}

TEST_P(MapRebuild, KeepsTheOrderOfEntriesThatShareABucket)
{
    insert_numbered(200);
    std::map<std::string, std::size_t> position;
    for (const std::string &key : keys_of(map)) {
        position.emplace(key, position.size());
    }
    ASSERT_EQ(GetParam().call(&map), 0);
    for (const auto &chain : state_of(map).chains) {
        EXPECT_TRUE(std::is_sorted(chain.begin(), chain.end(),
                                   [&](const MapState::Entry &a, const MapState::Entry &b) {
                                       return position.at(a.key) < position.at(b.key);
                                   }));
    }
}

TEST_P(MapRebuild, LetsFurtherKeysFollowThoseOfTheirBucket)
{
    insert_numbered(50);
    ASSERT_EQ(GetParam().call(&map), 0);
    ASSERT_EQ(insert(map, "new", "v"), 0);
    const MapState after = state_of(map);
    EXPECT_EQ(after.chains.at(bucket_of(map, "new")).back().key, "new");
    ASSERT_EQ(map_erase(&map, "0"), 0);
    EXPECT_EQ(map_haskey(&map, "0"), 0);
    EXPECT_EQ(state_of(map).numkeys, 50);
}

TEST_P(MapRebuild, KeepsMoreKeysThanTheLimitAdmits)
{
    insert_numbered(20);
    ASSERT_EQ(map_setmaxkeys(&map, 20), 0);
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(state_of(map).numkeys, 20);
    EXPECT_EQ(map.maxkeys, 20);
}

TEST_P(MapRebuild, AllocatesNothingButABucketArray)
{
    insert_numbered(20);
    allocations::Log log;
    const int result = GetParam().call(&map);
    const std::vector<std::size_t> sizes = log.sizes();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(sizes, GetParam().allocates
                         ? std::vector<std::size_t>{map.hashsize * sizeof(map_bucket_t)}
                         : std::vector<std::size_t>{});
}

TEST_P(MapRebuild, OfAnEmptyMapGivesAnEmptyMap)
{
    EXPECT_EQ(GetParam().call(&map), 0);
    EXPECT_EQ(content_of(map), (std::vector<std::pair<std::string, std::string>>{}));
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(value_of(map, "a"), "v");
}

TEST_P(MapRebuild, RefusesANullMap)
{
    EXPECT_EQ(GetParam().call(nullptr), EINVAL);
}

TEST_F(MapSetHashSize, RefusesASizeThatIsNoPowerOfTwo)
{
    insert_all({"b", "a"});
    for (uint32_t size : {0U, 3U, 31U, 33U, 48U, 100U, 0x80000001U, 0xc0000000U, UINT32_MAX}) {
        SCOPED_TRACE(size);
        expect_unchanged(EINVAL, [&] { return map_sethashsize(&map, size); });
        EXPECT_EQ(map_sethashsize(nullptr, size), EINVAL);
    }
}

TEST_F(MapSetHashSize, RefusesANullMapWithAnySize)
{
    EXPECT_EQ(map_sethashsize(nullptr, 32), EINVAL);
    EXPECT_EQ(map_sethashsize(nullptr, 0x80000000U), EINVAL);
}

TEST_F(MapSetHashSize, OfThePresentSizeDoesNotRebuild)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    insert_all({"b", "a"});
    expect_no_rebuild([&] { return map_sethashsize(&map, 32); });
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    expect_no_rebuild([&] { return map_sethashsize(&map, 64); });
}

TEST_F(MapSetHashSize, StoresTheSizeAndSpreadsTheKeysOverIt)
{
    insert_all({"a", "!", "b"});
    ASSERT_EQ(keys_of(map), (std::vector<std::string>{"a", "!", "b"}));
    EXPECT_EQ(map_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(bucket_of(map, "b"), 2U);
    EXPECT_EQ(bucket_of(map, "!"), 33U);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"a", "b", "!"}));
}

TEST_F(MapSetHashSize, OfOneKeepsTheOldIterationOrderInOneBucket)
{
    insert_numbered(100);
    const std::vector<std::string> before = keys_of(map);
    EXPECT_EQ(map_sethashsize(&map, 1), 0);
    const MapState after = state_of(map);
    ASSERT_EQ(after.chains.size(), 1U);
    EXPECT_EQ(after.chains[0].size(), 100U);
    EXPECT_EQ(keys_of(map), before);
}

TEST_F(MapSetHashSize, HashesEachEntryOnce)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    insert_all({"c", "a", "b"});
    hashings.clear();
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    EXPECT_EQ(hashed_keys(), (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for(&map), hashed_keys());
}

TEST_F(MapSetHashSize, KeepsTheOtherSettings)
{
    ASSERT_EQ(map_setmaxkeys(&map, 10), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(map_sethashsize(&map, 8), 0);
    EXPECT_EQ(map.maxkeys, 10);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
}

TEST_F(MapSetHashSize, FreesTheOldBuckets)
{
    insert_all({"a", "b"});
    const std::size_t live = allocations::live();
    for (uint32_t size : {64U, 1U, 128U, 32U}) {
        ASSERT_EQ(map_sethashsize(&map, size), 0);
        EXPECT_EQ(allocations::live(), live) << size;
    }
}

TEST_F(MapSetHashSize, WithoutMemoryChangesNothing)
{
    insert_all({"a", "b", "c"});
    for (uint32_t size : {1U, 16U, 64U}) {
        SCOPED_TRACE(size);
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure no_memory(0);
            return map_sethashsize(&map, size);
        });
    }
    EXPECT_EQ(value_of(map, "b"), "value of b");
}

TEST_F(MapSetHashSize, BeyondTheAddressSpaceChangesNothing)
{
    insert_all({"a", "b"});
    for (uint32_t size : {1U << 29, 1U << 30, 1U << 31}) {
        SCOPED_TRACE(size);
        const uint64_t bytes = uint64_t{size} * sizeof(map_bucket_t);
        std::vector<std::size_t> asked_for;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure no_memory(0);
            allocations::Log log;
            const int result = map_sethashsize(&map, size);
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

TEST_F(MapSetHashSize, BringsADestroyedMapBackWithItsLimitAndCaseFlag)
{
    ASSERT_EQ(map_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    insert_all({"a", "b"});
    ASSERT_EQ(map_destroy(&map), 0);

    EXPECT_EQ(map_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(keys_of(map), std::vector<std::string>{});
    EXPECT_EQ(insert(map, "Key", "v"), 0);
    EXPECT_EQ(map_haskey(&map, "KEY"), 1);
    EXPECT_EQ(insert(map, "b", "v"), 0);
    EXPECT_EQ(insert(map, "c", "v"), 1);
}

TEST_F(MapSetHashSize, BringsAMapToLifeAfterAFailedInit)
{
    map_t unborn;
    {
        allocations::Failure no_memory(0);
        ASSERT_EQ(map_init(&unborn), ENOMEM);
    }
    EXPECT_EQ(map_sethashsize(&unborn, 32), 0);
    EXPECT_EQ(insert(unborn, "a", "v"), 0);
    EXPECT_EQ(keys_of(unborn), std::vector<std::string>{"a"});
    EXPECT_EQ(map_destroy(&unborn), 0);
}

TEST_F(MapSetHashSize, LeavesAReleasedMapReleasedWhenItFails)
{
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return map_sethashsize(&map, 0); });
    expect_unchanged(EINVAL, [&] { return map_sethashsize(&map, 48); });
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return map_sethashsize(&map, 32);
    });
    EXPECT_EQ(map.buckets, nullptr);
}

TEST_F(MapSetHashFunc, PutsKeysWhereTheFunctionSays)
{
    insert_all({"a", "bb", "ccc"});
    ASSERT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    EXPECT_EQ(map.hashfunc, hash_first_byte);
    EXPECT_EQ(bucket_of(map, "ccc"), static_cast<std::size_t>('c') % 32);
    EXPECT_EQ(map_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(bucket_of(map, "a"), 1U);
    EXPECT_EQ(bucket_of(map, "bb"), 2U);
    EXPECT_EQ(bucket_of(map, "ccc"), 3U);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"a", "bb", "ccc"}));
}

TEST_F(MapSetHashFunc, OfNoneRestoresTheBuiltInBuckets)
{
    insert_all({"a", "bb", "ccc"});
    const MapState before = state_of(map);
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(bucket_of(map, "bb"), 0U);
    EXPECT_EQ(map_sethashfunc(&map, nullptr), 0);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(state_of(map), before);
    // 'B' * 31 + 'B'
    EXPECT_EQ(bucket_of(map, "bb"), 2112U % 32);
}

TEST_F(MapSetHashFunc, OfThePresentFunctionDoesNotRebuild)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    insert_all({"b", "a"});
    expect_no_rebuild([&] { return map_sethashfunc(&map, recorded<hash_first_byte>); });
}

TEST_F(MapSetHashFunc, OfNoneTwiceChangesNothing)
{
    insert_all({"b", "a"});
    expect_unchanged(0, [&] { return map_sethashfunc(&map, nullptr); });
}

TEST_F(MapSetHashFunc, HashesEachEntryOnceInOldIterationOrderWithTheMapsOwnRecord)
{
    insert_all({"c", "a", "b"});
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    EXPECT_EQ(hashed_keys(), (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for(&map), hashed_keys());
}

TEST_F(MapSetHashFunc, CannotFailForWantOfMemory)
{
    insert_all({"b", "a"});
    int result;
    {
        allocations::Failure no_memory(0);
        result = map_sethashfunc(&map, hash_all_to_zero);
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"a", "b"}));
}

TEST_F(MapSetHashFunc, RefusesANullMap)
{
    EXPECT_EQ(map_sethashfunc(nullptr, nullptr), EINVAL);
    EXPECT_EQ(map_sethashfunc(nullptr, hash_length), EINVAL);
}

TEST_F(MapSetHashFunc, OfAReleasedMapHoldsOnceTheMapLivesAgain)
{
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(map_sethashsize(&map, 32), 0);
    insert_all({"cccc", "d"});
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"d", "cccc"}));
}

TEST_F(MapHashFunction, IsCalledWithTheMapsOwnRecordByEveryOperation)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    Map other;
    ASSERT_EQ(map_sethashfunc(&other, recorded<hash_first_byte>), 0);
    const auto expect_hashed = [](const map_t *expected, const std::function<void()> &call) {
        hashings.clear();
        call();
        EXPECT_FALSE(hashings.empty());
        for (const auto &[container, key] : hashings) {
            EXPECT_EQ(container, expected);
        }
    };
    expect_hashed(&map, [&] { insert(map, "a", "v"); });
    expect_hashed(&map, [&] { replace(map, "a", "w"); });
    expect_hashed(&map, [&] { map_haskey(&map, "a"); });
    expect_hashed(&map, [&] { map_get_entry(&map, "a"); });
    expect_hashed(&map, [&] { map_index(&map, "a", nullptr, nullptr); });
    expect_hashed(&map, [&] { map_cmp(&map, "a", "w", 1); });
    expect_hashed(&map, [&] { map_sethashsize(&map, 8); });
    expect_hashed(&map, [&] { map_setcasekeys(&map, 1); });
    expect_hashed(&other, [&] { map_copy_dst_hashsize(&map, &other); });
    expect_hashed(&other, [&] { map_isequal(&map, &other); });
    expect_hashed(&other, [&] { map_merge(&map, &other); });
    expect_hashed(&map, [&] { map_erase(&map, "a"); });
}

TEST_F(MapHashFunction, CanKeepASeedInTheRecordThatEnclosesTheMap)
{
    Seeded records[2];
    for (Seeded &record : records) {
        ASSERT_EQ(map_init(&record.map), 0);
        record.seed = &record == records ? 3 : 20;
        ASSERT_EQ(map_sethashfunc(&record.map, seeded_hash), 0);
        ASSERT_EQ(insert(record.map, "aa", "v"), 0);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 5U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 22U);
    for (Seeded &record : records) {
        ASSERT_EQ(map_sethashsize(&record.map, 4), 0);
        ASSERT_EQ(map_setcasekeys(&record.map, 1), 0);
        EXPECT_EQ(value_of(record.map, "AA"), "v");
        state_of(record.map);
    }
    EXPECT_EQ(bucket_of(records[0].map, "aa"), 1U);
    EXPECT_EQ(bucket_of(records[1].map, "aa"), 2U);
    for (Seeded &record : records) {
        ASSERT_EQ(map_destroy(&record.map), 0);
    }
}

TEST_F(MapHashFunction, IsMaskedByTheNumberOfBuckets)
{
    ASSERT_EQ(map_sethashfunc(&map, [](const void *, const char *) { return UINT32_MAX; }), 0);
    insert_all({"a"});
    for (uint32_t size : {1U, 2U, 32U, 256U}) {
        ASSERT_EQ(map_sethashsize(&map, size), 0);
        EXPECT_EQ(bucket_of(map, "a"), size - 1);
        EXPECT_EQ(value_of(map, "a"), "value of a");
    }
}

TEST_F(MapSetCaseKeys, StoresOneForAnyFlagThatIsNotZero)
{
    for (uint32_t flag : {1U, 2U, 5U, 256U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(flag);
        EXPECT_EQ(map_setcasekeys(&map, flag), 0);
        EXPECT_EQ(map.casekeys, 1U);
        EXPECT_EQ(map_setcasekeys(&map, 0), 0);
        EXPECT_EQ(map.casekeys, 0U);
    }
}

TEST_F(MapSetCaseKeys, MakesKeysCompareWithoutRegardToCase)
{
    insert_all({"Key"});
    ASSERT_EQ(map_haskey(&map, "kEY"), 0);
    ASSERT_EQ(map_setcasekeys(&map, 5), 0);
    EXPECT_EQ(value_of(map, "kEY"), "value of Key");
    EXPECT_EQ(insert(map, "KEY", "v"), 1);
}

TEST_F(MapSetCaseKeys, OfThePresentFlagDoesNotRebuild)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    insert_all({"b", "a"});
    expect_no_rebuild([&] { return map_setcasekeys(&map, 0); });
    ASSERT_EQ(map_setcasekeys(&map, 5), 0);
    for (uint32_t flag : {1U, 5U, 7U}) {
        SCOPED_TRACE(flag);
        expect_no_rebuild([&] { return map_setcasekeys(&map, flag); });
    }
}

TEST_F(MapSetCaseKeys, KeepsTheFirstOfTheKeysThatBecomeEqual)
{
    insert_all({"Key", "other", "KEY", "key"});
    const MapState::Entry *first = nullptr;
    const MapState before = state_of(map);
    for (const auto &chain : before.chains) {
        for (const MapState::Entry &entry : chain) {
            first = entry.key == "Key" ? &entry : first;
        }
    }
    ASSERT_NE(first, nullptr);
    const std::size_t live = allocations::live();
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(allocations::live(), live - 2);
    EXPECT_EQ(map_get_entry(&map, "KEY"), first->address);
    EXPECT_STREQ(map_get_entry(&map, "KEY")->key, "Key");
    EXPECT_EQ(value_of(map, "key"), "value of Key");
    EXPECT_EQ(value_of(map, "other"), "value of other");
}

TEST_F(MapSetCaseKeys, TakesTheFirstInIterationOrderNotTheOldest)
{
    insert_all({"Key", "KEY"});
    ASSERT_EQ(replace(map, "Key", "newer"), 0);
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map),
              (std::vector<std::pair<std::string, std::string>>{{"KEY", "value of KEY"}}));
}

TEST_F(MapSetCaseKeys, TakesTheFirstAcrossTheWholeChain)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    insert_all({"a", "B", "A", "c", "b", "C", "d"});
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"a", "B", "c", "d"}));
}

TEST_F(MapSetCaseKeys, BackToCaseSensitiveDropsNothingAndBringsNothingBack)
{
    insert_all({"Key", "KEY", "x", "Y"});
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    const std::vector<std::string> before = keys_of(map);
    EXPECT_EQ(map_setcasekeys(&map, 0), 0);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(keys_of(map), before);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(map_haskey(&map, "KEY"), 0);
    EXPECT_EQ(map_haskey(&map, "Key"), 1);
    EXPECT_EQ(insert(map, "KEY", "again"), 0);
}

TEST_F(MapSetCaseKeys, FoldsOnlyTheLettersOfAscii)
{
    insert_all({"\xc9", "\xe9", "[", "{", "@", "`"});
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.numkeys, 6);
    EXPECT_EQ(value_of(map, "\xe9"), "value of \xe9");
    EXPECT_EQ(value_of(map, "\xc9"), "value of \xc9");
}

TEST_F(MapSetCaseKeys, DropsNoVariantThatACallersHashPutsElsewhere)
{
    ASSERT_EQ(map_sethashsize(&map, 256), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    insert_all({"Key", "key", "kEY"});
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"Key", "key"}));
    EXPECT_EQ(value_of(map, "KEY"), "value of Key");
    EXPECT_EQ(value_of(map, "kEY"), "value of key");
}

TEST_F(MapSetCaseKeys, LooksUpEachEntryOnceWithTheMapsOwnRecord)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_first_byte>), 0);
    insert_all({"c", "a", "b"});
    hashings.clear();
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(hashed_keys(), (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for(&map), hashed_keys());
}

TEST_F(MapSetCaseKeys, CannotFailForWantOfMemory)
{
    insert_all({"Key", "KEY"});
    int result;
    {
        allocations::Failure no_memory(0);
        result = map_setcasekeys(&map, 1);
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(keys_of(map), std::vector<std::string>{"Key"});
}

TEST_F(MapSetCaseKeys, MakesRoomUnderTheKeyLimit)
{
    insert_all({"Key", "KEY"});
    ASSERT_EQ(map_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(insert(map, "a", "v"), 1);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(MapSetCaseKeys, RefusesANullMap)
{
    EXPECT_EQ(map_setcasekeys(nullptr, 0), EINVAL);
    EXPECT_EQ(map_setcasekeys(nullptr, 1), EINVAL);
}

TEST_F(MapSetCaseKeys, OfAReleasedMapHoldsOnceTheMapLivesAgain)
{
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_setcasekeys(&map, 9), 0);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.buckets, nullptr);
    ASSERT_EQ(map_sethashsize(&map, 32), 0);
    insert_all({"Key"});
    EXPECT_EQ(map_haskey(&map, "KEY"), 1);
}

TEST_F(MapSetMaxKeys, StoresANegativeLimitAsItIs)
{
    insert_all({"a", "b"});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
        EXPECT_EQ(map_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
    }
    insert_numbered(100);
    EXPECT_EQ(map.numkeys, 102);
}

TEST_F(MapSetMaxKeys, RefusesALimitBelowThePresentNumberOfKeys)
{
    insert_all({"a", "b", "c"});
    for (int32_t limit : {0, 1, 2}) {
        SCOPED_TRACE(limit);
        expect_unchanged(1, [&] { return map_setmaxkeys(&map, limit); });
    }
    ASSERT_EQ(map_setmaxkeys(&map, 7), 0);
    expect_unchanged(1, [&] { return map_setmaxkeys(&map, 2); });
    EXPECT_EQ(map.maxkeys, 7);
}

TEST_F(MapSetMaxKeys, AcceptsThePresentNumberThoughThenNoKeyFits)
{
    insert_all({"a", "b", "c"});
    for (int32_t limit : {3, 4}) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(map_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(map.maxkeys, limit);
        expect_unchanged(1, [&] { return insert(map, "d", "v"); });
        expect_unchanged(1, [&] { return replace(map, "d", "v"); });
        EXPECT_EQ(replace(map, "a", "new"), 0);
    }
}

TEST_F(MapSetMaxKeys, AdmitsOneKeyLessThanTheLimit)
{
    insert_all({"a", "b", "c"});
    EXPECT_EQ(map_setmaxkeys(&map, 5), 0);
    EXPECT_EQ(insert(map, "d", "v"), 0);
    EXPECT_EQ(insert(map, "e", "v"), 1);
}

TEST_F(MapSetMaxKeys, AcceptsZeroForAnEmptyMapThoughThenNoKeyFits)
{
    EXPECT_EQ(map_setmaxkeys(&map, 0), 0);
    EXPECT_EQ(map.maxkeys, 0);
    EXPECT_EQ(insert(map, "a", "v"), 1);
}

TEST_F(MapSetMaxKeys, AcceptsTheGreatestLimit)
{
    EXPECT_EQ(map_setmaxkeys(&map, INT32_MAX), 0);
    EXPECT_EQ(map.maxkeys, INT32_MAX);
    EXPECT_EQ(insert(map, "a", "v"), 0);
}

TEST_F(MapSetMaxKeys, TouchesNothingElse)
{
    insert_all({"a", "b"});
    MapState expected = state_of(map);
    expected.maxkeys = 9;
    EXPECT_EQ(map_setmaxkeys(&map, 9), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(MapSetMaxKeys, RefusesANullMapWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(map_setmaxkeys(nullptr, limit), EINVAL);
    }
}

TEST_F(MapSetMaxKeys, OfAReleasedMapHoldsOnceTheMapLivesAgain)
{
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(map_sethashsize(&map, 32), 0);
    EXPECT_EQ(insert(map, "a", "v"), 0);
    EXPECT_EQ(insert(map, "b", "v"), 1);
}
