#include "map_fixture.hpp"
#include "typed_texts.hpp"

#include <climits>
#include <cstdint>
#include <cstdlib>

namespace {

std::size_t entry_size(const std::string &key, std::size_t valuesz)
{
    return sizeof(map_entry_t) + valuesz + key.size() + 1;
}

} // namespace

class MapStr : public MapTest {};

TEST_F(MapStr, StoresTheTextWithItsNul)
{
    for (const std::string &text : texts()) {
        ASSERT_EQ(map_insert_str(&map, "inserted", text.c_str()), 0);
        EXPECT_EQ(value_of(map, "inserted"), text + '\0');
        ASSERT_EQ(map_erase(&map, "inserted"), 0);

        ASSERT_EQ(map_replace_str(&map, "replaced", text.c_str()), 0);
        EXPECT_EQ(value_of(map, "replaced"), text + '\0');
    }
}

TEST_F(MapStr, InsertLeavesAKeyThatIsThereAlone)
{
    ASSERT_EQ(map_insert_str(&map, "key", "old"), 0);
    expect_unchanged(1, [this] { return map_insert_str(&map, "key", "new"); });
}

TEST_F(MapStr, StoreRefusesNullForMapKeyOrText)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    for (const auto store : {map_insert_str, map_replace_str}) {
        expect_unchanged(EINVAL, [&] { return store(nullptr, "key", "new"); });
        expect_unchanged(EINVAL, [&] { return store(&map, nullptr, "new"); });
        expect_unchanged(EINVAL, [&] { return store(&map, "key", nullptr); });
        expect_unchanged(EINVAL, [&] { return store(&map, "new key", nullptr); });
        expect_unchanged(EINVAL, [&] { return store(nullptr, nullptr, nullptr); });
    }
}

TEST_F(MapStr, StoreRefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(map_insert_str(&released, "key", "text"), EINVAL);
    EXPECT_EQ(map_replace_str(&released, "key", "text"), EINVAL);
}

TEST_F(MapStr, StoreKeepsToTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    expect_unchanged(1, [this] { return map_insert_str(&map, "new", "text"); });
    expect_unchanged(1, [this] { return map_replace_str(&map, "new", "text"); });
    EXPECT_EQ(map_replace_str(&map, "key", "other"), 0);
}

TEST_F(MapStr, StoreAllocatesNothingButTheEntry)
{
    const allocations::Log log;
    EXPECT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_replace_str(&map, "key", ""), 0);
    EXPECT_EQ(log.sizes(),
              (std::vector{entry_size("key", sizeof "text"), entry_size("key", sizeof "")}));
}

TEST_F(MapStr, StoreReportsThatThereIsNoMemory)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    const allocations::Failure failure(0);
    expect_unchanged(ENOMEM, [this] { return map_insert_str(&map, "new", "text"); });
    expect_unchanged(ENOMEM, [this] { return map_replace_str(&map, "new", "text"); });
    expect_unchanged(ENOMEM, [this] { return map_replace_str(&map, "key", "new"); });
}

TEST_F(MapStr, ReplaceTakesTheTextThatItReplaces)
{
    ASSERT_EQ(map_insert_str(&map, "key", "a text"), 0);
    EXPECT_EQ(map_replace_str(&map, "key", stored_text(map, "key")), 0);
    EXPECT_EQ(value_of(map, "key"), "a text\0"s);
    EXPECT_EQ(map_replace_str(&map, "key", stored_text(map, "key") + 2), 0);
    EXPECT_EQ(value_of(map, "key"), "text\0"s);
    EXPECT_EQ(map_replace_str(&map, "key", stored_text(map, "key") + 4), 0);
    EXPECT_EQ(value_of(map, "key"), "\0"s);
}

TEST_F(MapStr, ReplaceTakesTheKeyOfTheEntryThatItReplacesAsKeyAndText)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_replace_str(&map, stored_key(map, "key"), stored_key(map, "key")), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("key"s, "key\0"s)}));
    EXPECT_EQ(map_replace_str(&map, stored_text(map, "key"), stored_key(map, "key") + 1), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("key"s, "ey\0"s)}));
}

TEST_F(MapStr, InsertTakesKeyAndTextFromAnotherEntry)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_insert_str(&map, stored_text(map, "key"), stored_key(map, "key")), 0);
    EXPECT_EQ(value_of(map, "text"), "key\0"s);
}

class MapCmpStr : public MapTest {};

TEST_F(MapCmpStr, IsZeroForTheSameText)
{
    for (const std::string &text : texts()) {
        ASSERT_EQ(map_replace_str(&map, "key", text.c_str()), 0);
        expect_unchanged(0, [&] { return map_cmp_str(&map, "key", text.c_str()); });
    }
}

TEST_F(MapCmpStr, OrdersTheStoredTextBeforeOrBehindTheGivenOne)
{
    ASSERT_EQ(map_insert_str(&map, "key", "abc"), 0);
    EXPECT_LT(map_cmp_str(&map, "key", "abd"), 0);
    EXPECT_LT(map_cmp_str(&map, "key", "abcd"), 0);
    EXPECT_LT(map_cmp_str(&map, "key", "abc\377"), 0);
    EXPECT_GT(map_cmp_str(&map, "key", "abb"), 0);
    EXPECT_GT(map_cmp_str(&map, "key", "ab"), 0);
    EXPECT_GT(map_cmp_str(&map, "key", ""), 0);
    EXPECT_GT(map_cmp_str(&map, "key", "ABC"), 0);
    EXPECT_LT(map_cmp_str(&map, "key", "\377"), 0);
}

TEST_F(MapCmpStr, CountsTheNul)
{
    ASSERT_EQ(insert(map, "bare", "abc"), 0);
    ASSERT_EQ(insert(map, "two", "abc\0\0"s), 0);
    EXPECT_LT(map_cmp_str(&map, "bare", "abc"), 0);
    EXPECT_GT(map_cmp_str(&map, "two", "abc"), 0);
}

TEST_F(MapCmpStr, IsMinusOneForAMissingKey)
{
    EXPECT_EQ(map_cmp_str(&map, "missing", ""), -1);
}

TEST_F(MapCmpStr, ComparesNullAsANullValueOfNoLength)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    ASSERT_EQ(insert(map, "empty", ""), 0);
    expect_unchanged(-1, [this] { return map_cmp_str(&map, "key", nullptr); });
    expect_unchanged(-1, [this] { return map_cmp_str(&map, "empty", nullptr); });
    EXPECT_EQ(map_cmp_str(&map, "missing", nullptr), -1);
}

TEST_F(MapCmpStr, LeavesNullForMapOrKeyToTheCore)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_cmp_str(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(map_cmp_str(nullptr, "key", nullptr), -1);
    EXPECT_EQ(map_cmp_str(nullptr, nullptr, "text"), -1);
    EXPECT_EQ(map_cmp_str(nullptr, "key", "text"), -1);
    EXPECT_EQ(map_cmp_str(&map, nullptr, "text"), -1);
    EXPECT_EQ(map_cmp_str(&map, nullptr, nullptr), -1);
}

TEST_F(MapCmpStr, IsMinusOneForAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_cmp_str(&released, "key", "text"), -1);
    EXPECT_EQ(map_cmp_str(&released, nullptr, nullptr), -1);
}

class MapFmt : public MapTest {};

TEST_F(MapFmt, StoresTheFormattedTextWithItsNul)
{
    EXPECT_EQ(map_insert_fmt(&map, "key", "%s", "abc"), 0);
    EXPECT_EQ(value_of(map, "key"), "abc\0"s);
    EXPECT_EQ(map_replace_fmt(&map, "key", "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(value_of(map, "key"), "<abc|  -42>\0"s);
}

TEST_F(MapFmt, TakesAFormatWithoutArguments)
{
    EXPECT_EQ(map_insert_fmt(&map, "key", "100%%"), 0);
    EXPECT_EQ(value_of(map, "key"), "100%\0"s);
}

TEST_F(MapFmt, StoresTheEmptyText)
{
    EXPECT_EQ(map_insert_fmt(&map, "key", "%s", ""), 0);
    EXPECT_EQ(value_of(map, "key"), "\0"s);
}

TEST_F(MapFmt, TakesArgumentsOfEveryKindAndNumber)
{
    const auto expect_stored = [this] {
        EXPECT_EQ(value_of(map, "key"),
                  "a -1 4294967295 -9223372036854775808 0.500000 1 2 3 4 5 6 7.5 8 x\0"s);
        ASSERT_EQ(map_erase(&map, "key"), 0);
    };
    EXPECT_EQ(map_insert_fmt(&map, "key", "%c %d %u %lld %f %d %d %d %d %d %d %.1f %d %s", 'a', -1,
                             4294967295U, static_cast<long long>(INT64_MIN), 0.5, 1, 2, 3, 4, 5, 6,
                             7.5, 8, "x"),
              0);
    expect_stored();
    EXPECT_EQ(map_replace_fmt(&map, "key", "%c %d %u %lld %f %d %d %d %d %d %d %.1f %d %s", 'a', -1,
                              4294967295U, static_cast<long long>(INT64_MIN), 0.5, 1, 2, 3, 4, 5, 6,
                              7.5, 8, "x"),
              0);
    expect_stored();
}

TEST_F(MapFmt, StoresTextOfAnyLength)
{
    for (const int width : {1, 7, 8, 127, 128, 129, 4095, 4096, 100000}) {
        EXPECT_EQ(map_replace_fmt(&map, "key", "%*d", width, 7), 0);
        EXPECT_EQ(value_of(map, "key"),
                  std::string(static_cast<std::size_t>(width) - 1, ' ') + "7\0"s);
    }
}

TEST_F(MapFmt, StoresAllThatIsFormattedThoughItHasANulInside)
{
    EXPECT_EQ(map_insert_fmt(&map, "key", "a%cb", 0), 0);
    EXPECT_EQ(value_of(map, "key"), "a\0b\0"s);
}

TEST_F(MapFmt, InsertLeavesAKeyThatIsThereAlone)
{
    ASSERT_EQ(map_insert_str(&map, "key", "old"), 0);
    expect_unchanged(1, [this] { return map_insert_fmt(&map, "key", "%d", 1); });
}

TEST_F(MapFmt, KeepsToTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(map_insert_fmt(&map, "key", "%d", 1), 0);
    expect_unchanged(1, [this] { return map_insert_fmt(&map, "new", "%d", 1); });
    expect_unchanged(1, [this] { return map_replace_fmt(&map, "new", "%d", 1); });
    EXPECT_EQ(map_replace_fmt(&map, "key", "%d", 2), 0);
}

TEST_F(MapFmt, RefusesNullForMapKeyOrFormat)
{
    const char *no_format = nullptr;
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    for (const auto store : {map_insert_fmt, map_replace_fmt}) {
        expect_unchanged(EINVAL, [&] { return store(nullptr, "key", "%d", 1); });
        expect_unchanged(EINVAL, [&] { return store(&map, nullptr, "%d", 1); });
        expect_unchanged(EINVAL, [&] { return store(&map, "key", no_format, 1); });
        expect_unchanged(EINVAL, [&] { return store(&map, "new key", no_format, 1); });
        expect_unchanged(EINVAL, [&] { return store(nullptr, nullptr, no_format, 1); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MapFmt, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(map_insert_fmt(&released, "key", "%d", 1), EINVAL);
    EXPECT_EQ(map_replace_fmt(&released, "key", "%d", 1), EINVAL);
}

TEST_F(MapFmt, ReportsATextThatIsTooLong)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    for (const auto store : {map_insert_fmt, map_replace_fmt}) {
        expect_unchanged(EOVERFLOW, [&] { return store(&map, "key", too_long_format(), 1); });
        expect_unchanged(EOVERFLOW, [&] { return store(&map, "new", too_long_format(), 1); });
    }
}

TEST_F(MapFmt, ReportsTheErrorOfAFormatThatFails)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    for (const auto store : {map_insert_fmt, map_replace_fmt}) {
        expect_unchanged(EILSEQ, [&] { return store(&map, "key", "%ls", unconvertible()); });
        expect_unchanged(EILSEQ, [&] { return store(&map, "new", "%ls", unconvertible()); });
    }
}

TEST_F(MapFmt, AllocatesTheTextAndThenTheEntry)
{
    const std::vector<std::size_t> expected = {sizeof "12345", entry_size("key", sizeof "12345")};
    {
        const allocations::Log log;
        EXPECT_EQ(map_insert_fmt(&map, "key", "%d", 12345), 0);
        EXPECT_EQ(log.sizes(), expected);
    }
    {
        const allocations::Log log;
        EXPECT_EQ(map_replace_fmt(&map, "key", "%d", 54321), 0);
        EXPECT_EQ(log.sizes(), expected);
    }
}

TEST_F(MapFmt, ReportsThatThereIsNoMemoryForTextOrEntry)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        for (const std::size_t nth : {0U, 1U}) {
            SCOPED_TRACE(nth);
            const auto expect_no_memory = [&](const char *key, const auto store) {
                expect_unchanged(ENOMEM, [&] {
                    const allocations::Failure failure(nth, how);
                    const int result = store(&map, key, "%d", 1);
                    EXPECT_TRUE(failure.happened());
                    return result;
                });
            };
            expect_no_memory("new", map_insert_fmt);
            expect_no_memory("new", map_replace_fmt);
            expect_no_memory("key", map_replace_fmt);
        }
    }
}

TEST_F(MapFmt, TakesFormatAndArgumentsOfTheEntryThatItReplaces)
{
    ASSERT_EQ(map_insert_str(&map, "key", "<%s|%s>"), 0);
    const char *format = stored_text(map, "key");
    EXPECT_EQ(map_replace_fmt(&map, stored_key(map, "key"), format, format, stored_key(map, "key")),
              0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("key"s, "<<%s|%s>|key>\0"s)}));
}

TEST_F(MapFmt, GrowsATextByItself)
{
    ASSERT_EQ(map_insert_str(&map, "key", "ab"), 0);
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(
            map_replace_fmt(&map, "key", "%s%s", stored_text(map, "key"), stored_text(map, "key")),
            0);
    }
    const std::optional<std::string> grown = value_of(map, "key");
    ASSERT_TRUE(grown);
    ASSERT_EQ(grown->size(), 2049U);
    for (std::size_t i = 0; i < 2048; ++i) {
        ASSERT_EQ((*grown)[i], i % 2 == 0 ? 'a' : 'b');
    }
}

class MapCopyStr : public MapTest {
  protected:
    std::string buffer = untouched;
};

TEST_F(MapCopyStr, CutsTheTextToTheBuffer)
{
    ASSERT_EQ(map_insert_str(&map, "key", "abcdef"), 0);
    EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), 4), 0);
    EXPECT_EQ(buffer, filled("abc"));
}

TEST_F(MapCopyStr, WritesTheTextAndItsNulAndNoMoreForEverySize)
{
    const std::string text = "abcdef";
    ASSERT_EQ(map_insert_str(&map, "key", text.c_str()), 0);
    for (uint32_t size = 1; size <= buffer.size(); ++size) {
        buffer = untouched;
        EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), size), 0);
        EXPECT_EQ(buffer, filled(text.substr(0, size - 1))) << size;
    }
}

TEST_F(MapCopyStr, WritesNothingToABufferOfSizeZero)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), 0), 0);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MapCopyStr, TakesTheGreatestSize)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), UINT32_MAX), 0);
    EXPECT_EQ(buffer, filled("text"));
}

TEST_F(MapCopyStr, CopiesTextOfEveryKind)
{
    for (const std::string &text : texts()) {
        ASSERT_EQ(map_replace_str(&map, "key", text.c_str()), 0);
        std::string large(200000, '\xA5');
        EXPECT_EQ(map_copy_str(&map, "key", large.data(), static_cast<uint32_t>(large.size())), 0);
        EXPECT_STREQ(large.c_str(), text.c_str());
    }
}

TEST_F(MapCopyStr, EndsAtTheFirstNul)
{
    ASSERT_EQ(insert(map, "key", "ab\0cd\0"s), 0);
    ASSERT_EQ(insert(map, "at once", "\0cd"s), 0);
    EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), 64), 0);
    EXPECT_EQ(buffer, filled("ab"));
    buffer = untouched;
    EXPECT_EQ(map_copy_str(&map, "at once", buffer.data(), 64), 0);
    EXPECT_EQ(buffer, filled(""));
}

TEST_F(MapCopyStr, EndsWithAValueThatHasNoNul)
{
    ASSERT_EQ(insert(map, "key", "abc"), 0);
    ASSERT_EQ(insert(map, "empty", ""), 0);
    EXPECT_EQ(map_copy_str(&map, "key", buffer.data(), 64), 0);
    EXPECT_EQ(buffer, filled("abc"));
    buffer = untouched;
    EXPECT_EQ(map_copy_str(&map, "empty", buffer.data(), 64), 0);
    EXPECT_EQ(buffer, filled(""));
}

TEST_F(MapCopyStr, ReportsAMissingKeyAndLeavesTheBufferAlone)
{
    EXPECT_EQ(map_copy_str(&map, "missing", buffer.data(), 64), ENOENT);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MapCopyStr, RefusesNullForMapKeyOrBuffer)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_copy_str(nullptr, "key", buffer.data(), 64), EINVAL);
    EXPECT_EQ(map_copy_str(&map, nullptr, buffer.data(), 64), EINVAL);
    EXPECT_EQ(map_copy_str(&map, "key", nullptr, 64), EINVAL);
    EXPECT_EQ(map_copy_str(&map, "key", nullptr, 0), EINVAL);
    EXPECT_EQ(map_copy_str(&map, "missing", nullptr, 64), EINVAL);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MapCopyStr, RefusesAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_copy_str(&released, "key", buffer.data(), 64), EINVAL);
    EXPECT_EQ(buffer, untouched);
}

TEST_F(MapCopyStr, ChangesAndAllocatesNothing)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    expect_unchanged(0, [this] { return map_copy_str(&map, "key", buffer.data(), 64); });
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MapDupStr : public MapTest {
  protected:
    char other[1];
    char *copy = other;
};

TEST_F(MapDupStr, CopiesEveryByteOfTheValueIntoOneBlockOfItsLength)
{
    for (const std::string &value : values_of_every_kind()) {
        SCOPED_TRACE(value.size());
        ASSERT_EQ(replace(map, "key", value), 0);
        const allocations::Log log;
        expect_unchanged(0, [this] {
            const int result = map_dup_str(&map, "key", &copy);
            const std::size_t length = map_get_entry(&map, "key")->valuesz;
            EXPECT_EQ(value_of(map, "key"), std::string(copy, length));
            std::free(copy);
            return result;
        });
        EXPECT_EQ(log.sizes(), std::vector{value.size()});
    }
}

TEST_F(MapDupStr, HandsOutABlockOfTheCallersOwn)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    ASSERT_EQ(map_dup_str(&map, "key", &copy), 0);
    EXPECT_NE(copy, stored_text(map, "key"));
    copy[0] = 'T';
    EXPECT_EQ(value_of(map, "key"), "text\0"s);
    ASSERT_EQ(map_erase(&map, "key"), 0);
    EXPECT_STREQ(copy, "Text");
    std::free(copy);
}

TEST_F(MapDupStr, CopiesAnEmptyValueIntoABlockOfSizeZero)
{
    ASSERT_EQ(insert(map, "key", ""), 0);
    const allocations::Log log;
    EXPECT_EQ(map_dup_str(&map, "key", &copy), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{0});
    EXPECT_NE(copy, other);
    std::free(copy);
}

TEST_F(MapDupStr, ReportsAMissingKeyAndLeavesTheOutputAlone)
{
    const allocations::Log log;
    expect_unchanged(ENOENT, [this] { return map_dup_str(&map, "missing", &copy); });
    EXPECT_EQ(copy, other);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MapDupStr, RefusesNullForMapKeyOrOutput)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    expect_unchanged(EINVAL, [this] { return map_dup_str(nullptr, "key", &copy); });
    expect_unchanged(EINVAL, [this] { return map_dup_str(&map, nullptr, &copy); });
    expect_unchanged(EINVAL, [this] { return map_dup_str(&map, "key", nullptr); });
    expect_unchanged(EINVAL, [this] { return map_dup_str(&map, "missing", nullptr); });
    EXPECT_EQ(copy, other);
}

TEST_F(MapDupStr, RefusesAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_dup_str(&released, "key", &copy), EINVAL);
    EXPECT_EQ(copy, other);
}

TEST_F(MapDupStr, GivesNullIfThereIsNoMemory)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        copy = other;
        const allocations::Failure failure(0, how);
        expect_unchanged(ENOMEM, [this] { return map_dup_str(&map, "key", &copy); });
        EXPECT_EQ(copy, nullptr);
    }
}

class MapCasecmpStr : public MapTest {};

TEST_F(MapCasecmpStr, IsZeroForTheSameTextInAnyCase)
{
    ASSERT_EQ(map_insert_str(&map, "key", "abc"), 0);
    for (const char *text : {"abc", "ABC", "aBc"}) {
        expect_unchanged(0, [&] { return map_casecmp_str(&map, "key", text); });
    }
    ASSERT_EQ(map_replace_str(&map, "key", "ABC"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "key", "abc"), 0);
}

TEST_F(MapCasecmpStr, IsNegativeIfTheGivenTextSortsFirst)
{
    ASSERT_EQ(map_insert_str(&map, "key", "Mno"), 0);
    EXPECT_LT(map_casecmp_str(&map, "key", "mnn"), 0);
    EXPECT_LT(map_casecmp_str(&map, "key", "MNN"), 0);
    EXPECT_LT(map_casecmp_str(&map, "key", "mn"), 0);
    EXPECT_LT(map_casecmp_str(&map, "key", ""), 0);
}

TEST_F(MapCasecmpStr, IsPositiveIfTheStoredTextSortsFirst)
{
    ASSERT_EQ(map_insert_str(&map, "key", "Mno"), 0);
    EXPECT_GT(map_casecmp_str(&map, "key", "mnp"), 0);
    EXPECT_GT(map_casecmp_str(&map, "key", "MNP"), 0);
    EXPECT_GT(map_casecmp_str(&map, "key", "mnop"), 0);
    EXPECT_GT(map_casecmp_str(&map, "key", "\377"), 0);
}

TEST_F(MapCasecmpStr, FoldsLettersAlone)
{
    ASSERT_EQ(map_insert_str(&map, "key", "[caf\351"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "key", "[CAF\351"), 0);
    EXPECT_NE(map_casecmp_str(&map, "key", "[CAF\311"), 0);
    EXPECT_NE(map_casecmp_str(&map, "key", "{CAF\351"), 0);
}

TEST_F(MapCasecmpStr, EndsWithAValueThatHasNoNul)
{
    ASSERT_EQ(insert(map, "d", "abc"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "d", "ABC"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "d", "ABCD"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "d", "ABCX"), 0);
    EXPECT_LT(map_casecmp_str(&map, "d", "AB"), 0);
}

TEST_F(MapCasecmpStr, FindsAnyTextEqualToAnEmptyValue)
{
    ASSERT_EQ(insert(map, "key", ""), 0);
    EXPECT_EQ(map_casecmp_str(&map, "key", "anything"), 0);
}

TEST_F(MapCasecmpStr, EndsAtTheFirstNul)
{
    ASSERT_EQ(insert(map, "key", "ab\0cd\0"s), 0);
    EXPECT_EQ(map_casecmp_str(&map, "key", "AB"), 0);
    EXPECT_GT(map_casecmp_str(&map, "key", "ABCD"), 0);
}

TEST_F(MapCasecmpStr, IsMinusOneForAMissingKey)
{
    EXPECT_EQ(map_casecmp_str(&map, "missing", "text"), -1);
}

TEST_F(MapCasecmpStr, IsMinusOneForNullUnlessAllThreeAre)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_casecmp_str(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(map_casecmp_str(nullptr, "key", nullptr), -1);
    EXPECT_EQ(map_casecmp_str(nullptr, nullptr, "text"), -1);
    EXPECT_EQ(map_casecmp_str(nullptr, "key", "text"), -1);
    EXPECT_EQ(map_casecmp_str(&map, nullptr, "text"), -1);
    EXPECT_EQ(map_casecmp_str(&map, "key", nullptr), -1);
    EXPECT_EQ(map_casecmp_str(&map, nullptr, nullptr), -1);
}

TEST_F(MapCasecmpStr, IsMinusOneForAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_casecmp_str(&released, "key", "text"), -1);
    EXPECT_EQ(map_casecmp_str(&released, nullptr, nullptr), -1);
}
