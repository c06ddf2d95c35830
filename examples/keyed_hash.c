/* SipHash-2-4, as Jean-Philippe Aumasson and Daniel J. Bernstein published it in 2012. */

#include "keyed_hash.h"

#include <errno.h>
#include <stdbool.h>
#include <string.h>
#include <sys/random.h>
#include <sys/types.h>

enum { WORD_ROUNDS = 2, LAST_ROUNDS = 4 };

struct siphash {
    uint64_t v0;
    uint64_t v1;
    uint64_t v2;
    uint64_t v3;
};

static uint64_t rotated(uint64_t word, int bits)
{
    return word << bits | word >> (64 - bits);
}

static void run_rounds(struct siphash *hash, int count)
{
    for (int i = 0; i < count; ++i) {
        hash->v0 += hash->v1;
        hash->v2 += hash->v3;
        hash->v1 = rotated(hash->v1, 13) ^ hash->v0;
        hash->v3 = rotated(hash->v3, 16) ^ hash->v2;
        hash->v0 = rotated(hash->v0, 32) + hash->v3;
        hash->v2 += hash->v1;
        hash->v3 = rotated(hash->v3, 21) ^ hash->v0;
        hash->v1 = rotated(hash->v1, 17) ^ hash->v2;
        hash->v2 = rotated(hash->v2, 32);
    }
}

static void add_word(struct siphash *hash, uint64_t word)
{
    hash->v3 ^= word;
    run_rounds(hash, WORD_ROUNDS);
    hash->v0 ^= word;
}

static unsigned char folded(unsigned char byte)
{
    return byte >= 'A' && byte <= 'Z' ? (unsigned char)(byte - 'A' + 'a') : byte;
}

/* Words are made of bytes one by one, the lowest first, so that the byte order of the target does
 * not matter. */
static uint64_t siphash(const struct hash_seed *seed, const unsigned char *bytes, size_t length,
                        bool fold)
{
    struct siphash hash = {
        .v0 = seed->low ^ UINT64_C(0x736f6d6570736575),
        .v1 = seed->high ^ UINT64_C(0x646f72616e646f6d),
        .v2 = seed->low ^ UINT64_C(0x6c7967656e657261),
        .v3 = seed->high ^ UINT64_C(0x7465646279746573),
    };
    uint64_t word = 0;
    for (size_t i = 0; i < length; ++i) {
        const unsigned char byte = fold ? folded(bytes[i]) : bytes[i];
        word |= (uint64_t)byte << (i % 8 * 8);
        if (i % 8 == 7) {
            add_word(&hash, word);
            word = 0;
        }
    }
    add_word(&hash, word | (uint64_t)length << 56);
    hash.v2 ^= 0xFF;
    run_rounds(&hash, LAST_ROUNDS);
    return hash.v0 ^ hash.v1 ^ hash.v2 ^ hash.v3;
}

static uint32_t key_hash(const struct hash_seed *seed, uint32_t casekeys, const char *key)
{
    return (uint32_t)siphash(seed, (const unsigned char *)key, strlen(key), casekeys != 0);
}

int hash_seed_draw(struct hash_seed *seed)
{
    ssize_t drawn;
    do {
        drawn = getrandom(seed, sizeof *seed, 0);
    } while (drawn < 0 && errno == EINTR);
    if (drawn < 0) {
        return errno;
    }
    return drawn == sizeof *seed ? 0 : EIO;
}

uint64_t siphash_2_4(const struct hash_seed *seed, const void *data, size_t length)
{
    return siphash(seed, data, length, false);
}

/* The record that encloses a member at this address. */
#define ENCLOSING(record, member, address)                                                         \
    ((const record *)(const void *)((const char *)(address)-offsetof(record, member)))

uint32_t keyed_map_hash(const void *container, const char *key)
{
    const struct keyed_map *const keyed = ENCLOSING(struct keyed_map, map, container);
    return key_hash(&keyed->seed, keyed->map.casekeys, key);
}

uint32_t keyed_multimap_hash(const void *container, const char *key)
{
    const struct keyed_multimap *const keyed = ENCLOSING(struct keyed_multimap, map, container);
    return key_hash(&keyed->seed, keyed->map.casekeys, key);
}

uint32_t keyed_arraymap_hash(const void *container, const char *key)
{
    const struct keyed_arraymap *const keyed = ENCLOSING(struct keyed_arraymap, map, container);
    return key_hash(&keyed->seed, keyed->map.casekeys, key);
}
