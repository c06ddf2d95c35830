#include "list_iteration.hpp"

namespace {

class MultimapValueIterator : public ListIterationTest<MultimapFamily> {};

} // namespace

TEST_F(MultimapValueIterator, TellsTheMultimapTheKeyAndTheNodeItStandsOn)
{
    fill(map, {{"k", {"one", "two"}}});
    const char *key = "k";
    multimap_value_iter_t it{};
    ASSERT_NE(multimap_value_first(&map, key, &it), nullptr);
    expect_same(it, {&map, key, _multimap_value(&map, "k", "one", 3)});
    ASSERT_NE(multimap_value_next(&it), nullptr);
    expect_same(it, {&map, key, _multimap_value(&map, "k", "two", 3)});
}

TEST_F(MultimapValueIterator, GivesTheLengthOfAnyValueWhole)
{
    // A value of two gigabytes costs too much to store: the node is made here.
    for (uint32_t len : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const multimap_value_t huge{nullptr, nullptr, "v", len};
        const multimap_value_iter_t it{&map, "k", &huge};
        EXPECT_EQ(multimap_value_size(&it), len);
    }
}

TEST_F(MultimapValueIterator, KeepsTheCallersKeyAndNotACopy)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"3", "4", "5"}}});
    char key[] = "a";
    multimap_value_iter_t it{};
    ASSERT_NE(multimap_value_first(&map, key, &it), nullptr);
    EXPECT_EQ(static_cast<const void *>(it.key), key);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    key[0] = 'b';
    EXPECT_EQ(multimap_value_count(&it), 3U);
    EXPECT_EQ(multimap_value_next(&it), stored_text(map, "a", 1));
    key[0] = 'x';
    EXPECT_EQ(multimap_value_count(&it), 0U);
    EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "a", 1));
}

TEST_F(MultimapValueIterator, TakesItsOwnKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    auto it = iterator_at("k", 1);
    EXPECT_EQ(multimap_value_first(&map, it.key, &it), stored_text(map, "k", 0));
    EXPECT_STREQ(it.key, "k");
}

TEST_F(MultimapValueIterator, FirstOfAMissingKeyGivesNoneAndStandsOnNoValue)
{
    fill(map, {{"a", {"1", "2"}}});
    const char *missing = "b";
    for (multimap_value_iter_t it : {multimap_value_iter_t{}, iterator_at("a", 1)}) {
        EXPECT_EQ(multimap_value_first(&map, missing, &it), nullptr);
        expect_same(it, {&map, missing, nullptr});
        expect_on_no_value(it);
    }
}

TEST_F(MultimapValueIterator, NextAfterTheEndKeepsReturningNoneAndStaysOnTheLastValue)
{
    fill(map, {{"k", {"1", "last"}}});
    auto it = iterator_at("k", 1);
    const auto on_last = it;
    for (int poll = 0; poll < 3; ++poll) {
        EXPECT_EQ(multimap_value_next(&it), nullptr);
        expect_same(it, on_last);
        EXPECT_EQ(multimap_value_elem(&it), stored_text(map, "k", 1));
        EXPECT_EQ(multimap_value_size(&it), 4U);
        EXPECT_EQ(multimap_value_count(&it), 2U);
    }
}

TEST_F(MultimapValueIterator, CountsNothingWhenItsKeyIsGone)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"1"}}, {"c", {"1"}}, {"rest", {"1"}}});
    const auto erased = iterator_at("a", 1);
    ASSERT_EQ(multimap_erase(&map, "a"), 0);
    EXPECT_EQ(multimap_value_count(&erased), 0U);
    const auto removed = iterator_at("b", 0);
    ASSERT_EQ(multimap_remove(&map, "b", 0), 0);
    EXPECT_EQ(multimap_value_count(&removed), 0U);
    const auto deleted = iterator_at("c", 0);
    ASSERT_EQ(multimap_delete(&map, "c", "1", 1), 0);
    EXPECT_EQ(multimap_value_count(&deleted), 0U);
}

TEST_F(MultimapValueIterator, CountsAgainWhenItsKeyIsMadeAnew)
{
    fill(map, {{"k", {"1"}}});
    const auto it = iterator_at("k", 0);
    ASSERT_EQ(multimap_erase(&map, "k"), 0);
    fill(map, {{"k", {"2", "3"}}});
    EXPECT_EQ(multimap_value_count(&it), 2U);
}

TEST_F(MultimapValueIterator, CountsNothingWhenTheMultimapIsClearedOrReleasedSince)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 0);
    ASSERT_EQ(multimap_clear(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
    ASSERT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
    ASSERT_EQ(multimap_init(&map), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
}

TEST_F(MultimapValueIterator, CountsByTheComparisonOfNow)
{
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    fill(map, {{"Key", {"1", "2"}}});
    const auto it = iterator_at("key", 0);
    EXPECT_EQ(multimap_value_count(&it), 2U);
    ASSERT_EQ(multimap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(multimap_value_count(&it), 0U);
}

TEST_F(MultimapValueIterator, LooksTheKeyUpOnceToStartAndOnceToCount)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recorded<hash_all_to_zero>), 0);
    fill(map, {{"other", {"x"}}, {"k", {"1", "2", "3"}}});
    multimap_value_iter_t it{};
    hashings.clear();
    ASSERT_NE(multimap_value_first(&map, "k", &it), nullptr);
    EXPECT_EQ(hashed_keys(), Keys{"k"});
    while (multimap_value_next(&it) != nullptr) {
        multimap_value_elem(&it);
        multimap_value_size(&it);
    }
    EXPECT_EQ(hashed_keys(), Keys{"k"});
    EXPECT_EQ(multimap_value_count(&it), 3U);
    EXPECT_EQ(hashed_keys(), (Keys{"k", "k"}));
}
