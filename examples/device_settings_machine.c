/* The facts of the machine, from the files in which the kernel states them. */
#include "device_settings.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <errno.h>
#include <inttypes.h>
#include <net/route.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

/* A test can have a machine of its own below another directory. */
#ifndef MACHINE_ROOT
#define MACHINE_ROOT ""
#endif

/* A file that a machine does not have is no failure. */
static int mention(const char *path, int result)
{
    if (result == 0 || result == ENOMEM) {
        return result;
    }
    fprintf(stderr, "%s: %s\n", path, result_words(result));
    return 0;
}

static int append_fact(struct device *device, const struct line *line, const char *array,
                       enum value_type type, const char *text)
{
    return report_mismatch(device, line, type, text, settings_append(device, array, type, text));
}

static int append_cidr(struct device *device, const struct line *line, const char *array,
                       int family, const void *address, unsigned int prefix)
{
    char text[INET6_ADDRSTRLEN];
    if (inet_ntop(family, address, text, sizeof text) == NULL) {
        return errno;
    }
    const int result = map_replace_fmt(&device->scratch, "cidr", "%s/%u", text, prefix);
    return result != 0
               ? result
               : append_fact(device, line, array, TYPE_CIDR, text_of(&device->scratch, "cidr"));
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

/* "nameserver 192.0.2.53" among the lines of resolv.conf. */
static int take_nameserver(struct device *device, const struct line *line)
{
    static const char label[] = "nameserver";
    const size_t length = sizeof label - 1;
    if (strncmp(line->text, label, length) != 0 || strcspn(line->text, " \t") != length) {
        return 0;
    }
    return append_fact(device, line, "resolver", TYPE_IPADDR, trimmed(line->text + length));
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

static bool parse_ipv6(const char *digits, struct in6_addr *address)
{
    if (strlen(digits) != 2 * sizeof address->s6_addr) {
        return false;
    }
    for (size_t i = 0; i < sizeof address->s6_addr; ++i) {
        if (sscanf(digits + 2 * i, "%2" SCNx8, &address->s6_addr[i]) != 1) {
            return false;
        }
    }
    return true;
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
    return append_cidr(device, line, "machine.ipv6", AF_INET6, &address, prefix);
}

static unsigned int prefix_of_mask(uint32_t mask)
{
    unsigned int prefix = 0;
    for (; mask != 0; mask &= mask - 1) {
        ++prefix;
    }
    return prefix;
}

/*
 * Interface, destination, gateway, flags, three counts, mask. The kernel prints a word that holds
 * an address in network order as one number, so the number itself goes back into the address.
 */
static int take_route(struct device *device, const struct line *line)
{
    struct in_addr destination;
    uint32_t flags;
    uint32_t mask;
    if (sscanf(line->text, "%*s %8" SCNx32 " %*x %8" SCNx32 " %*s %*s %*s %8" SCNx32,
               &destination.s_addr, &flags, &mask) != 3 ||
        (flags & RTF_UP) == 0) {
        return 0;
    }
    return append_cidr(device, line, "machine.route", AF_INET, &destination, prefix_of_mask(mask));
}

/* Destination, its prefix length, source, its prefix length, gateway, three counts, flags. */
static int take_ipv6_route(struct device *device, const struct line *line)
{
    char digits[2 * sizeof(struct in6_addr) + 1];
    unsigned int prefix;
    uint32_t flags;
    struct in6_addr destination;
    if (sscanf(line->text, "%32s %2x %*s %*s %*s %*s %*s %*s %8" SCNx32, digits, &prefix, &flags) !=
            3 ||
        (flags & RTF_UP) == 0 || !parse_ipv6(digits, &destination)) {
        return 0;
    }
    return append_cidr(device, line, "machine.route", AF_INET6, &destination, prefix);
}

/* Reads the first line of a file up to one of the `ends`. The text is the caller's to free. */
static int first_line(const char *path, const char *ends, char **text)
{
    *text = NULL;
    FILE *const stream = fopen(path, "r");
    if (stream == NULL) {
        return errno;
    }
    size_t size = 0;
    int result = 0;
    if (getline(text, &size, stream) >= 0) {
        (*text)[strcspn(*text, ends)] = '\0';
    } else {
        result = feof(stream) ? ENODATA : errno;
        free(*text);
        *text = NULL;
    }
    fclose(stream);
    return result;
}

/* Stores what a file of one line says. */
static int store_file(struct device *device, const char *path, const char *ends, const char *key,
                      enum value_type type)
{
    struct line line = {.file = path, .number = 1};
    int result = first_line(path, ends, &line.text);
    if (result != 0) {
        return mention(path, result);
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
    const int result = map_replace_fmt(&device->scratch, "path",
                                       MACHINE_ROOT "/sys/class/net/%s/%s", interface, file);
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

static int store_interface(struct device *device, const char *interface)
{
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

/* Not everything below /sys/class/net is an interface. */
static bool is_directory(DIR *parent, const char *name)
{
    struct stat status;
    return fstatat(dirfd(parent), name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

static int store_interfaces(struct device *device)
{
    static const char path[] = MACHINE_ROOT "/sys/class/net";
    DIR *const directory = opendir(path);
    if (directory == NULL) {
        return mention(path, errno);
    }
    int result = 0;
    while (result == 0) {
        errno = 0;
        const struct dirent *const entry = readdir(directory);
        if (entry == NULL) {
            result = mention(path, errno);
            break;
        }
        if (entry->d_name[0] != '.' && is_directory(directory, entry->d_name)) {
            result = store_interface(device, entry->d_name);
        }
    }
    closedir(directory);
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
        {MACHINE_ROOT "/proc/net/route", take_route},
        {MACHINE_ROOT "/proc/net/ipv6_route", take_ipv6_route},
        {MACHINE_ROOT "/etc/resolv.conf", take_nameserver},
    };
    int result = store_file(device, MACHINE_ROOT "/proc/sys/kernel/hostname", "\n",
                            "machine.hostname", TYPE_STR);
    if (result == 0) {
        result = store_file(device, MACHINE_ROOT "/proc/uptime", ".", "machine.uptime", TYPE_TIME);
    }
    if (result == 0) {
        result = store_interfaces(device);
    }
    for (size_t i = 0; result == 0 && i < sizeof listings / sizeof listings[0]; ++i) {
        result = mention(listings[i].path, read_file(device, listings[i].path, listings[i].take));
    }
    return result;
}
