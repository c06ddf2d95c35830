#include "arraymap_fixture.hpp"

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

uint32_t length_of(std::string_view value)
{
    return static_cast<uint32_t>(value.size());
}

int delete_value(arraymap_t &map, const char *key, std::string_view value)
{
    return arraymap_delete(&map, key, value.data(), length_of(value));
}

int replace(arraymap_t &map, const char *key, uint32_t index, std::string_view value)
{
    return arraymap_replace(&map, key, index, value.data(), length_of(value));
}

// The content, of which every index must be the position.
Content numbered_content_of(const arraymap_t &map)
{
    const ArraymapState state = state_of(map);
    for (const auto &chain : state.chains) {
        for (const auto &key : chain) {
            uint32_t position = 0;
            for (const auto &value : key.values) {
                EXPECT_EQ(value.index, position++) << key.key;
            }
        }
    }
    return content_of(state);
}

// The record of an arraymap that has just been made, but for its buckets.
const arraymap_t no_buckets{-1, -1, 0, 0, 0, 0, nullptr, nullptr};

// One call of each operation that takes a key and checks its arguments.
const struct {
    const char *name;
    int (*run)(arraymap_t *map, const char *key);
} keyed_calls[] = {
    {"insert",
     [](arraymap_t *map, const char *key) {
         return arraymap_insert(map, key, "value", 5);
     }},
    {"replace",
     [](arraymap_t *map, const char *key) {
         return arraymap_replace(map, key, 0, "value", 5);
     }},
    {"delete",
     [](arraymap_t *map, const char *key) {
         return arraymap_delete(map, key, "value", 5);
     }},
    {"remove",
     [](arraymap_t *map, const char *key) {
         return arraymap_remove(map, key, 0);
     }},
    {"erase",
     [](arraymap_t *map, const char *key) {
         return arraymap_erase(map, key);
     }},
    {"index",
     [](arraymap_t *map, const char *key) {
         return arraymap_index(map, key, 0, nullptr, nullptr);
     }},
};

// What both ways to make an arraymap have in common.
const struct {
    const char *name;
    uint32_t hashsize;
    int (*run)(arraymap_t *map);
} inits[] = {
    {"init", 32, arraymap_init},
    {"init_special", 64,
     [](arraymap_t *map) {
         return arraymap_init_special(map, 64);
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

class ArraymapInit : public ArraymapTest {};

TEST_F(ArraymapInit, MakesAnEmptyArraymapOf32Buckets)
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

TEST_F(ArraymapInit, RefusesNull)
{
    EXPECT_EQ(arraymap_init(nullptr), EINVAL);
    for (const uint32_t hashsize : {0U, 1U, 48U, UINT32_MAX}) {
        EXPECT_EQ(arraymap_init_special(nullptr, hashsize), EINVAL);
    }
}

TEST_F(ArraymapInit, AllocatesTheBucketsAlone)
{
    for (const auto &init : inits) {
        SCOPED_TRACE(init.name);
        arraymap_t other;
        allocations::Log log;
        EXPECT_EQ(init.run(&other), 0);
        EXPECT_EQ(log.sizes(), Sizes{init.hashsize * sizeof(map_bucket_t)});
        EXPECT_EQ(arraymap_destroy(&other), 0);
    }
}

TEST_F(ArraymapInit, TakesNoNoticeOfWhatTheRecordHeld)
{
    for (const auto &init : inits) {
        SCOPED_TRACE(init.name);
        arraymap_t other;
        std::memset(&other, 0xA5, sizeof other);
        EXPECT_EQ(init.run(&other), 0);
        ArraymapState expected = state_of(map);
        expected.buckets = other.buckets;
        expected.hashsize = init.hashsize;
        expected.chains.resize(init.hashsize);
        EXPECT_EQ(state_of(other), expected);
        EXPECT_EQ(arraymap_destroy(&other), 0);
    }
}

TEST_F(ArraymapInit, LeavesAReleasedRecordWithoutMemory)
{
    for (const auto &init : inits) {
        SCOPED_TRACE(init.name);
        arraymap_t other;
        std::memset(&other, 0xA5, sizeof other);
        {
            allocations::Failure failure(0);
            EXPECT_EQ(init.run(&other), ENOMEM);
        }
        EXPECT_EQ(state_of(other), state_of(released_arraymap()));
    }
}

TEST_F(ArraymapInit, MayBeCalledAgainAfterItFailed)
{
    for (const auto &init : inits) {
        SCOPED_TRACE(init.name);
        arraymap_t other;
        {
            allocations::Failure failure(0);
            ASSERT_EQ(init.run(&other), ENOMEM);
        }
        EXPECT_EQ(insert(other, "key", "value"), EINVAL);
        EXPECT_EQ(arraymap_destroy(&other), EINVAL);
        ASSERT_EQ(init.run(&other), 0);
        EXPECT_EQ(insert(other, "key", "value"), 0);
        EXPECT_EQ(arraymap_destroy(&other), 0);
    }
}

// An arraymap of a given number of buckets.
class ArraymapInitSpecial : public ArraymapTest {
  protected:
    void make(uint32_t hashsize)
    {
        ASSERT_EQ(arraymap_destroy(&map), 0);
        ASSERT_EQ(arraymap_init_special(&map, hashsize), 0);
    }

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
        make(hashsize);
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

TEST_F(ArraymapInitSpecial, AllocatesAsManyBuckets)
{
    for (const uint32_t hashsize : {1U, 3U, 48U, 1024U}) {
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
    make(1);
    const Content content{{"c", {"1", "1"}}, {"a", {"2"}}, {"", {"3"}}, {"\377", {"4"}}};
    fill(map, content);
    EXPECT_EQ(numbered_content_of(map), content);
    EXPECT_EQ(arraymap_erase(&map, "a"), 0);
    EXPECT_EQ(values_of(map, "\377"), Values{"4"});
}

TEST_F(ArraymapInitSpecial, Of48UsesTheBucketsThatTheMask47Leaves)
{
    make(48);
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
        make(hashsize);
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
    make(48);
    fill_numbers();
    ASSERT_EQ(arraymap_sethashsize(&map, 64), 0);
    EXPECT_EQ(map.hashsize, 64U);
    EXPECT_EQ(values_of(map, "199"), (Values{"199", "199"}));
    EXPECT_EQ(map.numkeys, 200);
}

TEST_F(ArraymapInitSpecial, OfNoPowerOfTwoIsCopiedOnlyIntoAsManyBuckets)
{
    make(48);
    fill_numbers();
    Arraymap dst;
    expect_unchanged(EINVAL, [&] { return arraymap_copy(&map, &dst); });
    arraymap_t same;
    ASSERT_EQ(arraymap_init_special(&same, 48), 0);
    EXPECT_EQ(arraymap_copy(&map, &same), 0);
    EXPECT_EQ(arraymap_isequal(&map, &same), 1);
    EXPECT_EQ(arraymap_destroy(&same), 0);
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
    for (const auto &call : keyed_calls) {
        SCOPED_TRACE(call.name);
        expect_unchanged(EINVAL, [&] { return call.run(&map, "key"); });
        expect_unchanged(EINVAL, [&] { return call.run(&map, nullptr); });
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

class ArraymapArguments : public ArraymapTest {};

TEST_F(ArraymapArguments, ANullArraymapIsRefused)
{
    for (const auto &call : keyed_calls) {
        SCOPED_TRACE(call.name);
        EXPECT_EQ(call.run(nullptr, "key"), EINVAL);
        EXPECT_EQ(call.run(nullptr, nullptr), EINVAL);
    }
}

TEST_F(ArraymapArguments, ANullKeyIsRefusedAndChangesNothing)
{
    for (const Content &content : {Content{}, Content{{"key", {"value"}}}}) {
        fill(map, content);
        for (const auto &call : keyed_calls) {
            SCOPED_TRACE(call.name);
            expect_unchanged(EINVAL, [&] { return call.run(&map, nullptr); });
        }
    }
}

TEST_F(ArraymapArguments, AReleasedArraymapIsRefusedAndStaysAsItIs)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_destroy(&map), 0);
    for (const auto &call : keyed_calls) {
        SCOPED_TRACE(call.name);
        expect_unchanged(EINVAL, [&] { return call.run(&map, "key"); });
    }
}

TEST_F(ArraymapArguments, ANullValueIsRefusedWhateverItsLength)
{
    fill(map, {{"key", {""}}});
    for (const char *key : {"key", "missing"}) {
        for (const uint32_t len : {0U, 1U, UINT32_MAX}) {
            SCOPED_TRACE(key + " "s + std::to_string(len));
            expect_unchanged(EINVAL, [&] { return arraymap_insert(&map, key, nullptr, len); });
            expect_unchanged(EINVAL, [&] { return arraymap_delete(&map, key, nullptr, len); });
        }
    }
}

TEST_F(ArraymapArguments, AreCheckedBeforeTheKeyLimit)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 0), 0);
    expect_unchanged(EINVAL, [&] { return arraymap_insert(&map, "key", nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return arraymap_insert(&map, nullptr, "value", 5); });
}

TEST_F(ArraymapArguments, AreCheckedBeforeMemory)
{
    fill(map, {{"key", {"value"}}});
    allocations::Log log;
    allocations::Failure failure(0);
    EXPECT_EQ(arraymap_insert(&map, "key", nullptr, 1), EINVAL);
    EXPECT_EQ(arraymap_insert(&map, nullptr, "value", 5), EINVAL);
    EXPECT_EQ(arraymap_insert(nullptr, "key", "value", 5), EINVAL);
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(ArraymapArguments, AreCheckedWithoutHashing)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    EXPECT_EQ(hashes_during([&] {
                  for (const auto &call : keyed_calls) {
                      EXPECT_EQ(call.run(&map, nullptr), EINVAL) << call.name;
                  }
                  EXPECT_EQ(arraymap_insert(&map, "key", nullptr, 0), EINVAL);
                  EXPECT_EQ(arraymap_delete(&map, "key", nullptr, 0), EINVAL);
              }),
              0);
}

TEST_F(ArraymapArguments, TheKeyIsHashedOnce)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    for (const Values &values :
         {Values{}, Values{"value"}, Values{"value", "other"}, Values{"a"}}) {
        for (const auto &call : keyed_calls) {
            SCOPED_TRACE(call.name + " "s + testing::PrintToString(values));
            fill(map, {{"key", values}});
            EXPECT_EQ(hashes_during([&] { call.run(&map, "key"); }), 1);
            ASSERT_EQ(arraymap_clear(&map), 0);
        }
    }
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(arraymap_haskey(&map, "key"), 1); }), 1);
}

TEST_F(ArraymapArguments, ReadingAndRemovingAllocateNothing)
{
    fill(map, {{"a", {"1", "2", "1", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    arraymap_t other;
    ASSERT_EQ(arraymap_init(&other), 0);
    fill(other, {{"a", {"1"}}});
    allocations::Log log;
    EXPECT_EQ(arraymap_index(&map, "a", 0, nullptr, nullptr), 0);
    EXPECT_EQ(arraymap_haskey(&map, "a"), 1);
    EXPECT_EQ(arraymap_delete(&map, "a", "1", 1), 0);
    EXPECT_EQ(arraymap_remove(&map, "a", 0), 0);
    EXPECT_EQ(arraymap_erase(&map, "b"), 0);
    EXPECT_EQ(arraymap_clear(&map), 0);
    EXPECT_EQ(arraymap_destroy(&other), 0);
    EXPECT_EQ(log.sizes(), Sizes{});
}

class ArraymapInsert : public ArraymapTest {};

TEST_F(ArraymapInsert, StoresACopyOfKeyAndValue)
{
    char key[] = "key";
    char value[] = "value";
    ASSERT_EQ(arraymap_insert(&map, key, value, 5), 0);
    key[0] = value[0] = 'X';
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"value"}}}));
}

TEST_F(ArraymapInsert, CountsKeysAndValues)
{
    fill(map, {{"a", {"1"}}});
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
    fill(map, {{"a", {"2"}}, {"b", {"1", "2", "3"}}});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 5);
    EXPECT_EQ(_arraymap_entry(&map, "a")->count, 2U);
    EXPECT_EQ(_arraymap_entry(&map, "b")->count, 3U);
}

TEST_F(ArraymapInsert, KeepsTheValuesOfAKeyInOrderOfInsertion)
{
    for (const char *value : {"b", "a", "c", "aa"}) {
        ASSERT_EQ(insert(map, "key", value), 0);
        ASSERT_EQ(insert(map, "other", value), 0);
    }
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a", "c", "aa"}));
    EXPECT_EQ(values_of(map, "other"), (Values{"b", "a", "c", "aa"}));
}

TEST_F(ArraymapInsert, AppendsNewKeysAtTheEndOfTheBucket)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}}));
}

TEST_F(ArraymapInsert, LeavesAnExistingKeyAtItsPlaceInTheBucket)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}, {"c", {"2"}}, {"a", {"2"}}});
    EXPECT_EQ(numbered_content_of(map),
              (Content{{"c", {"1", "2"}}, {"a", {"1", "2"}}, {"b", {"1"}}}));
}

TEST_F(ArraymapInsert, MovesNoNode)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    const ArraymapState before = state_of(map);
    ASSERT_EQ(insert(map, "a", "3"), 0);
    ASSERT_EQ(insert(map, "c", "1"), 0);
    ASSERT_EQ(delete_value(map, "a", "3"), 0);
    ASSERT_EQ(delete_value(map, "c", "1"), 0);
    EXPECT_EQ(state_of(map), before);
}

TEST_F(ArraymapInsert, OfANewKeyAllocatesTheValueAndThenTheKey)
{
    allocations::Log log;
    ASSERT_EQ(insert(map, "seven77", "twelve bytes"), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(arraymap_value_t) + 12, sizeof(arraymap_key_t) + 7 + 1}));
}

TEST_F(ArraymapInsert, UnderAnExistingKeyAllocatesTheValueAlone)
{
    fill(map, {{"key", {"1"}}});
    allocations::Log log;
    ASSERT_EQ(insert(map, "key", "twelve bytes"), 0);
    ASSERT_EQ(insert(map, "key", ""), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(arraymap_value_t) + 12, sizeof(arraymap_value_t)}));
}

TEST_F(ArraymapInsert, LaysTheTextOfAKeyRightBehindItsNode)
{
    fill(map, {{"key", {"value"}}});
    const arraymap_key_t *node = _arraymap_entry(&map, "key");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(static_cast<const void *>(node->key), node + 1);
    EXPECT_EQ(std::memcmp(node + 1, "key", 4), 0);
}

TEST_F(ArraymapInsert, LaysTheBytesOfAValueRightBehindItsNode)
{
    fill(map, {{"key", {"va\0ue"s}}});
    const arraymap_key_t *key = _arraymap_entry(&map, "key");
    ASSERT_NE(key, nullptr);
    const arraymap_value_t *node = key->values.first;
    EXPECT_EQ(node->data, node + 1);
    EXPECT_EQ(node->len, 5U);
    EXPECT_EQ(std::memcmp(node + 1, "va\0ue", 5), 0);
}

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
    const Values values{"a", "b", "a", "a", "", "b", "c", "", "a"};
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

TEST_F(ArraymapInsert, TakesAValueThatAnotherKeyHolds)
{
    fill(map, {{"a", {"value"}}, {"b", {"value"}}});
    EXPECT_EQ(values_of(map, "a"), Values{"value"});
    EXPECT_EQ(values_of(map, "b"), Values{"value"});
    EXPECT_NE(stored_text(map, "a", 0), stored_text(map, "b", 0));
    ASSERT_EQ(delete_value(map, "a", "value"), 0);
    EXPECT_EQ(values_of(map, "b"), Values{"value"});
}

TEST_F(ArraymapInsert, TakesAValueAgainThatWasRemoved)
{
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(insert(map, "key", "a"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a"}));
}

TEST_F(ArraymapInsert, KeepsValuesApartThatDifferOnlyInLength)
{
    const Values values{"ab", "ab\0"s, "a", "ab\0\0"s, ""};
    fill(map, {{"key", values}});
    EXPECT_EQ(values_of(map, "key"), values);
}

TEST_F(ArraymapInsert, StoresValuesWithEveryByte)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    fill(map, {{"all", {bytes, bytes}}});
    EXPECT_EQ(values_of(map, "all"), (Values{bytes, bytes}));
}

TEST_F(ArraymapInsert, StoresEmptyValues)
{
    fill(map, {{"key", {"a", "", ""}}});
    for (const uint32_t position : {1U, 2U}) {
        const void *data = nullptr;
        uint32_t len = 77;
        ASSERT_EQ(arraymap_index(&map, "key", position, &data, &len), 0);
        EXPECT_NE(data, nullptr);
        EXPECT_EQ(len, 0U);
    }
    EXPECT_EQ(map.numvalues, 3);
}

TEST_F(ArraymapInsert, TakesTheEmptyKey)
{
    fill(map, {{"", {"1", "2", "1"}}});
    EXPECT_EQ(values_of(map, ""), (Values{"1", "2", "1"}));
    EXPECT_EQ(map.buckets[0].first, _arraymap_entry(&map, ""));
    EXPECT_EQ(arraymap_haskey(&map, ""), 1);
    EXPECT_EQ(replace(map, "", 1, "3"), 0);
    EXPECT_EQ(delete_value(map, "", "1"), 0);
    EXPECT_EQ(values_of(map, ""), Values{"3"});
    EXPECT_EQ(arraymap_erase(&map, ""), 0);
}

TEST_F(ArraymapInsert, TakesLongKeysAndValues)
{
    const std::string key(100000, 'k');
    const std::string value(300000, 'v');
    ASSERT_EQ(insert(map, key.c_str(), value), 0);
    ASSERT_EQ(insert(map, (key + 'k').c_str(), value), 0);
    ASSERT_EQ(insert(map, key.c_str(), value + 'v'), 0);
    EXPECT_EQ(values_of(map, key.c_str()), (Values{value, value + 'v'}));
}

TEST_F(ArraymapInsert, KeepsKeysWithBytesAbove0x7FApart)
{
    fill(map, {{"\351", {"1"}}, {"\311", {"2"}}, {"\377\200", {"3"}}, {"\200\377", {"4"}}});
    EXPECT_EQ(values_of(map, "\351"), Values{"1"});
    EXPECT_EQ(values_of(map, "\311"), Values{"2"});
    EXPECT_EQ(values_of(map, "\377\200"), Values{"3"});
    EXPECT_EQ(values_of(map, "\200\377"), Values{"4"});
}

TEST_F(ArraymapInsert, KeepsSpellingsApartInACaseSensitiveArraymap)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"1"}}});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(values_of(map, "key"), Values{});
    EXPECT_EQ(delete_value(map, "Key", "1"), 0);
    EXPECT_EQ(values_of(map, "KEY"), Values{"1"});
}

TEST_F(ArraymapInsert, WithoutMemoryForTheValueChangesNothing)
{
    fill(map, {{"key", {"value"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return insert(map, key, "1234");
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(arraymap_value_t) + 4});
    }
}

TEST_F(ArraymapInsert, WithoutMemoryForTheKeyFreesTheValueAndChangesNothing)
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

TEST_F(ArraymapInsert, AsksForTheFullSizeOfTheGreatestLength)
{
    if (sizeof(std::size_t) == 4) {
        GTEST_SKIP() << "node and bytes do not fit the address space";
    }
    fill(map, {{"key", {"v"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return arraymap_insert(&map, key, "v", UINT32_MAX);
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(arraymap_value_t) + UINT32_MAX});
    }
}

TEST_F(ArraymapInsert, RefusesALengthThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "a 32-bit length always fits";
    }
    fill(map, {{"key", {"v"}}});
    const uint32_t node = sizeof(arraymap_value_t);
    for (const uint32_t below : {0U, 1U, node - 2, node - 1}) {
        for (const char *key : {"key", "new"}) {
            SCOPED_TRACE(below);
            allocations::Log log;
            expect_unchanged(ENOMEM,
                             [&] { return arraymap_insert(&map, key, "v", UINT32_MAX - below); });
            EXPECT_EQ(log.sizes(), Sizes{});
        }
    }
    for (const uint32_t below : {node, node + 1}) {
        SCOPED_TRACE(below);
        expect_unchanged(ENOMEM,
                         [&] { return arraymap_insert(&map, "new", "v", UINT32_MAX - below); });
    }
}

class ArraymapKeyLimit : public ArraymapTest {};

TEST_F(ArraymapKeyLimit, Of0Or1AdmitsNoKey)
{
    for (const int limit : {0, 1}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(arraymap_setmaxkeys(&map, limit), 0);
        expect_unchanged(1, [&] { return insert(map, "key", "value"); });
    }
}

TEST_F(ArraymapKeyLimit, Of2AdmitsOneKey)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
}

TEST_F(ArraymapKeyLimit, Of3AdmitsTwoKeysAndAnyNumberOfValues)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    EXPECT_EQ(insert(map, "a", "1"), 0);
    EXPECT_EQ(insert(map, "a", "2"), 0);
    EXPECT_EQ(insert(map, "a", "3"), 0);
    EXPECT_EQ(insert(map, "b", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "c", "1"); });
    EXPECT_EQ(insert(map, "a", "4"), 0);
    EXPECT_EQ(insert(map, "b", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "c", "1"); });
}

TEST_F(ArraymapKeyLimit, ThatIsNegativeIsNone)
{
    for (const int limit : {-1, -2, INT_MIN}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(arraymap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(insert(map, std::to_string(limit).c_str(), "value"), 0);
    }
}

TEST_F(ArraymapKeyLimit, OfTheGreatestNumberAdmitsKeys)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, INT_MAX), 0);
    EXPECT_EQ(insert(map, "key", "value"), 0);
}

TEST_F(ArraymapKeyLimit, HoldsUpToTheGreatestCount)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, INT_MAX), 0);
    for (const int count : {INT_MAX - 1, INT_MAX}) {
        SCOPED_TRACE(count);
        map.numkeys = count;
        const int result = insert(map, "key", "value");
        map.numkeys = 0;
        EXPECT_EQ(result, 1);
    }
}

TEST_F(ArraymapKeyLimit, LetsAKeyInWhenAnotherHasGone)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    fill(map, {{"a", {"1", "2"}}});
    ASSERT_EQ(delete_value(map, "a", "1"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
    ASSERT_EQ(delete_value(map, "a", "2"), 0);
    EXPECT_EQ(insert(map, "b", "1"), 0);
}

TEST_F(ArraymapKeyLimit, ThatIsReachedStillTakesValuesUnderPresentKeys)
{
    fill(map, {{"a", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(insert(map, "a", "2"), 0);
    EXPECT_EQ(insert(map, "a", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "b", "1"); });
}

TEST_F(ArraymapKeyLimit, ThatIsReachedLetsValuesBeReplaced)
{
    fill(map, {{"a", {"1", "2"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(replace(map, "a", 1, "3"), 0);
    expect_unchanged(ENOENT, [&] { return replace(map, "b", 0, "1"); });
}

TEST_F(ArraymapKeyLimit, RefusesOnceTheValueIsMadeAndFreesIt)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    allocations::Log log;
    expect_unchanged(1, [&] { return insert(map, "key", "twelve bytes"); });
    EXPECT_EQ(log.sizes(), Sizes{sizeof(arraymap_value_t) + 12});
}

TEST_F(ArraymapKeyLimit, ComesAfterMemoryForTheValueAndBeforeThatForTheKey)
{
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return insert(map, "key", "value");
    });
    expect_unchanged(1, [&] {
        allocations::Failure failure(1);
        return insert(map, "key", "value");
    });
}

TEST_F(ArraymapInsert, DoesNotEnforceTheValueLimit)
{
    for (const int limit : {0, 1, 2}) {
        ASSERT_EQ(arraymap_clear(&map), 0);
        ASSERT_EQ(arraymap_setmaxvalues(&map, limit), 0);
        SCOPED_TRACE(limit);
        EXPECT_EQ(insert(map, "a", "1"), 0);
        EXPECT_EQ(insert(map, "a", "2"), 0);
        EXPECT_EQ(insert(map, "b", "1"), 0);
        EXPECT_EQ(map.numvalues, 3);
        EXPECT_EQ(map.maxvalues, limit);
    }
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
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    const std::string expected = bytes;
    fill(map, {{"key", {"a"}}});
    ASSERT_EQ(replace(map, "key", 0, bytes), 0);
    bytes.assign(256, 'X');
    EXPECT_EQ(values_of(map, "key"), Values{expected});
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

class ArraymapDelete : public ArraymapTest {};

TEST_F(ArraymapDelete, RemovesTheValueAlone)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"b"}}});
    EXPECT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(values_of(map, "other"), Values{"b"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 3);
    EXPECT_EQ(_arraymap_entry(&map, "key")->count, 2U);
}

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
    ASSERT_EQ(delete_value(map, "key", "1"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", "1"); });
}

TEST_F(ArraymapDelete, MatchesEveryByte)
{
    const Values values{"abc", "Abc", "abC", "aBc", "a\0c"s, "a\0d"s, "b\0c"s, "ab\343", "ab\303"};
    for (std::size_t gone = 0; gone < values.size(); ++gone) {
        SCOPED_TRACE(gone);
        fill(map, {{"key", values}});
        Values left = values;
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(gone));
        ASSERT_EQ(delete_value(map, "key", values[gone]), 0);
        EXPECT_EQ(values_of(map, "key"), left);
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapDelete, RemovesTheKeyWithItsLastValue)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"a"}}});
    ASSERT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(arraymap_haskey(&map, "key"), 1);
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(arraymap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
    EXPECT_EQ(numbered_content_of(map), (Content{{"other", {"a"}}}));
}

TEST_F(ArraymapDelete, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(allocations::live(), live + 3);
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(delete_value(map, "key", "b"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapDelete, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", "a"); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return delete_value(map, key, "a"); });
    }
}

TEST_F(ArraymapDelete, ReportsAMissingValueAndChangesNothing)
{
    fill(map, {{"key", {"ab", "cd"}}, {"other", {"value"}}});
    for (const auto &value : {"value"s, "a"s, "abc"s, "ab\0"s, "AB"s, "b"s, ""s}) {
        SCOPED_TRACE(value);
        expect_unchanged(ENOENT, [&] { return delete_value(map, "key", value); });
    }
}

TEST_F(ArraymapDelete, TellsValuesApartByTheirLength)
{
    fill(map, {{"key", {"ab", "ab\0"s}}});
    ASSERT_EQ(delete_value(map, "key", "ab\0"s), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"ab"});
}

TEST_F(ArraymapDelete, ComparesTheGivenLengthWithTheStoredOne)
{
    fill(map, {{"key", {"ab"}}});
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "key", "ab", 3); });
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "key", "ab", 1); });
    EXPECT_EQ(arraymap_delete(&map, "key", "ab", 2), 0);
}

TEST_F(ArraymapDelete, ReadsNoByteOfAValueOfAnotherLength)
{
    fill(map, {{"key", {"v", ""}}});
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "key", "v", UINT32_MAX); });
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "missing", "v", UINT32_MAX); });
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

TEST_F(ArraymapDelete, RemovesTheEmptyValue)
{
    fill(map, {{"key", {"", "a"}}});
    EXPECT_EQ(delete_value(map, "key", ""), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"a"});
    expect_unchanged(ENOENT, [&] { return delete_value(map, "key", ""); });
}

class ArraymapRemove : public ArraymapTest {};

TEST_F(ArraymapRemove, RemovesTheValueAtThePosition)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"a", "b"}}});
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"a"});
    EXPECT_EQ(values_of(map, "other"), (Values{"a", "b"}));
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 3);
}

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

TEST_F(ArraymapRemove, RemovesTheKeyWithItsLastValue)
{
    fill(map, {{"key", {"a"}}, {"other", {"a"}}});
    EXPECT_EQ(arraymap_remove(&map, "key", 0), 0);
    EXPECT_EQ(arraymap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 1);
}

TEST_F(ArraymapRemove, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(arraymap_remove(&map, "key", 0), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapRemove, ReportsAPositionBehindTheLastAndChangesNothing)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"a", "b", "c", "d"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", index); });
    }
}

TEST_F(ArraymapRemove, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 0); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "other"}) {
        expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, key, 0); });
    }
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

class ArraymapErase : public ArraymapTest {};

TEST_F(ArraymapErase, RemovesTheKeyWithAllOfItsValues)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"a", "d"}}});
    EXPECT_EQ(arraymap_erase(&map, "key"), 0);
    EXPECT_EQ(arraymap_haskey(&map, "key"), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(map.numvalues, 2);
    EXPECT_EQ(numbered_content_of(map), (Content{{"other", {"a", "d"}}}));
}

TEST_F(ArraymapErase, FreesKeyAndValues)
{
    const std::size_t live = allocations::live();
    fill(map, {{"key", {"a", "b", ""}}});
    ASSERT_EQ(allocations::live(), live + 4);
    ASSERT_EQ(arraymap_erase(&map, "key"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapErase, ReportsAMissingKeyAndChangesNothing)
{
    expect_unchanged(ENOENT, [&] { return arraymap_erase(&map, "key"); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return arraymap_erase(&map, key); });
    }
}

TEST_F(ArraymapErase, LetsTheKeyBeMadeAnew)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(arraymap_erase(&map, "a"), 0);
    fill(map, {{"a", {"2"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"b", {"1"}}, {"a", {"2"}}}));
}

// Each order in which three values, or three keys that share a bucket, can go: first, middle and
// last. A new one is appended after each step, which shows a wrong tail.
class ArraymapUnlinking : public ArraymapTest {
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
                EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
                expected.push_back("after " + value);
                ASSERT_EQ(insert(map, "key", expected.back()), 0);
                EXPECT_EQ(numbered_content_of(map), (Content{{"key", expected}}));
            }
            ASSERT_EQ(arraymap_clear(&map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }

    template <class Remove>
    void take_keys(Remove remove)
    {
        ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
        Values order{"a", "b", "c"};
        do {
            Content expected{{"a", {"1"}}, {"b", {"1"}}, {"c", {"1"}}};
            fill(map, expected);
            for (const std::string &key : order) {
                SCOPED_TRACE(testing::PrintToString(order) + " without " + key);
                ASSERT_EQ(remove(key.c_str()), 0);
                expected.erase(std::find(expected.begin(), expected.end(), KeyValues{key, {"1"}}));
                EXPECT_EQ(numbered_content_of(map), expected);
                expected.push_back({"after " + key, {"2"}});
                ASSERT_EQ(insert(map, expected.back().first.c_str(), "2"), 0);
                EXPECT_EQ(numbered_content_of(map), expected);
            }
            ASSERT_EQ(arraymap_clear(&map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }
};

TEST_F(ArraymapUnlinking, DeleteTakesValuesOutInAnyOrder)
{
    take_values(
        [&](const std::string &value, uint32_t) { return delete_value(map, "key", value); });
}

TEST_F(ArraymapUnlinking, RemoveTakesValuesOutInAnyOrder)
{
    take_values(
        [&](const std::string &, uint32_t index) { return arraymap_remove(&map, "key", index); });
}

TEST_F(ArraymapUnlinking, ValuesMayBeReplacedInAnyOrder)
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

TEST_F(ArraymapUnlinking, AReplacedValueIsTakenOutLikeAnyOther)
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

TEST_F(ArraymapUnlinking, DeleteOfTheLastValueTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return delete_value(map, key, "1"); });
}

TEST_F(ArraymapUnlinking, RemoveOfTheLastValueTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return arraymap_remove(&map, key, 0); });
}

TEST_F(ArraymapUnlinking, EraseTakesKeysOutInAnyOrder)
{
    take_keys([&](const char *key) { return arraymap_erase(&map, key); });
}

TEST_F(ArraymapUnlinking, OfTheOnlyKeyLeavesTheBucketAsItWas)
{
    const ArraymapState before = state_of(map);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(delete_value(map, "key", "value"), 0);
    EXPECT_EQ(state_of(map), before);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_remove(&map, "key", 0), 0);
    EXPECT_EQ(state_of(map), before);
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_erase(&map, "key"), 0);
    EXPECT_EQ(state_of(map), before);
}

class ArraymapIndex : public ArraymapTest {
  protected:
    void expect_cleared(const char *key, uint32_t index)
    {
        SCOPED_TRACE(key + " "s + std::to_string(index));
        data = "untouched";
        len = 77;
        expect_unchanged(ENOENT, [&] { return arraymap_index(&map, key, index, &data, &len); });
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(len, 0U);
    }

    const void *data = "untouched";
    uint32_t len = 77;
};

TEST_F(ArraymapIndex, PointsIntoTheArraymap)
{
    fill(map, {{"key", {"a", "bc", "def"}}});
    const arraymap_value_t *value = _arraymap_entry(&map, "key")->values.first;
    for (uint32_t i = 0; i < 3; ++i, value = value->next) {
        ASSERT_EQ(arraymap_index(&map, "key", i, &data, &len), 0);
        EXPECT_EQ(data, value->data);
        EXPECT_EQ(len, i + 1);
    }
}

TEST_F(ArraymapIndex, TakesNullForEitherOutput)
{
    fill(map, {{"key", {"a", "bcd"}}});
    EXPECT_EQ(arraymap_index(&map, "key", 1, nullptr, nullptr), 0);
    EXPECT_EQ(arraymap_index(&map, "key", 1, &data, nullptr), 0);
    EXPECT_EQ(data, _arraymap_value(&map, "key", "bcd", 3)->data);
    EXPECT_EQ(arraymap_index(&map, "key", 1, nullptr, &len), 0);
    EXPECT_EQ(len, 3U);
    EXPECT_EQ(arraymap_index(&map, "key", 2, nullptr, nullptr), ENOENT);
    EXPECT_EQ(arraymap_index(&map, "missing", 0, nullptr, nullptr), ENOENT);
    EXPECT_EQ(arraymap_index(&map, "missing", 0, &data, nullptr), ENOENT);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(arraymap_index(&map, "missing", 0, nullptr, &len), ENOENT);
    EXPECT_EQ(len, 0U);
}

TEST_F(ArraymapIndex, ClearsTheOutputsForAMissingKey)
{
    expect_cleared("key", 0);
    fill(map, {{"key", {"a"}}});
    expect_cleared("KEY", 0);
    expect_cleared("", 0);
}

TEST_F(ArraymapIndex, ClearsTheOutputsForAPositionBehindTheLast)
{
    fill(map, {{"key", {"a", "b"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        expect_cleared("key", index);
    }
}

TEST_F(ArraymapIndex, LeavesTheOutputsForBadArguments)
{
    const void *const before = data;
    fill(map, {{"key", {"a"}}});
    EXPECT_EQ(arraymap_index(nullptr, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(arraymap_index(&map, nullptr, 0, &data, &len), EINVAL);
    ASSERT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_index(&map, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(data, before);
    EXPECT_EQ(len, 77U);
}

TEST_F(ArraymapIndex, GivesPointersThatLastWhileOtherKeysAndValuesComeAndGo)
{
    fill(map, {{"key", {"a", "value", "c"}}});
    ASSERT_EQ(arraymap_index(&map, "key", 1, &data, &len), 0);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), "v"), 0);
        ASSERT_EQ(insert(map, "key", std::to_string(i)), 0);
    }
    for (int i = 0; i < 100; i += 2) {
        ASSERT_EQ(arraymap_erase(&map, std::to_string(i).c_str()), 0);
        ASSERT_EQ(delete_value(map, "key", std::to_string(i)), 0);
    }
    ASSERT_EQ(arraymap_remove(&map, "key", 0), 0);
    EXPECT_EQ(std::memcmp(data, "value", 5), 0);
    EXPECT_EQ(stored_text(map, "key", 0), data);
}

class ArraymapHaskey : public ArraymapTest {};

TEST_F(ArraymapHaskey, TellsWhetherTheKeyIsThere)
{
    EXPECT_EQ(arraymap_haskey(&map, "key"), 0);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(arraymap_haskey(&map, "key"), 1);
    EXPECT_EQ(arraymap_haskey(&map, "KEY"), 0);
    EXPECT_EQ(arraymap_haskey(&map, ""), 0);
    EXPECT_EQ(arraymap_haskey(&map, "other"), 0);
}

TEST_F(ArraymapHaskey, DoesNotLookAtTheKeyInAnEmptyArraymap)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(arraymap_haskey(&map, "key"), 0); }), 0);
}

TEST_F(ArraymapHaskey, IsFalseForNullsAndReleasedArraymaps)
{
    EXPECT_EQ(arraymap_haskey(nullptr, "key"), 0);
    EXPECT_EQ(arraymap_haskey(&map, nullptr), 0);
    fill(map, {{"key", {"value"}}});
    expect_unchanged(0, [&] { return arraymap_haskey(&map, nullptr); });
    ASSERT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(0, [&] { return arraymap_haskey(&map, "key"); });
}

class ArraymapClear : public ArraymapTest {};

TEST_F(ArraymapClear, RemovesEverythingAndKeepsSettingsAndBuckets)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 8), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 100), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 200), 0);
    const ArraymapState before = state_of(map);
    const std::size_t live = allocations::live();
    for (std::size_t i = 0; i < 50; ++i) {
        fill(map, {{std::string(i, 'k'), {"1", "2", ""}}});
    }
    EXPECT_EQ(allocations::live(), live + 200);
    EXPECT_EQ(arraymap_clear(&map), 0);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapClear, OfAnEmptyArraymapDoesNothing)
{
    expect_unchanged(0, [&] { return arraymap_clear(&map); });
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_clear(&map), 0);
    expect_unchanged(0, [&] { return arraymap_clear(&map); });
}

TEST_F(ArraymapClear, LooksAtNoBucketWithoutKeys)
{
    fill(map, {{"key", {"value"}}});
    for (const int count : {0, -1, INT_MIN}) {
        map.numkeys = count;
        EXPECT_EQ(arraymap_clear(&map), 0);
        EXPECT_EQ(map.numkeys, count);
    }
    map.numkeys = 1;
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"value"}}}));
}

TEST_F(ArraymapClear, RefusesNullAndReleasedArraymaps)
{
    EXPECT_EQ(arraymap_clear(nullptr), EINVAL);
    ASSERT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return arraymap_clear(&map); });
}

TEST_F(ArraymapClear, LeavesAnArraymapThatCanBeFilledAgain)
{
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(arraymap_clear(&map), 0);
    fill(map, {{"key", {"b", "a"}}});
    EXPECT_EQ(values_of(map, "key"), (Values{"b", "a"}));
}

TEST_F(ArraymapClear, AsksNoHash)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, counting_hash), 0);
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    EXPECT_EQ(hashes_during([&] { EXPECT_EQ(arraymap_clear(&map), 0); }), 0);
}

class ArraymapDestroy : public ArraymapTest {};

TEST_F(ArraymapDestroy, ReleasesTheRecordAndKeepsLimitsAndCasekeys)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 9), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 11), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(map.buckets, nullptr);
    EXPECT_EQ(map.hashsize, 0U);
    EXPECT_EQ(map.hashfunc, nullptr);
    EXPECT_EQ(map.numkeys, 0);
    EXPECT_EQ(map.numvalues, 0);
    EXPECT_EQ(map.maxkeys, 9);
    EXPECT_EQ(map.maxvalues, 11);
    EXPECT_EQ(map.casekeys, 1U);
}

TEST_F(ArraymapDestroy, FreesKeysValuesAndBuckets)
{
    arraymap_t other;
    const std::size_t live = allocations::live();
    ASSERT_EQ(arraymap_init(&other), 0);
    for (int i = 0; i < 100; ++i) {
        fill(other, {{std::to_string(i), {"1", "2"}}});
    }
    EXPECT_EQ(allocations::live(), live + 301);
    EXPECT_EQ(arraymap_destroy(&other), 0);
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapDestroy, RefusesAReleasedArraymap)
{
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return arraymap_destroy(&map); });
    expect_unchanged(EINVAL, [&] { return arraymap_destroy(&map); });
}

TEST_F(ArraymapDestroy, RefusesNull)
{
    EXPECT_EQ(arraymap_destroy(nullptr), EINVAL);
}

TEST_F(ArraymapDestroy, MayBeFollowedByInit)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 1), 0);
    ASSERT_EQ(arraymap_destroy(&map), 0);
    ASSERT_EQ(arraymap_init(&map), 0);
    EXPECT_EQ(map.maxkeys, -1);
    EXPECT_EQ(map.maxvalues, -1);
    EXPECT_EQ(map.casekeys, 0U);
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(map, "key"), (Values{"a", "b"}));
}

// One key of three spellings.
class ArraymapCaseInsensitive : public ArraymapTest {
  protected:
    ArraymapCaseInsensitive()
    {
        EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    }
};

TEST_F(ArraymapCaseInsensitive, InsertAddsToTheKeyAndKeepsItsFirstSpelling)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}, {"key", {"3"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(map.numkeys, 1);
}

TEST_F(ArraymapCaseInsensitive, InsertAddsTheValueAgainUnderAnySpelling)
{
    fill(map, {{"Key", {"1"}}, {"kEY", {"1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "1"}}}));
}

TEST_F(ArraymapCaseInsensitive, ReplaceKeepsTheSpelling)
{
    fill(map, {{"Key", {"1", "2"}}});
    EXPECT_EQ(replace(map, "KEY", 1, "3"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "3"}}}));
}

TEST_F(ArraymapCaseInsensitive, ValuesStillDifferByCase)
{
    fill(map, {{"Key", {"value", "VALUE"}}});
    expect_unchanged(ENOENT, [&] { return delete_value(map, "KEY", "Value"); });
    ASSERT_EQ(delete_value(map, "KEY", "value"), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"VALUE"});
}

TEST_F(ArraymapCaseInsensitive, EveryCallFindsAnySpelling)
{
    fill(map, {{"Key", {"1", "2", "3", "2", "4"}}});
    EXPECT_EQ(arraymap_haskey(&map, "kEY"), 1);
    EXPECT_EQ(values_of(map, "KEY"), (Values{"1", "2", "3", "2", "4"}));
    EXPECT_EQ(delete_value(map, "KEY", "2"), 0);
    EXPECT_EQ(arraymap_remove(&map, "kEY", 0), 0);
    EXPECT_EQ(replace(map, "KeY", 1, "5"), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"3", "5"}}}));
    EXPECT_EQ(arraymap_erase(&map, "keY"), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(ArraymapCaseInsensitive, InsertNeedsNoRoomForAnotherSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(insert(map, "KEY", "2"), 0);
    expect_unchanged(1, [&] { return insert(map, "other", "1"); });
}

TEST_F(ArraymapCaseInsensitive, AKeyMadeAnewTakesTheNewSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(delete_value(map, "key", "1"), 0);
    fill(map, {{"KEY", {"1"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"KEY", {"1"}}}));
}

TEST_F(ArraymapCaseInsensitive, SpellingsThatACallersHashPartsAreDifferentKeys)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 128), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    fill(map, {{"Key", {"1"}}, {"key", {"1"}}, {"KEY", {"2"}}});
    EXPECT_EQ(numbered_content_of(map), (Content{{"Key", {"1", "2"}}, {"key", {"1"}}}));
}

// Arguments that lie inside the arraymap, in the very node that the call frees where it frees one.
class ArraymapAliasing : public ArraymapTest {};

TEST_F(ArraymapAliasing, InsertTakesAKeysTextAsItsOwnValue)
{
    fill(map, {{"key", {"value"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_insert(&map, key, key, 4), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"value", "key\0"s}));
}

TEST_F(ArraymapAliasing, InsertTakesAValuesTextAsANewKeyThatHoldsIt)
{
    fill(map, {{"key", {"value\0"s}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(arraymap_insert(&map, text, text, 5), 0);
    EXPECT_EQ(values_of(map, "value"), Values{"value"});
    EXPECT_EQ(values_of(map, "key"), Values{"value\0"s});
}

TEST_F(ArraymapAliasing, InsertCopiesAValueToAnotherKey)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(arraymap_insert(&map, "other", stored_text(map, "key", 0), 5), 0);
    EXPECT_NE(stored_text(map, "other", 0), stored_text(map, "key", 0));
    ASSERT_EQ(arraymap_erase(&map, "key"), 0);
    EXPECT_EQ(values_of(map, "other"), Values{"value"});
}

TEST_F(ArraymapAliasing, InsertTakesAValueItselfUnderItsOwnKey)
{
    fill(map, {{"key", {"a", "value"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_insert(&map, key, stored_text(map, "key", 1), 5), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"a", "value", "value"}}}));
    EXPECT_NE(stored_text(map, "key", 1), stored_text(map, "key", 2));
}

TEST_F(ArraymapAliasing, InsertTakesAPartOfAValueUnderItsOwnKey)
{
    fill(map, {{"key", {"value"}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(arraymap_insert(&map, stored_key(map, "key"), text + 1, 3), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"value", "alu"}));
}

TEST_F(ArraymapAliasing, IndexAndHaskeyTakeAKeyOfTheArraymap)
{
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(map, stored_key(map, "key")), (Values{"a", "b"}));
    EXPECT_EQ(arraymap_haskey(&map, stored_key(map, "key")), 1);
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

TEST_F(ArraymapAliasing, DeleteTakesAPartOfAValueThatStays)
{
    fill(map, {{"key", {"alu", "value", "alu"}}});
    ASSERT_EQ(arraymap_delete(&map, "key", stored_text(map, "key", 1) + 1, 3), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"value"}}}));
}

TEST_F(ArraymapAliasing, DeleteTakesTheBytesOfTheValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values left{"a", "b", "c"};
        fill(map, {{"key", left}});
        left.erase(left.begin() + index);
        const char *text = stored_text(map, "key", index);
        ASSERT_EQ(arraymap_delete(&map, stored_key(map, "key"), text, 1), 0);
        EXPECT_EQ(numbered_content_of(map), (Content{{"key", left}}));
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

TEST_F(ArraymapAliasing, DeleteTakesKeyAndValueThatGoTogether)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"value"}}, {"z", {"1"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_delete(&map, key, stored_text(map, "key", 0), 5), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(ArraymapAliasing, DeleteTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(map, {{"key", {"key\0"s, "other"}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(arraymap_delete(&map, text, text, 4), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"other"}}}));
}

TEST_F(ArraymapAliasing, DeleteTakesAKeyThatLiesInTheOnlyValue)
{
    fill(map, {{"key", {"key\0"s}}});
    const char *text = stored_text(map, "key", 0);
    ASSERT_EQ(arraymap_delete(&map, text, text, 4), 0);
    EXPECT_EQ(numbered_content_of(map), Content{});
}

TEST_F(ArraymapAliasing, DeleteTakesAValueThatLiesInTheKeyThatGoes)
{
    fill(map, {{"key", {"key"}}});
    const char *key = stored_key(map, "key");
    ASSERT_EQ(arraymap_delete(&map, key, key, 3), 0);
    EXPECT_EQ(numbered_content_of(map), Content{});
}

TEST_F(ArraymapAliasing, RemoveTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(arraymap_remove(&map, stored_key(map, "key"), 1), 0);
    ASSERT_EQ(arraymap_remove(&map, stored_key(map, "key"), 0), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(ArraymapAliasing, RemoveTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(map, {{"key", {"other", "key\0"s}}});
    ASSERT_EQ(arraymap_remove(&map, stored_text(map, "key", 1), 1), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"other"}}}));
    fill(map, {{"one", {"one\0"s}}});
    ASSERT_EQ(arraymap_remove(&map, stored_text(map, "one", 0), 0), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"key", {"other"}}}));
}

TEST_F(ArraymapAliasing, EraseTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"a", {"1"}}, {"key", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(arraymap_erase(&map, stored_key(map, "key")), 0);
    EXPECT_EQ(numbered_content_of(map), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TEST_F(ArraymapAliasing, EraseTakesAKeyThatLiesInAValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values values{"1", "2"};
        values.insert(values.begin() + index, "key\0"s);
        fill(map, {{"key", values}, {"other", {"1"}}});
        ASSERT_EQ(arraymap_erase(&map, stored_text(map, "key", index)), 0);
        EXPECT_EQ(numbered_content_of(map), (Content{{"other", {"1"}}}));
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

class ArraymapHashlist : public ArraymapTest {
  protected:
    uint32_t bucket_of(const char *key)
    {
        return static_cast<uint32_t>(_arraymap_hashlist(&map, key) - map.buckets);
    }
};

TEST_F(ArraymapHashlist, MasksTheBuiltInHash)
{
    EXPECT_EQ(bucket_of(""), 0U);
    EXPECT_EQ(bucket_of("A"), 65U % 32);
    EXPECT_EQ(bucket_of("AB"), (65U * 31 + 66) % 32);
    ASSERT_EQ(arraymap_sethashsize(&map, 1024), 0);
    EXPECT_EQ(bucket_of("AB"), (65U * 31 + 66) % 1024);
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    EXPECT_EQ(bucket_of("AB"), 0U);
}

TEST_F(ArraymapHashlist, FoldsCaseWhateverCasekeysSays)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 4096), 0);
    for (const uint32_t casekeys : {0U, 1U}) {
        ASSERT_EQ(arraymap_setcasekeys(&map, casekeys), 0);
        EXPECT_EQ(bucket_of("kEy"), 0x0001223FU % 4096);
        EXPECT_EQ(bucket_of("KEY"), bucket_of("key"));
        EXPECT_EQ(bucket_of("{"), 0x7BU);
        EXPECT_EQ(bucket_of("["), 0x5BU);
    }
}

TEST_F(ArraymapHashlist, CountsBytesAbove0x7FAsNegative)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 4096), 0);
    EXPECT_EQ(bucket_of("\377"), 0xFFFFFFFFU % 4096);
    EXPECT_EQ(bucket_of("\351"), 0xFFFFFFE9U % 4096);
    EXPECT_EQ(bucket_of("\200"), 0xFFFFFF80U % 4096);
    EXPECT_EQ(bucket_of("\377A"), (0xFFFFFFFFU * 31 + 65) % 4096);
}

TEST_F(ArraymapHashlist, MasksTheCallersHash)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, [](const void *, const char *) { return UINT32_MAX; }), 0);
    EXPECT_EQ(bucket_of("key"), 31U);
    ASSERT_EQ(arraymap_sethashsize(&map, 4), 0);
    EXPECT_EQ(bucket_of("key"), 3U);
}

TEST_F(ArraymapHashlist, GivesTheCallersHashTheArraymapAndTheKey)
{
    static const void *container;
    static const char *asked;
    ASSERT_EQ(arraymap_sethashfunc(&map,
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

class ArraymapKeycmp : public ArraymapTest {};

TEST_F(ArraymapKeycmp, OrdersAsStrcmp)
{
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "key", "key")), 0);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "a", "b")), -1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "b", "a")), 1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "", "a")), -1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "a", "aa")), -1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "a", "B")), 1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "key", "KEY")), 1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "\377", "a")), 1);
}

TEST_F(ArraymapKeycmp, OrdersAsStrcasecmpOnceCasekeysIsSet)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "key", "KEY")), 0);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "KeY", "kEy")), 0);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "a", "B")), -1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "B", "a")), 1);
    EXPECT_EQ(sign(_arraymap_keycmp(&map, "a", "AA")), -1);
    EXPECT_NE(sign(_arraymap_keycmp(&map, "{", "[")), 0);
}

class ArraymapEntry : public ArraymapTest {};

TEST_F(ArraymapEntry, IsTheNodeOfTheKeyWhereverItStandsInItsBucket)
{
    ASSERT_EQ(arraymap_sethashsize(&map, 1), 0);
    fill(map, {{"one", {"1"}}, {"two", {"1", "2"}}, {"three", {"1", "2", "3"}}});
    const void *link = map.buckets[0].first;
    for (const char *key : {"one", "two", "three"}) {
        const arraymap_key_t *node = _arraymap_entry(&map, key);
        ASSERT_NE(node, nullptr) << key;
        EXPECT_EQ(node, link);
        EXPECT_STREQ(node->key, key);
        link = node->next;
    }
}

TEST_F(ArraymapEntry, IsNullForAMissingKey)
{
    EXPECT_EQ(_arraymap_entry(&map, "key"), nullptr);
    fill(map, {{"key", {"value"}}});
    EXPECT_EQ(_arraymap_entry(&map, "KEY"), nullptr);
    EXPECT_EQ(_arraymap_entry(&map, "value"), nullptr);
}

TEST_F(ArraymapEntry, IsFoundByAnySpellingOnceCasekeysIsSet)
{
    fill(map, {{"Key", {"value"}}});
    const arraymap_key_t *node = _arraymap_entry(&map, "Key");
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(_arraymap_entry(&map, "kEY"), node);
}

class ArraymapValue : public ArraymapTest {};

TEST_F(ArraymapValue, IsTheFirstNodeOfTheBytesUnderTheKey)
{
    fill(map, {{"key", {"a", "ab", "a\0"s, "ab", "a"}}, {"other", {"ab"}}});
    const arraymap_value_t *first = _arraymap_entry(&map, "key")->values.first;
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 1), first);
    EXPECT_EQ(_arraymap_value(&map, "key", "ab", 2), first->next);
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 2), first->next->next);
    EXPECT_EQ(_arraymap_value(&map, "other", "ab", 2),
              _arraymap_entry(&map, "other")->values.first);
}

TEST_F(ArraymapValue, IsNullForAMissingKeyOrValue)
{
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 1), nullptr);
    fill(map, {{"key", {"a"}}, {"other", {"b"}}});
    EXPECT_EQ(_arraymap_value(&map, "missing", "a", 1), nullptr);
    EXPECT_EQ(_arraymap_value(&map, "key", "b", 1), nullptr);
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 0), nullptr);
    EXPECT_EQ(_arraymap_value(&map, "key", "a", 2), nullptr);
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
