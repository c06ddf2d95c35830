// Hash functions that record what they are asked, other than by the walker.
#pragma once

#include "helpers.hpp"

#include <textmaps/bucket.h>

#include <utility>

using Keys = std::vector<std::string>;

// Each container and key, in the order of the calls.
inline std::vector<std::pair<const void *, std::string>> hashings;

template <map_hash_fn hash>
uint32_t recorded(const void *container, const char *key)
{
    if (!walker::is_walking()) {
        hashings.emplace_back(container, key);
    }
    return hash(container, key);
}

inline Keys hashed_keys()
{
    Keys keys;
    for (const auto &hashing : hashings) {
        keys.push_back(hashing.second);
    }
    return keys;
}

inline Keys hashed_for(const void *container)
{
    Keys keys;
    for (const auto &[asker, key] : hashings) {
        if (asker == container) {
            keys.push_back(key);
        }
    }
    return keys;
}

// The keys that a call asks the hash of.
template <class Call>
Keys hashed_during(Call call)
{
    hashings.clear();
    call();
    return hashed_keys();
}
