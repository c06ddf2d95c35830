#include "text.hpp"

#include <cstdio>

namespace textmaps {

void copy_text(char *buffer, std::uint32_t size, const void *value, std::uint32_t length)
{
    if (size == 0) {
        return;
    }
    const std::size_t text = strnlen(static_cast<const char *>(value), length);
    const std::size_t copied = text < size ? text : size - 1;
    std::memmove(buffer, value, copied);
    buffer[copied] = '\0';
}

int read_text(const stored &from, char *buffer, std::uint32_t size)
{
    if (buffer == nullptr) {
        return EINVAL;
    }
    if (from.result == 0) {
        copy_text(buffer, size, from.data, from.length);
    }
    return from.result;
}

int read_copy(const stored &from, char **out)
{
    if (out == nullptr) {
        return EINVAL;
    }
    if (from.result != 0) {
        return from.result;
    }
    *out = static_cast<char *>(std::malloc(from.length));
    if (*out == nullptr) {
        return ENOMEM;
    }
    std::memcpy(*out, from.data, from.length);
    return 0;
}

int formatted_text::render(const void *container, const char *key, const char *format,
                           va_list arguments)
{
    if (container == nullptr || key == nullptr || format == nullptr) {
        return EINVAL;
    }
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        return errno;
    }
    size_ = static_cast<std::uint32_t>(length) + 1;
    text_ = static_cast<char *>(std::malloc(size_));
    if (text_ == nullptr) {
        return ENOMEM;
    }
    return std::vsnprintf(text_, size_, format, arguments) < 0 ? errno : 0;
}

} // namespace textmaps
