// The consistency walker: holds every invariant of a container against its records, reading only.
#pragma once

#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

namespace walker {

// What some calls may bring about, and nothing else may: it stays until it is removed.
enum Oddity : uint32_t {
    // In one bucket of a case-insensitive container, equal keys of which look-ups find the first:
    // a hash function that does not fold kept them apart until the hash size or function changed.
    hidden_key = 1,
    // In a list of values that setcasekeys merged, indexes that are not the positions.
    merged_indexes = 2,
    // A hash function that was set while there were no buckets.
    hash_without_buckets = 4,
};

struct Walk {
    const char *broken; // The first invariant that does not hold; null when all do.
    const void *node;   // Where: a key or value node, a bucket, or the record.
    uint32_t oddities;
};

// Each key is compared with so many before it in its bucket, and each value with so many before it
// under its key; by default with all.
Walk walk(const map_t &map, uint32_t compared = UINT32_MAX);
Walk walk(const multimap_t &map, uint32_t compared = UINT32_MAX);
Walk walk(const arraymap_t &map, uint32_t compared = UINT32_MAX);

// Null where the key is not to be found.
const arraymap_key_t *key_node(const arraymap_t *map, const char *key);

// Whether every index is the position.
bool is_numbered(const arraymap_key_t &key);

// Whether it is the walker that calls the container's hash function now.
bool is_walking();

// In a program that links the target `walker`, a walk goes before and after every call that changes a
// container, also those that the typed layer makes, over each container that the call was given. Of
// containers of up to 256 buckets, keys and values together that is every call, and each key and value
// is compared with all before it. Of larger ones it is so many calls, by lot, that the cost of a call
// stays the same, and what is compared are the nearest 16.

// What is done about a finding. `when` names the call, and whether it is over.
using Report = void (*)(const char *when, const Walk &finding);

// Gives the report that was in place. The first one prints the finding and ends the program.
Report set_report(Report report);

// During its life no call is walked around: for tests that break a container on purpose.
class Pause {
  public:
    Pause();
    ~Pause();
    Pause(const Pause &) = delete;
    Pause &operator=(const Pause &) = delete;
};

} // namespace walker
