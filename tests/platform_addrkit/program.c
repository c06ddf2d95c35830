/* A program on a platform with an address library of its own. */
#include <textmaps/map.h>

#include <stdio.h>
#include <string.h>

#define EXPECT(condition)                                                                          \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                        \
            failures++;                                                                            \
        }                                                                                          \
    } while (0)

int main(void)
{
    int failures = 0;
    map_t map;
    char text[64];

    EXPECT(map_init(&map) == 0);

    const macaddr_t mac = {0x02005E1000FF};
    macaddr_t mac_read = {0};
    EXPECT(map_insert_macaddr(&map, "mac", &mac) == 0);
    EXPECT(map_copy_str(&map, "mac", text, sizeof text) == 0);
    EXPECT(strcmp(text, "mac-02005E1000FF") == 0);
    EXPECT(map_get_macaddr(&map, "mac", &mac_read) == 0);
    EXPECT(mac_read.number == mac.number);
    EXPECT(map_cmp_macaddr(&map, "mac", &mac) == 0);

    const ipaddr_t ip = 4026531841;
    ipaddr_t ip_read = 0;
    EXPECT(map_replace_ipaddr(&map, "ip", &ip) == 0);
    EXPECT(map_cmp_str(&map, "ip", "host#4026531841") == 0);
    EXPECT(map_get_ipaddr(&map, "ip", &ip_read) == 0);
    EXPECT(ip_read == ip);

    const cidr_t cidr = {24, 7};
    cidr_t cidr_read = {0, 0};
    EXPECT(map_replace_cidr(&map, "cidr", &cidr) == 0);
    EXPECT(map_cmp_str(&map, "cidr", "net#7 mask 24") == 0);
    EXPECT(map_get_cidr(&map, "cidr", &cidr_read) == 0);
    EXPECT(cidr_read.prefix == 24 && cidr_read.network == 7);

    /* The library's own errors come back, and nothing is stored. */
    const macaddr_t none = {UINT64_MAX};
    EXPECT(map_replace_macaddr(&map, "mac", &none) == PLATFORM_NO_ADDRESS);
    EXPECT(map_cmp_macaddr(&map, "mac", &mac) == 0);
    EXPECT(map_get_ipaddr(&map, "mac", &ip_read) == PLATFORM_NO_ADDRESS);

    /* A MAC address that does not convert compares as "0". */
    EXPECT(map_replace_str(&map, "zero", "0") == 0);
    EXPECT(map_cmp_macaddr(&map, "zero", &none) == 0);

    /* One that leaves something behind compares as that. */
    const macaddr_t part = {PLATFORM_LEAVES_A_PART};
    EXPECT(map_replace_str(&map, "part", "mac-") == 0);
    EXPECT(map_cmp_macaddr(&map, "part", &part) == 0);
    const macaddr_t full = {PLATFORM_LEAVES_NO_NUL};
    EXPECT(map_replace_str(&map, "full", "xxxxxxxxxxxxxxxxx") == 0);
    EXPECT(map_cmp_macaddr(&map, "full", &full) == 0);

    EXPECT(map_destroy(&map) == 0);
    return failures != 0;
}
