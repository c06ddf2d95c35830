// What the worlds of the three families have in common: containers with their models, arguments
// that may lie inside them, and the operations that every family has.
//
// Api: the names of a family's record, node, model and functions.
#pragma once

#include "agreement.hpp"
#include "pools.hpp"
#include "table_model.hpp"
#include "typed_calls.hpp"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <textmaps/bucket.h>

namespace model {

// A record with what the caller keeps beside it.
template <class Record>
struct Enclosing {
    Record record;
    std::uint32_t seed;
};

template <class Record, Hash hash>
std::uint32_t library_hash(const void *container, const char *key)
{
    return hash_by(hash, static_cast<const Enclosing<Record> *>(container)->seed, key);
}

template <class Record>
map_hash_fn library_hash(Hash hash)
{
    switch (hash) {
    case Hash::builtin: return nullptr;
    case Hash::folding: return library_hash<Record, Hash::folding>;
    case Hash::case_sensitive: return library_hash<Record, Hash::case_sensitive>;
    case Hash::two_valued: return library_hash<Record, Hash::two_valued>;
    case Hash::constant: return library_hash<Record, Hash::constant>;
    }
    std::abort();
}

// What a print function was given; the beginning is the text that it may be asked to print.
struct Printed {
    char prefix[8];
    std::string text;
};

int print_to(void *context, const char *format, ...) TEXTMAPS_PRINTF(2, 3);

// What is printed to a stream.
template <class Print>
std::string streamed(bool to_null, Print print)
{
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *stream = open_memstream(&text, &size);
    if (stream == nullptr) {
        std::abort();
    }
    print(to_null ? nullptr : stream);
    std::fclose(stream);
    std::string copy(text, size);
    std::free(text);
    return copy;
}

// Room for what the library writes: the buffer is filled, so that each byte that it must not write
// can be told.
class Room {
  public:
    explicit Room(std::uint32_t size) : bytes_(size + margin, filling)
    {
    }
    char *data()
    {
        return &bytes_[0];
    }
    const std::string &bytes() const
    {
        return bytes_;
    }
    // A text, cut to what fits into a number of bytes.
    void write(const std::string &text, std::uint32_t size)
    {
        if (size != 0) {
            const std::string cut = text.substr(0, size - 1) + '\0';
            bytes_.replace(0, cut.size(), cut);
        }
    }

  private:
    static constexpr std::uint32_t margin = 8;
    static constexpr char filling = '.';

    std::string bytes_;
};

template <class Api>
class TableWorld : public ComparingWorld {
  public:
    using Record = typename Api::Record;
    using Node = typename Api::Node;
    using Model = typename Api::Model;
    using Entry = typename Api::Entry;

    TableWorld()
    {
        missing_.missing = true;
        std::uint32_t seed = 2166136261;
        for (Slot &slot : slots_) {
            slot.library.seed = slot.model.seed = seed++;
            std::memset(static_cast<void *>(&slot.library.record), 0xA5, sizeof(Record));
            agree("init", Api::init(&slot.library.record), 0);
            slot.model.start(32);
        }
    }

    ~TableWorld() override
    {
        for (Slot &slot : slots_) {
            Api::destroy(&slot.library.record);
        }
    }

    void compare_records() override
    {
        for (std::size_t i = 0; i < slots_.size() && agrees(); ++i) {
            compare_record(i);
        }
    }

    void compare_everything() override
    {
        compare_records();
        for (std::size_t i = 0; i < slots_.size() && agrees(); ++i) {
            compare_chains(i);
        }
    }

  protected:
    struct Slot {
        Enclosing<Record> library;
        Model model;
    };

    // A container as library and model get it.
    struct Pair {
        Record *library;
        Model *model;
    };

    struct Key {
        const char *library;
        Text model;
    };

    struct Value {
        const void *library;
        Text model;
        std::uint32_t length;

        const char *text() const
        {
            return static_cast<const char *>(library);
        }
    };

    Pair container(const Operation &operation, Field field = Field::first)
    {
        if (operation.is_null(field)) {
            return {nullptr, &missing_};
        }
        Slot &slot = slots_[operation.containers[static_cast<std::size_t>(field)]];
        return {&slot.library.record, &slot.model};
    }

    // Keys and values that lie inside the container are found through the model; they are copied
    // for it, since the operation may free them.

    Key key(const Operation &operation, const Pair &in, const std::vector<std::string> &pool,
            Field field)
    {
        if (operation.is_null(field)) {
            return {nullptr, nullptr};
        }
        const Argument argument = operation.key;
        const Entry *entry =
            argument.place == Place::pool ? nullptr : any_entry(*in.model, argument.choice);
        if (entry == nullptr) {
            const std::string &text = pool[argument.choice % pool.size()];
            return {text.c_str(), &text};
        }
        const Node *node = node_of(in, *entry);
        const char *library = node->key;
        key_copy_ = entry->key;
        if (argument.place == Place::stored_value) {
            const std::size_t at = argument.choice / 16 % Api::value_count(*entry);
            const std::string &value = Api::value(*entry, at);
            if (value.find('\0') != std::string::npos) {
                library = static_cast<const char *>(Api::data(*node, at));
                key_copy_ = until_nul(value);
            }
        } else if (argument.place == Place::tail_of_stored_key && !key_copy_.empty()) {
            ++library;
            key_copy_.erase(0, 1);
        }
        return {library, &key_copy_};
    }

    Key key(const Operation &operation, const Pair &in)
    {
        return key(operation, in, keys(), Field::key);
    }

    Value bytes(const Operation &operation, const Pair &in, const Key &of)
    {
        // A null pointer with a length, and with none.
        if (operation.is_null(Field::bytes)) {
            return {nullptr, nullptr, operation.value.choice % 2U};
        }
        return any_bytes(operation.value, in, of);
    }

    Value text(const Operation &operation, const Pair &in, const Key &of)
    {
        if (operation.is_null(Field::text)) {
            return {nullptr, nullptr, 0};
        }
        Value value = any_bytes(operation.value, in, of);
        if (operation.value.place != Place::pool && value.model->find('\0') == std::string::npos) {
            value.library = values().front().c_str();
            value_copy_ = values().front();
        } else {
            value_copy_ = until_nul(*value.model);
        }
        value.model = &value_copy_;
        return value;
    }

    // A typed value, with pointers into a container or pools.
    Given given(const Operation &operation, const Value &text) const
    {
        if (operation.is_null(Field::text)) {
            return {operation.number, nullptr, nullptr, nullptr, nullptr};
        }
        const auto chosen = [&operation](const auto &pool) {
            return &pool[static_cast<std::size_t>(operation.number % pool.size())];
        };
        return {operation.number, text.text(), chosen(macaddrs()), chosen(ipaddrs()),
                chosen(cidrs())};
    }

    // The library's node for an entry of the model; an empty one if its chain ends too early.
    const Node *node_of(const Pair &in, const Entry &entry)
    {
        const std::size_t bucket = in.model->bucket_of(entry.key);
        const auto *node = static_cast<const Node *>(in.library->buckets[bucket].first);
        for (const Entry &other : in.model->buckets[bucket]) {
            if (node == nullptr || &other == &entry) {
                break;
            }
            node = node->next;
        }
        if (node == nullptr) {
            differ("node", "NULL", quoted(entry.key));
            node = Api::empty_node();
        }
        return node;
    }

    // The operations of every family.

    static std::vector<Kind> common_kinds()
    {
        using F = Field;
        return {
            kind<TableWorld, &TableWorld::erase>("erase", 20, {F::first, F::key}),
            kind<TableWorld, &TableWorld::haskey>("haskey", 10, {F::first, F::key}),
            kind<TableWorld, &TableWorld::init>("init", 3, {F::first}),
            kind<TableWorld, &TableWorld::destroy>("destroy", 1, {F::first}),
            kind<TableWorld, &TableWorld::clear>("clear", 3, {F::first}),
            kind<TableWorld, &TableWorld::fill>("fill", 1, {F::first}),
            kind<TableWorld, &TableWorld::key_count>("key_count", 5, {F::first, F::out}),
            kind<TableWorld, &TableWorld::key_name>("key_name", 10, {F::first, F::ordinal}),
            kind<TableWorld, &TableWorld::print>("print", 3, {F::first, F::out}),
            kind<TableWorld, &TableWorld::dump>("dump", 3, {F::first, F::out}),
            kind<TableWorld, &TableWorld::sndump>("sndump", 6, {F::first, F::out, F::room}),
            kind<TableWorld, &TableWorld::sethashsize>("sethashsize", 8, {F::first, F::hashsize}),
            kind<TableWorld, &TableWorld::sethashfunc>("sethashfunc", 8, {F::first, F::hash}),
            kind<TableWorld, &TableWorld::setcasekeys>("setcasekeys", 12, {F::first, F::flag}),
            kind<TableWorld, &TableWorld::setmaxkeys>("setmaxkeys", 8, {F::first, F::limit}),
            kind<TableWorld, &TableWorld::isequal>("isequal", 6, {F::first, F::second}),
            kind<TableWorld, &TableWorld::intersection>("intersection", 2,
                                                        {F::first, F::second, F::third}),
            kind<TableWorld, &TableWorld::merge>("merge", 6, {F::first, F::second}),
            kind<TableWorld, &TableWorld::copy>("copy", 4, {F::first, F::second}),
        };
    }

    void init(const Operation &operation)
    {
        const Pair in = container(operation);
        if (in.library != nullptr) {
            Api::destroy(in.library);
            std::memset(static_cast<void *>(in.library), 0xA5, sizeof(Record));
            in.model->start(32);
        }
        agree("result", Api::init(in.library), in.library == nullptr ? EINVAL : 0);
    }

    void destroy(const Operation &operation)
    {
        const Pair in = container(operation);
        agree("result", Api::destroy(in.library), in.model->destroy());
    }

    void clear(const Operation &operation)
    {
        const Pair in = container(operation);
        agree("result", Api::clear(in.library), in.model->clear());
    }

    void erase(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        agree("result", Api::erase(in.library, of.library), in.model->erase(of.model));
    }

    void haskey(const Operation &operation)
    {
        const Pair in = container(operation);
        const Key of = key(operation, in);
        agree("result", Api::haskey(in.library, of.library),
              in.model->look_up(of.model) == nullptr ? 0 : 1);
    }

    void key_count(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool fails = in.model->missing || operation.is_null(Field::out);
        typename Api::Count count = 77;
        agree("result",
              Api::key_count(in.library, operation.is_null(Field::out) ? nullptr : &count),
              fails ? EINVAL : 0);
        agree("count", count, fails ? 77 : static_cast<typename Api::Count>(in.model->numkeys));
        agree("isempty", Api::isempty(in.library), in.model->numkeys == 0 ? 1 : 0);
    }

    void key_name(const Operation &operation)
    {
        const Pair in = container(operation);
        const auto ordinal = static_cast<std::int32_t>(operation.position);
        const char *found = Api::key_name(in.library, ordinal);
        const auto entries = in.model->entries();
        if (ordinal < 0 || static_cast<std::size_t>(ordinal) >= entries.size()) {
            agree("key", static_cast<const void *>(found), static_cast<const void *>(nullptr));
        } else {
            agree_stored_key(found, in, *entries[static_cast<std::size_t>(ordinal)]);
        }
    }

    void dump(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool to_null = operation.is_null(Field::out);
        const std::string text =
            streamed(to_null, [&](std::FILE *stream) { Api::dump(in.library, stream); });
        agree("text", text, to_null ? "" : dumped(in, sorted_lines(in, Api::dumped_indent)));
    }

    void sndump(const Operation &operation)
    {
        const Pair in = container(operation);
        const std::string text = dumped(in, sorted_lines(in, Api::dumped_indent));
        // Every other room is about what is needed.
        const bool tight = operation.size % 2 != 0;
        const auto length = static_cast<std::uint32_t>(text.size());
        const std::uint32_t size = tight ? length + operation.size / 2 % 8 - 3 : operation.size;
        Room room(size);
        const bool is_null = operation.is_null(Field::out);
        const std::uint32_t written =
            Api::sndump(in.library, is_null ? nullptr : room.data(), size);
        Room expected(size);
        expected.write(text, is_null ? 0 : size);
        agree("buffer", room.bytes(), expected.bytes());
        agree("result", written, is_null || size == 0 ? 0 : std::min(length, size - 1));
    }

    void print(const Operation &operation)
    {
        const Pair in = container(operation);
        const bool is_null = operation.is_null(Field::out);
        Printed printed{"> ", ""};
        Api::print(in.library, is_null ? nullptr : print_to, &printed);
        const std::string expected =
            in.model->numkeys == 0 ? Api::empty_notice : sorted_lines(in, Api::printed_indent);
        agree("text", printed.text, is_null ? "" : expected);
    }

    void sethashsize(const Operation &operation)
    {
        const Pair in = container(operation);
        agree("result", Api::sethashsize(in.library, operation.size),
              in.model->sethashsize(operation.size));
    }

    void sethashfunc(const Operation &operation)
    {
        const Pair in = container(operation);
        const auto hash = static_cast<Hash>(operation.row);
        agree("result", Api::sethashfunc(in.library, library_hash<Record>(hash)),
              in.model->sethashfunc(hash));
    }

    void setcasekeys(const Operation &operation)
    {
        const Pair in = container(operation);
        agree("result", Api::setcasekeys(in.library, operation.size),
              in.model->setcasekeys(operation.size));
    }

    void setmaxkeys(const Operation &operation)
    {
        const Pair in = container(operation);
        agree("result", Api::setmaxkeys(in.library, operation.limit),
              in.model->setmaxkeys(operation.limit));
    }

    void isequal(const Operation &operation)
    {
        const Pair a = container(operation);
        const Pair b = container(operation, Field::second);
        agree("result", Api::isequal(a.library, b.library), a.model->isequal(*b.model) ? 1 : 0);
    }

    void intersection(const Operation &operation)
    {
        const Pair a = container(operation);
        const Pair b = container(operation, Field::second);
        const Pair into = container(operation, Field::third);
        agree("result", Api::intersection(a.library, b.library, into.library),
              into.model->intersection(*a.model, *b.model));
    }

    // Arraymaps that are merged into one another again and again grow without end.
    static bool too_large_together(const Pair &a, const Pair &b)
    {
        return a.model->size() + b.model->size() > 20000;
    }

    void merge(const Operation &operation)
    {
        const Pair from = container(operation);
        const Pair into = container(operation, Field::second);
        if (too_large_together(from, into)) {
            return;
        }
        agree("result", Api::merge(from.library, into.library), into.model->merge(*from.model));
    }

    void copy(const Operation &operation)
    {
        const Pair from = container(operation);
        const Pair into = container(operation, Field::second);
        agree("result", Api::copy(from.library, into.library), into.model->copy(*from.model));
    }

    // Many keys at once.
    void fill(const Operation &operation)
    {
        const Pair in = container(operation);
        const std::string value = "filling";
        for (int i = 0; i < 300 && agrees(); ++i) {
            const std::string filling = "filling " + std::to_string(i);
            agree("result", Api::insert(in.library, filling.c_str(), filling.data(), 7),
                  in.model->insert(&filling, &value));
        }
    }

    // Every key, with what a look-up of it finds.
    std::string sorted_lines(const Pair &in, const char *indent)
    {
        std::string lines;
        for (const Entry *entry : in.model->sorted_entries()) {
            lines += indent + Model::line(entry->key, *in.model->find(entry->key));
        }
        return lines;
    }

    std::string dumped(const Pair &in, const std::string &lines)
    {
        return in.model->numkeys == 0 ? "map is empty\n"
                                      : Api::header(*in.model, in.library) + lines;
    }

    void agree_stored_key(const char *library, const Pair &in, const Entry &entry)
    {
        agree("key", static_cast<const void *>(library),
              static_cast<const void *>(node_of(in, entry)->key));
        if (agrees()) {
            agree("key", std::string(library), entry.key);
        }
    }

    // Where an entry lies must not change as long as it lives.
    void agree_node(const void *library, const void *&model)
    {
        if (model == nullptr) {
            model = library;
        }
        agree("address of node", library, model);
    }

    template <class Container, class Link>
    void agree_link(const char *what, const Container *library, const Link *model)
    {
        agree(what, static_cast<const void *>(library), static_cast<const void *>(model));
    }

    // Outputs of an index operation.

    static constexpr std::uint32_t untouched_length = 77;
    const void *const untouched = this;

    // `node_value`: where the value is, if it is there.
    void agree_found(const Operation &operation, int result, const Found &found, const void *value,
                     std::uint32_t length, const void *node_value)
    {
        agree("result", result, found.result);
        // A bad argument leaves the outputs as they are; where there is nothing, they are cleared.
        std::uint32_t expected_length = 0;
        if (found.result == 0) {
            expected_length = static_cast<std::uint32_t>(found.value->size());
        } else if (found.result == EINVAL) {
            node_value = untouched;
            expected_length = untouched_length;
        }
        agree("value", value, operation.is_null(Field::out) ? untouched : node_value);
        agree("length", length,
              operation.is_null(Field::other_out) ? untouched_length : expected_length);
    }

    // Typed values. `found` is what the text is made from.

    void agree_reading(const Operation &operation, Type type, const Reading &reading,
                       const Found &found)
    {
        const bool is_null = operation.is_null(Field::out);
        Reading expected = unread(type, found.result, operation.number);
        if (type == Type::time && !is_null) {
            expected.number = 0;
        }
        if (is_null && type != Type::time) {
            expected.result = EINVAL;
        } else if (found.result == 0 && is_address(type)) {
            const auto address = address_in(type, *found.value);
            expected.result = address ? 0 : EINVAL;
            expected.address = address.value_or(expected.address);
        } else if (found.result == 0) {
            const auto number = number_in(type, *found.value);
            expected.result = number ? 0 : ERANGE;
            expected.number = is_null ? expected.number : number.value_or(expected.number);
        }
        agree("result", reading.result, expected.result);
        agree("number", reading.number, expected.number);
        agree("address", reading.address, expected.address);
    }

    void agree_copied(const Operation &operation, const Room &room, int result, const Found &found)
    {
        const int expected = operation.is_null(Field::out) ? EINVAL : found.result;
        agree("result", result, expected);
        Room written(operation.size);
        if (expected == 0) {
            written.write(until_nul(*found.value), operation.size);
        }
        agree("buffer", room.bytes(), written.bytes());
    }

    void agree_duplicate(const Operation &operation, int result, char *copy, const char *before,
                         const Found &found)
    {
        const int expected = operation.is_null(Field::out) ? EINVAL : found.result;
        agree("result", result, expected);
        if (expected != 0) {
            agree<const void *>("duplicate", copy, before);
        } else if (agrees()) {
            agree_bytes("duplicate", copy, found.value->size(), *found.value);
            std::free(copy);
        }
    }

    struct Format {
        const char *format;
        // Its arguments.
        const char *text;
        int number;
        const wchar_t *unconvertible;

        bool fails;
        std::string stored;
    };

    Format formatted(const Operation &operation, const Value &text)
    {
        static const wchar_t unconvertible[] = {0xD800, 0};
        const char *argument = text.library == nullptr ? "" : text.text();
        const int number = static_cast<int>(operation.number % 1000);
        const std::string as_text = text.model == nullptr ? "" : *text.model;
        std::string stored = "fixed";
        if (operation.row == 0) {
            stored = as_text;
        } else if (operation.row == 1) {
            stored = as_text + ':' + std::to_string(number);
        }
        return {operation.is_null(Field::format) ? nullptr : formats[operation.row],
                argument,
                number,
                unconvertible,
                operation.row == failing_format,
                stored + '\0'};
    }

  private:
    const Entry *any_entry(const Model &in, std::uint8_t choice) const
    {
        const auto entries = in.entries();
        return entries.empty() ? nullptr : entries[choice % entries.size()];
    }

    Value any_bytes(const Argument &argument, const Pair &in, const Key &of)
    {
        const bool of_the_key =
            argument.place == Place::value_of_the_key || argument.place == Place::text_of_the_key;
        const Entry *entry = argument.place == Place::pool ? nullptr
                             : of_the_key                  ? in.model->look_up(of.model)
                                                           : any_entry(*in.model, argument.choice);
        if (entry == nullptr) {
            const std::string &value = values()[argument.choice % values().size()];
            return {value.data(), &value, static_cast<std::uint32_t>(value.size())};
        }
        const Node *node = node_of(in, *entry);
        const std::size_t at = argument.choice / 16 % Api::value_count(*entry);
        const char *library = static_cast<const char *>(Api::data(*node, at));
        value_copy_ = Api::value(*entry, at);
        switch (argument.place) {
        case Place::stored_key:
        case Place::tail_of_stored_key:
        case Place::text_of_the_key:
            library = node->key;
            value_copy_ = entry->key + '\0';
            break;
        case Place::part_of_stored_value:
            if (!value_copy_.empty()) {
                ++library;
                value_copy_.erase(0, 1);
            }
            break;
        default: break;
        }
        return {library, &value_copy_, static_cast<std::uint32_t>(value_copy_.size())};
    }

    void compare_record(std::size_t i)
    {
        const Record &record = slots_[i].library.record;
        const Model &model = slots_[i].model;
        agree("maxkeys", record.maxkeys, model.maxkeys);
        agree("numkeys", record.numkeys, model.numkeys);
        agree("casekeys", record.casekeys, std::uint32_t{model.casekeys});
        agree("hashsize", record.hashsize, model.hashsize());
        agree("has buckets", record.buckets != nullptr, model.has_buckets());
        agree("hashfunc is the one", record.hashfunc == library_hash<Record>(model.hash), true);
        compare_own_settings(record, model);
        if (!agrees()) {
            locate("container " + std::to_string(i));
        }
    }

    void compare_chains(std::size_t i)
    {
        const Pair in{&slots_[i].library.record, &slots_[i].model};
        for (std::size_t bucket = 0; bucket < in.model->buckets.size() && agrees(); ++bucket) {
            compare_chain(in.library->buckets[bucket], in.model->buckets[bucket]);
            if (!agrees()) {
                locate("container " + std::to_string(i) + ", bucket " + std::to_string(bucket));
            }
        }
    }

    void compare_chain(const map_bucket_t &bucket, const std::list<Entry> &entries)
    {
        const void *link = &bucket.first;
        const auto *node = static_cast<const Node *>(bucket.first);
        for (const Entry &entry : entries) {
            if (node == nullptr) {
                differ("chain", "ends", "goes on with " + quoted(entry.key));
                return;
            }
            agree_node(node, entry.node);
            agree_link("back link", node->prev, link);
            agree("key", std::string(node->key), entry.key);
            compare_node(*node, entry);
            if (!agrees()) {
                locate("key " + quoted(entry.key));
                return;
            }
            link = &node->next;
            node = node->next;
        }
        agree_link("end of chain", node, static_cast<const Node *>(nullptr));
        agree_link("tail of chain", bucket.last, link);
    }

    // The fields that the record of one family has.
    virtual void compare_own_settings(const Record &, const Model &)
    {
    }

    // Values, and where in the node things lie.
    virtual void compare_node(const Node &node, const Entry &entry) = 0;

    std::array<Slot, container_count> slots_;
    Model missing_;
    std::string key_copy_;
    std::string value_copy_;
};

} // namespace model
