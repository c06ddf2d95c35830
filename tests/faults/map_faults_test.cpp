// Every allocating call of the map, with each of its allocations failing, once and for good.
#include "addresses.hpp"
#include "fault_runs.hpp"
#include "map_fixture.hpp"

#include <cstdlib>

using allocations::Failure;

namespace {

using Call = AllocatingCall<map_t>;

#define STORE_NUMBER(verb, type, key)                                                              \
    {                                                                                              \
        "map_" #verb "_" #type, [](map_t &m) { return map_##verb##_##type(&m, key, 1); }, 1        \
    }

#define STORE_ADDRESS(verb, type, Kind, key)                                                       \
    {                                                                                              \
        "map_" #verb "_" #type,                                                                    \
            [](map_t &m) { return map_##verb##_##type(&m, key, &Kind::address); }, 1               \
    }

// Calls that give 12 and change nothing. "new" is in no container, "key" in all that are filled.
const std::vector<Call> calls = {
    {"map_insert", [](map_t &m) { return insert(m, "new", "value"); }, 1},
    {"map_replace, new key", [](map_t &m) { return replace(m, "new", "value"); }, 1},
    {"map_replace, maybe present", [](map_t &m) { return replace(m, "key", "other"); }, 1},
    {"map_sethashsize, larger", [](map_t &m) { return map_sethashsize(&m, 1024); }, 1},
    {"map_sethashsize, smaller", [](map_t &m) { return map_sethashsize(&m, 1); }, 1},
    STORE_NUMBER(insert, uint64, "new"),
    STORE_NUMBER(insert, int64, "new"),
    STORE_NUMBER(insert, uint32, "new"),
    STORE_NUMBER(insert, int32, "new"),
    STORE_NUMBER(insert, time, "new"),
    STORE_NUMBER(insert, uint16, "new"),
    STORE_NUMBER(insert, int16, "new"),
    STORE_NUMBER(insert, uint8, "new"),
    STORE_NUMBER(insert, int8, "new"),
    STORE_NUMBER(insert, bool, "new"),
    STORE_NUMBER(insert, uint, "new"),
    STORE_NUMBER(insert, int, "new"),
    STORE_NUMBER(insert, uchar, "new"),
    STORE_NUMBER(insert, char, "new"),
    {"map_insert_str", [](map_t &m) { return map_insert_str(&m, "new", "1"); }, 1},
    {"map_insert_fmt", [](map_t &m) { return map_insert_fmt(&m, "new", "%d", 1); }, 2},
    STORE_ADDRESS(insert, macaddr, Mac, "new"),
    STORE_ADDRESS(insert, ipaddr, Ip, "new"),
    STORE_ADDRESS(insert, cidr, Cidr, "new"),
    STORE_NUMBER(replace, uint64, "key"),
    STORE_NUMBER(replace, int64, "key"),
    STORE_NUMBER(replace, uint32, "key"),
    STORE_NUMBER(replace, int32, "key"),
    STORE_NUMBER(replace, time, "key"),
    STORE_NUMBER(replace, uint16, "key"),
    STORE_NUMBER(replace, int16, "key"),
    STORE_NUMBER(replace, uint8, "key"),
    STORE_NUMBER(replace, int8, "key"),
    STORE_NUMBER(replace, bool, "key"),
    STORE_NUMBER(replace, uint, "key"),
    STORE_NUMBER(replace, int, "key"),
    STORE_NUMBER(replace, uchar, "key"),
    STORE_NUMBER(replace, char, "key"),
    {"map_replace_str", [](map_t &m) { return map_replace_str(&m, "key", "1"); }, 1},
    {"map_replace_fmt", [](map_t &m) { return map_replace_fmt(&m, "key", "%d", 1); }, 2},
    STORE_ADDRESS(replace, macaddr, Mac, "key"),
    STORE_ADDRESS(replace, ipaddr, Ip, "key"),
    STORE_ADDRESS(replace, cidr, Cidr, "key"),
    {"map_array_init", [](map_t &m) { return map_array_init(&m, "new"); }, 1},
};

// Calls that need an array "list" of two elements and a text under "key".
const std::vector<Call> calls_on_filled = {
    {"map_dup_str",
     [](map_t &m) {
         char *copy = nullptr;
         const int result = map_dup_str(&m, "key", &copy);
         EXPECT_EQ(copy != nullptr, result == 0);
         std::free(copy);
         return result;
     },
     1},
    {"map_array_append",
     [](map_t &m) {
         char key[16];
         return map_array_append(&m, "list", key, sizeof key);
     },
     1},
    {"_map_sort through map_print_sorted",
     [](map_t &m) {
         int result = 0;
         const std::string text = written([&](FILE *stream) {
             result = map_print_sorted(
                 &m, [](const map_t *, FILE *, const map_sort_item_t *, int32_t) { return 0; },
                 stream);
         });
         EXPECT_EQ(text.empty(), result != 0);
         // The sort's own code is not the one that comes back.
         return result == EINVAL ? ENOMEM : result;
     },
     1},
};

void fill(map_t &map)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    ASSERT_EQ(map_insert_int(&map, "list:max", 2), 0);
    ASSERT_EQ(map_insert_str(&map, "list:0", "first"), 0);
    ASSERT_EQ(map_insert_str(&map, "list:1", "second"), 0);
    for (int i = 0; i < 60; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), "some value"), 0);
    }
}

// Room for just the one key that a call may add.
void fill_to_the_limit(map_t &map)
{
    fill(map);
    ASSERT_EQ(map_setmaxkeys(&map, map.numkeys + 2), 0);
}

void fill_and_churn(map_t &map)
{
    fill(map);
    for (int i = 0; i < 60; i += 3) {
        ASSERT_EQ(map_erase(&map, std::to_string(i).c_str()), 0);
        ASSERT_EQ(replace(map, std::to_string(i + 1).c_str(), "replaced"), 0);
    }
    ASSERT_EQ(map_sethashsize(&map, 16), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
}

class MapFaults : public MapTest {
  protected:
    static void expect_filled_to_survive(const std::function<void(map_t &)> &prepare)
    {
        expect_to_be_survived<Map>(calls, prepare);
        expect_to_be_survived<Map>(calls_on_filled, prepare);
    }
};

} // namespace

TEST_F(MapFaults, LeaveAnEmptyMapAsItWas)
{
    expect_to_be_survived<Map>(calls, [](map_t &) {});
}

TEST_F(MapFaults, LeaveAFilledMapAsItWas)
{
    expect_filled_to_survive(fill);
}

TEST_F(MapFaults, LeaveAMapAtItsLimitAsItWas)
{
    expect_filled_to_survive(fill_to_the_limit);
}

TEST_F(MapFaults, LeaveAChurnedMapAsItWas)
{
    expect_filled_to_survive(fill_and_churn);
}

TEST_F(MapFaults, LeaveAReleasedMapReleasedWhenItsBucketsAreNotToBeHad)
{
    ASSERT_EQ(map_destroy(&map), 0);
    expect_unchanged(ENOMEM, [&] {
        Failure failure(0);
        return map_sethashsize(&map, 64);
    });
}

TEST_F(MapFaults, OfAPopComeAfterTheElementIsErased)
{
    fill(map);
    {
        Failure failure(0);
        EXPECT_EQ(map_array_pop(&map, "list"), ENOMEM);
    }
    EXPECT_EQ(map_haskey(&map, "list:1"), 0);
    int count = 0;
    EXPECT_EQ(map_array_get_max(&map, "list", &count), 0);
    EXPECT_EQ(count, 2);
}

class MapSetFaults : public MapTest {
  protected:
    void expect_an_empty_destination(
        const char *name, const std::function<int(const map_t *source, map_t *dst)> &operation,
        std::size_t more_allocations)
    {
        ::expect_an_empty_destination<Map>(
            name, map, operation,
            [](map_t &dst) { ASSERT_EQ(insert(dst, "left over", "value"), 0); },
            static_cast<std::size_t>(map.numkeys) + more_allocations);
    }
};

TEST_F(MapSetFaults, LeaveTheDestinationEmpty)
{
    fill(map);
    expect_an_empty_destination("map_copy_dst_hashsize", map_copy_dst_hashsize, 0);
    expect_an_empty_destination(
        "map_intersection", [](const map_t *a, map_t *dst) { return map_intersection(a, a, dst); },
        0);
    expect_an_empty_destination("map_copy, equal sizes", map_copy, 0);
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    expect_an_empty_destination("map_copy, new buckets", map_copy, 1);
}

TEST_F(MapSetFaults, OfMapCopysBucketsKeepTheOldNumber)
{
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    Map dst;
    ASSERT_EQ(insert(*dst, "left over", "value"), 0);
    Failure failure(0);
    EXPECT_EQ(map_copy(&map, &dst), ENOMEM);
    EXPECT_EQ(dst->hashsize, 32U);
    EXPECT_EQ(dst->numkeys, 0);
}

TEST_F(MapSetFaults, OfMergeKeepWhatWasAddedSoFar)
{
    fill(map);
    const auto source = content_of(map);
    for (std::size_t nth = 0; nth < source.size(); ++nth) {
        Map dst;
        {
            Failure failure(nth);
            EXPECT_EQ(map_merge(&map, &dst), ENOMEM);
        }
        const auto merged = content_of(*dst);
        EXPECT_EQ(merged,
                  decltype(merged)(source.begin(), source.begin() + static_cast<long>(nth)));
    }
}

struct MapPrinters {
    static constexpr auto dump = map_dump;
    static constexpr auto sndump = map_sndump;
    static constexpr auto print = map_print;
};

class MapPrintFaults : public MapTest {};

TEST_F(MapPrintFaults, FallBackToIterationOrder)
{
    fill(map);
    std::string lines;
    std::string indented;
    for (const auto &[key, value] : content_of(map)) {
        const std::string line = key + "=" + value.c_str() + "\n";
        lines += line;
        indented += " " + line;
    }
    expect_fallback<MapPrinters>(map, header_of(map) + indented, lines);
}
