#include "addrkit.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/* The library states the sizes of its buffers, each always the same. */
static int written(int length, size_t size, size_t expected_size)
{
    if (size != expected_size) {
        return PLATFORM_WRONG_SIZE;
    }
    return length >= 0 && (size_t)length < size ? 0 : PLATFORM_NO_ADDRESS;
}

int ak_macaddr_to_str(const macaddr_t *address, char *text, size_t size)
{
    if (address->number == PLATFORM_LEAVES_A_PART) {
        snprintf(text, size, "mac-");
    }
    if (address->number == PLATFORM_LEAVES_NO_NUL) {
        memset(text, 'x', size);
    }
    if (address->number >> 48 != 0) {
        return PLATFORM_NO_ADDRESS;
    }
    return written(snprintf(text, size, "mac-%012" PRIX64, address->number), size, 18);
}

int ak_macaddr_from_str(const char *text, macaddr_t *address)
{
    return sscanf(text, "mac-%" SCNx64, &address->number) == 1 ? 0 : PLATFORM_NO_ADDRESS;
}

int ak_ipaddr_to_str(const ipaddr_t *address, char *text, size_t size)
{
    return written(snprintf(text, size, "host#%" PRIu32, *address), size, 46);
}

int ak_ipaddr_from_str(const char *text, ipaddr_t *address)
{
    return sscanf(text, "host#%" SCNu32, address) == 1 ? 0 : PLATFORM_NO_ADDRESS;
}

int ak_cidr_to_str(const cidr_t *cidr, char *text, size_t size)
{
    return written(
        snprintf(text, size, "net#%" PRIu32 " mask %u", cidr->network, (unsigned int)cidr->prefix),
        size, 92);
}

int ak_cidr_from_str(const char *text, cidr_t *cidr)
{
    return sscanf(text, "net#%" SCNu32 " mask %" SCNu16, &cidr->network, &cidr->prefix) == 2
               ? 0
               : PLATFORM_NO_ADDRESS;
}
