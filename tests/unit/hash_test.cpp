#include "map_fixture.hpp"

#include "map_internal.h"
#include "table/hash.hpp"

#include <clocale>

namespace {

struct Golden {
    const char *key;
    uint32_t hash;
};

// Held as numbers: the hash is the same on every target, whether plain char is signed or not.
const Golden golden[] = {
    {"", 0},
    {"a", 65},
    {"A", 65},
};

} // namespace

TEST(BuiltinHash, IsTheSameOnEveryTarget)
{
    for (const Golden &line : golden) {
        EXPECT_EQ(textmaps::builtin_hash(line.key), line.hash) << line.key;
    }
}
