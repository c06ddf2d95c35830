// Listings: the keys in sorted order, and the sinks that a rendering is written to.
#pragma once

#include "table.hpp"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>

namespace textmaps {

// Byte order of the keys, whatever `casekeys` says. No two keys of a table compare equal by it.
template <class Item>
int _sort_compare(const Item &a, const Item &b)
{
    return std::strcmp(a.key, b.key);
}

template <class Item>
bool key_order(const Item &a, const Item &b)
{
    return _sort_compare(a, b) < 0;
}

// One item for each key, sorted by key. The array is the holder's to free; null when there is no
// memory.
template <class Item>
struct listing {
    Item *items;
    std::int32_t count;
};

// The items are made by make(node, ordinal), in one walk and one allocation. std::sort rather than
// qsort, which may allocate scratch of its own.
template <class Item, class Table, class Make>
listing<Item> sorted(const Table &table, Make make)
{
    const auto keys = static_cast<std::size_t>(table.numkeys);
    listing<Item> list{static_cast<Item *>(allocate_array(keys, sizeof(Item))), 0};
    if (list.items != nullptr) {
        for (const auto &node : nodes(table)) {
            list.items[list.count] = make(node, list.count);
            ++list.count;
        }
        std::sort(list.items, list.items + list.count, key_order<Item>);
    }
    return list;
}

// The keys and their positions, sorted: 0, with an array that the caller frees and its length; 22
// if an output is null; 12.
template <class Table, class Item>
int sort_keys(const Table &table, Item **items, std::int32_t *count)
{
    if (items == nullptr || count == nullptr) {
        return EINVAL;
    }
    const auto list = sorted<Item>(table, [](const node_of<Table> &node, std::int32_t ordinal) {
        return Item{node.key, ordinal};
    });
    if (list.items == nullptr) {
        return ENOMEM;
    }
    *items = list.items;
    *count = list.count;
    return 0;
}

// The item of visit_sorted: one type for all tables, so that there is one copy of the sort.
struct listed {
    const char *key;
    const void *node;
};

// Calls visit(key, node) with the node that a look-up of the node's key finds: itself, unless a hash
// function that does not fold case has let another spelling stand before it in its bucket.
template <class Table, class Visit>
void visit_found(const Table &table, const node_of<Table> &node, Visit visit)
{
    const node_of<Table> *found = table.casekeys == 0 ? &node : find(table, node.key);
    if (found != nullptr) {
        visit(node.key, *found);
    }
}

// Visits what is found under every key in sorted order, or in iteration order where there is no
// memory to sort in.
template <class Table, class Visit>
void visit_sorted(const Table &table, Visit visit)
{
    const auto list = sorted<listed>(table, [](const node_of<Table> &node, std::int32_t) {
        return listed{node.key, &node};
    });
    if (list.items == nullptr) {
        for (const auto &node : nodes(table)) {
            visit_found(table, node, visit);
        }
        return;
    }
    for (std::int32_t i = 0; i < list.count; ++i) {
        visit_found(table, *static_cast<const node_of<Table> *>(list.items[i].node), visit);
    }
    std::free(list.items);
}

// A sink is a printf-like function and its context: a caller's own, or one of the two below.
using print_fn = int (*)(void *context, const char *format, ...);

// Context: a FILE.
inline int print_to_stream(void *stream, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = std::vfprintf(static_cast<FILE *>(stream), format, arguments);
    va_end(arguments);
    return result;
}

// The text so far, always terminated, and the room behind it, NUL included: at least 1.
struct text_buffer {
    char *end;
    std::size_t room;
};

// Context: a text_buffer. What does not fit is cut.
inline int print_to_buffer(void *buffer, const char *format, ...)
{
    auto &text = *static_cast<text_buffer *>(buffer);
    va_list arguments;
    va_start(arguments, format);
    // POSIX lets vsnprintf refuse a size above INT_MAX, and write nothing.
    const std::size_t room = std::min<std::size_t>(text.room, INT_MAX);
    const int result = std::vsnprintf(text.end, room, format, arguments);
    va_end(arguments);
    const std::size_t added = std::strlen(text.end);
    text.end += added;
    text.room -= added;
    return result;
}

// The precision that prints a value of `length` bytes with "%.*s": up to its first NUL, never past
// its end. A negative precision would mean none.
inline int precision(std::uint32_t length)
{
    return static_cast<int>(std::min<std::uint32_t>(length, INT_MAX));
}

constexpr char empty_notice[] = "map is empty\n";

// A dump is the notice for a table that is null or empty, or else what render(table, print,
// context) prints.

template <class Table, class Render>
void print_all(const Table *table, print_fn print, void *context, Render render)
{
    if (isempty(table)) {
        print(context, empty_notice);
    } else {
        render(*table, print, context);
    }
}

template <class Table, class Render>
void dump(const Table *table, FILE *stream, Render render)
{
    if (stream != nullptr) {
        print_all(table, print_to_stream, stream, render);
    }
}

template <class Table, class Render>
std::uint32_t sndump(const Table *table, char *buffer, std::uint32_t size, Render render)
{
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    text_buffer text{buffer, size};
    print_all(table, print_to_buffer, &text, render);
    return static_cast<std::uint32_t>(text.end - buffer);
}

} // namespace textmaps
