# What tests/gdb/containers.c has made, at its end.
set width 0
set height 0
set print pretty on
set host-charset ASCII

# Values and keys.
print values
print keys
set print elements 4
print values
set print elements 0
print keys
set print elements 200

set host-charset UTF-8
print values
set host-charset ASCII

# Settings.
print settings
print released
print/r released.maxkeys
print floor_plan

# Lists.
print services
print many
set print elements 2
print services
set print elements 200
print routes
print three_buckets

# Nodes.
print *entry
print *service
print *port
print *route
print *hop
set $copy = *service
print $copy

# Iterators.
print map_unstarted
print map_on_key
print map_at_end
print multimap_unstarted
print multimap_on_key
print multimap_at_end
print value_unstarted
print value_on_value
print value_of_no_key
print arraymap_unstarted
print arraymap_on_key
print arraymap_at_end
print position_unstarted
print position_1
print position_at_end
print position_of_no_key

# What is broken.
print cyclic
print back_link
print last_link
print wild_next
print torn_next
print wild_key
print wild_value
print too_few
print too_many
print no_buckets
print wild_buckets
print garbage
print ones
print iterator_of_wild_map
print iterator_on_wild_entry
print short_list
print key_cycle
print long_list
print value_cycle
print value_back_link
print wild_data
print wild_length
print wrong_total
print *key_of_cycle
