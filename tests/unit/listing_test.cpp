#include "table/listing.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(SortCompare, GoesByTheBytesOfTheKeysAlone)
{
    const char *in_order[] = {"", "B", "a", "aB", "aa", "a\x80", "b", "\x80", "\xff"};
    int earlier = 0;
    for (const char *a : in_order) {
        int later = 0;
        for (const char *b : in_order) {
            SCOPED_TRACE(testing::PrintToString(a) + ' ' + testing::PrintToString(b));
            const std::string copy = b;
            const int result = textmaps::_sort_compare({a, {nullptr}}, {copy.c_str(), {nullptr}});
            EXPECT_EQ(result < 0, earlier < later);
            EXPECT_EQ(result > 0, earlier > later);
            ++later;
        }
        ++earlier;
    }
}
