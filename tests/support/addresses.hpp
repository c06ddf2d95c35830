// Samples of the three kinds of address, for the typed tests of every family.
#pragma once

#include "helpers.hpp"

#include <addrkit.h>

#include <cstring>

// The text of the smaller one sorts before the text of the address, that of the greater one behind it.
// A scratch that a conversion has not written holds `unconverted`.
struct Mac {
    using Record = macaddr_t;
    static constexpr const char *name = "Mac";
    static constexpr Record address = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0xFF}};
    static constexpr const char *text = "02:00:5e:10:00:ff";
    static constexpr const char *other_text_of_it = "02:00:5E:10:00:FF";
    static constexpr Record smaller = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0x0F}};
    static constexpr Record greater = {{0x12, 0x00, 0x5E, 0x10, 0x00, 0xFF}};
    static constexpr const char *unconverted = "0";
};

struct Ip {
    using Record = ipaddr_t;
    static constexpr const char *name = "Ip";
    static constexpr Record address = {
        6, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}};
    static constexpr const char *text = "2001:db8::7";
    static constexpr const char *other_text_of_it = "2001:DB8:0:0:0:0:0:7";
    static constexpr Record smaller = {4, {192, 0, 2, 1}};
    static constexpr Record greater = {6, {0xFE, 0x80}};
    static constexpr const char *unconverted = "";
};

struct Cidr {
    using Record = cidr_t;
    static constexpr const char *name = "Cidr";
    static constexpr Record address = {{6, {0x20, 0x01, 0x0D, 0xB8}}, 32};
    static constexpr const char *text = "2001:db8::/32";
    static constexpr const char *other_text_of_it = "2001:0DB8::/32";
    static constexpr Record smaller = {{6, {0x20, 0x01, 0x0D, 0xB8}}, 30};
    static constexpr Record greater = {{6, {0x20, 0x01, 0x0D, 0xB8}}, 33};
    static constexpr const char *unconverted = "";
};

// Records that have no text.
constexpr ipaddr_t no_ip = {9, {192, 0, 2, 1}};
constexpr cidr_t no_cidr = {{4, {192, 0, 2, 1}}, 33};

// The longest text of its kind: with another character behind it, its last byte would be 25.
constexpr const char *longest_ip = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.254";
constexpr const char *longest_cidr = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255/128";

// Values that are the text of no address.
inline std::vector<std::string> values_without_address()
{
    return {"", "\0"s, "text\0"s, "1\0"s, "::1/64 \0"s, "\377"s, std::string(1000, ':')};
}

template <class Record>
std::string bytes_of(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof record);
}

// For readers to write; holds no address.
template <class Record>
Record no_address()
{
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    return record;
}
