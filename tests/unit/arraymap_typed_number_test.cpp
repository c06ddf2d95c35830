// Typed numbers, where the arraymap has rules of its own: replacing, and that a value may repeat.
#include "arraymap_fixture.hpp"
#include "typed_rows.hpp"

namespace {

// The functions of one type.
struct Row : NumberRow {
    std::function<int(arraymap_t *map, const char *key, uint64_t value)> insert;
    std::function<int(arraymap_t *map, const char *key, uint32_t index, uint64_t value)> replace;
    std::function<int(arraymap_t *map, const char *key, uint64_t value)> remove;
    std::function<Reading(const arraymap_t *map, const char *key, uint32_t index, uint64_t held)>
        get;
};

template <class Argument, class Output>
Row make_row(const char *name, int (*insert)(arraymap_t *, const char *, Argument),
             int (*replace)(arraymap_t *, const char *, uint32_t, Argument),
             int (*remove)(arraymap_t *, const char *, Argument),
             int (*get)(const arraymap_t *, const char *, uint32_t, Output *))
{
    return {
        number_row(name),
        [=](arraymap_t *map, const char *key, uint64_t value) {
            return insert(map, key, static_cast<Argument>(value));
        },
        [=](arraymap_t *map, const char *key, uint32_t index, uint64_t value) {
            return replace(map, key, index, static_cast<Argument>(value));
        },
        [=](arraymap_t *map, const char *key, uint64_t value) {
            return remove(map, key, static_cast<Argument>(value));
        },
        [=](const arraymap_t *map, const char *key, uint32_t index, uint64_t held) {
            return read_over<Output>(held, [=](Output *out) { return get(map, key, index, out); });
        },
    };
}

#define ROW(type)                                                                                  \
    make_row(#type, arraymap_insert_##type, arraymap_replace_##type, arraymap_delete_##type,       \
             arraymap_get_##type)

const std::vector<Row> rows = {
    ROW(uint64), ROW(int64), ROW(uint32), ROW(int32), ROW(time), ROW(uint16), ROW(int16),
    ROW(uint8),  ROW(int8),  ROW(bool),   ROW(uint),  ROW(int),  ROW(uchar),  ROW(char),
};

std::string name_of(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

class RowTest : public ArraymapTest, public testing::WithParamInterface<Row> {
  protected:
    const Row &row = GetParam();
};

using Values = std::vector<std::string>;
using Indexes = std::vector<uint32_t>;

} // namespace

class ArraymapNumberInsert : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, ArraymapNumberInsert, testing::ValuesIn(rows), name_of);

TEST_P(ArraymapNumberInsert, AddsANumberThatTheKeyHoldsAgain)
{
    EXPECT_EQ(row.insert(&map, "key", 1), 0);
    EXPECT_EQ(row.insert(&map, "key", 0), 0);
    EXPECT_EQ(row.insert(&map, "key", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1\0"s, "0\0"s, "1\0"s}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
}

class ArraymapNumberDelete : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, ArraymapNumberDelete, testing::ValuesIn(rows), name_of);

TEST_P(ArraymapNumberDelete, RemovesEveryEqualTextOfTheKeyAlone)
{
    fill(map, {{"key", {"1\0"s, "5\0"s, "5", "5\0"s, "05\0"s, "5\0"s}}, {"other", {"5\0"s}}});
    EXPECT_EQ(row.remove(&map, "key", 5), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1\0"s, "5", "05\0"s}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(values_of(map, "other"), Values{"5\0"s});
    expect_unchanged(ENOENT, [this] { return row.remove(&map, "key", 6); });
}

TEST_P(ArraymapNumberDelete, RemovesTheKeyThatHoldsNothingElse)
{
    fill(map, {{"key", {"5\0"s, "5\0"s}}});
    EXPECT_EQ(row.remove(&map, "key", 5), 0);
    EXPECT_EQ(content_of(map), std::vector<KeyValues>());
}

class ArraymapNumberReplace : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, ArraymapNumberReplace, testing::ValuesIn(rows), name_of);

TEST_P(ArraymapNumberReplace, StoresTheTextWithItsNulAtTheIndex)
{
    fill(map, {{"key", {"before", "of another length", "behind"}}, {"other", {"a", "b"}}});
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(row.replace(&map, "key", 1, value), 0) << value;
        EXPECT_EQ(values_of(map, "key"), (Values{"before", rendered(row, value), "behind"}))
            << value;
    }
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(values_of(map, "other"), (Values{"a", "b"}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_P(ArraymapNumberReplace, MayMakeTwoValuesEqual)
{
    fill(map, {{"key", {"1\0"s, "0\0"s}}});
    EXPECT_EQ(row.replace(&map, "key", 1, 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1\0"s, "1\0"s}));
    EXPECT_EQ(row.replace(&map, "key", 0, 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1\0"s, "1\0"s}));
}

TEST_P(ArraymapNumberReplace, IsReadBack)
{
    fill(map, {{"key", {"first", "second"}}});
    for (const uint64_t value : {0U, 1U}) {
        ASSERT_EQ(row.replace(&map, "key", 1, value), 0);
        EXPECT_EQ(row.get(&map, "key", 1, 1 - value).value, value);
    }
}

TEST_P(ArraymapNumberReplace, GoesByTheIndexAndAReadByThePosition)
{
    fill(map, {{"key", {"4\0"s, "5\0"s}}, {"KEY", {"6\0"s, "7\0"s}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    const bool kept_lower = stored_key(map, "key") == "key"s;
    const Values merged = kept_lower ? Values{"4\0"s, "5\0"s, "6\0"s, "7\0"s}
                                     : Values{"6\0"s, "7\0"s, "4\0"s, "5\0"s};
    ASSERT_EQ(values_of(map, "key"), merged);
    ASSERT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 0, 1}));
    expect_unchanged(ENOENT, [this] { return row.replace(&map, "key", 2, 1); });
    EXPECT_EQ(row.replace(&map, "key", 1, 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{merged[0], "1\0"s, merged[2], merged[3]}));
    if (row.name != "bool"s) {
        EXPECT_EQ(row.get(&map, "key", 3, 0).value, kept_lower ? 7U : 5U);
    }
}

TEST_P(ArraymapNumberReplace, ReportsAMissingIndexOrKeyAndAddsNothing)
{
    fill(map, {{"key", {"1\0"s, "2\0"s}}});
    expect_unchanged(ENOENT, [this] { return row.replace(&map, "key", 2, 1); });
    expect_unchanged(ENOENT, [this] { return row.replace(&map, "key", UINT32_MAX, 1); });
    expect_unchanged(ENOENT, [this] { return row.replace(&map, "missing", 0, 1); });
}

TEST_P(ArraymapNumberReplace, AllocatesTheValueAlone)
{
    fill(map, {{"key", {"old"}}});
    const uint64_t widest = widest_number(row);
    const allocations::Log log;
    EXPECT_EQ(row.replace(&map, "key", 0, widest), 0);
    EXPECT_EQ(row.replace(&map, "key", 1, widest), ENOENT);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(arraymap_value_t) + rendered(row, widest).size()});
}

TEST_P(ArraymapNumberReplace, MindsNoKeyLimit)
{
    fill(map, {{"key", {"old"}}});
    ASSERT_EQ(arraymap_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(row.replace(&map, "key", 0, 1), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"1\0"s});
}

TEST_P(ArraymapNumberReplace, TakesTheStoredKey)
{
    fill(map, {{"key", {"old"}}});
    EXPECT_EQ(row.replace(&map, stored_key(map, "key"), 0, 1), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"1\0"s});
}

TEST_P(ArraymapNumberReplace, RefusesNullForMapOrKey)
{
    fill(map, {{"key", {"old"}}});
    expect_unchanged(EINVAL, [this] { return row.replace(nullptr, "key", 0, 1); });
    expect_unchanged(EINVAL, [this] { return row.replace(&map, nullptr, 0, 1); });
    expect_unchanged(EINVAL, [this] { return row.replace(nullptr, nullptr, 9, 1); });
}

TEST_P(ArraymapNumberReplace, RefusesAReleasedArraymap)
{
    arraymap_t released = released_arraymap();
    EXPECT_EQ(row.replace(&released, "key", 0, 1), EINVAL);
    EXPECT_EQ(released.buckets, nullptr);
}

class ArraymapNumberText : public ArraymapTest {};

TEST_F(ArraymapNumberText, IsThatOfTheNumberWithItsNul)
{
    EXPECT_EQ(arraymap_insert_uint32(&map, "key", 7), 0);
    uint32_t number = 0;
    uint32_t length = 0;
    EXPECT_EQ(arraymap_get_uint32(&map, "key", 0, &number), 0);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(arraymap_index(&map, "key", 0, nullptr, &length), 0);
    EXPECT_EQ(length, 2U);
}

TEST_F(ArraymapNumberText, OfABoolThatReplacesIsItsFirstDigit)
{
    fill(map, {{"key", {"old"}}});
    for (const auto &[value, text] : telling_bools()) {
        EXPECT_EQ(arraymap_replace_bool(&map, "key", 0, value), 0);
        EXPECT_EQ(values_of(map, "key"), Values{text}) << value;
    }
}

TEST_F(ArraymapNumberText, OfNumbersThatAreCutAlikeIsDeletedAlike)
{
    ASSERT_EQ(arraymap_insert_bool(&map, "key", 1), 0);
    ASSERT_EQ(arraymap_insert_bool(&map, "key", 12), 0);
    ASSERT_EQ(arraymap_insert_int8(&map, "key", 257), 0);
    EXPECT_EQ(arraymap_delete_bool(&map, "key", 199), 0);
    EXPECT_EQ(map.numkeys, 0);
}
