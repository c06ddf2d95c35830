#include "arraymap_fixture.hpp"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <iterator>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char line_format[] = " %s[%u]=%.*s\n";

// One call of the function given to arraymap_print, with the arguments as they came.
struct PrintCall {
    void *context;
    std::string format;
    const char *key;
    unsigned int position;
    int precision;
    const void *data;
};

std::vector<PrintCall> print_calls;
int print_result;

int record(void *context, const char *format, ...)
{
    PrintCall call{context, format, nullptr, 0, 0, nullptr};
    if (call.format == line_format) {
        va_list arguments;
        va_start(arguments, format);
        call.key = va_arg(arguments, const char *);
        call.position = va_arg(arguments, unsigned int);
        call.precision = va_arg(arguments, int);
        call.data = va_arg(arguments, const void *);
        va_end(arguments);
    }
    print_calls.push_back(call);
    return print_result;
}

std::string printed(const arraymap_t *map)
{
    return written([=](FILE *stream) { arraymap_print(map, print_to_file, stream); });
}

std::string dumped(const arraymap_t *map)
{
    return written([=](FILE *stream) { arraymap_dump(map, stream); });
}

// Called by arraymap_print with the arraymap that it prints.
std::vector<std::string> dumps;

int record_dump(void *map, const char *, ...)
{
    dumps.push_back(dumped(static_cast<const arraymap_t *>(map)));
    return 0;
}

std::string sndumped(const arraymap_t *map)
{
    std::vector<char> buffer(100000, '#');
    const uint32_t length =
        arraymap_sndump(map, buffer.data(), static_cast<uint32_t>(buffer.size()));
    EXPECT_EQ(buffer.at(length), '\0');
    return std::string(buffer.data(), length);
}

struct Printer {
    const char *name;
    std::string (*print)(const arraymap_t *map);
    bool has_header;
};

const Printer printers[] = {
    {"Print", printed, false},
    {"Dump", dumped, true},
    {"Sndump", sndumped, true},
};

std::string expected_text(const Printer &printer, const arraymap_t &map, const std::string &lines)
{
    return (printer.has_header ? header_of(map) : "") + lines;
}

std::string name_of(const testing::TestParamInfo<Printer> &info)
{
    return info.param.name;
}

std::size_t allocations_of(const std::function<void()> &call)
{
    allocations::Log log;
    call();
    return log.sizes().size();
}

// Makes it an empty arraymap with as many buckets, a power of two or not.
void restart(arraymap_t &map, uint32_t hashsize)
{
    EXPECT_EQ(arraymap_destroy(&map), 0);
    EXPECT_EQ(arraymap_init_special(&map, hashsize), 0);
}

std::unique_ptr<FILE, int (*)(FILE *)> unwritable_stream()
{
    return {std::fopen("/dev/null", "r"), std::fclose};
}

class ArraymapPrintingTest : public ArraymapTest {
  protected:
    ArraymapPrintingTest()
    {
        print_calls.clear();
        print_result = 0;
    }

    // Keys whose iteration order is that of insertion.
    void fill_in_order(const std::vector<KeyValues> &content)
    {
        ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
        fill(map, content);
    }

    // An arraymap of each kind that holds no key.
    void for_each_empty(const std::function<void(const arraymap_t *)> &check)
    {
        const arraymap_t released = released_arraymap();
        arraymap_t bucketless;
        ASSERT_EQ(arraymap_init_special(&bucketless, 0), 0);
        Arraymap emptied;
        fill(*emptied, {{"a", {"v"}}});
        ASSERT_EQ(arraymap_remove(&emptied, "a", 0), 0);
        for (const arraymap_t *empty : {static_cast<const arraymap_t *>(&map), &released,
                                        static_cast<const arraymap_t *>(&bucketless),
                                        static_cast<const arraymap_t *>(&emptied),
                                        static_cast<const arraymap_t *>(nullptr)}) {
            SCOPED_TRACE(empty);
            check(empty);
        }
    }
};

class EveryArraymapPrinter : public ArraymapPrintingTest,
                             public testing::WithParamInterface<Printer> {
  protected:
    std::string text()
    {
        return GetParam().print(&map);
    }
    std::string expected(const std::string &lines)
    {
        return expected_text(GetParam(), map, lines);
    }
};

class ArraymapPrint : public ArraymapPrintingTest {};

class ArraymapDump : public ArraymapPrintingTest {};

class ArraymapSndump : public ArraymapPrintingTest {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Arraymap, EveryArraymapPrinter, testing::ValuesIn(printers), name_of);

TEST_P(EveryArraymapPrinter, PrintsEachValueWithItsKeyAndItsPositionFromZero)
{
    fill(map, {{"b", {"x\0"s, "y\0"s}}, {"a", {"z\0"s}}});
    EXPECT_EQ(text(), expected(" a[0]=z\n b[0]=x\n b[1]=y\n"));
}

TEST_P(EveryArraymapPrinter, PrintsTheNoticeAloneForAnArraymapWithoutKeys)
{
    for_each_empty(
        [](const arraymap_t *empty) { EXPECT_EQ(GetParam().print(empty), "map is empty\n"); });
}

TEST_P(EveryArraymapPrinter, AllocatesNothingForAnArraymapWithoutKeys)
{
    for_each_empty([](const arraymap_t *empty) {
        EXPECT_EQ(allocations_of([=] { GetParam().print(empty); }), 0U);
    });
}

TEST_P(EveryArraymapPrinter, PrintsKeysInByteOrder)
{
    fill_in_order({{"b", {"1"}},
                   {"\xff", {"2"}},
                   {"ab", {"3"}},
                   {"\x80", {"4"}},
                   {"a", {"5"}},
                   {"B", {"6"}}});
    EXPECT_EQ(text(), expected(" B[0]=6\n a[0]=5\n ab[0]=3\n b[0]=1\n \x80[0]=4\n \xff[0]=2\n"));
}

TEST_P(EveryArraymapPrinter, PrintsKeysInByteOrderWhateverTheirBuckets)
{
    for (uint32_t size : {1U, 3U, 4U, 32U, 33U, 48U, 256U}) {
        SCOPED_TRACE(size);
        restart(map, size);
        fill(map, {{"b", {"v"}}, {"a", {"v"}}, {"c", {"v"}}});
        EXPECT_EQ(text(), expected(" a[0]=v\n b[0]=v\n c[0]=v\n"));
    }
}

TEST_P(EveryArraymapPrinter, PrintsUpperCaseFirstWhereKeysCompareWithoutCase)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill_in_order({{"a", {"1"}}, {"B", {"2"}}, {"A\x80", {"3"}}});
    EXPECT_EQ(text(), expected(" A\x80[0]=3\n B[0]=2\n a[0]=1\n"));
}

TEST_P(EveryArraymapPrinter, PrintsTheSpellingThatIsStored)
{
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    fill(map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    EXPECT_EQ(text(), expected(" Key[0]=1\n Key[1]=2\n"));
}

TEST_P(EveryArraymapPrinter, PrintsTheValuesOfAKeyInOrderOfInsertion)
{
    fill(map, {{"k", {"c", "a", "b"}}});
    EXPECT_EQ(text(), expected(" k[0]=c\n k[1]=a\n k[2]=b\n"));
}

TEST_P(EveryArraymapPrinter, PrintsEachOfEqualValuesAtItsPosition)
{
    fill(map, {{"k", {"a\0"s, "b\0"s, "a\0"s, "a\0"s}}});
    EXPECT_EQ(text(), expected(" k[0]=a\n k[1]=b\n k[2]=a\n k[3]=a\n"));
}

TEST_P(EveryArraymapPrinter, CountsPositionsAndDoesNotReadTheIndexesOfTheNodes)
{
    fill(map, {{"k", {"1", "2"}}, {"K", {"2", "3", "4"}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(indexes_of(map, "k"), (std::vector<uint32_t>{0, 1, 1, 2}));
    EXPECT_EQ(text(), expected(" k[0]=1\n k[1]=2\n k[2]=3\n k[3]=4\n"));
}

TEST_P(EveryArraymapPrinter, PrintsAReplacedValueInItsPlace)
{
    fill(map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(arraymap_replace(&map, "k", 1, "longer", 6), 0);
    EXPECT_EQ(text(), expected(" k[0]=a\n k[1]=longer\n k[2]=c\n"));
}

TEST_P(EveryArraymapPrinter, CountsPositionsAnewAfterARemoval)
{
    fill(map, {{"k", {"a", "b", "a", "c"}}});
    ASSERT_EQ(arraymap_delete(&map, "k", "a", 1), 0);
    ASSERT_EQ(insert(map, "k", "a"), 0);
    EXPECT_EQ(text(), expected(" k[0]=b\n k[1]=c\n k[2]=a\n"));
}

TEST_P(EveryArraymapPrinter, PrintsAThousandKeysInByteOrder)
{
    std::vector<std::string> keys;
    for (int i = 0; i < 1000; ++i) {
        keys.push_back(std::to_string(i * 7919 % 100003));
        fill(map, {{keys.back(), {"v", keys.back()}}});
    }
    std::sort(keys.begin(), keys.end());
    std::string lines;
    for (const std::string &key : keys) {
        lines += ' ' + key + "[0]=v\n " + key + "[1]=" + key + '\n';
    }
    EXPECT_EQ(text(), expected(lines));
}

TEST_P(EveryArraymapPrinter, PrintsAThousandValuesOfAKey)
{
    std::string lines;
    for (int i = 0; i < 1000; ++i) {
        const std::string value = std::to_string(i * 7919 % 100003);
        fill(map, {{"k", {value}}});
        lines += " k[" + std::to_string(i) + "]=" + value + '\n';
    }
    EXPECT_EQ(text(), expected(lines));
}

TEST_P(EveryArraymapPrinter, PrintsAValueUpToItsFirstNul)
{
    fill(map, {{"k", {"ab\0cd"s, "\0x"s, "ab\0\0"s}}});
    EXPECT_EQ(text(), expected(" k[0]=ab\n k[1]=\n k[2]=ab\n"));
}

TEST_P(EveryArraymapPrinter, PrintsNothingBeyondAValueWithoutANul)
{
    fill(map, {{"k", {"abcdefgh", "abc"}}});
    EXPECT_EQ(text(), expected(" k[0]=abcdefgh\n k[1]=abc\n"));
}

TEST_P(EveryArraymapPrinter, PrintsAnEmptyKeyAndAnEmptyValue)
{
    fill(map, {{"", {"v", ""}}, {"k", {""}}});
    EXPECT_EQ(text(), expected(" [0]=v\n [1]=\n k[0]=\n"));
}

TEST_P(EveryArraymapPrinter, PrintsConversionSpecificationsAsTheyStand)
{
    fill(map, {{"%s%n", {"%d=%*s%", "%n"}}});
    EXPECT_EQ(text(), expected(" %s%n[0]=%d=%*s%\n %s%n[1]=%n\n"));
}

TEST_P(EveryArraymapPrinter, PrintsAnyBytes)
{
    fill(map, {{"\x01\xe9=\n[", {"\n\x80\xff\t", "]=\x7f"}}});
    EXPECT_EQ(text(), expected(" \x01\xe9=\n[[0]=\n\x80\xff\t\n \x01\xe9=\n[[1]=]=\x7f\n"));
}

TEST_P(EveryArraymapPrinter, PrintsALongLineWhole)
{
    const std::string key(5000, 'k');
    const std::string value(7000, 'v');
    fill(map, {{key, {value, "w"}}});
    EXPECT_EQ(text(), expected(' ' + key + "[0]=" + value + "\n " + key + "[1]=w\n"));
}

TEST_P(EveryArraymapPrinter, LooksNothingUp)
{
    static int hashed;
    ASSERT_EQ(arraymap_sethashfunc(&map,
                                   [](const void *, const char *) {
                                       ++hashed;
                                       return 0U;
                                   }),
              0);
    fill(map, {{"b", {"2", "3"}}, {"a", {"1"}}});
    hashed = 0;
    EXPECT_FALSE(text().empty());
    EXPECT_EQ(hashed, 0);
}

TEST_P(EveryArraymapPrinter, LeavesTheArraymapAsItIs)
{
    fill(map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    expect_unchanged(0, [this] {
        text();
        return 0;
    });
}

TEST_P(EveryArraymapPrinter, MakesOneAllocationHoweverManyKeysAndValuesThereAre)
{
    for (int count : {1, 2, 1000}) {
        SCOPED_TRACE(count);
        while (map.numkeys < count) {
            fill(map, {{std::to_string(map.numkeys * 7919 % 100003), {"v", "w"}}});
        }
        EXPECT_EQ(allocations_of([this] { text(); }), 1U);
    }
}

TEST_P(EveryArraymapPrinter, PrintsInIterationOrderWithoutMemoryWhichItAsksForOnce)
{
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        SCOPED_TRACE(how);
        ASSERT_EQ(arraymap_clear(&map), 0);
        fill_in_order({{"c", {"2", "2\0"s}}, {"a", {"3"}}, {"b", {"4"}}});
        std::string unsorted;
        bool failed;
        std::size_t asked;
        {
            allocations::Log log;
            allocations::Failure no_memory(0, how);
            unsorted = text();
            failed = no_memory.happened();
            asked = log.sizes().size();
        }
        EXPECT_TRUE(failed);
        EXPECT_EQ(asked, 1U);
        EXPECT_EQ(unsorted, expected(" c[0]=2\n c[1]=2\n a[0]=3\n b[0]=4\n"));
    }
}

TEST_P(EveryArraymapPrinter, PrintsBucketsByIndexWithoutMemory)
{
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_length), 0);
    fill(map, {{"aaa", {"1"}}, {"c", {"2", "3"}}, {"bb", {"4"}}, {"b", {"5"}}});
    std::string unsorted;
    {
        allocations::Failure no_memory(0);
        unsorted = text();
    }
    EXPECT_EQ(unsorted, expected(" c[0]=2\n c[1]=3\n b[0]=5\n bb[0]=4\n aaa[0]=1\n"));
}

TEST_F(ArraymapPrint, GivesTheFunctionItsContextAndEachValueInOrder)
{
    fill(map, {{"b", {"x\0y"s, "z", "z"}}, {"a", {""}}});
    int context = 0;
    arraymap_print(&map, record, &context);
    const struct {
        const char *key;
        unsigned int position;
        int precision;
    } expected[] = {{"a", 0, 0}, {"b", 0, 3}, {"b", 1, 1}, {"b", 2, 1}};
    ASSERT_EQ(print_calls.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        const auto &[key, position, precision] = expected[i];
        EXPECT_EQ(print_calls[i].context, &context);
        EXPECT_EQ(print_calls[i].format, line_format);
        EXPECT_EQ(print_calls[i].key, stored_key(map, key));
        EXPECT_EQ(print_calls[i].position, position);
        EXPECT_EQ(print_calls[i].precision, precision);
        EXPECT_EQ(print_calls[i].data, stored_text(map, key, position));
    }
}

TEST_F(ArraymapPrint, GivesANullContextOn)
{
    fill(map, {{"a", {"v"}}});
    arraymap_print(&map, record, nullptr);
    ASSERT_EQ(print_calls.size(), 1U);
    EXPECT_EQ(print_calls[0].context, nullptr);
    EXPECT_EQ(print_calls[0].key, stored_key(map, "a"));
}

TEST_F(ArraymapPrint, GivesTheNoticeAsAFormatThatTakesNoArgument)
{
    char prefix[] = "dns: ";
    for (char *context : {prefix, static_cast<char *>(nullptr)}) {
        for_each_empty([=](const arraymap_t *empty) {
            print_calls.clear();
            arraymap_print(empty, record, context);
            ASSERT_EQ(print_calls.size(), 1U);
            EXPECT_EQ(print_calls[0].context, context);
            EXPECT_EQ(print_calls[0].format, "map is empty\n");
        });
    }
}

TEST_F(ArraymapPrint, WithoutAFunctionDoesNothing)
{
    for_each_empty([](const arraymap_t *empty) {
        EXPECT_EQ(allocations_of([=] { arraymap_print(empty, nullptr, nullptr); }), 0U);
    });
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(allocations_of([this] { arraymap_print(&map, nullptr, &map); }), 0U);
}

TEST_F(ArraymapPrint, GoesOnWhateverTheFunctionReturns)
{
    fill(map, {{"a", {"1", "2"}}, {"b", {"3"}}});
    for (int result : {0, 1, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(result);
        print_calls.clear();
        print_result = result;
        arraymap_print(&map, record, nullptr);
        EXPECT_EQ(print_calls.size(), 3U);
        arraymap_print(nullptr, record, nullptr);
        EXPECT_EQ(print_calls.size(), 4U);
    }
}

TEST_F(ArraymapPrint, LetsTheFunctionReadTheArraymap)
{
    fill(map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = dumped(&map);
    dumps.clear();
    arraymap_print(&map, record_dump, &map);
    EXPECT_EQ(dumps, (std::vector<std::string>{whole, whole, whole}));
}

TEST_F(ArraymapPrint, NeverGivesANegativePrecisionForAHugeValue)
{
    fill(map, {{"a", {"v\0"s}}});
    arraymap_value_iter_t it{};
    ASSERT_NE(arraymap_value_first(&map, "a", &it), nullptr);
    // A value of two gigabytes costs too much to store: only its length is set.
    auto *value = const_cast<arraymap_value_t *>(it.node);
    for (uint32_t length : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        value->len = length;
        arraymap_print(&map, record, nullptr);
        EXPECT_EQ(print_calls.back().precision, INT_MAX) << length;
    }
    value->len = 2;
}

TEST_F(ArraymapDump, PrintsAddressSizeAndNumbersOfKeysAndValuesBeforeTheLines)
{
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void *>(&map));
    for (uint32_t size : {33U, 64U}) {
        restart(map, size);
        fill(map, {{"b", {"x\0"s, "x\0"s}}, {"a", {"z\0"s}}});
        EXPECT_EQ(dumped(&map), "arraymap "s + address + " hashsize=" + std::to_string(size) +
                                    " numkeys=2 numvalues=3\n"
                                    " a[0]=z\n b[0]=x\n b[1]=x\n");
    }
}

TEST_F(ArraymapDump, WithoutAStreamPrintsNothing)
{
    for_each_empty([](const arraymap_t *empty) { arraymap_dump(empty, nullptr); });
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(allocations_of([this] { arraymap_dump(&map, nullptr); }), 0U);
}

TEST_F(ArraymapDump, AddsToWhatTheStreamHolds)
{
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(written([this](FILE *stream) {
                  std::fputs("before\n", stream);
                  arraymap_dump(&map, stream);
                  arraymap_dump(nullptr, stream);
              }),
              "before\n" + header_of(map) + " a[0]=v\nmap is empty\n");
}

TEST_F(ArraymapDump, DoesNotFlushTheStream)
{
    fill(map, {{"a", {"v"}}});
    const std::unique_ptr<FILE, int (*)(FILE *)> stream{std::tmpfile(), std::fclose};
    ASSERT_NE(stream, nullptr);
    ASSERT_EQ(std::setvbuf(stream.get(), nullptr, _IOFBF, 4096), 0);
    const auto size = [&] {
        struct stat file {};
        EXPECT_EQ(fstat(fileno(stream.get()), &file), 0);
        return file.st_size;
    };
    arraymap_dump(&map, stream.get());
    arraymap_dump(nullptr, stream.get());
    EXPECT_EQ(size(), 0);
    ASSERT_EQ(std::fflush(stream.get()), 0);
    EXPECT_EQ(size(), static_cast<off_t>((dumped(&map) + dumped(nullptr)).size()));
}

TEST_F(ArraymapDump, ToAnUnwritableStreamLeavesTheArraymapAsItIs)
{
    fill(map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const auto stream = unwritable_stream();
    ASSERT_NE(stream, nullptr);
    expect_unchanged(0, [&] {
        arraymap_dump(&map, stream.get());
        return 0;
    });
    EXPECT_NE(std::ferror(stream.get()), 0);
}

TEST_F(ArraymapSndump, WritesWhatADumpPrints)
{
    fill(map, {{"b", {"1\0"s, "x\0y"s}}, {"a", {"22"}}, {"c", {""}}});
    EXPECT_EQ(sndumped(&map), dumped(&map));
}

TEST_F(ArraymapSndump, CutsTheTextAtEverySizeAndWritesNothingBehindIt)
{
    fill(map, {{"beta", {"22", "\xff\x80", ""}}, {"alpha", {"1\0"s, "one\0two"s}}});
    const std::string whole = dumped(&map);
    for (std::size_t size = 1; size < whole.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(whole.size() + 10, '#');
        const uint32_t length = arraymap_sndump(&map, buffer.data(), static_cast<uint32_t>(size));
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_EQ(length, expected.size());
        std::string expected_buffer = expected + '\0';
        expected_buffer.resize(buffer.size(), '#');
        EXPECT_EQ(buffer, expected_buffer);
    }
}

TEST_F(ArraymapSndump, CutsAnUnsortedTextInTheSameWay)
{
    fill_in_order({{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = header_of(map) + " b[0]=1\n b[1]=2\n a[0]=3\n";
    for (std::size_t size = 1; size < whole.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(whole.size() + 10, '#');
        uint32_t length;
        {
            allocations::Failure no_memory(0);
            length = arraymap_sndump(&map, buffer.data(), static_cast<uint32_t>(size));
        }
        EXPECT_EQ(length, std::min(whole.size(), size - 1));
        EXPECT_EQ(buffer.c_str(), whole.substr(0, size - 1));
    }
}

TEST_F(ArraymapSndump, IntoTwentyBytesHoldsTheFirstNineteenOfTheHeader)
{
    fill(map, {{"a", {"v"}}});
    char buffer[20];
    EXPECT_EQ(arraymap_sndump(&map, buffer, sizeof buffer), 19U);
    EXPECT_EQ(buffer, header_of(map).substr(0, 19));
}

TEST_F(ArraymapSndump, WithRoomForTheHeaderHoldsTheHeaderOnly)
{
    fill(map, {{"a", {"v"}}});
    const std::string header = header_of(map);
    std::vector<char> buffer(header.size() + 1, '#');
    EXPECT_EQ(arraymap_sndump(&map, buffer.data(), static_cast<uint32_t>(buffer.size())),
              header.size());
    EXPECT_STREQ(buffer.data(), header.c_str());
}

TEST_F(ArraymapSndump, WritesOverWhatTheBufferHolds)
{
    fill(map, {{"a", {"v"}}});
    char buffer[200] = "before";
    const std::string whole = dumped(&map);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(arraymap_sndump(&map, buffer, sizeof buffer), whole.size());
        EXPECT_EQ(buffer, whole);
    }
    EXPECT_EQ(arraymap_sndump(nullptr, buffer, sizeof buffer), 13U);
    EXPECT_STREQ(buffer, "map is empty\n");
}

TEST_F(ArraymapSndump, CutsTheNoticeAtEverySizeToo)
{
    const std::string notice = "map is empty\n";
    for_each_empty([&](const arraymap_t *empty) {
        for (std::size_t size = 1; size < notice.size() + 3; ++size) {
            SCOPED_TRACE(size);
            std::string buffer(notice.size() + 10, '#');
            const std::string expected = notice.substr(0, size - 1);
            EXPECT_EQ(arraymap_sndump(empty, buffer.data(), static_cast<uint32_t>(size)),
                      expected.size());
            std::string expected_buffer = expected + '\0';
            expected_buffer.resize(buffer.size(), '#');
            EXPECT_EQ(buffer, expected_buffer);
        }
    });
}

TEST_F(ArraymapSndump, IntoABufferOfSizeZeroWritesNothing)
{
    char untouched[] = "##";
    for_each_empty(
        [&](const arraymap_t *empty) { EXPECT_EQ(arraymap_sndump(empty, untouched, 0), 0U); });
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(arraymap_sndump(&map, untouched, 0), 0U);
    EXPECT_STREQ(untouched, "##");
}

TEST_F(ArraymapSndump, WithoutABufferGivesZero)
{
    for_each_empty([](const arraymap_t *empty) {
        EXPECT_EQ(arraymap_sndump(empty, nullptr, 100), 0U);
        EXPECT_EQ(arraymap_sndump(empty, nullptr, 0), 0U);
    });
    fill(map, {{"a", {"v"}}});
    EXPECT_EQ(arraymap_sndump(&map, nullptr, 100), 0U);
    EXPECT_EQ(arraymap_sndump(&map, nullptr, 0), 0U);
}

TEST_F(ArraymapSndump, WritesIntoABufferLargerThanAnIntCounts)
{
    void *buffer = mmap(nullptr, UINT32_MAX, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (buffer == MAP_FAILED) {
        GTEST_SKIP() << "the address space has no room for it";
    }
    fill(map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = dumped(&map);
    EXPECT_EQ(arraymap_sndump(&map, static_cast<char *>(buffer), UINT32_MAX), whole.size());
    EXPECT_STREQ(static_cast<char *>(buffer), whole.c_str());
    EXPECT_EQ(munmap(buffer, UINT32_MAX), 0);
}
