// The map side by side with what users would pick instead.
#include "benchmarks.hpp"
#include "maps/absl_map.hpp"
#include "maps/boost_map.hpp"
#include "maps/glib_map.hpp"
#include "maps/llvm_map.hpp"
#include "maps/plain_map.hpp"
#include "maps/standard_map.hpp"
#include "maps/textmaps_map.hpp"
#include "maps/uthash_map.hpp"
#include "measure.hpp"

namespace bench {

namespace {

template <class Map>
void insert_all(Map &map, std::span<const item> list)
{
    for (const item &one : list) {
        map.insert(one);
    }
}

// With room for as many keys, or for `expected`.
template <class Map>
std::unique_ptr<Map> filled(std::size_t count, std::size_t expected)
{
    auto map = std::make_unique<Map>(expected);
    insert_all(*map, items(count));
    return map;
}

template <class Map>
std::unique_ptr<Map> filled(std::size_t count)
{
    return filled<Map>(count, count);
}

template <class Map>
void look_up(benchmark::State &state, const Map &map, const key_list &of)
{
    const key_list keys = in_many_orders(of);
    time_reading(state, keys.size(), [&] {
        for (const char *key : keys) {
            benchmark::DoNotOptimize(map.find(key));
        }
    });
}

// From nothing to a full table, its sizing included.
template <class Map>
void fill(benchmark::State &state, std::size_t count, std::size_t expected)
{
    const auto list = items(count);
    time_changes(
        state, count, [] { return std::unique_ptr<Map>(); },
        [=](std::unique_ptr<Map> &map) {
            map = std::make_unique<Map>(expected);
            insert_all(*map, list);
        });
}

template <class Map, class Use>
void change(benchmark::State &state, std::size_t count, std::size_t expected, Use use)
{
    time_changes(
        state, count, [=] { return filled<Map>(count, expected); }, use);
}

template <class Map, class Use>
void change(benchmark::State &state, std::size_t count, Use use)
{
    change<Map>(state, count, count, use);
}

// Replaces all values in shuffled order, by values of equal length or with `added` behind them.
template <class Map>
void replace(benchmark::State &state, std::size_t count, const std::string &added)
{
    std::vector<std::string> values;
    for (const item &one : items(count)) {
        values.push_back(one.value + added);
    }
    std::vector<item> replacements;
    for (std::size_t i = 0; i < count; ++i) {
        replacements.push_back(
            {items(count)[i].key, values[i].c_str(), static_cast<std::uint32_t>(values[i].size())});
    }
    shuffle(replacements);
    change<Map>(state, count, [&](std::unique_ptr<Map> &map) {
        for (const item &one : replacements) {
            map->replace(one);
        }
    });
}

template <class Map>
void erase(benchmark::State &state, std::size_t count, std::size_t expected)
{
    key_orders orders(present_keys(count));
    change<Map>(state, count, expected, [&](std::unique_ptr<Map> &map) {
        for (const char *key : orders.next()) {
            map->erase(key);
        }
    });
}

template <class Map>
void copy(benchmark::State &state, std::size_t count)
{
    const auto source = filled<Map>(count);
    time_changes(
        state, count, [=] { return std::make_unique<Map>(count); },
        [&](std::unique_ptr<Map> &map) { map->copy_from(*source); });
}

template <class Map>
void iterate(benchmark::State &state, std::size_t count)
{
    const auto map = filled<Map>(count);
    time_reading(state, count, [&] {
        std::size_t sum = 0;
        map->visit([&](const char *key, const char *, std::uint32_t length) {
            sum += static_cast<unsigned char>(*key) + length;
        });
        benchmark::DoNotOptimize(sum);
    });
}

template <class Map>
void equal(benchmark::State &state, std::size_t count)
{
    const auto map = filled<Map>(count);
    const auto other = filled<Map>(count);
    time_reading(state, count, [&] { benchmark::DoNotOptimize(map->equals(*other)); });
}

template <class Map>
void dump(benchmark::State &state, std::size_t count)
{
    const auto map = filled<Map>(count);
    std::FILE *nowhere = std::fopen("/dev/null", "w");
    time_reading(state, count, [&] { map->dump(nowhere); });
    std::fclose(nowhere);
}

// What the allocator gave for a full table.
template <class Map>
void weigh(benchmark::State &state, std::size_t count)
{
    const auto list = items(count);
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        const auto map = std::make_unique<Map>(list.size());
        insert_all(*map, list);
        state.counters["bytes"] = static_cast<double>(mallinfo2().uordblks - before);
        state.SetIterationTime(0);
    }
}

// It looks each key up from the beginning of the table: more of them would take minutes.
void add_plain_dump(std::size_t count)
{
    constexpr std::size_t most = 10'000;
    if (count <= most) {
        add_benchmark("dump", plain_map::name, count, 1, dump<plain_map>);
    }
}

template <class Map>
void add_map()
{
    const std::string name = Map::name;
    for (const std::size_t count : map_sizes) {
        add_benchmark("fill", name, count,
                      [](benchmark::State &state, std::size_t n) { fill<Map>(state, n, n); });
        add_look_up("hit", name, count, [](benchmark::State &state, std::size_t n) {
            look_up(state, *filled<Map>(n), present_keys(n));
        });
        add_look_up("miss", name, count, [](benchmark::State &state, std::size_t n) {
            look_up(state, *filled<Map>(n), absent_keys(n));
        });
        add_benchmark("replace-equal", name, count,
                      [](benchmark::State &state, std::size_t n) { replace<Map>(state, n, ""); });
        add_benchmark("replace-other", name, count, [](benchmark::State &state, std::size_t n) {
            replace<Map>(state, n, " or other");
        });
        add_benchmark("erase", name, count,
                      [](benchmark::State &state, std::size_t n) { erase<Map>(state, n, n); });
        add_benchmark("iterate", name, count, iterate<Map>);
        add_benchmark("clear", name, count, [](benchmark::State &state, std::size_t n) {
            change<Map>(state, n, [](std::unique_ptr<Map> &map) { map->clear(); });
        });
        add_benchmark("destroy", name, count, [](benchmark::State &state, std::size_t n) {
            change<Map>(state, n, [](std::unique_ptr<Map> &map) { map.reset(); });
        });
        add_benchmark("copy", name, count, copy<Map>);
        add_benchmark("equal", name, count, equal<Map>);
        add_benchmark("memory", name, count, 1, weigh<Map>);
        if constexpr (std::is_same_v<Map, plain_map>) {
            add_plain_dump(count);
        } else {
            add_benchmark("dump", name, count, dump<Map>);
        }
    }
}

// The default table; look-ups of a sample of its keys, and of as many that it does not have.
template <class Map>
void add_long_chains()
{
    const std::string name = Map::name;
    const auto full = [](std::size_t count) {
        return filled<Map>(count, default_buckets);
    };
    for (const std::size_t count : long_chains) {
        add_benchmark(
            "fill-32-buckets", name, count, 1,
            [](benchmark::State &state, std::size_t n) { fill<Map>(state, n, default_buckets); });
        add_benchmark("hit-32-buckets", name, count, chain_passes,
                      [=](benchmark::State &state, std::size_t n) {
                          look_up(state, *full(n), key_list(items(n), chain_sample));
                      });
        add_benchmark("miss-32-buckets", name, count, chain_passes,
                      [=](benchmark::State &state, std::size_t n) {
                          look_up(state, *full(n), key_list(items(2 * n).subspan(n), chain_sample));
                      });
        add_benchmark(
            "erase-32-buckets", name, count, 1,
            [](benchmark::State &state, std::size_t n) { erase<Map>(state, n, default_buckets); });
    }
}

// Look-ups among the same keys in fewer and fewer buckets.
void add_loads()
{
    constexpr std::size_t keys = 1 << 12;
    constexpr std::size_t passes = 40;
    for (std::size_t buckets = 4 * keys; buckets >= keys / 32; buckets /= 2) {
        const std::string name = textmaps_map::name;
        add_benchmark("hit-in-buckets", name, buckets, passes,
                      [](benchmark::State &state, std::size_t n) {
                          look_up(state, *filled<textmaps_map>(keys, n), present_keys(keys));
                      });
        add_benchmark("miss-in-buckets", name, buckets, passes,
                      [](benchmark::State &state, std::size_t n) {
                          look_up(state, *filled<textmaps_map>(keys, n), absent_keys(keys));
                      });
    }
}

[[noreturn]] void reject(const char *candidate, const char *reason)
{
    std::fprintf(stderr, "%s %s\n", candidate, reason);
    std::exit(1);
}

template <class Map>
void check_entries()
{
    constexpr std::size_t count = 3'000;
    const auto list = items(2 * count);
    const auto map = filled<Map>(count);
    map->insert(list[0]);
    map->replace({list[1].key, "other", 5});
    map->erase(list[2].key);
    for (std::size_t i = 0; i < 2 * count; ++i) {
        const char *expected = i == 2 || i >= count ? nullptr : i == 1 ? "other" : list[i].value;
        const char *found = map->find(list[i].key);
        if ((found != nullptr) != (expected != nullptr) ||
            (found != nullptr && std::strcmp(found, expected) != 0)) {
            reject(Map::name, "does not find what was put into it");
        }
    }
    Map copied(count);
    copied.copy_from(*map);
    if (!copied.equals(*map)) {
        reject(Map::name, "is not equal to its copy");
    }
}

template <class Map>
std::vector<std::string> keys_in_order(std::size_t count)
{
    std::vector<std::string> keys;
    filled<Map>(count)->visit(
        [&](const char *key, const char *, std::uint32_t) { keys.emplace_back(key); });
    return keys;
}

// The plain map has the library's hash, and therefore its order.
void check_order()
{
    constexpr std::size_t count = 30'000;
    if (keys_in_order<textmaps_map>(count) != keys_in_order<plain_map>(count)) {
        reject(plain_map::name, "has another order than the library");
    }
}

template <class... Maps>
void add_maps()
{
    (check_entries<Maps>(), ...);
    (add_map<Maps>(), ...);
}

} // namespace

void add_map_benchmarks()
{
    check_order();
    add_maps<textmaps_map, plain_map, uthash_map, glib_map, unordered_map_17, unordered_map_20,
             boost_map, llvm_map, absl_map>();
    add_long_chains<textmaps_map>();
    add_long_chains<plain_map>();
    add_loads();
}

} // namespace bench
