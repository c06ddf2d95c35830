// The bucket table that the three families share: bucket choice, lookup, iteration, clearing,
// rebuilding and the settings. It stands once, for records of every family.
#pragma once

#include "chain.hpp"
#include "hash.hpp"
#include "words.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <strings.h>

namespace textmaps {

// The result of a refusal that changes nothing.
constexpr int refused = 1;

constexpr std::uint32_t default_hashsize = 32;

// The fields that end each family's record. Like all views here it may alias: the caller's code reaches
// the same fields through the family's own type.
struct [[gnu::may_alias]] settings {
    std::uint32_t casekeys;
    std::uint32_t hashsize;
    map_hash_fn hashfunc;
    links *buckets;
};

using count_field [[gnu::may_alias]] = std::int32_t;
struct [[gnu::may_alias]] key_field {
    const char *text;
};
using stamp_field [[gnu::may_alias]] = std::uint32_t;

// Where a family has them: offsets in bytes of the count of keys, of the settings, and of the key in
// its nodes. In one word, since compilers pass a record of bytes through memory.
enum class layout : std::uint32_t {};

constexpr layout make_layout(std::size_t numkeys, std::size_t set, std::size_t key)
{
    return layout(numkeys | set << 8 | key << 16);
}

// On 64-bit targets each node keeps a stamp of its key where there would be padding: the hash's low
// bits, which choose the bucket in all but huge tables, and above them the size of keys that are not
// long.
constexpr bool keeps_stamps = sizeof(void *) == 8;
constexpr std::size_t stamp_offset = 3 * sizeof(void *) + 4;
constexpr int stamped_hash_bits = 20;
constexpr std::uint32_t stamped_hash = (1U << stamped_hash_bits) - 1;
constexpr std::size_t long_size = UINT32_MAX >> stamped_hash_bits;

inline std::uint32_t stamp_of(const measured &key)
{
    const auto size = static_cast<std::uint32_t>(key.size < long_size ? key.size : long_size);
    return size << stamped_hash_bits | (key.hash & stamped_hash);
}

// A container without its family. The view is const, what it shows is not.
class table {
  public:
    table(const void *record, layout at)
        : record_(const_cast<char *>(static_cast<const char *>(record))), at_(at)
    {
    }

    char *record() const
    {
        return record_;
    }
    count_field &maxkeys() const
    {
        return *reinterpret_cast<count_field *>(record_);
    }
    count_field &numkeys() const
    {
        return *reinterpret_cast<count_field *>(record_ + (offsets() & 0xFF));
    }
    settings &set() const
    {
        return *reinterpret_cast<settings *>(record_ + (offsets() >> 8 & 0xFF));
    }
    const char *key(const links &node) const
    {
        return reinterpret_cast<const key_field *>(bytes_of(node) + (offsets() >> 16))->text;
    }
    std::uint32_t stamp(const links &node) const
    {
        return *reinterpret_cast<const stamp_field *>(bytes_of(node) + stamp_offset);
    }
    void keep_stamp(links &node, const measured &key) const
    {
        if (keeps_stamps) {
            char *const at = reinterpret_cast<char *>(&node) + stamp_offset;
            *reinterpret_cast<stamp_field *>(at) = stamp_of(key);
        }
    }
    links *bucket(std::uint32_t hash) const
    {
        return set().buckets + (hash & (set().hashsize - 1));
    }

  private:
    std::uint32_t offsets() const
    {
        return static_cast<std::uint32_t>(at_);
    }
    static const char *bytes_of(const links &node)
    {
        return reinterpret_cast<const char *>(&node);
    }

    char *record_;
    layout at_;
};

inline bool has_buckets(table in)
{
    return in.record() != nullptr && in.set().buckets != nullptr;
}

inline bool isempty(table in)
{
    return in.record() == nullptr || in.numkeys() == 0;
}

// The bucket that the key hashes to.
map_bucket_t *hashlist(table in, const char *key);

// What every look-up is made of is inline: where speed counts, compilers fold a family's layout into
// it.

inline bool uses_builtin_hash(table in)
{
    return __builtin_expect(in.set().hashfunc == nullptr, 1);
}

// The key's size, and its hash under the table's function.
inline measured measure(table in, const char *key)
{
    if (uses_builtin_hash(in)) {
        return builtin_hash(key);
    }
    return {std::strlen(key) + 1, in.set().hashfunc(in.record(), key)};
}

// 0 when the keys are equal under the table's comparison.
inline int keycmp(table in, const char *key, const char *stored)
{
    return in.set().casekeys != 0 ? strcasecmp(key, stored) : std::strcmp(key, stored);
}

// Whether a key is that of a node of the same stamp: of keys that are not long, both are then of the
// same size.
inline bool is_key(table in, const links &node, const char *key, std::size_t size)
{
    return size < long_size ? same_bytes(key, in.key(node), size)
                            : std::strcmp(key, in.key(node)) == 0;
}

// Asks for the second of the lines of cache that a node's bytes take. Inlined always: at -O2 and -Os
// gcc finds no effect in a function of prefetches alone and deletes the calls of it.
[[gnu::always_inline]] inline void fetch_rest(const links &node)
{
    constexpr std::size_t line = 64;
    __builtin_prefetch(reinterpret_cast<const char *>(&node) + line);
}

inline links *find_in(table in, const links &bucket, const char *key, const measured &of)
{
    links *node = bucket.next;
    // Only where the C library does not decide which letters are equal: it may know more of them
    // than the hash.
    if (keeps_stamps && in.set().casekeys == 0 && uses_builtin_hash(in)) {
        const std::uint32_t stamp = stamp_of(of);
        if (node != nullptr) {
            // Of the keys that a full table has, a third are not the first of their bucket, and the
            // processor cannot foresee which: the first or the second is taken without a branch.
            // The rest of the first is asked for already, in case it is the one.
            fetch_rest(*node);
            links *const second_or_first[] = {node->next, node};
            node = second_or_first[in.stamp(*node) == stamp];
        }
        while (node != nullptr && !(in.stamp(*node) == stamp && is_key(in, *node, key, of.size))) {
            node = node->next;
        }
        return node;
    }
    while (node != nullptr && keycmp(in, key, in.key(*node)) != 0) {
        node = node->next;
    }
    return node;
}

// Where a key is, or would be: `node` is null where there is no such key.
struct place {
    links *bucket;
    links *node;
    const char *key;
    measured of; // the key
};

// Always inline: its frame would go beyond the stack that tools/size allows a call.
[[gnu::always_inline]] inline place locate(table in, const char *key, const measured &of)
{
    links *bucket = in.bucket(of.hash);
    return {bucket, find_in(in, *bucket, key, of), key, of};
}

inline place locate(table in, const char *key)
{
    return locate(in, key, measure(in, key));
}

// The node of the key, in a table that has buckets; null if there is none.
inline links *find(table in, const char *key)
{
    return locate(in, key).node;
}

// The same for a table and a key that may be missing or released.
links *lookup(table in, const char *key);

// Size and hash in `to` of the key of a node of `from`. The key is not read where its stamp tells
// both.
inline measured measure_key_of(table from, const links &node, table to)
{
    const char *key = from.key(node);
    if (keeps_stamps && uses_builtin_hash(from) && uses_builtin_hash(to) &&
        to.set().hashsize - 1 <= stamped_hash) {
        const std::uint32_t stamp = from.stamp(node);
        const std::size_t size = stamp >> stamped_hash_bits;
        return {size < long_size ? size : std::strlen(key) + 1, stamp & stamped_hash};
    }
    return measure(to, key);
}

// Where in `to` the key of a node of `from` is, or would be.
inline place locate_key_of(table from, const links &node, table to)
{
    return locate(to, from.key(node), measure_key_of(from, node, to));
}

// The same for a `to` that began empty and was given nothing but nodes of `from`, each of them once:
// between case-sensitive tables there is nothing to look for, since no two keys have the same spelling.
inline place locate_copy_of(table from, const links &node, table to)
{
    const measured of = measure_key_of(from, node, to);
    if (from.set().casekeys != 0 || to.set().casekeys != 0) {
        return locate(to, from.key(node), of);
    }
    return {to.bucket(of.hash), nullptr, from.key(node), of};
}

// The node of such a key in `to`; null if there is none, also where `to` has no buckets.
inline links *lookup_key_of(table from, const links &node, table to)
{
    return has_buckets(to) ? locate_key_of(from, node, to).node : nullptr;
}

// Appends a node to a bucket, and counts it.
void append_node(table in, links &bucket, links &node);

// The same for the node of the place's key, which keeps the key's stamp.
inline void link_node(table in, const place &at, links &node)
{
    in.keep_stamp(node, at.of);
    append_node(in, *at.bucket, node);
}

// Takes the node of the place out of the table. The caller disposes of it.
inline void unlink_node(table in, const place &at)
{
    chain_remove(*at.bucket, *at.node);
    --in.numkeys();
}

// One short on purpose: a limit of N admits N - 1 keys.
inline bool at_key_limit(table in)
{
    return in.maxkeys() >= 0 && in.numkeys() >= in.maxkeys() - 1;
}

// What is needed some buckets on: the first node, or of an empty bucket the bucket itself, since to ask
// for null would cost a walk through the page tables.
inline const links *needed_after(table in, std::uint32_t bucket)
{
    constexpr std::uint32_t distance = 8;
    const links *later = in.bucket(bucket + distance);
    if (later->next != nullptr) {
        later = later->next;
    }
    return later;
}

// Asks for it early, where buckets are visited one after the other. Inlined always, as above, and so
// without a branch: gcc's coverage would count it in the copies that the linker discards, too.
[[gnu::always_inline]] inline void fetch_ahead(table in, std::uint32_t bucket)
{
    const links *later = needed_after(in, bucket);
    __builtin_prefetch(later);
    fetch_rest(*later);
}

// Iteration order: buckets by index, each chain from its first node. The two steps that it is made
// of serve the public iterators; `bucket` ends at hashsize or above.
inline links *first_from(table in, std::uint32_t &bucket)
{
    for (; bucket < in.set().hashsize; ++bucket) {
        fetch_ahead(in, bucket);
        if (links *node = in.set().buckets[bucket].next) {
            return node;
        }
    }
    return nullptr;
}

inline links *next_after(table in, const links &node, std::uint32_t &bucket)
{
    if (node.next != nullptr) {
        return node.next;
    }
    // Polled past its end for 2^32 calls, an iterator must not begin anew.
    if (bucket != UINT32_MAX) {
        ++bucket;
    }
    return first_from(in, bucket);
}

// for (links &node : nodes(table)), over a table that does not change meanwhile.
class nodes {
  public:
    class iterator {
      public:
        explicit iterator(table in) : in_(in), node_(first_from(in, bucket_))
        {
        }
        links &operator*() const
        {
            return *node_;
        }
        bool operator!=(std::nullptr_t) const
        {
            return node_ != nullptr;
        }
        iterator &operator++()
        {
            node_ = next_after(in_, *node_, bucket_);
            return *this;
        }

      private:
        table in_;
        std::uint32_t bucket_ = 0;
        links *node_;
    };

    explicit nodes(table in) : in_(in)
    {
    }
    iterator begin() const
    {
        return iterator(in_);
    }
    std::nullptr_t end() const
    {
        return nullptr;
    }

  private:
    table in_;
};

// The key at a position of the iteration order, counted from 0; null when there is none.
const char *key_name(table in, std::int32_t ordinal);

// The fields that every record has: 0, or 12, which leaves the record released. So does a size of 0,
// since no bucket could hold a key.
int init(table in, std::uint32_t hashsize);

// Disposes of a node that is linked nowhere.
using release_fn = void (*)(links &node);

// Empties the table: 0, or 22 if it has no buckets.
int clear(table in, release_fn release);

// Gives back the bucket array of a cleared table. Limits and casekeys keep their values.
void release_buckets(table in);

int sethashsize(table in, std::uint32_t size);
int sethashfunc(table in, map_hash_fn hashfunc);

// Where keys become equal, the first in iteration order survives; absorb disposes of each later
// node, which is linked nowhere.
using absorb_fn = void (*)(table in, links &survivor, links &node);
int setcasekeys(table in, std::uint32_t flag, absorb_fn absorb);

// Stores a limit, unless it lies below what is there already.
int set_limit(std::int32_t &limit, std::int32_t value, std::int32_t present);

} // namespace textmaps
