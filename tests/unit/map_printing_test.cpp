#include "map_fixture.hpp"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <memory>
#include <sys/mman.h>

namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

// One call of the function given to map_print, with the arguments as they came.
struct PrintCall {
    void *context;
    std::string format;
    const char *text;
    int precision;
    const void *value;
};

std::vector<PrintCall> print_calls;

int record(void *context, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    PrintCall call{context, format, va_arg(arguments, const char *), 0, nullptr};
    if (call.format == "%s=%.*s\n") {
        call.precision = va_arg(arguments, int);
        call.value = va_arg(arguments, const void *);
    }
    va_end(arguments);
    print_calls.push_back(call);
    return -1;
}

std::string printed(const map_t *map)
{
    return written([=](FILE *stream) { map_print(map, print_to_file, stream); });
}

std::string dumped(const map_t *map)
{
    return written([=](FILE *stream) { map_dump(map, stream); });
}

std::string raw_dumped(const map_t *map)
{
    return written([=](FILE *stream) { map_raw_dump(map, stream); });
}

std::string sndumped(const map_t *map)
{
    std::vector<char> buffer(100000, '#');
    const uint32_t length = map_sndump(map, buffer.data(), static_cast<uint32_t>(buffer.size()));
    EXPECT_EQ(buffer.at(length), '\0');
    return std::string(buffer.data(), length);
}

struct Printer {
    const char *name;
    std::string (*print)(const map_t *map);
    bool has_header;
    const char *line_start;
};

const Printer sorted_printers[] = {
    {"Print", printed, false, ""},
    {"Dump", dumped, true, " "},
    {"Sndump", sndumped, true, " "},
};

const Printer all_printers[] = {
    sorted_printers[0],
    sorted_printers[1],
    sorted_printers[2],
    {"RawDump", raw_dumped, true, " "},
};

std::string expected_text(const Printer &printer, const map_t &map, const Lines &lines)
{
    std::string text = printer.has_header ? header_of(map) : "";
    for (const auto &[key, value] : lines) {
        text += printer.line_start + key + '=' + value + '\n';
    }
    return text;
}

std::string name_of(const testing::TestParamInfo<Printer> &info)
{
    return info.param.name;
}

class PrintingTest : public MapTest {
  protected:
    PrintingTest()
    {
        print_calls.clear();
    }

    // Entries whose iteration order is that of insertion.
    void fill(const Lines &lines)
    {
        ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
        for (const auto &[key, value] : lines) {
            ASSERT_EQ(insert(map, key.c_str(), value), 0);
        }
    }

    // A map of each kind that holds no key.
    void for_each_empty(const std::function<void(const map_t *)> &check)
    {
        Map released;
        ASSERT_EQ(map_destroy(&released), 0);
        for (const map_t *empty : {&map, &released, static_cast<map_t *>(nullptr)}) {
            SCOPED_TRACE(empty);
            check(empty);
        }
    }
};

class EveryPrinter : public PrintingTest, public testing::WithParamInterface<Printer> {};

class SortedPrinter : public PrintingTest, public testing::WithParamInterface<Printer> {};

class MapPrint : public PrintingTest {};

class MapPrintSorted : public PrintingTest {};

class MapDump : public PrintingTest {};

class MapRawDump : public PrintingTest {};

class MapSndump : public PrintingTest {};

// The function given to map_print_sorted, and what it was called with.
struct SortedCall {
    const map_t *map;
    FILE *stream;
    std::vector<const char *> keys;
    std::vector<int32_t> positions;
};

std::vector<SortedCall> sorted_calls;
int sorted_result;

int record_sorted(const map_t *map, FILE *stream, const map_sort_item_t *items, int32_t count)
{
    SortedCall call{map, stream, {}, {}};
    for (int32_t i = 0; i < count; ++i) {
        call.keys.push_back(items[i].key);
        call.positions.push_back(items[i].index);
    }
    sorted_calls.push_back(call);
    std::fputs("entries\n", stream);
    return sorted_result;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Map, EveryPrinter, testing::ValuesIn(all_printers), name_of);
INSTANTIATE_TEST_SUITE_P(Map, SortedPrinter, testing::ValuesIn(sorted_printers), name_of);

TEST_P(EveryPrinter, LooksNothingUpInACaseSensitiveMap)
{
    static int hashed;
    ASSERT_EQ(map_sethashfunc(&map,
                              [](const void *, const char *) {
                                  ++hashed;
                                  return 0U;
                              }),
              0);
    fill({{"b", "2"}, {"a", "1"}});
    hashed = 0;
    EXPECT_FALSE(GetParam().print(&map).empty());
    EXPECT_EQ(hashed, 0);
}

TEST_P(EveryPrinter, PrintsAValueUpToItsFirstNul)
{
    fill({{"k", "ab\0cd"s}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"k", "ab"}}));
}

TEST_P(EveryPrinter, PrintsTextWithoutItsStoredNul)
{
    fill({{"k", "text\0"s}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"k", "text"}}));
}

TEST_P(EveryPrinter, PrintsNothingBeyondAValueWithoutANul)
{
    fill({{"k", "abc"}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"k", "abc"}}));
}

TEST_P(EveryPrinter, PrintsAnEmptyKeyAndAnEmptyValue)
{
    fill({{"", "v"}, {"k", ""}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"", "v"}, {"k", ""}}));
}

TEST_P(EveryPrinter, PrintsConversionSpecificationsAsTheyStand)
{
    fill({{"%s%n", "%d=%*s%"}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"%s%n", "%d=%*s%"}}));
}

TEST_P(EveryPrinter, PrintsAnyBytes)
{
    fill({{"\x01\xe9=\n", "\n\x80\xff\t"}});
    EXPECT_EQ(GetParam().print(&map),
              expected_text(GetParam(), map, {{"\x01\xe9=\n", "\n\x80\xff\t"}}));
}

TEST_P(EveryPrinter, PrintsALongLineWhole)
{
    const std::string key(5000, 'k');
    const std::string value(7000, 'v');
    fill({{key, value}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{key, value}}));
}

TEST_P(EveryPrinter, LeavesTheMapAsItIs)
{
    fill({{"b", "1"}, {"a", "2"}});
    expect_unchanged(0, [&] {
        GetParam().print(&map);
        return 0;
    });
}

TEST_P(SortedPrinter, PrintsKeysInByteOrder)
{
    fill({{"b", "1"}, {"\xff", "2"}, {"ab", "3"}, {"\x80", "4"}, {"a", "5"}, {"c", "6"}});
    EXPECT_EQ(GetParam().print(&map),
              expected_text(
                  GetParam(), map,
                  {{"a", "5"}, {"ab", "3"}, {"b", "1"}, {"c", "6"}, {"\x80", "4"}, {"\xff", "2"}}));
}

TEST_P(SortedPrinter, PrintsKeysInByteOrderWhateverTheirBuckets)
{
    for (uint32_t size : {1U, 4U, 32U, 256U}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(map_clear(&map), 0);
        ASSERT_EQ(map_sethashsize(&map, size), 0);
        for (const char *key : {"b", "a", "c"}) {
            ASSERT_EQ(insert(map, key, "v"), 0);
        }
        EXPECT_EQ(GetParam().print(&map),
                  expected_text(GetParam(), map, {{"a", "v"}, {"b", "v"}, {"c", "v"}}));
    }
}

TEST_P(SortedPrinter, PrintsUpperCaseFirstInACaseInsensitiveMap)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    fill({{"a", "1"}, {"B", "2"}});
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"B", "2"}, {"a", "1"}}));
}

TEST_P(SortedPrinter, PrintsUnderEachSpellingWhatALookUpFinds)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    ASSERT_EQ(insert(map, "a", "1"), 0);
    ASSERT_EQ(insert(map, "A", "2"), 0);
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"A", "2"}, {"a", "1"}}));
    ASSERT_EQ(map_sethashfunc(&map, nullptr), 0);
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"A", "2"}, {"a", "2"}}));
    const allocations::Failure failure(0, allocations::Failure::for_good);
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {{"A", "2"}, {"a", "2"}}));
}

TEST_P(SortedPrinter, SkipsAKeyThatALookUpDoesNotFind)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_all_to_variable), 0);
    ASSERT_EQ(insert(map, "a", "1"), 0);
    variable_hash = 1;
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, {}));
    variable_hash = 0;
}

TEST_P(SortedPrinter, MakesOneAllocationHoweverManyKeysThereAre)
{
    for (int count : {1, 2, 1000}) {
        SCOPED_TRACE(count);
        while (map.numkeys < count) {
            const std::string key = std::to_string(map.numkeys * 7919 % 100003);
            ASSERT_EQ(insert(map, key.c_str(), "v"), 0);
        }
        EXPECT_EQ(allocations_of([&] { GetParam().print(&map); }), 1U);
    }
}

TEST_P(SortedPrinter, PrintsAThousandKeysInByteOrder)
{
    Lines lines;
    for (int i = 0; i < 1000; ++i) {
        lines.emplace_back(std::to_string(i * 7919 % 100003), std::to_string(i));
        ASSERT_EQ(insert(map, lines.back().first.c_str(), lines.back().second), 0);
    }
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(GetParam().print(&map), expected_text(GetParam(), map, lines));
}

TEST_P(SortedPrinter, PrintsInIterationOrderWithoutMemory)
{
    const Lines in_iteration_order = {{"c", "1"}, {"a", "2\0"s}, {"b", "3"}};
    fill(in_iteration_order);
    std::string text;
    bool failed;
    {
        allocations::Failure no_memory(0);
        text = GetParam().print(&map);
        failed = no_memory.happened();
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(text, expected_text(GetParam(), map, {{"c", "1"}, {"a", "2"}, {"b", "3"}}));
}

TEST_F(MapPrint, GivesTheFunctionItsContextAndEachEntryInOrder)
{
    fill({{"b", "x\0y"s}, {"a", ""}});
    int context = 0;
    map_print(&map, record, &context);
    ASSERT_EQ(print_calls.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const map_entry_t *entry = map_get_entry(&map, i == 0 ? "a" : "b");
        EXPECT_EQ(print_calls[i].context, &context);
        EXPECT_EQ(print_calls[i].format, "%s=%.*s\n");
        EXPECT_EQ(print_calls[i].text, entry->key);
        EXPECT_EQ(print_calls[i].precision, i == 0 ? 0 : 3);
        EXPECT_EQ(print_calls[i].value, entry->value);
    }
}

TEST_F(MapPrint, GivesANullContextOn)
{
    fill({{"a", "v"}});
    map_print(&map, record, nullptr);
    ASSERT_EQ(print_calls.size(), 1U);
    EXPECT_EQ(print_calls[0].context, nullptr);
    EXPECT_STREQ(print_calls[0].text, "a");
}

TEST_F(MapPrint, GivesTheContextTwiceWithTheNoticeOfAnEmptyMap)
{
    char prefix[] = "dns: ";
    for (char *context : {prefix, static_cast<char *>(nullptr)}) {
        for_each_empty([&](const map_t *empty) {
            print_calls.clear();
            map_print(empty, record, context);
            ASSERT_EQ(print_calls.size(), 1U);
            EXPECT_EQ(print_calls[0].context, context);
            EXPECT_EQ(print_calls[0].format, "%smap is empty\n");
            EXPECT_EQ(print_calls[0].text, context);
        });
    }
}

TEST_F(MapPrint, WithoutAFunctionDoesNothing)
{
    fill({{"a", "v"}});
    EXPECT_EQ(allocations_of([&] { map_print(&map, nullptr, &map); }), 0U);
    map_print(nullptr, nullptr, nullptr);
}

TEST_F(MapPrint, GoesOnWhateverTheFunctionReturns)
{
    fill({{"a", "1"}, {"b", "2"}, {"c", "3"}});
    map_print(&map, record, nullptr);
    EXPECT_EQ(print_calls.size(), 3U);
}

TEST_F(MapPrint, OfAnEmptyMapAllocatesNothing)
{
    EXPECT_EQ(allocations_of([&] { map_print(&map, record, nullptr); }), 0U);
}

TEST_F(MapPrint, NeverGivesANegativePrecisionForAHugeValue)
{
    fill({{"a", "v\0"s}});
    // A value of two gigabytes costs too much to store: only its length is set.
    auto *entry = const_cast<map_entry_t *>(map_get_entry(&map, "a"));
    for (uint32_t length : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        entry->valuesz = length;
        map_print(&map, record, nullptr);
        EXPECT_EQ(print_calls.back().precision, INT_MAX) << length;
    }
    entry->valuesz = 2;
}

TEST_F(MapPrintSorted, GivesTheFunctionTheMapTheStreamAndTheSortedKeys)
{
    fill({{"b", "1"}, {"c", "2"}, {"a", "3"}, {"B", "4"}});
    sorted_calls.clear();
    FILE *given = nullptr;
    written([&](FILE *stream) {
        given = stream;
        map_print_sorted(&map, record_sorted, stream);
    });
    ASSERT_EQ(sorted_calls.size(), 1U);
    EXPECT_EQ(sorted_calls[0].map, &map);
    EXPECT_EQ(sorted_calls[0].stream, given);
    const std::vector<int32_t> positions = {3, 2, 0, 1};
    EXPECT_EQ(sorted_calls[0].positions, positions);
    ASSERT_EQ(sorted_calls[0].keys.size(), positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        EXPECT_EQ(sorted_calls[0].keys[i], map_key_name(&map, positions[i])) << i;
    }
}

TEST_F(MapPrintSorted, PrintsTheHeaderAndLeavesTheEntriesToTheFunction)
{
    fill({{"b", "1"}, {"a", "2"}});
    EXPECT_EQ(written([&](FILE *stream) { map_print_sorted(&map, record_sorted, stream); }),
              header_of(map) + "entries\n");
}

TEST_F(MapPrintSorted, ReturnsWhatTheFunctionReturns)
{
    fill({{"a", "v"}});
    for (int result : {0, 1, 22, -1, INT_MAX, INT_MIN}) {
        written([&](FILE *stream) {
            sorted_result = result;
            expect_unchanged(result, [&] { return map_print_sorted(&map, record_sorted, stream); });
        });
    }
}

TEST_F(MapPrintSorted, WithoutAFunctionIsRefusedAndPrintsNothing)
{
    const auto expect_refused = [](const map_t *refused) {
        EXPECT_EQ(written([=](FILE *stream) {
                      EXPECT_EQ(map_print_sorted(refused, nullptr, stream), EINVAL);
                  }),
                  "");
    };
    for_each_empty(expect_refused);
    fill({{"a", "v"}});
    expect_refused(&map);
}

TEST_F(MapPrintSorted, WithoutAStreamIsRefusedAndDoesNotCallTheFunction)
{
    sorted_calls.clear();
    for_each_empty([](const map_t *empty) {
        EXPECT_EQ(map_print_sorted(empty, record_sorted, nullptr), EINVAL);
    });
    fill({{"a", "v"}});
    expect_unchanged(EINVAL, [&] { return map_print_sorted(&map, record_sorted, nullptr); });
    EXPECT_TRUE(sorted_calls.empty());
}

TEST_F(MapPrintSorted, OfAnEmptyMapPrintsTheNoticeAndDoesNotCallTheFunction)
{
    sorted_calls.clear();
    for_each_empty([](const map_t *empty) {
        EXPECT_EQ(written([=](FILE *stream) {
                      EXPECT_EQ(map_print_sorted(empty, record_sorted, stream), EINVAL);
                  }),
                  "map is empty\n");
    });
    EXPECT_TRUE(sorted_calls.empty());
}

TEST_F(MapPrintSorted, WithoutMemoryIsRefusedAndPrintsNothing)
{
    fill({{"b", "1"}, {"a", "2"}});
    sorted_calls.clear();
    EXPECT_EQ(written([&](FILE *stream) {
                  expect_unchanged(EINVAL, [&] {
                      allocations::Failure no_memory(0);
                      return map_print_sorted(&map, record_sorted, stream);
                  });
              }),
              "");
    EXPECT_TRUE(sorted_calls.empty());
}

TEST_F(MapPrintSorted, MakesOneAllocationAndFreesIt)
{
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), "v"), 0);
    }
    sorted_result = 7;
    const std::size_t live = allocations::live();
    written([&](FILE *stream) {
        EXPECT_EQ(allocations_of([&] { map_print_sorted(&map, record_sorted, stream); }), 1U);
    });
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(MapPrintSorted, CallsTheFunctionEvenIfTheStreamCannotBeWritten)
{
    fill({{"a", "v"}});
    const auto stream = unwritable_stream();
    ASSERT_NE(stream, nullptr);
    sorted_result = 5;
    EXPECT_EQ(map_print_sorted(&map, record_sorted, stream.get()), 5);
}

TEST_F(MapDump, PrintsAddressSizeAndNumberOfKeysBeforeTheEntries)
{
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    fill({{"two", "2"}, {"one", "1\0"s}});
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void *>(&map));
    EXPECT_EQ(dumped(&map), "map "s + address + " hashsize=64 numkeys=2\n one=1\n two=2\n");
}

TEST_F(MapDump, PrintsTheNoticeForAnEmptyMap)
{
    for_each_empty([](const map_t *empty) { EXPECT_EQ(dumped(empty), "map is empty\n"); });
    EXPECT_EQ(allocations_of([&] { dumped(&map); }), 0U);
}

TEST_F(MapDump, WithoutAStreamPrintsNothing)
{
    for_each_empty([](const map_t *empty) { map_dump(empty, nullptr); });
    fill({{"a", "v"}});
    EXPECT_EQ(allocations_of([&] { map_dump(&map, nullptr); }), 0U);
}

TEST_F(MapDump, ToAnUnwritableStreamLeavesTheMapAsItIs)
{
    fill({{"b", "1"}, {"a", "2"}});
    const auto stream = unwritable_stream();
    ASSERT_NE(stream, nullptr);
    expect_unchanged(0, [&] {
        map_dump(&map, stream.get());
        map_raw_dump(&map, stream.get());
        return 0;
    });
    EXPECT_NE(std::ferror(stream.get()), 0);
}

TEST_F(MapRawDump, PrintsTheTableAsItIsStored)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_length), 0);
    for (const char *key : {"ccc", "b", "aa", "a"}) {
        ASSERT_EQ(insert(map, key, "v"), 0);
    }
    EXPECT_EQ(raw_dumped(&map), header_of(map) + " b=v\n a=v\n aa=v\n ccc=v\n");
    ASSERT_EQ(replace(map, "b", "new"), 0);
    EXPECT_EQ(raw_dumped(&map), header_of(map) + " a=v\n b=new\n aa=v\n ccc=v\n");
}

TEST_F(MapRawDump, PrintsTheNoticeForAnEmptyMap)
{
    for_each_empty([](const map_t *empty) { EXPECT_EQ(raw_dumped(empty), "map is empty\n"); });
}

TEST_F(MapRawDump, WithoutAStreamPrintsNothing)
{
    for_each_empty([](const map_t *empty) { map_raw_dump(empty, nullptr); });
    fill({{"a", "v"}});
    expect_unchanged(0, [&] {
        map_raw_dump(&map, nullptr);
        return 0;
    });
}

TEST_F(MapRawDump, AllocatesNothing)
{
    fill({{"b", "1"}, {"a", "2"}});
    EXPECT_EQ(allocations_of([&] { raw_dumped(&map); }), 0U);
}

TEST_F(MapSndump, WritesWhatADumpPrints)
{
    fill({{"b", "1\0"s}, {"a", "22"}, {"c", ""}});
    EXPECT_EQ(sndumped(&map), dumped(&map));
}

TEST_F(MapSndump, CutsTheTextAndAlwaysTerminatesIt)
{
    fill({{"beta", "22"}, {"alpha", "1\0"s}, {"gamma", "333"}});
    const std::string whole = dumped(&map);
    for (std::size_t size = 1; size < whole.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(whole.size() + 10, '#');
        const uint32_t length = map_sndump(&map, buffer.data(), static_cast<uint32_t>(size));
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_EQ(length, expected.size());
        std::string expected_buffer = expected + '\0';
        expected_buffer.resize(buffer.size(), '#');
        EXPECT_EQ(buffer, expected_buffer);
    }
}

TEST_F(MapSndump, WithRoomForTheHeaderHoldsTheHeaderOnly)
{
    fill({{"a", "v"}});
    const std::string header = header_of(map);
    std::vector<char> buffer(header.size() + 1, '#');
    EXPECT_EQ(map_sndump(&map, buffer.data(), static_cast<uint32_t>(buffer.size())), header.size());
    EXPECT_STREQ(buffer.data(), header.c_str());
}

TEST_F(MapSndump, PrintsTheNoticeForAnEmptyMap)
{
    for_each_empty([](const map_t *empty) {
        char buffer[20];
        EXPECT_EQ(map_sndump(empty, buffer, sizeof buffer), 13U);
        EXPECT_STREQ(buffer, "map is empty\n");
    });
}

TEST_F(MapSndump, CutsTheNoticeToo)
{
    for_each_empty([](const map_t *empty) {
        char buffer[] = "##########";
        EXPECT_EQ(map_sndump(empty, buffer, 4), 3U);
        EXPECT_EQ(std::string(buffer, sizeof buffer), "map\0######\0"s);
        EXPECT_EQ(map_sndump(empty, buffer, 1), 0U);
        EXPECT_EQ(std::string(buffer, sizeof buffer), "\0ap\0######\0"s);
    });
}

TEST_F(MapSndump, IntoABufferOfSizeZeroWritesNothing)
{
    char byte = '#';
    for_each_empty([&](const map_t *empty) { EXPECT_EQ(map_sndump(empty, &byte, 0), 0U); });
    fill({{"a", "v"}});
    EXPECT_EQ(map_sndump(&map, &byte, 0), 0U);
    EXPECT_EQ(byte, '#');
}

TEST_F(MapSndump, WithoutABufferGivesZero)
{
    for_each_empty([](const map_t *empty) {
        EXPECT_EQ(map_sndump(empty, nullptr, 100), 0U);
        EXPECT_EQ(map_sndump(empty, nullptr, 0), 0U);
    });
    fill({{"a", "v"}});
    EXPECT_EQ(map_sndump(&map, nullptr, 100), 0U);
    EXPECT_EQ(map_sndump(&map, nullptr, 0), 0U);
}

TEST_F(MapSndump, WritesIntoABufferLargerThanAnIntCounts)
{
    void *buffer = mmap(nullptr, UINT32_MAX, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (buffer == MAP_FAILED) {
        GTEST_SKIP() << "the address space has no room for it";
    }
    fill({{"b", "1"}, {"a", "2"}});
    const std::string whole = dumped(&map);
    EXPECT_EQ(map_sndump(&map, static_cast<char *>(buffer), UINT32_MAX), whole.size());
    EXPECT_STREQ(static_cast<char *>(buffer), whole.c_str());
    EXPECT_EQ(munmap(buffer, UINT32_MAX), 0);
}
