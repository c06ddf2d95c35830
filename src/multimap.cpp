// The multimap core: a value is refused where its key holds an equal one.
#include "multimap_internal.h"
#include "table/sort.hpp"
#include "table/value_list.hpp"

#include <cstring>

namespace textmaps {

namespace {

// The layout of the records is the binary interface. A word is a pointer.
constexpr std::size_t word = sizeof(void *);

static_assert(offsetof(multimap_t, maxkeys) == 0);
static_assert(offsetof(multimap_t, maxvalues) == 4);
static_assert(offsetof(multimap_t, numkeys) == 8);
static_assert(offsetof(multimap_t, numvalues) == 12);
static_assert(offsetof(multimap_t, casekeys) == 16);
static_assert(offsetof(multimap_t, hashsize) == 20);
static_assert(offsetof(multimap_t, hashfunc) == 24);
static_assert(offsetof(multimap_t, buckets) == 24 + word);
static_assert(sizeof(multimap_t) == 24 + 2 * word);

static_assert(offsetof(multimap_key_t, next) == 0);
static_assert(offsetof(multimap_key_t, prev) == word);
static_assert(offsetof(multimap_key_t, key) == 2 * word);
static_assert(offsetof(multimap_key_t, count) == 3 * word);
static_assert(offsetof(multimap_key_t, values.first) == 4 * word);
static_assert(offsetof(multimap_key_t, values.last) == 5 * word);
static_assert(sizeof(multimap_key_t) == 6 * word);

static_assert(offsetof(multimap_value_t, next) == 0);
static_assert(offsetof(multimap_value_t, prev) == word);
static_assert(offsetof(multimap_value_t, data) == 2 * word);
static_assert(offsetof(multimap_value_t, len) == 3 * word);
static_assert(sizeof(multimap_value_t) == 4 * word);

static_assert(offsetof(multimap_key_iter_t, map) == 0);
static_assert(offsetof(multimap_key_iter_t, bucket) == word);
static_assert(offsetof(multimap_key_iter_t, node) == 2 * word);
static_assert(sizeof(multimap_key_iter_t) == 3 * word);

static_assert(offsetof(multimap_value_iter_t, map) == 0);
static_assert(offsetof(multimap_value_iter_t, key) == word);
static_assert(offsetof(multimap_value_iter_t, node) == 2 * word);
static_assert(sizeof(multimap_value_iter_t) == 3 * word);

static_assert(offsetof(multimap_sort_item_t, key) == 0);
static_assert(offsetof(multimap_sort_item_t, ordinal) == word);
static_assert(sizeof(multimap_sort_item_t) == 2 * word);

// The records that both families of lists have under their own names.
static_assert(sizeof(lists) == sizeof(multimap_t));
static_assert(sizeof(key_node) == sizeof(multimap_key_t));

lists *as_lists(const multimap_t *map)
{
    return reinterpret_cast<lists *>(const_cast<multimap_t *>(map));
}

key_iter *as_iter(const multimap_key_iter_t *iter)
{
    return reinterpret_cast<key_iter *>(const_cast<multimap_key_iter_t *>(iter));
}

multimap_value_t *as_value(value_node *value)
{
    return reinterpret_cast<multimap_value_t *>(value);
}

constexpr adding refusing_equal{sizeof(multimap_value_t), false, equal_value::refuse};
constexpr adding skipping_equal{sizeof(multimap_value_t), false, equal_value::skip};

// Frees the value that pick(key node) gives: 0, or 2 where there is no key or pick gives null.
template <class Pick>
int drop(multimap_t *map, const char *key, Pick pick)
{
    const place at = locate(table_of(as_lists(map)), key);
    value_node *value = at.node != nullptr ? pick(as_key(at.node)) : nullptr;
    if (value == nullptr) {
        return ENOENT;
    }
    drop_value(as_lists(map), at, value);
    return 0;
}

void print_header(table in, print_fn print, void *context)
{
    print_header("multimap", in, print, context);
}

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_multimap_hashlist(const multimap_t *map, const char *key)
{
    return hashlist(table_of(as_lists(map)), key);
}

int _multimap_keycmp(const multimap_t *map, const char *a, const char *b)
{
    return keycmp(table_of(as_lists(map)), a, b);
}

multimap_key_t *_multimap_entry(const multimap_t *map, const char *key)
{
    return reinterpret_cast<multimap_key_t *>(find_key(as_lists(map), key));
}

multimap_value_t *_multimap_value(const multimap_t *map, const char *key, const void *data,
                                  uint32_t len)
{
    const key_node *node = find_key(as_lists(map), key);
    return node != nullptr ? as_value(find_value(*node, data, len)) : nullptr;
}

int multimap_init(multimap_t *map)
{
    return init_lists(as_lists(map), default_hashsize);
}

int multimap_destroy(multimap_t *map)
{
    return destroy_lists(as_lists(map));
}

int multimap_clear(multimap_t *map)
{
    return clear_lists(as_lists(map));
}

int multimap_insert(multimap_t *map, const char *key, const void *data, uint32_t len)
{
    return add_value(as_lists(map), key, data, len, refusing_equal);
}

int multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                  uint32_t *index)
{
    if (unusable(as_lists(map), key) || data == nullptr) {
        return EINVAL;
    }
    const key_node *node = find_key(as_lists(map), key);
    uint32_t position;
    if (node == nullptr || find_value(*node, data, len, position) == nullptr) {
        return ENOENT;
    }
    if (index != nullptr) {
        *index = position;
    }
    return 0;
}

int multimap_delete(multimap_t *map, const char *key, const void *data, uint32_t len)
{
    if (unusable(as_lists(map), key) || data == nullptr) {
        return EINVAL;
    }
    return drop(map, key, [=](const key_node &node) { return find_value(node, data, len); });
}

int multimap_remove(multimap_t *map, const char *key, uint32_t index)
{
    if (unusable(as_lists(map), key)) {
        return EINVAL;
    }
    return drop(map, key, [=](const key_node &node) { return value_at(node, index); });
}

int multimap_erase(multimap_t *map, const char *key)
{
    return erase_key(as_lists(map), key);
}

int multimap_index(const multimap_t *map, const char *key, uint32_t index, const void **data,
                   uint32_t *len)
{
    return index_value(as_lists(map), key, index, data, len);
}

int multimap_haskey(const multimap_t *map, const char *key)
{
    return !isempty(table_of(as_lists(map))) && find_key(as_lists(map), key) != nullptr;
}

const char *multimap_key_first(const multimap_t *map, multimap_key_iter_t *iter)
{
    return key_first(as_lists(map), as_iter(iter));
}

const char *multimap_key_next(multimap_key_iter_t *iter)
{
    return key_next(as_iter(iter));
}

const char *multimap_key_elem(const multimap_key_iter_t *iter)
{
    return key_elem(as_iter(iter));
}

const void *multimap_value_first(const multimap_t *map, const char *key,
                                 multimap_value_iter_t *iter)
{
    if (unusable(as_lists(map), key) || iter == nullptr) {
        return nullptr;
    }
    const key_node *node = find_key(as_lists(map), key);
    iter->map = map;
    iter->key = key;
    iter->node = node != nullptr ? as_value(first_value(*node)) : nullptr;
    return multimap_value_elem(iter);
}

const void *multimap_value_next(multimap_value_iter_t *iter)
{
    return on_value(iter) ? value_next(iter) : nullptr;
}

const void *multimap_value_elem(const multimap_value_iter_t *iter)
{
    return value_elem(iter);
}

uint32_t multimap_value_size(const multimap_value_iter_t *iter)
{
    return value_size(iter);
}

uint32_t multimap_value_count(const multimap_value_iter_t *iter)
{
    const key_node *node = on_value(iter) ? find_key(as_lists(iter->map), iter->key) : nullptr;
    return node != nullptr ? node->count : 0;
}

int multimap_isempty(const multimap_t *map)
{
    return isempty(table_of(as_lists(map)));
}

int multimap_key_count(const multimap_t *map, uint32_t *count)
{
    if (map == nullptr || count == nullptr) {
        return EINVAL;
    }
    *count = static_cast<uint32_t>(map->numkeys);
    return 0;
}

const char *multimap_key_name(const multimap_t *map, int32_t ordinal)
{
    return key_name(table_of(as_lists(map)), ordinal);
}

int _multimap_sort(const multimap_t *map, multimap_sort_item_t **items, int32_t *count)
{
    return sort_keys(table_of(as_lists(map)), reinterpret_cast<sort_items *>(items), count);
}

void multimap_print(const multimap_t *map, multimap_print_fn fn, void *context)
{
    print_lists(as_lists(map), fn, context);
}

void multimap_dump(const multimap_t *map, FILE *stream)
{
    dump(table_of(as_lists(map)), {print_header, print_values}, stream);
}

uint32_t multimap_sndump(const multimap_t *map, char *buffer, uint32_t size)
{
    return sndump(table_of(as_lists(map)), {print_header, print_values}, buffer, size);
}

int multimap_sethashsize(multimap_t *map, uint32_t size)
{
    return sethashsize(table_of(as_lists(map)), size);
}

int multimap_sethashfunc(multimap_t *map, map_hash_fn fn)
{
    return sethashfunc(table_of(as_lists(map)), fn);
}

int multimap_setcasekeys(multimap_t *map, uint32_t flag)
{
    return setcasekeys_lists(as_lists(map), flag);
}

int multimap_setmaxkeys(multimap_t *map, int32_t limit)
{
    return map == nullptr ? EINVAL : set_limit(map->maxkeys, limit, map->numkeys);
}

int multimap_setmaxvalues(multimap_t *map, int32_t limit)
{
    return map == nullptr ? EINVAL : set_limit(map->maxvalues, limit, map->numvalues);
}

int multimap_isequal(const multimap_t *a, const multimap_t *b)
{
    return isequal_lists(as_lists(a), as_lists(b));
}

int multimap_intersection(const multimap_t *a, const multimap_t *b, multimap_t *dst)
{
    return intersection(as_lists(a), as_lists(b), as_lists(dst), refusing_equal);
}

int multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst)
{
    int result = start(as_lists(a), as_lists(b), as_lists(dst));
    if (result != 0) {
        return result;
    }
    result = add_all(as_lists(dst), as_lists(a), refusing_equal);
    return finish(as_lists(dst), result != 0 ? result : multimap_merge(b, dst));
}

int multimap_merge(const multimap_t *src, multimap_t *dst)
{
    if (src == nullptr || dst == nullptr) {
        return EINVAL;
    }
    return dst == src ? 0 : add_all(as_lists(dst), as_lists(src), skipping_equal);
}

int multimap_copy(const multimap_t *src, multimap_t *dst)
{
    return copy_lists(as_lists(src), as_lists(dst), refusing_equal);
}
