#include "map_model.hpp"
#include "table_world.hpp"
#include "typed_calls.hpp"

#include <textmaps/map.h>

namespace model {

namespace {

struct MapApi {
    using Record = map_t;
    using Node = map_entry_t;
    using Model = MapModel;
    using Entry = MapEntry;
    using Count = std::int32_t;

    static constexpr const char *empty_notice = "> map is empty\n";
    static constexpr const char *printed_indent = "";
    static constexpr const char *dumped_indent = " ";

    static constexpr auto init = map_init;
    static constexpr auto destroy = map_destroy;
    static constexpr auto clear = map_clear;
    static constexpr auto insert = map_insert;
    static constexpr auto erase = map_erase;
    static constexpr auto haskey = map_haskey;
    static constexpr auto key_count = map_key_count;
    static constexpr auto key_name = map_key_name;
    static constexpr auto isempty = map_isempty;
    static constexpr auto dump = map_dump;
    static constexpr auto sndump = map_sndump;
    static constexpr auto print = map_print;
    static constexpr auto sethashsize = map_sethashsize;
    static constexpr auto sethashfunc = map_sethashfunc;
    static constexpr auto setcasekeys = map_setcasekeys;
    static constexpr auto setmaxkeys = map_setmaxkeys;
    static constexpr auto isequal = map_isequal;
    static constexpr auto intersection = map_intersection;
    static constexpr auto merge = map_merge;
    static constexpr auto copy = map_copy;

    static std::size_t value_count(const MapEntry &)
    {
        return 1;
    }
    static const std::string &value(const MapEntry &entry, std::size_t)
    {
        return entry.value;
    }
    static const void *data(const map_entry_t &node, std::size_t)
    {
        return node.value;
    }
    static const map_entry_t *empty_node()
    {
        static const map_entry_t node = {nullptr, nullptr, "", 0, ""};
        return &node;
    }
    static std::string header(const MapModel &model, const map_t *library)
    {
        return model.header(library);
    }
};

struct Row {
    Type type;
    int (*cmp)(map_t *map, const char *key, const Given &given);
    int (*replace)(map_t *map, const char *key, const Given &given);
    int (*insert)(map_t *map, const char *key, const Given &given);
    Reading (*get)(const map_t *map, const char *key, std::uint64_t number, bool is_null);
};

constexpr Row rows[] = {
    {Type::uint64, store<map_cmp_uint64>, store<map_replace_uint64>, store<map_insert_uint64>,
     read<map_get_uint64>},
    {Type::int64, store<map_cmp_int64>, store<map_replace_int64>, store<map_insert_int64>,
     read<map_get_int64>},
    {Type::uint32, store<map_cmp_uint32>, store<map_replace_uint32>, store<map_insert_uint32>,
     read<map_get_uint32>},
    {Type::int32, store<map_cmp_int32>, store<map_replace_int32>, store<map_insert_int32>,
     read<map_get_int32>},
    {Type::time, store<map_cmp_time>, store<map_replace_time>, store<map_insert_time>,
     read<map_get_time>},
    {Type::uint16, store<map_cmp_uint16>, store<map_replace_uint16>, store<map_insert_uint16>,
     read<map_get_uint16>},
    {Type::int16, store<map_cmp_int16>, store<map_replace_int16>, store<map_insert_int16>,
     read<map_get_int16>},
    {Type::uint8, store<map_cmp_uint8>, store<map_replace_uint8>, store<map_insert_uint8>,
     read<map_get_uint8>},
    {Type::int8, store<map_cmp_int8>, store<map_replace_int8>, store<map_insert_int8>,
     read<map_get_int8>},
    {Type::boolean, store<map_cmp_bool>, store<map_replace_bool>, store<map_insert_bool>,
     read<map_get_bool>},
    {Type::uint, store<map_cmp_uint>, store<map_replace_uint>, store<map_insert_uint>,
     read<map_get_uint>},
    {Type::integer, store<map_cmp_int>, store<map_replace_int>, store<map_insert_int>,
     read<map_get_int>},
    {Type::uchar, store<map_cmp_uchar>, store<map_replace_uchar>, store<map_insert_uchar>,
     read<map_get_uchar>},
    {Type::character, store<map_cmp_char>, store<map_replace_char>, store<map_insert_char>,
     read<map_get_char>},
    {Type::macaddr, store<map_cmp_macaddr>, store<map_replace_macaddr>, store<map_insert_macaddr>,
     read<map_get_macaddr>},
    {Type::ipaddr, store<map_cmp_ipaddr>, store<map_replace_ipaddr>, store<map_insert_ipaddr>,
     read<map_get_ipaddr>},
    {Type::cidr, store<map_cmp_cidr>, store<map_replace_cidr>, store<map_insert_cidr>,
     read<map_get_cidr>},
    {Type::str, store<map_cmp_str>, store<map_replace_str>, store<map_insert_str>, nullptr},
};

bool checks_its_arguments_when_comparing(Type type)
{
    return type == Type::boolean || type == Type::uint || type == Type::integer ||
           type == Type::uchar || type == Type::character;
}

// What map_print_sorted hands over.
struct Sorted {
    const map_t *map = nullptr;
    std::string stream_text;
    std::vector<std::pair<const char *, std::int32_t>> items;
};

Sorted sorted;

int take_sorted(const map_t *map, std::FILE *stream, const map_sort_item_t *items,
                std::int32_t count)
{
    sorted.map = map;
    for (std::int32_t i = 0; i < count; ++i) {
        sorted.items.emplace_back(items[i].key, items[i].index);
    }
    std::fputs("end\n", stream);
    return 55;
}

} // namespace

class MapWorld : public TableWorld<MapApi> {
  public:
    static std::vector<Kind> kinds();

  private:
    void insert(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = bytes(operation, in, of);
        agree("result", map_insert(in.library, of.library, value.library, value.length),
              in.model->insert(of.model, value.model));
    }

    void replace(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = bytes(operation, in, of);
        agree("result", map_replace(in.library, of.library, value.library, value.length),
              in.model->replace(of.model, value.model));
    }

    void index(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const void *value = untouched;
        std::uint32_t length = untouched_length;
        const int result =
            map_index(in.library, of.library, operation.is_null(Field::out) ? nullptr : &value,
                      operation.is_null(Field::other_out) ? nullptr : &length);
        const MapEntry *entry = in.model->look_up(of.model);
        agree_found(operation, result, in.model->index(of.model), value, length,
                    entry == nullptr ? nullptr : node_of(in, *entry)->value);
    }

    void get_entry(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const MapEntry *entry = in.model->look_up(of.model);
        agree<const void *>("entry", map_get_entry(in.library, of.library),
                            entry == nullptr ? nullptr : node_of(in, *entry));
    }

    void walk(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool is_null = operation.is_null(Field::out);
        map_iter_t iterator = {nullptr, 77, nullptr};
        map_iter_t *given = is_null ? nullptr : &iterator;
        const char *at = map_first(in.library, given);
        const auto entries = in.model->entries();
        if (is_null || entries.empty()) {
            agree<const void *>("first", at, nullptr);
            agree<const void *>("map of an iterator that never started", iterator.map, nullptr);
            agree("its bucket", iterator.bucket, 77U);
            agree_current(given, nullptr);
            agree<const void *>("next of it", map_next(given), nullptr);
            return;
        }
        for (const MapEntry *entry : entries) {
            const map_entry_t *node = node_of(in, *entry);
            agree<const void *>("key", at, node->key);
            agree<const void *>("map of iterator", iterator.map, in.library);
            agree<const void *>("entry of iterator", iterator.entry, node);
            agree("bucket of iterator", std::size_t{iterator.bucket},
                  in.model->bucket_of(entry->key));
            agree_current(given, node);
            at = map_next(given);
        }
        for (std::uint32_t i = 0; i < 2; ++i) {
            agree<const void *>("key after the end", at, nullptr);
            agree("bucket after the end", iterator.bucket, in.model->hashsize() + i);
            agree_current(given, node_of(in, *entries.back()));
            at = map_next(given);
        }
    }

    void agree_current(const map_iter_t *iterator, const map_entry_t *node)
    {
        agree<const void *>("current key", map_key(iterator),
                            node == nullptr ? nullptr : node->key);
        agree<const void *>("current value", map_value(iterator),
                            node == nullptr ? nullptr : node->value);
        agree("current length", map_valuesz(iterator), node == nullptr ? 0 : node->valuesz);
    }

    void print_sorted(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool has_function = !operation.is_null(Field::out);
        const bool has_stream = !operation.is_null(Field::other_out);
        sorted = {};
        int result = 0;
        const std::string text = streamed(!has_stream, [&](std::FILE *stream) {
            result = map_print_sorted(in.library, has_function ? take_sorted : nullptr, stream);
        });
        const bool is_called = has_function && has_stream && in.model->numkeys != 0;
        agree("result", result, is_called ? 55 : EINVAL);
        agree("text", text,
              is_called                    ? in.model->header(in.library) + "end\n"
              : has_function && has_stream ? "map is empty\n"
                                           : "");
        if (!is_called) {
            return;
        }
        agree<const void *>("map", sorted.map, in.library);
        const auto entries = in.model->entries();
        const auto expected = in.model->sorted_entries();
        agree("number of items", sorted.items.size(), expected.size());
        for (std::size_t i = 0; i < expected.size() && agrees(); ++i) {
            const auto [item_key, index] = sorted.items[i];
            const auto at = std::find(entries.begin(), entries.end(), expected[i]);
            agree("index of item", std::ptrdiff_t{index}, at - entries.begin());
            agree_stored_key(item_key, in, *expected[i]);
        }
    }

    void raw_dump(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool to_null = operation.is_null(Field::out);
        const std::string text =
            streamed(to_null, [&](std::FILE *stream) { map_raw_dump(in.library, stream); });
        std::string lines;
        for (const MapEntry *entry : in.model->entries()) {
            lines += MapApi::dumped_indent + MapModel::line(entry->key, *entry);
        }
        agree("text", text, to_null ? "" : dumped(in, lines));
    }

    void cmp(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = bytes(operation, in, of);
        agree_in_order("result", map_cmp(in.library, of.library, value.library, value.length),
                       in.model->cmp(of.model, value.model));
    }

    void copy_dst_hashsize(const Operation &operation)
    {
        const Pair from = container(operation);
        const Pair into = container(operation, Field::second);
        agree("result", map_copy_dst_hashsize(from.library, into.library),
              into.model->copy_dst_hashsize(*from.model));
    }

    void cmp_typed(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Given value = given(operation, text(operation, in, of));
        const Row &row = rows[operation.row];
        const int result = row.cmp(in.library, of.library, value);
        if ((in.model->missing || of.model == nullptr) &&
            checks_its_arguments_when_comparing(row.type)) {
            agree("result", result, EINVAL);
            return;
        }
        const bool is_missing_text = row.type == Type::str && value.text == nullptr;
        const std::string converted =
            text_of(row.type, value).value_or(row.type == Type::macaddr ? "0" : "") + '\0';
        agree_in_order("result", result,
                       in.model->cmp(of.model, is_missing_text ? nullptr : &converted));
    }

    void replace_typed(const Operation &operation)
    {
        store_typed(operation, rows[operation.row].replace, &MapModel::replace);
    }

    void insert_typed(const Operation &operation)
    {
        store_typed(operation, rows[operation.row].insert, &MapModel::insert);
    }

    void store_typed(const Operation &operation,
                     int (*function)(map_t *map, const char *key, const Given &given),
                     int (MapModel::*store)(Text key, Text value))
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Given value = given(operation, text(operation, in, of));
        const auto converted = text_of(rows[operation.row].type, value);
        const std::string stored = converted.value_or("") + '\0';
        agree("result", function(in.library, of.library, value),
              converted ? (in.model->*store)(of.model, &stored) : EINVAL);
    }

    void replace_fmt(const Operation &operation)
    {
        store_formatted(operation, map_replace_fmt, &MapModel::replace);
    }

    void insert_fmt(const Operation &operation)
    {
        store_formatted(operation, map_insert_fmt, &MapModel::insert);
    }

    void store_formatted(const Operation &operation,
                         int (*function)(map_t *map, const char *key, const char *format, ...),
                         int (MapModel::*store)(Text key, Text value))
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Format format = formatted(operation, text(operation, in, of));
        agree("result",
              function(in.library, of.library, format.format, format.text, format.number,
                       format.unconvertible),
              in.model->missing || of.model == nullptr || format.format == nullptr ? EINVAL
              : format.fails                                                       ? EILSEQ
                             : (in.model->*store)(of.model, &format.stored));
    }

    void get(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Row &row = rows[operation.row];
        const bool is_null = operation.is_null(Field::out);
        const Found found = in.model->index(of.model);
        agree_reading(operation, row.type,
                      row.get(in.library, of.library, operation.number, is_null), found);
    }

    // As another program may have left it.
    void replace_and_get(const Operation &operation)
    {
        replace(operation);
        get(operation);
    }

    void copy_str(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const bool is_null = operation.is_null(Field::out);
        Room room(operation.size);
        const Found found = in.model->index(of.model);
        agree_copied(
            operation, room,
            map_copy_str(in.library, of.library, is_null ? nullptr : room.data(), operation.size),
            found);
    }

    void dup_str(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Found found = in.model->index(of.model);
        char nothing;
        char *copy = &nothing;
        const int result =
            map_dup_str(in.library, of.library, operation.is_null(Field::out) ? nullptr : &copy);
        agree_duplicate(operation, result, copy, &nothing, found);
    }

    void casecmp_str(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = text(operation, in, of);
        agree_in_order("result", map_casecmp_str(in.library, of.library, value.text()),
                       in.model->casecmp(of.model, value.model));
    }

    // Names of map arrays are copied where the library does not let them lie in what it erases.
    Key name(const Operation &operation, const Pair &in)
    {
        Key of = key(operation, in, names(), Field::name);
        if (of.model != nullptr && of.model->size() >= 127) {
            of.library = of.model->c_str();
        }
        return of;
    }

    void array_init(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        agree("result", map_array_init(in.library, of.library), in.model->array_init(of.model));
    }

    void array_get_max(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        const bool is_null = operation.is_null(Field::out);
        int count = 77;
        int expected = 77;
        const int result = map_array_get_max(in.library, of.library, is_null ? nullptr : &count);
        agree("result", result, is_null ? EINVAL : in.model->array_get_max(of.model, expected));
        agree("count", count, expected);
    }

    void array_get_key(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        const bool is_null = operation.is_null(Field::out);
        const auto position = static_cast<int>(operation.position);
        Room room(operation.size);
        const int result =
            map_array_get_key(in.library, of.library, position, is_null ? nullptr : room.data(),
                              operation.size, operation.limit);
        std::string element;
        const int expected =
            is_null && operation.size != 0
                ? EINVAL
                : in.model->array_get_key(of.model, position, operation.limit, element);
        agree("result", result, expected);
        Room written(operation.size);
        if (expected == 0 && !is_null) {
            written.write(element, operation.size);
        }
        agree("buffer", room.bytes(), written.bytes());
    }

    void array_append(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        const bool is_null = operation.is_null(Field::out);
        const std::string name_before = of.model == nullptr ? "" : *of.model;
        Room room(operation.size);
        const int result = map_array_append(in.library, of.library, is_null ? nullptr : room.data(),
                                            operation.size);
        if (is_null && operation.size != 0) {
            agree("result", result, EINVAL);
            return;
        }
        std::string element;
        bool count_was_read = false;
        const int expected = in.model->array_append(of.model, element, count_was_read);
        agree("result", result, expected);
        Room written(operation.size);
        if (count_was_read && !is_null) {
            written.write((name_before + ":max").substr(0, 3), operation.size);
        }
        if (expected == 0 && !is_null) {
            written.write(element, operation.size);
        }
        agree("buffer", room.bytes(), written.bytes());
    }

    void array_pop(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        agree("result", map_array_pop(in.library, of.library), in.model->array_pop(of.model));
    }

    void array_clear(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = name(operation, in);
        int count = 0;
        in.model->array_get_max(of.model, count);
        // Its cost is the count, which may be any number that was stored.
        if (count <= 1000) {
            agree("result", map_array_clear(in.library, of.library),
                  in.model->array_clear(of.model));
        }
    }

    void compare_node(const map_entry_t &node, const MapEntry &entry) override
    {
        const auto *behind = reinterpret_cast<const char *>(&node + 1);
        agree<const void *>("place of value", node.value, behind);
        agree("length", std::size_t{node.valuesz}, entry.value.size());
        agree<const void *>("place of key", node.key, behind + entry.value.size());
        if (agrees()) {
            agree_bytes("value", node.value, node.valuesz, entry.value);
        }
    }
};

std::vector<Kind> MapWorld::kinds()
{
    using F = Field;
    std::vector<Kind> all = common_kinds();
    const std::vector<Kind> own = {
        kind<MapWorld, &MapWorld::insert>("insert", 90, {F::first, F::key, F::bytes}),
        kind<MapWorld, &MapWorld::replace>("replace", 60, {F::first, F::key, F::bytes}),
        kind<MapWorld, &MapWorld::index>("index", 30, {F::first, F::key, F::out, F::other_out}),
        kind<MapWorld, &MapWorld::get_entry>("get_entry", 10, {F::first, F::key}),
        kind<MapWorld, &MapWorld::walk>("walk", 8, {F::first, F::out}),
        kind<MapWorld, &MapWorld::print_sorted>("print_sorted", 3,
                                                {F::first, F::out, F::other_out}),
        kind<MapWorld, &MapWorld::raw_dump>("raw_dump", 3, {F::first, F::out}),
        kind<MapWorld, &MapWorld::cmp>("cmp", 20, {F::first, F::key, F::bytes}),
        kind<MapWorld, &MapWorld::copy_dst_hashsize>("copy_dst_hashsize", 4, {F::first, F::second}),
        kind<MapWorld, &MapWorld::cmp_typed>("cmp typed", 30,
                                             {F::first, F::key, F::row, F::number, F::text}),
        kind<MapWorld, &MapWorld::replace_typed>("replace typed", 60,
                                                 {F::first, F::key, F::row, F::number, F::text}),
        kind<MapWorld, &MapWorld::insert_typed>("insert typed", 60,
                                                {F::first, F::key, F::row, F::number, F::text}),
        kind<MapWorld, &MapWorld::get>("get typed", 80,
                                       {F::first, F::key, F::get_row, F::number, F::out}),
        kind<MapWorld, &MapWorld::replace_and_get>(
            "replace, get typed", 60, {F::first, F::key, F::bytes, F::get_row, F::number, F::out}),
        kind<MapWorld, &MapWorld::replace_fmt>("replace_fmt", 10,
                                               {F::first, F::key, F::format, F::text, F::number}),
        kind<MapWorld, &MapWorld::insert_fmt>("insert_fmt", 10,
                                              {F::first, F::key, F::format, F::text, F::number}),
        kind<MapWorld, &MapWorld::copy_str>("copy_str", 20, {F::first, F::key, F::out, F::room}),
        kind<MapWorld, &MapWorld::dup_str>("dup_str", 10, {F::first, F::key, F::out}),
        kind<MapWorld, &MapWorld::casecmp_str>("casecmp_str", 20, {F::first, F::key, F::text}),
        kind<MapWorld, &MapWorld::array_init>("array_init", 10, {F::first, F::name}),
        kind<MapWorld, &MapWorld::array_get_max>("array_get_max", 8, {F::first, F::name, F::out}),
        kind<MapWorld, &MapWorld::array_get_key>(
            "array_get_key", 12, {F::first, F::name, F::position, F::out, F::room, F::count}),
        kind<MapWorld, &MapWorld::array_append>("array_append", 12,
                                                {F::first, F::name, F::out, F::room}),
        kind<MapWorld, &MapWorld::array_pop>("array_pop", 12, {F::first, F::name}),
        kind<MapWorld, &MapWorld::array_clear>("array_clear", 4, {F::first, F::name}),
    };
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

const Family &map_family()
{
    static const Family family("map", MapWorld::kinds(),
                               [] { return std::unique_ptr<World>(new MapWorld); });
    return family;
}

} // namespace model
