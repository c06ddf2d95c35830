#include "table.hpp"

#include "allocate.hpp"

#include <cstring>

namespace textmaps {

namespace {

links *allocate_buckets(std::uint32_t count)
{
    auto *buckets = static_cast<links *>(allocate_array(count, sizeof(links)));
    for (std::uint32_t i = 0; buckets != nullptr && i < count; ++i) {
        chain_init(buckets[i]);
    }
    return buckets;
}

// Rebuilding: gather every node into one queue in iteration order, change a setting, put the nodes
// back one by one at the tails of their buckets. Nodes never move in memory, and those that share a
// bucket keep their order.

void gather(table in, links &queue)
{
    chain_init(queue);
    for (std::uint32_t i = 0; i < in.set().hashsize; ++i) {
        chain_splice(queue, in.set().buckets[i]);
    }
}

void put_back(table in, links &queue)
{
    while (links *node = chain_take_first(queue)) {
        const measured of = measure(in, in.key(*node));
        in.keep_stamp(*node, of);
        chain_append(*in.bucket(of.hash), *node);
    }
}

} // namespace

map_bucket_t *hashlist(table in, const char *key)
{
    return reinterpret_cast<map_bucket_t *>(in.bucket(measure(in, key).hash));
}

links *lookup(table in, const char *key)
{
    return has_buckets(in) && key != nullptr ? find(in, key) : nullptr;
}

void append_node(table in, links &bucket, links &node)
{
    chain_append(bucket, node);
    ++in.numkeys();
}

const char *key_name(table in, std::int32_t ordinal)
{
    if (!has_buckets(in) || in.numkeys() < ordinal) {
        return nullptr;
    }
    std::int32_t counted = 0;
    for (const links &node : nodes(in)) {
        if (counted == ordinal) {
            return in.key(node);
        }
        ++counted;
    }
    return nullptr;
}

int init(table in, std::uint32_t hashsize)
{
    in.maxkeys() = -1;
    in.numkeys() = 0;
    in.set() = {0, 0, nullptr, nullptr};
    if (hashsize == 0) {
        return 0;
    }
    in.set().buckets = allocate_buckets(hashsize);
    if (in.set().buckets == nullptr) {
        return ENOMEM;
    }
    in.set().hashsize = hashsize;
    return 0;
}

int clear(table in, release_fn release)
{
    if (!has_buckets(in)) {
        return EINVAL;
    }
    if (in.numkeys() < 1) {
        return 0;
    }
    for (std::uint32_t i = 0; i < in.set().hashsize; ++i) {
        fetch_ahead(in, i);
        links *node = in.set().buckets[i].next;
        chain_init(in.set().buckets[i]);
        while (node != nullptr) {
            links *next = node->next;
            release(*node);
            node = next;
        }
    }
    in.numkeys() = 0;
    return 0;
}

void release_buckets(table in)
{
    settings &set = in.set();
    std::free(set.buckets);
    set = {set.casekeys, 0, nullptr, nullptr};
}

int sethashsize(table in, std::uint32_t size)
{
    if (in.record() == nullptr || size == 0 || (size & (size - 1)) != 0) {
        return EINVAL;
    }
    settings &set = in.set();
    if (size == set.hashsize) {
        return 0;
    }
    links *buckets = allocate_buckets(size);
    if (buckets == nullptr) {
        return ENOMEM;
    }
    links queue;
    gather(in, queue);
    std::free(set.buckets);
    set.buckets = buckets;
    set.hashsize = size;
    put_back(in, queue);
    return 0;
}

int sethashfunc(table in, map_hash_fn hashfunc)
{
    if (in.record() == nullptr) {
        return EINVAL;
    }
    if (hashfunc != in.set().hashfunc) {
        links queue;
        gather(in, queue);
        in.set().hashfunc = hashfunc;
        put_back(in, queue);
    }
    return 0;
}

int setcasekeys(table in, std::uint32_t flag, absorb_fn absorb)
{
    if (in.record() == nullptr) {
        return EINVAL;
    }
    const std::uint32_t casekeys = flag != 0;
    if (casekeys == in.set().casekeys) {
        return 0;
    }
    links queue;
    gather(in, queue);
    in.set().casekeys = casekeys;
    // Stamps hold: the built-in hash asks for no setting.
    while (links *node = chain_take_first(queue)) {
        const place at = locate(in, in.key(*node));
        if (at.node != nullptr) {
            --in.numkeys();
            absorb(in, *at.node, *node);
        } else {
            chain_append(*at.bucket, *node);
        }
    }
    return 0;
}

int set_limit(std::int32_t &limit, std::int32_t value, std::int32_t present)
{
    if (value >= 0 && value < present) {
        return refused;
    }
    limit = value;
    return 0;
}

} // namespace textmaps
