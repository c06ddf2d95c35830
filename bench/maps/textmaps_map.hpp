#pragma once

#include "common.hpp"

#include <textmaps/map.h>

namespace bench {

class textmaps_map {
  public:
    static constexpr const char *name = "textmaps";

    explicit textmaps_map(std::size_t expected)
    {
        map_init(&map_);
        map_sethashsize(&map_, buckets_for(expected));
    }
    textmaps_map(const textmaps_map &) = delete;
    textmaps_map &operator=(const textmaps_map &) = delete;
    ~textmaps_map()
    {
        map_destroy(&map_);
    }
    void insert(const item &one)
    {
        map_insert(&map_, one.key, one.value, stored_length(one));
    }
    void replace(const item &one)
    {
        map_replace(&map_, one.key, one.value, stored_length(one));
    }
    const char *find(const char *key) const
    {
        const void *value;
        map_index(&map_, key, &value, nullptr);
        return static_cast<const char *>(value);
    }
    void erase(const char *key)
    {
        map_erase(&map_, key);
    }
    void clear()
    {
        map_clear(&map_);
    }
    template <class Use>
    void visit(Use use) const
    {
        map_iter_t it{};
        for (const char *key = map_first(&map_, &it); key != nullptr; key = map_next(&it)) {
            use(key, static_cast<const char *>(map_value(&it)), map_valuesz(&it) - 1);
        }
    }
    void copy_from(const textmaps_map &other)
    {
        map_copy(&other.map_, &map_);
    }
    bool equals(const textmaps_map &other) const
    {
        return map_isequal(&map_, &other.map_) != 0;
    }
    void dump(std::FILE *stream) const
    {
        map_dump(&map_, stream);
    }

  private:
    map_t map_;
};

} // namespace bench
