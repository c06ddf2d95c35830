#pragma once

#include "common.hpp"

#include "../plain_map.h"

namespace bench {

class plain_map {
  public:
    static constexpr const char *name = "plain";

    explicit plain_map(std::size_t expected)
    {
        plain_map_init(&map_, buckets_for(expected));
    }
    plain_map(const plain_map &) = delete;
    plain_map &operator=(const plain_map &) = delete;
    ~plain_map()
    {
        plain_map_destroy(&map_);
    }
    void insert(const item &one)
    {
        plain_map_insert(&map_, one.key, one.value, stored_length(one));
    }
    void replace(const item &one)
    {
        plain_map_replace(&map_, one.key, one.value, stored_length(one));
    }
    const char *find(const char *key) const
    {
        const void *value;
        plain_map_index(&map_, key, &value, nullptr);
        return static_cast<const char *>(value);
    }
    void erase(const char *key)
    {
        plain_map_erase(&map_, key);
    }
    void clear()
    {
        plain_map_clear(&map_);
    }
    template <class Use>
    void visit(Use use) const
    {
        plain_iter_t it{};
        for (const char *key = plain_map_first(&map_, &it); key != nullptr;
             key = plain_map_next(&it)) {
            use(key, static_cast<const char *>(it.entry->value), it.entry->valuesz - 1);
        }
    }
    void copy_from(const plain_map &other)
    {
        plain_map_copy(&other.map_, &map_);
    }
    bool equals(const plain_map &other) const
    {
        return plain_map_isequal(&map_, &other.map_) != 0;
    }
    void dump(std::FILE *stream) const
    {
        plain_map_dump(&map_, stream);
    }

  private:
    plain_map_t map_;
};

} // namespace bench
