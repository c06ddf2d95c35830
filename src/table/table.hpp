// The bucket table that the three families share, as templates over the container record: bucket
// choice, lookup, iteration, clearing, rebuilding and the settings.
//
// A Table is a record with the fields numkeys, maxkeys, casekeys, hashsize, hashfunc and buckets;
// its nodes have the links next and prev, and a key.
#pragma once

#include "allocate.hpp"
#include "chain.hpp"
#include "hash.hpp"

#include <textmaps/bucket.h>

#include <cerrno>

namespace textmaps {

// The result of a refusal that changes nothing.
constexpr int refused = 1;

constexpr std::uint32_t default_hashsize = 32;

// Each family names its node type: template <> struct node_type<map_t> { using type = map_entry_t;
// };
template <class Table>
struct node_type;

template <class Table>
using node_of = typename node_type<Table>::type;

template <class Table>
bool has_buckets(const Table *table)
{
    return table != nullptr && table->buckets != nullptr;
}

template <class Table>
bool isempty(const Table *table)
{
    return table == nullptr || table->numkeys == 0;
}

template <class Table>
map_bucket_t *hashlist(const Table &table, const char *key)
{
    const std::uint32_t hash =
        table.hashfunc != nullptr ? table.hashfunc(&table, key) : builtin_hash(key);
    return &table.buckets[hash & (table.hashsize - 1)];
}

template <class Table>
node_of<Table> *find_in(const Table &table, const map_bucket_t &bucket, const char *key)
{
    for (auto &node : chained<node_of<Table>>(bucket)) {
        if (keycmp(table, key, node.key) == 0) {
            return &node;
        }
    }
    return nullptr;
}

template <class Table>
node_of<Table> *find(const Table &table, const char *key)
{
    return find_in(table, *hashlist(table, key), key);
}

// The same for a table and a key that may be missing or released.
template <class Table>
node_of<Table> *lookup(const Table *table, const char *key)
{
    return has_buckets(table) && key != nullptr ? find(*table, key) : nullptr;
}

// Where a key is, or would be: `node` is null where there is no such key.
template <class Table>
struct place {
    map_bucket_t &bucket;
    node_of<Table> *node;
};

template <class Table>
place<Table> locate(const Table &table, const char *key)
{
    map_bucket_t &bucket = *hashlist(table, key);
    return {bucket, find_in(table, bucket, key)};
}

// Takes the node of the place out of the table. The caller disposes of it.
template <class Table>
void unlink_node(Table &table, const place<Table> &at)
{
    chain_remove(at.bucket, *at.node);
    --table.numkeys;
}

template <class Table>
bool haskey(const Table *table, const char *key)
{
    return !isempty(table) && lookup(table, key) != nullptr;
}

// One short on purpose: a limit of N admits N - 1 keys.
template <class Table>
bool at_key_limit(const Table &table)
{
    return table.maxkeys >= 0 && table.numkeys >= table.maxkeys - 1;
}

// Iteration order: buckets by index, each chain from its first node. The two steps that it is made
// of serve the public iterators; `bucket` ends at hashsize or above.

template <class Table>
node_of<Table> *first_from(const Table &table, std::uint32_t &bucket)
{
    for (; bucket < table.hashsize; ++bucket) {
        if (auto *node = chain_first<node_of<Table>>(table.buckets[bucket])) {
            return node;
        }
    }
    return nullptr;
}

template <class Table, class Node>
Node *next_after(const Table &table, Node &node, std::uint32_t &bucket)
{
    if (Node *next = chain_next(node)) {
        return next;
    }
    // Polled past its end for 2^32 calls, an iterator must not begin anew.
    if (bucket != UINT32_MAX) {
        ++bucket;
    }
    return first_from(table, bucket);
}

// for (const auto &node : nodes(table))
template <class Table>
class nodes {
  public:
    class iterator {
      public:
        explicit iterator(const Table &table) : table_(table), node_(first_from(table, bucket_))
        {
        }
        const node_of<Table> &operator*() const
        {
            return *node_;
        }
        bool operator!=(std::nullptr_t) const
        {
            return node_ != nullptr;
        }
        iterator &operator++()
        {
            node_ = next_after(table_, *node_, bucket_);
            return *this;
        }

      private:
        const Table &table_;
        std::uint32_t bucket_ = 0;
        node_of<Table> *node_;
    };

    explicit nodes(const Table &table) : table_(table)
    {
    }
    iterator begin() const
    {
        return iterator(table_);
    }
    std::nullptr_t end() const
    {
        return nullptr;
    }

  private:
    const Table &table_;
};

template <class Table, class Count>
int key_count(const Table *table, Count *count)
{
    if (table == nullptr || count == nullptr) {
        return EINVAL;
    }
    *count = static_cast<Count>(table->numkeys);
    return 0;
}

// The key at a position of the iteration order, counted from 0; null when there is none.
template <class Table>
const char *key_name(const Table *table, std::int32_t ordinal)
{
    if (!has_buckets(table) || table->numkeys < ordinal) {
        return nullptr;
    }
    std::int32_t counted = 0;
    for (const auto &node : nodes(*table)) {
        if (counted == ordinal) {
            return node.key;
        }
        ++counted;
    }
    return nullptr;
}

inline map_bucket_t *allocate_buckets(std::uint32_t count)
{
    auto *buckets = static_cast<map_bucket_t *>(allocate_array(count, sizeof(map_bucket_t)));
    for (std::uint32_t i = 0; buckets != nullptr && i < count; ++i) {
        chain_init(buckets[i]);
    }
    return buckets;
}

// The fields that every record has. A failure (12) leaves the record released; so does a size of 0,
// since no bucket could hold a key.
template <class Table>
int init(Table &table, std::uint32_t hashsize)
{
    table.maxkeys = -1;
    table.numkeys = 0;
    table.casekeys = 0;
    table.hashsize = 0;
    table.hashfunc = nullptr;
    table.buckets = nullptr;
    if (hashsize == 0) {
        return 0;
    }
    table.buckets = allocate_buckets(hashsize);
    if (table.buckets == nullptr) {
        return ENOMEM;
    }
    table.hashsize = hashsize;
    return 0;
}

// Hands every node to `release`, unlinked.
template <class Table, class Release>
int clear(Table *table, Release release)
{
    if (!has_buckets(table)) {
        return EINVAL;
    }
    if (table->numkeys < 1) {
        return 0;
    }
    for (std::uint32_t i = 0; i < table->hashsize; ++i) {
        while (auto *node = chain_take_first<node_of<Table>>(table->buckets[i])) {
            --table->numkeys;
            release(node);
        }
    }
    return 0;
}

// Makes dst hold what add() adds to it, or nothing if that fails.
template <class Table, class Release, class Add>
int refill(Table *dst, Release release, Add add)
{
    int result = clear(dst, release);
    if (result == 0) {
        result = add();
        if (result != 0) {
            clear(dst, release);
        }
    }
    return result;
}

// Gives back the bucket array of a cleared table. Limits and casekeys keep their values.
template <class Table>
void release_buckets(Table &table)
{
    std::free(table.buckets);
    table.buckets = nullptr;
    table.hashsize = 0;
    table.hashfunc = nullptr;
}

// Rebuilding: gather every node into one queue in iteration order, change a setting, put the nodes
// back one by one at the tails of their buckets. Nodes never move in memory, and those that share a
// bucket keep their order.

template <class Table>
void gather(const Table &table, map_bucket_t &queue)
{
    chain_init(queue);
    for (std::uint32_t i = 0; i < table.hashsize; ++i) {
        chain_splice<node_of<Table>>(queue, table.buckets[i]);
    }
}

template <class Table>
void put_back(const Table &table, map_bucket_t &queue)
{
    while (auto *node = chain_take_first<node_of<Table>>(queue)) {
        chain_append(*hashlist(table, node->key), *node);
    }
}

// A released table comes to life with an empty array of the size.
template <class Table>
int sethashsize(Table *table, std::uint32_t size)
{
    if (table == nullptr || size == 0 || (size & (size - 1)) != 0) {
        return EINVAL;
    }
    if (size == table->hashsize) {
        return 0;
    }
    map_bucket_t *buckets = allocate_buckets(size);
    if (buckets == nullptr) {
        return ENOMEM;
    }
    map_bucket_t queue;
    gather(*table, queue);
    std::free(table->buckets);
    table->buckets = buckets;
    table->hashsize = size;
    put_back(*table, queue);
    return 0;
}

template <class Table>
int sethashfunc(Table *table, map_hash_fn hashfunc)
{
    if (table == nullptr) {
        return EINVAL;
    }
    if (hashfunc != table->hashfunc) {
        map_bucket_t queue;
        gather(*table, queue);
        table->hashfunc = hashfunc;
        put_back(*table, queue);
    }
    return 0;
}

// Where keys become equal, the first in iteration order survives; absorb(survivor, node) disposes
// of each later node, which is linked nowhere.
template <class Table, class Absorb>
int setcasekeys(Table *table, std::uint32_t flag, Absorb absorb)
{
    if (table == nullptr) {
        return EINVAL;
    }
    const std::uint32_t casekeys = flag != 0;
    if (casekeys == table->casekeys) {
        return 0;
    }
    map_bucket_t queue;
    gather(*table, queue);
    table->casekeys = casekeys;
    while (auto *node = chain_take_first<node_of<Table>>(queue)) {
        const auto at = locate(*table, node->key);
        if (at.node != nullptr) {
            --table->numkeys;
            absorb(*at.node, node);
        } else {
            chain_append(at.bucket, *node);
        }
    }
    return 0;
}

// Stores a limit, unless it lies below what is there already.
inline int set_limit(std::int32_t &limit, std::int32_t value, std::int32_t present)
{
    if (value >= 0 && value < present) {
        return refused;
    }
    limit = value;
    return 0;
}

} // namespace textmaps
