#include "list_printing.hpp"

namespace {

class MultimapDump : public ListPrintingTest<MultimapFamily> {};

} // namespace

TEST_F(MultimapDump, PrintsAddressSizeAndNumbersOfKeysAndValuesBeforeTheLines)
{
    ASSERT_EQ(multimap_sethashsize(&map, 64), 0);
    fill(map, {{"b", {"x\0"s, "y\0"s}}, {"a", {"z\0"s}}});
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void *>(&map));
    EXPECT_EQ(dumped(), "multimap "s + address +
                            " hashsize=64 numkeys=2 numvalues=3\n"
                            " a[0]=z\n b[0]=x\n b[1]=y\n");
}
