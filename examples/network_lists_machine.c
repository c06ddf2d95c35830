/* The lists of the machine: its routes and resolvers, and what its interfaces have to tell. */
#include "machine.h"
#include "network_lists.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

/* A value that is not of its list's type is reported and left out. */
static int append_fact(struct lists *lists, const struct line *line, const char *name,
                       const char *text)
{
    const int result = lists_append(lists, name, text);
    if (result == 0 || result == ENOMEM) {
        return result;
    }
    report_malformed(lists, line, mismatch(name), text);
    return 0;
}

static int append_route(struct lists *lists, const struct line *line, const struct route *route)
{
    const bool on_link = route->gateway[0] == '\0';
    char name[IF_NAMESIZE + sizeof ".networks"];
    snprintf(name, sizeof name, "%s.routes", route->interface);
    int result =
        arraymap_insert_fmt(&lists->map, name, "%s %s %s", route->destination,
                            on_link ? "dev" : "via", on_link ? route->interface : route->gateway);
    if (result == 0) {
        result = make_room(&lists->map);
    }
    if (result != 0 || !on_link) {
        return result;
    }
    snprintf(name, sizeof name, "%s.networks", route->interface);
    return append_fact(lists, line, name, route->destination);
}

static int take_route(struct lists *lists, const struct line *line)
{
    struct route route;
    return parse_route(line->text, &route) ? append_route(lists, line, &route) : 0;
}

static int take_ipv6_route(struct lists *lists, const struct line *line)
{
    struct route route;
    return parse_ipv6_route(line->text, &route) ? append_route(lists, line, &route) : 0;
}

static int take_nameserver(struct lists *lists, const struct line *line)
{
    const char *const address = nameserver_of(line->text);
    return address == NULL ? 0 : append_fact(lists, line, "resolvers", address);
}

static int read_listing(struct lists *lists, const char *path,
                        int (*take)(struct lists *lists, const struct line *line))
{
    struct line line;
    int result = line_open(&line, path);
    if (result != 0) {
        return mention_failure(path, result);
    }
    while (result == 0 && line_next(&line, &result)) {
        result = take(lists, &line);
    }
    line_close(&line);
    return mention_failure(path, result);
}

/* An interface_fn: an event for each thing that can go wrong with a link. */
static int log_interface(void *context, const char *interface)
{
    static const char *const files[] = {
        "operstate",
        "carrier_changes",
        "statistics/rx_errors",
        "statistics/tx_errors",
        "statistics/rx_dropped",
        "statistics/tx_dropped",
    };
    int result = 0;
    for (size_t i = 0; result == 0 && i < sizeof files / sizeof files[0]; ++i) {
        char path[sizeof MACHINE_INTERFACES + IF_NAMESIZE + sizeof "/statistics/rx_dropped"];
        snprintf(path, sizeof path, MACHINE_INTERFACES "/%s/%s", interface, files[i]);
        char *text;
        result = first_line(path, "\n", &text);
        if (result != 0) {
            result = mention_failure(path, result);
            continue;
        }
        const char *const slash = strchr(files[i], '/');
        char event[64];
        snprintf(event, sizeof event, "%s %s", slash == NULL ? files[i] : slash + 1, text);
        free(text);
        result = log_event(context, interface, event);
    }
    return result;
}

static int append_sample(struct lists *lists)
{
    static const struct {
        const char *name;
        const char *text;
    } sample[] = {
        {"wan0.routes", "0.0.0.0/0 via 203.0.113.1"},
        {"wan0.routes", "203.0.113.0/24 dev wan0"},
        {"wan0.networks", "203.0.113.0/24"},
        {"resolvers", "203.0.113.53"},
        {"resolvers", "198.51.100.53"},
    };
    fputs("no routes and no resolvers: those of a sample are listed instead\n", stderr);
    int result = 0;
    for (size_t i = 0; result == 0 && i < sizeof sample / sizeof sample[0]; ++i) {
        result = lists_append(lists, sample[i].name, sample[i].text);
    }
    return result;
}

int read_machine(struct lists *lists)
{
    int result = read_listing(lists, MACHINE_ROUTES, take_route);
    if (result == 0) {
        result = read_listing(lists, MACHINE_IPV6_ROUTES, take_ipv6_route);
    }
    if (result == 0) {
        result = read_listing(lists, MACHINE_RESOLVERS, take_nameserver);
    }
    if (result == 0 && arraymap_isempty(&lists->map)) {
        result = append_sample(lists);
    }
    return result == 0 ? each_interface(log_interface, lists) : result;
}
