// What a user writes around a table that lacks it, and what the tables have in common.
//
// A map under measurement has:
//     Map(expected)                        empty, with room for so many keys where it can be asked
//     insert(item), replace(item)          copies key and value; the key is new, or is there
//     find(key)                            the value's bytes, null if the key is missing
//     erase(key), clear()
//     visit(use)                           use(key, value, length) for every entry
//     copy_from(other), equals(other)      copy_from is called on an empty map
//     dump(stream)                         a line for every entry, sorted by key
#pragma once

#include "../keys.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

namespace bench {

// `expected` keys at a load of at most one.
constexpr std::uint32_t buckets_for(std::size_t expected)
{
    std::uint32_t count = 1;
    while (count < expected) {
        count *= 2;
    }
    return count;
}

inline std::string_view value_of(const item &one)
{
    return {one.value, one.length};
}

// In C, the NUL is stored with the text.
inline std::uint32_t stored_length(const item &one)
{
    return one.length + 1;
}

template <class Map>
void insert_all(const Map &from, Map &to)
{
    from.visit([&](const char *key, const char *value, std::uint32_t length) {
        to.insert({key, value, length});
    });
}

// Of two maps with as many keys.
template <class Map>
bool finds_all(const Map &of, const Map &in)
{
    bool all = true;
    of.visit([&](const char *key, const char *value, std::uint32_t) {
        const char *found = in.find(key);
        all = all && found != nullptr && std::strcmp(found, value) == 0;
    });
    return all;
}

template <class Map>
void dump_sorted(const Map &map, std::FILE *stream)
{
    std::vector<item> list;
    map.visit([&](const char *key, const char *value, std::uint32_t length) {
        list.push_back({key, value, length});
    });
    std::sort(list.begin(), list.end(),
              [](const item &a, const item &b) { return std::strcmp(a.key, b.key) < 0; });
    for (const item &one : list) {
        std::fprintf(stream, " %s=%.*s\n", one.key, static_cast<int>(one.length), one.value);
    }
}

} // namespace bench
