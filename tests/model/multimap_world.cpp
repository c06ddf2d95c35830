#include "list_world.hpp"

#include <textmaps/multimap.h>

namespace model {

namespace {

struct Row {
    Type type;
    int (*find)(const multimap_t *map, const char *key, const Given &given,
                std::uint32_t *position);
    int (*insert)(multimap_t *map, const char *key, const Given &given);
    int (*delete_value)(multimap_t *map, const char *key, const Given &given);
    Reading (*get)(const multimap_t *map, const char *key, std::uint32_t position,
                   std::uint64_t number, bool is_null);
};

struct MultimapApi : ListApi<multimap_t, multimap_key_t, multimap_value_t, MultimapModel> {
    using KeyIterator = multimap_key_iter_t;

    static constexpr auto init = multimap_init;
    static constexpr auto destroy = multimap_destroy;
    static constexpr auto clear = multimap_clear;
    static constexpr auto insert = multimap_insert;
    static constexpr auto delete_value = multimap_delete;
    static constexpr auto remove = multimap_remove;
    static constexpr auto erase = multimap_erase;
    static constexpr auto index = multimap_index;
    static constexpr auto haskey = multimap_haskey;
    static constexpr auto key_first = multimap_key_first;
    static constexpr auto key_next = multimap_key_next;
    static constexpr auto key_elem = multimap_key_elem;
    static constexpr auto key_count = multimap_key_count;
    static constexpr auto key_name = multimap_key_name;
    static constexpr auto isempty = multimap_isempty;
    static constexpr auto dump = multimap_dump;
    static constexpr auto sndump = multimap_sndump;
    static constexpr auto print = multimap_print;
    static constexpr auto sethashsize = multimap_sethashsize;
    static constexpr auto sethashfunc = multimap_sethashfunc;
    static constexpr auto setcasekeys = multimap_setcasekeys;
    static constexpr auto setmaxkeys = multimap_setmaxkeys;
    static constexpr auto setmaxvalues = multimap_setmaxvalues;
    static constexpr auto isequal = multimap_isequal;
    static constexpr auto intersection = multimap_intersection;
    static constexpr auto unite = multimap_union;
    static constexpr auto merge = multimap_merge;
    static constexpr auto copy = multimap_copy;
    static constexpr auto insert_fmt = multimap_insert_fmt;
    static constexpr auto delete_fmt = multimap_delete_fmt;
    static constexpr auto copy_str = multimap_copy_str;
    static constexpr auto dup_str = multimap_dup_str;

    static constexpr Row rows[] = {
        {Type::uint64, find<multimap_find_uint64>, store<multimap_insert_uint64>,
         store<multimap_delete_uint64>, read<multimap_get_uint64>},
        {Type::int64, find<multimap_find_int64>, store<multimap_insert_int64>,
         store<multimap_delete_int64>, read<multimap_get_int64>},
        {Type::uint32, find<multimap_find_uint32>, store<multimap_insert_uint32>,
         store<multimap_delete_uint32>, read<multimap_get_uint32>},
        {Type::int32, find<multimap_find_int32>, store<multimap_insert_int32>,
         store<multimap_delete_int32>, read<multimap_get_int32>},
        {Type::time, find<multimap_find_time>, store<multimap_insert_time>,
         store<multimap_delete_time>, read<multimap_get_time>},
        {Type::uint16, find<multimap_find_uint16>, store<multimap_insert_uint16>,
         store<multimap_delete_uint16>, read<multimap_get_uint16>},
        {Type::int16, find<multimap_find_int16>, store<multimap_insert_int16>,
         store<multimap_delete_int16>, read<multimap_get_int16>},
        {Type::uint8, find<multimap_find_uint8>, store<multimap_insert_uint8>,
         store<multimap_delete_uint8>, read<multimap_get_uint8>},
        {Type::int8, find<multimap_find_int8>, store<multimap_insert_int8>,
         store<multimap_delete_int8>, read<multimap_get_int8>},
        {Type::boolean, find<multimap_find_bool>, store<multimap_insert_bool>,
         store<multimap_delete_bool>, read<multimap_get_bool>},
        {Type::uint, find<multimap_find_uint>, store<multimap_insert_uint>,
         store<multimap_delete_uint>, read<multimap_get_uint>},
        {Type::integer, find<multimap_find_int>, store<multimap_insert_int>,
         store<multimap_delete_int>, read<multimap_get_int>},
        {Type::uchar, find<multimap_find_uchar>, store<multimap_insert_uchar>,
         store<multimap_delete_uchar>, read<multimap_get_uchar>},
        {Type::character, find<multimap_find_char>, store<multimap_insert_char>,
         store<multimap_delete_char>, read<multimap_get_char>},
        {Type::macaddr, find<multimap_find_macaddr>, store<multimap_insert_macaddr>,
         store<multimap_delete_macaddr>, read<multimap_get_macaddr>},
        {Type::ipaddr, find<multimap_find_ipaddr>, store<multimap_insert_ipaddr>,
         store<multimap_delete_ipaddr>, read<multimap_get_ipaddr>},
        {Type::cidr, find<multimap_find_cidr>, store<multimap_insert_cidr>,
         store<multimap_delete_cidr>, read<multimap_get_cidr>},
        {Type::str, find<multimap_find_str>, store<multimap_insert_str>, store<multimap_delete_str>,
         nullptr},
    };

    static std::string header(const MultimapModel &model, const multimap_t *library)
    {
        return model.header("multimap", library);
    }
};

} // namespace

class MultimapWorld : public ListWorld<MultimapApi> {
  public:
    static std::vector<Kind> kinds();

  private:
    void find_value(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = bytes(operation, in, of);
        std::uint32_t position = untouched_length;
        const int result = multimap_find(in.library, of.library, value.library, value.length,
                                         operation.is_null(Field::out) ? nullptr : &position);
        std::uint32_t expected = untouched_length;
        agree("result", result, in.model->find_value(of.model, value.model, expected));
        agree("position", position, operation.is_null(Field::out) ? untouched_length : expected);
    }

    void find_typed(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Given value = given(operation, text(operation, in, of));
        const Row &row = MultimapApi::rows[operation.row];
        const auto converted = text_of(row.type, value);
        const std::string stored = converted.value_or("") + '\0';
        std::uint32_t position = untouched_length;
        const int result = row.find(in.library, of.library, value,
                                    operation.is_null(Field::out) ? nullptr : &position);
        std::uint32_t expected = untouched_length;
        agree("result", result,
              converted ? in.model->find_value(of.model, &stored, expected) : EINVAL);
        agree("position", position, operation.is_null(Field::out) ? untouched_length : expected);
    }

    void casefind_str(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = text(operation, in, of);
        std::uint32_t position = untouched_length;
        const int result =
            multimap_casefind_str(in.library, of.library, value.text(),
                                  operation.is_null(Field::out) ? nullptr : &position);
        std::uint32_t expected = untouched_length;
        agree("result", result, in.model->casefind(of.model, value.model, expected));
        agree("position", position, operation.is_null(Field::out) ? untouched_length : expected);
    }

    void walk_values(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const bool is_null = operation.is_null(Field::out);
        multimap_value_iter_t iterator = {nullptr, nullptr, nullptr};
        multimap_value_iter_t *given = is_null ? nullptr : &iterator;
        agree_pointer("next of one that never started", multimap_value_next(given), nullptr);
        const void *at = multimap_value_first(in.library, of.library, given);
        const ListEntry *entry = is_null ? nullptr : in.model->look_up(of.model);
        const bool starts = !is_null && in.model->has_buckets() && of.model != nullptr;
        agree_pointer("map of iterator", iterator.map, starts ? in.library : nullptr);
        agree_pointer("key of iterator", iterator.key, starts ? of.library : nullptr);
        if (entry == nullptr) {
            agree_pointer("first", at, nullptr);
            agree_current(given, nullptr, 0);
            agree_pointer("next", multimap_value_next(given), nullptr);
            return;
        }
        const multimap_key_t *node = node_of(in, *entry);
        const multimap_value_t *value = nullptr;
        const std::size_t count = entry->values.size();
        for (std::size_t i = 0; i < count; ++i) {
            value = MultimapApi::value_node(*node, i);
            agree_pointer("value", at, value->data);
            agree_current(given, value, count);
            at = multimap_value_next(given);
        }
        agree_pointer("value after the end", at, nullptr);
        agree_pointer("next after the end", multimap_value_next(given), nullptr);
        agree_current(given, value, count);
    }

    void agree_current(const multimap_value_iter_t *iterator, const multimap_value_t *value,
                       std::size_t count)
    {
        agree_pointer("current value", multimap_value_elem(iterator),
                      value == nullptr ? nullptr : value->data);
        agree("current length", multimap_value_size(iterator), value == nullptr ? 0 : value->len);
        agree("count", std::size_t{multimap_value_count(iterator)}, count);
    }

    // An iterator counts its key's values anew, also when the key is gone.
    void count_after_erase(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in, keys(), Field::key);
        const std::string copy = of.model == nullptr ? "" : *of.model;
        multimap_value_iter_t iterator = {nullptr, nullptr, nullptr};
        multimap_value_first(in.library, copy.c_str(), &iterator);
        agree("result", multimap_erase(in.library, copy.c_str()), in.model->erase(&copy));
        const ListEntry *left = iterator.node == nullptr ? nullptr : in.model->look_up(&copy);
        agree("count", std::size_t{multimap_value_count(&iterator)},
              left == nullptr ? 0 : left->values.size());
    }
};

std::vector<Kind> MultimapWorld::kinds()
{
    using F = Field;
    std::vector<Kind> all = common_kinds();
    const std::vector<Kind> own = {
        kind<MultimapWorld, &MultimapWorld::find_value>("find", 30,
                                                        {F::first, F::key, F::bytes, F::out}),
        kind<MultimapWorld, &MultimapWorld::find_typed>(
            "find typed", 60, {F::first, F::key, F::row, F::number, F::text, F::out}),
        kind<MultimapWorld, &MultimapWorld::casefind_str>("casefind_str", 30,
                                                          {F::first, F::key, F::text, F::out}),
        kind<MultimapWorld, &MultimapWorld::walk_values>("walk values", 20,
                                                         {F::first, F::key, F::out}),
        kind<MultimapWorld, &MultimapWorld::count_after_erase>("count after erase", 3,
                                                               {F::first, F::key}),
    };
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

const Family &multimap_family()
{
    static const Family family("multimap", MultimapWorld::kinds(),
                               [] { return std::unique_ptr<World>(new MultimapWorld); });
    return family;
}

} // namespace model
