#include "map_fixture.hpp"
#include "recorded_hashing.hpp"

#include "map_internal.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

class MapInit : public MapTest {};

TEST_F(MapInit, MakesAnEmptyMapOf32Buckets)
{
    EXPECT_EQ(map.maxkeys, -1);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.hashfunc, nullptr);
    ASSERT_NE(map.buckets, nullptr);
    for (uint32_t i = 0; i < 32; ++i) {
        EXPECT_EQ(map.buckets[i].first, nullptr);
        EXPECT_EQ(map.buckets[i].last, &map.buckets[i].first);
    }
}

TEST_F(MapInit, RefusesNull)
{
    EXPECT_EQ(map_init(nullptr), EINVAL);
}

TEST_F(MapInit, AllocatesTheBucketsAlone)
{
    map_t other;
    allocations::Log log;
    EXPECT_EQ(map_init(&other), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{32 * sizeof(map_bucket_t)});
    map_destroy(&other);
}

TEST_F(MapInit, TakesNoNoticeOfWhatTheRecordHeld)
{
    map_t other;
    std::memset(&other, 0xA5, sizeof other);
    EXPECT_EQ(map_init(&other), 0);
    EXPECT_EQ(state_of(other).numkeys, 0);
    EXPECT_EQ(other.maxkeys, -1);
    EXPECT_EQ(other.casekeys, 0U);
    EXPECT_EQ(other.hashfunc, nullptr);
    EXPECT_EQ(map_destroy(&other), 0);
}

TEST_F(MapInit, LeavesAReleasedRecordWithoutMemory)
{
    map_t other;
    std::memset(&other, 0xA5, sizeof other);
    {
        allocations::Failure failure(0);
        EXPECT_EQ(map_init(&other), ENOMEM);
    }
    EXPECT_EQ(other.buckets, nullptr);
    EXPECT_EQ(other.hashsize, 0U);
    EXPECT_EQ(other.maxkeys, -1);
    EXPECT_EQ(other.numkeys, 0);
    EXPECT_EQ(other.casekeys, 0U);
    EXPECT_EQ(other.hashfunc, nullptr);
    EXPECT_EQ(insert(other, "key", "value"), EINVAL);
    EXPECT_EQ(map_destroy(&other), 0);
    EXPECT_EQ(map_init(&other), 0);
    EXPECT_EQ(insert(other, "key", "value"), 0);
    EXPECT_EQ(map_destroy(&other), 0);
}

class MapInsert : public MapTest {};

TEST_F(MapInsert, StoresACopyOfKeyAndValue)
{
    char key[] = "key";
    char value[] = "value";
    ASSERT_EQ(map_insert(&map, key, value, 5), 0);
    key[0] = value[0] = 'X';
    EXPECT_EQ(value_of(map, "key"), "value");
    EXPECT_EQ(map.numkeys, 1);
}

TEST_F(MapInsert, MakesOneAllocationOfHeaderValueAndKey)
{
    allocations::Log log;
    ASSERT_EQ(insert(map, "seven77", "twelve bytes"), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{sizeof(map_entry_t) + 12 + 7 + 1});
}

TEST_F(MapInsert, LaysOutHeaderThenValueThenKey)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    const map_entry_t *entry = map_get_entry(&map, "key");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->value, static_cast<const void *>(entry + 1));
    EXPECT_EQ(entry->valuesz, 5U);
    EXPECT_EQ(entry->key, static_cast<const char *>(entry->value) + 5);
    EXPECT_EQ(std::memcmp(entry + 1, "valuekey", 9), 0);
}

TEST_F(MapInsert, RefusesNullsAndChangesNothing)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_insert(nullptr, "k", "v", 1), EINVAL);
    expect_unchanged(EINVAL, [&] { return map_insert(&map, nullptr, "v", 1); });
    expect_unchanged(EINVAL, [&] { return map_insert(&map, "k", nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return map_insert(&map, "k", nullptr, 0); });
}

TEST_F(MapInsert, ReportsBadArgumentsBeforeAnExistingKeyOrTheLimit)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 1), 0);
    expect_unchanged(EINVAL, [&] { return map_insert(&map, "key", nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return map_insert(&map, "new", nullptr, 1); });
}

TEST_F(MapInsert, RefusesAnExistingKeyAndKeepsItsValue)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    expect_unchanged(1, [&] { return insert(map, "key", "new"); });
    EXPECT_EQ(value_of(map, "key"), "old");
}

TEST_F(MapInsert, AllocatesNothingForARefusal)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 1), 0);
    allocations::Log log;
    EXPECT_EQ(insert(map, "key", "new"), 1);
    EXPECT_EQ(insert(map, "other", "new"), 1);
    EXPECT_TRUE(log.sizes().empty());
}

TEST_F(MapInsert, AdmitsNoKeyWithALimitOf0Or1)
{
    for (const int limit : {0, 1}) {
        ASSERT_EQ(map_setmaxkeys(&map, limit), 0);
        expect_unchanged(1, [&] { return insert(map, "key", "value"); });
    }
}

TEST_F(MapInsert, AdmitsOneKeyLessThanTheLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "2"); });
    ASSERT_EQ(map_setmaxkeys(&map, 3), 0);
    EXPECT_EQ(insert(map, "b", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "c", "3"); });
}

TEST_F(MapInsert, HasNoLimitWithANegativeOne)
{
    for (const int limit : {-1, -5, INT_MIN}) {
        ASSERT_EQ(map_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(insert(map, std::to_string(limit).c_str(), "v"), 0);
    }
}

TEST_F(MapInsert, AdmitsKeysUnderTheGreatestLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, INT_MAX), 0);
    EXPECT_EQ(insert(map, "key", "value"), 0);
}

TEST_F(MapInsert, StoresAnEmptyValue)
{
    ASSERT_EQ(insert(map, "key", ""), 0);
    const void *value = nullptr;
    uint32_t length = 77;
    ASSERT_EQ(map_index(&map, "key", &value, &length), 0);
    EXPECT_NE(value, nullptr);
    EXPECT_EQ(length, 0U);
}

TEST_F(MapInsert, TakesTheEmptyKey)
{
    ASSERT_EQ(insert(map, "", "value"), 0);
    EXPECT_EQ(value_of(map, ""), "value");
    EXPECT_EQ(static_cast<const void *>(map.buckets[0].first), map_get_entry(&map, ""));
    expect_unchanged(1, [&] { return insert(map, "", "again"); });
    EXPECT_EQ(map_erase(&map, ""), 0);
}

TEST_F(MapInsert, StoresValuesWithEveryByte)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    ASSERT_EQ(insert(map, "all", bytes), 0);
    EXPECT_EQ(value_of(map, "all"), bytes);
}

TEST_F(MapInsert, KeepsKeysWithBytesAbove0x7FApart)
{
    ASSERT_EQ(insert(map, "\351", "1"), 0);
    ASSERT_EQ(insert(map, "\311", "2"), 0);
    ASSERT_EQ(insert(map, "\377\200", "3"), 0);
    EXPECT_EQ(value_of(map, "\351"), "1");
    EXPECT_EQ(value_of(map, "\311"), "2");
    EXPECT_EQ(value_of(map, "\377\200"), "3");
    EXPECT_EQ(static_cast<const void *>(map.buckets[0xE9 & 31].first), map_get_entry(&map, "\351"));
}

TEST_F(MapInsert, AppendsAtTheEndOfTheBucket)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (const char *key : {"c", "a", "b"}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    EXPECT_EQ(keys_of(map), (Keys{"c", "a", "b"}));
}

TEST_F(MapInsert, RefusesAnotherSpellingOfAKeyInACaseInsensitiveMap)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(insert(map, "Key", "value"), 0);
    expect_unchanged(1, [&] { return insert(map, "KEY", "other"); });
}

TEST_F(MapInsert, KeepsSpellingsApartInACaseSensitiveMap)
{
    ASSERT_EQ(insert(map, "Key", "1"), 0);
    ASSERT_EQ(insert(map, "KEY", "2"), 0);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(value_of(map, "Key"), "1");
    EXPECT_EQ(value_of(map, "KEY"), "2");
    EXPECT_EQ(value_of(map, "key"), std::nullopt);
}

TEST_F(MapInsert, TakesKeyAndValueThatLieInTheMap)
{
    ASSERT_EQ(insert(map, "key", "other\0bytes"s), 0);
    const map_entry_t *entry = map_get_entry(&map, "key");
    ASSERT_EQ(map_insert(&map, static_cast<const char *>(entry->value), entry->key, 3), 0);
    EXPECT_EQ(value_of(map, "other"), "key");
}

TEST_F(MapInsert, LeavesTheMapAsItWasWithoutMemory)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return insert(map, "new", "value");
    });
}

TEST_F(MapInsert, RefusesALengthThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "a 32-bit length always fits";
    }
    ASSERT_EQ(insert(map, "key", "value"), 0);
    for (const uint32_t below : {0U, 1U, 20U, 23U, 24U}) {
        expect_unchanged(ENOMEM, [&] { return map_insert(&map, "new", "v", UINT32_MAX - below); });
        expect_unchanged(ENOMEM, [&] { return map_replace(&map, "key", "v", UINT32_MAX - below); });
    }
}

TEST_F(MapInsert, RefusesAReleasedMap)
{
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return insert(map, "key", "value"); });
}

TEST_F(MapInsert, AsksTheCallersHashOnce)
{
    ASSERT_EQ(map_sethashfunc(&map, recorded<hash_all_to_zero>), 0);
    EXPECT_EQ(hashed_during([this] { ASSERT_EQ(insert(map, "key", "value"), 0); }), Keys{"key"});
    EXPECT_EQ(hashed_during([this] { ASSERT_EQ(replace(map, "key", "other"), 0); }), Keys{"key"});
}

class MapReplace : public MapTest {};

TEST_F(MapReplace, AddsANewKey)
{
    EXPECT_EQ(replace(map, "key", "value"), 0);
    EXPECT_EQ(value_of(map, "key"), "value");
    EXPECT_EQ(map.numkeys, 1);
}

TEST_F(MapReplace, SetsTheValueOfAnExistingKey)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    for (const std::string value : {"new", "shorter", "", "much longer than before"}) {
        EXPECT_EQ(replace(map, "key", value), 0);
        EXPECT_EQ(value_of(map, "key"), value);
        EXPECT_EQ(map.numkeys, 1);
    }
}

TEST_F(MapReplace, MakesOneAllocationAndFreesTheOldEntry)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    const std::size_t live = allocations::live();
    allocations::Log log;
    ASSERT_EQ(replace(map, "key", "value"), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{sizeof(map_entry_t) + 5 + 3 + 1});
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MapReplace, RefusesNullsAndChangesNothing)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_replace(nullptr, "k", "v", 1), EINVAL);
    expect_unchanged(EINVAL, [&] { return map_replace(&map, nullptr, "v", 1); });
    expect_unchanged(EINVAL, [&] { return map_replace(&map, "key", nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return map_replace(&map, "key", nullptr, 0); });
}

TEST_F(MapReplace, RefusesAReleasedMap)
{
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return replace(map, "key", "value"); });
}

TEST_F(MapReplace, MovesTheKeyToTheEndOfItsBucket)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (const char *key : {"a", "b", "c"}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    ASSERT_EQ(replace(map, "a", "v"), 0);
    EXPECT_EQ(keys_of(map), (Keys{"b", "c", "a"}));
    ASSERT_EQ(replace(map, "c", "v"), 0);
    EXPECT_EQ(keys_of(map), (Keys{"b", "a", "c"}));
    ASSERT_EQ(replace(map, "c", "v"), 0);
    EXPECT_EQ(keys_of(map), (Keys{"b", "a", "c"}));
}

TEST_F(MapReplace, OfAnExistingKeyIsAllowedInAFullMap)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(insert(map, "key", "old"), 0);
    EXPECT_EQ(replace(map, "key", "new"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(value_of(map, "key"), "new");
    expect_unchanged(1, [&] { return replace(map, "new", "value"); });
}

TEST_F(MapReplace, OfAnExistingKeyIsAllowedAtTheSmallestLimits)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(replace(map, "key", "new"), 0);
    EXPECT_EQ(map.numkeys, 1);
}

TEST_F(MapReplace, TakesTheCallersSpellingInACaseInsensitiveMap)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(insert(map, "Key", "old"), 0);
    EXPECT_EQ(value_of(map, "kEY"), "old");
    ASSERT_EQ(replace(map, "KEY", "new"), 0);
    EXPECT_EQ(keys_of(map), Keys{"KEY"});
    EXPECT_EQ(value_of(map, "key"), "new");
}

TEST_F(MapReplace, TakesTheKeysOwnOldValue)
{
    ASSERT_EQ(insert(map, "key", "the old value"), 0);
    const void *value;
    uint32_t length;
    ASSERT_EQ(map_index(&map, "key", &value, &length), 0);
    ASSERT_EQ(map_replace(&map, "key", value, length), 0);
    EXPECT_EQ(value_of(map, "key"), "the old value");
    ASSERT_EQ(map_index(&map, "key", &value, &length), 0);
    ASSERT_EQ(map_replace(&map, "key", static_cast<const char *>(value) + 4, 3), 0);
    EXPECT_EQ(value_of(map, "key"), "old");
}

TEST_F(MapReplace, TakesTheKeyTextOfTheOldEntry)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    ASSERT_EQ(replace(map, map_get_entry(&map, "key")->key, "new"), 0);
    EXPECT_EQ(value_of(map, "key"), "new");
}

TEST_F(MapReplace, KeepsTheOldValueWithoutMemory)
{
    ASSERT_EQ(insert(map, "key", "old"), 0);
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return replace(map, "key", "new");
    });
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return replace(map, "another", "new");
    });
}

class MapErase : public MapTest {};

TEST_F(MapErase, RemovesAKeyWhereverItStandsInItsBucket)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    const Keys all{"a", "b", "c"};
    for (const std::string &gone : all) {
        for (const std::string &key : all) {
            ASSERT_EQ(insert(map, key.c_str(), "v"), 0);
        }
        Keys left = all;
        left.erase(std::find(left.begin(), left.end(), gone));
        ASSERT_EQ(map_erase(&map, gone.c_str()), 0);
        EXPECT_EQ(keys_of(map), left);
        ASSERT_EQ(insert(map, "z", "v"), 0);
        left.push_back("z");
        EXPECT_EQ(keys_of(map), left);
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapErase, FreesTheEntry)
{
    const std::size_t live = allocations::live();
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(map_erase(&map, "key"), 0);
    EXPECT_EQ(allocations::live(), live);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map_haskey(&map, "key"), 0);
}

TEST_F(MapErase, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return map_erase(&map, "key"); });
    ASSERT_EQ(insert(map, "key", "value"), 0);
    expect_unchanged(ENOENT, [&] { return map_erase(&map, "KEY"); });
    expect_unchanged(ENOENT, [&] { return map_erase(&map, ""); });
}

TEST_F(MapErase, RefusesNullsAndChangesNothing)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_erase(nullptr, "key"), EINVAL);
    expect_unchanged(EINVAL, [&] { return map_erase(&map, nullptr); });
}

TEST_F(MapErase, RefusesAReleasedMap)
{
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return map_erase(&map, "key"); });
}

TEST_F(MapErase, FindsAnySpellingInACaseInsensitiveMap)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(insert(map, "Key", "value"), 0);
    EXPECT_EQ(map_erase(&map, "kEY"), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MapErase, TakesTheKeyTextOfTheEntryThatGoes)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_erase(&map, map_get_entry(&map, "key")->key), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MapErase, AllocatesNothing)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    allocations::Log log;
    EXPECT_EQ(map_erase(&map, "key"), 0);
    EXPECT_TRUE(log.sizes().empty());
}

class MapIndex : public MapTest {
  protected:
    const void *value = "untouched";
    uint32_t length = 77;
};

TEST_F(MapIndex, PointsIntoTheMap)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(map_index(&map, "key", &value, &length), 0);
    EXPECT_EQ(value, map_get_entry(&map, "key")->value);
    EXPECT_EQ(length, 5U);
}

TEST_F(MapIndex, TakesNullForEitherOutput)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_index(&map, "key", nullptr, nullptr), 0);
    EXPECT_EQ(map_index(&map, "key", &value, nullptr), 0);
    EXPECT_EQ(map_index(&map, "key", nullptr, &length), 0);
    EXPECT_EQ(length, 5U);
    EXPECT_EQ(map_index(&map, "missing", nullptr, nullptr), ENOENT);
}

TEST_F(MapIndex, ClearsTheOutputsForAMissingKey)
{
    EXPECT_EQ(map_index(&map, "key", &value, &length), ENOENT);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(length, 0U);
}

TEST_F(MapIndex, RefusesNullsAndLeavesTheOutputs)
{
    const void *const before = value;
    EXPECT_EQ(map_index(nullptr, "key", &value, &length), EINVAL);
    EXPECT_EQ(map_index(&map, nullptr, &value, &length), EINVAL);
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_index(&map, "key", &value, &length), EINVAL);
    EXPECT_EQ(value, before);
    EXPECT_EQ(length, 77U);
}

TEST_F(MapIndex, GivesPointersThatLastWhileOtherKeysComeAndGo)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(map_index(&map, "key", &value, &length), 0);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), "v"), 0);
    }
    for (int i = 0; i < 100; i += 2) {
        ASSERT_EQ(map_erase(&map, std::to_string(i).c_str()), 0);
    }
    EXPECT_EQ(std::memcmp(value, "value", 5), 0);
    EXPECT_EQ(map_get_entry(&map, "key")->value, value);
}

class MapHaskey : public MapTest {};

TEST_F(MapHaskey, TellsWhetherTheKeyIsThere)
{
    EXPECT_EQ(map_haskey(&map, "key"), 0);
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_haskey(&map, "key"), 1);
    EXPECT_EQ(map_haskey(&map, "KEY"), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map_haskey(&map, "KEY"), 1);
}

TEST_F(MapHaskey, DoesNotLookAtTheKeyInAnEmptyMap)
{
    ASSERT_EQ(map_sethashfunc(&map,
                              [](const void *, const char *) {
                                  ADD_FAILURE();
                                  return 0U;
                              }),
              0);
    EXPECT_EQ(map_haskey(&map, "key"), 0);
}

TEST_F(MapHaskey, IsFalseForNullsAndReleasedMaps)
{
    EXPECT_EQ(map_haskey(nullptr, "key"), 0);
    EXPECT_EQ(map_haskey(&map, nullptr), 0);
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_haskey(&map, nullptr), 0);
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_haskey(&map, "key"), 0);
}

class MapGetEntry : public MapTest {};

TEST_F(MapGetEntry, GivesTheEntryOfTheKey)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    const map_entry_t *entry = map_get_entry(&map, "key");
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->key, "key");
    EXPECT_EQ(entry->valuesz, 5U);
    EXPECT_EQ(_map_entry(&map, "key"), entry);
    EXPECT_EQ(map_get_entry(&map, "other"), nullptr);
    EXPECT_EQ(_map_entry(&map, "other"), nullptr);
}

TEST_F(MapGetEntry, IsNoneForNullsAndReleasedMaps)
{
    EXPECT_EQ(map_get_entry(nullptr, "key"), nullptr);
    EXPECT_EQ(map_get_entry(&map, nullptr), nullptr);
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_get_entry(&map, "key"), nullptr);
}

TEST_F(MapGetEntry, TakesTheFirstOfItsBucketThatComparesEqual)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (const char *key : {"one", "two", "three"}) {
        ASSERT_EQ(insert(map, key, key), 0);
    }
    for (const char *key : {"one", "two", "three"}) {
        EXPECT_STREQ(map_get_entry(&map, key)->key, key);
    }
}

class MapClear : public MapTest {};

TEST_F(MapClear, RemovesEveryEntryAndKeepsTheSettings)
{
    ASSERT_EQ(map_sethashsize(&map, 8), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 100), 0);
    MapState before = state_of(map);
    const std::size_t live = allocations::live();
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(insert(map, std::string(static_cast<std::size_t>(i), 'k').c_str(), "v"), 0);
    }
    EXPECT_EQ(map_clear(&map), 0);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MapClear, OfAnEmptyMapDoesNothing)
{
    expect_unchanged(0, [&] { return map_clear(&map); });
}

TEST_F(MapClear, RefusesNullAndReleasedMaps)
{
    EXPECT_EQ(map_clear(nullptr), EINVAL);
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return map_clear(&map); });
}

TEST_F(MapClear, LeavesAMapThatCanBeFilledAgain)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(map_clear(&map), 0);
    EXPECT_EQ(insert(map, "key", "again"), 0);
    EXPECT_EQ(value_of(map, "key"), "again");
}

class MapDestroy : public MapTest {};

TEST_F(MapDestroy, ReleasesTheRecordAndKeepsLimitAndCasekeys)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 9), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map.buckets, nullptr);
    EXPECT_EQ(map.hashsize, 0U);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.maxkeys, 9);
    EXPECT_EQ(map.casekeys, 1U);
}

TEST_F(MapDestroy, FreesEntriesAndBuckets)
{
    map_t other;
    const std::size_t live = allocations::live();
    ASSERT_EQ(map_init(&other), 0);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(insert(other, std::to_string(i).c_str(), "v"), 0);
    }
    EXPECT_EQ(allocations::live(), live + 101);
    EXPECT_EQ(map_destroy(&other), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MapDestroy, MayBeCalledTwice)
{
    EXPECT_EQ(map_destroy(&map), 0);
    expect_unchanged(0, [&] { return map_destroy(&map); });
}

TEST_F(MapDestroy, RefusesNull)
{
    EXPECT_EQ(map_destroy(nullptr), EINVAL);
}

TEST_F(MapDestroy, MayBeFollowedByInit)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_destroy(&map), 0);
    ASSERT_EQ(map_init(&map), 0);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(insert(map, "key", "value"), 0);
}
