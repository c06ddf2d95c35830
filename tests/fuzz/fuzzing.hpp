// What every fuzz target needs: to take its input apart, and to check.
#pragma once

#ifdef NDEBUG
#error "a fuzz target checks with assert"
#endif

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Fails where it is called, unless the call gave the expected result.
inline void expect(int result, int expected, const char *file = __builtin_FILE(),
                   int line = __builtin_LINE())
{
    if (result != expected) {
        std::fprintf(stderr, "%s:%d: %d instead of %d\n", file, line, result, expected);
        std::abort();
    }
}

// The input as the things that it says. Nothing depends on the target's byte order or on the width of
// its types, so that an input means the same everywhere. Past its end there are zeros.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t *data, std::size_t size)
        : bytes_(reinterpret_cast<const char *>(data), size)
    {
    }

    bool at_end() const
    {
        return bytes_.empty();
    }

    std::uint8_t byte()
    {
        return at_end() ? 0 : static_cast<std::uint8_t>(bytes(1)[0]);
    }

    // The most significant byte first.
    std::uint64_t number()
    {
        std::uint64_t number = 0;
        for (int i = 0; i < 8; ++i) {
            number = number << 8 | byte();
        }
        return number;
    }

    // As many bytes, or what there is.
    std::string bytes(std::size_t length)
    {
        const std::string_view taken = bytes_.substr(0, length);
        bytes_.remove_prefix(taken.size());
        return std::string(taken);
    }

    std::string rest()
    {
        return bytes(bytes_.size());
    }

  private:
    std::string_view bytes_;
};
