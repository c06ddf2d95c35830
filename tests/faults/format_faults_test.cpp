// Formatted texts that were measured and then cannot be written.
#include "list_families.hpp"
#include "map_fixture.hpp"

#include <printf.h>

namespace {

int conversions_granted;

// A conversion of the tests' own: it gives "converted" as often as was granted, and then fails. A
// function hides it from the compilers, which warn of a conversion that they do not know.
const char *format()
{
    return "%Y";
}

int convert_or_fail(FILE *stream, const printf_info *, const void *const *)
{
    if (conversions_granted-- > 0) {
        return std::fputs("converted", stream) < 0 ? -1 : 9;
    }
    errno = EIO;
    return -1;
}

int no_arguments(const printf_info *, std::size_t, int *, int *)
{
    return 0;
}

// Registering a conversion cannot be undone, and changes how printf takes other formats.
template <class Fixture>
class FallibleConversion : public Fixture {
  protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(register_printf_specifier('Y', convert_or_fail, no_arguments), 0);
    }

    template <class Call>
    void expect_unchanged_unwritten(Call call)
    {
        this->expect_unchanged(EIO, [&] {
            conversions_granted = 1;
            return call();
        });
    }

    template <class Call>
    static void expect_written(Call call)
    {
        conversions_granted = 2;
        EXPECT_EQ(call(), 0);
    }
};

} // namespace

class MapFormatFaults : public FallibleConversion<MapTest> {};

TEST_F(MapFormatFaults, StoreNothing)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    expect_unchanged_unwritten([this] { return map_insert_fmt(&map, "new", format(), 0); });
    expect_unchanged_unwritten([this] { return map_replace_fmt(&map, "key", format(), 0); });
    expect_written([this] { return map_replace_fmt(&map, "key", format(), 0); });
    EXPECT_EQ(value_of(map, "key"), "converted\0"s);
}

template <class Family>
class ListFormatFaults : public FallibleConversion<typename Family::Test> {
};

TYPED_TEST_SUITE(ListFormatFaults, ListFamilies, TypeName);

TYPED_TEST(ListFormatFaults, StoreAndDeleteNothing)
{
    fill(this->map, {{"key", {"\0"s, "converted\0"s}}});
    for (const auto call : {TypeParam::insert_fmt, TypeParam::delete_fmt}) {
        this->expect_unchanged_unwritten([&] { return call(&this->map, "key", format(), 0); });
    }
    this->expect_written([this] { return TypeParam::delete_fmt(&this->map, "key", format(), 0); });
    this->expect_written(
        [this] { return TypeParam::insert_fmt(&this->map, "other", format(), 0); });
    EXPECT_EQ(values_of(this->map, "key"), std::vector{"\0"s});
    EXPECT_EQ(values_of(this->map, "other"), std::vector{"converted\0"s});
}

class ArraymapFormatFaults : public FallibleConversion<ArraymapTest> {};

TEST_F(ArraymapFormatFaults, ReplaceNothing)
{
    fill(map, {{"key", {"text\0"s}}});
    expect_unchanged_unwritten(
        [this] { return arraymap_replace_fmt(&map, "key", 0, format(), 0); });
    expect_written([this] { return arraymap_replace_fmt(&map, "key", 0, format(), 0); });
    EXPECT_EQ(values_of(map, "key"), (std::vector{"converted\0"s}));
}
