#include "list_iteration.hpp"

#include <set>

namespace {

class ArraymapKeyIterator : public ListIterationTest<ArraymapFamily> {};

class ArraymapValueIterator : public ListIterationTest<ArraymapFamily> {
  protected:
    std::vector<uint32_t> visited_positions(const char *key) const
    {
        std::vector<uint32_t> positions;
        arraymap_value_iter_t it{};
        for (const void *data = arraymap_value_first(&map, key, &it); data != nullptr;
             data = arraymap_value_next(&it)) {
            positions.push_back(arraymap_value_index(&it));
        }
        return positions;
    }
};

} // namespace

TEST_F(ArraymapKeyIterator, VisitsTheBucketsInUseOfATableWhoseSizeIsNoPowerOfTwo)
{
    restart(map, 6);
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    const struct {
        const char *key;
        uint32_t bucket;
    } in_order[] = {{"bb", 0}, {"ccc", 1}, {"a", 1}, {"ffffff", 4}, {"dddd", 4}, {"eeeee", 5}};
    for (const char *key : {"eeeee", "ccc", "ffffff", "a", "dddd", "bb"}) {
        fill(map, {{key, {"v"}}});
    }
    arraymap_key_iter_t it{};
    const char *key = arraymap_key_first(&map, &it);
    for (const auto &expected : in_order) {
        ASSERT_STREQ(key, expected.key);
        expect_same(it, {&map, expected.bucket, _arraymap_entry(&map, expected.key)});
        key = arraymap_key_next(&it);
    }
    EXPECT_EQ(key, nullptr);
    expect_same(it, {&map, 6, _arraymap_entry(&map, "eeeee")});
}

TEST_F(ArraymapValueIterator, VisitsEachOfEqualValuesInItsPlace)
{
    fill(map, {{"k", {"a", "b", "a", "a"}}});
    EXPECT_EQ(visited_values("k"), (Values{"a", "b", "a", "a"}));
    std::set<const void *> visited;
    for (uint32_t position = 0; position < 4; ++position) {
        SCOPED_TRACE(position);
        const auto it = iterator_at("k", position);
        EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", position));
        EXPECT_EQ(arraymap_value_index(&it), position);
        visited.insert(arraymap_value_elem(&it));
    }
    EXPECT_EQ(visited.size(), 4U);
}

TEST_F(ArraymapValueIterator, VisitsAReplacedValueInItsPlace)
{
    fill(map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(arraymap_replace(&map, "k", 1, "longer", 6), 0);
    EXPECT_EQ(visited_values("k"), (Values{"a", "longer", "c"}));
    EXPECT_EQ(visited_positions("k"), (std::vector<uint32_t>{0, 1, 2}));
}

TEST_F(ArraymapValueIterator, CountsPositionsAnewAfterARemoval)
{
    fill(map, {{"k", {"a", "b", "c", "b"}}});
    ASSERT_EQ(arraymap_remove(&map, "k", 0), 0);
    EXPECT_EQ(visited_values("k"), (Values{"b", "c", "b"}));
    EXPECT_EQ(visited_positions("k"), (std::vector<uint32_t>{0, 1, 2}));
    ASSERT_EQ(arraymap_delete(&map, "k", "b", 1), 0);
    EXPECT_EQ(visited_values("k"), (Values{"c"}));
    EXPECT_EQ(visited_positions("k"), (std::vector<uint32_t>{0}));
}

TEST_F(ArraymapValueIterator, CountsPositionsAndDoesNotReadTheIndexesOfTheNodes)
{
    fill(map, {{"k", {"1", "2"}}, {"K", {"2", "3", "4"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(indexes_of(map, "k"), (std::vector<uint32_t>{0, 1, 1, 2}));
    EXPECT_EQ(visited_values("k"), (Values{"1", "2", "3", "4"}));
    EXPECT_EQ(visited_positions("k"), (std::vector<uint32_t>{0, 1, 2, 3}));
    for (uint32_t position = 0; position < 4; ++position) {
        const auto it = iterator_at("k", position);
        EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", position)) << position;
    }
}

TEST_F(ArraymapValueIterator, TellsTheArraymapThePositionTheKeyAndTheNodeItStandsOn)
{
    fill(map, {{"other", {"x"}}, {"k", {"one", "two"}}});
    const arraymap_key_t *key = _arraymap_entry(&map, "k");
    arraymap_value_iter_t it{};
    ASSERT_NE(arraymap_value_first(&map, "k", &it), nullptr);
    expect_same(it, {&map, 0, key, _arraymap_value(&map, "k", "one", 3)});
    ASSERT_NE(arraymap_value_next(&it), nullptr);
    expect_same(it, {&map, 1, key, _arraymap_value(&map, "k", "two", 3)});
}

TEST_F(ArraymapValueIterator, GivesLengthPositionAndCountOfAnySizeWhole)
{
    // Two gigabytes, or as many values, cost too much to store: the nodes are made here.
    for (uint32_t number : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        SCOPED_TRACE(number);
        const arraymap_key_t key{nullptr, nullptr, "k", number, {nullptr, nullptr}};
        const arraymap_value_t value{nullptr, nullptr, "v", number, 0};
        const arraymap_value_iter_t it{&map, number, &key, &value};
        EXPECT_EQ(arraymap_value_size(&it), number);
        EXPECT_EQ(arraymap_value_index(&it), number);
        EXPECT_EQ(arraymap_value_count(&it), number);
    }
}

TEST_F(ArraymapValueIterator, KeepsTheStoredKeyAndNotTheCallers)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"3", "4", "5"}}});
    arraymap_value_iter_t it{};
    {
        std::string key = "a";
        ASSERT_NE(arraymap_value_first(&map, key.c_str(), &it), nullptr);
        EXPECT_EQ(it.key->key, stored_key(map, "a"));
        key = "b";
        EXPECT_EQ(arraymap_value_count(&it), 2U);
    }
    EXPECT_EQ(arraymap_value_next(&it), stored_text(map, "a", 1));
    EXPECT_EQ(arraymap_value_count(&it), 2U);
    EXPECT_EQ(arraymap_value_next(&it), nullptr);
}

TEST_F(ArraymapValueIterator, TakesItsOwnKeyForAKey)
{
    fill(map, {{"k", {"1", "2"}}});
    auto it = iterator_at("k", 1);
    EXPECT_EQ(arraymap_value_first(&map, it.key->key, &it), stored_text(map, "k", 0));
    expect_same(it, iterator_at("k", 0));
}

TEST_F(ArraymapValueIterator, FirstOfAMissingKeyGivesNoneAndStandsOnNoKeyAndNoValue)
{
    fill(map, {{"a", {"1", "2"}}});
    for (arraymap_value_iter_t it :
         {arraymap_value_iter_t{}, iterator_at("a", 1), iterator_past("a")}) {
        SCOPED_TRACE(it.position);
        EXPECT_EQ(arraymap_value_first(&map, "b", &it), nullptr);
        expect_same(it, {&map, 0, nullptr, nullptr});
        expect_on_no_value(it);
    }
}

TEST_F(ArraymapValueIterator, NextAfterTheEndStaysOnTheLastValueWhileThePositionGrows)
{
    fill(map, {{"several", {"1", "2", "last"}}, {"one", {"last"}}});
    for (const char *key : {"several", "one"}) {
        SCOPED_TRACE(key);
        const arraymap_key_t *node = _arraymap_entry(&map, key);
        const arraymap_value_t *last = _arraymap_value(&map, key, "last", 4);
        auto it = iterator_at(key, node->count - 1);
        for (uint32_t position = node->count; position < node->count + 5; ++position) {
            EXPECT_EQ(arraymap_value_next(&it), nullptr);
            expect_same(it, {&map, position, node, last});
            EXPECT_EQ(arraymap_value_elem(&it), last->data);
            EXPECT_EQ(arraymap_value_size(&it), 4U);
            EXPECT_EQ(arraymap_value_index(&it), position);
            EXPECT_EQ(arraymap_value_count(&it), node->count);
        }
    }
}

TEST_F(ArraymapValueIterator, TheIndexOfNoValueIsZero)
{
    fill(map, {{"k", {"1", "2"}}});
    const auto it = iterator_at("k", 1);
    arraymap_value_iter_t after_missing_key = it;
    ASSERT_EQ(arraymap_value_first(&map, "missing", &after_missing_key), nullptr);
    for (const arraymap_value_iter_t &on_no_value :
         {arraymap_value_iter_t{}, arraymap_value_iter_t{nullptr, 1, it.key, it.node},
          arraymap_value_iter_t{&map, 1, nullptr, it.node},
          arraymap_value_iter_t{&map, 1, it.key, nullptr}, after_missing_key}) {
        SCOPED_TRACE(testing::Message()
                     << on_no_value.map << ' ' << on_no_value.key << ' ' << on_no_value.node);
        EXPECT_EQ(arraymap_value_index(&on_no_value), 0U);
    }
    EXPECT_EQ(arraymap_value_index(nullptr), 0U);
}

TEST_F(ArraymapValueIterator, CountsEachOfEqualValues)
{
    fill(map, {{"k", {"x", "y", "x"}}, {"other", {"x"}}});
    const auto it = iterator_at("k", 1);
    EXPECT_EQ(arraymap_value_count(&it), 3U);
    ASSERT_EQ(insert(map, "k", "x"), 0);
    EXPECT_EQ(arraymap_value_count(&it), 4U);
    ASSERT_EQ(arraymap_delete(&map, "k", "x", 1), 0);
    EXPECT_EQ(arraymap_value_count(&it), 1U);
}

TEST_F(ArraymapValueIterator, KeepsItsPositionWhenValuesBeforeItAreRemoved)
{
    fill(map, {{"k", {"1", "2", "3"}}});
    const auto it = iterator_at("k", 2);
    ASSERT_EQ(arraymap_remove(&map, "k", 0), 0);
    ASSERT_EQ(indexes_of(map, "k"), (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(arraymap_value_index(&it), 2U);
    EXPECT_EQ(arraymap_value_elem(&it), stored_text(map, "k", 1));
}

TEST_F(ArraymapValueIterator, CountsItsKeyThoughItsTextIsFoundNoMore)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill(map, {{"Key", {"1", "2"}}});
    const auto it = iterator_at("key", 0);
    ASSERT_EQ(arraymap_setcasekeys(&map, 0), 0);
    ASSERT_EQ(arraymap_haskey(&map, "key"), 0);
    EXPECT_EQ(arraymap_value_count(&it), 2U);
}

TEST_F(ArraymapValueIterator, LooksTheKeyUpOnceToStartAndNeverAgain)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, recorded<hash_all_to_zero>), 0);
    fill(map, {{"other", {"x"}}, {"k", {"1", "1", "3"}}});
    expect_unchanged(0, [&] {
        allocations::Log log;
        arraymap_value_iter_t it{};
        hashings.clear();
        EXPECT_NE(arraymap_value_first(&map, "k", &it), nullptr);
        EXPECT_EQ(hashed_keys(), Keys{"k"});
        do {
            arraymap_value_elem(&it);
            arraymap_value_size(&it);
            arraymap_value_index(&it);
            EXPECT_EQ(arraymap_value_count(&it), 3U);
        } while (arraymap_value_next(&it) != nullptr);
        EXPECT_EQ(hashed_keys(), Keys{"k"});
        return static_cast<int>(log.sizes().size());
    });
}
