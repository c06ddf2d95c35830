/**
 * @file addrkit.h
 * @brief MAC addresses, IP addresses and CIDR prefixes to and from text.
 *
 * A stand-in for the address library of a platform that has none of its own. The containers use
 * nothing of it but the six conversions and pointers to the three records.
 *
 * Every function returns 0, or:
 * - 22 `EINVAL`: an argument is NULL, the text is not wholly an address of the kind, or the record
 *   holds none;
 * - 28 `ENOSPC`: the buffer is too small for the text and its NUL.
 *
 * On failure the record or buffer is left as it was. Nothing is allocated and no state is kept.
 */
#ifndef ADDRKIT_H
#define ADDRKIT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Size in bytes, NUL included, of a buffer that holds every MAC address as text. */
#define AK_MACADDR_TEXT 18
/** The same for IP addresses. */
#define AK_IPADDR_TEXT 46
/** The same for prefixes. */
#define AK_CIDR_TEXT 50

/** A MAC address. */
typedef struct macaddr {
    uint8_t octets[6]; /**< In transmission order. */
} macaddr_t;

/** An IP address. */
typedef struct ipaddr {
    uint8_t version;   /**< 4 or 6; any other number is no address. */
    uint8_t bytes[16]; /**< In network order; IPv4 uses the first four. */
} ipaddr_t;

/** An address with a prefix length; host bits are kept. */
typedef struct cidr {
    ipaddr_t address; /**< Of either version. */
    uint8_t prefix;   /**< In bits: 0 to 32 for IPv4, 0 to 128 for IPv6. */
} cidr_t;

/**
 * Writes the address as six two-digit lower-case hexadecimal groups: "02:00:5e:10:00:ff".
 * @param address  Read.
 * @param text     Written, with its NUL.
 * @param size     Of `text`, in bytes.
 */
int ak_macaddr_to_str(const macaddr_t *address, char *text, uint32_t size);

/** Reads six two-digit hexadecimal groups of either case, with colons between them. */
int ak_macaddr_from_str(const char *text, macaddr_t *address);

/** Writes the address as `inet_ntop` does: "192.168.1.1", "fe80::1". */
int ak_ipaddr_to_str(const ipaddr_t *address, char *text, uint32_t size);

/** Reads what `inet_pton` accepts: four decimal octets without leading zeros, or IPv6 text. */
int ak_ipaddr_from_str(const char *text, ipaddr_t *address);

/** Writes address/prefix: "192.168.1.1/24". */
int ak_cidr_to_str(const cidr_t *cidr, char *text, uint32_t size);

/**
 * Reads an address as `ak_ipaddr_from_str` does, a slash, and the prefix length as decimal digits
 * without a leading zero.
 */
int ak_cidr_from_str(const char *text, cidr_t *cidr);

#ifdef __cplusplus
}
#endif

#endif
