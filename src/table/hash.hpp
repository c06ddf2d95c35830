// The built-in hash.
#pragma once

#include <cstddef>
#include <cstdint>

namespace textmaps {

// A key that an operation is about, hashed and measured once.
struct hashed_key {
    const char *text;
    std::size_t size; // in bytes, with the NUL
    std::uint32_t hash;
};

// h = h * 31 + folded byte, modulo 2^32, where 'a' to 'z' fold to upper case and a byte from 0x80 on
// counts as itself minus 256, whether plain char is signed or not: the POSIX locale's table,
// sign-extended. It folds case always, whatever `casekeys` says, and the same in every locale: in the
// POSIX locale, all spellings of a key share a bucket.
hashed_key builtin_hash(const char *key);

} // namespace textmaps
