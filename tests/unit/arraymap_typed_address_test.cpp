// Typed addresses, where the arraymap has rules of its own: replacing, and that a value may repeat.
#include "addresses.hpp"
#include "arraymap_fixture.hpp"
#include "type_name.hpp"

#include <cstdint>

namespace {

#define ARRAYMAP_ADDRESS(Kind, type)                                                               \
    struct Arraymap##Kind : Kind {                                                                 \
        static constexpr auto insert = arraymap_insert_##type;                                     \
        static constexpr auto replace = arraymap_replace_##type;                                   \
        static constexpr auto remove = arraymap_delete_##type;                                     \
        static constexpr auto get = arraymap_get_##type;                                           \
    };

ARRAYMAP_ADDRESS(Mac, macaddr)
ARRAYMAP_ADDRESS(Ip, ipaddr)
ARRAYMAP_ADDRESS(Cidr, cidr)

using Values = std::vector<std::string>;
using Indexes = std::vector<uint32_t>;

} // namespace

template <class Type>
class ArraymapAddress : public ArraymapTest {
  protected:
    using Record = typename Type::Record;

    int replace(const char *key, uint32_t index, const Record *record)
    {
        return Type::replace(&map, key, index, record);
    }

    const Record address = Type::address;
    const std::string text = Type::text + "\0"s;
};

using Types = testing::Types<ArraymapMac, ArraymapIp, ArraymapCidr>;
TYPED_TEST_SUITE(ArraymapAddress, Types, TypeName);

TYPED_TEST(ArraymapAddress, IsInsertedAgain)
{
    EXPECT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_EQ(TypeParam::insert(&this->map, "key", &this->address), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{this->text, this->text}));
    EXPECT_EQ(indexes_of(this->map, "key"), (Indexes{0, 1}));
}

TYPED_TEST(ArraymapAddress, IsDeletedWhereverTheKeyHoldsItsText)
{
    const std::string other = TypeParam::other_text_of_it + "\0"s;
    fill(this->map, {{"key", {this->text, other, this->text}}});
    EXPECT_EQ(TypeParam::remove(&this->map, "key", &this->address), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{other});
}

TYPED_TEST(ArraymapAddress, ReplacesTheValueAtTheIndexAndIsReadBack)
{
    fill(this->map, {{"key", {"before", "old", "behind"}}, {"other", {"a", "b"}}});
    EXPECT_EQ(this->replace("key", 1, &this->address), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"before", this->text, "behind"}));
    EXPECT_EQ(indexes_of(this->map, "key"), (Indexes{0, 1, 2}));
    EXPECT_EQ(values_of(this->map, "other"), (Values{"a", "b"}));
    for (const auto &record : {TypeParam::smaller, TypeParam::greater, TypeParam::address}) {
        auto out = no_address<typename TypeParam::Record>();
        ASSERT_EQ(this->replace("key", 1, &record), 0);
        EXPECT_EQ(TypeParam::get(&this->map, "key", 1, &out), 0);
        EXPECT_EQ(bytes_of(out), bytes_of(record));
    }
}

TYPED_TEST(ArraymapAddress, ReplaceReportsAMissingIndexOrKeyAndAddsNothing)
{
    fill(this->map, {{"key", {"one", "two"}}});
    this->expect_unchanged(ENOENT, [this] { return this->replace("key", 2, &this->address); });
    this->expect_unchanged(ENOENT, [this] { return this->replace("missing", 0, &this->address); });
}

TYPED_TEST(ArraymapAddress, ReplaceAllocatesTheValueAlone)
{
    fill(this->map, {{"key", {"old"}}});
    const allocations::Log log;
    EXPECT_EQ(this->replace("key", 0, &this->address), 0);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(arraymap_value_t) + this->text.size()});
}

TYPED_TEST(ArraymapAddress, ReplaceRefusesNullForMapKeyOrAddress)
{
    fill(this->map, {{"key", {"old"}}});
    this->expect_unchanged(
        EINVAL, [this] { return TypeParam::replace(nullptr, "key", 0, &this->address); });
    this->expect_unchanged(EINVAL, [this] { return this->replace(nullptr, 0, &this->address); });
    this->expect_unchanged(EINVAL, [this] { return this->replace("key", 0, nullptr); });
    this->expect_unchanged(EINVAL, [this] { return this->replace("key", 1, nullptr); });
    this->expect_unchanged(EINVAL, [this] { return this->replace("missing", 0, nullptr); });
}

TYPED_TEST(ArraymapAddress, ReplaceRefusesAReleasedArraymap)
{
    arraymap_t released = released_arraymap();
    EXPECT_EQ(TypeParam::replace(&released, "key", 0, &this->address), EINVAL);
}

TYPED_TEST(ArraymapAddress, MayLieInTheValueThatItReplaces)
{
    fill(this->map, {{"key", {bytes_of(this->address)}}});
    const void *data = stored_text(this->map, "key", 0);
    const auto *stored = static_cast<const typename TypeParam::Record *>(data);
    EXPECT_EQ(this->replace(stored_key(this->map, "key"), 0, stored), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{this->text});
}

class ArraymapAddressText : public ArraymapTest {};

TEST_F(ArraymapAddressText, ThatCannotBeHadReplacesNothingAndIsReportedBeforeAMissingIndex)
{
    fill(map, {{"key", {"", "\0"s}}});
    const allocations::Log log;
    for (const uint32_t index : {0U, 2U}) {
        for (const char *key : {"key", "missing"}) {
            expect_unchanged(EINVAL,
                             [&] { return arraymap_replace_ipaddr(&map, key, index, &no_ip); });
            expect_unchanged(EINVAL,
                             [&] { return arraymap_replace_cidr(&map, key, index, &no_cidr); });
        }
    }
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}
