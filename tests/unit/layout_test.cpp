// The records are public and their layout is the binary interface.
#include <textmaps/map.h>

#include <gtest/gtest.h>

#include <cstddef>

namespace {

constexpr bool narrow = sizeof(void *) == 4;

} // namespace

TEST(Layout, BucketIsFirstThenLast)
{
    EXPECT_EQ(offsetof(map_bucket_t, first), 0U);
    EXPECT_EQ(offsetof(map_bucket_t, last), sizeof(void *));
    EXPECT_EQ(sizeof(map_bucket_t), 2 * sizeof(void *));
}

TEST(Layout, MapRecordHasItsFieldsInOrder)
{
    EXPECT_EQ(offsetof(map_t, maxkeys), 0U);
    EXPECT_EQ(offsetof(map_t, numkeys), 4U);
    EXPECT_EQ(offsetof(map_t, casekeys), 8U);
    EXPECT_EQ(offsetof(map_t, hashsize), 12U);
    EXPECT_EQ(offsetof(map_t, hashfunc), 16U);
    EXPECT_EQ(offsetof(map_t, buckets), narrow ? 20U : 24U);
    EXPECT_EQ(sizeof(map_t), narrow ? 24U : 32U);
}

TEST(Layout, EntryHeaderIs20BytesOn32BitAnd40On64)
{
    EXPECT_EQ(offsetof(map_entry_t, next), 0U);
    EXPECT_EQ(offsetof(map_entry_t, prev), sizeof(void *));
    EXPECT_EQ(offsetof(map_entry_t, value), narrow ? 8U : 16U);
    EXPECT_EQ(offsetof(map_entry_t, valuesz), narrow ? 12U : 24U);
    EXPECT_EQ(offsetof(map_entry_t, key), narrow ? 16U : 32U);
    EXPECT_EQ(sizeof(map_entry_t), narrow ? 20U : 40U);
}

TEST(Layout, IteratorIsMapBucketEntry)
{
    EXPECT_EQ(offsetof(map_iter_t, map), 0U);
    EXPECT_EQ(offsetof(map_iter_t, bucket), sizeof(void *));
    EXPECT_EQ(offsetof(map_iter_t, entry), 2 * sizeof(void *));
    EXPECT_EQ(sizeof(map_iter_t), 3 * sizeof(void *));
}

TEST(Layout, SortItemIsKeyThenIndex)
{
    EXPECT_EQ(offsetof(map_sort_item_t, key), 0U);
    EXPECT_EQ(offsetof(map_sort_item_t, index), sizeof(void *));
    EXPECT_EQ(sizeof(map_sort_item_t), 2 * sizeof(void *));
}
