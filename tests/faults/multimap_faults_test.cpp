// Every allocating call of the multimap, with each of its allocations failing, once and for good.
#include "multimap_fixture.hpp"

#include "multimap_internal.h"

#include <algorithm>
#include <cstdlib>

using allocations::Failure;

namespace {

struct Call {
    const char *name;
    std::function<int(multimap_t &)> make;
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

// Inserts of a value that is nowhere.
using Insert = std::function<int(multimap_t &, const char *key)>;

struct NamedInsert {
    const char *name;
    Insert insert;
    std::size_t scratch_allocations;
};

const NamedInsert inserts[] = {
    {"multimap_insert", [](multimap_t &m, const char *key) { return insert(m, key, "value"); }, 0},
    {"multimap_insert, empty value",
     [](multimap_t &m, const char *key) { return insert(m, key, ""); }, 0},
    {"multimap_insert_uint64",
     [](multimap_t &m, const char *key) { return multimap_insert_uint64(&m, key, 1); }, 0},
    {"multimap_insert_int64",
     [](multimap_t &m, const char *key) { return multimap_insert_int64(&m, key, 1); }, 0},
    {"multimap_insert_uint32",
     [](multimap_t &m, const char *key) { return multimap_insert_uint32(&m, key, 1); }, 0},
    {"multimap_insert_int32",
     [](multimap_t &m, const char *key) { return multimap_insert_int32(&m, key, 1); }, 0},
    {"multimap_insert_time",
     [](multimap_t &m, const char *key) { return multimap_insert_time(&m, key, 1); }, 0},
    {"multimap_insert_uint16",
     [](multimap_t &m, const char *key) { return multimap_insert_uint16(&m, key, 1); }, 0},
    {"multimap_insert_int16",
     [](multimap_t &m, const char *key) { return multimap_insert_int16(&m, key, 1); }, 0},
    {"multimap_insert_uint8",
     [](multimap_t &m, const char *key) { return multimap_insert_uint8(&m, key, 1); }, 0},
    {"multimap_insert_int8",
     [](multimap_t &m, const char *key) { return multimap_insert_int8(&m, key, 1); }, 0},
    {"multimap_insert_bool",
     [](multimap_t &m, const char *key) { return multimap_insert_bool(&m, key, 1); }, 0},
    {"multimap_insert_uint",
     [](multimap_t &m, const char *key) { return multimap_insert_uint(&m, key, 1); }, 0},
    {"multimap_insert_int",
     [](multimap_t &m, const char *key) { return multimap_insert_int(&m, key, 1); }, 0},
    {"multimap_insert_uchar",
     [](multimap_t &m, const char *key) { return multimap_insert_uchar(&m, key, 1); }, 0},
    {"multimap_insert_char",
     [](multimap_t &m, const char *key) { return multimap_insert_char(&m, key, 1); }, 0},
    {"multimap_insert_str",
     [](multimap_t &m, const char *key) { return multimap_insert_str(&m, key, "1"); }, 0},
    {"multimap_insert_fmt",
     [](multimap_t &m, const char *key) { return multimap_insert_fmt(&m, key, "%d", 1); }, 1},
    {"multimap_insert_macaddr",
     [address = any_macaddr()](multimap_t &m, const char *key) {
         return multimap_insert_macaddr(&m, key, &address);
     },
     0},
    {"multimap_insert_ipaddr",
     [address = any_ipaddr()](multimap_t &m, const char *key) {
         return multimap_insert_ipaddr(&m, key, &address);
     },
     0},
    {"multimap_insert_cidr",
     [cidr = any_cidr()](multimap_t &m, const char *key) {
         return multimap_insert_cidr(&m, key, &cidr);
     },
     0},
};

// Calls that give 12 and change nothing on any multimap. "new" is in none, "key" in all that are
// filled.
std::vector<Call> calls()
{
    std::vector<Call> all = {
        {"multimap_sethashsize, larger",
         [](multimap_t &m) { return multimap_sethashsize(&m, 1024); }, 1},
        {"multimap_sethashsize, smaller", [](multimap_t &m) { return multimap_sethashsize(&m, 1); },
         1},
    };
    for (const auto &[name, insert, scratch_allocations] : inserts) {
        all.push_back({name, [call = insert](multimap_t &m) { return call(m, "new"); },
                       scratch_allocations + 2});
    }
    return all;
}

// Calls that need values under "key", the text first.
std::vector<Call> calls_on_filled()
{
    std::vector<Call> all = {
        {"multimap_delete_fmt",
         [](multimap_t &m) { return multimap_delete_fmt(&m, "key", "%s", "text"); }, 1},
        {"multimap_dup_str",
         [](multimap_t &m) {
             char *copy = nullptr;
             const int result = multimap_dup_str(&m, "key", 0, &copy);
             EXPECT_EQ(copy != nullptr, result == 0);
             std::free(copy);
             return result;
         },
         1},
        {"_multimap_sort",
         [](multimap_t &m) {
             multimap_sort_item_t *items = nullptr;
             int32_t count = -1;
             const int result = _multimap_sort(&m, &items, &count);
             EXPECT_EQ(items != nullptr, result == 0);
             EXPECT_EQ(count, result == 0 ? m.numkeys : -1);
             std::free(items);
             return result;
         },
         1},
    };
    for (const auto &[name, insert, scratch_allocations] : inserts) {
        all.push_back({name, [call = insert](multimap_t &m) { return call(m, "key"); },
                       scratch_allocations + 1});
    }
    return all;
}

using Prepare = void (*)(multimap_t &);

void leave_empty(multimap_t &)
{
}

void fill_some(multimap_t &map)
{
    fill(map, {{"key", {"text\0"s, "second", "third\0"s}}});
    for (int i = 0; i < 42; ++i) {
        const std::string key = std::to_string(i);
        for (int value = 0; value <= i % 3; ++value) {
            ASSERT_EQ(insert(map, key.c_str(), "value " + std::to_string(value)), 0);
        }
    }
}

// Room for just the one key that a call may add.
void fill_to_the_limit(multimap_t &map)
{
    fill_some(map);
    ASSERT_EQ(multimap_setmaxkeys(&map, map.numkeys + 2), 0);
}

void fill_and_churn(multimap_t &map)
{
    fill_some(map);
    fill(map, {{"KEY", {"text\0"s, "of the other spelling"}}});
    for (int i = 0; i < 42; i += 3) {
        ASSERT_EQ(multimap_erase(&map, std::to_string(i).c_str()), 0);
        ASSERT_EQ(multimap_remove(&map, std::to_string(i + 1).c_str(), 0), 0);
    }
    ASSERT_EQ(multimap_sethashsize(&map, 16), 0);
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
}

class MultimapFaults : public MultimapTest {
  protected:
    void expect_each_allocation_to_be_survived(const Call &call, Prepare prepare)
    {
        SCOPED_TRACE(call.name);
        for (const Failure::How how : {Failure::once, Failure::for_good}) {
            for (std::size_t nth = 0; nth < call.allocations; ++nth) {
                Multimap fresh;
                prepare(*fresh);
                const MultimapState before = state_of(*fresh);
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

    void expect_all_to_be_survived(const std::vector<Call> &some, Prepare prepare)
    {
        for (const Call &call : some) {
            expect_each_allocation_to_be_survived(call, prepare);
        }
    }
};

} // namespace

TEST_F(MultimapFaults, LeaveAnEmptyMultimapAsItWas)
{
    expect_all_to_be_survived(calls(), leave_empty);
}

TEST_F(MultimapFaults, LeaveAFilledMultimapAsItWas)
{
    expect_all_to_be_survived(calls(), fill_some);
    expect_all_to_be_survived(calls_on_filled(), fill_some);
}

TEST_F(MultimapFaults, LeaveAMultimapAtItsLimitAsItWas)
{
    expect_all_to_be_survived(calls(), fill_to_the_limit);
    expect_all_to_be_survived(calls_on_filled(), fill_to_the_limit);
}

TEST_F(MultimapFaults, LeaveAChurnedMultimapAsItWas)
{
    expect_all_to_be_survived(calls(), fill_and_churn);
    expect_all_to_be_survived(calls_on_filled(), fill_and_churn);
}

TEST_F(MultimapFaults, OfInitLeaveTheRecordReleased)
{
    for (const Failure::How how : {Failure::once, Failure::for_good}) {
        Multimap fresh;
        ASSERT_EQ(multimap_destroy(&fresh), 0);
        {
            Failure failure(0, how);
            EXPECT_EQ(multimap_init(&fresh), ENOMEM);
            EXPECT_TRUE(failure.happened());
        }
        EXPECT_EQ(fresh->buckets, nullptr);
        EXPECT_EQ(fresh->hashsize, 0U);
        EXPECT_EQ(multimap_destroy(&fresh), EINVAL);
        Failure none(1);
        EXPECT_EQ(multimap_init(&fresh), 0);
        EXPECT_FALSE(none.happened());
        EXPECT_EQ(insert(*fresh, "key", "value"), ENOMEM);
    }
}

TEST_F(MultimapFaults, LeaveAReleasedMultimapReleasedWhenItsBucketsAreNotToBeHad)
{
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(ENOMEM, [&] {
        Failure failure(0);
        return multimap_sethashsize(&map, 64);
    });
}

TEST_F(MultimapFaults, ComeBeforeTheKeyLimitForTheValueAndBehindItForTheKey)
{
    fill_some(map);
    ASSERT_EQ(multimap_setmaxkeys(&map, map.numkeys), 0);
    for (const auto &[nth, result] : {std::pair(0U, ENOMEM), std::pair(1U, 1)}) {
        expect_unchanged(result, [this, at = nth] {
            Failure failure(at);
            return insert(map, "new", "value");
        });
    }
}

TEST_F(MultimapFaults, CannotHitWhatTakesNoMemory)
{
    fill_and_churn(map);
    fill(map, {{"number", {"1\0"s, "2\0"s}}});
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

class MultimapSetFaults : public MultimapTest {
  protected:
    // Runs the operation into a destination that holds something, failing at every allocation.
    void expect_an_empty_destination(
        const char *name, const std::function<int(const multimap_t *a, multimap_t *dst)> &operation,
        std::size_t more_allocations)
    {
        SCOPED_TRACE(name);
        fill_some(map);
        const MultimapState source = state_of(map);
        const auto allocations =
            static_cast<std::size_t>(map.numkeys + map.numvalues) + more_allocations;
        for (const Failure::How how : {Failure::once, Failure::for_good}) {
            for (std::size_t nth = 0; nth < allocations; ++nth) {
                Multimap dst;
                const std::size_t empty = allocations::live();
                fill(*dst, {{"left over", {"one", "two"}}});
                {
                    Failure failure(nth, how);
                    EXPECT_EQ(operation(&map, &dst), ENOMEM);
                    EXPECT_TRUE(failure.happened());
                }
                EXPECT_EQ(content_of(*dst), std::vector<KeyValues>());
                EXPECT_EQ(allocations::live(), empty) << "leaked";
                EXPECT_EQ(state_of(map), source);
            }
        }
        Multimap dst;
        Failure none(allocations);
        EXPECT_EQ(operation(&map, &dst), 0);
        EXPECT_FALSE(none.happened());
        EXPECT_EQ(multimap_isequal(&map, &dst), 1);
        ASSERT_EQ(multimap_clear(&map), 0);
    }
};

TEST_F(MultimapSetFaults, LeaveTheDestinationEmpty)
{
    expect_an_empty_destination(
        "multimap_intersection",
        [](const multimap_t *a, multimap_t *dst) { return multimap_intersection(a, a, dst); }, 0);
    expect_an_empty_destination(
        "multimap_union",
        [](const multimap_t *a, multimap_t *dst) { return multimap_union(a, a, dst); }, 0);
    expect_an_empty_destination(
        "multimap_union, all from the second",
        [nothing = released_multimap()](const multimap_t *b, multimap_t *dst) {
            return multimap_union(&nothing, b, dst);
        },
        0);
    expect_an_empty_destination(
        "multimap_copy, equal sizes",
        [](const multimap_t *a, multimap_t *dst) { return multimap_copy(a, dst); }, 0);
    ASSERT_EQ(multimap_sethashsize(&map, 64), 0);
    expect_an_empty_destination(
        "multimap_copy, new buckets",
        [](const multimap_t *a, multimap_t *dst) { return multimap_copy(a, dst); }, 1);
}

TEST_F(MultimapSetFaults, OfCopysBucketsKeepTheOldNumber)
{
    ASSERT_EQ(multimap_sethashsize(&map, 64), 0);
    Multimap dst;
    fill(*dst, {{"left over", {"value"}}});
    Failure failure(0);
    EXPECT_EQ(multimap_copy(&map, &dst), ENOMEM);
    EXPECT_EQ(dst->hashsize, 32U);
    EXPECT_EQ(dst->numkeys, 0);
}

// What a destination holds after a merge that ended at an allocation: a value takes one, a new key one
// more.
std::vector<KeyValues> merged_before(std::size_t allocation, const std::vector<KeyValues> &source,
                                     std::vector<KeyValues> content)
{
    for (const auto &[key, values] : source) {
        auto held =
            std::find_if(content.begin(), content.end(),
                         [name = key](const KeyValues &other) { return other.first == name; });
        for (const std::string &value : values) {
            const bool is_new = held == content.end();
            if (!is_new && std::count(held->second.begin(), held->second.end(), value) != 0) {
                continue;
            }
            const std::size_t taken = is_new ? 2 : 1;
            if (allocation < taken) {
                return content;
            }
            allocation -= taken;
            if (is_new) {
                held = content.insert(content.end(), {key, {}});
            }
            held->second.push_back(value);
        }
    }
    return content;
}

TEST_F(MultimapSetFaults, OfMergeKeepWhatWasAddedSoFar)
{
    fill_some(map);
    const MultimapState source = state_of(map);
    const std::vector<KeyValues> own = {{"key", {"second", "own"}}};
    // All but "second"; "key" is there already.
    const auto allocations = static_cast<std::size_t>(map.numkeys - 1 + map.numvalues - 1);
    for (std::size_t nth = 0; nth <= allocations; ++nth) {
        Multimap dst;
        ASSERT_EQ(multimap_sethashfunc(&dst, hash_all_to_zero), 0);
        fill(*dst, own);
        {
            Failure failure(nth);
            EXPECT_EQ(multimap_merge(&map, &dst), nth < allocations ? ENOMEM : 0);
        }
        EXPECT_EQ(content_of(*dst), merged_before(nth, content_of(source), own)) << nth;
        EXPECT_EQ(state_of(map), source);
    }
}

class MultimapPrintFaults : public MultimapTest {
  protected:
    std::string lines_in_iteration_order() const
    {
        std::string lines;
        for (const auto &[key, values] : content_of(map)) {
            for (std::size_t i = 0; i < values.size(); ++i) {
                lines += " " + key + "[" + std::to_string(i) + "]=" + values[i].c_str() + "\n";
            }
        }
        return lines;
    }
};

TEST_F(MultimapPrintFaults, FallBackToIterationOrder)
{
    fill_some(map);
    for (const Failure::How how : {Failure::once, Failure::for_good}) {
        const std::string dumped = written([&](FILE *stream) {
            Failure failure(0, how);
            multimap_dump(&map, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(dumped, header_of(map) + lines_in_iteration_order());

        std::string buffer(dumped.size() + 100, '#');
        {
            Failure failure(0, how);
            EXPECT_EQ(multimap_sndump(&map, buffer.data(), static_cast<uint32_t>(buffer.size())),
                      dumped.size());
            EXPECT_TRUE(failure.happened());
        }
        EXPECT_EQ(buffer.c_str(), dumped);

        const std::string printed = written([&](FILE *stream) {
            Failure failure(0, how);
            multimap_print(&map, print_to_file, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(printed, lines_in_iteration_order());
    }
}
