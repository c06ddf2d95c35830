// Text in and out: what the str and fmt rows of every family have in common.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace textmaps {

// A value as its container gave it out, or the error of the look-up.
struct stored {
    int result;
    const void *data;
    std::uint32_t length;
};

// The value as text, up to its first NUL, cut to size - 1 characters. With size 0 nothing is
// written.
void copy_text(char *buffer, std::uint32_t size, const void *value, std::uint32_t length);

// The same into a caller's buffer: 0, 22 if there is none, or the error of the look-up.
int read_text(const stored &from, char *buffer, std::uint32_t size);

// All bytes of the value in memory of their own, stored through `out` even when it is null (12).
int read_copy(const stored &from, char **out);

// Formatted text in memory of its own. It is complete before anything is stored, so that format and
// arguments may lie in the container.
class formatted_text {
  public:
    formatted_text() = default;
    formatted_text(const formatted_text &) = delete;
    formatted_text &operator=(const formatted_text &) = delete;
    ~formatted_text()
    {
        std::free(text_);
    }

    // 0; 22 for a missing container, key or format; 12; the errno of the formatting.
    int render(const void *container, const char *key, const char *format, va_list arguments);

    const char *data() const
    {
        return text_;
    }
    // In bytes, the NUL counted.
    std::uint32_t size() const
    {
        return size_;
    }

  private:
    char *text_ = nullptr;
    std::uint32_t size_ = 0;
};

} // namespace textmaps
