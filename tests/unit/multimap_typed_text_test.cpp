// Text, where the multimap has rules of its own: finding, and that a key holds a value once.
#include "multimap_fixture.hpp"
#include "typed_texts.hpp"

#include "multimap_internal.h"

#include <cstdint>

class MultimapStr : public MultimapTest {
  protected:
    uint32_t index = no_index;
};

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

TEST_F(MultimapStr, IsInsertedOnce)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    expect_unchanged(1, [this] { return multimap_insert_str(&map, "key", "text"); });
    EXPECT_EQ(multimap_insert_str(&map, "key", "Text"), 0);
    EXPECT_EQ(multimap_insert_str(&map, "other key", "text"), 0);
}

TEST_F(MultimapStr, IsNotFoundByItsBytesWithoutOrWithMoreNuls)
{
    fill(map, {{"key", {"text", "text\0\0"s, "text\0more\0"s}}});
    expect_unchanged(ENOENT, [this] { return multimap_find_str(&map, "key", "text", &index); });
    EXPECT_EQ(index, no_index);
    fill(map, {{"key", {"text\0"s}}});
    EXPECT_EQ(multimap_find_str(&map, "key", "text", &index), 0);
    EXPECT_EQ(index, 3U);
}

TEST_F(MultimapStr, FindReportsAMissingTextOrKey)
{
    fill(map, {{"key", {"text\0"s}}, {"other key", {"other\0"s}}});
    for (const char *key : {"key", "missing"}) {
        expect_unchanged(ENOENT, [&] { return multimap_find_str(&map, key, "other", &index); });
        expect_unchanged(ENOENT, [&] { return multimap_find_str(&map, key, "other", nullptr); });
    }
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, FindRefusesNullForMapKeyOrText)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(multimap_find_str(nullptr, "key", "text", &index), EINVAL);
    EXPECT_EQ(multimap_find_str(&map, nullptr, "text", &index), EINVAL);
    EXPECT_EQ(multimap_find_str(&map, "key", nullptr, &index), EINVAL);
    EXPECT_EQ(multimap_find_str(&map, "missing", nullptr, &index), EINVAL);
    EXPECT_EQ(multimap_find_str(nullptr, nullptr, nullptr, &index), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, FindRefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(multimap_find_str(&released, "key", "text", &index), EINVAL);
    EXPECT_EQ(index, no_index);
}

TEST_F(MultimapStr, FindNeedsNoMemory)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    EXPECT_EQ(multimap_find_str(&map, "key", "text", nullptr), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MultimapStr, IsInsertedOnceThoughItIsTheStoredTextItself)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "a text"), 0);
    expect_unchanged(1, [this] {
        return multimap_insert_str(&map, stored_key(map, "key"), stored_text(map, "key", 0));
    });
}

class MultimapFmt : public MultimapTest {};

TEST_F(MultimapFmt, InsertRefusesATextThatTheKeyHolds)
{
    ASSERT_EQ(multimap_insert_str(&map, "key", "1"), 0);
    expect_unchanged(1, [this] { return multimap_insert_fmt(&map, "key", "%d", 1); });
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
