#include "multimap_fixture.hpp"

#include "multimap_internal.h"

namespace {

using Content = std::vector<KeyValues>;
using Keys = std::vector<std::string>;
using Values = std::vector<std::string>;

// As multimaps hold it that put every key into one bucket: iteration follows insertion.
void fill_in_order(multimap_t &map, const Content &content)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, content);
}

void release(multimap_t &map)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
}

std::vector<std::pair<const void *, std::string>> hashings;

uint32_t recording_hash(const void *container, const char *key)
{
    hashings.emplace_back(container, key);
    return 0;
}

// The keys that a call hashes for one multimap.
Keys hashed_for(const multimap_t *map)
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

class MultimapIsEqual : public MultimapTest {
  protected:
    Multimap other;
};

class MultimapPair : public MultimapTest {
  protected:
    Multimap a;
    Multimap b;
};

class MultimapIntersection : public MultimapPair {};

class MultimapUnion : public MultimapPair {};

class MultimapMerge : public MultimapTest {
  protected:
    Multimap src;
};

class MultimapCopy : public MultimapTest {
  protected:
    Multimap src;
};

// An operation that fills `dst` with all that `src` holds, without looking first.
struct Refill {
    const char *name;
    int (*call)(const multimap_t *src, multimap_t *dst);
};

const Refill refills[] = {
    {"Copy", multimap_copy},
    {"IntersectionWithItself",
     [](const multimap_t *src, multimap_t *dst) {
         return multimap_intersection(src, src, dst);
     }},
    {"UnionWithItself",
     [](const multimap_t *src, multimap_t *dst) {
         return multimap_union(src, src, dst);
     }},
};

std::string name_of(const testing::TestParamInfo<Refill> &info)
{
    return info.param.name;
}

class MultimapRefill : public MultimapTest, public testing::WithParamInterface<Refill> {
  protected:
    int refill()
    {
        return GetParam().call(&src, &map);
    }

    Multimap src;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Multimap, MultimapRefill, testing::ValuesIn(refills), name_of);

TEST_F(MultimapIsEqual, HoldsForTheSamePairsInAnyOrder)
{
    for (int i = 0; i < 300; ++i) {
        const int back = 299 - i;
        ASSERT_EQ(insert(map, std::to_string(i / 3).c_str(), std::to_string(i)), 0);
        ASSERT_EQ(insert(*other, std::to_string(back / 3).c_str(), std::to_string(back)), 0);
    }
    ASSERT_NE(values_of(map, "7"), values_of(*other, "7"));
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(multimap_isequal(&other, &map), 1);
}

TEST_F(MultimapIsEqual, HoldsForAMultimapAndItself)
{
    EXPECT_EQ(multimap_isequal(&map, &map), 1);
    fill(map, {{"x", {"1", "2"}}, {"y", {""}}});
    EXPECT_EQ(multimap_isequal(&map, &map), 1);
}

TEST_F(MultimapIsEqual, DoesNotLookAtTheSettings)
{
    const Content content = {{"x", {"1", "2"}}, {"y", {""}}, {"Z", {"\0"s}}};
    fill(map, content);
    fill(*other, content);
    ASSERT_EQ(multimap_sethashsize(&other, 4), 0);
    ASSERT_EQ(multimap_sethashfunc(&other, hash_length), 0);
    ASSERT_EQ(multimap_setmaxkeys(&other, 3), 0);
    ASSERT_EQ(multimap_setmaxvalues(&other, 4), 0);
    ASSERT_EQ(multimap_setcasekeys(&other, 1), 0);
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(multimap_isequal(&other, &map), 1);
}

TEST_F(MultimapIsEqual, FailsForADifferentNumberOfKeys)
{
    fill(map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1", "2"}}});
    ASSERT_EQ(map.numvalues, other->numvalues);
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
    ASSERT_EQ(multimap_clear(&other), 0);
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForADifferentNumberOfKeysThoughTheSecondHoldsEveryPair)
{
    ASSERT_EQ(multimap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    fill(*other, {{"key", {"1", "2"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForADifferentNumberOfValues)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1"}}, {"y", {"2"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForOtherKeys)
{
    fill(map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*other, {{"x", {"1"}}, {"z", {"2"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForTheSameValuesUnderOtherKeys)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"3"}}});
    fill(*other, {{"x", {"1"}}, {"y", {"2", "3"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForAnotherByteInTheLastValueOfAKey)
{
    fill(map, {{"x", {"1", "2\0a"s}}});
    fill(*other, {{"x", {"1", "2\0b"s}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, FailsForAnotherLengthOfAValue)
{
    fill(map, {{"x", {"text"}}});
    fill(*other, {{"x", {"text\0"s}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, LooksKeysUpWithTheComparisonOfTheSecondMultimap)
{
    ASSERT_EQ(multimap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"v"}}});
    fill(*other, {{"KEY", {"v"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, LetsSpellingsOfOneKeyMeetTheSamePairOfTheSecondMultimap)
{
    ASSERT_EQ(multimap_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", {"v"}}, {"KEY", {"v"}}});
    fill(*other, {{"key", {"v"}}, {"x", {"w"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
}

TEST_F(MultimapIsEqual, HoldsForTwoNullMultimapsOnly)
{
    EXPECT_EQ(multimap_isequal(nullptr, nullptr), 1);
    EXPECT_EQ(multimap_isequal(&map, nullptr), 0);
    EXPECT_EQ(multimap_isequal(nullptr, &map), 0);
    release(*other);
    EXPECT_EQ(multimap_isequal(&other, nullptr), 0);
    EXPECT_EQ(multimap_isequal(nullptr, &other), 0);
}

TEST_F(MultimapIsEqual, TakesAReleasedMultimapForAnEmptyOne)
{
    release(*other);
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(multimap_isequal(&other, &map), 1);
    EXPECT_EQ(multimap_isequal(&other, &other), 1);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(multimap_isequal(&map, &other), 0);
    EXPECT_EQ(multimap_isequal(&other, &map), 0);
    release(map);
    EXPECT_EQ(multimap_isequal(&map, &other), 1);
}

TEST_F(MultimapIsEqual, LeavesBothAsTheyAreAndAllocatesNothing)
{
    fill(map, {{"x", {"1", "2"}}});
    fill(*other, {{"x", {"2", "1"}}});
    const MultimapState before = state_of(*other);
    expect_unchanged(1, [&] {
        allocations::Failure no_memory(0);
        const int result = multimap_isequal(&map, &other);
        EXPECT_FALSE(no_memory.happened());
        return result;
    });
    EXPECT_EQ(state_of(*other), before);
}

TEST_F(MultimapIsEqual, HashesEachKeyOnceInTheSecondMultimapAlone)
{
    const Content content = {{"x", {"1", "2", "3"}}, {"y", {"1"}}};
    for (multimap_t *one : {&map, &other}) {
        ASSERT_EQ(multimap_sethashfunc(one, recording_hash), 0);
        fill(*one, content);
    }
    hashings.clear();
    ASSERT_EQ(multimap_isequal(&map, &other), 1);
    EXPECT_EQ(hashed_for(&other), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&map), Keys{});
}

TEST_P(MultimapRefill, FillsTheDestinationWithThePairsOfTheSourceInTheirOrder)
{
    const Content content = {{"", {"empty key", ""}},
                             {"x", {"a\0b"s, "a\0c"s, "a", "\0"s}},
                             {"\xff\x80", {""}},
                             {"y", {"\xff", "\x7f", "1"}}};
    fill_in_order(*src, content);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), content);
    EXPECT_EQ(multimap_isequal(&map, &src), 1);
}

TEST_P(MultimapRefill, ClearsTheDestinationFirst)
{
    fill(map, {{"old", {"1"}}, {"x", {"stale", "fresh"}}});
    fill(*src, {{"x", {"fresh"}}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"fresh"}}}));
}

TEST_P(MultimapRefill, OfAnEmptySourceEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_P(MultimapRefill, KeepsTheHashTheCaseFlagAndTheLimitsOfTheDestination)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_setmaxkeys(&map, 50), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 60), 0);
    fill(*src, {{"ccc", {"1", "2"}}, {"a", {"2"}}});
    ASSERT_EQ(multimap_setmaxkeys(&src, 70), 0);
    ASSERT_EQ(multimap_setmaxvalues(&src, 80), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(map.maxvalues, 60);
    EXPECT_EQ(content_of(map), (Content{{"a", {"2"}}, {"ccc", {"1", "2"}}}));
    EXPECT_EQ(multimap_haskey(&map, "A"), 1);
}

TEST_P(MultimapRefill, CopiesKeysAndValues)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(refill(), 0);
    EXPECT_NE(stored_key(map, "x"), stored_key(*src, "x"));
    EXPECT_NE(stored_text(map, "x", 1), stored_text(*src, "x", 1));
    release(*src);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(values_of(map, "y"), Values{"2"});
}

TEST_P(MultimapRefill, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const MultimapState before = state_of(*src);
    ASSERT_EQ(refill(), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_P(MultimapRefill, OfMoreKeysThanTheDestinationAdmitsLeavesItEmpty)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(map, {{"old", {"1"}}});
    const MultimapState before = state_of(*src);
    for (int32_t limit : {3, 2, 1, 0}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(multimap_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(refill(), 1);
        EXPECT_EQ(content_of(map), Content{});
        EXPECT_EQ(map.maxkeys, limit);
    }
    EXPECT_EQ(state_of(*src), before);
}

TEST_P(MultimapRefill, AdmitsAnyNumberOfValuesUnderTheKeysThatTheLimitAdmits)
{
    fill(*src, {{"x", {"1", "2", "3"}}, {"y", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 4), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.numkeys, 3);
    EXPECT_EQ(map.numvalues, 7);
}

TEST_P(MultimapRefill, OfEqualPairsInACaseInsensitiveDestinationFailsAndLeavesItEmpty)
{
    fill_in_order(*src, {{"Key", {"1"}}, {"x", {"1"}}, {"KEY", {"2", "1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(refill(), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.casekeys, 1U);
}

TEST_P(MultimapRefill, JoinsKeysThatAreEqualInACaseInsensitiveDestination)
{
    fill_in_order(*src, {{"Key", {"3", "1"}}, {"x", {"1"}}, {"KEY", {"2"}}, {"key", {"0"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"3", "1", "2", "0"}}, {"x", {"1"}}}));
}

TEST_P(MultimapRefill, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"1"}}, {"z", {"1", "2", "3"}}});
    const MultimapState src_before = state_of(*src);
    const map_bucket_t *buckets = map.buckets;
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(multimap_clear(&map), 0);
                      fill(map, {{"old", {"1", "2"}}});
                  },
                  [&] { return refill(); },
                  [&](std::size_t) { EXPECT_EQ(content_of(map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(multimap_isequal(&map, &src), 1);
    EXPECT_EQ(state_of(*src), src_before);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_P(MultimapRefill, RefusesANullMultimapAndLeavesTheOther)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, nullptr); });
    EXPECT_EQ(GetParam().call(nullptr, nullptr), EINVAL);
}

TEST_P(MultimapRefill, RefusesTheSourceAsDestinationAndLeavesIt)
{
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
    release(map);
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
}

TEST_P(MultimapRefill, RefusesAReleasedDestination)
{
    release(map);
    expect_unchanged(EINVAL, [&] { return refill(); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return refill(); });
    EXPECT_EQ(content_of(*src), (Content{{"x", {"1"}}}));
    release(*src);
    expect_unchanged(EINVAL, [&] { return refill(); });
}

TEST_F(MultimapIntersection, HoldsThePairsThatBothHold)
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
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"same", {"1", "3"}}, {"empty", {""}}, {"text", {"t\0"s}}}));
}

TEST_F(MultimapIntersection, OfMultimapsWithoutACommonPairEmptiesTheDestination)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*b, {{"x", {"2"}}, {"z", {"2"}}});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapIntersection, LooksKeysUpWithTheComparisonOfTheSecondMultimapAndKeepsTheSpelling)
{
    fill(*a, {{"Key", {"v"}}});
    fill(*b, {{"KEY", {"v"}}});
    ASSERT_EQ(multimap_setcasekeys(&a, 1), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    ASSERT_EQ(multimap_setcasekeys(&b, 1), 0);
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v"}}}));
}

TEST_F(MultimapIntersection, TakesEverySpellingThatTheSecondMultimapFinds)
{
    fill_in_order(*a, {{"Key", {"v"}}, {"KEY", {"v", "w"}}, {"key", {"x"}}});
    ASSERT_EQ(multimap_setcasekeys(&b, 1), 0);
    fill(*b, {{"kEY", {"w", "v"}}});
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v"}}, {"KEY", {"v", "w"}}}));
}

TEST_F(MultimapIntersection, CountsOnlyCommonPairsAgainstTheKeyLimit)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"4"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"y", {"2"}}}));
}

TEST_F(MultimapIntersection, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(multimap_sethashsize(&a, 64), 0);
    ASSERT_EQ(multimap_sethashsize(&b, 128), 0);
    fill(*a, {{"x", {"1"}}});
    fill(*b, {{"x", {"1"}}});
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(MultimapIntersection, HashesEachKeyOnceForTheSecondMultimapAndOnceForTheDestination)
{
    for (multimap_t *one : {&a, &b, &map}) {
        ASSERT_EQ(multimap_sethashfunc(one, recording_hash), 0);
    }
    fill(*a, {{"x", {"1", "2", "3"}}, {"only a", {"1", "2"}}, {"y", {"1"}}});
    fill(*b, {{"y", {"2", "1"}}, {"only b", {"1"}}, {"x", {"3", "2", "1"}}});
    hashings.clear();
    ASSERT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(hashed_for(&b), (Keys{"x", "only a", "y"}));
    EXPECT_EQ(hashed_for(&map), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&a), Keys{});
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2", "3"}}, {"y", {"1"}}}));
}

TEST_F(MultimapIntersection, TakesReleasedSourcesForEmptyOnes)
{
    fill(*a, {{"x", {"1"}}});
    release(*b);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(multimap_intersection(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(multimap_intersection(&b, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapIntersection, RefusesANullMultimapAndLeavesTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return multimap_intersection(nullptr, &a, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_intersection(&a, nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_intersection(nullptr, nullptr, &map); });
    EXPECT_EQ(multimap_intersection(&a, &b, nullptr), EINVAL);
    EXPECT_EQ(multimap_intersection(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(MultimapIntersection, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return multimap_intersection(&map, &a, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_intersection(&a, &map, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_intersection(&map, &map, &map); });
    EXPECT_EQ(content_of(*a), (Content{{"x", {"1"}}}));
}

TEST_F(MultimapIntersection, LeavesBothSourcesAsTheyAre)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2", "3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"3"}}});
    const MultimapState a_before = state_of(*a);
    const MultimapState b_before = state_of(*b);
    ASSERT_EQ(multimap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(MultimapUnion, HoldsThePairsOfTheFirstThenThoseThatOnlyTheSecondHolds)
{
    fill_in_order(*a, {{"same", {"2", "1"}}, {"only a", {"1"}}, {"text", {"t"}}});
    fill_in_order(
        *b, {{"only b", {"2", "1"}}, {"text", {"t\0"s, "", "t"}}, {"same", {"3", "1", "2", "0"}}});
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"same", {"2", "1", "3", "0"}},
                                        {"only a", {"1"}},
                                        {"text", {"t", "t\0"s, ""}},
                                        {"only b", {"2", "1"}}}));
}

TEST_F(MultimapUnion, FailsAndEmptiesTheDestinationIfPairsOfTheFirstAreEqualThere)
{
    fill_in_order(*a, {{"Key", {"1"}}, {"KEY", {"1"}}});
    fill(*b, {{"x", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(multimap_union(&a, &b, &map), 1);
    EXPECT_EQ(content_of(map), Content{});
    ASSERT_EQ(multimap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.numkeys, 3);
}

TEST_F(MultimapUnion, SkipsPairsOfTheSecondThatAreEqualInTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill_in_order(*b, {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"X", {"1", "2"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}, {"Key", {"1", "2", "3"}}}));
}

TEST_F(MultimapUnion, ComparesKeysAsTheDestinationDoesNotAsTheSources)
{
    fill(*a, {{"Key", {"1"}}});
    fill(*b, {{"KEY", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&a, 1), 0);
    ASSERT_EQ(multimap_setcasekeys(&b, 1), 0);
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1"}}, {"KEY", {"1"}}}));
}

TEST_F(MultimapUnion, AtTheKeyLimitWithinTheSecondMultimapEmptiesTheDestination)
{
    fill(*a, {{"x", {"1"}}, {"y", {"1"}}});
    fill_in_order(*b, {{"x", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    EXPECT_EQ(multimap_union(&a, &b, &map), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(multimap_union(&a, &a, &map), 0);
    EXPECT_EQ(map.numkeys, 2);
}

TEST_F(MultimapUnion, AddsValuesOfTheSecondToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*a, {{"x", {"1"}}, {"y", {"1"}}});
    fill(*b, {{"y", {"2", "1"}}, {"x", {"3"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "3"}));
    EXPECT_EQ(values_of(map, "y"), (Values{"1", "2"}));
    EXPECT_EQ(map.maxvalues, 2);
}

TEST_F(MultimapUnion, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*a, {{"x", {"1", "2"}}, {"y", {"1"}}});
    fill(*b, {{"x", {"2", "3"}}, {"y", {"1"}}, {"z", {"1", "2"}}});
    const MultimapState a_before = state_of(*a);
    const MultimapState b_before = state_of(*b);
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(multimap_clear(&map), 0);
                      fill(map, {{"old", {"1", "2"}}});
                  },
                  [&] { return multimap_union(&a, &b, &map); },
                  [&](std::size_t) { EXPECT_EQ(content_of(map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2", "3"}));
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(MultimapUnion, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(multimap_sethashsize(&a, 64), 0);
    ASSERT_EQ(multimap_sethashsize(&b, 128), 0);
    fill(*a, {{"x", {"1"}}});
    fill(*b, {{"x", {"2"}}});
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(MultimapUnion, HashesEachKeyOfEachSourceOnceForTheDestinationAlone)
{
    for (multimap_t *one : {&a, &b, &map}) {
        ASSERT_EQ(multimap_sethashfunc(one, recording_hash), 0);
    }
    fill(*a, {{"x", {"1", "2", "3"}}, {"y", {"1"}}});
    fill(*b, {{"z", {"1", "2"}}, {"x", {"2", "4", "5"}}});
    hashings.clear();
    ASSERT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"x", "y", "z", "x"}));
    EXPECT_EQ(hashed_for(&a), Keys{});
    EXPECT_EQ(hashed_for(&b), Keys{});
}

TEST_F(MultimapUnion, TakesReleasedSourcesForEmptyOnes)
{
    fill(*a, {{"x", {"1", "2"}}});
    release(*b);
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
    ASSERT_EQ(insert(map, "old", "1"), 0);
    EXPECT_EQ(multimap_union(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
    EXPECT_EQ(multimap_union(&b, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapUnion, RefusesANullMultimapAndLeavesTheDestination)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return multimap_union(nullptr, &a, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_union(&a, nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_union(nullptr, nullptr, &map); });
    EXPECT_EQ(multimap_union(&a, &b, nullptr), EINVAL);
    EXPECT_EQ(multimap_union(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(MultimapUnion, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*a, {{"x", {"1"}}});
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    expect_unchanged(EINVAL, [&] { return multimap_union(&map, &a, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_union(&a, &map, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_union(&map, &map, &map); });
    EXPECT_EQ(content_of(*a), (Content{{"x", {"1"}}}));
}

TEST_F(MultimapUnion, RefusesAReleasedDestinationEvenIfThereIsNothingToAdd)
{
    release(map);
    expect_unchanged(EINVAL, [&] { return multimap_union(&a, &b, &map); });
    fill(*b, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return multimap_union(&a, &b, &map); });
    EXPECT_EQ(content_of(*b), (Content{{"x", {"1"}}}));
}

TEST_F(MultimapUnion, LeavesBothSourcesAsTheyAre)
{
    fill(*a, {{"x", {"1"}}, {"y", {"2", "3"}}});
    fill(*b, {{"y", {"2"}}, {"z", {"3"}}});
    const MultimapState a_before = state_of(*a);
    const MultimapState b_before = state_of(*b);
    ASSERT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(MultimapMerge, AddsMissingPairsAndMovesNoneThatAreThere)
{
    fill(map, {{"x", {"1", "2"}}});
    fill(*src, {{"x", {"3", "2", "0"}}, {"y", {"3"}}});
    const multimap_key_t *node = _multimap_entry(&map, "x");
    const char *text = stored_text(map, "x", 1);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2", "3", "0"}));
    EXPECT_EQ(values_of(map, "y"), Values{"3"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.numvalues, 5);
    EXPECT_EQ(_multimap_entry(&map, "x"), node);
    EXPECT_EQ(stored_text(map, "x", 1), text);
}

TEST_F(MultimapMerge, AddsKeysAndValuesInTheOrderOfTheSource)
{
    fill_in_order(map, {{"d", {"old"}}, {"b", {"old"}}});
    fill_in_order(
        *src, {{"c", {"\0"s, "", "\xff"}}, {"b", {"z", "old", "a"}}, {"", {""}}, {"a", {"new"}}});
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"d", {"old"}},
                                        {"b", {"old", "z", "a"}},
                                        {"c", {"\0"s, "", "\xff"}},
                                        {"", {""}},
                                        {"a", {"new"}}}));
}

TEST_F(MultimapMerge, ASecondTimeChangesNothing)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"1"}}});
    fill(map, {{"x", {"2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(multimap_merge(&src, &map), 0);
    expect_unchanged(0, [&] {
        allocations::Failure no_memory(0);
        return multimap_merge(&src, &map);
    });
}

TEST_F(MultimapMerge, TellsValuesApartByLengthAndByEveryByte)
{
    fill(map, {{"x", {"ab", "a\0x"s}}});
    fill(*src, {{"x", {"ab\0"s, "a", "a\0y"s, "a\0x"s, "", "ab"}}});
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"ab", "a\0x"s, "ab\0"s, "a", "a\0y"s, ""}));
}

TEST_F(MultimapMerge, CopiesKeysAndValues)
{
    fill(*src, {{"x", {"1", "2"}}});
    ASSERT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_NE(stored_key(map, "x"), stored_key(*src, "x"));
    EXPECT_NE(stored_text(map, "x", 1), stored_text(*src, "x", 1));
    release(*src);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
}

TEST_F(MultimapMerge, LooksKeysUpWithTheComparisonOfTheDestination)
{
    fill(*src, {{"KEY", {"1"}}});
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
    ASSERT_EQ(multimap_setcasekeys(&map, 0), 0);
    ASSERT_EQ(multimap_setcasekeys(&src, 1), 0);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1"}}, {"KEY", {"1"}}}));
}

TEST_F(MultimapMerge, JoinsKeysThatAreEqualInTheDestinationUnderTheFirstSpelling)
{
    fill_in_order(*src, {{"KEY", {"1", "2"}}, {"Key", {"2", "3"}}, {"x", {"3"}}, {"key", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"KEY", {"1", "2", "3"}}, {"x", {"3"}}}));
}

TEST_F(MultimapMerge, KeepsTheSettingsOfTheDestination)
{
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    ASSERT_EQ(multimap_setmaxkeys(&src, 70), 0);
    ASSERT_EQ(multimap_setmaxvalues(&src, 80), 0);
    ASSERT_EQ(multimap_setcasekeys(&src, 1), 0);
    fill_in_order(*src, {{"x", {"1", "2"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 50), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 1), 0);
    ASSERT_EQ(multimap_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(map.maxvalues, 1);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 0U);
    EXPECT_EQ(map.numvalues, 2);
}

TEST_F(MultimapMerge, AtTheKeyLimitStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", {"1", "2"}}, {"old", {"0", "1"}}, {"a", {"2"}}, {"d", {"3"}}});
    fill_in_order(map, {{"old", {"0"}}, {"d", {"4"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 4), 0);
    EXPECT_EQ(multimap_merge(&src, &map), 1);
    EXPECT_EQ(content_of(map), (Content{{"old", {"0", "1"}}, {"d", {"4"}}, {"c", {"1", "2"}}}));
}

TEST_F(MultimapMerge, AddsValuesToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*src, {{"x", {"2", "1"}}, {"y", {"2"}}});
    fill(map, {{"y", {"2"}}, {"x", {"1"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 2), 0);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(values_of(map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(map.numvalues, 3);
}

TEST_F(MultimapMerge, WithoutMemoryForAnyAllocationStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", {"1", "2"}}, {"old", {"0", "3"}}, {"a", {"4"}}});
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    const MultimapState src_before = state_of(*src);
    // In the order of the allocations: c's 1, c, c's 2, old's 3, a's 4, a.
    const std::vector<Content> left = {
        {{"old", {"0"}}},
        {{"old", {"0"}}},
        {{"old", {"0"}}, {"c", {"1"}}},
        {{"old", {"0"}}, {"c", {"1", "2"}}},
        {{"old", {"0", "3"}}, {"c", {"1", "2"}}},
        {{"old", {"0", "3"}}, {"c", {"1", "2"}}},
    };
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(multimap_clear(&map), 0);
                      fill(map, {{"old", {"0"}}});
                  },
                  [&] { return multimap_merge(&src, &map); },
                  [&](std::size_t nth) { EXPECT_EQ(content_of(map), left.at(nth)); }),
              left.size());
    EXPECT_EQ(content_of(map), (Content{{"old", {"0", "3"}}, {"c", {"1", "2"}}, {"a", {"4"}}}));
    EXPECT_EQ(state_of(*src), src_before);
}

TEST_F(MultimapMerge, OfAnEmptyOrReleasedSourceAddsNothing)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
    release(*src);
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
}

TEST_F(MultimapMerge, IntoItselfChangesNothing)
{
    expect_unchanged(0, [&] { return multimap_merge(&map, &map); });
    fill(map, {{"x", {"1", "2"}}, {"y", {"2"}}, {"Y", {"2", "3"}}});
    expect_unchanged(0, [&] { return multimap_merge(&map, &map); });
    ASSERT_EQ(multimap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(multimap_setmaxvalues(&map, 5), 0);
    expect_unchanged(0, [&] { return multimap_merge(&map, &map); });
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    expect_unchanged(0, [&] {
        allocations::Failure no_memory(0);
        return multimap_merge(&map, &map);
    });
    release(map);
    expect_unchanged(0, [&] { return multimap_merge(&map, &map); });
}

TEST_F(MultimapMerge, HashesEachKeyOfTheSourceOnceForTheDestinationAlone)
{
    for (multimap_t *one : {&src, &map}) {
        ASSERT_EQ(multimap_sethashfunc(one, recording_hash), 0);
    }
    fill(*src, {{"new", {"1", "2", "3"}}, {"x", {"2", "1", "3"}}, {"same", {"1", "2"}}});
    fill(map, {{"same", {"1", "2"}}, {"x", {"1"}}, {"only here", {"1"}}});
    hashings.clear();
    ASSERT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"new", "x", "same"}));
    EXPECT_EQ(hashed_for(&src), Keys{});
}

TEST_F(MultimapMerge, RefusesAReleasedDestinationWhenThereIsAKeyToAdd)
{
    release(map);
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return multimap_merge(&src, &map); });
    EXPECT_EQ(content_of(*src), (Content{{"x", {"1"}}}));
    release(*src);
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
}

TEST_F(MultimapMerge, RefusesANullMultimapAndLeavesTheOther)
{
    fill(map, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return multimap_merge(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return multimap_merge(&map, nullptr); });
    EXPECT_EQ(multimap_merge(nullptr, nullptr), EINVAL);
}

TEST_F(MultimapMerge, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const MultimapState before = state_of(*src);
    ASSERT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_F(MultimapCopy, TakesOverTheNumberOfBuckets)
{
    fill(*src, {{"x", {"1", "2"}}});
    for (uint32_t size : {64U, 32U, 1U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(multimap_sethashsize(&src, size), 0);
        EXPECT_EQ(multimap_copy(&src, &map), 0);
        EXPECT_EQ(map.hashsize, size);
        EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
    }
}

TEST_F(MultimapCopy, IteratesAsTheSourceDoes)
{
    for (int i = 0; i < 600; ++i) {
        const std::string key = std::to_string(i % 300 * 7919 % 100003);
        ASSERT_EQ(insert(*src, key.c_str(), std::to_string(i)), 0);
    }
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    for (const char *key : {"0", "7919", "15838"}) {
        ASSERT_EQ(multimap_remove(&src, key, 0), 0);
        ASSERT_EQ(insert(*src, key, "new"), 0);
    }
    EXPECT_EQ(multimap_copy(&src, &map), 0);
    EXPECT_EQ(content_of(map), content_of(*src));
}

TEST_F(MultimapCopy, OfAnEmptySourceTakesOverItsNumberOfBuckets)
{
    fill(map, {{"old", {"1"}}});
    ASSERT_EQ(multimap_sethashsize(&src, 8), 0);
    EXPECT_EQ(multimap_copy(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 8U);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MultimapCopy, AllocatesBucketsOnlyIfTheirNumberDiffers)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    std::vector<std::size_t> first;
    std::vector<std::size_t> second;
    {
        allocations::Log log;
        ASSERT_EQ(multimap_copy(&src, &map), 0);
        first = log.sizes();
    }
    {
        allocations::Log log;
        ASSERT_EQ(multimap_copy(&src, &map), 0);
        second = log.sizes();
    }
    ASSERT_EQ(first.size(), 6U);
    EXPECT_EQ(first[0], 64 * sizeof(map_bucket_t));
    EXPECT_EQ(second.size(), 5U);
}

TEST_F(MultimapCopy, HashesEachKeyOnceForTheDestinationAlone)
{
    for (multimap_t *one : {&src, &map}) {
        ASSERT_EQ(multimap_sethashfunc(one, recording_hash), 0);
    }
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    fill(*src, {{"y", {"1", "2", "3"}}, {"x", {"1"}}});
    fill(map, {{"old", {"1", "2"}}});
    hashings.clear();
    ASSERT_EQ(multimap_copy(&src, &map), 0);
    EXPECT_EQ(hashed_for(&map), (Keys{"y", "x"}));
    EXPECT_EQ(hashed_for(&src), Keys{});
}

TEST_F(MultimapCopy, WithoutMemoryIsEmptyAndHasTheSourcesBucketsOnceThoseWereMade)
{
    fill(*src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    const std::size_t buckets_keys_and_values = 6;
    const map_bucket_t *buckets = nullptr;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(multimap_sethashsize(&map, 32), 0);
                      ASSERT_EQ(multimap_clear(&map), 0);
                      fill(map, {{"old", {"1"}}});
                      buckets = map.buckets;
                  },
                  [&] { return multimap_copy(&src, &map); },
                  [&](std::size_t nth) {
                      EXPECT_EQ(content_of(map), Content{});
                      EXPECT_EQ(map.hashsize, nth == 0 ? 32U : 64U);
                      EXPECT_EQ(map.buckets == buckets, nth == 0);
                  }),
              buckets_keys_and_values);
    EXPECT_EQ(multimap_isequal(&map, &src), 1);
}

TEST_F(MultimapCopy, RefusedAtTheKeyLimitHasTheSourcesNumberOfBuckets)
{
    fill(*src, {{"x", {"1"}}, {"y", {"2"}}});
    ASSERT_EQ(multimap_sethashsize(&src, 64), 0);
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(multimap_copy(&src, &map), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 64U);
}

TEST_F(MultimapCopy, OfAReleasedSourceIsRefusedAndEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    release(*src);
    EXPECT_EQ(multimap_copy(&src, &map), EINVAL);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}
