#include "multimap_fixture.hpp"

#include "multimap_internal.h"

#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <printf.h>

namespace {

const std::string untouched(64, '.');

constexpr uint32_t no_index = 0xA5A5A5A5;

// Text of every kind, its length from none to many pages.
std::vector<std::string> texts()
{
    std::string every_byte;
    for (int byte = 1; byte <= 0xFF; ++byte) {
        every_byte += static_cast<char>(byte);
    }
    return {"",
            "a",
            " ",
            "\n",
            "abc",
            "%s%n%d",
            "caf\303\251",
            "7:8",
            "a=b c\td",
            every_byte,
            std::string(100000, 'x')};
}

// The bytes that they are stored as.
std::vector<std::string> stored_texts()
{
    std::vector<std::string> values = texts();
    for (std::string &value : values) {
        value += '\0';
    }
    return values;
}

std::size_t value_size(std::size_t len)
{
    return sizeof(multimap_value_t) + len;
}

} // namespace

class MultimapStr : public MultimapTest {
  protected:
    uint32_t index = no_index;
};

TEST_F(MultimapStr, IsStoredWithItsNulBehindTheOtherValues)
{
    for (const std::string &text : texts()) {
        ASSERT_EQ(multimap_insert_str(&map, "key", text.c_str()), 0);
    }
    EXPECT_EQ(values_of(map, "key"), stored_texts());
}

TEST_F(MultimapStr, IsFoundByItsPosition)
{
    fill(map, {{"key", stored_texts()}});
    uint32_t position = 0;
    for (const std::string &text : texts()) {
        expect_unchanged(0, [&] { return multimap_find_str(&map, "key", text.c_str(), &index); });
        EXPECT_EQ(index, position++);
        expect_unchanged(0, [&] { return multimap_find_str(&map, "key", text.c_str(), nullptr); });
    }
}

TEST_F(MultimapStr, IsDeletedAlone)
{
    fill(map, {{"key", stored_texts()}});
    std::vector<std::string> left = stored_texts();
    for (const std::string &text : texts()) {
        EXPECT_EQ(multimap_delete_str(&map, "key", text.c_str()), 0);
        left.erase(left.begin());
        EXPECT_EQ(values_of(map, "key"), left);
    }
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MultimapStr, IsInsertedOnce)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    expect_unchanged(1, [this] { return multimap_insert_str(&map, "key", "text"); });
    EXPECT_EQ(multimap_insert_str(&map, "key", "Text"), 0);
    EXPECT_EQ(multimap_insert_str(&map, "other key", "text"), 0);
}

TEST_F(MultimapStr, IsAnotherValueThanItsBytesWithoutOrWithMoreNuls)
{
    fill(map, {{"key", {"text", "text\0\0"s, "text\0more\0"s}}});
    expect_unchanged(ENOENT, [this] { return multimap_find_str(&map, "key", "text", &index); });
    expect_unchanged(ENOENT, [this] { return multimap_delete_str(&map, "key", "text"); });
    EXPECT_EQ(index, no_index);
    EXPECT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(multimap_find_str(&map, "key", "text", &index), 0);
    EXPECT_EQ(index, 3U);
}

TEST_F(MultimapStr, FindAndDeleteReportAMissingTextOrKey)
{
    fill(map, {{"key", {"text\0"s}}, {"other key", {"other\0"s}}});
    for (const char *key : {"key", "missing"}) {
        expect_unchanged(ENOENT, [&] { return multimap_find_str(&map, key, "other", &index); });
        expect_unchanged(ENOENT, [&] { return multimap_find_str(&map, key, "other", nullptr); });
        expect_unchanged(ENOENT, [&] { return multimap_delete_str(&map, key, "other"); });
    }
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, RefusesNullForMapKeyOrText)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    const auto find = [this](const multimap_t *from, const char *key, const char *text) {
        return multimap_find_str(from, key, text, &index);
    };
    const std::function<int(multimap_t *, const char *, const char *)> calls[] = {
        find, multimap_insert_str, multimap_delete_str};
    for (const auto &call : calls) {
        expect_unchanged(EINVAL, [&] { return call(nullptr, "key", "text"); });
        expect_unchanged(EINVAL, [&] { return call(&map, nullptr, "text"); });
        expect_unchanged(EINVAL, [&] { return call(&map, "key", nullptr); });
        expect_unchanged(EINVAL, [&] { return call(&map, "missing", nullptr); });
        expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, nullptr); });
    }
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, RefusesAReleasedMultimap)
{
    multimap_t released = released_multimap();
    EXPECT_EQ(multimap_find_str(&released, "key", "text", &index), EINVAL);
    EXPECT_EQ(multimap_insert_str(&released, "key", "text"), EINVAL);
    EXPECT_EQ(multimap_delete_str(&released, "key", "text"), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    expect_unchanged(1, [this] { return multimap_insert_str(&map, "new", "text"); });
    EXPECT_EQ(multimap_insert_str(&map, "key", "more"), 0);
}

TEST_F(MultimapStr, NeedsNoMemoryButTheValues)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    EXPECT_EQ(multimap_insert_str(&map, "key", ""), 0);
    EXPECT_EQ(multimap_find_str(&map, "key", "text", nullptr), 0);
    EXPECT_EQ(multimap_delete_str(&map, "key", "text"), 0);
    EXPECT_EQ(log.sizes(), std::vector{value_size(sizeof "")});
}

TEST_F(MultimapStr, MayLieInTheMultimapThatItIsInsertedInto)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "a text"), 0);
    expect_unchanged(1, [this] {
        return multimap_insert_str(&map, stored_key(map, "key"), stored_text(map, "key", 0));
    });
    EXPECT_EQ(multimap_insert_str(&map, stored_key(map, "key"), stored_text(map, "key", 0) + 2), 0);
    EXPECT_EQ(multimap_insert_str(&map, stored_key(map, "key"), stored_key(map, "key")), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"a text\0"s, "text\0"s, "key\0"s}));
    EXPECT_EQ(multimap_insert_str(&map, stored_text(map, "key", 1), stored_key(map, "key")), 0);
    EXPECT_EQ(values_of(map, "text"), std::vector{"key\0"s});
}

TEST_F(MultimapStr, DeleteTakesTheStoredTextItself)
{
    fill(map, {{"key", {"first\0"s, "text\0"s, "last\0"s}}});
    EXPECT_EQ(multimap_delete_str(&map, "key", stored_text(map, "key", 1)), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"first\0"s, "last\0"s}));
}

TEST_F(MultimapStr, DeleteTakesTheLastStoredTextWithTheStoredKey)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_delete_str(&map, stored_key(map, "key"), stored_text(map, "key", 0)), 0);
    EXPECT_EQ(content_of(map), std::vector<KeyValues>());
}

TEST_F(MultimapStr, DeleteTakesAStoredKeyAsKeyAndText)
{
    fill(map, {{"key", {"key\0"s}}});
    EXPECT_EQ(multimap_delete_str(&map, stored_key(map, "key"), stored_key(map, "key")), 0);
    fill(map, {{"key", {"key\0"s}}});
    EXPECT_EQ(multimap_delete_str(&map, stored_text(map, "key", 0), stored_text(map, "key", 0)), 0);
    EXPECT_EQ(content_of(map), std::vector<KeyValues>());
}

class MultimapFmt : public MultimapTest {};

TEST_F(MultimapFmt, StoresTheFormattedTextWithItsNul)
{
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "%s", "abc"), 0);
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "100%%"), 0);
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "%s", ""), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"abc\0"s, "<abc|  -42>\0"s, "100%\0"s, "\0"s}));
}

TEST_F(MultimapFmt, DeletesTheFormattedTextWithItsNul)
{
    fill(map, {{"key", {"abc", "abc\0"s, "<abc|  -42>\0"s, "100%\0"s, "\0"s}}});
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "%s", "abc"), 0);
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "100%%"), 0);
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "%s", ""), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"abc"s});
}

TEST_F(MultimapFmt, TakesArgumentsOfEveryKindAndNumber)
{
    const std::string format = "%c %d %u %lld %f %d %d %d %d %d %d %.1f %d %s";
    const auto call = [&](const auto operation) {
        return operation(&map, "key", format.c_str(), 'a', -1, 4294967295U,
                         static_cast<long long>(INT64_MIN), 0.5, 1, 2, 3, 4, 5, 6, 7.5, 8, "x");
    };
    EXPECT_EQ(call(multimap_insert_fmt), 0);
    EXPECT_EQ(values_of(map, "key"),
              std::vector{"a -1 4294967295 -9223372036854775808 0.500000 1 2 3 4 5 6 7.5 8 x\0"s});
    EXPECT_EQ(call(multimap_delete_fmt), 0);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MultimapFmt, TakesTextOfAnyLength)
{
    for (const int width : {1, 7, 8, 127, 128, 129, 4095, 4096, 100000}) {
        const std::string text = std::string(static_cast<std::size_t>(width) - 1, ' ') + "7\0"s;
        EXPECT_EQ(multimap_insert_fmt(&map, "key", "%*d", width, 7), 0);
        EXPECT_EQ(values_of(map, "key"), std::vector{text});
        EXPECT_EQ(multimap_delete_fmt(&map, "key", "%*d", width, 7), 0);
        EXPECT_EQ(map.numkeys, 0);
    }
}

TEST_F(MultimapFmt, TakesAllThatIsFormattedThoughItHasANulInside)
{
    fill(map, {{"key", {"a\0"s}}});
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "a%cb", 0), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"a\0"s, "a\0b\0"s}));
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "a%cb", 0), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"a\0"s});
}

TEST_F(MultimapFmt, InsertRefusesATextThatTheKeyHolds)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "1"), 0);
    expect_unchanged(1, [this] { return multimap_insert_fmt(&map, "key", "%d", 1); });
}

TEST_F(MultimapFmt, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(multimap_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(multimap_insert_fmt(&map, "key", "%d", 1), 0);
    expect_unchanged(1, [this] { return multimap_insert_fmt(&map, "new", "%d", 1); });
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "%d", 2), 0);
}

TEST_F(MultimapFmt, DeleteReportsAMissingTextOrKey)
{
    fill(map, {{"key", {"1"}}, {"other key", {"1\0"s}}});
    expect_unchanged(ENOENT, [this] { return multimap_delete_fmt(&map, "key", "%d", 1); });
    expect_unchanged(ENOENT, [this] { return multimap_delete_fmt(&map, "missing", "%d", 1); });
}

TEST_F(MultimapFmt, RefusesNullForMapKeyOrFormat)
{
    const char *no_format = nullptr;
    ASSERT_EQ(multimap_insert_str(&map, "key", "1"), 0);
    const allocations::Log log;
    for (const auto call : {multimap_insert_fmt, multimap_delete_fmt}) {
        expect_unchanged(EINVAL, [&] { return call(nullptr, "key", "%d", 1); });
        expect_unchanged(EINVAL, [&] { return call(&map, nullptr, "%d", 1); });
        expect_unchanged(EINVAL, [&] { return call(&map, "key", no_format, 1); });
        expect_unchanged(EINVAL, [&] { return call(&map, "missing", no_format, 1); });
        expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, no_format, 1); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MultimapFmt, RefusesAReleasedMultimap)
{
    multimap_t released = released_multimap();
    EXPECT_EQ(multimap_insert_fmt(&released, "key", "%d", 1), EINVAL);
    EXPECT_EQ(multimap_delete_fmt(&released, "key", "%d", 1), EINVAL);
}

TEST_F(MultimapFmt, ReportsTheErrorOfAFormatThatFails)
{
    // No wide character of the "C" locale.
    const wchar_t unconvertible[] = {0xD800, 0};
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    for (const auto call : {multimap_insert_fmt, multimap_delete_fmt}) {
        expect_unchanged(EILSEQ, [&] { return call(&map, "key", "%ls", unconvertible); });
        expect_unchanged(EILSEQ, [&] { return call(&map, "missing", "%ls", unconvertible); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

namespace {

int conversions_before_failure;

int convert_or_fail(FILE *stream, const printf_info *, const void *const *)
{
    if (conversions_before_failure-- > 0) {
        return std::fputs("converted", stream) < 0 ? -1 : 9;
    }
    errno = EIO;
    return -1;
}

int no_arguments(const printf_info *, std::size_t, int *, int *)
{
    return 0;
}

} // namespace

TEST_F(MultimapFmt, ChangesNothingIfTheTextCannotBeWrittenAfterItWasMeasured)
{
    const std::string format = "%Y"; // takes no argument; clang wants to see one
    ASSERT_EQ(register_printf_specifier('Y', convert_or_fail, no_arguments), 0);
    fill(map, {{"key", {"\0"s, "converted\0"s}}});
    for (const auto call : {multimap_insert_fmt, multimap_delete_fmt}) {
        expect_unchanged(EIO, [&] {
            conversions_before_failure = 1;
            return call(&map, "key", format.c_str(), 0);
        });
    }
    conversions_before_failure = 2;
    EXPECT_EQ(multimap_delete_fmt(&map, "key", format.c_str(), 0), 0);
    conversions_before_failure = 2;
    EXPECT_EQ(multimap_insert_fmt(&map, "other key", format.c_str(), 0), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"\0"s});
    EXPECT_EQ(values_of(map, "other key"), std::vector{"converted\0"s});
    ASSERT_EQ(register_printf_specifier('Y', nullptr, nullptr), 0);
}

TEST_F(MultimapFmt, AllocatesTheTextFirst)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "1"), 0);
    const std::size_t live = allocations::live();
    const allocations::Log log;
    EXPECT_EQ(multimap_insert_fmt(&map, "key", "%d", 12345), 0);
    EXPECT_EQ(allocations::live(), live + 1);
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "%d", 12345), 0);
    EXPECT_EQ(allocations::live(), live);
    const std::size_t text = sizeof "12345";
    EXPECT_EQ(log.sizes(), (std::vector{text, value_size(text), text}));
}

TEST_F(MultimapFmt, InsertTakesKeyFormatAndArgumentsFromTheMultimap)
{
    fill(map, {{"key", {"<%s|%s>\0"s}}});
    const char *format = stored_text(map, "key", 0);
    const char *key = stored_key(map, "key");
    EXPECT_EQ(multimap_insert_fmt(&map, key, format, format, key), 0);
    EXPECT_EQ(values_of(map, "key"), (std::vector{"<%s|%s>\0"s, "<<%s|%s>|key>\0"s}));
}

TEST_F(MultimapFmt, DeleteTakesTheValueThatItFreesAsArgument)
{
    fill(map, {{"key", {"first\0"s, "text\0"s}}});
    EXPECT_EQ(multimap_delete_fmt(&map, "key", "%s", stored_text(map, "key", 1)), 0);
    EXPECT_EQ(values_of(map, "key"), std::vector{"first\0"s});
    EXPECT_EQ(multimap_delete_fmt(&map, stored_key(map, "key"), "%s", stored_text(map, "key", 0)),
              0);
    EXPECT_EQ(content_of(map), std::vector<KeyValues>());
}

TEST_F(MultimapFmt, DeleteTakesTheValueThatItFreesAsFormat)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_delete_fmt(&map, stored_key(map, "key"), stored_text(map, "key", 0), 0), 0);
    EXPECT_EQ(content_of(map), std::vector<KeyValues>());
}

class MultimapCasefindStr : public MultimapTest {
  protected:
    uint32_t index = no_index;

    void expect_at(uint32_t position, const char *text)
    {
        index = no_index;
        expect_unchanged(0, [&] { return multimap_casefind_str(&map, "key", text, &index); });
        EXPECT_EQ(index, position) << text;
    }

    void expect_missing(const char *text)
    {
        index = no_index;
        expect_unchanged(ENOENT, [&] { return multimap_casefind_str(&map, "key", text, &index); });
        EXPECT_EQ(index, no_index) << text;
    }
};

TEST_F(MultimapCasefindStr, GivesThePositionOfTheTextInAnyCase)
{
    fill(map, {{"key", {"other\0"s, "raw", "Some Text\0"s, "behind\0"s}}});
    for (const char *text : {"Some Text", "some text", "SOME TEXT", "sOME tEXT"}) {
        expect_at(2, text);
    }
    expect_at(0, "OTHER");
    expect_at(3, "Behind");
}

TEST_F(MultimapCasefindStr, GivesTheFirstOfSeveralMatches)
{
    fill(map, {{"key", {"before\0"s, "ABC\0"s, "abc\0"s, "Abc\0"s}}});
    for (const char *text : {"abc", "ABC", "Abc", "aBC"}) {
        expect_at(1, text);
    }
}

TEST_F(MultimapCasefindStr, TakesNoOutput)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_casefind_str(&map, "key", "TEXT", nullptr), 0);
    EXPECT_EQ(multimap_casefind_str(&map, "key", "other", nullptr), ENOENT);
}

TEST_F(MultimapCasefindStr, PassesOverValuesOfAnotherLengthThanTheTextWithItsNul)
{
    fill(map, {{"key", {"", "abc", "abc\0\0"s, "abc\0d"s, "abcd", "ab\0"s, "ab\0\0"s}}});
    expect_missing("abc");
    expect_at(5, "AB");
    fill(map, {{"key", {"abc\0"s}}});
    expect_at(7, "ABC");
}

TEST_F(MultimapCasefindStr, ReadsNothingBehindAValueWithoutItsNul)
{
    fill(map, {{"key", {"abc\0"s}}});
    // The NUL stays where it is, behind the value's end.
    _multimap_entry(&map, "key")->values.first->len -= 1;
    expect_missing("abc");
    expect_missing("ABC");
}

TEST_F(MultimapCasefindStr, ComparesBeyondANulInsideTheValue)
{
    fill(map, {{"key", {"a\0c\0"s, "\0bc\0"s}}});
    expect_missing("abc");
    expect_missing("a");
    expect_missing("");
}

TEST_F(MultimapCasefindStr, FindsTheEmptyTextButNotTheEmptyValue)
{
    fill(map, {{"key", {""}}});
    expect_missing("");
    fill(map, {{"key", {"\0"s}}});
    expect_at(1, "");
}

TEST_F(MultimapCasefindStr, FoldsLettersAlone)
{
    fill(map, {{"key", {"@[\\]^_caf\351\0"s}}});
    expect_at(0, "@[\\]^_CAF\351");
    expect_missing("`{|}~\177caf\351");
    expect_missing("`[\\]^_caf\351");
    expect_missing("@[\\]^_caf\311");
    expect_missing("@{\\]^_caf\351");
}

TEST_F(MultimapCasefindStr, FindsTextOfEveryKind)
{
    fill(map, {{"key", stored_texts()}});
    uint32_t position = 0;
    for (const std::string &text : texts()) {
        expect_at(position++, text.c_str());
    }
    expect_at(position - 1, std::string(100000, 'X').c_str());
    expect_missing(std::string(99999, 'X').c_str());
    expect_missing((std::string(99999, 'X') + "Y").c_str());
}

TEST_F(MultimapCasefindStr, FindsNoKeyInAnotherCaseUnlessTheMultimapDoes)
{
    fill(map, {{"Key", {"text\0"s}}});
    expect_missing("text");
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    expect_at(0, "text");
}

TEST_F(MultimapCasefindStr, ReportsAMissingKey)
{
    fill(map, {{"other key", {"text\0"s}}});
    expect_missing("text");
}

TEST_F(MultimapCasefindStr, RefusesNullForMapKeyOrText)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_casefind_str(nullptr, "key", "text", &index), EINVAL);
    EXPECT_EQ(multimap_casefind_str(&map, nullptr, "text", &index), EINVAL);
    EXPECT_EQ(multimap_casefind_str(&map, "key", nullptr, &index), EINVAL);
    EXPECT_EQ(multimap_casefind_str(&map, "missing", nullptr, &index), EINVAL);
    EXPECT_EQ(multimap_casefind_str(nullptr, nullptr, nullptr, nullptr), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapCasefindStr, FindsNothingInAReleasedMultimapButChecksItsArguments)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(multimap_casefind_str(&released, "key", "text", &index), ENOENT);
    EXPECT_EQ(multimap_casefind_str(&released, nullptr, "text", &index), EINVAL);
    EXPECT_EQ(multimap_casefind_str(&released, "key", nullptr, &index), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapCasefindStr, TakesTextAndKeyFromTheMultimap)
{
    fill(map, {{"key", {"KEY\0"s, "text\0"s}}});
    const char *key = stored_key(map, "key");
    EXPECT_EQ(multimap_casefind_str(&map, key, stored_text(map, "key", 1), &index), 0);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(multimap_casefind_str(&map, key, key, &index), 0);
    EXPECT_EQ(index, 0U);
}

TEST_F(MultimapCasefindStr, AllocatesNothing)
{
    fill(map, {{"key", {"text\0"s}}});
    const allocations::Log log;
    EXPECT_EQ(multimap_casefind_str(&map, "key", "TEXT", &index), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MultimapCopyStr : public MultimapTest {
  protected:
    std::string buffer = untouched;

    // What the buffer must hold once it has received the text.
    static std::string filled(const std::string &text)
    {
        return text + '\0' + untouched.substr(text.size() + 1);
    }

    void expect_copied(uint32_t index, const std::string &text, uint32_t size = 64)
    {
        buffer = untouched;
        const allocations::Log log;
        EXPECT_EQ(multimap_copy_str(&map, "key", index, buffer.data(), size), 0);
        EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
        EXPECT_EQ(buffer, filled(text)) << index << ' ' << size;
    }
};

TEST_F(MultimapCopyStr, CopiesTheValueAtThePosition)
{
    fill(map, {{"key", {"first\0"s, "second\0"s, "third\0"s}}, {"other key", {"other\0"s}}});
    expect_copied(0, "first");
    expect_copied(1, "second");
    expect_copied(2, "third");
}

TEST_F(MultimapCopyStr, CutsTheTextToTheBuffer)
{
    fill(map, {{"key", {"0123456789\0"s}}});
    expect_copied(0, "012", 4);
}

TEST_F(MultimapCopyStr, WritesTheTextAndItsNulAndNoMoreForEverySize)
{
    const std::string text = "0123456789";
    fill(map, {{"key", {"before", text + '\0'}}});
    for (uint32_t size = 1; size <= buffer.size(); ++size) {
        expect_copied(1, text.substr(0, size - 1), size);
    }
    expect_copied(1, text, UINT32_MAX);
}

TEST_F(MultimapCopyStr, WritesNothingToABufferOfSizeZero)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_copy_str(&map, "key", 0, buffer.data(), 0), 0);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MultimapCopyStr, CopiesTextOfEveryKind)
{
    fill(map, {{"key", stored_texts()}});
    uint32_t index = 0;
    for (const std::string &text : texts()) {
        std::string large(200000, '\xA5');
        EXPECT_EQ(multimap_copy_str(&map, "key", index++, large.data(),
                                    static_cast<uint32_t>(large.size())),
                  0);
        EXPECT_STREQ(large.c_str(), text.c_str());
    }
}

TEST_F(MultimapCopyStr, EndsAtTheFirstNulOrWithTheValue)
{
    fill(map, {{"key", {"ab\0cd\0"s, "\0cd"s, "abc", ""}}});
    expect_copied(0, "ab");
    expect_copied(1, "");
    expect_copied(2, "abc");
    expect_copied(3, "");
}

TEST_F(MultimapCopyStr, ReportsAMissingPositionOrKeyAndLeavesTheBufferAlone)
{
    fill(map, {{"key", {"first\0"s, "second\0"s}}});
    EXPECT_EQ(multimap_copy_str(&map, "key", 2, buffer.data(), 64), ENOENT);
    EXPECT_EQ(multimap_copy_str(&map, "key", UINT32_MAX, buffer.data(), 64), ENOENT);
    EXPECT_EQ(multimap_copy_str(&map, "missing", 0, buffer.data(), 64), ENOENT);
    EXPECT_EQ(multimap_copy_str(&map, "missing", 0, buffer.data(), 0), ENOENT);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MultimapCopyStr, RefusesNullForMapKeyOrBuffer)
{
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_copy_str(nullptr, "key", 0, buffer.data(), 64), EINVAL);
    EXPECT_EQ(multimap_copy_str(&map, nullptr, 0, buffer.data(), 64), EINVAL);
    EXPECT_EQ(multimap_copy_str(&map, "key", 0, nullptr, 64), EINVAL);
    EXPECT_EQ(multimap_copy_str(&map, "key", 0, nullptr, 0), EINVAL);
    EXPECT_EQ(multimap_copy_str(&map, "key", 1, nullptr, 64), EINVAL);
    EXPECT_EQ(multimap_copy_str(&map, "missing", 0, nullptr, 64), EINVAL);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MultimapCopyStr, RefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(multimap_copy_str(&released, "key", 0, buffer.data(), 64), EINVAL);
    EXPECT_EQ(buffer, untouched);
}

class MultimapDupStr : public MultimapTest {
  protected:
    char other[1];
    char *copy = other;
};

TEST_F(MultimapDupStr, CopiesEveryByteOfTheValueIntoOneBlockOfItsLength)
{
    const std::vector<std::string> values = {
        "\0"s, "abc\0"s, "abc", "a\0b\0c"s, "\0\0\0"s, "7", std::string(100000, 'x')};
    fill(map, {{"key", values}});
    for (uint32_t index = 0; index < values.size(); ++index) {
        SCOPED_TRACE(index);
        const allocations::Log log;
        expect_unchanged(0, [&] {
            const int result = multimap_dup_str(&map, "key", index, &copy);
            EXPECT_EQ(std::string(copy, values[index].size()), values[index]);
            std::free(copy);
            return result;
        });
        EXPECT_EQ(log.sizes(), std::vector{values[index].size()});
    }
}

TEST_F(MultimapDupStr, HandsOutABlockOfTheCallersOwn)
{
    fill(map, {{"key", {"text\0"s}}});
    ASSERT_EQ(multimap_dup_str(&map, "key", 0, &copy), 0);
    copy[0] = 'T';
    EXPECT_EQ(values_of(map, "key"), std::vector{"text\0"s});
    ASSERT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_STREQ(copy, "Text");
    std::free(copy);
}

TEST_F(MultimapDupStr, CopiesAnEmptyValueIntoABlockOfSizeZero)
{
    fill(map, {{"key", {""}}});
    const allocations::Log log;
    EXPECT_EQ(multimap_dup_str(&map, "key", 0, &copy), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{0});
    EXPECT_NE(copy, other);
    std::free(copy);
}

TEST_F(MultimapDupStr, ReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    fill(map, {{"key", {"first\0"s, "second\0"s}}});
    const allocations::Log log;
    expect_unchanged(ENOENT, [this] { return multimap_dup_str(&map, "key", 2, &copy); });
    expect_unchanged(ENOENT, [this] { return multimap_dup_str(&map, "key", UINT32_MAX, &copy); });
    expect_unchanged(ENOENT, [this] { return multimap_dup_str(&map, "missing", 0, &copy); });
    EXPECT_EQ(copy, other);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MultimapDupStr, RefusesNullForMapKeyOrOutput)
{
    fill(map, {{"key", {"text\0"s}}});
    expect_unchanged(EINVAL, [this] { return multimap_dup_str(nullptr, "key", 0, &copy); });
    expect_unchanged(EINVAL, [this] { return multimap_dup_str(&map, nullptr, 0, &copy); });
    expect_unchanged(EINVAL, [this] { return multimap_dup_str(&map, "key", 0, nullptr); });
    expect_unchanged(EINVAL, [this] { return multimap_dup_str(&map, "key", 1, nullptr); });
    expect_unchanged(EINVAL, [this] { return multimap_dup_str(&map, "missing", 0, nullptr); });
    EXPECT_EQ(copy, other);
}

TEST_F(MultimapDupStr, RefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(multimap_dup_str(&released, "key", 0, &copy), EINVAL);
    EXPECT_EQ(copy, other);
}

TEST_F(MultimapDupStr, GivesNullIfThereIsNoMemory)
{
    fill(map, {{"key", {"text\0"s}}});
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        copy = other;
        const allocations::Failure failure(0, how);
        expect_unchanged(ENOMEM, [this] { return multimap_dup_str(&map, "key", 0, &copy); });
        EXPECT_EQ(copy, nullptr);
    }
}
