// Prints a work list for the program that counts instructions: COUNT lines of key, tab and value, then
// COUNT keys to look up that are there, then COUNT that are not.
#include "keys.hpp"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    const std::size_t count = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
    for (const bench::item &one : bench::items(count)) {
        std::printf("%s\t%s\n", one.key, one.value);
    }
    for (const char *key : bench::present_keys(count)) {
        std::puts(key);
    }
    for (const char *key : bench::absent_keys(count)) {
        std::puts(key);
    }
}
