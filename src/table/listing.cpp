#include "listing.hpp"

#include "allocate.hpp"

#include <cstdarg>
#include <cstring>

namespace textmaps {

namespace {

// The keys, each with what item(node, ordinal) gives, sorted. The array is the holder's to free; null
// when there is no memory. One walk and one allocation: std::sort rather than qsort, which may
// allocate scratch of its own.
listed *sorted(table in, listed (*item)(table in, const links &node, std::int32_t ordinal))
{
    const auto keys = static_cast<std::size_t>(in.numkeys());
    auto *items = static_cast<listed *>(allocate_array(keys, sizeof(listed)));
    if (items != nullptr) {
        std::int32_t count = 0;
        for (const links &node : nodes(in)) {
            items[count] = item(in, node, count);
            ++count;
        }
        std::sort(items, items + count,
                  [](const listed &a, const listed &b) { return _sort_compare(a, b) < 0; });
    }
    return items;
}

listed with_ordinal(table in, const links &node, std::int32_t ordinal)
{
    listed item{in.key(node), {}};
    item.ordinal = ordinal;
    return item;
}

listed with_node(table in, const links &node, std::int32_t)
{
    return {in.key(node), {&node}};
}

// What a look-up of the node's key finds: the node, unless a hash function that does not fold case
// has let another spelling stand before it in its bucket.
void print_found(table in, const links &node, rendering as, print_fn print, void *context)
{
    const links *found = in.set().casekeys == 0 ? &node : find(in, in.key(node));
    if (found != nullptr) {
        as.node(in.key(node), *found, print, context);
    }
}

void print_all(table in, rendering as, print_fn print, void *context)
{
    if (isempty(in)) {
        print(context, empty_notice);
        return;
    }
    as.header(in, print, context);
    print_sorted(in, as, print, context);
}

// The text so far, always terminated, and the room behind it, NUL included: at least 1.
struct text_buffer {
    char *end;
    std::size_t room;
};

// Context: a text_buffer. What does not fit is cut.
int print_to_buffer(void *buffer, const char *format, ...)
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

} // namespace

int _sort_compare(const listed &a, const listed &b)
{
    // Most keys differ in their first byte, which saves the call.
    const int order = static_cast<unsigned char>(*a.key) - static_cast<unsigned char>(*b.key);
    return order != 0 ? order : std::strcmp(a.key, b.key);
}

int sort_keys(table in, listed **items, std::int32_t *count)
{
    if (items == nullptr || count == nullptr) {
        return EINVAL;
    }
    listed *list = sorted(in, with_ordinal);
    if (list == nullptr) {
        return ENOMEM;
    }
    *items = list;
    *count = in.numkeys();
    return 0;
}

void print_sorted(table in, rendering as, print_fn print, void *context)
{
    listed *list = sorted(in, with_node);
    if (list == nullptr) {
        for (const links &node : nodes(in)) {
            print_found(in, node, as, print, context);
        }
        return;
    }
    const listed *end = list + in.numkeys();
    for (const listed *item = list; item != end; ++item) {
        print_found(in, *item->node, as, print, context);
    }
    std::free(list);
}

int print_to_stream(void *stream, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = std::vfprintf(static_cast<FILE *>(stream), format, arguments);
    va_end(arguments);
    return result;
}

void dump(table in, rendering as, FILE *stream)
{
    if (stream != nullptr) {
        print_all(in, as, print_to_stream, stream);
    }
}

std::uint32_t sndump(table in, rendering as, char *buffer, std::uint32_t size)
{
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    text_buffer text{buffer, size};
    print_all(in, as, print_to_buffer, &text);
    return static_cast<std::uint32_t>(text.end - buffer);
}

} // namespace textmaps
