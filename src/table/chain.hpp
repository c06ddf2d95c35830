// The tail queue: the one place that links and unlinks nodes.
//
//     head                 node A               node B
//     +-------+    +---->  +------+    +---->   +------+
//     | first | ---+       | next | ---+        | next | ---> null
//     +-------+ <--------- | prev |  <--------- | prev |
//     | last  | ---+       +------+             +------+
//     +-------+    +----------------------------^
//
// `prev` and `last` hold the address of the pointer that leads to a node: a `next`, or the head's
// `first`. So appending never walks the chain, and a node unlinks itself without knowing what is
// before it.
//
// In every record of the public headers these pointers come first. Whatever its family calls and
// types them, a node or a head begins with `links`, and the address of a `next` or `first` is that
// of the links that it begins. They are read and written through this one type, which may alias.
#pragma once

#include <textmaps/bucket.h>

namespace textmaps {

struct [[gnu::may_alias]] links {
    links *next; // of a head: first
    links *prev; // of a head: last
};
static_assert(sizeof(links) == sizeof(map_bucket_t));

inline void chain_init(links &head)
{
    head.next = nullptr;
    head.prev = &head;
}

inline void chain_append(links &head, links &node)
{
    node.next = nullptr;
    node.prev = head.prev;
    head.prev->next = &node;
    head.prev = &node;
}

inline void chain_remove(links &head, const links &node)
{
    (node.next != nullptr ? *node.next : head).prev = node.prev;
    node.prev->next = node.next;
}

// Puts a node that is linked nowhere in the place of `old`.
inline void chain_replace(links &head, const links &old, links &node)
{
    node = old;
    old.prev->next = &node;
    (old.next != nullptr ? *old.next : head).prev = &node;
}

// Unlinks and returns the first node; null when the chain is empty.
inline links *chain_take_first(links &head)
{
    links *node = head.next;
    if (node != nullptr) {
        chain_remove(head, *node);
    }
    return node;
}

// Moves the whole of `from` to the tail of `to`, in order.
inline void chain_splice(links &to, links &from)
{
    if (from.next == nullptr) {
        return;
    }
    to.prev->next = from.next;
    from.next->prev = to.prev;
    to.prev = from.prev;
    chain_init(from);
}

} // namespace textmaps
