// The handles of the C++ face, optimised, for a debugger to look at.
#include <textmaps/textmaps.hpp>

using map_iterator = textmaps::iterator<map_t>;

// Where the debugger stops.
[[gnu::noinline]] static void look(const textmaps::map &settings,
                                   const textmaps::multimap *services,
                                   const textmaps::arraymap &released, const map_iterator &setting)
{
    asm volatile("" : : "r"(&settings), "r"(services), "r"(&released), "r"(&setting) : "memory");
}

int main()
{
    textmaps::map settings;
    textmaps::multimap services;
    textmaps::arraymap released;
    const textmaps::arraymap routes(std::move(released));
    if (!settings.set<std::uint16_t>("lan.mtu", 1500) || !services.try_insert("ssh", "22/tcp")) {
        return 1;
    }
    look(settings, &services, released, settings.begin());
}
