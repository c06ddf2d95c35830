#include "hash.hpp"

namespace textmaps {

namespace {

// 'a' to 'z' as upper case, and a byte from 0x80 on as itself minus 256, as in the POSIX locale's
// table, sign-extended.
constexpr fold_table fold()
{
    fold_table table{};
    for (int byte = 0; byte < 256; ++byte) {
        const int upper = byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte;
        table.of[byte] = static_cast<std::int16_t>(upper < 128 ? upper : upper - 256);
    }
    return table;
}

} // namespace

constexpr fold_table folded = fold();

} // namespace textmaps
