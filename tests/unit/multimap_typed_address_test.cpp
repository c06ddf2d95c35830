#include "multimap_fixture.hpp"

#include <cstdint>
#include <cstring>

namespace {

struct Mac {
    using Record = macaddr_t;
    static constexpr const char *name = "Mac";
    static constexpr auto find = multimap_find_macaddr;
    static constexpr auto remove = multimap_delete_macaddr;
    static constexpr auto insert = multimap_insert_macaddr;
    static constexpr auto get = multimap_get_macaddr;

    static constexpr Record address = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0xFF}};
    static constexpr const char *text = "02:00:5e:10:00:ff";
    static constexpr const char *other_text_of_it = "02:00:5E:10:00:FF";
    static constexpr Record other = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0x0F}};
};

struct Ip {
    using Record = ipaddr_t;
    static constexpr const char *name = "Ip";
    static constexpr auto find = multimap_find_ipaddr;
    static constexpr auto remove = multimap_delete_ipaddr;
    static constexpr auto insert = multimap_insert_ipaddr;
    static constexpr auto get = multimap_get_ipaddr;

    static constexpr Record address = {
        6, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}};
    static constexpr const char *text = "2001:db8::7";
    static constexpr const char *other_text_of_it = "2001:DB8:0:0:0:0:0:7";
    static constexpr Record other = {4, {192, 0, 2, 1}};
};

struct Cidr {
    using Record = cidr_t;
    static constexpr const char *name = "Cidr";
    static constexpr auto find = multimap_find_cidr;
    static constexpr auto remove = multimap_delete_cidr;
    static constexpr auto insert = multimap_insert_cidr;
    static constexpr auto get = multimap_get_cidr;

    static constexpr Record address = {{6, {0x20, 0x01, 0x0D, 0xB8}}, 32};
    static constexpr const char *text = "2001:db8::/32";
    static constexpr const char *other_text_of_it = "2001:0DB8::/32";
    static constexpr Record other = {{6, {0x20, 0x01, 0x0D, 0xB8}}, 33};
};

struct TypeName {
    template <class Type>
    static std::string GetName(int)
    {
        return Type::name;
    }
};

template <class Record>
std::string bytes_of(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof record);
}

constexpr uint32_t no_index = 0xA5A5A5A5;

} // namespace

template <class Type>
class MultimapAddress : public MultimapTest {
  protected:
    using Record = typename Type::Record;

    int insert(const char *key, const Record *record)
    {
        return Type::insert(&map, key, record);
    }

    int find(const char *key, const Record *record)
    {
        return Type::find(&map, key, record, &index);
    }

    int remove(const char *key, const Record *record)
    {
        return Type::remove(&map, key, record);
    }

    int get(const char *key, uint32_t position)
    {
        return Type::get(&map, key, position, &out);
    }

    uint32_t index = no_index;
    // For readers to write; holds no address.
    Record out = garbage();
    const std::string untouched = bytes_of(out);
    const Record address = Type::address;
    const Record other = Type::other;
    const std::string text = Type::text + "\0"s;
    // Values that lie next to the text without being it.
    const std::vector<std::string> near_misses = {
        "", Type::text, text + '\0', " " + text, Type::other_text_of_it + "\0"s, bytes_of(address)};

  private:
    static Record garbage()
    {
        Record record;
        std::memset(&record, 0xA5, sizeof record);
        return record;
    }
};

using Types = testing::Types<Mac, Ip, Cidr>;
TYPED_TEST_SUITE(MultimapAddress, Types, TypeName);

TYPED_TEST(MultimapAddress, IsStoredAsItsTextWithTheNulBehindTheOtherValues)
{
    fill(this->map, {{"key", this->near_misses}});
    EXPECT_EQ(this->insert("key", &this->address), 0);
    std::vector<std::string> expected = this->near_misses;
    expected.push_back(this->text);
    EXPECT_EQ(values_of(this->map, "key"), expected);
}

TYPED_TEST(MultimapAddress, IsInsertedOnce)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(1, [this] { return this->insert("key", &this->address); });
    EXPECT_EQ(this->insert("other key", &this->address), 0);
}

TYPED_TEST(MultimapAddress, IsReadBackFromItsPosition)
{
    ASSERT_EQ(this->insert("key", &this->other), 0);
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(0, [this] { return this->get("key", 0); });
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->other));
    this->expect_unchanged(0, [this] { return this->get("key", 1); });
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->address));
}

TYPED_TEST(MultimapAddress, IsFoundByItsVeryText)
{
    fill(this->map, {{"key", this->near_misses}});
    this->expect_unchanged(ENOENT, [this] { return this->find("key", &this->address); });
    EXPECT_EQ(this->index, no_index);
    fill(this->map, {{"key", {this->text, "behind it"}}});
    this->expect_unchanged(0, [this] { return this->find("key", &this->address); });
    EXPECT_EQ(this->index, this->near_misses.size());
    this->expect_unchanged(
        0, [this] { return TypeParam::find(&this->map, "key", &this->address, nullptr); });
}

TYPED_TEST(MultimapAddress, IsDeletedByItsVeryText)
{
    std::vector<std::string> values = this->near_misses;
    values.insert(values.begin() + 2, this->text);
    fill(this->map, {{"key", values}});
    EXPECT_EQ(this->remove("key", &this->address), 0);
    EXPECT_EQ(values_of(this->map, "key"), this->near_misses);
    this->expect_unchanged(ENOENT, [this] { return this->remove("key", &this->address); });
}

TYPED_TEST(MultimapAddress, FindAndDeleteReportAMissingKey)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(ENOENT, [this] { return this->find("missing", &this->address); });
    this->expect_unchanged(ENOENT, [this] { return this->remove("missing", &this->address); });
    EXPECT_EQ(this->index, no_index);
}

TYPED_TEST(MultimapAddress, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(multimap_setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(1, [this] { return this->insert("new", &this->address); });
    EXPECT_EQ(this->insert("key", &this->other), 0);
}

TYPED_TEST(MultimapAddress, NeedsNoMemoryButTheValue)
{
    ASSERT_EQ(this->insert("key", &this->other), 0);
    const allocations::Log log;
    EXPECT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->find("key", &this->address), 0);
    EXPECT_EQ(this->get("key", 1), 0);
    EXPECT_EQ(this->remove("key", &this->address), 0);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(multimap_value_t) + this->text.size()});
}

TYPED_TEST(MultimapAddress, WritersRefuseNullForMapKeyOrAddress)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    const auto find = [this](const multimap_t *from, const char *key, const auto *record) {
        return TypeParam::find(from, key, record, &this->index);
    };
    const std::function<int(multimap_t *, const char *, const typename TypeParam::Record *)>
        calls[] = {find, TypeParam::insert, TypeParam::remove};
    for (const auto &call : calls) {
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, "key", &this->address); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, nullptr, &this->address); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "key", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "missing", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, nullptr); });
    }
    EXPECT_EQ(this->index, no_index);
}

TYPED_TEST(MultimapAddress, IsRefusedByAReleasedMultimap)
{
    multimap_t released = released_multimap();
    EXPECT_EQ(TypeParam::insert(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::remove(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::find(&released, "key", &this->address, &this->index), EINVAL);
    EXPECT_EQ(TypeParam::get(&released, "key", 0, &this->out), EINVAL);
    EXPECT_EQ(this->index, no_index);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(MultimapAddress, MayLieInTheMultimap)
{
    fill(this->map, {{"key", {bytes_of(this->address)}}});
    const void *data = stored_text(this->map, "key", 0);
    const auto *stored = static_cast<const typename TypeParam::Record *>(data);
    const char *key = stored_key(this->map, "key");
    EXPECT_EQ(this->insert(key, stored), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{bytes_of(this->address), this->text}));
    EXPECT_EQ(this->find(key, stored), 0);
    EXPECT_EQ(this->index, 1U);
    EXPECT_EQ(this->remove(key, stored), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{bytes_of(this->address)});
}

TYPED_TEST(MultimapAddress, IsDeletedWithTheStoredKeyThatGoesWithIt)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->remove(stored_key(this->map, "key"), &this->address), 0);
    EXPECT_EQ(this->map.numkeys, 0);
}

TYPED_TEST(MultimapAddress, IsReadFromAnyTextOfIt)
{
    // The second ends at no NUL, the third goes on behind its NUL.
    fill(this->map,
         {{"key",
           {TypeParam::other_text_of_it + "\0"s, TypeParam::text, TypeParam::text + "\0more"s}}});
    for (uint32_t position = 0; position < 3; ++position) {
        std::memset(&this->out, 0xA5, sizeof this->out);
        EXPECT_EQ(this->get("key", position), 0) << position;
        EXPECT_EQ(bytes_of(this->out), bytes_of(this->address)) << position;
    }
}

TYPED_TEST(MultimapAddress, ReadPassesOnThatTheTextIsNoAddress)
{
    const std::vector<std::string> values = {
        "", "\0"s, "text\0"s, "1\0"s, "::1/64 \0"s, "\377"s, std::string(1000, ':')};
    fill(this->map, {{"key", values}});
    for (uint32_t position = 0; position < values.size(); ++position) {
        SCOPED_TRACE(position);
        this->expect_unchanged(EINVAL, [&] { return this->get("key", position); });
        EXPECT_EQ(bytes_of(this->out), this->untouched);
    }
}

TYPED_TEST(MultimapAddress, ReadReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->get("key", 1), ENOENT);
    EXPECT_EQ(this->get("key", UINT32_MAX), ENOENT);
    EXPECT_EQ(this->get("missing", 0), ENOENT);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(MultimapAddress, ReadRefusesNullForMapKeyOrOutput)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(TypeParam::get(nullptr, "key", 0, &this->out), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, nullptr, 0, &this->out), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, "key", 0, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, "key", 1, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, "missing", 0, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get(nullptr, nullptr, 0, nullptr), EINVAL);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

class MultimapAddressText : public MultimapTest {};

TEST_F(MultimapAddressText, OfAMacIsReadUpTo17Characters)
{
    fill(map, {{"key", {"02:00:5e:10:00:ff and more\0"s, "02:00:5e:10:00:f\0"s}}});
    macaddr_t out;
    EXPECT_EQ(multimap_get_macaddr(&map, "key", 0, &out), 0);
    EXPECT_EQ(bytes_of(out), bytes_of(Mac::address));
    EXPECT_EQ(multimap_get_macaddr(&map, "key", 1, &out), EINVAL);
}

TEST_F(MultimapAddressText, OfAnIpIsReadUpTo45Characters)
{
    const std::string longest = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.254";
    ASSERT_EQ(longest.size(), 45U);
    fill(map, {{"key", {longest + "9\0"s, longest.substr(1) + "9\0"s}}});
    ipaddr_t out;
    EXPECT_EQ(multimap_get_ipaddr(&map, "key", 0, &out), 0);
    // With one character less it would be 25, and refused with one more.
    EXPECT_EQ(out.bytes[15], 254);
    EXPECT_EQ(multimap_get_ipaddr(&map, "key", 1, &out), EINVAL);
}

TEST_F(MultimapAddressText, OfACidrIsReadWholeThoughItIsLongerThanAnIp)
{
    const std::string longest = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255/128";
    fill(map, {{"key", {longest, longest + '0', longest + std::string(100, '0')}}});
    cidr_t out;
    EXPECT_EQ(multimap_get_cidr(&map, "key", 0, &out), 0);
    EXPECT_EQ(out.prefix, 128);
    EXPECT_EQ(multimap_get_cidr(&map, "key", 1, &out), EINVAL);
    EXPECT_EQ(multimap_get_cidr(&map, "key", 2, &out), EINVAL);
}

TEST_F(MultimapAddressText, IsOneValueForRecordsThatDifferInUnusedBytes)
{
    const ipaddr_t address = {4, {192, 0, 2, 1}};
    const ipaddr_t same = {4, {192, 0, 2, 1, 0xFF, 0xFF}};
    ASSERT_EQ(multimap_insert_ipaddr(&map, "key", &address), 0);
    expect_unchanged(1, [&] { return multimap_insert_ipaddr(&map, "key", &same); });
    EXPECT_EQ(multimap_find_ipaddr(&map, "key", &same, nullptr), 0);
    EXPECT_EQ(multimap_delete_ipaddr(&map, "key", &same), 0);
}

TEST_F(MultimapAddressText, OfEveryKindIsStoredWhole)
{
    const macaddr_t mac = {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
    ipaddr_t ip;
    ASSERT_EQ(ak_ipaddr_from_str("1111:2222:3333:4444:5555:6666:7777:8888", &ip), 0);
    const cidr_t cidr = {ip, 128};
    EXPECT_EQ(multimap_insert_macaddr(&map, "key", &mac), 0);
    EXPECT_EQ(multimap_insert_ipaddr(&map, "key", &ip), 0);
    EXPECT_EQ(multimap_insert_cidr(&map, "key", &cidr), 0);
    EXPECT_EQ(values_of(map, "key"),
              (std::vector{"ff:ff:ff:ff:ff:ff\0"s, "1111:2222:3333:4444:5555:6666:7777:8888\0"s,
                           "1111:2222:3333:4444:5555:6666:7777:8888/128\0"s}));
}

class MultimapAddressThatDoesNotConvert : public MultimapTest {};

TEST_F(MultimapAddressThatDoesNotConvert, IsReportedBeforeAnythingIsLookedUp)
{
    const ipaddr_t no_ip = {9, {192, 0, 2, 1}};
    const cidr_t no_cidr = {{4, {192, 0, 2, 1}}, 33};
    uint32_t index = no_index;
    fill(map, {{"key", {"", "\0"s, "192.0.2.1\0"s, "192.0.2.1/33\0"s}}});
    const allocations::Log log;
    for (const char *key : {"key", "missing"}) {
        expect_unchanged(EINVAL, [&] { return multimap_insert_ipaddr(&map, key, &no_ip); });
        expect_unchanged(EINVAL, [&] { return multimap_delete_ipaddr(&map, key, &no_ip); });
        expect_unchanged(EINVAL, [&] { return multimap_find_ipaddr(&map, key, &no_ip, &index); });
        expect_unchanged(EINVAL, [&] { return multimap_insert_cidr(&map, key, &no_cidr); });
        expect_unchanged(EINVAL, [&] { return multimap_delete_cidr(&map, key, &no_cidr); });
        expect_unchanged(EINVAL, [&] { return multimap_find_cidr(&map, key, &no_cidr, &index); });
    }
    EXPECT_EQ(index, no_index);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}
