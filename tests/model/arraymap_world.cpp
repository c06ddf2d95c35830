#include "list_world.hpp"

#include <textmaps/arraymap.h>

namespace model {

namespace {

struct Row {
    Type type;
    int (*insert)(arraymap_t *map, const char *key, const Given &given);
    int (*replace)(arraymap_t *map, const char *key, std::uint32_t index, const Given &given);
    int (*delete_value)(arraymap_t *map, const char *key, const Given &given);
    Reading (*get)(const arraymap_t *map, const char *key, std::uint32_t position,
                   std::uint64_t number, bool is_null);
};

struct ArraymapApi : ListApi<arraymap_t, arraymap_key_t, arraymap_value_t, ArraymapModel> {
    using KeyIterator = arraymap_key_iter_t;

    static constexpr auto init = arraymap_init;
    static constexpr auto destroy = arraymap_destroy;
    static constexpr auto clear = arraymap_clear;
    static constexpr auto insert = arraymap_insert;
    static constexpr auto delete_value = arraymap_delete;
    static constexpr auto remove = arraymap_remove;
    static constexpr auto erase = arraymap_erase;
    static constexpr auto index = arraymap_index;
    static constexpr auto haskey = arraymap_haskey;
    static constexpr auto key_first = arraymap_key_first;
    static constexpr auto key_next = arraymap_key_next;
    static constexpr auto key_elem = arraymap_key_elem;
    static constexpr auto key_count = arraymap_key_count;
    static constexpr auto key_name = arraymap_key_name;
    static constexpr auto isempty = arraymap_isempty;
    static constexpr auto dump = arraymap_dump;
    static constexpr auto sndump = arraymap_sndump;
    static constexpr auto print = arraymap_print;
    static constexpr auto sethashsize = arraymap_sethashsize;
    static constexpr auto sethashfunc = arraymap_sethashfunc;
    static constexpr auto setcasekeys = arraymap_setcasekeys;
    static constexpr auto setmaxkeys = arraymap_setmaxkeys;
    static constexpr auto setmaxvalues = arraymap_setmaxvalues;
    static constexpr auto isequal = arraymap_isequal;
    static constexpr auto intersection = arraymap_intersection;
    static constexpr auto unite = arraymap_union;
    static constexpr auto merge = arraymap_merge;
    static constexpr auto copy = arraymap_copy;
    static constexpr auto insert_fmt = arraymap_insert_fmt;
    static constexpr auto delete_fmt = arraymap_delete_fmt;
    static constexpr auto copy_str = arraymap_copy_str;
    static constexpr auto dup_str = arraymap_dup_str;

    static constexpr Row rows[] = {
        {Type::uint64, store<arraymap_insert_uint64>, store_at<arraymap_replace_uint64>,
         store<arraymap_delete_uint64>, read<arraymap_get_uint64>},
        {Type::int64, store<arraymap_insert_int64>, store_at<arraymap_replace_int64>,
         store<arraymap_delete_int64>, read<arraymap_get_int64>},
        {Type::uint32, store<arraymap_insert_uint32>, store_at<arraymap_replace_uint32>,
         store<arraymap_delete_uint32>, read<arraymap_get_uint32>},
        {Type::int32, store<arraymap_insert_int32>, store_at<arraymap_replace_int32>,
         store<arraymap_delete_int32>, read<arraymap_get_int32>},
        {Type::time, store<arraymap_insert_time>, store_at<arraymap_replace_time>,
         store<arraymap_delete_time>, read<arraymap_get_time>},
        {Type::uint16, store<arraymap_insert_uint16>, store_at<arraymap_replace_uint16>,
         store<arraymap_delete_uint16>, read<arraymap_get_uint16>},
        {Type::int16, store<arraymap_insert_int16>, store_at<arraymap_replace_int16>,
         store<arraymap_delete_int16>, read<arraymap_get_int16>},
        {Type::uint8, store<arraymap_insert_uint8>, store_at<arraymap_replace_uint8>,
         store<arraymap_delete_uint8>, read<arraymap_get_uint8>},
        {Type::int8, store<arraymap_insert_int8>, store_at<arraymap_replace_int8>,
         store<arraymap_delete_int8>, read<arraymap_get_int8>},
        {Type::boolean, store<arraymap_insert_bool>, store_at<arraymap_replace_bool>,
         store<arraymap_delete_bool>, read<arraymap_get_bool>},
        {Type::uint, store<arraymap_insert_uint>, store_at<arraymap_replace_uint>,
         store<arraymap_delete_uint>, read<arraymap_get_uint>},
        {Type::integer, store<arraymap_insert_int>, store_at<arraymap_replace_int>,
         store<arraymap_delete_int>, read<arraymap_get_int>},
        {Type::uchar, store<arraymap_insert_uchar>, store_at<arraymap_replace_uchar>,
         store<arraymap_delete_uchar>, read<arraymap_get_uchar>},
        {Type::character, store<arraymap_insert_char>, store_at<arraymap_replace_char>,
         store<arraymap_delete_char>, read<arraymap_get_char>},
        {Type::macaddr, store<arraymap_insert_macaddr>, store_at<arraymap_replace_macaddr>,
         store<arraymap_delete_macaddr>, read<arraymap_get_macaddr>},
        {Type::ipaddr, store<arraymap_insert_ipaddr>, store_at<arraymap_replace_ipaddr>,
         store<arraymap_delete_ipaddr>, read<arraymap_get_ipaddr>},
        {Type::cidr, store<arraymap_insert_cidr>, store_at<arraymap_replace_cidr>,
         store<arraymap_delete_cidr>, read<arraymap_get_cidr>},
        {Type::str, store<arraymap_insert_str>, store_at<arraymap_replace_str>,
         store<arraymap_delete_str>, nullptr},
    };

    static std::string header(const ArraymapModel &model, const arraymap_t *library)
    {
        return model.header("arraymap", library);
    }
};

} // namespace

class ArraymapWorld : public ListWorld<ArraymapApi> {
  public:
    static std::vector<Kind> kinds();

  private:
    void init_special(const Operation &operation)
    {
        const Pair in = container(operation);
        if (in.library != nullptr) {
            arraymap_destroy(in.library);
            std::memset(in.library, 0xA5, sizeof *in.library);
            in.model->start(operation.size);
        }
        agree("result", arraymap_init_special(in.library, operation.size),
              in.library == nullptr ? EINVAL : 0);
    }

    void replace(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Value value = bytes(operation, in, of);
        agree("result",
              arraymap_replace(in.library, of.library, operation.position, value.library,
                               value.length),
              in.model->replace(of.model, operation.position, value.model, value.length));
    }

    void replace_typed(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Given value = given(operation, text(operation, in, of));
        const Row &row = ArraymapApi::rows[operation.row];
        const auto converted = text_of(row.type, value);
        const std::string stored = converted.value_or("") + '\0';
        agree("result", row.replace(in.library, of.library, operation.position, value),
              converted ? in.model->replace(of.model, operation.position, &stored, 0) : EINVAL);
    }

    void replace_fmt(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const Format format = formatted(operation, text(operation, in, of));
        const int result =
            arraymap_replace_fmt(in.library, of.library, operation.position, format.format,
                                 format.text, format.number, format.unconvertible);
        if (in.model->missing || of.model == nullptr || format.format == nullptr) {
            agree("result", result, EINVAL);
        } else if (format.fails) {
            agree("result", result, EILSEQ);
        } else {
            agree("result", result,
                  in.model->replace(of.model, operation.position, &format.stored, 0));
        }
    }

    void walk_values(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        const bool is_null = operation.is_null(Field::out);
        arraymap_value_iter_t iterator = {nullptr, 77, nullptr, nullptr};
        arraymap_value_iter_t *given = is_null ? nullptr : &iterator;
        agree_pointer("next of one that never started", arraymap_value_next(given), nullptr);
        const void *at = arraymap_value_first(in.library, of.library, given);
        const ListEntry *entry = is_null ? nullptr : in.model->look_up(of.model);
        const bool starts = !is_null && in.model->has_buckets() && of.model != nullptr;
        agree_pointer("map of iterator", iterator.map, starts ? in.library : nullptr);
        agree("position of iterator", iterator.position, starts ? 0U : 77U);
        if (entry == nullptr) {
            agree_pointer("first", at, nullptr);
            agree_pointer("key of iterator", iterator.key, nullptr);
            agree_current(given, nullptr, 0, 0);
            agree_pointer("next", arraymap_value_next(given), nullptr);
            return;
        }
        const arraymap_key_t *node = node_of(in, *entry);
        agree_pointer("key of iterator", iterator.key, node);
        const arraymap_value_t *value = nullptr;
        const std::size_t count = entry->values.size();
        for (std::size_t i = 0; i < count; ++i) {
            value = ArraymapApi::value_node(*node, i);
            agree_pointer("value", at, value->data);
            agree_current(given, value, i, count);
            at = arraymap_value_next(given);
        }
        agree_pointer("value after the end", at, nullptr);
        agree_current(given, value, count, count);
        agree_pointer("next after the end", arraymap_value_next(given), nullptr);
        agree_current(given, value, count + 1, count);
    }

    void agree_current(const arraymap_value_iter_t *iterator, const arraymap_value_t *value,
                       std::size_t position, std::size_t count)
    {
        agree_pointer("current value", arraymap_value_elem(iterator),
                      value == nullptr ? nullptr : value->data);
        agree("current length", arraymap_value_size(iterator), value == nullptr ? 0 : value->len);
        agree("current position", std::size_t{arraymap_value_index(iterator)}, position);
        agree("count", std::size_t{arraymap_value_count(iterator)}, count);
    }

    void compare_value(const arraymap_value_t &value, const ListValue &modelled) override
    {
        agree("index", value.index, modelled.index);
    }
};

std::vector<Kind> ArraymapWorld::kinds()
{
    using F = Field;
    std::vector<Kind> all = common_kinds();
    const std::vector<Kind> own = {
        kind<ArraymapWorld, &ArraymapWorld::init_special>("init_special", 2,
                                                          {F::first, F::hashsize}),
        kind<ArraymapWorld, &ArraymapWorld::replace>("replace", 60,
                                                     {F::first, F::key, F::position, F::bytes}),
        kind<ArraymapWorld, &ArraymapWorld::replace_typed>(
            "replace typed", 60, {F::first, F::key, F::position, F::row, F::number, F::text}),
        kind<ArraymapWorld, &ArraymapWorld::replace_fmt>(
            "replace_fmt", 10, {F::first, F::key, F::position, F::format, F::text, F::number}),
        kind<ArraymapWorld, &ArraymapWorld::walk_values>("walk values", 20,
                                                         {F::first, F::key, F::out}),
    };
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

const Family &arraymap_family()
{
    static const Family family("arraymap", ArraymapWorld::kinds(),
                               [] { return std::unique_ptr<World>(new ArraymapWorld); });
    return family;
}

} // namespace model
