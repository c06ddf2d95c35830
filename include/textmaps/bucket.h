/**
 * @file bucket.h
 * @brief What the three families of containers share: the bucket, the hash function type, and the
 * conventions for keys, values, results and typed text.
 *
 * Results
 * -------
 * An operation that can fail returns an `int`: 0 on success, or a positive number of <errno.h>.
 * What fails changes nothing, unless the function says otherwise.
 *
 * | result      | meaning                                                                 |
 * |-------------|-------------------------------------------------------------------------|
 * | 0           | done                                                                    |
 * | 1           | refused: it is there already, or stands against a limit                 |
 * | 2 `ENOENT`  | no such key, value or position                                          |
 * | 12 `ENOMEM` | no memory, or a size that does not fit the address space                |
 * | 22 `EINVAL` | a missing or unusable argument                                          |
 * | 34 `ERANGE` | the stored text does not parse as the requested type                    |
 *
 * Refused are a key (map) or value (multimap) that is there already, a new key that would pass the
 * key limit, and a new limit below the present count. error.h puts all results in words.
 *
 * Arguments are checked before anything changes: the container first, then its bucket array, then
 * the key, then values and outputs.
 *
 * Keys and values
 * ---------------
 * A key is NUL-terminated text, the empty text included; it compares by `strcmp`, or by
 * `strcasecmp` once the container's `casekeys` is set. The built-in hash folds A to Z in every
 * locale, while `strcasecmp` follows the program's: where that folds other letters too, as in a
 * Latin-1 locale, or folds I otherwise, as in a Turkish one, keep case-insensitive keys to other
 * letters.
 *
 * A value is a byte string, a pointer and a length in bytes; unless a function says otherwise, an
 * empty value still needs a pointer that is not NULL. Containers copy the keys and values that they
 * store.
 *
 * Key limit
 * ---------
 * With `maxkeys` at 0 or more, a new key is refused (1) when `numkeys + 1 >= maxkeys`: a limit of N
 * admits at most N - 1 keys, and limits of 0 and 1 admit none. A negative limit means no limit.
 *
 * Typed text
 * ----------
 * The typed functions keep a value as text, its terminating NUL counted in the stored length, so
 * that any program reading the container sees the same thing. One row per type:
 *
 * | type    | argument          | stored text               | read with      | accepted            |
 * |---------|-------------------|---------------------------|----------------|---------------------|
 * | uint64  | `uint64_t`        | decimal                   | `strtoull`     | anything, see below |
 * | int64   | `int64_t`         | decimal                   | `strtoll`      | anything, see below |
 * | uint32  | `uint32_t`        | decimal                   | `strtoull`     | 0 to 4294967295     |
 * | int32   | `int32_t`         | decimal                   | `strtoll`      | -2^31 to 2^31 - 1   |
 * | time    | `int32_t` seconds | as int32                  | as int32       | as int32            |
 * | uint16  | `unsigned int`    | decimal, low 16 bits      | `strtoull`     | 0 to 65535          |
 * | int16   | `int`             | decimal, low 16 bits      | `strtoll`      | -32768 to 32767     |
 * | uint8   | `unsigned int`    | decimal, low 8 bits       | `strtoull`     | 0 to 255            |
 * | int8    | `int`             | decimal, low 8 bits       | `strtoll`      | -128 to 127         |
 * | bool    | `unsigned int`    | first digit of low 8 bits | `strtoll`      | 0 or 1              |
 * | uint    | `unsigned int`    | decimal                   | `strtoll`      | 0 to 4294967295     |
 * | int     | `int`             | decimal                   | `strtoll`      | -2^31 to 2^31 - 1   |
 * | uchar   | `unsigned int`    | decimal, low 8 bits       | `strtoll`      | 0 to 255            |
 * | char    | `int`             | decimal, low 8 bits       | `strtoll`      | -128 to 127         |
 * | str     | `const char *`    | the text itself           | copy_str, dup_str | any text         |
 * | fmt     | format, arguments | the formatted text        | copy_str, dup_str | any text         |
 * | macaddr | `macaddr_t *`     | `ak_macaddr_to_str`       | `ak_macaddr_from_str` | its matter   |
 * | ipaddr  | `ipaddr_t *`      | `ak_ipaddr_to_str`        | `ak_ipaddr_from_str`  | its matter   |
 * | cidr    | `cidr_t *`        | `ak_cidr_to_str`          | `ak_cidr_from_str`    | its matter   |
 *
 * Narrow rows take a full word and reduce it themselves: 70000 stored as a uint16 is "4464", 200
 * stored as an int8 is "-56". A bool is not normalised: 7 is stored as "7", 12 as "1". A char is
 * signed as text; where plain `char` is not, what is read is to be cast to `signed char`.
 *
 * Numbers are read with base 0: leading white space, a sign, "0x" for hexadecimal and a leading "0"
 * for octal are accepted. Text that is empty, has no number at its start, anything behind its
 * number, or a number outside the row's range gives 34. The 64-bit rows have no range check, and
 * `errno` is not consulted: too large a text reads as the nearest end of the range, and "-1" read
 * as uint64 is 18446744073709551615. A value in which no NUL ends the text (stored by other means
 * than the typed functions) is no number and gives 34; nothing beyond the value is ever read.
 *
 * An address row passes on every result of its conversion that is not 0.
 *
 * Threads
 * -------
 * None of the containers has locks or global state. Calls of several threads on one container must
 * not overlap, readers included. A function that a container calls may read it, but must not change
 * it.
 */
#ifndef TEXTMAPS_BUCKET_H
#define TEXTMAPS_BUCKET_H

#include <stdint.h>

#ifdef __GNUC__
#define TEXTMAPS_PRINTF(format_at, arguments_at)                                                   \
    __attribute__((__format__(__printf__, format_at, arguments_at)))
#define TEXTMAPS_VISIBILITY_PUSH _Pragma("GCC visibility push(default)")
#define TEXTMAPS_VISIBILITY_POP _Pragma("GCC visibility pop")
#else
#define TEXTMAPS_PRINTF(format_at, arguments_at)
#define TEXTMAPS_VISIBILITY_PUSH
#define TEXTMAPS_VISIBILITY_POP
#endif

#ifdef __cplusplus
#define TEXTMAPS_BEGIN_DECLS                                                                       \
    TEXTMAPS_VISIBILITY_PUSH                                                                       \
    extern "C" {
#define TEXTMAPS_END_DECLS                                                                         \
    }                                                                                              \
    TEXTMAPS_VISIBILITY_POP
#else
#define TEXTMAPS_BEGIN_DECLS TEXTMAPS_VISIBILITY_PUSH
#define TEXTMAPS_END_DECLS TEXTMAPS_VISIBILITY_POP
#endif

TEXTMAPS_BEGIN_DECLS

/**
 * One bucket: the head of a tail queue of nodes. A container's buckets are one array of `hashsize`
 * heads. The family decides the type of the nodes, so both fields are untyped here; read them,
 * never write them.
 */
typedef struct map_bucket {
    void *first; /**< The first node of the chain, NULL when the bucket is empty. */
    void *last;  /**< Address of the last node's `next`; of `first` when the bucket is empty. */
} map_bucket_t;

/**
 * A caller's hash function.
 *
 * @param container  The container's record (`map_t *` and so on): a caller that encloses it in a
 *                   larger record can keep a seed there.
 * @param key        The key, NUL-terminated.
 * @return Any number; the bucket is that number masked by `hashsize - 1`.
 *
 * It must give the same number for the same key as long as it is set, and must not change the
 * container. It is not told about `casekeys`: in a case-insensitive container it has to fold case
 * itself, or spellings in different buckets are different keys. If a later change of the hash size
 * or function brings such spellings into one bucket, look-ups find only the first of them until it
 * is erased; all of them are counted and iterated, and the sorted listings show for each spelling
 * what a look-up of it finds.
 *
 * When to set one: where strangers choose the keys, such as host names or the fields of a request.
 * The built-in hash has no secret. Whoever knows it can make any number of keys that share one
 * bucket however many buckets there are, and every call that takes a key then walks all of them.
 * Under a keyed hash, with a random seed beside the container, that takes the seed:
 * examples/keyed_hash.h is one to copy. For keys of the program's own the built-in hash is cheaper.
 */
typedef uint32_t (*map_hash_fn)(const void *container, const char *key);

TEXTMAPS_END_DECLS

#endif
