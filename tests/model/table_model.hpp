// The model of what the three families have in common: lists of entries in buckets, and nothing
// that makes it fast.
//
// Functions take texts and values by pointer, null where the library is given a null pointer. A null
// container is modelled by a table that is `missing`.
#pragma once

#include "operation.hpp"

#include <algorithm>
#include <cerrno>
#include <list>
#include <string>
#include <vector>

namespace model {

using Text = const std::string *;

// A value that was looked for: null with the result that says why.
struct Found {
    int result;
    Text value;
};

constexpr int refused = 1;

// Results of comparing where only the sign counts.
constexpr int any_negative = -1000;
constexpr int any_positive = 1000;

inline char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

inline bool equal_without_case(const std::string &a, const std::string &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

// A caller's hash function, by which it was set; also what the library calls is made of it.
std::uint32_t hash_by(Hash hash, std::uint32_t seed, const char *key);

std::uint32_t builtin_hash(const std::string &key);

// Entry: a struct with the member key.
template <class Entry>
class TableModel {
  public:
    using Bucket = std::list<Entry>;

    bool missing = false;
    std::int32_t maxkeys = -1;
    std::int32_t numkeys = 0;
    bool casekeys = false;
    Hash hash = Hash::builtin;
    // What the caller keeps beside the record for its hash function.
    std::uint32_t seed = 0;
    // None in a released table.
    std::vector<Bucket> buckets;

    virtual ~TableModel() = default;

    bool has_buckets() const
    {
        return !missing && !buckets.empty();
    }

    // How many values there are.
    virtual std::int32_t size() const
    {
        return numkeys;
    }

    std::uint32_t hashsize() const
    {
        return static_cast<std::uint32_t>(buckets.size());
    }

    void start(std::uint32_t size)
    {
        maxkeys = -1;
        numkeys = 0;
        casekeys = false;
        hash = Hash::builtin;
        buckets = std::vector<Bucket>(size);
    }

    void release()
    {
        clear();
        buckets.clear();
        hash = Hash::builtin;
    }

    virtual int clear()
    {
        if (!has_buckets()) {
            return EINVAL;
        }
        for (Bucket &bucket : buckets) {
            bucket.clear();
        }
        numkeys = 0;
        return 0;
    }

    std::size_t bucket_of(const std::string &key) const
    {
        const std::uint32_t number =
            hash == Hash::builtin ? builtin_hash(key) : hash_by(hash, seed, key.c_str());
        return number & (hashsize() - 1);
    }

    bool equal(const std::string &a, const std::string &b) const
    {
        return casekeys ? equal_without_case(a, b) : a == b;
    }

    const Entry *find(const std::string &key) const
    {
        for (const Entry &entry : buckets[bucket_of(key)]) {
            if (equal(entry.key, key)) {
                return &entry;
            }
        }
        return nullptr;
    }

    Entry *find(const std::string &key)
    {
        return const_cast<Entry *>(static_cast<const TableModel *>(this)->find(key));
    }

    // Also where nothing can be looked up.
    const Entry *look_up(Text key) const
    {
        return has_buckets() && key != nullptr ? find(*key) : nullptr;
    }

    bool is_full() const
    {
        return maxkeys >= 0 && numkeys + 1 >= maxkeys;
    }

    Entry &append(const std::string &key)
    {
        Bucket &bucket = buckets[bucket_of(key)];
        bucket.emplace_back();
        bucket.back().key = key;
        ++numkeys;
        return bucket.back();
    }

    void drop(const Entry *entry)
    {
        buckets[bucket_of(entry->key)].remove_if(
            [entry](const Entry &other) { return &other == entry; });
        --numkeys;
    }

    // Every entry in iteration order.
    std::vector<const Entry *> entries() const
    {
        std::vector<const Entry *> all;
        for (const Bucket &bucket : buckets) {
            for (const Entry &entry : bucket) {
                all.push_back(&entry);
            }
        }
        return all;
    }

    // One spelling that stands more than once: in order of iteration.
    std::vector<const Entry *> sorted_entries() const
    {
        std::vector<const Entry *> all = entries();
        std::stable_sort(all.begin(), all.end(),
                         [](const Entry *a, const Entry *b) { return a->key < b->key; });
        return all;
    }

    int sethashsize(std::uint32_t size)
    {
        if (missing || !is_power_of_two(size)) {
            return EINVAL;
        }
        if (size != hashsize()) {
            rebuild([this, size] { buckets = std::vector<Bucket>(size); });
        }
        return 0;
    }

    int sethashfunc(Hash function)
    {
        if (missing) {
            return EINVAL;
        }
        if (function != hash) {
            rebuild([this, function] { hash = function; });
        }
        return 0;
    }

    int setcasekeys(std::uint32_t flag)
    {
        if (missing) {
            return EINVAL;
        }
        if (casekeys == (flag != 0)) {
            return 0;
        }
        Bucket all = gathered();
        casekeys = !casekeys;
        while (!all.empty()) {
            if (Entry *earlier = find(all.front().key)) {
                absorb(*earlier, all.front());
                all.pop_front();
                --numkeys;
            } else {
                put_back(all);
            }
        }
        return 0;
    }

    int setmaxkeys(std::int32_t limit)
    {
        return missing ? EINVAL : set_limit(maxkeys, limit, numkeys);
    }

  protected:
    // Takes over what a key keeps of an equal one that is about to go.
    virtual void absorb(Entry &earlier, Entry &later) = 0;

    static int set_limit(std::int32_t &limit, std::int32_t to, std::int32_t present)
    {
        if (to >= 0 && to < present) {
            return refused;
        }
        limit = to;
        return 0;
    }

  private:
    static bool is_power_of_two(std::uint32_t size)
    {
        while (size != 0 && size % 2 == 0) {
            size /= 2;
        }
        return size == 1;
    }

    // Every entry in iteration order, taken out. They stay where they are in memory.
    Bucket gathered()
    {
        Bucket all;
        for (Bucket &bucket : buckets) {
            all.splice(all.end(), bucket);
        }
        return all;
    }

    void put_back(Bucket &all)
    {
        Bucket &bucket = buckets[bucket_of(all.front().key)];
        bucket.splice(bucket.end(), all, all.begin());
    }

    template <class Change>
    void rebuild(Change change)
    {
        Bucket all = gathered();
        change();
        while (!all.empty()) {
            put_back(all);
        }
    }
};

} // namespace model
