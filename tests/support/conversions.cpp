#include "conversions.hpp"

#include <addrkit.h>

#include <cstring>

static std::uint32_t given_size = 0;
static unsigned int counted = 0;
static bool is_next_unended = false;

#define WATCHED(type)                                                                              \
    extern "C" int __real_ak_##type##_to_str(const type##_t *address, char *text, uint32_t size);  \
    extern "C" int __wrap_ak_##type##_to_str(const type##_t *address, char *text, uint32_t size);  \
    int __wrap_ak_##type##_to_str(const type##_t *address, char *text, uint32_t size)              \
    {                                                                                              \
        given_size = size;                                                                         \
        ++counted;                                                                                 \
        if (is_next_unended) {                                                                     \
            is_next_unended = false;                                                               \
            std::memset(text, '7', size);                                                          \
            return 0;                                                                              \
        }                                                                                          \
        return __real_ak_##type##_to_str(address, text, size);                                     \
    }

WATCHED(macaddr)
WATCHED(ipaddr)
WATCHED(cidr)

std::uint32_t conversions::last_size()
{
    return given_size;
}

unsigned int conversions::count()
{
    return counted;
}

void conversions::leave_next_unended()
{
    is_next_unended = true;
}
