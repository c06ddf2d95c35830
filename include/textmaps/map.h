/**
 * @file map.h
 * @brief The map: a hash table that keeps one value per key.
 *
 * The caller owns the record, a `map_t` on its stack or inside a larger record. The map owns one
 * array of buckets and, for each key, one block of memory that holds an entry, the value's bytes
 * and the key's text:
 *
 *     map_t         buckets     entry: one block of memory
 *     +---------+   +-------+   +----+----+-----+-------+---+-----+---+--+
 *     | buckets |-->| first |-->|next|prev|value|valuesz|key|value|key|\0|
 *     +---------+   | last  |   +----+----+--|--+-------+-|-+-----+---+--+
 *                   +-------+     |          +------------|-^     ^
 *                   |  ...  |     v next entry            +-------+
 *                   +-------+
 *
 * Life: `map_init`, any calls, `map_destroy`; then `map_init` may be called again. A record is
 * *released* after `map_destroy` and after a failed `map_init`: what needs the buckets then gives
 * 22 (or NULL, or 0), while counting, the settings and `map_destroy` still return 0. A record that
 * was never initialised may only be given to `map_init`.
 *
 * Pointers to keys, values and entries that the map hands out lead into its own memory. They stay
 * valid until that key is replaced, erased, or dropped by `map_setcasekeys`, or the map is cleared
 * or destroyed; no other call moves an entry. What is stored is copied, and whatever is handed in
 * may itself lie inside the map: a value or key of the very entry that the call replaces or erases
 * is safe.
 *
 * Iteration order is bucket by bucket, and within a bucket the order in which entries were added; a
 * replaced key moves to the end of its bucket. It depends on the hash and on `hashsize`.
 *
 * Cost: a call that takes a key hashes it once and walks one chain of about `numkeys / hashsize`
 * entries. The table never grows by itself: see `map_sethashsize`.
 *
 * Results, keys, the key limit and typed text are explained in bucket.h.
 */
#ifndef TEXTMAPS_MAP_H
#define TEXTMAPS_MAP_H

#include <textmaps/bucket.h>

#include <addrkit.h>

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

TEXTMAPS_BEGIN_DECLS

/** One key and its value. Read the fields, never write them. */
typedef struct map_entry {
    struct map_entry *next;  /**< The following entry of the bucket; NULL for the last. */
    struct map_entry **prev; /**< The pointer that leads here: a `next`, or the bucket's `first`. */
    const void *value;       /**< The value's bytes, behind this header. No terminator is added. */
    uint32_t valuesz;        /**< Length of the value in bytes, as it was given. */
    const char *key;         /**< The key's text, behind the value; not aligned. */
} map_entry_t;

/**
 * The container's record. Read the fields freely; change them through the functions. The order of
 * the fields is part of the binary interface.
 */
typedef struct map {
    int32_t maxkeys;       /**< The key limit; negative for none, as after `map_init`. */
    int32_t numkeys;       /**< Entries held now. */
    uint32_t casekeys;     /**< 0: keys compare by `strcmp`; 1: by `strcasecmp`. */
    uint32_t hashsize;     /**< Number of buckets, a power of two; 0 when released. */
    map_hash_fn hashfunc;  /**< The caller's hash function; NULL for the built-in one. */
    map_bucket_t *buckets; /**< The array of buckets; NULL when released. */
} map_t;

/** A position in the iteration order. Set it to zeros before first use. */
typedef struct map_iter {
    const map_t *map;         /**< The map; NULL until `map_first` succeeds. */
    uint32_t bucket;          /**< Index of the entry's bucket; `hashsize` or more after the end. */
    const map_entry_t *entry; /**< The current entry; after the end, the last one. */
} map_iter_t;

/** One element of a sorted list of keys. */
typedef struct map_sort_item {
    const char *key; /**< The key's text, inside the map. */
    int32_t index;   /**< Its position in iteration order, as `map_key_name` takes it. */
} map_sort_item_t;

/** A caller's printf-like function; what it returns is ignored. */
typedef int (*map_print_fn)(void *context, const char *format, ...);

/**
 * A caller's function for `map_print_sorted`.
 * @param items  The keys in sorted order; they and the array are valid during the call only.
 * @param count  Number of items.
 * @return What `map_print_sorted` is to return.
 */
typedef int (*map_print_sorted_fn)(const map_t *map, FILE *stream, const map_sort_item_t *items,
                                   int32_t count);

/** @name Life of a map
 * @{
 */

/**
 * Makes a record an empty map: 32 buckets, no key limit, case-sensitive keys, the built-in hash.
 *
 * What the record held before is not looked at: a live map must be destroyed first, or its memory
 * is lost.
 *
 * @return 0; 22 if `map` is NULL; 12 if there is no memory, and the record is released.
 */
int map_init(map_t *map);

/**
 * Frees every entry and the buckets, and leaves the record released. `maxkeys` and `casekeys` keep
 * their values.
 *
 * @return 0, also for a record that is released already; 22 if `map` is NULL.
 */
int map_destroy(map_t *map);

/**
 * Removes every entry; the settings and the buckets stay.
 *
 * @return 0; 22 if `map` is NULL or released. Cost: one visit to each bucket and entry; none for
 * an empty map.
 */
int map_clear(map_t *map);

/** @} */

/** @name Entries
 * @{
 */

/**
 * Adds a key that is not there yet, at the end of its bucket.
 *
 * @param key     Copied.
 * @param value   Copied; not NULL even if `length` is 0.
 * @param length  Of the value, in bytes.
 * @return 0; 1 if the key is there already or the key limit is reached; 22 if `map`, `key` or
 * `value` is NULL or the map is released; 12 if there is no memory. One allocation.
 */
int map_insert(map_t *map, const char *key, const void *value, uint32_t length);

/**
 * Sets the value of a key, whether or not it is there. The entry is new: the key takes the
 * spelling given here and moves to the end of its bucket. An existing key can be replaced however
 * full the map is.
 *
 * @param key     Copied.
 * @param value   Copied; not NULL even if `length` is 0. It may be the key's present value.
 * @param length  Of the value, in bytes.
 * @return 0; 1 if the key is new and the key limit is reached; 22 if `map`, `key` or `value` is
 * NULL or the map is released; 12 if there is no memory, and the old value stays. One allocation.
 */
int map_replace(map_t *map, const char *key, const void *value, uint32_t length);

/**
 * Removes a key and its value.
 *
 * @return 0; 2 if there is no such key; 22 if `map` or `key` is NULL or the map is released.
 */
int map_erase(map_t *map, const char *key);

/**
 * Looks a value up.
 *
 * @param value   Receives the address of the value inside the map, not a copy; may be NULL.
 * @param length  Receives its length in bytes; may be NULL.
 * @return 0; 2 if there is no such key, with NULL and 0 in the outputs; 22 if `map` or `key` is
 * NULL or the map is released, with the outputs untouched.
 */
int map_index(const map_t *map, const char *key, const void **value, uint32_t *length);

/** @return 1 if the key is there; 0 if not, or if `map` or `key` is NULL or the map is released. */
int map_haskey(const map_t *map, const char *key);

/**
 * @return The entry that holds the key, inside the map; NULL if there is none, or if `map` or `key`
 * is NULL or the map is released.
 */
const map_entry_t *map_get_entry(const map_t *map, const char *key);

/** @} */

/** @name Iteration
 * `for (key = map_first(map, &it); key != NULL; key = map_next(&it))` visits every entry. The map
 * must not change in between. A step costs constant time on average; the walk visits every bucket.
 * @{
 */

/**
 * Starts an iterator on the first entry.
 *
 * @return Its key; NULL if the map is NULL, released or empty or `iter` is NULL, and then the
 * iterator is left as it was.
 */
const char *map_first(const map_t *map, map_iter_t *iter);

/**
 * Moves an iterator on.
 *
 * @return The next key; NULL after the last one, however often it is called: the iterator then
 * stays on the last entry. NULL also for an iterator that is NULL or was never started.
 */
const char *map_next(map_iter_t *iter);

/** @return The current key; NULL for an iterator that is NULL or was never started. */
const char *map_key(const map_iter_t *iter);

/** @return The current value inside the map; NULL for an iterator that is NULL or not started. */
const void *map_value(const map_iter_t *iter);

/** @return The current value's length in bytes; 0 for an iterator that is NULL or not started. */
uint32_t map_valuesz(const map_iter_t *iter);

/** @return 1 if `map` is NULL or holds no key, else 0. */
int map_isempty(const map_t *map);

/**
 * @param count  Receives the number of keys.
 * @return 0; 22 if `map` or `count` is NULL.
 */
int map_key_count(const map_t *map, int32_t *count);

/**
 * @param index  A position in iteration order, from 0.
 * @return The key there, inside the map; NULL if there is none, or if `map` is NULL or released.
 * Cost: a walk to the position from the start.
 */
const char *map_key_name(const map_t *map, int32_t index);

/** @} */

/** @name Printing
 * The sorted printers list keys in `strcmp` order, whatever `casekeys` says. They allocate one
 * array to sort in; without memory for it they list in iteration order. Cost: n log n. A value is
 * printed up to its first NUL or its length, whichever comes first. Results of writing are ignored.
 * @{
 */

/**
 * Prints "%s=%.*s\n" for every entry through a caller's function, with no header, sorted. For a map
 * that is NULL or empty it is called once, as `fn(context, "%smap is empty\n", context)`: a
 * context that is a text becomes the notice's prefix, and with any other context `fn` must not
 * format the notice. A `fn` of NULL prints nothing; any other may read the map, but must not change
 * it.
 */
void map_print(const map_t *map, map_print_fn fn, void *context);

/**
 * Prints the header "map %p hashsize=%d numkeys=%d\n" and leaves the entries to a caller's
 * function, which gets the sorted keys.
 *
 * @return What `fn` returns; 22 if `fn` or `stream` is NULL, with nothing printed; 22 if the map
 * is NULL or empty, with "map is empty\n" printed; 22 if there is no memory, with nothing printed.
 */
int map_print_sorted(const map_t *map, map_print_sorted_fn fn, FILE *stream);

/**
 * Prints the header "map %p hashsize=%d numkeys=%d\n" and " %s=%.*s\n" for every entry, sorted; or
 * "map is empty\n" for a map that is NULL or empty. A `stream` of NULL prints nothing.
 */
void map_dump(const map_t *map, FILE *stream);

/** Prints as `map_dump` does, but in iteration order: the table as it is stored. */
void map_raw_dump(const map_t *map, FILE *stream);

/**
 * Writes what `map_dump` prints into a buffer, cut to `size - 1` characters and always terminated.
 *
 * @param buffer  Written.
 * @param size    Of the buffer, in bytes. With 0 nothing is written.
 * @return The length of the text in the buffer, its NUL not counted; 0 if `buffer` is NULL or
 * `size` is 0. A result of `size - 1` may mean that the text was cut.
 */
uint32_t map_sndump(const map_t *map, char *buffer, uint32_t size);

/** @} */

/** @name Settings
 * They may change at any time. The first three rebuild the chains by relinking: no entry moves in
 * memory, and entries that share a bucket keep their order. Cost: one hash and relink per entry.
 * @{
 */

/**
 * Changes the number of buckets. For short chains, use at least as many buckets as keys.
 *
 * On a released map it allocates the buckets, and the map is live again with the `maxkeys` and
 * `casekeys` that it kept.
 *
 * @param size  A power of two. The present size returns 0 at once.
 * @return 0; 22 if `map` is NULL or `size` is 0 or no power of two; 12 if there is no memory or the
 * array would not fit the address space. One allocation.
 */
int map_sethashsize(map_t *map, uint32_t size);

/**
 * Changes the hash function. The function that is set already returns 0 at once.
 *
 * @param fn  NULL for the built-in hash. For keys that strangers choose, a keyed one: see
 *            `map_hash_fn`.
 * @return 0; 22 if `map` is NULL.
 */
int map_sethashfunc(map_t *map, map_hash_fn fn);

/**
 * Makes keys compare without regard to case, or with regard to it again. The flag that is set
 * already returns 0 at once.
 *
 * Of keys that become equal, the first in iteration order stays, with its spelling and value; the
 * others are freed. This is not reported, other than by `numkeys`.
 *
 * @param flag  0 for case-sensitive keys; any other number for case-insensitive ones.
 * @return 0; 22 if `map` is NULL. Cost: one look-up per entry.
 */
int map_setcasekeys(map_t *map, uint32_t flag);

/**
 * Sets the key limit. Mind its one-short rule: a limit of N admits N - 1 keys, though a limit equal
 * to the present number of keys is accepted.
 *
 * @param limit  Number of keys; negative for no limit.
 * @return 0; 1 if the limit is below `numkeys`, and nothing changes; 22 if `map` is NULL.
 */
int map_setmaxkeys(map_t *map, int32_t limit);

/** @} */

/** @name Comparing and combining maps
 * What fills a destination visits the source in iteration order and inserts with the destination's
 * own settings. Sources are only read; a released one is as an empty one, other than to `map_copy`.
 * Cost: one look-up per entry for each map that is searched.
 * @{
 */

/**
 * Compares the value stored under a key with given bytes, in the manner of `memcmp`; of two values
 * with a common beginning the shorter is the smaller.
 *
 * @param length  Of `value`, in bytes.
 * @return 0 if the value is equal, length included; negative if the stored value is smaller,
 * positive if it is greater. -1 also if the key is missing, if `key` or `value` is NULL, or if the
 * map is NULL or released; but 0 if all three pointers are NULL.
 */
int map_cmp(const map_t *map, const char *key, const void *value, uint32_t length);

/**
 * Whether two maps hold the same keys with the same values. Keys are looked up with the comparison
 * of `b`, so that the order of the arguments can matter if `casekeys` differs; the other settings
 * do not matter.
 *
 * @return 1 if equal, or if both are NULL; else 0. A released map equals an empty one.
 */
int map_isequal(const map_t *a, const map_t *b);

/**
 * Fills `dst` with the entries of `a` that `b` holds with an equal value. `dst` is cleared first.
 *
 * @return 0; 22 if a map is NULL, `dst` is released, or `dst` is `a` or `b` (which then stay as
 * they are); or the code of the insert that failed (1, 12), and then `dst` is empty.
 */
int map_intersection(const map_t *a, const map_t *b, map_t *dst);

/**
 * Adds to `dst` the entries of `src` whose keys it does not hold. Nothing is replaced; a map merged
 * into itself stays as it is.
 *
 * @return 0; 22 if a map is NULL, or if `dst` is released and `src` holds keys; or the code of the
 * insert that failed (1 at the key limit, 12), and then `dst` keeps what was added so far.
 */
int map_merge(const map_t *src, map_t *dst);

/**
 * Makes `dst` hold what `src` holds. `dst` is cleared first and keeps its settings, the number of
 * buckets included.
 *
 * @return 0; 22 if a map is NULL, `dst` is released, or both are the same (which then stays as it
 * is); or the code of the insert that failed (1 at the key limit, or if keys of `src` are equal in
 * a case-insensitive `dst`; 12), and then `dst` is empty.
 */
int map_copy_dst_hashsize(const map_t *src, map_t *dst);

/**
 * Makes `dst` hold what `src` holds, in as many buckets as `src` has. The other settings of `dst`
 * stay.
 *
 * @return As `map_copy_dst_hashsize`, with the buckets of `src` by then; also 22 if `src` is
 * released and 12 if there is no memory for the buckets, and then `dst` is empty and keeps its own.
 */
int map_copy(const map_t *src, map_t *dst);

/** @} */

/** @name Typed values: compare
 * Each compares the stored value with the text form of the given one, as `map_cmp` does: a number
 * equals the same text stored in any other way. NULL for `map` or `key` is left to `map_cmp`.
 *
 * The bool, uint, int, uchar and char forms return 22, which looks like a positive comparison, if
 * `map` or `key` is NULL: test for 0. Where an address does not convert, what its conversion left
 * behind is compared; if that is nothing, or the address is NULL, the empty text, and for a MAC
 * address "0". A NULL text compares as `map_cmp` compares a NULL value.
 * @{
 */
int map_cmp_uint64(const map_t *map, const char *key, uint64_t value);
int map_cmp_int64(const map_t *map, const char *key, int64_t value);
int map_cmp_uint32(const map_t *map, const char *key, uint32_t value);
int map_cmp_int32(const map_t *map, const char *key, int32_t value);
int map_cmp_time(const map_t *map, const char *key, int32_t value);
int map_cmp_uint16(const map_t *map, const char *key, unsigned int value);
int map_cmp_int16(const map_t *map, const char *key, int value);
int map_cmp_uint8(const map_t *map, const char *key, unsigned int value);
int map_cmp_int8(const map_t *map, const char *key, int value);
int map_cmp_bool(const map_t *map, const char *key, unsigned int value);
int map_cmp_uint(const map_t *map, const char *key, unsigned int value);
int map_cmp_int(const map_t *map, const char *key, int value);
int map_cmp_uchar(const map_t *map, const char *key, unsigned int value);
int map_cmp_char(const map_t *map, const char *key, int value);
int map_cmp_str(const map_t *map, const char *key, const char *value);
int map_cmp_macaddr(const map_t *map, const char *key, const macaddr_t *value);
int map_cmp_ipaddr(const map_t *map, const char *key, const ipaddr_t *value);
int map_cmp_cidr(const map_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: replace
 * Each sets the key to the text form of the value, as `map_replace` does.
 *
 * @return What `map_replace` returns; 22 if `map`, `key` or a pointer given as the value or format
 * is NULL; what the conversion of an address returns if it fails. The fmt form: 12 if there is no
 * memory for the text, `errno` if it cannot be formatted; its arguments may lie inside the map. The
 * str form: 12 also for a text of 4 GiB or more.
 * @{
 */
int map_replace_uint64(map_t *map, const char *key, uint64_t value);
int map_replace_int64(map_t *map, const char *key, int64_t value);
int map_replace_uint32(map_t *map, const char *key, uint32_t value);
int map_replace_int32(map_t *map, const char *key, int32_t value);
int map_replace_time(map_t *map, const char *key, int32_t value);
int map_replace_uint16(map_t *map, const char *key, unsigned int value);
int map_replace_int16(map_t *map, const char *key, int value);
int map_replace_uint8(map_t *map, const char *key, unsigned int value);
int map_replace_int8(map_t *map, const char *key, int value);
int map_replace_bool(map_t *map, const char *key, unsigned int value);
int map_replace_uint(map_t *map, const char *key, unsigned int value);
int map_replace_int(map_t *map, const char *key, int value);
int map_replace_uchar(map_t *map, const char *key, unsigned int value);
int map_replace_char(map_t *map, const char *key, int value);
int map_replace_str(map_t *map, const char *key, const char *value);
int map_replace_fmt(map_t *map, const char *key, const char *format, ...) TEXTMAPS_PRINTF(3, 4);
int map_replace_macaddr(map_t *map, const char *key, const macaddr_t *value);
int map_replace_ipaddr(map_t *map, const char *key, const ipaddr_t *value);
int map_replace_cidr(map_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: insert
 * Each adds the key with the text form of the value, as `map_insert` does.
 *
 * @return What `map_insert` returns, 1 for a key that is there already included; else as the
 * replacing forms.
 * @{
 */
int map_insert_uint64(map_t *map, const char *key, uint64_t value);
int map_insert_int64(map_t *map, const char *key, int64_t value);
int map_insert_uint32(map_t *map, const char *key, uint32_t value);
int map_insert_int32(map_t *map, const char *key, int32_t value);
int map_insert_time(map_t *map, const char *key, int32_t value);
int map_insert_uint16(map_t *map, const char *key, unsigned int value);
int map_insert_int16(map_t *map, const char *key, int value);
int map_insert_uint8(map_t *map, const char *key, unsigned int value);
int map_insert_int8(map_t *map, const char *key, int value);
int map_insert_bool(map_t *map, const char *key, unsigned int value);
int map_insert_uint(map_t *map, const char *key, unsigned int value);
int map_insert_int(map_t *map, const char *key, int value);
int map_insert_uchar(map_t *map, const char *key, unsigned int value);
int map_insert_char(map_t *map, const char *key, int value);
int map_insert_str(map_t *map, const char *key, const char *value);
int map_insert_fmt(map_t *map, const char *key, const char *format, ...) TEXTMAPS_PRINTF(3, 4);
int map_insert_macaddr(map_t *map, const char *key, const macaddr_t *value);
int map_insert_ipaddr(map_t *map, const char *key, const ipaddr_t *value);
int map_insert_cidr(map_t *map, const char *key, const cidr_t *value);
/** @} */

/** @name Typed values: read
 * Each reads the stored text back as its type.
 *
 * @param out  Receives the value; untouched on failure, other than by `map_get_time`.
 * @return 0; 2 if there is no such key; 22 if `map`, `key` or `out` is NULL or the map is released;
 * 34 if the text is no number of the type (bucket.h has the rules). The address forms return what
 * the conversion from text returns. They see the first 17 (MAC), 45 (IP) or 91 (CIDR) characters
 * only: of a longer text, such as a MAC address with something behind it, the rest goes unnoticed.
 * @{
 */
int map_get_uint64(const map_t *map, const char *key, uint64_t *out);
int map_get_int64(const map_t *map, const char *key, int64_t *out);
int map_get_uint32(const map_t *map, const char *key, uint32_t *out);
int map_get_int32(const map_t *map, const char *key, int32_t *out);
int map_get_uint16(const map_t *map, const char *key, uint16_t *out);
int map_get_int16(const map_t *map, const char *key, int16_t *out);
int map_get_uint8(const map_t *map, const char *key, uint8_t *out);
int map_get_int8(const map_t *map, const char *key, int8_t *out);
int map_get_bool(const map_t *map, const char *key, bool *out);
int map_get_uint(const map_t *map, const char *key, unsigned int *out);
int map_get_int(const map_t *map, const char *key, int *out);
int map_get_uchar(const map_t *map, const char *key, unsigned char *out);
int map_get_char(const map_t *map, const char *key, char *out);
int map_get_macaddr(const map_t *map, const char *key, macaddr_t *out);
int map_get_ipaddr(const map_t *map, const char *key, ipaddr_t *out);
int map_get_cidr(const map_t *map, const char *key, cidr_t *out);

/**
 * Reads a time. Unlike the others it writes `out` whatever it returns, 0 on failure, and takes a
 * NULL `out`: the text is then only tested.
 */
int map_get_time(const map_t *map, const char *key, int32_t *out);
/** @} */

/** @name Text
 * @{
 */

/**
 * Copies a value as text: up to its first NUL or its length, cut silently to `size - 1` characters.
 *
 * @param buffer  Receives the text with its NUL.
 * @param size    Of the buffer, in bytes. With 0 nothing is written.
 * @return 0, also when the text was cut; 2 if there is no such key; 22 if `map`, `key` or `buffer`
 * is NULL or the map is released.
 */
int map_copy_str(const map_t *map, const char *key, char *buffer, uint32_t size);

/**
 * Copies a value, all of its bytes, into memory of its own. A value stored as text carries its NUL;
 * one stored without gives a copy without.
 *
 * @param out  Receives the copy, the caller's to `free`; NULL if there is no memory; untouched on
 *             any other failure.
 * @return 0; 2 if there is no such key; 22 if `map`, `key` or `out` is NULL or the map is released;
 * 12 if there is no memory. One allocation, of the stored length.
 */
int map_dup_str(const map_t *map, const char *key, char **out);

/**
 * Compares a text with a value without regard to case, as `strncasecmp` over the stored length.
 *
 * @return 0 if equal; negative if the given text sorts first, positive if the stored one does. -1
 * also if the key is missing, if `key` or `text` is NULL, or if the map is NULL or released; but 0
 * if all three pointers are NULL.
 */
int map_casecmp_str(const map_t *map, const char *key, const char *text);

/** @} */

/** @name Map arrays
 * A numbered list inside a map. An array named N is the key "N:max", which holds the count as an
 * int, and the keys "N:0", "N:1" and onwards, which hold the elements. The caller stores and reads
 * the elements, and raises the count, under these keys with any function of the map. To append:
 *
 *     char key[128];
 *     map_array_append(&map, "dns", key, sizeof key);        // key is "dns:2"
 *     map_replace_ipaddr(&map, key, &address);               // the element
 *     map_replace_int(&map, "dns:max", 3);                   // the count
 *
 * The keys are entries like any other: keep other keys of this form out of the map. Keep names to
 * 116 characters: keys are cut to 127, so that arrays with longer names may share keys, an array's
 * elements with each other and with its count too. The two calls that hand a key out cut it to the
 * caller's buffer instead: give them one of 128 bytes.
 *
 * A name may lie inside the map. In all six, a `name` of NULL gives 22.
 * @{
 */

/**
 * Makes an empty array: stores a count of 0.
 *
 * @return 0; 1 if there is a count already, which stays, or the key limit is reached; 22 if `map`
 * is NULL or released; 12 if there is no memory.
 */
int map_array_init(map_t *map, const char *name);

/**
 * @param count  Receives the count.
 * @return 0; 2 if there is no such array; 22 if `map` or `count` is NULL or the map is released; 34
 * if the stored count is no int.
 */
int map_array_get_max(const map_t *map, const char *name, int *count);

/**
 * Makes the key of an element.
 *
 * @param index   Of the element, from 0.
 * @param buffer  Receives the key, cut silently to `size - 1` characters. It must not overlap the
 *                name.
 * @param size    Of the buffer, in bytes. With 0 nothing is written, and `buffer` may be NULL.
 * @param count   The number of elements, if known: the map is then not looked at and may be NULL.
 *                A negative number has the stored count read.
 * @return 0; 22 if `index` is negative or not below the count, or `buffer` is NULL; what
 * `map_array_get_max` returns if it fails.
 */
int map_array_get_key(const map_t *map, const char *name, int index, char *buffer, uint32_t size,
                      int count);

/**
 * Makes the key of the element behind the last one. The stored count is not raised: until the
 * caller does so, the next call gives the same key.
 *
 * The call also stores the count that the array would then have, under the key "N:max+1" (the name
 * cut to 127 characters; "N:max+01" for a name of 121). No array has a key like it and nothing
 * reads it, but it takes up one key of the map.
 *
 * @param name    One of 127 characters or more must not lie in the entry "N:max+1" itself.
 * @param buffer  Receives the key, cut silently to `size - 1` characters. It must not overlap the
 *                name. If the call fails once the count is read, it holds the first three
 *                characters of "N:max".
 * @param size    Of the buffer, in bytes. With 0 nothing is written, and `buffer` may be NULL.
 * @return 0; what `map_array_get_max` or `map_replace_int` returns if it fails; 22 if `buffer` is
 * NULL; 22 if the stored count is negative or the greatest int, with "N:max+1" stored all the same.
 */
int map_array_append(map_t *map, const char *name, char *buffer, uint32_t size);

/**
 * Erases the last element, which may be missing, and lowers the count by one.
 *
 * @return 0; 22 if the count is 0 or negative; what `map_array_get_max` returns if it fails; what
 * `map_replace_int` returns if it fails, with the element erased already.
 */
int map_array_pop(map_t *map, const char *name);

/**
 * Erases every element and keeps the count as it is.
 *
 * @return 0; what `map_array_get_max` returns if it fails. Cost: one look-up for each number below
 * the count.
 */
int map_array_clear(map_t *map, const char *name);

/** @} */

TEXTMAPS_END_DECLS

#endif
