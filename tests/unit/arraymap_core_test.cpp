#include "arraymap_fixture.hpp"
#include "recorded_hashing.hpp"

#include "arraymap_internal.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>

#include <strings.h>

using Values = std::vector<std::string>;
using Content = std::vector<KeyValues>;
using Sizes = std::vector<std::size_t>;
using Indexes = std::vector<uint32_t>;

namespace {

int replace(arraymap_t &map, const char *key, uint32_t index, std::string_view value)
{
    return arraymap_replace(&map, key, index, value.data(), static_cast<uint32_t>(value.size()));
}

// The record of an arraymap that has just been made, but for its buckets.
const arraymap_t no_buckets{-1, -1, 0, 0, 0, 0, nullptr, nullptr};

} // namespace

// An arraymap of a given number of buckets.
class ArraymapInitSpecial : public ArraymapTest {
  protected:
    // A key for each number up to 200, which is its hash.
    void fill_numbers()
    {
        ASSERT_EQ(arraymap_sethashfunc(&map,
                                       [](const void *, const char *key) {
                                           return static_cast<uint32_t>(std::atoi(key));
                                       }),
                  0);
        for (int number = 0; number < 200; ++number) {
            const std::string key = std::to_string(number);
            fill(map, {{key, {key, key}}});
        }
    }
};

TEST_F(ArraymapInitSpecial, TakesAnySizeAsItIs)
{
    for (const uint32_t hashsize : {1U, 2U, 3U, 31U, 32U, 33U, 48U, 64U, 1000U, 4096U}) {
        SCOPED_TRACE(hashsize);
        restart(map, hashsize);
        EXPECT_EQ(map.maxkeys, -1);
        EXPECT_EQ(map.maxvalues, -1);
        EXPECT_EQ(map.numkeys, 0);
        EXPECT_EQ(map.numvalues, 0);
        EXPECT_EQ(map.casekeys, 0U);
        EXPECT_EQ(map.hashsize, hashsize);
        EXPECT_EQ(map.hashfunc, nullptr);
        ASSERT_NE(map.buckets, nullptr);
        for (uint32_t i = 0; i < hashsize; ++i) {
            EXPECT_EQ(map.buckets[i].first, nullptr);
            EXPECT_EQ(map.buckets[i].last, &map.buckets[i].first);
        }
    }
}

TEST_F(ArraymapInitSpecial, RefusesNull)
{
    for (const uint32_t hashsize : {0U, 1U, 48U, UINT32_MAX}) {
        EXPECT_EQ(arraymap_init_special(nullptr, hashsize), EINVAL);
    }
}

TEST_F(ArraymapInitSpecial, TakesNoNoticeOfWhatTheRecordHeld)
{
    arraymap_t other;
    std::memset(&other, 0xA5, sizeof other);
    EXPECT_EQ(arraymap_init_special(&other, 64), 0);
    ArraymapState expected(no_buckets);
    expected.buckets = other.buckets;
    expected.hashsize = 64;
    expected.chains.resize(64);
    EXPECT_EQ(state_of(other), expected);
    EXPECT_EQ(arraymap_destroy(&other), 0);
}

TEST_F(ArraymapInitSpecial, LeavesAReleasedRecordWithoutMemoryAndMayBeCalledAgain)
{
    arraymap_t other;
    std::memset(&other, 0xA5, sizeof other);
    {
        allocations::Failure failure(0);
        EXPECT_EQ(arraymap_init_special(&other, 64), ENOMEM);
    }
    EXPECT_EQ(state_of(other), ArraymapState(no_buckets));
    EXPECT_EQ(insert(other, "key", "value"), EINVAL);
    EXPECT_EQ(arraymap_destroy(&other), EINVAL);
    ASSERT_EQ(arraymap_init_special(&other, 64), 0);
    EXPECT_EQ(insert(other, "key", "value"), 0);
    EXPECT_EQ(arraymap_destroy(&other), 0);
}

TEST_F(ArraymapInitSpecial, AllocatesAsManyBuckets)
{
    for (const uint32_t hashsize : {1U, 3U, 48U, 64U, 1024U}) {
        SCOPED_TRACE(hashsize);
        arraymap_t other;
        allocations::Log log;
        EXPECT_EQ(arraymap_init_special(&other, hashsize), 0);
        EXPECT_EQ(log.sizes(), Sizes{hashsize * sizeof(map_bucket_t)});
        EXPECT_EQ(arraymap_destroy(&other), 0);
    }
}

TEST_F(ArraymapInitSpecial, Of1KeepsEveryKeyInOneBucket)
{
    restart(map, 1);
    const Content content{{"c", {"1", "1"}}, {"a", {"2"}}, {"", {"3"}}, {"\377", {"4"}}};
    fill(map, content);
    EXPECT_EQ(numbered_content_of(map), content);
    EXPECT_EQ(arraymap_erase(&map, "a"), 0);
    EXPECT_EQ(values_of(map, "\377"), Values{"4"});
}

TEST_F(ArraymapInitSpecial, Of48UsesTheBucketsThatTheMask47Leaves)
{
    restart(map, 48);
    fill_numbers();
    const ArraymapState state = state_of(map);
    ASSERT_EQ(state.chains.size(), 48U);
    for (uint32_t i = 0; i < 48; ++i) {
        EXPECT_EQ(state.chains[i].empty(), (i & 16) != 0) << i;
    }
    for (uint32_t number = 0; number < 200; ++number) {
        const std::string key = std::to_string(number);
        EXPECT_EQ(_arraymap_hashlist(&map, key.c_str()), &map.buckets[number & 47]);
    }
}

TEST_F(ArraymapInitSpecial, OfNoPowerOfTwoWorksAsAnyOther)
{
    for (const uint32_t hashsize : {3U, 6U, 48U, 100U}) {
        SCOPED_TRACE(hashsize);
        restart(map, hashsize);
        fill_numbers();
        for (int number = 0; number < 200; ++number) {
            const std::string key = std::to_string(number);
            EXPECT_EQ(arraymap_haskey(&map, key.c_str()), 1);
            EXPECT_EQ(values_of(map, key.c_str()), (Values{key, key}));
            EXPECT_EQ(arraymap_replace(&map, key.c_str(), 1, "new", 3), 0);
            EXPECT_EQ(delete_value(map, key.c_str(), key), 0);
            EXPECT_EQ(values_of(map, key.c_str()), Values{"new"});
        }
        for (int number = 0; number < 200; number += 2) {
            EXPECT_EQ(arraymap_remove(&map, std::to_string(number).c_str(), 0), 0);
        }
        EXPECT_EQ(map.numkeys, 100);
        state_of(map);
        EXPECT_EQ(arraymap_clear(&map), 0);
        EXPECT_EQ(map.hashsize, hashsize);
    }
}

TEST_F(ArraymapInitSpecial, OfNoPowerOfTwoMayBeGivenAnotherSize)
{
    restart(map, 48);
    fill_numbers();
    ASSERT_EQ(arraymap_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(values_of(map, "199"), (Values{"199", "199"}));
    EXPECT_EQ(map.numkeys, 200);
}

TEST_F(ArraymapInitSpecial, OfNoPowerOfTwoIsCopiedOnlyIntoAsManyBuckets)
{
    restart(map, 48);
    fill_numbers();
    Arraymap dst;
    expect_unchanged(EINVAL, [&] { return arraymap_copy(&map, &dst); });
    arraymap_t same;
    ASSERT_EQ(arraymap_init_special(&same, 48), 0);
    EXPECT_EQ(arraymap_copy(&map, &same), 0);
    EXPECT_EQ(arraymap_isequal(&map, &same), 1);
    EXPECT_EQ(arraymap_destroy(&same), 0);
}

// One bucket more than the bits of the hash that a node may keep can tell.
TEST_F(ArraymapInitSpecial, OfAMillionAndOneHoldsWhatIsMergedIntoIt)
{
    for (int number = 0; number < 100; ++number) {
        fill(map, {{"key number " + std::to_string(number), {"value"}}});
    }
    arraymap_t large;
    ASSERT_EQ(arraymap_init_special(&large, (1U << 20) + 1), 0);
    ASSERT_EQ(arraymap_merge(&map, &large), 0);
    for (int number = 0; number < 100; ++number) {
        EXPECT_EQ(values_of(large, ("key number " + std::to_string(number)).c_str()),
                  Values{"value"});
    }
    EXPECT_EQ(arraymap_destroy(&large), 0);
}

TEST_F(ArraymapInitSpecial, OfTheGreatestSizeFailsWithoutMemory)
{
    if (sizeof(std::size_t) == 4) {
        GTEST_SKIP() << "the buckets do not fit the address space";
    }
    for (const uint32_t hashsize : {0x10000000U, 0x40000000U, UINT32_MAX}) {
        SCOPED_TRACE(hashsize);
        arraymap_t other;
        std::memset(&other, 0xA5, sizeof other);
        allocations::Log log;
        allocations::Failure failure(0);
        EXPECT_EQ(arraymap_init_special(&other, hashsize), ENOMEM);
        EXPECT_EQ(log.sizes(), Sizes{hashsize * sizeof(map_bucket_t)});
        EXPECT_EQ(state_of(other), ArraymapState(no_buckets));
    }
}

TEST_F(ArraymapInitSpecial, RefusesASizeThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "every number of buckets fits";
    }
    const auto most = static_cast<uint32_t>(SIZE_MAX / sizeof(map_bucket_t));
    for (const uint32_t hashsize : {most + 1, most + 2, 0x40000000U, 0x80000001U, UINT32_MAX}) {
        SCOPED_TRACE(hashsize);
        arraymap_t other;
        std::memset(&other, 0xA5, sizeof other);
        allocations::Log log;
        EXPECT_EQ(arraymap_init_special(&other, hashsize), ENOMEM);
        EXPECT_EQ(log.sizes(), Sizes{});
        EXPECT_EQ(state_of(other), ArraymapState(no_buckets));
    }
}

TEST_F(ArraymapInitSpecial, Of0AllocatesNothingAndSucceeds)
{
    arraymap_t other;
    std::memset(&other, 0xA5, sizeof other);
    allocations::Log log;
    allocations::Failure failure(0);
    EXPECT_EQ(arraymap_init_special(&other, 0), 0);
    EXPECT_EQ(log.sizes(), Sizes{});
    EXPECT_EQ(state_of(other), ArraymapState(no_buckets));
}

// A record without buckets, which is as good as one that was released: every call of the family.
class ArraymapWithoutBuckets : public ArraymapTest, public testing::WithParamInterface<bool> {
  protected:
    ArraymapWithoutBuckets()
    {
        EXPECT_EQ(arraymap_destroy(&map), 0);
        if (GetParam()) {
            EXPECT_EQ(arraymap_init_special(&map, 0), 0);
        }
        fill(*full, {{"key", {"1", "1", "2"}}});
    }

    template <class Type>
    void expect_refused(const char *name, int (*insert)(arraymap_t *, const char *, Type),
                        int (*replace)(arraymap_t *, const char *, uint32_t, Type),
                        int (*remove)(arraymap_t *, const char *, Type), Type value)
    {
        SCOPED_TRACE(name);
        expect_unchanged(EINVAL, [&] { return insert(&map, "key", value); });
        expect_unchanged(EINVAL, [&] { return replace(&map, "key", 0, value); });
        expect_unchanged(EINVAL, [&] { return remove(&map, "key", value); });
    }

    template <class Type>
    void expect_refused(const char *name,
                        int (*get)(const arraymap_t *, const char *, uint32_t, Type *))
    {
        SCOPED_TRACE(name);
        Type out{};
        expect_unchanged(EINVAL, [&] { return get(&map, "key", 0, &out); });
    }

    Arraymap full;
    Arraymap empty;
};

INSTANTIATE_TEST_SUITE_P(Arraymap, ArraymapWithoutBuckets, testing::Bool(),
                         [](const auto &made) { return made.param ? "Of0Buckets"s : "Released"s; });

TEST_P(ArraymapWithoutBuckets, HasTheFieldsOfAReleasedRecord)
{
    EXPECT_EQ(state_of(map), ArraymapState(no_buckets));
}

TEST_P(ArraymapWithoutBuckets, RefusesTheCallsThatTakeAKey)
{
    for (const char *key : {"key", static_cast<const char *>(nullptr)}) {
        expect_unchanged(EINVAL, [&] { return arraymap_insert(&map, key, "value", 5); });
        expect_unchanged(EINVAL, [&] { return arraymap_replace(&map, key, 0, "value", 5); });
        expect_unchanged(EINVAL, [&] { return arraymap_delete(&map, key, "value", 5); });
        expect_unchanged(EINVAL, [&] { return arraymap_remove(&map, key, 0); });
        expect_unchanged(EINVAL, [&] { return arraymap_erase(&map, key); });
        expect_unchanged(EINVAL, [&] { return arraymap_index(&map, key, 0, nullptr, nullptr); });
    }
    expect_unchanged(EINVAL, [&] { return arraymap_replace(&map, "key", 0, nullptr, 5); });
    const void *data = "untouched";
    const void *const before = data;
    uint32_t len = 77;
    expect_unchanged(EINVAL, [&] { return arraymap_index(&map, "key", 0, &data, &len); });
    EXPECT_EQ(data, before);
    EXPECT_EQ(len, 77U);
    expect_unchanged(0, [&] { return arraymap_haskey(&map, "key"); });
}

TEST_P(ArraymapWithoutBuckets, RefusesToBeClearedOrDestroyed)
{
    expect_unchanged(EINVAL, [&] { return arraymap_clear(&map); });
    expect_unchanged(EINVAL, [&] { return arraymap_destroy(&map); });
}

TEST_P(ArraymapWithoutBuckets, IteratesOverNothing)
{
    arraymap_key_iter_t keys{&*full, 7, nullptr};
    EXPECT_EQ(arraymap_key_first(&map, &keys), nullptr);
    EXPECT_EQ(keys.map, &*full);
    EXPECT_EQ(keys.bucket, 7U);
    EXPECT_EQ(keys.node, nullptr);
    EXPECT_EQ(arraymap_key_elem(&keys), nullptr);
    EXPECT_EQ(arraymap_key_next(&keys), nullptr);
    arraymap_value_iter_t values{&*full, 7, nullptr, nullptr};
    EXPECT_EQ(arraymap_value_first(&map, "key", &values), nullptr);
    EXPECT_EQ(values.map, &*full);
    EXPECT_EQ(values.position, 7U);
    EXPECT_EQ(values.key, nullptr);
    EXPECT_EQ(values.node, nullptr);
    EXPECT_EQ(arraymap_value_elem(&values), nullptr);
    EXPECT_EQ(arraymap_value_next(&values), nullptr);
    EXPECT_EQ(arraymap_value_size(&values), 0U);
    EXPECT_EQ(arraymap_value_index(&values), 0U);
    EXPECT_EQ(arraymap_value_count(&values), 0U);
}

TEST_P(ArraymapWithoutBuckets, HasNoKeys)
{
    EXPECT_EQ(arraymap_isempty(&map), 1);
    uint32_t count = 77;
    expect_unchanged(0, [&] { return arraymap_key_count(&map, &count); });
    EXPECT_EQ(count, 0U);
    for (const int ordinal : {INT_MIN, -1, 0, 1, INT_MAX}) {
        EXPECT_EQ(arraymap_key_name(&map, ordinal), nullptr);
    }
}

TEST_P(ArraymapWithoutBuckets, PrintsAsEmpty)
{
    EXPECT_EQ(written([&](FILE *stream) { arraymap_print(&map, print_to_file, stream); }),
              "map is empty\n");
    EXPECT_EQ(written([&](FILE *stream) { arraymap_dump(&map, stream); }), "map is empty\n");
    char buffer[32];
    EXPECT_EQ(arraymap_sndump(&map, buffer, sizeof buffer), 13U);
    EXPECT_STREQ(buffer, "map is empty\n");
}

TEST_P(ArraymapWithoutBuckets, TakesSettings)
{
    EXPECT_EQ(arraymap_setmaxkeys(&map, 0), 0);
    EXPECT_EQ(arraymap_setmaxkeys(&map, 5), 0);
    EXPECT_EQ(arraymap_setmaxvalues(&map, 6), 0);
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map.maxkeys, 5);
    EXPECT_EQ(map.maxvalues, 6);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 0); });
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 48); });
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return arraymap_sethashsize(&map, 32);
    });
    EXPECT_EQ(arraymap_haskey(&map, "key"), 0);
}

TEST_P(ArraymapWithoutBuckets, IsEqualToAnEmptyArraymapAlone)
{
    EXPECT_EQ(arraymap_isequal(&map, &map), 1);
    EXPECT_EQ(arraymap_isequal(&map, &empty), 1);
    EXPECT_EQ(arraymap_isequal(&empty, &map), 1);
    EXPECT_EQ(arraymap_isequal(&map, &full), 0);
    EXPECT_EQ(arraymap_isequal(&full, &map), 0);
    EXPECT_EQ(arraymap_isequal(&map, nullptr), 0);
    EXPECT_EQ(arraymap_isequal(nullptr, &map), 0);
}

TEST_P(ArraymapWithoutBuckets, GivesNothingToAnother)
{
    const Content content = content_of(*full);
    Arraymap dst;
    expect_unchanged(0, [&] { return arraymap_intersection(&map, &full, &dst); });
    EXPECT_EQ(content_of(*dst), Content{});
    expect_unchanged(0, [&] { return arraymap_intersection(&full, &map, &dst); });
    EXPECT_EQ(content_of(*dst), Content{});
    expect_unchanged(0, [&] { return arraymap_intersection(&map, &map, &dst); });
    expect_unchanged(0, [&] { return arraymap_merge(&map, &full); });
    EXPECT_EQ(content_of(*full), content);
    expect_unchanged(0, [&] { return arraymap_union(&map, &map, &dst); });
    EXPECT_EQ(content_of(*dst), Content{});
}

TEST_P(ArraymapWithoutBuckets, IsAnEmptySecondSourceOfAUnion)
{
    Arraymap dst;
    EXPECT_EQ(arraymap_union(&full, &map, &dst), 0);
    EXPECT_EQ(content_of(*dst), content_of(*full));
}

TEST_P(ArraymapWithoutBuckets, LeavesNoBucketToVisitAsTheFirstSourceOfAUnion)
{
    Arraymap dst;
    fill(*dst, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&map, &full, &dst), 0);
    EXPECT_EQ(content_of(*dst), Content{});
}

TEST_P(ArraymapWithoutBuckets, CannotBeADestination)
{
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(&full, &empty, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(&full, &empty, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(&empty, &empty, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&full, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&map, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_copy(&full, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_copy(&empty, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_copy(&map, &map); });
    expect_unchanged(0, [&] { return arraymap_merge(&empty, &map); });
}

TEST_P(ArraymapWithoutBuckets, CannotBeCopiedAndEmptiesTheDestination)
{
    const ArraymapState before = state_of(map);
    EXPECT_EQ(arraymap_copy(&map, &full), EINVAL);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(content_of(*full), Content{});
    EXPECT_EQ(full->hashsize, 32U);
}

TEST_P(ArraymapWithoutBuckets, RefusesTypedValues)
{
    expect_refused<uint64_t>("uint64", arraymap_insert_uint64, arraymap_replace_uint64,
                             arraymap_delete_uint64, 1);
    expect_refused<int64_t>("int64", arraymap_insert_int64, arraymap_replace_int64,
                            arraymap_delete_int64, 1);
    expect_refused<uint32_t>("uint32", arraymap_insert_uint32, arraymap_replace_uint32,
                             arraymap_delete_uint32, 1);
    expect_refused<int32_t>("int32", arraymap_insert_int32, arraymap_replace_int32,
                            arraymap_delete_int32, 1);
    expect_refused<int32_t>("time", arraymap_insert_time, arraymap_replace_time,
                            arraymap_delete_time, 1);
    expect_refused<unsigned int>("uint16", arraymap_insert_uint16, arraymap_replace_uint16,
                                 arraymap_delete_uint16, 1);
    expect_refused<int>("int16", arraymap_insert_int16, arraymap_replace_int16,
                        arraymap_delete_int16, 1);
    expect_refused<unsigned int>("uint8", arraymap_insert_uint8, arraymap_replace_uint8,
                                 arraymap_delete_uint8, 1);
    expect_refused<int>("int8", arraymap_insert_int8, arraymap_replace_int8, arraymap_delete_int8,
                        1);
    expect_refused<unsigned int>("bool", arraymap_insert_bool, arraymap_replace_bool,
                                 arraymap_delete_bool, 1);
    expect_refused<unsigned int>("uint", arraymap_insert_uint, arraymap_replace_uint,
                                 arraymap_delete_uint, 1);
    expect_refused<int>("int", arraymap_insert_int, arraymap_replace_int, arraymap_delete_int, 1);
    expect_refused<unsigned int>("uchar", arraymap_insert_uchar, arraymap_replace_uchar,
                                 arraymap_delete_uchar, 1);
    expect_refused<int>("char", arraymap_insert_char, arraymap_replace_char, arraymap_delete_char,
                        1);
    expect_refused<const char *>("str", arraymap_insert_str, arraymap_replace_str,
                                 arraymap_delete_str, "text");
    const macaddr_t macaddr{{1, 2, 3, 4, 5, 6}};
    expect_refused<const macaddr_t *>("macaddr", arraymap_insert_macaddr, arraymap_replace_macaddr,
                                      arraymap_delete_macaddr, &macaddr);
    const ipaddr_t ipaddr{4, {10, 0, 0, 1}};
    expect_refused<const ipaddr_t *>("ipaddr", arraymap_insert_ipaddr, arraymap_replace_ipaddr,
                                     arraymap_delete_ipaddr, &ipaddr);
    const cidr_t cidr{ipaddr, 24};
    expect_refused<const cidr_t *>("cidr", arraymap_insert_cidr, arraymap_replace_cidr,
                                   arraymap_delete_cidr, &cidr);
    expect_unchanged(EINVAL, [&] { return arraymap_insert_fmt(&map, "key", "%d", 1); });
    expect_unchanged(EINVAL, [&] { return arraymap_replace_fmt(&map, "key", 0, "%d", 1); });
    expect_unchanged(EINVAL, [&] { return arraymap_delete_fmt(&map, "key", "%d", 1); });
}

TEST_P(ArraymapWithoutBuckets, GivesNoTypedValue)
{
    expect_refused("uint64", arraymap_get_uint64);
    expect_refused("int64", arraymap_get_int64);
    expect_refused("uint32", arraymap_get_uint32);
    expect_refused("int32", arraymap_get_int32);
    expect_refused("time", arraymap_get_time);
    expect_refused("uint16", arraymap_get_uint16);
    expect_refused("int16", arraymap_get_int16);
    expect_refused("uint8", arraymap_get_uint8);
    expect_refused("int8", arraymap_get_int8);
    expect_refused("bool", arraymap_get_bool);
    expect_refused("uint", arraymap_get_uint);
    expect_refused("int", arraymap_get_int);
    expect_refused("uchar", arraymap_get_uchar);
    expect_refused("char", arraymap_get_char);
    expect_refused("macaddr", arraymap_get_macaddr);
    expect_refused("ipaddr", arraymap_get_ipaddr);
    expect_refused("cidr", arraymap_get_cidr);
    expect_refused("dup_str", arraymap_dup_str);
    char buffer[] = "untouched";
    expect_unchanged(EINVAL,
                     [&] { return arraymap_copy_str(&map, "key", 0, buffer, sizeof buffer); });
    EXPECT_STREQ(buffer, "untouched");
}

TEST_P(ArraymapWithoutBuckets, ComesToLifeWithANumberOfBuckets)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 8), 0);
    EXPECT_EQ(map.hashsize, 8U);
    fill(map, {{"key", {"1", "1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"1", "1"}}}));
}

TEST_P(ArraymapWithoutBuckets, ComesToLifeWithAnotherInitialisation)
{
    ASSERT_EQ(arraymap_init_special(&map, 0), 0);
    ASSERT_EQ(arraymap_init(&map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    fill(map, {{"key", {"1", "1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"1", "1"}}}));
}

class ArraymapInsert : public ArraymapTest {};

TEST_F(ArraymapInsert, KeepsAValueThatTheKeyHoldsAlready)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"value", "value"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1}));
    EXPECT_NE(stored_text(map, "key", 0), stored_text(map, "key", 1));
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 2);
}

TEST_F(ArraymapInsert, KeepsEqualValuesInOrderAmongOthers)
{
    const Values values{"a", "b", "a", "a", "", every_byte(), "b", "c", "", every_byte(), "a"};
    fill(map, {{"key", values}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", values}}));
}

TEST_F(ArraymapInsert, AllocatesForAValueThatIsThereAlready)
{
    fill(map, {{"key", {"value"}}});
    allocations::Log log;
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(log.sizes(), Sizes{sizeof(arraymap_value_t) + 5});
}

TEST_F(ArraymapInsert, NumbersTheValuesOfEachKeyFrom0)
{
    for (int round = 0; round < 4; ++round) {
        fill(map, {{"a", {"x"}}, {"b", {"x", "y"}}});
    }
    EXPECT_EQ(indexes_of(map, "a"), (Indexes{0, 1, 2, 3}));
    EXPECT_EQ(indexes_of(map, "b"), (Indexes{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(ArraymapInsert, GivesTheNextIndexAfterEachOtherCall)
{
    fill(map, {{"key", {"a", "b", "b", "c", "d", "e"}}});
    ASSERT_EQ(arraymap_remove(&map, "key", 0), 0);
    ASSERT_EQ(insert(map, "key", "f"), 0);
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2, 3, 4, 5}));
    ASSERT_EQ(delete_value(map, "key", "b"), 0);
    ASSERT_EQ(insert(map, "key", "g"), 0);
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2, 3, 4}));
    ASSERT_EQ(replace(map, "key", 4, "h"), 0);
    ASSERT_EQ(insert(map, "key", "i"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"c", "d", "e", "f", "h", "i"}}}));
    ASSERT_EQ(arraymap_erase(&map, "key"), 0);
    ASSERT_EQ(insert(map, "key", "j"), 0);
    EXPECT_EQ(indexes_of(map, "key"), Indexes{0});
}

class ArraymapKeyLimit : public ArraymapTest {};

TEST_F(ArraymapKeyLimit, ThatIsReachedStillTakesEqualValues)
{
    fill(map, {{"a", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1", "1"}}}));
}

TEST_F(ArraymapKeyLimit, ThatIsReachedLetsValuesBeReplaced)
{
    fill(map, {{"a", {"1", "2"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(replace(map, "a", 1, "3"), 0);
    expect_unchanged(ENOENT, [&] { return replace(map, "b", 0, "1"); });
}

class ArraymapReplace : public ArraymapTest {};

TEST_F(ArraymapReplace, SetsTheValueInItsPlace)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values expected{"a", "b", "c"};
        fill(map, {{"key", expected}, {"other", {"a", "b"}}});
        expected[index] = "new";
        EXPECT_EQ(replace(map, "key", index, "new"), 0);
        EXPECT_EQ(values_of(map, "key"), expected);
        EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
        EXPECT_EQ(values_of(map, "other"), (Values{"a", "b"}));
        EXPECT_EQ(map.numkeys, 2);
        EXPECT_EQ(map.numvalues, 5);
        EXPECT_EQ(_arraymap_entry(&map, "key")->count, 3U);
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapReplace, LeavesTheTailFitForAnAppend)
{
    for (const std::size_t count : {1U, 2U, 3U}) {
        for (uint32_t index = 0; index < count; ++index) {
            SCOPED_TRACE(std::to_string(index) + " of " + std::to_string(count));
            Values expected(count, "old");
            fill(map, {{"key", expected}});
            expected[index] = "new";
            ASSERT_EQ(replace(map, "key", index, "new"), 0);
            EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
            expected.push_back("appended");
            ASSERT_EQ(insert(map, "key", "appended"), 0);
            EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

TEST_F(ArraymapReplace, TakesAnyLength)
{
    const Values values{
        "", "x", "four", "eight888", std::string(1000, 'l'), std::string(100000, 'm')};
    for (const std::string &old : values) {
        for (const std::string &value : values) {
            SCOPED_TRACE(std::to_string(old.size()) + " to " + std::to_string(value.size()));
            fill(map, {{"key", {"before", old, "after"}}});
            EXPECT_EQ(replace(map, "key", 1, value), 0);
            EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"before", value, "after"}}}));
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

TEST_F(ArraymapReplace, StoresACopyOfEveryByte)
{
    std::string bytes = every_byte();
    fill(map, {{"key", {"a"}}});
    ASSERT_EQ(replace(map, "key", 0, bytes), 0);
    bytes.assign(256, 'X');
    EXPECT_EQ(values_of(map, "key"), Values{every_byte()});
}

TEST_F(ArraymapReplace, LaysTheBytesRightBehindTheNewNode)
{
    for (const auto &value : {"va\0ue"s, "longer than the old one"s, "s"s, ""s}) {
        fill(map, {{"key", {"a", "value"}}});
        ASSERT_EQ(replace(map, "key", 1, value), 0);
        const arraymap_value_t *node = _arraymap_entry(&map, "key")->values.first->next;
        EXPECT_EQ(node->data, node + 1);
        EXPECT_EQ(node->len, value.size());
        EXPECT_EQ(node->index, 1U);
        EXPECT_EQ(std::memcmp(node + 1, value.data(), value.size()), 0);
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapReplace, AllocatesANewNodeAndFreesTheOld)
{
    fill(map, {{"key", {"a", "b"}}});
    const std::size_t live = allocations::live();
    allocations::Log log;
    for (const uint32_t len : {12U, 0U, 1U}) {
        ASSERT_EQ(arraymap_replace(&map, "key", 1, "twelve bytes", len), 0);
    }
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(arraymap_value_t) + 12, sizeof(arraymap_value_t),
                                  sizeof(arraymap_value_t) + 1}));
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapReplace, LeavesEveryOtherNodeAlone)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1", "2"}}, {"key", {"a", "b", "c"}}, {"z", {"1"}}});
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        ArraymapState expected = state_of(map);
        ASSERT_EQ(replace(map, "key", index, "new"), 0);
        const ArraymapState after = state_of(map);
        auto &value = expected.chains[0][1].values[index];
        EXPECT_NE(after.chains[0][1].values[index].address, value.address);
        value = {after.chains[0][1].values[index].address, "new", index};
        EXPECT_EQ(after, expected);
    }
}

TEST_F(ArraymapReplace, MayRepeatAValueOfTheKey)
{
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(replace(map, "key", 1, "a"), 0);
    EXPECT_EQ(replace(map, "key", 1, "a"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "a"}}}));
}

TEST_F(ArraymapReplace, SetsOneOfEqualValues)
{
    fill(map, {{"key", {"a", "a", "a"}}});
    EXPECT_EQ(replace(map, "key", 1, "b"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "b", "a"}}}));
}

TEST_F(ArraymapReplace, ReportsAnIndexBehindTheLastAndAddsNothing)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"a", "b", "c", "d"}}});
    allocations::Log log;
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        expect_unchanged(ENOENT, [&] { return replace(map, "key", index, "new"); });
    }
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(ArraymapReplace, ReportsAMissingKeyAndAddsNothing)
{
    expect_unchanged(ENOENT, [&] { return replace(map, "key", 0, "new"); });
    fill(map, {{"key", {"a"}}});
    allocations::Log log;
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return replace(map, key, 0, "new"); });
    }
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(ArraymapReplace, TakesTheEmptyKey)
{
    fill(map, {{"", {"1", "2", "1"}}});
    EXPECT_EQ(replace(map, "", 1, "3"), 0);
    EXPECT_EQ(delete_value(map, "", "1"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"", {"3"}}}));
}

TEST_F(ArraymapReplace, RefusesBadArgumentsAndChangesNothing)
{
    for (const Content &content : {Content{}, Content{{"key", {"value"}}}}) {
        fill(map, content);
        EXPECT_EQ(arraymap_replace(nullptr, "key", 0, "value", 5), EINVAL);
        EXPECT_EQ(arraymap_replace(nullptr, nullptr, 0, "value", 5), EINVAL);
        expect_unchanged(EINVAL, [&] { return arraymap_replace(&map, nullptr, 0, "value", 5); });
    }
    ASSERT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return replace(map, "key", 0, "value"); });
}

TEST_F(ArraymapReplace, HashesTheKeyOnceUnlessAnArgumentIsBad)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recorded<hash_all_to_zero>), 0);
    for (const Content &content : {Content{}, Content{{"key", {"a"}}}}) {
        SCOPED_TRACE(testing::PrintToString(content));
        fill(map, content);
        for (const uint32_t index : {0U, 5U}) {
            EXPECT_EQ(hashed_during([&] { replace(map, "key", index, "b"); }), Keys{"key"});
        }
        EXPECT_EQ(hashed_during(
                      [&] { EXPECT_EQ(arraymap_replace(&map, nullptr, 0, "value", 5), EINVAL); }),
                  Keys{});
    }
}

TEST_F(ArraymapReplace, LooksForKeyAndIndexBeforeMemory)
{
    fill(map, {{"key", {"a"}}});
    allocations::Failure failure(0);
    EXPECT_EQ(replace(map, "other", 0, "new"), ENOENT);
    EXPECT_EQ(replace(map, "key", 1, "new"), ENOENT);
    EXPECT_EQ(replace(map, "key", 0, "new"), ENOMEM);
}

TEST_F(ArraymapReplace, StoresAnEmptyValueForNullOfLength0)
{
    fill(map, {{"key", {"a", "b", "c"}}});
    EXPECT_EQ(arraymap_replace(&map, "key", 1, nullptr, 0), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "", "c"}}}));
    const void *data = nullptr;
    uint32_t len = 77;
    ASSERT_EQ(arraymap_index(&map, "key", 1, &data, &len), 0);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(len, 0U);
}

TEST_F(ArraymapReplace, RefusesNullOfALengthForAValueThatIsThere)
{
    fill(map, {{"key", {"a", "b"}}});
    allocations::Log log;
    for (const uint32_t len : {1U, 5U, UINT32_MAX}) {
        SCOPED_TRACE(len);
        expect_unchanged(EINVAL, [&] { return arraymap_replace(&map, "key", 1, nullptr, len); });
    }
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(ArraymapReplace, LooksForKeyAndIndexBeforeItRefusesNull)
{
    fill(map, {{"key", {"a"}}});
    for (const uint32_t len : {0U, 1U, UINT32_MAX}) {
        SCOPED_TRACE(len);
        expect_unchanged(ENOENT, [&] { return arraymap_replace(&map, "other", 0, nullptr, len); });
        expect_unchanged(ENOENT, [&] { return arraymap_replace(&map, "key", 1, nullptr, len); });
        expect_unchanged(EINVAL, [&] { return arraymap_replace(&map, nullptr, 0, nullptr, len); });
        EXPECT_EQ(arraymap_replace(nullptr, "key", 0, nullptr, len), EINVAL);
    }
}

TEST_F(ArraymapReplace, WithoutMemoryKeepsTheOldValue)
{
    fill(map, {{"key", {"a", "b", "c"}}});
    for (uint32_t index = 0; index < 3; ++index) {
        for (const char *value : {"", "x", "longer"}) {
            SCOPED_TRACE(std::to_string(index) + " " + value);
            expect_unchanged(ENOMEM, [&] {
                allocations::Failure failure(0);
                return replace(map, "key", index, value);
            });
        }
    }
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return arraymap_replace(&map, "key", 0, nullptr, 0);
    });
}

TEST_F(ArraymapReplace, AsksForTheFullSizeOfTheGreatestLength)
{
    if (sizeof(std::size_t) == 4) {
        GTEST_SKIP() << "node and bytes do not fit the address space";
    }
    fill(map, {{"key", {"v"}}});
    allocations::Log log;
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return arraymap_replace(&map, "key", 0, "v", UINT32_MAX);
    });
    EXPECT_EQ(log.sizes(), Sizes{sizeof(arraymap_value_t) + UINT32_MAX});
}

TEST_F(ArraymapReplace, RefusesALengthThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "a 32-bit length always fits";
    }
    fill(map, {{"key", {"v"}}});
    const uint32_t node = sizeof(arraymap_value_t);
    allocations::Log log;
    for (const uint32_t below : {0U, 1U, node - 2, node - 1}) {
        SCOPED_TRACE(below);
        expect_unchanged(ENOMEM,
                         [&] { return arraymap_replace(&map, "key", 0, "v", UINT32_MAX - below); });
    }
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(ArraymapReplace, KeepsPointersToTheOtherValues)
{
    fill(map, {{"key", {"a", "b", "c"}}});
    const char *first = stored_text(map, "key", 0);
    const char *last = stored_text(map, "key", 2);
    const char *key = stored_key(map, "key");
    ASSERT_EQ(replace(map, "key", 1, "new"), 0);
    EXPECT_EQ(stored_text(map, "key", 0), first);
    EXPECT_EQ(stored_text(map, "key", 2), last);
    EXPECT_EQ(stored_key(map, "key"), key);
}

TEST_F(ArraymapReplace, SetsValuesInAnyOrder)
{
    std::vector<uint32_t> order{0, 1, 2};
    do {
        Values expected{"a", "b", "c"};
        fill(map, {{"key", expected}});
        for (const uint32_t index : order) {
            SCOPED_TRACE(testing::PrintToString(order) + " at " + std::to_string(index));
            expected[index] += " and more";
            ASSERT_EQ(replace(map, "key", index, expected[index]), 0);
            expected.push_back("after " + expected[index]);
            ASSERT_EQ(insert(map, "key", expected.back()), 0);
            EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
        }
        ASSERT_EQ(arraymap_clear(&map), 0);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ArraymapReplace, LeavesAValueThatIsTakenOutLikeAnyOther)
{
    for (uint32_t replaced = 0; replaced < 3; ++replaced) {
        for (uint32_t removed = 0; removed < 3; ++removed) {
            SCOPED_TRACE(std::to_string(replaced) + " " + std::to_string(removed));
            Values expected{"a", "b", "c"};
            fill(map, {{"key", expected}});
            expected[replaced] = "new";
            ASSERT_EQ(replace(map, "key", replaced, "new"), 0);
            expected.erase(expected.begin() + removed);
            ASSERT_EQ(arraymap_remove(&map, "key", removed), 0);
            EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

class ArraymapDelete : public ArraymapTest {};

TEST_F(ArraymapDelete, RemovesEveryEqualValueWhereverItStands)
{
    for (unsigned int count = 1; count <= 5; ++count) {
        for (unsigned int equal = 1; equal < 1U << count; ++equal) {
            Values values;
            Values left;
            for (unsigned int i = 0; i < count; ++i) {
                const bool goes = (equal >> i & 1) != 0;
                values.push_back(goes ? "goes" : "stays " + std::to_string(i));
                if (!goes) {
                    left.push_back(values.back());
                }
            }
            SCOPED_TRACE(testing::PrintToString(values));
            fill(map, {{"before", {"goes"}}, {"key", values}, {"after", {"goes"}}});
            const std::size_t live = allocations::live();
            ASSERT_EQ(delete_value(map, "key", "goes"), 0);
            EXPECT_EQ(values_of(map, "key"), left);
            EXPECT_EQ(map.numvalues, static_cast<int>(2 + left.size()));
            EXPECT_EQ(map.numkeys, left.empty() ? 2 : 3);
            EXPECT_EQ(allocations::live(),
                      live - (values.size() - left.size()) - (left.empty() ? 1 : 0));
            numbered_content_of(map);
            left.push_back("appended");
            ASSERT_EQ(insert(map, "key", "appended"), 0);
            EXPECT_EQ(values_of(map, "key"), left);
            numbered_content_of(map);
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

TEST_F(ArraymapDelete, RenumbersTheValuesThatStay)
{
    fill(map, {{"key", {"x", "a", "x", "x", "b", "x", "c"}}});
    ASSERT_EQ(delete_value(map, "key", "x"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "b", "c"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapDelete, TakesTheKeyOutWithAllOfItsEqualValues)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"1", "1", "1"}}, {"z", {"1"}}});
    allocations::Log log;
    ASSERT_EQ(delete_value(map, "key", "1"), 0);
    EXPECT_EQ(log.sizes(), Sizes{});
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", "1"); });
}

TEST_F(ArraymapDelete, RemovesEveryEmptyValueWhateverThePointer)
{
    const char bytes[] = "ab";
    for (const char *data : {bytes, bytes + 1, bytes + sizeof bytes}) {
        fill(map, {{"key", {"", "a", "", ""}}});
        EXPECT_EQ(arraymap_delete(&map, "key", data, 0), 0);
        EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a"}}}));
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

class ArraymapRemove : public ArraymapTest {};

TEST_F(ArraymapRemove, RenumbersTheValuesThatStay)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values left{"a", "b", "c"};
        fill(map, {{"key", left}, {"other", {"x", "y", "z"}}});
        left.erase(left.begin() + index);
        ASSERT_EQ(arraymap_remove(&map, "key", index), 0);
        EXPECT_EQ(values_of(map, "key"), left);
        EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1}));
        EXPECT_EQ(indexes_of(map, "other"), (Indexes{0, 1, 2}));
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapRemove, TakesOneOfEqualValues)
{
    fill(map, {{"key", {"a", "b", "a", "a"}}});
    const char *first = stored_text(map, "key", 0);
    const char *last = stored_text(map, "key", 3);
    ASSERT_EQ(arraymap_remove(&map, "key", 2), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "b", "a"}}}));
    EXPECT_EQ(stored_text(map, "key", 0), first);
    EXPECT_EQ(stored_text(map, "key", 2), last);
}

// Lists whose indexes are not the positions: setcasekeys makes one key of several.
class ArraymapMergedKeys : public ArraymapTest {
  protected:
    void merge(const Content &content)
    {
        fill(map, content);
        ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
        ASSERT_EQ(map.numkeys, 1);
    }
};

TEST_F(ArraymapMergedKeys, RepeatIndexes)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}, {"key", {"e"}}});
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "b", "c", "d", "e"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 1, 0}));
}

TEST_F(ArraymapMergedKeys, AreIndexedByPosition)
{
    merge({{"Key", {"a"}}, {"KEY", {"a", "a", "b"}}});
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 2}));
    const void *data = nullptr;
    uint32_t len = 0;
    ASSERT_EQ(arraymap_index(&map, "key", 1, &data, &len), 0);
    EXPECT_EQ(std::string(static_cast<const char *>(data), len), "b");
    EXPECT_EQ(arraymap_index(&map, "key", 2, &data, &len), ENOENT);
}

TEST_F(ArraymapMergedKeys, AreReplacedByIndexAndKeepIt)
{
    merge({{"Key", {"a"}}, {"KEY", {"a", "a", "b"}}, {"key", {"a", "c"}}});
    ASSERT_EQ(indexes_of(map, "key"), (Indexes{0, 2, 1}));
    EXPECT_EQ(replace(map, "key", 2, "B"), 0);
    EXPECT_EQ(replace(map, "key", 1, "C"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "B", "C"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 2, 1}));
    expect_unchanged(ENOENT, [&] { return replace(map, "key", 3, "D"); });
}

TEST_F(ArraymapMergedKeys, AreReplacedFirstOfAnIndexFirst)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    EXPECT_EQ(replace(map, "key", 0, "x"), 0);
    EXPECT_EQ(replace(map, "key", 1, "y"), 0);
    EXPECT_EQ(replace(map, "key", 0, "z"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"z", "y", "c", "d"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 1}));
}

TEST_F(ArraymapMergedKeys, HaveNoValueOfAnIndexThatNoneHas)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    for (const uint32_t index : {2U, 3U}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(arraymap_index(&map, "key", index, nullptr, nullptr), 0);
        expect_unchanged(ENOENT, [&] { return replace(map, "key", index, "x"); });
        expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", index); });
    }
}

TEST_F(ArraymapMergedKeys, LoseTheFirstOfAnIndexAndAreRenumbered)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    ASSERT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "c", "d"}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
    ASSERT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "d"}));
}

TEST_F(ArraymapMergedKeys, AreRemovedByIndexNotByPosition)
{
    merge({{"Key", {"a"}}, {"KEY", {"a", "a", "b"}}, {"key", {"a", "c"}}});
    ASSERT_EQ(indexes_of(map, "key"), (Indexes{0, 2, 1}));
    ASSERT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"a", "b"}}}));
}

TEST_F(ArraymapMergedKeys, AreRenumberedByADelete)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    ASSERT_EQ(delete_value(map, "key", "d"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"a", "b", "c"}}}));
}

TEST_F(ArraymapMergedKeys, AreNotRenumberedByACallThatFindsNothing)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", "x"); });
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 2); });
    expect_unchanged(ENOENT, [&] { return replace(map, "key", 2, "x"); });
    expect_unchanged(0, [&] { return arraymap_index(&map, "key", 2, nullptr, nullptr); });
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 1}));
}

TEST_F(ArraymapMergedKeys, TakeTheirCountAsTheIndexOfANewValue)
{
    merge({{"Key", {"a"}}, {"KEY", {"a", "a", "b"}}});
    ASSERT_EQ(insert(map, "key", "c"), 0);
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 2, 2}));
    ASSERT_EQ(replace(map, "key", 2, "B"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "B", "c"}));
}

TEST_F(ArraymapMergedKeys, StayAsTheyAreWhileOtherKeysChange)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    fill(map, {{"other", {"1", "2", "2"}}});
    ASSERT_EQ(arraymap_remove(&map, "other", 0), 0);
    ASSERT_EQ(delete_value(map, "other", "2"), 0);
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 1}));
}

TEST_F(ArraymapMergedKeys, AreErasedWhole)
{
    merge({{"Key", {"a", "b"}}, {"KEY", {"c", "d"}}});
    EXPECT_EQ(arraymap_erase(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.numvalues, 0);
}

class ArraymapCaseInsensitive : public ArraymapTest {
  protected:
    ArraymapCaseInsensitive()
    {
        EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    }
};

TEST_F(ArraymapCaseInsensitive, InsertAddsTheValueAgainUnderAnySpelling)
{
    fill(map, {{"Key", {"1"}}, {"kEY", {"1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "1"}}}));
    EXPECT_EQ(delete_value(map, "KEY", "1"), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(ArraymapCaseInsensitive, ReplaceKeepsTheSpelling)
{
    fill(map, {{"Key", {"1", "2"}}});
    EXPECT_EQ(replace(map, "KEY", 1, "3"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "3"}}}));
}

// Arguments that lie inside the arraymap, in the very node that the call frees where it frees one.
class ArraymapAliasing : public ArraymapTest {};

TEST_F(ArraymapAliasing, InsertTakesAValueItselfUnderItsOwnKey)
{
    fill(map, {{"key", {"a", "value"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_insert(&map, key, stored_text(map, "key", 1), 5), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "value", "value"}}}));
    EXPECT_NE(stored_text(map, "key", 1), stored_text(map, "key", 2));
}

TEST_F(ArraymapAliasing, ReplaceTakesAnyPartOfTheOldValue)
{
    const std::string old = "value";
    for (uint32_t index = 0; index < 3; ++index) {
        for (std::size_t begin = 0; begin <= old.size(); ++begin) {
            for (std::size_t len = 0; begin + len <= old.size(); ++len) {
                SCOPED_TRACE(testing::Message() << index << ' ' << begin << ' ' << len);
                Values expected{"a", "b"};
                expected.insert(expected.begin() + index, old);
                fill(map, {{"key", expected}});
                const char *text = stored_text(map, "key", index);
                expected[index] = old.substr(begin, len);
                ASSERT_EQ(arraymap_replace(&map, stored_key(map, "key"), index, text + begin,
                                           static_cast<uint32_t>(len)),
                          0);
                EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
                ASSERT_EQ(arraymap_clear(&map), 0);
            }
        }
    }
}

TEST_F(ArraymapAliasing, ReplaceTakesTheWholeOfAnotherValue)
{
    fill(map, {{"key", {"a", "a longer value", "c"}}, {"other", {"d"}}});
    ASSERT_EQ(arraymap_replace(&map, "key", 0, stored_text(map, "key", 1), 14), 0);
    ASSERT_EQ(arraymap_replace(&map, "key", 1, stored_text(map, "other", 0), 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a longer value", "d", "c"}));
    EXPECT_NE(stored_text(map, "key", 1), stored_text(map, "other", 0));
}

TEST_F(ArraymapAliasing, ReplaceTakesTheTextOfItsKey)
{
    fill(map, {{"key", {"a"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_replace(&map, key, 0, key, 4), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"key\0"s}}}));
}

TEST_F(ArraymapAliasing, ReplaceTakesAKeyThatLiesInTheOldValue)
{
    fill(map, {{"key", {"a", "key\0"s}}});
    const char *text = stored_text(map, "key", 1);
    ASSERT_EQ(arraymap_replace(&map, text, 1, text + 1, 2), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "ey"}}}));
}

TEST_F(ArraymapAliasing, ReplaceWithoutMemoryKeepsTheValueItWasGiven)
{
    fill(map, {{"key", {"value"}}});
    const char *text = stored_text(map, "key", 0);
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return arraymap_replace(&map, "key", 0, text + 1, 3);
    });
}

// The bytes lie in each in turn of the values that go, among values that stay.
TEST_F(ArraymapAliasing, DeleteTakesTheBytesOfAnyOfTheValuesThatGo)
{
    const unsigned int count = 5;
    for (unsigned int equal = 1; equal < 1U << count; ++equal) {
        for (uint32_t given = 0; given < count; ++given) {
            if ((equal >> given & 1) == 0) {
                continue;
            }
            Values values;
            Values left;
            for (unsigned int i = 0; i < count; ++i) {
                const bool goes = (equal >> i & 1) != 0;
                values.push_back(goes ? "gone" : "kep" + std::to_string(i));
                if (!goes) {
                    left.push_back(values.back());
                }
            }
            SCOPED_TRACE(testing::PrintToString(values) + " at " + std::to_string(given));
            fill(map, {{"key", values}});
            const char *text = stored_text(map, "key", given);
            ASSERT_EQ(arraymap_delete(&map, stored_key(map, "key"), text, 4), 0);
            EXPECT_EQ(numbered_content_of(map),
                      left.empty() ? Content{} : (Content{{"key", left}}));
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

TEST_F(ArraymapAliasing, DeleteTakesAKeyThatLiesInAnyOfTheValuesThatGo)
{
    for (const bool all : {false, true}) {
        for (const uint32_t given : {0U, 1U, 2U}) {
            SCOPED_TRACE(testing::Message() << all << ' ' << given);
            fill(map, {{"key", Values(3, "key\0"s)}});
            if (!all) {
                fill(map, {{"key", {"other"}}});
            }
            const char *text = stored_text(map, "key", given);
            ASSERT_EQ(arraymap_delete(&map, text, text, 4), 0);
            EXPECT_EQ(numbered_content_of(map), all ? Content{} : (Content{{"key", {"other"}}}));
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
}

TEST_F(ArraymapAliasing, DeleteTakesThePointerOfAnyEmptyValue)
{
    for (const uint32_t given : {0U, 2U, 3U}) {
        SCOPED_TRACE(given);
        fill(map, {{"key", {"", "a", "", ""}}});
        ASSERT_EQ(arraymap_delete(&map, "key", stored_text(map, "key", given), 0), 0);
        EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a"}}}));
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapAliasing, DeleteOfEqualValuesTakesAPartOfAValueThatStays)
{
    fill(map, {{"key", {"alu", "value", "alu"}}});
    ASSERT_EQ(arraymap_delete(&map, "key", stored_text(map, "key", 1) + 1, 3), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"value"}}}));
}

class ArraymapValue : public ArraymapTest {};

TEST_F(ArraymapValue, IsTheFirstNodeOfEqualBytesUnderTheKey)
{
    fill(map, {{"key", {"a", "ab", "ab", "a"}}});
    const arraymap_value_t *first = _arraymap_entry(&map, "key")->values.first;
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 1), first);
    EXPECT_EQ(_arraymap_value(&map, "key", "ab", 2), first->next);
}

// Many calls in a random order, against a model: a list of keys that share a bucket, and of each
// key the values with their indexes.
class ArraymapModel : public ArraymapTest {
  protected:
    using Held = std::pair<std::string, uint32_t>;
    using HeldValues = std::vector<Held>;
    using Key = std::pair<std::string, HeldValues>;

    ArraymapModel()
    {
        EXPECT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    }

    uint32_t below(uint32_t end)
    {
        return static_cast<uint32_t>(random()) % end;
    }

    std::vector<Key>::iterator find(const std::vector<Key> &keys, const std::string &key)
    {
        const auto same = folds ? ::strcasecmp : ::strcmp;
        const auto found = std::find_if(keys.begin(), keys.end(), [&](const Key &held) {
            return same(held.first.c_str(), key.c_str()) == 0;
        });
        return model.begin() + (found - keys.begin());
    }

    static HeldValues::iterator with_index(HeldValues &values, uint32_t index)
    {
        return std::find_if(values.begin(), values.end(),
                            [=](const Held &held) { return held.second == index; });
    }

    static HeldValues::iterator with_text(HeldValues &values, const std::string &text)
    {
        return std::find_if(values.begin(), values.end(),
                            [&](const Held &held) { return held.first == text; });
    }

    // Once values have gone.
    void settle(std::vector<Key>::iterator key)
    {
        uint32_t index = 0;
        for (Held &held : key->second) {
            held.second = index++;
        }
        if (key->second.empty()) {
            model.erase(key);
        }
    }

    void fold()
    {
        folds = true;
        std::vector<Key> old;
        old.swap(model);
        for (const Key &key : old) {
            const auto survivor = find(model, key.first);
            if (survivor == model.end()) {
                model.push_back(key);
                continue;
            }
            for (const Held &held : key.second) {
                if (with_text(survivor->second, held.first) == survivor->second.end()) {
                    survivor->second.push_back(held);
                }
            }
        }
    }

    std::vector<Key> held() const
    {
        std::vector<Key> keys;
        const ArraymapState state = state_of(map);
        for (const auto &key : state.chains[0]) {
            auto &values = keys.emplace_back(key.key, HeldValues()).second;
            for (const auto &value : key.values) {
                values.emplace_back(value.data, value.index);
            }
        }
        return keys;
    }

    std::mt19937 random{1};
    std::vector<Key> model;
    bool folds = false;
};

TEST_F(ArraymapModel, AgreesOverManyCalls)
{
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(step);
        const std::string key(1 + below(3), "kK"[below(2)]);
        const std::string text(below(4), 'v');
        const uint32_t index = below(7);
        const auto node = find(model, key);
        const bool known = node != model.end();
        HeldValues none;
        HeldValues &values = known ? node->second : none;
        const auto at_index = with_index(values, index);
        const int indexed = at_index != values.end() ? 0 : ENOENT;
        switch (below(20)) {
        case 0:
        case 1:
            ASSERT_EQ(delete_value(map, key.c_str(), text),
                      with_text(values, text) != values.end() ? 0 : ENOENT);
            if (with_text(values, text) != values.end()) {
                values.erase(std::remove_if(values.begin(), values.end(),
                                            [&](const Held &held) { return held.first == text; }),
                             values.end());
                settle(node);
            }
            break;
        case 2:
        case 3:
        case 4:
        case 5:
            ASSERT_EQ(arraymap_remove(&map, key.c_str(), index), indexed);
            if (indexed == 0) {
                values.erase(at_index);
                settle(node);
            }
            break;
        case 6:
        case 7:
        case 8:
        case 9:
            ASSERT_EQ(replace(map, key.c_str(), index, text), indexed);
            if (indexed == 0) {
                at_index->first = text;
            }
            break;
        case 10:
            if (index == 0) {
                ASSERT_EQ(arraymap_erase(&map, key.c_str()), known ? 0 : ENOENT);
                if (known) {
                    model.erase(node);
                }
            }
            break;
        case 11:
            if (index == 0) {
                ASSERT_EQ(arraymap_setcasekeys(&map, !folds), 0);
                if (folds) {
                    folds = false;
                } else {
                    fold();
                }
            }
            break;
        default:
            ASSERT_EQ(insert(map, key.c_str(), text), 0);
            if (!known) {
                model.push_back({key, {{text, 0}}});
            } else {
                values.emplace_back(text, static_cast<uint32_t>(values.size()));
            }
        }
        ASSERT_EQ(held(), model);
    }
}
