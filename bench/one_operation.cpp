// Goes through one operation, once for every key, and ends: what an emulator counts of it, less what
// it counts of the operation before, is the operation's own.
//
//     one_operation CANDIDATE OPERATION <WORK_LIST
//
// The operations are load (the work list only), fill, then, each after a fill: hit, miss and erase;
// and memory, which prints the bytes that the allocator gave for each key of a fill.
#include "maps/plain_map.hpp"
#include "maps/standard_map.hpp"
#include "maps/textmaps_map.hpp"
#include "maps/uthash_map.hpp"

#include <array>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <unistd.h>

namespace {

using bench::item;

struct work_list {
    std::vector<item> items;
    std::vector<const char *> present;
    std::vector<const char *> absent;
};

// The lines of standard input, which stay where they are.
std::vector<char *> read_lines()
{
    static std::array<char, 1 << 22> text;
    std::size_t size = 0;
    for (ssize_t got; (got = read(STDIN_FILENO, text.data() + size, text.size() - size)) > 0;) {
        size += static_cast<std::size_t>(got);
    }
    std::vector<char *> lines;
    lines.reserve(1 << 16);
    char *line = text.data();
    for (char *end; (end = std::strchr(line, '\n')) != nullptr; line = end + 1) {
        *end = '\0';
        lines.push_back(line);
    }
    return lines;
}

work_list read_work_list()
{
    const auto lines = read_lines();
    const std::size_t count = lines.size() / 3;
    work_list work;
    for (std::size_t i = 0; i < count; ++i) {
        char *tab = std::strchr(lines[i], '\t');
        *tab = '\0';
        work.items.push_back({lines[i], tab + 1, static_cast<std::uint32_t>(std::strlen(tab + 1))});
    }
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(count);
    work.present.assign(first, first + static_cast<std::ptrdiff_t>(count));
    work.absent.assign(first + static_cast<std::ptrdiff_t>(count), lines.end());
    return work;
}

template <class Map>
std::unique_ptr<Map> fill(const work_list &work)
{
    auto map = std::make_unique<Map>(work.items.size());
    for (const item &one : work.items) {
        map->insert(one);
    }
    return map;
}

// How many of the keys are found.
template <class Map>
std::size_t look_up(const Map &map, const std::vector<const char *> &keys)
{
    std::size_t found = 0;
    for (const char *key : keys) {
        found += map.find(key) != nullptr ? 1 : 0;
    }
    return found;
}

template <class Map>
bool run(std::string_view operation, const work_list &work)
{
    const std::size_t before = mallinfo2().uordblks;
    // Never destroyed: giving back what an operation left would be counted with it.
    Map *const map = fill<Map>(work).release();
    if (operation == "memory") {
        std::printf("%.1f\n", static_cast<double>(mallinfo2().uordblks - before) /
                                  static_cast<double>(work.items.size()));
    } else if (operation == "hit") {
        return look_up(*map, work.present) == work.present.size();
    } else if (operation == "miss") {
        return look_up(*map, work.absent) == 0;
    } else if (operation == "erase") {
        for (const char *key : work.present) {
            map->erase(key);
        }
    }
    return true;
}

template <class... Maps>
bool run_candidate(std::string_view candidate, std::string_view operation, const work_list &work)
{
    return ((candidate == Maps::name && run<Maps>(operation, work)) || ...);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        return 2;
    }
    const work_list work = read_work_list();
    const std::string_view operation = argv[2];
    const bool done = operation == "load" ||
                      run_candidate<bench::textmaps_map, bench::plain_map, bench::uthash_map,
                                    bench::unordered_map_17>(argv[1], operation, work);
    return done ? 0 : 1;
}
