// The typed rows: how each type is put into text and read back, one row per type.
//
// Every row has `argument` (what a writer takes), `output` (what a reader fills),
// `missing(argument)` (whether it is a null pointer), and two functions:
//   with_text(argument, use)   calls use(text, size), the NUL counted, and returns its result
//   parse(value, length, out)  0, or an error with the output untouched
#pragma once

#include "text.hpp"

#include <addrkit.h>

#include <charconv>
#include <limits>
#include <type_traits>

namespace textmaps {

inline long long parse_number(const char *text, char **end, long long)
{
    return std::strtoll(text, end, 0);
}

inline unsigned long long parse_number(const char *text, char **end, unsigned long long)
{
    return std::strtoull(text, end, 0);
}

// Kept is what the argument is reduced to, Parsed the type of the parser, Scratch the bytes that
// the text and its NUL may take: all text fits, other than a bool's, which is cut to its first
// digit.
template <class Argument, class Kept, std::uint32_t Scratch, class Parsed, class Output = Kept,
          std::uint64_t Max = static_cast<std::uint64_t>(std::numeric_limits<Kept>::max())>
struct number_row {
    using argument = Argument;
    using output = Output;

    static bool missing(Argument)
    {
        return false;
    }

    template <class Use>
    static int with_text(Argument value, Use use)
    {
        char text[21];
        char *end = std::to_chars(text, text + sizeof text - 1, static_cast<Kept>(value)).ptr;
        if (end > text + Scratch - 1) {
            end = text + Scratch - 1;
        }
        *end = '\0';
        return use(text, static_cast<std::uint32_t>(end - text + 1));
    }

    static int parse(const void *value, std::uint32_t length, Output *out)
    {
        const auto *text = static_cast<const char *>(value);
        if (std::memchr(text, '\0', length) == nullptr) {
            return ERANGE;
        }
        char *end;
        const Parsed number = parse_number(text, &end, Parsed());
        constexpr std::uint64_t min = std::is_signed_v<Kept> ? ~Max : 0;
        if (end == text || *end != '\0' || static_cast<std::uint64_t>(number) - min > Max - min) {
            return ERANGE;
        }
        *out = static_cast<Output>(number);
        return 0;
    }
};

using row_uint64 = number_row<std::uint64_t, std::uint64_t, 21, unsigned long long>;
using row_int64 = number_row<std::int64_t, std::int64_t, 21, long long>;
using row_uint32 = number_row<std::uint32_t, std::uint32_t, 12, unsigned long long>;
using row_int32 = number_row<std::int32_t, std::int32_t, 12, long long>;
using row_uint16 = number_row<unsigned int, std::uint16_t, 7, unsigned long long>;
using row_int16 = number_row<int, std::int16_t, 7, long long>;
using row_uint8 = number_row<unsigned int, std::uint8_t, 5, unsigned long long>;
using row_int8 = number_row<int, std::int8_t, 5, long long>;
using row_bool = number_row<unsigned int, std::uint8_t, 2, long long, bool, 1>;
using row_uint = number_row<unsigned int, unsigned int, 11, long long>;
using row_int = number_row<int, int, 12, long long>;
using row_uchar = number_row<unsigned int, unsigned char, 4, long long>;
using row_char = number_row<int, signed char, 5, long long, char>;

// Text as it is. One of 4 GiB or more has no length that could be stored.
struct row_str {
    using argument = const char *;

    static bool missing(argument text)
    {
        return text == nullptr;
    }

    template <class Use>
    static int with_text(argument text, Use use)
    {
        const std::size_t size = std::strlen(text) + 1;
        const auto stored = static_cast<std::uint32_t>(size);
        return stored != size ? ENOMEM : use(text, stored);
    }
};

// Kind names the conversions and the scratch size that they are given, and what the scratch holds
// where a conversion writes nothing: seen in comparisons only, which do not test its result.
template <class Kind>
struct address_row {
    using argument = const typename Kind::record *;
    using output = typename Kind::record;

    static bool missing(argument record)
    {
        return record == nullptr;
    }

    template <class Use>
    static int with_text(argument record, Use use)
    {
        char text[Kind::scratch];
        const int result = Kind::to_str(record, text);
        return result != 0 ? result : row_str::with_text(text, use);
    }

    template <class Use>
    static int with_any_text(argument record, Use use)
    {
        char text[Kind::scratch] = {Kind::unconverted};
        if (record != nullptr) {
            Kind::to_str(record, text);
            text[Kind::scratch - 1] = '\0';
        }
        return row_str::with_text(text, use);
    }

    static int parse(const void *value, std::uint32_t length, output *out)
    {
        char text[Kind::scratch];
        copy_text(text, sizeof text, value, length);
        return Kind::from_str(text, out);
    }
};

struct macaddr_kind {
    using record = macaddr_t;
    static constexpr std::uint32_t scratch = 18;
    static constexpr char unconverted = '0';
    static int to_str(const record *from, char *text)
    {
        return ak_macaddr_to_str(from, text, scratch);
    }
    static int from_str(const char *text, record *to)
    {
        return ak_macaddr_from_str(text, to);
    }
};

struct ipaddr_kind {
    using record = ipaddr_t;
    static constexpr std::uint32_t scratch = 46;
    static constexpr char unconverted = '\0';
    static int to_str(const record *from, char *text)
    {
        return ak_ipaddr_to_str(from, text, scratch);
    }
    static int from_str(const char *text, record *to)
    {
        return ak_ipaddr_from_str(text, to);
    }
};

struct cidr_kind {
    using record = cidr_t;
    static constexpr std::uint32_t scratch = 92;
    static constexpr char unconverted = '\0';
    static int to_str(const record *from, char *text)
    {
        return ak_cidr_to_str(from, text, scratch);
    }
    static int from_str(const char *text, record *to)
    {
        return ak_cidr_from_str(text, to);
    }
};

using row_macaddr = address_row<macaddr_kind>;
using row_ipaddr = address_row<ipaddr_kind>;
using row_cidr = address_row<cidr_kind>;

} // namespace textmaps
