// Each line that is marked must be refused, and no other. Warnings count: programs that heed them are
// told, too.
#include <textmaps/textmaps.hpp>

void use(textmaps::map &map, textmaps::multimap &lists, std::string_view view, long number)
{
    textmaps::map copied(map);               // refused
    map = copied;                            // refused
    (void)map.set<double>("key", 1.5);       // refused
    (void)map.get<const char *>("key");      // refused
    (void)lists.try_insert<void *>("", 0);   // refused
    (void)map.set(view, "value");            // refused
    (void)map.set("key", view);              // refused
    (void)map.set("key", 0);                 // refused
    (void)map.set("key", number);            // refused
    (void)map.get<int>(0);                   // refused
    map.set("key", "value");                 // refused
    map.get("key");                          // refused
    map.release();                           // refused
    (*map.begin()).key.remove_suffix(1);     // refused
    (void)map.is_equal(lists);               // refused
    (void)map.set<std::int32_t>("key", 1.5); // refused
    (void)map.set<std::uint8_t>("key", 256); // refused
    (void)map.set<std::uint8_t>("key", 255);
    (void)map.set("key", "value");
    (void)lists.try_insert("key", "value");
}
