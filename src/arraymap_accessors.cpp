// The arraymap's typed layer. Every function renders or parses by its row and calls one operation
// of the core.
#include "typed/rows.hpp"

#include <textmaps/arraymap.h>

using namespace textmaps;

namespace {

int insert(arraymap_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : arraymap_insert(map, key, text.data(), text.size());
}

int replace(arraymap_t *map, const char *key, uint32_t index, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : arraymap_replace(map, key, index, text.data(), text.size());
}

int erase(arraymap_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : arraymap_delete(map, key, text.data(), text.size());
}

stored fetch(const arraymap_t *map, const char *key, uint32_t position)
{
    stored value{};
    value.result = arraymap_index(map, key, position, &value.data, &value.length);
    return value;
}

int get(const arraymap_t *map, const char *key, uint32_t position, void *out, row_id id)
{
    return read(id, fetch(map, key, position), out);
}

} // namespace

// What all rows have, and what those with a reader have beside it.
#define ARRAYMAP_WRITERS(type)                                                                     \
    int arraymap_insert_##type(arraymap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return insert(map, key, word_of(value), id_##type);                                        \
    }                                                                                              \
    int arraymap_replace_##type(arraymap_t *map, const char *key, uint32_t index,                  \
                                row_##type::argument value)                                        \
    {                                                                                              \
        return replace(map, key, index, word_of(value), id_##type);                                \
    }                                                                                              \
    int arraymap_delete_##type(arraymap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return erase(map, key, word_of(value), id_##type);                                         \
    }

#define ARRAYMAP_ROW(type)                                                                         \
    ARRAYMAP_WRITERS(type)                                                                         \
    int arraymap_get_##type(const arraymap_t *map, const char *key, uint32_t position,             \
                            row_##type::output *out)                                               \
    {                                                                                              \
        return get(map, key, position, out, id_##type);                                            \
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
    return read_time(fetch(map, key, position), out);
}

int arraymap_insert_fmt(arraymap_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : arraymap_insert(map, key, text.data(), text.size());
}

int arraymap_replace_fmt(arraymap_t *map, const char *key, uint32_t index, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : arraymap_replace(map, key, index, text.data(), text.size());
}

int arraymap_delete_fmt(arraymap_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : arraymap_delete(map, key, text.data(), text.size());
}

int arraymap_copy_str(const arraymap_t *map, const char *key, uint32_t position, char *buffer,
                      uint32_t size)
{
    return read_text(fetch(map, key, position), buffer, size);
}

int arraymap_dup_str(const arraymap_t *map, const char *key, uint32_t position, char **out)
{
    return read_copy(fetch(map, key, position), out);
}
