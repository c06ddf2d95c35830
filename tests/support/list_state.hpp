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

// Reads the state and, on the way, fails the test on every invariant that does not hold: links both
// ways, tails, bucket choice, no two equal keys, no key without values, the counts, text and bytes
// right behind their nodes. inspect(values of the key so far, node) checks the family's own rules and
// gives the node's index, 0 where it has none.
template <class KeyNode, class ValueNode, class Container, class HashList, class KeyCmp,
          class Inspect>
ListState<Container> list_state_of(const Container &container, HashList hashlist, KeyCmp keycmp,
                                   Inspect inspect)
{
    ListState<Container> state(container);
    if (container.buckets == nullptr) {
        EXPECT_EQ(container.hashsize, 0U);
        EXPECT_EQ(container.numkeys, 0);
        EXPECT_EQ(container.numvalues, 0);
        return state;
    }
    EXPECT_LE(container.casekeys, 1U);
    int32_t keys = 0;
    int32_t values = 0;
    for (uint32_t i = 0; i < container.hashsize; ++i) {
        const map_bucket_t &bucket = container.buckets[i];
        auto &chain = state.chains.emplace_back();
        const void *link = &bucket.first;
        auto *node = static_cast<const KeyNode *>(bucket.first);
        for (; node != nullptr && keys <= container.numkeys; node = node->next) {
            ++keys;
            EXPECT_EQ(static_cast<const void *>(node->prev), link);
            EXPECT_EQ(static_cast<const void *>(node->key), static_cast<const void *>(node + 1));
            EXPECT_EQ(hashlist(&container, node->key), &bucket);
            for (const auto &other : chain) {
                EXPECT_NE(keycmp(&container, node->key, other.key.c_str()), 0);
            }
            auto &key = chain.emplace_back();
            key.address = node;
            key.key = node->key;
            const void *value_link = &node->values.first;
            const ValueNode *value = node->values.first;
            for (; value != nullptr && values <= container.numvalues; value = value->next) {
                ++values;
                EXPECT_EQ(static_cast<const void *>(value->prev), value_link);
                EXPECT_EQ(value->data, static_cast<const void *>(value + 1));
                const uint32_t index = inspect(key.values, *value);
                key.values.push_back(
                    {value, std::string(static_cast<const char *>(value->data), value->len),
                     index});
                value_link = &value->next;
            }
            EXPECT_EQ(value, nullptr) << "more values than numvalues, or a loop";
            EXPECT_EQ(static_cast<const void *>(node->values.last), value_link);
            EXPECT_EQ(node->count, key.values.size());
            EXPECT_NE(node->count, 0U);
            link = &node->next;
        }
        EXPECT_EQ(node, nullptr) << "more keys than numkeys, or a loop";
        EXPECT_EQ(bucket.last, link);
    }
    EXPECT_EQ(keys, container.numkeys);
    EXPECT_EQ(values, container.numvalues);
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
