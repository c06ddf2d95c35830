#include "addrkit.h"

#include <arpa/inet.h>
#include <errno.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

static int hand_out(const char *made, char *text, uint32_t size)
{
    const size_t length = strlen(made);
    if (length >= size) {
        return ENOSPC;
    }
    memcpy(text, made, length + 1);
    return 0;
}

static int family_of(const ipaddr_t *address)
{
    switch (address->version) {
    case 4: return AF_INET;
    case 6: return AF_INET6;
    default: return AF_UNSPEC;
    }
}

static unsigned int widest_prefix(const ipaddr_t *address)
{
    return address->version == 4 ? 32 : 128;
}

/* -1 for a character that is no hexadecimal digit. */
static int hex_value(char digit)
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

static bool parse_prefix(const char *text, unsigned int widest, uint8_t *prefix)
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
        number = number * 10 + (unsigned int)(*text - '0');
        if (number > widest) {
            return false;
        }
    }
    *prefix = (uint8_t)number;
    return true;
}

int ak_macaddr_to_str(const macaddr_t *address, char *text, uint32_t size)
{
    if (address == NULL || text == NULL) {
        return EINVAL;
    }
    const uint8_t *octets = address->octets;
    char made[AK_MACADDR_TEXT];
    snprintf(made, sizeof made, "%02x:%02x:%02x:%02x:%02x:%02x", octets[0], octets[1], octets[2],
             octets[3], octets[4], octets[5]);
    return hand_out(made, text, size);
}

int ak_macaddr_from_str(const char *text, macaddr_t *address)
{
    if (text == NULL || address == NULL) {
        return EINVAL;
    }
    macaddr_t parsed;
    const size_t last = sizeof parsed.octets - 1;
    for (size_t i = 0; i <= last; ++i, text += 3) {
        const int high = hex_value(text[0]);
        const int low = high < 0 ? -1 : hex_value(text[1]);
        if (low < 0 || text[2] != (i == last ? '\0' : ':')) {
            return EINVAL;
        }
        parsed.octets[i] = (uint8_t)(high << 4 | low);
    }
    *address = parsed;
    return 0;
}

int ak_ipaddr_to_str(const ipaddr_t *address, char *text, uint32_t size)
{
    if (address == NULL || text == NULL) {
        return EINVAL;
    }
    char made[AK_IPADDR_TEXT];
    if (inet_ntop(family_of(address), address->bytes, made, sizeof made) == NULL) {
        return EINVAL;
    }
    return hand_out(made, text, size);
}

int ak_ipaddr_from_str(const char *text, ipaddr_t *address)
{
    if (text == NULL || address == NULL) {
        return EINVAL;
    }
    ipaddr_t parsed = {0};
    parsed.version = strchr(text, ':') == NULL ? 4 : 6;
    if (inet_pton(family_of(&parsed), text, parsed.bytes) != 1) {
        return EINVAL;
    }
    *address = parsed;
    return 0;
}

int ak_cidr_to_str(const cidr_t *cidr, char *text, uint32_t size)
{
    if (cidr == NULL || text == NULL) {
        return EINVAL;
    }
    char address[AK_IPADDR_TEXT];
    if (ak_ipaddr_to_str(&cidr->address, address, sizeof address) != 0 ||
        cidr->prefix > widest_prefix(&cidr->address)) {
        return EINVAL;
    }
    char made[AK_CIDR_TEXT];
    snprintf(made, sizeof made, "%s/%u", address, (unsigned int)cidr->prefix);
    return hand_out(made, text, size);
}

int ak_cidr_from_str(const char *text, cidr_t *cidr)
{
    if (text == NULL || cidr == NULL) {
        return EINVAL;
    }
    char address[AK_IPADDR_TEXT];
    const char *slash = strchr(text, '/');
    if (slash == NULL || (size_t)(slash - text) >= sizeof address) {
        return EINVAL;
    }
    const size_t length = (size_t)(slash - text);
    memcpy(address, text, length);
    address[length] = '\0';

    cidr_t parsed;
    if (ak_ipaddr_from_str(address, &parsed.address) != 0 ||
        !parse_prefix(slash + 1, widest_prefix(&parsed.address), &parsed.prefix)) {
        return EINVAL;
    }
    *cidr = parsed;
    return 0;
}
