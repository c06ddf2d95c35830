// Typed addresses, as the multimap and the arraymap have them alike.
#include "addresses.hpp"
#include "list_families.hpp"

#include <cstdint>

namespace {

#define LIST_ADDRESS(Family_, Kind, family, type)                                                  \
    struct Family_##Kind : Kind {                                                                  \
        using Family = Family_##Family;                                                            \
        static constexpr const char *name = #Family_ #Kind;                                        \
        static constexpr auto remove = family##_delete_##type;                                     \
        static constexpr auto insert = family##_insert_##type;                                     \
        static constexpr auto get = family##_get_##type;                                           \
    };

LIST_ADDRESS(Multimap, Mac, multimap, macaddr)
LIST_ADDRESS(Multimap, Ip, multimap, ipaddr)
LIST_ADDRESS(Multimap, Cidr, multimap, cidr)
LIST_ADDRESS(Arraymap, Mac, arraymap, macaddr)
LIST_ADDRESS(Arraymap, Ip, arraymap, ipaddr)
LIST_ADDRESS(Arraymap, Cidr, arraymap, cidr)

} // namespace

template <class Type>
class ListAddress : public Type::Family::Test {
  protected:
    using Record = typename Type::Record;

    int insert(const char *key, const Record *record)
    {
        return Type::insert(&this->map, key, record);
    }

    int remove(const char *key, const Record *record)
    {
        return Type::remove(&this->map, key, record);
    }

    int get(const char *key, uint32_t position)
    {
        return Type::get(&this->map, key, position, &out);
    }

    // For readers to write; holds no address.
    Record out = no_address<Record>();
    const std::string untouched = bytes_of(out);
    const Record address = Type::address;
    const Record other = Type::smaller;
    const std::string text = Type::text + "\0"s;
    // Values that lie next to the text without being it.
    const std::vector<std::string> near_misses = {
        "", Type::text, text + '\0', " " + text, Type::other_text_of_it + "\0"s, bytes_of(address)};
};

using Types =
    testing::Types<MultimapMac, MultimapIp, MultimapCidr, ArraymapMac, ArraymapIp, ArraymapCidr>;
TYPED_TEST_SUITE(ListAddress, Types, TypeName);

TYPED_TEST(ListAddress, IsStoredAsItsTextWithTheNulBehindTheOtherValues)
{
    fill(this->map, {{"key", this->near_misses}});
    EXPECT_EQ(this->insert("key", &this->address), 0);
    std::vector<std::string> expected = this->near_misses;
    expected.push_back(this->text);
    EXPECT_EQ(values_of(this->map, "key"), expected);
}

TYPED_TEST(ListAddress, IsReadBackFromItsPosition)
{
    ASSERT_EQ(this->insert("key", &this->other), 0);
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(0, [this] { return this->get("key", 0); });
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->other));
    this->expect_unchanged(0, [this] { return this->get("key", 1); });
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->address));
}

TYPED_TEST(ListAddress, IsDeletedByItsVeryText)
{
    std::vector<std::string> values = this->near_misses;
    values.insert(values.begin() + 2, this->text);
    fill(this->map, {{"key", values}});
    EXPECT_EQ(this->remove("key", &this->address), 0);
    EXPECT_EQ(values_of(this->map, "key"), this->near_misses);
    this->expect_unchanged(ENOENT, [this] { return this->remove("key", &this->address); });
}

TYPED_TEST(ListAddress, DeleteReportsAMissingKey)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(ENOENT, [this] { return this->remove("missing", &this->address); });
}

TYPED_TEST(ListAddress, InsertKeepsToTheKeyLimit)
{
    ASSERT_EQ(TypeParam::Family::setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(this->insert("key", &this->address), 0);
    this->expect_unchanged(1, [this] { return this->insert("new", &this->address); });
    EXPECT_EQ(this->insert("key", &this->other), 0);
}

TYPED_TEST(ListAddress, NeedsNoMemoryButTheValue)
{
    ASSERT_EQ(this->insert("key", &this->other), 0);
    const allocations::Log log;
    EXPECT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->get("key", 1), 0);
    EXPECT_EQ(this->remove("key", &this->address), 0);
    EXPECT_EQ(log.sizes(),
              std::vector{sizeof(typename TypeParam::Family::ValueNode) + this->text.size()});
}

TYPED_TEST(ListAddress, WritersRefuseNullForMapKeyOrAddress)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    for (const auto call : {TypeParam::insert, TypeParam::remove}) {
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, "key", &this->address); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, nullptr, &this->address); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "key", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(&this->map, "missing", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return call(nullptr, nullptr, nullptr); });
    }
}

TYPED_TEST(ListAddress, IsRefusedByAReleasedContainer)
{
    auto released = TypeParam::Family::released();
    EXPECT_EQ(TypeParam::insert(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::remove(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::get(&released, "key", 0, &this->out), EINVAL);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(ListAddress, MayLieInTheContainer)
{
    fill(this->map, {{"key", {bytes_of(this->address)}}});
    const void *data = stored_text(this->map, "key", 0);
    const auto *stored = static_cast<const typename TypeParam::Record *>(data);
    const char *key = stored_key(this->map, "key");
    EXPECT_EQ(this->insert(key, stored), 0);
    EXPECT_EQ(values_of(this->map, "key"), (std::vector{bytes_of(this->address), this->text}));
    EXPECT_EQ(this->remove(key, stored), 0);
    EXPECT_EQ(values_of(this->map, "key"), std::vector{bytes_of(this->address)});
}

TYPED_TEST(ListAddress, IsDeletedWithTheStoredKeyThatGoesWithIt)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->remove(stored_key(this->map, "key"), &this->address), 0);
    EXPECT_EQ(this->map.numkeys, 0);
}

TYPED_TEST(ListAddress, IsReadFromAnyTextOfIt)
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

TYPED_TEST(ListAddress, ReadPassesOnThatTheTextIsNoAddress)
{
    const std::vector<std::string> values = values_without_address();
    fill(this->map, {{"key", values}});
    for (uint32_t position = 0; position < values.size(); ++position) {
        SCOPED_TRACE(position);
        this->expect_unchanged(EINVAL, [&] { return this->get("key", position); });
        EXPECT_EQ(bytes_of(this->out), this->untouched);
    }
}

TYPED_TEST(ListAddress, ReadReportsAMissingPositionOrKeyAndLeavesTheOutputAlone)
{
    ASSERT_EQ(this->insert("key", &this->address), 0);
    EXPECT_EQ(this->get("key", 1), ENOENT);
    EXPECT_EQ(this->get("key", UINT32_MAX), ENOENT);
    EXPECT_EQ(this->get("missing", 0), ENOENT);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(ListAddress, ReadRefusesNullForMapKeyOrOutput)
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

template <class Family>
class ListAddressText : public Family::Test {
};

TYPED_TEST_SUITE(ListAddressText, ListFamilies, TypeName);

TYPED_TEST(ListAddressText, OfAMacIsReadUpTo17Characters)
{
    fill(this->map, {{"key", {"02:00:5e:10:00:ff and more\0"s, "02:00:5e:10:00:f\0"s}}});
    macaddr_t out;
    EXPECT_EQ(TypeParam::get_macaddr(&this->map, "key", 0, &out), 0);
    EXPECT_EQ(bytes_of(out), bytes_of(Mac::address));
    EXPECT_EQ(TypeParam::get_macaddr(&this->map, "key", 1, &out), EINVAL);
}

TYPED_TEST(ListAddressText, OfAnIpIsReadUpTo45Characters)
{
    const std::string longest = longest_ip;
    ASSERT_EQ(longest.size(), 45U);
    fill(this->map, {{"key", {longest + "9\0"s, longest.substr(1) + "9\0"s}}});
    ipaddr_t out;
    EXPECT_EQ(TypeParam::get_ipaddr(&this->map, "key", 0, &out), 0);
    // With one character less it would be 25, and refused with one more.
    EXPECT_EQ(out.bytes[15], 254);
    EXPECT_EQ(TypeParam::get_ipaddr(&this->map, "key", 1, &out), EINVAL);
}

TYPED_TEST(ListAddressText, OfACidrIsReadWholeThoughItIsLongerThanAnIp)
{
    const std::string longest = longest_cidr;
    fill(this->map, {{"key", {longest, longest + '0', longest + std::string(100, '0')}}});
    cidr_t out;
    EXPECT_EQ(TypeParam::get_cidr(&this->map, "key", 0, &out), 0);
    EXPECT_EQ(out.prefix, 128);
    EXPECT_EQ(TypeParam::get_cidr(&this->map, "key", 1, &out), EINVAL);
    EXPECT_EQ(TypeParam::get_cidr(&this->map, "key", 2, &out), EINVAL);
}

TYPED_TEST(ListAddressText, OfEveryKindIsStoredWhole)
{
    const macaddr_t mac = {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
    ipaddr_t ip;
    ASSERT_EQ(ak_ipaddr_from_str("1111:2222:3333:4444:5555:6666:7777:8888", &ip), 0);
    const cidr_t cidr = {ip, 128};
    EXPECT_EQ(TypeParam::insert_macaddr(&this->map, "key", &mac), 0);
    EXPECT_EQ(TypeParam::insert_ipaddr(&this->map, "key", &ip), 0);
    EXPECT_EQ(TypeParam::insert_cidr(&this->map, "key", &cidr), 0);
    EXPECT_EQ(values_of(this->map, "key"),
              (std::vector{"ff:ff:ff:ff:ff:ff\0"s, "1111:2222:3333:4444:5555:6666:7777:8888\0"s,
                           "1111:2222:3333:4444:5555:6666:7777:8888/128\0"s}));
}

TYPED_TEST(ListAddressText, IsThatOfRecordsThatDifferInUnusedBytes)
{
    const ipaddr_t address = {4, {192, 0, 2, 1}};
    const ipaddr_t same = {4, {192, 0, 2, 1, 0xFF, 0xFF}};
    ASSERT_EQ(TypeParam::insert_ipaddr(&this->map, "key", &address), 0);
    EXPECT_EQ(TypeParam::delete_ipaddr(&this->map, "key", &same), 0);
}

TYPED_TEST(ListAddressText, ThatCannotBeHadIsReportedBeforeAnythingIsLookedUp)
{
    fill(this->map, {{"key", {"", "\0"s, "192.0.2.1\0"s, "192.0.2.1/33\0"s}}});
    const allocations::Log log;
    for (const char *key : {"key", "missing"}) {
        for (const auto call : {TypeParam::insert_ipaddr, TypeParam::delete_ipaddr}) {
            this->expect_unchanged(EINVAL, [&] { return call(&this->map, key, &no_ip); });
        }
        for (const auto call : {TypeParam::insert_cidr, TypeParam::delete_cidr}) {
            this->expect_unchanged(EINVAL, [&] { return call(&this->map, key, &no_cidr); });
        }
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}
