#include "list_sets.hpp"

namespace {

template <class Refill>
class MultimapRefill : public ListRefillTest<Refill> {
};

class MultimapUnion : public ListWithTwoSources<MultimapFamily> {};

class MultimapMerge : public ListWithSource<MultimapFamily> {};

} // namespace

TYPED_TEST_SUITE(MultimapRefill, RefillsOf<MultimapFamily>, RefillName);

TYPED_TEST(MultimapRefill, OfEqualPairsInACaseInsensitiveDestinationFailsAndLeavesItEmpty)
{
    this->fill_in_order(*this->src, {{"Key", {"1"}}, {"x", {"1"}}, {"KEY", {"2", "1"}}});
    ASSERT_EQ(multimap_setcasekeys(&this->map, 1), 0);
    fill(this->map, {{"old", {"1"}}});
    EXPECT_EQ(this->refill(), 1);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(this->map.casekeys, 1U);
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

TEST_F(MultimapUnion, TakesAReleasedFirstForAnEmptyOne)
{
    fill(*b, {{"x", {"1", "2"}}});
    ASSERT_EQ(multimap_destroy(&a), 0);
    fill(map, {{"old", {"1"}}});
    EXPECT_EQ(multimap_union(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", {"1", "2"}}}));
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

TEST_F(MultimapMerge, AddsNoValueThatAKeyHasInAnotherSpelling)
{
    fill(*src, {{"KEY", {"1"}}});
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    expect_unchanged(0, [&] { return multimap_merge(&src, &map); });
}

TEST_F(MultimapMerge, JoinsKeysThatAreEqualInTheDestinationUnderTheFirstSpelling)
{
    fill_in_order(*src, {{"KEY", {"1", "2"}}, {"Key", {"2", "3"}}, {"x", {"3"}}, {"key", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    put_all_into_one_bucket(map);
    EXPECT_EQ(multimap_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"KEY", {"1", "2", "3"}}, {"x", {"3"}}}));
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
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(0, [&] { return multimap_merge(&map, &map); });
}
