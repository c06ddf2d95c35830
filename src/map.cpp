// The map core: what an entry looks like, when a key is refused, and what becomes of an old value.
#include "map_internal.h"
#include "table/listing.hpp"
#include "table/table.hpp"

#include <cstddef>

namespace textmaps {

template <>
struct node_type<map_t> {
    using type = map_entry_t;
};

namespace {

// The layout of the records is the binary interface. A word is a pointer.
constexpr std::size_t word = sizeof(void *);
static_assert(word == 4 || word == 8);

static_assert(offsetof(map_bucket_t, first) == 0);
static_assert(offsetof(map_bucket_t, last) == word);
static_assert(sizeof(map_bucket_t) == 2 * word);

static_assert(offsetof(map_t, maxkeys) == 0);
static_assert(offsetof(map_t, numkeys) == 4);
static_assert(offsetof(map_t, casekeys) == 8);
static_assert(offsetof(map_t, hashsize) == 12);
static_assert(offsetof(map_t, hashfunc) == 16);
static_assert(offsetof(map_t, buckets) == 16 + word);
static_assert(sizeof(map_t) == 16 + 2 * word);

static_assert(offsetof(map_entry_t, next) == 0);
static_assert(offsetof(map_entry_t, prev) == word);
static_assert(offsetof(map_entry_t, value) == 2 * word);
static_assert(offsetof(map_entry_t, valuesz) == 3 * word);
static_assert(offsetof(map_entry_t, key) == 4 * word);
static_assert(sizeof(map_entry_t) == 5 * word);

static_assert(offsetof(map_iter_t, map) == 0);
static_assert(offsetof(map_iter_t, bucket) == word);
static_assert(offsetof(map_iter_t, entry) == 2 * word);
static_assert(sizeof(map_iter_t) == 3 * word);

static_assert(offsetof(map_sort_item_t, key) == 0);
static_assert(offsetof(map_sort_item_t, index) == word);
static_assert(sizeof(map_sort_item_t) == 2 * word);

// Header, value and key in one block, linked nowhere; null when there is no memory.
map_entry_t *make_entry(const char *key, const void *value, uint32_t length)
{
    const std::size_t keysz = std::strlen(key) + 1;
    auto *entry = static_cast<map_entry_t *>(allocate_node(sizeof(map_entry_t), length, keysz));
    if (entry != nullptr) {
        auto *bytes = reinterpret_cast<char *>(entry + 1);
        entry->value = std::memcpy(bytes, value, length);
        entry->valuesz = length;
        entry->key = static_cast<char *>(std::memcpy(bytes + length, key, keysz));
    }
    return entry;
}

void release(map_entry_t *entry)
{
    std::free(entry);
}

enum class if_present { refuse, skip, replace };

int put(map_t *map, const char *key, const void *value, uint32_t length, if_present present)
{
    if (!has_buckets(map) || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    const auto at = locate(*map, key);
    if (at.node != nullptr && present != if_present::replace) {
        return present == if_present::skip ? 0 : refused;
    }
    if (at.node == nullptr && at_key_limit(*map)) {
        return refused;
    }
    map_entry_t *entry = make_entry(key, value, length);
    if (entry == nullptr) {
        return ENOMEM;
    }
    chain_append(at.bucket, *entry);
    ++map->numkeys;
    // The caller's key and value may lie in the old entry: it goes only now.
    if (at.node != nullptr) {
        unlink_node(*map, at);
        release(at.node);
    }
    return 0;
}

bool same_value(const map_entry_t &a, const map_entry_t &b)
{
    return a.valuesz == b.valuesz && std::memcmp(a.value, b.value, a.valuesz) == 0;
}

bool holds_equal(const map_t &map, const map_entry_t &entry)
{
    const map_entry_t *found = map_get_entry(&map, entry.key);
    return found != nullptr && same_value(*found, entry);
}

// Calls add(entry) for every entry in iteration order; the first failure ends it.
template <class Add>
int add_all(const map_t &src, Add add)
{
    for (const map_entry_t &entry : nodes(src)) {
        const int result = add(entry);
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

void print_header(const map_t *map, print_fn print, void *context)
{
    print(context, "map %p hashsize=%d numkeys=%d\n", static_cast<const void *>(map),
          static_cast<int>(map->hashsize), map->numkeys);
}

void print_line(const char *line, const char *key, const map_entry_t &entry, print_fn print,
                void *context)
{
    print(context, line, key, precision(entry.valuesz), entry.value);
}

constexpr char dump_line[] = " %s=%.*s\n";

constexpr auto in_sorted_order = [](const map_t &map, print_fn print, void *context) {
    print_header(&map, print, context);
    visit_sorted(map, [=](const char *key, const map_entry_t &entry) {
        print_line(dump_line, key, entry, print, context);
    });
};

constexpr auto in_iteration_order = [](const map_t &map, print_fn print, void *context) {
    print_header(&map, print, context);
    for (const map_entry_t &entry : nodes(map)) {
        print_line(dump_line, entry.key, entry, print, context);
    }
};

bool started(const map_iter_t *iter)
{
    return iter != nullptr && iter->map != nullptr && iter->entry != nullptr;
}

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_map_hashlist(const map_t *map, const char *key)
{
    return hashlist(*map, key);
}

int _map_keycmp(const map_t *map, const char *key, const char *stored_key)
{
    return keycmp(*map, key, stored_key);
}

map_entry_t *_map_entry(const map_t *map, const char *key)
{
    return lookup(map, key);
}

int map_init(map_t *map)
{
    return map == nullptr ? EINVAL : init(*map, default_hashsize);
}

int map_destroy(map_t *map)
{
    if (map == nullptr) {
        return EINVAL;
    }
    if (map->buckets != nullptr) {
        map_clear(map);
        release_buckets(*map);
    }
    return 0;
}

int map_clear(map_t *map)
{
    return clear(map, release);
}

int map_insert(map_t *map, const char *key, const void *value, uint32_t length)
{
    return put(map, key, value, length, if_present::refuse);
}

int map_replace(map_t *map, const char *key, const void *value, uint32_t length)
{
    return put(map, key, value, length, if_present::replace);
}

int map_erase(map_t *map, const char *key)
{
    if (!has_buckets(map) || key == nullptr) {
        return EINVAL;
    }
    const auto at = locate(*map, key);
    if (at.node == nullptr) {
        return ENOENT;
    }
    unlink_node(*map, at);
    release(at.node);
    return 0;
}

int map_index(const map_t *map, const char *key, const void **value, uint32_t *length)
{
    if (!has_buckets(map) || key == nullptr) {
        return EINVAL;
    }
    const map_entry_t *entry = find(*map, key);
    if (value != nullptr) {
        *value = entry != nullptr ? entry->value : nullptr;
    }
    if (length != nullptr) {
        *length = entry != nullptr ? entry->valuesz : 0;
    }
    return entry != nullptr ? 0 : ENOENT;
}

int map_haskey(const map_t *map, const char *key)
{
    return haskey(map, key);
}

const map_entry_t *map_get_entry(const map_t *map, const char *key)
{
    return lookup(map, key);
}

const char *map_first(const map_t *map, map_iter_t *iter)
{
    if (!has_buckets(map) || iter == nullptr || map->numkeys <= 0) {
        return nullptr;
    }
    iter->map = map;
    iter->bucket = 0;
    iter->entry = first_from(*map, iter->bucket);
    return map_key(iter);
}

const char *map_next(map_iter_t *iter)
{
    if (!started(iter)) {
        return nullptr;
    }
    const map_entry_t *entry = next_after(*iter->map, *iter->entry, iter->bucket);
    if (entry == nullptr) {
        return nullptr;
    }
    iter->entry = entry;
    return entry->key;
}

const char *map_key(const map_iter_t *iter)
{
    return started(iter) ? iter->entry->key : nullptr;
}

const void *map_value(const map_iter_t *iter)
{
    return started(iter) ? iter->entry->value : nullptr;
}

uint32_t map_valuesz(const map_iter_t *iter)
{
    return started(iter) ? iter->entry->valuesz : 0;
}

int map_isempty(const map_t *map)
{
    return isempty(map);
}

int map_key_count(const map_t *map, int32_t *count)
{
    return key_count(map, count);
}

const char *map_key_name(const map_t *map, int32_t index)
{
    return key_name(map, index);
}

int _map_sort(const map_t *map, map_sort_item_t **items, int32_t *count)
{
    return sort_keys(*map, items, count);
}

void map_print(const map_t *map, map_print_fn fn, void *context)
{
    if (fn == nullptr) {
        return;
    }
    if (isempty(map)) {
        fn(context, "%smap is empty\n", context);
        return;
    }
    visit_sorted(*map, [=](const char *key, const map_entry_t &entry) {
        print_line("%s=%.*s\n", key, entry, fn, context);
    });
}

int map_print_sorted(const map_t *map, map_print_sorted_fn fn, FILE *stream)
{
    if (fn == nullptr || stream == nullptr) {
        return EINVAL;
    }
    if (isempty(map)) {
        print_to_stream(stream, empty_notice);
        return EINVAL;
    }
    map_sort_item_t *items;
    int32_t count;
    if (_map_sort(map, &items, &count) != 0) {
        return EINVAL;
    }
    print_header(map, print_to_stream, stream);
    const int result = fn(map, stream, items, count);
    std::free(items);
    return result;
}

void map_dump(const map_t *map, FILE *stream)
{
    dump(map, stream, in_sorted_order);
}

void map_raw_dump(const map_t *map, FILE *stream)
{
    dump(map, stream, in_iteration_order);
}

uint32_t map_sndump(const map_t *map, char *buffer, uint32_t size)
{
    return sndump(map, buffer, size, in_sorted_order);
}

int map_sethashsize(map_t *map, uint32_t size)
{
    return sethashsize(map, size);
}

int map_sethashfunc(map_t *map, map_hash_fn fn)
{
    return sethashfunc(map, fn);
}

int map_setcasekeys(map_t *map, uint32_t flag)
{
    return setcasekeys(map, flag, [](map_entry_t &, map_entry_t *entry) { release(entry); });
}

int map_setmaxkeys(map_t *map, int32_t limit)
{
    return map == nullptr ? EINVAL : set_limit(map->maxkeys, limit, map->numkeys);
}

int map_cmp(const map_t *map, const char *key, const void *value, uint32_t length)
{
    if (map == nullptr && key == nullptr && value == nullptr) {
        return 0;
    }
    const map_entry_t *entry = map_get_entry(map, key);
    if (entry == nullptr || value == nullptr) {
        return -1;
    }
    const int order = std::memcmp(entry->value, value, std::min(entry->valuesz, length));
    if (order != 0 || entry->valuesz == length) {
        return order;
    }
    return entry->valuesz > length ? 1 : -1;
}

int map_isequal(const map_t *a, const map_t *b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    if (a->numkeys != b->numkeys) {
        return 0;
    }
    for (const map_entry_t &entry : nodes(*a)) {
        if (!holds_equal(*b, entry)) {
            return 0;
        }
    }
    return 1;
}

int map_intersection(const map_t *a, const map_t *b, map_t *dst)
{
    if (a == nullptr || b == nullptr || dst == nullptr || dst == a || dst == b) {
        return EINVAL;
    }
    return refill(dst, release, [=] {
        return add_all(*a, [=](const map_entry_t &entry) {
            return holds_equal(*b, entry) ? map_insert(dst, entry.key, entry.value, entry.valuesz)
                                          : 0;
        });
    });
}

int map_merge(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == nullptr) {
        return EINVAL;
    }
    return add_all(*src, [=](const map_entry_t &entry) {
        return put(dst, entry.key, entry.value, entry.valuesz, if_present::skip);
    });
}

int map_copy_dst_hashsize(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == nullptr || dst == src) {
        return EINVAL;
    }
    return refill(dst, release, [=] {
        return add_all(*src, [=](const map_entry_t &entry) {
            return map_insert(dst, entry.key, entry.value, entry.valuesz);
        });
    });
}

int map_copy(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == nullptr || dst == src) {
        return EINVAL;
    }
    int result = map_clear(dst);
    if (result == 0) {
        result = map_sethashsize(dst, src->hashsize);
    }
    return result != 0 ? result : map_copy_dst_hashsize(src, dst);
}
