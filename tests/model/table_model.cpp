#include "table_model.hpp"

#include <cstdlib>
#include <cstring>

namespace model {

std::uint32_t builtin_hash(const std::string &key)
{
    std::uint32_t hash = 0;
    for (const char letter : key) {
        std::int64_t number = static_cast<unsigned char>(letter);
        if (number >= 'a' && number <= 'z') {
            number += 'A' - 'a';
        } else if (number >= 0x80) {
            number -= 0x100;
        }
        hash = static_cast<std::uint32_t>(std::int64_t{hash} * 31 + number);
    }
    return hash;
}

std::uint32_t hash_by(Hash hash, std::uint32_t seed, const char *key)
{
    switch (hash) {
    case Hash::builtin: break;
    case Hash::constant: return UINT32_MAX;
    case Hash::two_valued: return std::strlen(key) % 2 == 0 ? 6 : 0x80000001;
    case Hash::folding:
    case Hash::case_sensitive:
        for (; *key != '\0'; ++key) {
            const char letter = hash == Hash::folding ? lower(*key) : *key;
            seed = (seed ^ static_cast<unsigned char>(letter)) * 16777619;
        }
        return seed;
    }
    std::abort();
}

} // namespace model
