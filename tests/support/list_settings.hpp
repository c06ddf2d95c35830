// What the tests of the settings share, for both families that keep lists of values.
#pragma once

#include "list_test.hpp"
#include "recorded_hashing.hpp"

#include <algorithm>

template <class Container>
Keys keys_of(const Container &map)
{
    Keys keys;
    for (const auto &[key, values] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

template <class Family>
class ListSettingsTest : public ListTest<Family> {
  protected:
    using Container = typename Family::Container;
    using Key = typename ListState<Container>::Key;

    ListSettingsTest()
    {
        hashings.clear();
    }

    static std::size_t bucket_of(const Container &map, const char *key)
    {
        return static_cast<std::size_t>(Family::hashlist(&map, key) - map.buckets);
    }

    // In iteration order, with their addresses.
    std::vector<Key> nodes() const
    {
        std::vector<Key> nodes;
        for (const auto &chain : state_of(this->map).chains) {
            nodes.insert(nodes.end(), chain.begin(), chain.end());
        }
        return nodes;
    }

    std::vector<Key> sorted_nodes() const
    {
        std::vector<Key> sorted = nodes();
        std::sort(sorted.begin(), sorted.end(),
                  [](const Key &a, const Key &b) { return a.key < b.key; });
        return sorted;
    }

    // Keys of one to three values each, the third equal to the first if the family keeps equal
    // values; those of a key are not inserted in one go.
    void insert_numbered(int count)
    {
        for (int round = 0; round < 3; ++round) {
            const int step = Family::keeps_equal_values ? round % 2 : round;
            for (int i = 0; i < count; ++i) {
                const std::string key = std::to_string(i * 7919 % 100003);
                if (i % 3 >= round) {
                    ASSERT_EQ(insert(this->map, key.c_str(), std::to_string(i + step)), 0);
                }
            }
        }
    }

    // The call must find the setting as it is wanted, and neither rebuild nor allocate.
    void expect_no_rebuild(const std::function<int()> &call)
    {
        Keys asked;
        std::size_t allocated = 0;
        this->expect_unchanged(0, [&] {
            hashings.clear();
            allocations::Log log;
            const int result = call();
            allocated = log.sizes().size();
            asked = hashed_keys();
            return result;
        });
        EXPECT_EQ(asked, Keys{});
        EXPECT_EQ(allocated, 0U);
    }
};

// The calls that put every key into a bucket anew.

template <class Family, uint32_t size>
struct ToSize : Family {
    static constexpr bool allocates = true;
    static int call(typename Family::Container *map)
    {
        return Family::sethashsize(map, size);
    }
};

template <class Family, map_hash_fn hash>
struct ToHash : Family {
    static constexpr bool allocates = false;
    static int call(typename Family::Container *map)
    {
        return Family::sethashfunc(map, hash);
    }
};

template <class Family>
struct OneBucket : ToSize<Family, 1> {
    static constexpr const char *rebuild = "OneBucket";
};

template <class Family>
struct FewerBuckets : ToSize<Family, 8> {
    static constexpr const char *rebuild = "FewerBuckets";
};

template <class Family>
struct MoreBuckets : ToSize<Family, 1024> {
    static constexpr const char *rebuild = "MoreBuckets";
};

template <class Family>
struct OtherHash : ToHash<Family, hash_first_byte> {
    static constexpr const char *rebuild = "OtherHash";
};

template <class Family>
struct OneChain : ToHash<Family, hash_all_to_zero> {
    static constexpr const char *rebuild = "OneChain";
};

template <class Family>
struct CaseInsensitive : Family {
    static constexpr const char *rebuild = "CaseInsensitive";
    static constexpr bool allocates = false;
    static int call(typename Family::Container *map)
    {
        return Family::setcasekeys(map, 1);
    }
};

template <class... Families>
using RebuildsOf =
    testing::Types<OneBucket<Families>..., FewerBuckets<Families>..., MoreBuckets<Families>...,
                   OtherHash<Families>..., OneChain<Families>..., CaseInsensitive<Families>...>;

struct RebuildName {
    template <class Rebuild>
    static std::string GetName(int)
    {
        return std::string(Rebuild::name) + Rebuild::rebuild;
    }
};
