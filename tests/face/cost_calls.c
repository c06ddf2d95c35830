/*
 * Calls each function of cost.h a thousand times, for tools/face_cost to count their instructions.
 * Linked with cost.c, and with cost.cpp: a handle of the C++ face is a record and nothing else.
 */
#include "cost.h"

#include <stdio.h>
#include <stdlib.h>

enum { CALLS = 1000, KEYS = 64 };

static map_t map;
static multimap_t multimap;
static arraymap_t arraymap;
static ipaddr_t address;
static unsigned long taken;

void take(const char *key, const void *value, uint32_t size)
{
    (void)key;
    (void)value;
    taken += size;
}

void take_address(const ipaddr_t *of)
{
    taken += of->version;
}

static int fill(void)
{
    int result = map_init(&map);
    result += multimap_init(&multimap);
    result += arraymap_init(&arraymap);
    result += ak_ipaddr_from_str("192.168.1.1", &address);
    result += map_insert_ipaddr(&map, "lan.gateway", &address);
    result += map_insert_uint16(&map, "lan.mtu", 9000);
    for (int i = 0; i < KEYS; ++i) {
        char key[16];
        snprintf(key, sizeof key, "key %d", i);
        result += map_insert_int(&map, key, i);
        result += multimap_insert_int(&multimap, key, i);
        result += multimap_insert_int(&multimap, "key", i);
        result += arraymap_insert_int(&arraymap, "key", i);
    }
    return result;
}

int main(void)
{
    if (fill() != 0) {
        return EXIT_FAILURE;
    }
    for (uint32_t i = 0; i < CALLS; ++i) {
        taken += read_number(&map);
        read_bytes(&map, "lan.mtu");
        read_address(&map);
        write_number(&map, (uint16_t)i);
        write_text(&map, "port");
        write_address(&map, &address);
        insert_all(&map, "enabled");
        live_and_die();
        walk(&map);
        taken += (uint32_t)read_position(&multimap, i % KEYS);
        taken += find_position(&multimap, (int32_t)(i % KEYS));
        walk_lists(&multimap);
        walk_list(&arraymap, "key");
        write_position(&arraymap, "key", i % KEYS, i);
    }
    printf("%lu\n", taken);
    map_destroy(&map);
    multimap_destroy(&multimap);
    arraymap_destroy(&arraymap);
    return EXIT_SUCCESS;
}
