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
#define PLATFORM_WRONG_SIZE 72

/* MAC addresses that do not convert, but leave something behind all the same. */
#define PLATFORM_LEAVES_A_PART (UINT64_MAX - 1)
#define PLATFORM_LEAVES_NO_NUL (UINT64_MAX - 2)

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
