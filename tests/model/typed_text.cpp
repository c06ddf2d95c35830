#include "typed_text.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace model {

namespace {

struct Form {
    const char *name;
    unsigned int bits;
    bool is_signed;
    // Whether it is read with strtoll rather than strtoull.
    bool read_signed;
};

Form form_of(Type type)
{
    switch (type) {
    case Type::uint64: return {"uint64", 64, false, false};
    case Type::int64: return {"int64", 64, true, true};
    case Type::uint32: return {"uint32", 32, false, false};
    case Type::int32: return {"int32", 32, true, true};
    case Type::time: return {"time", 32, true, true};
    case Type::uint16: return {"uint16", 16, false, false};
    case Type::int16: return {"int16", 16, true, true};
    case Type::uint8: return {"uint8", 8, false, false};
    case Type::int8: return {"int8", 8, true, true};
    case Type::boolean: return {"bool", 8, false, true};
    case Type::uint: return {"uint", 32, false, true};
    case Type::integer: return {"int", 32, true, true};
    case Type::uchar: return {"uchar", 8, false, true};
    case Type::character: return {"char", 8, true, true};
    case Type::macaddr: return {"macaddr", 0, false, false};
    case Type::ipaddr: return {"ipaddr", 0, false, false};
    case Type::cidr: return {"cidr", 0, false, false};
    case Type::str: return {"str", 0, false, false};
    }
    std::abort();
}

// The lowest bits, sign-extended where the type is signed.
std::uint64_t reduced(const Form &form, std::uint64_t number)
{
    if (form.bits == 64) {
        return number;
    }
    const std::uint64_t beyond = std::uint64_t{1} << form.bits;
    const std::uint64_t low = number % beyond;
    return form.is_signed && low >= beyond / 2 ? low - beyond : low;
}

std::string number_text(Type type, std::uint64_t number)
{
    const Form form = form_of(type);
    const std::uint64_t kept = reduced(form, number);
    if (form.is_signed) {
        return std::to_string(static_cast<std::int64_t>(kept));
    }
    const std::string text = std::to_string(kept);
    return type == Type::boolean ? text.substr(0, 1) : text;
}

std::string macaddr_text(const macaddr_t &address)
{
    char text[3 * sizeof address.octets + 1];
    for (std::size_t i = 0; i < sizeof address.octets; ++i) {
        std::snprintf(text + 3 * i, 4, "%02x:", static_cast<unsigned int>(address.octets[i]));
    }
    return std::string(text, 3 * sizeof address.octets - 1);
}

std::optional<std::string> ipaddr_text(const ipaddr_t &address)
{
    if (address.version != 4 && address.version != 6) {
        return std::nullopt;
    }
    char text[INET6_ADDRSTRLEN];
    inet_ntop(address.version == 4 ? AF_INET : AF_INET6, address.bytes, text, sizeof text);
    return text;
}

std::optional<std::string> cidr_text(const cidr_t &cidr)
{
    const auto address = ipaddr_text(cidr.address);
    if (!address || cidr.prefix > (cidr.address.version == 4 ? 32 : 128)) {
        return std::nullopt;
    }
    return *address + '/' + std::to_string(cidr.prefix);
}

std::optional<std::string> macaddr_in(std::string text)
{
    const std::string form = "xx:xx:xx:xx:xx:xx";
    if (text.size() != form.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] == ':' ? text[i] != ':'
                           : std::strchr("0123456789abcdefABCDEF", text[i]) == nullptr) {
            return std::nullopt;
        }
        if (text[i] >= 'A' && text[i] <= 'F') {
            text[i] = static_cast<char>(text[i] - 'A' + 'a');
        }
    }
    return text;
}

std::optional<ipaddr_t> parsed_ipaddr(const std::string &text)
{
    ipaddr_t address{};
    const bool is_ipv6 = text.find(':') != std::string::npos;
    address.version = is_ipv6 ? 6 : 4;
    if (inet_pton(is_ipv6 ? AF_INET6 : AF_INET, text.c_str(), address.bytes) != 1) {
        return std::nullopt;
    }
    return address;
}

std::optional<std::string> ipaddr_in(const std::string &text)
{
    const auto address = parsed_ipaddr(text);
    return address ? ipaddr_text(*address) : std::nullopt;
}

std::optional<std::string> cidr_in(const std::string &text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    const auto address = parsed_ipaddr(text.substr(0, slash));
    const std::string prefix = text.substr(slash + 1);
    // Every prefix that is one is what a number of at most 128 is printed as.
    for (int bits = 0; address && bits <= (address->version == 4 ? 32 : 128); ++bits) {
        if (prefix == std::to_string(bits)) {
            return cidr_text({*address, static_cast<std::uint8_t>(bits)});
        }
    }
    return std::nullopt;
}

} // namespace

const char *name_of(Type type)
{
    return form_of(type).name;
}

bool is_address(Type type)
{
    return type == Type::macaddr || type == Type::ipaddr || type == Type::cidr;
}

std::optional<std::string> text_of(Type type, const Given &given)
{
    switch (type) {
    case Type::macaddr:
        return given.macaddr == nullptr ? std::nullopt
                                        : std::optional(macaddr_text(*given.macaddr));
    case Type::ipaddr: return given.ipaddr == nullptr ? std::nullopt : ipaddr_text(*given.ipaddr);
    case Type::cidr: return given.cidr == nullptr ? std::nullopt : cidr_text(*given.cidr);
    case Type::str:
        return given.text == nullptr ? std::nullopt : std::optional<std::string>(given.text);
    default: return number_text(type, given.number);
    }
}

std::uint64_t held(Type type, std::uint64_t number)
{
    return type == Type::boolean ? number != 0 : reduced(form_of(type), number);
}

std::optional<std::uint64_t> number_in(Type type, const std::string &stored)
{
    const std::size_t length = stored.find('\0');
    if (length == std::string::npos) {
        return std::nullopt;
    }
    const Form form = form_of(type);
    char *end = nullptr;
    const std::uint64_t number =
        form.read_signed ? static_cast<std::uint64_t>(std::strtoll(stored.c_str(), &end, 0))
                         : std::strtoull(stored.c_str(), &end, 0);
    if (length == 0 || end != stored.c_str() + length) {
        return std::nullopt;
    }
    const bool in_range = type == Type::boolean ? number < 2 : reduced(form, number) == number;
    return in_range ? std::optional(number) : std::nullopt;
}

std::optional<std::string> address_in(Type type, const std::string &stored)
{
    const std::string text = until_nul(stored);
    switch (type) {
    case Type::macaddr: return macaddr_in(text.substr(0, 17));
    case Type::ipaddr: return ipaddr_in(text.substr(0, 45));
    default: return cidr_in(text.substr(0, 91));
    }
}

std::string until_nul(const std::string &bytes)
{
    return bytes.substr(0, bytes.find('\0'));
}

} // namespace model
