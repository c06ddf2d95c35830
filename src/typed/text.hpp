// Text in and out: what the str and fmt rows of every family have in common.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace textmaps {

// The value as text, up to its first NUL, cut to size - 1 characters. With size 0 nothing is
// written.
inline void copy_text(char *buffer, std::uint32_t size, const void *value, std::uint32_t length)
{
    if (size == 0) {
        return;
    }
    const std::size_t text = strnlen(static_cast<const char *>(value), length);
    const std::size_t copied = text < size ? text : size - 1;
    std::memmove(buffer, value, copied);
    buffer[copied] = '\0';
}

// All bytes of the value in memory of their own, stored through `out` even when it is null (12).
inline int duplicate(const void *value, std::uint32_t length, char **out)
{
    *out = static_cast<char *>(std::malloc(length));
    if (*out == nullptr) {
        return ENOMEM;
    }
    std::memcpy(*out, value, length);
    return 0;
}

// Calls store(text, size) with the formatted text, its NUL counted. The text is complete before
// anything is stored, so format and arguments may lie in the container.
template <class Store>
int with_formatted(const char *format, va_list arguments, Store store)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        return errno;
    }
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    auto *text = static_cast<char *>(std::malloc(size));
    if (text == nullptr) {
        return ENOMEM;
    }
    const int written = std::vsnprintf(text, size, format, arguments);
    const int result = written < 0 ? errno : store(text, static_cast<std::uint32_t>(size));
    std::free(text);
    return result;
}

} // namespace textmaps
