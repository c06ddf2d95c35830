// Text, where the arraymap has rules of its own: replacing, and that a value may repeat.
#include "arraymap_fixture.hpp"
#include "typed_texts.hpp"

#include <cstdint>
#include <cstdlib>

namespace {

using Values = std::vector<std::string>;
using Indexes = std::vector<uint32_t>;

} // namespace

class ArraymapStr : public ArraymapTest {};

TEST_F(ArraymapStr, IsInsertedAgain)
{
    EXPECT_EQ(arraymap_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(arraymap_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(arraymap_insert_str(&map, stored_key(map, "key"), stored_text(map, "key", 0)), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"text\0"s, "text\0"s, "text\0"s}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapStr, IsDeletedWhereverTheKeyHoldsIt)
{
    fill(map, {{"key", {"text\0"s, "a\0"s, "text", "text\0"s, "Text\0"s, "text\0"s}}});
    EXPECT_EQ(arraymap_delete_str(&map, "key", "text"), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"a\0"s, "text", "Text\0"s}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapStr, IsDeletedWhereverItIsThoughItIsOneOfThoseThatGo)
{
    for (const uint32_t given : {0U, 1U, 3U}) {
        fill(map, {{"key", {"text\0"s, "text\0"s, "a\0"s, "text\0"s}}});
        EXPECT_EQ(arraymap_delete_str(&map, "key", stored_text(map, "key", given)), 0);
        EXPECT_EQ(values_of(map, "key"), Values{"a\0"s}) << given;
        ASSERT_EQ(arraymap_clear(&map), 0);
    }
}

class ArraymapReplaceStr : public ArraymapTest {};

TEST_F(ArraymapReplaceStr, StoresTheTextWithItsNulAtTheIndex)
{
    fill(map, {{"key", {"before", "old", "behind"}}, {"other", {"a", "b"}}});
    for (const std::string &text : texts()) {
        EXPECT_EQ(arraymap_replace_str(&map, "key", 1, text.c_str()), 0);
        EXPECT_EQ(values_of(map, "key"), (Values{"before", text + '\0', "behind"}));
    }
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(values_of(map, "other"), (Values{"a", "b"}));
    EXPECT_EQ(map.numvalues, 5);
}

TEST_F(ArraymapReplaceStr, ReportsAMissingIndexOrKeyAndAddsNothing)
{
    fill(map, {{"key", {"first\0"s, "second\0"s}}});
    expect_unchanged(ENOENT, [this] { return arraymap_replace_str(&map, "key", 2, "text"); });
    expect_unchanged(ENOENT,
                     [this] { return arraymap_replace_str(&map, "key", UINT32_MAX, "text"); });
    expect_unchanged(ENOENT, [this] { return arraymap_replace_str(&map, "missing", 0, "text"); });
}

TEST_F(ArraymapReplaceStr, RefusesNullForMapKeyOrTextBeforeItLooksAnythingUp)
{
    fill(map, {{"key", {"text\0"s}}});
    expect_unchanged(EINVAL, [] { return arraymap_replace_str(nullptr, "key", 0, "new"); });
    expect_unchanged(EINVAL, [this] { return arraymap_replace_str(&map, nullptr, 0, "new"); });
    for (const uint32_t index : {0U, 1U}) {
        expect_unchanged(EINVAL, [&] { return arraymap_replace_str(&map, "key", index, nullptr); });
        expect_unchanged(EINVAL,
                         [&] { return arraymap_replace_str(&map, "missing", index, nullptr); });
    }
}

TEST_F(ArraymapReplaceStr, RefusesAReleasedArraymap)
{
    arraymap_t released = released_arraymap();
    EXPECT_EQ(arraymap_replace_str(&released, "key", 0, "text"), EINVAL);
    EXPECT_EQ(arraymap_replace_fmt(&released, "key", 0, "%d", 1), EINVAL);
}

TEST_F(ArraymapReplaceStr, AllocatesTheValueAlone)
{
    fill(map, {{"key", {"old"}}});
    const allocations::Log log;
    EXPECT_EQ(arraymap_replace_str(&map, "key", 0, "text"), 0);
    EXPECT_EQ(arraymap_replace_str(&map, "key", 1, "text"), ENOENT);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(arraymap_value_t) + sizeof "text"});
}

TEST_F(ArraymapReplaceStr, TakesTheTextThatItReplaces)
{
    fill(map, {{"key", {"first\0"s, "a text\0"s}}});
    for (const char *expected : {"a text", "text", "xt", ""}) {
        const char *stored = stored_text(map, "key", 1);
        const std::size_t skipped = std::string(stored).size() - std::string(expected).size();
        EXPECT_EQ(arraymap_replace_str(&map, "key", 1, stored + skipped), 0);
        EXPECT_EQ(values_of(map, "key"), (Values{"first\0"s, expected + "\0"s}));
    }
}

TEST_F(ArraymapReplaceStr, TakesKeyAndTextFromTheArraymap)
{
    fill(map, {{"key", {"first\0"s, "key\0"s}}});
    const char *key = stored_key(map, "key");
    EXPECT_EQ(arraymap_replace_str(&map, key, 0, key + 1), 0);
    EXPECT_EQ(arraymap_replace_str(&map, stored_text(map, "key", 1), 1, key), 0);
    EXPECT_EQ(arraymap_replace_str(&map, stored_text(map, "key", 1), 1, stored_text(map, key, 0)),
              0);
    EXPECT_EQ(content_of(map), (std::vector<KeyValues>{{"key", {"ey\0"s, "ey\0"s}}}));
}

class ArraymapFmt : public ArraymapTest {};

TEST_F(ArraymapFmt, InsertsATextThatTheKeyHoldsAgain)
{
    ASSERT_EQ(arraymap_insert_str(&map, "key", "1"), 0);
    EXPECT_EQ(arraymap_insert_fmt(&map, "key", "%d", 1), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"1\0"s, "1\0"s}));
}

TEST_F(ArraymapFmt, DeletesEveryEqualTextThoughItIsMadeOfOneOfThem)
{
    fill(map, {{"key", {"text\0"s, "a\0"s, "text\0"s}}});
    EXPECT_EQ(arraymap_delete_fmt(&map, stored_key(map, "key"), "%s", stored_text(map, "key", 2)),
              0);
    EXPECT_EQ(values_of(map, "key"), Values{"a\0"s});
}

class ArraymapReplaceFmt : public ArraymapTest {};

TEST_F(ArraymapReplaceFmt, StoresTheFormattedTextWithItsNulAtTheIndex)
{
    fill(map, {{"key", {"before", "old", "behind"}}});
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 1, "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"before", "<abc|  -42>\0"s, "behind"}));
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 2, "100%%"), 0);
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 0, "%s", ""), 0);
    EXPECT_EQ(values_of(map, "key"), (Values{"\0"s, "<abc|  -42>\0"s, "100%\0"s}));
    EXPECT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 2}));
}

TEST_F(ArraymapReplaceFmt, TakesArgumentsOfEveryKindAndNumber)
{
    fill(map, {{"key", {"old"}}});
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 0, "%c %d %u %lld %f %d %d %d %d %d %d %.1f %d %s",
                                   'a', -1, 4294967295U, static_cast<long long>(INT64_MIN), 0.5, 1,
                                   2, 3, 4, 5, 6, 7.5, 8, "x"),
              0);
    EXPECT_EQ(values_of(map, "key"),
              Values{"a -1 4294967295 -9223372036854775808 0.500000 1 2 3 4 5 6 7.5 8 x\0"s});
}

TEST_F(ArraymapReplaceFmt, TakesTextOfAnyLengthAndWithANulInside)
{
    fill(map, {{"key", {"old"}}});
    for (const int width : {1, 127, 128, 4096, 100000}) {
        EXPECT_EQ(arraymap_replace_fmt(&map, "key", 0, "%*d", width, 7), 0);
        EXPECT_EQ(values_of(map, "key"),
                  Values{std::string(static_cast<std::size_t>(width) - 1, ' ') + "7\0"s});
    }
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 0, "a%cb", 0), 0);
    EXPECT_EQ(values_of(map, "key"), Values{"a\0b\0"s});
}

TEST_F(ArraymapReplaceFmt, ReportsAMissingIndexOrKeyAndAddsNothing)
{
    fill(map, {{"key", {"first\0"s, "second\0"s}}});
    expect_unchanged(ENOENT, [this] { return arraymap_replace_fmt(&map, "key", 2, "%d", 1); });
    expect_unchanged(ENOENT, [this] { return arraymap_replace_fmt(&map, "missing", 0, "%d", 1); });
}

TEST_F(ArraymapReplaceFmt, RefusesNullForMapKeyOrFormat)
{
    const char *no_format = nullptr;
    fill(map, {{"key", {"text\0"s}}});
    const allocations::Log log;
    expect_unchanged(EINVAL, [] { return arraymap_replace_fmt(nullptr, "key", 0, "%d", 1); });
    expect_unchanged(EINVAL, [this] { return arraymap_replace_fmt(&map, nullptr, 0, "%d", 1); });
    expect_unchanged(EINVAL, [&] { return arraymap_replace_fmt(&map, "key", 0, no_format, 1); });
    expect_unchanged(EINVAL, [&] { return arraymap_replace_fmt(&map, "key", 1, no_format, 1); });
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(ArraymapReplaceFmt, ReportsTheErrorOfAFormatThatFailsBeforeAMissingIndex)
{
    fill(map, {{"key", {"text\0"s}}});
    const allocations::Log log;
    for (const uint32_t index : {0U, 1U}) {
        expect_unchanged(EILSEQ, [&] {
            return arraymap_replace_fmt(&map, "key", index, "%ls", unconvertible());
        });
        expect_unchanged(EOVERFLOW, [&] {
            return arraymap_replace_fmt(&map, "key", index, too_long_format(), 1);
        });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(ArraymapReplaceFmt, AllocatesTheTextAndThenTheValue)
{
    fill(map, {{"key", {"old"}}});
    const std::size_t live = allocations::live();
    const allocations::Log log;
    EXPECT_EQ(arraymap_replace_fmt(&map, "key", 0, "%d", 12345), 0);
    EXPECT_EQ(log.sizes(),
              (std::vector{sizeof "12345", sizeof(arraymap_value_t) + sizeof "12345"}));
    EXPECT_EQ(allocations::live(), live);
}

TEST_F(ArraymapReplaceFmt, TakesKeyFormatAndArgumentsOfTheValueThatItReplaces)
{
    fill(map, {{"key", {"<%s|%s>\0"s}}});
    const char *format = stored_text(map, "key", 0);
    const char *key = stored_key(map, "key");
    EXPECT_EQ(arraymap_replace_fmt(&map, key, 0, format, format, key), 0);
    EXPECT_EQ(content_of(map), (std::vector<KeyValues>{{"key", {"<<%s|%s>|key>\0"s}}}));
}

TEST_F(ArraymapReplaceFmt, GrowsATextByItself)
{
    fill(map, {{"key", {"ab\0"s}}});
    std::string grown = "ab";
    for (int i = 0; i < 10; ++i) {
        const char *stored = stored_text(map, "key", 0);
        ASSERT_EQ(arraymap_replace_fmt(&map, "key", 0, "%s%s", stored, stored), 0);
        grown += grown;
    }
    EXPECT_EQ(values_of(map, "key"), Values{grown + '\0'});
}

class ArraymapTextOut : public ArraymapTest {};

TEST_F(ArraymapTextOut, GoesByThePositionNotTheIndex)
{
    fill(map, {{"key", {"same\0"s, "first\0"s}}});
    ASSERT_EQ(arraymap_sethashfunc(&map, hash_all_to_zero), 0);
    fill(map, {{"KEY", {"same\0"s, "second\0"s}}});
    ASSERT_EQ(arraymap_setcasekeys(&map, 1), 0);
    ASSERT_EQ(indexes_of(map, "key"), (Indexes{0, 1, 1}));
    std::string buffer = untouched;
    EXPECT_EQ(arraymap_copy_str(&map, "key", 2, buffer.data(), 64), 0);
    EXPECT_EQ(buffer, filled("second"));
    EXPECT_EQ(arraymap_copy_str(&map, "key", 3, buffer.data(), 64), ENOENT);
    char *copy = nullptr;
    ASSERT_EQ(arraymap_dup_str(&map, "key", 2, &copy), 0);
    EXPECT_STREQ(copy, "second");
    std::free(copy);
}
