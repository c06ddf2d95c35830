// The address rows: what conversions are given, and those that a platform's own library might have.
#include "addresses.hpp"
#include "conversions.hpp"

#include "typed/access.hpp"

namespace {

// Its conversion fills the scratch and ends the text nowhere; of more than a digit it makes none.
struct UnendedKind {
    using record = int;
    static constexpr std::uint32_t scratch = 5;
    static constexpr char unconverted = '?';

    static int to_str(const record *from, char *text)
    {
        if (*from > 9) {
            return EIO;
        }
        std::memset(text, '0' + *from, scratch);
        return 0;
    }
};

using Row = textmaps::address_row<UnendedKind>;

int succeed(const char *, std::uint32_t)
{
    return 0;
}

} // namespace

TEST(AddressRow, GivesConversionsTheSizeThatTheirTextsMayTake)
{
    EXPECT_EQ(textmaps::row_macaddr::with_text(&Mac::address, succeed), 0);
    EXPECT_EQ(conversions::last_size(), 18U);
    EXPECT_EQ(textmaps::row_ipaddr::with_text(&Ip::address, succeed), 0);
    EXPECT_EQ(conversions::last_size(), 46U);
    EXPECT_EQ(textmaps::row_cidr::with_text(&Cidr::address, succeed), 0);
    EXPECT_EQ(conversions::last_size(), 92U);
}

TEST(AddressRow, GivesTheErrorOfAConversionThatFails)
{
    const int ten = 10;
    EXPECT_EQ(Row::with_text(&ten, succeed), EIO);
}

TEST(AddressRow, ComparesATextThatFillsTheScratchWithoutItsEnd)
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

TEST(AddressRow, HandsNoNullToAConversion)
{
    const int container = 0;
    EXPECT_EQ(textmaps::with_value<Row>(&container, "key", nullptr, succeed), EINVAL);
}
