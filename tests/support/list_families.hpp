// The two families that keep lists of values, under common names: what they have in common is tested
// once for both.
#pragma once

#include "arraymap_fixture.hpp"
#include "multimap_fixture.hpp"
#include "type_name.hpp"

#include "arraymap_internal.h"
#include "multimap_internal.h"

struct MultimapFamily {
    static constexpr const char *name = "Multimap";
    static constexpr bool keeps_equal_values = false;
    using Test = MultimapTest;
    using Own = Multimap;
    using Container = multimap_t;
    using KeyNode = multimap_key_t;
    using ValueNode = multimap_value_t;
    using SortItem = multimap_sort_item_t;
    using KeyIterator = multimap_key_iter_t;
    using ValueIterator = multimap_value_iter_t;
    // Numbers of buckets that it can have.
    static constexpr std::initializer_list<uint32_t> hashsizes = {1, 2, 32, 64, 2048};
    static constexpr auto released = released_multimap;
    static std::vector<multimap_t> without_buckets()
    {
        return {released_multimap()};
    }
    static constexpr std::vector<KeyValues> (*content)(const multimap_t &) = content_of;
    static constexpr auto init = multimap_init;
    static constexpr auto destroy = multimap_destroy;
    static constexpr auto clear = multimap_clear;
    static constexpr auto erase = multimap_erase;
    static constexpr auto setmaxkeys = multimap_setmaxkeys;
    static constexpr auto setmaxvalues = multimap_setmaxvalues;
    static constexpr auto sethashsize = multimap_sethashsize;
    static constexpr auto sethashfunc = multimap_sethashfunc;
    static constexpr auto setcasekeys = multimap_setcasekeys;
    static constexpr auto insert = multimap_insert;
    static constexpr auto delete_bytes = multimap_delete;
    static constexpr auto index = multimap_index;
    static constexpr auto haskey = multimap_haskey;
    static constexpr auto remove = multimap_remove;
    static constexpr auto intersection = multimap_intersection;
    static constexpr auto set_union = multimap_union;
    static constexpr auto copy = multimap_copy;
    static constexpr auto merge = multimap_merge;
    static constexpr auto isequal = multimap_isequal;
    static constexpr auto key_first = multimap_key_first;
    static constexpr auto key_next = multimap_key_next;
    static constexpr auto key_elem = multimap_key_elem;
    static constexpr auto value_first = multimap_value_first;
    static constexpr auto value_next = multimap_value_next;
    static constexpr auto value_elem = multimap_value_elem;
    static constexpr auto value_size = multimap_value_size;
    static constexpr auto value_count = multimap_value_count;
    static constexpr auto isempty = multimap_isempty;
    static constexpr auto key_count = multimap_key_count;
    static constexpr auto key_name = multimap_key_name;
    static constexpr auto dump = multimap_dump;
    static constexpr auto sndump = multimap_sndump;
    static constexpr auto print = multimap_print;
    static constexpr auto hashlist = _multimap_hashlist;
    static constexpr auto keycmp = _multimap_keycmp;
    static constexpr auto value = _multimap_value;
    static constexpr auto entry = _multimap_entry;
    static constexpr auto sort = _multimap_sort;
    static constexpr auto insert_str = multimap_insert_str;
    static constexpr auto delete_str = multimap_delete_str;
    static constexpr auto insert_fmt = multimap_insert_fmt;
    static constexpr auto delete_fmt = multimap_delete_fmt;
    static constexpr auto copy_str = multimap_copy_str;
    static constexpr auto dup_str = multimap_dup_str;
    static constexpr auto insert_time = multimap_insert_time;
    static constexpr auto get_time = multimap_get_time;
    static constexpr auto insert_macaddr = multimap_insert_macaddr;
    static constexpr auto get_macaddr = multimap_get_macaddr;
    static constexpr auto insert_ipaddr = multimap_insert_ipaddr;
    static constexpr auto delete_ipaddr = multimap_delete_ipaddr;
    static constexpr auto get_ipaddr = multimap_get_ipaddr;
    static constexpr auto insert_cidr = multimap_insert_cidr;
    static constexpr auto delete_cidr = multimap_delete_cidr;
    static constexpr auto get_cidr = multimap_get_cidr;
};

struct ArraymapFamily {
    static constexpr const char *name = "Arraymap";
    static constexpr bool keeps_equal_values = true;
    using Test = ArraymapTest;
    using Own = Arraymap;
    using Container = arraymap_t;
    using KeyNode = arraymap_key_t;
    using ValueNode = arraymap_value_t;
    using SortItem = arraymap_sort_item_t;
    using KeyIterator = arraymap_key_iter_t;
    using ValueIterator = arraymap_value_iter_t;
    // Numbers of buckets that it can have.
    static constexpr std::initializer_list<uint32_t> hashsizes = {1,  2,  3,  6,   32,
                                                                  33, 48, 64, 600, 2048};
    static constexpr auto released = released_arraymap;
    static std::vector<arraymap_t> without_buckets()
    {
        return {released_arraymap(), arraymap_without_buckets()};
    }
    static constexpr std::vector<KeyValues> (*content)(const arraymap_t &) = numbered_content_of;
    static constexpr auto init = arraymap_init;
    static constexpr auto destroy = arraymap_destroy;
    static constexpr auto clear = arraymap_clear;
    static constexpr auto erase = arraymap_erase;
    static constexpr auto setmaxkeys = arraymap_setmaxkeys;
    static constexpr auto setmaxvalues = arraymap_setmaxvalues;
    static constexpr auto sethashsize = arraymap_sethashsize;
    static constexpr auto sethashfunc = arraymap_sethashfunc;
    static constexpr auto setcasekeys = arraymap_setcasekeys;
    static constexpr auto insert = arraymap_insert;
    static constexpr auto delete_bytes = arraymap_delete;
    static constexpr auto index = arraymap_index;
    static constexpr auto haskey = arraymap_haskey;
    static constexpr auto remove = arraymap_remove;
    static constexpr auto intersection = arraymap_intersection;
    static constexpr auto set_union = arraymap_union;
    static constexpr auto copy = arraymap_copy;
    static constexpr auto merge = arraymap_merge;
    static constexpr auto isequal = arraymap_isequal;
    static constexpr auto key_first = arraymap_key_first;
    static constexpr auto key_next = arraymap_key_next;
    static constexpr auto key_elem = arraymap_key_elem;
    static constexpr auto value_first = arraymap_value_first;
    static constexpr auto value_next = arraymap_value_next;
    static constexpr auto value_elem = arraymap_value_elem;
    static constexpr auto value_size = arraymap_value_size;
    static constexpr auto value_count = arraymap_value_count;
    static constexpr auto isempty = arraymap_isempty;
    static constexpr auto key_count = arraymap_key_count;
    static constexpr auto key_name = arraymap_key_name;
    static constexpr auto dump = arraymap_dump;
    static constexpr auto sndump = arraymap_sndump;
    static constexpr auto print = arraymap_print;
    static constexpr auto hashlist = _arraymap_hashlist;
    static constexpr auto keycmp = _arraymap_keycmp;
    static constexpr auto value = _arraymap_value;
    static constexpr auto entry = _arraymap_entry;
    static constexpr auto sort = _arraymap_sort;
    static constexpr auto insert_str = arraymap_insert_str;
    static constexpr auto delete_str = arraymap_delete_str;
    static constexpr auto insert_fmt = arraymap_insert_fmt;
    static constexpr auto delete_fmt = arraymap_delete_fmt;
    static constexpr auto copy_str = arraymap_copy_str;
    static constexpr auto dup_str = arraymap_dup_str;
    static constexpr auto insert_time = arraymap_insert_time;
    static constexpr auto get_time = arraymap_get_time;
    static constexpr auto insert_macaddr = arraymap_insert_macaddr;
    static constexpr auto get_macaddr = arraymap_get_macaddr;
    static constexpr auto insert_ipaddr = arraymap_insert_ipaddr;
    static constexpr auto delete_ipaddr = arraymap_delete_ipaddr;
    static constexpr auto get_ipaddr = arraymap_get_ipaddr;
    static constexpr auto insert_cidr = arraymap_insert_cidr;
    static constexpr auto delete_cidr = arraymap_delete_cidr;
    static constexpr auto get_cidr = arraymap_get_cidr;
};

using ListFamilies = testing::Types<MultimapFamily, ArraymapFamily>;
