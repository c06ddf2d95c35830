/* An address library as a platform might have it: other records, other text, other errors. */
#ifndef PLATFORM_ADDRKIT_H
#define PLATFORM_ADDRKIT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    uint64_t number;
} macaddr_t;

typedef uint32_t ipaddr_t;

typedef struct {
    uint16_t prefix;
    ipaddr_t network;
} cidr_t;

#define PLATFORM_NO_ADDRESS 71

int ak_macaddr_to_str(const macaddr_t *address, char *text, size_t size);
int ak_macaddr_from_str(const char *text, macaddr_t *address);
int ak_ipaddr_to_str(const ipaddr_t *address, char *text, size_t size);
int ak_ipaddr_from_str(const char *text, ipaddr_t *address);
int ak_cidr_to_str(const cidr_t *cidr, char *text, size_t size);
int ak_cidr_from_str(const char *text, cidr_t *cidr);

#ifdef __cplusplus
}
#endif

#endif
