#pragma once

#include "common.hpp"

#include <glib.h>

namespace bench {

class glib_map {
  public:
    static constexpr const char *name = "GHashTable";

    explicit glib_map(std::size_t)
        : table_(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free))
    {
    }
    glib_map(const glib_map &) = delete;
    glib_map &operator=(const glib_map &) = delete;
    ~glib_map()
    {
        g_hash_table_destroy(table_);
    }
    void insert(const item &one)
    {
        g_hash_table_insert(table_, g_strdup(one.key), g_strdup(one.value));
    }
    void replace(const item &one)
    {
        insert(one);
    }
    const char *find(const char *key) const
    {
        return static_cast<const char *>(g_hash_table_lookup(table_, key));
    }
    void erase(const char *key)
    {
        g_hash_table_remove(table_, key);
    }
    void clear()
    {
        g_hash_table_remove_all(table_);
    }
    template <class Use>
    void visit(Use use) const
    {
        GHashTableIter it;
        g_hash_table_iter_init(&it, table_);
        void *key;
        void *value;
        while (g_hash_table_iter_next(&it, &key, &value) != 0) {
            const auto *text = static_cast<const char *>(value);
            use(static_cast<const char *>(key), text,
                static_cast<std::uint32_t>(std::strlen(text)));
        }
    }
    void copy_from(const glib_map &other)
    {
        insert_all(other, *this);
    }
    bool equals(const glib_map &other) const
    {
        return g_hash_table_size(table_) == g_hash_table_size(other.table_) &&
               finds_all(*this, other);
    }
    void dump(std::FILE *stream) const
    {
        dump_sorted(*this, stream);
    }

  private:
    GHashTable *table_;
};

} // namespace bench
