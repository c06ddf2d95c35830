// Typed writes, each over a value that is there, and typed reads: every row of the map, and for
// 32-bit numbers what users would write without it.
#include "benchmarks.hpp"
#include "maps/common.hpp"
#include "measure.hpp"
#include "plain_map.h"

#include <textmaps/map.h>

#include <cstring>
#include <glib.h>
#include <string>
#include <unordered_map>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t row_size = 1'000;

// Of every length, up to so many bits.
std::uint64_t number(std::size_t i, unsigned most_bits)
{
    const std::uint64_t bits = (i + 1) * 0x9E3779B97F4A7C15U;
    return bits >> (64 - most_bits + bits % most_bits);
}

class textmaps_store {
  public:
    static constexpr const char *name = "textmaps";

    explicit textmaps_store(std::uint32_t buckets)
    {
        map_init(&map_);
        map_sethashsize(&map_, buckets);
    }
    textmaps_store(const textmaps_store &) = delete;
    textmaps_store &operator=(const textmaps_store &) = delete;
    ~textmaps_store()
    {
        map_destroy(&map_);
    }
    map_t *map()
    {
        return &map_;
    }
    void write(const char *key, std::uint32_t value)
    {
        map_replace_uint32(&map_, key, value);
    }
    void read(const char *key, std::uint32_t *value) const
    {
        map_get_uint32(&map_, key, value);
    }

  private:
    map_t map_;
};

class plain_store {
  public:
    static constexpr const char *name = "plain";

    explicit plain_store(std::uint32_t buckets)
    {
        plain_map_init(&map_, buckets);
    }
    plain_store(const plain_store &) = delete;
    plain_store &operator=(const plain_store &) = delete;
    ~plain_store()
    {
        plain_map_destroy(&map_);
    }
    void write(const char *key, std::uint32_t value)
    {
        plain_map_replace_uint32(&map_, key, value);
    }
    void read(const char *key, std::uint32_t *value) const
    {
        plain_map_get_uint32(&map_, key, value);
    }

  private:
    plain_map_t map_;
};

class standard_store {
  public:
    static constexpr const char *name = "unordered_map";

    explicit standard_store(std::uint32_t buckets)
    {
        map_.reserve(buckets);
    }
    void write(const char *key, std::uint32_t value)
    {
        map_[key] = std::to_string(value);
    }
    void read(const char *key, std::uint32_t *value) const
    {
        *value = static_cast<std::uint32_t>(std::stoul(map_.find(key)->second));
    }

  private:
    std::unordered_map<std::string, std::string> map_;
};

class glib_store {
  public:
    static constexpr const char *name = "GHashTable";

    explicit glib_store(std::uint32_t)
        : table_(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free))
    {
    }
    glib_store(const glib_store &) = delete;
    glib_store &operator=(const glib_store &) = delete;
    ~glib_store()
    {
        g_hash_table_destroy(table_);
    }
    void write(const char *key, std::uint32_t value)
    {
        g_hash_table_insert(table_, g_strdup(key), g_strdup_printf("%u", value));
    }
    void read(const char *key, std::uint32_t *value) const
    {
        const auto *text = static_cast<const char *>(g_hash_table_lookup(table_, key));
        guint64 number = 0;
        g_ascii_string_to_unsigned(text, 10, 0, UINT32_MAX, &number, nullptr);
        *value = static_cast<std::uint32_t>(number);
    }

  private:
    GHashTable *table_;
};

using key_span = std::span<const char *const>;

// The values in the order of the keys.
template <class Value, class Write>
void write_all(key_span keys, const std::vector<Value> &values, Write write)
{
    auto value = values.begin();
    for (const char *key : keys) {
        write(key, *value++);
    }
}

template <class Output, class Read>
void read_all(key_span keys, Read read)
{
    for (const char *key : keys) {
        Output out;
        read(key, &out);
        benchmark::DoNotOptimize(out);
    }
}

// Makes a Store, writes all values once, and times pass(store, keys), with the keys in another order each
// time.
template <class Store, class Value, class Write, class Pass>
void time_store(benchmark::State &state, const std::vector<Value> &values, Write write, Pass pass)
{
    key_orders orders(present_keys(values.size()));
    Store store(buckets_for(values.size()));
    write_all(orders.next(), values,
              [&](const char *key, const Value &value) { write(store, key, value); });
    time_reading(state, values.size(), [&] { pass(store, orders.next()); });
}

// write(store, key, value) and read(store, key, out) of a row.
template <class Store, class Output, class Value, class Write, class Read>
void add_row(const std::string &row, const std::vector<Value> &values, Write write, Read read)
{
    const std::size_t count = values.size();
    add_benchmark("write-" + row, Store::name, count, [=](benchmark::State &state, std::size_t) {
        time_store<Store>(state, values, write, [&](Store &store, key_span keys) {
            write_all(keys, values,
                      [&](const char *key, const Value &value) { write(store, key, value); });
        });
    });
    add_benchmark("read-" + row, Store::name, count, [=](benchmark::State &state, std::size_t) {
        time_store<Store>(state, values, write, [&](Store &store, key_span keys) {
            read_all<Output>(keys, [&](const char *key, Output *out) { read(store, key, out); });
        });
    });
}

template <class Value, class Make>
std::vector<Value> values(std::size_t count, Make make)
{
    std::vector<Value> list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(make(i));
    }
    return list;
}

template <class Store>
void add_uint32(std::size_t count)
{
    add_row<Store, std::uint32_t>(
        "uint32",
        values<std::uint32_t>(
            count, [](std::size_t i) { return static_cast<std::uint32_t>(number(i, 32)); }),
        [](Store &store, const char *key, std::uint32_t value) { store.write(key, value); },
        [](Store &store, const char *key, std::uint32_t *out) { store.read(key, out); });
}

// The library's own, but for making and parsing text: the texts are at hand, and what is read is left as
// it is.
class textless_store : public textmaps_store {
  public:
    static constexpr const char *name = "no-text";

    using textmaps_store::textmaps_store;
};

void add_uint32_without_text(std::size_t count)
{
    add_row<textless_store, const void *>(
        "uint32",
        values<std::string>(count,
                            [](std::size_t i) {
                                return std::to_string(static_cast<std::uint32_t>(number(i, 32)));
                            }),
        [](textless_store &store, const char *key, const std::string &text) {
            map_replace(store.map(), key, text.c_str(),
                        static_cast<std::uint32_t>(text.size()) + 1);
        },
        [](textless_store &store, const char *key, const void **text) {
            std::uint32_t length;
            map_index(store.map(), key, text, &length);
        });
}

// A row of the map by its two functions.
template <class Argument, class Value, class Output, class Pass>
void add_map_row(const char *row, int (*replace)(map_t *, const char *, Argument),
                 int (*get)(const map_t *, const char *, Output *), const std::vector<Value> &list,
                 Pass pass)
{
    add_row<textmaps_store, Output>(
        row, list,
        [=](textmaps_store &store, const char *key, const Value &value) {
            replace(store.map(), key, pass(value));
        },
        [=](textmaps_store &store, const char *key, Output *out) { get(store.map(), key, out); });
}

template <class Argument, class Output>
void add_number(const char *row, int (*replace)(map_t *, const char *, Argument),
                int (*get)(const map_t *, const char *, Output *), unsigned most_bits)
{
    const auto list = values<Argument>(
        row_size, [=](std::size_t i) { return static_cast<Argument>(number(i, most_bits)); });
    add_map_row(row, replace, get, list, [](Argument value) { return value; });
}

template <class Record>
void add_address(const char *row, int (*replace)(map_t *, const char *, const Record *),
                 int (*get)(const map_t *, const char *, Record *), Record (*make)(std::size_t))
{
    add_map_row(row, replace, get, values<Record>(row_size, make),
                [](const Record &value) { return &value; });
}

macaddr_t make_macaddr(std::size_t i)
{
    macaddr_t address;
    const std::uint64_t bits = number(i, 64);
    std::memcpy(address.octets, &bits, sizeof address.octets);
    return address;
}

// IPv4 and IPv6 in turn.
ipaddr_t make_ipaddr(std::size_t i)
{
    ipaddr_t address{};
    address.version = i % 2 == 0 ? 4 : 6;
    const std::uint64_t bits = number(i, 64);
    std::memcpy(address.bytes, &bits, sizeof bits);
    return address;
}

cidr_t make_cidr(std::size_t i)
{
    return {make_ipaddr(i), static_cast<std::uint8_t>(i % 33)};
}

constexpr std::uint32_t text_size = 64;
struct text {
    char characters[text_size];
};

int copy_text(const map_t *map, const char *key, text *out)
{
    return map_copy_str(map, key, out->characters, text_size);
}

int replace_formatted(map_t *map, const char *key, unsigned int number)
{
    return map_replace_fmt(map, key, "port-%u", number);
}

void add_rows()
{
    add_number("uint64", map_replace_uint64, map_get_uint64, 64);
    add_number("int64", map_replace_int64, map_get_int64, 63);
    add_number("int32", map_replace_int32, map_get_int32, 31);
    add_number("time", map_replace_time, map_get_time, 31);
    add_number("uint16", map_replace_uint16, map_get_uint16, 16);
    add_number("int16", map_replace_int16, map_get_int16, 15);
    add_number("uint8", map_replace_uint8, map_get_uint8, 8);
    add_number("int8", map_replace_int8, map_get_int8, 7);
    add_number("bool", map_replace_bool, map_get_bool, 1);
    add_number("uint", map_replace_uint, map_get_uint, 32);
    add_number("int", map_replace_int, map_get_int, 31);
    add_number("uchar", map_replace_uchar, map_get_uchar, 8);
    add_number("char", map_replace_char, map_get_char, 7);
    add_map_row(
        "str", map_replace_str, copy_text,
        values<const char *>(row_size, [](std::size_t i) { return items(row_size)[i].value; }),
        [](const char *value) { return value; });
    add_number("fmt", replace_formatted, copy_text, 32);
    add_address("macaddr", map_replace_macaddr, map_get_macaddr, make_macaddr);
    add_address("ipaddr", map_replace_ipaddr, map_get_ipaddr, make_ipaddr);
    add_address("cidr", map_replace_cidr, map_get_cidr, make_cidr);
}

} // namespace

void add_typed_benchmarks()
{
    for (const std::size_t count : map_sizes) {
        add_uint32<textmaps_store>(count);
        add_uint32_without_text(count);
        add_uint32<plain_store>(count);
        add_uint32<standard_store>(count);
        add_uint32<glib_store>(count);
    }
    add_rows();
}

} // namespace bench
