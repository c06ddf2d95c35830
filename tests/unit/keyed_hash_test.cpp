#include "keyed_hash.h"

#include "table/hash.hpp"
#include "type_name.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// The published test vectors: of the bytes 0, 1, 2 and so on, no byte to 63 of them, with the seed
// of the bytes 0 to 15.
const hash_seed published_seed = {0x0706050403020100, 0x0F0E0D0C0B0A0908};
const uint64_t published_hashes[64] = {
    0x726FDB47DD0E0E31, 0x74F839C593DC67FD, 0x0D6C8009D9A94F5A, 0x85676696D7FB7E2D,
    0xCF2794E0277187B7, 0x18765564CD99A68D, 0xCBC9466E58FEE3CE, 0xAB0200F58B01D137,
    0x93F5F5799A932462, 0x9E0082DF0BA9E4B0, 0x7A5DBBC594DDB9F3, 0xF4B32F46226BADA7,
    0x751E8FBC860EE5FB, 0x14EA5627C0843D90, 0xF723CA908E7AF2EE, 0xA129CA6149BE45E5,
    0x3F2ACC7F57C29BDB, 0x699AE9F52CBE4794, 0x4BC1B3F0968DD39C, 0xBB6DC91DA77961BD,
    0xBED65CF21AA2EE98, 0xD0F2CBB02E3B67C7, 0x93536795E3A33E88, 0xA80C038CCD5CCEC8,
    0xB8AD50C6F649AF94, 0xBCE192DE8A85B8EA, 0x17D835B85BBB15F3, 0x2F2E6163076BCFAD,
    0xDE4DAAACA71DC9A5, 0xA6A2506687956571, 0xAD87A3535C49EF28, 0x32D892FAD841C342,
    0x7127512F72F27CCE, 0xA7F32346F95978E3, 0x12E0B01ABB051238, 0x15E034D40FA197AE,
    0x314DFFBE0815A3B4, 0x027990F029623981, 0xCADCD4E59EF40C4D, 0x9ABFD8766A33735C,
    0x0E3EA96B5304A7D0, 0xAD0C42D6FC585992, 0x187306C89BC215A9, 0xD4A60ABCF3792B95,
    0xF935451DE4F21DF2, 0xA9538F0419755787, 0xDB9ACDDFF56CA510, 0xD06C98CD5C0975EB,
    0xE612A3CB9ECBA951, 0xC766E62CFCADAF96, 0xEE64435A9752FE72, 0xA192D576B245165A,
    0x0A8787BF8ECB74B2, 0x81B3E73D20B49B6F, 0x7FA8220BA3B2ECEA, 0x245731C13CA42499,
    0xB78DBFAF3A8D83BD, 0xEA1AD565322A1A0B, 0x60E61C23A3795013, 0x6606D7E446282B93,
    0x6CA4ECB15C5F91E1, 0x9F626DA15C9625F3, 0xE51B38608EF25F57, 0x958A324CEB064572,
};

constexpr int32_t flood_size = 1024;

// Keys of 20 characters that collide in all 32 bits of the built-in hash: 'b' * 31 + 'z' is
// 'c' * 31 + ';', letters counting as capitals.
std::vector<std::string> flood()
{
    std::vector<std::string> keys;
    for (int32_t number = 0; number < flood_size; ++number) {
        std::string key;
        for (int32_t rest = number + flood_size; rest > 1; rest /= 2) {
            key += rest % 2 == 0 ? "bz" : "c;";
        }
        keys.push_back(key);
    }
    return keys;
}

std::string capitals(std::string text)
{
    for (char &c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return text;
}

struct MapRecord {
    static constexpr const char *name = "Map";
    using Keyed = keyed_map;
    using Node = map_entry_t;
    static constexpr auto hash = keyed_map_hash;
    static constexpr auto init = map_init;
    static constexpr auto destroy = map_destroy;
    static constexpr auto insert = map_insert;
    static constexpr auto haskey = map_haskey;
    static constexpr auto sethashsize = map_sethashsize;
    static constexpr auto sethashfunc = map_sethashfunc;
    static constexpr auto setcasekeys = map_setcasekeys;
};

struct MultimapRecord {
    static constexpr const char *name = "Multimap";
    using Keyed = keyed_multimap;
    using Node = multimap_key_t;
    static constexpr auto hash = keyed_multimap_hash;
    static constexpr auto init = multimap_init;
    static constexpr auto destroy = multimap_destroy;
    static constexpr auto insert = multimap_insert;
    static constexpr auto haskey = multimap_haskey;
    static constexpr auto sethashsize = multimap_sethashsize;
    static constexpr auto sethashfunc = multimap_sethashfunc;
    static constexpr auto setcasekeys = multimap_setcasekeys;
};

struct ArraymapRecord {
    static constexpr const char *name = "Arraymap";
    using Keyed = keyed_arraymap;
    using Node = arraymap_key_t;
    static constexpr auto hash = keyed_arraymap_hash;
    static constexpr auto init = arraymap_init;
    static constexpr auto destroy = arraymap_destroy;
    static constexpr auto insert = arraymap_insert;
    static constexpr auto haskey = arraymap_haskey;
    static constexpr auto sethashsize = arraymap_sethashsize;
    static constexpr auto sethashfunc = arraymap_sethashfunc;
    static constexpr auto setcasekeys = arraymap_setcasekeys;
};

// A container with the published seed, and the built-in hash at first.
template <class Record>
class KeyFlood : public testing::Test {
  protected:
    KeyFlood()
    {
        keyed.seed = published_seed;
        EXPECT_EQ(Record::init(&keyed.map), 0);
    }
    ~KeyFlood() override
    {
        EXPECT_EQ(Record::destroy(&keyed.map), 0);
    }

    void insert(const std::vector<std::string> &keys)
    {
        for (const std::string &key : keys) {
            EXPECT_EQ(Record::insert(&keyed.map, key.c_str(), "", 1), 0);
        }
    }

    int longest_chain() const
    {
        int longest = 0;
        for (uint32_t i = 0; i < keyed.map.hashsize; ++i) {
            int length = 0;
            using Node = typename Record::Node;
            for (auto *node = static_cast<const Node *>(keyed.map.buckets[i].first);
                 node != nullptr; node = node->next) {
                ++length;
            }
            longest = std::max(longest, length);
        }
        return longest;
    }

    uint32_t hash(const char *key) const
    {
        return Record::hash(&keyed.map, key);
    }

    typename Record::Keyed keyed;
};

using Records = testing::Types<MapRecord, MultimapRecord, ArraymapRecord>;

} // namespace

TEST(SipHash, GivesThePublishedNumbers)
{
    std::string bytes;
    for (const uint64_t hash : published_hashes) {
        EXPECT_EQ(siphash_2_4(&published_seed, bytes.data(), bytes.size()), hash) << bytes.size();
        bytes += static_cast<char>(bytes.size());
    }
}

TEST(HashSeed, IsDrawnAnew)
{
    hash_seed one;
    hash_seed other;
    ASSERT_EQ(hash_seed_draw(&one), 0);
    ASSERT_EQ(hash_seed_draw(&other), 0);
    EXPECT_TRUE(one.low != other.low || one.high != other.high);
}

TEST(BuiltinHash, IsTheSameForEveryKeyOfAFlood)
{
    const std::vector<std::string> keys = flood();
    for (const std::string &key : keys) {
        EXPECT_EQ(textmaps::builtin_hash(key.c_str()).hash,
                  textmaps::builtin_hash(keys[0].c_str()).hash);
    }
}

TYPED_TEST_SUITE(KeyFlood, Records, TypeName);

TYPED_TEST(KeyFlood, FillsOneBucketUnderTheBuiltinHashHoweverManyThereAre)
{
    this->insert(flood());
    for (const uint32_t size : {32U, 1024U, 65536U}) {
        ASSERT_EQ(TypeParam::sethashsize(&this->keyed.map, size), 0);
        EXPECT_EQ(this->longest_chain(), flood_size);
    }
}

TYPED_TEST(KeyFlood, SpreadsUnderTheKeyedHash)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->keyed.map, flood_size), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->keyed.map, TypeParam::hash), 0);
    this->insert(flood());
    EXPECT_EQ(this->keyed.map.numkeys, flood_size);
    EXPECT_LE(this->longest_chain(), 8);
}

TYPED_TEST(KeyFlood, SpreadsOnceTheKeyedHashIsSet)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->keyed.map, flood_size), 0);
    this->insert(flood());
    ASSERT_EQ(TypeParam::sethashfunc(&this->keyed.map, TypeParam::hash), 0);
    EXPECT_LE(this->longest_chain(), 8);
    for (const std::string &key : flood()) {
        EXPECT_EQ(TypeParam::haskey(&this->keyed.map, key.c_str()), 1);
    }
}

TYPED_TEST(KeyFlood, SpreadsOtherwiseWithAnotherSeed)
{
    const std::string key = flood()[0];
    const uint32_t hash = this->hash(key.c_str());
    this->keyed.seed.low ^= 1;
    EXPECT_NE(this->hash(key.c_str()), hash);
    this->keyed.seed = published_seed;
    this->keyed.seed.high ^= 1;
    EXPECT_NE(this->hash(key.c_str()), hash);
}

TYPED_TEST(KeyFlood, IsHashedByTheLowBitsOfSipHash)
{
    for (const std::string &key :
         {std::string(), std::string("Lan.Mtu"), std::string(300, '\xFF')}) {
        EXPECT_EQ(this->hash(key.c_str()),
                  static_cast<uint32_t>(siphash_2_4(&published_seed, key.data(), key.size())));
    }
}

TYPED_TEST(KeyFlood, IsHashedWithoutRegardToCaseExactlyWhereTheContainerIgnoresIt)
{
    EXPECT_NE(this->hash("lan.mtu"), this->hash("LAN.mtu"));
    ASSERT_EQ(TypeParam::setcasekeys(&this->keyed.map, 1), 0);
    EXPECT_EQ(this->hash("lan.mtu"), this->hash("LAN.mtu"));
    for (int byte = 1; byte <= 0xFF; ++byte) {
        const char key[] = {static_cast<char>(byte), '\0'};
        const char other_case[] = {static_cast<char>(byte ^ 0x20), '\0'};
        const bool letter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        EXPECT_EQ(this->hash(key) == this->hash(other_case), letter) << byte;
    }
    ASSERT_EQ(TypeParam::setcasekeys(&this->keyed.map, 0), 0);
    EXPECT_NE(this->hash("lan.mtu"), this->hash("LAN.mtu"));
}

TYPED_TEST(KeyFlood, BecomesOneKeyForTwoSpellingsWhenCaseIsIgnored)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->keyed.map, flood_size), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->keyed.map, TypeParam::hash), 0);
    std::vector<std::string> keys = flood();
    this->insert(keys);
    std::transform(keys.begin(), keys.end(), keys.begin(), capitals);
    this->insert(keys);
    ASSERT_EQ(this->keyed.map.numkeys, 2 * flood_size);
    ASSERT_EQ(TypeParam::setcasekeys(&this->keyed.map, 1), 0);
    EXPECT_EQ(this->keyed.map.numkeys, flood_size);
    EXPECT_LE(this->longest_chain(), 8);
}
