// The multimap's internal functions, hidden in the shared library; within a static one they can be
// called.
#pragma once

#include <textmaps/multimap.h>

extern "C" {

// The bucket that the key hashes to, in a multimap that is not released.
map_bucket_t *_multimap_hashlist(const multimap_t *map, const char *key);

// 0 if the keys are equal under the multimap's comparison.
int _multimap_keycmp(const multimap_t *map, const char *a, const char *b);

// The node that holds the key; null if there is none, also where nothing can be looked up.
multimap_key_t *_multimap_entry(const multimap_t *map, const char *key);

// The node of the value under the key; null as above.
multimap_value_t *_multimap_value(const multimap_t *map, const char *key, const void *data,
                                  uint32_t len);

// The keys of a multimap in sorted order: 0, with an array that the caller frees and its length; 22
// if an output is null; 12.
int _multimap_sort(const multimap_t *map, multimap_sort_item_t **items, int32_t *count);
}
