#include "addrkit.h"

#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>

namespace {

constexpr char hex_digits[] = "0123456789abcdef";

int hand_out(const char *made, std::size_t length, char *text, uint32_t size)
{
    if (length >= size) {
        return ENOSPC;
    }
    std::memcpy(text, made, length + 1);
    return 0;
}

int family_of(const ipaddr_t &address)
{
    switch (address.version) {
    case 4: return AF_INET;
    case 6: return AF_INET6;
    default: return AF_UNSPEC;
    }
}

unsigned int widest_prefix(const ipaddr_t &address)
{
    return address.version == 4 ? 32 : 128;
}

// -1 for a character that is no hexadecimal digit.
int hex_value(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

bool parse_prefix(const char *text, unsigned int widest, unsigned int *prefix)
{
    const bool leading_zero = text[0] == '0' && text[1] != '\0';
    if (text[0] == '\0' || leading_zero) {
        return false;
    }
    unsigned int number = 0;
    for (; *text != '\0'; ++text) {
        if (*text < '0' || *text > '9') {
            return false;
        }
        number = number * 10 + static_cast<unsigned int>(*text - '0');
        if (number > widest) {
            return false;
        }
    }
    *prefix = number;
    return true;
}

} // namespace

int ak_macaddr_to_str(const macaddr_t *address, char *text, uint32_t size)
{
    if (address == nullptr || text == nullptr) {
        return EINVAL;
    }
    char made[AK_MACADDR_TEXT];
    char *end = made;
    for (const uint8_t octet : address->octets) {
        *end++ = hex_digits[octet >> 4];
        *end++ = hex_digits[octet & 0xF];
        *end++ = ':';
    }
    *--end = '\0';
    return hand_out(made, sizeof made - 1, text, size);
}

int ak_macaddr_from_str(const char *text, macaddr_t *address)
{
    if (text == nullptr || address == nullptr) {
        return EINVAL;
    }
    macaddr_t parsed;
    for (std::size_t i = 0; i < sizeof parsed.octets; ++i) {
        const int high = hex_value(*text);
        if (high < 0) {
            return EINVAL;
        }
        const int low = hex_value(*++text);
        const bool last = i + 1 == sizeof parsed.octets;
        if (low < 0 || *++text != (last ? '\0' : ':')) {
            return EINVAL;
        }
        ++text;
        parsed.octets[i] = static_cast<uint8_t>(high << 4 | low);
    }
    *address = parsed;
    return 0;
}

int ak_ipaddr_to_str(const ipaddr_t *address, char *text, uint32_t size)
{
    if (address == nullptr || text == nullptr) {
        return EINVAL;
    }
    char made[AK_IPADDR_TEXT];
    if (inet_ntop(family_of(*address), address->bytes, made, sizeof made) == nullptr) {
        return EINVAL;
    }
    return hand_out(made, std::strlen(made), text, size);
}

int ak_ipaddr_from_str(const char *text, ipaddr_t *address)
{
    if (text == nullptr || address == nullptr) {
        return EINVAL;
    }
    ipaddr_t parsed = {};
    parsed.version = std::strchr(text, ':') == nullptr ? 4 : 6;
    if (inet_pton(family_of(parsed), text, parsed.bytes) != 1) {
        return EINVAL;
    }
    *address = parsed;
    return 0;
}

int ak_cidr_to_str(const cidr_t *cidr, char *text, uint32_t size)
{
    if (cidr == nullptr || text == nullptr) {
        return EINVAL;
    }
    char made[AK_CIDR_TEXT];
    const int result = ak_ipaddr_to_str(&cidr->address, made, AK_IPADDR_TEXT);
    if (result != 0 || cidr->prefix > widest_prefix(cidr->address)) {
        return EINVAL;
    }
    char *end = made + std::strlen(made);
    *end++ = '/';
    end = std::to_chars(end, made + sizeof made - 1, cidr->prefix).ptr;
    *end = '\0';
    return hand_out(made, static_cast<std::size_t>(end - made), text, size);
}

int ak_cidr_from_str(const char *text, cidr_t *cidr)
{
    if (text == nullptr || cidr == nullptr) {
        return EINVAL;
    }
    char address[AK_IPADDR_TEXT];
    const char *slash = std::strchr(text, '/');
    const std::size_t length =
        slash == nullptr ? sizeof address : static_cast<std::size_t>(slash - text);
    if (length >= sizeof address) {
        return EINVAL;
    }
    std::memcpy(address, text, length);
    address[length] = '\0';

    cidr_t parsed;
    unsigned int prefix;
    if (ak_ipaddr_from_str(address, &parsed.address) != 0 ||
        !parse_prefix(slash + 1, widest_prefix(parsed.address), &prefix)) {
        return EINVAL;
    }
    parsed.prefix = static_cast<uint8_t>(prefix);
    *cidr = parsed;
    return 0;
}
