// A key and its list of values: what the multimap and the arraymap have in common.
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
// as it holds a value. A Table has the fields of table.hpp, and numvalues and maxvalues.
#pragma once

#include "listing.hpp"

#include <type_traits>

namespace textmaps {

template <class Key>
using value_in = std::remove_pointer_t<decltype(Key::values.first)>;

template <class Table>
using value_of = value_in<node_of<Table>>;

template <class Key>
chained<value_in<Key>> values(const Key &key)
{
    return chained<value_in<Key>>(key.values);
}

template <class Value>
bool is_equal(const Value &value, const void *data, std::uint32_t length)
{
    return value.len == length && std::memcmp(value.data, data, length) == 0;
}

// The first value of these bytes, and its position; null if there is none.
template <class Key>
value_in<Key> *find_value(const Key &key, const void *data, std::uint32_t length,
                          std::uint32_t &position)
{
    position = 0;
    for (auto &value : values(key)) {
        if (is_equal(value, data, length)) {
            return &value;
        }
        ++position;
    }
    return nullptr;
}

template <class Key>
value_in<Key> *find_value(const Key &key, const void *data, std::uint32_t length)
{
    std::uint32_t position;
    return find_value(key, data, length, position);
}

// The value at a position of the list, counted from 0; null behind its end.
template <class Key>
value_in<Key> *value_at(const Key &key, std::uint32_t position)
{
    if (position >= key.count) {
        return nullptr;
    }
    auto *value = chain_first<value_in<Key>>(key.values);
    for (; position != 0; --position) {
        value = chain_next(*value);
    }
    return value;
}

template <class Table>
int init_lists(Table &table, std::uint32_t hashsize)
{
    table.maxvalues = -1;
    table.numvalues = 0;
    return init(table, hashsize);
}

// Header and bytes in one block, linked nowhere; null when there is no memory.
template <class Value>
Value *make_value(const void *data, std::uint32_t length)
{
    auto *value = static_cast<Value *>(allocate_node(sizeof(Value), length, 0));
    if (value != nullptr) {
        value->data = std::memcpy(value + 1, data, length);
        value->len = length;
    }
    return value;
}

// Header and text in one block, without values and linked nowhere; null as above.
template <class Key>
Key *make_key(const char *key)
{
    const std::size_t keysz = std::strlen(key) + 1;
    auto *node = static_cast<Key *>(allocate_node(sizeof(Key), keysz, 0));
    if (node != nullptr) {
        node->key = static_cast<char *>(std::memcpy(node + 1, key, keysz));
        node->count = 0;
        chain_init(node->values);
    }
    return node;
}

// A key that values are added to. `held` is its node as it was found, `at.node` as it is now: null
// while the table has no such key.
template <class Table>
struct target {
    Table &table;
    const char *key;
    place<Table> at;
    const node_of<Table> *held;
};

template <class Table>
target<Table> target_in(Table &table, const char *key)
{
    const auto at = locate(table, key);
    return {table, key, at, at.node};
}

// Adds the key, where it is new: 0, 1 at the key limit, 12.
template <class Table>
int add_key(target<Table> &to)
{
    if (at_key_limit(to.table)) {
        return refused;
    }
    to.at.node = make_key<node_of<Table>>(to.key);
    if (to.at.node == nullptr) {
        return ENOMEM;
    }
    chain_append(to.at.bucket, *to.at.node);
    ++to.table.numkeys;
    return 0;
}

// Appends a new value to the key's list, with the key if that is new. The value is the table's
// then, or freed; a null one means that there was no memory for it.
template <class Table>
int append_value(target<Table> &to, value_of<Table> *value)
{
    if (value == nullptr) {
        return ENOMEM;
    }
    const int result = to.at.node != nullptr ? 0 : add_key(to);
    if (result != 0) {
        std::free(value);
        return result;
    }
    chain_append(to.at.node->values, *value);
    ++to.at.node->count;
    ++to.table.numvalues;
    return 0;
}

// Frees a key that is linked nowhere, and its values.
template <class Table>
void release_key(Table &table, node_of<Table> *node)
{
    while (auto *value = chain_take_first<value_of<Table>>(node->values)) {
        --table.numvalues;
        std::free(value);
    }
    std::free(node);
}

// Frees one value, and its key with the last. Whether the key is still there.
template <class Table>
bool drop_value(Table &table, const place<Table> &at, value_of<Table> *value)
{
    chain_remove(at.node->values, *value);
    --at.node->count;
    --table.numvalues;
    std::free(value);
    if (at.node->count != 0) {
        return true;
    }
    unlink_node(table, at);
    release_key(table, at.node);
    return false;
}

template <class Table>
int erase(Table *table, const char *key)
{
    if (!has_buckets(table) || key == nullptr) {
        return EINVAL;
    }
    const auto at = locate(*table, key);
    if (at.node == nullptr) {
        return ENOENT;
    }
    unlink_node(*table, at);
    release_key(*table, at.node);
    return 0;
}

template <class Table>
int clear_lists(Table *table)
{
    return clear(table, [table](node_of<Table> *node) { release_key(*table, node); });
}

// Unlike the map's, it fails for a table that is released.
template <class Table>
int destroy_lists(Table *table)
{
    const int result = clear_lists(table);
    if (result == 0) {
        release_buckets(*table);
    }
    return result;
}

// A value by its position.
template <class Table>
int index_value(const Table *table, const char *key, std::uint32_t position, const void **data,
                std::uint32_t *length)
{
    if (!has_buckets(table) || key == nullptr) {
        return EINVAL;
    }
    const auto *node = find(*table, key);
    const auto *value = node != nullptr ? value_at(*node, position) : nullptr;
    if (data != nullptr) {
        *data = value != nullptr ? value->data : nullptr;
    }
    if (length != nullptr) {
        *length = value != nullptr ? value->len : 0;
    }
    return value != nullptr ? 0 : ENOENT;
}

// Iterators over keys. After the end they stay on the last key, in the bucket hashsize.

template <class Iter>
const char *key_elem(const Iter *iter)
{
    return iter != nullptr && iter->map != nullptr && iter->node != nullptr ? iter->node->key
                                                                            : nullptr;
}

template <class Table, class Iter>
const char *key_first(const Table *table, Iter *iter)
{
    if (!has_buckets(table) || iter == nullptr) {
        return nullptr;
    }
    iter->map = table;
    iter->bucket = 0;
    iter->node = first_from(*table, iter->bucket);
    return key_elem(iter);
}

template <class Iter>
const char *key_next(Iter *iter)
{
    if (key_elem(iter) == nullptr) {
        return nullptr;
    }
    const auto *next = next_after(*iter->map, *iter->node, iter->bucket);
    if (next == nullptr) {
        iter->bucket = iter->map->hashsize;
        return nullptr;
    }
    iter->node = next;
    return next->key;
}

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
    const auto *next = chain_next(*iter->node);
    if (next == nullptr) {
        return nullptr;
    }
    iter->node = next;
    return next->data;
}

// One line for each value of a key.
template <class Key>
void print_values(const char *name, const Key &key, print_fn print, void *context)
{
    unsigned int position = 0;
    for (const auto &value : values(key)) {
        print(context, " %s[%u]=%.*s\n", name, position++, precision(value.len), value.data);
    }
}

template <class Table>
void print_sorted(const Table &table, print_fn print, void *context)
{
    visit_sorted(table, [=](const char *name, const node_of<Table> &key) {
        print_values(name, key, print, context);
    });
}

template <class Table>
void print_with_header(const char *family, const Table &table, print_fn print, void *context)
{
    print(context, "%s %p hashsize=%d numkeys=%d numvalues=%d\n", family,
          static_cast<const void *>(&table), static_cast<int>(table.hashsize), table.numkeys,
          table.numvalues);
    print_sorted(table, print, context);
}

// Of keys that become equal, the values that the surviving key does not hold move to the end of its
// list.
template <class Table>
int setcasekeys_lists(Table *table, std::uint32_t flag)
{
    return setcasekeys(table, flag, [table](node_of<Table> &survivor, node_of<Table> *node) {
        while (auto *value = chain_take_first<value_of<Table>>(node->values)) {
            if (find_value(survivor, value->data, value->len) != nullptr) {
                --table->numvalues;
                std::free(value);
            } else {
                chain_append(survivor.values, *value);
                ++survivor.count;
            }
        }
        std::free(node);
    });
}

// Whole tables. Each key is hashed once for each table, however many values it has. What fills a
// table is given put(target, value), the family's way to add a value of another table.

// Adds the values of one key; the first failure ends it.
template <class Table, class Put>
int add_values(Table &dst, const node_of<Table> &key, Put put)
{
    if (!has_buckets(&dst)) {
        return EINVAL;
    }
    auto to = target_in(dst, key.key);
    for (const auto &value : values(key)) {
        const int result = put(to, value);
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

// Adds the values of all keys, as above; at most those of so many buckets.
template <class Table, class Put>
int add_all(Table &dst, const Table &src, Put put, std::uint32_t buckets = UINT32_MAX)
{
    for (std::uint32_t i = 0; i < std::min(buckets, src.hashsize); ++i) {
        for (const auto &key : chained<node_of<Table>>(src.buckets[i])) {
            const int result = add_values(dst, key, put);
            if (result != 0) {
                return result;
            }
        }
    }
    return 0;
}

// Makes dst hold what add() adds, or nothing if that fails. The sources are not to be emptied.
template <class Table, class Add>
int combine(const Table *a, const Table *b, Table *dst, Add add)
{
    if (a == nullptr || b == nullptr || dst == nullptr || dst == a || dst == b) {
        return EINVAL;
    }
    return refill(
        dst, [dst](node_of<Table> *node) { release_key(*dst, node); }, add);
}

template <class Table, class Put>
int intersection(const Table *a, const Table *b, Table *dst, Put put)
{
    return combine(a, b, dst, [=] {
        for (const auto &key : nodes(*a)) {
            const auto *other = lookup(b, key.key);
            if (other == nullptr) {
                continue;
            }
            const auto put_common = [=](target<Table> &to, const value_of<Table> &value) {
                const bool common = find_value(*other, value.data, value.len) != nullptr;
                return common ? put(to, value) : 0;
            };
            const int result = add_values(*dst, key, put_common);
            if (result != 0) {
                return result;
            }
        }
        return 0;
    });
}

template <class Table, class Put>
int copy(const Table *src, Table *dst, Put put)
{
    return combine(src, src, dst, [=] {
        const int result = dst->hashsize == src->hashsize ? 0 : sethashsize(dst, src->hashsize);
        return result != 0 ? result : add_all(*dst, *src, put);
    });
}

// Whether both hold as many keys and values, and b holds each value of a.
template <class Table>
bool isequal(const Table *a, const Table *b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    if (a->numkeys != b->numkeys || a->numvalues != b->numvalues) {
        return false;
    }
    for (const auto &key : nodes(*a)) {
        const auto *other = find(*b, key.key);
        if (other == nullptr) {
            return false;
        }
        for (const auto &value : values(key)) {
            if (find_value(*other, value.data, value.len) == nullptr) {
                return false;
            }
        }
    }
    return true;
}

} // namespace textmaps
