// What the tests of the operations on two containers share, for both families that keep lists of
// values.
#pragma once

#include "fault_runs.hpp"
#include "list_test.hpp"
#include "recorded_hashing.hpp"

template <class Family>
class ListSetsTest : public ListTest<Family> {
  protected:
    using Container = typename Family::Container;

    ListSetsTest()
    {
        hashings.clear();
    }

    static void put_all_into_one_bucket(Container &map)
    {
        ASSERT_EQ(Family::sethashfunc(&map, hash_all_to_zero), 0);
    }

    // With every key in one bucket: iteration follows insertion.
    static void fill_in_order(Container &map, const Content &content)
    {
        put_all_into_one_bucket(map);
        fill(map, content);
    }
};

template <class Family>
class ListWithOther : public ListSetsTest<Family> {
  protected:
    typename Family::Own other;
};

template <class Family>
class ListWithSource : public ListSetsTest<Family> {
  protected:
    typename Family::Own src;
};

template <class Family>
class ListWithTwoSources : public ListSetsTest<Family> {
  protected:
    typename Family::Own a;
    typename Family::Own b;
};

// The operations that fill `dst` with all that `src` holds, without looking first.

template <class Family>
struct Copy : Family {
    static constexpr const char *refill = "Copy";
    static int call(const typename Family::Container *src, typename Family::Container *dst)
    {
        return Family::copy(src, dst);
    }
};

template <class Family>
struct IntersectionWithItself : Family {
    static constexpr const char *refill = "IntersectionWithItself";
    static int call(const typename Family::Container *src, typename Family::Container *dst)
    {
        return Family::intersection(src, src, dst);
    }
};

template <class Family>
struct UnionWithItself : Family {
    static constexpr const char *refill = "UnionWithItself";
    static int call(const typename Family::Container *src, typename Family::Container *dst)
    {
        return Family::set_union(src, src, dst);
    }
};

template <class... Families>
using RefillsOf = testing::Types<Copy<Families>..., IntersectionWithItself<Families>...,
                                 UnionWithItself<Families>...>;

struct RefillName {
    template <class Refill>
    static std::string GetName(int)
    {
        return std::string(Refill::name) + Refill::refill;
    }
};

template <class Refill>
class ListRefillTest : public ListWithSource<Refill> {
  protected:
    int refill()
    {
        return Refill::call(&this->src, &this->map);
    }
};
