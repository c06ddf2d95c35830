/* The facts of the machine, from the files in which the kernel states them. */
#include "device_settings.h"
#include "machine.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

static int append_fact(struct device *device, const struct line *line, const char *array,
                       enum value_type type, const char *text)
{
    return report_mismatch(device, line, type, text, settings_append(device, array, type, text));
}

/* "ctxt 372879" and "processes 5847" among the lines of /proc/stat. */
static int take_statistic(struct device *device, const struct line *line)
{
    static const struct {
        const char *label;
        const char *key;
    } counts[] = {{"ctxt ", "machine.ctxt"}, {"processes ", "machine.processes"}};
    for (size_t i = 0; i < sizeof counts / sizeof counts[0]; ++i) {
        const size_t length = strlen(counts[i].label);
        if (strncmp(line->text, counts[i].label, length) == 0) {
            const char *const text = trimmed(line->text + length);
            return report_mismatch(device, line, TYPE_UINT64, text,
                                   settings_store(device, counts[i].key, TYPE_UINT64, text));
        }
    }
    return 0;
}

static int take_nameserver(struct device *device, const struct line *line)
{
    const char *const address = nameserver_of(line->text);
    return address == NULL ? 0 : append_fact(device, line, "resolver", TYPE_IPADDR, address);
}

static bool is_listed(const map_t *map, const ipaddr_t *address)
{
    static const char array[] = "machine.ipv4";
    int max;
    if (map_array_get_max(map, array, &max) != 0) {
        return false;
    }
    for (int i = 0; i < max; ++i) {
        char key[sizeof array + sizeof ":2147483647"];
        if (map_array_get_key(map, array, i, key, sizeof key, max) == 0 &&
            map_cmp_ipaddr(map, key, address) == 0) {
            return true;
        }
    }
    return false;
}

/*
 * "|-- 192.0.2.2" names a leaf of the routing trie, and "/32 host LOCAL" below it makes the leaf an
 * address of the machine. An address stands in the trie of more than one table.
 */
static int take_trie(struct device *device, const struct line *line)
{
    static const char leaf[] = "|-- ";
    const char *const text = trimmed(line->text);
    if (strncmp(text, leaf, sizeof leaf - 1) == 0) {
        return map_replace_str(&device->scratch, "leaf", text + sizeof leaf - 1);
    }
    if (strcmp(text, "/32 host LOCAL") != 0) {
        return 0;
    }
    ipaddr_t address;
    if (map_get_ipaddr(&device->scratch, "leaf", &address) == 0 &&
        is_listed(&device->settings, &address)) {
        return 0;
    }
    const char *const found = text_of(&device->scratch, "leaf");
    return found == NULL ? 0 : append_fact(device, line, "machine.ipv4", TYPE_IPADDR, found);
}

/* Address, interface index, prefix length, scope, flags, interface: all numbers hexadecimal. */
static int take_ipv6_address(struct device *device, const struct line *line)
{
    char digits[2 * sizeof(struct in6_addr) + 1];
    unsigned int prefix;
    struct in6_addr address;
    if (sscanf(line->text, "%32s %*x %2x", digits, &prefix) != 2 || !parse_ipv6(digits, &address)) {
        return 0;
    }
    char text[PREFIX_TEXT_SIZE];
    write_prefix(AF_INET6, &address, prefix, text);
    return append_fact(device, line, "machine.ipv6", TYPE_CIDR, text);
}

static int take_route(struct device *device, const struct line *line)
{
    struct route route;
    return parse_route(line->text, &route)
               ? append_fact(device, line, "machine.route", TYPE_CIDR, route.destination)
               : 0;
}

static int take_ipv6_route(struct device *device, const struct line *line)
{
    struct route route;
    return parse_ipv6_route(line->text, &route)
               ? append_fact(device, line, "machine.route", TYPE_CIDR, route.destination)
               : 0;
}

/* Stores what a file of one line says. */
static int store_file(struct device *device, const char *path, const char *ends, const char *key,
                      enum value_type type)
{
    struct line line = {.file = path, .number = 1};
    int result = first_line(path, ends, &line.text);
    if (result != 0) {
        return mention_failure(path, result);
    }
    result = settings_store(device, key, type, line.text);
    result = report_mismatch(device, &line, type, line.text, result);
    free(line.text);
    return result;
}

/* Forms the names of a file and of a fact of an interface, both in scratch. */
static int name_interface_fact(struct device *device, const char *interface, const char *file,
                               const char *fact)
{
    const int result =
        map_replace_fmt(&device->scratch, "path", MACHINE_INTERFACES "/%s/%s", interface, file);
    return result != 0 ? result
                       : map_replace_fmt(&device->scratch, "key", "machine.%s.%s", interface, fact);
}

/* An interface may have no MAC address, or one of another kind, which is longer. */
static int store_macaddr(struct device *device, const char *interface)
{
    int result = name_interface_fact(device, interface, "address", "macaddr");
    if (result != 0) {
        return result;
    }
    char *text;
    result = first_line(text_of(&device->scratch, "path"), "\n", &text);
    if (result == 0) {
        result = settings_store(device, text_of(&device->scratch, "key"), TYPE_MACADDR, text);
        free(text);
    }
    return result == ENOMEM ? result : 0;
}

/* An interface_fn. */
static int store_interface(void *context, const char *interface)
{
    struct device *const device = context;
    static const struct {
        const char *file;
        const char *fact;
        enum value_type type;
    } facts[] = {
        {"mtu", "mtu", TYPE_UINT32},
        {"statistics/rx_bytes", "rx_bytes", TYPE_UINT64},
        {"statistics/tx_bytes", "tx_bytes", TYPE_UINT64},
    };
    int result = store_macaddr(device, interface);
    for (size_t i = 0; result == 0 && i < sizeof facts / sizeof facts[0]; ++i) {
        result = name_interface_fact(device, interface, facts[i].file, facts[i].fact);
        if (result == 0) {
            result = store_file(device, text_of(&device->scratch, "path"), "\n",
                                text_of(&device->scratch, "key"), facts[i].type);
        }
    }
    return result;
}

int machine_read(struct device *device)
{
    static const struct {
        const char *path;
        line_fn take;
    } listings[] = {
        {MACHINE_ROOT "/proc/stat", take_statistic},
        {MACHINE_ROOT "/proc/net/fib_trie", take_trie},
        {MACHINE_ROOT "/proc/net/if_inet6", take_ipv6_address},
        {MACHINE_ROUTES, take_route},
        {MACHINE_IPV6_ROUTES, take_ipv6_route},
        {MACHINE_RESOLVERS, take_nameserver},
    };
    int result = store_file(device, MACHINE_ROOT "/proc/sys/kernel/hostname", "\n",
                            "machine.hostname", TYPE_STR);
    if (result == 0) {
        result = store_file(device, MACHINE_ROOT "/proc/uptime", ".", "machine.uptime", TYPE_TIME);
    }
    if (result == 0) {
        result = each_interface(store_interface, device);
    }
    for (size_t i = 0; result == 0 && i < sizeof listings / sizeof listings[0]; ++i) {
        result = mention_failure(listings[i].path,
                                 read_file(device, listings[i].path, listings[i].take));
    }
    return result;
}
