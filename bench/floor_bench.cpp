// The floor: what no table can save. For changes, the same allocations, copies and frees with no table
// at all; for look-ups, the hash and one dependent load for each cache line that must be touched.
#include "benchmarks.hpp"
#include "maps/textmaps_map.hpp"
#include "measure.hpp"

#include "map_internal.h"

#include <functional>
#include <unordered_map>

namespace bench {

namespace {

constexpr const char *floor_name = "floor";
constexpr std::size_t sizes[] = {100, 1'000, 10'000, 100'000, 1'000'000};

std::size_t block_size(const item &one)
{
    return sizeof(map_entry_t) + stored_length(one) + std::strlen(one.key) + 1;
}

void *make_block(const item &one)
{
    const std::size_t keysz = std::strlen(one.key) + 1;
    auto *block =
        static_cast<char *>(std::malloc(sizeof(map_entry_t) + stored_length(one) + keysz));
    char *value = block + sizeof(map_entry_t);
    std::memcpy(value, one.value, stored_length(one));
    std::memcpy(value + stored_length(one), one.key, keysz);
    return block;
}

// One block for each item.
class blocks {
  public:
    explicit blocks(std::span<const item> list)
    {
        list_.reserve(list.size());
        for (const item &one : list) {
            list_.push_back(make_block(one));
        }
    }
    blocks(const blocks &) = delete;
    blocks &operator=(const blocks &) = delete;
    ~blocks()
    {
        for (void *block : list_) {
            std::free(block);
        }
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
    const std::size_t passes = tables_for(count);
    for (auto _ : state) {
        settle_heap();
        std::vector<std::unique_ptr<blocks>> made;
        const stopwatch watch;
        for (std::size_t i = 0; i < passes; ++i) {
            made.push_back(std::make_unique<blocks>(list));
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

// use(blocks) is timed, with the blocks in the order of the keys to look up, or of the table.
template <class Use>
void time_changes(benchmark::State &state, std::size_t count, const std::vector<std::size_t> &order,
                  Use use)
{
    const auto list = items(count);
    const std::size_t passes = tables_for(count);
    for (auto _ : state) {
        settle_heap();
        std::vector<std::unique_ptr<blocks>> made;
        for (std::size_t i = 0; i < passes; ++i) {
            made.push_back(std::make_unique<blocks>(list));
            made.back()->reorder(order);
        }
        const stopwatch watch;
        for (auto &one : made) {
            use(*one);
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

void free_blocks(blocks &of)
{
    of.free_all();
}

void replace(benchmark::State &state, std::size_t count)
{
    const auto order = shuffled_order(count);
    std::vector<item> list;
    for (const std::size_t position : order) {
        list.push_back(items(count)[position]);
    }
    time_changes(state, count, order, [&](blocks &of) {
        auto block = of.list().begin();
        for (const item &one : list) {
            void *made = make_block(one);
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
    blocks source(items(count));
    source.reorder(order);
    const std::size_t passes = tables_for(count);
    for (auto _ : state) {
        settle_heap();
        std::vector<void *> copies(passes * count);
        auto next = copies.begin();
        const stopwatch watch;
        for (std::size_t i = 0; i < passes; ++i) {
            auto bytes = block_sizes.begin();
            for (const void *block : source.list()) {
                *next++ = std::memcpy(std::malloc(*bytes), block, *bytes);
                ++bytes;
            }
        }
        state.SetIterationTime(watch.seconds());
        std::for_each(copies.begin(), copies.end(), std::free);
    }
    report_keys(state, passes * count);
}

// A filled map, read by its fields.
class open_map {
  public:
    explicit open_map(std::size_t count)
    {
        map_init(&map_);
        map_sethashsize(&map_, buckets_for(count));
        for (const item &one : items(count)) {
            map_insert(&map_, one.key, one.value, stored_length(one));
        }
    }
    open_map(const open_map &) = delete;
    open_map &operator=(const open_map &) = delete;
    ~open_map()
    {
        map_destroy(&map_);
    }
    const void *first_for(const char *key) const
    {
        return _map_hashlist(&map_, key)->first;
    }
    const map_entry_t *entry(const char *key) const
    {
        return map_get_entry(&map_, key);
    }

  private:
    map_t map_;
};

template <class Pass>
void time_passes(benchmark::State &state, std::size_t count, Pass pass)
{
    const std::size_t passes = tables_for(count);
    pass();
    for (auto _ : state) {
        const stopwatch watch;
        for (std::size_t i = 0; i < passes; ++i) {
            pass();
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

// The bucket, the entry and its key, with nothing compared: how far an entry lies behind the first of
// its chain is known beforehand.
void hit(benchmark::State &state, std::size_t count)
{
    const open_map map(count);
    const key_list keys = present_keys(count);
    const auto address = [](const void *of) {
        return reinterpret_cast<std::uintptr_t>(of);
    };
    std::vector<std::uintptr_t> distances;
    for (const char *key : keys) {
        distances.push_back(address(map.entry(key)) - address(map.first_for(key)));
    }
    time_passes(state, count, [&] {
        auto distance = distances.begin();
        for (const char *key : keys) {
            const auto *entry =
                reinterpret_cast<const map_entry_t *>(address(map.first_for(key)) + *distance++);
            benchmark::DoNotOptimize(*entry->key);
            benchmark::DoNotOptimize(entry->value);
        }
    });
}

// The bucket, and of each entry in it the header and the key.
void miss(benchmark::State &state, std::size_t count)
{
    const open_map map(count);
    const key_list keys = absent_keys(count);
    time_passes(state, count, [&] {
        for (const char *key : keys) {
            const auto *entry = static_cast<const map_entry_t *>(map.first_for(key));
            for (; entry != nullptr; entry = entry->next) {
                benchmark::DoNotOptimize(*entry->key);
            }
        }
    });
}

} // namespace

void add_floor_benchmarks()
{
    for (const std::size_t count : sizes) {
        const auto add = [=](const char *operation, auto body) {
            add_benchmark(operation, floor_name, count, count * tables_for(count),
                          [=](benchmark::State &state) { body(state, count); });
        };
        const auto free_in_table_order = [](benchmark::State &state, std::size_t n) {
            time_changes(state, n, table_order(n), free_blocks);
        };
        add("fill", fill);
        add("hit", hit);
        add("miss", miss);
        add("replace-equal", replace);
        add("erase", [](benchmark::State &state, std::size_t n) {
            time_changes(state, n, shuffled_order(n), free_blocks);
        });
        add("clear", free_in_table_order);
        add("destroy", free_in_table_order);
        add("copy", copy);
    }
}

} // namespace bench
