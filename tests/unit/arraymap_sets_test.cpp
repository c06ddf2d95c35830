#include "arraymap_fixture.hpp"

#include "arraymap_internal.h"

namespace {

using Content = std::vector<KeyValues>;
using Keys = std::vector<std::string>;
using Values = std::vector<std::string>;
using Indexes = std::vector<uint32_t>;

// As arraymaps hold it that put every key into one bucket: iteration follows insertion.
void fill_in_order(arraymap_t &map, const Content &content)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, content);
}

void release(arraymap_t &map)
{
    ASSERT_EQ(arraymap_destroy(&map), 0);
}

// Empty again, with a number of buckets that arraymap_sethashsize need not accept.
void remake(arraymap_t &map, uint32_t hashsize)
{
    if (map.buckets != nullptr) {
        release(map);
    }
    ASSERT_EQ(arraymap_init_special(&map, hashsize), 0);
}

// One key with the values 1, 2, 3, whose indexes are 0, 1, 1.
void make_merged(arraymap_t &map)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(values_of(map, "Key"), (Values{"1", "2", "3"}));
    ASSERT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
}

std::vector<std::pair<const void *, std::string>> hashings;

uint32_t recording_hash(const void *container, const char *key)
{
    hashings.emplace_back(container, key);
    return 0;
}

// The keys that a call hashes for one arraymap.
Keys hashed_for(const arraymap_t *map)
{
    Keys keys;
    for (const auto &[container, key] : hashings) {
        if (container == map) {
            keys.push_back(key);
        }
    }
    return keys;
}

constexpr allocations::Failure::How ways_to_fail[] = {allocations::Failure::once,
                                                      allocations::Failure::for_good};

// Calls without memory for the nth allocation, for each nth that there is, and each way: prepare()
// comes before each call, expect_failed(nth) after each that must give 12. Gives their number.
std::size_t fail_each_allocation(const std::function<void()> &prepare,
                                 const std::function<int()> &call,
                                 const std::function<void(std::size_t)> &expect_failed)
{
    std::size_t allocations_made = 0;
    for (const auto how : ways_to_fail) {
        for (std::size_t nth = 0;; ++nth) {
            SCOPED_TRACE(nth);
            prepare();
            int result;
            bool failed;
            {
                allocations::Failure no_memory(nth, how);
                result = call();
                failed = no_memory.happened();
            }
            if (!failed) {
                EXPECT_EQ(result, 0);
                allocations_made = nth;
                break;
            }
            EXPECT_EQ(result, ENOMEM);
            expect_failed(nth);
        }
    }
    return allocations_made;
}

class ArraymapIsEqual : public ArraymapTest {
  protected:
    Arraymap other;
};

class ArraymapPair : public ArraymapTest {
  protected:
    Arraymap a;
    Arraymap b;
};

class ArraymapIntersection : public ArraymapPair {};

class ArraymapUnion : public ArraymapPair {};

class ArraymapMerge : public ArraymapTest {
  protected:
    Arraymap src;
};

class ArraymapCopy : public ArraymapTest {
  protected:
    Arraymap src;
};

// An operation that fills `dst` with all that `src` holds, without looking first.
struct Refill {
    const char *name;
    int (*call)(const arraymap_t *src, arraymap_t *dst);
};

const Refill refills[] = {
    {"Copy", arraymap_copy},
    {"IntersectionWithItself",
     [](const arraymap_t *src, arraymap_t *dst) {
         return arraymap_intersection(src, src, dst);
     }},
    {"UnionWithItself",
     [](const arraymap_t *src, arraymap_t *dst) {
         return arraymap_union(src, src, dst);
     }},
};

std::string name_of(const testing::TestParamInfo<Refill> &info)
{
    return info.param.name;
}

class ArraymapRefill : public ArraymapTest, public testing::WithParamInterface<Refill> {
  protected:
    int refill()
    {
        return GetParam().call(&src, &map);
    }

    Arraymap src;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Arraymap, ArraymapRefill, testing::ValuesIn(refills), name_of);

TEST_F(ArraymapIsEqual, HoldsForTheSamePairsInAnyOrder)
{
    for (int i = 0; i < 300; ++i) {
        const int back = 299 - i;
        ASSERT_EQ(insert(map, std::to_string(i / 3).c_str(), std::to_string(i)), 0);
        ASSERT_EQ(insert(*other, std::to_string(back / 3).c_str(), std::to_string(back)), 0);
    }
    ASSERT_NE(values_of(map, "7"), values_of(*other, "7"));
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
}

TEST_F(ArraymapIsEqual, HoldsForAnArraymapAndItself)
{
    EXPECT_EQ(arraymap_isequal(&map, &map), 1);
    fill(map, {{"x", {"1", "2"}}, {"y", {""}}});
    EXPECT_EQ(arraymap_isequal(&map, &map), 1);
}

TEST_F(ArraymapIsEqual, ComparesNumbersOfValuesAndContainmentOnly)
{
    fill(map, {{"k", {"x", "x"}}});
    fill(*other, {{"k", {"x", "y"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, DoesNotCompareHowOftenAValueOccurs)
{
    fill(map, {{"k", {"x", "x", "y"}}, {"l", {"x"}}});
    fill(*other, {{"k", {"y", "x"}}, {"l", {"x", "x"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
}

TEST_F(ArraymapIsEqual, CountsEqualValuesEach)
{
    fill(map, {{"k", {"x", "x"}}});
    fill(*other, {{"k", {"x"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, DoesNotLookAtIndexes)
{
    make_merged(map);
    fill(*other, {{"Key", {"1", "2", "3"}}});
    ASSERT_EQ(indexes_of(*other, "Key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
}

TEST_F(ArraymapIsEqual, WorksOnANumberOfBucketsThatIsNoPowerOfTwo)
{
    remake(*other, 48);
    for (int i = 0; i < 100; ++i) {
        const std::string key = std::to_string(i);
        fill(map, {{key, {"1", "2"}}});
        fill(*other, {{key, {"2", "1"}}});
    }
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
    ASSERT_EQ(arraymap_replace(&other, "99", 1, "3", 1), 0);
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, DoesNotLookAtTheSettings)
{
    const Content content = {{"x", {"1", "2"}}, {"y", {""}}, {"Z", {"\0"s}}};
    fill(map, content);
    fill(*other, content);
    ASSERT_EQ(arraymap_sethashsize(&other, 4), 0);
    ASSERT_EQ(arraymap_sethashfunc(&other, hash_length), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&other, 3), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&other, 4), 0);
    ASSERT_EQ(arraymap_setcasekeys(&other, 1), 0);
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
}

TEST_F(ArraymapIsEqual, FailsForADifferentNumberOfKeys)
{
    fill(map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1", "2"}}});
    ASSERT_EQ(map.numvalues, other->numvalues);
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
    ASSERT_EQ(arraymap_clear(&other), 0);
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForADifferentNumberOfKeysThoughTheSecondHoldsEveryPair)
{
    ASSERT_EQ(arraymap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    fill(*other, {{"key", {"1", "2"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForADifferentNumberOfValues)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1"}}, {"y", {"2"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForOtherKeys)
{
    fill(map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1"}}, {"z", {"2"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForTheSameValuesUnderOtherKeys)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"3"}}});
    fill(*other, {{"x", {"1"}}, {"y", {"2", "3"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForAnotherByteInTheLastValueOfAKey)
{
    fill(map, {{"x", {"1", "2\0a"s}}});
    fill(*other, {{"x", {"1", "2\0b"s}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, FailsForAnotherLengthOfAValue)
{
    fill(map, {{"x", {"text"}}});
    fill(*other, {{"x", {"text\0"s}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, LooksKeysUpWithTheComparisonOfTheSecondArraymap)
{
    ASSERT_EQ(arraymap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"v"}}});
    fill(*other, {{"KEY", {"v"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, LetsSpellingsOfOneKeyMeetTheSamePairOfTheSecondArraymap)
{
    ASSERT_EQ(arraymap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"v"}}, {"KEY", {"v"}}});
    fill(*other, {{"key", {"v"}}, {"x", {"w"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, HoldsForTwoNullArraymapsOnly)
{
    EXPECT_EQ(arraymap_isequal(nullptr, nullptr), 1);
    EXPECT_EQ(arraymap_isequal(&map, nullptr), 0);
    EXPECT_EQ(arraymap_isequal(nullptr, &map), 0);
    release(*other);
    EXPECT_EQ(arraymap_isequal(&other, nullptr), 0);
    EXPECT_EQ(arraymap_isequal(nullptr, &other), 0);
}

TEST_F(ArraymapIsEqual, TakesAReleasedArraymapForAnEmptyOne)
{
    release(*other);
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
    EXPECT_EQ(arraymap_isequal(&other, &other), 1);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
    release(map);
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
}

TEST_F(ArraymapIsEqual, TakesAnArraymapWithoutBucketsForAnEmptyOne)
{
    remake(*other, 0);
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TEST_F(ArraymapIsEqual, LeavesBothAsTheyAreAndAllocatesNothing)
{
    fill(map, {{"x", {"1", "2"}}});
    fill(*other, {{"x", {"2", "1"}}});
    const ArraymapState before = state_of(*other);
    expect_unchanged(1, [&] {
        allocations::Failure no_memory(0);
        const int result = arraymap_isequal(&map, &other);
        EXPECT_FALSE(no_memory.happened());
        return result;
    });
    EXPECT_EQ(state_of(*other), before);
}

TEST_F(ArraymapIsEqual, HashesEachKeyOnceInTheSecondArraymapAlone)
{
    const Content content = {{"x", {"1", "2", "3"}}, {"y", {"1"}}};
    for (arraymap_t *one : {&map, &other}) {
        ASSERT_EQ(arraymap_sethashfunc(one, recording_hash), 0);
        fill(*one, content);
    }
    hashings.clear();
    ASSERT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(hashed_for(&other), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&map), Keys{});
}

TEST_P(ArraymapRefill, FillsTheDestinationWithThePairsOfTheSourceInTheirOrder)
{
    const Content content = {{"", {"empty key", ""}},
                             {"x", {"a\0b"s, "a\0c"s, "a", "a\0b"s, "\0"s}},
                             {"\xff\x80", {""}},
                             {"y", {"\xff", "\xff", "\x7f", "1", "\xff"}}};
    fill_in_order(*src, content);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), content);
    EXPECT_EQ(arraymap_isequal(&map, &src), 1);
}

TEST_P(ArraymapRefill, ClearsTheDestinationFirst)
{
    fill(map, {{"old", {"1"}}, {"x", {"stale", "fresh"}}});
    fill(*src, {{"x", {"fresh"}}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"fresh"}}}));
}

TEST_P(ArraymapRefill, OfAnEmptySourceEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_P(ArraymapRefill, NumbersTheValuesByTheirPositions)
{
    make_merged(*src);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(values_of(map, "Key"), (Values{"1", "2", "3"}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2}));
}

TEST_P(ArraymapRefill, FillsADestinationWhoseNumberOfBucketsIsNoPowerOfTwo)
{
    remake(map, 48);
    fill(map, {{"old", {"1"}}});
    fill(*src, {{"x", {"1", "1"}}, {"y", {"2"}}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "1"}));
    EXPECT_EQ(values_of(map, "y"), Values{"2"});
}

TEST_P(ArraymapRefill, WorksOnNumbersOfBucketsThatAreNoPowerOfTwo)
{
    remake(map, 48);
    remake(*src, 48);
    for (int i = 0; i < 100; ++i) {
        fill(*src, {{std::to_string(i), {"1", "1"}}});
    }
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), content_of(*src));
    EXPECT_EQ(map.numkeys, 100);
    EXPECT_EQ(map.hashsize, 48U);
}

TEST_P(ArraymapRefill, KeepsTheHashTheCaseFlagAndTheLimitsOfTheDestination)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 50), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 60), 0);
    fill(*src, {{"ccc", {"1", "2"}}, {"a", {"2"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&src, 70), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&src, 80), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(map.maxvalues, 60);
    EXPECT_EQ(content_of(map), (Content{{"a", {"2"}}, {"ccc", {"1", "2"}}}));
    EXPECT_EQ(arraymap_haskey(&map, "A"), 1);
}

TEST_P(ArraymapRefill, CopiesKeysAndValues)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(refill(), 0);
    EXPECT_NE(stored_key(map, "x"), stored_key(*src, "x"));
    EXPECT_NE(stored_text(map, "x", 1), stored_text(*src, "x", 1));
    release(*src);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(values_of(map, "y"), Values{"2"});
}

TEST_P(ArraymapRefill, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const ArraymapState before = state_of(*src);
    ASSERT_EQ(refill(), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_P(ArraymapRefill, OfMoreKeysThanTheDestinationAdmitsLeavesItEmpty)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(map, {{"old", {"1"}}});
    const ArraymapState before = state_of(*src);
    for (int32_t limit : {3, 2, 1, 0}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(arraymap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(refill(), 1);
        EXPECT_EQ(content_of(map), Content{});
        EXPECT_EQ(map.maxkeys, limit);
    }
    EXPECT_EQ(state_of(*src), before);
}

TEST_P(ArraymapRefill, AdmitsAnyNumberOfValuesUnderTheKeysThatTheLimitAdmits)
{
    fill(*src, {{"x", {"1", "2", "3"}}, {"y", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 4), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(map.numvalues, 7);
}

TEST_P(ArraymapRefill, KeepsEqualValuesOfKeysThatAreEqualInACaseInsensitiveDestination)
{
    fill_in_order(*src, {{"Key", {"1"}}, {"x", {"1"}}, {"KEY", {"2", "1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "1"}}, {"x", {"1"}}}));
}

TEST_P(ArraymapRefill, JoinsKeysThatAreEqualInACaseInsensitiveDestination)
{
    fill_in_order(*src, {{"Key", {"3", "1"}}, {"x", {"1"}}, {"KEY", {"2"}}, {"key", {"0"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"3", "1", "2", "0"}}, {"x", {"1"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2, 3}));
}

TEST_P(ArraymapRefill, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"1"}}, {"z", {"1", "2", "3"}}});
    const ArraymapState src_before = state_of(*src);
    const map_bucket_t *buckets = map.buckets;
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(arraymap_clear(&map), 0);
                      fill(map, {{"old", {"1", "2"}}});
                  },
                  [&] { return refill(); },
                  [&](std::size_t) { EXPECT_EQ(content_of(map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(arraymap_isequal(&map, &src), 1);
    EXPECT_EQ(state_of(*src), src_before);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_P(ArraymapRefill, RefusesANullArraymapAndLeavesTheOther)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, nullptr); });
    EXPECT_EQ(GetParam().call(nullptr, nullptr), EINVAL);
}

TEST_P(ArraymapRefill, RefusesTheSourceAsDestinationAndLeavesIt)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
    release(map);
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
}

TEST_P(ArraymapRefill, RefusesAReleasedDestination)
{
    release(map);
    expect_unchanged(EINVAL, [&] { return refill(); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return refill(); });
    EXPECT_EQ(content_of(*src), (Content{{"x", {"1"}}}));
    release(*src);
    expect_unchanged(EINVAL, [&] { return refill(); });
}

TEST_P(ArraymapRefill, RefusesADestinationWithoutBuckets)
{
    remake(map, 0);
    expect_unchanged(EINVAL, [&] { return refill(); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return refill(); });
    EXPECT_EQ(content_of(*src), (Content{{"x", {"1"}}}));
    remake(*src, 0);
    expect_unchanged(EINVAL, [&] { return refill(); });
}

TEST_F(ArraymapIntersection, HoldsThePairsThatBothHold)
{
    fill_in_order(*a, {{"same", {"1", "2", "3"}},
                       {"only a", {"2"}},
                       {"other value", {"3"}},
                       {"other length", {"text"}},
                       {"other byte", {"x\0y"s}},
                       {"empty", {"", "x"}},
                       {"text", {"t\0"s}}});
    fill(*b, {{"text", {"t", "t\0"s}},
              {"other byte", {"x\0z"s}},
              {"other length", {"text\0"s}},
              {"other value", {"4"}},
              {"only b", {"2"}},
              {"same", {"3", "0", "1"}},
              {"empty", {"y", ""}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"same", {"1", "3"}}, {"empty", {""}}, {"text", {"t\0"s}}}));
}

TEST_F(ArraymapIntersection, HoldsAValueAsOftenAsTheFirstDoes)
{
    fill_in_order(*a, {{"k", {"x", "y", "x", "z", "x"}}, {"l", {"y"}}});
    fill(*b, {{"k", {"x", "z"}}, {"l", {"y", "y", "y"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"k", {"x", "x", "z", "x"}}, {"l", {"y"}}}));
    EXPECT_EQ(indexes_of(map, "k"), (Indexes{0, 1, 2, 3}));
}

TEST_F(ArraymapIntersection, VisitsEveryBucketWhateverTheirNumbers)
{
    for (const auto &[a_size, b_size] : {std::pair{8U, 128U}, {128U, 8U}, {48U, 32U}, {32U, 48U}}) {
        SCOPED_TRACE(a_size);
        remake(*a, a_size);
        remake(*b, b_size);
        for (int i = 0; i < 100; ++i) {
            const std::string key = std::to_string(i);
            fill(*a, {{key, {"1", "2", "1"}}});
            fill(*b, {{key, {"1"}}});
        }
        EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
        EXPECT_EQ(map.numkeys, 100);
        EXPECT_EQ(map.numvalues, 200);
    }
}

TEST_F(ArraymapIntersection, OfArraymapsWithoutACommonPairEmptiesTheDestination)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*b, {{"x", {"2"}}, {"z", {"2"}}});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapIntersection, LooksKeysUpWithTheComparisonOfTheSecondArraymapAndKeepsTheSpelling)
{
    fill(*a, {{"Key", {"v"}}});
    fill(*b, {{"KEY", {"v"}}});
    ASSERT_EQ(arraymap_setcasekeys(&a, 1), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    ASSERT_EQ(arraymap_setcasekeys(&b, 1), 0);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v"}}}));
}

TEST_F(ArraymapIntersection, TakesEverySpellingThatTheSecondArraymapFinds)
{
    fill_in_order(*a, {{"Key", {"v"}}, {"KEY", {"v", "w"}}, {"key", {"x"}}});
    ASSERT_EQ(arraymap_setcasekeys(&b, 1), 0);
    fill(*b, {{"kEY", {"w", "v"}}});
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v"}}, {"KEY", {"v", "w"}}}));
}

TEST_F(ArraymapIntersection, CountsOnlyCommonPairsAgainstTheKeyLimit)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"4"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"y", {"2"}}}));
}

TEST_F(ArraymapIntersection, TakesSourcesWithoutBucketsForEmptyOnes)
{
    fill(*a, {{"x", {"1"}}});
    remake(*b, 0);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapIntersection, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(arraymap_sethashsize(&a, 64), 0);
    ASSERT_EQ(arraymap_sethashsize(&b, 128), 0);
    fill(*a, {{"x", {"1"}}});
    fill(*b, {{"x", {"1"}}});
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(ArraymapIntersection, HashesEachKeyOnceForTheSecondArraymapAndOnceForTheDestination)
{
    for (arraymap_t *one : {&a, &b, &map}) {
        ASSERT_EQ(arraymap_sethashfunc(one, recording_hash), 0);
    }
    fill(*a, {{"x", {"1", "2", "3"}}, {"only a", {"1", "2"}}, {"y", {"1"}}});
    fill(*b, {{"y", {"2", "1"}}, {"only b", {"1"}}, {"x", {"3", "2", "1"}}});
    hashings.clear();
    ASSERT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(hashed_for(&b), (Keys{"x", "only a", "y"}));
    EXPECT_EQ(hashed_for(&map), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&a), Keys{});
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2", "3"}}, {"y", {"1"}}}));
}

TEST_F(ArraymapIntersection, TakesReleasedSourcesForEmptyOnes)
{
    fill(*a, {{"x", {"1"}}});
    release(*b);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&b, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapIntersection, RefusesANullArraymapAndLeavesTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(nullptr, &a, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(&a, nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(nullptr, nullptr, &map); });
    EXPECT_EQ(arraymap_intersection(&a, &b, nullptr), EINVAL);
    EXPECT_EQ(arraymap_intersection(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(ArraymapIntersection, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(&map, &a, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(&a, &map, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_intersection(&map, &map, &map); });
    EXPECT_EQ(content_of(*a), (Content{{"x", {"1"}}}));
}

TEST_F(ArraymapIntersection, LeavesBothSourcesAsTheyAre)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2", "3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"3"}}});
    const ArraymapState a_before = state_of(*a);
    const ArraymapState b_before = state_of(*b);
    ASSERT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(ArraymapUnion, HoldsThePairsOfTheFirstThenThoseThatOnlyTheSecondHolds)
{
    fill_in_order(*a, {{"same", {"2", "1"}}, {"only a", {"1"}}, {"text", {"t"}}});
    fill_in_order(
        *b, {{"only b", {"2", "1"}}, {"text", {"t\0"s, "", "t"}}, {"same", {"3", "1", "2", "0"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"same", {"2", "1", "3", "0"}},
                                        {"only a", {"1"}},
                                        {"text", {"t", "t\0"s, ""}},
                                        {"only b", {"2", "1"}}}));
}

TEST_F(ArraymapUnion, KeepsEqualValuesOfTheFirstAndAddsNoneOfThemAgain)
{
    fill(*a, {{"k", {"x", "x"}}});
    fill(*b, {{"k", {"x", "y"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"k", {"x", "x", "y"}}}));
    EXPECT_EQ(indexes_of(map, "k"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapUnion, AddsEachValueOfTheSecondOnceUnderItsKey)
{
    fill(*a, {{"k", {"x"}}});
    fill_in_order(*b, {{"k", {"y", "x", "y", "z", "y"}}, {"l", {"y", "y", "x", "x"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"k", {"x", "y", "z"}}, {"l", {"y", "x"}}}));
}

TEST_F(ArraymapUnion, TellsValuesOfTheSecondApartByLengthAndByEveryByte)
{
    fill(*a, {{"x", {"ab", "a\0x"s}}});
    fill(*b, {{"x", {"ab\0"s, "a", "a\0y"s, "a\0x"s, "", "ab"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"ab", "a\0x"s, "ab\0"s, "a", "a\0y"s, ""}));
}

TEST_F(ArraymapUnion, LeavesOutKeysOfTheSecondInBucketsThatTheFirstDoesNotHave)
{
    remake(*a, 48);
    ASSERT_EQ(arraymap_sethashsize(&b, 64), 0);
    ASSERT_EQ(arraymap_sethashfunc(&b, hash_first_byte), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(*a, {{"0", {"a"}}});
    // In b's buckets 0, 47, 48, 48, 63.
    const Content content = {
        {"@", {"1"}}, {"/", {"1", "2"}}, {"0", {"b"}}, {"p", {"1"}}, {"?", {"1"}}};
    fill(*b, content);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"0", {"a"}}, {"@", {"1"}}, {"/", {"1", "2"}}}));

    ASSERT_EQ(arraymap_clear(&b), 0);
    ASSERT_EQ(arraymap_sethashsize(&b, 32), 0);
    fill(*b, content);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.numkeys, 5);
}

TEST_F(ArraymapUnion, VisitsOnlyTheFirstBucketsOfTheSecondWhenTheFirstHasOne)
{
    ASSERT_EQ(arraymap_sethashsize(&a, 1), 0);
    fill(*a, {{"z", {"1"}}});
    ASSERT_EQ(arraymap_sethashfunc(&b, hash_length), 0);
    fill(*b, {{"", {"in"}}, {"x", {"out"}}, {"yy", {"out"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(values_of(map, "z"), Values{"1"});
    EXPECT_EQ(values_of(map, ""), Values{"in"});
}

TEST_F(ArraymapUnion, CountsNoKeyThatItLeavesOutAgainstTheKeyLimit)
{
    ASSERT_EQ(arraymap_sethashsize(&a, 2), 0);
    ASSERT_EQ(arraymap_sethashfunc(&b, hash_length), 0);
    fill(*b, {{"x", {"in"}}, {"yy", {"out"}}, {"zz", {"out"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"in"}}}));
}

TEST_F(ArraymapUnion, ReadsNoFurtherThanTheLastBucketOfTheSecond)
{
    ASSERT_EQ(arraymap_sethashsize(&a, 1024), 0);
    ASSERT_EQ(arraymap_sethashsize(&b, 2), 0);
    fill(*a, {{"x", {"1"}}});
    fill(*b, {{"x", {"2"}}, {"y", {"1"}}, {"z", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(map.numvalues, 4);
}

TEST_F(ArraymapUnion, KeepsPairsOfTheFirstThatAreEqualInTheDestination)
{
    fill_in_order(*a, {{"Key", {"1"}}, {"KEY", {"1"}}});
    fill(*b, {{"key", {"1", "2"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1", "2"}}}));
}

TEST_F(ArraymapUnion, SkipsPairsOfTheSecondThatAreEqualInTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill_in_order(*b, {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"X", {"1", "2"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}, {"Key", {"1", "2", "3"}}}));
}

TEST_F(ArraymapUnion, ComparesKeysAsTheDestinationDoesNotAsTheSources)
{
    fill(*a, {{"Key", {"1"}}});
    fill(*b, {{"KEY", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&a, 1), 0);
    ASSERT_EQ(arraymap_setcasekeys(&b, 1), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1"}}, {"KEY", {"1"}}}));
}

TEST_F(ArraymapUnion, AtTheKeyLimitWithinTheSecondArraymapEmptiesTheDestination)
{
    fill(*a, {{"x", {"1"}}, {"y", {"1"}}});
    fill_in_order(*b, {{"x", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(arraymap_union(&a, &a, &map), 0);
    EXPECT_EQ(map.numkeys, 2);
}

TEST_F(ArraymapUnion, AddsValuesOfTheSecondToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*a, {{"x", {"1"}}, {"y", {"1"}}});
    fill(*b, {{"y", {"2", "1"}}, {"x", {"3"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "3"}));
    EXPECT_EQ(values_of(map, "y"), (Values{"1", "2"}));
    EXPECT_EQ(map.maxvalues, 2);
}

TEST_F(ArraymapUnion, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*a, {{"x", {"1", "2"}}, {"y", {"1"}}});
    fill(*b, {{"x", {"2", "3"}}, {"y", {"1"}}, {"z", {"1", "2"}}});
    const ArraymapState a_before = state_of(*a);
    const ArraymapState b_before = state_of(*b);
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(arraymap_clear(&map), 0);
                      fill(map, {{"old", {"1", "2"}}});
                  },
                  [&] { return arraymap_union(&a, &b, &map); },
                  [&](std::size_t) { EXPECT_EQ(content_of(map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2", "3"}));
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(ArraymapUnion, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(arraymap_sethashsize(&a, 64), 0);
    ASSERT_EQ(arraymap_sethashsize(&b, 128), 0);
    fill(*a, {{"x", {"1"}}});
    fill(*b, {{"x", {"2"}}});
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(ArraymapUnion, HashesEachKeyOfEachSourceOnceForTheDestinationAlone)
{
    for (arraymap_t *one : {&a, &b, &map}) {
        ASSERT_EQ(arraymap_sethashfunc(one, recording_hash), 0);
    }
    fill(*a, {{"x", {"1", "2", "3"}}, {"y", {"1"}}});
    fill(*b, {{"z", {"1", "2"}}, {"x", {"2", "4", "5"}}});
    hashings.clear();
    ASSERT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"x", "y", "z", "x"}));
    EXPECT_EQ(hashed_for(&a), Keys{});
    EXPECT_EQ(hashed_for(&b), Keys{});
}

TEST_F(ArraymapUnion, TakesAReleasedSecondForAnEmptyOne)
{
    fill(*a, {{"x", {"1", "2"}}});
    release(*b);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
    remake(*b, 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
}

TEST_F(ArraymapUnion, WithAFirstThatHasNoBucketsIsEmpty)
{
    fill(*b, {{"x", {"1", "2"}}});
    release(*a);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    remake(*a, 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapUnion, RefusesANullArraymapAndLeavesTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_union(nullptr, &a, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(&a, nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(nullptr, nullptr, &map); });
    EXPECT_EQ(arraymap_union(&a, &b, nullptr), EINVAL);
    EXPECT_EQ(arraymap_union(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(ArraymapUnion, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_union(&map, &a, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(&a, &map, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_union(&map, &map, &map); });
    EXPECT_EQ(content_of(*a), (Content{{"x", {"1"}}}));
}

TEST_F(ArraymapUnion, RefusesAReleasedDestinationEvenIfThereIsNothingToAdd)
{
    release(map);
    expect_unchanged(EINVAL, [&] { return arraymap_union(&a, &b, &map); });
    fill(*b, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_union(&a, &b, &map); });
    EXPECT_EQ(content_of(*b), (Content{{"x", {"1"}}}));
}

TEST_F(ArraymapUnion, LeavesBothSourcesAsTheyAre)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2", "3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"3"}}});
    const ArraymapState a_before = state_of(*a);
    const ArraymapState b_before = state_of(*b);
    ASSERT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(ArraymapMerge, AppendsEveryValueAndMovesNoneThatAreThere)
{
    fill(map, {{"x", {"1", "2"}}});
    fill(*src, {{"x", {"3", "2", "2", "0"}}, {"y", {"3"}}});
    const arraymap_key_t *node = _arraymap_entry(&map, "x");
    const char *text = stored_text(map, "x", 1);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2", "3", "2", "2", "0"}));
    EXPECT_EQ(indexes_of(map, "x"), (Indexes{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(values_of(map, "y"), Values{"3"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 7);
    EXPECT_EQ(_arraymap_entry(&map, "x"), node);
    EXPECT_EQ(stored_text(map, "x", 1), text);
}

TEST_F(ArraymapMerge, NumbersWhatItAppendsByTheNumberOfValuesBefore)
{
    make_merged(map);
    make_merged(*src);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "Key"), (Values{"1", "2", "3", "1", "2", "3"}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1, 3, 4, 5}));
}

TEST_F(ArraymapMerge, AddsKeysAndValuesInTheOrderOfTheSource)
{
    fill_in_order(map, {{"d", {"old"}}, {"b", {"old"}}});
    fill_in_order(
        *src, {{"c", {"\0"s, "", "\xff"}}, {"b", {"z", "old", "a"}}, {"", {""}}, {"a", {"new"}}});
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"d", {"old"}},
                                        {"b", {"old", "z", "old", "a"}},
                                        {"c", {"\0"s, "", "\xff"}},
                                        {"", {""}},
                                        {"a", {"new"}}}));
}

TEST_F(ArraymapMerge, ASecondTimeAddsEverythingAgain)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"1"}}});
    fill(map, {{"x", {"2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"2", "3", "1", "2", "1", "2"}));
    EXPECT_EQ(values_of(map, "y"), (Values{"1", "1"}));
    EXPECT_EQ(values_of(map, "z"), Values{"1"});
}

TEST_F(ArraymapMerge, VisitsEveryBucketOfTheSourceWhateverTheirNumber)
{
    for (uint32_t size : {1U, 48U, 1024U}) {
        SCOPED_TRACE(size);
        remake(*src, size);
        ASSERT_EQ(arraymap_clear(&map), 0);
        for (int i = 0; i < 100; ++i) {
            fill(*src, {{std::to_string(i), {"1", "1"}}});
        }
        EXPECT_EQ(arraymap_merge(&src, &map), 0);
        EXPECT_EQ(map.numkeys, 100);
        EXPECT_EQ(map.numvalues, 200);
        EXPECT_EQ(map.hashsize, 32U);
    }
}

TEST_F(ArraymapMerge, CopiesKeysAndValues)
{
    fill(*src, {{"x", {"1", "2"}}});
    ASSERT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_NE(stored_key(map, "x"), stored_key(*src, "x"));
    EXPECT_NE(stored_text(map, "x", 1), stored_text(*src, "x", 1));
    release(*src);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
}

TEST_F(ArraymapMerge, LooksKeysUpWithTheComparisonOfTheDestination)
{
    fill(*src, {{"KEY", {"1"}}});
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1"}}}));
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    ASSERT_EQ(arraymap_setcasekeys(&src, 1), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1"}}, {"KEY", {"1"}}}));
}

TEST_F(ArraymapMerge, JoinsKeysThatAreEqualInTheDestinationUnderTheFirstSpelling)
{
    fill_in_order(*src, {{"KEY", {"1", "2"}}, {"Key", {"2", "3"}}, {"x", {"3"}}, {"key", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"KEY", {"1", "2", "2", "3", "1"}}, {"x", {"3"}}}));
}

TEST_F(ArraymapMerge, KeepsTheSettingsOfTheDestination)
{
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&src, 70), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&src, 80), 0);
    ASSERT_EQ(arraymap_setcasekeys(&src, 1), 0);
    fill_in_order(*src, {{"x", {"1", "2"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 50), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(map.maxvalues, 1);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(map.numvalues, 2);
}

TEST_F(ArraymapMerge, AtTheKeyLimitStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", {"1", "2"}}, {"old", {"0", "1"}}, {"a", {"2"}}, {"d", {"3"}}});
    fill_in_order(map, {{"old", {"0"}}, {"d", {"4"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 4), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 1);
    EXPECT_EQ(content_of(map),
              (Content{{"old", {"0", "0", "1"}}, {"d", {"4"}}, {"c", {"1", "2"}}}));
}

TEST_F(ArraymapMerge, AddsValuesToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*src, {{"x", {"2", "1"}}, {"y", {"2"}}});
    fill(map, {{"y", {"2"}}, {"x", {"1"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2", "1"}));
    EXPECT_EQ(values_of(map, "y"), (Values{"2", "2"}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(ArraymapMerge, WithoutMemoryForAnyAllocationStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", {"1", "2"}}, {"old", {"0", "3"}}, {"a", {"4"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    const ArraymapState src_before = state_of(*src);
    // In the order of the allocations: c's 1, c, c's 2, old's 0, old's 3, a's 4, a.
    const std::vector<Content> left = {
        {{"old", {"0"}}},
        {{"old", {"0"}}},
        {{"old", {"0"}}, {"c", {"1"}}},
        {{"old", {"0"}}, {"c", {"1", "2"}}},
        {{"old", {"0", "0"}}, {"c", {"1", "2"}}},
        {{"old", {"0", "0", "3"}}, {"c", {"1", "2"}}},
        {{"old", {"0", "0", "3"}}, {"c", {"1", "2"}}},
    };
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(arraymap_clear(&map), 0);
                      fill(map, {{"old", {"0"}}});
                  },
                  [&] { return arraymap_merge(&src, &map); },
                  [&](std::size_t nth) { EXPECT_EQ(content_of(map), left.at(nth)); }),
              left.size());
    EXPECT_EQ(content_of(map),
              (Content{{"old", {"0", "0", "3"}}, {"c", {"1", "2"}}, {"a", {"4"}}}));
    EXPECT_EQ(state_of(*src), src_before);
}

TEST_F(ArraymapMerge, OfAnEmptyOrReleasedSourceAddsNothing)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
    release(*src);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
    remake(*src, 0);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
}

TEST_F(ArraymapMerge, RefusesTheSourceAsDestinationAndLeavesIt)
{
    const auto merge_into_itself = [&] {
        return arraymap_merge(&map, &map);
    };
    expect_unchanged(EINVAL, merge_into_itself);
    fill(map, {{"x", {"1", "2"}}, {"y", {"2", "2"}}, {"Y", {"2", "3"}}});
    expect_unchanged(EINVAL, merge_into_itself);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    expect_unchanged(EINVAL, merge_into_itself);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    expect_unchanged(EINVAL, merge_into_itself);
    release(map);
    expect_unchanged(EINVAL, merge_into_itself);
    remake(map, 0);
    expect_unchanged(EINVAL, merge_into_itself);
}

TEST_F(ArraymapMerge, HashesEachKeyOfTheSourceOnceForTheDestinationAlone)
{
    for (arraymap_t *one : {&src, &map}) {
        ASSERT_EQ(arraymap_sethashfunc(one, recording_hash), 0);
    }
    fill(*src, {{"new", {"1", "2", "3"}}, {"x", {"2", "1", "3"}}, {"same", {"1", "2"}}});
    fill(map, {{"same", {"1", "2"}}, {"x", {"1"}}, {"only here", {"1"}}});
    hashings.clear();
    ASSERT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"new", "x", "same"}));
    EXPECT_EQ(hashed_for(&src), Keys{});
}

TEST_F(ArraymapMerge, RefusesAReleasedDestinationWhenThereIsAKeyToAdd)
{
    release(map);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&src, &map); });
    EXPECT_EQ(content_of(*src), (Content{{"x", {"1"}}}));
    release(*src);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
}

TEST_F(ArraymapMerge, RefusesADestinationWithoutBucketsWhenThereIsAKeyToAdd)
{
    remake(map, 0);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&src, &map); });
}

TEST_F(ArraymapMerge, RefusesANullArraymapAndLeavesTheOther)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_merge(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&map, nullptr); });
    EXPECT_EQ(arraymap_merge(nullptr, nullptr), EINVAL);
}

TEST_F(ArraymapMerge, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const ArraymapState before = state_of(*src);
    ASSERT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_F(ArraymapCopy, TakesOverTheNumberOfBuckets)
{
    fill(*src, {{"x", {"1", "2"}}});
    for (uint32_t size : {64U, 32U, 1U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(arraymap_sethashsize(&src, size), 0);
        EXPECT_EQ(arraymap_copy(&src, &map), 0);
        EXPECT_EQ(map.hashsize, size);
        EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
    }
}

TEST_F(ArraymapCopy, IteratesAsTheSourceDoes)
{
    for (int i = 0; i < 600; ++i) {
        const std::string key = std::to_string(i % 300 * 7919 % 100003);
        ASSERT_EQ(insert(*src, key.c_str(), std::to_string(i)), 0);
    }
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    for (const char *key : {"0", "7919", "15838"}) {
        ASSERT_EQ(arraymap_remove(&src, key, 0), 0);
        ASSERT_EQ(insert(*src, key, "new"), 0);
    }
    EXPECT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(content_of(map), content_of(*src));
}

TEST_F(ArraymapCopy, OfAnEmptySourceTakesOverItsNumberOfBuckets)
{
    fill(map, {{"old", {"1"}}});
    ASSERT_EQ(arraymap_sethashsize(&src, 8), 0);
    EXPECT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 8U);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(ArraymapCopy, AllocatesBucketsOnlyIfTheirNumberDiffers)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    std::vector<std::size_t> first;
    std::vector<std::size_t> second;
    {
        allocations::Log log;
        ASSERT_EQ(arraymap_copy(&src, &map), 0);
        first = log.sizes();
    }
    {
        allocations::Log log;
        ASSERT_EQ(arraymap_copy(&src, &map), 0);
        second = log.sizes();
    }
    ASSERT_EQ(first.size(), 6U);
    EXPECT_EQ(first[0], 64 * sizeof(map_bucket_t));
    EXPECT_EQ(second.size(), 5U);
}

TEST_F(ArraymapCopy, HashesEachKeyOnceForTheDestinationAlone)
{
    for (arraymap_t *one : {&src, &map}) {
        ASSERT_EQ(arraymap_sethashfunc(one, recording_hash), 0);
    }
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    fill(*src, {{"y", {"1", "2", "3"}}, {"x", {"1"}}});
    fill(map, {{"old", {"1", "2"}}});
    hashings.clear();
    ASSERT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"y", "x"}));
    EXPECT_EQ(hashed_for(&src), Keys{});
}

TEST_F(ArraymapCopy, WithoutMemoryIsEmptyAndHasTheSourcesBucketsOnceThoseWereMade)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    const std::size_t buckets_keys_and_values = 6;
    const map_bucket_t *buckets = nullptr;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(arraymap_sethashsize(&map, 32), 0);
                      ASSERT_EQ(arraymap_clear(&map), 0);
                      fill(map, {{"old", {"1"}}});
                      buckets = map.buckets;
                  },
                  [&] { return arraymap_copy(&src, &map); },
                  [&](std::size_t nth) {
                      EXPECT_EQ(content_of(map), Content{});
                      EXPECT_EQ(map.hashsize, nth == 0 ? 32U : 64U);
                      EXPECT_EQ(map.buckets == buckets, nth == 0);
                  }),
              buckets_keys_and_values);
    EXPECT_EQ(arraymap_isequal(&map, &src), 1);
}

TEST_F(ArraymapCopy, RefusedAtTheKeyLimitHasTheSourcesNumberOfBuckets)
{
    fill(*src, {{"x", {"1"}}, {"y", {"2"}}});
    ASSERT_EQ(arraymap_sethashsize(&src, 64), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(arraymap_copy(&src, &map), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 64U);
}

TEST_F(ArraymapCopy, OfAReleasedSourceIsRefusedAndEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    release(*src);
    EXPECT_EQ(arraymap_copy(&src, &map), EINVAL);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(ArraymapCopy, OfASourceWithoutBucketsIsRefusedAndEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    remake(*src, 0);
    EXPECT_EQ(arraymap_copy(&src, &map), EINVAL);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(ArraymapCopy, OfANumberOfBucketsThatIsNoPowerOfTwoIsRefusedAndEmptiesTheDestination)
{
    remake(*src, 48);
    const map_bucket_t *buckets = map.buckets;
    for (const Content &content : {Content{}, Content{{"x", {"1", "1"}}}}) {
        fill(*src, content);
        fill(map, {{"old", {"1", "2"}}});
        EXPECT_EQ(arraymap_copy(&src, &map), EINVAL);
        EXPECT_EQ(content_of(map), Content{});
        EXPECT_EQ(map.hashsize, 32U);
        EXPECT_EQ(map.buckets, buckets);
        EXPECT_EQ(content_of(*src), content);
    }
}

TEST_F(ArraymapCopy, OfANumberOfBucketsThatIsNoPowerOfTwoSucceedsIfTheDestinationHasAsMany)
{
    remake(*src, 48);
    remake(map, 48);
    fill(*src, {{"x", {"1", "1"}}, {"y", {"2"}}});
    fill(map, {{"old", {"1", "2"}}});
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(content_of(map), content_of(*src));
    EXPECT_EQ(map.numvalues, 3);
    EXPECT_EQ(map.hashsize, 48U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(ArraymapCopy, IntoANumberOfBucketsThatIsNoPowerOfTwoChangesIt)
{
    remake(map, 48);
    fill(*src, {{"x", {"1", "1"}}, {"y", {"2"}}});
    EXPECT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(content_of(map), content_of(*src));
}
