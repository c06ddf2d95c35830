// A key and its list of values: what the multimap and the arraymap have in common, once for both.
//
//     key node                                                   value node
//     +------+------+-----+-------+---------------+---------+    +------+------+------+-----+-------+
//     | next | prev | key | count | values: first | last    |    | next | prev | data | len | bytes |
//     +------+------+-----+-------+-----------|---+---------+    +------+------+--|---+-----+-------+
//                      |          text of the | key         |    ^                |         ^
//                      +--------> +-----------|-------------+    |                +---------+
//                                             +------------------+
//
// Both queues are tail queues: keys in their bucket, values under their key. A key exists as long
// as it holds a value. The records here are those of both families' headers under one name.
#pragma once

#include "listing.hpp"

namespace textmaps {

struct [[gnu::may_alias]] lists {
    std::int32_t maxkeys;
    std::int32_t maxvalues;
    std::int32_t numkeys;
    std::int32_t numvalues;
    settings set;
};

struct [[gnu::may_alias]] value_node {
    links link;
    const void *data;
    std::uint32_t len;
};

struct [[gnu::may_alias]] key_node {
    links link;
    const char *key;
    std::uint32_t count;
    links values;
};

constexpr layout lists_layout = make_layout(8, 16, 2 * sizeof(void *));

inline table table_of(const lists *in)
{
    return {in, lists_layout};
}

// Whether there is nothing in which the key could be looked up.
inline bool unusable(const lists *in, const char *key)
{
    return !has_buckets(table_of(in)) || key == nullptr;
}

// The node of a key, where there is one.
inline key_node &as_key(const links *node)
{
    return *reinterpret_cast<key_node *>(const_cast<links *>(node));
}

// The key, which may be missing or released as its container; null if there is none.
key_node *find_key(const lists *in, const char *key);

// for (value_node *value = first_value(key); value != nullptr; value = next_value(*value))
value_node *first_value(const key_node &key);
value_node *next_value(const value_node &value);

// An arraymap's value has its index behind the length.
using index_field [[gnu::may_alias]] = std::uint32_t;
constexpr std::size_t index_offset = 3 * sizeof(void *) + 4;
index_field &index_of(value_node &value);

bool is_equal(const value_node &value, const void *data, std::uint32_t length);

// The first value of these bytes, and its position; null if there is none.
value_node *find_value(const key_node &key, const void *data, std::uint32_t length,
                       std::uint32_t &position);
value_node *find_value(const key_node &key, const void *data, std::uint32_t length);

// The value at a position of the list, counted from 0; null behind its end.
value_node *value_at(const key_node &key, std::uint32_t position);

int init_lists(lists *in, std::uint32_t hashsize);
int clear_lists(lists *in);

// Unlike the map's, it fails for a table that is released.
int destroy_lists(lists *in);

// What a family does with a value that its key holds already.
enum class equal_value : std::uint8_t { refuse, skip, add };

// How a family adds values: the size of a value's header, and whether it has an index, in bytes.
struct adding {
    std::uint8_t header;
    bool indexed;
    equal_value present;
};

// Header and bytes in one block, linked nowhere; null when there is no memory.
value_node *make_value(std::uint8_t header, const void *data, std::uint32_t length);

// Adds a value at the end of the key's list, with the key if that is new: 0; 1 if it is refused, for
// the value's sake or at the key limit; 22; 12.
int add_value(lists *in, const char *key, const void *data, std::uint32_t length, adding how);

// Frees one value, and its key with the last. Whether the key is still there.
bool drop_value(lists *in, const place &at, value_node *value);

int erase_key(lists *in, const char *key);

// A value by its position.
int index_value(const lists *in, const char *key, std::uint32_t position, const void **data,
                std::uint32_t *length);

// Iterators over keys. After the end they stay on the last key, in the bucket hashsize.
struct [[gnu::may_alias]] key_iter {
    const lists *map;
    std::uint32_t bucket;
    const key_node *node;
};

const char *key_elem(const key_iter *iter);
const char *key_first(const lists *in, key_iter *iter);
const char *key_next(key_iter *iter);

// Iterators over the values of a key. After the end they stay on the last value.

template <class Iter>
bool on_value(const Iter *iter)
{
    return iter != nullptr && iter->map != nullptr && iter->key != nullptr && iter->node != nullptr;
}

template <class Iter>
const void *value_elem(const Iter *iter)
{
    return on_value(iter) ? iter->node->data : nullptr;
}

template <class Iter>
std::uint32_t value_size(const Iter *iter)
{
    return on_value(iter) ? iter->node->len : 0;
}

// On the next value of an iterator that is on one.
template <class Iter>
const void *value_next(Iter *iter)
{
    const auto *next = iter->node->next;
    if (next == nullptr) {
        return nullptr;
    }
    iter->node = next;
    return next->data;
}

// One line for each value of a key.
void print_values(const char *name, const links &node, print_fn print, void *context);

void print_header(const char *family, table in, print_fn print, void *context);

// What a print, which has no header, is for both families.
void print_lists(const lists *in, print_fn print, void *context);

int setcasekeys_lists(lists *in, std::uint32_t flag);

// Whole tables. Each key is hashed once for each table, however many values it has.

// Adds the values of all keys, or of those in so many buckets; the first failure ends it.
int add_all(lists *dst, const lists *src, adding how, std::uint32_t buckets = UINT32_MAX);

// Readies dst for what a set operation makes of a and b: 0, or a failure. dst may not be a source.
int start(const lists *a, const lists *b, lists *dst);

// What the operation gives: dst keeps nothing of one that failed.
int finish(lists *dst, int result);

int intersection(const lists *a, const lists *b, lists *dst, adding how);
int copy_lists(const lists *src, lists *dst, adding how);

// Whether both hold as many keys and values, and b holds each value of a.
bool isequal_lists(const lists *a, const lists *b);

} // namespace textmaps
