#include "plain_map.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

static plain_bucket_t *bucket_of(const plain_map_t *map, const char *key)
{
    uint32_t hash = 0;
    for (; *key != '\0'; ++key) {
        /* Bytes from 0x80 on count as negative numbers. */
        const int upper = (signed char)toupper((unsigned char)*key);
        hash = hash * 31 + (uint32_t)upper;
    }
    return &map->buckets[hash & (map->hashsize - 1)];
}

static int compare_keys(const plain_map_t *map, const char *a, const char *b)
{
    return map->casekeys ? strcasecmp(a, b) : strcmp(a, b);
}

static plain_entry_t *find_in(const plain_map_t *map, const plain_bucket_t *bucket, const char *key)
{
    plain_entry_t *entry = bucket->first;
    while (entry != NULL && compare_keys(map, key, entry->key) != 0) {
        entry = entry->next;
    }
    return entry;
}

static plain_entry_t *find(const plain_map_t *map, const char *key)
{
    return find_in(map, bucket_of(map, key), key);
}

static plain_entry_t *new_entry(const char *key, const void *value, uint32_t length)
{
    plain_entry_t *entry = malloc(sizeof *entry + length + strlen(key) + 1);
    if (entry == NULL) {
        return NULL;
    }
    entry->value = entry + 1;
    entry->valuesz = length;
    entry->key = (char *)entry->value + length;
    memcpy(entry->value, value, length);
    strcpy(entry->key, key);
    return entry;
}

static void append(plain_map_t *map, plain_bucket_t *bucket, plain_entry_t *entry)
{
    entry->next = NULL;
    entry->prev = bucket->last;
    *bucket->last = entry;
    bucket->last = &entry->next;
    ++map->numkeys;
}

static void take_out(plain_map_t *map, plain_bucket_t *bucket, plain_entry_t *entry)
{
    if (entry->next != NULL) {
        entry->next->prev = entry->prev;
    } else {
        bucket->last = entry->prev;
    }
    *entry->prev = entry->next;
    --map->numkeys;
}

static int put(plain_map_t *map, const char *key, const void *value, uint32_t length, int replacing)
{
    if (map == NULL || map->buckets == NULL || key == NULL || value == NULL) {
        return EINVAL;
    }
    plain_bucket_t *bucket = bucket_of(map, key);
    plain_entry_t *old = find_in(map, bucket, key);
    if (old != NULL && !replacing) {
        return 1;
    }
    if (old == NULL && map->maxkeys >= 0 && map->numkeys + 1 >= map->maxkeys) {
        return 1;
    }
    plain_entry_t *entry = new_entry(key, value, length);
    if (entry == NULL) {
        return ENOMEM;
    }
    append(map, bucket, entry);
    if (old != NULL) {
        take_out(map, bucket, old);
        free(old);
    }
    return 0;
}

int plain_map_init(plain_map_t *map, uint32_t hashsize)
{
    map->maxkeys = -1;
    map->numkeys = 0;
    map->casekeys = 0;
    map->hashsize = hashsize;
    map->buckets = malloc(hashsize * sizeof *map->buckets);
    if (map->buckets == NULL) {
        return ENOMEM;
    }
    for (uint32_t i = 0; i < hashsize; ++i) {
        map->buckets[i].first = NULL;
        map->buckets[i].last = &map->buckets[i].first;
    }
    return 0;
}

void plain_map_destroy(plain_map_t *map)
{
    plain_map_clear(map);
    free(map->buckets);
    map->buckets = NULL;
    map->hashsize = 0;
}

int plain_map_clear(plain_map_t *map)
{
    if (map == NULL || map->buckets == NULL) {
        return EINVAL;
    }
    for (uint32_t i = 0; i < map->hashsize; ++i) {
        while (map->buckets[i].first != NULL) {
            plain_entry_t *entry = map->buckets[i].first;
            take_out(map, &map->buckets[i], entry);
            free(entry);
        }
    }
    return 0;
}

int plain_map_insert(plain_map_t *map, const char *key, const void *value, uint32_t length)
{
    return put(map, key, value, length, 0);
}

int plain_map_replace(plain_map_t *map, const char *key, const void *value, uint32_t length)
{
    return put(map, key, value, length, 1);
}

int plain_map_erase(plain_map_t *map, const char *key)
{
    if (map == NULL || map->buckets == NULL || key == NULL) {
        return EINVAL;
    }
    plain_bucket_t *bucket = bucket_of(map, key);
    plain_entry_t *entry = find_in(map, bucket, key);
    if (entry == NULL) {
        return ENOENT;
    }
    take_out(map, bucket, entry);
    free(entry);
    return 0;
}

int plain_map_index(const plain_map_t *map, const char *key, const void **value, uint32_t *length)
{
    if (map == NULL || map->buckets == NULL || key == NULL) {
        return EINVAL;
    }
    const plain_entry_t *entry = find(map, key);
    if (value != NULL) {
        *value = entry != NULL ? entry->value : NULL;
    }
    if (length != NULL) {
        *length = entry != NULL ? entry->valuesz : 0;
    }
    return entry != NULL ? 0 : ENOENT;
}

static const char *go_on_from(plain_iter_t *iter)
{
    for (; iter->bucket < iter->map->hashsize; ++iter->bucket) {
        const plain_entry_t *entry = iter->map->buckets[iter->bucket].first;
        if (entry != NULL) {
            iter->entry = entry;
            return entry->key;
        }
    }
    return NULL;
}

const char *plain_map_first(const plain_map_t *map, plain_iter_t *iter)
{
    if (map == NULL || map->buckets == NULL || iter == NULL || map->numkeys == 0) {
        return NULL;
    }
    iter->map = map;
    iter->bucket = 0;
    return go_on_from(iter);
}

const char *plain_map_next(plain_iter_t *iter)
{
    if (iter == NULL || iter->map == NULL || iter->entry == NULL) {
        return NULL;
    }
    if (iter->entry->next != NULL) {
        iter->entry = iter->entry->next;
        return iter->entry->key;
    }
    ++iter->bucket;
    return go_on_from(iter);
}

const char *plain_map_key_name(const plain_map_t *map, int32_t index)
{
    plain_iter_t iter = {0};
    const char *key = plain_map_first(map, &iter);
    for (; key != NULL && index > 0; --index) {
        key = plain_map_next(&iter);
    }
    return key;
}

int plain_map_copy(const plain_map_t *src, plain_map_t *dst)
{
    int result = plain_map_clear(dst);
    plain_iter_t iter = {0};
    for (const char *key = plain_map_first(src, &iter); key != NULL && result == 0;
         key = plain_map_next(&iter)) {
        result = plain_map_insert(dst, key, iter.entry->value, iter.entry->valuesz);
    }
    return result;
}

int plain_map_isequal(const plain_map_t *a, const plain_map_t *b)
{
    if (a->numkeys != b->numkeys) {
        return 0;
    }
    plain_iter_t iter = {0};
    for (const char *key = plain_map_first(a, &iter); key != NULL; key = plain_map_next(&iter)) {
        const plain_entry_t *other = find(b, key);
        if (other == NULL || other->valuesz != iter.entry->valuesz ||
            memcmp(other->value, iter.entry->value, other->valuesz) != 0) {
            return 0;
        }
    }
    return 1;
}

static int compare_names(const void *a, const void *b)
{
    return strcmp(*(const char *const *)a, *(const char *const *)b);
}

int plain_map_dump(const plain_map_t *map, FILE *stream)
{
    const char **names = malloc((size_t)map->numkeys * sizeof *names);
    if (names == NULL) {
        return ENOMEM;
    }
    for (int32_t i = 0; i < map->numkeys; ++i) {
        names[i] = plain_map_key_name(map, i);
    }
    qsort(names, (size_t)map->numkeys, sizeof *names, compare_names);

    fprintf(stream, "map %p hashsize=%d numkeys=%d\n", (const void *)map, (int)map->hashsize,
            map->numkeys);
    for (int32_t i = 0; i < map->numkeys; ++i) {
        const plain_entry_t *entry = find(map, names[i]);
        fprintf(stream, " %s=%.*s\n", names[i], (int)entry->valuesz, (const char *)entry->value);
    }
    free(names);
    return 0;
}

int plain_map_replace_uint32(plain_map_t *map, const char *key, uint32_t value)
{
    char text[12];
    snprintf(text, sizeof text, "%u", value);
    return plain_map_replace(map, key, text, (uint32_t)strlen(text) + 1);
}

int plain_map_get_uint32(const plain_map_t *map, const char *key, uint32_t *out)
{
    const void *value;
    const int result = plain_map_index(map, key, &value, NULL);
    if (result != 0) {
        return result;
    }
    char *end;
    const unsigned long long number = strtoull(value, &end, 0);
    if (end == (const char *)value || *end != '\0' || number > UINT32_MAX) {
        return ERANGE;
    }
    *out = (uint32_t)number;
    return 0;
}
