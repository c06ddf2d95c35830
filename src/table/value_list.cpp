#include "value_list.hpp"

#include "allocate.hpp"

#include <cstring>

namespace textmaps {

namespace {

lists *lists_in(table in)
{
    return reinterpret_cast<lists *>(in.record());
}

value_node *as_value(links *node)
{
    return reinterpret_cast<value_node *>(node);
}

// Header and text in one block, without values and linked nowhere; null when there is no memory.
key_node *make_key(const place &at)
{
    auto *node = static_cast<key_node *>(allocate_node(sizeof(key_node), at.of.size, 0));
    if (node != nullptr) {
        node->key = static_cast<char *>(std::memcpy(node + 1, at.key, at.of.size));
        node->count = 0;
        chain_init(node->values);
    }
    return node;
}

void append(lists *in, key_node &key, value_node &value)
{
    chain_append(key.values, value.link);
    ++key.count;
    ++in->numvalues;
}

// Frees a key that is linked nowhere, and its values.
void release_key(links &node)
{
    links *value = as_key(&node).values.next;
    while (value != nullptr) {
        links *next = value->next;
        std::free(value);
        value = next;
    }
    std::free(&node);
}

// Of keys that become equal, the values that the surviving key does not hold move to the end of its
// list.
void absorb_key(table in, links &survivor, links &node)
{
    key_node &key = as_key(&survivor);
    while (links *link = chain_take_first(as_key(&node).values)) {
        value_node *value = as_value(link);
        --lists_in(in)->numvalues;
        if (find_value(key, value->data, value->len) != nullptr) {
            std::free(value);
        } else {
            append(lists_in(in), key, *value);
        }
    }
    std::free(&node);
}

// Adds a new key: 0, 1 at the key limit, 12.
int add_key(lists *in, place &at)
{
    if (at_key_limit(table_of(in))) {
        return refused;
    }
    key_node *node = make_key(at);
    if (node == nullptr) {
        return ENOMEM;
    }
    link_node(table_of(in), at, node->link);
    at.node = &node->link;
    return 0;
}

// A key that values are added to. `held` is its node as it was found, `at.node` as it is now: null
// while there is no such key.
struct target {
    lists *in;
    place at;
    const links *held;
};

int add_value(target &to, const void *data, std::uint32_t length, adding how)
{
    // A multimap's values are distinct, and so are those that are added to it at a time: they are
    // sought among those that the key had before.
    const links *among = how.indexed ? to.at.node : to.held;
    if (how.present != equal_value::add && among != nullptr &&
        find_value(as_key(among), data, length) != nullptr) {
        return how.present == equal_value::skip ? 0 : refused;
    }
    value_node *value = make_value(how.header, data, length);
    if (value == nullptr) {
        return ENOMEM;
    }
    if (to.at.node == nullptr) {
        const int result = add_key(to.in, to.at);
        if (result != 0) {
            std::free(value);
            return result;
        }
    }
    key_node &key = as_key(to.at.node);
    if (how.indexed) {
        index_of(*value) = key.count;
    }
    append(to.in, key, *value);
    return 0;
}

// Adds the values of one key, or those that `common` holds too; the first failure ends it.
int add_values(target to, const key_node &key, adding how, const links *common = nullptr)
{
    for (value_node *value = first_value(key); value != nullptr; value = next_value(*value)) {
        if (common != nullptr && find_value(as_key(common), value->data, value->len) == nullptr) {
            continue;
        }
        const int result = add_value(to, value->data, value->len, how);
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

target target_of(lists *in, const place &at)
{
    return {in, at, at.node};
}

} // namespace

key_node *find_key(const lists *in, const char *key)
{
    return reinterpret_cast<key_node *>(lookup(table_of(in), key));
}

value_node *first_value(const key_node &key)
{
    return as_value(key.values.next);
}

value_node *next_value(const value_node &value)
{
    return as_value(value.link.next);
}

index_field &index_of(value_node &value)
{
    return *reinterpret_cast<index_field *>(reinterpret_cast<char *>(&value) + index_offset);
}

bool is_equal(const value_node &value, const void *data, std::uint32_t length)
{
    return value.len == length && std::memcmp(value.data, data, length) == 0;
}

value_node *find_value(const key_node &key, const void *data, std::uint32_t length,
                       std::uint32_t &position)
{
    position = 0;
    for (value_node *value = first_value(key); value != nullptr; value = next_value(*value)) {
        if (is_equal(*value, data, length)) {
            return value;
        }
        ++position;
    }
    return nullptr;
}

value_node *find_value(const key_node &key, const void *data, std::uint32_t length)
{
    std::uint32_t position;
    return find_value(key, data, length, position);
}

value_node *value_at(const key_node &key, std::uint32_t position)
{
    if (position >= key.count) {
        return nullptr;
    }
    value_node *value = first_value(key);
    for (; position != 0; --position) {
        value = next_value(*value);
    }
    return value;
}

int init_lists(lists *in, std::uint32_t hashsize)
{
    if (in == nullptr) {
        return EINVAL;
    }
    in->maxvalues = -1;
    in->numvalues = 0;
    return init(table_of(in), hashsize);
}

int clear_lists(lists *in)
{
    // Without keys nothing is looked at, and nothing set.
    const bool holds_keys = in != nullptr && in->numkeys > 0;
    const int result = clear(table_of(in), release_key);
    if (holds_keys) {
        in->numvalues = 0;
    }
    return result;
}

int destroy_lists(lists *in)
{
    const int result = clear_lists(in);
    if (result == 0) {
        release_buckets(table_of(in));
    }
    return result;
}

value_node *make_value(std::uint8_t header, const void *data, std::uint32_t length)
{
    auto *value = static_cast<value_node *>(allocate_node(header, length, 0));
    if (value != nullptr) {
        value->data = std::memcpy(reinterpret_cast<char *>(value) + header, data, length);
        value->len = length;
    }
    return value;
}

int add_value(lists *in, const char *key, const void *data, std::uint32_t length, adding how)
{
    if (unusable(in, key) || data == nullptr) {
        return EINVAL;
    }
    target to = target_of(in, locate(table_of(in), key));
    return add_value(to, data, length, how);
}

bool drop_value(lists *in, const place &at, value_node *value)
{
    key_node &key = as_key(at.node);
    chain_remove(key.values, value->link);
    --key.count;
    --in->numvalues;
    std::free(value);
    if (key.count != 0) {
        return true;
    }
    unlink_node(table_of(in), at);
    release_key(*at.node);
    return false;
}

int erase_key(lists *in, const char *key)
{
    if (unusable(in, key)) {
        return EINVAL;
    }
    const place at = locate(table_of(in), key);
    if (at.node == nullptr) {
        return ENOENT;
    }
    in->numvalues -= static_cast<std::int32_t>(as_key(at.node).count);
    unlink_node(table_of(in), at);
    release_key(*at.node);
    return 0;
}

int index_value(const lists *in, const char *key, std::uint32_t position, const void **data,
                std::uint32_t *length)
{
    if (unusable(in, key)) {
        return EINVAL;
    }
    const key_node *node = find_key(in, key);
    const value_node *value = node != nullptr ? value_at(*node, position) : nullptr;
    if (data != nullptr) {
        *data = value != nullptr ? value->data : nullptr;
    }
    if (length != nullptr) {
        *length = value != nullptr ? value->len : 0;
    }
    return value != nullptr ? 0 : ENOENT;
}

const char *key_elem(const key_iter *iter)
{
    return iter != nullptr && iter->map != nullptr && iter->node != nullptr ? iter->node->key
                                                                            : nullptr;
}

const char *key_first(const lists *in, key_iter *iter)
{
    if (!has_buckets(table_of(in)) || iter == nullptr) {
        return nullptr;
    }
    iter->map = in;
    iter->bucket = 0;
    iter->node = reinterpret_cast<key_node *>(first_from(table_of(in), iter->bucket));
    return key_elem(iter);
}

const char *key_next(key_iter *iter)
{
    if (key_elem(iter) == nullptr) {
        return nullptr;
    }
    const links *next = next_after(table_of(iter->map), iter->node->link, iter->bucket);
    if (next == nullptr) {
        iter->bucket = iter->map->set.hashsize;
        return nullptr;
    }
    iter->node = &as_key(next);
    return iter->node->key;
}

void print_values(const char *name, const links &node, print_fn print, void *context)
{
    unsigned int position = 0;
    for (const value_node *value = first_value(as_key(&node)); value != nullptr;
         value = next_value(*value)) {
        print(context, " %s[%u]=%.*s\n", name, position++, precision(value->len),
              static_cast<const char *>(value->data));
    }
}

void print_header(const char *family, table in, print_fn print, void *context)
{
    const lists *record = lists_in(in);
    print(context, "%s %p hashsize=%d numkeys=%d numvalues=%d\n", family,
          static_cast<const void *>(record), static_cast<int>(record->set.hashsize),
          record->numkeys, record->numvalues);
}

void print_lists(const lists *in, print_fn print, void *context)
{
    if (print == nullptr) {
        return;
    }
    if (isempty(table_of(in))) {
        print(context, empty_notice);
    } else {
        print_sorted(table_of(in), {nullptr, print_values}, print, context);
    }
}

int setcasekeys_lists(lists *in, std::uint32_t flag)
{
    return setcasekeys(table_of(in), flag, absorb_key);
}

int add_all(lists *dst, const lists *src, adding how, std::uint32_t buckets)
{
    for (std::uint32_t i = 0; i < std::min(buckets, src->set.hashsize); ++i) {
        for (const links *node = src->set.buckets[i].next; node != nullptr; node = node->next) {
            if (!has_buckets(table_of(dst))) {
                return EINVAL;
            }
            const place at = locate_key_of(table_of(src), *node, table_of(dst));
            const int result = add_values(target_of(dst, at), as_key(node), how);
            if (result != 0) {
                return result;
            }
        }
    }
    return 0;
}

int start(const lists *a, const lists *b, lists *dst)
{
    if (a == nullptr || b == nullptr || dst == a || dst == b) {
        return EINVAL;
    }
    return clear_lists(dst);
}

int finish(lists *dst, int result)
{
    if (result != 0) {
        clear_lists(dst);
    }
    return result;
}

int intersection(const lists *a, const lists *b, lists *dst, adding how)
{
    int result = start(a, b, dst);
    if (result != 0) {
        return result;
    }
    for (const links &node : nodes(table_of(a))) {
        const links *other = lookup_key_of(table_of(a), node, table_of(b));
        if (other == nullptr) {
            continue;
        }
        const place at = locate_key_of(table_of(a), node, table_of(dst));
        result = add_values(target_of(dst, at), as_key(&node), how, other);
        if (result != 0) {
            break;
        }
    }
    return finish(dst, result);
}

int copy_lists(const lists *src, lists *dst, adding how)
{
    int result = start(src, src, dst);
    if (result == 0 && dst->set.hashsize != src->set.hashsize) {
        result = sethashsize(table_of(dst), src->set.hashsize);
    }
    if (result != 0) {
        return result;
    }
    for (const links &node : nodes(table_of(src))) {
        const place at = locate_copy_of(table_of(src), node, table_of(dst));
        result = add_values(target_of(dst, at), as_key(&node), how);
        if (result != 0) {
            break;
        }
    }
    return finish(dst, result);
}

bool isequal_lists(const lists *a, const lists *b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    if (a->numkeys != b->numkeys || a->numvalues != b->numvalues) {
        return false;
    }
    for (const links &node : nodes(table_of(a))) {
        const key_node &key = as_key(&node);
        const links *other = lookup_key_of(table_of(a), node, table_of(b));
        if (other == nullptr) {
            return false;
        }
        for (value_node *value = first_value(key); value != nullptr; value = next_value(*value)) {
            if (find_value(as_key(other), value->data, value->len) == nullptr) {
                return false;
            }
        }
    }
    return true;
}

} // namespace textmaps
