#include "list_printing.hpp"

namespace {

template <class Printer>
class EveryArraymapPrinter : public ListPrinterTest<Printer> {
};

class ArraymapDump : public ListPrintingTest<ArraymapFamily> {};

using ArraymapPrinters = PrintersOf<ArraymapFamily>;

} // namespace

TYPED_TEST_SUITE(EveryArraymapPrinter, ArraymapPrinters, PrinterName);

TYPED_TEST(EveryArraymapPrinter, PrintsEachOfEqualValuesAtItsPosition)
{
    fill(this->map, {{"k", {"a\0"s, "b\0"s, "a\0"s, "a\0"s}}});
    EXPECT_EQ(this->text(), this->expected(" k[0]=a\n k[1]=b\n k[2]=a\n k[3]=a\n"));
}

TYPED_TEST(EveryArraymapPrinter, CountsPositionsAndDoesNotReadTheIndexesOfTheNodes)
{
    fill(this->map, {{"k", {"1", "2"}}, {"K", {"2", "3", "4"}}});
    ASSERT_EQ(arraymap_setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(indexes_of(this->map, "k"), (std::vector<uint32_t>{0, 1, 1, 2}));
    EXPECT_EQ(this->text(), this->expected(" k[0]=1\n k[1]=2\n k[2]=3\n k[3]=4\n"));
}

TYPED_TEST(EveryArraymapPrinter, PrintsAReplacedValueInItsPlace)
{
    fill(this->map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(arraymap_replace(&this->map, "k", 1, "longer", 6), 0);
    EXPECT_EQ(this->text(), this->expected(" k[0]=a\n k[1]=longer\n k[2]=c\n"));
}

TYPED_TEST(EveryArraymapPrinter, CountsPositionsAnewAfterTheRemovalOfEqualValues)
{
    fill(this->map, {{"k", {"a", "b", "a", "c"}}});
    ASSERT_EQ(arraymap_delete(&this->map, "k", "a", 1), 0);
    ASSERT_EQ(insert(this->map, "k", "a"), 0);
    EXPECT_EQ(this->text(), this->expected(" k[0]=b\n k[1]=c\n k[2]=a\n"));
}

TEST_F(ArraymapDump, PrintsAddressSizeAndNumbersOfKeysAndValuesBeforeTheLines)
{
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void *>(&map));
    for (uint32_t size : {33U, 64U}) {
        restart(map, size);
        fill(map, {{"b", {"x\0"s, "x\0"s}}, {"a", {"z\0"s}}});
        EXPECT_EQ(dumped(), "arraymap "s + address + " hashsize=" + std::to_string(size) +
                                " numkeys=2 numvalues=3\n"
                                " a[0]=z\n b[0]=x\n b[1]=x\n");
    }
}
