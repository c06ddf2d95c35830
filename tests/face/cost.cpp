#include "cost.h"

#include <cerrno>

namespace row = textmaps::row;

uint16_t read_number(const textmaps::map *map)
{
    return map->get<std::uint16_t>("lan.mtu").value_or(1500);
}

int read_bytes(const textmaps::map *map, const char *key)
{
    const auto value = map->get<textmaps::bytes>(key);
    if (value) {
        take(key, value->data(), value->size());
    }
    return value.error();
}

int read_address(const textmaps::map *map)
{
    const auto address = map->get<row::ipaddr>("lan.gateway");
    if (address) {
        take_address(&*address);
    }
    return address.error();
}

int write_number(textmaps::map *map, uint16_t number)
{
    return map->set<std::uint16_t>("lan.mtu", number).error();
}

int write_text(textmaps::map *map, const char *text)
{
    return map->set("lan.name", text).error();
}

int write_address(textmaps::map *map, const ipaddr_t *address)
{
    return map->set<row::ipaddr>("lan.gateway", *address).error();
}

int insert_all(textmaps::map *map, const char *key)
{
    textmaps::status done = map->try_insert<bool>(key, true);
    if (done) {
        done = map->try_insert<row::time>("lease", 3600);
    }
    if (done && !map->contains("raw")) {
        done = map->try_insert<textmaps::bytes>("raw", {"\0\1", 2});
    }
    return done.error();
}

int live_and_die()
{
    textmaps::map map;
    return map ? map.set("key", "value").error() : 12;
}

void walk(const textmaps::map *map)
{
    for (const auto &[key, value] : *map) {
        take(key.c_str(), value.data(), value.size());
    }
}

int read_position(const textmaps::multimap *map, uint32_t position)
{
    return map->get<std::int32_t>("key", position).value_or(-1);
}

uint32_t find_position(const textmaps::multimap *map, int32_t number)
{
    return map->find<std::int32_t>("key", number).value_or(UINT32_MAX);
}

void walk_lists(const textmaps::multimap *map)
{
    for (const auto &[key, values] : *map) {
        for (const textmaps::bytes value : values) {
            take(key.c_str(), value.data(), value.size());
        }
    }
}

void walk_list(const textmaps::arraymap *map, const char *key)
{
    for (const textmaps::bytes value : map->values(key)) {
        take(key, value.data(), value.size());
    }
}

int write_position(textmaps::arraymap *map, const char *key, uint32_t index, int64_t number)
{
    textmaps::status done = map->set<std::int64_t>(key, index, number);
    if (done == ENOENT) {
        done = map->try_insert<std::int64_t>(key, number);
    }
    return done.error();
}
