/*
 * The map as a careful programmer writes it at first: the results and the order of <textmaps/map.h>,
 * each rule in the most direct way. It is what the library is measured against.
 *
 * The hash goes byte by byte through toupper, a walk calls strcmp for every entry, numbers go through
 * snprintf and strtoull, and a copy inserts one entry after the other. The dump makes its list with
 * plain_map_key_name, sorts it with qsort, and looks each key up to print it.
 */
#ifndef PLAIN_MAP_H
#define PLAIN_MAP_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct plain_entry {
    struct plain_entry *next;
    struct plain_entry **prev;
    void *value;
    uint32_t valuesz;
    char *key;
} plain_entry_t;

typedef struct plain_bucket {
    plain_entry_t *first;
    plain_entry_t **last;
} plain_bucket_t;

typedef struct plain_map {
    int32_t maxkeys;
    int32_t numkeys;
    uint32_t casekeys;
    uint32_t hashsize;
    plain_bucket_t *buckets;
} plain_map_t;

typedef struct plain_iter {
    const plain_map_t *map;
    uint32_t bucket;
    const plain_entry_t *entry;
} plain_iter_t;

/* `hashsize` is a power of two. */
int plain_map_init(plain_map_t *map, uint32_t hashsize);
void plain_map_destroy(plain_map_t *map);
int plain_map_clear(plain_map_t *map);
int plain_map_insert(plain_map_t *map, const char *key, const void *value, uint32_t length);
int plain_map_replace(plain_map_t *map, const char *key, const void *value, uint32_t length);
int plain_map_erase(plain_map_t *map, const char *key);
int plain_map_index(const plain_map_t *map, const char *key, const void **value, uint32_t *length);
const char *plain_map_first(const plain_map_t *map, plain_iter_t *iter);
const char *plain_map_next(plain_iter_t *iter);
const char *plain_map_key_name(const plain_map_t *map, int32_t index);
int plain_map_copy(const plain_map_t *src, plain_map_t *dst);
int plain_map_isequal(const plain_map_t *a, const plain_map_t *b);
int plain_map_dump(const plain_map_t *map, FILE *stream);
int plain_map_replace_uint32(plain_map_t *map, const char *key, uint32_t value);
int plain_map_get_uint32(const plain_map_t *map, const char *key, uint32_t *out);

#ifdef __cplusplus
}
#endif

#endif
