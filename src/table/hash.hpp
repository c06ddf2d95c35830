// The built-in hash and the key comparison.
#pragma once

#include <cstdint>
#include <cstring>
#include <strings.h>

namespace textmaps {

// The byte as the POSIX locale's upper-case table has it, sign-extended: 'a' to 'z' fold, and a
// byte from 0x80 on counts as itself minus 256, whether plain char is signed or not.
constexpr std::uint32_t fold(char c)
{
    const std::uint32_t byte = static_cast<unsigned char>(c);
    const std::uint32_t upper = byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte;
    return (upper ^ 0x80) - 0x80;
}

// h = h * 31 + folded byte, modulo 2^32. It folds case always, whatever `casekeys` says, and the
// same in every locale: in the POSIX locale, all spellings of a key share a bucket.
constexpr std::uint32_t builtin_hash(const char *key)
{
    std::uint32_t hash = 0;
    for (; *key != '\0'; ++key) {
        hash = hash * 31 + fold(*key);
    }
    return hash;
}

// 0 when the keys are equal under the table's comparison.
template <class Table>
int keycmp(const Table &table, const char *key, const char *stored)
{
    return table.casekeys != 0 ? strcasecmp(key, stored) : std::strcmp(key, stored);
}

} // namespace textmaps
