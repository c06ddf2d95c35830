// The map's typed layer and the map arrays. Every typed function renders or parses by its row and
// calls one operation of the core.
#include "typed/rows.hpp"

#include <textmaps/map.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <strings.h>

using namespace textmaps;

namespace {

int cmp(const map_t *map, const char *key, word value, row_id id)
{
    value_text text;
    text.render_any(id, value);
    return map_cmp(map, key, text.data(), text.size());
}

int cmp_checked(const map_t *map, const char *key, word value, row_id id)
{
    return map == nullptr || key == nullptr ? EINVAL : cmp(map, key, value, id);
}

int replace(map_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : map_replace(map, key, text.data(), text.size());
}

int insert(map_t *map, const char *key, word value, row_id id)
{
    value_text text;
    const int result = text.render(id, map, key, value);
    return result != 0 ? result : map_insert(map, key, text.data(), text.size());
}

stored fetch(const map_t *map, const char *key)
{
    stored value{};
    value.result = map_index(map, key, &value.data, &value.length);
    return value;
}

int get(const map_t *map, const char *key, void *out, row_id id)
{
    return read(id, fetch(map, key), out);
}

} // namespace

// What all rows have, and what those of numbers and addresses have beside it; `compare` is the one of
// the two above that their comparison follows.
#define MAP_WRITERS(type)                                                                          \
    int map_replace_##type(map_t *map, const char *key, row_##type::argument value)                \
    {                                                                                              \
        return replace(map, key, word_of(value), id_##type);                                       \
    }                                                                                              \
    int map_insert_##type(map_t *map, const char *key, row_##type::argument value)                 \
    {                                                                                              \
        return insert(map, key, word_of(value), id_##type);                                        \
    }

#define MAP_ROW(type, compare)                                                                     \
    MAP_WRITERS(type)                                                                              \
    int map_cmp_##type(const map_t *map, const char *key, row_##type::argument value)              \
    {                                                                                              \
        return compare(map, key, word_of(value), id_##type);                                       \
    }                                                                                              \
    int map_get_##type(const map_t *map, const char *key, row_##type::output *out)                 \
    {                                                                                              \
        return get(map, key, out, id_##type);                                                      \
    }

MAP_ROW(uint64, cmp)
MAP_ROW(int64, cmp)
MAP_ROW(uint32, cmp)
MAP_ROW(int32, cmp)
MAP_ROW(uint16, cmp)
MAP_ROW(int16, cmp)
MAP_ROW(uint8, cmp)
MAP_ROW(int8, cmp)
MAP_ROW(bool, cmp_checked)
MAP_ROW(uint, cmp_checked)
MAP_ROW(int, cmp_checked)
MAP_ROW(uchar, cmp_checked)
MAP_ROW(char, cmp_checked)
MAP_ROW(macaddr, cmp)
MAP_ROW(ipaddr, cmp)
MAP_ROW(cidr, cmp)
MAP_WRITERS(str)

int map_cmp_time(const map_t *map, const char *key, int32_t value)
{
    return map_cmp_int32(map, key, value);
}

int map_replace_time(map_t *map, const char *key, int32_t value)
{
    return map_replace_int32(map, key, value);
}

int map_insert_time(map_t *map, const char *key, int32_t value)
{
    return map_insert_int32(map, key, value);
}

int map_get_time(const map_t *map, const char *key, int32_t *out)
{
    return read_time(fetch(map, key), out);
}

int map_cmp_str(const map_t *map, const char *key, const char *value)
{
    // Of a text that is longer than any value, as much as a value can have.
    const std::size_t size = value == nullptr ? 0 : std::strlen(value) + 1;
    return map_cmp(map, key, value, static_cast<uint32_t>(std::min<std::size_t>(size, UINT32_MAX)));
}

int map_replace_fmt(map_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : map_replace(map, key, text.data(), text.size());
}

int map_insert_fmt(map_t *map, const char *key, const char *format, ...)
{
    formatted_text text;
    va_list arguments;
    va_start(arguments, format);
    const int result = text.render(map, key, format, arguments);
    va_end(arguments);
    return result != 0 ? result : map_insert(map, key, text.data(), text.size());
}

int map_copy_str(const map_t *map, const char *key, char *buffer, uint32_t size)
{
    return read_text(fetch(map, key), buffer, size);
}

int map_dup_str(const map_t *map, const char *key, char **out)
{
    return read_copy(fetch(map, key), out);
}

int map_casecmp_str(const map_t *map, const char *key, const char *text)
{
    if (map == nullptr && key == nullptr && text == nullptr) {
        return 0;
    }
    const void *value;
    uint32_t length;
    if (text == nullptr || map_index(map, key, &value, &length) != 0) {
        return -1;
    }
    return strncasecmp(text, static_cast<const char *>(value), length);
}

namespace {

// The keys of one map array, one at a time. The name is copied as far as it goes into a key, since
// it may lie in an entry that the call erases.
class array_key {
  public:
    explicit array_key(const char *name) : name_(name), length_(strnlen(name, room - 1))
    {
        std::memcpy(text_, name, length_);
    }

    // The whole name: the caller's own where it is longer than the copy.
    const char *name()
    {
        text_[length_] = '\0';
        return length_ < room - 1 ? text_ : name_;
    }

    const char *count()
    {
        std::snprintf(text_ + length_, room - length_, ":max");
        return text_;
    }

    const char *element(int index)
    {
        std::snprintf(text_ + length_, room - length_, ":%d", index);
        return text_;
    }

    // Where an append notes the count to come. It is not cut, and never as long as a cut key, so
    // that it is no key of any array.
    const char *count_to_come()
    {
        const char *suffix = length_ + sizeof ":max+1" == room ? ":max+01" : ":max+1";
        std::memcpy(text_ + length_, suffix, std::strlen(suffix) + 1);
        return text_;
    }

  private:
    static constexpr std::size_t room = 128;

    const char *name_;
    std::size_t length_;
    char text_[room + sizeof ":max+1"];
};

bool cannot_hold(const char *buffer, uint32_t size)
{
    return buffer == nullptr && size != 0;
}

} // namespace

int map_array_init(map_t *map, const char *name)
{
    return name == nullptr ? EINVAL : map_insert_int(map, array_key(name).count(), 0);
}

int map_array_get_max(const map_t *map, const char *name, int *count)
{
    return name == nullptr ? EINVAL : map_get_int(map, array_key(name).count(), count);
}

int map_array_get_key(const map_t *map, const char *name, int index, char *buffer, uint32_t size,
                      int count)
{
    if (index < 0 || name == nullptr || cannot_hold(buffer, size)) {
        return EINVAL;
    }
    if (count < 0) {
        const int result = map_array_get_max(map, name, &count);
        if (result != 0) {
            return result;
        }
    }
    if (index >= count) {
        return EINVAL;
    }
    // POSIX lets snprintf refuse a size above INT_MAX, and write nothing.
    std::snprintf(buffer, std::min<uint32_t>(size, INT_MAX), "%s:%d", name, index);
    return 0;
}

int map_array_append(map_t *map, const char *name, char *buffer, uint32_t size)
{
    if (name == nullptr || cannot_hold(buffer, size)) {
        return EINVAL;
    }
    array_key key(name);
    int count = 0;
    const int read = map_get_int(map, key.count(), &count);
    if (read != 0) {
        return read;
    }
    copy_text(buffer, size, key.count(), 3);
    const int to_come = static_cast<int>(static_cast<unsigned int>(count) + 1);
    const int stored = map_replace_int(map, key.count_to_come(), to_come);
    if (stored != 0) {
        return stored;
    }
    return map_array_get_key(map, key.name(), count, buffer, size, to_come);
}

int map_array_pop(map_t *map, const char *name)
{
    if (name == nullptr) {
        return EINVAL;
    }
    array_key key(name);
    int count = 0;
    const int read = map_get_int(map, key.count(), &count);
    if (read != 0) {
        return read;
    }
    if (count < 1) {
        return EINVAL;
    }
    map_erase(map, key.element(count - 1));
    return map_replace_int(map, key.count(), count - 1);
}

int map_array_clear(map_t *map, const char *name)
{
    if (name == nullptr) {
        return EINVAL;
    }
    array_key key(name);
    int count = 0;
    const int read = map_get_int(map, key.count(), &count);
    if (read != 0) {
        return read;
    }
    for (int index = 0; index < count; ++index) {
        map_erase(map, key.element(index));
    }
    return 0;
}
