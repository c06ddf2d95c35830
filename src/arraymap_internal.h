// The arraymap's internal functions, hidden in the shared library; within a static one they can be
// called.
#pragma once

#include <textmaps/arraymap.h>

extern "C" {

// The bucket that the key hashes to, in an arraymap that is not released.
map_bucket_t *_arraymap_hashlist(const arraymap_t *map, const char *key);

// 0 if the keys are equal under the arraymap's comparison.
int _arraymap_keycmp(const arraymap_t *map, const char *a, const char *b);

// The node that holds the key; null if there is none, also where nothing can be looked up.
arraymap_key_t *_arraymap_entry(const arraymap_t *map, const char *key);

// The node of the first such value under the key; null as above.
arraymap_value_t *_arraymap_value(const arraymap_t *map, const char *key, const void *data,
                                  uint32_t len);

// The keys of an arraymap in sorted order: 0, with an array that the caller frees and its length;
// 22 if an output is null; 12.
int _arraymap_sort(const arraymap_t *map, arraymap_sort_item_t **items, int32_t *count);
}
