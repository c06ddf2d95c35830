// Typed numbers, as the multimap and the arraymap have them alike.
#include "list_families.hpp"
#include "typed_rows.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// The functions of one type.
template <class Container>
struct Row : NumberRow {
    std::function<int(Container *map, const char *key, uint64_t value)> insert;
    std::function<int(Container *map, const char *key, uint64_t value)> remove;
    // Reads into a variable of the type that holds `held`.
    std::function<Reading(const Container *map, const char *key, uint32_t index, uint64_t held)>
        get;
    std::function<int(const Container *map, const char *key, uint32_t index)> get_into_null;
};

template <class Container, class Argument, class Output>
Row<Container> make_row(const char *name, int (*insert)(Container *, const char *, Argument),
                        int (*remove)(Container *, const char *, Argument),
                        int (*get)(const Container *, const char *, uint32_t, Output *))
{
    return {
        number_row(name),
        [=](Container *map, const char *key, uint64_t value) {
            return insert(map, key, static_cast<Argument>(value));
        },
        [=](Container *map, const char *key, uint64_t value) {
            return remove(map, key, static_cast<Argument>(value));
        },
        [=](const Container *map, const char *key, uint32_t index, uint64_t held) {
            return read_over<Output>(held, [=](Output *out) { return get(map, key, index, out); });
        },
        [=](const Container *map, const char *key, uint32_t index) {
            return get(map, key, index, nullptr);
        },
    };
}

#define LIST_ROW(family, type)                                                                     \
    make_row(#type, family##_insert_##type, family##_delete_##type, family##_get_##type)

#define LIST_ROWS(family)                                                                          \
    {                                                                                              \
        LIST_ROW(family, time), LIST_ROW(family, uint64), LIST_ROW(family, int64),                 \
            LIST_ROW(family, uint32), LIST_ROW(family, int32), LIST_ROW(family, uint16),           \
            LIST_ROW(family, int16), LIST_ROW(family, uint8), LIST_ROW(family, int8),              \
            LIST_ROW(family, bool), LIST_ROW(family, uint), LIST_ROW(family, int),                 \
            LIST_ROW(family, uchar), LIST_ROW(family, char)                                        \
    }

const std::vector<Row<multimap_t>> multimap_rows = LIST_ROWS(multimap);
const std::vector<Row<arraymap_t>> arraymap_rows = LIST_ROWS(arraymap);

const std::vector<Row<multimap_t>> &rows_of(const multimap_t &)
{
    return multimap_rows;
}

const std::vector<Row<arraymap_t>> &rows_of(const arraymap_t &)
{
    return arraymap_rows;
}

template <class Family>
class NumberTest : public Family::Test {
  protected:
    using Container = typename Family::Container;
    using FamilyRow = Row<Container>;

    // The check finds and may leave anything in the container but its limits.
    void for_each_row(const std::function<void(const FamilyRow &)> &check)
    {
        for (const FamilyRow &row : rows_of(this->map)) {
            SCOPED_TRACE(row.name);
            check(row);
            EXPECT_EQ(Family::clear(&this->map), 0);
        }
    }

    // All but time, whose read has rules of its own.
    void for_each_plain_row(const std::function<void(const FamilyRow &)> &check)
    {
        for_each_row([&](const FamilyRow &row) {
            if (row.name != "time"s) {
                check(row);
            }
        });
    }

    const FamilyRow &row_of(std::string_view name)
    {
        const auto &rows = rows_of(this->map);
        return *std::find_if(rows.begin(), rows.end(),
                             [=](const FamilyRow &row) { return row.name == name; });
    }

    // The value that the row reads from a text, which stands behind another value; none if it refuses
    // it, which gives 34 and leaves the output as it was.
    std::optional<uint64_t> read(const FamilyRow &row, const char *text)
    {
        EXPECT_EQ(Family::clear(&this->map), 0);
        fill(this->map, {{"key", {"no number\0"s}}});
        EXPECT_EQ(Family::insert_str(&this->map, "key", text), 0);
        const Reading reading = row.get(&this->map, "key", 1, 0);
        if (reading.result == 0) {
            return reading.value;
        }
        expect_failed_read(ERANGE, &this->map, row, "key", 1);
        return std::nullopt;
    }

    std::optional<uint64_t> read(const char *type, const char *text)
    {
        return read(row_of(type), text);
    }

    void expect_failed_read(int result, const Container *from, const FamilyRow &row,
                            const char *key, uint32_t position)
    {
        expect_failed_reading(result,
                              [&](uint64_t held) { return row.get(from, key, position, held); });
    }
};

} // namespace

template <class Family>
class ListNumberInsert : public NumberTest<Family> {
};

TYPED_TEST_SUITE(ListNumberInsert, ListFamilies, TypeName);

TYPED_TEST(ListNumberInsert, StoresTheTextWithItsNul)
{
    this->for_each_row([this](const auto &row) {
        for (const uint64_t value : telling_numbers()) {
            ASSERT_EQ(row.insert(&this->map, "key", value), 0) << value;
            EXPECT_EQ(values_of(this->map, "key"), std::vector{rendered(row, value)}) << value;
            ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
        }
    });
}

TYPED_TEST(ListNumberInsert, AddsBehindTheValuesOfTheKey)
{
    this->for_each_row([this](const auto &row) {
        fill(this->map, {{"key", {"1", "text\0"s}}});
        EXPECT_EQ(row.insert(&this->map, "key", 1), 0);
        EXPECT_EQ(row.insert(&this->map, "key", 0), 0);
        EXPECT_EQ(values_of(this->map, "key"), (std::vector{"1"s, "text\0"s, "1\0"s, "0\0"s}));
    });
}

TYPED_TEST(ListNumberInsert, AllocatesNothingButTheValueAndANewKey)
{
    this->for_each_row([this](const auto &row) {
        const uint64_t widest = widest_number(row);
        const std::size_t key = sizeof(typename TypeParam::KeyNode) + sizeof "key";
        const std::size_t node = sizeof(typename TypeParam::ValueNode);
        const std::size_t value = node + rendered(row, widest).size();
        {
            const allocations::Log log;
            EXPECT_EQ(row.insert(&this->map, "key", widest), 0);
            std::vector<std::size_t> sizes = log.sizes();
            std::sort(sizes.begin(), sizes.end());
            EXPECT_EQ(sizes, (std::vector{std::min(key, value), std::max(key, value)}));
        }
        const allocations::Log log;
        EXPECT_EQ(row.insert(&this->map, "key", 1), 0);
        EXPECT_EQ(log.sizes(), (std::vector{node + sizeof "1"}));
    });
}

TYPED_TEST(ListNumberInsert, KeepsToTheKeyLimit)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    this->for_each_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        this->expect_unchanged(1, [&] { return row.insert(&this->map, "new", 1); });
        EXPECT_EQ(row.insert(&this->map, "key", 0), 0);
    });
}

TYPED_TEST(ListNumberInsert, RefusesNullForMapOrKey)
{
    this->for_each_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        this->expect_unchanged(EINVAL, [&] { return row.insert(nullptr, "key", 0); });
        this->expect_unchanged(EINVAL, [&] { return row.insert(&this->map, nullptr, 0); });
        this->expect_unchanged(EINVAL, [&] { return row.insert(nullptr, nullptr, 0); });
    });
}

TYPED_TEST(ListNumberInsert, RefusesAReleasedContainer)
{
    auto released = TypeParam::released();
    this->for_each_row([&](const auto &row) {
        EXPECT_EQ(row.insert(&released, "key", 1), EINVAL);
        EXPECT_EQ(released.buckets, nullptr);
    });
}

template <class Family>
class ListNumberDelete : public NumberTest<Family> {
};

TYPED_TEST_SUITE(ListNumberDelete, ListFamilies, TypeName);

TYPED_TEST(ListNumberDelete, RemovesTheVeryTextAlone)
{
    this->for_each_row([this](const auto &row) {
        for (const uint64_t value : telling_numbers()) {
            SCOPED_TRACE(value);
            const std::string text = rendered(row, value);
            std::vector<std::string> values = near_misses(text);
            values.insert(values.begin() + 2, text);
            fill(this->map, {{"key", values}});
            EXPECT_EQ(row.remove(&this->map, "key", value), 0);
            EXPECT_EQ(values_of(this->map, "key"), near_misses(text));
            this->expect_unchanged(ENOENT, [&] { return row.remove(&this->map, "key", value); });
            ASSERT_EQ(TypeParam::clear(&this->map), 0);
        }
    });
}

TYPED_TEST(ListNumberDelete, RemovesTheKeyWithItsLastNumber)
{
    this->for_each_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        ASSERT_EQ(row.insert(&this->map, "other key", 1), 0);
        const allocations::Log log;
        EXPECT_EQ(row.remove(&this->map, stored_key(this->map, "key"), 1), 0);
        EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
        EXPECT_EQ(content_of(this->map), (std::vector<KeyValues>{{"other key", {"1\0"s}}}));
    });
}

TYPED_TEST(ListNumberDelete, ReportsAMissingNumberOrKey)
{
    this->for_each_row([this](const auto &row) {
        fill(this->map, {{"key", near_misses("1\0"s)}, {"other key", {"1\0"s}}});
        this->expect_unchanged(ENOENT, [&] { return row.remove(&this->map, "key", 1); });
        this->expect_unchanged(ENOENT, [&] { return row.remove(&this->map, "missing", 1); });
    });
}

TYPED_TEST(ListNumberDelete, RefusesNullForMapOrKey)
{
    this->for_each_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        this->expect_unchanged(EINVAL, [&] { return row.remove(nullptr, "key", 1); });
        this->expect_unchanged(EINVAL, [&] { return row.remove(&this->map, nullptr, 1); });
        this->expect_unchanged(EINVAL, [&] { return row.remove(nullptr, nullptr, 1); });
    });
}

TYPED_TEST(ListNumberDelete, RefusesAReleasedContainer)
{
    auto released = TypeParam::released();
    this->for_each_row(
        [&](const auto &row) { EXPECT_EQ(row.remove(&released, "key", 1), EINVAL); });
}

template <class Family>
class ListNumberRead : public NumberTest<Family> {
};

TYPED_TEST_SUITE(ListNumberRead, ListFamilies, TypeName);

TYPED_TEST(ListNumberRead, AgreesWithTheStandardLibraryAndTheRangeOnEveryText)
{
    this->for_each_plain_row([this](const auto &row) {
        for (const std::string &text : hostile_texts()) {
            EXPECT_EQ(this->read(row, text.c_str()), parsed(row, text.c_str()))
                << testing::PrintToString(text);
        }
    });
}

// A value ends with its memory here.
TYPED_TEST(ListNumberRead, AgreesWithTheStandardLibraryAndTheRangeOnBytesAtRandom)
{
    RandomNumberBytes random;
    for (int i = 0; i < 2000; ++i) {
        const std::string bytes = random.next();
        fill(this->map, {{"key", {bytes}}});
        for (const auto &row : rows_of(this->map)) {
            const std::optional<uint64_t> expected = parsed_bytes(row, bytes);
            const Reading reading = row.get(&this->map, "key", 0, 0);
            ASSERT_EQ(reading.result, expected ? 0 : ERANGE)
                << row << ' ' << testing::PrintToString(bytes);
            ASSERT_EQ(reading.value, expected.value_or(0))
                << row << ' ' << testing::PrintToString(bytes);
        }
        ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
    }
}

TYPED_TEST(ListNumberRead, GivesWhatEveryNarrowArgumentWasCutTo)
{
    this->for_each_plain_row([this](const auto &row) {
        if (row.rendering.bits >= 32) {
            return;
        }
        for (uint64_t low = 0; low >> row.rendering.bits == 0; ++low) {
            // Every other one has bits above, too.
            const uint64_t argument = low % 2 == 0 ? low : low << row.rendering.bits | low;
            ASSERT_EQ(row.insert(&this->map, "key", argument), 0);
            const std::string text = rendered(row, argument);
            ASSERT_STREQ(stored_text(this->map, "key", 0), text.c_str());
            const std::optional<uint64_t> expected = parsed(row, text.c_str());
            const Reading reading = row.get(&this->map, "key", 0, 0);
            ASSERT_EQ(reading.result, expected ? 0 : ERANGE) << low;
            ASSERT_EQ(reading.value, expected.value_or(0)) << low;
            ASSERT_EQ(row.remove(&this->map, "key", argument), 0);
        }
    });
}

TYPED_TEST(ListNumberRead, AcceptsTheEndsOfItsRangeInAnyBase)
{
    this->for_each_plain_row([this](const auto &row) {
        const unsigned long long highest = row.parsing.highest;
        char text[32];
        for (const char *format : {"%llu", "0x%llx", "0%llo"}) {
            std::snprintf(text, sizeof text, format, highest);
            EXPECT_EQ(this->read(row, text), row.parsing.highest) << text;
        }
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(row.parsing.lowest));
        EXPECT_EQ(this->read(row, text), static_cast<uint64_t>(row.parsing.lowest));
    });
}

TYPED_TEST(ListNumberRead, GivesBackWhatWasStoredAtThePosition)
{
    this->for_each_plain_row([this](const auto &row) {
        fill(this->map,
             {{"key", {"no number\0"s, "1\0"s, "0\0"s, "+1\0"s}}, {"other key", {"0\0"s}}});
        for (const auto &[position, value] :
             {std::pair(1U, 1U), std::pair(2U, 0U), std::pair(3U, 1U)}) {
            const Reading reading = row.get(&this->map, "key", position, 1 - value);
            EXPECT_EQ(reading.result, 0) << position;
            EXPECT_EQ(reading.value, value) << position;
        }
        this->expect_failed_read(ERANGE, &this->map, row, "key", 0);
    });
}

TYPED_TEST(ListNumberRead, ReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    this->for_each_plain_row([this](const auto &row) {
        fill(this->map, {{"key", {"0\0"s, "1\0"s}}});
        this->expect_failed_read(ENOENT, &this->map, row, "key", 2);
        this->expect_failed_read(ENOENT, &this->map, row, "key", UINT32_MAX);
        this->expect_failed_read(ENOENT, &this->map, row, "missing", 0);
    });
}

TYPED_TEST(ListNumberRead, RefusesTextThatNoNulEnds)
{
    this->for_each_plain_row([this](const auto &row) {
        for (const std::string &text : {""s, "1"s, "-1"s, "42"s, " "s, " 1"s, "0x"s, "0x1"s}) {
            SCOPED_TRACE(testing::PrintToString(text));
            fill(this->map, {{"key", {text + '\0'}}});
            // The NUL stays where it is, behind the value's end.
            TypeParam::entry(&this->map, "key")->values.first->len -= 1;
            this->expect_failed_read(ERANGE, &this->map, row, "key", 0);
            ASSERT_EQ(TypeParam::clear(&this->map), 0);
        }
    });
}

TYPED_TEST(ListNumberRead, EndsAtTheFirstNul)
{
    this->for_each_plain_row([this](const auto &row) {
        fill(this->map, {{"key", {"1\0x\0"s, "1\0002"s, "\0001\0"s}}});
        EXPECT_EQ(row.get(&this->map, "key", 0, 0).value, 1U);
        EXPECT_EQ(row.get(&this->map, "key", 1, 0).value, 1U);
        this->expect_failed_read(ERANGE, &this->map, row, "key", 2);
    });
}

TYPED_TEST(ListNumberRead, RefusesNullForMapOrKey)
{
    this->for_each_plain_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        this->expect_failed_read(EINVAL, nullptr, row, "key", 0);
        this->expect_failed_read(EINVAL, &this->map, row, nullptr, 0);
        this->expect_failed_read(EINVAL, nullptr, row, nullptr, 0);
    });
}

TYPED_TEST(ListNumberRead, RefusesNullForTheOutputBeforeItLooksAnythingUp)
{
    this->for_each_plain_row([this](const auto &row) {
        fill(this->map, {{"key", {"1\0"s, "no number\0"s}}});
        EXPECT_EQ(row.get_into_null(&this->map, "key", 0), EINVAL);
        EXPECT_EQ(row.get_into_null(&this->map, "key", 1), EINVAL);
        EXPECT_EQ(row.get_into_null(&this->map, "key", 2), EINVAL);
        EXPECT_EQ(row.get_into_null(&this->map, "missing", 0), EINVAL);
        EXPECT_EQ(row.get_into_null(nullptr, nullptr, 0), EINVAL);
    });
}

TYPED_TEST(ListNumberRead, RefusesAReleasedContainer)
{
    const auto released = TypeParam::released();
    this->for_each_plain_row(
        [&](const auto &row) { this->expect_failed_read(EINVAL, &released, row, "key", 0); });
}

TYPED_TEST(ListNumberRead, NeitherConsultsNorClearsErrno)
{
    this->for_each_plain_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        for (const int stale : {EDOM, ERANGE}) {
            errno = stale;
            const Reading reading = row.get(&this->map, "key", 0, 0);
            EXPECT_EQ(errno, stale);
            EXPECT_EQ(reading.result, 0);
            EXPECT_EQ(reading.value, 1U);
        }
    });
}

TYPED_TEST(ListNumberRead, ChangesAndAllocatesNothing)
{
    this->for_each_plain_row([this](const auto &row) {
        ASSERT_EQ(row.insert(&this->map, "key", 1), 0);
        const allocations::Log log;
        this->expect_unchanged(0, [&] { return row.get(&this->map, "key", 0, 0).result; });
        EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
    });
}

template <class Family>
class ListNumberText : public NumberTest<Family> {
  protected:
    // Stores the value as the type does; the text must be as expected, and it is what the type deletes.
    void expect_stored(const char *type, uint64_t value, const std::string &text)
    {
        const auto &row = this->row_of(type);
        EXPECT_EQ(row.insert(&this->map, "key", value), 0);
        EXPECT_EQ(values_of(this->map, "key"), std::vector{text}) << value;
        EXPECT_EQ(row.remove(&this->map, "key", value), 0);
        EXPECT_EQ(this->map.numkeys, 0);
    }
};

TYPED_TEST_SUITE(ListNumberText, ListFamilies, TypeName);

TYPED_TEST(ListNumberText, OfAUint16IsThatOfItsLow16Bits)
{
    this->expect_stored("uint16", 70000, "4464\0"s);
}

TYPED_TEST(ListNumberText, OfAnInt8IsThatOfItsLow8BitsWithTheirSign)
{
    this->expect_stored("int8", 200, "-56\0"s);
}

TYPED_TEST(ListNumberText, OfABoolIsItsFirstDigit)
{
    for (const auto &[value, text] : telling_bools()) {
        this->expect_stored("bool", value, text);
    }
}

TYPED_TEST(ListNumberText, OfTheWidestNumbersIsWhole)
{
    this->expect_stored("uint64", UINT64_MAX, "18446744073709551615\0"s);
    this->expect_stored("int64", uint64_t{1} << 63, "-9223372036854775808\0"s);
    this->expect_stored("uint32", UINT32_MAX, "4294967295\0"s);
    this->expect_stored("uint", UINT32_MAX, "4294967295\0"s);
    this->expect_stored("int", uint64_t{1} << 31, "-2147483648\0"s);
}

TYPED_TEST(ListNumberText, OfABoolAbove1IsRefusedByItsRead)
{
    const auto &row = this->row_of("bool");
    ASSERT_EQ(row.insert(&this->map, "key", 2), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"2\0"s});
    this->expect_failed_read(ERANGE, &this->map, row, "key", 0);
}

TYPED_TEST(ListNumberText, IsOneForEveryTypeThatRendersItAlike)
{
    this->for_each_row([this](const auto &stored) {
        for (const auto &other : rows_of(this->map)) {
            SCOPED_TRACE(other.name);
            ASSERT_EQ(stored.insert(&this->map, "key", 1), 0);
            EXPECT_EQ(other.get(&this->map, "key", 0, 0).value, 1U);
            EXPECT_EQ(other.remove(&this->map, "key", 1), 0);
        }
    });
}

TYPED_TEST(ListNumberText, IsAValueOfItsOwnInAnotherSpelling)
{
    const auto &row = this->row_of("uint8");
    fill(this->map, {{"key", {"7", "07\0"s, "0x7\0"s, "+7\0"s}}});
    EXPECT_EQ(row.remove(&this->map, "key", 7), ENOENT);
    EXPECT_EQ(row.insert(&this->map, "key", 7), 0);
    EXPECT_EQ(values_of(this->map, "key").size(), 5U);
}

TYPED_TEST(ListNumberText, IsReadInAnyBaseButNotWithBlanksBehind)
{
    EXPECT_EQ(this->read("uint32", "0x10"), 16U);
    EXPECT_EQ(this->read("uint32", "16 "), refused);
    EXPECT_EQ(this->read("uint8", "255"), 255U);
    EXPECT_EQ(this->read("uint8", "256"), refused);
    EXPECT_EQ(this->read("uint8", "0x10"), 16U);
    EXPECT_EQ(this->read("uint8", "0xff"), 255U);
    EXPECT_EQ(this->read("uint8", "010"), 8U);
    EXPECT_EQ(this->read("uint8", "08"), refused);
}

TYPED_TEST(ListNumberText, IsReadAsANarrowSignedNumberWithinItsRange)
{
    EXPECT_EQ(this->read("int16", "-32768"), static_cast<uint64_t>(-32768));
    EXPECT_EQ(this->read("int16", "-32769"), refused);
    EXPECT_EQ(this->read("int16", "32768"), refused);
    EXPECT_EQ(this->read("int8", "-129"), refused);
    EXPECT_EQ(this->read("char", "-128"), static_cast<uint64_t>(-128));
}

TYPED_TEST(ListNumberText, WithAMinusIsNoUint32OrUint)
{
    EXPECT_EQ(this->read("uint32", "-1"), refused);
    EXPECT_EQ(this->read("uint", "-1"), refused);
    EXPECT_EQ(this->read("uint", "4294967295"), 4294967295U);
}

// The two 32-bit unsigned types differ in their parser: only an unsigned one wraps such a text.
TYPED_TEST(ListNumberText, ThatWrapsIntoTheRangeIsReadByTheUnsignedParserAlone)
{
    const char wrapping[] = "-18446744073709551615";
    for (const char *type : {"uint64", "uint32", "uint16", "uint8"}) {
        EXPECT_EQ(this->read(type, wrapping), 1U) << type;
    }
    for (const char *type : {"int32", "int16", "int8", "bool", "uint", "int", "uchar", "char"}) {
        EXPECT_EQ(this->read(type, wrapping), refused) << type;
    }
    EXPECT_EQ(this->read("int64", wrapping), static_cast<uint64_t>(INT64_MIN));
}

TYPED_TEST(ListNumberText, BeyondThe64BitRangesIsReadAsTheirNearestEnd)
{
    EXPECT_EQ(this->read("uint64", "-1"), UINT64_MAX);
    EXPECT_EQ(this->read("uint64", "18446744073709551616"), UINT64_MAX);
    EXPECT_EQ(this->read("int64", "99999999999999999999"), static_cast<uint64_t>(INT64_MAX));
    EXPECT_EQ(this->read("int64", "-99999999999999999999"), static_cast<uint64_t>(INT64_MIN));
}

TYPED_TEST(ListNumberText, IsReadAsABoolIfItIs0Or1)
{
    EXPECT_EQ(this->read("bool", "0"), 0U);
    EXPECT_EQ(this->read("bool", "1"), 1U);
    EXPECT_EQ(this->read("bool", "2"), refused);
    EXPECT_EQ(this->read("bool", "-1"), refused);
    EXPECT_EQ(this->read("bool", " 1"), 1U);
    EXPECT_EQ(this->read("bool", "1 "), refused);
}

TYPED_TEST(ListNumberText, OfNoCharactersOrWithLettersBehindIsRefused)
{
    this->for_each_plain_row([this](const auto &row) {
        EXPECT_EQ(this->read(row, ""), refused);
        EXPECT_EQ(this->read(row, "1abc"), refused);
    });
}

template <class Family>
class ListTime : public NumberTest<Family> {
  protected:
    int32_t seconds = 0x5A5A5A5A;
};

TYPED_TEST_SUITE(ListTime, ListFamilies, TypeName);

TYPED_TEST(ListTime, IsStoredAsAnInt32)
{
    EXPECT_EQ(TypeParam::insert_time(&this->map, "key", -5), 0);
    EXPECT_EQ(TypeParam::insert_time(&this->map, "key", INT32_MAX), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{"-5\0"s, "2147483647\0"s}));
    EXPECT_EQ(this->row_of("int32").get(&this->map, "key", 1, 0).value,
              static_cast<uint64_t>(INT32_MAX));
}

TYPED_TEST(ListTime, IsReadBackFromItsPosition)
{
    const std::vector<int32_t> values = {0, 1, -1, 1700000000, INT32_MIN, INT32_MAX};
    for (const int32_t value : values) {
        ASSERT_EQ(TypeParam::insert_time(&this->map, "key", value), 0);
    }
    for (uint32_t position = 0; position < values.size(); ++position) {
        EXPECT_EQ(TypeParam::get_time(&this->map, "key", position, &this->seconds), 0);
        EXPECT_EQ(this->seconds, values[position]);
    }
}

TYPED_TEST(ListTime, IsReadAsAnInt32OrAsZero)
{
    for (const std::string &text : hostile_texts()) {
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
        ASSERT_EQ(TypeParam::insert_str(&this->map, "key", text.c_str()), 0);
        const std::optional<uint64_t> expected = parsed(number_row("int32"), text.c_str());
        this->seconds = 0x5A5A5A5A;
        ASSERT_EQ(TypeParam::get_time(&this->map, "key", 0, &this->seconds), expected ? 0 : ERANGE)
            << testing::PrintToString(text);
        ASSERT_EQ(widened(this->seconds), expected.value_or(0)) << testing::PrintToString(text);
    }
}

TYPED_TEST(ListTime, IsOnlyTestedIfItHasNowhereToGo)
{
    fill(this->map, {{"key", {"1\0"s, "soon\0"s, "2147483648\0"s, "1"}}});
    EXPECT_EQ(TypeParam::get_time(&this->map, "key", 0, nullptr), 0);
    for (const uint32_t position : {1U, 2U, 3U}) {
        EXPECT_EQ(TypeParam::get_time(&this->map, "key", position, nullptr), ERANGE) << position;
    }
    EXPECT_EQ(TypeParam::get_time(&this->map, "key", 4, nullptr), ENOENT);
    EXPECT_EQ(TypeParam::get_time(&this->map, "missing", 0, nullptr), ENOENT);
    EXPECT_EQ(TypeParam::get_time(&this->map, nullptr, 0, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get_time(nullptr, nullptr, 0, nullptr), EINVAL);
}

TYPED_TEST(ListTime, IsZeroAfterEveryFailure)
{
    fill(this->map, {{"key", {"1\0"s, "soon\0"s, "2147483648\0"s, "1"}}});
    const auto released = TypeParam::released();
    const auto expect_zero = [&](int result, const typename TypeParam::Container *from,
                                 const char *key, uint32_t position) {
        this->seconds = 0x5A5A5A5A;
        EXPECT_EQ(TypeParam::get_time(from, key, position, &this->seconds), result);
        EXPECT_EQ(this->seconds, 0);
    };
    expect_zero(ERANGE, &this->map, "key", 1);
    expect_zero(ERANGE, &this->map, "key", 2);
    expect_zero(ERANGE, &this->map, "key", 3);
    expect_zero(ENOENT, &this->map, "key", 4);
    expect_zero(ENOENT, &this->map, "missing", 0);
    expect_zero(EINVAL, &this->map, nullptr, 0);
    expect_zero(EINVAL, nullptr, "key", 0);
    expect_zero(EINVAL, &released, "key", 0);
}
