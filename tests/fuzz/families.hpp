// The three families under common names, as far as they are alike.
#pragma once

#include "fuzzing.hpp"

#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <cerrno>

struct MapFamily {
    using Container = map_t;
    static constexpr auto init = map_init;
    static constexpr auto destroy = map_destroy;
    static constexpr auto clear = map_clear;
    static constexpr auto insert = map_insert;
    static constexpr auto insert_str = map_insert_str;
    static constexpr auto insert_fmt = map_insert_fmt;
    static constexpr auto insert_macaddr = map_insert_macaddr;
    static constexpr auto insert_ipaddr = map_insert_ipaddr;
    static constexpr auto insert_cidr = map_insert_cidr;
    static constexpr auto key_name = map_key_name;
    static constexpr auto sethashsize = map_sethashsize;
    static constexpr auto setcasekeys = map_setcasekeys;
    static constexpr auto dump = map_dump;
    static constexpr auto sndump = map_sndump;
    static constexpr auto print = map_print;
    static constexpr auto copy_str = map_copy_str;
    static constexpr auto dup_str = map_dup_str;
    static constexpr auto get_macaddr = map_get_macaddr;
    static constexpr auto get_ipaddr = map_get_ipaddr;
    static constexpr auto get_cidr = map_get_cidr;

    // The value at a position of the key.
    static int at(const map_t *map, const char *key, std::uint32_t position, const void **value,
                  std::uint32_t *length)
    {
        return position == 0 ? map_index(map, key, value, length) : ENOENT;
    }

    // Calls a reader for the first value of the key.
    template <class Reader, class... Outputs>
    static int read(Reader reader, const map_t *map, const char *key, Outputs... outputs)
    {
        return reader(map, key, outputs...);
    }
};

struct MultimapFamily {
    using Container = multimap_t;
    static constexpr auto init = multimap_init;
    static constexpr auto destroy = multimap_destroy;
    static constexpr auto clear = multimap_clear;
    static constexpr auto insert = multimap_insert;
    static constexpr auto insert_str = multimap_insert_str;
    static constexpr auto insert_fmt = multimap_insert_fmt;
    static constexpr auto insert_macaddr = multimap_insert_macaddr;
    static constexpr auto insert_ipaddr = multimap_insert_ipaddr;
    static constexpr auto insert_cidr = multimap_insert_cidr;
    static constexpr auto at = multimap_index;
    static constexpr auto key_name = multimap_key_name;
    static constexpr auto sethashsize = multimap_sethashsize;
    static constexpr auto setcasekeys = multimap_setcasekeys;
    static constexpr auto dump = multimap_dump;
    static constexpr auto sndump = multimap_sndump;
    static constexpr auto print = multimap_print;
    static constexpr auto copy_str = multimap_copy_str;
    static constexpr auto dup_str = multimap_dup_str;
    static constexpr auto get_macaddr = multimap_get_macaddr;
    static constexpr auto get_ipaddr = multimap_get_ipaddr;
    static constexpr auto get_cidr = multimap_get_cidr;

    template <class Reader, class... Outputs>
    static int read(Reader reader, const multimap_t *map, const char *key, Outputs... outputs)
    {
        return reader(map, key, 0, outputs...);
    }
};

struct ArraymapFamily {
    using Container = arraymap_t;
    static constexpr auto init = arraymap_init;
    static constexpr auto destroy = arraymap_destroy;
    static constexpr auto clear = arraymap_clear;
    static constexpr auto insert = arraymap_insert;
    static constexpr auto insert_str = arraymap_insert_str;
    static constexpr auto insert_fmt = arraymap_insert_fmt;
    static constexpr auto insert_macaddr = arraymap_insert_macaddr;
    static constexpr auto insert_ipaddr = arraymap_insert_ipaddr;
    static constexpr auto insert_cidr = arraymap_insert_cidr;
    static constexpr auto at = arraymap_index;
    static constexpr auto key_name = arraymap_key_name;
    static constexpr auto sethashsize = arraymap_sethashsize;
    static constexpr auto setcasekeys = arraymap_setcasekeys;
    static constexpr auto dump = arraymap_dump;
    static constexpr auto sndump = arraymap_sndump;
    static constexpr auto print = arraymap_print;
    static constexpr auto copy_str = arraymap_copy_str;
    static constexpr auto dup_str = arraymap_dup_str;
    static constexpr auto get_macaddr = arraymap_get_macaddr;
    static constexpr auto get_ipaddr = arraymap_get_ipaddr;
    static constexpr auto get_cidr = arraymap_get_cidr;

    template <class Reader, class... Outputs>
    static int read(Reader reader, const arraymap_t *map, const char *key, Outputs... outputs)
    {
        return reader(map, key, 0, outputs...);
    }
};

// A live container.
template <class Family>
class Owned {
  public:
    Owned()
    {
        expect(Family::init(&container_), 0);
    }
    ~Owned()
    {
        Family::destroy(&container_);
    }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;

    typename Family::Container *operator&()
    {
        return &container_;
    }

  private:
    typename Family::Container container_;
};

// Makes the container hold one value and nothing else.
template <class Family>
void hold(typename Family::Container *map, const char *key, const std::string &value)
{
    expect(Family::clear(map), 0);
    expect(Family::insert(map, key, value.data(), static_cast<std::uint32_t>(value.size())), 0);
}

// The first value of the key.
template <class Family>
std::string held(const typename Family::Container *map, const char *key)
{
    const void *value;
    std::uint32_t length;
    expect(Family::at(map, key, 0, &value, &length), 0);
    return std::string(static_cast<const char *>(value), length);
}

// The same where it lies in the container, if it is text.
template <class Family>
const char *held_text(const typename Family::Container *map, const char *key)
{
    const void *value;
    expect(Family::at(map, key, 0, &value, nullptr), 0);
    return static_cast<const char *>(value);
}
