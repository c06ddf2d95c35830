// Every call that changes a container, with a walk before and after it. The program is linked with
// --wrap for each.
#include "walker.hpp"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <utility>

namespace walker {
namespace {

constexpr uint32_t always_walked = 256;
constexpr uint32_t neighbours = 16;

void print_and_abort(const char *when, const Walk &finding)
{
    std::fprintf(stderr, "%s, it does not hold that %s: see %p\n", when, finding.broken,
                 finding.node);
    std::abort();
}

Report report = print_and_abort;
int pauses = 0;

struct Call {
    const char *before;
    const char *after;
    uint32_t may_bring; // Oddities.
};

#define CALL(name, oddities)                                                                       \
    Call                                                                                           \
    {                                                                                              \
        "before " #name, "after " #name, oddities                                                  \
    }

uint64_t size_of(const map_t &map)
{
    return uint64_t{map.hashsize} + static_cast<uint32_t>(map.numkeys);
}

template <class Lists>
uint64_t size_of(const Lists &map)
{
    return uint64_t{map.hashsize} + static_cast<uint32_t>(map.numkeys) +
           static_cast<uint32_t>(map.numvalues);
}

bool wins_the_lot(uint64_t size)
{
    static std::minstd_rand lot;
    return lot() % (1 + size / always_walked) == 0;
}

const char *name_of(uint32_t oddities)
{
    return (oddities & hidden_key) != 0       ? "no two keys of a bucket are equal"
           : (oddities & merged_indexes) != 0 ? "a value's index is its position"
                                              : "without buckets, there is no hash function";
}

// Whether each key and value is compared with all before it.
template <class Container>
bool is_compared_whole(const Container &container)
{
    return size_of(container) <= always_walked;
}

template <class Container>
uint32_t look(const char *when, const Container &container, uint32_t expected_oddities)
{
    Walk found = walk(container, is_compared_whole(container) ? UINT32_MAX : neighbours);
    const uint32_t unexpected = found.oddities & ~expected_oddities;
    if (found.broken == nullptr && unexpected != 0) {
        found = {name_of(unexpected), &container, found.oddities};
    }
    if (found.broken != nullptr) {
        report(when, found);
    }
    return found.oddities;
}

template <class Container, class Make>
int walked(const Call &call, const Container *container, Make make)
{
    if (container == nullptr || pauses != 0 || !wins_the_lot(size_of(*container))) {
        return make();
    }
    // What was hidden from its neighbours may come near them.
    const uint32_t unseen = is_compared_whole(*container) ? 0U : uint32_t{hidden_key};
    const uint32_t before = look(call.before, *container, UINT32_MAX);
    const int result = make();
    look(call.after, *container, before | call.may_bring | unseen);
    return result;
}

// The record is not to be read before.
template <class Container, class Make>
int walked_init(const Call &call, const Container *container, Make make)
{
    const int result = make();
    if (container != nullptr && pauses == 0) {
        look(call.after, *container, call.may_bring);
    }
    return result;
}

// What removes values of a key numbers those that stay.
template <class Make>
int walked_removal(const Call &call, const arraymap_t *map, const char *key, Make make)
{
    return walked(call, map, [&] {
        const arraymap_key_t *node = key_node(map, key);
        const int32_t keys = node != nullptr ? map->numkeys : 0;
        const int result = make();
        if (result == 0 && map->numkeys == keys && !is_numbered(*node)) {
            report(call.after, {"the values that stay are numbered", node, merged_indexes});
        }
        return result;
    });
}

} // namespace

Report set_report(Report next)
{
    return std::exchange(report, next);
}

Pause::Pause()
{
    ++pauses;
}

Pause::~Pause()
{
    --pauses;
}

#define REAL_AND_WRAP(name, parameters)                                                            \
    extern "C" int __real_##name parameters;                                                       \
    extern "C" int __wrap_##name parameters;                                                       \
    int __wrap_##name parameters

#define WALKED_INIT(name, parameters, arguments)                                                   \
    REAL_AND_WRAP(name, parameters)                                                                \
    {                                                                                              \
        return walked_init(CALL(name, 0), map, [&] { return __real_##name arguments; });           \
    }

#define WALKED(name, parameters, arguments, oddities)                                              \
    REAL_AND_WRAP(name, parameters)                                                                \
    {                                                                                              \
        return walked(CALL(name, oddities), map, [&] { return __real_##name arguments; });         \
    }

#define WALKED_REMOVAL(name, parameters, arguments)                                                \
    REAL_AND_WRAP(name, parameters)                                                                \
    {                                                                                              \
        return walked_removal(CALL(name, 0), map, key, [&] { return __real_##name arguments; });   \
    }

#define WALKED_PAIR(name, Container)                                                               \
    REAL_AND_WRAP(name, (const Container *src, Container *dst))                                    \
    {                                                                                              \
        const Call call = CALL(name, 0);                                                           \
        return walked(call, src,                                                                   \
                      [&] { return walked(call, dst, [&] { return __real_##name(src, dst); }); }); \
    }

#define WALKED_TRIPLE(name, Container)                                                             \
    REAL_AND_WRAP(name, (const Container *a, const Container *b, Container *dst))                  \
    {                                                                                              \
        const Call call = CALL(name, 0);                                                           \
        return walked(call, a, [&] {                                                               \
            return walked(call, b, [&] {                                                           \
                return walked(call, dst, [&] { return __real_##name(a, b, dst); });                \
            });                                                                                    \
        });                                                                                        \
    }

#define WALKED_FAMILY(family)                                                                      \
    WALKED_INIT(family##_init, (family##_t * map), (map))                                          \
    WALKED(family##_destroy, (family##_t * map), (map), 0)                                         \
    WALKED(family##_clear, (family##_t * map), (map), 0)                                           \
    WALKED(family##_insert, (family##_t * map, const char *key, const void *data, uint32_t len),   \
           (map, key, data, len), 0)                                                               \
    WALKED(family##_erase, (family##_t * map, const char *key), (map, key), 0)                     \
    WALKED(family##_sethashsize, (family##_t * map, uint32_t size), (map, size), hidden_key)       \
    WALKED(family##_sethashfunc, (family##_t * map, map_hash_fn fn), (map, fn),                    \
           hidden_key | hash_without_buckets)                                                      \
    WALKED(family##_setcasekeys, (family##_t * map, uint32_t flag), (map, flag), merged_indexes)   \
    WALKED(family##_setmaxkeys, (family##_t * map, int32_t limit), (map, limit), 0)                \
    WALKED_TRIPLE(family##_intersection, family##_t)                                               \
    WALKED_PAIR(family##_merge, family##_t)                                                        \
    WALKED_PAIR(family##_copy, family##_t)

WALKED_FAMILY(map)
WALKED(map_replace, (map_t * map, const char *key, const void *value, uint32_t length),
       (map, key, value, length), 0)
WALKED_PAIR(map_copy_dst_hashsize, map_t)

WALKED_FAMILY(multimap)
WALKED(multimap_delete, (multimap_t * map, const char *key, const void *data, uint32_t len),
       (map, key, data, len), 0)
WALKED(multimap_remove, (multimap_t * map, const char *key, uint32_t index), (map, key, index), 0)
WALKED(multimap_setmaxvalues, (multimap_t * map, int32_t limit), (map, limit), 0)
WALKED_TRIPLE(multimap_union, multimap_t)

WALKED_FAMILY(arraymap)
WALKED_INIT(arraymap_init_special, (arraymap_t * map, uint32_t hashsize), (map, hashsize))
WALKED(arraymap_replace,
       (arraymap_t * map, const char *key, uint32_t index, const void *data, uint32_t len),
       (map, key, index, data, len), 0)
WALKED_REMOVAL(arraymap_delete, (arraymap_t * map, const char *key, const void *data, uint32_t len),
               (map, key, data, len))
WALKED_REMOVAL(arraymap_remove, (arraymap_t * map, const char *key, uint32_t index),
               (map, key, index))
WALKED(arraymap_setmaxvalues, (arraymap_t * map, int32_t limit), (map, limit), 0)
WALKED_TRIPLE(arraymap_union, arraymap_t)

} // namespace walker
