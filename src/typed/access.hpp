// The steps of a typed function that are the same in every family: writers check their arguments,
// render, and hand the text to an operation of the core; readers fetch a value from the core and
// parse it.
#pragma once

#include "rows.hpp"

namespace textmaps {

// Calls use(text, size) with the value's text, the NUL counted, and returns its result.
template <class Row, class Container, class Use>
int with_value(const Container *container, const char *key, typename Row::argument value, Use use)
{
    if (container == nullptr || key == nullptr || Row::missing(value)) {
        return EINVAL;
    }
    return Row::with_text(value, use);
}

// The same with formatted text.
template <class Container, class Use>
int with_format(const Container *container, const char *key, const char *format, va_list arguments,
                Use use)
{
    if (container == nullptr || key == nullptr || format == nullptr) {
        return EINVAL;
    }
    return with_formatted(format, arguments, use);
}

// Operations that take the text as their last arguments, such as an insert.
template <class Container>
using operation = int (*)(Container *container, const char *key, const void *data,
                          std::uint32_t length);

template <class Container>
auto call_with_text(operation<Container> call, Container *container, const char *key)
{
    return [=](const char *text, std::uint32_t size) {
        return call(container, key, text, size);
    };
}

template <class Row, class Container>
int write_value(operation<Container> call, Container *container, const char *key,
                typename Row::argument value)
{
    return with_value<Row>(container, key, value, call_with_text(call, container, key));
}

template <class Container>
int write_formatted(operation<Container> call, Container *container, const char *key,
                    const char *format, va_list arguments)
{
    return with_format(container, key, format, arguments, call_with_text(call, container, key));
}

// A reader's fetch(value, length) gives the value's bytes: 0, or an error that it passes on.

template <class Row, class Fetch>
int read_value(typename Row::output *out, Fetch fetch)
{
    if (out == nullptr) {
        return EINVAL;
    }
    const void *value;
    std::uint32_t length;
    const int result = fetch(&value, &length);
    return result != 0 ? result : Row::parse(value, length, out);
}

// Written through whatever the result, and may be null: get(seconds) is the reader of an int32.
template <class Get>
int read_time(std::int32_t *out, Get get)
{
    std::int32_t seconds = 0;
    const int result = get(&seconds);
    if (out != nullptr) {
        *out = seconds;
    }
    return result;
}

template <class Fetch>
int read_text(char *buffer, std::uint32_t size, Fetch fetch)
{
    if (buffer == nullptr) {
        return EINVAL;
    }
    const void *value;
    std::uint32_t length;
    const int result = fetch(&value, &length);
    if (result == 0) {
        copy_text(buffer, size, value, length);
    }
    return result;
}

template <class Fetch>
int read_copy(char **out, Fetch fetch)
{
    if (out == nullptr) {
        return EINVAL;
    }
    const void *value;
    std::uint32_t length;
    const int result = fetch(&value, &length);
    return result != 0 ? result : duplicate(value, length, out);
}

} // namespace textmaps
