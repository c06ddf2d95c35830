#include "multimap_fixture.hpp"

#include "multimap_internal.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>

namespace {

struct Rendering {
    unsigned int bits;
    bool is_signed;
    std::size_t scratch;
};

struct Parsing {
    bool is_signed;
    int64_t lowest;
    uint64_t highest;
};

struct Reading {
    int result;
    uint64_t value;
    bool changed;
};

// The functions of one type. Values of every type are held in 64 bits, sign-extended.
struct Row {
    const char *name;
    Rendering rendering;
    Parsing parsing;
    std::function<int(const multimap_t *map, const char *key, uint64_t value, uint32_t *index)>
        find;
    std::function<int(multimap_t *map, const char *key, uint64_t value)> remove;
    std::function<int(multimap_t *map, const char *key, uint64_t value)> insert;
    // Reads into a variable of the type that holds `held`.
    std::function<Reading(const multimap_t *map, const char *key, uint32_t index, uint64_t held)>
        get;
    std::function<int(const multimap_t *map, const char *key, uint32_t index)> get_into_null;
};

std::ostream &operator<<(std::ostream &out, const Row &row)
{
    return out << row.name;
}

template <class Output>
uint64_t widened(Output value)
{
    return static_cast<uint64_t>(value);
}

uint64_t widened(char value)
{
    return static_cast<uint64_t>(static_cast<signed char>(value));
}

template <class Argument, class Output>
Row make_row(const char *name, Rendering rendering, Parsing parsing,
             int (*find)(const multimap_t *, const char *, Argument, uint32_t *),
             int (*remove)(multimap_t *, const char *, Argument),
             int (*insert)(multimap_t *, const char *, Argument),
             int (*get)(const multimap_t *, const char *, uint32_t, Output *))
{
    return {
        name,
        rendering,
        parsing,
        [=](const multimap_t *map, const char *key, uint64_t value, uint32_t *index) {
            return find(map, key, static_cast<Argument>(value), index);
        },
        [=](multimap_t *map, const char *key, uint64_t value) {
            return remove(map, key, static_cast<Argument>(value));
        },
        [=](multimap_t *map, const char *key, uint64_t value) {
            return insert(map, key, static_cast<Argument>(value));
        },
        [=](const multimap_t *map, const char *key, uint32_t index, uint64_t held) {
            const auto before = static_cast<Output>(held);
            Output out = before;
            const int result = get(map, key, index, &out);
            return Reading{result, widened(out), out != before};
        },
        [=](const multimap_t *map, const char *key, uint32_t index) {
            return get(map, key, index, nullptr);
        },
    };
}

// All but time, whose read has rules of its own.
const std::vector<Row> &plain_rows()
{
    static const std::vector<Row> rows = {
        make_row("uint64", {64, false, 21}, {false, 0, UINT64_MAX}, multimap_find_uint64,
                 multimap_delete_uint64, multimap_insert_uint64, multimap_get_uint64),
        make_row("int64", {64, true, 21}, {true, INT64_MIN, INT64_MAX}, multimap_find_int64,
                 multimap_delete_int64, multimap_insert_int64, multimap_get_int64),
        make_row("uint32", {32, false, 12}, {false, 0, 4294967295}, multimap_find_uint32,
                 multimap_delete_uint32, multimap_insert_uint32, multimap_get_uint32),
        make_row("int32", {32, true, 12}, {true, -2147483648, 2147483647}, multimap_find_int32,
                 multimap_delete_int32, multimap_insert_int32, multimap_get_int32),
        make_row("uint16", {16, false, 7}, {false, 0, 65535}, multimap_find_uint16,
                 multimap_delete_uint16, multimap_insert_uint16, multimap_get_uint16),
        make_row("int16", {16, true, 7}, {true, -32768, 32767}, multimap_find_int16,
                 multimap_delete_int16, multimap_insert_int16, multimap_get_int16),
        make_row("uint8", {8, false, 5}, {false, 0, 255}, multimap_find_uint8,
                 multimap_delete_uint8, multimap_insert_uint8, multimap_get_uint8),
        make_row("int8", {8, true, 5}, {true, -128, 127}, multimap_find_int8, multimap_delete_int8,
                 multimap_insert_int8, multimap_get_int8),
        make_row("bool", {8, false, 2}, {true, 0, 1}, multimap_find_bool, multimap_delete_bool,
                 multimap_insert_bool, multimap_get_bool),
        make_row("uint", {32, false, 11}, {true, 0, 4294967295}, multimap_find_uint,
                 multimap_delete_uint, multimap_insert_uint, multimap_get_uint),
        make_row("int", {32, true, 12}, {true, -2147483648, 2147483647}, multimap_find_int,
                 multimap_delete_int, multimap_insert_int, multimap_get_int),
        make_row("uchar", {8, false, 4}, {true, 0, 255}, multimap_find_uchar, multimap_delete_uchar,
                 multimap_insert_uchar, multimap_get_uchar),
        make_row("char", {8, true, 5}, {true, -128, 127}, multimap_find_char, multimap_delete_char,
                 multimap_insert_char, multimap_get_char),
    };
    return rows;
}

std::vector<Row> all_rows()
{
    std::vector<Row> rows = plain_rows();
    rows.push_back(make_row("time", {32, true, 12}, {true, -2147483648, 2147483647},
                            multimap_find_time, multimap_delete_time, multimap_insert_time,
                            multimap_get_time));
    return rows;
}

std::vector<Row> narrow_rows()
{
    std::vector<Row> rows;
    for (const Row &row : plain_rows()) {
        if (row.rendering.bits < 32) {
            rows.push_back(row);
        }
    }
    return rows;
}

const Row &row_of(const char *name)
{
    for (const Row &row : plain_rows()) {
        if (std::strcmp(row.name, name) == 0) {
            return row;
        }
    }
    std::abort();
}

std::string name_of(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

// The value that the row keeps of an argument, sign-extended.
uint64_t kept(const Row &row, uint64_t value)
{
    const unsigned int dropped = 64 - row.rendering.bits;
    const uint64_t low = value << dropped;
    return row.rendering.is_signed ? static_cast<uint64_t>(static_cast<int64_t>(low) >> dropped)
                                   : low >> dropped;
}

// The text that the row stores, with its NUL.
std::string rendered(const Row &row, uint64_t value)
{
    char scratch[21];
    const unsigned long long number = kept(row, value);
    if (row.rendering.is_signed) {
        std::snprintf(scratch, row.rendering.scratch, "%lld", static_cast<long long>(number));
    } else {
        std::snprintf(scratch, row.rendering.scratch, "%llu", number);
    }
    return std::string(scratch, std::strlen(scratch) + 1);
}

// Values that lie next to the text without being it.
std::vector<std::string> near_misses(const std::string &text)
{
    return {
        "",          text.substr(0, text.size() - 1),         text + '\0', " " + text, "+" + text,
        "0x" + text, text.substr(0, text.size() - 1) + " \0"s};
}

// The value that the row reads from a text; none if it refuses it.
std::optional<uint64_t> parsed(const Row &row, const char *text)
{
    char *end;
    uint64_t number;
    bool in_range;
    if (row.parsing.is_signed) {
        const long long value = std::strtoll(text, &end, 0);
        number = static_cast<uint64_t>(value);
        in_range = value < 0 ? value >= row.parsing.lowest : number <= row.parsing.highest;
    } else {
        number = std::strtoull(text, &end, 0);
        in_range = number <= row.parsing.highest;
    }
    if (end == text || *end != '\0' || !in_range) {
        return std::nullopt;
    }
    return number;
}

// Numbers about every width's ends, and their negatives.
std::vector<uint64_t> telling_numbers()
{
    std::vector<uint64_t> numbers = {0, 1, 2, 5, 7, 9, 10, 12, 99, 100, 129, 200, 1000, 70000};
    for (const unsigned int bit : {7U, 8U, 15U, 16U, 31U, 32U, 63U}) {
        const uint64_t power = uint64_t{1} << bit;
        numbers.insert(numbers.end(), {power - 2, power - 1, power, power + 1});
    }
    numbers.push_back(UINT64_MAX);
    const std::size_t count = numbers.size();
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(-numbers[i]);
    }
    return numbers;
}

// Numbers about the ends of the ranges in every base and with every sign, and what is no number.
std::vector<std::string> hostile_texts()
{
    const std::string zeros(5000, '0');
    const std::string blanks(5000, ' ');
    const std::string nines(5000, '9');
    std::vector<std::string> texts = {
        "",           " ",         "+",         "-",          "x",        "0x",    "--1",
        "+-1",        "- 1",       "1-",        "1+1",        "1.0",      "1e3",   ".5",
        "1,000",      "0x-1",      "1\001",     "\3771",      "\240",     "1\377", "yes",
        "true",       "nan",       "(null)",    "1L",         "1u",       "08",    "1 ",
        "1\n",        "1x",        "0xg",       "0x ",        "\t\n 1",   blanks,  nines,
        blanks + "1", zeros + "1", "-" + nines, "0x" + nines, " \v\f\r-1"};
    std::istringstream digits(
        "0 1 2 7 8 a 10 127 128 129 255 256 32767 32768 32769 65535 65536 "
        "2147483647 2147483648 2147483649 4294967295 4294967296 "
        "9223372036854775807 9223372036854775808 9223372036854775809 18446744073709551487 "
        "18446744073709551615 18446744073709551616 99999999999999999999 "
        "177 200 201 377 400 77777 100000 177777 200000 37777777777 40000000000 "
        "777777777777777777777 1000000000000000000000 "
        "1777777777777777777777 2000000000000000000000 "
        "7f 80 81 ff 100 7FFF 8000 8001 ffff 10000 7fffffff 80000000 80000001 FFFFFFFF 100000000 "
        "7fffffffffffffff 8000000000000000 8000000000000001 ffffffffffffffff 10000000000000000");
    for (std::string number; digits >> number;) {
        for (const char *sign : {"", "+", "-"}) {
            for (const char *base : {"", "0", "0x", "0X"}) {
                texts.push_back(std::string(sign) + base + number);
            }
        }
    }
    return texts;
}

constexpr uint32_t no_index = 0xA5A5A5A5;

class NumberTest : public MultimapTest {
  protected:
    uint32_t index = no_index;

    // The value that the row reads from a text, which stands behind another value; none if it refuses
    // it, which gives 34 and leaves the output as it was.
    std::optional<uint64_t> read(const Row &row, const char *text)
    {
        EXPECT_EQ(multimap_clear(&map), 0);
        fill(map, {{"key", {"no number\0"s}}});
        EXPECT_EQ(multimap_insert_str(&map, "key", text), 0);
        const Reading reading = row.get(&map, "key", 1, 0);
        if (reading.result == 0) {
            return reading.value;
        }
        expect_failed_read(ERANGE, &map, row, "key", 1);
        return std::nullopt;
    }

    std::optional<uint64_t> read(const char *type, const char *text)
    {
        return read(row_of(type), text);
    }

    void expect_failed_read(int result, const multimap_t *from, const Row &row, const char *key,
                            uint32_t position)
    {
        for (const uint64_t held : {uint64_t{0}, UINT64_MAX}) {
            const Reading reading = row.get(from, key, position, held);
            EXPECT_EQ(reading.result, result);
            EXPECT_FALSE(reading.changed);
        }
    }
};

class RowTest : public NumberTest, public testing::WithParamInterface<Row> {
  protected:
    const Row &row = GetParam();
};

constexpr std::nullopt_t refused = std::nullopt;

} // namespace

class MultimapNumberInsert : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberInsert, testing::ValuesIn(all_rows()), name_of);

TEST_P(MultimapNumberInsert, StoresTheTextWithItsNul)
{
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(row.insert(&map, "key", value), 0) << value;
        EXPECT_EQ(values_of(map, "key"), std::vector{rendered(row, value)}) << value;
        ASSERT_EQ(multimap_erase(&map, "key"), 0);
    }
}

TEST_P(MultimapNumberInsert, AddsBehindTheValuesOfTheKey)
{
    fill(map, {{"key", {"1", "text\0"s}}});
    EXPECT_EQ(row.insert(&map, "key", 1), 0);
    EXPECT_EQ(row.insert(&map, "key", 0), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"1"s, "text\0"s, "1\0"s, "0\0"s}));
}

TEST_P(MultimapNumberInsert, RefusesANumberThatTheKeyHoldsHoweverItWasStored)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    fill(map, {{"key", {"0\0"s}}});
    expect_unchanged(1, [&] { return row.insert(&map, "key", 1); });
    expect_unchanged(1, [&] { return row.insert(&map, "key", 0); });
    EXPECT_EQ(row.insert(&map, "other key", 1), 0);
}

TEST_P(MultimapNumberInsert, AllocatesNothingButTheValueAndANewKey)
{
    const uint64_t widest =
        row.rendering.is_signed ? uint64_t{1} << (row.rendering.bits - 1) : UINT64_MAX;
    const std::size_t key = sizeof(multimap_key_t) + sizeof "key";
    const std::size_t value = sizeof(multimap_value_t) + rendered(row, widest).size();
    {
        const allocations::Log log;
        EXPECT_EQ(row.insert(&map, "key", widest), 0);
        std::vector<std::size_t> sizes = log.sizes();
        std::sort(sizes.begin(), sizes.end());
        EXPECT_EQ(sizes, (std::vector{std::min(key, value), std::max(key, value)}));
    }
    const allocations::Log log;
    EXPECT_EQ(row.insert(&map, "key", 1), 0);
    EXPECT_EQ(log.sizes(), (std::vector{sizeof(multimap_value_t) + sizeof "1"}));
}

TEST_P(MultimapNumberInsert, KeepsToTheKeyLimit)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(1, [&] { return row.insert(&map, "new", 1); });
    EXPECT_EQ(row.insert(&map, "key", 0), 0);
}

TEST_P(MultimapNumberInsert, RefusesNullForMapOrKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(EINVAL, [&] { return row.insert(nullptr, "key", 0); });
    expect_unchanged(EINVAL, [&] { return row.insert(&map, nullptr, 0); });
    expect_unchanged(EINVAL, [&] { return row.insert(nullptr, nullptr, 0); });
}

TEST_P(MultimapNumberInsert, RefusesAReleasedMultimap)
{
    multimap_t released = released_multimap();
    EXPECT_EQ(row.insert(&released, "key", 1), EINVAL);
    EXPECT_EQ(released.buckets, nullptr);
}

class MultimapNumberFind : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberFind, testing::ValuesIn(all_rows()), name_of);

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

class MultimapNumberDelete : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberDelete, testing::ValuesIn(all_rows()), name_of);

TEST_P(MultimapNumberDelete, RemovesTheVeryTextAlone)
{
    for (const uint64_t value : telling_numbers()) {
        SCOPED_TRACE(value);
        const std::string text = rendered(row, value);
        std::vector<std::string> values = near_misses(text);
        values.insert(values.begin() + 2, text);
        fill(map, {{"key", values}});
        EXPECT_EQ(row.remove(&map, "key", value), 0);
        EXPECT_EQ(values_of(map, "key"), near_misses(text));
        expect_unchanged(ENOENT, [&] { return row.remove(&map, "key", value); });
        ASSERT_EQ(multimap_clear(&map), 0);
    }
}

TEST_P(MultimapNumberDelete, RemovesTheKeyWithItsLastNumber)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    ASSERT_EQ(row.insert(&map, "other key", 1), 0);
    const allocations::Log log;
    EXPECT_EQ(row.remove(&map, stored_key(map, "key"), 1), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
    EXPECT_EQ(content_of(map), (std::vector<KeyValues>{{"other key", {"1\0"s}}}));
}

TEST_P(MultimapNumberDelete, ReportsAMissingNumberOrKey)
{
    fill(map, {{"key", near_misses("1\0"s)}, {"other key", {"1\0"s}}});
    expect_unchanged(ENOENT, [&] { return row.remove(&map, "key", 1); });
    expect_unchanged(ENOENT, [&] { return row.remove(&map, "missing", 1); });
}

TEST_P(MultimapNumberDelete, RefusesNullForMapOrKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(EINVAL, [&] { return row.remove(nullptr, "key", 1); });
    expect_unchanged(EINVAL, [&] { return row.remove(&map, nullptr, 1); });
    expect_unchanged(EINVAL, [&] { return row.remove(nullptr, nullptr, 1); });
}

TEST_P(MultimapNumberDelete, RefusesAReleasedMultimap)
{
    multimap_t released = released_multimap();
    EXPECT_EQ(row.remove(&released, "key", 1), EINVAL);
}

class MultimapNarrowNumber : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNarrowNumber, testing::ValuesIn(narrow_rows()), name_of);

TEST_P(MultimapNarrowNumber, IsCutToItsWidthForEveryArgument)
{
    for (uint64_t low = 0; low >> row.rendering.bits == 0; ++low) {
        // Every other one has bits above, too.
        const uint64_t argument = low % 2 == 0 ? low : low << row.rendering.bits | low;
        ASSERT_EQ(row.insert(&map, "key", argument), 0);
        const std::string text = rendered(row, argument);
        ASSERT_STREQ(stored_text(map, "key", 0), text.c_str());
        ASSERT_EQ(row.find(&map, "key", argument, nullptr), 0);
        const std::optional<uint64_t> expected = parsed(row, text.c_str());
        const Reading reading = row.get(&map, "key", 0, 0);
        ASSERT_EQ(reading.result, expected ? 0 : ERANGE) << low;
        ASSERT_EQ(reading.value, expected.value_or(0)) << low;
        ASSERT_EQ(row.remove(&map, "key", argument), 0);
    }
}

class MultimapNumberRead : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MultimapNumberRead, testing::ValuesIn(plain_rows()), name_of);

TEST_P(MultimapNumberRead, AgreesWithTheStandardLibraryAndTheRangeOnEveryText)
{
    for (const std::string &text : hostile_texts()) {
        EXPECT_EQ(read(row, text.c_str()), parsed(row, text.c_str()))
            << testing::PrintToString(text);
    }
}

TEST_P(MultimapNumberRead, AcceptsTheEndsOfItsRangeInAnyBase)
{
    const unsigned long long highest = row.parsing.highest;
    char text[32];
    for (const char *format : {"%llu", "0x%llx", "0%llo"}) {
        std::snprintf(text, sizeof text, format, highest);
        EXPECT_EQ(read(row, text), row.parsing.highest) << text;
    }
    std::snprintf(text, sizeof text, "%lld", static_cast<long long>(row.parsing.lowest));
    EXPECT_EQ(read(row, text), static_cast<uint64_t>(row.parsing.lowest));
}

TEST_P(MultimapNumberRead, GivesBackWhatWasStoredAtThePosition)
{
    fill(map, {{"key", {"no number\0"s, "1\0"s, "0\0"s, "+1\0"s}}, {"other key", {"0\0"s}}});
    for (const auto &[position, value] :
         {std::pair(1U, 1U), std::pair(2U, 0U), std::pair(3U, 1U)}) {
        const Reading reading = row.get(&map, "key", position, 1 - value);
        EXPECT_EQ(reading.result, 0) << position;
        EXPECT_EQ(reading.value, value) << position;
    }
    expect_failed_read(ERANGE, &map, row, "key", 0);
}

TEST_P(MultimapNumberRead, ReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    fill(map, {{"key", {"0\0"s, "1\0"s}}});
    expect_failed_read(ENOENT, &map, row, "key", 2);
    expect_failed_read(ENOENT, &map, row, "key", UINT32_MAX);
    expect_failed_read(ENOENT, &map, row, "missing", 0);
}

TEST_P(MultimapNumberRead, RefusesTextThatNoNulEnds)
{
    for (const std::string &text : {""s, "1"s, "-1"s, "42"s, " "s, " 1"s, "0x"s, "0x1"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        fill(map, {{"key", {text + '\0'}}});
        // The NUL stays where it is, behind the value's end.
        _multimap_entry(&map, "key")->values.first->len -= 1;
        expect_failed_read(ERANGE, &map, row, "key", 0);
        ASSERT_EQ(multimap_clear(&map), 0);
    }
}

TEST_P(MultimapNumberRead, EndsAtTheFirstNul)
{
    fill(map, {{"key", {"1\0x\0"s, "1\0002"s, "\0001\0"s}}});
    EXPECT_EQ(row.get(&map, "key", 0, 0).value, 1U);
    EXPECT_EQ(row.get(&map, "key", 1, 0).value, 1U);
    expect_failed_read(ERANGE, &map, row, "key", 2);
}

TEST_P(MultimapNumberRead, RefusesNullForMapOrKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_failed_read(EINVAL, nullptr, row, "key", 0);
    expect_failed_read(EINVAL, &map, row, nullptr, 0);
    expect_failed_read(EINVAL, nullptr, row, nullptr, 0);
}

TEST_P(MultimapNumberRead, RefusesNullForTheOutputBeforeItLooksAnythingUp)
{
    fill(map, {{"key", {"1\0"s, "no number\0"s}}});
    EXPECT_EQ(row.get_into_null(&map, "key", 0), EINVAL);
    EXPECT_EQ(row.get_into_null(&map, "key", 1), EINVAL);
    EXPECT_EQ(row.get_into_null(&map, "key", 2), EINVAL);
    EXPECT_EQ(row.get_into_null(&map, "missing", 0), EINVAL);
    EXPECT_EQ(row.get_into_null(nullptr, nullptr, 0), EINVAL);
}

TEST_P(MultimapNumberRead, RefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    expect_failed_read(EINVAL, &released, row, "key", 0);
}

TEST_P(MultimapNumberRead, NeitherConsultsNorClearsErrno)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    for (const int stale : {EDOM, ERANGE}) {
        errno = stale;
        const Reading reading = row.get(&map, "key", 0, 0);
        EXPECT_EQ(errno, stale);
        EXPECT_EQ(reading.result, 0);
        EXPECT_EQ(reading.value, 1U);
    }
}

TEST_P(MultimapNumberRead, ChangesAndAllocatesNothing)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const allocations::Log log;
    expect_unchanged(0, [&] { return row.get(&map, "key", 0, 0).result; });
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
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
    for (const Row &stored : all_rows()) {
        SCOPED_TRACE(stored.name);
        for (const Row &other : all_rows()) {
            SCOPED_TRACE(other.name);
            ASSERT_EQ(stored.insert(&map, "key", 1), 0);
            expect_unchanged(1, [&] { return other.insert(&map, "key", 1); });
            EXPECT_EQ(other.get(&map, "key", 0, 0).value, 1U);
            EXPECT_EQ(other.find(&map, "key", 1, nullptr), 0);
            EXPECT_EQ(other.remove(&map, "key", 1), 0);
        }
    }
}

TEST_F(MultimapNumberText, IsAValueOfItsOwnInAnotherSpelling)
{
    fill(map, {{"key", {"7", "07\0"s, "0x7\0"s, "+7\0"s}}});
    EXPECT_EQ(multimap_find_uint8(&map, "key", 7, nullptr), ENOENT);
    EXPECT_EQ(multimap_insert_uint8(&map, "key", 7), 0);
    EXPECT_EQ(values_of(map, "key").size(), 5U);
}

TEST_F(MultimapNumberText, OfAUint16IsThatOfItsLow16Bits)
{
    EXPECT_EQ(multimap_insert_uint16(&map, "key", 70000), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"4464\0"s});
    EXPECT_EQ(multimap_find_uint16(&map, "key", 4464, nullptr), 0);
    EXPECT_EQ(multimap_insert_uint16(&map, "key", 4464), 1);
}

TEST_F(MultimapNumberText, OfAnInt8IsThatOfItsLow8BitsWithTheirSign)
{
    EXPECT_EQ(multimap_insert_int8(&map, "key", 200), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"-56\0"s});
    EXPECT_EQ(multimap_delete_int8(&map, "key", -56), 0);
}

TEST_F(MultimapNumberText, OfABoolIsItsFirstDigit)
{
    const std::pair<unsigned int, std::string> bools[] = {
        {0, "0\0"s},  {1, "1\0"s},   {7, "7\0"s},   {9, "9\0"s},   {10, "1\0"s},
        {12, "1\0"s}, {200, "2\0"s}, {255, "2\0"s}, {256, "0\0"s}, {0xFFFFFF07, "7\0"s},
    };
    for (const auto &[value, text] : bools) {
        EXPECT_EQ(multimap_insert_bool(&map, "key", value), 0);
        EXPECT_EQ(values_of(map, "key"), std::vector{text}) << value;
        EXPECT_EQ(multimap_delete_bool(&map, "key", value), 0);
    }
}

TEST_F(MultimapNumberText, OfABoolAbove1IsRefusedByItsRead)
{
    ASSERT_EQ(multimap_insert_bool(&map, "key", 2), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"2\0"s});
    expect_failed_read(ERANGE, &map, row_of("bool"), "key", 0);
}

TEST_F(MultimapNumberText, OfBoolsWithTheSameFirstDigitIsOneValue)
{
    ASSERT_EQ(multimap_insert_bool(&map, "key", 1), 0);
    expect_unchanged(1, [this] { return multimap_insert_bool(&map, "key", 12); });
    EXPECT_EQ(multimap_find_bool(&map, "key", 199, &index), 0);
    EXPECT_EQ(index, 0U);
}

TEST_F(MultimapNumberText, IsReadInAnyBaseButNotWithBlanksBehind)
{
    EXPECT_EQ(read("uint32", "0x10"), 16U);
    EXPECT_EQ(read("uint32", "16 "), refused);
    EXPECT_EQ(read("uint8", "255"), 255U);
    EXPECT_EQ(read("uint8", "256"), refused);
    EXPECT_EQ(read("uint8", "0xff"), 255U);
    EXPECT_EQ(read("uint8", "010"), 8U);
    EXPECT_EQ(read("uint8", "08"), refused);
}

TEST_F(MultimapNumberText, IsReadAsANarrowSignedNumberWithinItsRange)
{
    EXPECT_EQ(read("int16", "-32768"), static_cast<uint64_t>(-32768));
    EXPECT_EQ(read("int16", "32768"), refused);
    EXPECT_EQ(read("int8", "-129"), refused);
    EXPECT_EQ(read("char", "-128"), static_cast<uint64_t>(-128));
}

TEST_F(MultimapNumberText, WithAMinusIsNoUint32OrUint)
{
    EXPECT_EQ(read("uint32", "-1"), refused);
    EXPECT_EQ(read("uint", "-1"), refused);
    EXPECT_EQ(read("uint", "4294967295"), 4294967295U);
}

// The two 32-bit unsigned types differ in their parser: only an unsigned one wraps such a text.
TEST_F(MultimapNumberText, ThatWrapsIntoTheRangeIsReadByTheUnsignedParserAlone)
{
    const char wrapping[] = "-18446744073709551615";
    for (const char *type : {"uint64", "uint32", "uint16", "uint8"}) {
        EXPECT_EQ(read(type, wrapping), 1U) << type;
    }
    for (const char *type : {"int32", "int16", "int8", "bool", "uint", "int", "uchar", "char"}) {
        EXPECT_EQ(read(type, wrapping), refused) << type;
    }
    EXPECT_EQ(read("int64", wrapping), static_cast<uint64_t>(INT64_MIN));
}

TEST_F(MultimapNumberText, BeyondThe64BitRangesIsReadAsTheirNearestEnd)
{
    EXPECT_EQ(read("uint64", "-1"), UINT64_MAX);
    EXPECT_EQ(read("uint64", "18446744073709551616"), UINT64_MAX);
    EXPECT_EQ(read("int64", "99999999999999999999"), static_cast<uint64_t>(INT64_MAX));
    EXPECT_EQ(read("int64", "-99999999999999999999"), static_cast<uint64_t>(INT64_MIN));
}

TEST_F(MultimapNumberText, IsReadAsABoolIfItIs0Or1)
{
    EXPECT_EQ(read("bool", "0"), 0U);
    EXPECT_EQ(read("bool", "1"), 1U);
    EXPECT_EQ(read("bool", "2"), refused);
    EXPECT_EQ(read("bool", "-1"), refused);
    EXPECT_EQ(read("bool", " 1"), 1U);
    EXPECT_EQ(read("bool", "1 "), refused);
}

TEST_F(MultimapNumberText, OfNoCharactersIsRefused)
{
    for (const Row &row : plain_rows()) {
        EXPECT_EQ(read(row, ""), refused) << row;
    }
}

class MultimapTime : public NumberTest {
  protected:
    int32_t seconds = 0x5A5A5A5A;
};

TEST_F(MultimapTime, IsStoredAsAnInt32)
{
    EXPECT_EQ(multimap_insert_time(&map, "key", -5), 0);
    EXPECT_EQ(multimap_insert_time(&map, "key", INT32_MAX), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"-5\0"s, "2147483647\0"s}));
    EXPECT_EQ(multimap_find_int32(&map, "key", INT32_MAX, &index), 0);
    EXPECT_EQ(index, 1U);
}

TEST_F(MultimapTime, IsReadBackFromItsPosition)
{
    const std::vector<int32_t> values = {0, 1, -1, 1700000000, INT32_MIN, INT32_MAX};
    for (const int32_t value : values) {
        ASSERT_EQ(multimap_insert_time(&map, "key", value), 0);
    }
    for (uint32_t position = 0; position < values.size(); ++position) {
        EXPECT_EQ(multimap_get_time(&map, "key", position, &seconds), 0);
        EXPECT_EQ(seconds, values[position]);
    }
}

TEST_F(MultimapTime, IsReadAsAnInt32OrAsZero)
{
    for (const std::string &text : hostile_texts()) {
        ASSERT_EQ(multimap_clear(&map), 0);
        ASSERT_EQ(multimap_insert_str(&map, "key", text.c_str()), 0);
        const std::optional<uint64_t> expected = parsed(row_of("int32"), text.c_str());
        seconds = 0x5A5A5A5A;
        ASSERT_EQ(multimap_get_time(&map, "key", 0, &seconds), expected ? 0 : ERANGE)
            << testing::PrintToString(text);
        ASSERT_EQ(widened(seconds), expected.value_or(0)) << testing::PrintToString(text);
    }
}

TEST_F(MultimapTime, IsOnlyTestedIfItHasNowhereToGo)
{
    fill(map, {{"key", {"1\0"s, "soon\0"s, "2147483648\0"s, "1"}}});
    EXPECT_EQ(multimap_get_time(&map, "key", 0, nullptr), 0);
    for (const uint32_t position : {1U, 2U, 3U}) {
        EXPECT_EQ(multimap_get_time(&map, "key", position, nullptr), ERANGE) << position;
    }
    EXPECT_EQ(multimap_get_time(&map, "key", 4, nullptr), ENOENT);
    EXPECT_EQ(multimap_get_time(&map, "missing", 0, nullptr), ENOENT);
    EXPECT_EQ(multimap_get_time(&map, nullptr, 0, nullptr), EINVAL);
    EXPECT_EQ(multimap_get_time(nullptr, nullptr, 0, nullptr), EINVAL);
}

TEST_F(MultimapTime, IsZeroAfterEveryFailure)
{
    fill(map, {{"key", {"1\0"s, "soon\0"s, "2147483648\0"s, "1"}}});
    const multimap_t released = released_multimap();
    const auto expect_zero = [&](int result, const multimap_t *from, const char *key,
                                 uint32_t position) {
        seconds = 0x5A5A5A5A;
        EXPECT_EQ(multimap_get_time(from, key, position, &seconds), result);
        EXPECT_EQ(seconds, 0);
    };
    expect_zero(ERANGE, &map, "key", 1);
    expect_zero(ERANGE, &map, "key", 2);
    expect_zero(ERANGE, &map, "key", 3);
    expect_zero(ENOENT, &map, "key", 4);
    expect_zero(ENOENT, &map, "missing", 0);
    expect_zero(EINVAL, &map, nullptr, 0);
    expect_zero(EINVAL, nullptr, "key", 0);
    expect_zero(EINVAL, &released, "key", 0);
}
