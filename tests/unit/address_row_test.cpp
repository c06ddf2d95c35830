// The address rows: what conversions are given, and what those of a platform's own might do.
#include "addresses.hpp"
#include "conversions.hpp"
#include "map_fixture.hpp"

class AddressRow : public MapTest {};

TEST_F(AddressRow, GivesConversionsTheSizeThatTheirTextsMayTake)
{
    EXPECT_EQ(map_insert_macaddr(&map, "mac", &Mac::address), 0);
    EXPECT_EQ(conversions::last_size(), 18U);
    EXPECT_EQ(map_insert_ipaddr(&map, "ip", &Ip::address), 0);
    EXPECT_EQ(conversions::last_size(), 46U);
    EXPECT_EQ(map_insert_cidr(&map, "cidr", &Cidr::address), 0);
    EXPECT_EQ(conversions::last_size(), 92U);
}

TEST_F(AddressRow, HandsNoNullToAConversion)
{
    const unsigned int before = conversions::count();
    EXPECT_EQ(map_insert_macaddr(&map, "mac", nullptr), EINVAL);
    EXPECT_EQ(map_insert_ipaddr(&map, "ip", nullptr), EINVAL);
    EXPECT_EQ(map_insert_cidr(&map, "cidr", nullptr), EINVAL);
    EXPECT_LT(map_cmp_macaddr(&map, "mac", nullptr), 0);
    EXPECT_LT(map_cmp_ipaddr(&map, "ip", nullptr), 0);
    EXPECT_LT(map_cmp_cidr(&map, "cidr", nullptr), 0);
    EXPECT_EQ(conversions::count(), before);
}

TEST_F(AddressRow, ComparesATextThatFillsTheScratchWithoutItsEnd)
{
    ASSERT_EQ(map_insert_str(&map, "mac", std::string(17, '7').c_str()), 0);
    conversions::leave_next_unended();
    EXPECT_EQ(map_cmp_macaddr(&map, "mac", &Mac::address), 0);
    ASSERT_EQ(map_insert_str(&map, "ip", std::string(45, '7').c_str()), 0);
    conversions::leave_next_unended();
    EXPECT_EQ(map_cmp_ipaddr(&map, "ip", &Ip::address), 0);
    ASSERT_EQ(map_insert_str(&map, "cidr", std::string(91, '7').c_str()), 0);
    conversions::leave_next_unended();
    EXPECT_EQ(map_cmp_cidr(&map, "cidr", &Cidr::address), 0);
}
