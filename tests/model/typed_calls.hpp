// The library's typed functions under one signature a verb, so that a family's rows make a table.
#pragma once

#include "typed_text.hpp"

#include <type_traits>

namespace model {

template <class T>
T part_of(const Given &given)
{
    return static_cast<T>(given.number);
}

template <>
inline const char *part_of(const Given &given)
{
    return given.text;
}

template <>
inline const macaddr_t *part_of(const Given &given)
{
    return given.macaddr;
}

template <>
inline const ipaddr_t *part_of(const Given &given)
{
    return given.ipaddr;
}

template <>
inline const cidr_t *part_of(const Given &given)
{
    return given.cidr;
}

// What a reader left in a variable that held something else before: a number, or the text form of
// an address.
struct Reading {
    int result;
    std::uint64_t number;
    std::string address;
};

template <class T>
void read_out(const T &variable, Reading &reading)
{
    reading.number = static_cast<std::uint64_t>(variable);
}

inline void read_out(char variable, Reading &reading)
{
    reading.number = static_cast<std::uint64_t>(static_cast<signed char>(variable));
}

inline void read_out(const macaddr_t &variable, Reading &reading)
{
    reading.address = *text_of(Type::macaddr, {0, nullptr, &variable, nullptr, nullptr});
}

inline void read_out(const ipaddr_t &variable, Reading &reading)
{
    reading.address = *text_of(Type::ipaddr, {0, nullptr, nullptr, &variable, nullptr});
}

inline void read_out(const cidr_t &variable, Reading &reading)
{
    reading.address = *text_of(Type::cidr, {0, nullptr, nullptr, nullptr, &variable});
}

template <class T>
T holding(std::uint64_t number)
{
    return static_cast<T>(number);
}

template <>
inline macaddr_t holding(std::uint64_t)
{
    return {{1, 1, 1, 1, 1, 1}};
}

template <>
inline ipaddr_t holding(std::uint64_t)
{
    return {4, {1, 1, 1, 1}};
}

template <>
inline cidr_t holding(std::uint64_t)
{
    return {{4, {1, 1, 1, 1}}, 1};
}

// The reading of a variable that nothing was read into.
inline Reading unread(Type type, int result, std::uint64_t number)
{
    Reading reading{result, 0, {}};
    switch (type) {
    case Type::macaddr: read_out(holding<macaddr_t>(number), reading); break;
    case Type::ipaddr: read_out(holding<ipaddr_t>(number), reading); break;
    case Type::cidr: read_out(holding<cidr_t>(number), reading); break;
    default: reading.number = held(type, number);
    }
    return reading;
}

// store<map_insert_uint16> and so on; also for what compares or deletes.
template <auto function>
struct Store;

template <class Container, class T, int (*function)(Container *, const char *, T)>
struct Store<function> {
    static int call(std::remove_const_t<Container> *container, const char *key, const Given &given)
    {
        return function(container, key, part_of<T>(given));
    }
};

template <auto function>
constexpr auto store = Store<function>::call;

template <auto function>
struct StoreAt;

template <class Container, class T, int (*function)(Container *, const char *, std::uint32_t, T)>
struct StoreAt<function> {
    static int call(Container *container, const char *key, std::uint32_t index, const Given &given)
    {
        return function(container, key, index, part_of<T>(given));
    }
};

template <auto function>
constexpr auto store_at = StoreAt<function>::call;

template <auto function>
struct Find;

template <class Container, class T,
          int (*function)(const Container *, const char *, T, std::uint32_t *)>
struct Find<function> {
    static int call(const Container *container, const char *key, const Given &given,
                    std::uint32_t *position)
    {
        return function(container, key, part_of<T>(given), position);
    }
};

template <auto function>
constexpr auto find = Find<function>::call;

// read<map_get_uint16> and so on. With `is_null` the variable's address is not handed in.
template <auto function>
struct Read;

template <class Container, class T, int (*function)(const Container *, const char *, T *)>
struct Read<function> {
    static Reading call(const Container *container, const char *key, std::uint64_t number,
                        bool is_null)
    {
        T variable = holding<T>(number);
        Reading reading{function(container, key, is_null ? nullptr : &variable), 0, {}};
        read_out(variable, reading);
        return reading;
    }
};

template <class Container, class T,
          int (*function)(const Container *, const char *, std::uint32_t, T *)>
struct Read<function> {
    static Reading call(const Container *container, const char *key, std::uint32_t position,
                        std::uint64_t number, bool is_null)
    {
        T variable = holding<T>(number);
        Reading reading{function(container, key, position, is_null ? nullptr : &variable), 0, {}};
        read_out(variable, reading);
        return reading;
    }
};

template <auto function>
constexpr auto read = Read<function>::call;

} // namespace model
