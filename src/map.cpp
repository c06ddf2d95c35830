// The map core: what an entry looks like, when a key is refused, and what becomes of an old value.
#include "map_internal.h"
#include "table/allocate.hpp"
#include "table/listing.hpp"
#include "table/sort.hpp"

#include <cstring>

namespace textmaps {

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

constexpr layout map_layout =
    make_layout(offsetof(map_t, numkeys), offsetof(map_t, casekeys), offsetof(map_entry_t, key));

table table_of(const map_t *map)
{
    return {map, map_layout};
}

map_entry_t *as_entry(const links *node)
{
    return reinterpret_cast<map_entry_t *>(const_cast<links *>(node));
}

links &as_node(const map_entry_t *entry)
{
    return *reinterpret_cast<links *>(const_cast<map_entry_t *>(entry));
}

bool unusable(const map_t *map, const char *key)
{
    return !has_buckets(table_of(map)) || key == nullptr;
}

// Header, value and key in one block, linked nowhere; null when there is no memory.
map_entry_t *make_entry(const place &at, const void *value, uint32_t length)
{
    auto *entry =
        static_cast<map_entry_t *>(allocate_node(sizeof(map_entry_t), length, at.of.size));
    if (entry != nullptr) {
        auto *bytes = reinterpret_cast<char *>(entry + 1);
        entry->value = std::memcpy(bytes, value, length);
        entry->valuesz = length;
        entry->key = static_cast<char *>(std::memcpy(bytes + length, at.key, at.of.size));
    }
    return entry;
}

// A copy of an entry, linked nowhere; null when there is no memory. The block is copied whole: its size
// is one that was allocated before, and cannot overflow.
map_entry_t *copy_entry(const map_entry_t &of, std::size_t keysz)
{
    const std::size_t size = sizeof of + of.valuesz + keysz;
    auto *entry = static_cast<map_entry_t *>(std::malloc(size));
    if (entry != nullptr) {
        std::memcpy(entry, &of, size);
        auto *bytes = reinterpret_cast<char *>(entry + 1);
        entry->value = bytes;
        entry->key = bytes + of.valuesz;
    }
    return entry;
}

void release(links &node)
{
    std::free(&node);
}

// Of entries whose keys become equal, the value of the first one stays.
void absorb(table, links &, links &node)
{
    release(node);
}

enum class if_present { refuse, replace };

inline int put(map_t *map, const char *key, const void *value, uint32_t length, if_present present)
{
    if (unusable(map, key) || value == nullptr) {
        return EINVAL;
    }
    const place at = locate(table_of(map), key);
    if (at.node != nullptr ? present == if_present::refuse : at_key_limit(table_of(map))) {
        return refused;
    }
    map_entry_t *entry = make_entry(at, value, length);
    if (entry == nullptr) {
        return ENOMEM;
    }
    link_node(table_of(map), at, as_node(entry));
    // The caller's key and value may lie in the old entry: it goes only now.
    if (at.node != nullptr) {
        unlink_node(table_of(map), at);
        release(*at.node);
    }
    return 0;
}

// Puts a copy of another map's entry at the place of its key, unless that is there.
int put_copy(map_t *dst, const place &at, const links &node, int result_if_present)
{
    if (at.node != nullptr) {
        return result_if_present;
    }
    if (at_key_limit(table_of(dst))) {
        return refused;
    }
    map_entry_t *entry = copy_entry(*as_entry(&node), at.of.size);
    if (entry == nullptr) {
        return ENOMEM;
    }
    link_node(table_of(dst), at, as_node(entry));
    return 0;
}

bool holds_equal(const map_t *map, const map_t *in, const links &node)
{
    const map_entry_t *entry = as_entry(&node);
    const map_entry_t *found = as_entry(lookup_key_of(table_of(in), node, table_of(map)));
    return found != nullptr && found->valuesz == entry->valuesz &&
           std::memcmp(found->value, entry->value, entry->valuesz) == 0;
}

// What an operation that filled dst from empty gives: dst keeps nothing of one that failed.
int finish(map_t *dst, int result)
{
    if (result != 0) {
        map_clear(dst);
    }
    return result;
}

void print_header(table in, print_fn print, void *context)
{
    const auto *map = reinterpret_cast<const map_t *>(in.record());
    print(context, "map %p hashsize=%d numkeys=%d\n", static_cast<const void *>(map),
          static_cast<int>(map->hashsize), map->numkeys);
}

void print_line(const char *line, const char *key, const links &node, print_fn print, void *context)
{
    const map_entry_t *entry = as_entry(&node);
    print(context, line, key, precision(entry->valuesz), static_cast<const char *>(entry->value));
}

void print_entry(const char *key, const links &node, print_fn print, void *context)
{
    print_line("%s=%.*s\n", key, node, print, context);
}

void dump_entry(const char *key, const links &node, print_fn print, void *context)
{
    print_line(" %s=%.*s\n", key, node, print, context);
}

bool started(const map_iter_t *iter)
{
    return iter != nullptr && iter->map != nullptr && iter->entry != nullptr;
}

} // namespace
} // namespace textmaps

using namespace textmaps;

map_bucket_t *_map_hashlist(const map_t *map, const char *key)
{
    return hashlist(table_of(map), key);
}

int _map_keycmp(const map_t *map, const char *key, const char *stored_key)
{
    return keycmp(table_of(map), key, stored_key);
}

map_entry_t *_map_entry(const map_t *map, const char *key)
{
    return as_entry(lookup(table_of(map), key));
}

int map_init(map_t *map)
{
    return map == nullptr ? EINVAL : init(table_of(map), default_hashsize);
}

int map_destroy(map_t *map)
{
    if (map == nullptr) {
        return EINVAL;
    }
    if (map->buckets != nullptr) {
        map_clear(map);
        release_buckets(table_of(map));
    }
    return 0;
}

int map_clear(map_t *map)
{
    return clear(table_of(map), release);
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
    if (unusable(map, key)) {
        return EINVAL;
    }
    const place at = locate(table_of(map), key);
    if (at.node == nullptr) {
        return ENOENT;
    }
    unlink_node(table_of(map), at);
    release(*at.node);
    return 0;
}

int map_index(const map_t *map, const char *key, const void **value, uint32_t *length)
{
    if (unusable(map, key)) {
        return EINVAL;
    }
    const map_entry_t *entry = as_entry(find(table_of(map), key));
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
    return !isempty(table_of(map)) && lookup(table_of(map), key) != nullptr;
}

const map_entry_t *map_get_entry(const map_t *map, const char *key)
{
    return as_entry(lookup(table_of(map), key));
}

const char *map_first(const map_t *map, map_iter_t *iter)
{
    if (!has_buckets(table_of(map)) || iter == nullptr || map->numkeys <= 0) {
        return nullptr;
    }
    iter->map = map;
    iter->bucket = 0;
    iter->entry = as_entry(first_from(table_of(map), iter->bucket));
    return map_key(iter);
}

const char *map_next(map_iter_t *iter)
{
    if (!started(iter)) {
        return nullptr;
    }
    const links *next = next_after(table_of(iter->map), as_node(iter->entry), iter->bucket);
    if (next == nullptr) {
        return nullptr;
    }
    iter->entry = as_entry(next);
    return iter->entry->key;
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
    return isempty(table_of(map));
}

int map_key_count(const map_t *map, int32_t *count)
{
    if (map == nullptr || count == nullptr) {
        return EINVAL;
    }
    *count = map->numkeys;
    return 0;
}

const char *map_key_name(const map_t *map, int32_t index)
{
    return key_name(table_of(map), index);
}

int _map_sort(const map_t *map, map_sort_item_t **items, int32_t *count)
{
    return sort_keys(table_of(map), reinterpret_cast<sort_items *>(items), count);
}

void map_print(const map_t *map, map_print_fn fn, void *context)
{
    if (fn == nullptr) {
        return;
    }
    if (isempty(table_of(map))) {
        fn(context, "%smap is empty\n", context);
        return;
    }
    print_sorted(table_of(map), {nullptr, print_entry}, fn, context);
}

int map_print_sorted(const map_t *map, map_print_sorted_fn fn, FILE *stream)
{
    if (fn == nullptr || stream == nullptr) {
        return EINVAL;
    }
    if (isempty(table_of(map))) {
        print_to_stream(stream, empty_notice);
        return EINVAL;
    }
    map_sort_item_t *items;
    int32_t count;
    if (_map_sort(map, &items, &count) != 0) {
        return EINVAL;
    }
    print_header(table_of(map), print_to_stream, stream);
    const int result = fn(map, stream, items, count);
    std::free(items);
    return result;
}

void map_dump(const map_t *map, FILE *stream)
{
    dump(table_of(map), {print_header, dump_entry}, stream);
}

void map_raw_dump(const map_t *map, FILE *stream)
{
    if (stream == nullptr) {
        return;
    }
    if (isempty(table_of(map))) {
        print_to_stream(stream, empty_notice);
        return;
    }
    print_header(table_of(map), print_to_stream, stream);
    for (const links &node : nodes(table_of(map))) {
        dump_entry(as_entry(&node)->key, node, print_to_stream, stream);
    }
}

uint32_t map_sndump(const map_t *map, char *buffer, uint32_t size)
{
    return sndump(table_of(map), {print_header, dump_entry}, buffer, size);
}

int map_sethashsize(map_t *map, uint32_t size)
{
    return sethashsize(table_of(map), size);
}

int map_sethashfunc(map_t *map, map_hash_fn fn)
{
    return sethashfunc(table_of(map), fn);
}

int map_setcasekeys(map_t *map, uint32_t flag)
{
    return setcasekeys(table_of(map), flag, absorb);
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
    for (const links &node : nodes(table_of(a))) {
        if (!holds_equal(b, a, node)) {
            return 0;
        }
    }
    return 1;
}

int map_intersection(const map_t *a, const map_t *b, map_t *dst)
{
    if (a == nullptr || b == nullptr || dst == a || dst == b) {
        return EINVAL;
    }
    int result = map_clear(dst);
    if (result != 0) {
        return result;
    }
    for (const links &node : nodes(table_of(a))) {
        if (holds_equal(b, a, node)) {
            const place at = locate_key_of(table_of(a), node, table_of(dst));
            result = put_copy(dst, at, node, refused);
        }
        if (result != 0) {
            break;
        }
    }
    return finish(dst, result);
}

int map_merge(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == nullptr) {
        return EINVAL;
    }
    for (const links &node : nodes(table_of(src))) {
        if (dst->buckets == nullptr) {
            return EINVAL;
        }
        const place at = locate_key_of(table_of(src), node, table_of(dst));
        const int result = put_copy(dst, at, node, 0);
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

int map_copy_dst_hashsize(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == src) {
        return EINVAL;
    }
    int result = map_clear(dst);
    if (result != 0) {
        return result;
    }
    for (const links &node : nodes(table_of(src))) {
        const place at = locate_copy_of(table_of(src), node, table_of(dst));
        result = put_copy(dst, at, node, refused);
        if (result != 0) {
            break;
        }
    }
    return finish(dst, result);
}

int map_copy(const map_t *src, map_t *dst)
{
    if (src == nullptr || dst == src) {
        return EINVAL;
    }
    int result = map_clear(dst);
    if (result == 0) {
        result = map_sethashsize(dst, src->hashsize);
    }
    return result != 0 ? result : map_copy_dst_hashsize(src, dst);
}
