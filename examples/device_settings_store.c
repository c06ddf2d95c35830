/* Typed values on their way into the settings, and the lines of a file of settings. */
#include "device_settings.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

enum {
    REFUSED = 1,
    ARRAY_KEY_SIZE = 128 /* the library cuts the keys of a map array to 127 characters */
};

static int init_maps(struct device *device)
{
    map_t *const maps[] = {&device->settings, &device->counters, &device->scratch};
    for (size_t i = 0; i < sizeof maps / sizeof maps[0]; ++i) {
        const int result = map_init(maps[i]);
        if (result != 0) {
            while (i > 0) {
                map_destroy(maps[--i]);
            }
            return result;
        }
    }
    return 0;
}

int device_init(struct device *device)
{
    static const char *const always_shown[] = {"lines", "malformed", "stored"};
    int result = init_maps(device);
    if (result != 0) {
        return result;
    }
    for (size_t i = 0; result == 0 && i < sizeof always_shown / sizeof always_shown[0]; ++i) {
        result = map_insert_uint32(&device->counters, always_shown[i], 0);
    }
    if (result != 0) {
        device_destroy(device);
    }
    return result;
}

void device_destroy(struct device *device)
{
    map_destroy(&device->settings);
    map_destroy(&device->counters);
    map_destroy(&device->scratch);
}

#define COPY(type, record, argument)                                                               \
    static int copy_##type(const map_t *from, const char *from_key, map_t *to, const char *to_key) \
    {                                                                                              \
        record value;                                                                              \
        const int result = map_get_##type(from, from_key, &value);                                 \
        return result != 0 ? result : map_replace_##type(to, to_key, argument);                    \
    }

COPY(uint64, uint64_t, value)
COPY(int64, int64_t, value)
COPY(uint32, uint32_t, value)
COPY(int32, int32_t, value)
COPY(time, int32_t, value)
COPY(uint16, uint16_t, value)
COPY(int16, int16_t, value)
COPY(uint8, uint8_t, value)
COPY(int8, int8_t, value)
COPY(bool, bool, value)
COPY(uint, unsigned int, value)
COPY(int, int, value)
COPY(uchar, unsigned char, value)
COPY(char, char, value)
COPY(macaddr, macaddr_t, &value)
COPY(ipaddr, ipaddr_t, &value)
COPY(cidr, cidr_t, &value)

static int copy_str(const map_t *from, const char *from_key, map_t *to, const char *to_key)
{
    char *value;
    int result = map_dup_str(from, from_key, &value);
    if (result == 0) {
        result = map_replace_str(to, to_key, value);
        free(value);
    }
    return result;
}

static const struct {
    const char *name;
    const char *counter;
    int (*copy)(const map_t *from, const char *from_key, map_t *to, const char *to_key);
    uint32_t size; /* of the longest text that is read, its NUL counted; 0 for no limit */
} types[TYPE_COUNT] = {
    [TYPE_UINT64] = {"uint64", "stored.uint64", copy_uint64, 0},
    [TYPE_INT64] = {"int64", "stored.int64", copy_int64, 0},
    [TYPE_UINT32] = {"uint32", "stored.uint32", copy_uint32, 0},
    [TYPE_INT32] = {"int32", "stored.int32", copy_int32, 0},
    [TYPE_TIME] = {"time", "stored.time", copy_time, 0},
    [TYPE_UINT16] = {"uint16", "stored.uint16", copy_uint16, 0},
    [TYPE_INT16] = {"int16", "stored.int16", copy_int16, 0},
    [TYPE_UINT8] = {"uint8", "stored.uint8", copy_uint8, 0},
    [TYPE_INT8] = {"int8", "stored.int8", copy_int8, 0},
    [TYPE_BOOL] = {"bool", "stored.bool", copy_bool, 0},
    [TYPE_UINT] = {"uint", "stored.uint", copy_uint, 0},
    [TYPE_INT] = {"int", "stored.int", copy_int, 0},
    [TYPE_UCHAR] = {"uchar", "stored.uchar", copy_uchar, 0},
    [TYPE_CHAR] = {"char", "stored.char", copy_char, 0},
    [TYPE_STR] = {"str", "stored.str", copy_str, 0},
    [TYPE_MACADDR] = {"macaddr", "stored.macaddr", copy_macaddr, 18},
    [TYPE_IPADDR] = {"ipaddr", "stored.ipaddr", copy_ipaddr, 46},
    [TYPE_CIDR] = {"cidr", "stored.cidr", copy_cidr, 92},
};

enum value_type type_named(const char *name)
{
    enum value_type type = TYPE_UINT64;
    while (type < TYPE_COUNT && strcmp(types[type].name, name) != 0) {
        ++type;
    }
    return type;
}

int copy_typed(enum value_type type, const map_t *from, const char *from_key, map_t *to,
               const char *to_key)
{
    uint32_t size;
    const int result = map_index(from, from_key, NULL, &size);
    if (result != 0) {
        return result;
    }
    /* An address is read from the beginning of a longer text, whatever follows. */
    if (types[type].size != 0 && size > types[type].size) {
        return EINVAL;
    }
    return types[type].copy(from, from_key, to, to_key);
}

const char *text_of(const map_t *map, const char *key)
{
    const void *value;
    return map_index(map, key, &value, NULL) == 0 ? value : NULL;
}

void print_mismatch(FILE *stream, enum value_type type, const char *text, int result)
{
    const char *const name = types[type].name;
    fprintf(stream, "not %s %s: ", name[0] == 'i' ? "an" : "a", name);
    print_quoted(stream, text);
    fprintf(stream, " (%d)\n", result);
}

static int count(struct device *device, const char *counter)
{
    uint32_t number = 0;
    const int result = map_get_uint32(&device->counters, counter, &number);
    if (result != 0 && result != ENOENT) {
        return result;
    }
    return map_replace_uint32(&device->counters, counter, number + 1);
}

/* The table never grows by itself: at least as many buckets as keys keep its chains short. */
static int make_room(map_t *map)
{
    return (uint32_t)map->numkeys > map->hashsize ? map_sethashsize(map, map->hashsize * 2) : 0;
}

int settings_store(struct device *device, const char *key, enum value_type type, const char *text)
{
    int result = map_replace_str(&device->scratch, "value", text);
    if (result == 0) {
        result = copy_typed(type, &device->scratch, "value", &device->settings, key);
    }
    if (result == 0) {
        result = count(device, "stored");
    }
    if (result == 0) {
        result = count(device, types[type].counter);
    }
    return result == 0 ? make_room(&device->settings) : result;
}

static int set_array_max(map_t *map, const char *array, int max)
{
    char key[ARRAY_KEY_SIZE];
    snprintf(key, sizeof key, "%s:max", array);
    return map_replace_int(map, key, max);
}

int settings_append(struct device *device, const char *array, enum value_type type,
                    const char *text)
{
    map_t *const settings = &device->settings;
    int result = map_array_init(settings, array);
    if (result != 0 && result != REFUSED) {
        return result;
    }
    int max;
    result = map_array_get_max(settings, array, &max);
    if (result != 0) {
        return result;
    }
    char key[ARRAY_KEY_SIZE];
    result = map_array_append(settings, array, key, sizeof key);
    if (result == 0) {
        result = settings_store(device, key, type, text);
    }
    /* Raised last: an element that could not be stored is then no part of the array. */
    return result == 0 ? set_array_max(settings, array, max + 1) : result;
}

int report_mismatch(struct device *device, const struct line *line, enum value_type type,
                    const char *text, int result)
{
    if (result == 0 || result == ENOMEM) {
        return result;
    }
    fprintf(stderr, "%s:%lu: ", line->file, line->number);
    print_mismatch(stderr, type, text, result);
    return count(device, "malformed");
}

static int report_malformed(struct device *device, const struct line *line, const char *reason)
{
    fprintf(stderr, "%s:%lu: %s\n", line->file, line->number, reason);
    return count(device, "malformed");
}

int read_file(struct device *device, const char *path, line_fn take)
{
    struct line line;
    int result = line_open(&line, path);
    if (result != 0) {
        return result;
    }
    while (result == 0 && line_next(&line, &result)) {
        result = take(device, &line);
    }
    line_close(&line);
    return result;
}

/* The type of a setting, by the last part of its name. */
static enum value_type type_of_setting(const char *key)
{
    static const struct {
        const char *part;
        enum value_type type;
    } known[] = {
        {"channel", TYPE_UINT8},   {"cidr", TYPE_CIDR},      {"drift", TYPE_INT64},
        {"enabled", TYPE_BOOL},    {"fwmark", TYPE_UINT32},  {"gateway", TYPE_IPADDR},
        {"ipaddr", TYPE_IPADDR},   {"leasetime", TYPE_TIME}, {"macaddr", TYPE_MACADDR},
        {"metric", TYPE_UINT},     {"mtu", TYPE_UINT16},     {"nice", TYPE_CHAR},
        {"offset", TYPE_INT32},    {"port", TYPE_UINT16},    {"priority", TYPE_INT},
        {"quota", TYPE_UINT64},    {"route", TYPE_CIDR},     {"ttl", TYPE_UCHAR},
        {"threshold", TYPE_INT16}, {"txpower", TYPE_INT8},   {"vlan", TYPE_UINT16},
    };
    const char *const dot = strrchr(key, '.');
    const char *const part = dot == NULL ? key : dot + 1;
    for (size_t i = 0; i < sizeof known / sizeof known[0]; ++i) {
        if (strcmp(known[i].part, part) == 0) {
            return known[i].type;
        }
    }
    return TYPE_STR;
}

static int store_setting(struct device *device, const struct line *line, const char *key,
                         const char *value)
{
    const bool listed = strcmp(key, "resolver") == 0;
    const enum value_type type = listed ? TYPE_IPADDR : type_of_setting(key);
    const int result = listed ? settings_append(device, key, type, value)
                              : settings_store(device, key, type, value);
    return report_mismatch(device, line, type, value, result);
}

int take_setting(struct device *device, const struct line *line)
{
    const int result = count(device, "lines");
    if (result != 0) {
        return result;
    }
    if (strlen(line->text) != line->length) {
        return report_malformed(device, line, "a NUL byte in the line");
    }
    char *const text = trimmed(line->text);
    if (*text == '\0' || *text == '#') {
        return 0;
    }
    char *const equals = strchr(text, '=');
    if (equals == NULL) {
        return report_malformed(device, line, "no '='");
    }
    *equals = '\0';
    const char *const key = trimmed(text);
    if (*key == '\0') {
        return report_malformed(device, line, "no key before the '='");
    }
    if (strchr(key, ':') != NULL) {
        return report_malformed(device, line, "a ':' in the key, which is kept for lists");
    }
    return store_setting(device, line, key, trimmed(equals + 1));
}
