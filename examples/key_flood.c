/*
 * What keys from a stranger can do to a table, and what a keyed hash does about it: counts names
 * that were made to collide under the built-in hash, with that hash and with a keyed one.
 */
#include "keyed_hash.h"

#include <textmaps/error.h>

#include <ctype.h>
#include <errno.h>
#include <inttypes.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { EXIT_TROUBLE = 2, PAIRS = 10, NAMES = 1 << PAIRS };

static const char usage[] =
    "usage: key_flood [--ignore-case]\n"
    "\n"
    "Counts 1024 names that collide under the built-in hash in a map of 1024 buckets: first with\n"
    "that hash, then with a keyed one whose seed is drawn anew. Prints how many names share the\n"
    "fullest bucket.\n"
    "\n"
    "  --ignore-case  let the map ignore case, and count each name in capitals too\n"
    "  --help         print this text\n"
    "\n"
    "Exit status: 0; 2 for wrong usage, or lack of memory or randomness.\n";

static int complain(const char *subject, const char *problem)
{
    fprintf(stderr, "%s: %s\n", subject, problem);
    return EXIT_TROUBLE;
}

/*
 * The built-in hash counts a letter as its capital and makes h * 31 + c of it: both pairs add the
 * same. So all 1024 names of ten pairs have one hash, and no number of buckets tells them apart.
 */
static void make_name(unsigned int number, char *name)
{
    for (int i = 0; i < PAIRS; ++i) {
        memcpy(name, number >> i & 1 ? "c;" : "bz", 2);
        name += 2;
    }
    *name = '\0';
}

static void capitalise(char *name)
{
    for (; *name != '\0'; ++name) {
        *name = (char)toupper((unsigned char)*name);
    }
}

static int count(map_t *counts, const char *name)
{
    uint32_t so_far = 0;
    map_get_uint32(counts, name, &so_far);
    return map_replace_uint32(counts, name, so_far + 1);
}

static int count_names(map_t *counts)
{
    int result = map_sethashsize(counts, NAMES);
    for (unsigned int i = 0; result == 0 && i < NAMES; ++i) {
        char name[2 * PAIRS + 1];
        make_name(i, name);
        result = count(counts, name);
        if (result == 0 && counts->casekeys != 0) {
            capitalise(name);
            result = count(counts, name);
        }
    }
    return result;
}

static unsigned int longest_chain(const map_t *map)
{
    unsigned int longest = 0;
    for (uint32_t i = 0; i < map->hashsize; ++i) {
        unsigned int length = 0;
        for (const map_entry_t *entry = map->buckets[i].first; entry != NULL; entry = entry->next) {
            ++length;
        }
        longest = length > longest ? length : longest;
    }
    return longest;
}

/* Each of the two hashes with a map of its own. */

static int flood(map_t *counts, const char *hash, bool ignore_case)
{
    map_setcasekeys(counts, ignore_case);
    const int result = count_names(counts);
    if (result == 0) {
        printf("%s: names=%" PRId32 " buckets=%" PRIu32 " longest_chain=%u\n", hash,
               counts->numkeys, counts->hashsize, longest_chain(counts));
    }
    return result;
}

static int flood_builtin(bool ignore_case)
{
    map_t counts;
    int result = map_init(&counts);
    if (result == 0) {
        result = flood(&counts, "built-in hash", ignore_case);
        map_destroy(&counts);
    }
    return result;
}

static int flood_keyed(struct keyed_map *keyed, bool ignore_case)
{
    int result = map_init(&keyed->map);
    if (result == 0) {
        map_sethashfunc(&keyed->map, keyed_map_hash);
        result = flood(&keyed->map, "keyed hash", ignore_case);
        map_destroy(&keyed->map);
    }
    return result;
}

static int run(bool ignore_case)
{
    struct keyed_map keyed;
    int result = hash_seed_draw(&keyed.seed);
    if (result != 0) {
        return complain("seed", strerror(result));
    }
    result = flood_builtin(ignore_case);
    if (result == 0) {
        result = flood_keyed(&keyed, ignore_case);
    }
    return result != 0 ? complain("counting", textmaps_error_text(result)) : EXIT_SUCCESS;
}

int main(int argc, char **argv)
{
    int status;
    if (argc == 1) {
        status = run(false);
    } else if (argc == 2 && strcmp(argv[1], "--ignore-case") == 0) {
        status = run(true);
    } else if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        fputs(usage, stdout);
        status = EXIT_SUCCESS;
    } else {
        fprintf(stderr, "key_flood: wrong usage\n%s", usage);
        status = EXIT_TROUBLE;
    }
    if (fflush(stdout) != 0 || ferror(stdout)) {
        status = complain("standard output", strerror(EIO));
    }
    return status;
}
