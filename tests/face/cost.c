#include "cost.h"

uint16_t read_number(const map_t *map)
{
    uint16_t number;
    return map_get_uint16(map, "lan.mtu", &number) == 0 ? number : 1500;
}

int read_bytes(const map_t *map, const char *key)
{
    const void *value;
    uint32_t size;
    const int result = map_index(map, key, &value, &size);
    if (result == 0) {
        take(key, value, size);
    }
    return result;
}

int read_address(const map_t *map)
{
    ipaddr_t address;
    const int result = map_get_ipaddr(map, "lan.gateway", &address);
    if (result == 0) {
        take_address(&address);
    }
    return result;
}

int write_number(map_t *map, uint16_t number)
{
    return map_replace_uint16(map, "lan.mtu", number);
}

int write_text(map_t *map, const char *text)
{
    return map_replace_str(map, "lan.name", text);
}

int write_address(map_t *map, const ipaddr_t *address)
{
    return map_replace_ipaddr(map, "lan.gateway", address);
}

int insert_all(map_t *map, const char *key)
{
    int result = map_insert_bool(map, key, true);
    if (result == 0) {
        result = map_insert_time(map, "lease", 3600);
    }
    if (result == 0 && !map_haskey(map, "raw")) {
        result = map_insert(map, "raw", "\0\1", 2);
    }
    return result;
}

int live_and_die(void)
{
    map_t map;
    int result = map_init(&map);
    if (result == 0) {
        result = map_replace_str(&map, "key", "value");
    }
    map_destroy(&map);
    return result;
}

void walk(const map_t *map)
{
    map_iter_t it = {0};
    for (const char *key = map_first(map, &it); key != NULL; key = map_next(&it)) {
        take(key, map_value(&it), map_valuesz(&it));
    }
}

int read_position(const multimap_t *map, uint32_t position)
{
    int32_t number;
    return multimap_get_int32(map, "key", position, &number) == 0 ? number : -1;
}

uint32_t find_position(const multimap_t *map, int32_t number)
{
    uint32_t position;
    return multimap_find_int32(map, "key", number, &position) == 0 ? position : UINT32_MAX;
}

void walk_lists(const multimap_t *map)
{
    multimap_key_iter_t keys = {0};
    for (const char *key = multimap_key_first(map, &keys); key != NULL;
         key = multimap_key_next(&keys)) {
        multimap_value_iter_t values = {0};
        for (const void *data = multimap_value_first(map, key, &values); data != NULL;
             data = multimap_value_next(&values)) {
            take(key, data, multimap_value_size(&values));
        }
    }
}

void walk_list(const arraymap_t *map, const char *key)
{
    arraymap_value_iter_t values = {0};
    for (const void *data = arraymap_value_first(map, key, &values); data != NULL;
         data = arraymap_value_next(&values)) {
        take(key, data, arraymap_value_size(&values));
    }
}

int write_position(arraymap_t *map, const char *key, uint32_t index, int64_t number)
{
    const int result = arraymap_replace_int64(map, key, index, number);
    return result == 2 ? arraymap_insert_int64(map, key, number) : result;
}
