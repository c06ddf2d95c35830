/* Names none of the types of nodes, and so has none in its debug information. */
#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

void show(const map_t *settings, const multimap_t *services, const arraymap_t *routes);
void show(const map_t *settings, const multimap_t *services, const arraymap_t *routes)
{
    (void)settings;
    (void)services;
    (void)routes;
}

int main(void)
{
    map_t settings;
    multimap_t services;
    arraymap_t routes;
    int failed = map_init(&settings) | multimap_init(&services) | arraymap_init(&routes);
    failed |= map_insert_uint16(&settings, "lan.mtu", 1500);
    failed |= map_insert_str(&settings, "lan.name", "port \"7\"");
    failed |= map_insert(&settings, "lan.token", "\001\002\377", 3);
    failed |= map_setmaxkeys(&settings, 100);
    failed |= multimap_insert_str(&services, "domain", "53/udp");
    failed |= multimap_insert_str(&services, "domain", "53/tcp");
    failed |= multimap_insert_str(&services, "ssh", "22/tcp");
    failed |= multimap_setcasekeys(&services, 1);
    failed |= arraymap_insert_str(&routes, "10.0.0.0/8", "192.168.1.1");
    failed |= arraymap_insert_str(&routes, "10.0.0.0/8", "192.168.1.1");
    if (!failed) {
        show(&settings, &services, &routes);
    }
    failed |= map_destroy(&settings) | multimap_destroy(&services) | arraymap_destroy(&routes);
    return failed;
}
