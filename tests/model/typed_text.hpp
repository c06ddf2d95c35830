// The model's side of typed values: the text that each type is stored as, and how it is read back.
#pragma once

#include <addrkit.h>

#include <cstdint>
#include <optional>
#include <string>

namespace model {

enum class Type : std::uint8_t {
    uint64,
    int64,
    uint32,
    int32,
    time,
    uint16,
    int16,
    uint8,
    int8,
    boolean,
    uint,
    integer,
    uchar,
    character,
    macaddr,
    ipaddr,
    cidr,
    str,
};

// As in the functions' names.
const char *name_of(Type type);

bool is_address(Type type);

// A value of any type: each takes the part that it is made from. The pointers may be null.
struct Given {
    std::uint64_t number;
    const char *text;
    const macaddr_t *macaddr;
    const ipaddr_t *ipaddr;
    const cidr_t *cidr;
};

// Without the NUL; none if the value is missing or is no address.
std::optional<std::string> text_of(Type type, const Given &given);

// The number as a variable of the type holds it, sign-extended.
std::uint64_t held(Type type, std::uint64_t number);

// The number that stored bytes are read as, sign-extended; none where they are none of the type.
std::optional<std::uint64_t> number_in(Type type, const std::string &stored);

// The address that stored bytes are read as, in the form that it is stored in; none where they are
// no such address.
std::optional<std::string> address_in(Type type, const std::string &stored);

// Bytes up to their first NUL.
std::string until_nul(const std::string &bytes);

} // namespace model
