#include "listing.hpp"

#include "sort.hpp"

#include <cstdarg>
#include <cstring>

namespace textmaps {

namespace {

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

void print_sorted(table in, rendering as, print_fn print, void *context)
{
    sortable *list = sorted(in);
    if (list == nullptr) {
        for (const links &node : nodes(in)) {
            print_found(in, node, as, print, context);
        }
        return;
    }
    // Sorted, nodes lie anywhere in memory: each is asked for some lines before its own.
    constexpr std::ptrdiff_t ahead = 8;
    const sortable *const end = list + in.numkeys();
    for (const sortable *item = list; item != end; ++item) {
        __builtin_prefetch(item[std::min(ahead, end - item - 1)].node);
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
