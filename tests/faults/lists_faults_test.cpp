// Every allocating call that the multimap and the arraymap have alike, with each of its allocations
// failing, once and for good.
#include "addresses.hpp"
#include "fault_runs.hpp"
#include "list_families.hpp"

#include <algorithm>
#include <cstdlib>

using allocations::Failure;

namespace {

// An insert of a value that is nowhere.
template <class Container>
struct Insert {
    std::string name;
    std::function<int(Container &map, const char *key)> call;
    std::size_t scratch_allocations;
};

#define INSERT_NUMBER(family, type)                                                                \
    {                                                                                              \
#family "_insert_" #type, [](family##_t & map, const char *key) {                          \
            return family##_insert_##type(&map, key, 1);                                           \
        }, 0                                                                                       \
    }

#define INSERT_ADDRESS(family, type, Kind)                                                         \
    {                                                                                              \
#family "_insert_" #type, [](family##_t & map, const char *key) {                          \
            return family##_insert_##type(&map, key, &Kind::address);                              \
        }, 0                                                                                       \
    }

#define LIST_INSERTS(family)                                                                       \
    const std::vector<Insert<family##_t>> family##_inserts = {                                     \
        {#family "_insert",                                                                        \
         [](family##_t &map, const char *key) { return insert(map, key, "value"); }, 0},           \
        {#family "_insert, empty value",                                                           \
         [](family##_t &map, const char *key) { return insert(map, key, ""); }, 0},                \
        {#family "_insert_str",                                                                    \
         [](family##_t &map, const char *key) { return family##_insert_str(&map, key, "1"); }, 0}, \
        {#family "_insert_fmt",                                                                    \
         [](family##_t &map, const char *key) { return family##_insert_fmt(&map, key, "%d", 1); }, \
         1},                                                                                       \
        INSERT_NUMBER(family, uint64),                                                             \
        INSERT_NUMBER(family, int64),                                                              \
        INSERT_NUMBER(family, uint32),                                                             \
        INSERT_NUMBER(family, int32),                                                              \
        INSERT_NUMBER(family, time),                                                               \
        INSERT_NUMBER(family, uint16),                                                             \
        INSERT_NUMBER(family, int16),                                                              \
        INSERT_NUMBER(family, uint8),                                                              \
        INSERT_NUMBER(family, int8),                                                               \
        INSERT_NUMBER(family, bool),                                                               \
        INSERT_NUMBER(family, uint),                                                               \
        INSERT_NUMBER(family, int),                                                                \
        INSERT_NUMBER(family, uchar),                                                              \
        INSERT_NUMBER(family, char),                                                               \
        INSERT_ADDRESS(family, macaddr, Mac),                                                      \
        INSERT_ADDRESS(family, ipaddr, Ip),                                                        \
        INSERT_ADDRESS(family, cidr, Cidr),                                                        \
    };                                                                                             \
    const std::vector<Insert<family##_t>> &inserts_into(const family##_t &)                        \
    {                                                                                              \
        return family##_inserts;                                                                   \
    }

LIST_INSERTS(multimap)
LIST_INSERTS(arraymap)

template <class Family>
class FaultTest : public Family::Test {
  protected:
    using Container = typename Family::Container;
    using Call = AllocatingCall<Container>;

    // On any container. "new" is in none, "key" in all that are filled.
    std::vector<Call> calls()
    {
        std::vector<Call> all = {
            {"sethashsize, larger", [](Container &m) { return Family::sethashsize(&m, 1024); }, 1},
            {"sethashsize, smaller", [](Container &m) { return Family::sethashsize(&m, 1); }, 1},
        };
        for (const auto &insert : inserts_into(this->map)) {
            all.push_back({insert.name,
                           [call = insert.call](Container &m) { return call(m, "new"); },
                           insert.scratch_allocations + 2});
        }
        return all;
    }

    // Calls that need values under "key", the text first.
    std::vector<Call> calls_on_filled()
    {
        std::vector<Call> all = {
            {"delete_fmt", [](Container &m) { return Family::delete_fmt(&m, "key", "%s", "text"); },
             1},
            {"dup_str",
             [](Container &m) {
                 char *copy = nullptr;
                 const int result = Family::dup_str(&m, "key", 0, &copy);
                 EXPECT_EQ(copy != nullptr, result == 0);
                 std::free(copy);
                 return result;
             },
             1},
            {"sort",
             [](Container &m) {
                 typename Family::SortItem *items = nullptr;
                 int32_t count = -1;
                 const int result = Family::sort(&m, &items, &count);
                 EXPECT_EQ(items != nullptr, result == 0);
                 EXPECT_EQ(count, result == 0 ? m.numkeys : -1);
                 std::free(items);
                 return result;
             },
             1},
        };
        for (const auto &insert : inserts_into(this->map)) {
            all.push_back({insert.name,
                           [call = insert.call](Container &m) { return call(m, "key"); },
                           insert.scratch_allocations + 1});
        }
        all.push_back({"insert, what is its own",
                       [](Container &m) {
                           return Family::insert(&m, stored_text(m, "key", 0), stored_key(m, "key"),
                                                 3);
                       },
                       2});
        all.push_back({"insert_fmt, what is its own",
                       [](Container &m) {
                           return Family::insert_fmt(&m, stored_key(m, "key"), "%s%s",
                                                     stored_text(m, "key", 0),
                                                     stored_key(m, "key"));
                       },
                       2});
        return all;
    }

    void expect_filled_to_survive(const std::function<void(Container &)> &prepare)
    {
        expect_to_be_survived<typename Family::Own>(calls(), prepare);
        expect_to_be_survived<typename Family::Own>(calls_on_filled(), prepare);
    }

    static void leave_empty(Container &)
    {
    }

    static void fill_some(Container &map)
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
    static void fill_to_the_limit(Container &map)
    {
        fill_some(map);
        ASSERT_EQ(Family::setmaxkeys(&map, map.numkeys + 2), 0);
    }

    static void fill_and_churn(Container &map)
    {
        fill_some(map);
        fill(map, {{"KEY", {"text\0"s, "of the other spelling"}}});
        for (int i = 0; i < 42; i += 3) {
            ASSERT_EQ(Family::erase(&map, std::to_string(i).c_str()), 0);
            ASSERT_EQ(Family::remove(&map, std::to_string(i + 1).c_str(), 0), 0);
        }
        ASSERT_EQ(Family::sethashsize(&map, 16), 0);
        ASSERT_EQ(Family::setcasekeys(&map, 1), 0);
    }
};

} // namespace

template <class Family>
class ListFaults : public FaultTest<Family> {
};

TYPED_TEST_SUITE(ListFaults, ListFamilies, TypeName);

TYPED_TEST(ListFaults, LeaveAnEmptyContainerAsItWas)
{
    expect_to_be_survived<typename TypeParam::Own>(this->calls(), this->leave_empty);
}

TYPED_TEST(ListFaults, LeaveAFilledContainerAsItWas)
{
    this->expect_filled_to_survive(this->fill_some);
}

TYPED_TEST(ListFaults, LeaveAContainerAtItsLimitAsItWas)
{
    this->expect_filled_to_survive(this->fill_to_the_limit);
}

TYPED_TEST(ListFaults, LeaveAChurnedContainerAsItWas)
{
    this->expect_filled_to_survive(this->fill_and_churn);
}

TYPED_TEST(ListFaults, OfInitLeaveTheRecordReleased)
{
    for (const Failure::How how : ways_to_fail) {
        typename TypeParam::Own fresh;
        ASSERT_EQ(TypeParam::destroy(&fresh), 0);
        {
            Failure failure(0, how);
            EXPECT_EQ(TypeParam::init(&fresh), ENOMEM);
            EXPECT_TRUE(failure.happened());
        }
        EXPECT_EQ(fresh->buckets, nullptr);
        EXPECT_EQ(fresh->hashsize, 0U);
        EXPECT_EQ(TypeParam::destroy(&fresh), EINVAL);
        Failure none(1);
        EXPECT_EQ(TypeParam::init(&fresh), 0);
        EXPECT_FALSE(none.happened());
        EXPECT_EQ(insert(*fresh, "key", "value"), ENOMEM);
    }
}

TYPED_TEST(ListFaults, LeaveAReleasedContainerReleasedWhenItsBucketsAreNotToBeHad)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(ENOMEM, [this] {
        Failure failure(0);
        return TypeParam::sethashsize(&this->map, 64);
    });
}

TYPED_TEST(ListFaults, OfAFormatComeBeforeAMissingKeyOrValue)
{
    const auto expect_no_memory = [this] {
        for (const Failure::How how : ways_to_fail) {
            this->expect_unchanged(ENOMEM, [this, how] {
                Failure failure(0, how);
                return TypeParam::delete_fmt(&this->map, "key", "%s", "missing");
            });
        }
    };
    expect_no_memory();
    fill(this->map, {{"key", {"text\0"s}}});
    expect_no_memory();
}

TYPED_TEST(ListFaults, ComeBeforeTheKeyLimitForTheValueAndBehindItForTheKey)
{
    this->fill_some(this->map);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, this->map.numkeys), 0);
    for (const auto &[nth, result] : {std::pair(0U, ENOMEM), std::pair(1U, 1)}) {
        this->expect_unchanged(result, [this, at = nth] {
            Failure failure(at);
            return insert(this->map, "new", "value");
        });
    }
}

template <class Family>
class ListSetFaults : public FaultTest<Family> {
  protected:
    using Container = typename Family::Container;

    // Each allocation is a call of its own: a few keys have enough.
    void keep_a_few_keys()
    {
        for (int i = 12; i < 42; ++i) {
            Family::erase(&this->map, std::to_string(i).c_str());
        }
    }

    // Into destinations that are filled, at the limit, and churned.
    void expect_an_empty_destination(
        const char *name,
        const std::function<int(const Container *source, Container *dst)> &operation,
        std::size_t more_allocations)
    {
        const std::size_t held = held_by(this->map);
        const auto checked = [&](const Container *source, Container *dst) {
            const int result = operation(source, dst);
            if (result == 0) {
                EXPECT_EQ(Family::isequal(source, dst), 1);
            }
            return result;
        };
        const auto leave_some = [](Container &dst) {
            fill(dst, {{"left over", {"one", "two"}}});
        };
        const auto leave_at_limit = [&](Container &dst) {
            leave_some(dst);
            ASSERT_EQ(Family::setmaxkeys(&dst, this->map.numkeys + 1), 0);
        };
        const auto leave_churned = [](Container &dst) {
            FaultTest<Family>::fill_and_churn(dst);
            ASSERT_EQ(Family::sethashsize(&dst, 32), 0);
        };
        for (const std::function<void(Container &)> &leave :
             std::vector<std::function<void(Container &)>>{leave_some, leave_at_limit,
                                                           leave_churned}) {
            ::expect_an_empty_destination<typename Family::Own>(name, this->map, checked, leave,
                                                                held + more_allocations);
        }
    }

    // `copied_buckets` are the allocations that a copy makes for its buckets.
    void expect_empty_destinations(std::size_t copied_buckets)
    {
        keep_a_few_keys();
        expect_an_empty_destination(
            "intersection",
            [](const auto *a, auto *dst) { return Family::intersection(a, a, dst); }, 0);
        expect_an_empty_destination(
            "union", [](const auto *a, auto *dst) { return Family::set_union(a, a, dst); }, 0);
        typename Family::Own nothing;
        expect_an_empty_destination(
            "union, all from the second",
            [&](const auto *b, auto *dst) { return Family::set_union(&nothing, b, dst); }, 0);
        expect_an_empty_destination(
            "copy", [](const auto *a, auto *dst) { return Family::copy(a, dst); }, copied_buckets);
    }

    // In destinations that are filled, at the limit, and churned.
    void expect_merges_to_keep_what_was_added()
    {
        keep_a_few_keys();
        const auto leave_some = [](Container &dst) {
            fill(dst, {{"key", {"second", "own"}}});
        };
        const auto leave_at_limit = [&](Container &dst) {
            leave_some(dst);
            ASSERT_EQ(Family::setmaxkeys(&dst, this->map.numkeys + 1), 0);
        };
        for (const std::function<void(Container &)> &leave :
             std::vector<std::function<void(Container &)>>{leave_some, leave_at_limit,
                                                           FaultTest<Family>::fill_and_churn}) {
            expect_a_merge_to_keep_what_was_added(leave);
        }
    }

  private:
    static std::size_t held_by(const Container &map)
    {
        return static_cast<std::size_t>(map.numkeys + map.numvalues);
    }

    // What a destination holds after a merge that ended at an allocation: a value takes one, a new key
    // one more.
    static std::vector<KeyValues> merged_before(std::size_t allocation,
                                                const std::vector<KeyValues> &source,
                                                std::vector<KeyValues> content)
    {
        for (const auto &[key, values] : source) {
            auto held =
                std::find_if(content.begin(), content.end(),
                             [name = key](const KeyValues &other) { return other.first == name; });
            for (const std::string &value : values) {
                const bool is_new = held == content.end();
                if (!Family::keeps_equal_values && !is_new &&
                    std::count(held->second.begin(), held->second.end(), value) != 0) {
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

    void expect_a_merge_to_keep_what_was_added(const std::function<void(Container &)> &leave)
    {
        const auto source = state_of(this->map);
        const std::vector<KeyValues> added = content_of(source);
        for (const Failure::How how : ways_to_fail) {
            bool failed = true;
            for (std::size_t nth = 0; failed; ++nth) {
                SCOPED_TRACE(nth);
                const std::size_t live = allocations::live();
                typename Family::Own dst;
                // In one bucket, what is added stands behind the destination's own.
                ASSERT_EQ(Family::sethashfunc(&dst, hash_all_to_zero), 0);
                leave(*dst);
                const std::vector<KeyValues> own = content_of(*dst);
                {
                    Failure failure(nth, how);
                    const int result = Family::merge(&this->map, &dst);
                    failed = failure.happened();
                    EXPECT_EQ(result, failed ? ENOMEM : 0);
                }
                const std::vector<KeyValues> merged = content_of(*dst);
                EXPECT_EQ(merged, merged_before(failed ? nth : SIZE_MAX, added, own));
                EXPECT_EQ(allocations::live(), live + 1 + held_by(*dst)) << "leaked";
                EXPECT_EQ(state_of(this->map), source);
                EXPECT_EQ(Family::merge(&this->map, &dst), 0);
                EXPECT_EQ(content_of(*dst), merged_before(SIZE_MAX, added, merged));
            }
        }
    }
};

TYPED_TEST_SUITE(ListSetFaults, ListFamilies, TypeName);

TYPED_TEST(ListSetFaults, LeaveTheDestinationEmpty)
{
    this->fill_some(this->map);
    this->expect_empty_destinations(0);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    this->expect_an_empty_destination(
        "copy, new buckets", [](const auto *a, auto *dst) { return TypeParam::copy(a, dst); }, 1);
}

TYPED_TEST(ListSetFaults, LeaveTheDestinationOfAChurnedSourceEmpty)
{
    this->fill_and_churn(this->map);
    this->expect_empty_destinations(1);
}

TYPED_TEST(ListSetFaults, OfCopysBucketsKeepTheOldNumber)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    typename TypeParam::Own dst;
    fill(*dst, {{"left over", {"value"}}});
    Failure failure(0);
    EXPECT_EQ(TypeParam::copy(&this->map, &dst), ENOMEM);
    EXPECT_EQ(dst->hashsize, 32U);
    EXPECT_EQ(dst->numkeys, 0);
}

TYPED_TEST(ListSetFaults, OfMergeKeepWhatWasAddedSoFar)
{
    this->fill_some(this->map);
    this->expect_merges_to_keep_what_was_added();
}

TYPED_TEST(ListSetFaults, OfMergeFromAChurnedSourceKeepWhatWasAddedSoFar)
{
    this->fill_and_churn(this->map);
    this->expect_merges_to_keep_what_was_added();
}

template <class Family>
class ListPrintFaults : public FaultTest<Family> {
  protected:
    void expect_fallback_of_all()
    {
        std::string lines;
        for (const auto &[key, values] : content_of(this->map)) {
            for (std::size_t i = 0; i < values.size(); ++i) {
                lines += " " + key + "[" + std::to_string(i) + "]=" + values[i].c_str() + "\n";
            }
        }
        const auto before = state_of(this->map);
        expect_fallback<Family>(this->map, header_of(this->map) + lines, lines);
        EXPECT_EQ(state_of(this->map), before);
    }
};

TYPED_TEST_SUITE(ListPrintFaults, ListFamilies, TypeName);

TYPED_TEST(ListPrintFaults, FallBackToIterationOrder)
{
    this->fill_some(this->map);
    this->expect_fallback_of_all();
    ASSERT_EQ(TypeParam::clear(&this->map), 0);
    this->fill_and_churn(this->map);
    this->expect_fallback_of_all();
}
