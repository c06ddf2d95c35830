#include "list_sets.hpp"

namespace {

using Indexes = std::vector<uint32_t>;

class ArraymapIsEqual : public ListWithOther<ArraymapFamily> {};

template <class Refill>
class ArraymapRefill : public ListRefillTest<Refill> {
};

class ArraymapIntersection : public ListWithTwoSources<ArraymapFamily> {};

class ArraymapUnion : public ListWithTwoSources<ArraymapFamily> {};

class ArraymapMerge : public ListWithSource<ArraymapFamily> {};

class ArraymapCopy : public ListWithSource<ArraymapFamily> {};

} // namespace

TYPED_TEST_SUITE(ArraymapRefill, RefillsOf<ArraymapFamily>, RefillName);

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
    restart(*other, 48);
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

TEST_F(ArraymapIsEqual, TakesAnArraymapWithoutBucketsForAnEmptyOne)
{
    restart(*other, 0);
    EXPECT_EQ(arraymap_isequal(&map, &other), 1);
    EXPECT_EQ(arraymap_isequal(&other, &map), 1);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_isequal(&map, &other), 0);
    EXPECT_EQ(arraymap_isequal(&other, &map), 0);
}

TYPED_TEST(ArraymapRefill, KeepsEqualValuesInTheirOrder)
{
    const Content content = {{"x", {"a\0b"s, "a\0c"s, "a\0b"s}},
                             {"y", {"\xff", "\xff", "1", "\xff"}}};
    this->fill_in_order(*this->src, content);
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), content);
}

TYPED_TEST(ArraymapRefill, NumbersTheValuesByTheirPositions)
{
    make_merged(*this->src);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(values_of(this->map, "Key"), (Values{"1", "2", "3"}));
    EXPECT_EQ(indexes_of(this->map, "Key"), (Indexes{0, 1, 2}));
}

TYPED_TEST(ArraymapRefill, FillsADestinationWhoseNumberOfBucketsIsNoPowerOfTwo)
{
    restart(this->map, 48);
    fill(this->map, {{"old", {"1"}}});
    fill(*this->src, {{"x", {"1", "1"}}, {"y", {"2"}}});
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(values_of(this->map, "x"), (Values{"1", "1"}));
    EXPECT_EQ(values_of(this->map, "y"), Values{"2"});
}

TYPED_TEST(ArraymapRefill, WorksOnNumbersOfBucketsThatAreNoPowerOfTwo)
{
    restart(this->map, 48);
    restart(*this->src, 48);
    for (int i = 0; i < 100; ++i) {
        fill(*this->src, {{std::to_string(i), {"1", "1"}}});
    }
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), content_of(*this->src));
    EXPECT_EQ(this->map.numkeys, 100);
    EXPECT_EQ(this->map.hashsize, 48U);
}

TYPED_TEST(ArraymapRefill, KeepsEqualValuesOfKeysThatAreEqualInACaseInsensitiveDestination)
{
    this->fill_in_order(*this->src, {{"Key", {"1"}}, {"x", {"1"}}, {"KEY", {"2", "1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&this->map, 1), 0);
    this->put_all_into_one_bucket(this->map);
    EXPECT_EQ(this->refill(), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2", "1"}}, {"x", {"1"}}}));
    EXPECT_EQ(indexes_of(this->map, "Key"), (Indexes{0, 1, 2}));
}

TYPED_TEST(ArraymapRefill, RefusesADestinationWithoutBuckets)
{
    restart(this->map, 0);
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
    fill(*this->src, {{"x", {"1"}}});
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
    EXPECT_EQ(content_of(*this->src), (Content{{"x", {"1"}}}));
    restart(*this->src, 0);
    this->expect_unchanged(EINVAL, [&] { return this->refill(); });
}

TEST_F(ArraymapIntersection, HoldsAValueAsOftenAsTheFirstDoes)
{
    fill_in_order(*a, {{"k", {"x", "y", "x", "z", "x"}}, {"l", {"y"}}});
    fill(*b, {{"k", {"x", "z"}}, {"l", {"y", "y", "y"}}});
    put_all_into_one_bucket(map);
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"k", {"x", "x", "z", "x"}}, {"l", {"y"}}}));
    EXPECT_EQ(indexes_of(map, "k"), (Indexes{0, 1, 2, 3}));
}

TEST_F(ArraymapIntersection, WorksOnANumberOfBucketsThatIsNoPowerOfTwo)
{
    for (const auto &[a_size, b_size] : {std::pair{48U, 32U}, {32U, 48U}}) {
        SCOPED_TRACE(a_size);
        restart(*a, a_size);
        restart(*b, b_size);
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

TEST_F(ArraymapIntersection, TakesSourcesWithoutBucketsForEmptyOnes)
{
    fill(*a, {{"x", {"1"}}});
    restart(*b, 0);
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", {"1"}}});
    EXPECT_EQ(arraymap_intersection(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
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
    put_all_into_one_bucket(map);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"k", {"x", "y", "z"}}, {"l", {"y", "x"}}}));
}

TEST_F(ArraymapUnion, LeavesOutKeysOfTheSecondInBucketsThatTheFirstDoesNotHave)
{
    restart(*a, 48);
    ASSERT_EQ(arraymap_sethashsize(&b, 64), 0);
    ASSERT_EQ(arraymap_sethashfunc(&b, hash_first_byte), 0);
    put_all_into_one_bucket(map);
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

TEST_F(ArraymapUnion, KeepsPairsOfTheFirstThatAreEqualInTheDestination)
{
    fill_in_order(*a, {{"Key", {"1"}}, {"KEY", {"1"}}});
    fill(*b, {{"key", {"1", "2"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1", "2"}}}));
}

TEST_F(ArraymapUnion, TakesASecondWithoutBucketsForAnEmptyOne)
{
    fill(*a, {{"x", {"1", "2"}}});
    restart(*b, 0);
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
}

TEST_F(ArraymapUnion, WithAFirstThatHasNoBucketsIsEmpty)
{
    fill(*b, {{"x", {"1", "2"}}});
    ASSERT_EQ(arraymap_destroy(&a), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    restart(*a, 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(arraymap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
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

TEST_F(ArraymapMerge, VisitsEveryBucketOfASourceWhoseNumberOfBucketsIsNoPowerOfTwo)
{
    restart(*src, 48);
    for (int i = 0; i < 100; ++i) {
        fill(*src, {{std::to_string(i), {"1", "1"}}});
    }
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(map.numkeys, 100);
    EXPECT_EQ(map.numvalues, 200);
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(ArraymapMerge, JoinsKeysThatAreEqualInTheDestinationUnderTheFirstSpelling)
{
    fill_in_order(*src, {{"KEY", {"1", "2"}}, {"Key", {"2", "3"}}, {"x", {"3"}}, {"key", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    put_all_into_one_bucket(map);
    EXPECT_EQ(arraymap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"KEY", {"1", "2", "2", "3", "1"}}, {"x", {"3"}}}));
}

TEST_F(ArraymapMerge, OfASourceWithoutBucketsAddsNothing)
{
    fill(map, {{"x", {"1"}}});
    restart(*src, 0);
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
    ASSERT_EQ(arraymap_destroy(&map), 0);
    expect_unchanged(EINVAL, merge_into_itself);
    restart(map, 0);
    expect_unchanged(EINVAL, merge_into_itself);
}

TEST_F(ArraymapMerge, RefusesADestinationWithoutBucketsWhenThereIsAKeyToAdd)
{
    restart(map, 0);
    expect_unchanged(0, [&] { return arraymap_merge(&src, &map); });
    fill(*src, {{"x", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_merge(&src, &map); });
}

TEST_F(ArraymapCopy, OfASourceWithoutBucketsIsRefusedAndEmptiesTheDestination)
{
    fill(map, {{"old", {"1", "2"}}});
    restart(*src, 0);
    EXPECT_EQ(arraymap_copy(&src, &map), EINVAL);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(ArraymapCopy, OfANumberOfBucketsThatIsNoPowerOfTwoIsRefusedAndEmptiesTheDestination)
{
    restart(*src, 48);
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
    restart(*src, 48);
    restart(map, 48);
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
    restart(map, 48);
    fill(*src, {{"x", {"1", "1"}}, {"y", {"2"}}});
    EXPECT_EQ(arraymap_copy(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(content_of(map), content_of(*src));
}
