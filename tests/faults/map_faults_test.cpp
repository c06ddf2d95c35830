// Every allocating call of the map, with each of its allocations failing, once and for good.
#include "addresses.hpp"
#include "fault_runs.hpp"
#include "map_fixture.hpp"

#include "map_internal.h"

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
    {"map_replace, by itself",
     [](map_t &m) { return map_replace(&m, stored_key(m, "key"), stored_text(m, "key"), 3); }, 1},
    {"map_replace_fmt, by itself",
     [](map_t &m) {
         return map_replace_fmt(&m, stored_key(m, "key"), "%s", stored_text(m, "key"));
     },
     2},
    {"_map_sort",
     [](map_t &m) {
         map_sort_item_t *items = nullptr;
         int32_t count = -1;
         const int result = _map_sort(&m, &items, &count);
         EXPECT_EQ(items != nullptr, result == 0);
         EXPECT_EQ(count, result == 0 ? m.numkeys : -1);
         std::free(items);
         return result;
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
    char key[16];
    ASSERT_EQ(map_array_append(&map, "list", key, sizeof key), 0);
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

TEST_F(MapFaults, OfInitLeaveTheRecordReleased)
{
    for (const Failure::How how : ways_to_fail) {
        Map fresh;
        ASSERT_EQ(map_destroy(&fresh), 0);
        {
            Failure failure(0, how);
            EXPECT_EQ(map_init(&fresh), ENOMEM);
            EXPECT_TRUE(failure.happened());
        }
        EXPECT_EQ(fresh->buckets, nullptr);
        EXPECT_EQ(map_destroy(&fresh), 0);
        Failure none(1);
        EXPECT_EQ(map_init(&fresh), 0);
        EXPECT_FALSE(none.happened());
        EXPECT_EQ(insert(*fresh, "key", "value"), ENOMEM);
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

TEST_F(MapFaults, OfAFormatComeBeforeARefusal)
{
    ASSERT_EQ(map_insert_str(&map, "key", "text"), 0);
    ASSERT_EQ(map_setmaxkeys(&map, 1), 0);
    Failure failure(0);
    expect_unchanged(ENOMEM, [this] { return map_insert_fmt(&map, "key", "%d", 1); });
    expect_unchanged(ENOMEM, [this] { return map_replace_fmt(&map, "new", "%d", 1); });
}

// A pop that fails is resumed by the next.
TEST_F(MapFaults, OfAPopComeAfterTheElementIsErased)
{
    for (const auto &prepare : {fill, fill_to_the_limit, fill_and_churn}) {
        for (const Failure::How how : ways_to_fail) {
            Map popped;
            prepare(*popped);
            Map expected;
            ASSERT_EQ(map_copy(&popped, &expected), 0);
            ASSERT_EQ(map_erase(&expected, "list:1"), 0);
            const std::size_t live = allocations::live();
            {
                Failure failure(0, how);
                EXPECT_EQ(map_array_pop(&popped, "list"), ENOMEM);
                EXPECT_TRUE(failure.happened());
            }
            EXPECT_EQ(content_of(*popped), content_of(*expected));
            EXPECT_EQ(allocations::live(), live - 1) << "leaked";
            EXPECT_EQ(map_array_pop(&popped, "list"), 0);
            EXPECT_EQ(value_of(*popped, "list:max"), "1\0"s);
            EXPECT_EQ(value_of(*popped, "list:0"), "first\0"s);
        }
    }
}

TEST_F(MapFaults, CannotHitWhatTakesNoMemory)
{
    fill(map);
    ASSERT_EQ(map_insert_str(&map, "KEY", "other"), 0);
    Map same;
    ASSERT_EQ(map_copy(&map, &same), 0);
    int32_t count;
    int number;
    char text[16];
    Failure failure(0);
    EXPECT_EQ(map_insert_str(&map, "key", "refused"), 1);
    EXPECT_EQ(map_get_int(&map, "list:max", &number), 0);
    EXPECT_EQ(map_cmp_str(&map, "key", "text"), 0);
    EXPECT_EQ(map_casecmp_str(&map, "key", "TEXT"), 0);
    EXPECT_EQ(map_copy_str(&map, "key", text, sizeof text), 0);
    EXPECT_EQ(map_key_count(&map, &count), 0);
    EXPECT_NE(map_key_name(&map, count - 1), nullptr);
    EXPECT_EQ(map_isequal(&map, &same), 1);
    EXPECT_EQ(map_merge(&same, &map), 0);
    EXPECT_EQ(map_array_get_max(&map, "list", &number), 0);
    EXPECT_EQ(map_array_get_key(&map, "list", 0, text, sizeof text, -1), 0);
    EXPECT_EQ(map_array_clear(&map, "list"), 0);
    EXPECT_FALSE(written([this](FILE *stream) { map_raw_dump(&map, stream); }).empty());
    EXPECT_EQ(map_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map_setcasekeys(&map, 1), 0);
    EXPECT_EQ(map_setcasekeys(&map, 0), 0);
    EXPECT_EQ(map_erase(&map, "KEY"), ENOENT);
    EXPECT_EQ(map_erase(&map, "key"), 0);
    EXPECT_EQ(map_clear(&map), 0);
    EXPECT_FALSE(failure.happened());
}

class MapSetFaults : public MapTest {
  protected:
    // Each allocation is a call of its own: a few keys have enough.
    void keep_a_few_keys()
    {
        for (int i = 20; i < 60; ++i) {
            map_erase(&map, std::to_string(i).c_str());
        }
    }

    // Into destinations that are filled, at the limit, and churned.
    void expect_an_empty_destination(
        const char *name, const std::function<int(const map_t *source, map_t *dst)> &operation,
        std::size_t more_allocations)
    {
        const auto checked = [&](const map_t *source, map_t *dst) {
            const int result = operation(source, dst);
            if (result == 0) {
                EXPECT_EQ(map_isequal(source, dst), 1);
            }
            return result;
        };
        const auto leave_some = [](map_t &dst) {
            ASSERT_EQ(insert(dst, "left over", "value"), 0);
        };
        const auto leave_at_limit = [&](map_t &dst) {
            leave_some(dst);
            ASSERT_EQ(map_setmaxkeys(&dst, map.numkeys + 1), 0);
        };
        const auto leave_churned = [](map_t &dst) {
            fill_and_churn(dst);
            ASSERT_EQ(map_sethashsize(&dst, 32), 0);
        };
        for (const std::function<void(map_t &)> &leave :
             std::vector<std::function<void(map_t &)>>{leave_some, leave_at_limit, leave_churned}) {
            ::expect_an_empty_destination<Map>(name, map, checked, leave,
                                               static_cast<std::size_t>(map.numkeys) +
                                                   more_allocations);
        }
    }

    // `copied_buckets` are the allocations that a copy makes for its buckets.
    void expect_empty_destinations(std::size_t copied_buckets)
    {
        keep_a_few_keys();
        expect_an_empty_destination("map_copy_dst_hashsize", map_copy_dst_hashsize, 0);
        expect_an_empty_destination(
            "map_intersection",
            [](const map_t *a, map_t *dst) { return map_intersection(a, a, dst); }, 0);
        expect_an_empty_destination("map_copy", map_copy, copied_buckets);
    }

    // In destinations that are filled, at the limit, and churned.
    void expect_merges_to_keep_what_was_added()
    {
        keep_a_few_keys();
        const auto leave_some = [](map_t &dst) {
            ASSERT_EQ(insert(dst, "key", "own"), 0);
        };
        const auto leave_at_limit = [&](map_t &dst) {
            leave_some(dst);
            ASSERT_EQ(map_setmaxkeys(&dst, map.numkeys + 1), 0);
        };
        for (const std::function<void(map_t &)> &leave : std::vector<std::function<void(map_t &)>>{
                 leave_some, leave_at_limit, fill_and_churn}) {
            expect_a_merge_to_keep_what_was_added(leave);
        }
    }

  private:
    void expect_a_merge_to_keep_what_was_added(const std::function<void(map_t &)> &leave)
    {
        const MapState source = state_of(map);
        for (const Failure::How how : ways_to_fail) {
            bool failed = true;
            for (std::size_t nth = 0; failed; ++nth) {
                SCOPED_TRACE(nth);
                const std::size_t live = allocations::live();
                Map dst;
                // In one bucket, what is added stands behind the destination's own.
                ASSERT_EQ(map_sethashfunc(&dst, hash_all_to_zero), 0);
                leave(*dst);
                auto merged = content_of(*dst);
                std::vector<std::pair<std::string, std::string>> missing;
                for (const auto &entry : content_of(map)) {
                    if (map_haskey(&dst, entry.first.c_str()) == 0) {
                        missing.push_back(entry);
                    }
                }
                {
                    Failure failure(nth, how);
                    const int result = map_merge(&map, &dst);
                    failed = failure.happened();
                    EXPECT_EQ(result, failed ? ENOMEM : 0);
                    ASSERT_EQ(failed, nth < missing.size());
                }
                const auto added = missing.begin() + static_cast<std::ptrdiff_t>(nth);
                merged.insert(merged.end(), missing.begin(), added);
                EXPECT_EQ(content_of(*dst), merged);
                EXPECT_EQ(allocations::live(), live + 1 + merged.size()) << "leaked";
                EXPECT_EQ(state_of(map), source);
                EXPECT_EQ(map_merge(&map, &dst), 0);
                merged.insert(merged.end(), added, missing.end());
                EXPECT_EQ(content_of(*dst), merged);
            }
        }
    }
};

TEST_F(MapSetFaults, LeaveTheDestinationEmpty)
{
    fill(map);
    expect_empty_destinations(0);
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    expect_an_empty_destination("map_copy, new buckets", map_copy, 1);
}

TEST_F(MapSetFaults, LeaveTheDestinationOfAChurnedSourceEmpty)
{
    fill_and_churn(map);
    expect_empty_destinations(1);
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
    expect_merges_to_keep_what_was_added();
}

TEST_F(MapSetFaults, OfMergeFromAChurnedSourceKeepWhatWasAddedSoFar)
{
    fill_and_churn(map);
    expect_merges_to_keep_what_was_added();
}

struct MapPrinters {
    static constexpr auto dump = map_dump;
    static constexpr auto sndump = map_sndump;
    static constexpr auto print = map_print;
};

class MapPrintFaults : public MapTest {
  protected:
    void expect_fallback_of_all()
    {
        std::string lines;
        std::string indented;
        for (const auto &[key, value] : content_of(map)) {
            const std::string line = key + "=" + value.c_str() + "\n";
            lines += line;
            indented += " " + line;
        }
        const MapState before = state_of(map);
        expect_fallback<MapPrinters>(map, header_of(map) + indented, lines);
        EXPECT_EQ(state_of(map), before);
    }
};

TEST_F(MapPrintFaults, FallBackToIterationOrder)
{
    fill(map);
    expect_fallback_of_all();
    ASSERT_EQ(map_clear(&map), 0);
    fill_and_churn(map);
    expect_fallback_of_all();
}
