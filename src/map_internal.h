// The map's internal functions, hidden in the shared library; within a static one they can be
// called.
#pragma once

#include <textmaps/map.h>

extern "C" {

// The bucket that the key hashes to, in a map that is not released.
map_bucket_t *_map_hashlist(const map_t *map, const char *key);

// 0 if the keys are equal under the map's comparison.
int _map_keycmp(const map_t *map, const char *key, const char *stored_key);

// The entry that holds the key; null if there is none, also where nothing can be looked up.
map_entry_t *_map_entry(const map_t *map, const char *key);

// The keys of a map in sorted order: 0, with an array that the caller frees and its length; 22 if
// an output is null; 12.
int _map_sort(const map_t *map, map_sort_item_t **items, int32_t *count);
}
