// The floor: what a map with one block an entry cannot save. For changes, the same allocations, copies
// and frees with no table at all; for look-ups, the hash and one dependent load for each cache line
// that must be touched.
//
// The bare table: what a table of this layout can hardly save. It hashes, walks and links as the library
// does, but takes keys of the same stamp for the same: no key is compared, and nothing is asked of
// arguments and settings.
#include "benchmarks.hpp"
#include "maps/textmaps_map.hpp"
#include "measure.hpp"

#include "map_internal.h"
#include "table/table.hpp"

#include <functional>
#include <unordered_map>

namespace bench {

namespace {

constexpr const char *floor_name = "floor";
constexpr const char *bare_name = "bare-table";
constexpr std::uint32_t copied_ahead = 8;

std::size_t block_size(const item &one)
{
    return sizeof(map_entry_t) + stored_length(one) + std::strlen(one.key) + 1;
}

char *make_block(const item &one, std::size_t keysz)
{
    auto *block =
        static_cast<char *>(std::malloc(sizeof(map_entry_t) + stored_length(one) + keysz));
    char *value = block + sizeof(map_entry_t);
    std::memcpy(value, one.value, stored_length(one));
    std::memcpy(value + stored_length(one), one.key, keysz);
    return block;
}

void fetch(const void *block)
{
    __builtin_prefetch(block);
    textmaps::fetch_rest(*static_cast<const textmaps::links *>(block));
}

class blocks {
  public:
    explicit blocks(std::size_t room)
    {
        list_.reserve(room);
    }
    void add(std::span<const item> list)
    {
        for (const item &one : list) {
            list_.push_back(make_block(one, std::strlen(one.key) + 1));
        }
    }
    void add_copies(const std::vector<void *> &of, const std::vector<std::size_t> &block_sizes)
    {
        auto size = block_sizes.begin();
        for (auto block = of.begin(); block != of.end(); ++block) {
            if (static_cast<std::size_t>(of.end() - block) > copied_ahead) {
                fetch(block[copied_ahead]);
            }
            list_.push_back(std::memcpy(std::malloc(*size), *block, *size));
            ++size;
        }
    }
    blocks(const blocks &) = delete;
    blocks &operator=(const blocks &) = delete;
    ~blocks()
    {
        free_all();
    }
    void reorder(std::span<const std::size_t> order)
    {
        std::vector<void *> ordered;
        for (const std::size_t position : order) {
            ordered.push_back(list_[position]);
        }
        list_ = std::move(ordered);
    }
    void free_all()
    {
        for (void *block : list_) {
            std::free(block);
        }
        list_.clear();
    }
    std::vector<void *> &list()
    {
        return list_;
    }

  private:
    std::vector<void *> list_;
};

// Positions in items(count) of keys that visit(use) names.
template <class Visit>
std::vector<std::size_t> positions(std::size_t count, Visit visit)
{
    std::unordered_map<std::string_view, std::size_t> position_of;
    for (const item &one : items(count)) {
        position_of.emplace(one.key, position_of.size());
    }
    std::vector<std::size_t> list;
    visit([&](const char *key) { list.push_back(position_of.at(key)); });
    return list;
}

std::vector<std::size_t> shuffled_order(std::size_t count)
{
    return positions(count, [=](auto use) {
        const key_list keys = present_keys(count);
        std::for_each(keys.begin(), keys.end(), use);
    });
}

std::vector<std::size_t> table_order(std::size_t count)
{
    return positions(count, [=](auto use) {
        textmaps_map map(count);
        for (const item &one : items(count)) {
            map.insert(one);
        }
        map.visit([&](const char *key, const char *, std::uint32_t) { use(key); });
    });
}

void fill(benchmark::State &state, std::size_t count)
{
    const auto list = items(count);
    time_changes(
        state, count, [=] { return std::make_unique<blocks>(count); },
        [=](std::unique_ptr<blocks> &made) { made->add(list); });
}

// The blocks of all items, in the order given.
template <class Use>
void change(benchmark::State &state, std::size_t count, const std::vector<std::size_t> &order,
            Use use)
{
    const auto make = [&] {
        auto made = std::make_unique<blocks>(count);
        made->add(items(count));
        made->reorder(order);
        return made;
    };
    time_changes(state, count, make, use);
}

void free_blocks(std::unique_ptr<blocks> &of)
{
    of->free_all();
}

void replace(benchmark::State &state, std::size_t count)
{
    const auto order = shuffled_order(count);
    std::vector<item> list;
    for (const std::size_t position : order) {
        list.push_back(items(count)[position]);
    }
    change(state, count, order, [&](std::unique_ptr<blocks> &of) {
        auto block = of->list().begin();
        for (const item &one : list) {
            void *made = make_block(one, std::strlen(one.key) + 1);
            std::free(*block);
            *block++ = made;
        }
    });
}

void copy(benchmark::State &state, std::size_t count)
{
    const auto order = table_order(count);
    std::vector<std::size_t> block_sizes;
    for (const std::size_t position : order) {
        block_sizes.push_back(block_size(items(count)[position]));
    }
    blocks source(count);
    source.add(items(count));
    source.reorder(order);
    time_changes(
        state, count, [=] { return std::make_unique<blocks>(count); },
        [&](std::unique_ptr<blocks> &made) { made->add_copies(source.list(), block_sizes); });
}

std::uint32_t stamp_in(const map_entry_t *entry)
{
    std::uint32_t stamp;
    std::memcpy(&stamp, reinterpret_cast<const char *>(entry) + textmaps::stamp_offset,
                sizeof stamp);
    return stamp;
}

struct place {
    map_bucket_t *bucket;
    map_entry_t *entry;
};

// A map whose fields are read and written here.
class open_map {
  public:
    explicit open_map(std::size_t expected)
    {
        map_init(&map_);
        map_sethashsize(&map_, buckets_for(expected));
    }
    open_map(const open_map &) = delete;
    open_map &operator=(const open_map &) = delete;
    ~open_map()
    {
        map_destroy(&map_);
    }
    map_t *map()
    {
        return &map_;
    }
    // Not inline, as the functions of the library are not.
    [[gnu::noinline]] const void *first_for(const char *key) const
    {
        return bucket_for(textmaps::builtin_hash(key))->first;
    }
    // The first entry with the key's stamp, or null.
    [[gnu::noinline]] place find_stamp(const char *key) const
    {
        const textmaps::measured of = textmaps::builtin_hash(key);
        const std::uint32_t stamp = textmaps::stamp_of(of);
        map_bucket_t *const bucket = bucket_for(of);
        auto *entry = static_cast<map_entry_t *>(bucket->first);
        if (entry != nullptr) {
            textmaps::fetch_rest(links_of(entry));
            map_entry_t *const second_or_first[] = {entry->next, entry};
            entry = second_or_first[stamp_in(entry) == stamp];
        }
        while (entry != nullptr && stamp_in(entry) != stamp) {
            entry = entry->next;
        }
        return {bucket, entry};
    }
    map_entry_t *entry(const char *key) const
    {
        return _map_entry(&map_, key);
    }
    void append(map_bucket_t *bucket, map_entry_t *entry)
    {
        textmaps::chain_append(links_of(bucket), links_of(entry));
        ++map_.numkeys;
    }
    void unlink(map_bucket_t *bucket, map_entry_t *entry)
    {
        textmaps::chain_remove(links_of(bucket), links_of(entry));
        --map_.numkeys;
    }

  private:
    map_bucket_t *bucket_for(const textmaps::measured &key) const
    {
        return &map_.buckets[key.hash & (map_.hashsize - 1)];
    }
    template <class Record>
    static textmaps::links &links_of(Record *record)
    {
        return *reinterpret_cast<textmaps::links *>(record);
    }

    map_t map_;
};

std::unique_ptr<open_map> filled(std::size_t count, std::size_t expected)
{
    auto made = std::make_unique<open_map>(expected);
    for (const item &one : items(count)) {
        map_insert(made->map(), one.key, one.value, stored_length(one));
    }
    return made;
}

std::unique_ptr<open_map> filled(std::size_t count)
{
    return filled(count, count);
}

// The bucket, the entry and its key, with nothing compared: how far an entry lies behind the first of
// its chain is known beforehand.
void hit(benchmark::State &state, std::size_t count)
{
    const auto map = filled(count);
    const key_list keys = in_many_orders(present_keys(count));
    const auto address = [](const void *of) {
        return reinterpret_cast<std::uintptr_t>(of);
    };
    std::vector<std::uintptr_t> distances;
    for (const char *key : keys) {
        distances.push_back(address(map->entry(key)) - address(map->first_for(key)));
    }
    time_reading(state, keys.size(), [&] {
        auto distance = distances.begin();
        for (const char *key : keys) {
            const auto *entry =
                reinterpret_cast<const map_entry_t *>(address(map->first_for(key)) + *distance++);
            benchmark::DoNotOptimize(*entry->key);
            benchmark::DoNotOptimize(entry->value);
        }
    });
}

// The bucket, the entries up to that of the key, and the key: how many links lead there is known beforehand.
void hit_in_chain(benchmark::State &state, std::size_t count)
{
    const auto map = filled(count, default_buckets);
    const key_list keys = in_many_orders(key_list(items(count), chain_sample));
    const auto first_for = [&](const char *key) {
        return static_cast<const map_entry_t *>(map->first_for(key));
    };
    std::vector<std::size_t> distances;
    for (const char *key : keys) {
        std::size_t links = 0;
        const map_entry_t *const last = map->entry(key);
        for (const auto *entry = first_for(key); entry != last; entry = entry->next) {
            ++links;
        }
        distances.push_back(links);
    }
    time_reading(state, keys.size(), [&] {
        auto distance = distances.begin();
        for (const char *key : keys) {
            const map_entry_t *entry = first_for(key);
            for (std::size_t links = *distance++; links != 0; --links) {
                entry = entry->next;
            }
            benchmark::DoNotOptimize(*entry->key);
            benchmark::DoNotOptimize(entry->value);
        }
    });
}

// The bucket, and of each entry in it the header, which has the stamp.
void miss(benchmark::State &state, std::size_t count)
{
    const auto map = filled(count);
    const key_list keys = in_many_orders(absent_keys(count));
    time_reading(state, keys.size(), [&] {
        for (const char *key : keys) {
            const auto *entry = static_cast<const map_entry_t *>(map->first_for(key));
            for (; entry != nullptr; entry = entry->next) {
                benchmark::DoNotOptimize(entry->valuesz);
            }
        }
    });
}

void bare_hit(benchmark::State &state, const open_map &map, const key_list &of)
{
    const key_list keys = in_many_orders(of);
    time_reading(state, keys.size(), [&] {
        for (const char *key : keys) {
            benchmark::DoNotOptimize(map.find_stamp(key).entry->value);
        }
    });
}

void bare_fill(benchmark::State &state, std::size_t count)
{
    std::vector<std::size_t> key_sizes;
    for (const item &one : items(count)) {
        key_sizes.push_back(std::strlen(one.key) + 1);
    }
    const auto list = items(count);
    time_changes(
        state, count, [] { return std::unique_ptr<open_map>(); },
        [&](std::unique_ptr<open_map> &map) {
            map = std::make_unique<open_map>(count);
            auto keysz = key_sizes.begin();
            for (const item &one : list) {
                const place at = map->find_stamp(one.key);
                benchmark::DoNotOptimize(at.entry);
                char *block = make_block(one, *keysz++);
                auto *entry = reinterpret_cast<map_entry_t *>(block);
                char *value = block + sizeof *entry;
                entry->value = value;
                entry->valuesz = stored_length(one);
                entry->key = value + entry->valuesz;
                map->append(at.bucket, entry);
            }
        });
}

// Of keys with one stamp in one bucket, the first that comes removes the first entry: in the end, all are
// gone.
void bare_erase(benchmark::State &state, std::size_t count)
{
    key_orders orders(present_keys(count));
    time_changes(
        state, count, [=] { return filled(count); },
        [&](std::unique_ptr<open_map> &map) {
            for (const char *key : orders.next()) {
                const place at = map->find_stamp(key);
                map->unlink(at.bucket, at.entry);
                std::free(at.entry);
            }
        });
}

// Bucket by bucket.
void bare_copy(benchmark::State &state, std::size_t count)
{
    const auto source = filled(count);
    const map_t &from = *source->map();
    std::vector<std::size_t> block_sizes;
    for (const std::size_t position : table_order(count)) {
        block_sizes.push_back(block_size(items(count)[position]));
    }
    time_changes(
        state, count, [=] { return std::make_unique<open_map>(count); },
        [&](std::unique_ptr<open_map> &to) {
            auto size = block_sizes.begin();
            for (std::uint32_t i = 0; i < from.hashsize; ++i) {
                const map_bucket_t &later = from.buckets[(i + copied_ahead) & (from.hashsize - 1)];
                fetch(later.first != nullptr ? later.first : &later);
                const auto *entry = static_cast<const map_entry_t *>(from.buckets[i].first);
                for (; entry != nullptr; entry = entry->next) {
                    void *block = std::memcpy(std::malloc(*size), entry, *size);
                    auto *made = static_cast<map_entry_t *>(block);
                    made->value = made + 1;
                    made->key = static_cast<const char *>(made->value) + made->valuesz;
                    to->append(&to->map()->buckets[i], made);
                    ++size;
                }
            }
        });
}

// Lines that are sorted already.
void bare_dump(benchmark::State &state, std::size_t count)
{
    std::vector<item> list(items(count).begin(), items(count).end());
    std::sort(list.begin(), list.end(),
              [](const item &a, const item &b) { return std::strcmp(a.key, b.key) < 0; });
    std::FILE *nowhere = std::fopen("/dev/null", "w");
    time_reading(state, count, [&] {
        for (const item &one : list) {
            std::fprintf(nowhere, " %s=%.*s\n", one.key, static_cast<int>(one.length), one.value);
        }
    });
    std::fclose(nowhere);
}

} // namespace

void add_floor_benchmarks()
{
    for (const std::size_t count : map_sizes) {
        const auto free_in_table_order = [](benchmark::State &state, std::size_t n) {
            change(state, n, table_order(n), free_blocks);
        };
        add_benchmark("fill", floor_name, count, fill);
        add_look_up("hit", floor_name, count, hit);
        add_look_up("miss", floor_name, count, miss);
        add_benchmark("replace-equal", floor_name, count, replace);
        add_benchmark("erase", floor_name, count, [](benchmark::State &state, std::size_t n) {
            change(state, n, shuffled_order(n), free_blocks);
        });
        add_benchmark("clear", floor_name, count, free_in_table_order);
        add_benchmark("destroy", floor_name, count, free_in_table_order);
        add_benchmark("copy", floor_name, count, copy);
        add_benchmark("fill", bare_name, count, bare_fill);
        add_look_up("hit", bare_name, count, [](benchmark::State &state, std::size_t n) {
            bare_hit(state, *filled(n), present_keys(n));
        });
        add_benchmark("erase", bare_name, count, bare_erase);
        add_benchmark("copy", bare_name, count, bare_copy);
        add_benchmark("dump", bare_name, count, bare_dump);
    }
    for (const std::size_t count : long_chains) {
        add_benchmark("hit-32-buckets", floor_name, count, chain_passes, hit_in_chain);
        add_benchmark("hit-32-buckets", bare_name, count, chain_passes,
                      [](benchmark::State &state, std::size_t n) {
                          bare_hit(state, *filled(n, default_buckets),
                                   key_list(items(n), chain_sample));
                      });
    }
}

} // namespace bench
