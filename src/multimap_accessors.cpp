// The multimap's typed layer. Every function renders or parses by its row and calls one operation
// of the core.
#include "typed/rows.hpp"

#include <textmaps/multimap.h>

#include <strings.h>

using namespace textmaps;

namespace {

int find(const multimap_t *map, const char *key, word value, uint32_t *index, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : multimap_find(map, key, text.data(), text.size(), index);
}

int erase(multimap_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : multimap_delete(map, key, text.data(), text.size());
}

int insert(multimap_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : multimap_insert(map, key, text.data(), text.size());
}

stored fetch(const multimap_t *map, const char *key, uint32_t index)
{
    stored value{};
    value.result = multimap_index(map, key, index, &value.data, &value.length);
    return value;
}

int get(const multimap_t *map, const char *key, uint32_t index, void *out, row_id id)
{
    return read(id, fetch(map, key, index), out);
}

} // namespace

// What all rows have, and what those with a reader have beside it.
#define MULTIMAP_WRITERS(type)                                                                     \
    int multimap_find_##type(const multimap_t *map, const char *key, row_##type::argument value,   \
                             uint32_t *index)                                                      \
    {                                                                                              \
        return find(map, key, word_of(value), index, id_##type);                                   \
    }                                                                                              \
    int multimap_delete_##type(multimap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return erase(map, key, word_of(value), id_##type);                                         \
    }                                                                                              \
    int multimap_insert_##type(multimap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return insert(map, key, word_of(value), id_##type);                                        \
    }

#define MULTIMAP_ROW(type)                                                                         \
    MULTIMAP_WRITERS(type)                                                                         \
    int multimap_get_##type(const multimap_t *map, const char *key, uint32_t index,                \
                            row_##type::output *out)                                               \
    {                                                                                              \
        return get(map, key, index, out, id_##type);                                               \
    }

MULTIMAP_ROW(uint64)
MULTIMAP_ROW(int64)
MULTIMAP_ROW(uint32)
MULTIMAP_ROW(int32)
MULTIMAP_ROW(uint16)
MULTIMAP_ROW(int16)
MULTIMAP_ROW(uint8)
MULTIMAP_ROW(int8)
MULTIMAP_ROW(bool)
MULTIMAP_ROW(uint)
MULTIMAP_ROW(int)
MULTIMAP_ROW(uchar)
MULTIMAP_ROW(char)
MULTIMAP_ROW(macaddr)
MULTIMAP_ROW(ipaddr)
MULTIMAP_ROW(cidr)
MULTIMAP_WRITERS(str)

int multimap_find_time(const multimap_t *map, const char *key, int32_t value, uint32_t *index)
{
    return multimap_find_int32(map, key, value, index);
}

int multimap_delete_time(multimap_t *map, const char *key, int32_t value)
{
    return multimap_delete_int32(map, key, value);
}

int multimap_insert_time(multimap_t *map, const char *key, int32_t value)
{
    return multimap_insert_int32(map, key, value);
}

int multimap_get_time(const multimap_t *map, const char *key, uint32_t index, int32_t *out)
{
    return read_time(fetch(map, key, index), out);
}

int multimap_delete_fmt(multimap_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : multimap_delete(map, key, text.data(), text.size());
}

int multimap_insert_fmt(multimap_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : multimap_insert(map, key, text.data(), text.size());
}

int multimap_casefind_str(const multimap_t *map, const char *key, const char *text, uint32_t *index)
{
    if (map == nullptr || key == nullptr || text == nullptr) {
        return EINVAL;
    }
    const std::size_t size = std::strlen(text) + 1;
    multimap_value_iter_t iter{};
    uint32_t position = 0;
    for (const void *data = multimap_value_first(map, key, &iter); data != nullptr;
         data = multimap_value_next(&iter)) {
        if (multimap_value_size(&iter) == size &&
            strncasecmp(text, static_cast<const char *>(data), size) == 0) {
            if (index != nullptr) {
                *index = position;
            }
            return 0;
        }
        ++position;
    }
    return ENOENT;
}

int multimap_copy_str(const multimap_t *map, const char *key, uint32_t index, char *buffer,
                      uint32_t size)
{
    return read_text(fetch(map, key, index), buffer, size);
}

int multimap_dup_str(const multimap_t *map, const char *key, uint32_t index, char **out)
{
    return read_copy(fetch(map, key, index), out);
}
