/* Values on their way into the lists: in the type of their list, and into logs that stay short. */
#include "network_lists.h"

#include <errno.h>
#include <net/if.h>
#include <string.h>

int lists_init(struct lists *lists, uint32_t keep)
{
    *lists = (struct lists){.keep = keep};
    int result = arraymap_init(&lists->map);
    if (result != 0) {
        return result;
    }
    result = arraymap_init(&lists->discarded);
    if (result != 0) {
        arraymap_destroy(&lists->map);
    }
    return result;
}

void lists_destroy(struct lists *lists)
{
    arraymap_destroy(&lists->map);
    arraymap_destroy(&lists->discarded);
}

bool has_ending(const char *name, const char *ending)
{
    const size_t length = strlen(name);
    return length >= strlen(ending) && strcmp(name + length - strlen(ending), ending) == 0;
}

uint32_t list_length(const arraymap_t *map, const char *name)
{
    arraymap_value_iter_t values = {0};
    arraymap_value_first(map, name, &values);
    return arraymap_value_count(&values);
}

int make_room(arraymap_t *map)
{
    return (uint32_t)map->numkeys > map->hashsize ? arraymap_sethashsize(map, map->hashsize * 2)
                                                  : 0;
}

/* A value in the type of its list. */
struct value {
    enum { TEXT, ADDRESS, NETWORK } type;
    const char *text;
    ipaddr_t address;
    cidr_t network;
};

static int read_value(const char *name, const char *text, struct value *value)
{
    value->text = text;
    if (strcmp(name, "resolvers") == 0) {
        value->type = ADDRESS;
        return ak_ipaddr_from_str(text, &value->address);
    }
    if (has_ending(name, ".networks")) {
        value->type = NETWORK;
        return ak_cidr_from_str(text, &value->network);
    }
    value->type = TEXT;
    return 0;
}

const char *mismatch(const char *name)
{
    return has_ending(name, ".networks") ? "not a network" : "not an IP address";
}

static int insert(arraymap_t *map, const char *name, const struct value *value)
{
    switch (value->type) {
    case ADDRESS: return arraymap_insert_ipaddr(map, name, &value->address);
    case NETWORK: return arraymap_insert_cidr(map, name, &value->network);
    default: return arraymap_insert_str(map, name, value->text);
    }
}

static int count_discarded(arraymap_t *discarded, const char *log)
{
    uint64_t count;
    int result = arraymap_get_uint64(discarded, log, 0, &count);
    if (result == 0) {
        return arraymap_replace_uint64(discarded, log, 0, count + 1);
    }
    result = arraymap_insert_uint64(discarded, log, 1);
    return result == 0 ? make_room(discarded) : result;
}

/* Removing the first value moves all others to the index before. */
static int discard_oldest(struct lists *lists, const char *log)
{
    if (list_length(&lists->map, log) <= lists->keep) {
        return 0;
    }
    const int result = arraymap_remove(&lists->map, log, 0);
    return result == 0 ? count_discarded(&lists->discarded, log) : result;
}

int lists_append(struct lists *lists, const char *name, const char *text)
{
    struct value value;
    int result = read_value(name, text, &value);
    if (result == 0) {
        result = insert(&lists->map, name, &value);
    }
    if (result == 0 && has_ending(name, ".events")) {
        result = discard_oldest(lists, name);
    }
    return result == 0 ? make_room(&lists->map) : result;
}

int lists_replace(struct lists *lists, const char *name, uint32_t index, const char *text)
{
    struct value value;
    const int result = read_value(name, text, &value);
    if (result != 0) {
        return result;
    }
    switch (value.type) {
    case ADDRESS: return arraymap_replace_ipaddr(&lists->map, name, index, &value.address);
    case NETWORK: return arraymap_replace_cidr(&lists->map, name, index, &value.network);
    default: return arraymap_replace_str(&lists->map, name, index, text);
    }
}

int lists_delete(struct lists *lists, const char *name, const char *text)
{
    struct value value;
    const int result = read_value(name, text, &value);
    if (result != 0) {
        return result;
    }
    switch (value.type) {
    case ADDRESS: return arraymap_delete_ipaddr(&lists->map, name, &value.address);
    case NETWORK: return arraymap_delete_cidr(&lists->map, name, &value.network);
    default: return arraymap_delete_str(&lists->map, name, text);
    }
}

void report_malformed(struct lists *lists, const struct line *line, const char *reason,
                      const char *quoted)
{
    ++lists->malformed;
    fprintf(stderr, "%s:%lu: %s", line->file, line->number, reason);
    if (quoted != NULL) {
        fputs(": ", stderr);
        print_quoted(stderr, quoted);
    }
    fputc('\n', stderr);
}

int log_event(struct lists *lists, const char *interface, const char *text)
{
    if (strlen(interface) >= IF_NAMESIZE || strchr(interface, '/') != NULL) {
        return EINVAL;
    }
    char log[IF_NAMESIZE + sizeof ".events"];
    snprintf(log, sizeof log, "%s.events", interface);
    return lists_append(lists, log, text);
}

/* "eth0 link up": an interface and what happened to it. */
static int take_event(struct lists *lists, const struct line *line)
{
    ++lists->lines;
    if (strlen(line->text) != line->length) {
        report_malformed(lists, line, "a NUL byte in the line", NULL);
        return 0;
    }
    char *const interface = trimmed(line->text);
    if (*interface == '\0' || *interface == '#') {
        return 0;
    }
    char *text = interface + strcspn(interface, " \t");
    if (*text == '\0') {
        report_malformed(lists, line, "no text behind the interface", interface);
        return 0;
    }
    *text = '\0';
    text = trimmed(text + 1);
    const int result = log_event(lists, interface, text);
    if (result == EINVAL) {
        report_malformed(lists, line, "not the name of an interface", interface);
        return 0;
    }
    return result;
}

int read_events(struct lists *lists, const char *file)
{
    struct line line;
    int result = line_open(&line, file);
    if (result != 0) {
        return result;
    }
    while (result == 0 && line_next(&line, &result)) {
        result = take_event(lists, &line);
    }
    if (result == 0) {
        fprintf(stderr, "summary: %s: lines=%lu malformed=%lu\n", line.file, lists->lines,
                lists->malformed);
    }
    line_close(&line);
    return result;
}
