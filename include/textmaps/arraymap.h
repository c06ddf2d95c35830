/**
 * @file arraymap.h
 * @brief The arraymap: a hash table that keeps a list of values per key, addressed by position.
 *
 * The caller owns the record, an `arraymap_t` on its stack or inside a larger record. The arraymap
 * owns one array of buckets, one block of memory for each key, which holds a key node and the key's
 * text, and one for each value, which holds a value node and the value's bytes:
 *
 *     arraymap_t    buckets     key node: one block of memory
 *     +---------+   +-------+   +----+----+---+-----+------+---+--+
 *     | buckets |-->| first |-->|next|prev|key|count|values|key|\0|
 *     +---------+   | last  |   +----+----+-|-+-----+--|---+---+--+
 *                   +-------+     |         +----------|---^
 *                   |  ...  |     v next key           v first value: one block
 *                   +-------+                 +----+----+----+---+-----+-----+
 *                                             |next|prev|data|len|index|bytes|
 *                                             +----+----+--|-+---+-----+-----+
 *                                               |          +-----------^
 *                                               v next value
 *
 * A key exists as long as it holds a value: its first value makes it, and it goes with its last.
 * The values of a key stand in the order in which they were inserted, and may repeat.
 *
 * A value's *position* is its place in the list, from 0; its *index* is the number in its node, by
 * which `arraymap_replace` and `arraymap_remove` find it. The two are the same, other than for the
 * values of keys that `arraymap_setcasekeys` merged, until the next removal from that list: an
 * index may then repeat, which means the first value that has it, or be that of no value.
 *
 * Life: `arraymap_init`, any calls, `arraymap_destroy`; then `arraymap_init` may be called again. A
 * record is *released* after `arraymap_destroy` and after a failed `arraymap_init`: what needs the
 * buckets, `arraymap_destroy` included, then gives 22 (or NULL, or 0), while counting and the
 * settings still return 0. A record that was never initialised may only be given to
 * `arraymap_init`.
 *
 * Pointers to keys and values that the arraymap hands out lead into its own memory. A value's stays
 * valid until that value is replaced or removed, a key's until its last value is; both until the
 * arraymap is cleared or destroyed. `arraymap_setcasekeys` frees keys and values that become equal.
 * No other call moves a node. What is stored is copied, and whatever is handed in may itself lie
 * inside the arraymap: a key or value of the very node that the call frees is safe.
 *
 * Iteration order is bucket by bucket, and within a bucket the order in which keys were added. It
 * depends on the hash and on `hashsize`.
 *
 * Cost: a call that takes a key hashes it once, walks one chain of about `numkeys / hashsize` keys,
 * and then the key's values from the first. The table never grows by itself: see
 * `arraymap_sethashsize`.
 *
 * Results, keys, the key limit and typed text are explained in bucket.h.
 */
#ifndef TEXTMAPS_ARRAYMAP_H
#define TEXTMAPS_ARRAYMAP_H

#include <textmaps/bucket.h>

#include <addrkit.h>

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

TEXTMAPS_BEGIN_DECLS

/** One value of a key. Read the fields, never write them. */
typedef struct arraymap_value {
    struct arraymap_value *next; /**< The following value of the key; NULL for the last. */
    struct arraymap_value *
        *prev;        /**< The pointer that leads here: a `next`, or the list's `first`. */
    const void *data; /**< The value's bytes, behind this node. No terminator is added. */
    uint32_t len;     /**< Length of the value in bytes, as it was given. */
    uint32_t index;   /**< Its position when it was set, from 0. */
} arraymap_value_t;

/** One key and its list of values. Read the fields, never write them. */
typedef struct arraymap_key {
    struct arraymap_key *next; /**< The following key of the bucket; NULL for the last. */
    struct arraymap_key *
        *prev;       /**< The pointer that leads here: a `next`, or the bucket's `first`. */
    const char *key; /**< The key's text, behind this node. */
    uint32_t count;  /**< Values in the list: at least 1. */
    struct {
        arraymap_value_t *first; /**< The first value. */
        arraymap_value_t **last; /**< Address of the last value's `next`. */
    } values;                    /**< The values, in the order in which they were inserted. */
} arraymap_key_t;

/**
 * The container's record. Read the fields freely; change them through the functions. The order of
 * the fields is part of the binary interface.
 */
typedef struct arraymap {
    int32_t maxkeys;       /**< The key limit; negative for none, as after `arraymap_init`. */
    int32_t maxvalues;     /**< A limit on values, recorded only: see `arraymap_setmaxvalues`. */
    int32_t numkeys;       /**< Keys held now. */
    int32_t numvalues;     /**< Values held now, under all keys together. */
    uint32_t casekeys;     /**< 0: keys compare by `strcmp`; 1: by `strcasecmp`. */
    uint32_t hashsize;     /**< Number of buckets; 0 when released. */
    map_hash_fn hashfunc;  /**< The caller's hash function; NULL for the built-in one. */
    map_bucket_t *buckets; /**< The array of buckets; NULL when released. */
} arraymap_t;

/** A position in the iteration order of the keys. Set it to zeros before first use. */
typedef struct arraymap_key_iter {
    const arraymap_t *map;      /**< The arraymap; NULL until `arraymap_key_first` is called. */
    uint32_t bucket;            /**< Index of the key's bucket; `hashsize` after the end. */
    const arraymap_key_t *node; /**< The current key; after the end, the last one. */
} arraymap_key_iter_t;

/** A position among the values of a key. Set it to zeros before first use. */
typedef struct arraymap_value_iter {
    const arraymap_t *map;        /**< The arraymap; NULL until `arraymap_value_first` is called. */
    uint32_t position;            /**< The value's position in the list, from 0. */
    const arraymap_key_t *key;    /**< The key; NULL if it was not found. */
    const arraymap_value_t *node; /**< The current value; NULL if the key was not found. */
} arraymap_value_iter_t;

/** One element of a sorted list of keys. */
typedef struct arraymap_sort_item {
    const char *key; /**< The key's text, inside the arraymap. */
    int32_t ordinal; /**< Its position in iteration order, as `arraymap_key_name` takes it. */
} arraymap_sort_item_t;

/** A caller's printf-like function; what it returns is ignored. */
typedef int (*arraymap_print_fn)(void *context, const char *format, ...);

/** @name Life of an arraymap
 * @{
 */

/**
 * Makes a record an empty arraymap: 32 buckets, no limits, case-sensitive keys, the built-in hash.
 *
 * What the record held before is not looked at: a live arraymap must be destroyed first, or its
 * memory is lost.
 *
 * @return 0; 22 if `map` is NULL; 12 if there is no memory, and the record is released.
 */
int arraymap_init(arraymap_t *map);

/**
 * Makes a record an empty arraymap as `arraymap_init` does, with a given number of buckets.
 *
 * @param hashsize  Taken as given. It should be a power of two: with any other number some buckets
 *                  stay unused, and such an arraymap cannot be copied into one of another size.
 *                  With 0 no bucket is allocated and the record is as a released one: every call on
 *                  it is safe and gives what a released record gives, until `arraymap_sethashsize`
 *                  or another initialisation makes it live.
 * @return 0; 22 if `map` is NULL; 12 if there is no memory or the array would not fit the address
 * space, and the record is released.
 */
int arraymap_init_special(arraymap_t *map, uint32_t hashsize);

/**
 * Frees every key, every value and the buckets, and leaves the record released. `maxkeys`,
 * `maxvalues` and `casekeys` keep their values.
 *
 * @return 0; 22 if `map` is NULL or released already (the map's `map_destroy` gives 0 then).
 */
int arraymap_destroy(arraymap_t *map);

/**
 * Removes every key and value; the settings and the buckets stay.
 *
 * @return 0; 22 if `map` is NULL or released. Cost: one visit to each bucket, key and value; none
 * for an empty arraymap.
 */
int arraymap_clear(arraymap_t *map);

/** @} */

/** @name Values
 * @{
 */

/**
 * Adds a value at the end of its key's list, and a key that is not there yet at the end of its
 * bucket. An existing key keeps its spelling. A value that the key holds already is added again.
 *
 * @param key   Copied, for a new key.
 * @param data  The value, copied; not NULL even if `len` is 0.
 * @param len   Of the value, in bytes.
 * @return 0; 1 if the key is new and the key limit is reached; 22 if `map`, `key` or `data` is NULL
 * or the arraymap is released; 12 if there is no memory. One allocation for the value, and one for
 * a new key. Cost: constant beyond the look-up of the key.
 */
int arraymap_insert(arraymap_t *map, const char *key, const void *data, uint32_t len);

/**
 * Sets a value that is there, in its place. Nothing is ever appended.
 *
 * @param index  The value's index, from 0.
 * @param data   The new value, copied; NULL only if `len` is 0. It may lie in the old one.
 * @param len    Of the new value, in bytes.
 * @return 0; 2 if there is no such key or index; 22 if `map` or `key` is NULL or the arraymap is
 * released, and, for a value that is there, if `data` is NULL and `len` is not 0; 12 if there is no
 * memory, and the old value stays. One allocation.
 */
int arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                     uint32_t len);

/**
 * Removes one value, and its key with the last value. The indexes of the others are then their
 * positions.
 *
 * @param index  The value's index, from 0.
 * @return 0; 2 if there is no such key or index; 22 if `map` or `key` is NULL or the arraymap is
 * released. Cost: a walk over the key's values.
 */
int arraymap_remove(arraymap_t *map, const char *key, uint32_t index);

/**
 * Removes every value of a key that equals the given one, and the key with the last value. The
 * indexes of the others are then their positions.
 *
 * @param data  The value; not NULL even if `len` is 0. It may lie in one of the values that go.
 * @param len   Of the value, in bytes.
 * @return 0; 2 if there is no such key or it does not hold the value; 22 if `map`, `key` or `data`
 * is NULL or the arraymap is released. Cost: a walk over the key's values.
 */
int arraymap_delete(arraymap_t *map, const char *key, const void *data, uint32_t len);

/**
 * Removes a key with all of its values.
 *
 * @return 0; 2 if there is no such key; 22 if `map` or `key` is NULL or the arraymap is released.
 */
int arraymap_erase(arraymap_t *map, const char *key);

/**
 * Looks a value up by its position.
 *
 * @param position  In the key's list, from 0.
 * @param data      Receives the address of the value inside the arraymap, not a copy; may be NULL.
 * @param len       Receives its length in bytes; may be NULL.
 * @return 0; 2 if there is no such key or position, with NULL and 0 in the outputs; 22 if `map` or
 * `key` is NULL or the arraymap is released, with the outputs untouched.
 */
int arraymap_index(const arraymap_t *map, const char *key, uint32_t position, const void **data,
                   uint32_t *len);

/** @return 1 if the key is there; 0 if not, or if `map` or `key` is NULL or the arraymap is released. */
int arraymap_haskey(const arraymap_t *map, const char *key);

/** @} */

/** @name Iteration
 * Keys in iteration order, and the values of a key in the order in which they were inserted:
 *
 *     arraymap_key_iter_t keys = {0};
 *     for (key = arraymap_key_first(map, &keys); key != NULL;
 *          key = arraymap_key_next(&keys)) {
 *         arraymap_value_iter_t values = {0};
 *         for (data = arraymap_value_first(map, key, &values); data != NULL;
 *              data = arraymap_value_next(&values)) {
 *             use(key, data, arraymap_value_size(&values));
 *         }
 *     }
 *
 * The arraymap must not change in between. A step costs constant time on average; a walk over the
 * keys visits every bucket.
 * @{
 */

/**
 * Starts an iterator on the first key.
 *
 * @return The key; NULL if the arraymap is empty, and the iterator is then past the end; NULL if
 * the arraymap is NULL or released or `iter` is NULL, and the iterator is then left as it was.
 */
const char *arraymap_key_first(const arraymap_t *map, arraymap_key_iter_t *iter);

/**
 * Moves an iterator on.
 *
 * @return The next key; NULL after the last one, however often it is called: the iterator then
 * stays on the last key. NULL also for an iterator that is NULL or is on no key.
 */
const char *arraymap_key_next(arraymap_key_iter_t *iter);

/** @return The current key; NULL for an iterator that is NULL or is on no key. */
const char *arraymap_key_elem(const arraymap_key_iter_t *iter);

/**
 * Starts an iterator on the first value of a key.
 *
 * @return The value's bytes inside the arraymap; NULL if there is no such key, and the iterator is
 * then on no value; NULL if `map`, `key` or `iter` is NULL or the arraymap is released, and the
 * iterator is then left as it was.
 */
const void *arraymap_value_first(const arraymap_t *map, const char *key,
                                 arraymap_value_iter_t *iter);

/**
 * Moves an iterator on.
 *
 * @return The next value's bytes; NULL after the last one, however often it is called: the iterator
 * then stays on the last value, but its position grows by one with every call. NULL also for an
 * iterator that is NULL or is on no value.
 */
const void *arraymap_value_next(arraymap_value_iter_t *iter);

/** @return The current value's bytes; NULL for an iterator that is NULL or is on no value. */
const void *arraymap_value_elem(const arraymap_value_iter_t *iter);

/** @return The current value's length in bytes; 0 for an iterator that is NULL or is on no value. */
uint32_t arraymap_value_size(const arraymap_value_iter_t *iter);

/**
 * @return The iterator's position, from 0: of the current value, and the number of values once
 * `arraymap_value_next` has returned NULL; 0 for an iterator that is NULL or is on no value.
 */
uint32_t arraymap_value_index(const arraymap_value_iter_t *iter);

/** @return The number of values of the key; 0 for an iterator that is NULL or is on no value. */
uint32_t arraymap_value_count(const arraymap_value_iter_t *iter);

/** @return 1 if `map` is NULL or holds no key, else 0. */
int arraymap_isempty(const arraymap_t *map);

/**
 * @param count  Receives the number of keys.
 * @return 0; 22 if `map` or `count` is NULL.
 */
int arraymap_key_count(const arraymap_t *map, uint32_t *count);

/**
 * @param ordinal  A position in iteration order, from 0.
 * @return The key there, inside the arraymap; NULL if there is none, or if `map` is NULL or
 * released. Cost: a walk to the position from the start.
 */
const char *arraymap_key_name(const arraymap_t *map, int32_t ordinal);

/** @} */

/** @name Printing
 * One line for each value: " %s[%u]=%.*s\n" with the key, the value's position from 0, its length
 * and its bytes. Keys are listed in `strcmp` order, whatever `casekeys` says, and the values of a
 * key in theirs. A value is printed up to its first NUL or its length, whichever comes first. For
 * an arraymap that is NULL or empty there is one line, "map is empty\n".
 *
 * One array is allocated to sort in; without memory for it keys are listed in iteration order.
 * Cost: n log n for n keys. Results of writing are ignored.
 * @{
 */

/**
 * Prints through a caller's function, with no header. A `fn` of NULL prints nothing; any other may
 * read the arraymap, but must not change it.
 */
void arraymap_print(const arraymap_t *map, arraymap_print_fn fn, void *context);

/**
 * Prints the header "arraymap %p hashsize=%d numkeys=%d numvalues=%d\n" and the lines. A `stream`
 * of NULL prints nothing.
 */
void arraymap_dump(const arraymap_t *map, FILE *stream);

/**
 * Writes what `arraymap_dump` prints into a buffer, cut to `size - 1` characters and always
 * terminated.
 *
 * @param buffer  Written.
 * @param size    Of the buffer, in bytes. With 0 nothing is written.
 * @return The length of the text in the buffer, its NUL not counted; 0 if `buffer` is NULL or
 * `size` is 0. A result of `size - 1` may mean that the text was cut.
 */
uint32_t arraymap_sndump(const arraymap_t *map, char *buffer, uint32_t size);

/** @} */

/** @name Settings
 * They may change at any time. The first three rebuild the chains by relinking: no node moves in
 * memory, and keys that share a bucket keep their order. Cost: one hash and relink per key.
 * @{
 */

/**
 * Changes the number of buckets. For short chains, use at least as many buckets as keys.
 *
 * On a released arraymap it allocates the buckets, and the arraymap is live again with the limits
 * and `casekeys` that it kept, and a hash function set meanwhile.
 *
 * @param size  A power of two. The present size returns 0 at once.
 * @return 0; 22 if `map` is NULL or `size` is 0 or no power of two; 12 if there is no memory or the
 * array would not fit the address space. One allocation.
 */
int arraymap_sethashsize(arraymap_t *map, uint32_t size);

/**
 * Changes the hash function. The function that is set already returns 0 at once.
 *
 * @param fn  NULL for the built-in hash. For keys that strangers choose, a keyed one: see
 *            `map_hash_fn`.
 * @return 0; 22 if `map` is NULL.
 */
int arraymap_sethashfunc(arraymap_t *map, map_hash_fn fn);

/**
 * Makes keys compare without regard to case, or with regard to it again. The flag that is set
 * already returns 0 at once.
 *
 * Keys that become equal are merged: the first in iteration order stays, with its spelling, and the
 * values of the others move to the end of its list in their order, other than those equal to one
 * that it holds by then, which are freed. A value that moves keeps its index, so that indexes of
 * the list may repeat and differ from the positions, until the next removal from it. This is not
 * reported, other than by `numkeys` and `numvalues`.
 *
 * @param flag  0 for case-sensitive keys; any other number for case-insensitive ones.
 * @return 0; 22 if `map` is NULL. Cost: one look-up per key, and a look-up by content for each
 * value of a key that is merged.
 */
int arraymap_setcasekeys(arraymap_t *map, uint32_t flag);

/**
 * Sets the key limit. Mind its one-short rule: a limit of N admits N - 1 keys, though a limit equal
 * to the present number of keys is accepted. Values of keys that are there are always admitted.
 *
 * @param limit  Number of keys; negative for no limit.
 * @return 0; 1 if the limit is below `numkeys`, and nothing changes; 22 if `map` is NULL.
 */
int arraymap_setmaxkeys(arraymap_t *map, int32_t limit);

/**
 * Records a limit on the number of values. Nothing enforces it: it is the caller's to read.
 *
 * @param limit  Number of values under all keys together; negative for no limit.
 * @return 0; 1 if the limit is below `numvalues`, and nothing changes; 22 if `map` is NULL.
 */
int arraymap_setmaxvalues(arraymap_t *map, int32_t limit);

/** @} */

/** @name Comparing and combining arraymaps
 * What fills a destination visits the source's keys in iteration order, the values of each in
 * theirs, and inserts with the destination's own settings. Sources are only read; a released one is
 * as an empty one, other than to `arraymap_copy`. Cost: each key is hashed once for each arraymap
 * that is searched or filled; where equal values matter, each value is sought among those of its
 * key there.
 * @{
 */

/**
 * Whether two arraymaps hold as many keys and values, and `b` holds every value of `a` under its
 * key. Neither the order of values nor how often each occurs is compared: x, x equals x, y. Keys
 * are looked up with the comparison of `b`, so that the order of the arguments can matter; the
 * other settings do not matter.
 *
 * @return 1 if equal, or if both are NULL; else 0. A released arraymap equals an empty one.
 */
int arraymap_isequal(const arraymap_t *a, const arraymap_t *b);

/**
 * Fills `dst` with the values of `a` that `b` holds too, each as often as `a` has it. `dst` is
 * cleared first.
 *
 * @return 0; 22 if an arraymap is NULL, `dst` is released, or `dst` is `a` or `b` (which then stay
 * as they are); or the code of the insert that failed (1 at the key limit, 12), and then `dst` is
 * empty.
 */
int arraymap_intersection(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst);

/**
 * Fills `dst` with all values of `a`, and then with those of `b` that it does not hold by then,
 * each once. `dst` is cleared first.
 *
 * Give both sources the same number of buckets: of `b`, only as many buckets are visited as `a`
 * has; none, if `a` is released.
 *
 * @return 0; 22 if an arraymap is NULL, `dst` is released, or `dst` is `a` or `b` (which then stay
 * as they are); or the code of the insert that failed (1 at the key limit, 12), and then `dst` is
 * empty.
 */
int arraymap_union(const arraymap_t *a, const arraymap_t *b, arraymap_t *dst);

/**
 * Adds all values of `src` to `dst`, behind those that are there, equal or not.
 *
 * @return 0; 22 if an arraymap is NULL, both are the same, or `dst` is released and `src` holds
 * keys; or the code of the insert that failed (1 at the key limit, 12), and then `dst` keeps what
 * was added so far.
 */
int arraymap_merge(const arraymap_t *src, arraymap_t *dst);

/**
 * Makes `dst` hold what `src` holds, in as many buckets as `src` has. `dst` is cleared first; its
 * other settings stay.
 *
 * @return 0; 22 if an arraymap is NULL or released, if both are the same (which then stays as it
 * is), or if the number of buckets is to change to one that is no power of two; 12 if there is no
 * memory; 1 at the key limit. If it fails, `dst` is empty, unless an arraymap is NULL or both are
 * the same.
 */
int arraymap_copy(const arraymap_t *src, arraymap_t *dst);

/** @} */

/** @name Typed values: insert
 * Each appends the text form of the value, as `arraymap_insert` does.
 *
 * @return What `arraymap_insert` returns; 22 if `map`, `key` or a pointer given as the value or
 * format is NULL; what the conversion of an address returns if it fails. The fmt form: 12 if there
 * is no memory for the text, `errno` if it cannot be formatted; its arguments may lie inside the
 * arraymap. The str form: 12 also for a text of 4 GiB or more.
 * @{
 */
int arraymap_insert_uint64(arraymap_t *map, const char *key, uint64_t value);
int arraymap_insert_int64(arraymap_t *map, const char *key, int64_t value);
int arraymap_insert_uint32(arraymap_t *map, const char *key, uint32_t value);
int arraymap_insert_int32(arraymap_t *map, const char *key, int32_t value);
int arraymap_insert_time(arraymap_t *map, const char *key, int32_t value);
int arraymap_insert_uint16(arraymap_t *map, const char *key, unsigned int value);
int arraymap_insert_int16(arraymap_t *map, const char *key, int value);
int arraymap_insert_uint8(arraymap_t *map, const char *key, unsigned int value);
int arraymap_insert_int8(arraymap_t *map, const char *key, int value);
int arraymap_insert_bool(arraymap_t *map, const char *key, unsigned int value);
int arraymap_insert_uint(arraymap_t *map, const char *key, unsigned int value);
int arraymap_insert_int(arraymap_t *map, const char *key, int value);
int arraymap_insert_uchar(arraymap_t *map, const char *key, unsigned int value);
int arraymap_insert_char(arraymap_t *map, const char *key, int value);
int arraymap_insert_str(arraymap_t *map, const char *key, const char *value);
int arraymap_insert_fmt(arraymap_t *map, const char *key, const char *format, ...)
    TEXTMAPS_PRINTF(3, 4);
int arraymap_insert_macaddr(arraymap_t *map, const char *key, const macaddr_t *value);
int arraymap_insert_ipaddr(arraymap_t *map, const char *key, const ipaddr_t *value);
int arraymap_insert_cidr(arraymap_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: replace
 * Each sets the value of an index to the text form of the given one, as `arraymap_replace` does.
 *
 * @param index  The value's index, from 0.
 * @return What `arraymap_replace` returns; else as the inserting forms.
 * @{
 */
int arraymap_replace_uint64(arraymap_t *map, const char *key, uint32_t index, uint64_t value);
int arraymap_replace_int64(arraymap_t *map, const char *key, uint32_t index, int64_t value);
int arraymap_replace_uint32(arraymap_t *map, const char *key, uint32_t index, uint32_t value);
int arraymap_replace_int32(arraymap_t *map, const char *key, uint32_t index, int32_t value);
int arraymap_replace_time(arraymap_t *map, const char *key, uint32_t index, int32_t value);
int arraymap_replace_uint16(arraymap_t *map, const char *key, uint32_t index, unsigned int value);
int arraymap_replace_int16(arraymap_t *map, const char *key, uint32_t index, int value);
int arraymap_replace_uint8(arraymap_t *map, const char *key, uint32_t index, unsigned int value);
int arraymap_replace_int8(arraymap_t *map, const char *key, uint32_t index, int value);
int arraymap_replace_bool(arraymap_t *map, const char *key, uint32_t index, unsigned int value);
int arraymap_replace_uint(arraymap_t *map, const char *key, uint32_t index, unsigned int value);
int arraymap_replace_int(arraymap_t *map, const char *key, uint32_t index, int value);
int arraymap_replace_uchar(arraymap_t *map, const char *key, uint32_t index, unsigned int value);
int arraymap_replace_char(arraymap_t *map, const char *key, uint32_t index, int value);
int arraymap_replace_str(arraymap_t *map, const char *key, uint32_t index, const char *value);
int arraymap_replace_fmt(arraymap_t *map, const char *key, uint32_t index, const char *format, ...)
    TEXTMAPS_PRINTF(4, 5);
int arraymap_replace_macaddr(arraymap_t *map, const char *key, uint32_t index,
                             const macaddr_t *value);
int arraymap_replace_ipaddr(arraymap_t *map, const char *key, uint32_t index,
                            const ipaddr_t *value);
int arraymap_replace_cidr(arraymap_t *map, const char *key, uint32_t index, const cidr_t *value);
/** @} */

/** @name Typed values: delete
 * Each removes every value of the key that equals the text form of the given one, as
 * `arraymap_delete` does.
 *
 * @return What `arraymap_delete` returns; else as the inserting forms.
 * @{
 */
int arraymap_delete_uint64(arraymap_t *map, const char *key, uint64_t value);
int arraymap_delete_int64(arraymap_t *map, const char *key, int64_t value);
int arraymap_delete_uint32(arraymap_t *map, const char *key, uint32_t value);
int arraymap_delete_int32(arraymap_t *map, const char *key, int32_t value);
int arraymap_delete_time(arraymap_t *map, const char *key, int32_t value);
int arraymap_delete_uint16(arraymap_t *map, const char *key, unsigned int value);
int arraymap_delete_int16(arraymap_t *map, const char *key, int value);
int arraymap_delete_uint8(arraymap_t *map, const char *key, unsigned int value);
int arraymap_delete_int8(arraymap_t *map, const char *key, int value);
int arraymap_delete_bool(arraymap_t *map, const char *key, unsigned int value);
int arraymap_delete_uint(arraymap_t *map, const char *key, unsigned int value);
int arraymap_delete_int(arraymap_t *map, const char *key, int value);
int arraymap_delete_uchar(arraymap_t *map, const char *key, unsigned int value);
int arraymap_delete_char(arraymap_t *map, const char *key, int value);
int arraymap_delete_str(arraymap_t *map, const char *key, const char *value);
int arraymap_delete_fmt(arraymap_t *map, const char *key, const char *format, ...)
    TEXTMAPS_PRINTF(3, 4);
int arraymap_delete_macaddr(arraymap_t *map, const char *key, const macaddr_t *value);
int arraymap_delete_ipaddr(arraymap_t *map, const char *key, const ipaddr_t *value);
int arraymap_delete_cidr(arraymap_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: read
 * Each reads the text at a position of the key's list back as its type.
 *
 * @param position  In the key's list, from 0.
 * @param out       Receives the value; untouched on failure, other than by `arraymap_get_time`.
 * @return 0; 2 if there is no such key or position; 22 if `map`, `key` or `out` is NULL or the
 * arraymap is released; 34 if the text is no number of the type (bucket.h has the rules). The
 * address forms return what the conversion from text returns. They see the first 17 (MAC), 45 (IP)
 * or 91 (CIDR) characters only: of a longer text, such as a MAC address with something behind it,
 * the rest goes unnoticed.
 * @{
 */
int arraymap_get_uint64(const arraymap_t *map, const char *key, uint32_t position, uint64_t *out);
int arraymap_get_int64(const arraymap_t *map, const char *key, uint32_t position, int64_t *out);
int arraymap_get_uint32(const arraymap_t *map, const char *key, uint32_t position, uint32_t *out);
int arraymap_get_int32(const arraymap_t *map, const char *key, uint32_t position, int32_t *out);
int arraymap_get_uint16(const arraymap_t *map, const char *key, uint32_t position, uint16_t *out);
int arraymap_get_int16(const arraymap_t *map, const char *key, uint32_t position, int16_t *out);
int arraymap_get_uint8(const arraymap_t *map, const char *key, uint32_t position, uint8_t *out);
int arraymap_get_int8(const arraymap_t *map, const char *key, uint32_t position, int8_t *out);
int arraymap_get_bool(const arraymap_t *map, const char *key, uint32_t position, bool *out);
int arraymap_get_uint(const arraymap_t *map, const char *key, uint32_t position, unsigned int *out);
int arraymap_get_int(const arraymap_t *map, const char *key, uint32_t position, int *out);
int arraymap_get_uchar(const arraymap_t *map, const char *key, uint32_t position,
                       unsigned char *out);
int arraymap_get_char(const arraymap_t *map, const char *key, uint32_t position, char *out);
int arraymap_get_macaddr(const arraymap_t *map, const char *key, uint32_t position, macaddr_t *out);
int arraymap_get_ipaddr(const arraymap_t *map, const char *key, uint32_t position, ipaddr_t *out);
int arraymap_get_cidr(const arraymap_t *map, const char *key, uint32_t position, cidr_t *out);

/**
 * Reads a time. Unlike the others it writes `out` whatever it returns, 0 on failure, and takes a
 * NULL `out`: the text is then only tested.
 */
int arraymap_get_time(const arraymap_t *map, const char *key, uint32_t position, int32_t *out);
/** @} */

/** @name Text
 * @{
 */

/**
 * Copies a value as text: up to its first NUL or its length, cut silently to `size - 1` characters.
 *
 * @param position  In the key's list, from 0.
 * @param buffer    Receives the text with its NUL.
 * @param size      Of the buffer, in bytes. With 0 nothing is written.
 * @return 0, also when the text was cut; 2 if there is no such key or position; 22 if `map`, `key`
 * or `buffer` is NULL or the arraymap is released.
 */
int arraymap_copy_str(const arraymap_t *map, const char *key, uint32_t position, char *buffer,
                      uint32_t size);

/**
 * Copies a value, all of its bytes, into memory of its own. A value stored as text carries its NUL;
 * one stored without gives a copy without.
 *
 * @param position  In the key's list, from 0.
 * @param out       Receives the copy, the caller's to `free`; NULL if there is no memory; untouched
 *                  on any other failure.
 * @return 0; 2 if there is no such key or position; 22 if `map`, `key` or `out` is NULL or the
 * arraymap is released; 12 if there is no memory. One allocation, of the stored length.
 */
int arraymap_dup_str(const arraymap_t *map, const char *key, uint32_t position, char **out);

/** @} */

TEXTMAPS_END_DECLS

#endif
