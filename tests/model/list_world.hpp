// What the worlds of the two families that keep lists have in common.
#pragma once

#include "list_model.hpp"
#include "table_world.hpp"

namespace model {

// The functions that are called alike. Names: those of the functions without the family.
template <class Record_, class Node_, class ValueNode_, class Model_>
struct ListApi {
    using Record = Record_;
    using Node = Node_;
    using ValueNode = ValueNode_;
    using Model = Model_;
    using Entry = ListEntry;
    using Count = std::uint32_t;

    static constexpr const char *empty_notice = "map is empty\n";
    static constexpr const char *printed_indent = "";
    static constexpr const char *dumped_indent = "";

    static std::size_t value_count(const ListEntry &entry)
    {
        return entry.values.size();
    }
    static const std::string &value(const ListEntry &entry, std::size_t at)
    {
        return entry.values[at].data;
    }
    // The library's node for a value of the model; an empty one if its list ends too early.
    static const ValueNode *value_node(const Node &node, std::size_t at)
    {
        static const ValueNode empty = {};
        const ValueNode *value = node.values.first;
        for (; value != nullptr && at != 0; --at) {
            value = value->next;
        }
        return value == nullptr ? &empty : value;
    }
    static const void *data(const Node &node, std::size_t at)
    {
        const void *data = value_node(node, at)->data;
        return data == nullptr ? "" : data;
    }
    static const Node *empty_node()
    {
        static const Node node = [] {
            Node empty{};
            empty.key = "";
            return empty;
        }();
        return &node;
    }
};

template <class Api>
class ListWorld : public TableWorld<Api> {
  protected:
    using Base = TableWorld<Api>;
    using typename Base::Key;
    using typename Base::Model;
    using typename Base::Node;
    using typename Base::Pair;
    using typename Base::Record;
    using typename Base::Value;
    using ValueNode = typename Api::ValueNode;

    static std::vector<Kind> common_kinds()
    {
        using F = Field;
        std::vector<Kind> all = Base::common_kinds();
        const std::vector<Kind> own = {
            kind<ListWorld, &ListWorld::insert>("insert", 150, {F::first, F::key, F::bytes}),
            kind<ListWorld, &ListWorld::delete_value>("delete", 30, {F::first, F::key, F::bytes}),
            kind<ListWorld, &ListWorld::remove>("remove", 25, {F::first, F::key, F::position}),
            kind<ListWorld, &ListWorld::index>(
                "index", 30, {F::first, F::key, F::position, F::out, F::other_out}),
            kind<ListWorld, &ListWorld::walk_keys>("walk keys", 6, {F::first, F::out}),
            kind<ListWorld, &ListWorld::setmaxvalues>("setmaxvalues", 6, {F::first, F::limit}),
            kind<ListWorld, &ListWorld::unite>("union", 4, {F::first, F::second, F::third}),
            kind<ListWorld, &ListWorld::insert_typed>(
                "insert typed", 100, {F::first, F::key, F::row, F::number, F::text}),
            kind<ListWorld, &ListWorld::delete_typed>(
                "delete typed", 40, {F::first, F::key, F::row, F::number, F::text}),
            kind<ListWorld, &ListWorld::get_typed>(
                "get typed", 80, {F::first, F::key, F::position, F::get_row, F::number, F::out}),
            kind<ListWorld, &ListWorld::insert_and_get>(
                "insert, get typed", 60,
                {F::first, F::key, F::bytes, F::get_row, F::number, F::out}),
            kind<ListWorld, &ListWorld::insert_fmt>(
                "insert_fmt", 10, {F::first, F::key, F::format, F::text, F::number}),
            kind<ListWorld, &ListWorld::delete_fmt>(
                "delete_fmt", 10, {F::first, F::key, F::format, F::text, F::number}),
            kind<ListWorld, &ListWorld::copy_str>("copy_str", 20,
                                                  {F::first, F::key, F::position, F::out, F::room}),
            kind<ListWorld, &ListWorld::dup_str>("dup_str", 10,
                                                 {F::first, F::key, F::position, F::out}),
        };
        all.insert(all.end(), own.begin(), own.end());
        return all;
    }

    void insert(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const Value value = this->bytes(operation, in, of);
        this->agree("result", Api::insert(in.library, of.library, value.library, value.length),
                    in.model->insert(of.model, value.model));
    }

    void delete_value(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const Value value = this->bytes(operation, in, of);
        this->agree("result",
                    Api::delete_value(in.library, of.library, value.library, value.length),
                    in.model->delete_value(of.model, value.model));
    }

    void remove(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        this->agree("result", Api::remove(in.library, of.library, operation.position),
                    in.model->remove(of.model, operation.position));
    }

    void index(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const void *value = this->untouched;
        std::uint32_t length = this->untouched_length;
        const int result = Api::index(in.library, of.library, operation.position,
                                      operation.is_null(Field::out) ? nullptr : &value,
                                      operation.is_null(Field::other_out) ? nullptr : &length);
        const Found found = in.model->index(of.model, operation.position);
        const void *node_value = nullptr;
        if (found.result == 0) {
            const Node *node = this->node_of(in, *in.model->look_up(of.model));
            node_value = Api::data(*node, operation.position);
        }
        this->agree_found(operation, result, found, value, length, node_value);
    }

    void walk_keys(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const bool is_null = operation.is_null(Field::out);
        typename Api::KeyIterator iterator = {nullptr, 77, nullptr};
        auto *given = is_null ? nullptr : &iterator;
        agree_pointer("next of one that never started", Api::key_next(given), nullptr);
        const char *at = Api::key_first(in.library, given);
        if (is_null || !in.model->has_buckets()) {
            agree_pointer("first", at, nullptr);
            agree_pointer("map of an iterator that never started", iterator.map, nullptr);
            this->agree("its bucket", iterator.bucket, 77U);
            agree_pointer("its key", Api::key_elem(given), nullptr);
            return;
        }
        agree_pointer("map of iterator", iterator.map, in.library);
        const Node *node = nullptr;
        for (const ListEntry *entry : in.model->entries()) {
            node = this->node_of(in, *entry);
            agree_pointer("key", at, node->key);
            agree_pointer("current key", Api::key_elem(given), node->key);
            agree_pointer("node of iterator", iterator.node, node);
            this->agree("bucket of iterator", std::size_t{iterator.bucket},
                        in.model->bucket_of(entry->key));
            at = Api::key_next(given);
        }
        for (int i = 0; i < 2; ++i) {
            agree_pointer("key after the end", at, nullptr);
            this->agree("bucket after the end", iterator.bucket, in.model->hashsize());
            agree_pointer("node of iterator after the end", iterator.node, node);
            agree_pointer("current key after the end", Api::key_elem(given),
                          node == nullptr ? nullptr : node->key);
            at = Api::key_next(given);
        }
    }

    void setmaxvalues(const Operation &operation)
    {
        const Pair in = this->container(operation);
        this->agree("result", Api::setmaxvalues(in.library, operation.limit),
                    in.model->setmaxvalues(operation.limit));
    }

    void unite(const Operation &operation)
    {
        const Pair a = this->container(operation);
        const Pair b = this->container(operation, Field::second);
        const Pair into = this->container(operation, Field::third);
        if (this->too_large_together(a, b)) {
            return;
        }
        this->agree("result", Api::unite(a.library, b.library, into.library),
                    into.model->unite(*a.model, *b.model));
    }

    void insert_typed(const Operation &operation)
    {
        const auto function = Api::rows[operation.row].insert;
        store_typed(operation, function, &Model::insert);
    }

    void delete_typed(const Operation &operation)
    {
        const auto function = Api::rows[operation.row].delete_value;
        store_typed(operation, function, &Model::delete_value);
    }

    void store_typed(const Operation &operation,
                     int (*function)(Record *map, const char *key, const Given &given),
                     int (Model::*store)(Text key, Text value))
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const Given value = this->given(operation, this->text(operation, in, of));
        const auto converted = text_of(Api::rows[operation.row].type, value);
        const std::string stored = converted.value_or("") + '\0';
        this->agree("result", function(in.library, of.library, value),
                    converted ? (in.model->*store)(of.model, &stored) : EINVAL);
    }

    void insert_fmt(const Operation &operation)
    {
        store_formatted(operation, Api::insert_fmt, &Model::insert);
    }

    void delete_fmt(const Operation &operation)
    {
        store_formatted(operation, Api::delete_fmt, &Model::delete_value);
    }

    void store_formatted(const Operation &operation,
                         int (*function)(Record *map, const char *key, const char *format, ...),
                         int (Model::*store)(Text key, Text value))
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const auto format = this->formatted(operation, this->text(operation, in, of));
        const int result = function(in.library, of.library, format.format, format.text,
                                    format.number, format.unconvertible);
        if (in.model->missing || of.model == nullptr || format.format == nullptr) {
            this->agree("result", result, EINVAL);
        } else if (format.fails) {
            this->agree("result", result, EILSEQ);
        } else {
            this->agree("result", result, (in.model->*store)(of.model, &format.stored));
        }
    }

    void get_typed(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        const auto &row = Api::rows[operation.row];
        const Reading reading = row.get(in.library, of.library, operation.position,
                                        operation.number, operation.is_null(Field::out));
        this->agree_reading(operation, row.type, reading,
                            in.model->index(of.model, operation.position));
    }

    // As another program may have left it.
    void insert_and_get(const Operation &operation)
    {
        insert(operation);
        const Pair in = this->container(operation);
        const ListEntry *entry = in.model->look_up(this->key(operation, in).model);
        Operation last = operation;
        last.position = entry == nullptr ? 0 : static_cast<std::uint32_t>(entry->values.size() - 1);
        get_typed(last);
    }

    void copy_str(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        Room room(operation.size);
        const int result =
            Api::copy_str(in.library, of.library, operation.position,
                          operation.is_null(Field::out) ? nullptr : room.data(), operation.size);
        this->agree_copied(operation, room, result, in.model->index(of.model, operation.position));
    }

    void dup_str(const Operation &operation)
    {
        const Pair in = this->container(operation);
        const Key of = this->key(operation, in);
        char nothing;
        char *copy = &nothing;
        const int result = Api::dup_str(in.library, of.library, operation.position,
                                        operation.is_null(Field::out) ? nullptr : &copy);
        this->agree_duplicate(operation, result, copy, &nothing,
                              in.model->index(of.model, operation.position));
    }

    void agree_pointer(const char *what, const void *library, const void *model)
    {
        this->agree(what, library, model);
    }

  private:
    void compare_own_settings(const Record &record, const Model &model) override
    {
        this->agree("maxvalues", record.maxvalues, model.maxvalues);
        this->agree("numvalues", record.numvalues, model.numvalues);
    }

    void compare_node(const Node &node, const ListEntry &entry) override
    {
        agree_pointer("place of key", node.key, &node + 1);
        this->agree("count", std::size_t{node.count}, entry.values.size());
        const void *link = &node.values.first;
        const ValueNode *value = node.values.first;
        for (const ListValue &modelled : entry.values) {
            if (value == nullptr) {
                this->differ("list", "ends", "goes on with " + quoted(modelled.data));
                return;
            }
            this->agree_node(value, modelled.node);
            agree_pointer("back link of value", value->prev, link);
            agree_pointer("place of value", value->data, value + 1);
            this->agree("length", std::size_t{value->len}, modelled.data.size());
            compare_value(*value, modelled);
            if (!this->agrees()) {
                return;
            }
            this->agree_bytes("value", value->data, value->len, modelled.data);
            link = &value->next;
            value = value->next;
        }
        agree_pointer("end of list", value, nullptr);
        agree_pointer("tail of list", node.values.last, link);
    }

    virtual void compare_value(const ValueNode &, const ListValue &)
    {
    }
};

} // namespace model
