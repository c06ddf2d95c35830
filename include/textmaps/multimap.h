/**
 * @file multimap.h
 * @brief The multimap: a hash table that keeps an ordered list of distinct values per key.
 *
 * The caller owns the record, a `multimap_t` on its stack or inside a larger record. The multimap
 * owns one array of buckets, one block of memory for each key, which holds a key node and the key's
 * text, and one for each value, which holds a value node and the value's bytes:
 *
 *     multimap_t    buckets     key node: one block of memory
 *     +---------+   +-------+   +----+----+---+-----+------+---+--+
 *     | buckets |-->| first |-->|next|prev|key|count|values|key|\0|
 *     +---------+   | last  |   +----+----+-|-+-----+--|---+---+--+
 *                   +-------+     |         +----------|---^
 *                   |  ...  |     v next key           v first value: one block
 *                   +-------+                 +----+----+----+---+-----+
 *                                             |next|prev|data|len|bytes|
 *                                             +----+----+--|-+---+-----+
 *                                               |          +-----^
 *                                               v next value
 *
 * A key exists as long as it holds a value: its first value makes it, and it goes with its last.
 * The values of a key stand in the order in which they were inserted, and no two of them are equal:
 * of the same length and the same bytes. Different keys may hold equal values.
 *
 * Life: `multimap_init`, any calls, `multimap_destroy`; then `multimap_init` may be called again. A
 * record is *released* after `multimap_destroy` and after a failed `multimap_init`: what needs the
 * buckets, `multimap_destroy` included, then gives 22 (or NULL, or 0), while counting and the
 * settings still return 0. A record that was never initialised may only be given to
 * `multimap_init`.
 *
 * Pointers to keys and values that the multimap hands out lead into its own memory. A value's stays
 * valid until that value is removed, a key's until its last value is; both until the multimap is
 * cleared or destroyed. `multimap_setcasekeys` frees keys and values that become equal. No other
 * call moves a node. What is stored is copied, and whatever is handed in may itself lie inside the
 * multimap: a key or value of the very node that the call frees is safe.
 *
 * Iteration order is bucket by bucket, and within a bucket the order in which keys were added. It
 * depends on the hash and on `hashsize`.
 *
 * Cost: a call that takes a key hashes it once, walks one chain of about `numkeys / hashsize` keys,
 * and then the key's values from the first. The table never grows by itself: see
 * `multimap_sethashsize`.
 *
 * Results, keys, the key limit and typed text are explained in bucket.h.
 */
#ifndef TEXTMAPS_MULTIMAP_H
#define TEXTMAPS_MULTIMAP_H

#include <textmaps/bucket.h>

#include <addrkit.h>

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

TEXTMAPS_BEGIN_DECLS

/** One value of a key. Read the fields, never write them. */
typedef struct multimap_value {
    struct multimap_value *next; /**< The following value of the key; NULL for the last. */
    struct multimap_value *
        *prev;        /**< The pointer that leads here: a `next`, or the list's `first`. */
    const void *data; /**< The value's bytes, behind this node. No terminator is added. */
    uint32_t len;     /**< Length of the value in bytes, as it was given. */
} multimap_value_t;

/** One key and its list of values. Read the fields, never write them. */
typedef struct multimap_key {
    struct multimap_key *next; /**< The following key of the bucket; NULL for the last. */
    struct multimap_key *
        *prev;       /**< The pointer that leads here: a `next`, or the bucket's `first`. */
    const char *key; /**< The key's text, behind this node. */
    uint32_t count;  /**< Values in the list: at least 1. */
    struct {
        multimap_value_t *first; /**< The first value. */
        multimap_value_t **last; /**< Address of the last value's `next`. */
    } values;                    /**< The values, in the order in which they were inserted. */
} multimap_key_t;

/**
 * The container's record. Read the fields freely; change them through the functions. The order of
 * the fields is part of the binary interface.
 */
typedef struct multimap {
    int32_t maxkeys;       /**< The key limit; negative for none, as after `multimap_init`. */
    int32_t maxvalues;     /**< A limit on values, recorded only: see `multimap_setmaxvalues`. */
    int32_t numkeys;       /**< Keys held now. */
    int32_t numvalues;     /**< Values held now, under all keys together. */
    uint32_t casekeys;     /**< 0: keys compare by `strcmp`; 1: by `strcasecmp`. */
    uint32_t hashsize;     /**< Number of buckets, a power of two; 0 when released. */
    map_hash_fn hashfunc;  /**< The caller's hash function; NULL for the built-in one. */
    map_bucket_t *buckets; /**< The array of buckets; NULL when released. */
} multimap_t;

/** A position in the iteration order of the keys. Set it to zeros before first use. */
typedef struct multimap_key_iter {
    const multimap_t *map;      /**< The multimap; NULL until `multimap_key_first` is called. */
    uint32_t bucket;            /**< Index of the key's bucket; `hashsize` after the end. */
    const multimap_key_t *node; /**< The current key; after the end, the last one. */
} multimap_key_iter_t;

/** A position among the values of a key. Set it to zeros before first use. */
typedef struct multimap_value_iter {
    const multimap_t *map;        /**< The multimap; NULL until `multimap_value_first` is called. */
    const char *key;              /**< The caller's key, not a copy: keep it while iterating. */
    const multimap_value_t *node; /**< The current value; NULL if the key was not found. */
} multimap_value_iter_t;

/** One element of a sorted list of keys. */
typedef struct multimap_sort_item {
    const char *key; /**< The key's text, inside the multimap. */
    int32_t ordinal; /**< Its position in iteration order, as `multimap_key_name` takes it. */
} multimap_sort_item_t;

/** A caller's printf-like function; what it returns is ignored. */
typedef int (*multimap_print_fn)(void *context, const char *format, ...);

/** @name Life of a multimap
 * @{
 */

/**
 * Makes a record an empty multimap: 32 buckets, no limits, case-sensitive keys, the built-in hash.
 *
 * What the record held before is not looked at: a live multimap must be destroyed first, or its
 * memory is lost.
 *
 * @return 0; 22 if `map` is NULL; 12 if there is no memory, and the record is released.
 */
int multimap_init(multimap_t *map);

/**
 * Frees every key, every value and the buckets, and leaves the record released. `maxkeys`,
 * `maxvalues` and `casekeys` keep their values.
 *
 * @return 0; 22 if `map` is NULL or released already (the map's `map_destroy` gives 0 then).
 */
int multimap_destroy(multimap_t *map);

/**
 * Removes every key and value; the settings and the buckets stay.
 *
 * @return 0; 22 if `map` is NULL or released. Cost: one visit to each bucket, key and value; none
 * for an empty multimap.
 */
int multimap_clear(multimap_t *map);

/** @} */

/** @name Values
 * @{
 */

/**
 * Adds a value at the end of its key's list, and a key that is not there yet at the end of its
 * bucket. An existing key keeps its spelling.
 *
 * @param key   Copied, for a new key.
 * @param data  The value, copied; not NULL even if `len` is 0.
 * @param len   Of the value, in bytes.
 * @return 0; 1 if the key holds the value already, or the key is new and the key limit is reached;
 * 22 if `map`, `key` or `data` is NULL or the multimap is released; 12 if there is no memory. One
 * allocation for the value, and one for a new key.
 */
int multimap_insert(multimap_t *map, const char *key, const void *data, uint32_t len);

/**
 * Looks a value up by its content.
 *
 * @param data   The value; not NULL even if `len` is 0.
 * @param len    Of the value, in bytes.
 * @param index  Receives the value's position in the key's list, from 0; untouched on failure; may
 *               be NULL.
 * @return 0; 2 if there is no such key or it does not hold the value; 22 if `map`, `key` or `data`
 * is NULL or the multimap is released.
 */
int multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                  uint32_t *index);

/**
 * Removes a value by its content, and its key with the last value.
 *
 * @param data  The value; not NULL even if `len` is 0.
 * @param len  Of the value, in bytes.
 * @return 0; 2 if there is no such key or it does not hold the value; 22 if `map`, `key` or `data`
 * is NULL or the multimap is released.
 */
int multimap_delete(multimap_t *map, const char *key, const void *data, uint32_t len);

/**
 * Removes a value by its position, and its key with the last value.
 *
 * @param index  Position in the key's list, from 0.
 * @return 0; 2 if there is no such key or position; 22 if `map` or `key` is NULL or the multimap is
 * released.
 */
int multimap_remove(multimap_t *map, const char *key, uint32_t index);

/**
 * Removes a key with all of its values.
 *
 * @return 0; 2 if there is no such key; 22 if `map` or `key` is NULL or the multimap is released.
 */
int multimap_erase(multimap_t *map, const char *key);

/**
 * Looks a value up by its position.
 *
 * @param index  Position in the key's list, from 0.
 * @param data   Receives the address of the value inside the multimap, not a copy; may be NULL.
 * @param len    Receives its length in bytes; may be NULL.
 * @return 0; 2 if there is no such key or position, with NULL and 0 in the outputs; 22 if `map` or
 * `key` is NULL or the multimap is released, with the outputs untouched.
 */
int multimap_index(const multimap_t *map, const char *key, uint32_t index, const void **data,
                   uint32_t *len);

/** @return 1 if the key is there; 0 if not, or if `map` or `key` is NULL or the multimap is released. */
int multimap_haskey(const multimap_t *map, const char *key);

/** @} */

/** @name Iteration
 * Keys in iteration order, and the values of a key in the order in which they were inserted:
 *
 *     multimap_key_iter_t keys = {0};
 *     for (key = multimap_key_first(map, &keys); key != NULL;
 *          key = multimap_key_next(&keys)) {
 *         multimap_value_iter_t values = {0};
 *         for (data = multimap_value_first(map, key, &values); data != NULL;
 *              data = multimap_value_next(&values)) {
 *             use(key, data, multimap_value_size(&values));
 *         }
 *     }
 *
 * The multimap must not change in between. A step costs constant time on average; a walk over the
 * keys visits every bucket.
 * @{
 */

/**
 * Starts an iterator on the first key.
 *
 * @return The key; NULL if the multimap is empty, and the iterator is then past the end; NULL if
 * the multimap is NULL or released or `iter` is NULL, and the iterator is then left as it was.
 */
const char *multimap_key_first(const multimap_t *map, multimap_key_iter_t *iter);

/**
 * Moves an iterator on.
 *
 * @return The next key; NULL after the last one, however often it is called: the iterator then
 * stays on the last key. NULL also for an iterator that is NULL or is on no key.
 */
const char *multimap_key_next(multimap_key_iter_t *iter);

/** @return The current key; NULL for an iterator that is NULL or is on no key. */
const char *multimap_key_elem(const multimap_key_iter_t *iter);

/**
 * Starts an iterator on the first value of a key.
 *
 * @param key  Kept by the iterator as it is, not copied: it must stay valid as long as the iterator
 *             is used.
 * @return The value's bytes inside the multimap; NULL if there is no such key, and the iterator is
 * then on no value; NULL if `map`, `key` or `iter` is NULL or the multimap is released, and the
 * iterator is then left as it was.
 */
const void *multimap_value_first(const multimap_t *map, const char *key,
                                 multimap_value_iter_t *iter);

/**
 * Moves an iterator on.
 *
 * @return The next value's bytes; NULL after the last one, however often it is called: the iterator
 * then stays on the last value. NULL also for an iterator that is NULL or is on no value.
 */
const void *multimap_value_next(multimap_value_iter_t *iter);

/** @return The current value's bytes; NULL for an iterator that is NULL or is on no value. */
const void *multimap_value_elem(const multimap_value_iter_t *iter);

/** @return The current value's length in bytes; 0 for an iterator that is NULL or is on no value. */
uint32_t multimap_value_size(const multimap_value_iter_t *iter);

/**
 * Counts the values of an iterator's key, which is looked up anew.
 *
 * @return Their number; 0 if the key is gone or the multimap released since, or for an iterator
 * that is NULL or is on no value. Cost: one look-up.
 */
uint32_t multimap_value_count(const multimap_value_iter_t *iter);

/** @return 1 if `map` is NULL or holds no key, else 0. */
int multimap_isempty(const multimap_t *map);

/**
 * @param count  Receives the number of keys.
 * @return 0; 22 if `map` or `count` is NULL.
 */
int multimap_key_count(const multimap_t *map, uint32_t *count);

/**
 * @param ordinal  A position in iteration order, from 0.
 * @return The key there, inside the multimap; NULL if there is none, or if `map` is NULL or
 * released. Cost: a walk to the position from the start.
 */
const char *multimap_key_name(const multimap_t *map, int32_t ordinal);

/** @} */

/** @name Printing
 * One line for each value: " %s[%u]=%.*s\n" with the key, the value's position from 0, its length
 * and its bytes. Keys are listed in `strcmp` order, whatever `casekeys` says, and the values of a
 * key in theirs. A value is printed up to its first NUL or its length, whichever comes first. For a
 * multimap that is NULL or empty there is one line, "map is empty\n".
 *
 * One array is allocated to sort in; without memory for it keys are listed in iteration order.
 * Cost: n log n for n keys. Results of writing are ignored.
 * @{
 */

/**
 * Prints through a caller's function, with no header. A `fn` of NULL prints nothing; any other may
 * read the multimap, but must not change it.
 */
void multimap_print(const multimap_t *map, multimap_print_fn fn, void *context);

/**
 * Prints the header "multimap %p hashsize=%d numkeys=%d numvalues=%d\n" and the lines. A `stream`
 * of NULL prints nothing.
 */
void multimap_dump(const multimap_t *map, FILE *stream);

/**
 * Writes what `multimap_dump` prints into a buffer, cut to `size - 1` characters and always
 * terminated.
 *
 * @param buffer  Written.
 * @param size    Of the buffer, in bytes. With 0 nothing is written.
 * @return The length of the text in the buffer, its NUL not counted; 0 if `buffer` is NULL or
 * `size` is 0. A result of `size - 1` may mean that the text was cut.
 */
uint32_t multimap_sndump(const multimap_t *map, char *buffer, uint32_t size);

/** @} */

/** @name Settings
 * They may change at any time. The first three rebuild the chains by relinking: no node moves in
 * memory, and keys that share a bucket keep their order. Cost: one hash and relink per key.
 * @{
 */

/**
 * Changes the number of buckets. For short chains, use at least as many buckets as keys.
 *
 * On a released multimap it allocates the buckets, and the multimap is live again with the limits
 * and `casekeys` that it kept, and a hash function set meanwhile.
 *
 * @param size  A power of two. The present size returns 0 at once.
 * @return 0; 22 if `map` is NULL or `size` is 0 or no power of two; 12 if there is no memory or the
 * array would not fit the address space. One allocation.
 */
int multimap_sethashsize(multimap_t *map, uint32_t size);

/**
 * Changes the hash function. The function that is set already returns 0 at once.
 *
 * @param fn  NULL for the built-in hash. For keys that strangers choose, a keyed one: see
 *            `map_hash_fn`.
 * @return 0; 22 if `map` is NULL.
 */
int multimap_sethashfunc(multimap_t *map, map_hash_fn fn);

/**
 * Makes keys compare without regard to case, or with regard to it again. The flag that is set
 * already returns 0 at once.
 *
 * Keys that become equal are merged: the first in iteration order stays, with its spelling, and the
 * values of the others move to the end of its list in their order, other than those that it holds
 * already, which are freed. This is not reported, other than by `numkeys` and `numvalues`.
 *
 * @param flag  0 for case-sensitive keys; any other number for case-insensitive ones.
 * @return 0; 22 if `map` is NULL. Cost: one look-up per key, and a look-up by content for each
 * value of a key that is merged.
 */
int multimap_setcasekeys(multimap_t *map, uint32_t flag);

/**
 * Sets the key limit. Mind its one-short rule: a limit of N admits N - 1 keys, though a limit equal
 * to the present number of keys is accepted. Values of keys that are there are always admitted.
 *
 * @param limit  Number of keys; negative for no limit.
 * @return 0; 1 if the limit is below `numkeys`, and nothing changes; 22 if `map` is NULL.
 */
int multimap_setmaxkeys(multimap_t *map, int32_t limit);

/**
 * Records a limit on the number of values. Nothing enforces it: it is the caller's to read.
 *
 * @param limit  Number of values under all keys together; negative for no limit.
 * @return 0; 1 if the limit is below `numvalues`, and nothing changes; 22 if `map` is NULL.
 */
int multimap_setmaxvalues(multimap_t *map, int32_t limit);

/** @} */

/** @name Comparing and combining multimaps
 * A multimap is taken as a set of pairs of a key and a value. What fills a destination visits the
 * source's keys in iteration order, the values of each in theirs, and inserts with the
 * destination's own settings. Sources are only read; a released one is as an empty one, other than
 * to `multimap_copy`. Cost: each key is hashed once for each multimap that is searched or filled,
 * each of its values sought among those of that key there.
 * @{
 */

/**
 * Whether two multimaps hold the same pairs. Keys are looked up with the comparison of `b`, so that
 * the order of the arguments can matter if `casekeys` differs; neither the other settings nor the
 * order of values matter.
 *
 * @return 1 if equal, or if both are NULL; else 0. A released multimap equals an empty one.
 */
int multimap_isequal(const multimap_t *a, const multimap_t *b);

/**
 * Fills `dst` with the pairs of `a` that `b` holds too. `dst` is cleared first.
 *
 * @return 0; 22 if a multimap is NULL, `dst` is released, or `dst` is `a` or `b` (which then stay
 * as they are); or the code of the insert that failed (12; 1 at the key limit, or if keys of `a`
 * with an equal value are equal in a case-insensitive `dst`), and then `dst` is empty.
 */
int multimap_intersection(const multimap_t *a, const multimap_t *b, multimap_t *dst);

/**
 * Fills `dst` with the pairs of `a` and those of `b`. `dst` is cleared first.
 *
 * The pairs of `a` are inserted as they are, so that two which are equal in a case-insensitive
 * `dst` make the call fail (1); those of `b` are merged, and what is there already is passed over.
 *
 * @return 0; 22 if a multimap is NULL, `dst` is released, or `dst` is `a` or `b` (which then stay
 * as they are); or the code of the insert that failed (1 as above or at the key limit, 12), and
 * then `dst` is empty.
 */
int multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst);

/**
 * Adds to `dst` the pairs of `src` that it does not hold. A multimap merged into itself stays as it
 * is.
 *
 * @return 0; 22 if a multimap is NULL, or if `dst` is released and `src` holds keys; or the code of
 * the insert that failed (1 at the key limit, 12), and then `dst` keeps what was added so far.
 */
int multimap_merge(const multimap_t *src, multimap_t *dst);

/**
 * Makes `dst` hold what `src` holds, in as many buckets as `src` has. `dst` is cleared first; its
 * other settings stay.
 *
 * @return 0; 22 if a multimap is NULL or released, or both are the same (which then stays as it
 * is); 12 if there is no memory; 1 at the key limit, or if keys of `src` with an equal value are
 * equal in a case-insensitive `dst`. If it fails, `dst` is empty, unless a multimap is NULL or both
 * are the same.
 */
int multimap_copy(const multimap_t *src, multimap_t *dst);

/** @} */

/** @name Typed values: find
 * Each looks the text form of the value up by its content, as `multimap_find` does: a number is
 * found if the same text was stored in any other way.
 *
 * @param index  Receives the value's position in the key's list, from 0; untouched on failure; may
 *               be NULL.
 * @return What `multimap_find` returns; 22 if `map`, `key` or a pointer given as the value is NULL;
 * what the conversion of an address returns if it fails. The str form: 12 for a text of 4 GiB or
 * more.
 * @{
 */
int multimap_find_uint64(const multimap_t *map, const char *key, uint64_t value, uint32_t *index);
int multimap_find_int64(const multimap_t *map, const char *key, int64_t value, uint32_t *index);
int multimap_find_uint32(const multimap_t *map, const char *key, uint32_t value, uint32_t *index);
int multimap_find_int32(const multimap_t *map, const char *key, int32_t value, uint32_t *index);
int multimap_find_time(const multimap_t *map, const char *key, int32_t value, uint32_t *index);
int multimap_find_uint16(const multimap_t *map, const char *key, unsigned int value,
                         uint32_t *index);
int multimap_find_int16(const multimap_t *map, const char *key, int value, uint32_t *index);
int multimap_find_uint8(const multimap_t *map, const char *key, unsigned int value,
                        uint32_t *index);
int multimap_find_int8(const multimap_t *map, const char *key, int value, uint32_t *index);
int multimap_find_bool(const multimap_t *map, const char *key, unsigned int value, uint32_t *index);
int multimap_find_uint(const multimap_t *map, const char *key, unsigned int value, uint32_t *index);
int multimap_find_int(const multimap_t *map, const char *key, int value, uint32_t *index);
int multimap_find_uchar(const multimap_t *map, const char *key, unsigned int value,
                        uint32_t *index);
int multimap_find_char(const multimap_t *map, const char *key, int value, uint32_t *index);
int multimap_find_str(const multimap_t *map, const char *key, const char *value, uint32_t *index);
int multimap_find_macaddr(const multimap_t *map, const char *key, const macaddr_t *value,
                          uint32_t *index);
int multimap_find_ipaddr(const multimap_t *map, const char *key, const ipaddr_t *value,
                         uint32_t *index);
int multimap_find_cidr(const multimap_t *map, const char *key, const cidr_t *value,
                       uint32_t *index);
/** @} */

/** @name Typed values: insert
 * Each adds the text form of the value, as `multimap_insert` does.
 *
 * @return What `multimap_insert` returns, 1 for a value that the key holds already included; 22 if
 * `map`, `key` or a pointer given as the value or format is NULL; what the conversion of an address
 * returns if it fails. The fmt form: 12 if there is no memory for the text, `errno` if it cannot be
 * formatted; its arguments may lie inside the multimap. The str form: 12 also for a text of 4 GiB
 * or more.
 * @{
 */
int multimap_insert_uint64(multimap_t *map, const char *key, uint64_t value);
int multimap_insert_int64(multimap_t *map, const char *key, int64_t value);
int multimap_insert_uint32(multimap_t *map, const char *key, uint32_t value);
int multimap_insert_int32(multimap_t *map, const char *key, int32_t value);
int multimap_insert_time(multimap_t *map, const char *key, int32_t value);
int multimap_insert_uint16(multimap_t *map, const char *key, unsigned int value);
int multimap_insert_int16(multimap_t *map, const char *key, int value);
int multimap_insert_uint8(multimap_t *map, const char *key, unsigned int value);
int multimap_insert_int8(multimap_t *map, const char *key, int value);
int multimap_insert_bool(multimap_t *map, const char *key, unsigned int value);
int multimap_insert_uint(multimap_t *map, const char *key, unsigned int value);
int multimap_insert_int(multimap_t *map, const char *key, int value);
int multimap_insert_uchar(multimap_t *map, const char *key, unsigned int value);
int multimap_insert_char(multimap_t *map, const char *key, int value);
int multimap_insert_str(multimap_t *map, const char *key, const char *value);
int multimap_insert_fmt(multimap_t *map, const char *key, const char *format, ...)
    TEXTMAPS_PRINTF(3, 4);
int multimap_insert_macaddr(multimap_t *map, const char *key, const macaddr_t *value);
int multimap_insert_ipaddr(multimap_t *map, const char *key, const ipaddr_t *value);
int multimap_insert_cidr(multimap_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: delete
 * Each removes the text form of the value by its content, as `multimap_delete` does.
 *
 * @return What `multimap_delete` returns; else as the inserting forms.
 * @{
 */
int multimap_delete_uint64(multimap_t *map, const char *key, uint64_t value);
int multimap_delete_int64(multimap_t *map, const char *key, int64_t value);
int multimap_delete_uint32(multimap_t *map, const char *key, uint32_t value);
int multimap_delete_int32(multimap_t *map, const char *key, int32_t value);
int multimap_delete_time(multimap_t *map, const char *key, int32_t value);
int multimap_delete_uint16(multimap_t *map, const char *key, unsigned int value);
int multimap_delete_int16(multimap_t *map, const char *key, int value);
int multimap_delete_uint8(multimap_t *map, const char *key, unsigned int value);
int multimap_delete_int8(multimap_t *map, const char *key, int value);
int multimap_delete_bool(multimap_t *map, const char *key, unsigned int value);
int multimap_delete_uint(multimap_t *map, const char *key, unsigned int value);
int multimap_delete_int(multimap_t *map, const char *key, int value);
int multimap_delete_uchar(multimap_t *map, const char *key, unsigned int value);
int multimap_delete_char(multimap_t *map, const char *key, int value);
int multimap_delete_str(multimap_t *map, const char *key, const char *value);
int multimap_delete_fmt(multimap_t *map, const char *key, const char *format, ...)
    TEXTMAPS_PRINTF(3, 4);
int multimap_delete_macaddr(multimap_t *map, const char *key, const macaddr_t *value);
int multimap_delete_ipaddr(multimap_t *map, const char *key, const ipaddr_t *value);
int multimap_delete_cidr(multimap_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: read
 * Each reads the text at a position of the key's list back as its type.
 *
 * @param index  Position in the key's list, from 0.
 * @param out    Receives the value; untouched on failure, other than by `multimap_get_time`.
 * @return 0; 2 if there is no such key or position; 22 if `map`, `key` or `out` is NULL or the
 * multimap is released; 34 if the text is no number of the type (bucket.h has the rules). The
 * address forms return what the conversion from text returns. They see the first 17 (MAC), 45 (IP)
 * or 91 (CIDR) characters only: of a longer text, such as a MAC address with something behind it,
 * the rest goes unnoticed.
 * @{
 */
int multimap_get_uint64(const multimap_t *map, const char *key, uint32_t index, uint64_t *out);
int multimap_get_int64(const multimap_t *map, const char *key, uint32_t index, int64_t *out);
int multimap_get_uint32(const multimap_t *map, const char *key, uint32_t index, uint32_t *out);
int multimap_get_int32(const multimap_t *map, const char *key, uint32_t index, int32_t *out);
int multimap_get_uint16(const multimap_t *map, const char *key, uint32_t index, uint16_t *out);
int multimap_get_int16(const multimap_t *map, const char *key, uint32_t index, int16_t *out);
int multimap_get_uint8(const multimap_t *map, const char *key, uint32_t index, uint8_t *out);
int multimap_get_int8(const multimap_t *map, const char *key, uint32_t index, int8_t *out);
int multimap_get_bool(const multimap_t *map, const char *key, uint32_t index, bool *out);
int multimap_get_uint(const multimap_t *map, const char *key, uint32_t index, unsigned int *out);
int multimap_get_int(const multimap_t *map, const char *key, uint32_t index, int *out);
int multimap_get_uchar(const multimap_t *map, const char *key, uint32_t index, unsigned char *out);
int multimap_get_char(const multimap_t *map, const char *key, uint32_t index, char *out);
int multimap_get_macaddr(const multimap_t *map, const char *key, uint32_t index, macaddr_t *out);
int multimap_get_ipaddr(const multimap_t *map, const char *key, uint32_t index, ipaddr_t *out);
int multimap_get_cidr(const multimap_t *map, const char *key, uint32_t index, cidr_t *out);

/**
 * Reads a time. Unlike the others it writes `out` whatever it returns, 0 on failure, and takes a
 * NULL `out`: the text is then only tested.
 */
int multimap_get_time(const multimap_t *map, const char *key, uint32_t index, int32_t *out);
/** @} */

/** @name Text
 * @{
 */

/**
 * Looks a text up among the values of a key, without regard to case (as `strncasecmp`). Only values
 * that were stored with their NUL can match.
 *
 * @param index  Receives the position of the first match in the key's list, from 0; untouched on
 *               failure; may be NULL.
 * @return 0; 2 if there is no such key, if none of its values matches, or if the multimap is
 * released; 22 if `map`, `key` or `text` is NULL.
 */
int multimap_casefind_str(const multimap_t *map, const char *key, const char *text,
                          uint32_t *index);

/**
 * Copies a value as text: up to its first NUL or its length, cut silently to `size - 1` characters.
 *
 * @param index   Position in the key's list, from 0.
 * @param buffer  Receives the text with its NUL.
 * @param size    Of the buffer, in bytes. With 0 nothing is written.
 * @return 0, also when the text was cut; 2 if there is no such key or position; 22 if `map`, `key`
 * or `buffer` is NULL or the multimap is released.
 */
int multimap_copy_str(const multimap_t *map, const char *key, uint32_t index, char *buffer,
                      uint32_t size);

/**
 * Copies a value, all of its bytes, into memory of its own. A value stored as text carries its NUL;
 * one stored without gives a copy without.
 *
 * @param index  Position in the key's list, from 0.
 * @param out    Receives the copy, the caller's to `free`; NULL if there is no memory; untouched on
 *               any other failure.
 * @return 0; 2 if there is no such key or position; 22 if `map`, `key` or `out` is NULL or the
 * multimap is released; 12 if there is no memory. One allocation, of the stored length.
 */
int multimap_dup_str(const multimap_t *map, const char *key, uint32_t index, char **out);

/** @} */

TEXTMAPS_END_DECLS

#endif
