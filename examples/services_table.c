/* Lines of a file of services on their way into the two tables. */
#include "services_table.h"

#include "lines.h"

#include <ctype.h>
#include <errno.h>
#include <inttypes.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { REFUSED = 1, LAST_PORT = 65535 };

static const char white_space[] = " \t\v\f\r";

/* The table never grows by itself: at least as many buckets as keys keep its chains short. */
static int make_room(multimap_t *map)
{
    return (uint32_t)map->numkeys > map->hashsize ? multimap_sethashsize(map, map->hashsize * 2)
                                                  : 0;
}

static const char *last_value(const multimap_t *map, const char *key)
{
    multimap_value_iter_t values = {0};
    multimap_value_first(map, key, &values);
    const void *value;
    multimap_index(map, key, multimap_value_count(&values) - 1, &value, NULL);
    return value;
}

static void count_duplicate(struct services *services)
{
    ++services->duplicates;
    const size_t count = services->duplicate_line_count;
    const bool listed = count > 0 && services->duplicate_lines[count - 1] == services->lines;
    if (!listed && count < DUPLICATE_LINES_KEPT) {
        services->duplicate_lines[services->duplicate_line_count++] = services->lines;
    }
}

/* The port goes into one table as text and from there, as a key, into the other. */
static int add(struct services *services, const char *name, unsigned int port, const char *protocol)
{
    int result = multimap_insert_fmt(&services->ports, name, "%u/%s", port, protocol);
    if (result == REFUSED) {
        count_duplicate(services);
        return 0;
    }
    if (result == 0) {
        result = multimap_insert_str(&services->names, last_value(&services->ports, name), name);
    }
    if (result == 0) {
        result = make_room(&services->ports);
    }
    return result == 0 ? make_room(&services->names) : result;
}

static void report_malformed(struct services *services, const char *reason, const char *quoted)
{
    ++services->malformed;
    fprintf(stderr, "%s:%lu: %s", services->file, services->lines, reason);
    if (quoted != NULL) {
        fputs(": ", stderr);
        print_quoted(stderr, quoted);
    }
    fputc('\n', stderr);
}

/* Reads "80/tcp". Returns what is wrong with it; NULL if nothing is. */
static const char *parse_port(const char *text, unsigned int *port, const char **protocol)
{
    const char *const slash = strchr(text, '/');
    if (slash == NULL) {
        return "no '/' behind the port";
    }
    char *end;
    const unsigned long number = strtoul(text, &end, 10);
    if (!isdigit((unsigned char)text[0]) || end != slash || number > LAST_PORT) {
        return "not a port from 0 to 65535";
    }
    if (slash[1] == '\0' || strchr(slash + 1, '/') != NULL) {
        return "not one protocol behind the '/'";
    }
    *port = (unsigned int)number;
    *protocol = slash + 1;
    return NULL;
}

/* "http 80/tcp www # the web": a name, its port, any number of aliases and a comment. */
static int take_line(struct services *services, char *text, size_t length)
{
    ++services->lines;
    if (strlen(text) != length) {
        report_malformed(services, "a NUL byte in the line", NULL);
        return 0;
    }
    text[strcspn(text, "#")] = '\0';
    char *rest;
    const char *const name = strtok_r(text, white_space, &rest);
    if (name == NULL) {
        return 0;
    }
    const char *const port_text = strtok_r(NULL, white_space, &rest);
    if (port_text == NULL) {
        report_malformed(services, "no port behind the name", name);
        return 0;
    }
    unsigned int port;
    const char *protocol;
    const char *const problem = parse_port(port_text, &port, &protocol);
    if (problem != NULL) {
        report_malformed(services, problem, port_text);
        return 0;
    }
    int result = 0;
    for (const char *alias = name; result == 0 && alias != NULL;
         alias = strtok_r(NULL, white_space, &rest)) {
        result = add(services, alias, port, protocol);
    }
    return result;
}

static int read_file(struct services *services)
{
    struct line line;
    int result = line_open(&line, services->file);
    if (result != 0) {
        return result;
    }
    services->file = line.file;
    while (result == 0 && line_next(&line, &result)) {
        result = take_line(services, line.text, line.length);
    }
    line_close(&line);
    return result;
}

int services_read(struct services *services, const char *file)
{
    *services = (struct services){.file = file};
    int result = multimap_init(&services->ports);
    if (result != 0) {
        return result;
    }
    result = multimap_init(&services->names);
    if (result == 0) {
        result = read_file(services);
    }
    if (result != 0) {
        services_destroy(services);
    }
    return result;
}

void services_destroy(struct services *services)
{
    multimap_destroy(&services->ports);
    multimap_destroy(&services->names);
}

static void print_sizes(const struct services *services)
{
    fprintf(stderr, " services=%" PRId32 " ports=%" PRId32 " pairs=%" PRId32,
            services->ports.numkeys, services->names.numkeys, services->ports.numvalues);
}

void services_ignore_case(struct services *services)
{
    multimap_setcasekeys(&services->ports, 1);
    multimap_setcasekeys(&services->names, 1);
    fprintf(stderr, "summary: %s: ignoring case:", services->file);
    print_sizes(services);
    fputc('\n', stderr);
}

void services_summarise(const struct services *services)
{
    fprintf(stderr, "summary: %s: lines=%lu malformed=%lu", services->file, services->lines,
            services->malformed);
    print_sizes(services);
    fprintf(stderr, " duplicates=%lu", services->duplicates);
    for (size_t i = 0; i < services->duplicate_line_count; ++i) {
        fprintf(stderr, "%s%lu", i == 0 ? " duplicate_lines=" : ",", services->duplicate_lines[i]);
    }
    fputc('\n', stderr);
}
