// Every allocating call that only the arraymap has, with each of its allocations failing, once and for
// good, and what no failing allocation can hit.
#include "addresses.hpp"
#include "arraymap_fixture.hpp"
#include "fault_runs.hpp"

using allocations::Failure;

namespace {

#define REPLACE_NUMBER(type)                                                                       \
    {                                                                                              \
        "arraymap_replace_" #type,                                                                 \
            [](arraymap_t &map) { return arraymap_replace_##type(&map, "key", 1, 1); }, 1          \
    }

#define REPLACE_ADDRESS(type, Kind)                                                                \
    {                                                                                              \
        "arraymap_replace_" #type,                                                                 \
            [](arraymap_t &map) {                                                                  \
                return arraymap_replace_##type(&map, "key", 1, &Kind::address);                    \
            },                                                                                     \
            1                                                                                      \
    }

// Calls that need a second value under "key".
const std::vector<AllocatingCall<arraymap_t>> replaces = {
    {"arraymap_replace",
     [](arraymap_t &map) { return arraymap_replace(&map, "key", 1, "value", 5); }, 1},
    {"arraymap_replace, empty value",
     [](arraymap_t &map) { return arraymap_replace(&map, "key", 1, nullptr, 0); }, 1},
    {"arraymap_replace, by itself",
     [](arraymap_t &map) {
         return arraymap_replace(&map, "key", 1, stored_text(map, "key", 1), 3);
     },
     1},
    {"arraymap_replace_str",
     [](arraymap_t &map) { return arraymap_replace_str(&map, "key", 1, "1"); }, 1},
    {"arraymap_replace_fmt",
     [](arraymap_t &map) { return arraymap_replace_fmt(&map, "key", 1, "%d", 1); }, 2},
    {"arraymap_replace_fmt, by itself",
     [](arraymap_t &map) {
         return arraymap_replace_fmt(&map, "key", 1, "%.3s", stored_text(map, "key", 1));
     },
     2},
    REPLACE_NUMBER(uint64),
    REPLACE_NUMBER(int64),
    REPLACE_NUMBER(uint32),
    REPLACE_NUMBER(int32),
    REPLACE_NUMBER(time),
    REPLACE_NUMBER(uint16),
    REPLACE_NUMBER(int16),
    REPLACE_NUMBER(uint8),
    REPLACE_NUMBER(int8),
    REPLACE_NUMBER(bool),
    REPLACE_NUMBER(uint),
    REPLACE_NUMBER(int),
    REPLACE_NUMBER(uchar),
    REPLACE_NUMBER(char),
    REPLACE_ADDRESS(macaddr, Mac),
    REPLACE_ADDRESS(ipaddr, Ip),
    REPLACE_ADDRESS(cidr, Cidr),
};

void fill_some(arraymap_t &map)
{
    fill(map, {{"key", {"text\0"s, "second", "text\0"s}}});
    for (int i = 0; i < 42; ++i) {
        fill(map, {{std::to_string(i), {"value", "value"}}});
    }
}

} // namespace

class ArraymapFaults : public ArraymapTest {
  protected:
    static void expect_replaces_to_be_survived(const std::function<void(arraymap_t &)> &prepare)
    {
        expect_to_be_survived<Arraymap>(replaces, prepare);
    }
};

TEST_F(ArraymapFaults, OfReplaceLeaveAFilledArraymapAsItWas)
{
    expect_replaces_to_be_survived(fill_some);
}

TEST_F(ArraymapFaults, OfReplaceLeaveAnArraymapAtItsLimitAsItWas)
{
    expect_replaces_to_be_survived([](arraymap_t &fresh) {
        fill_some(fresh);
        ASSERT_EQ(arraymap_setmaxkeys(&fresh, fresh.numkeys), 0);
    });
}

// Merged keys repeat their indexes.
TEST_F(ArraymapFaults, OfReplaceLeaveAChurnedArraymapAsItWas)
{
    expect_replaces_to_be_survived([](arraymap_t &fresh) {
        fill_some(fresh);
        fill(fresh, {{"KEY", {"text\0"s, "of the other spelling", "more"}}});
        for (int i = 0; i < 42; i += 3) {
            ASSERT_EQ(arraymap_erase(&fresh, std::to_string(i).c_str()), 0);
            ASSERT_EQ(arraymap_remove(&fresh, std::to_string(i + 1).c_str(), 0), 0);
        }
        ASSERT_EQ(arraymap_setcasekeys(&fresh, 1), 0);
        ASSERT_EQ(arraymap_sethashsize(&fresh, 16), 0);
    });
}

TEST_F(ArraymapFaults, OfReplaceComeBehindAMissingIndexOrKey)
{
    fill_some(map);
    Failure failure(0);
    expect_unchanged(ENOENT, [this] { return arraymap_replace_str(&map, "key", 3, "text"); });
    expect_unchanged(ENOENT, [this] { return arraymap_replace_str(&map, "missing", 0, "text"); });
    EXPECT_FALSE(failure.happened());
    expect_unchanged(ENOMEM, [this] { return arraymap_replace_fmt(&map, "key", 3, "%d", 1); });
}

TEST_F(ArraymapFaults, OfInitSpecialLeaveTheRecordReleased)
{
    for (const Failure::How how : ways_to_fail) {
        for (const uint32_t hashsize : {1U, 48U, 1024U}) {
            Arraymap fresh;
            ASSERT_EQ(arraymap_destroy(&fresh), 0);
            {
                Failure failure(0, how);
                EXPECT_EQ(arraymap_init_special(&fresh, hashsize), ENOMEM);
                EXPECT_TRUE(failure.happened());
            }
            EXPECT_EQ(fresh->buckets, nullptr);
            EXPECT_EQ(fresh->hashsize, 0U);
            EXPECT_EQ(arraymap_destroy(&fresh), EINVAL);
            Failure none(1);
            EXPECT_EQ(arraymap_init_special(&fresh, hashsize), 0);
            EXPECT_FALSE(none.happened());
            EXPECT_EQ(insert(*fresh, "key", "value"), ENOMEM);
        }
    }
}

TEST_F(ArraymapFaults, CannotHitWhatTakesNoMemory)
{
    fill(
        map,
        {{"Key", {"text\0"s, "second"}}, {"KEY", {"third"}}, {"number", {"1\0"s, "2\0"s, "1\0"s}}});
    Arraymap nothing;
    Arraymap without_buckets;
    ASSERT_EQ(arraymap_destroy(&without_buckets), 0);
    int number;
    char text[8];
    Failure failure(0);
    EXPECT_EQ(arraymap_init_special(&without_buckets, 0), 0);
    EXPECT_EQ(arraymap_get_int(&map, "number", 1, &number), 0);
    EXPECT_EQ(arraymap_copy_str(&map, "Key", 0, text, sizeof text), 0);
    EXPECT_EQ(arraymap_merge(&nothing, &map), 0);
    EXPECT_EQ(arraymap_intersection(&map, &nothing, &without_buckets), EINVAL);
    EXPECT_EQ(arraymap_copy(&nothing, &map), 0);
    EXPECT_FALSE(failure.happened());
}

TEST_F(ArraymapFaults, CannotHitSettingsAndRemovals)
{
    fill(
        map,
        {{"Key", {"text\0"s, "second"}}, {"KEY", {"third"}}, {"number", {"1\0"s, "2\0"s, "1\0"s}}});
    Failure failure(0);
    EXPECT_EQ(arraymap_sethashfunc(&map, hash_first_byte), 0);
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(arraymap_setcasekeys(&map, 0), 0);
    EXPECT_EQ(arraymap_delete_int(&map, "number", 1), 0);
    EXPECT_EQ(arraymap_remove(&map, "number", 0), 0);
    EXPECT_EQ(map.numkeys, 1);
    EXPECT_EQ(arraymap_clear(&map), 0);
    EXPECT_FALSE(failure.happened());
}
