// The arraymap core: values are addressed by their index, and a key may hold equal ones.
#include "arraymap_internal.h"
#include "table/value_list.hpp"

#include <cstddef>

namespace textmaps {

template <>
struct node_type<arraymap_t> {
    using type = arraymap_key_t;
};

namespace {

// The layout of the records is the binary interface. A word is a pointer.
constexpr std::size_t word = sizeof(void *);

static_assert(offsetof(arraymap_t, maxkeys) == 0);
static_assert(offsetof(arraymap_t, maxvalues) == 4);
static_assert(offsetof(arraymap_t, numkeys) == 8);
static_assert(offsetof(arraymap_t, numvalues) == 12);
static_assert(offsetof(arraymap_t, casekeys) == 16);
static_assert(offsetof(arraymap_t, hashsize) == 20);
static_assert(offsetof(arraymap_t, hashfunc) == 24);
static_assert(offsetof(arraymap_t, buckets) == 24 + word);
static_assert(sizeof(arraymap_t) == 24 + 2 * word);

static_assert(offsetof(arraymap_key_t, next) == 0);
static_assert(offsetof(arraymap_key_t, prev) == word);
static_assert(offsetof(arraymap_key_t, key) == 2 * word);
static_assert(offsetof(arraymap_key_t, count) == 3 * word);
static_assert(offsetof(arraymap_key_t, values.first) == 4 * word);
static_assert(offsetof(arraymap_key_t, values.last) == 5 * word);
static_assert(sizeof(arraymap_key_t) == 6 * word);

static_assert(offsetof(arraymap_value_t, next) == 0);
static_assert(offsetof(arraymap_value_t, prev) == word);
static_assert(offsetof(arraymap_value_t, data) == 2 * word);
static_assert(offsetof(arraymap_value_t, len) == 3 * word);
static_assert(offsetof(arraymap_value_t, index) == 3 * word + 4);
static_assert(sizeof(arraymap_value_t) == 3 * word + 8);

static_assert(offsetof(arraymap_key_iter_t, map) == 0);
static_assert(offsetof(arraymap_key_iter_t, bucket) == word);
static_assert(offsetof(arraymap_key_iter_t, node) == 2 * word);
static_assert(sizeof(arraymap_key_iter_t) == 3 * word);

static_assert(offsetof(arraymap_value_iter_t, map) == 0);
static_assert(offsetof(arraymap_value_iter_t, position) == word);
static_assert(offsetof(arraymap_value_iter_t, key) == 2 * word);
static_assert(offsetof(arraymap_value_iter_t, node) == 3 * word);
static_assert(sizeof(arraymap_value_iter_t) == 4 * word);

static_assert(offsetof(arraymap_sort_item_t, key) == 0);
static_assert(offsetof(arraymap_sort_item_t, ordinal) == word);
static_assert(sizeof(arraymap_sort_item_t) == 2 * word);

int put(target<arraymap_t> &to, const void *data, uint32_t len)
{
    auto *value = make_value<arraymap_value_t>(data, len);
    if (value != nullptr) {
        value->index = to.at.node != nullptr ? to.at.node->count : 0;
    }
    return append_value(to, value);
}

constexpr auto put_value = [](target<arraymap_t> &to, const arraymap_value_t &value) {
    return put(to, value.data, value.len);
};

constexpr auto put_missing_value = [](target<arraymap_t> &to, const arraymap_value_t &value) {
    const auto *held = to.at.node;
    const bool present = held != nullptr && find_value(*held, value.data, value.len) != nullptr;
    return present ? 0 : put(to, value.data, value.len);
};

// By the index field, which is not always the position: see arraymap_setcasekeys.
arraymap_value_t *with_index(const arraymap_key_t &key, uint32_t index)
{
    for (arraymap_value_t &value : values(key)) {
        if (value.index == index) {
            return &value;
        }
    }
    return nullptr;
}

void renumber(const arraymap_key_t &key)
{
    uint32_t index = 0;
    for (arraymap_value_t &value : values(key)) {
        value.index = index++;
    }
}

constexpr auto render = [](const arraymap_t &map, print_fn print, void *context) {
    print_with_header("arraymap", map, print, context);
};

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_arraymap_hashlist(const arraymap_t *map, const char *key)
{
    return hashlist(*map, key);
}

int _arraymap_keycmp(const arraymap_t *map, const char *a, const char *b)
{
    return keycmp(*map, a, b);
}

arraymap_key_t *_arraymap_entry(const arraymap_t *map, const char *key)
{
    return lookup(map, key);
}

arraymap_value_t *_arraymap_value(const arraymap_t *map, const char *key, const void *data,
                                  uint32_t len)
{
    const arraymap_key_t *node = lookup(map, key);
    return node != nullptr ? find_value(*node, data, len) : nullptr;
}

int arraymap_init(arraymap_t *map)
{
    return arraymap_init_special(map, default_hashsize);
}

int arraymap_init_special(arraymap_t *map, uint32_t hashsize)
{
    return map == nullptr ? EINVAL : init_lists(*map, hashsize);
}

int arraymap_destroy(arraymap_t *map)
{
    return destroy_lists(map);
}

int arraymap_clear(arraymap_t *map)
{
    return clear_lists(map);
}

int arraymap_insert(arraymap_t *map, const char *key, const void *data, uint32_t len)
{
    if (!has_buckets(map) || key == nullptr || data == nullptr) {
        return EINVAL;
    }
    auto to = target_in(*map, key);
    return put(to, data, len);
}

int arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                     uint32_t len)
{
    if (!has_buckets(map) || key == nullptr) {
        return EINVAL;
    }
    arraymap_key_t *node = find(*map, key);
    arraymap_value_t *old = node != nullptr ? with_index(*node, index) : nullptr;
    if (old == nullptr) {
        return ENOENT;
    }
    if (data == nullptr && len != 0) {
        return EINVAL;
    }
    auto *value = make_value<arraymap_value_t>(data != nullptr ? data : "", len);
    if (value == nullptr) {
        return ENOMEM;
    }
    value->index = index;
    chain_replace(node->values, *old, *value);
    std::free(old);
    return 0;
}

int arraymap_remove(arraymap_t *map, const char *key, uint32_t index)
{
    if (!has_buckets(map) || key == nullptr) {
        return EINVAL;
    }
    const auto at = locate(*map, key);
    arraymap_value_t *value = at.node != nullptr ? with_index(*at.node, index) : nullptr;
    if (value == nullptr) {
        return ENOENT;
    }
    if (drop_value(*map, at, value)) {
        renumber(*at.node);
    }
    return 0;
}

int arraymap_delete(arraymap_t *map, const char *key, const void *data, uint32_t len)
{
    if (!has_buckets(map) || key == nullptr || data == nullptr) {
        return EINVAL;
    }
    const auto at = locate(*map, key);
    arraymap_value_t *first = at.node != nullptr ? find_value(*at.node, data, len) : nullptr;
    if (first == nullptr) {
        return ENOENT;
    }
    // The caller's bytes may lie in any of the values that go: the others are compared with the
    // first, which goes last.
    for (arraymap_value_t *value = chain_next(*first); value != nullptr;) {
        arraymap_value_t *next = chain_next(*value);
        if (is_equal(*value, first->data, len)) {
            drop_value(*map, at, value);
        }
        value = next;
    }
    if (drop_value(*map, at, first)) {
        renumber(*at.node);
    }
    return 0;
}

int arraymap_erase(arraymap_t *map, const char *key)
{
    return erase(map, key);
}

int arraymap_index(const arraymap_t *map, const char *key, uint32_t position, const void **data,
                   uint32_t *len)
{
    return index_value(map, key, position, data, len);
}

int arraymap_haskey(const arraymap_t *map, const char *key)
{
    return haskey(map, key);
}

const char *arraymap_key_first(const arraymap_t *map, arraymap_key_iter_t *iter)
{
    return key_first(map, iter);
}

const char *arraymap_key_next(arraymap_key_iter_t *iter)
{
    return key_next(iter);
}

const char *arraymap_key_elem(const arraymap_key_iter_t *iter)
{
    return key_elem(iter);
}

const void *arraymap_value_first(const arraymap_t *map, const char *key,
                                 arraymap_value_iter_t *iter)
{
    if (!has_buckets(map) || key == nullptr || iter == nullptr) {
        return nullptr;
    }
    iter->map = map;
    iter->position = 0;
    iter->key = find(*map, key);
    iter->node = iter->key != nullptr ? iter->key->values.first : nullptr;
    return arraymap_value_elem(iter);
}

const void *arraymap_value_next(arraymap_value_iter_t *iter)
{
    if (!on_value(iter)) {
        return nullptr;
    }
    ++iter->position;
    return value_next(iter);
}

const void *arraymap_value_elem(const arraymap_value_iter_t *iter)
{
    return value_elem(iter);
}

uint32_t arraymap_value_size(const arraymap_value_iter_t *iter)
{
    return value_size(iter);
}

uint32_t arraymap_value_index(const arraymap_value_iter_t *iter)
{
    return on_value(iter) ? iter->position : 0;
}

uint32_t arraymap_value_count(const arraymap_value_iter_t *iter)
{
    return on_value(iter) ? iter->key->count : 0;
}

int arraymap_isempty(const arraymap_t *map)
{
    return isempty(map);
}

int arraymap_key_count(const arraymap_t *map, uint32_t *count)
{
    return key_count(map, count);
}

const char *arraymap_key_name(const arraymap_t *map, int32_t ordinal)
{
    return key_name(map, ordinal);
}

int _arraymap_sort(const arraymap_t *map, arraymap_sort_item_t **items, int32_t *count)
{
    return sort_keys(*map, items, count);
}

void arraymap_print(const arraymap_t *map, arraymap_print_fn fn, void *context)
{
    if (fn != nullptr) {
        print_all(map, fn, context, print_sorted<arraymap_t>);
    }
}

void arraymap_dump(const arraymap_t *map, FILE *stream)
{
    dump(map, stream, render);
}

uint32_t arraymap_sndump(const arraymap_t *map, char *buffer, uint32_t size)
{
    return sndump(map, buffer, size, render);
}

int arraymap_sethashsize(arraymap_t *map, uint32_t size)
{
    return sethashsize(map, size);
}

int arraymap_sethashfunc(arraymap_t *map, map_hash_fn fn)
{
    return sethashfunc(map, fn);
}

int arraymap_setcasekeys(arraymap_t *map, uint32_t flag)
{
    return setcasekeys_lists(map, flag);
}

int arraymap_setmaxkeys(arraymap_t *map, int32_t limit)
{
    return map == nullptr ? EINVAL : set_limit(map->maxkeys, limit, map->numkeys);
}

int arraymap_setmaxvalues(arraymap_t *map, int32_t limit)
{
    return map == nullptr ? EINVAL : set_limit(map->maxvalues, limit, map->numvalues);
}

int arraymap_isequal(const arraymap_t *a, const arraymap_t *b)
{
    return isequal(a, b);
}

int arraymap_intersection(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst)
{
    return intersection(a, b, dst, put_value);
}

int arraymap_union(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst)
{
    return combine(a, b, dst, [=] {
        const int result = add_all(*dst, *a, put_value);
        return result != 0 ? result : add_all(*dst, *b, put_missing_value, a->hashsize);
    });
}

int arraymap_merge(const arraymap_t *src, arraymap_t *dst)
{
    return src == nullptr || dst == nullptr || dst == src ? EINVAL : add_all(*dst, *src, put_value);
}

int arraymap_copy(const arraymap_t *src, arraymap_t *dst)
{
    return copy(src, dst, put_value);
}
