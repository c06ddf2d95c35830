// The arraymap core: values are addressed by their index, and a key may hold equal ones.
#include "arraymap_internal.h"
#include "table/sort.hpp"
#include "table/value_list.hpp"

#include <cstring>

namespace textmaps {

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

// The records that both families of lists have under their own names.
static_assert(sizeof(lists) == sizeof(arraymap_t));
static_assert(sizeof(key_node) == sizeof(arraymap_key_t));

lists *as_lists(const arraymap_t *map)
{
    return reinterpret_cast<lists *>(const_cast<arraymap_t *>(map));
}

key_iter *as_iter(const arraymap_key_iter_t *iter)
{
    return reinterpret_cast<key_iter *>(const_cast<arraymap_key_iter_t *>(iter));
}

arraymap_value_t *as_value(value_node *value)
{
    return reinterpret_cast<arraymap_value_t *>(value);
}

constexpr adding adding_equal{sizeof(arraymap_value_t), true, equal_value::add};
constexpr adding skipping_equal{sizeof(arraymap_value_t), true, equal_value::skip};

// By the index field, which is not always the position: see arraymap_setcasekeys.
value_node *with_index(const key_node &key, uint32_t index)
{
    value_node *value = first_value(key);
    while (value != nullptr && index_of(*value) != index) {
        value = next_value(*value);
    }
    return value;
}

void renumber(const key_node &key)
{
    uint32_t index = 0;
    for (value_node *value = first_value(key); value != nullptr; value = next_value(*value)) {
        index_of(*value) = index++;
    }
}

void print_header(table in, print_fn print, void *context)
{
    print_header("arraymap", in, print, context);
}

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_arraymap_hashlist(const arraymap_t *map, const char *key)
{
    return hashlist(table_of(as_lists(map)), key);
}

int _arraymap_keycmp(const arraymap_t *map, const char *a, const char *b)
{
    return keycmp(table_of(as_lists(map)), a, b);
}

arraymap_key_t *_arraymap_entry(const arraymap_t *map, const char *key)
{
    return reinterpret_cast<arraymap_key_t *>(find_key(as_lists(map), key));
}

arraymap_value_t *_arraymap_value(const arraymap_t *map, const char *key, const void *data,
                                  uint32_t len)
{
    const key_node *node = find_key(as_lists(map), key);
    return node != nullptr ? as_value(find_value(*node, data, len)) : nullptr;
}

int arraymap_init(arraymap_t *map)
{
    return arraymap_init_special(map, default_hashsize);
}

int arraymap_init_special(arraymap_t *map, uint32_t hashsize)
{
    return init_lists(as_lists(map), hashsize);
}

int arraymap_destroy(arraymap_t *map)
{
    return destroy_lists(as_lists(map));
}

int arraymap_clear(arraymap_t *map)
{
    return clear_lists(as_lists(map));
}

int arraymap_insert(arraymap_t *map, const char *key, const void *data, uint32_t len)
{
    return add_value(as_lists(map), key, data, len, adding_equal);
}

int arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                     uint32_t len)
{
    if (unusable(as_lists(map), key)) {
        return EINVAL;
    }
    key_node *node = find_key(as_lists(map), key);
    value_node *old = node != nullptr ? with_index(*node, index) : nullptr;
    if (old == nullptr) {
        return ENOENT;
    }
    if (data == nullptr && len != 0) {
        return EINVAL;
    }
    value_node *value = make_value(sizeof(arraymap_value_t), data != nullptr ? data : "", len);
    if (value == nullptr) {
        return ENOMEM;
    }
    index_of(*value) = index;
    chain_replace(node->values, old->link, value->link);
    std::free(old);
    return 0;
}

int arraymap_remove(arraymap_t *map, const char *key, uint32_t index)
{
    if (unusable(as_lists(map), key)) {
        return EINVAL;
    }
    const place at = locate(table_of(as_lists(map)), key);
    value_node *value = at.node != nullptr ? with_index(as_key(at.node), index) : nullptr;
    if (value == nullptr) {
        return ENOENT;
    }
    if (drop_value(as_lists(map), at, value)) {
        renumber(as_key(at.node));
    }
    return 0;
}

int arraymap_delete(arraymap_t *map, const char *key, const void *data, uint32_t len)
{
    if (unusable(as_lists(map), key) || data == nullptr) {
        return EINVAL;
    }
    const place at = locate(table_of(as_lists(map)), key);
    value_node *first = at.node != nullptr ? find_value(as_key(at.node), data, len) : nullptr;
    if (first == nullptr) {
        return ENOENT;
    }
    // The caller's bytes may lie in any of the values that go: the others are compared with the
    // first, which goes last.
    for (value_node *value = next_value(*first); value != nullptr;) {
        value_node *next = next_value(*value);
        if (is_equal(*value, first->data, len)) {
            drop_value(as_lists(map), at, value);
        }
        value = next;
    }
    if (drop_value(as_lists(map), at, first)) {
        renumber(as_key(at.node));
    }
    return 0;
}

int arraymap_erase(arraymap_t *map, const char *key)
{
    return erase_key(as_lists(map), key);
}

int arraymap_index(const arraymap_t *map, const char *key, uint32_t position, const void **data,
                   uint32_t *len)
{
    return index_value(as_lists(map), key, position, data, len);
}

int arraymap_haskey(const arraymap_t *map, const char *key)
{
    return !isempty(table_of(as_lists(map))) && find_key(as_lists(map), key) != nullptr;
}

const char *arraymap_key_first(const arraymap_t *map, arraymap_key_iter_t *iter)
{
    return key_first(as_lists(map), as_iter(iter));
}

const char *arraymap_key_next(arraymap_key_iter_t *iter)
{
    return key_next(as_iter(iter));
}

const char *arraymap_key_elem(const arraymap_key_iter_t *iter)
{
    return key_elem(as_iter(iter));
}

const void *arraymap_value_first(const arraymap_t *map, const char *key,
                                 arraymap_value_iter_t *iter)
{
    if (unusable(as_lists(map), key) || iter == nullptr) {
        return nullptr;
    }
    iter->map = map;
    iter->position = 0;
    iter->key = _arraymap_entry(map, key);
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
    return isempty(table_of(as_lists(map)));
}

int arraymap_key_count(const arraymap_t *map, uint32_t *count)
{
    if (map == nullptr || count == nullptr) {
        return EINVAL;
    }
    *count = static_cast<uint32_t>(map->numkeys);
    return 0;
}

const char *arraymap_key_name(const arraymap_t *map, int32_t ordinal)
{
    return key_name(table_of(as_lists(map)), ordinal);
}

int _arraymap_sort(const arraymap_t *map, arraymap_sort_item_t **items, int32_t *count)
{
    return sort_keys(table_of(as_lists(map)), reinterpret_cast<sort_items *>(items), count);
}

void arraymap_print(const arraymap_t *map, arraymap_print_fn fn, void *context)
{
    print_lists(as_lists(map), fn, context);
}

void arraymap_dump(const arraymap_t *map, FILE *stream)
{
    dump(table_of(as_lists(map)), {print_header, print_values}, stream);
}

uint32_t arraymap_sndump(const arraymap_t *map, char *buffer, uint32_t size)
{
    return sndump(table_of(as_lists(map)), {print_header, print_values}, buffer, size);
}

int arraymap_sethashsize(arraymap_t *map, uint32_t size)
{
    return sethashsize(table_of(as_lists(map)), size);
}

int arraymap_sethashfunc(arraymap_t *map, map_hash_fn fn)
{
    return sethashfunc(table_of(as_lists(map)), fn);
}

int arraymap_setcasekeys(arraymap_t *map, uint32_t flag)
{
    return setcasekeys_lists(as_lists(map), flag);
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
    return isequal_lists(as_lists(a), as_lists(b));
}

int arraymap_intersection(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst)
{
    return intersection(as_lists(a), as_lists(b), as_lists(dst), adding_equal);
}

int arraymap_union(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst)
{
    int result = start(as_lists(a), as_lists(b), as_lists(dst));
    if (result != 0) {
        return result;
    }
    result = add_all(as_lists(dst), as_lists(a), adding_equal);
    if (result == 0) {
        result = add_all(as_lists(dst), as_lists(b), skipping_equal, a->hashsize);
    }
    return finish(as_lists(dst), result);
}

int arraymap_merge(const arraymap_t *src, arraymap_t *dst)
{
    if (src == nullptr || dst == nullptr || dst == src) {
        return EINVAL;
    }
    return add_all(as_lists(dst), as_lists(src), adding_equal);
}

int arraymap_copy(const arraymap_t *src, arraymap_t *dst)
{
    return copy_lists(as_lists(src), as_lists(dst), adding_equal);
}
