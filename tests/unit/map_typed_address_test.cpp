#include "addresses.hpp"
#include "map_fixture.hpp"
#include "type_name.hpp"

#include <cstdint>
#include <cstring>

namespace {

#define MAP_ADDRESS(Kind, type)                                                                    \
    struct Map##Kind : Kind {                                                                      \
        static constexpr auto cmp = map_cmp_##type;                                                \
        static constexpr auto replace = map_replace_##type;                                        \
        static constexpr auto insert = map_insert_##type;                                          \
        static constexpr auto get = map_get_##type;                                                \
    };

MAP_ADDRESS(Mac, macaddr)
MAP_ADDRESS(Ip, ipaddr)
MAP_ADDRESS(Cidr, cidr)

} // namespace

template <class Type>
class MapAddress : public MapTest {
  protected:
    using Record = typename Type::Record;

    // For readers to write; holds no address.
    Record out = no_address<Record>();
    const std::string untouched = bytes_of(out);
    const Record address = Type::address;
};

using Types = testing::Types<MapMac, MapIp, MapCidr>;
TYPED_TEST_SUITE(MapAddress, Types, TypeName);

TYPED_TEST(MapAddress, IsStoredAsItsTextWithTheNul)
{
    const std::string text(TypeParam::text, std::strlen(TypeParam::text) + 1);
    EXPECT_EQ(TypeParam::insert(&this->map, "inserted", &this->address), 0);
    EXPECT_EQ(value_of(this->map, "inserted"), text);
    ASSERT_EQ(map_insert_str(&this->map, "replaced", "old"), 0);
    EXPECT_EQ(TypeParam::replace(&this->map, "replaced", &this->address), 0);
    EXPECT_EQ(value_of(this->map, "replaced"), text);
}

TYPED_TEST(MapAddress, IsReadBackAsItWas)
{
    for (const auto &record : {TypeParam::address, TypeParam::smaller, TypeParam::greater}) {
        ASSERT_EQ(TypeParam::replace(&this->map, "key", &record), 0);
        this->expect_unchanged(0, [&] { return TypeParam::get(&this->map, "key", &this->out); });
        EXPECT_EQ(bytes_of(this->out), bytes_of(record));
    }
}

TYPED_TEST(MapAddress, InsertLeavesAKeyThatIsThereAlone)
{
    ASSERT_EQ(map_insert_str(&this->map, "key", "text"), 0);
    this->expect_unchanged(1,
                           [this] { return TypeParam::insert(&this->map, "key", &this->address); });
}

TYPED_TEST(MapAddress, StoreAllocatesNothingButTheEntry)
{
    const std::size_t entry = sizeof(map_entry_t) + std::strlen(TypeParam::text) + 1 + sizeof "key";
    const allocations::Log log;
    EXPECT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_EQ(TypeParam::replace(&this->map, "key", &this->address), 0);
    EXPECT_EQ(log.sizes(), (std::vector{entry, entry}));
}

TYPED_TEST(MapAddress, StoreReportsThatThereIsNoMemory)
{
    ASSERT_EQ(map_insert_str(&this->map, "key", "text"), 0);
    const allocations::Failure failure(0);
    this->expect_unchanged(ENOMEM,
                           [&] { return TypeParam::insert(&this->map, "new", &this->address); });
    this->expect_unchanged(ENOMEM,
                           [&] { return TypeParam::replace(&this->map, "new", &this->address); });
    this->expect_unchanged(ENOMEM,
                           [&] { return TypeParam::replace(&this->map, "key", &this->address); });
}

TYPED_TEST(MapAddress, StoreKeepsToTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    this->expect_unchanged(1, [&] { return TypeParam::insert(&this->map, "new", &this->address); });
    this->expect_unchanged(1,
                           [&] { return TypeParam::replace(&this->map, "new", &this->address); });
    EXPECT_EQ(TypeParam::replace(&this->map, "key", &this->address), 0);
}

TYPED_TEST(MapAddress, StoreRefusesNullForMapKeyOrAddress)
{
    ASSERT_EQ(map_insert_str(&this->map, "key", "text"), 0);
    for (const auto store : {TypeParam::insert, TypeParam::replace}) {
        this->expect_unchanged(EINVAL, [&] { return store(nullptr, "key", &this->address); });
        this->expect_unchanged(EINVAL, [&] { return store(&this->map, nullptr, &this->address); });
        this->expect_unchanged(EINVAL, [&] { return store(&this->map, "key", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return store(&this->map, "new", nullptr); });
        this->expect_unchanged(EINVAL, [&] { return store(nullptr, nullptr, nullptr); });
    }
}

TYPED_TEST(MapAddress, IsRefusedByAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(TypeParam::insert(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::replace(&released, "key", &this->address), EINVAL);
    EXPECT_EQ(TypeParam::get(&released, "key", &this->out), EINVAL);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
    EXPECT_EQ(TypeParam::cmp(&released, "key", &this->address), -1);
}

TYPED_TEST(MapAddress, MayLieInTheEntryThatItReplaces)
{
    ASSERT_EQ(map_insert(&this->map, "key", &this->address, sizeof this->address), 0);
    const map_entry_t *entry = map_get_entry(&this->map, "key");
    const auto *stored = static_cast<const typename TypeParam::Record *>(entry->value);
    EXPECT_EQ(TypeParam::replace(&this->map, entry->key, stored), 0);
    const std::string text(TypeParam::text, std::strlen(TypeParam::text) + 1);
    EXPECT_EQ(content_of(this->map), (std::vector{std::pair("key"s, text)}));
}

TYPED_TEST(MapAddress, ComparesEqualToItsOwnText)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "address", &this->address), 0);
    ASSERT_EQ(map_insert_str(&this->map, "text", TypeParam::text), 0);
    this->expect_unchanged(0,
                           [&] { return TypeParam::cmp(&this->map, "address", &this->address); });
    this->expect_unchanged(0, [&] { return TypeParam::cmp(&this->map, "text", &this->address); });
}

TYPED_TEST(MapAddress, ComparesByTheBytesOfItsText)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_GT(TypeParam::cmp(&this->map, "key", &TypeParam::smaller), 0);
    EXPECT_LT(TypeParam::cmp(&this->map, "key", &TypeParam::greater), 0);
}

TYPED_TEST(MapAddress, DiffersFromAnotherTextOfTheSameAddress)
{
    ASSERT_EQ(map_insert_str(&this->map, "key", TypeParam::other_text_of_it), 0);
    EXPECT_NE(TypeParam::cmp(&this->map, "key", &this->address), 0);
    EXPECT_EQ(TypeParam::get(&this->map, "key", &this->out), 0);
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->address));
}

TYPED_TEST(MapAddress, DiffersFromItsTextWithoutTheNul)
{
    ASSERT_EQ(insert(this->map, "key", TypeParam::text), 0);
    EXPECT_LT(TypeParam::cmp(&this->map, "key", &this->address), 0);
}

TYPED_TEST(MapAddress, CompareIsMinusOneForAMissingKey)
{
    EXPECT_EQ(TypeParam::cmp(&this->map, "missing", &this->address), -1);
}

TYPED_TEST(MapAddress, CompareLeavesNullForMapOrKeyToTheCore)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_EQ(TypeParam::cmp(nullptr, "key", &this->address), -1);
    EXPECT_EQ(TypeParam::cmp(&this->map, nullptr, &this->address), -1);
    EXPECT_EQ(TypeParam::cmp(nullptr, nullptr, &this->address), -1);
    EXPECT_EQ(TypeParam::cmp(nullptr, nullptr, nullptr), -1);
}

TYPED_TEST(MapAddress, ComparesNullAsTheUnconvertedText)
{
    ASSERT_EQ(map_insert_str(&this->map, "key", TypeParam::unconverted), 0);
    this->expect_unchanged(0, [&] { return TypeParam::cmp(&this->map, "key", nullptr); });
    ASSERT_EQ(replace(this->map, "key", TypeParam::unconverted), 0);
    EXPECT_LT(TypeParam::cmp(&this->map, "key", nullptr), 0);
    ASSERT_EQ(map_replace_str(&this->map, "key", "~"), 0);
    EXPECT_GT(TypeParam::cmp(&this->map, "key", nullptr), 0);
    EXPECT_EQ(TypeParam::cmp(&this->map, "missing", nullptr), -1);
}

TYPED_TEST(MapAddress, CompareAllocatesNothing)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    const allocations::Log log;
    EXPECT_EQ(TypeParam::cmp(&this->map, "key", &this->address), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(MapAddress, ReadPassesOnThatTheTextIsNoAddress)
{
    for (const std::string &value : values_without_address()) {
        SCOPED_TRACE(testing::PrintToString(value));
        ASSERT_EQ(replace(this->map, "key", value), 0);
        this->expect_unchanged(EINVAL,
                               [&] { return TypeParam::get(&this->map, "key", &this->out); });
        EXPECT_EQ(bytes_of(this->out), this->untouched);
    }
}

TYPED_TEST(MapAddress, IsReadFromTextThatNoNulEnds)
{
    // The key, which lies behind the value, would go on with the address.
    ASSERT_EQ(insert(this->map, "0", TypeParam::text), 0);
    EXPECT_EQ(TypeParam::get(&this->map, "0", &this->out), 0);
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->address));
}

TYPED_TEST(MapAddress, IsReadUpToTheFirstNul)
{
    const std::string text = TypeParam::text + "\0more"s;
    ASSERT_EQ(insert(this->map, "key", text), 0);
    EXPECT_EQ(TypeParam::get(&this->map, "key", &this->out), 0);
    EXPECT_EQ(bytes_of(this->out), bytes_of(this->address));
}

TYPED_TEST(MapAddress, ReadReportsAMissingKeyAndLeavesTheOutputAlone)
{
    EXPECT_EQ(TypeParam::get(&this->map, "missing", &this->out), ENOENT);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(MapAddress, ReadRefusesNullForMapKeyOrOutput)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_EQ(TypeParam::get(nullptr, "key", &this->out), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, nullptr, &this->out), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, "key", nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get(&this->map, "missing", nullptr), EINVAL);
    EXPECT_EQ(TypeParam::get(nullptr, nullptr, nullptr), EINVAL);
    EXPECT_EQ(bytes_of(this->out), this->untouched);
}

TYPED_TEST(MapAddress, ReadAllocatesNothing)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    const allocations::Log log;
    EXPECT_EQ(TypeParam::get(&this->map, "key", &this->out), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

class MapAddressText : public MapTest {};

TEST_F(MapAddressText, OfAMacIsReadUpTo17Characters)
{
    macaddr_t out;
    ASSERT_EQ(map_insert_str(&map, "exact", "02:00:5e:10:00:ff"), 0);
    ASSERT_EQ(map_insert_str(&map, "long", "02:00:5e:10:00:ff and more"), 0);
    ASSERT_EQ(map_insert_str(&map, "short", "02:00:5e:10:00:f"), 0);
    EXPECT_EQ(map_get_macaddr(&map, "exact", &out), 0);
    EXPECT_EQ(map_get_macaddr(&map, "long", &out), 0);
    EXPECT_EQ(bytes_of(out), bytes_of(Mac::address));
    EXPECT_EQ(map_get_macaddr(&map, "short", &out), EINVAL);
}

TEST_F(MapAddressText, OfAnIpIsReadUpTo45Characters)
{
    const std::string longest = longest_ip;
    ASSERT_EQ(longest.size(), 45U);
    ASSERT_EQ(map_insert_str(&map, "key", (longest + "9").c_str()), 0);
    ipaddr_t out;
    EXPECT_EQ(map_get_ipaddr(&map, "key", &out), 0);
    // With one character less it would be 25, and refused with one more.
    EXPECT_EQ(out.bytes[15], 254);
    ASSERT_EQ(map_replace_str(&map, "key", (longest.substr(1) + "9").c_str()), 0);
    EXPECT_EQ(map_get_ipaddr(&map, "key", &out), EINVAL);
}

TEST_F(MapAddressText, OfACidrIsReadWholeThoughItIsLongerThanAnIp)
{
    const std::string longest = longest_cidr;
    cidr_t out;
    ASSERT_EQ(map_insert_str(&map, "key", longest.c_str()), 0);
    EXPECT_EQ(map_get_cidr(&map, "key", &out), 0);
    EXPECT_EQ(out.prefix, 128);
    ASSERT_EQ(map_replace_str(&map, "key", (longest + "0").c_str()), 0);
    EXPECT_EQ(map_get_cidr(&map, "key", &out), EINVAL);
    ASSERT_EQ(map_replace_str(&map, "key", (longest + std::string(100, '0')).c_str()), 0);
    EXPECT_EQ(map_get_cidr(&map, "key", &out), EINVAL);
}

TEST_F(MapAddressText, IsTheSameForRecordsThatDifferInUnusedBytes)
{
    const ipaddr_t address = {4, {192, 0, 2, 1}};
    const ipaddr_t other = {4, {192, 0, 2, 1, 0xFF, 0xFF}};
    ASSERT_EQ(map_insert_ipaddr(&map, "key", &address), 0);
    EXPECT_EQ(map_cmp_ipaddr(&map, "key", &other), 0);
}

class MapAddressThatDoesNotConvert : public MapTest {};

TEST_F(MapAddressThatDoesNotConvert, IsNotStored)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    const allocations::Log log;
    for (const char *key : {"key", "new"}) {
        expect_unchanged(EINVAL, [&] { return map_insert_ipaddr(&map, key, &no_ip); });
        expect_unchanged(EINVAL, [&] { return map_replace_ipaddr(&map, key, &no_ip); });
        expect_unchanged(EINVAL, [&] { return map_insert_cidr(&map, key, &no_cidr); });
        expect_unchanged(EINVAL, [&] { return map_replace_cidr(&map, key, &no_cidr); });
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MapAddressThatDoesNotConvert, ComparesAsTheEmptyText)
{
    ASSERT_EQ(map_insert_str(&map, "empty", ""), 0);
    ASSERT_EQ(map_insert_str(&map, "zero", "0"), 0);
    EXPECT_EQ(map_cmp_ipaddr(&map, "empty", &no_ip), 0);
    EXPECT_EQ(map_cmp_cidr(&map, "empty", &no_cidr), 0);
    EXPECT_GT(map_cmp_ipaddr(&map, "zero", &no_ip), 0);
    EXPECT_GT(map_cmp_cidr(&map, "zero", &no_cidr), 0);
}

TEST_F(MapAddressThatDoesNotConvert, ComparesAsZeroIfItIsAMac)
{
    ASSERT_EQ(map_insert_str(&map, "empty", ""), 0);
    ASSERT_EQ(map_insert_str(&map, "zero", "0"), 0);
    EXPECT_EQ(map_cmp_macaddr(&map, "zero", nullptr), 0);
    EXPECT_LT(map_cmp_macaddr(&map, "empty", nullptr), 0);
}
