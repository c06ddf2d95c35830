// The tail queue: the one place that links and unlinks nodes.
//
//     head                 node A               node B
//     +-------+    +---->  +------+    +---->   +------+
//     | first | ---+       | next | ---+        | next | ---> null
//     +-------+ <--------- | prev |      <----- | prev |
//     | last  | --+        +------+ (A.next)    +------+
//     +-------+   +---------------------------->  B.next
//
// `prev` and `last` hold the address of the pointer that leads to a node: a `next`, or the head's
// `first`. So appending never walks the chain, and a node unlinks itself without knowing its
// neighbours' kinds.
//
// The same pointer is therefore reached as a node's `next`, which is typed, and as a head's
// `first`, which the families share and is not. Both read and write it through `link_get` and
// `link_set`, as bytes, so that no alias analysis may tell the two apart. Compilers make one
// instruction of each.
#pragma once

#include <cstring>

namespace textmaps {

template <class Node>
Node *link_get(const void *link)
{
    Node *node;
    std::memcpy(&node, link, sizeof(void *));
    return node;
}

inline void link_set(void *link, const void *node)
{
    std::memcpy(link, &node, sizeof(void *));
}

template <class Head>
void chain_init(Head &head)
{
    link_set(&head.first, nullptr);
    link_set(&head.last, &head.first);
}

template <class Node, class Head>
Node *chain_first(const Head &head)
{
    return link_get<Node>(&head.first);
}

template <class Node>
Node *chain_next(const Node &node)
{
    return link_get<Node>(&node.next);
}

template <class Head, class Node>
void chain_append(Head &head, Node &node)
{
    void *last = link_get<void>(&head.last);
    link_set(&node.next, nullptr);
    link_set(&node.prev, last);
    link_set(last, &node);
    link_set(&head.last, &node.next);
}

template <class Head, class Node>
void chain_remove(Head &head, Node &node)
{
    void *prev = link_get<void>(&node.prev);
    if (Node *next = chain_next(node)) {
        link_set(&next->prev, prev);
    } else {
        link_set(&head.last, prev);
    }
    link_set(prev, chain_next(node));
}

// Puts a node that is linked nowhere in the place of `old`.
template <class Head, class Node>
void chain_replace(Head &head, Node &old, Node &node)
{
    void *prev = link_get<void>(&old.prev);
    Node *next = chain_next(old);
    link_set(&node.next, next);
    link_set(&node.prev, prev);
    link_set(prev, &node);
    link_set(next != nullptr ? static_cast<void *>(&next->prev) : &head.last, &node.next);
}

// Unlinks and returns the first node; null when the chain is empty.
template <class Node, class Head>
Node *chain_take_first(Head &head)
{
    Node *node = chain_first<Node>(head);
    if (node != nullptr) {
        chain_remove(head, *node);
    }
    return node;
}

// for (Node &node : chained<Node>(head)), over a chain that does not change meanwhile.
template <class Node>
class chained {
  public:
    class iterator {
      public:
        explicit iterator(Node *node) : node_(node)
        {
        }
        Node &operator*() const
        {
            return *node_;
        }
        bool operator!=(const iterator &other) const
        {
            return node_ != other.node_;
        }
        iterator &operator++()
        {
            node_ = chain_next(*node_);
            return *this;
        }

      private:
        Node *node_;
    };

    template <class Head>
    explicit chained(const Head &head) : first_(chain_first<Node>(head))
    {
    }
    iterator begin() const
    {
        return iterator(first_);
    }
    iterator end() const
    {
        return iterator(nullptr);
    }

  private:
    Node *first_;
};

// Moves the whole of `from` to the tail of `to`, in order.
template <class Node, class Head>
void chain_splice(Head &to, Head &from)
{
    Node *first = chain_first<Node>(from);
    if (first == nullptr) {
        return;
    }
    void *last = link_get<void>(&to.last);
    link_set(last, first);
    link_set(&first->prev, last);
    link_set(&to.last, link_get<void>(&from.last));
    chain_init(from);
}

} // namespace textmaps
