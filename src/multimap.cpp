// The multimap core: a value is refused where its key holds an equal one.
#include "multimap_internal.h"
#include "table/value_list.hpp"

#include <cstddef>

namespace textmaps {

template <>
struct node_type<multimap_t> {
    using type = multimap_key_t;
};

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

// The values added to one target are distinct among themselves: they are sought among those that
// the key had before.
bool holds(const target<multimap_t> &to, const void *data, uint32_t len)
{
    return to.held != nullptr && find_value(*to.held, data, len) != nullptr;
}

int put(target<multimap_t> &to, const void *data, uint32_t len)
{
    return holds(to, data, len) ? refused
                                : append_value(to, make_value<multimap_value_t>(data, len));
}

// Frees the value that pick(key node) gives: 0, or 2 where there is no key or pick gives null.
template <class Pick>
int drop(multimap_t &map, const char *key, Pick pick)
{
    const auto at = locate(map, key);
    auto *value = at.node != nullptr ? pick(*at.node) : nullptr;
    if (value == nullptr) {
        return ENOENT;
    }
    drop_value(map, at, value);
    return 0;
}

constexpr auto put_value = [](target<multimap_t> &to, const multimap_value_t &value) {
    return put(to, value.data, value.len);
};

constexpr auto put_missing_value = [](target<multimap_t> &to, const multimap_value_t &value) {
    return holds(to, value.data, value.len)
               ? 0
               : append_value(to, make_value<multimap_value_t>(value.data, value.len));
};

constexpr auto render = [](const multimap_t &map, print_fn print, void *context) {
    print_with_header("multimap", map, print, context);
};

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_multimap_hashlist(const multimap_t *map, const char *key)
{
    return hashlist(*map, key);
}

int _multimap_keycmp(const multimap_t *map, const char *a, const char *b)
{
    return keycmp(*map, a, b);
}

multimap_key_t *_multimap_entry(const multimap_t *map, const char *key)
{
    return lookup(map, key);
}

multimap_value_t *_multimap_value(const multimap_t *map, const char *key, const void *data,
                                  uint32_t len)
{
    const multimap_key_t *node = lookup(map, key);
    return node != nullptr ? find_value(*node, data, len) : nullptr;
}

int multimap_init(multimap_t *map)
{
    return map == nullptr ? EINVAL : init_lists(*map, default_hashsize);
}

int multimap_destroy(multimap_t *map)
{
    return destroy_lists(map);
}

int multimap_clear(multimap_t *map)
{
    return clear_lists(map);
}

int multimap_insert(multimap_t *map, const char *key, const void *data, uint32_t len)
{
    if (!has_buckets(map) || key == nullptr || data == nullptr) {
        return EINVAL;
    }
    auto to = target_in(*map, key);
    return put(to, data, len);
}

int multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                  uint32_t *index)
{
    if (!has_buckets(map) || key == nullptr || data == nullptr) {
        return EINVAL;
    }
    const multimap_key_t *node = find(*map, key);
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
    if (!has_buckets(map) || key == nullptr || data == nullptr) {
        return EINVAL;
    }
    return drop(*map, key, [=](const multimap_key_t &node) { return find_value(node, data, len); });
}

int multimap_remove(multimap_t *map, const char *key, uint32_t index)
{
    if (!has_buckets(map) || key == nullptr) {
        return EINVAL;
    }
    return drop(*map, key, [=](const multimap_key_t &node) { return value_at(node, index); });
}

int multimap_erase(multimap_t *map, const char *key)
{
    return erase(map, key);
}

int multimap_index(const multimap_t *map, const char *key, uint32_t index, const void **data,
                   uint32_t *len)
{
    return index_value(map, key, index, data, len);
}

int multimap_haskey(const multimap_t *map, const char *key)
{
    return haskey(map, key);
}

const char *multimap_key_first(const multimap_t *map, multimap_key_iter_t *iter)
{
    return key_first(map, iter);
}

const char *multimap_key_next(multimap_key_iter_t *iter)
{
    return key_next(iter);
}

const char *multimap_key_elem(const multimap_key_iter_t *iter)
{
    return key_elem(iter);
}

const void *multimap_value_first(const multimap_t *map, const char *key,
                                 multimap_value_iter_t *iter)
{
    if (!has_buckets(map) || key == nullptr || iter == nullptr) {
        return nullptr;
    }
    const multimap_key_t *node = find(*map, key);
    iter->map = map;
    iter->key = key;
    iter->node = node != nullptr ? node->values.first : nullptr;
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
    const multimap_key_t *node = on_value(iter) ? lookup(iter->map, iter->key) : nullptr;
    return node != nullptr ? node->count : 0;
}

int multimap_isempty(const multimap_t *map)
{
    return isempty(map);
}

int multimap_key_count(const multimap_t *map, uint32_t *count)
{
    return key_count(map, count);
}

const char *multimap_key_name(const multimap_t *map, int32_t ordinal)
{
    return key_name(map, ordinal);
}

int _multimap_sort(const multimap_t *map, multimap_sort_item_t **items, int32_t *count)
{
    return sort_keys(*map, items, count);
}

void multimap_print(const multimap_t *map, multimap_print_fn fn, void *context)
{
    if (fn != nullptr) {
        print_all(map, fn, context, print_sorted<multimap_t>);
    }
}

void multimap_dump(const multimap_t *map, FILE *stream)
{
    dump(map, stream, render);
}

uint32_t multimap_sndump(const multimap_t *map, char *buffer, uint32_t size)
{
    return sndump(map, buffer, size, render);
}

int multimap_sethashsize(multimap_t *map, uint32_t size)
{
    return sethashsize(map, size);
}

int multimap_sethashfunc(multimap_t *map, map_hash_fn fn)
{
    return sethashfunc(map, fn);
}

int multimap_setcasekeys(multimap_t *map, uint32_t flag)
{
    return setcasekeys_lists(map, flag);
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
    return isequal(a, b);
}

int multimap_intersection(const multimap_t *a, const multimap_t *b, multimap_t *dst)
{
    return intersection(a, b, dst, put_value);
}

int multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst)
{
    return combine(a, b, dst, [=] {
        const int result = add_all(*dst, *a, put_value);
        return result != 0 ? result : multimap_merge(b, dst);
    });
}

int multimap_merge(const multimap_t *src, multimap_t *dst)
{
    if (src == nullptr || dst == nullptr) {
        return EINVAL;
    }
    return dst == src ? 0 : add_all(*dst, *src, put_missing_value);
}

int multimap_copy(const multimap_t *src, multimap_t *dst)
{
    return copy(src, dst, put_value);
}
