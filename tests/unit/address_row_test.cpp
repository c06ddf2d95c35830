// The address rows with conversions that a platform's own address library might have.
#include "typed/rows.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace std::string_literals;

namespace {

// Writes to the last byte of its scratch and ends its text nowhere.
struct UnendedKind {
    using record = int;
    static constexpr std::uint32_t scratch = 5;
    static constexpr char unconverted = '?';

    static int to_str(const record *, char *text)
    {
        std::memset(text, '7', scratch);
        return 0;
    }
};

} // namespace

TEST(AddressComparison, EndsATextThatFillsTheScratch)
{
    const int record = 0;
    std::string compared;
    const int result = textmaps::address_row<UnendedKind>::with_any_text(
        &record, [&](const char *text, std::uint32_t size) {
            compared.assign(text, size);
            return 3;
        });
    EXPECT_EQ(result, 3);
    EXPECT_EQ(compared, "7777\0"s);
}
