// Allocation with the size computed in full: on a 32-bit target a length near 4 GiB overflows.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace textmaps {

// A block of header + body + tail bytes from malloc. Null when the sum does not fit size_t, as when
// there is no memory.
inline void *allocate_node(std::size_t header, std::size_t body, std::size_t tail)
{
    std::size_t size;
    if (__builtin_add_overflow(header, body, &size) || __builtin_add_overflow(size, tail, &size)) {
        return nullptr;
    }
    return std::malloc(size);
}

// Room for count items of one size; null as above.
inline void *allocate_array(std::size_t count, std::size_t item)
{
    std::size_t size;
    if (__builtin_mul_overflow(count, item, &size)) {
        return nullptr;
    }
    return std::malloc(size);
}

} // namespace textmaps
