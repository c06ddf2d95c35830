// The full state of a container that keeps lists of values: the multimap's and the arraymap's.
#pragma once

#include "helpers.hpp"

#include <textmaps/bucket.h>

#include <ostream>
#include <tuple>
#include <utility>

// Settings, and every key and value with its address, bucket by bucket.
template <class Container>
struct ListState {
    struct Value {
        const void *address;
        std::string data;
        uint32_t index;
        bool operator==(const Value &other) const
        {
            return std::tie(address, data, index) ==
                   std::tie(other.address, other.data, other.index);
        }
    };
    struct Key {
        const void *address;
        std::string key;
        std::vector<Value> values;
        bool operator==(const Key &other) const
        {
            return std::tie(address, key, values) ==
                   std::tie(other.address, other.key, other.values);
        }
    };

    explicit ListState(const Container &container)
        : maxkeys(container.maxkeys), maxvalues(container.maxvalues), numkeys(container.numkeys),
          numvalues(container.numvalues), casekeys(container.casekeys),
          hashsize(container.hashsize), hashfunc(container.hashfunc), buckets(container.buckets)
    {
    }

    bool operator==(const ListState &other) const
    {
        return tied() == other.tied();
    }

    int32_t maxkeys;
    int32_t maxvalues;
    int32_t numkeys;
    int32_t numvalues;
    uint32_t casekeys;
    uint32_t hashsize;
    map_hash_fn hashfunc;
    const void *buckets;
    std::vector<std::vector<Key>> chains;

  private:
    auto tied() const
    {
        return std::tie(maxkeys, maxvalues, numkeys, numvalues, casekeys, hashsize, hashfunc,
                        buckets, chains);
    }
};

template <class Container>
std::ostream &operator<<(std::ostream &out, const ListState<Container> &state)
{
    out << "maxkeys=" << state.maxkeys << " maxvalues=" << state.maxvalues
        << " numkeys=" << state.numkeys << " numvalues=" << state.numvalues
        << " casekeys=" << state.casekeys << " hashsize=" << state.hashsize;
    for (std::size_t i = 0; i < state.chains.size(); ++i) {
        for (const auto &key : state.chains[i]) {
            out << "\n  [" << i << "] " << key.address << ' ' << testing::PrintToString(key.key);
            for (const auto &value : key.values) {
                out << "\n      " << value.address << ' ' << testing::PrintToString(value.data)
                    << " index=" << value.index;
            }
        }
    }
    return out;
}

// Walks the container first: a state is read only where every invariant holds. index_of(node) gives a
// value's index, 0 in a family without.
template <class KeyNode, class Container, class IndexOf>
ListState<Container> list_state_of(const Container &container, IndexOf index_of)
{
    ListState<Container> state(container);
    if (!expect_consistent(container) || container.buckets == nullptr) {
        return state;
    }
    for (uint32_t i = 0; i < container.hashsize; ++i) {
        auto &chain = state.chains.emplace_back();
        auto *node = static_cast<const KeyNode *>(container.buckets[i].first);
        for (; node != nullptr; node = node->next) {
            auto &key = chain.emplace_back();
            key.address = node;
            key.key = node->key;
            for (auto *value = node->values.first; value != nullptr; value = value->next) {
                key.values.push_back(
                    {value, std::string(static_cast<const char *>(value->data), value->len),
                     index_of(*value)});
            }
        }
    }
    return state;
}

// A key and its values in order, as a caller can observe them.
using KeyValues = std::pair<std::string, std::vector<std::string>>;

// The keys in iteration order.
template <class Container>
std::vector<KeyValues> content_of(const ListState<Container> &state)
{
    std::vector<KeyValues> content;
    for (const auto &chain : state.chains) {
        for (const auto &key : chain) {
            auto &values = content.emplace_back(key.key, std::vector<std::string>()).second;
            for (const auto &value : key.values) {
                values.push_back(value.data);
            }
        }
    }
    return content;
}
