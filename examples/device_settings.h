/* What the parts of the example share: the device and its typed values. */
#ifndef DEVICE_SETTINGS_H
#define DEVICE_SETTINGS_H

#include "lines.h"

#include <textmaps/map.h>

#include <stdio.h>

/** The types that a value can be stored and read as. */
enum value_type {
    TYPE_UINT64,
    TYPE_INT64,
    TYPE_UINT32,
    TYPE_INT32,
    TYPE_TIME,
    TYPE_UINT16,
    TYPE_INT16,
    TYPE_UINT8,
    TYPE_INT8,
    TYPE_BOOL,
    TYPE_UINT,
    TYPE_INT,
    TYPE_UCHAR,
    TYPE_CHAR,
    TYPE_STR,
    TYPE_MACADDR,
    TYPE_IPADDR,
    TYPE_CIDR,
    TYPE_COUNT /**< The number of types; no type itself. */
};

struct device {
    map_t settings; /**< Each setting and each fact of the machine, by its name. */
    map_t counters; /**< How often what happened. */
    map_t scratch;  /**< Texts on their way; each is used up before the next of its name. */
};

/** Takes one line. Any result but 0 ends the reading. */
typedef int (*line_fn)(struct device *device, const struct line *line);

/** Makes the maps. On failure there is nothing to destroy. */
int device_init(struct device *device);
void device_destroy(struct device *device);

/** @return The type of that name; TYPE_COUNT if there is none. */
enum value_type type_named(const char *name);

/**
 * Reads a value as a type and stores it under a key of another map.
 *
 * @return 0; 2 if there is no such value; 12 if there is no memory; any other number if the value
 * is not of the type.
 */
int copy_typed(enum value_type type, const map_t *from, const char *from_key, map_t *to,
               const char *to_key);

/** @return The text under a key, inside the map; NULL if there is none. */
const char *text_of(const map_t *map, const char *key);

/** Prints "not a uint16: "text" (34)" and a newline; of a long text only the beginning. */
void print_mismatch(FILE *stream, enum value_type type, const char *text, int result);

/**
 * Stores a text as a setting of the given type.
 *
 * @return 0; 12 if there is no memory; any other number if the text is not of the type, and an
 * earlier value of the setting is still there.
 */
int settings_store(struct device *device, const char *key, enum value_type type, const char *text);

/** Appends a text to a map array of the settings, made if need be. Results as `settings_store`. */
int settings_append(struct device *device, const char *array, enum value_type type,
                    const char *text);

/**
 * Reports on stderr a value that was not stored because it is not of its type.
 *
 * @param result  What storing it gave.
 * @return The result if it was 0 or 12; 0 if there was something to report.
 */
int report_mismatch(struct device *device, const struct line *line, enum value_type type,
                    const char *text, int result);

/**
 * Takes each line of a file.
 *
 * @param path  Of the file, or "-" for the standard input.
 * @return 0; what `take` returned if it ended the reading; `errno` if the file cannot be read.
 */
int read_file(struct device *device, const char *path, line_fn take);

/** Takes one line of a file of settings. */
int take_setting(struct device *device, const struct line *line);

/** Stores the facts of the machine that the program runs on. @return 0; 12 if no memory. */
int machine_read(struct device *device);

#endif
