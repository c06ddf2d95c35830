// Every type that a value can have, in every family: stored as its row stores it, found by that, and
// read by its row's rules.
#include "addresses.hpp"
#include "helpers.hpp"
#include "type_name.hpp"

#include <textmaps/textmaps.hpp>

#include <limits>

namespace {

using namespace std::string_view_literals;
using textmaps::bytes;
namespace row = textmaps::row;

template <class T>
constexpr T least = std::numeric_limits<T>::min();
template <class T>
constexpr T greatest = std::numeric_limits<T>::max();

// A type with a value and what is stored for it, another value, and what the type cannot be read from.
struct Uint64 {
    static constexpr const char *name = "Uint64";
    using T = std::uint64_t;
    static constexpr T value = greatest<T>;
    static constexpr std::string_view stored = "18446744073709551615\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "";
};
struct Int64 {
    static constexpr const char *name = "Int64";
    using T = std::int64_t;
    static constexpr T value = least<T>;
    static constexpr std::string_view stored = "-9223372036854775808\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "";
};
struct Uint32 {
    static constexpr const char *name = "Uint32";
    using T = std::uint32_t;
    static constexpr T value = greatest<T>;
    static constexpr std::string_view stored = "4294967295\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "4294967296";
};
struct Int32 {
    static constexpr const char *name = "Int32";
    using T = std::int32_t;
    static constexpr T value = least<T>;
    static constexpr std::string_view stored = "-2147483648\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "2147483648";
};
struct Time {
    static constexpr const char *name = "Time";
    using T = row::time;
    static constexpr std::int32_t value = greatest<std::int32_t>;
    static constexpr std::string_view stored = "2147483647\0"sv;
    static constexpr std::int32_t other = 0;
    static constexpr const char *no_value = "-2147483649";
};
struct Uint16 {
    static constexpr const char *name = "Uint16";
    using T = std::uint16_t;
    static constexpr T value = greatest<T>;
    static constexpr std::string_view stored = "65535\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "65536";
};
struct Int16 {
    static constexpr const char *name = "Int16";
    using T = std::int16_t;
    static constexpr T value = least<T>;
    static constexpr std::string_view stored = "-32768\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "32768";
};
struct Uint8 {
    static constexpr const char *name = "Uint8";
    using T = std::uint8_t;
    static constexpr T value = greatest<T>;
    static constexpr std::string_view stored = "255\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "256";
};
struct Int8 {
    static constexpr const char *name = "Int8";
    using T = std::int8_t;
    static constexpr T value = least<T>;
    static constexpr std::string_view stored = "-128\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "128";
};
struct Bool {
    static constexpr const char *name = "Bool";
    using T = bool;
    static constexpr T value = true;
    static constexpr std::string_view stored = "1\0"sv;
    static constexpr T other = false;
    static constexpr const char *no_value = "2";
};
struct Uint {
    static constexpr const char *name = "Uint";
    using T = row::uint;
    static constexpr unsigned int value = greatest<unsigned int>;
    static constexpr std::string_view stored = "4294967295\0"sv;
    static constexpr unsigned int other = 0;
    static constexpr const char *no_value = "4294967296";
};
struct Uchar {
    static constexpr const char *name = "Uchar";
    using T = row::uchar;
    static constexpr unsigned char value = greatest<unsigned char>;
    static constexpr std::string_view stored = "255\0"sv;
    static constexpr unsigned char other = 0;
    static constexpr const char *no_value = "256";
};
struct Char {
    static constexpr const char *name = "Char";
    using T = char;
    static constexpr T value = '\xC8';
    static constexpr std::string_view stored = "-56\0"sv;
    static constexpr T other = 0;
    static constexpr const char *no_value = "200";
};
struct MacAddress {
    static constexpr const char *name = "MacAddress";
    using T = row::macaddr;
    static constexpr macaddr_t value = Mac::address;
    static constexpr std::string_view stored = "02:00:5e:10:00:ff\0"sv;
    static constexpr macaddr_t other = Mac::greater;
    static constexpr const char *no_value = "02:00:5e:10:00";
};
struct IpAddress {
    static constexpr const char *name = "IpAddress";
    using T = row::ipaddr;
    static constexpr ipaddr_t value = Ip::address;
    static constexpr std::string_view stored = "2001:db8::7\0"sv;
    static constexpr ipaddr_t other = Ip::greater;
    static constexpr const char *no_value = "2001:db8::7/32";
};
struct Prefix {
    static constexpr const char *name = "Prefix";
    using T = row::cidr;
    static constexpr cidr_t value = Cidr::address;
    static constexpr std::string_view stored = "2001:db8::/32\0"sv;
    static constexpr cidr_t other = Cidr::greater;
    static constexpr const char *no_value = "2001:db8::";
};
struct Text {
    static constexpr const char *name = "Text";
    using T = std::string_view;
    static constexpr textmaps::zstring value = "port-7";
    static constexpr std::string_view stored = "port-7\0"sv;
    static constexpr textmaps::zstring other = "";
};
struct Bytes {
    static constexpr const char *name = "Bytes";
    using T = bytes;
    static constexpr bytes value = {"\0\1\377", 3};
    static constexpr std::string_view stored = "\0\1\377"sv;
    static constexpr bytes other = {"", 0};
};

using Numbers = testing::Types<Uint64, Int64, Uint32, Int32, Time, Uint16, Int16, Uint8, Int8, Bool,
                               Uint, Uchar, Char>;
using All = testing::Types<Uint64, Int64, Uint32, Int32, Time, Uint16, Int16, Uint8, Int8, Bool,
                           Uint, Uchar, Char, MacAddress, IpAddress, Prefix, Text, Bytes>;

// What a value is, whichever its type.
template <class Value>
std::string content(const Value &value)
{
    return bytes_of(value);
}
std::string content(bytes value)
{
    return std::string(static_cast<const char *>(value.data()), value.size());
}
std::string content(std::string_view text)
{
    return std::string(text);
}
std::string content(textmaps::zstring text)
{
    return text.c_str();
}

template <class Row>
class FaceOfRow : public testing::Test {
};
TYPED_TEST_SUITE(FaceOfRow, All, TypeName);

TYPED_TEST(FaceOfRow, IsSetAndReadInAMap)
{
    using T = typename TypeParam::T;
    textmaps::map map;
    EXPECT_EQ(map.set<T>("key", TypeParam::other), 0);
    EXPECT_EQ(map.set<T>("key", TypeParam::value), 0);
    EXPECT_EQ(content(*map.get<bytes>("key")), TypeParam::stored);
    const auto read = map.get<T>("key");
    ASSERT_TRUE(read) << read.message();
    EXPECT_EQ(content(*read), content(TypeParam::value));
    EXPECT_EQ(map.get<T>("other").error(), ENOENT);
}

TYPED_TEST(FaceOfRow, IsInsertedOnceInAMap)
{
    using T = typename TypeParam::T;
    textmaps::map map;
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::value), 0);
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::other), textmaps::status::refused);
    EXPECT_EQ(content(*map.get<bytes>("key")), TypeParam::stored);
}

TYPED_TEST(FaceOfRow, IsComparedInAMap)
{
    using T = typename TypeParam::T;
    textmaps::map map;
    EXPECT_EQ(map.set<T>("key", TypeParam::value), 0);
    EXPECT_EQ(map.compare<T>("key", TypeParam::value), 0);
    EXPECT_NE(map.compare<T>("key", TypeParam::other), 0);
    EXPECT_EQ(map.compare<T>("other", TypeParam::value), -1);
}

TYPED_TEST(FaceOfRow, IsInsertedOnceFoundAndErasedInAMultimap)
{
    using T = typename TypeParam::T;
    textmaps::multimap map;
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::other), 0);
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::value), 0);
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::value), textmaps::status::refused);
    EXPECT_EQ(content(*map.get<bytes>("key", 1)), TypeParam::stored);
    EXPECT_EQ(content(*map.get<T>("key", 1)), content(TypeParam::value));
    EXPECT_EQ(map.get<T>("key", 2).error(), ENOENT);
    EXPECT_EQ(*map.find<T>("key", TypeParam::value), 1U);
    EXPECT_EQ(map.erase_value<T>("key", TypeParam::other), 0);
    EXPECT_EQ(*map.find<T>("key", TypeParam::value), 0U);
    EXPECT_EQ(map.find<T>("key", TypeParam::other).error(), ENOENT);
}

TYPED_TEST(FaceOfRow, IsAppendedSetAndErasedInAnArraymap)
{
    using T = typename TypeParam::T;
    textmaps::arraymap map;
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::other), 0);
    EXPECT_EQ(map.try_insert<T>("key", TypeParam::other), 0);
    EXPECT_EQ(map.set<T>("key", 1, TypeParam::value), 0);
    EXPECT_EQ(map.set<T>("key", 2, TypeParam::value), ENOENT);
    EXPECT_EQ(content(*map.get<bytes>("key", 1)), TypeParam::stored);
    EXPECT_EQ(content(*map.get<T>("key", 1)), content(TypeParam::value));
    EXPECT_EQ(map.get<T>("key", 2).error(), ENOENT);
    EXPECT_EQ(map.erase_value<T>("key", TypeParam::other), 0);
    EXPECT_EQ(content(*map.get<T>("key", 0)), content(TypeParam::value));
}

template <class Row>
class FaceOfNumber : public testing::Test {
};
TYPED_TEST_SUITE(FaceOfNumber, Numbers, TypeName);

TYPED_TEST(FaceOfNumber, IsNotReadFromAnyOtherText)
{
    using T = typename TypeParam::T;
    textmaps::map map;
    textmaps::multimap multimap;
    textmaps::arraymap arraymap;
    EXPECT_EQ(map.set("key", TypeParam::no_value), 0);
    EXPECT_EQ(multimap.try_insert("key", TypeParam::no_value), 0);
    EXPECT_EQ(arraymap.try_insert("key", TypeParam::no_value), 0);
    EXPECT_EQ(map.get<T>("key").error(), ERANGE);
    EXPECT_EQ(multimap.get<T>("key", 0).error(), ERANGE);
    EXPECT_EQ(arraymap.get<T>("key", 0).error(), ERANGE);
}

template <class Row>
class FaceOfAddress : public testing::Test {
};
using Addresses = testing::Types<MacAddress, IpAddress, Prefix>;
TYPED_TEST_SUITE(FaceOfAddress, Addresses, TypeName);

TYPED_TEST(FaceOfAddress, IsNotReadFromAnyOtherText)
{
    using T = typename TypeParam::T;
    textmaps::map map;
    EXPECT_EQ(map.set("key", TypeParam::no_value), 0);
    EXPECT_EQ(map.get<T>("key").error(), EINVAL);
}

TEST(FaceOfUnsigned, IsReadByTheRulesOfItsRow)
{
    textmaps::map map;
    EXPECT_EQ(map.set("key", "-18446744073709551615"), 0);
    EXPECT_EQ(map.get<std::uint32_t>("key").value_or(0), 1U);
    EXPECT_EQ(map.get<std::uint8_t>("key").value_or(0), 1);
    EXPECT_EQ(map.get<row::uint>("key").error(), ERANGE);
    EXPECT_EQ(map.get<row::uchar>("key").error(), ERANGE);
}

TEST(FaceOfText, IsStoredUpToItsFirstNul)
{
    textmaps::map map;
    EXPECT_EQ(map.set("key", "one\0two"s), 0);
    EXPECT_EQ(content(*map.get<bytes>("key")), "one\0"s);
}

TEST(FaceOfText, IsReadUpToTheFirstNulOrTheEnd)
{
    textmaps::map map;
    EXPECT_EQ(map.set<bytes>("with", {"one\0two", 7}), 0);
    EXPECT_EQ(map.set<bytes>("without", {"one", 3}), 0);
    EXPECT_EQ(map.set<bytes>("empty", {"", 0}), 0);
    EXPECT_EQ(*map.get("with"), "one");
    EXPECT_EQ(*map.get("without"), "one");
    EXPECT_EQ(*map.get("empty"), "");
    EXPECT_EQ(bytes().text(), "");
}

TEST(FaceOfText, LiesInTheContainer)
{
    textmaps::map map;
    EXPECT_EQ(map.set("key", "text"), 0);
    const map_entry_t *const entry = map_get_entry(map.record(), "key");
    EXPECT_EQ(static_cast<const void *>(map.get("key")->data()), entry->value);
    EXPECT_EQ(map.get<bytes>("key")->data(), entry->value);
}

} // namespace
