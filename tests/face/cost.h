/* The same small programs twice: in cost.c with the C functions, in cost.cpp with the C++ face. */
#ifndef COST_H
#define COST_H

#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <stddef.h>

#ifdef __cplusplus
#include <textmaps/textmaps.hpp>
typedef textmaps::map map_type;
typedef textmaps::multimap multimap_type;
typedef textmaps::arraymap arraymap_type;
extern "C" {
#else
typedef map_t map_type;
typedef multimap_t multimap_type;
typedef arraymap_t arraymap_type;
#endif

/* Neither of the two can see what becomes of what it finds. */
void take(const char *key, const void *value, uint32_t size);
void take_address(const ipaddr_t *address);

uint16_t read_number(const map_type *map);
int read_bytes(const map_type *map, const char *key);
int read_address(const map_type *map);
int write_number(map_type *map, uint16_t number);
int write_text(map_type *map, const char *text);
int write_address(map_type *map, const ipaddr_t *address);
int insert_all(map_type *map, const char *key);
int live_and_die(void);
void walk(const map_type *map);

int read_position(const multimap_type *map, uint32_t position);
uint32_t find_position(const multimap_type *map, int32_t number);
void walk_lists(const multimap_type *map);
void walk_list(const arraymap_type *map, const char *key);
int write_position(arraymap_type *map, const char *key, uint32_t index, int64_t number);

#ifdef __cplusplus
}
#endif

#endif
