// Listings, and the sinks that a rendering is written to.
#pragma once

#include "table.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace textmaps {

// A sink is a printf-like function and its context.
using print_fn = int (*)(void *context, const char *format, ...);

// Context: a FILE.
int print_to_stream(void *stream, const char *format, ...);

// How a family prints its header and its nodes; `name` is a key of the table, `node` what a look-up
// of it finds.
struct rendering {
    void (*header)(table in, print_fn print, void *context);
    void (*node)(const char *name, const links &node, print_fn print, void *context);
};

// Prints what is found under every key in sorted order, or in iteration order where there is no
// memory to sort in.
void print_sorted(table in, rendering as, print_fn print, void *context);

// A dump is the notice for a table that is null or empty, or else its header and its nodes.
constexpr char empty_notice[] = "map is empty\n";

void dump(table in, rendering as, FILE *stream);

// The same as text, cut to size - 1 characters: its length.
std::uint32_t sndump(table in, rendering as, char *buffer, std::uint32_t size);

// The precision that prints a value of `length` bytes with "%.*s": up to its first NUL, never past
// its end. A negative precision would mean none.
inline int precision(std::uint32_t length)
{
    return static_cast<int>(std::min<std::uint32_t>(length, INT_MAX));
}

} // namespace textmaps
