#pragma once

#include "common.hpp"

#include <cstdlib>
#include <uthash.h>

namespace bench {

// As its user guide has it: HASH_FIND_STR, then HASH_ADD_KEYPTR. Entry, key and value are one block.
class uthash_map {
  public:
    static constexpr const char *name = "uthash";

    explicit uthash_map(std::size_t)
    {
    }
    uthash_map(const uthash_map &) = delete;
    uthash_map &operator=(const uthash_map &) = delete;
    ~uthash_map()
    {
        clear();
    }
    void insert(const item &one)
    {
        entry *found = lookup(one.key);
        if (found == nullptr) {
            entry *added = make(one);
            HASH_ADD_KEYPTR(hh, head_, added->key, std::strlen(added->key), added);
        }
    }
    void replace(const item &one)
    {
        entry *added = make(one);
        entry *old = nullptr;
        HASH_REPLACE(hh, head_, key[0], std::strlen(added->key), added, old);
        std::free(old);
    }
    const char *find(const char *key) const
    {
        const entry *found = lookup(key);
        return found != nullptr ? found->value : nullptr;
    }
    void erase(const char *key)
    {
        entry *found = lookup(key);
        if (found != nullptr) {
            HASH_DEL(head_, found);
            std::free(found);
        }
    }
    void clear()
    {
        entry *current;
        entry *next;
        HASH_ITER(hh, head_, current, next)
        {
            HASH_DEL(head_, current);
            std::free(current);
        }
    }
    template <class Use>
    void visit(Use use) const
    {
        for (const entry *one = head_; one != nullptr;
             one = static_cast<const entry *>(one->hh.next)) {
            use(one->key, one->value, one->length);
        }
    }
    void copy_from(const uthash_map &other)
    {
        insert_all(other, *this);
    }
    bool equals(const uthash_map &other) const
    {
        return HASH_COUNT(head_) == HASH_COUNT(other.head_) && finds_all(*this, other);
    }
    void dump(std::FILE *stream) const
    {
        dump_sorted(*this, stream);
    }

  private:
    struct entry {
        UT_hash_handle hh;
        char *value;
        std::uint32_t length;
        char key[1];
    };

    static entry *make(const item &one)
    {
        const std::size_t keysz = std::strlen(one.key) + 1;
        auto *made =
            static_cast<entry *>(std::malloc(offsetof(entry, key) + keysz + stored_length(one)));
        std::memcpy(made->key, one.key, keysz);
        made->value = made->key + keysz;
        made->length = one.length;
        std::memcpy(made->value, one.value, stored_length(one));
        return made;
    }

    entry *lookup(const char *key) const
    {
        entry *found;
        HASH_FIND_STR(head_, key, found);
        return found;
    }

    entry *head_ = nullptr;
};

} // namespace bench
