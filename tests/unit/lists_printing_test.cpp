// The three renderings, as the multimap and the arraymap have them alike.
#include "list_printing.hpp"

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

// One call of the function given to print, with the arguments as they came.
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

// Called by print with the container that it prints.
std::vector<std::string> dumps;

template <class Family>
int record_dump(void *map, const char *, ...)
{
    dumps.push_back(Dump<Family>::text(static_cast<const typename Family::Container *>(map)));
    return 0;
}

template <class Printer>
class EveryListPrinter : public ListPrinterTest<Printer> {
};

template <class Family>
class ListPrint : public ListPrintingTest<Family> {
  protected:
    ListPrint()
    {
        print_calls.clear();
        print_result = 0;
    }
};

template <class Family>
class ListDump : public ListPrintingTest<Family> {
};

template <class Family>
class ListSndump : public ListPrintingTest<Family> {
};

using ListPrinters = PrintersOf<MultimapFamily, ArraymapFamily>;

} // namespace

TYPED_TEST_SUITE(EveryListPrinter, ListPrinters, PrinterName);
TYPED_TEST_SUITE(ListPrint, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListDump, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSndump, ListFamilies, TypeName);

TYPED_TEST(EveryListPrinter, PrintsEachValueWithItsKeyAndItsPositionFromZero)
{
    fill(this->map, {{"b", {"x\0"s, "y\0"s}}, {"a", {"z\0"s}}});
    EXPECT_EQ(this->text(), this->expected(" a[0]=z\n b[0]=x\n b[1]=y\n"));
}

TYPED_TEST(EveryListPrinter, PrintsTheNoticeAloneForAContainerWithoutKeys)
{
    this->for_each_empty(
        [](const auto *empty) { EXPECT_EQ(TypeParam::text(empty), "map is empty\n"); });
}

TYPED_TEST(EveryListPrinter, AllocatesNothingForAContainerWithoutKeys)
{
    this->for_each_empty(
        [](const auto *empty) { EXPECT_EQ(allocations_of([=] { TypeParam::text(empty); }), 0U); });
}

TYPED_TEST(EveryListPrinter, PrintsKeysInByteOrder)
{
    this->fill_in_order({{"b", {"1"}},
                         {"\xff", {"2"}},
                         {"ab", {"3"}},
                         {"\x80", {"4"}},
                         {"a", {"5"}},
                         {"B", {"6"}}});
    EXPECT_EQ(this->text(),
              this->expected(" B[0]=6\n a[0]=5\n ab[0]=3\n b[0]=1\n \x80[0]=4\n \xff[0]=2\n"));
}

TYPED_TEST(EveryListPrinter, PrintsKeysInByteOrderWhateverTheirBuckets)
{
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        fill(this->map, {{"b", {"v"}}, {"a", {"v"}}, {"c", {"v"}}});
        EXPECT_EQ(this->text(), this->expected(" a[0]=v\n b[0]=v\n c[0]=v\n"));
    }
}

TYPED_TEST(EveryListPrinter, PrintsUpperCaseFirstWhereKeysCompareWithoutCase)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    this->fill_in_order({{"a", {"1"}}, {"Z", {"2"}}, {"A\x80", {"3"}}});
    EXPECT_EQ(this->text(), this->expected(" A\x80[0]=3\n Z[0]=2\n a[0]=1\n"));
}

TYPED_TEST(EveryListPrinter, PrintsTheSpellingThatIsStored)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    EXPECT_EQ(this->text(), this->expected(" Key[0]=1\n Key[1]=2\n"));
}

TYPED_TEST(EveryListPrinter, PrintsTheValuesOfAKeyInOrderOfInsertion)
{
    fill(this->map, {{"k", {"c", "a", "b"}}});
    EXPECT_EQ(this->text(), this->expected(" k[0]=c\n k[1]=a\n k[2]=b\n"));
}

TYPED_TEST(EveryListPrinter, CountsPositionsAnewAfterARemoval)
{
    fill(this->map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, "k", "a", 1), 0);
    ASSERT_EQ(insert(this->map, "k", "a"), 0);
    EXPECT_EQ(this->text(), this->expected(" k[0]=b\n k[1]=c\n k[2]=a\n"));
}

TYPED_TEST(EveryListPrinter, PrintsAThousandKeysInByteOrder)
{
    Keys keys;
    for (int i = 0; i < 1000; ++i) {
        keys.push_back(std::to_string(i * 7919 % 100003));
        fill(this->map, {{keys.back(), {"v", keys.back()}}});
    }
    std::sort(keys.begin(), keys.end());
    std::string lines;
    for (const std::string &key : keys) {
        lines += ' ' + key + "[0]=v\n " + key + "[1]=" + key + '\n';
    }
    EXPECT_EQ(this->text(), this->expected(lines));
}

TYPED_TEST(EveryListPrinter, PrintsAThousandValuesOfAKey)
{
    std::string lines;
    for (int i = 0; i < 1000; ++i) {
        const std::string value = std::to_string(i * 7919 % 100003);
        fill(this->map, {{"k", {value}}});
        lines += " k[" + std::to_string(i) + "]=" + value + '\n';
    }
    EXPECT_EQ(this->text(), this->expected(lines));
}

TYPED_TEST(EveryListPrinter, PrintsAValueUpToItsFirstNul)
{
    fill(this->map, {{"k", {"ab\0cd"s, "\0x"s, "ab\0\0"s}}});
    EXPECT_EQ(this->text(), this->expected(" k[0]=ab\n k[1]=\n k[2]=ab\n"));
}

TYPED_TEST(EveryListPrinter, PrintsNothingBeyondAValueWithoutANul)
{
    fill(this->map, {{"k", {"abcdefgh", "abc"}}});
    EXPECT_EQ(this->text(), this->expected(" k[0]=abcdefgh\n k[1]=abc\n"));
}

TYPED_TEST(EveryListPrinter, PrintsAnEmptyKeyAndAnEmptyValue)
{
    fill(this->map, {{"", {"v", ""}}, {"k", {""}}});
    EXPECT_EQ(this->text(), this->expected(" [0]=v\n [1]=\n k[0]=\n"));
}

TYPED_TEST(EveryListPrinter, PrintsConversionSpecificationsAsTheyStand)
{
    fill(this->map, {{"%s%n", {"%d=%*s%", "%n"}}});
    EXPECT_EQ(this->text(), this->expected(" %s%n[0]=%d=%*s%\n %s%n[1]=%n\n"));
}

TYPED_TEST(EveryListPrinter, PrintsAnyBytes)
{
    fill(this->map, {{"\x01\xe9=\n[", {"\n\x80\xff\t", "]=\x7f"}}});
    EXPECT_EQ(this->text(),
              this->expected(" \x01\xe9=\n[[0]=\n\x80\xff\t\n \x01\xe9=\n[[1]=]=\x7f\n"));
}

TYPED_TEST(EveryListPrinter, PrintsALongLineWhole)
{
    const std::string key(5000, 'k');
    const std::string value(7000, 'v');
    fill(this->map, {{key, {value, "w"}}});
    EXPECT_EQ(this->text(), this->expected(' ' + key + "[0]=" + value + "\n " + key + "[1]=w\n"));
}

TYPED_TEST(EveryListPrinter, PrintsUnderEachSpellingWhatALookUpFinds)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"a", {"1", "2"}}, {"A", {"3"}}});
    EXPECT_EQ(this->text(), this->expected(" A[0]=3\n a[0]=1\n a[1]=2\n"));
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, nullptr), 0);
    EXPECT_EQ(this->text(), this->expected(" A[0]=3\n a[0]=3\n"));
    const allocations::Failure failure(0, allocations::Failure::for_good);
    EXPECT_EQ(this->text(), this->expected(" A[0]=3\n a[0]=3\n"));
}

TYPED_TEST(EveryListPrinter, SkipsAKeyThatALookUpDoesNotFind)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_variable), 0);
    fill(this->map, {{"a", {"1"}}});
    variable_hash = 1;
    EXPECT_EQ(this->text(), this->expected(""));
    variable_hash = 0;
}

TYPED_TEST(EveryListPrinter, LooksNothingUpWhereKeysCompareWithCase)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    fill(this->map, {{"b", {"2", "3"}}, {"a", {"1"}}});
    EXPECT_EQ(hashed_during([this] { EXPECT_FALSE(this->text().empty()); }), Keys{});
}

TYPED_TEST(EveryListPrinter, LeavesTheContainerAsItIs)
{
    fill(this->map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    this->expect_unchanged(0, [this] {
        this->text();
        return 0;
    });
}

TYPED_TEST(EveryListPrinter, MakesOneAllocationHoweverManyKeysAndValuesThereAre)
{
    for (int count : {1, 2, 1000}) {
        SCOPED_TRACE(count);
        while (this->map.numkeys < count) {
            fill(this->map, {{std::to_string(this->map.numkeys * 7919 % 100003), {"v", "w"}}});
        }
        EXPECT_EQ(allocations_of([this] { this->text(); }), 1U);
    }
}

TYPED_TEST(EveryListPrinter, PrintsInIterationOrderWithoutMemoryWhichItAsksForOnce)
{
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        SCOPED_TRACE(how);
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
        this->fill_in_order({{"c", {"2", "1\0"s}}, {"a", {"3"}}, {"b", {"4"}}});
        std::string unsorted;
        bool failed;
        std::size_t asked;
        {
            allocations::Log log;
            allocations::Failure no_memory(0, how);
            unsorted = this->text();
            failed = no_memory.happened();
            asked = log.sizes().size();
        }
        EXPECT_TRUE(failed);
        EXPECT_EQ(asked, 1U);
        EXPECT_EQ(unsorted, this->expected(" c[0]=2\n c[1]=1\n a[0]=3\n b[0]=4\n"));
    }
}

TYPED_TEST(EveryListPrinter, PrintsBucketsByIndexWithoutMemory)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    fill(this->map, {{"aaa", {"1"}}, {"c", {"2", "3"}}, {"bb", {"4"}}, {"b", {"5"}}});
    std::string unsorted;
    {
        allocations::Failure no_memory(0);
        unsorted = this->text();
    }
    EXPECT_EQ(unsorted, this->expected(" c[0]=2\n c[1]=3\n b[0]=5\n bb[0]=4\n aaa[0]=1\n"));
}

TYPED_TEST(ListPrint, GivesTheFunctionItsContextAndEachValueInOrder)
{
    fill(this->map, {{"b", {"x\0y"s, "z"}}, {"a", {""}}});
    int context = 0;
    TypeParam::print(&this->map, record, &context);
    const struct {
        const char *key;
        unsigned int position;
        int precision;
    } expected[] = {{"a", 0, 0}, {"b", 0, 3}, {"b", 1, 1}};
    ASSERT_EQ(print_calls.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        const auto &[key, position, precision] = expected[i];
        EXPECT_EQ(print_calls[i].context, &context);
        EXPECT_EQ(print_calls[i].format, line_format);
        EXPECT_EQ(print_calls[i].key, stored_key(this->map, key));
        EXPECT_EQ(print_calls[i].position, position);
        EXPECT_EQ(print_calls[i].precision, precision);
        EXPECT_EQ(print_calls[i].data, stored_text(this->map, key, position));
    }
}

TYPED_TEST(ListPrint, GivesANullContextOn)
{
    fill(this->map, {{"a", {"v"}}});
    TypeParam::print(&this->map, record, nullptr);
    ASSERT_EQ(print_calls.size(), 1U);
    EXPECT_EQ(print_calls[0].context, nullptr);
    EXPECT_EQ(print_calls[0].key, stored_key(this->map, "a"));
}

TYPED_TEST(ListPrint, GivesTheNoticeAsAFormatThatTakesNoArgument)
{
    char prefix[] = "dns: ";
    for (char *context : {prefix, static_cast<char *>(nullptr)}) {
        this->for_each_empty([=](const auto *empty) {
            print_calls.clear();
            TypeParam::print(empty, record, context);
            ASSERT_EQ(print_calls.size(), 1U);
            EXPECT_EQ(print_calls[0].context, context);
            EXPECT_EQ(print_calls[0].format, "map is empty\n");
        });
    }
}

TYPED_TEST(ListPrint, WithoutAFunctionDoesNothing)
{
    this->for_each_empty([](const auto *empty) {
        EXPECT_EQ(allocations_of([=] { TypeParam::print(empty, nullptr, nullptr); }), 0U);
    });
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(allocations_of([this] { TypeParam::print(&this->map, nullptr, &this->map); }), 0U);
}

TYPED_TEST(ListPrint, GoesOnWhateverTheFunctionReturns)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"3"}}});
    for (int result : {0, 1, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(result);
        print_calls.clear();
        print_result = result;
        TypeParam::print(&this->map, record, nullptr);
        EXPECT_EQ(print_calls.size(), 3U);
        TypeParam::print(nullptr, record, nullptr);
        EXPECT_EQ(print_calls.size(), 4U);
    }
}

TYPED_TEST(ListPrint, LetsTheFunctionReadTheContainer)
{
    fill(this->map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = this->dumped();
    dumps.clear();
    TypeParam::print(&this->map, record_dump<TypeParam>, &this->map);
    EXPECT_EQ(dumps, (Values{whole, whole, whole}));
}

TYPED_TEST(ListPrint, NeverGivesANegativePrecisionForAHugeValue)
{
    fill(this->map, {{"a", {"v\0"s}}});
    typename TypeParam::ValueIterator it{};
    ASSERT_NE(TypeParam::value_first(&this->map, "a", &it), nullptr);
    // A value of two gigabytes costs too much to store: only its length is set.
    auto *value = const_cast<typename TypeParam::ValueNode *>(it.node);
    for (uint32_t length : {0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        value->len = length;
        TypeParam::print(&this->map, record, nullptr);
        EXPECT_EQ(print_calls.back().precision, INT_MAX) << length;
    }
    value->len = 2;
}

TYPED_TEST(ListDump, WithoutAStreamPrintsNothing)
{
    this->for_each_empty([](const auto *empty) { TypeParam::dump(empty, nullptr); });
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(allocations_of([this] { TypeParam::dump(&this->map, nullptr); }), 0U);
}

TYPED_TEST(ListDump, AddsToWhatTheStreamHolds)
{
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(written([this](FILE *stream) {
                  std::fputs("before\n", stream);
                  TypeParam::dump(&this->map, stream);
                  TypeParam::dump(nullptr, stream);
              }),
              "before\n" + header_of(this->map) + " a[0]=v\nmap is empty\n");
}

TYPED_TEST(ListDump, DoesNotFlushTheStream)
{
    fill(this->map, {{"a", {"v"}}});
    const std::unique_ptr<FILE, int (*)(FILE *)> stream{std::tmpfile(), std::fclose};
    ASSERT_NE(stream, nullptr);
    ASSERT_EQ(std::setvbuf(stream.get(), nullptr, _IOFBF, 4096), 0);
    const auto size = [&] {
        struct stat file {};
        EXPECT_EQ(fstat(fileno(stream.get()), &file), 0);
        return file.st_size;
    };
    TypeParam::dump(&this->map, stream.get());
    TypeParam::dump(nullptr, stream.get());
    EXPECT_EQ(size(), 0);
    ASSERT_EQ(std::fflush(stream.get()), 0);
    EXPECT_EQ(size(), static_cast<off_t>((this->dumped() + Dump<TypeParam>::text(nullptr)).size()));
}

TYPED_TEST(ListDump, ToAnUnwritableStreamLeavesTheContainerAsItIs)
{
    fill(this->map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const auto stream = unwritable_stream();
    ASSERT_NE(stream, nullptr);
    this->expect_unchanged(0, [&] {
        TypeParam::dump(&this->map, stream.get());
        return 0;
    });
    EXPECT_NE(std::ferror(stream.get()), 0);
}

TYPED_TEST(ListSndump, WritesWhatADumpPrints)
{
    fill(this->map, {{"b", {"1\0"s, "x\0y"s}}, {"a", {"22"}}, {"c", {""}}});
    EXPECT_EQ(Sndump<TypeParam>::text(&this->map), this->dumped());
}

TYPED_TEST(ListSndump, CutsTheTextAtEverySizeAndWritesNothingBehindIt)
{
    fill(this->map, {{"beta", {"22", "\xff\x80", ""}}, {"alpha", {"1\0"s, "one\0two"s}}});
    const std::string whole = this->dumped();
    for (std::size_t size = 1; size < whole.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(whole.size() + 10, '#');
        const uint32_t length =
            TypeParam::sndump(&this->map, buffer.data(), static_cast<uint32_t>(size));
        const std::string expected = whole.substr(0, size - 1);
        EXPECT_EQ(length, expected.size());
        std::string expected_buffer = expected + '\0';
        expected_buffer.resize(buffer.size(), '#');
        EXPECT_EQ(buffer, expected_buffer);
    }
}

TYPED_TEST(ListSndump, CutsAnUnsortedTextInTheSameWay)
{
    this->fill_in_order({{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = header_of(this->map) + " b[0]=1\n b[1]=2\n a[0]=3\n";
    for (std::size_t size = 1; size < whole.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(whole.size() + 10, '#');
        uint32_t length;
        {
            allocations::Failure no_memory(0);
            length = TypeParam::sndump(&this->map, buffer.data(), static_cast<uint32_t>(size));
        }
        EXPECT_EQ(length, std::min(whole.size(), size - 1));
        EXPECT_EQ(buffer.c_str(), whole.substr(0, size - 1));
    }
}

TYPED_TEST(ListSndump, IntoTwentyBytesHoldsTheFirstNineteenOfTheHeader)
{
    fill(this->map, {{"a", {"v"}}});
    char buffer[20];
    EXPECT_EQ(TypeParam::sndump(&this->map, buffer, sizeof buffer), 19U);
    EXPECT_EQ(buffer, header_of(this->map).substr(0, 19));
}

TYPED_TEST(ListSndump, WithRoomForTheHeaderHoldsTheHeaderOnly)
{
    fill(this->map, {{"a", {"v"}}});
    const std::string header = header_of(this->map);
    std::vector<char> buffer(header.size() + 1, '#');
    EXPECT_EQ(TypeParam::sndump(&this->map, buffer.data(), static_cast<uint32_t>(buffer.size())),
              header.size());
    EXPECT_STREQ(buffer.data(), header.c_str());
}

TYPED_TEST(ListSndump, WritesOverWhatTheBufferHolds)
{
    fill(this->map, {{"a", {"v"}}});
    char buffer[200] = "before";
    const std::string whole = this->dumped();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(TypeParam::sndump(&this->map, buffer, sizeof buffer), whole.size());
        EXPECT_EQ(buffer, whole);
    }
    EXPECT_EQ(TypeParam::sndump(nullptr, buffer, sizeof buffer), 13U);
    EXPECT_STREQ(buffer, "map is empty\n");
}

TYPED_TEST(ListSndump, CutsTheNoticeAtEverySizeToo)
{
    const std::string notice = "map is empty\n";
    this->for_each_empty([&](const auto *empty) {
        for (std::size_t size = 1; size < notice.size() + 3; ++size) {
            SCOPED_TRACE(size);
            std::string buffer(notice.size() + 10, '#');
            const std::string expected = notice.substr(0, size - 1);
            EXPECT_EQ(TypeParam::sndump(empty, buffer.data(), static_cast<uint32_t>(size)),
                      expected.size());
            std::string expected_buffer = expected + '\0';
            expected_buffer.resize(buffer.size(), '#');
            EXPECT_EQ(buffer, expected_buffer);
        }
    });
}

TYPED_TEST(ListSndump, IntoABufferOfSizeZeroWritesNothing)
{
    char untouched[] = "##";
    this->for_each_empty(
        [&](const auto *empty) { EXPECT_EQ(TypeParam::sndump(empty, untouched, 0), 0U); });
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(TypeParam::sndump(&this->map, untouched, 0), 0U);
    EXPECT_STREQ(untouched, "##");
}

TYPED_TEST(ListSndump, WithoutABufferGivesZero)
{
    this->for_each_empty([](const auto *empty) {
        EXPECT_EQ(TypeParam::sndump(empty, nullptr, 100), 0U);
        EXPECT_EQ(TypeParam::sndump(empty, nullptr, 0), 0U);
    });
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(TypeParam::sndump(&this->map, nullptr, 100), 0U);
    EXPECT_EQ(TypeParam::sndump(&this->map, nullptr, 0), 0U);
}

TYPED_TEST(ListSndump, WritesIntoABufferLargerThanAnIntCounts)
{
    void *buffer = mmap(nullptr, UINT32_MAX, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (buffer == MAP_FAILED) {
        GTEST_SKIP() << "the address space has no room for it";
    }
    fill(this->map, {{"b", {"1", "2"}}, {"a", {"3"}}});
    const std::string whole = this->dumped();
    EXPECT_EQ(TypeParam::sndump(&this->map, static_cast<char *>(buffer), UINT32_MAX), whole.size());
    EXPECT_STREQ(static_cast<char *>(buffer), whole.c_str());
    EXPECT_EQ(munmap(buffer, UINT32_MAX), 0);
}
