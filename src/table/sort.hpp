// The keys of a table in byte order, whatever its `casekeys` says.
#pragma once

#include "table.hpp"

#include <cstdint>

namespace textmaps {

// A node, and a word that sorting keeps beside it, of no meaning to others.
struct [[gnu::may_alias]] sortable {
    const links *node;
    std::uintptr_t word;
};

// The nodes, sorted. The array, one allocation, is the holder's to free; null when there is no memory.
sortable *sorted(table in);

// A key and its position in iteration order: what the families call a sort item.
struct [[gnu::may_alias]] sort_item {
    const char *key;
    std::int32_t ordinal;
};

// A family's pointer to its sort items.
using sort_items [[gnu::may_alias]] = sort_item *;

// The keys and their positions, sorted: 0, with an array that the caller frees and its length; 22 if
// an output is null; 12.
int sort_keys(table in, sort_items *items, std::int32_t *count);

} // namespace textmaps
