// What operations return, in C++ and in words.
#include "helpers.hpp"

#include <textmaps/textmaps.hpp>

#include <cstring>
#include <set>

namespace {

TEST(ErrorText, HasWordsOfItsOwnForEachResultOfTheLibrary)
{
    std::set<std::string> words;
    for (const int result : {0, 1, ENOENT, ENOMEM, EINVAL, ERANGE}) {
        EXPECT_STRNE(textmaps_error_text(result), std::strerror(result));
        words.insert(textmaps_error_text(result));
    }
    EXPECT_EQ(words.size(), 6U);
    EXPECT_STREQ(textmaps_error_text(0), "done");
    EXPECT_STREQ(textmaps_error_text(ENOMEM), "out of memory");
}

TEST(ErrorText, LeavesOtherNumbersToStrerror)
{
    for (const int result : {ENOSPC, EOVERFLOW, EILSEQ, -1, 100000}) {
        const std::string words = std::strerror(result);
        EXPECT_EQ(textmaps_error_text(result), words);
    }
}

TEST(Status, IsTrueForWhatWasDone)
{
    const textmaps::status done = 0;
    const textmaps::status failed = ENOENT;
    EXPECT_TRUE(done);
    EXPECT_FALSE(failed);
    EXPECT_EQ(done.error(), 0);
    EXPECT_EQ(failed.error(), ENOENT);
}

TEST(Status, ComparesWithNumbers)
{
    const textmaps::status failed = 1;
    EXPECT_TRUE(failed == 1);
    EXPECT_TRUE(textmaps::status::refused == failed);
    EXPECT_FALSE(failed == ENOENT);
    EXPECT_TRUE(failed != ENOENT);
    EXPECT_FALSE(failed != 1);
}

TEST(Status, SpeaksInWords)
{
    EXPECT_EQ(textmaps::status(ERANGE).message(), std::string(textmaps_error_text(ERANGE)));
}

TEST(Result, HoldsAValue)
{
    const textmaps::result<std::string_view> held = std::string_view("value");
    ASSERT_TRUE(held);
    EXPECT_EQ(*held, "value");
    EXPECT_EQ(held->size(), 5U);
    EXPECT_EQ(held.value_or("other"), "value");
    EXPECT_EQ(held.error(), 0);
    EXPECT_EQ(held.message(), "done"s);
}

TEST(Result, HoldsWhyThereIsNoValue)
{
    const textmaps::result<std::string_view> missing = textmaps::status(ENOENT);
    EXPECT_FALSE(missing);
    EXPECT_EQ(missing.value_or("other"), "other");
    EXPECT_EQ(missing.error(), ENOENT);
    EXPECT_EQ(missing.message(), std::string(textmaps_error_text(ENOENT)));
}

} // namespace
