#include "list_settings.hpp"

namespace {

using Indexes = std::vector<uint32_t>;

template <class Rebuild>
class ArraymapRebuild : public ListSettingsTest<Rebuild> {
};

class ArraymapSetHashSize : public ListSettingsTest<ArraymapFamily> {};

class ArraymapHashFunction : public ListSettingsTest<ArraymapFamily> {};

class ArraymapSetCaseKeys : public ListSettingsTest<ArraymapFamily> {};

class ArraymapMergedKey : public ListSettingsTest<ArraymapFamily> {
  protected:
    ArraymapMergedKey()
    {
        make_merged(map);
    }
};

class ArraymapSetMaxValues : public ListSettingsTest<ArraymapFamily> {};

} // namespace

TYPED_TEST_SUITE(ArraymapRebuild, RebuildsOf<ArraymapFamily>, RebuildName);

TYPED_TEST(ArraymapRebuild, WorksOnANumberOfBucketsThatIsNoPowerOfTwo)
{
    restart(this->map, 48);
    this->insert_numbered(100);
    const auto before = this->sorted_nodes();
    ASSERT_EQ(before.size(), 100U);
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(TypeParam::allocates, this->map.hashsize != 48);
    EXPECT_EQ(this->sorted_nodes(), before);
}

TEST_F(ArraymapSetHashSize, RefusesThePresentSizeIfItIsNoPowerOfTwo)
{
    restart(map, 48);
    fill(map, {{"b", {"1", "1"}}, {"a", {"1"}}});
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 48); });
    EXPECT_EQ(map.hashsize, 48U);
    restart(map, 0);
    expect_unchanged(EINVAL, [&] { return arraymap_sethashsize(&map, 0); });
}

TEST_F(ArraymapSetHashSize, BringsAnArraymapWithoutBucketsToLifeWithItsSettings)
{
    restart(map, 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(arraymap_setmaxkeys(&map, 3), 0);
    ASSERT_EQ(arraymap_setmaxvalues(&map, 4), 0);
    ASSERT_EQ(insert(map, "a", "v"), EINVAL);

    EXPECT_EQ(arraymap_sethashsize(&map, 32), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.maxkeys, 3);
    EXPECT_EQ(map.maxvalues, 4);
    fill(map, {{"Key", {"v"}}, {"KEY", {"v"}}});
    EXPECT_EQ(content_of(map), (Content{{"Key", {"v", "v"}}}));
    EXPECT_EQ(bucket_of(map, "Key"), 3U);
}

TEST_F(ArraymapHashFunction, IsCalledOnceByReplace)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recorded<hash_first_byte>), 0);
    fill(map, {{"a", {"1", "2", "3"}}});
    hashings.clear();
    EXPECT_EQ(arraymap_replace(&map, "a", 2, "33", 2), 0);
    EXPECT_EQ(hashed_keys(), Keys{"a"});
    EXPECT_EQ(hashed_for(&map), Keys{"a"});
}

TEST_F(ArraymapSetCaseKeys, LetsAKeyTakeAValueItHasInAnotherSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(insert(map, "KEY", "1"), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1"}}}));
}

TEST_F(ArraymapSetCaseKeys, LetsEachValueThatMovesKeepItsIndex)
{
    fill(map, {{"Key", {"1", "2"}},
               {"KEY", {"2", "3"}},
               {"x", {"3", "1"}},
               {"X", {"4", "1", "2", "3", "0"}},
               {"aBC", {"1"}},
               {"ABC", {"2", "1"}},
               {"abc", {"2", "3"}},
               {"Abc", {"3", "4", "1"}},
               {"abC", {"4"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
    EXPECT_EQ(indexes_of(map, "x"), (Indexes{0, 1, 0, 2, 4}));
    EXPECT_EQ(indexes_of(map, "aBC"), (Indexes{0, 0, 1, 1}));
}

TEST_F(ArraymapSetCaseKeys, DropsAValueThatAnEarlierOneOfTheSameMergedKeyEquals)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "2", "1", "3", "2", "3"}}});
    const std::size_t live = allocations::live();
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 0, 3}));
    EXPECT_EQ(map.numvalues, 3);
    const std::size_t keys = 1;
    const std::size_t values = 4;
    EXPECT_EQ(allocations::live(), live - keys - values);
}

TEST_F(ArraymapSetCaseKeys, KeepsTheEqualValuesOfTheSurvivingKey)
{
    fill(map, {{"Key", {"1", "1", "2", "1"}}, {"KEY", {"1", "1", "3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "1", "2", "1", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2, 3, 2}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(ArraymapSetCaseKeys, KeepsTheEqualValuesOfKeysThatAreNotMerged)
{
    fill(map, {{"x", {"1", "1"}}, {"Y", {"2", "1", "2"}}});
    for (uint32_t flag : {1U, 0U, 1U}) {
        SCOPED_TRACE(flag);
        ArraymapState expected = state_of(map);
        expected.casekeys = flag;
        EXPECT_EQ(arraymap_setcasekeys(&map, flag), 0);
        EXPECT_EQ(state_of(map), expected);
    }
}

TEST_F(ArraymapSetCaseKeys, MergesInANumberOfBucketsThatIsNoPowerOfTwo)
{
    restart(map, 48);
    fill(map, {{"Key", {"1", "1"}}, {"x", {"1"}}, {"KEY", {"2", "1", "2"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1", "1", "2"}));
    EXPECT_EQ(values_of(map, "X"), Values{"1"});
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(map.hashsize, 48U);
}

TEST_F(ArraymapMergedKey, NumbersAnAppendedValueByTheNumberOfThoseBeforeIt)
{
    EXPECT_EQ(insert(map, "key", "3"), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1, 3}));
}

TEST_F(ArraymapMergedKey, ReplacesTheFirstValueOfAnIndexAndKeepsItsIndex)
{
    EXPECT_EQ(arraymap_replace(&map, "key", 1, "new", 3), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "new", "3"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1}));
}

TEST_F(ArraymapMergedKey, RemovesTheFirstValueOfAnIndexAndNumbersTheRestByPosition)
{
    ASSERT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "3", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(arraymap_remove(&map, "key", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1}));
}

TEST_F(ArraymapMergedKey, IsNumberedByPositionAfterADeletion)
{
    EXPECT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(arraymap_delete(&map, "key", "1", 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"2", "3", "4"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapMergedKey, HasPositionsWithoutAValueOfThatIndex)
{
    EXPECT_EQ(values_of(map, "key"), (Values{"1", "2", "3"}));
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 2); });
    expect_unchanged(ENOENT, [&] { return arraymap_replace(&map, "key", 2, "new", 3); });
}

TEST_F(ArraymapMergedKey, IsNotRenumberedByAFailedRemoval)
{
    expect_unchanged(ENOENT, [&] { return arraymap_remove(&map, "key", 7); });
    expect_unchanged(ENOENT, [&] { return arraymap_delete(&map, "key", "4", 1); });
}

TEST_F(ArraymapMergedKey, KeepsItsIndexesWhenKeysAreCaseSensitiveAgain)
{
    ArraymapState expected = state_of(map);
    expected.casekeys = 0;
    EXPECT_EQ(arraymap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(state_of(map), expected);
}

TEST_F(ArraymapMergedKey, CanSurviveOrLoseAnotherMerger)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    fill(map, {{"kEY", {"0", "3", "4", "5"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", {"1", "2", "3", "0", "4", "5"}}}));
    EXPECT_EQ(indexes_of(map, "Key"), (Indexes{0, 1, 1, 0, 2, 3}));

    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    fill(map, {{"kEY", {"8"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map,
                                   [](const void *, const char *key) {
                                       return static_cast<uint32_t>(*key == 'k' ? 0 : 1);
                                   }),
              0);
    ASSERT_EQ(keys_of(map), (Keys{"kEY", "Key"}));
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(content_of(map), (Content{{"kEY", {"8", "1", "2", "3", "0", "4", "5"}}}));
    EXPECT_EQ(indexes_of(map, "kEY"), (Indexes{0, 0, 1, 1, 0, 2, 3}));
}

TEST_F(ArraymapSetMaxValues, CountsEqualValuesEach)
{
    fill(map, {{"a", {"1", "1", "1"}}});
    expect_unchanged(1, [&] { return arraymap_setmaxvalues(&map, 2); });
    EXPECT_EQ(arraymap_setmaxvalues(&map, 3), 0);
}
