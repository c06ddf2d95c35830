// The built-in hash.
#pragma once

#include "words.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace textmaps {

// Of a key, in one pass.
struct measured {
    std::size_t size; // in bytes, with the NUL
    std::uint32_t hash;
};

struct fold_table {
    std::int16_t of[256];
};

// What each byte counts.
// NOLINTNEXTLINE(bugprone-dynamic-static-initializers): constexpr where it is defined.
[[gnu::visibility("hidden")]] extern const fold_table folded;

// Byte by byte: of short keys, and of all keys on 32-bit targets. Two bytes a turn, so that each turn
// waits for one multiplication and nothing else of the turn before.
inline measured hash_bytes(const char *key)
{
    const auto value_of = [](char byte) {
        return static_cast<std::uint32_t>(folded.of[static_cast<unsigned char>(byte)]);
    };
    const char *end = key;
    std::uint32_t hash = 0;
    for (; *end != '\0'; end += 2) {
        const std::uint32_t first = value_of(end[0]);
        if (end[1] == '\0') {
            hash = hash * 31 + first;
            ++end;
            break;
        }
        hash = hash * (31 * 31) + (first * 31 + value_of(end[1]));
    }
    return {static_cast<std::size_t>(end - key) + 1, hash};
}

#ifdef TEXTMAPS_BY_WORDS

// Never a byte is read that is not the key's.

constexpr std::uint64_t to_upper(std::uint64_t bytes)
{
    const std::uint64_t low = bytes & in_every_lane(0x7F);
    const std::uint64_t from_a = low + in_every_lane(0x80 - 'a');
    const std::uint64_t past_z = low + in_every_lane(0x7F - 'z');
    const std::uint64_t lower = (from_a ^ past_z) & ~bytes & in_every_lane(0x80);
    return bytes - (lower >> 2);
}

constexpr std::uint32_t power31(int exponent)
{
    std::uint32_t power = 1;
    for (; exponent != 0; --exponent) {
        power *= 31;
    }
    return power;
}

// byte 0 * 31^7 + byte 1 * 31^6 + ... + byte 7. The lanes become pairs, which take 13 bits; then each
// product has one term of its sum in the upper half, and less than 2^32 below it.
constexpr std::uint32_t polynomial(std::uint64_t bytes)
{
    const std::uint64_t even = bytes & 0x00FF00FF00FF00FF;
    const std::uint64_t odd = bytes >> 8 & 0x00FF00FF00FF00FF;
    const std::uint64_t pairs = even * 31 + odd;
    constexpr std::uint64_t first = std::uint64_t{power31(6)} << 32 | power31(2);
    constexpr std::uint64_t second = std::uint64_t{power31(4)} << 32 | 1;
    const std::uint64_t sum =
        (pairs & 0x0000FFFF0000FFFF) * first + (pairs >> 16 & 0x0000FFFF0000FFFF) * second;
    return static_cast<std::uint32_t>(sum >> 32);
}

inline std::uint32_t hash_word(std::uint64_t bytes)
{
    const std::uint32_t hash = polynomial(to_upper(bytes));
    const std::uint64_t negative = bytes & in_every_lane(0x80);
    return __builtin_expect(negative == 0, 1) ? hash : hash - (polynomial(negative >> 7) << 8);
}

constexpr std::uint32_t powers[] = {1,          power31(1), power31(2), power31(3),
                                    power31(4), power31(5), power31(6), power31(7)};

// Eight bytes or more. What is left behind whole words lies in a word that overlaps them, whose
// bytes of before are taken out: no loop over bytes, whose end the processor could not foresee.
inline std::uint32_t hash_words(const char *key, std::size_t length)
{
    const char *const end = key + length;
    const char *at = key + 8;
    std::uint32_t hash = hash_word(load(key));
    for (; end - at >= 8; at += 8) {
        hash = hash * power31(8) + hash_word(load(at));
    }
    const auto left = static_cast<std::size_t>(end - at);
    const std::uint64_t mask = left == 0 ? 0 : ~std::uint64_t{0} << (64 - 8 * left);
    return hash * powers[left] + hash_word(load(end - 8) & mask);
}

#endif

// h = h * 31 + folded byte, modulo 2^32. It folds case always, whatever `casekeys` says, and the same
// in every locale, whether plain char is signed or not: in the POSIX locale, all spellings of a key
// share a bucket.
inline measured builtin_hash(const char *key)
{
#ifdef TEXTMAPS_BY_WORDS
    const std::size_t length = std::strlen(key);
    if (length >= 8) {
        return {length + 1, hash_words(key, length)};
    }
#endif
    return hash_bytes(key);
}

} // namespace textmaps
