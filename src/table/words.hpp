// Eight bytes at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace textmaps {

// Defined where what is computed of eight bytes at once is faster than byte by byte. The first byte is
// in the lowest lane then.
#if __SIZEOF_POINTER__ == 8 && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define TEXTMAPS_BY_WORDS
#endif

inline std::uint64_t load(const char *from)
{
    std::uint64_t bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return bytes;
}

// Whether the bytes are the same: for short runs, such as keys, faster than a call of memcmp. The last
// word overlaps the one before.
inline bool same_bytes(const char *a, const char *b, std::size_t size)
{
    if (size < 8) {
        return std::memcmp(a, b, size) == 0;
    }
    const std::size_t last = size - 8;
    for (std::size_t at = 0; at < last; at += 8) {
        if (load(a + at) != load(b + at)) {
            return false;
        }
    }
    return load(a + last) == load(b + last);
}

constexpr std::uint64_t in_every_lane(std::uint64_t byte)
{
    return byte * 0x0101010101010101;
}

} // namespace textmaps
