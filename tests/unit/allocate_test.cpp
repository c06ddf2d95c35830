#include "allocations.hpp"

#include "table/allocate.hpp"

#include <gtest/gtest.h>

#include <cstdint>

TEST(AllocateNode, RefusesASumThatOverflows)
{
    EXPECT_EQ(textmaps::allocate_node(SIZE_MAX, 1, 0), nullptr);
    EXPECT_EQ(textmaps::allocate_node(20, SIZE_MAX - 20, 1), nullptr);
    EXPECT_EQ(textmaps::allocate_node(1, SIZE_MAX - 1, SIZE_MAX), nullptr);
}

TEST(AllocateNode, AsksForTheSum)
{
    allocations::Log log;
    // Volatile, since clang leaves out an allocation that nobody looks at.
    void *volatile block = textmaps::allocate_node(20, 5, 4);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>{29});
    std::free(block);
}

TEST(AllocateArray, RefusesAProductThatOverflows)
{
    EXPECT_EQ(textmaps::allocate_array(SIZE_MAX / 8 + 1, 8), nullptr);
    EXPECT_EQ(textmaps::allocate_array(SIZE_MAX, SIZE_MAX), nullptr);
}
