#include "walker.hpp"

#include "arraymap_internal.h"
#include "map_internal.h"
#include "multimap_internal.h"

#include "table/table.hpp"

#include <cstring>
#include <type_traits>

namespace walker {
namespace {

bool walking = false;

template <class Container>
struct Family;

template <>
struct Family<map_t> {
    using Key = map_entry_t;
    static constexpr auto hashlist = _map_hashlist;
    static constexpr auto keycmp = _map_keycmp;
    static constexpr bool has_lists = false;
};

template <>
struct Family<multimap_t> {
    using Key = multimap_key_t;
    using Value = multimap_value_t;
    static constexpr auto hashlist = _multimap_hashlist;
    static constexpr auto keycmp = _multimap_keycmp;
    static constexpr bool has_lists = true;
};

template <>
struct Family<arraymap_t> {
    using Key = arraymap_key_t;
    using Value = arraymap_value_t;
    static constexpr auto hashlist = _arraymap_hashlist;
    static constexpr auto keycmp = _arraymap_keycmp;
    static constexpr bool has_lists = true;
};

// The nodes of a chain that stand before the one that a walk has come to, or the nearest of them.
template <class Node>
class Predecessors {
  public:
    Predecessors(const Node *first, uint32_t most) : from_(first), left_(most)
    {
    }

    template <class Test>
    bool any(const Node &node, Test test) const
    {
        for (const Node *other = from_; other != &node; other = other->next) {
            if (test(*other)) {
                return true;
            }
        }
        return false;
    }

    void advance()
    {
        if (left_ == 0) {
            from_ = from_->next;
        } else {
            --left_;
        }
    }

  private:
    const Node *from_;
    uint32_t left_;
};

template <class Container>
class Walker {
  public:
    Walker(const Container &container, uint32_t compared)
        : container_(container), compared_(compared)
    {
    }

    Walk operator()()
    {
        walking = true;
        if (record() && container_.buckets != nullptr) {
            buckets();
        }
        walking = false;
        return walk_;
    }

  private:
    using Key = typename Family<Container>::Key;

    bool expect(bool holds, const char *invariant, const void *node)
    {
        if (!holds) {
            walk_.broken = invariant;
            walk_.node = node;
        }
        return holds;
    }

    bool record()
    {
        const bool within_limit =
            container_.maxkeys < 0 || container_.numkeys <= container_.maxkeys;
        return expect(container_.casekeys <= 1, "casekeys is 0 or 1", &container_) &&
               expect(within_limit, "numkeys is within the limit", &container_) &&
               (container_.buckets != nullptr ? live_record() : released_record());
    }

    bool live_record()
    {
        const uint32_t size = container_.hashsize;
        const bool any_size = std::is_same_v<Container, arraymap_t>;
        return expect(size != 0, "where there are buckets, hashsize is not 0", &container_) &&
               expect(any_size || (size & (size - 1)) == 0, "hashsize is a power of two",
                      &container_);
    }

    bool released_record()
    {
        if (container_.hashfunc != nullptr) {
            walk_.oddities |= hash_without_buckets;
        }
        bool has_values = false;
        if constexpr (Family<Container>::has_lists) {
            has_values = container_.numvalues != 0;
        }
        return expect(container_.hashsize == 0, "without buckets, hashsize is 0", &container_) &&
               expect(container_.numkeys == 0, "without buckets, numkeys is 0", &container_) &&
               expect(!has_values, "without buckets, numvalues is 0", &container_);
    }

    void buckets()
    {
        for (uint32_t i = 0; i < container_.hashsize; ++i) {
            if (!chain(container_.buckets[i])) {
                return;
            }
        }
        if (!expect(keys_ == container_.numkeys, "numkeys is the number of keys", &container_)) {
            return;
        }
        if constexpr (Family<Container>::has_lists) {
            expect(values_ == container_.numvalues, "numvalues is the number of values",
                   &container_);
        }
    }

    bool chain(const map_bucket_t &bucket)
    {
        const auto *node = static_cast<const Key *>(bucket.first);
        const void *link = &bucket.first;
        Predecessors<Key> others(node, compared_);
        for (; node != nullptr; node = node->next) {
            // A chain that runs in a circle ends here, too.
            if (!expect(keys_ < container_.numkeys, "numkeys is the number of keys", node) ||
                !expect(node->prev == link, "a key's prev is the pointer that leads to it", node) ||
                !body(*node)) {
                return false;
            }
            const bool at_home = Family<Container>::hashlist(&container_, node->key) == &bucket;
            if (!expect(at_home, "a key is in the bucket of its hash", node)) {
                return false;
            }
            const bool is_hidden = others.any(*node, [&](const Key &other) {
                return Family<Container>::keycmp(&container_, node->key, other.key) == 0;
            });
            if (is_hidden) {
                if (!expect(container_.casekeys != 0, "no two keys are equal", node)) {
                    return false;
                }
                walk_.oddities |= hidden_key;
            }
            if (!expect(keeps_its_stamp(*node),
                        "the stamp kept with a key is of its size and built-in hash", node)) {
                return false;
            }
            ++keys_;
            link = &node->next;
            others.advance();
        }
        return expect(bucket.last == link, "a bucket's last is its last next", &bucket);
    }

    // No use is made of a caller's.
    bool keeps_its_stamp(const Key &node) const
    {
        if (!textmaps::keeps_stamps || container_.hashfunc != nullptr) {
            return true;
        }
        uint32_t kept;
        std::memcpy(&kept, reinterpret_cast<const char *>(&node) + textmaps::stamp_offset,
                    sizeof kept);
        return kept == textmaps::stamp_of(textmaps::builtin_hash(node.key));
    }

    bool body(const map_entry_t &entry)
    {
        const auto *bytes = reinterpret_cast<const char *>(&entry + 1);
        return expect(entry.value == bytes, "the value lies behind its entry", &entry) &&
               expect(entry.key == bytes + entry.valuesz, "the key lies behind its value", &entry);
    }

    template <class ListKey>
    bool body(const ListKey &key)
    {
        return expect(key.key == reinterpret_cast<const char *>(&key + 1),
                      "the text lies behind its key", &key) &&
               expect(key.count != 0, "a key has values", &key) && values(key);
    }

    template <class ListKey>
    bool values(const ListKey &key)
    {
        using Value = typename Family<Container>::Value;
        const Value *value = key.values.first;
        const void *link = &key.values.first;
        uint32_t count = 0;
        Predecessors<Value> others(value, compared_);
        for (; value != nullptr; value = value->next) {
            if (!expect(values_ < container_.numvalues, "numvalues is the number of values",
                        value) ||
                !expect(count < key.count, "count is the number of values", &key) ||
                !expect(value->prev == link, "a value's prev is the pointer that leads to it",
                        value) ||
                !expect(value->data == value + 1, "the bytes lie behind their value", value) ||
                !place(*value, count, others)) {
                return false;
            }
            ++count;
            ++values_;
            link = &value->next;
            others.advance();
        }
        return expect(count == key.count, "count is the number of values", &key) &&
               expect(key.values.last == link, "a list's last is its last next", &key);
    }

    bool place(const multimap_value_t &value, uint32_t,
               const Predecessors<multimap_value_t> &others)
    {
        const bool again = others.any(value, [&](const multimap_value_t &other) {
            return value.len == other.len && std::memcmp(value.data, other.data, value.len) == 0;
        });
        return expect(!again, "no two values of a key are equal", &value);
    }

    bool place(const arraymap_value_t &value, uint32_t position,
               const Predecessors<arraymap_value_t> &)
    {
        if (value.index != position) {
            walk_.oddities |= merged_indexes;
        }
        return true;
    }

    const Container &container_;
    const uint32_t compared_;
    Walk walk_{};
    int32_t keys_ = 0;
    int32_t values_ = 0;
};

} // namespace

Walk walk(const map_t &map, uint32_t compared)
{
    return Walker(map, compared)();
}

Walk walk(const multimap_t &map, uint32_t compared)
{
    return Walker(map, compared)();
}

Walk walk(const arraymap_t &map, uint32_t compared)
{
    return Walker(map, compared)();
}

const arraymap_key_t *key_node(const arraymap_t *map, const char *key)
{
    walking = true;
    const arraymap_key_t *node = _arraymap_entry(map, key);
    walking = false;
    return node;
}

bool is_numbered(const arraymap_key_t &key)
{
    uint32_t position = 0;
    for (const auto *value = key.values.first; value != nullptr; value = value->next) {
        if (value->index != position++) {
            return false;
        }
    }
    return true;
}

bool is_walking()
{
    return walking;
}

} // namespace walker
