#include "hash.hpp"

namespace textmaps {

namespace {

struct fold_table {
    std::int16_t of[256];
};

// What each byte counts: 'a' to 'z' as upper case, and a byte from 0x80 on as itself minus 256, as in
// the POSIX locale's table, sign-extended.
constexpr fold_table fold()
{
    fold_table table{};
    for (int byte = 0; byte < 256; ++byte) {
        const int upper = byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte;
        table.of[byte] = static_cast<std::int16_t>(upper < 128 ? upper : upper - 256);
    }
    return table;
}

constexpr fold_table folded = fold();

} // namespace

measured hash_bytes(const char *key)
{
    const char *end = key;
    std::uint32_t hash = 0;
    for (; *end != '\0'; ++end) {
        const auto upper = static_cast<std::uint32_t>(folded.of[static_cast<unsigned char>(*end)]);
        hash = (hash << 5) + (upper - hash);
    }
    return {static_cast<std::size_t>(end - key) + 1, hash};
}

} // namespace textmaps
