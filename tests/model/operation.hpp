// Operations as values: chosen without a look at any container, so that each stays meaningful when
// others of its sequence are left out.
#pragma once

#include "choices.hpp"
#include "typed_text.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace model {

constexpr std::size_t container_count = 3;

// What a kind of operation takes, in the order of its function's arguments.
enum class Field : std::uint8_t {
    first,     // containers
    second,    //
    third,     //
    key,       //
    name,      // of a map array
    bytes,     // a value
    text,      // a value that is NUL-terminated text
    number,    // a typed value, or what a variable holds that may be read into
    row,       // the type of a typed value
    get_row,   // the same where text is not among them
    format,    //
    hash,      //
    out,       // a pointer that the result is written through; chosen is only whether it is null
    other_out, //
    position,  //
    ordinal,   //
    hashsize,  //
    flag,      //
    room,      // of a text buffer
    limit,     //
    count,     //
};

// Where a key or value lies: in a pool, or inside the first container, found by the choice.
enum class Place : std::uint8_t {
    pool,
    stored_key,
    tail_of_stored_key,
    stored_value,
    // Of values only.
    part_of_stored_value,
    value_of_the_key,
    text_of_the_key,
};

struct Argument {
    Place place;
    std::uint8_t choice;

    bool operator==(const Argument &other) const
    {
        return place == other.place && choice == other.choice;
    }
};

struct Operation {
    std::uint8_t kind;
    std::array<std::uint8_t, container_count> containers;
    Argument key;
    Argument value;
    std::uint8_t row;    // also the format, the hash function
    std::uint32_t nulls; // a bit for each field
    std::uint32_t position;
    std::uint32_t size;
    std::int32_t limit;
    std::uint64_t number;

    bool is_null(Field field) const
    {
        return (nulls >> static_cast<unsigned int>(field) & 1) != 0;
    }
};

// What operations are applied to: containers and their models.
class World {
  public:
    virtual ~World() = default;

    // Compares the fields of every container's record with its model.
    virtual void compare_records() = 0;
    // Compares the records, and every chain and list, node by node.
    virtual void compare_everything() = 0;

    // What differs between library and model; empty as long as nothing does.
    const std::string &difference() const
    {
        return difference_;
    }

  protected:
    std::string difference_;
};

struct Kind {
    const char *name;
    // How often it is chosen, relative to the others.
    unsigned int weight;
    std::vector<Field> fields;
    void (*apply)(World &world, const Operation &operation);
};

// A kind that a member function of a world applies.
template <class OwnWorld, auto member>
Kind kind(const char *name, unsigned int weight, std::vector<Field> fields)
{
    return {name, weight, std::move(fields), [](World &world, const Operation &operation) {
                (static_cast<OwnWorld &>(world).*member)(operation);
            }};
}

class Family {
  public:
    Family(const char *name, std::vector<Kind> kinds, std::unique_ptr<World> (*make)());

    const char *name() const
    {
        return name_;
    }
    const Kind &kind_of(const Operation &operation) const
    {
        return kinds_[operation.kind];
    }
    std::unique_ptr<World> make_world() const
    {
        return make_world_();
    }

    Operation choose(Choices &choices) const;

    // Readable: "replace(map 1, key "a", bytes "x\0", 2)".
    std::string describe(const Operation &operation) const;

    // The same operation with one thing about it simpler, each that can be.
    std::vector<Operation> simpler(const Operation &operation) const;

  private:
    const char *name_;
    std::vector<Kind> kinds_;
    // As many places for each kind as its weight says.
    std::vector<std::uint8_t> by_weight_;
    std::unique_ptr<World> (*make_world_)();
};

const Family &map_family();
const Family &multimap_family();
const Family &arraymap_family();

// In quotes, with escapes where a character has no glyph in ASCII.
std::string quoted(const std::string &bytes);

// The hash functions that containers are given. All but the first are a caller's.
enum class Hash : std::uint8_t { builtin, folding, case_sensitive, two_valued, constant };

constexpr std::uint8_t hash_functions = 5;

// Printf formats, for a text, an int and a text that no encoding of the C locale has.
constexpr std::array<const char *, 4> formats = {"%1$s", "%1$s:%2$d", "fixed", "%1$s:%2$d%3$ls"};
constexpr std::uint8_t failing_format = 3;

} // namespace model
