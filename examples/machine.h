/* Reading the files in which a Linux kernel states a machine's network: shared by the examples. */
#ifndef MACHINE_H
#define MACHINE_H

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <stdbool.h>

/* A test can have a machine of its own below another directory. */
#ifndef MACHINE_ROOT
#define MACHINE_ROOT ""
#endif

#define MACHINE_INTERFACES MACHINE_ROOT "/sys/class/net"
#define MACHINE_ROUTES MACHINE_ROOT "/proc/net/route"
#define MACHINE_IPV6_ROUTES MACHINE_ROOT "/proc/net/ipv6_route"
#define MACHINE_RESOLVERS MACHINE_ROOT "/etc/resolv.conf"

/* Of an address with its prefix length as text, the NUL counted. */
enum { PREFIX_TEXT_SIZE = INET6_ADDRSTRLEN + 4 };

/** A route as text. */
struct route {
    char interface[IF_NAMESIZE];
    char destination[PREFIX_TEXT_SIZE];
    char gateway[INET6_ADDRSTRLEN]; /**< Empty for a destination on the link itself. */
};

/** Reads a line of MACHINE_ROUTES. @return Whether it is a route that is up. */
bool parse_route(const char *text, struct route *route);

/** Reads a line of MACHINE_IPV6_ROUTES. @return Whether it is a route that is up. */
bool parse_ipv6_route(const char *text, struct route *route);

/**
 * Writes an address with its prefix length.
 *
 * @param family   AF_INET or AF_INET6.
 * @param address  As `inet_ntop` takes it.
 * @param text     Receives the text; it has room for PREFIX_TEXT_SIZE.
 */
void write_prefix(int family, const void *address, unsigned int length, char *text);

/** Reads the 32 hexadecimal digits of an address. */
bool parse_ipv6(const char *digits, struct in6_addr *address);

/** @return The address of a line of MACHINE_RESOLVERS, trimmed in place; NULL for other lines. */
char *nameserver_of(char *text);

/** Reads the first line of a file up to one of the `ends`. The text is the caller's to free. */
int first_line(const char *path, const char *ends, char **text);

/** Takes the name of an interface. Any result but 0 ends the walk. */
typedef int (*interface_fn)(void *context, const char *interface);

/** Walks over the interfaces. @return What `take` returned; 0 or 12 as from `mention_failure`. */
int each_interface(interface_fn take, void *context);

/**
 * A file that a machine does not have is no failure, but it is mentioned on stderr.
 *
 * @return 0 or 12, if that was the result; else 0.
 */
int mention_failure(const char *path, int result);

#endif
