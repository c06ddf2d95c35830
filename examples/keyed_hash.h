/*
 * A keyed hash for containers whose keys come from strangers. Keys that collide under the built-in
 * hash are easily made, and enough of them turn every look-up into a walk over all keys. Under a
 * keyed hash only those who know its seed can make them:
 *
 *     struct keyed_map keyed;
 *     map_init(&keyed.map);                                  // and check the results
 *     hash_seed_draw(&keyed.seed);
 *     map_sethashfunc(&keyed.map, keyed_map_hash);
 *
 * The functions find the seed beside the container. They fold the letters A to Z where the
 * container compares keys without regard to case. What a seed has hashed stays where it is only as
 * long as the seed does: never change it while its function is set.
 */
#ifndef KEYED_HASH_H
#define KEYED_HASH_H

#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A secret of 128 bits. */
struct hash_seed {
    uint64_t low;
    uint64_t high;
};

/**
 * Draws a seed from the system, which may wait for enough randomness just after it has started.
 *
 * @return 0; `errno` if there is none, and the seed is then not to be used.
 */
int hash_seed_draw(struct hash_seed *seed);

/** @return SipHash-2-4 of the bytes, the same on every target. */
uint64_t siphash_2_4(const struct hash_seed *seed, const void *data, size_t length);

struct keyed_map {
    struct hash_seed seed;
    map_t map;
};

struct keyed_multimap {
    struct hash_seed seed;
    multimap_t map;
};

struct keyed_arraymap {
    struct hash_seed seed;
    arraymap_t map;
};

/** Hash functions for containers in these records, and for no others. */
uint32_t keyed_map_hash(const void *container, const char *key);
uint32_t keyed_multimap_hash(const void *container, const char *key);
uint32_t keyed_arraymap_hash(const void *container, const char *key);

#ifdef __cplusplus
}
#endif

#endif
