// Typed addresses, where the multimap has rules of its own: finding, and that a key holds a value once.
#include "addresses.hpp"
#include "multimap_fixture.hpp"
#include "type_name.hpp"

#include <cstdint>

namespace {

#define MULTIMAP_ADDRESS(Kind, type)                                                               \
    struct Multimap##Kind : Kind {                                                                 \
        static constexpr auto find = multimap_find_##type;                                         \
        static constexpr auto insert = multimap_insert_##type;                                     \
    };

MULTIMAP_ADDRESS(Mac, macaddr)
MULTIMAP_ADDRESS(Ip, ipaddr)
MULTIMAP_ADDRESS(Cidr, cidr)

} // namespace

template <class Type>
class MultimapAddress : public MultimapTest {
  protected:
    using Record = typename Type::Record;

    int find(const char *key, const Record *record)
    {
        return Type::find(&map, key, record, &index);
    }

    uint32_t index = no_index;
    const Record address = Type::address;
    const std::string text = Type::text + "\0"s;
};

using Types = testing::Types<MultimapMac, MultimapIp, MultimapCidr>;
TYPED_TEST_SUITE(MultimapAddress, Types, TypeName);

TYPED_TEST(MultimapAddress, IsInsertedOnce)
{
    ASSERT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    this->expect_unchanged(1,
                           [this] { return TypeParam::insert(&this->map, "key", &this->address); });
    EXPECT_EQ(TypeParam::insert(&this->map, "other key", &this->address), 0);
}

TYPED_TEST(MultimapAddress, IsFoundByItsVeryText)
{
    const std::vector<std::string> near_misses = {"",
                                                  TypeParam::text,
                                                  this->text + '\0',
                                                  " " + this->text,
                                                  TypeParam::other_text_of_it + "\0"s,
                                                  bytes_of(this->address)};
    fill(this->map, {{"key", near_misses}});
    this->expect_unchanged(ENOENT, [this] { return this->find("key", &this->address); });
    EXPECT_EQ(this->index, no_index);
    fill(this->map, {{"key", {this->text, "behind it"}}});
    this->expect_unchanged(0, [this] { return this->find("key", &this->address); });
    EXPECT_EQ(this->index, near_misses.size());
    this->expect_unchanged(
        0, [this] { return TypeParam::find(&this->map, "key", &this->address, nullptr); });
}

TYPED_TEST(MultimapAddress, FindReportsAMissingKey)
{
    fill(this->map, {{"key", {this->text}}});
    this->expect_unchanged(ENOENT, [this] { return this->find("missing", &this->address); });
    EXPECT_EQ(this->index, no_index);
}

TYPED_TEST(MultimapAddress, FindNeedsNoMemory)
{
    fill(this->map, {{"key", {this->text}}});
    const allocations::Log log;
    EXPECT_EQ(this->find("key", &this->address), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TYPED_TEST(MultimapAddress, FindRefusesNullForMapKeyOrAddress)
{
    fill(this->map, {{"key", {this->text}}});
    EXPECT_EQ(TypeParam::find(nullptr, "key", &this->address, &this->index), EINVAL);
    EXPECT_EQ(this->find(nullptr, &this->address), EINVAL);
    EXPECT_EQ(this->find("key", nullptr), EINVAL);
    EXPECT_EQ(this->find("missing", nullptr), EINVAL);
    EXPECT_EQ(TypeParam::find(nullptr, nullptr, nullptr, &this->index), EINVAL);
    EXPECT_EQ(this->index, no_index);
}

TYPED_TEST(MultimapAddress, FindRefusesAReleasedMultimap)
{
    const multimap_t released = released_multimap();
    EXPECT_EQ(TypeParam::find(&released, "key", &this->address, &this->index), EINVAL);
    EXPECT_EQ(this->index, no_index);
}

TYPED_TEST(MultimapAddress, IsFoundThoughItLiesInTheMultimap)
{
    fill(this->map, {{"key", {bytes_of(this->address), this->text}}});
    const void *data = stored_text(this->map, "key", 0);
    const auto *stored = static_cast<const typename TypeParam::Record *>(data);
    EXPECT_EQ(this->find(stored_key(this->map, "key"), stored), 0);
    EXPECT_EQ(this->index, 1U);
}

class MultimapAddressText : public MultimapTest {};

TEST_F(MultimapAddressText, IsOneValueForRecordsThatDifferInUnusedBytes)
{
    const ipaddr_t address = {4, {192, 0, 2, 1}};
    const ipaddr_t same = {4, {192, 0, 2, 1, 0xFF, 0xFF}};
    ASSERT_EQ(multimap_insert_ipaddr(&map, "key", &address), 0);
    expect_unchanged(1, [&] { return multimap_insert_ipaddr(&map, "key", &same); });
    EXPECT_EQ(multimap_find_ipaddr(&map, "key", &same, nullptr), 0);
}

TEST_F(MultimapAddressText, ThatCannotBeHadIsReportedBeforeAnythingIsSought)
{
    uint32_t index = no_index;
    fill(map, {{"key", {"", "\0"s, "192.0.2.1\0"s, "192.0.2.1/33\0"s}}});
    for (const char *key : {"key", "missing"}) {
        expect_unchanged(EINVAL, [&] { return multimap_find_ipaddr(&map, key, &no_ip, &index); });
        expect_unchanged(EINVAL, [&] { return multimap_find_cidr(&map, key, &no_cidr, &index); });
    }
    EXPECT_EQ(index, no_index);
}
