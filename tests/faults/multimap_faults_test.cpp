// What a failing allocation does to calls that only the multimap has or refuses, and what none can
// hit.
#include "fault_runs.hpp"
#include "multimap_fixture.hpp"

using allocations::Failure;

class MultimapFaults : public MultimapTest {};

TEST_F(MultimapFaults, CannotHitWhatTakesNoMemory)
{
    fill(map, {{"Key", {"text\0"s, "second"}}, {"number", {"1\0"s, "2\0"s}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    Multimap same;
    ASSERT_EQ(multimap_copy(&map, &same), 0);
    uint32_t index;
    int number;
    char text[8];
    Failure failure(0);
    EXPECT_EQ(insert(map, "key", "second"), 1);
    EXPECT_EQ(multimap_insert_int(&map, "number", 1), 1);
    EXPECT_EQ(multimap_find_int(&map, "number", 2, &index), 0);
    EXPECT_EQ(multimap_get_int(&map, "number", 1, &number), 0);
    EXPECT_EQ(multimap_casefind_str(&map, "key", "TEXT", &index), 0);
    EXPECT_EQ(multimap_copy_str(&map, "key", 0, text, sizeof text), 0);
    EXPECT_EQ(multimap_merge(&same, &map), 0);
    EXPECT_EQ(multimap_sethashfunc(&map, hash_first_byte), 0);
    EXPECT_EQ(multimap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(multimap_delete_int(&map, "number", 1), 0);
    EXPECT_EQ(multimap_remove(&map, "number", 0), 0);
    EXPECT_EQ(multimap_erase(&map, "key"), 0);
    EXPECT_EQ(multimap_clear(&map), 0);
    EXPECT_FALSE(failure.happened());
}

TEST_F(MultimapFaults, OfAnInsertedFormatComeBeforeItsRefusal)
{
    fill(map, {{"key", {"1\0"s}}});
    Failure failure(0);
    expect_unchanged(ENOMEM, [this] { return multimap_insert_fmt(&map, "key", "%d", 1); });
}

TEST_F(MultimapFaults, OfAUnionWithAReleasedMultimapLeaveTheDestinationEmpty)
{
    const multimap_t released = released_multimap();
    fill(map, {{"a", {"1", "2"}}, {"b", {"3"}}, {"c", {"4", "5", "6"}}});
    expect_an_empty_destination<Multimap>(
        "multimap_union", map,
        [&](const multimap_t *b, multimap_t *dst) { return multimap_union(&released, b, dst); },
        [](multimap_t &dst) {
            fill(dst, {{"left over", {"one", "two"}}});
        },
        9);
}
