// The address rows: what conversions are given, and those that a platform's own library might have.
#include "addresses.hpp"
#include "conversions.hpp"
#include "map_fixture.hpp"

#include "typed/rows.hpp"

namespace {

// Its conversion fills the scratch and ends the text nowhere.
struct UnendedKind {
    using record = int;
    static constexpr std::uint32_t scratch = 5;
    static constexpr char unconverted = '?';

    static int to_str(const record *from, char *text)
    {
        std::memset(text, '0' + *from, scratch);
        return 0;
    }
};

using Row = textmaps::address_row<UnendedKind>;

} // namespace

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
    EXPECT_EQ(conversions::count(), before);
}

TEST_F(AddressRow, ComparesATextThatFillsTheScratchWithoutItsEnd)
{
    const int seven = 7;
    std::string compared;
    const int result = Row::with_any_text(&seven, [&](const char *text, std::uint32_t size) {
        compared.assign(text, size);
        return 3;
    });
    EXPECT_EQ(result, 3);
    EXPECT_EQ(compared, "7777\0"s);
}
