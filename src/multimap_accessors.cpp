// The multimap's typed layer. Every function renders or parses by its row and calls one operation
// of the core.
#include "typed/access.hpp"

#include <textmaps/multimap.h>

#include <strings.h>

using namespace textmaps;

namespace {

template <class Row>
int find_text(const multimap_t *map, const char *key, typename Row::argument value, uint32_t *index)
{
    return with_value<Row>(map, key, value, [=](const char *text, uint32_t size) {
        return multimap_find(map, key, text, size, index);
    });
}

// How a reader gets its value.
auto fetch(const multimap_t *map, const char *key, uint32_t index)
{
    return [=](const void **data, uint32_t *len) {
        return multimap_index(map, key, index, data, len);
    };
}

} // namespace

// What all rows have, and what those with a reader have beside it.
#define MULTIMAP_WRITERS(type)                                                                     \
    int multimap_find_##type(const multimap_t *map, const char *key, row_##type::argument value,   \
                             uint32_t *index)                                                      \
    {                                                                                              \
        return find_text<row_##type>(map, key, value, index);                                      \
    }                                                                                              \
    int multimap_delete_##type(multimap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return write_value<row_##type>(multimap_delete, map, key, value);                          \
    }                                                                                              \
    int multimap_insert_##type(multimap_t *map, const char *key, row_##type::argument value)       \
    {                                                                                              \
        return write_value<row_##type>(multimap_insert, map, key, value);                          \
    }

#define MULTIMAP_ROW(type)                                                                         \
    MULTIMAP_WRITERS(type)                                                                         \
    int multimap_get_##type(const multimap_t *map, const char *key, uint32_t index,                \
                            row_##type::output *out)                                               \
    {                                                                                              \
        return read_value<row_##type>(out, fetch(map, key, index));                                \
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
    return read_time(
        out, [=](int32_t *seconds) { return multimap_get_int32(map, key, index, seconds); });
}

int multimap_delete_fmt(multimap_t *map, const char *key, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = write_formatted(multimap_delete, map, key, format, arguments);
    va_end(arguments);
    return result;
}

int multimap_insert_fmt(multimap_t *map, const char *key, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = write_formatted(multimap_insert, map, key, format, arguments);
    va_end(arguments);
    return result;
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
    return read_text(buffer, size, fetch(map, key, index));
}

int multimap_dup_str(const multimap_t *map, const char *key, uint32_t index, char **out)
{
    return read_copy(out, fetch(map, key, index));
}
