// The map side by side with what users would pick instead.
#include "maps/glib_map.hpp"
#include "maps/llvm_map.hpp"
#include "maps/plain_map.hpp"
#include "maps/standard_maps.hpp"
#include "maps/textmaps_map.hpp"
#include "maps/uthash_map.hpp"
#include "measure.hpp"

namespace bench {

namespace {

constexpr std::size_t sizes[] = {100, 1'000, 10'000, 100'000, 1'000'000};
constexpr std::size_t dump_size = 10'000;

// The table that map_init makes, with chains of 32 and of 1,000 keys.
constexpr std::size_t default_buckets = 32;
constexpr std::size_t long_chains[] = {32 * default_buckets, 1'000 * default_buckets};

template <class Map>
using tables = std::vector<std::unique_ptr<Map>>;

template <class Map>
void insert_all(Map &map, std::span<const item> list)
{
    for (const item &one : list) {
        map.insert(one);
    }
}

template <class Map>
std::unique_ptr<Map> filled(std::size_t count)
{
    auto map = std::make_unique<Map>(count);
    insert_all(*map, items(count));
    return map;
}

// Each pass has tables of its own, made by make(count); use(table) is timed.
template <class Map, class Make, class Use>
void time_changes(benchmark::State &state, std::size_t count, Make make, Use use)
{
    const std::size_t passes = tables_for(count);
    for (auto _ : state) {
        settle_heap();
        tables<Map> maps;
        for (std::size_t i = 0; i < passes; ++i) {
            maps.push_back(make(count));
        }
        const stopwatch watch;
        for (auto &map : maps) {
            use(map);
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

// All passes read the same table, the first one untimed.
template <class Map, class Use>
void time_reading(benchmark::State &state, const Map &map, std::size_t count, Use use)
{
    const std::size_t passes = tables_for(count);
    use(map);
    for (auto _ : state) {
        const stopwatch watch;
        for (std::size_t i = 0; i < passes; ++i) {
            use(map);
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

template <class Map>
void look_up(benchmark::State &state, const Map &map, const key_list &keys)
{
    time_reading(state, map, keys.size(), [&](const Map &in) {
        for (const char *key : keys) {
            benchmark::DoNotOptimize(in.find(key));
        }
    });
}

// From nothing to a full table, its sizing included.
template <class Map>
void fill(benchmark::State &state, std::size_t count)
{
    time_changes<Map>(
        state, count, [](std::size_t) { return nullptr; },
        [list = items(count)](std::unique_ptr<Map> &map) {
            map = std::make_unique<Map>(list.size());
            insert_all(*map, list);
        });
}

// Replaces all values in shuffled order, by values of equal length or of 8 more.
template <class Map>
void replace(benchmark::State &state, std::size_t count, std::uint32_t longer)
{
    const std::string added(longer, '+');
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
    time_changes<Map>(state, count, filled<Map>, [&](std::unique_ptr<Map> &map) {
        for (const item &one : replacements) {
            map->replace(one);
        }
    });
}

template <class Map>
void erase(benchmark::State &state, std::size_t count)
{
    const key_list keys = present_keys(count);
    time_changes<Map>(state, count, filled<Map>, [&](std::unique_ptr<Map> &map) {
        for (const char *key : keys) {
            map->erase(key);
        }
    });
}

template <class Map>
void copy(benchmark::State &state, std::size_t count)
{
    const auto source = filled<Map>(count);
    time_changes<Map>(state, count, std::make_unique<Map, std::size_t &>,
                      [&](std::unique_ptr<Map> &map) { map->copy_from(*source); });
}

template <class Map>
void iterate(benchmark::State &state, std::size_t count)
{
    time_reading(state, *filled<Map>(count), count, [](const Map &map) {
        std::size_t sum = 0;
        map.visit([&](const char *key, const char *, std::uint32_t length) {
            sum += static_cast<unsigned char>(*key) + length;
        });
        benchmark::DoNotOptimize(sum);
    });
}

template <class Map>
void equal(benchmark::State &state, std::size_t count)
{
    const auto other = filled<Map>(count);
    time_reading(state, *filled<Map>(count), count,
                 [&](const Map &map) { benchmark::DoNotOptimize(map.equals(*other)); });
}

template <class Map>
void dump(benchmark::State &state, std::size_t count)
{
    std::FILE *nowhere = std::fopen("/dev/null", "w");
    time_reading(state, *filled<Map>(count), count, [&](const Map &map) { map.dump(nowhere); });
    std::fclose(nowhere);
}

template <class Map>
void add_map()
{
    const auto add = [](const char *operation, std::size_t count, std::size_t keys, auto body) {
        add_benchmark(operation, Map::name, count, keys, body);
    };
    for (const std::size_t count : sizes) {
        const auto add_for_size = [=](const char *operation, auto body) {
            add(operation, count, count * tables_for(count),
                [=](benchmark::State &state) { body(state, count); });
        };
        add_for_size("fill", fill<Map>);
        add_for_size("hit", [](auto &state, std::size_t n) {
            look_up(state, *filled<Map>(n), present_keys(n));
        });
        add_for_size("miss", [](auto &state, std::size_t n) {
            look_up(state, *filled<Map>(n), absent_keys(n));
        });
        add_for_size("replace-equal",
                     [](auto &state, std::size_t n) { replace<Map>(state, n, 0); });
        add_for_size("replace-other",
                     [](auto &state, std::size_t n) { replace<Map>(state, n, 8); });
        add_for_size("erase", erase<Map>);
        add_for_size("iterate", iterate<Map>);
        add_for_size("clear", [](auto &state, std::size_t n) {
            time_changes<Map>(state, n, filled<Map>, [](auto &map) { map->clear(); });
        });
        add_for_size("destroy", [](auto &state, std::size_t n) {
            time_changes<Map>(state, n, filled<Map>, [](auto &map) { map.reset(); });
        });
        add_for_size("copy", copy<Map>);
        add_for_size("equal", equal<Map>);
    }
    add("dump", dump_size, keys_in_a_run,
        [](benchmark::State &state) { dump<Map>(state, dump_size); });
}

// Chains as long as the default table's: the keys looked up are a sample.
template <class Map>
void add_long_chains()
{
    constexpr std::size_t sample = 1'000;
    for (const std::size_t count : long_chains) {
        add_benchmark("hit-32-buckets", Map::name, count, keys_in_a_run / 2,
                      [=](benchmark::State &state) {
                          Map map(default_buckets);
                          insert_all(map, items(count));
                          look_up(state, map, key_list(items(count), sample));
                      });
    }
}

[[noreturn]] void disagreement(const char *candidate)
{
    std::fprintf(stderr, "%s does not hold what was put into it\n", candidate);
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
            disagreement(Map::name);
        }
    }
    Map copied(count);
    copied.copy_from(*map);
    if (!copied.equals(*map)) {
        disagreement(Map::name);
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
        disagreement(plain_map::name);
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
}

} // namespace bench
