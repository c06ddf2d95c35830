// The typed rows: how each type is put into text and read back, one row per type. They stand once,
// for every family: a typed function has its row's text made or read here, and calls one operation
// of its core.
#pragma once

#include "text.hpp"

#include <addrkit.h>

#include <cstdint>

namespace textmaps {

enum row_id : std::uint8_t {
    id_uint64,
    id_int64,
    id_uint32,
    id_int32,
    id_uint16,
    id_int16,
    id_uint8,
    id_int8,
    id_bool,
    id_uint,
    id_int,
    id_uchar,
    id_char,
    id_macaddr,
    id_ipaddr,
    id_cidr,
    id_str
};

// What writers take and readers fill.
template <class Argument, class Output>
struct row {
    using argument = Argument;
    using output = Output;
};

using row_uint64 = row<std::uint64_t, std::uint64_t>;
using row_int64 = row<std::int64_t, std::int64_t>;
using row_uint32 = row<std::uint32_t, std::uint32_t>;
using row_int32 = row<std::int32_t, std::int32_t>;
using row_uint16 = row<unsigned int, std::uint16_t>;
using row_int16 = row<int, std::int16_t>;
using row_uint8 = row<unsigned int, std::uint8_t>;
using row_int8 = row<int, std::int8_t>;
using row_bool = row<unsigned int, bool>;
using row_uint = row<unsigned int, unsigned int>;
using row_int = row<int, int>;
using row_uchar = row<unsigned int, unsigned char>;
using row_char = row<int, char>;
using row_macaddr = row<const macaddr_t *, macaddr_t>;
using row_ipaddr = row<const ipaddr_t *, ipaddr_t>;
using row_cidr = row<const cidr_t *, cidr_t>;
using row_str = row<const char *, char>;

// A writer's argument on its way to its row: a number of up to 32 bits, or an address, of a longer
// number too, so that on 32-bit targets it takes one register whatever the row.
using word = std::uintptr_t;

inline word word_of(std::uint32_t number)
{
    return number;
}
inline word word_of(std::int32_t number)
{
    return static_cast<std::uint32_t>(number);
}
inline word word_of(const std::uint64_t &number)
{
    return reinterpret_cast<word>(&number);
}
inline word word_of(const std::int64_t &number)
{
    return reinterpret_cast<word>(&number);
}
inline word word_of(const void *record)
{
    return reinterpret_cast<word>(record);
}

// The sizes in bytes of the scratch that conversions are given. The largest has room for any number, too.
constexpr std::uint32_t macaddr_scratch = 18;
constexpr std::uint32_t ipaddr_scratch = 46;
constexpr std::uint32_t cidr_scratch = 92;

// A value as it is stored: `size` bytes, the NUL counted.
class value_text {
  public:
    // What a writer stores: 0; 22 for a missing container, key or value; 12 for text of 4 GiB or
    // more, which has no length that could be stored; what the conversion of an address gives.
    int render(row_id id, const void *container, const char *key, word value);

    // What a comparison compares with, whatever the value: a conversion's failure shows in its
    // text only.
    void render_any(row_id id, word value);

    const char *data() const
    {
        return text_;
    }
    std::uint32_t size() const
    {
        return size_;
    }

  private:
    void put_number(row_id id, word value);

    const char *text_;
    std::uint32_t size_;
    char scratch_[cidr_scratch];
};

// Reads a stored value into an output of the row's type: 0, or an error with the output untouched.
int read(row_id id, const stored &from, void *out);

// As an int32, through an output that may be null; it is written whatever the result.
int read_time(const stored &from, std::int32_t *out);

} // namespace textmaps
