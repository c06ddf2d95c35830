#include "machine.h"

#include "lines.h"

#include <dirent.h>
#include <errno.h>
#include <inttypes.h>
#include <net/route.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

bool parse_ipv6(const char *digits, struct in6_addr *address)
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

static unsigned int prefix_of_mask(uint32_t mask)
{
    unsigned int prefix = 0;
    for (; mask != 0; mask &= mask - 1) {
        ++prefix;
    }
    return prefix;
}

void write_prefix(int family, const void *address, unsigned int length, char *text)
{
    char address_text[INET6_ADDRSTRLEN] = "";
    inet_ntop(family, address, address_text, sizeof address_text);
    snprintf(text, PREFIX_TEXT_SIZE, "%s/%u", address_text, length);
}

/*
 * Interface, destination, gateway, flags, three counts, mask. The kernel prints a word that holds
 * an address in network order as one number, so the number itself goes back into the address.
 */
bool parse_route(const char *text, struct route *route)
{
    struct in_addr destination;
    struct in_addr gateway;
    uint32_t flags;
    uint32_t mask;
    if (sscanf(text, "%15s %8" SCNx32 " %8" SCNx32 " %8" SCNx32 " %*s %*s %*s %8" SCNx32,
               route->interface, &destination.s_addr, &gateway.s_addr, &flags, &mask) != 5 ||
        (flags & RTF_UP) == 0) {
        return false;
    }
    write_prefix(AF_INET, &destination, prefix_of_mask(mask), route->destination);
    route->gateway[0] = '\0';
    if ((flags & RTF_GATEWAY) != 0) {
        inet_ntop(AF_INET, &gateway, route->gateway, sizeof route->gateway);
    }
    return true;
}

/* Destination, its prefix length, source, its prefix length, gateway, three counts, flags. */
bool parse_ipv6_route(const char *text, struct route *route)
{
    char destination_digits[2 * sizeof(struct in6_addr) + 1];
    char gateway_digits[sizeof destination_digits];
    struct in6_addr destination;
    struct in6_addr gateway;
    unsigned int prefix;
    uint32_t flags;
    if (sscanf(text, "%32s %2x %*s %*s %32s %*s %*s %*s %8" SCNx32 " %15s", destination_digits,
               &prefix, gateway_digits, &flags, route->interface) != 5 ||
        (flags & RTF_UP) == 0 || !parse_ipv6(destination_digits, &destination) ||
        !parse_ipv6(gateway_digits, &gateway)) {
        return false;
    }
    write_prefix(AF_INET6, &destination, prefix, route->destination);
    route->gateway[0] = '\0';
    if ((flags & RTF_GATEWAY) != 0) {
        inet_ntop(AF_INET6, &gateway, route->gateway, sizeof route->gateway);
    }
    return true;
}

char *nameserver_of(char *text)
{
    static const char label[] = "nameserver";
    const size_t length = sizeof label - 1;
    if (strncmp(text, label, length) != 0 || strcspn(text, " \t") != length) {
        return NULL;
    }
    return trimmed(text + length);
}

int first_line(const char *path, const char *ends, char **text)
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

int mention_failure(const char *path, int result)
{
    if (result == 0 || result == ENOMEM) {
        return result;
    }
    fprintf(stderr, "%s: %s\n", path, strerror(result));
    return 0;
}

/* Not everything below /sys/class/net is an interface. */
static bool is_directory(DIR *parent, const char *name)
{
    struct stat status;
    return fstatat(dirfd(parent), name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

int each_interface(interface_fn take, void *context)
{
    DIR *const directory = opendir(MACHINE_INTERFACES);
    if (directory == NULL) {
        return mention_failure(MACHINE_INTERFACES, errno);
    }
    int result = 0;
    while (result == 0) {
        errno = 0;
        const struct dirent *const entry = readdir(directory);
        if (entry == NULL) {
            result = mention_failure(MACHINE_INTERFACES, errno);
            break;
        }
        if (entry->d_name[0] != '.' && is_directory(directory, entry->d_name)) {
            result = take(context, entry->d_name);
        }
    }
    closedir(directory);
    return result;
}
