#include "map_fixture.hpp"
#include "typed_rows.hpp"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The functions of one type. Values of every type are held in 64 bits, sign-extended.
struct Row : NumberRow {
    int compared_with_null;
    std::function<int(const map_t *map, const char *key, uint64_t value)> cmp;
    std::function<int(map_t *map, const char *key, uint64_t value)> replace;
    std::function<int(map_t *map, const char *key, uint64_t value)> insert;
    // Reads into a variable of the type that holds `held`.
    std::function<Reading(const map_t *map, const char *key, uint64_t held)> get;
    std::function<int(const map_t *map, const char *key)> get_into_null;
};

template <class Argument, class Output>
Row make_row(const char *name, int compared_with_null,
             int (*cmp)(const map_t *, const char *, Argument),
             int (*replace)(map_t *, const char *, Argument),
             int (*insert)(map_t *, const char *, Argument),
             int (*get)(const map_t *, const char *, Output *))
{
    return {
        number_row(name),
        compared_with_null,
        [=](const map_t *map, const char *key, uint64_t value) {
            return cmp(map, key, static_cast<Argument>(value));
        },
        [=](map_t *map, const char *key, uint64_t value) {
            return replace(map, key, static_cast<Argument>(value));
        },
        [=](map_t *map, const char *key, uint64_t value) {
            return insert(map, key, static_cast<Argument>(value));
        },
        [=](const map_t *map, const char *key, uint64_t held) {
            return read_over<Output>(held, [=](Output *out) { return get(map, key, out); });
        },
        [=](const map_t *map, const char *key) { return get(map, key, nullptr); },
    };
}

#define ROW(type, compared_with_null)                                                              \
    make_row(#type, compared_with_null, map_cmp_##type, map_replace_##type, map_insert_##type,     \
             map_get_##type)

// All but time, whose read has rules of its own.
const std::vector<Row> &plain_rows()
{
    static const std::vector<Row> rows = {
        ROW(uint64, -1),   ROW(int64, -1),    ROW(uint32, -1),  ROW(int32, -1),
        ROW(uint16, -1),   ROW(int16, -1),    ROW(uint8, -1),   ROW(int8, -1),
        ROW(bool, EINVAL), ROW(uint, EINVAL), ROW(int, EINVAL), ROW(uchar, EINVAL),
        ROW(char, EINVAL),
    };
    return rows;
}

std::vector<Row> all_rows()
{
    std::vector<Row> rows = plain_rows();
    rows.push_back(ROW(time, -1));
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

class NumberTest : public MapTest {
  protected:
    // The value that the row reads from a text; none if it refuses it, which gives 34 and leaves the
    // output as it was.
    std::optional<uint64_t> read(const Row &row, const char *text)
    {
        EXPECT_EQ(map_replace_str(&map, "key", text), 0);
        const Reading reading = row.get(&map, "key", 0);
        if (reading.result == 0) {
            return reading.value;
        }
        expect_failed_read(ERANGE, &map, row, "key");
        return std::nullopt;
    }

    std::optional<uint64_t> read(const char *type, const char *text)
    {
        return read(row_of(type), text);
    }

    void expect_failed_read(int result, const map_t *from, const Row &row, const char *key)
    {
        expect_failed_reading(result, [&](uint64_t held) { return row.get(from, key, held); });
    }
};

class RowTest : public NumberTest, public testing::WithParamInterface<Row> {
  protected:
    const Row &row = GetParam();
};

} // namespace

class MapNumberStore : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MapNumberStore, testing::ValuesIn(all_rows()), name_of);

TEST_P(MapNumberStore, ReplaceStoresTheTextWithItsNul)
{
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(row.replace(&map, "key", value), 0) << value;
        EXPECT_EQ(value_of(map, "key"), rendered(row, value)) << value;
    }
    EXPECT_EQ(map.numkeys, 1);
}

TEST_P(MapNumberStore, InsertStoresTheTextWithItsNul)
{
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(row.insert(&map, "key", value), 0) << value;
        EXPECT_EQ(value_of(map, "key"), rendered(row, value)) << value;
        ASSERT_EQ(map_erase(&map, "key"), 0);
    }
}

TEST_P(MapNumberStore, ReplaceStoresNumbersOfEveryLengthSoThatTheyAreReadBack)
{
    for (const uint64_t value : numbers_of_every_length()) {
        ASSERT_EQ(row.replace(&map, "key", value), 0);
        const std::string text = rendered(row, value);
        ASSERT_EQ(value_of(map, "key"), text) << value;
        ASSERT_EQ(row.cmp(&map, "key", value), 0) << value;
        const std::optional<uint64_t> expected = parsed(row, text.c_str());
        const Reading reading = row.get(&map, "key", 0);
        ASSERT_EQ(reading.result, expected ? 0 : ERANGE) << value;
        ASSERT_EQ(reading.value, expected.value_or(0)) << value;
    }
}

TEST_P(MapNumberStore, InsertLeavesAKeyThatIsThereAlone)
{
    ASSERT_EQ(insert(map, "key", "anything"), 0);
    expect_unchanged(1, [&] { return row.insert(&map, "key", 1); });
}

TEST_P(MapNumberStore, ReplaceOverwritesAValueOfAnyKind)
{
    ASSERT_EQ(insert(map, "key", "any bytes, of any length"), 0);
    EXPECT_EQ(row.replace(&map, "key", 1), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("key"s, "1\0"s)}));
}

TEST_P(MapNumberStore, AllocatesNothingButTheEntry)
{
    const uint64_t widest = widest_number(row);
    const std::size_t entry = sizeof(map_entry_t) + rendered(row, widest).size() + sizeof "key";
    const allocations::Log log;
    EXPECT_EQ(row.insert(&map, "key", widest), 0);
    EXPECT_EQ(row.replace(&map, "key", widest), 0);
    EXPECT_EQ(log.sizes(), (std::vector{entry, entry}));
}

TEST_P(MapNumberStore, ReportsThatThereIsNoMemory)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const allocations::Failure failure(0);
    expect_unchanged(ENOMEM, [&] { return row.insert(&map, "new", 1); });
    expect_unchanged(ENOMEM, [&] { return row.replace(&map, "new", 1); });
    expect_unchanged(ENOMEM, [&] { return row.replace(&map, "key", 2); });
}

TEST_P(MapNumberStore, KeepsToTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(1, [&] { return row.insert(&map, "new", 1); });
    expect_unchanged(1, [&] { return row.replace(&map, "new", 1); });
    EXPECT_EQ(row.replace(&map, "key", 0), 0);
    EXPECT_EQ(value_of(map, "key"), "0\0"s);
}

TEST_P(MapNumberStore, RefusesNullForMapOrKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    for (const auto &store : {row.insert, row.replace}) {
        expect_unchanged(EINVAL, [&] { return store(nullptr, "key", 1); });
        expect_unchanged(EINVAL, [&] { return store(&map, nullptr, 1); });
        expect_unchanged(EINVAL, [&] { return store(nullptr, nullptr, 1); });
    }
}

TEST_P(MapNumberStore, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(row.insert(&released, "key", 1), EINVAL);
    EXPECT_EQ(row.replace(&released, "key", 1), EINVAL);
    EXPECT_EQ(released.buckets, nullptr);
}

TEST_P(MapNumberStore, TakesTheKeyOfTheEntryThatItReplaces)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const char *stored_key = map_get_entry(&map, "key")->key;
    expect_unchanged(1, [&] { return row.insert(&map, stored_key, 5); });
    EXPECT_EQ(row.replace(&map, stored_key, 5), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("key"s, "5\0"s)}));
}

class MapNarrowNumber : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MapNarrowNumber, testing::ValuesIn(narrow_rows()), name_of);

TEST_P(MapNarrowNumber, IsCutToItsWidthAndReadBackForEveryArgumentOf16Bits)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (uint64_t low = 0; low <= 0xFFFF; ++low) {
        // Every other one has bits above, too.
        const uint64_t argument = low % 2 == 0 ? low : low << 16 | low;
        ASSERT_EQ(row.replace(&map, "key", argument), 0);
        const std::string text = rendered(row, argument);
        const auto *entry = static_cast<const map_entry_t *>(map.buckets[0].first);
        ASSERT_EQ(std::string_view(static_cast<const char *>(entry->value), entry->valuesz), text);
        if (low >> row.rendering.bits == 0) {
            const std::optional<uint64_t> expected = parsed(row, text.c_str());
            const Reading reading = row.get(&map, "key", 0);
            ASSERT_EQ(reading.result, expected ? 0 : ERANGE) << low;
            ASSERT_EQ(reading.value, expected.value_or(0)) << low;
        }
    }
}

TEST_P(MapNarrowNumber, ReadsBackWhatItStoresUnlessABoolIsNone)
{
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(row.replace(&map, "key", value), 0);
        const Reading reading = row.get(&map, "key", 0);
        if (row.name == "bool"s && kept(row, value) > 1) {
            continue;
        }
        EXPECT_EQ(reading.result, 0) << value;
        EXPECT_EQ(reading.value, kept(row, value)) << value;
    }
}

TEST_P(MapNarrowNumber, IsReadInEveryBaseIfItLiesInTheRange)
{
    const auto lowest = static_cast<int>(row.parsing.lowest);
    const auto highest = static_cast<int>(row.parsing.highest);
    for (int number = lowest - 1000; number <= highest + 1000; ++number) {
        for (const char *format : {"%s%d", "%s0%o", "%s0x%x"}) {
            char text[16];
            std::snprintf(text, sizeof text, format, number < 0 ? "-" : "", std::abs(number));
            ASSERT_EQ(map_replace_str(&map, "key", text), 0);
            const bool in_range = lowest <= number && number <= highest;
            const Reading reading = row.get(&map, "key", 0);
            ASSERT_EQ(reading.result, in_range ? 0 : ERANGE) << text;
            ASSERT_EQ(reading.value, in_range ? widened(number) : 0) << text;
        }
    }
}

class MapNumberCompare : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MapNumberCompare, testing::ValuesIn(all_rows()), name_of);

TEST_P(MapNumberCompare, IsZeroForTheTextThatItWouldStore)
{
    for (const uint64_t value : telling_numbers()) {
        ASSERT_EQ(map_replace_str(&map, "key", rendered(row, value).c_str()), 0);
        expect_unchanged(0, [&] { return row.cmp(&map, "key", value); });
    }
}

TEST_P(MapNumberCompare, IsAsMemcmpOfTheStoredBytesForAnyOtherValue)
{
    const std::vector<std::string> stored = {"",      "\0"s,   "0",       "7",      "7\0\0"s,
                                             "7\0x"s, " 7\0"s, "+7\0"s,   "07\0"s,  "0x7\0"s,
                                             "7 \0"s, "8\0"s,  "-1\0"s,   "1\0"s,   "2\0"s,
                                             "10\0"s, "99\0"s, "\377\0"s, "127\0"s, "128\0"s};
    for (const std::string &value : stored) {
        SCOPED_TRACE(testing::PrintToString(value));
        ASSERT_EQ(replace(map, "key", value), 0);
        for (const uint64_t compared : telling_numbers()) {
            const int order = value.compare(rendered(row, compared));
            const int result = row.cmp(&map, "key", compared);
            EXPECT_EQ(result < 0, order < 0) << compared;
            EXPECT_EQ(result > 0, order > 0) << compared;
        }
    }
}

TEST_P(MapNumberCompare, IsNegativeForAMissingKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(-1, [&] { return row.cmp(&map, "other", 1); });
}

TEST_P(MapNumberCompare, OfNullIsMinusOneOr22AsTheTypeHasIt)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_unchanged(row.compared_with_null, [&] { return row.cmp(nullptr, "key", 1); });
    expect_unchanged(row.compared_with_null, [&] { return row.cmp(&map, nullptr, 1); });
    expect_unchanged(row.compared_with_null, [&] { return row.cmp(nullptr, nullptr, 1); });
}

TEST_P(MapNumberCompare, IsNegativeForAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(row.cmp(&released, "key", 1), -1);
}

TEST_P(MapNumberCompare, AllocatesNothing)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const allocations::Log log;
    EXPECT_EQ(row.cmp(&map, "key", 1), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MapNumberRead : public RowTest {};

INSTANTIATE_TEST_SUITE_P(Rows, MapNumberRead, testing::ValuesIn(plain_rows()), name_of);

TEST_P(MapNumberRead, AgreesWithTheStandardLibraryAndTheRangeOnEveryText)
{
    for (const std::string &text : hostile_texts()) {
        EXPECT_EQ(read(row, text.c_str()), parsed(row, text.c_str()))
            << testing::PrintToString(text);
    }
}

TEST_P(MapNumberRead, AcceptsTheEndsOfItsRangeInAnyBase)
{
    char text[32];
    std::snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(row.parsing.highest));
    EXPECT_EQ(read(row, text), row.parsing.highest);
    std::snprintf(text, sizeof text, "0x%llx",
                  static_cast<unsigned long long>(row.parsing.highest));
    EXPECT_EQ(read(row, text), row.parsing.highest);
    std::snprintf(text, sizeof text, "0%llo", static_cast<unsigned long long>(row.parsing.highest));
    EXPECT_EQ(read(row, text), row.parsing.highest);
    std::snprintf(text, sizeof text, "%lld", static_cast<long long>(row.parsing.lowest));
    EXPECT_EQ(read(row, text), static_cast<uint64_t>(row.parsing.lowest));
}

TEST_P(MapNumberRead, RefusesTextThatNoNulEnds)
{
    // Behind the value lies the key's text, which would go on with the number or end it.
    for (const char *key : {"", "2", " ", "x"}) {
        for (const char *value : {"", "1", "-1", "42", " ", " 1", "0x", "0x1", "abc"}) {
            SCOPED_TRACE(testing::PrintToString(value) + " under " + testing::PrintToString(key));
            ASSERT_EQ(replace(map, key, value), 0);
            expect_failed_read(ERANGE, &map, row, key);
        }
    }
}

TEST_P(MapNumberRead, EndsAtTheFirstNul)
{
    ASSERT_EQ(insert(map, "key", "1\0x\0"s), 0);
    ASSERT_EQ(insert(map, "unended", "1\0002"s), 0);
    ASSERT_EQ(insert(map, "empty", "\0001\0"s), 0);
    EXPECT_EQ(row.get(&map, "key", 0).value, 1U);
    EXPECT_EQ(row.get(&map, "unended", 0).value, 1U);
    expect_failed_read(ERANGE, &map, row, "empty");
}

TEST_P(MapNumberRead, RefusesNullForMapKeyOrOutput)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_failed_read(EINVAL, nullptr, row, "key");
    expect_failed_read(EINVAL, &map, row, nullptr);
    expect_failed_read(EINVAL, nullptr, row, nullptr);
    EXPECT_EQ(row.get_into_null(&map, "key"), EINVAL);
    EXPECT_EQ(row.get_into_null(&map, nullptr), EINVAL);
    EXPECT_EQ(row.get_into_null(nullptr, nullptr), EINVAL);
}

TEST_P(MapNumberRead, ChecksItsArgumentsBeforeItLooksTheKeyUp)
{
    EXPECT_EQ(row.get_into_null(&map, "missing"), EINVAL);
}

TEST_P(MapNumberRead, RefusesAReleasedMap)
{
    const map_t released = released_map();
    expect_failed_read(EINVAL, &released, row, "key");
}

TEST_P(MapNumberRead, ReportsAMissingKey)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    expect_failed_read(ENOENT, &map, row, "other");
}

TEST_P(MapNumberRead, NeitherConsultsNorClearsErrno)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    for (const int stale : {EDOM, ERANGE}) {
        errno = stale;
        const Reading reading = row.get(&map, "key", 0);
        EXPECT_EQ(errno, stale);
        EXPECT_EQ(reading.result, 0);
        EXPECT_EQ(reading.value, 1U);
    }
}

TEST_P(MapNumberRead, ChangesAndAllocatesNothing)
{
    ASSERT_EQ(row.insert(&map, "key", 1), 0);
    const allocations::Log log;
    expect_unchanged(0, [&] { return row.get(&map, "key", 0).result; });
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MapNumberText : public NumberTest {
  protected:
    // Every row reads the value as the standard library and the row's range have it.
    void expect_read_as_parsed(const char *key, const std::string &bytes)
    {
        ASSERT_EQ(replace(map, key, bytes), 0);
        for (const Row &row : plain_rows()) {
            const std::optional<uint64_t> expected = parsed_bytes(row, bytes);
            const Reading reading = row.get(&map, key, 0);
            ASSERT_EQ(reading.result, expected ? 0 : ERANGE)
                << row << ' ' << testing::PrintToString(bytes);
            ASSERT_EQ(reading.value, expected.value_or(0))
                << row << ' ' << testing::PrintToString(bytes);
        }
    }
};

TEST_F(MapNumberText, OfAUint16IsThatOfItsLow16Bits)
{
    EXPECT_EQ(map_insert_uint16(&map, "key", 70000), 0);
    EXPECT_EQ(value_of(map, "key"), "4464\0"s);
}

TEST_F(MapNumberText, OfAnInt8IsThatOfItsLow8BitsWithTheirSign)
{
    EXPECT_EQ(map_insert_int8(&map, "key", 200), 0);
    EXPECT_EQ(value_of(map, "key"), "-56\0"s);
}

TEST_F(MapNumberText, OfABoolIsItsFirstDigit)
{
    for (const auto &[value, text] : telling_bools()) {
        EXPECT_EQ(map_replace_bool(&map, "key", value), 0);
        EXPECT_EQ(value_of(map, "key"), text) << value;
    }
}

TEST_F(MapNumberText, OfTheWidestNumbersIsWhole)
{
    EXPECT_EQ(map_replace_uint64(&map, "key", UINT64_MAX), 0);
    EXPECT_EQ(value_of(map, "key"), "18446744073709551615\0"s);
    EXPECT_EQ(map_replace_int64(&map, "key", INT64_MIN), 0);
    EXPECT_EQ(value_of(map, "key"), "-9223372036854775808\0"s);
    EXPECT_EQ(map_replace_uint32(&map, "key", UINT32_MAX), 0);
    EXPECT_EQ(value_of(map, "key"), "4294967295\0"s);
    EXPECT_EQ(map_replace_uint(&map, "key", UINT_MAX), 0);
    EXPECT_EQ(value_of(map, "key"), "4294967295\0"s);
    EXPECT_EQ(map_replace_int(&map, "key", INT_MIN), 0);
    EXPECT_EQ(value_of(map, "key"), "-2147483648\0"s);
}

TEST_F(MapNumberText, OfABoolAbove1IsRefusedByItsRead)
{
    ASSERT_EQ(map_insert_bool(&map, "key", 7), 0);
    expect_failed_read(ERANGE, &map, row_of("bool"), "key");
}

TEST_F(MapNumberText, IsReadAsAUint8UpTo255)
{
    EXPECT_EQ(read("uint8", "255"), 255U);
    EXPECT_EQ(read("uint8", "256"), refused);
    EXPECT_EQ(read("uint8", "0xff"), 255U);
    EXPECT_EQ(read("uint8", "010"), 8U);
    EXPECT_EQ(read("uint8", "08"), refused);
}

TEST_F(MapNumberText, IsReadAsANarrowSignedNumberWithinItsRange)
{
    EXPECT_EQ(read("int16", "-32768"), static_cast<uint64_t>(-32768));
    EXPECT_EQ(read("int16", "-32769"), refused);
    EXPECT_EQ(read("int16", "32767"), 32767U);
    EXPECT_EQ(read("int16", "32768"), refused);
    EXPECT_EQ(read("int8", "-128"), static_cast<uint64_t>(-128));
    EXPECT_EQ(read("int8", "-129"), refused);
    EXPECT_EQ(read("char", "-128"), static_cast<uint64_t>(-128));
    EXPECT_EQ(read("char", "128"), refused);
}

TEST_F(MapNumberText, WithAMinusIsNoUint32OrUint)
{
    EXPECT_EQ(read("uint32", "-1"), refused);
    EXPECT_EQ(read("uint", "-1"), refused);
    EXPECT_EQ(read("uint32", "4294967295"), 4294967295U);
    EXPECT_EQ(read("uint", "4294967295"), 4294967295U);
}

// The two 32-bit unsigned types differ in their parser: only an unsigned one wraps such a text.
TEST_F(MapNumberText, ThatWrapsIntoTheRangeIsReadByTheUnsignedParserAlone)
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

TEST_F(MapNumberText, BeyondThe64BitRangesIsReadAsTheirNearestEnd)
{
    EXPECT_EQ(read("uint64", "-1"), UINT64_MAX);
    EXPECT_EQ(read("uint64", "18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(read("uint64", "18446744073709551616"), UINT64_MAX);
    EXPECT_EQ(read("int64", "99999999999999999999"), static_cast<uint64_t>(INT64_MAX));
    EXPECT_EQ(read("int64", "-99999999999999999999"), static_cast<uint64_t>(INT64_MIN));
}

TEST_F(MapNumberText, IsReadAsABoolIfItIs0Or1)
{
    EXPECT_EQ(read("bool", "0"), 0U);
    EXPECT_EQ(read("bool", "1"), 1U);
    EXPECT_EQ(read("bool", "2"), refused);
    EXPECT_EQ(read("bool", "-1"), refused);
    EXPECT_EQ(read("bool", " 1"), 1U);
    EXPECT_EQ(read("bool", "1 "), refused);
}

TEST_F(MapNumberText, MayHaveBlanksBeforeItButNothingBehind)
{
    for (const Row &row : plain_rows()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(row, "\t\n +1"), 1U);
        EXPECT_EQ(read(row, "1\n"), refused);
        EXPECT_EQ(read(row, "1 "), refused);
        EXPECT_EQ(read(row, "1x"), refused);
    }
}

TEST_F(MapNumberText, WithoutANumberIsRefused)
{
    for (const Row &row : plain_rows()) {
        SCOPED_TRACE(row.name);
        for (const char *text : {"", " ", "+", "-", "x", "- 1", "0x", "\240", "\261"}) {
            EXPECT_EQ(read(row, text), refused) << testing::PrintToString(text);
        }
    }
}

// Behind the value lies the key's text: what was read there would go on with the number, or end it.
TEST_F(MapNumberText, AtRandomIsReadAsTheStandardLibraryAndTheRangeHaveIt)
{
    // 32-bit targets are emulated.
    const int texts = sizeof(void *) == 4 ? 20'000 : 100'000;
    RandomNumberBytes random;
    for (int i = 0; i < texts; ++i) {
        const std::string bytes = random.next();
        const char *key = i % 2 == 0 ? "7" : "";
        ASSERT_NO_FATAL_FAILURE(expect_read_as_parsed(key, bytes));
    }
}

TEST_F(MapNumberText, OfEveryLengthIsReadAsTheStandardLibraryAndTheRangeHaveIt)
{
    for (std::size_t digits = 1; digits <= 30; ++digits) {
        for (const char digit : {'0', '1', '9'}) {
            for (const char *sign : {"", "-", "+"}) {
                const std::string text = sign + std::string(digits, digit);
                for (const Row &row : plain_rows()) {
                    EXPECT_EQ(read(row, text.c_str()), parsed(row, text.c_str()))
                        << row << ' ' << text;
                }
            }
        }
    }
}

TEST_F(MapNumberText, WithAnotherByteInAnyPlaceIsReadAsTheStandardLibraryAndTheRangeHaveIt)
{
    for (std::size_t digits = 1; digits <= 20; ++digits) {
        for (std::size_t place = 0; place < digits; ++place) {
            for (const char other : "\1 +-/:;?@ex\x80\xAF\xB0\xB9\xBA\xCF\xFF") {
                std::string bytes = "98765432109876543210"s.substr(0, digits) + '\0';
                bytes[place] = other;
                ASSERT_NO_FATAL_FAILURE(expect_read_as_parsed("key", bytes));
            }
        }
    }
}

TEST_F(MapNumberText, IsOneForEveryTypeThatRendersItAlike)
{
    for (const Row &stored : all_rows()) {
        ASSERT_EQ(stored.replace(&map, "key", 1), 0);
        for (const Row &compared : all_rows()) {
            EXPECT_EQ(compared.cmp(&map, "key", 1), 0) << compared << " with " << stored;
            EXPECT_EQ(compared.get(&map, "key", 0).value, 1U) << compared << " of " << stored;
        }
    }
}

TEST_F(MapNumberText, ComparesEqualToTheSameTextHoweverStored)
{
    ASSERT_EQ(map_insert_uint8(&map, "number", 7), 0);
    ASSERT_EQ(map_insert_str(&map, "text", "7"), 0);
    ASSERT_EQ(insert(map, "byte", "7"), 0);
    EXPECT_EQ(map_cmp_uint8(&map, "number", 7), 0);
    EXPECT_EQ(map_cmp_uint8(&map, "text", 7), 0);
    EXPECT_LT(map_cmp_uint8(&map, "byte", 7), 0);
}

class MapTime : public MapTest {
  protected:
    int32_t seconds = 0x5A5A5A5A;
};

TEST_F(MapTime, IsStoredAsAnInt32)
{
    EXPECT_EQ(map_insert_time(&map, "key", -5), 0);
    EXPECT_EQ(map_cmp_int32(&map, "key", -5), 0);
    EXPECT_EQ(map_replace_time(&map, "key", INT32_MAX), 0);
    EXPECT_EQ(value_of(map, "key"), "2147483647\0"s);
}

TEST_F(MapTime, IsReadBack)
{
    for (const int32_t value : {0, 1, -1, 1700000000, INT32_MIN, INT32_MAX}) {
        ASSERT_EQ(map_replace_time(&map, "key", value), 0);
        EXPECT_EQ(map_get_time(&map, "key", &seconds), 0);
        EXPECT_EQ(seconds, value);
    }
}

TEST_F(MapTime, IsReadAsAnInt32OrAsZero)
{
    for (const std::string &text : hostile_texts()) {
        ASSERT_EQ(map_replace_str(&map, "key", text.c_str()), 0);
        const std::optional<uint64_t> expected = parsed(row_of("int32"), text.c_str());
        seconds = 0x5A5A5A5A;
        ASSERT_EQ(map_get_time(&map, "key", &seconds), expected ? 0 : ERANGE)
            << testing::PrintToString(text);
        ASSERT_EQ(widened(seconds), expected.value_or(0)) << testing::PrintToString(text);
    }
}

TEST_F(MapTime, IsOnlyTestedIfItHasNowhereToGo)
{
    ASSERT_EQ(map_insert_time(&map, "time", 1), 0);
    ASSERT_EQ(map_insert_str(&map, "text", "soon"), 0);
    ASSERT_EQ(map_insert_str(&map, "far", "2147483648"), 0);
    EXPECT_EQ(map_get_time(&map, "time", nullptr), 0);
    EXPECT_EQ(map_get_time(&map, "text", nullptr), ERANGE);
    EXPECT_EQ(map_get_time(&map, "far", nullptr), ERANGE);
    EXPECT_EQ(map_get_time(&map, "missing", nullptr), ENOENT);
    EXPECT_EQ(map_get_time(&map, nullptr, nullptr), EINVAL);
    EXPECT_EQ(map_get_time(nullptr, nullptr, nullptr), EINVAL);
}

TEST_F(MapTime, IsZeroForAMissingKey)
{
    EXPECT_EQ(map_get_time(&map, "missing", &seconds), ENOENT);
    EXPECT_EQ(seconds, 0);
}

TEST_F(MapTime, IsZeroForTextThatNoNulEnds)
{
    ASSERT_EQ(insert(map, "2", "1"), 0);
    EXPECT_EQ(map_get_time(&map, "2", &seconds), ERANGE);
    EXPECT_EQ(seconds, 0);
}

TEST_F(MapTime, IsZeroForNullMapOrKey)
{
    ASSERT_EQ(map_insert_time(&map, "key", 1), 0);
    EXPECT_EQ(map_get_time(nullptr, "key", &seconds), EINVAL);
    EXPECT_EQ(seconds, 0);
    seconds = 1;
    EXPECT_EQ(map_get_time(&map, nullptr, &seconds), EINVAL);
    EXPECT_EQ(seconds, 0);
}

TEST_F(MapTime, IsZeroForAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_get_time(&released, "key", &seconds), EINVAL);
    EXPECT_EQ(seconds, 0);
}
