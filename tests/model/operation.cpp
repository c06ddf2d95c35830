#include "operation.hpp"

#include "pools.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace model {

namespace {

constexpr std::array<std::uint32_t, 20> hashsizes = {32, 1, 2,  4, 8, 16, 32, 64,  128,  256,
                                                     0,  3, 48, 1, 2, 8,  64, 100, 1024, 4};
constexpr std::array<std::uint32_t, 4> flags = {0, 1, 5, 0x80000000};
constexpr std::array<std::int32_t, 20> limits = {
    -1, -1, -1, -1, -1, -1, -1, -1, -1, INT32_MAX, INT32_MIN, 0, 1, 2, 4, 12, 24, 30, 40, 60};

// The first of the keys and values.
constexpr std::uint8_t often_met = 12;

std::uint8_t narrow(std::uint32_t number)
{
    return static_cast<std::uint8_t>(number);
}

// An index into a pool, one of the first few more often than not.
std::uint8_t choose_from(Choices &choices, std::size_t size, std::size_t few)
{
    const bool any = choices.one_in(3);
    return narrow(choices.below(static_cast<std::uint32_t>(any ? size : std::min(few, size))));
}

Argument choose_key(Choices &choices)
{
    if (choices.one_in(12)) {
        const auto place = static_cast<Place>(1 + choices.below(3));
        return {place, narrow(choices.below(256))};
    }
    return {Place::pool, choose_from(choices, keys().size(), often_met)};
}

Argument choose_value(Choices &choices)
{
    if (choices.one_in(8)) {
        const auto place = static_cast<Place>(1 + choices.below(6));
        return {place, narrow(choices.below(256))};
    }
    return {Place::pool, choose_from(choices, values().size(), often_met)};
}

std::uint64_t choose_number(Choices &choices)
{
    if (choices.one_in(8)) {
        std::uint64_t number = 0;
        for (int i = 0; i < 4; ++i) {
            number = number << 16 | choices.below(65536);
        }
        return number;
    }
    return numbers()[choose_from(choices, numbers().size(), 6)];
}

// A position in a list, or a key's ordinal: mostly one that there is.
std::uint32_t choose_position(Choices &choices, std::uint32_t likely)
{
    constexpr std::array<std::uint32_t, 5> far = {UINT32_MAX, INT32_MAX, 0x80000000, 65536, 256};
    return choices.one_in(16) ? far[choices.below(far.size())] : choices.below(likely);
}

std::uint32_t choose_room(Choices &choices)
{
    constexpr std::array<std::uint32_t, 6> telling = {128, 0, 1, 18, 46, 64};
    if (choices.one_in(2)) {
        return telling[choices.below(telling.size())];
    }
    return choices.below(choices.one_in(4) ? 4096 : 64);
}

template <class T, std::size_t size>
T choose_one(Choices &choices, const std::array<T, size> &from)
{
    return from[choices.below(size)];
}

void choose_field(Choices &choices, Field field, Operation &operation)
{
    switch (field) {
    case Field::first:
    case Field::second:
    case Field::third:
        operation.containers[static_cast<std::size_t>(field)] =
            narrow(choices.below(container_count));
        break;
    case Field::key: operation.key = choose_key(choices); break;
    case Field::name:
        operation.key = {Place::pool, choose_from(choices, names().size(), 5)};
        if (choices.one_in(16)) {
            operation.key.place = Place::stored_key;
        }
        break;
    case Field::bytes:
    case Field::text: operation.value = choose_value(choices); break;
    case Field::number: operation.number = choose_number(choices); break;
    case Field::row: operation.row = narrow(choices.below(static_cast<int>(Type::str) + 1)); break;
    case Field::get_row: operation.row = narrow(choices.below(static_cast<int>(Type::str))); break;
    case Field::format: operation.row = narrow(choices.below(formats.size())); break;
    case Field::hash: operation.row = narrow(choices.below(hash_functions)); break;
    case Field::out:
    case Field::other_out: break;
    case Field::position: operation.position = choose_position(choices, 5); break;
    case Field::ordinal: operation.position = choose_position(choices, 64); break;
    case Field::hashsize: operation.size = choose_one(choices, hashsizes); break;
    case Field::flag: operation.size = choose_one(choices, flags); break;
    case Field::room: operation.size = choose_room(choices); break;
    case Field::limit: operation.limit = choose_one(choices, limits); break;
    case Field::count: operation.limit = static_cast<std::int32_t>(choices.below(6)) - 1; break;
    }
}

std::uint32_t bit(Field field)
{
    return std::uint32_t{1} << static_cast<unsigned int>(field);
}

bool can_be_null(Field field)
{
    switch (field) {
    case Field::first:
    case Field::second:
    case Field::third:
    case Field::key:
    case Field::name:
    case Field::bytes:
    case Field::text:
    case Field::format:
    case Field::out:
    case Field::other_out: return true;
    default: return false;
    }
}

const char *name_of(Place place)
{
    switch (place) {
    case Place::pool: return "";
    case Place::stored_key: return "stored key";
    case Place::tail_of_stored_key: return "tail of stored key";
    case Place::stored_value: return "stored value";
    case Place::part_of_stored_value: return "part of stored value";
    case Place::value_of_the_key: return "value of the key";
    case Place::text_of_the_key: return "text of the key";
    }
    std::abort();
}

std::string describe(const char *what, const Argument &argument,
                     const std::vector<std::string> &pool)
{
    if (argument.place == Place::pool) {
        return what + (' ' + quoted(pool[argument.choice]));
    }
    return what + (" = " + (name_of(argument.place) + (' ' + std::to_string(argument.choice))));
}

const char *name_of(Hash hash)
{
    switch (hash) {
    case Hash::builtin: return "built-in";
    case Hash::folding: return "folding, seeded";
    case Hash::case_sensitive: return "case-sensitive";
    case Hash::two_valued: return "two-valued";
    case Hash::constant: return "constant";
    }
    std::abort();
}

std::string describe(Field field, const Operation &operation)
{
    if (operation.is_null(field)) {
        return "NULL";
    }
    switch (field) {
    case Field::first:
    case Field::second:
    case Field::third:
        return "container " + std::to_string(operation.containers[static_cast<std::size_t>(field)]);
    case Field::key: return describe("key", operation.key, keys());
    case Field::name: return describe("name", operation.key, names());
    case Field::bytes: return describe("bytes", operation.value, values());
    case Field::text: return describe("text", operation.value, values());
    case Field::number:
        return "number " + std::to_string(static_cast<std::int64_t>(operation.number));
    case Field::row:
    case Field::get_row: return name_of(static_cast<Type>(operation.row));
    case Field::format: return quoted(formats[operation.row]);
    case Field::hash: return name_of(static_cast<Hash>(operation.row));
    case Field::out:
    case Field::other_out: return "out";
    case Field::position:
    case Field::ordinal:
        return "position " + std::to_string(static_cast<std::int32_t>(operation.position));
    case Field::hashsize: return "hash size " + std::to_string(operation.size);
    case Field::flag: return "flag " + std::to_string(operation.size);
    case Field::room: return "room " + std::to_string(operation.size);
    case Field::limit: return "limit " + std::to_string(operation.limit);
    case Field::count: return "count " + std::to_string(operation.limit);
    }
    std::abort();
}

void simplify(Field field, Operation &operation)
{
    switch (field) {
    case Field::first:
    case Field::second:
    case Field::third: operation.containers[static_cast<std::size_t>(field)] = 0; break;
    case Field::key:
    case Field::name: operation.key = {}; break;
    case Field::bytes:
    case Field::text: operation.value = {}; break;
    case Field::number: operation.number = 0; break;
    case Field::row:
    case Field::get_row:
    case Field::format:
    case Field::hash: operation.row = 0; break;
    case Field::out:
    case Field::other_out: break;
    case Field::position:
    case Field::ordinal: operation.position = 0; break;
    case Field::hashsize:
    case Field::flag:
    case Field::room: operation.size = 0; break;
    case Field::limit:
    case Field::count: operation.limit = 0; break;
    }
}

} // namespace

Family::Family(const char *name, std::vector<Kind> kinds, std::unique_ptr<World> (*make)())
    : name_(name), kinds_(std::move(kinds)), make_world_(make)
{
    for (std::size_t kind = 0; kind < kinds_.size(); ++kind) {
        by_weight_.insert(by_weight_.end(), kinds_[kind].weight, static_cast<std::uint8_t>(kind));
    }
}

Operation Family::choose(Choices &choices) const
{
    Operation operation{};
    operation.kind = by_weight_[choices.below(static_cast<std::uint32_t>(by_weight_.size()))];
    const std::vector<Field> &fields = kind_of(operation).fields;
    for (const Field field : fields) {
        choose_field(choices, field, operation);
    }
    // Mostly one or two; now and then all of them.
    for (bool again = choices.one_in(24); again; again = choices.one_in(2)) {
        const Field field = fields[choices.below(static_cast<std::uint32_t>(fields.size()))];
        if (can_be_null(field)) {
            operation.nulls |= bit(field);
        }
    }
    return operation;
}

std::string Family::describe(const Operation &operation) const
{
    const Kind &kind = kind_of(operation);
    std::string text = kind.name;
    const char *separator = "(";
    for (const Field field : kind.fields) {
        text += separator + model::describe(field, operation);
        separator = ", ";
    }
    return text + ')';
}

std::vector<Operation> Family::simpler(const Operation &operation) const
{
    const std::string described = describe(operation);
    std::vector<Operation> all;
    const auto add_if_different = [&](const Operation &candidate) {
        if (describe(candidate) != described) {
            all.push_back(candidate);
        }
    };
    // What lies in the container may do as well if it lies elsewhere, or in another entry.
    const auto add_other_places = [&](Argument Operation::*argument) {
        const Argument given = operation.*argument;
        Operation candidate = operation;
        if (given.place != Place::pool) {
            for (std::uint8_t choice = 0; choice < often_met; ++choice) {
                candidate.*argument = {Place::pool, choice};
                add_if_different(candidate);
            }
            candidate.*argument = {given.place, 0};
            add_if_different(candidate);
            candidate.*argument = {given.place, narrow(given.choice / 2U)};
            add_if_different(candidate);
        }
    };
    for (const Field field : kind_of(operation).fields) {
        Operation candidate = operation;
        if (operation.is_null(field)) {
            candidate.nulls &= ~bit(field);
        } else {
            simplify(field, candidate);
        }
        add_if_different(candidate);
        // Of limits and rooms, 0 may be a case of its own.
        if (field == Field::limit && operation.limit > 1) {
            candidate.limit = 1;
            add_if_different(candidate);
            candidate.limit = operation.limit - 1;
            add_if_different(candidate);
        } else if (field == Field::room && operation.size > 1) {
            candidate.size = 1;
            add_if_different(candidate);
        }
    }
    add_other_places(&Operation::key);
    add_other_places(&Operation::value);
    return all;
}

std::string quoted(const std::string &bytes)
{
    constexpr std::size_t shown = 200;
    std::string text = "\"";
    for (const char byte : bytes.substr(0, shown)) {
        if (byte == '"' || byte == '\\') {
            text += '\\';
            text += byte;
        } else if (byte >= ' ' && byte <= '~') {
            text += byte;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned char>(byte) + 0U);
            text += escape;
        }
    }
    text += '"';
    if (bytes.size() > shown) {
        text += "... of " + std::to_string(bytes.size());
    }
    return text;
}

} // namespace model
