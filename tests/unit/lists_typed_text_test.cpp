// Text, as the multimap and the arraymap have it alike.
#include "list_families.hpp"
#include "typed_texts.hpp"

#include <cstdint>
#include <cstdlib>

namespace {

template <class Family>
class TextTest : public Family::Test {
  protected:
    static std::size_t value_size(std::size_t len)
    {
        return sizeof(typename Family::ValueNode) + len;
    }
};

} // namespace

template <class Family>
class ListStr : public TextTest<Family> {
};

TYPED_TEST_SUITE(ListStr, ListFamilies, TypeName);

TYPED_TEST(ListStr, IsStoredWithItsNulBehindTheOtherValues)
{
    for (const std::string &text : texts()) {
        ASSERT_EQ(TypeParam::insert_str(&this->map, "key", text.c_str()), 0);
    }
    EXPECT_EQ(values_of(this->map, "key"), stored_texts());
}

TYPED_TEST(ListStr, IsDeletedAlone)
{
    fill(this->map, {{"key", stored_texts()}});
    std::vector<std::string> left = stored_texts();
    for (const std::string &text : texts()) {
        EXPECT_EQ(TypeParam::delete_str(&this->map, "key", text.c_str()), 0);
        left.erase(left.begin());
        EXPECT_EQ(values_of(this->map, "key"), left);
    }
    EXPECT_EQ(this->map.numkeys, 0);
}

TYPED_TEST(ListStr, IsAnotherValueThanItsBytesWithoutOrWithMoreNuls)
{
    fill(this->map, {{"key", {"text", "text\0\0"s, "text\0more\0"s}}});
    this->expect_unchanged(ENOENT,
                           [this] { return TypeParam::delete_str(&this->map, "key", "text"); });
    EXPECT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    EXPECT_EQ(values_of(this->map, "key").at(3), "text\0"s);
}

TYPED_TEST(ListStr, DeleteReportsAMissingTextOrKey)
{
    fill(this->map, {{"key", {"text\0"s}}, {"other key", {"other\0"s}}});
    for (const char *key : {"key", "missing"}) {
        this->expect_unchanged(ENOENT,
                               [&] { return TypeParam::delete_str(&this->map, key, "other"); });
    }
}

TYPED_TEST(ListStr, RefusesNullForMapKeyOrText)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    for (const auto call : {TypeParam::insert_str, TypeParam::delete_str}) {
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, "key", "text"); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, nullptr, "text"); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "key", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "missing", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, nullptr); });
    }
}

TYPED_TEST(ListStr, RefusesAReleasedContainer)
{
    auto released = TypeParam::released();
    EXPECT_EQ(TypeParam::insert_str(&released, "key", "text"), EINVAL);
    EXPECT_EQ(TypeParam::delete_str(&released, "key", "text"), EINVAL);
}

TYPED_TEST(ListStr, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    this->expect_unchanged(1, [this] { return TypeParam::insert_str(&this->map, "new", "text"); });
    EXPECT_EQ(TypeParam::insert_str(&this->map, "key", "more"), 0);
}

TYPED_TEST(ListStr, NeedsNoMemoryButTheValues)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    const allocations::Log log;
    EXPECT_EQ(TypeParam::insert_str(&this->map, "key", ""), 0);
    EXPECT_EQ(TypeParam::delete_str(&this->map, "key", "text"), 0);
    EXPECT_EQ(log.sizes(), std::vector{this->value_size(sizeof "")});
}

TYPED_TEST(ListStr, MayLieInTheContainerThatItIsInsertedInto)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "a text"), 0);
    EXPECT_EQ(TypeParam::insert_str(&this->map, stored_key(this->map, "key"),
                                    stored_text(this->map, "key", 0) + 2),
              0);
    EXPECT_EQ(TypeParam::insert_str(&this->map, stored_key(this->map, "key"),
                                    stored_key(this->map, "key")),
              0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{"a text\0"s, "text\0"s, "key\0"s}));
    EXPECT_EQ(TypeParam::insert_str(&this->map, stored_text(this->map, "key", 1),
                                    stored_key(this->map, "key")),
              0);
    EXPECT_EQ(values_of(this->map, "text"), std::vector{"key\0"s});
}

TYPED_TEST(ListStr, DeleteTakesTheStoredTextItself)
{
    fill(this->map, {{"key", {"first\0"s, "text\0"s, "last\0"s}}});
    EXPECT_EQ(TypeParam::delete_str(&this->map, "key", stored_text(this->map, "key", 1)), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{"first\0"s, "last\0"s}));
}

TYPED_TEST(ListStr, DeleteTakesTheLastStoredTextWithTheStoredKey)
{
    fill(this->map, {{"key", {"text\0"s}}});
    EXPECT_EQ(TypeParam::delete_str(&this->map, stored_key(this->map, "key"),
                                    stored_text(this->map, "key", 0)),
              0);
    EXPECT_EQ(content_of(this->map), std::vector<KeyValues>());
}

TYPED_TEST(ListStr, DeleteTakesAStoredKeyAsKeyAndText)
{
    fill(this->map, {{"key", {"key\0"s}}});
    EXPECT_EQ(TypeParam::delete_str(&this->map, stored_key(this->map, "key"),
                                    stored_key(this->map, "key")),
              0);
    fill(this->map, {{"key", {"key\0"s}}});
    EXPECT_EQ(TypeParam::delete_str(&this->map, stored_text(this->map, "key", 0),
                                    stored_text(this->map, "key", 0)),
              0);
    EXPECT_EQ(content_of(this->map), std::vector<KeyValues>());
}

template <class Family>
class ListFmt : public TextTest<Family> {
};

TYPED_TEST_SUITE(ListFmt, ListFamilies, TypeName);

TYPED_TEST(ListFmt, StoresTheFormattedTextWithItsNul)
{
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "%s", "abc"), 0);
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "100%%"), 0);
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "%s", ""), 0);
    EXPECT_EQ(values_of(this->map, "key"),
              (std::vector{"abc\0"s, "<abc|  -42>\0"s, "100%\0"s, "\0"s}));
}

TYPED_TEST(ListFmt, DeletesTheFormattedTextWithItsNul)
{
    fill(this->map, {{"key", {"abc", "abc\0"s, "<abc|  -42>\0"s, "100%\0"s, "\0"s}}});
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "%s", "abc"), 0);
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "<%s|%5d>", "abc", -42), 0);
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "100%%"), 0);
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "%s", ""), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"abc"s});
}

TYPED_TEST(ListFmt, TakesArgumentsOfEveryKindAndNumber)
{
    const std::string format = "%c %d %u %lld %f %d %d %d %d %d %d %.1f %d %s";
    const auto call = [&](const auto operation) {
        return operation(&this->map, "key", format.c_str(), 'a', -1, 4294967295U,
                         static_cast<long long>(INT64_MIN), 0.5, 1, 2, 3, 4, 5, 6, 7.5, 8, "x");
    };
    EXPECT_EQ(call(TypeParam::insert_fmt), 0);
    EXPECT_EQ(values_of(this->map, "key"),
              std::vector{"a -1 4294967295 -9223372036854775808 0.500000 1 2 3 4 5 6 7.5 8 x\0"s});
    EXPECT_EQ(call(TypeParam::delete_fmt), 0);
    EXPECT_EQ(this->map.numkeys, 0);
}

TYPED_TEST(ListFmt, TakesTextOfAnyLength)
{
    for (const int width : {1, 7, 8, 127, 128, 129, 4095, 4096, 100000}) {
        const std::string text = std::string(static_cast<std::size_t>(width) - 1, ' ') + "7\0"s;
        EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "%*d", width, 7), 0);
        EXPECT_EQ(values_of(this->map, "key"), std::vector{text});
        EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "%*d", width, 7), 0);
        EXPECT_EQ(this->map.numkeys, 0);
    }
}

TYPED_TEST(ListFmt, TakesAllThatIsFormattedThoughItHasANulInside)
{
    fill(this->map, {{"key", {"a\0"s}}});
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "a%cb", 0), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{"a\0"s, "a\0b\0"s}));
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "a%cb", 0), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"a\0"s});
}

TYPED_TEST(ListFmt, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(TypeParam::insert_fmt(&this->map, "key", "%d", 1), 0);
    this->expect_unchanged(1, [this] { return TypeParam::insert_fmt(&this->map, "new", "%d", 1); });
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "%d", 2), 0);
}

TYPED_TEST(ListFmt, DeleteReportsAMissingTextOrKey)
{
    fill(this->map, {{"key", {"1"}}, {"other key", {"1\0"s}}});
    this->expect_unchanged(ENOENT,
                           [this] { return TypeParam::delete_fmt(&this->map, "key", "%d", 1); });
    this->expect_unchanged(
        ENOENT, [this] { return TypeParam::delete_fmt(&this->map, "missing", "%d", 1); });
}

TYPED_TEST(ListFmt, RefusesNullForMapKeyOrFormat)
{
    const char *no_format = nullptr;
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "1"), 0);
    const allocations::Log log;
    for (const auto call : {TypeParam::insert_fmt, TypeParam::delete_fmt}) {
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, "key", "%d", 1); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, nullptr, "%d", 1); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "key", no_format, 1); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "missing", no_format, 1); });
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, no_format, 1); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(ListFmt, RefusesAReleasedContainer)
{
    auto released = TypeParam::released();
    EXPECT_EQ(TypeParam::insert_fmt(&released, "key", "%d", 1), EINVAL);
    EXPECT_EQ(TypeParam::delete_fmt(&released, "key", "%d", 1), EINVAL);
}

TYPED_TEST(ListFmt, ReportsTheErrorOfAFormatThatFails)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    const allocations::Log log;
    for (const auto call : {TypeParam::insert_fmt, TypeParam::delete_fmt}) {
        this->expect_unchanged(EILSEQ,
                               [&] { return call(&this->map, "key", "%ls", unconvertible()); });
        this->expect_unchanged(EILSEQ,
                               [&] { return call(&this->map, "missing", "%ls", unconvertible()); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(ListFmt, ReportsATextThatIsTooLong)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "text"), 0);
    const allocations::Log log;
    for (const auto call : {TypeParam::insert_fmt, TypeParam::delete_fmt}) {
        this->expect_unchanged(EOVERFLOW,
                               [&] { return call(&this->map, "key", too_long_format(), 1); });
        this->expect_unchanged(EOVERFLOW,
                               [&] { return call(&this->map, "missing", too_long_format(), 1); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(ListFmt, AllocatesTheTextFirst)
{
    ASSERT_EQ(TypeParam::insert_str(&this->map, "key", "1"), 0);
    const std::size_t live = allocations::live();
    const allocations::Log log;
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, "key", "%d", 12345), 0);
    EXPECT_EQ(allocations::live(), live + 1);
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "%d", 12345), 0);
    EXPECT_EQ(allocations::live(), live);
    const std::size_t text = sizeof "12345";
    EXPECT_EQ(log.sizes(), (std::vector{text, this->value_size(text), text}));
}

TYPED_TEST(ListFmt, InsertTakesKeyFormatAndArgumentsFromTheContainer)
{
    fill(this->map, {{"key", {"<%s|%s>\0"s}}});
    const char *format = stored_text(this->map, "key", 0);
    const char *key = stored_key(this->map, "key");
    EXPECT_EQ(TypeParam::insert_fmt(&this->map, key, format, format, key), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{"<%s|%s>\0"s, "<<%s|%s>|key>\0"s}));
}

TYPED_TEST(ListFmt, DeleteTakesTheValueThatItFreesAsArgument)
{
    fill(this->map, {{"key", {"first\0"s, "text\0"s}}});
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, "key", "%s", stored_text(this->map, "key", 1)), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"first\0"s});
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, stored_key(this->map, "key"), "%s",
                                    stored_text(this->map, "key", 0)),
              0);
    EXPECT_EQ(content_of(this->map), std::vector<KeyValues>());
}

TYPED_TEST(ListFmt, DeleteTakesTheValueThatItFreesAsFormat)
{
    fill(this->map, {{"key", {"text\0"s}}});
    EXPECT_EQ(TypeParam::delete_fmt(&this->map, stored_key(this->map, "key"),
                                    stored_text(this->map, "key", 0), 0),
              0);
    EXPECT_EQ(content_of(this->map), std::vector<KeyValues>());
}

template <class Family>
class ListCopyStr : public Family::Test {
  protected:
    std::string buffer = untouched;

    void expect_copied(uint32_t index, const std::string &text, uint32_t size = 64)
    {
        buffer = untouched;
        const allocations::Log log;
        EXPECT_EQ(Family::copy_str(&this->map, "key", index, buffer.data(), size), 0);
        EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
        EXPECT_EQ(buffer, filled(text)) << index << ' ' << size;
    }
};

TYPED_TEST_SUITE(ListCopyStr, ListFamilies, TypeName);

TYPED_TEST(ListCopyStr, CopiesTheValueAtThePosition)
{
    fill(this->map, {{"key", {"first\0"s, "second\0"s, "third\0"s}}, {"other key", {"other\0"s}}});
    this->expect_copied(0, "first");
    this->expect_copied(1, "second");
    this->expect_copied(2, "third");
}

TYPED_TEST(ListCopyStr, CutsTheTextToTheBuffer)
{
    fill(this->map, {{"key", {"0123456789\0"s}}});
    this->expect_copied(0, "012", 4);
}

TYPED_TEST(ListCopyStr, WritesTheTextAndItsNulAndNoMoreForEverySize)
{
    const std::string text = "0123456789";
    fill(this->map, {{"key", {"before", text + '\0'}}});
    for (uint32_t size = 1; size <= this->buffer.size(); ++size) {
        this->expect_copied(1, text.substr(0, size - 1), size);
    }
    this->expect_copied(1, text, UINT32_MAX);
}

TYPED_TEST(ListCopyStr, WritesNothingToABufferOfSizeZero)
{
    fill(this->map, {{"key", {"text\0"s}}});
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", 0, this->buffer.data(), 0), 0);
    EXPECT_EQ(this->buffer, untouched);
}

TYPED_TEST(ListCopyStr, CopiesTextOfEveryKind)
{
    fill(this->map, {{"key", stored_texts()}});
    uint32_t index = 0;
    for (const std::string &text : texts()) {
        std::string large(200000, '\xA5');
        EXPECT_EQ(TypeParam::copy_str(&this->map, "key", index++, large.data(),
                                      static_cast<uint32_t>(large.size())),
                  0);
        EXPECT_STREQ(large.c_str(), text.c_str());
    }
}

TYPED_TEST(ListCopyStr, EndsAtTheFirstNulOrWithTheValue)
{
    fill(this->map, {{"key", {"ab\0cd\0"s, "\0cd"s, "abc", ""}}});
    this->expect_copied(0, "ab");
    this->expect_copied(1, "");
    this->expect_copied(2, "abc");
    this->expect_copied(3, "");
}

TYPED_TEST(ListCopyStr, ReportsAMissingPositionOrKeyAndLeavesTheBufferAlone)
{
    fill(this->map, {{"key", {"first\0"s, "second\0"s}}});
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", 2, this->buffer.data(), 64), ENOENT);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", UINT32_MAX, this->buffer.data(), 64), ENOENT);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "missing", 0, this->buffer.data(), 64), ENOENT);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "missing", 0, this->buffer.data(), 0), ENOENT);
    EXPECT_EQ(this->buffer, untouched);
}

TYPED_TEST(ListCopyStr, RefusesNullForMapKeyOrBuffer)
{
    fill(this->map, {{"key", {"text\0"s}}});
    EXPECT_EQ(TypeParam::copy_str(nullptr, "key", 0, this->buffer.data(), 64), EINVAL);
    EXPECT_EQ(TypeParam::copy_str(&this->map, nullptr, 0, this->buffer.data(), 64), EINVAL);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", 0, nullptr, 64), EINVAL);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", 0, nullptr, 0), EINVAL);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "key", 1, nullptr, 64), EINVAL);
    EXPECT_EQ(TypeParam::copy_str(&this->map, "missing", 0, nullptr, 64), EINVAL);
    EXPECT_EQ(this->buffer, untouched);
}

TYPED_TEST(ListCopyStr, RefusesAReleasedContainer)
{
    const auto released = TypeParam::released();
    EXPECT_EQ(TypeParam::copy_str(&released, "key", 0, this->buffer.data(), 64), EINVAL);
    EXPECT_EQ(this->buffer, untouched);
}

template <class Family>
class ListDupStr : public Family::Test {
  protected:
    char other[1];
    char *copy = other;
};

TYPED_TEST_SUITE(ListDupStr, ListFamilies, TypeName);

TYPED_TEST(ListDupStr, CopiesEveryByteOfTheValueIntoOneBlockOfItsLength)
{
    const std::vector<std::string> values = values_of_every_kind();
    fill(this->map, {{"key", values}});
    for (uint32_t index = 0; index < values.size(); ++index) {
        SCOPED_TRACE(index);
        const allocations::Log log;
        this->expect_unchanged(0, [&] {
            const int result = TypeParam::dup_str(&this->map, "key", index, &this->copy);
            EXPECT_EQ(std::string(this->copy, values[index].size()), values[index]);
            std::free(this->copy);
            return result;
        });
        EXPECT_EQ(log.sizes(), std::vector{values[index].size()});
    }
}

TYPED_TEST(ListDupStr, HandsOutABlockOfTheCallersOwn)
{
    fill(this->map, {{"key", {"text\0"s}}});
    ASSERT_EQ(TypeParam::dup_str(&this->map, "key", 0, &this->copy), 0);
    this->copy[0] = 'T';
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"text\0"s});
    ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
    EXPECT_STREQ(this->copy, "Text");
    std::free(this->copy);
}

TYPED_TEST(ListDupStr, CopiesAnEmptyValueIntoABlockOfSizeZero)
{
    fill(this->map, {{"key", {""}}});
    const allocations::Log log;
    EXPECT_EQ(TypeParam::dup_str(&this->map, "key", 0, &this->copy), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{0});
    EXPECT_NE(this->copy, this->other);
    std::free(this->copy);
}

TYPED_TEST(ListDupStr, ReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    fill(this->map, {{"key", {"first\0"s, "second\0"s}}});
    const allocations::Log log;
    this->expect_unchanged(
        ENOENT, [this] { return TypeParam::dup_str(&this->map, "key", 2, &this->copy); });
    this->expect_unchanged(
        ENOENT, [this] { return TypeParam::dup_str(&this->map, "key", UINT32_MAX, &this->copy); });
    this->expect_unchanged(
        ENOENT, [this] { return TypeParam::dup_str(&this->map, "missing", 0, &this->copy); });
    EXPECT_EQ(this->copy, this->other);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(ListDupStr, RefusesNullForMapKeyOrOutput)
{
    fill(this->map, {{"key", {"text\0"s}}});
    this->expect_unchanged(EINVAL,
                           [this] { return TypeParam::dup_str(nullptr, "key", 0, &this->copy); });
    this->expect_unchanged(
        EINVAL, [this] { return TypeParam::dup_str(&this->map, nullptr, 0, &this->copy); });
    this->expect_unchanged(EINVAL,
                           [this] { return TypeParam::dup_str(&this->map, "key", 0, nullptr); });
    this->expect_unchanged(EINVAL,
                           [this] { return TypeParam::dup_str(&this->map, "key", 1, nullptr); });
    this->expect_unchanged(
        EINVAL, [this] { return TypeParam::dup_str(&this->map, "missing", 0, nullptr); });
    EXPECT_EQ(this->copy, this->other);
}

TYPED_TEST(ListDupStr, RefusesAReleasedContainer)
{
    const auto released = TypeParam::released();
    EXPECT_EQ(TypeParam::dup_str(&released, "key", 0, &this->copy), EINVAL);
    EXPECT_EQ(this->copy, this->other);
}

TYPED_TEST(ListDupStr, GivesNullIfThereIsNoMemory)
{
    fill(this->map, {{"key", {"text\0"s}}});
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        this->copy = this->other;
        const allocations::Failure failure(0, how);
        this->expect_unchanged(
            ENOMEM, [this] { return TypeParam::dup_str(&this->map, "key", 0, &this->copy); });
        EXPECT_EQ(this->copy, nullptr);
    }
}
