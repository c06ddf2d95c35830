/* Containers, nodes and iterators for a debugger to look at: sound ones, then broken ones. */
#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

/* Where the debugger stops. */
void look(void);
void look(void)
{
}

static void must(int result)
{
    if (result != 0) {
        abort();
    }
}

static uint32_t one_bucket(const void *container, const char *key)
{
    (void)container;
    (void)key;
    return 1;
}

/* What nothing can be read from. */
static void *const wild = (void *)64;

/* Behind these bytes nothing can be read. */
static void *at_the_end_of_memory(size_t size)
{
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    char *pages = mmap(NULL, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED || munmap(pages + page, page) != 0) {
        abort();
    }
    return pages + page - size;
}

static map_t values, keys, settings, released;
static map_iter_t map_unstarted, map_on_key, map_at_end;
static const map_entry_t *entry;

static void fill_maps(void)
{
    ipaddr_t address;
    macaddr_t mac;
    cidr_t prefix;
    char text[301];
    must(ak_ipaddr_from_str("2001:db8::1", &address));
    must(ak_macaddr_from_str("00:16:3e:12:34:56", &mac));
    must(ak_cidr_from_str("10.0.0.0/8", &prefix));

    must(map_init(&values));
    must(map_sethashfunc(&values, one_bucket));
    must(map_insert_uint64(&values, "uint64", UINT64_MAX));
    must(map_insert_int8(&values, "int8", -128));
    must(map_insert_bool(&values, "bool", 1));
    must(map_insert_time(&values, "time", 86400));
    must(map_insert_ipaddr(&values, "ipaddr", &address));
    must(map_insert_macaddr(&values, "macaddr", &mac));
    must(map_insert_cidr(&values, "cidr", &prefix));
    must(map_insert_str(&values, "text", "two words"));
    must(map_insert_str(&values, "empty text", ""));
    must(map_insert_str(&values, "escapes", "\"\\\n\r\t\033[31m\177"));
    must(map_insert_str(&values, "UTF-8", "Stra\303\237e"));
    must(map_insert_str(&values, "Latin-1", "Stra\337e"));
    must(map_insert(&values, "no NUL", "abc", 3));
    must(map_insert(&values, "two NULs", "abc\0", 5));
    must(map_insert(&values, "NUL inside", "a\0b", 4));
    must(map_insert(&values, "NUL only", "\0", 2));
    must(map_insert(&values, "binary", "\001\0\377x", 4));
    must(map_insert(&values, "no bytes", "", 0));
    memset(text, 'x', sizeof text - 1);
    text[sizeof text - 1] = '\0';
    must(map_insert_str(&values, "long", text));
    must(map_insert(&values, "long, no NUL", text, 201));
    text[200] = '\0';
    must(map_insert_str(&values, "as long as is shown", text));

    must(map_init(&keys));
    must(map_sethashfunc(&keys, one_bucket));
    must(map_insert_int(&keys, "at the end", 1));
    must(map_insert_int(&keys, "no NUL", 2));
    must(map_insert_int(&keys, "\"\\\n\033\200", 3));
    must(map_insert_int(&keys, text, 4));
    text[200] = 'x';
    must(map_insert_int(&keys, text, 5));
    must(map_insert_int(&keys, "", 6));
    map_entry_t *first = keys.buckets[1].first;
    first->key = strcpy(at_the_end_of_memory(sizeof "where memory ends"), "where memory ends");
    /* A debugger that reads aligned pieces of 64 bytes comes to 200 and no further. */
    first->next->key = memset(at_the_end_of_memory(264), 'x', 264);

    must(map_init(&settings));
    must(map_sethashsize(&settings, 1));
    must(map_setcasekeys(&settings, 1));
    must(map_setmaxkeys(&settings, 0));

    must(map_init(&released));
    must(map_destroy(&released));

    (void)map_first(&released, &map_unstarted);
    (void)map_first(&values, &map_on_key);
    (void)map_next(&map_on_key);
    entry = map_on_key.entry;
    for (const char *key = map_first(&keys, &map_at_end); key != NULL;) {
        key = map_next(&map_at_end);
    }
}

static multimap_t services, many;
static multimap_key_iter_t multimap_unstarted, multimap_on_key, multimap_at_end;
static multimap_value_iter_t value_unstarted, value_on_value, value_of_no_key;
static const multimap_key_t *service;
static const multimap_value_t *port;

static void fill_multimaps(void)
{
    must(multimap_init(&services));
    must(multimap_setcasekeys(&services, 1));
    must(multimap_setmaxkeys(&services, 8));
    must(multimap_setmaxvalues(&services, 100));
    must(multimap_insert_str(&services, "domain", "53/udp"));
    must(multimap_insert_str(&services, "Domain", "53/tcp"));
    must(multimap_insert(&services, "domain", "\001\002", 2));
    must(multimap_insert_str(&services, "ssh", "22/tcp"));

    must(multimap_init(&many));
    for (int value = 0; value < 202; ++value) {
        must(multimap_insert_int(&many, value < 200 ? "200 values" : "2 values", value));
    }
    must(multimap_insert_int(&many, "201 values", 0));
    for (int value = 1; value < 201; ++value) {
        must(multimap_insert_int(&many, "201 values", value));
    }

    (void)multimap_key_first(NULL, &multimap_unstarted);
    (void)multimap_value_first(&services, NULL, &value_unstarted);
    (void)multimap_key_first(&services, &multimap_on_key);
    (void)multimap_value_first(&services, "DOMAIN", &value_on_value);
    (void)multimap_value_next(&value_on_value);
    (void)multimap_value_first(&services, "ftp", &value_of_no_key);
    for (const char *key = multimap_key_first(&services, &multimap_at_end); key != NULL;) {
        key = multimap_key_next(&multimap_at_end);
    }
    service = multimap_on_key.node;
    port = value_on_value.node;
}

static arraymap_t routes, three_buckets;
static arraymap_key_iter_t arraymap_unstarted, arraymap_on_key, arraymap_at_end;
static arraymap_value_iter_t position_unstarted, position_1, position_at_end, position_of_no_key;
static const arraymap_key_t *route;
static const arraymap_value_t *hop;

static void fill_arraymaps(void)
{
    must(arraymap_init(&routes));
    must(arraymap_insert_str(&routes, "default", "10.0.0.1"));
    must(arraymap_insert_str(&routes, "default", "10.0.0.1"));
    must(arraymap_insert_str(&routes, "default", "10.0.0.2"));
    must(arraymap_insert(&routes, "", "", 0));

    must(arraymap_init_special(&three_buckets, 3));

    (void)arraymap_key_first(NULL, &arraymap_unstarted);
    (void)arraymap_value_first(&routes, NULL, &position_unstarted);
    (void)arraymap_key_first(&routes, &arraymap_on_key);
    (void)arraymap_value_first(&routes, "default", &position_1);
    (void)arraymap_value_next(&position_1);
    (void)arraymap_value_first(&routes, "none", &position_of_no_key);
    for (const char *key = arraymap_key_first(&routes, &arraymap_at_end); key != NULL;) {
        key = arraymap_key_next(&arraymap_at_end);
    }
    for (const void *data = arraymap_value_first(&routes, "default", &position_at_end);
         data != NULL;) {
        data = arraymap_value_next(&position_at_end);
    }
    route = position_1.key;
    hop = position_1.node;
}

static map_t cyclic, back_link, last_link, wild_next, torn_next;
static map_t wild_key, wild_value, too_few, too_many;
static map_t no_buckets, wild_buckets, garbage, ones;
static map_iter_t iterator_of_wild_map, iterator_on_wild_entry;

static map_entry_t *first_entry(const map_t *map)
{
    return (map_entry_t *)map->buckets[1].first;
}

static void fill_to_break(map_t *map)
{
    must(map_init(map));
    must(map_sethashfunc(map, one_bucket));
    must(map_insert_int(map, "a", 1));
    must(map_insert_int(map, "b", 2));
    must(map_insert_int(map, "c", 3));
}

static void break_maps(void)
{
    map_t *const maps[] = {&cyclic,   &back_link,  &last_link, &wild_next, &torn_next,
                           &wild_key, &wild_value, &too_few,   &too_many};
    for (size_t i = 0; i < sizeof maps / sizeof *maps; ++i) {
        fill_to_break(maps[i]);
    }
    first_entry(&cyclic)->next->next->next = first_entry(&cyclic);
    first_entry(&back_link)->next->prev = NULL;
    last_link.buckets[1].last = last_link.buckets;
    first_entry(&wild_next)->next->next = wild;
    first_entry(&torn_next)->next->next = at_the_end_of_memory(2 * sizeof(void *));
    first_entry(&torn_next)->next->next->prev = &first_entry(&torn_next)->next->next;
    first_entry(&wild_key)->key = wild;
    first_entry(&wild_value)->value = wild;
    too_few.numkeys = 2;
    too_many.numkeys = 4;

    must(map_init(&no_buckets));
    no_buckets.buckets = NULL;
    must(map_init(&wild_buckets));
    wild_buckets.buckets = wild;
    memset(&garbage, 0x11, sizeof garbage);
    memset(&ones, 0xFF, sizeof ones);

    iterator_of_wild_map.map = wild;
    iterator_of_wild_map.entry = wild;
    iterator_on_wild_entry.map = &values;
    iterator_on_wild_entry.entry = wild;
}

static multimap_t short_list, key_cycle;
static arraymap_t long_list, value_cycle, value_back_link, wild_data, wild_length, wrong_total;
static const arraymap_key_t *key_of_cycle;

static arraymap_key_t *only_key(const arraymap_t *map)
{
    arraymap_key_iter_t iter = {0};
    (void)arraymap_key_first(map, &iter);
    return (arraymap_key_t *)*iter.node->prev;
}

static void break_lists(void)
{
    multimap_key_iter_t iter = {0};
    multimap_key_t *node;
    must(multimap_init(&short_list));
    must(multimap_insert_int(&short_list, "a", 1));
    must(multimap_init(&key_cycle));
    must(multimap_insert_int(&key_cycle, "a", 1));
    (void)multimap_key_first(&short_list, &iter);
    node = *iter.node->prev;
    node->count = 2;
    (void)multimap_key_first(&key_cycle, &iter);
    node = *iter.node->prev;
    node->next = node;

    arraymap_t *const maps[] = {&long_list, &value_cycle, &value_back_link,
                                &wild_data, &wild_length, &wrong_total};
    for (size_t i = 0; i < sizeof maps / sizeof *maps; ++i) {
        must(arraymap_init(maps[i]));
        must(arraymap_insert_int(maps[i], "a", 1));
        must(arraymap_insert_int(maps[i], "a", 2));
    }
    only_key(&long_list)->count = 1;
    only_key(&value_cycle)->values.first->next->next = only_key(&value_cycle)->values.first;
    only_key(&value_back_link)->values.first->prev = NULL;
    only_key(&wild_data)->values.first->data = wild;
    only_key(&wild_length)->values.first->len = UINT32_C(1) << 24;
    wrong_total.numvalues = 3;
    key_of_cycle = only_key(&value_cycle);
}

int main(void)
{
    fill_maps();
    fill_multimaps();
    fill_arraymaps();
    break_maps();
    break_lists();
    look();
    return 0;
}
