// Every allocating call of the map, with each of its allocations failing, once and for good.
#include "map_fixture.hpp"

using allocations::Failure;

namespace {

struct Call {
    const char *name;
    std::function<int(map_t &)> make;
    std::size_t allocations;
};

macaddr_t any_macaddr()
{
    macaddr_t address;
    EXPECT_EQ(ak_macaddr_from_str("02:00:5e:10:00:ff", &address), 0);
    return address;
}

ipaddr_t any_ipaddr()
{
    ipaddr_t address;
    EXPECT_EQ(ak_ipaddr_from_str("192.168.1.1", &address), 0);
    return address;
}

cidr_t any_cidr()
{
    cidr_t cidr;
    EXPECT_EQ(ak_cidr_from_str("192.168.1.1/24", &cidr), 0);
    return cidr;
}

// Calls that give 12 and change nothing. "new" is in no container, "key" in all that are filled.
const Call calls[] = {
    {"map_insert", [](map_t &m) { return insert(m, "new", "value"); }, 1},
    {"map_replace, new key", [](map_t &m) { return replace(m, "new", "value"); }, 1},
    {"map_replace, maybe present", [](map_t &m) { return replace(m, "key", "other"); }, 1},
    {"map_sethashsize, larger", [](map_t &m) { return map_sethashsize(&m, 1024); }, 1},
    {"map_sethashsize, smaller", [](map_t &m) { return map_sethashsize(&m, 1); }, 1},
    {"map_insert_uint64", [](map_t &m) { return map_insert_uint64(&m, "new", 1); }, 1},
    {"map_insert_int64", [](map_t &m) { return map_insert_int64(&m, "new", 1); }, 1},
    {"map_insert_uint32", [](map_t &m) { return map_insert_uint32(&m, "new", 1); }, 1},
    {"map_insert_int32", [](map_t &m) { return map_insert_int32(&m, "new", 1); }, 1},
    {"map_insert_time", [](map_t &m) { return map_insert_time(&m, "new", 1); }, 1},
    {"map_insert_uint16", [](map_t &m) { return map_insert_uint16(&m, "new", 1); }, 1},
    {"map_insert_int16", [](map_t &m) { return map_insert_int16(&m, "new", 1); }, 1},
    {"map_insert_uint8", [](map_t &m) { return map_insert_uint8(&m, "new", 1); }, 1},
    {"map_insert_int8", [](map_t &m) { return map_insert_int8(&m, "new", 1); }, 1},
    {"map_insert_bool", [](map_t &m) { return map_insert_bool(&m, "new", 1); }, 1},
    {"map_insert_uint", [](map_t &m) { return map_insert_uint(&m, "new", 1); }, 1},
    {"map_insert_int", [](map_t &m) { return map_insert_int(&m, "new", 1); }, 1},
    {"map_insert_uchar", [](map_t &m) { return map_insert_uchar(&m, "new", 1); }, 1},
    {"map_insert_char", [](map_t &m) { return map_insert_char(&m, "new", 1); }, 1},
    {"map_insert_str", [](map_t &m) { return map_insert_str(&m, "new", "1"); }, 1},
    {"map_insert_fmt", [](map_t &m) { return map_insert_fmt(&m, "new", "%d", 1); }, 2},
    {"map_insert_macaddr",
     [address = any_macaddr()](map_t &m) { return map_insert_macaddr(&m, "new", &address); }, 1},
    {"map_insert_ipaddr",
     [address = any_ipaddr()](map_t &m) { return map_insert_ipaddr(&m, "new", &address); }, 1},
    {"map_insert_cidr", [cidr = any_cidr()](map_t &m) { return map_insert_cidr(&m, "new", &cidr); },
     1},
    {"map_replace_uint64", [](map_t &m) { return map_replace_uint64(&m, "key", 1); }, 1},
    {"map_replace_int64", [](map_t &m) { return map_replace_int64(&m, "key", 1); }, 1},
    {"map_replace_uint32", [](map_t &m) { return map_replace_uint32(&m, "key", 1); }, 1},
    {"map_replace_int32", [](map_t &m) { return map_replace_int32(&m, "key", 1); }, 1},
    {"map_replace_time", [](map_t &m) { return map_replace_time(&m, "key", 1); }, 1},
    {"map_replace_uint16", [](map_t &m) { return map_replace_uint16(&m, "key", 1); }, 1},
    {"map_replace_int16", [](map_t &m) { return map_replace_int16(&m, "key", 1); }, 1},
    {"map_replace_uint8", [](map_t &m) { return map_replace_uint8(&m, "key", 1); }, 1},
    {"map_replace_int8", [](map_t &m) { return map_replace_int8(&m, "key", 1); }, 1},
    {"map_replace_bool", [](map_t &m) { return map_replace_bool(&m, "key", 1); }, 1},
    {"map_replace_uint", [](map_t &m) { return map_replace_uint(&m, "key", 1); }, 1},
    {"map_replace_int", [](map_t &m) { return map_replace_int(&m, "key", 1); }, 1},
    {"map_replace_uchar", [](map_t &m) { return map_replace_uchar(&m, "key", 1); }, 1},
    {"map_replace_char", [](map_t &m) { return map_replace_char(&m, "key", 1); }, 1},
    {"map_replace_str", [](map_t &m) { return map_replace_str(&m, "key", "1"); }, 1},
    {"map_replace_fmt", [](map_t &m) { return map_replace_fmt(&m, "key", "%d", 1); }, 2},
    {"map_replace_macaddr",
     [address = any_macaddr()](map_t &m) { return map_replace_macaddr(&m, "key", &address); }, 1},
    {"map_replace_ipaddr",
     [address = any_ipaddr()](map_t &m) { return map_replace_ipaddr(&m, "key", &address); }, 1},
    {"map_replace_cidr",
     [cidr = any_cidr()](map_t &m) { return map_replace_cidr(&m, "key", &cidr); }, 1},
    {"map_array_init", [](map_t &m) { return map_array_init(&m, "new"); }, 1},
};

// Calls that need an array "list" of two elements and a text under "key".
const Call calls_on_filled[] = {
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

using Prepare = void (*)(map_t &);

void leave_empty(map_t &)
{
}

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
    void expect_each_allocation_to_be_survived(const Call &call, Prepare prepare)
    {
        SCOPED_TRACE(call.name);
        for (const Failure::How how : {Failure::once, Failure::for_good}) {
            for (std::size_t nth = 0; nth < call.allocations; ++nth) {
                Map fresh;
                prepare(*fresh);
                const MapState before = state_of(*fresh);
                const std::size_t live = allocations::live();
                {
                    Failure failure(nth, how);
                    EXPECT_EQ(call.make(*fresh), ENOMEM);
                    EXPECT_TRUE(failure.happened());
                }
                EXPECT_EQ(state_of(*fresh), before);
                EXPECT_EQ(allocations::live(), live) << "leaked";
                // With memory again, the same call succeeds, and had no further allocation.
                Failure none(call.allocations);
                EXPECT_EQ(call.make(*fresh), 0);
                EXPECT_FALSE(none.happened());
            }
        }
    }
};

} // namespace

TEST_F(MapFaults, LeaveAnEmptyMapAsItWas)
{
    for (const Call &call : calls) {
        expect_each_allocation_to_be_survived(call, leave_empty);
    }
}

TEST_F(MapFaults, LeaveAFilledMapAsItWas)
{
    for (const Call &call : calls) {
        expect_each_allocation_to_be_survived(call, fill);
    }
    for (const Call &call : calls_on_filled) {
        expect_each_allocation_to_be_survived(call, fill);
    }
}

TEST_F(MapFaults, LeaveAMapAtItsLimitAsItWas)
{
    for (const Call &call : calls) {
        expect_each_allocation_to_be_survived(call, fill_to_the_limit);
    }
    for (const Call &call : calls_on_filled) {
        expect_each_allocation_to_be_survived(call, fill_to_the_limit);
    }
}

TEST_F(MapFaults, LeaveAChurnedMapAsItWas)
{
    for (const Call &call : calls) {
        expect_each_allocation_to_be_survived(call, fill_and_churn);
    }
    for (const Call &call : calls_on_filled) {
        expect_each_allocation_to_be_survived(call, fill_and_churn);
    }
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
    // Runs the operation into a destination that holds something, failing at every allocation.
    void expect_an_empty_destination(const char *name, int (*operation)(map_t *a, map_t *dst),
                                     std::size_t more_allocations)
    {
        SCOPED_TRACE(name);
        fill(map);
        const MapState source = state_of(map);
        const std::size_t entries = static_cast<std::size_t>(map.numkeys);
        for (const Failure::How how : {Failure::once, Failure::for_good}) {
            for (std::size_t nth = 0; nth < entries + more_allocations; ++nth) {
                Map dst;
                const std::size_t empty = allocations::live();
                ASSERT_EQ(insert(*dst, "left over", "value"), 0);
                {
                    Failure failure(nth, how);
                    EXPECT_EQ(operation(&map, &dst), ENOMEM);
                    EXPECT_TRUE(failure.happened());
                }
                EXPECT_EQ(keys_of(*dst), std::vector<std::string>{});
                EXPECT_EQ(allocations::live(), empty);
                EXPECT_EQ(state_of(map), source);
            }
        }
        Map dst;
        Failure none(entries + more_allocations);
        EXPECT_EQ(operation(&map, &dst), 0);
        EXPECT_FALSE(none.happened());
        ASSERT_EQ(map_clear(&map), 0);
    }
};

TEST_F(MapSetFaults, LeaveTheDestinationEmpty)
{
    expect_an_empty_destination(
        "map_copy_dst_hashsize", [](map_t *a, map_t *dst) { return map_copy_dst_hashsize(a, dst); },
        0);
    expect_an_empty_destination(
        "map_intersection", [](map_t *a, map_t *dst) { return map_intersection(a, a, dst); }, 0);
    expect_an_empty_destination(
        "map_copy, equal sizes", [](map_t *a, map_t *dst) { return map_copy(a, dst); }, 0);
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    expect_an_empty_destination(
        "map_copy, new buckets", [](map_t *a, map_t *dst) { return map_copy(a, dst); }, 1);
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

class MapPrintFaults : public MapTest {
  protected:
    std::string lines_in_iteration_order(const char *indent) const
    {
        std::string lines;
        for (const auto &[key, value] : content_of(map)) {
            lines += indent + key + "=" + value.c_str() + "\n";
        }
        return lines;
    }
};

TEST_F(MapPrintFaults, FallBackToIterationOrder)
{
    fill(map);
    for (const Failure::How how : {Failure::once, Failure::for_good}) {
        const std::string dumped = written([&](FILE *stream) {
            Failure failure(0, how);
            map_dump(&map, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(dumped, header_of(map) + lines_in_iteration_order(" "));

        std::string buffer(dumped.size() + 100, '#');
        {
            Failure failure(0, how);
            EXPECT_EQ(map_sndump(&map, buffer.data(), static_cast<uint32_t>(buffer.size())),
                      dumped.size());
        }
        EXPECT_EQ(buffer.c_str(), dumped);

        const std::string printed = written([&](FILE *stream) {
            Failure failure(0, how);
            map_print(&map, print_to_file, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(printed, lines_in_iteration_order(""));
    }
}
