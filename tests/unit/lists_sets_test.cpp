// The operations on two containers, for both families that keep lists of values.
#include "list_sets.hpp"

namespace {

template <class Family>
class ListIsEqual : public ListWithOther<Family> {
};

template <class Refill>
class ListRefill : public ListRefillTest<Refill> {
};

template <class Combination>
class ListCombination : public ListWithTwoSources<Combination> {
};

template <class Family>
class ListIntersection : public ListWithTwoSources<Family> {
};

template <class Family>
class ListUnion : public ListWithTwoSources<Family> {
};

template <class Family>
class ListMerge : public ListWithSource<Family> {
};

template <class Family>
class ListCopy : public ListWithSource<Family> {
};

// The operations that fill a third container from two.

template <class Family>
struct Intersection : Family {
    static constexpr const char *combination = "Intersection";
    static constexpr auto call = Family::intersection;
};

template <class Family>
struct Union : Family {
    static constexpr const char *combination = "Union";
    static constexpr auto call = Family::set_union;
};

using Combinations = testing::Types<Intersection<MultimapFamily>, Intersection<ArraymapFamily>,
                                    Union<MultimapFamily>, Union<ArraymapFamily>>;

struct CombinationName {
    template <class Combination>
    static std::string GetName(int)
    {
        return std::string(Combination::name) + Combination::combination;
    }
};

using Refills = RefillsOf<MultimapFamily, ArraymapFamily>;

} // namespace

TYPED_TEST_SUITE(ListIsEqual, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListRefill, Refills, RefillName);
TYPED_TEST_SUITE(ListCombination, Combinations, CombinationName);
TYPED_TEST_SUITE(ListIntersection, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListUnion, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListMerge, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListCopy, ListFamilies, TypeName);

TYPED_TEST(ListIsEqual, HoldsForTheSamePairsInAnyOrder)
{
    for (int i = 0; i < 300; ++i) {
        const int back = 299 - i;
        ASSERT_EQ(insert(this->map, std::to_string(i / 3).c_str(), std::to_string(i)), 0);
        ASSERT_EQ(insert(*this->other, std::to_string(back / 3).c_str(), std::to_string(back)), 0);
    }
    ASSERT_NE(values_of(this->map, "7"), values_of(*this->other, "7"));
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 1);
}

TYPED_TEST(ListIsEqual, HoldsForAContainerAndItself)
{
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->map), 1);
    fill(this->map, {{"x", {"1", "2"}}, {"y", {""}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->map), 1);
}

TYPED_TEST(ListIsEqual, DoesNotLookAtTheSettings)
{
    const Content content = {{"x", {"1", "2"}}, {"y", {""}}, {"Z", {"\0"s}}};
    fill(this->map, content);
    fill(*this->other, content);
    ASSERT_EQ(TypeParam::sethashsize(&this->other, 4), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->other, hash_length), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->other, 3), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->other, 4), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->other, 1), 0);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 1);
}

TYPED_TEST(ListIsEqual, FailsForADifferentNumberOfKeys)
{
    fill(this->map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*this->other, {{"x", {"1", "2"}}});
    ASSERT_EQ(this->map.numvalues, this->other->numvalues);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
    ASSERT_EQ(TypeParam::clear(&this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForADifferentNumberOfKeysThoughTheSecondHoldsEveryPair)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->other, 1), 0);
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    fill(*this->other, {{"key", {"1", "2"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForADifferentNumberOfValues)
{
    fill(this->map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    fill(*this->other, {{"x", {"1"}}, {"y", {"2"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForOtherKeys)
{
    fill(this->map, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*this->other, {{"x", {"1"}}, {"z", {"2"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForTheSameValuesUnderOtherKeys)
{
    fill(this->map, {{"x", {"1", "2"}}, {"y", {"3"}}});
    fill(*this->other, {{"x", {"1"}}, {"y", {"2", "3"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForAnotherByteInTheLastValueOfAKey)
{
    fill(this->map, {{"x", {"1", "2\0a"s}}});
    fill(*this->other, {{"x", {"1", "2\0b"s}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, FailsForAnotherLengthOfAValue)
{
    fill(this->map, {{"x", {"text"}}});
    fill(*this->other, {{"x", {"text\0"s}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, LooksKeysUpWithTheComparisonOfTheSecondContainer)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->other, 1), 0);
    fill(this->map, {{"Key", {"v"}}});
    fill(*this->other, {{"KEY", {"v"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, LetsSpellingsOfOneKeyMeetTheSamePairOfTheSecondContainer)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->other, 1), 0);
    fill(this->map, {{"Key", {"v"}}, {"KEY", {"v"}}});
    fill(*this->other, {{"key", {"v"}}, {"x", {"w"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
}

TYPED_TEST(ListIsEqual, HoldsForTwoNullContainersOnly)
{
    EXPECT_EQ(TypeParam::isequal(nullptr, nullptr), 1);
    EXPECT_EQ(TypeParam::isequal(&this->map, nullptr), 0);
    EXPECT_EQ(TypeParam::isequal(nullptr, &this->map), 0);
    ASSERT_EQ(TypeParam::destroy(&this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, nullptr), 0);
    EXPECT_EQ(TypeParam::isequal(nullptr, &this->other), 0);
}

TYPED_TEST(ListIsEqual, TakesAReleasedContainerForAnEmptyOne)
{
    ASSERT_EQ(TypeParam::destroy(&this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 1);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->other), 1);
    fill(this->map, {{"x", {"1"}}});
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 0);
    EXPECT_EQ(TypeParam::isequal(&this->other, &this->map), 0);
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
}

TYPED_TEST(ListIsEqual, LeavesBothAsTheyAreAndAllocatesNothing)
{
    fill(this->map, {{"x", {"1", "2"}}});
    fill(*this->other, {{"x", {"2", "1"}}});
    const auto before = state_of(*this->other);
    this->expect_unchanged(1, [&] {
        allocations::Failure no_memory(0);
        const int result = TypeParam::isequal(&this->map, &this->other);
        EXPECT_FALSE(no_memory.happened());
        return result;
    });
    EXPECT_EQ(state_of(*this->other), before);
}

TYPED_TEST(ListIsEqual, HashesEachKeyOnceInTheSecondContainerAlone)
{
    const Content content = {{"x", {"1", "2", "3"}}, {"y", {"1"}}};
    for (typename TypeParam::Container *one : {&this->map, &this->other}) {
        ASSERT_EQ(TypeParam::sethashfunc(one, recorded<hash_all_to_zero>), 0);
        fill(*one, content);
    }
    hashings.clear();
    ASSERT_EQ(TypeParam::isequal(&this->map, &this->other), 1);
    EXPECT_EQ(hashed_for(&this->other), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&this->map), Keys{});
}

TYPED_TEST(ListRefill, FillsTheDestinationWithThePairsOfTheSourceInTheirOrder)
{
    const Content content = {{"", {"empty key", ""}},
                             {"x", {"a\0b"s, "a\0c"s, "a", "\0"s}},
                             {"\xff\x80", {""}},
                             {"y", {"\xff", "\x7f", "1"}}};
    this->fill_in_order(*this->src, content);
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), content);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->src), 1);
}

TYPED_TEST(ListRefill, ClearsTheDestinationFirst)
{
    fill(this->map, {{"old", {"1"}}, {"x", {"stale", "fresh"}}});
    fill(*this->src, {{"x", {"fresh"}}});
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"x", {"fresh"}}}));
}

TYPED_TEST(ListRefill, OfAnEmptySourceEmptiesTheDestination)
{
    fill(this->map, {{"old", {"1", "2"}}});
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListRefill, KeepsTheHashTheCaseFlagAndTheLimitsOfTheDestination)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 50), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 60), 0);
    fill(*this->src, {{"ccc", {"1", "2"}}, {"a", {"2"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->src, 70), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->src, 80), 0);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(this->map.hashfunc, hash_length);
    EXPECT_EQ(this->map.casekeys, 1U);
    EXPECT_EQ(this->map.maxkeys, 50);
    EXPECT_EQ(this->map.maxvalues, 60);
    EXPECT_EQ(content_of(this->map), (Content{{"a", {"2"}}, {"ccc", {"1", "2"}}}));
    EXPECT_EQ(TypeParam::haskey(&this->map, "A"), 1);
}

TYPED_TEST(ListRefill, CopiesKeysAndValues)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(this->refill(), 0);
    EXPECT_NE(stored_key(this->map, "x"), stored_key(*this->src, "x"));
    EXPECT_NE(stored_text(this->map, "x", 1), stored_text(*this->src, "x", 1));
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(values_of(this->map, "y"), Values{"2"});
}

TYPED_TEST(ListRefill, LeavesTheSourceAsItIs)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const auto before = state_of(*this->src);
    ASSERT_EQ(this->refill(), 0);
    EXPECT_EQ(state_of(*this->src), before);
}

TYPED_TEST(ListRefill, OfMoreKeysThanTheDestinationAdmitsLeavesItEmpty)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(this->map, {{"old", {"1"}}});
    const auto before = state_of(*this->src);
    for (int32_t limit : {3, 2, 1, 0}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(TypeParam::setmaxkeys(&this->map, limit), 0);
        EXPECT_EQ(this->refill(), 1);
        EXPECT_EQ(content_of(this->map), Content{});
        EXPECT_EQ(this->map.maxkeys, limit);
    }
    EXPECT_EQ(state_of(*this->src), before);
}

TYPED_TEST(ListRefill, AdmitsAnyNumberOfValuesUnderTheKeysThatTheLimitAdmits)
{
    fill(*this->src, {{"x", {"1", "2", "3"}}, {"y", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 4), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 2), 0);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(this->map.numkeys, 3);
    EXPECT_EQ(this->map.numvalues, 7);
}

TYPED_TEST(ListRefill, JoinsKeysThatAreEqualInACaseInsensitiveDestination)
{
    this->fill_in_order(*this->src,
                        {{"Key", {"3", "1"}}, {"x", {"1"}}, {"KEY", {"2"}}, {"key", {"0"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"3", "1", "2", "0"}}, {"x", {"1"}}}));
}

TYPED_TEST(ListRefill, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"1"}}, {"z", {"1", "2", "3"}}});
    const auto src_before = state_of(*this->src);
    const map_bucket_t *buckets = this->map.buckets;
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(TypeParam::clear(&this->map), 0);
                      fill(this->map, {{"old", {"1", "2"}}});
                  },
                  [&] { return this->refill(); },
                  [&](std::size_t) { EXPECT_EQ(content_of(this->map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->src), 1);
    EXPECT_EQ(state_of(*this->src), src_before);
    EXPECT_EQ(this->map.buckets, buckets);
}

TYPED_TEST(ListRefill, RefusesANullContainerAndLeavesTheOther)
{
    fill(this->map, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(nullptr, &this->map); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->map, nullptr); });
    EXPECT_EQ(TypeParam::call(nullptr, nullptr), EINVAL);
}

TYPED_TEST(ListRefill, RefusesTheSourceAsDestinationAndLeavesIt)
{
    fill(this->map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->map, &this->map); });
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->map, &this->map); });
}

TYPED_TEST(ListRefill, RefusesAReleasedDestination)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
    fill(*this->src, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
    EXPECT_EQ(content_of(*this->src), (Content{{"x", {"1"}}}));
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
}

TYPED_TEST(ListCombination, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->a, 64), 0);
    ASSERT_EQ(TypeParam::sethashsize(&this->b, 128), 0);
    fill(*this->a, {{"x", {"1"}}});
    fill(*this->b, {{"x", {"2", "1"}}});
    const map_bucket_t *buckets = this->map.buckets;
    EXPECT_EQ(TypeParam::call(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(this->map.hashsize, 32U);
    EXPECT_EQ(this->map.buckets, buckets);
}

TYPED_TEST(ListCombination, RefusesANullContainerAndLeavesTheDestination)
{
    fill(*this->a, {{"x", {"1"}}});
    fill(this->map, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(nullptr, &this->a, &this->map); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->a, nullptr, &this->map); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(nullptr, nullptr, &this->map); });
    EXPECT_EQ(TypeParam::call(&this->a, &this->b, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::call(nullptr, nullptr, nullptr), EINVAL);
}

TYPED_TEST(ListCombination, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*this->a, {{"x", {"1"}}});
    fill(this->map, {{"x", {"1", "2"}}, {"y", {"2"}}});
    this->expect_unchanged(EINVAL,
                           [&] { return TypeParam::call(&this->map, &this->a, &this->map); });
    this->expect_unchanged(EINVAL,
                           [&] { return TypeParam::call(&this->a, &this->map, &this->map); });
    this->expect_unchanged(EINVAL,
                           [&] { return TypeParam::call(&this->map, &this->map, &this->map); });
    EXPECT_EQ(content_of(*this->a), (Content{{"x", {"1"}}}));
}

TYPED_TEST(ListCombination, RefusesAReleasedDestinationEvenIfThereIsNothingToAdd)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->a, &this->b, &this->map); });
    fill(*this->b, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::call(&this->a, &this->b, &this->map); });
    EXPECT_EQ(content_of(*this->b), (Content{{"x", {"1"}}}));
}

TYPED_TEST(ListCombination, LeavesBothSourcesAsTheyAre)
{
    fill(*this->a, {{"x", {"1"}}, {"y", {"2", "3"}}});
    fill(*this->b, {{"y", {"2"}}, {"z", {"3"}}});
    const auto a_before = state_of(*this->a);
    const auto b_before = state_of(*this->b);
    ASSERT_EQ(TypeParam::call(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(state_of(*this->a), a_before);
    EXPECT_EQ(state_of(*this->b), b_before);
}

TYPED_TEST(ListIntersection, HoldsThePairsThatBothHold)
{
    this->fill_in_order(*this->a, {{"same", {"1", "2", "3"}},
                                   {"only a", {"2"}},
                                   {"other value", {"3"}},
                                   {"other length", {"text"}},
                                   {"other byte", {"x\0y"s}},
                                   {"empty", {"", "x"}},
                                   {"text", {"t\0"s}}});
    fill(*this->b, {{"text", {"t", "t\0"s}},
                    {"other byte", {"x\0z"s}},
                    {"other length", {"text\0"s}},
                    {"other value", {"4"}},
                    {"only b", {"2"}},
                    {"same", {"3", "0", "1"}},
                    {"empty", {"y", ""}}});
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map),
              (Content{{"same", {"1", "3"}}, {"empty", {""}}, {"text", {"t\0"s}}}));
}

TYPED_TEST(ListIntersection, VisitsEveryBucketWhateverTheirNumbers)
{
    for (const auto &[a_size, b_size] : {std::pair{8U, 128U}, {128U, 8U}}) {
        SCOPED_TRACE(a_size);
        ASSERT_EQ(TypeParam::sethashsize(&this->a, a_size), 0);
        ASSERT_EQ(TypeParam::sethashsize(&this->b, b_size), 0);
        ASSERT_EQ(TypeParam::clear(&this->a), 0);
        ASSERT_EQ(TypeParam::clear(&this->b), 0);
        for (int i = 0; i < 100; ++i) {
            const std::string key = std::to_string(i);
            fill(*this->a, {{key, {"1", "2", "3"}}});
            fill(*this->b, {{key, {"3", "1"}}});
        }
        EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
        EXPECT_EQ(this->map.numkeys, 100);
        EXPECT_EQ(this->map.numvalues, 200);
    }
}

TYPED_TEST(ListIntersection, OfContainersWithoutACommonPairEmptiesTheDestination)
{
    fill(*this->a, {{"x", {"1"}}, {"y", {"2"}}});
    fill(*this->b, {{"x", {"2"}}, {"z", {"2"}}});
    fill(this->map, {{"x", {"1"}}});
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListIntersection, LooksKeysUpWithTheComparisonOfTheSecondContainerAndKeepsTheSpelling)
{
    fill(*this->a, {{"Key", {"v"}}});
    fill(*this->b, {{"KEY", {"v"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->a, 1), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
    ASSERT_EQ(TypeParam::setcasekeys(&this->b, 1), 0);
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"v"}}}));
}

TYPED_TEST(ListIntersection, TakesEverySpellingThatTheSecondContainerFinds)
{
    this->fill_in_order(*this->a, {{"Key", {"v"}}, {"KEY", {"v", "w"}}, {"key", {"x"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->b, 1), 0);
    fill(*this->b, {{"kEY", {"w", "v"}}});
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"v"}}, {"KEY", {"v", "w"}}}));
}

TYPED_TEST(ListIntersection, CountsOnlyCommonPairsAgainstTheKeyLimit)
{
    fill(*this->a, {{"x", {"1"}}, {"y", {"2"}}, {"z", {"3"}}});
    fill(*this->b, {{"y", {"2"}}, {"z", {"4"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"y", {"2"}}}));
}

TYPED_TEST(ListIntersection, HashesEachKeyOnceForTheSecondContainerAndOnceForTheDestination)
{
    for (typename TypeParam::Container *one : {&this->a, &this->b, &this->map}) {
        ASSERT_EQ(TypeParam::sethashfunc(one, recorded<hash_all_to_zero>), 0);
    }
    fill(*this->a, {{"x", {"1", "2", "3"}}, {"only a", {"1", "2"}}, {"y", {"1"}}});
    fill(*this->b, {{"y", {"2", "1"}}, {"only b", {"1"}}, {"x", {"3", "2", "1"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(hashed_for(&this->b), (Keys{"x", "only a", "y"}));
    EXPECT_EQ(hashed_for(&this->map), (Keys{"x", "y"}));
    EXPECT_EQ(hashed_for(&this->a), Keys{});
    EXPECT_EQ(content_of(this->map), (Content{{"x", {"1", "2", "3"}}, {"y", {"1"}}}));
}

TYPED_TEST(ListIntersection, TakesReleasedSourcesForEmptyOnes)
{
    fill(*this->a, {{"x", {"1"}}});
    ASSERT_EQ(TypeParam::destroy(&this->b), 0);
    fill(this->map, {{"x", {"1"}}});
    EXPECT_EQ(TypeParam::intersection(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
    fill(this->map, {{"x", {"1"}}});
    EXPECT_EQ(TypeParam::intersection(&this->b, &this->a, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
    fill(this->map, {{"x", {"1"}}});
    EXPECT_EQ(TypeParam::intersection(&this->b, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListUnion, HoldsThePairsOfTheFirstThenThoseThatOnlyTheSecondHolds)
{
    this->fill_in_order(*this->a, {{"same", {"2", "1"}}, {"only a", {"1"}}, {"text", {"t"}}});
    this->fill_in_order(
        *this->b,
        {{"only b", {"2", "1"}}, {"text", {"t\0"s, "", "t"}}, {"same", {"3", "1", "2", "0"}}});
    this->put_all_into_one_bucket(this->map);
    fill(this->map, {{"old", {"1"}}});
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"same", {"2", "1", "3", "0"}},
                                              {"only a", {"1"}},
                                              {"text", {"t", "t\0"s, ""}},
                                              {"only b", {"2", "1"}}}));
}

TYPED_TEST(ListUnion, TellsValuesOfTheSecondApartByLengthAndByEveryByte)
{
    fill(*this->a, {{"x", {"ab", "a\0x"s}}});
    fill(*this->b, {{"x", {"ab\0"s, "a", "a\0y"s, "a\0x"s, "", "ab"}}});
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"ab", "a\0x"s, "ab\0"s, "a", "a\0y"s, ""}));
}

TYPED_TEST(ListUnion, ReadsNoFurtherThanTheLastBucketOfTheSecond)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->a, 1024), 0);
    ASSERT_EQ(TypeParam::sethashsize(&this->b, 2), 0);
    fill(*this->a, {{"x", {"1"}}});
    fill(*this->b, {{"x", {"2"}}, {"y", {"1"}}, {"z", {"1"}}});
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(this->map.numkeys, 3);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "2"}));
    EXPECT_EQ(this->map.numvalues, 4);
}

TYPED_TEST(ListUnion, SkipsPairsOfTheSecondThatAreEqualInTheDestination)
{
    fill(*this->a, {{"x", {"1"}}});
    this->fill_in_order(*this->b,
                        {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"X", {"1", "2"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"x", {"1", "2"}}, {"Key", {"1", "2", "3"}}}));
}

TYPED_TEST(ListUnion, ComparesKeysAsTheDestinationDoesNotAsTheSources)
{
    fill(*this->a, {{"Key", {"1"}}});
    fill(*this->b, {{"KEY", {"1"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->a, 1), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->b, 1), 0);
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1"}}, {"KEY", {"1"}}}));
}

TYPED_TEST(ListUnion, AtTheKeyLimitWithinTheSecondContainerEmptiesTheDestination)
{
    fill(*this->a, {{"x", {"1"}}, {"y", {"1"}}});
    this->fill_in_order(*this->b, {{"x", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 3), 0);
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 1);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->a, &this->map), 0);
    EXPECT_EQ(this->map.numkeys, 2);
}

TYPED_TEST(ListUnion, AddsValuesOfTheSecondToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*this->a, {{"x", {"1"}}, {"y", {"1"}}});
    fill(*this->b, {{"y", {"2", "1"}}, {"x", {"3"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 3), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 2), 0);
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "3"}));
    EXPECT_EQ(values_of(this->map, "y"), (Values{"1", "2"}));
    EXPECT_EQ(this->map.maxvalues, 2);
}

TYPED_TEST(ListUnion, WithoutMemoryForAnyAllocationLeavesTheDestinationEmpty)
{
    fill(*this->a, {{"x", {"1", "2"}}, {"y", {"1"}}});
    fill(*this->b, {{"x", {"2", "3"}}, {"y", {"1"}}, {"z", {"1", "2"}}});
    const auto a_before = state_of(*this->a);
    const auto b_before = state_of(*this->b);
    const std::size_t keys_and_values = 9;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(TypeParam::clear(&this->map), 0);
                      fill(this->map, {{"old", {"1", "2"}}});
                  },
                  [&] { return TypeParam::set_union(&this->a, &this->b, &this->map); },
                  [&](std::size_t) { EXPECT_EQ(content_of(this->map), Content{}); }),
              keys_and_values);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "2", "3"}));
    EXPECT_EQ(state_of(*this->a), a_before);
    EXPECT_EQ(state_of(*this->b), b_before);
}

TYPED_TEST(ListUnion, HashesEachKeyOfEachSourceOnceForTheDestinationAlone)
{
    for (typename TypeParam::Container *one : {&this->a, &this->b, &this->map}) {
        ASSERT_EQ(TypeParam::sethashfunc(one, recorded<hash_all_to_zero>), 0);
    }
    fill(*this->a, {{"x", {"1", "2", "3"}}, {"y", {"1"}}});
    fill(*this->b, {{"z", {"1", "2"}}, {"x", {"2", "4", "5"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(hashed_for(&this->map), (Keys{"x", "y", "z", "x"}));
    EXPECT_EQ(hashed_for(&this->a), Keys{});
    EXPECT_EQ(hashed_for(&this->b), Keys{});
}

TYPED_TEST(ListUnion, TakesAReleasedSecondForAnEmptyOne)
{
    fill(*this->a, {{"x", {"1", "2"}}});
    ASSERT_EQ(TypeParam::destroy(&this->b), 0);
    EXPECT_EQ(TypeParam::set_union(&this->a, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"x", {"1", "2"}}}));
    ASSERT_EQ(insert(this->map, "old", "1"), 0);
    EXPECT_EQ(TypeParam::set_union(&this->b, &this->b, &this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListMerge, AddsKeysAndValuesInTheOrderOfTheSource)
{
    this->fill_in_order(this->map, {{"d", {"old"}}, {"b", {"old"}}});
    this->fill_in_order(
        *this->src, {{"c", {"\0"s, "", "\xff"}}, {"b", {"z", "a"}}, {"", {""}}, {"a", {"new"}}});
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"d", {"old"}},
                                              {"b", {"old", "z", "a"}},
                                              {"c", {"\0"s, "", "\xff"}},
                                              {"", {""}},
                                              {"a", {"new"}}}));
}

TYPED_TEST(ListMerge, VisitsEveryBucketOfTheSourceWhateverTheirNumber)
{
    for (uint32_t size : {1U, 1024U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(TypeParam::clear(&this->src), 0);
        ASSERT_EQ(TypeParam::sethashsize(&this->src, size), 0);
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
        for (int i = 0; i < 100; ++i) {
            fill(*this->src, {{std::to_string(i), {"1", "2"}}});
        }
        EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
        EXPECT_EQ(this->map.numkeys, 100);
        EXPECT_EQ(this->map.numvalues, 200);
        EXPECT_EQ(this->map.hashsize, 32U);
    }
}

TYPED_TEST(ListMerge, CopiesKeysAndValues)
{
    fill(*this->src, {{"x", {"1", "2"}}});
    ASSERT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_NE(stored_key(this->map, "x"), stored_key(*this->src, "x"));
    EXPECT_NE(stored_text(this->map, "x", 1), stored_text(*this->src, "x", 1));
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"x", {"1", "2"}}}));
}

TYPED_TEST(ListMerge, LooksKeysUpWithTheComparisonOfTheDestination)
{
    fill(*this->src, {{"KEY", {"2"}}});
    fill(this->map, {{"Key", {"1"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2"}}}));
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 0), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->src, 1), 0);
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2"}}, {"KEY", {"2"}}}));
}

TYPED_TEST(ListMerge, KeepsTheSettingsOfTheDestination)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->src, 70), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->src, 80), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->src, 1), 0);
    this->fill_in_order(*this->src, {{"x", {"1", "2"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 50), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(this->map.hashsize, 32U);
    EXPECT_EQ(this->map.maxkeys, 50);
    EXPECT_EQ(this->map.maxvalues, 1);
    EXPECT_EQ(this->map.hashfunc, hash_length);
    EXPECT_EQ(this->map.casekeys, 0U);
    EXPECT_EQ(this->map.numvalues, 2);
}

TYPED_TEST(ListMerge, AtTheKeyLimitStopsAndKeepsWhatWasAdded)
{
    this->fill_in_order(*this->src,
                        {{"c", {"1", "2"}}, {"old", {"1"}}, {"a", {"2"}}, {"d", {"3"}}});
    this->fill_in_order(this->map, {{"old", {"0"}}, {"d", {"4"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 4), 0);
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 1);
    EXPECT_EQ(content_of(this->map),
              (Content{{"old", {"0", "1"}}, {"d", {"4"}}, {"c", {"1", "2"}}}));
}

TYPED_TEST(ListMerge, AddsValuesToKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*this->src, {{"x", {"3", "2"}}, {"y", {"3"}}});
    fill(this->map, {{"y", {"2"}}, {"x", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 2), 0);
    EXPECT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "3", "2"}));
    EXPECT_EQ(values_of(this->map, "y"), (Values{"2", "3"}));
    EXPECT_EQ(this->map.numvalues, 5);
}

TYPED_TEST(ListMerge, WithoutMemoryForAnyAllocationStopsAndKeepsWhatWasAdded)
{
    this->fill_in_order(*this->src, {{"c", {"1", "2"}}, {"old", {"3"}}, {"a", {"4"}}});
    this->put_all_into_one_bucket(this->map);
    const auto src_before = state_of(*this->src);
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
                      ASSERT_EQ(TypeParam::clear(&this->map), 0);
                      fill(this->map, {{"old", {"0"}}});
                  },
                  [&] { return TypeParam::merge(&this->src, &this->map); },
                  [&](std::size_t nth) { EXPECT_EQ(content_of(this->map), left.at(nth)); }),
              left.size());
    EXPECT_EQ(content_of(this->map),
              (Content{{"old", {"0", "3"}}, {"c", {"1", "2"}}, {"a", {"4"}}}));
    EXPECT_EQ(state_of(*this->src), src_before);
}

TYPED_TEST(ListMerge, OfAnEmptyOrReleasedSourceAddsNothing)
{
    fill(this->map, {{"x", {"1"}}});
    this->expect_unchanged(0, [&] { return TypeParam::merge(&this->src, &this->map); });
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    this->expect_unchanged(0, [&] { return TypeParam::merge(&this->src, &this->map); });
}

TYPED_TEST(ListMerge, HashesEachKeyOfTheSourceOnceForTheDestinationAlone)
{
    for (typename TypeParam::Container *one : {&this->src, &this->map}) {
        ASSERT_EQ(TypeParam::sethashfunc(one, recorded<hash_all_to_zero>), 0);
    }
    fill(*this->src, {{"new", {"1", "2", "3"}}, {"x", {"2", "1", "3"}}, {"same", {"1", "2"}}});
    fill(this->map, {{"same", {"1", "2"}}, {"x", {"1"}}, {"only here", {"1"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(hashed_for(&this->map), (Keys{"new", "x", "same"}));
    EXPECT_EQ(hashed_for(&this->src), Keys{});
}

TYPED_TEST(ListMerge, RefusesAReleasedDestinationWhenThereIsAKeyToAdd)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(0, [&] { return TypeParam::merge(&this->src, &this->map); });
    fill(*this->src, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::merge(&this->src, &this->map); });
    EXPECT_EQ(content_of(*this->src), (Content{{"x", {"1"}}}));
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    this->expect_unchanged(0, [&] { return TypeParam::merge(&this->src, &this->map); });
}

TYPED_TEST(ListMerge, RefusesANullContainerAndLeavesTheOther)
{
    fill(this->map, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return TypeParam::merge(nullptr, &this->map); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::merge(&this->map, nullptr); });
    EXPECT_EQ(TypeParam::merge(&this->src, nullptr), EINVAL) << "of an empty container";
    EXPECT_EQ(TypeParam::merge(nullptr, nullptr), EINVAL);
}

TYPED_TEST(ListMerge, LeavesTheSourceAsItIs)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    const auto before = state_of(*this->src);
    ASSERT_EQ(TypeParam::merge(&this->src, &this->map), 0);
    EXPECT_EQ(state_of(*this->src), before);
}

TYPED_TEST(ListCopy, TakesOverTheNumberOfBuckets)
{
    fill(*this->src, {{"x", {"1", "2"}}});
    for (uint32_t size : {64U, 32U, 1U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(TypeParam::sethashsize(&this->src, size), 0);
        EXPECT_EQ(TypeParam::copy(&this->src, &this->map), 0);
        EXPECT_EQ(this->map.hashsize, size);
        EXPECT_EQ(content_of(this->map), (Content{{"x", {"1", "2"}}}));
    }
}

TYPED_TEST(ListCopy, IteratesAsTheSourceDoes)
{
    for (int i = 0; i < 600; ++i) {
        const std::string key = std::to_string(i % 300 * 7919 % 100003);
        ASSERT_EQ(insert(*this->src, key.c_str(), std::to_string(i)), 0);
    }
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    for (const char *key : {"0", "7919", "15838"}) {
        ASSERT_EQ(TypeParam::remove(&this->src, key, 0), 0);
        ASSERT_EQ(insert(*this->src, key, "new"), 0);
    }
    EXPECT_EQ(TypeParam::copy(&this->src, &this->map), 0);
    EXPECT_EQ(content_of(this->map), content_of(*this->src));
}

TYPED_TEST(ListCopy, OfAnEmptySourceTakesOverItsNumberOfBuckets)
{
    fill(this->map, {{"old", {"1"}}});
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 8), 0);
    EXPECT_EQ(TypeParam::copy(&this->src, &this->map), 0);
    EXPECT_EQ(this->map.hashsize, 8U);
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListCopy, AllocatesBucketsOnlyIfTheirNumberDiffers)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    std::vector<std::size_t> first;
    std::vector<std::size_t> second;
    {
        allocations::Log log;
        ASSERT_EQ(TypeParam::copy(&this->src, &this->map), 0);
        first = log.sizes();
    }
    {
        allocations::Log log;
        ASSERT_EQ(TypeParam::copy(&this->src, &this->map), 0);
        second = log.sizes();
    }
    ASSERT_EQ(first.size(), 6U);
    EXPECT_EQ(first[0], 64 * sizeof(map_bucket_t));
    EXPECT_EQ(second.size(), 5U);
}

TYPED_TEST(ListCopy, HashesEachKeyOnceForTheDestinationAlone)
{
    for (typename TypeParam::Container *one : {&this->src, &this->map}) {
        ASSERT_EQ(TypeParam::sethashfunc(one, recorded<hash_all_to_zero>), 0);
    }
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    fill(*this->src, {{"y", {"1", "2", "3"}}, {"x", {"1"}}});
    fill(this->map, {{"old", {"1", "2"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::copy(&this->src, &this->map), 0);
    EXPECT_EQ(hashed_for(&this->map), (Keys{"y", "x"}));
    EXPECT_EQ(hashed_for(&this->src), Keys{});
}

TYPED_TEST(ListCopy, WithoutMemoryIsEmptyAndHasTheSourcesBucketsOnceThoseWereMade)
{
    fill(*this->src, {{"x", {"1", "2"}}, {"y", {"2"}}});
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    const std::size_t buckets_keys_and_values = 6;
    const map_bucket_t *buckets = nullptr;
    EXPECT_EQ(fail_each_allocation(
                  [&] {
                      ASSERT_EQ(TypeParam::sethashsize(&this->map, 32), 0);
                      ASSERT_EQ(TypeParam::clear(&this->map), 0);
                      fill(this->map, {{"old", {"1"}}});
                      buckets = this->map.buckets;
                  },
                  [&] { return TypeParam::copy(&this->src, &this->map); },
                  [&](std::size_t nth) {
                      EXPECT_EQ(content_of(this->map), Content{});
                      EXPECT_EQ(this->map.hashsize, nth == 0 ? 32U : 64U);
                      EXPECT_EQ(this->map.buckets == buckets, nth == 0);
                  }),
              buckets_keys_and_values);
    EXPECT_EQ(TypeParam::isequal(&this->map, &this->src), 1);
}

TYPED_TEST(ListCopy, RefusedAtTheKeyLimitHasTheSourcesNumberOfBuckets)
{
    fill(*this->src, {{"x", {"1"}}, {"y", {"2"}}});
    ASSERT_EQ(TypeParam::sethashsize(&this->src, 64), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    EXPECT_EQ(TypeParam::copy(&this->src, &this->map), 1);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(this->map.hashsize, 64U);
}

TYPED_TEST(ListCopy, OfAReleasedSourceIsRefusedAndEmptiesTheDestination)
{
    fill(this->map, {{"old", {"1", "2"}}});
    ASSERT_EQ(TypeParam::destroy(&this->src), 0);
    EXPECT_EQ(TypeParam::copy(&this->src, &this->map), EINVAL);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(this->map.hashsize, 32U);
}
