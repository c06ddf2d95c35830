#include "map_fixture.hpp"

#include <algorithm>

namespace {

using Content = std::vector<std::pair<std::string, std::string>>;

void fill(map_t &map, const Content &entries)
{
    for (const auto &[key, value] : entries) {
        ASSERT_EQ(insert(map, key.c_str(), value), 0);
    }
}

// As maps hold them that put every key into one bucket: iteration follows insertion.
void fill_in_order(map_t &map, const Content &entries)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, entries);
}

void release(map_t &map)
{
    ASSERT_EQ(map_destroy(&map), 0);
}

int cmp(const map_t &map, const char *key, std::string_view value)
{
    return map_cmp(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

int sign(int number)
{
    return (number > 0) - (number < 0);
}

class MapCmp : public MapTest {};

class MapIsEqual : public MapTest {
  protected:
    Map other;
};

class MapIntersection : public MapTest {
  protected:
    Map a;
    Map b;
};

class MapMerge : public MapTest {
  protected:
    Map src;
};

class MapCopy : public MapTest {
  protected:
    Map src;
};

// An operation that fills `dst` with all that `src` holds.
struct Refill {
    const char *name;
    int (*call)(const map_t *src, map_t *dst);
};

const Refill refills[] = {
    {"Copy", map_copy},
    {"CopyDstHashsize", map_copy_dst_hashsize},
    {"IntersectionWithItself",
     [](const map_t *src, map_t *dst) {
         return map_intersection(src, src, dst);
     }},
};

std::string refill_name(const testing::TestParamInfo<Refill> &info)
{
    return info.param.name;
}

class MapRefill : public MapTest, public testing::WithParamInterface<Refill> {
  protected:
    int refill()
    {
        return GetParam().call(&src, &map);
    }

    Map src;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Map, MapRefill, testing::ValuesIn(refills), refill_name);

TEST_F(MapCmp, OrdersTheStoredValueAgainstTheGivenOne)
{
    struct Row {
        std::string stored;
        std::string given;
        int expected;
    };
    const Row rows[] = {
        {"abc", "abc", 0},         {"abc", "abd", -1},     {"abd", "abc", 1},
        {"abc", "b", -1},          {"b", "abc", 1},        {"", "", 0},
        {"a\0c"s, "a\0c"s, 0},     {"a\0c"s, "a\0d"s, -1}, {"a\0d"s, "a\0c"s, 1},
        {"\x80", "\x7f", 1},       {"\x7f", "\xff", -1},   {"a\xff", "a\x01z", 1},
        {"text\0"s, "text\0"s, 0}, {"Text", "text", -1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.stored) + " against " +
                     testing::PrintToString(row.given));
        ASSERT_EQ(replace(map, "k", row.stored), 0);
        EXPECT_EQ(sign(cmp(map, "k", row.given)), row.expected);
    }
}

TEST_F(MapCmp, TakesTheShorterOfTwoValuesWithACommonBeginningForTheSmaller)
{
    ASSERT_EQ(insert(map, "k", "abc"), 0);
    EXPECT_EQ(cmp(map, "k", "abcd"), -1);
    EXPECT_EQ(cmp(map, "k", "ab"), 1);
    EXPECT_EQ(cmp(map, "k", ""), 1);
    EXPECT_EQ(cmp(map, "k", "abc\0"s), -1);
    ASSERT_EQ(insert(map, "empty", ""), 0);
    EXPECT_EQ(cmp(map, "empty", "a"), -1);
}

TEST_F(MapCmp, OfAMissingKeyGivesMinusOne)
{
    EXPECT_EQ(cmp(map, "k", "v"), -1);
    ASSERT_EQ(insert(map, "k", "v"), 0);
    EXPECT_EQ(cmp(map, "missing", "v"), -1);
    EXPECT_EQ(cmp(map, "missing", ""), -1);
    EXPECT_EQ(cmp(map, "K", "v"), -1);
}

TEST_F(MapCmp, FindsAnySpellingInACaseInsensitiveMap)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(insert(map, "Key", "v"), 0);
    EXPECT_EQ(cmp(map, "kEY", "v"), 0);
    EXPECT_GT(cmp(map, "kEY", "V"), 0);
}

TEST_F(MapCmp, OfThreeNullsGivesZero)
{
    EXPECT_EQ(map_cmp(nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(map_cmp(nullptr, nullptr, nullptr, 5), 0);
}

TEST_F(MapCmp, OfANullAmongTheArgumentsGivesMinusOne)
{
    ASSERT_EQ(insert(map, "k", ""), 0);
    EXPECT_EQ(map_cmp(nullptr, "k", "", 0), -1);
    EXPECT_EQ(map_cmp(nullptr, nullptr, "", 0), -1);
    EXPECT_EQ(map_cmp(nullptr, "k", nullptr, 0), -1);
    EXPECT_EQ(map_cmp(&map, nullptr, "", 0), -1);
    EXPECT_EQ(map_cmp(&map, "k", nullptr, 0), -1);
    EXPECT_EQ(map_cmp(&map, nullptr, nullptr, 0), -1);
}

TEST_F(MapCmp, OfAReleasedMapGivesMinusOne)
{
    release(map);
    EXPECT_EQ(map_cmp(&map, "k", "", 0), -1);
    EXPECT_EQ(map_cmp(&map, nullptr, nullptr, 0), -1);
}

TEST_F(MapCmp, TakesAKeyAndAValueInsideTheMap)
{
    ASSERT_EQ(insert(map, "k", "abc"), 0);
    const map_entry_t *entry = map_get_entry(&map, "k");
    EXPECT_EQ(map_cmp(&map, entry->key, entry->value, entry->valuesz), 0);
    EXPECT_EQ(map_cmp(&map, entry->key, entry->value, 2), 1);
}

TEST_F(MapCmp, LeavesTheMapAsItIs)
{
    ASSERT_EQ(insert(map, "k", "abc"), 0);
    expect_unchanged(0, [&] { return cmp(map, "k", "abc"); });
}

TEST_F(MapIsEqual, HoldsForTheSameKeysAndValuesInAnyOrder)
{
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), std::to_string(i * i)), 0);
        const int back = 199 - i;
        ASSERT_EQ(insert(*other, std::to_string(back).c_str(), std::to_string(back * back)), 0);
    }
    EXPECT_EQ(map_isequal(&map, &other), 1);
    EXPECT_EQ(map_isequal(&other, &map), 1);
    EXPECT_EQ(map_isequal(&map, &map), 1);
}

TEST_F(MapIsEqual, DoesNotLookAtTheSettings)
{
    fill(map, {{"x", "1"}, {"y", ""}, {"Z", "\0"s}});
    fill(*other, {{"x", "1"}, {"y", ""}, {"Z", "\0"s}});
    ASSERT_EQ(map_sethashsize(&other, 4), 0);
    EXPECT_EQ(map_isequal(&map, &other), 1);
    ASSERT_EQ(map_sethashfunc(&other, hash_length), 0);
    ASSERT_EQ(map_setmaxkeys(&other, 3), 0);
    ASSERT_EQ(map_setcasekeys(&other, 1), 0);
    EXPECT_EQ(map_isequal(&map, &other), 1);
    EXPECT_EQ(map_isequal(&other, &map), 1);
}

TEST_F(MapIsEqual, FailsForADifferentNumberOfKeys)
{
    fill(map, {{"x", "1"}, {"y", "2"}});
    fill(*other, {{"x", "1"}});
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
    ASSERT_EQ(map_clear(&other), 0);
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
}

TEST_F(MapIsEqual, FailsForOtherKeys)
{
    fill(map, {{"x", "1"}, {"y", "2"}});
    fill(*other, {{"x", "1"}, {"z", "2"}});
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
}

TEST_F(MapIsEqual, FailsForAnotherByteInAValue)
{
    fill(map, {{"x", "1"}, {"y", "2\0a"s}});
    fill(*other, {{"x", "1"}, {"y", "2\0b"s}});
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
}

TEST_F(MapIsEqual, FailsForAnotherLengthOfAValue)
{
    fill(map, {{"x", "text"}});
    fill(*other, {{"x", "text\0"s}});
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
}

TEST_F(MapIsEqual, LooksKeysUpWithTheComparisonOfTheSecondMap)
{
    ASSERT_EQ(map_setcasekeys(&other, 1), 0);
    fill(map, {{"Key", "v"}});
    fill(*other, {{"KEY", "v"}});
    EXPECT_EQ(map_isequal(&map, &other), 1);
    EXPECT_EQ(map_isequal(&other, &map), 0);
}

TEST_F(MapIsEqual, HoldsForTwoNullMapsOnly)
{
    EXPECT_EQ(map_isequal(nullptr, nullptr), 1);
    EXPECT_EQ(map_isequal(&map, nullptr), 0);
    EXPECT_EQ(map_isequal(nullptr, &map), 0);
    release(*other);
    EXPECT_EQ(map_isequal(&other, nullptr), 0);
    EXPECT_EQ(map_isequal(nullptr, &other), 0);
}

TEST_F(MapIsEqual, TakesAReleasedMapForAnEmptyOne)
{
    release(*other);
    EXPECT_EQ(map_isequal(&map, &other), 1);
    EXPECT_EQ(map_isequal(&other, &map), 1);
    EXPECT_EQ(map_isequal(&other, &other), 1);
    fill(map, {{"x", "1"}});
    EXPECT_EQ(map_isequal(&map, &other), 0);
    EXPECT_EQ(map_isequal(&other, &map), 0);
    release(map);
    EXPECT_EQ(map_isequal(&map, &other), 1);
}

TEST_F(MapIsEqual, LeavesBothMapsAsTheyAreAndAllocatesNothing)
{
    fill(map, {{"x", "1"}});
    fill(*other, {{"x", "1"}});
    const MapState before = state_of(*other);
    expect_unchanged(1, [&] {
        allocations::Failure no_memory(0);
        return map_isequal(&map, &other);
    });
    EXPECT_EQ(state_of(*other), before);
}

TEST_P(MapRefill, FillsTheDestinationWithTheEntriesOfTheSource)
{
    const Content entries = {{"", "empty key"}, {"x", "a\0b"s}, {"\xff\x80", ""}, {"y", "\xff"}};
    fill_in_order(*src, entries);
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), entries);
}

TEST_P(MapRefill, ClearsTheDestinationFirst)
{
    fill(map, {{"old", "1"}, {"x", "stale"}});
    fill(*src, {{"x", "fresh"}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), (Content{{"x", "fresh"}}));
}

TEST_P(MapRefill, OfAnEmptySourceEmptiesTheDestination)
{
    fill(map, {{"old", "1"}});
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_P(MapRefill, KeepsTheHashTheCaseFlagAndTheLimitOfTheDestination)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 50), 0);
    fill(*src, {{"ccc", "1"}, {"a", "2"}});
    ASSERT_EQ(map_setmaxkeys(&src, 70), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 1U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(keys_of(map), (std::vector<std::string>{"a", "ccc"}));
    EXPECT_EQ(map_haskey(&map, "A"), 1);
}

TEST_P(MapRefill, CopiesKeysAndValues)
{
    fill(*src, {{"x", "1"}, {"y", "2"}});
    ASSERT_EQ(refill(), 0);
    EXPECT_NE(map_get_entry(&map, "x"), map_get_entry(&src, "x"));
    release(*src);
    Content content = content_of(map);
    std::sort(content.begin(), content.end());
    EXPECT_EQ(content, (Content{{"x", "1"}, {"y", "2"}}));
}

TEST_P(MapRefill, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", "1"}, {"y", "2"}});
    ASSERT_EQ(map_sethashsize(&src, 4), 0);
    const MapState before = state_of(*src);
    ASSERT_EQ(refill(), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_P(MapRefill, AtTheKeyLimitLeavesTheDestinationEmpty)
{
    fill(*src, {{"x", "1"}, {"y", "2"}, {"z", "3"}});
    for (int32_t limit : {0, 1, 2, 3}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(map_setmaxkeys(&map, limit), 0);
        EXPECT_EQ(refill(), 1);
        EXPECT_EQ(content_of(map), Content{});
        EXPECT_EQ(map.maxkeys, limit);
    }
    ASSERT_EQ(map_setmaxkeys(&map, 4), 0);
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.numkeys, 3);
}

TEST_P(MapRefill, OfKeysThatAreEqualInTheDestinationLeavesItEmpty)
{
    fill(*src, {{"Key", "1"}, {"x", "2"}, {"KEY", "1"}});
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    fill(map, {{"old", "1"}});
    EXPECT_EQ(refill(), 1);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.casekeys, 1U);
}

TEST_P(MapRefill, WithoutMemoryForAnEntryLeavesTheDestinationEmpty)
{
    fill(*src, {{"x", "1"}, {"y", "2"}, {"z", "3"}});
    for (std::size_t nth : {0U, 1U, 2U}) {
        SCOPED_TRACE(nth);
        ASSERT_EQ(map_clear(&map), 0);
        fill(map, {{"old", "1"}});
        int result;
        {
            allocations::Failure no_memory(nth, allocations::Failure::once);
            result = refill();
        }
        EXPECT_EQ(result, ENOMEM);
        EXPECT_EQ(content_of(map), Content{});
    }
    EXPECT_EQ(refill(), 0);
    EXPECT_EQ(map.numkeys, 3);
}

TEST_P(MapRefill, MakesOneAllocationOfHeaderValueAndKeyForEachEntry)
{
    fill(*src, {{"x", "1"}, {"y", "22"}, {"z", "333"}});
    allocations::Log log;
    const int result = refill();
    std::vector<std::size_t> sizes = log.sizes();
    EXPECT_EQ(result, 0);
    std::sort(sizes.begin(), sizes.end());
    constexpr std::size_t least = sizeof(map_entry_t) + 1 + 2;
    EXPECT_EQ(sizes, (std::vector<std::size_t>{least, least + 1, least + 2}));
}

TEST_P(MapRefill, RefusesANullMapAndLeavesTheOther)
{
    fill(map, {{"x", "1"}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, nullptr); });
    expect_unchanged(EINVAL, [&] { return GetParam().call(nullptr, nullptr); });
}

TEST_P(MapRefill, RefusesTheSourceAsDestinationAndLeavesIt)
{
    fill(map, {{"x", "1"}, {"y", "2"}});
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
    release(map);
    expect_unchanged(EINVAL, [&] { return GetParam().call(&map, &map); });
}

TEST_P(MapRefill, RefusesAReleasedDestination)
{
    release(map);
    expect_unchanged(EINVAL, [&] { return refill(); });
    fill(*src, {{"x", "1"}});
    expect_unchanged(EINVAL, [&] { return refill(); });
    EXPECT_EQ(content_of(*src), (Content{{"x", "1"}}));
    release(*src);
    expect_unchanged(EINVAL, [&] { return refill(); });
}

TEST_F(MapIntersection, HoldsTheKeysThatBothHoldWithEqualValues)
{
    fill_in_order(*a, {{"same", "1"},
                       {"only a", "2"},
                       {"other value", "3"},
                       {"other length", "text"},
                       {"other byte", "x\0y"s},
                       {"empty", ""},
                       {"text", "t\0"s}});
    fill(*b, {{"text", "t\0"s},
              {"other byte", "x\0z"s},
              {"other length", "text\0"s},
              {"other value", "4"},
              {"only b", "2"},
              {"same", "1"},
              {"empty", ""}});
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"same", "1"}, {"empty", ""}, {"text", "t\0"s}}));
}

TEST_F(MapIntersection, OfMapsWithoutACommonEntryEmptiesTheDestination)
{
    fill(*a, {{"x", "1"}, {"y", "2"}});
    fill(*b, {{"x", "2"}, {"z", "2"}});
    fill(map, {{"x", "1"}});
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MapIntersection, LooksKeysUpWithTheComparisonOfTheSecondMapAndKeepsTheFirstsSpelling)
{
    fill(*a, {{"Key", "v"}});
    fill(*b, {{"KEY", "v"}});
    ASSERT_EQ(map_setcasekeys(&a, 1), 0);
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    ASSERT_EQ(map_setcasekeys(&b, 1), 0);
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", "v"}}));
}

TEST_F(MapIntersection, TakesEverySpellingThatTheSecondMapFinds)
{
    fill_in_order(*a, {{"Key", "v"}, {"KEY", "v"}, {"key", "w"}});
    ASSERT_EQ(map_setcasekeys(&b, 1), 0);
    fill(*b, {{"kEY", "v"}});
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", "v"}, {"KEY", "v"}}));
}

TEST_F(MapIntersection, CountsOnlyCommonEntriesAgainstTheKeyLimit)
{
    fill(*a, {{"x", "1"}, {"y", "2"}, {"z", "3"}});
    fill(*b, {{"y", "2"}});
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"y", "2"}}));
}

TEST_F(MapIntersection, KeepsTheSizeOfTheDestination)
{
    ASSERT_EQ(map_sethashsize(&a, 64), 0);
    ASSERT_EQ(map_sethashsize(&b, 128), 0);
    fill(*a, {{"x", "1"}});
    fill(*b, {{"x", "1"}});
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(MapIntersection, TakesReleasedSourcesForEmptyOnes)
{
    fill(*a, {{"x", "1"}});
    release(*b);
    fill(map, {{"x", "1"}});
    EXPECT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    fill(map, {{"x", "1"}});
    EXPECT_EQ(map_intersection(&b, &a, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MapIntersection, RefusesANullMapAndLeavesTheDestination)
{
    fill(*a, {{"x", "1"}});
    fill(map, {{"x", "1"}});
    expect_unchanged(EINVAL, [&] { return map_intersection(nullptr, &a, &map); });
    expect_unchanged(EINVAL, [&] { return map_intersection(&a, nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return map_intersection(nullptr, nullptr, &map); });
    EXPECT_EQ(map_intersection(&a, &b, nullptr), EINVAL);
    EXPECT_EQ(map_intersection(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(MapIntersection, RefusesASourceAsDestinationAndLeavesIt)
{
    fill(*a, {{"x", "1"}});
    fill(map, {{"x", "1"}, {"y", "2"}});
    expect_unchanged(EINVAL, [&] { return map_intersection(&map, &a, &map); });
    expect_unchanged(EINVAL, [&] { return map_intersection(&a, &map, &map); });
    expect_unchanged(EINVAL, [&] { return map_intersection(&map, &map, &map); });
    EXPECT_EQ(content_of(*a), (Content{{"x", "1"}}));
}

TEST_F(MapIntersection, LeavesBothSourcesAsTheyAre)
{
    fill(*a, {{"x", "1"}, {"y", "2"}});
    fill(*b, {{"y", "2"}, {"z", "3"}});
    const MapState a_before = state_of(*a);
    const MapState b_before = state_of(*b);
    ASSERT_EQ(map_intersection(&a, &b, &map), 0);
    EXPECT_EQ(state_of(*a), a_before);
    EXPECT_EQ(state_of(*b), b_before);
}

TEST_F(MapMerge, AddsMissingKeysAndReplacesNone)
{
    fill(map, {{"x", "1"}});
    fill(*src, {{"x", "2"}, {"y", "3"}});
    const map_entry_t *entry = map_get_entry(&map, "x");
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(map.numkeys, 2);
    EXPECT_EQ(value_of(map, "x"), "1");
    EXPECT_EQ(value_of(map, "y"), "3");
    EXPECT_EQ(map_get_entry(&map, "x"), entry);
}

TEST_F(MapMerge, AddsKeysInTheIterationOrderOfTheSource)
{
    fill_in_order(map, {{"d", "old"}, {"b", "old"}});
    fill_in_order(*src, {{"c", "\0"s}, {"b", "new"}, {"", ""}, {"a", "new"}});
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map),
              (Content{{"d", "old"}, {"b", "old"}, {"c", "\0"s}, {"", ""}, {"a", "new"}}));
}

TEST_F(MapMerge, CopiesKeysAndValues)
{
    fill(*src, {{"x", "1"}});
    ASSERT_EQ(map_merge(&src, &map), 0);
    EXPECT_NE(map_get_entry(&map, "x"), map_get_entry(&src, "x"));
    release(*src);
    EXPECT_EQ(content_of(map), (Content{{"x", "1"}}));
}

TEST_F(MapMerge, LooksKeysUpWithTheComparisonOfTheDestination)
{
    fill(*src, {{"KEY", "2"}});
    fill(map, {{"Key", "1"}});
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_setcasekeys(&src, 1), 0);
    expect_unchanged(0, [&] { return map_merge(&src, &map); });
    ASSERT_EQ(map_setcasekeys(&map, 0), 0);
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"Key", "1"}, {"KEY", "2"}}));
}

TEST_F(MapMerge, AddsTheFirstOfTheKeysThatAreEqualInTheDestination)
{
    fill_in_order(*src, {{"KEY", "1"}, {"Key", "2"}, {"x", "3"}});
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(content_of(map), (Content{{"KEY", "1"}, {"x", "3"}}));
}

TEST_F(MapMerge, KeepsTheSettingsOfTheDestination)
{
    ASSERT_EQ(map_sethashsize(&src, 64), 0);
    ASSERT_EQ(map_setmaxkeys(&src, 70), 0);
    fill_in_order(*src, {{"x", "1"}});
    ASSERT_EQ(map_setmaxkeys(&map, 50), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.maxkeys, 50);
    EXPECT_EQ(map.hashfunc, hash_length);
    EXPECT_EQ(map.casekeys, 0U);
}

TEST_F(MapMerge, AtTheKeyLimitStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", "1"}, {"a", "2"}, {"b", "3"}});
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"old", "0"}});
    ASSERT_EQ(map_setmaxkeys(&map, 4), 0);
    EXPECT_EQ(map_merge(&src, &map), 1);
    EXPECT_EQ(content_of(map), (Content{{"old", "0"}, {"c", "1"}, {"a", "2"}}));
}

TEST_F(MapMerge, SkipsKeysThatAreThereHoweverFullTheDestinationIs)
{
    fill(*src, {{"x", "2"}, {"y", "2"}});
    fill(map, {{"y", "1"}, {"x", "1"}});
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    expect_unchanged(0, [&] { return map_merge(&src, &map); });
}

TEST_F(MapMerge, WithoutMemoryStopsAndKeepsWhatWasAdded)
{
    fill_in_order(*src, {{"c", "1"}, {"a", "2"}, {"b", "3"}});
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"old", "0"}});
    int result;
    {
        allocations::Failure no_memory(1, allocations::Failure::once);
        result = map_merge(&src, &map);
    }
    EXPECT_EQ(result, ENOMEM);
    EXPECT_EQ(content_of(map), (Content{{"old", "0"}, {"c", "1"}}));
    EXPECT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(map.numkeys, 4);
}

TEST_F(MapMerge, OfAnEmptyOrReleasedSourceAddsNothing)
{
    fill(map, {{"x", "1"}});
    expect_unchanged(0, [&] { return map_merge(&src, &map); });
    release(*src);
    expect_unchanged(0, [&] { return map_merge(&src, &map); });
}

TEST_F(MapMerge, IntoItselfChangesNothing)
{
    expect_unchanged(0, [&] { return map_merge(&map, &map); });
    fill(map, {{"x", "1"}, {"y", "2"}});
    expect_unchanged(0, [&] { return map_merge(&map, &map); });
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    expect_unchanged(0, [&] { return map_merge(&map, &map); });
    release(map);
    expect_unchanged(0, [&] { return map_merge(&map, &map); });
}

TEST_F(MapMerge, RefusesAReleasedDestinationWhenThereIsAKeyToAdd)
{
    release(map);
    expect_unchanged(0, [&] { return map_merge(&src, &map); });
    fill(*src, {{"x", "1"}});
    expect_unchanged(EINVAL, [&] { return map_merge(&src, &map); });
    EXPECT_EQ(content_of(*src), (Content{{"x", "1"}}));
}

TEST_F(MapMerge, RefusesANullMapAndLeavesTheOther)
{
    fill(map, {{"x", "1"}});
    expect_unchanged(EINVAL, [&] { return map_merge(nullptr, &map); });
    expect_unchanged(EINVAL, [&] { return map_merge(&map, nullptr); });
    EXPECT_EQ(map_merge(&src, nullptr), EINVAL) << "of an empty map";
    EXPECT_EQ(map_merge(nullptr, nullptr), EINVAL);
}

TEST_F(MapMerge, LeavesTheSourceAsItIs)
{
    fill(*src, {{"x", "1"}, {"y", "2"}});
    const MapState before = state_of(*src);
    ASSERT_EQ(map_merge(&src, &map), 0);
    EXPECT_EQ(state_of(*src), before);
}

TEST_F(MapCopy, TakesOverTheNumberOfBuckets)
{
    fill(*src, {{"x", "1"}});
    for (uint32_t size : {64U, 32U, 1U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(map_sethashsize(&src, size), 0);
        EXPECT_EQ(map_copy(&src, &map), 0);
        EXPECT_EQ(map.hashsize, size);
        EXPECT_EQ(content_of(map), (Content{{"x", "1"}}));
    }
}

TEST_F(MapCopy, WithTheDestinationsHashsizeKeepsTheNumberOfBuckets)
{
    fill(*src, {{"x", "1"}});
    ASSERT_EQ(map_sethashsize(&src, 64), 0);
    const map_bucket_t *buckets = map.buckets;
    EXPECT_EQ(map_copy_dst_hashsize(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
    EXPECT_EQ(content_of(map), (Content{{"x", "1"}}));
}

TEST_F(MapCopy, IteratesAsTheSourceDoes)
{
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(insert(*src, std::to_string(i * 7919 % 100003).c_str(), std::to_string(i)), 0);
    }
    ASSERT_EQ(map_sethashsize(&src, 64), 0);
    for (const char *key : {"0", "7919", "15838"}) {
        ASSERT_EQ(replace(*src, key, "new"), 0);
    }
    EXPECT_EQ(map_copy(&src, &map), 0);
    EXPECT_EQ(content_of(map), content_of(*src));
    EXPECT_EQ(map_isequal(&src, &map), 1);
}

TEST_F(MapCopy, OfAnEmptySourceTakesOverItsNumberOfBuckets)
{
    fill(map, {{"old", "1"}});
    ASSERT_EQ(map_sethashsize(&src, 8), 0);
    EXPECT_EQ(map_copy(&src, &map), 0);
    EXPECT_EQ(map.hashsize, 8U);
    EXPECT_EQ(content_of(map), Content{});
}

TEST_F(MapCopy, AllocatesBucketsOnlyIfTheirNumberDiffers)
{
    fill(*src, {{"x", "1"}, {"y", "2"}});
    ASSERT_EQ(map_sethashsize(&src, 64), 0);
    std::vector<std::size_t> first;
    std::vector<std::size_t> second;
    {
        allocations::Log log;
        ASSERT_EQ(map_copy(&src, &map), 0);
        first = log.sizes();
    }
    {
        allocations::Log log;
        ASSERT_EQ(map_copy(&src, &map), 0);
        second = log.sizes();
    }
    ASSERT_EQ(first.size(), 3U);
    EXPECT_EQ(first[0], 64 * sizeof(map_bucket_t));
    EXPECT_EQ(second.size(), 2U);
}

TEST_F(MapCopy, WithoutMemoryForTheBucketsIsEmptyAndKeepsItsOwn)
{
    fill(map, {{"old", "1"}});
    fill(*src, {{"x", "1"}});
    ASSERT_EQ(map_sethashsize(&src, 64), 0);
    const map_bucket_t *buckets = map.buckets;
    int result;
    {
        allocations::Failure no_memory(0, allocations::Failure::once);
        result = map_copy(&src, &map);
    }
    EXPECT_EQ(result, ENOMEM);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
    EXPECT_EQ(map.buckets, buckets);
}

TEST_F(MapCopy, WithoutMemoryForAnEntryIsEmptyWithTheSourcesNumberOfBuckets)
{
    fill(map, {{"old", "1"}});
    fill(*src, {{"x", "1"}, {"y", "2"}});
    for (std::size_t nth : {1U, 2U}) {
        SCOPED_TRACE(nth);
        ASSERT_EQ(map_sethashsize(&map, 32), 0);
        ASSERT_EQ(map_sethashsize(&src, 64), 0);
        int result;
        {
            allocations::Failure no_memory(nth, allocations::Failure::once);
            result = map_copy(&src, &map);
        }
        EXPECT_EQ(result, ENOMEM);
        EXPECT_EQ(content_of(map), Content{});
        EXPECT_EQ(map.hashsize, 64U);
    }
}

TEST_F(MapCopy, OfAReleasedSourceIsRefusedAndEmptiesTheDestination)
{
    fill(map, {{"old", "1"}});
    release(*src);
    EXPECT_EQ(map_copy(&src, &map), EINVAL);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}

TEST_F(MapCopy, OfAReleasedSourceWithTheDestinationsHashsizeEmptiesTheDestination)
{
    fill(map, {{"old", "1"}});
    release(*src);
    EXPECT_EQ(map_copy_dst_hashsize(&src, &map), 0);
    EXPECT_EQ(content_of(map), Content{});
    EXPECT_EQ(map.hashsize, 32U);
}
