// Typed numbers, where the multimap has rules of its own: finding, and that a key holds a value once.
#include "multimap_fixture.hpp"
#include "typed_rows.hpp"

namespace {

// The functions of one type.
struct Row : NumberRow {
    std::function<int(const multimap_t *map, const char *key, uint64_t value, uint32_t *index)>
        find;
    std::function<int(multimap_t *map, const char *key, uint64_t value)> remove;
    std::function<int(multimap_t *map, const char *key, uint64_t value)> insert;
};

template <class Argument>
Row make_row(const char *name, int (*find)(const multimap_t *, const char *, Argument, uint32_t *),
             int (*remove)(multimap_t *, const char *, Argument),
             int (*insert)(multimap_t *, const char *, Argument))
{
    return {
        number_row(name),
        [=](const multimap_t *map, const char *key, uint64_t value, uint32_t *index) {
            return find(map, key, static_cast<Argument>(value), index);
        },
        [=](multimap_t *map, const char *key, uint64_t value) {
            return remove(map, key, static_cast<Argument>(value));
        },
        [=](multimap_t *map, const char *key, uint64_t value) {
            return insert(map, key, static_cast<Argument>(value));
        },
    };
}

#define ROW(type)                                                                                  \
    make_row(#type, multimap_find_##type, multimap_delete_##type, multimap_insert_##type)

const std::vector<Row> rows = {
    ROW(uint64), ROW(int64), ROW(uint32), ROW(int32), ROW(time), ROW(uint16), ROW(int16),
    ROW(uint8),  ROW(int8),  ROW(bool),   ROW(uint),  ROW(int),  ROW(uchar),  ROW(char),
};

std::vector<Row> narrow_rows()
{
    std::vector<Row> narrow;
    for (const Row &row : rows) {
        if (row.rendering.bits < 32) {
            narrow.push_back(row);
        }
    }
    return narrow;
}

std::string name_of(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

class NumberTest : public MultimapTest {
  protected:
    uint32_t index = no_index;
};

class RowTest : public NumberTest, public testing::WithParamInterface<Row> {
  protected:
    const Row &row = GetParam();
};

} // namespace

class MultimapNumberInsert : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberInsert, testing::ValuesIn(rows), name_of);

TEST_P(MultimapNumberInsert, RefusesANumberThatTheKeyHoldsHoweverItWasStored)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    fill(map, {{"key", {"0\0"s}}});
    expect_unchanged(1, [&] { return row.insert(&map, "key", 1); });
    expect_unchanged(1, [&] { return row.insert(&map, "key", 0); });
    EXPECT_EQ(row.insert(&map, "other key", 1), 0);
}

class MultimapNumberFind : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberFind, testing::ValuesIn(rows), name_of);

TEST_P(MultimapNumberFind, GivesThePositionOfTheVeryText)
{
    for (const uint64_t value : telling_numbers()) {
        SCOPED_TRACE(value);
        const std::string text = rendered(row, value);
        std::vector<std::string> values = near_misses(text);
        const auto position = static_cast<uint32_t>(values.size());
        values.insert(values.end(), {text, "behind it"});
        fill(map, {{"key", values}});
        expect_unchanged(0, [&] { return row.find(&map, "key", value, &index); });
        EXPECT_EQ(index, position);
        expect_unchanged(0, [&] { return row.find(&map, "key", value, nullptr); });
        ASSERT_EQ(multimap_clear(&map), 0);
    }
}

TEST_P(MultimapNumberFind, ReportsAMissingNumberOrKeyAndLeavesThePositionAlone)
{
    fill(map, {{"key", near_misses("1\0"s)}, {"other key", {"1\0"s}}});
    for (const char *key : {"key", "missing"}) {
        expect_unchanged(ENOENT, [&] { return row.find(&map, key, 1, &index); });
        expect_unchanged(ENOENT, [&] { return row.find(&map, key, 1, nullptr); });
    }
    EXPECT_EQ(index, no_index);
}

TEST_P(MultimapNumberFind, RefusesNullForMapOrKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    EXPECT_EQ(row.find(nullptr, "key", 1, &index), EINVAL);
    EXPECT_EQ(row.find(&map, nullptr, 1, &index), EINVAL);
    EXPECT_EQ(row.find(nullptr, nullptr, 1, nullptr), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_P(MultimapNumberFind, RefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(row.find(&released, "key", 1, &index), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_P(MultimapNumberFind, AllocatesNothing)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const allocations::Log log;
    EXPECT_EQ(row.find(&map, "key", 1, &index), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MultimapNarrowNumber : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNarrowNumber, testing::ValuesIn(narrow_rows()), name_of);

TEST_P(MultimapNarrowNumber, IsFoundByEveryArgumentThatIsCutToIt)
{
    for (uint64_t low = 0; low >> row.rendering.bits == 0; ++low) {
        ASSERT_EQ(row.insert(&map, "key", low), 0);
        ASSERT_EQ(row.find(&map, "key", low << row.rendering.bits | low, nullptr), 0);
        ASSERT_EQ(row.remove(&map, "key", low), 0);
    }
}

class MultimapNumberText : public NumberTest {};

TEST_F(MultimapNumberText, IsFoundByAnyTypeThatRendersItAlike)
{
    ASSERT_EQ(multimap_insert_uint32(&map, "key", 7), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"7\0"s});
    EXPECT_EQ(multimap_find_int32(&map, "key", 7, &index), 0);
    EXPECT_EQ(index, 0U);
    index = no_index;
    EXPECT_EQ(multimap_find_str(&map, "key", "7", &index), 0);
    EXPECT_EQ(index, 0U);
}

TEST_F(MultimapNumberText, IsOneForEveryType)
{
    for (const Row &stored : rows) {
        SCOPED_TRACE(stored.name);
        for (const Row &other : rows) {
            SCOPED_TRACE(other.name);
            ASSERT_EQ(stored.insert(&map, "key", 1), 0);
            expect_unchanged(1, [&] { return other.insert(&map, "key", 1); });
            EXPECT_EQ(other.find(&map, "key", 1, nullptr), 0);
            EXPECT_EQ(other.remove(&map, "key", 1), 0);
        }
    }
}

TEST_F(MultimapNumberText, IsNotFoundInAnotherSpelling)
{
    fill(map, {{"key", {"7", "07\0"s, "0x7\0"s, "+7\0"s}}});
    EXPECT_EQ(multimap_find_uint8(&map, "key", 7, nullptr), ENOENT);
}

TEST_F(MultimapNumberText, OfNumbersThatAreCutAlikeIsOneValue)
{
    ASSERT_EQ(multimap_insert_uint16(&map, "key", 70000), 0);
    EXPECT_EQ(multimap_find_uint16(&map, "key", 4464, nullptr), 0);
    expect_unchanged(1, [this] { return multimap_insert_uint16(&map, "key", 4464); });
    ASSERT_EQ(multimap_insert_int8(&map, "key", 200), 0);
    EXPECT_EQ(multimap_delete_int8(&map, "key", -56), 0);
}

TEST_F(MultimapNumberText, OfBoolsWithTheSameFirstDigitIsOneValue)
{
    ASSERT_EQ(multimap_insert_bool(&map, "key", 1), 0);
    expect_unchanged(1, [this] { return multimap_insert_bool(&map, "key", 12); });
    EXPECT_EQ(multimap_find_bool(&map, "key", 199, &index), 0);
    EXPECT_EQ(index, 0U);
}

TEST_F(MultimapNumberText, OfATimeIsFoundAsAnInt32)
{
    fill(map, {{"key", {"-5\0"s}}});
    ASSERT_EQ(multimap_insert_time(&map, "key", INT32_MAX), 0);
    EXPECT_EQ(multimap_find_int32(&map, "key", INT32_MAX, &index), 0);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(multimap_find_time(&map, "key", -5, &index), 0);
    EXPECT_EQ(index, 0U);
}
