// The arraymap's typed layer. Every function renders or parses by its row and calls one operation
// of the core.
#include "typed/access.hpp"

#include <textmaps/arraymap.h>

using namespace textmaps;

namespace {

template <class Row>
int replace_value(arraymap_t *map, const char *key, uint32_t index, typename Row::argument value)
{
    return with_value<Row>(map, key, value, [=](const char *text, uint32_t size) {
        return arraymap_replace(map, key, index, text, size);
    });
}

// How a reader gets its value.
auto fetch(const arraymap_t *map, const char *key, uint32_t position)
{
    return [=](const void **data, uint32_t *len) {
        return arraymap_index(map, key, position, data, len);
    };
}

} // namespace

// What all rows have, and what those with a reader have beside it.
#define ARRAYMAP_WRITERS(type)                                                                     \
    int arraymap_insert_##type(arraymap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return write_value<row_##type>(arraymap_insert, map, key, value);                          \
    }                                                                                              \
    int arraymap_replace_##type(arraymap_t *map, const char *key, uint32_t index,                  \
                                row_##type::argument value)                                        \
    {                                                                                              \
        return replace_value<row_##type>(map, key, index, value);                                  \
    }                                                                                              \
    int arraymap_delete_##type(arraymap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return write_value<row_##type>(arraymap_delete, map, key, value);                          \
    }

#define ARRAYMAP_ROW(type)                                                                         \
    ARRAYMAP_WRITERS(type)                                                                         \
    int arraymap_get_##type(const arraymap_t *map, const char *key, uint32_t position,             \
                            row_##type::output *out)                                               \
    {                                                                                              \
        return read_value<row_##type>(out, fetch(map, key, position));                             \
    }

ARRAYMAP_ROW(uint64)
ARRAYMAP_ROW(int64)
ARRAYMAP_ROW(uint32)
ARRAYMAP_ROW(int32)
ARRAYMAP_ROW(uint16)
ARRAYMAP_ROW(int16)
ARRAYMAP_ROW(uint8)
ARRAYMAP_ROW(int8)
ARRAYMAP_ROW(bool)
ARRAYMAP_ROW(uint)
ARRAYMAP_ROW(int)
ARRAYMAP_ROW(uchar)
ARRAYMAP_ROW(char)
ARRAYMAP_ROW(macaddr)
ARRAYMAP_ROW(ipaddr)
ARRAYMAP_ROW(cidr)
ARRAYMAP_WRITERS(str)

int arraymap_insert_time(arraymap_t *map, const char *key, int32_t value)
{
    return arraymap_insert_int32(map, key, value);
}

int arraymap_replace_time(arraymap_t *map, const char *key, uint32_t index, int32_t value)
{
    return arraymap_replace_int32(map, key, index, value);
}

int arraymap_delete_time(arraymap_t *map, const char *key, int32_t value)
{
    return arraymap_delete_int32(map, key, value);
}

int arraymap_get_time(const arraymap_t *map, const char *key, uint32_t position, int32_t *out)
{
    return read_time(
        out, [=](int32_t *seconds) { return arraymap_get_int32(map, key, position, seconds); });
}

int arraymap_insert_fmt(arraymap_t *map, const char *key, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = write_formatted(arraymap_insert, map, key, format, arguments);
    va_end(arguments);
    return result;
}

int arraymap_replace_fmt(arraymap_t *map, const char *key, uint32_t index, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result =
        with_format(map, key, format, arguments, [=](const char *text, uint32_t size) {
            return arraymap_replace(map, key, index, text, size);
        });
    va_end(arguments);
    return result;
}

int arraymap_delete_fmt(arraymap_t *map, const char *key, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = write_formatted(arraymap_delete, map, key, format, arguments);
    va_end(arguments);
    return result;
}

int arraymap_copy_str(const arraymap_t *map, const char *key, uint32_t position, char *buffer,
                      uint32_t size)
{
    return read_text(buffer, size, fetch(map, key, position));
}

int arraymap_dup_str(const arraymap_t *map, const char *key, uint32_t position, char **out)
{
    return read_copy(out, fetch(map, key, position));
}
