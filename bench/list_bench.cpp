// The multimap and the arraymap side by side with what users would pick instead: lists of four values
// under each key.
#include "benchmarks.hpp"
#include "maps/common.hpp"
#include "measure.hpp"

#include <textmaps/arraymap.h>
#include <textmaps/multimap.h>

#include <iterator>
#include <string>
#include <unordered_map>

namespace bench {

namespace {

constexpr std::uint32_t values_of_key = 4;

// Lists under measurement have insert(key, value), look_up(key, position, value), by content in a
// multimap and by position in an arraymap, erase(key), visit(use) with use(value) for every value,
// copy_from(other) and equals(other).

class textmaps_multimap {
  public:
    static constexpr const char *name = "textmaps";

    explicit textmaps_multimap(std::size_t expected)
    {
        multimap_init(&map_);
        multimap_sethashsize(&map_, buckets_for(expected));
    }
    textmaps_multimap(const textmaps_multimap &) = delete;
    textmaps_multimap &operator=(const textmaps_multimap &) = delete;
    ~textmaps_multimap()
    {
        multimap_destroy(&map_);
    }
    void insert(const char *key, std::string_view value)
    {
        multimap_insert(&map_, key, value.data(), static_cast<std::uint32_t>(value.size()));
    }
    bool look_up(const char *key, std::uint32_t, std::string_view value) const
    {
        return multimap_find(&map_, key, value.data(), static_cast<std::uint32_t>(value.size()),
                             nullptr) == 0;
    }
    void erase(const char *key)
    {
        multimap_erase(&map_, key);
    }
    template <class Use>
    void visit(Use use) const
    {
        multimap_key_iter_t keys{};
        for (const char *key = multimap_key_first(&map_, &keys); key != nullptr;
             key = multimap_key_next(&keys)) {
            multimap_value_iter_t values{};
            for (const void *value = multimap_value_first(&map_, key, &values); value != nullptr;
                 value = multimap_value_next(&values)) {
                use(std::string_view(static_cast<const char *>(value),
                                     multimap_value_size(&values)));
            }
        }
    }
    void copy_from(const textmaps_multimap &other)
    {
        multimap_copy(&other.map_, &map_);
    }
    bool equals(const textmaps_multimap &other) const
    {
        return multimap_isequal(&map_, &other.map_) != 0;
    }

  private:
    multimap_t map_;
};

// Refuses, as the multimap does, what the key holds already.
class standard_multimap {
  public:
    static constexpr const char *name = "unordered_multimap";

    explicit standard_multimap(std::size_t expected)
    {
        map_.reserve(expected * values_of_key);
    }
    void insert(const char *key, std::string_view value)
    {
        std::string owned(key);
        if (!holds(owned, value)) {
            map_.emplace(std::move(owned), value);
        }
    }
    bool look_up(const char *key, std::uint32_t, std::string_view value) const
    {
        return holds(key, value);
    }
    void erase(const char *key)
    {
        map_.erase(key);
    }
    template <class Use>
    void visit(Use use) const
    {
        for (const auto &entry : map_) {
            use(std::string_view(entry.second));
        }
    }
    void copy_from(const standard_multimap &other)
    {
        map_ = other.map_;
    }
    bool equals(const standard_multimap &other) const
    {
        return map_ == other.map_;
    }

  private:
    bool holds(const std::string &key, std::string_view value) const
    {
        const auto [first, last] = map_.equal_range(key);
        return std::any_of(first, last, [=](const auto &entry) { return entry.second == value; });
    }

    std::unordered_multimap<std::string, std::string> map_;
};

class textmaps_arraymap {
  public:
    static constexpr const char *name = "textmaps";

    explicit textmaps_arraymap(std::size_t expected)
    {
        arraymap_init_special(&map_, buckets_for(expected));
    }
    textmaps_arraymap(const textmaps_arraymap &) = delete;
    textmaps_arraymap &operator=(const textmaps_arraymap &) = delete;
    ~textmaps_arraymap()
    {
        arraymap_destroy(&map_);
    }
    void insert(const char *key, std::string_view value)
    {
        arraymap_insert(&map_, key, value.data(), static_cast<std::uint32_t>(value.size()));
    }
    bool look_up(const char *key, std::uint32_t position, std::string_view) const
    {
        return arraymap_index(&map_, key, position, nullptr, nullptr) == 0;
    }
    void erase(const char *key)
    {
        arraymap_erase(&map_, key);
    }
    template <class Use>
    void visit(Use use) const
    {
        arraymap_key_iter_t keys{};
        for (const char *key = arraymap_key_first(&map_, &keys); key != nullptr;
             key = arraymap_key_next(&keys)) {
            arraymap_value_iter_t values{};
            for (const void *value = arraymap_value_first(&map_, key, &values); value != nullptr;
                 value = arraymap_value_next(&values)) {
                use(std::string_view(static_cast<const char *>(value),
                                     arraymap_value_size(&values)));
            }
        }
    }
    void copy_from(const textmaps_arraymap &other)
    {
        arraymap_copy(&other.map_, &map_);
    }
    bool equals(const textmaps_arraymap &other) const
    {
        return arraymap_isequal(&map_, &other.map_) != 0;
    }

  private:
    arraymap_t map_;
};

class standard_arraymap {
  public:
    static constexpr const char *name = "unordered_map-vector";

    explicit standard_arraymap(std::size_t expected)
    {
        map_.reserve(expected);
    }
    void insert(const char *key, std::string_view value)
    {
        map_[key].emplace_back(value);
    }
    bool look_up(const char *key, std::uint32_t position, std::string_view) const
    {
        const auto found = map_.find(key);
        return found != map_.end() && position < found->second.size();
    }
    void erase(const char *key)
    {
        map_.erase(key);
    }
    template <class Use>
    void visit(Use use) const
    {
        for (const auto &[key, values] : map_) {
            for (const std::string &value : values) {
                use(std::string_view(value));
            }
        }
    }
    void copy_from(const standard_arraymap &other)
    {
        map_ = other.map_;
    }
    bool equals(const standard_arraymap &other) const
    {
        return map_ == other.map_;
    }

  private:
    std::unordered_map<std::string, std::vector<std::string>> map_;
};

// The values of the items from `i` on: different ones for the multimap.
std::string_view value_at(std::span<const item> list, std::size_t i)
{
    return value_of(list[i % list.size()]);
}

template <class Lists>
std::unique_ptr<Lists> filled(std::size_t count)
{
    auto lists = std::make_unique<Lists>(count);
    const auto list = items(count);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t position = 0; position < values_of_key; ++position) {
            lists->insert(list[i].key, value_at(list, i + position));
        }
    }
    return lists;
}

// The third value of each key, by content or by position.
template <class Lists>
void look_up(benchmark::State &state, std::size_t count)
{
    constexpr std::uint32_t position = 2;
    const auto lists = filled<Lists>(count);
    const auto list = items(count);
    std::unordered_map<std::string_view, std::string_view> value_of;
    for (std::size_t i = 0; i < count; ++i) {
        value_of.emplace(list[i].key, value_at(list, i + position));
    }
    const key_list keys = in_many_orders(present_keys(count));
    std::vector<std::string_view> values;
    for (const char *key : keys) {
        values.push_back(value_of.at(key));
    }
    time_reading(state, keys.size(), [&] {
        bool found = true;
        auto value = values.begin();
        for (const char *key : keys) {
            found &= lists->look_up(key, position, *value++);
        }
        if (!found) {
            state.SkipWithError("a value is missing");
        }
    });
}

template <class Lists>
void erase(benchmark::State &state, std::size_t count)
{
    key_orders orders(present_keys(count));
    time_changes(
        state, count, [=] { return filled<Lists>(count); },
        [&](std::unique_ptr<Lists> &lists) {
            for (const char *key : orders.next()) {
                lists->erase(key);
            }
        });
}

template <class Lists>
void copy(benchmark::State &state, std::size_t count)
{
    const auto source = filled<Lists>(count);
    time_changes(
        state, count, [=] { return std::make_unique<Lists>(count); },
        [&](std::unique_ptr<Lists> &lists) { lists->copy_from(*source); });
}

template <class Lists>
void iterate(benchmark::State &state, std::size_t count)
{
    const auto lists = filled<Lists>(count);
    time_reading(state, count, [&] {
        std::size_t sum = 0;
        lists->visit([&](std::string_view value) { sum += value.size(); });
        benchmark::DoNotOptimize(sum);
    });
}

template <class Lists>
void equal(benchmark::State &state, std::size_t count)
{
    const auto lists = filled<Lists>(count);
    const auto other = filled<Lists>(count);
    time_reading(state, count, [&] { benchmark::DoNotOptimize(lists->equals(*other)); });
}

template <class Lists>
void add_family(const std::string &family)
{
    const auto add = [&](const char *operation, std::size_t count, auto body) {
        add_benchmark(family + '-' + operation, Lists::name, count, body);
    };
    for (const std::size_t count : map_sizes) {
        add("fill", count, [](benchmark::State &state, std::size_t n) {
            time_changes(
                state, n, [] { return std::unique_ptr<Lists>(); },
                [=](std::unique_ptr<Lists> &lists) { lists = filled<Lists>(n); });
        });
        add_look_up(family + "-look-up", Lists::name, count, look_up<Lists>);
        add("erase", count, erase<Lists>);
        add("iterate", count, iterate<Lists>);
        add("destroy", count, [](benchmark::State &state, std::size_t n) {
            time_changes(
                state, n, [=] { return filled<Lists>(n); },
                [](std::unique_ptr<Lists> &lists) { lists.reset(); });
        });
        add("copy", count, copy<Lists>);
        add("equal", count, equal<Lists>);
    }
}

} // namespace

void add_list_benchmarks()
{
    add_family<textmaps_multimap>("multimap");
    add_family<standard_multimap>("multimap");
    add_family<textmaps_arraymap>("arraymap");
    add_family<standard_arraymap>("arraymap");
}

} // namespace bench
