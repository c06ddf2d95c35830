// Addresses as text: the address library of addrkit/ against a naive reading of its own and against
// inet_pton and inet_ntop, and the typed functions that use it. An input is a record (version, bytes
// and prefix length) and stored bytes.
#include "families.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

namespace {

constexpr char key[] = "ff";

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

// A number of the given digits, of which there are from `shortest` to `longest`.
std::optional<unsigned int> read_digits(std::string_view text, std::string_view digits,
                                        std::size_t shortest, std::size_t longest)
{
    if (text.size() < shortest || text.size() > longest) {
        return std::nullopt;
    }
    unsigned int number = 0;
    for (const char c : text) {
        const std::size_t digit = digits.find(c);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        // Behind the letters in lower case stand those in upper case.
        const std::size_t value = digit < 16 ? digit : digit - 6;
        number = number * (digits.size() == 10 ? 10 : 16) + static_cast<unsigned int>(value);
    }
    return number;
}

std::optional<unsigned int> read_hexadecimal(std::string_view text, std::size_t shortest,
                                             std::size_t longest)
{
    return read_digits(text, "0123456789abcdefABCDEF", shortest, longest);
}

// Decimal, without leading zeros.
std::optional<unsigned int> read_decimal(std::string_view text, unsigned int highest)
{
    const auto number = read_digits(text, "0123456789", 1, 3);
    const bool leading_zero = text.size() > 1 && text[0] == '0';
    return leading_zero || number > highest ? std::nullopt : number;
}

std::optional<std::string> read_ipv4(std::string_view text)
{
    const auto parts = split(text, '.');
    std::string bytes;
    for (const std::string_view part : parts) {
        const auto octet = read_decimal(part, 255);
        if (!octet) {
            return std::nullopt;
        }
        bytes += static_cast<char>(*octet);
    }
    return parts.size() == 4 ? std::optional(bytes) : std::nullopt;
}

// The groups on one side of "::", or all of them; the last two may be written as IPv4.
std::optional<std::string> read_groups(std::string_view text, bool with_ipv4)
{
    std::string bytes;
    if (text.empty()) {
        return bytes;
    }
    const auto parts = split(text, ':');
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto group = read_hexadecimal(parts[i], 1, 4);
        const auto ipv4 = with_ipv4 && i + 1 == parts.size() ? read_ipv4(parts[i]) : std::nullopt;
        if (group) {
            bytes += static_cast<char>(*group >> 8);
            bytes += static_cast<char>(*group & 0xFF);
        } else if (ipv4) {
            bytes += *ipv4;
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

std::optional<std::string> read_ipv6(std::string_view text)
{
    const std::size_t gap = text.find("::");
    if (gap == std::string_view::npos) {
        const auto bytes = read_groups(text, true);
        return bytes && bytes->size() == 16 ? bytes : std::nullopt;
    }
    const auto left = read_groups(text.substr(0, gap), false);
    const auto right = read_groups(text.substr(gap + 2), true);
    if (!left || !right || left->size() + right->size() > 14) {
        return std::nullopt;
    }
    return *left + std::string(16 - left->size() - right->size(), '\0') + *right;
}

// What a text is to be read as; none if it is to be refused.

std::optional<macaddr_t> read_as(macaddr_t address, std::string_view text)
{
    const auto parts = split(text, ':');
    if (parts.size() != sizeof address.octets) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto octet = read_hexadecimal(parts[i], 2, 2);
        if (!octet) {
            return std::nullopt;
        }
        address.octets[i] = static_cast<std::uint8_t>(*octet);
    }
    return address;
}

std::optional<ipaddr_t> read_as(ipaddr_t address, std::string_view text)
{
    const auto ipv4 = read_ipv4(text);
    const auto bytes = ipv4 ? ipv4 : read_ipv6(text);
    if (!bytes) {
        return std::nullopt;
    }
    address.version = ipv4 ? 4 : 6;
    std::memset(address.bytes, 0, sizeof address.bytes);
    std::memcpy(address.bytes, bytes->data(), bytes->size());
    return address;
}

std::optional<cidr_t> read_as(cidr_t cidr, std::string_view text)
{
    const auto parts = split(text, '/');
    const auto address = read_as(cidr.address, parts[0]);
    const auto prefix = address && parts.size() == 2
                            ? read_decimal(parts[1], address->version == 4 ? 32 : 128)
                            : std::nullopt;
    if (!prefix) {
        return std::nullopt;
    }
    return cidr_t{*address, static_cast<std::uint8_t>(*prefix)};
}

// What a record is to be written as; none if it holds no address.

std::optional<std::string> text_of(const macaddr_t &address)
{
    std::string text;
    for (const unsigned int octet : address.octets) {
        text += text.empty() ? "" : ":";
        text += "0123456789abcdef"[octet >> 4];
        text += "0123456789abcdef"[octet & 0xF];
    }
    return text;
}

std::optional<std::string> text_of(const ipaddr_t &address)
{
    if (address.version != 4 && address.version != 6) {
        return std::nullopt;
    }
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(address.version == 4 ? AF_INET : AF_INET6, address.bytes, text, sizeof text);
}

std::optional<std::string> text_of(const cidr_t &cidr)
{
    const auto address = text_of(cidr.address);
    if (!address || cidr.prefix > (cidr.address.version == 4 ? 32 : 128)) {
        return std::nullopt;
    }
    return *address + '/' + std::to_string(cidr.prefix);
}

struct Mac {
    using Record = macaddr_t;
    static constexpr auto from_str = ak_macaddr_from_str;
    static constexpr auto to_str = ak_macaddr_to_str;
    // Of a stored text, so many characters are read.
    static constexpr std::size_t characters_read = 17;
    static constexpr auto cmp = map_cmp_macaddr;
    template <class Family>
    static constexpr auto insert = Family::insert_macaddr;
    template <class Family>
    static constexpr auto get = Family::get_macaddr;
};

struct Ip {
    using Record = ipaddr_t;
    static constexpr auto from_str = ak_ipaddr_from_str;
    static constexpr auto to_str = ak_ipaddr_to_str;
    static constexpr std::size_t characters_read = 45;
    static constexpr auto cmp = map_cmp_ipaddr;
    template <class Family>
    static constexpr auto insert = Family::insert_ipaddr;
    template <class Family>
    static constexpr auto get = Family::get_ipaddr;
};

struct Cidr {
    using Record = cidr_t;
    static constexpr auto from_str = ak_cidr_from_str;
    static constexpr auto to_str = ak_cidr_to_str;
    static constexpr std::size_t characters_read = 91;
    static constexpr auto cmp = map_cmp_cidr;
    template <class Family>
    static constexpr auto insert = Family::insert_cidr;
    template <class Family>
    static constexpr auto get = Family::get_cidr;
};

// read(out) must give the record that the text stands for, or else 22 and leave the output alone.
template <class Record, class Read>
void check_reading(std::string_view text, Read read)
{
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    const auto expected = read_as(record, text);
    const Record expected_record = expected.value_or(record);
    expect(read(&record), expected ? 0 : EINVAL);
    assert(std::memcmp(&record, &expected_record, sizeof record) == 0);
}

// Into buffers of every size.
template <class Kind>
void check_writing(const typename Kind::Record &record)
{
    const auto text = text_of(record);
    const std::string made = text.value_or("") + '\0';
    for (std::size_t size = 0; size <= made.size() + 2; ++size) {
        std::string buffer(made.size() + 4, '\xA5');
        std::string expected = buffer;
        int result = EINVAL;
        if (text && size < made.size()) {
            result = ENOSPC;
        } else if (text) {
            result = 0;
            expected.replace(0, made.size(), made);
        }
        expect(Kind::to_str(&record, buffer.data(), static_cast<std::uint32_t>(size)), result);
        assert(buffer == expected);
    }
}

template <class Family, class Kind>
void check_typed(typename Family::Container *map, const std::string &stored,
                 const typename Kind::Record &record)
{
    using Record = typename Kind::Record;
    const auto get = Kind::template get<Family>;
    const auto insert = Kind::template insert<Family>;
    const auto read = [=](Record *out) {
        return Family::read(get, map, key, out);
    };

    hold<Family>(map, key, stored);
    const std::string_view text = std::string_view(stored).substr(0, stored.find('\0'));
    check_reading<Record>(text.substr(0, Kind::characters_read), read);

    expect(Family::clear(map), 0);
    const auto made = text_of(record);
    expect(insert(map, key, &record), made ? 0 : EINVAL);
    assert(map->numkeys == (made ? 1 : 0));
    if (made) {
        assert(held<Family>(map, key) == *made + '\0');
        check_reading<Record>(*made, read);
    }
}

template <class Kind>
void check(const std::string &stored, const typename Kind::Record &record)
{
    // As large as the text, so that reading on does not go unnoticed.
    std::vector<char> text(stored.c_str(), stored.c_str() + std::strlen(stored.c_str()) + 1);
    check_reading<typename Kind::Record>(
        text.data(), [&](typename Kind::Record *out) { return Kind::from_str(text.data(), out); });
    check_writing<Kind>(record);

    Owned<MapFamily> map;
    Owned<MultimapFamily> multimap;
    Owned<ArraymapFamily> arraymap;
    check_typed<MapFamily, Kind>(&map, stored, record);
    check_typed<MultimapFamily, Kind>(&multimap, stored, record);
    check_typed<ArraymapFamily, Kind>(&arraymap, stored, record);
    if (text_of(record)) {
        expect(Kind::cmp(&map, key, &record), 0);
    }
}

// The naive reading is worth something only if it is right.
void check_naive_reading(const char *text)
{
    unsigned char bytes[16];
    const auto ipv4 = read_ipv4(text);
    expect(inet_pton(AF_INET, text, bytes), ipv4 ? 1 : 0);
    assert(!ipv4 || std::memcmp(bytes, ipv4->data(), ipv4->size()) == 0);
    const auto ipv6 = read_ipv6(text);
    expect(inet_pton(AF_INET6, text, bytes), ipv6 ? 1 : 0);
    assert(!ipv6 || std::memcmp(bytes, ipv6->data(), ipv6->size()) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    cidr_t cidr;
    cidr.address.version = input.byte();
    for (std::uint8_t &byte : cidr.address.bytes) {
        byte = input.byte();
    }
    cidr.prefix = input.byte();
    macaddr_t mac;
    std::memcpy(mac.octets, cidr.address.bytes, sizeof mac.octets);
    const std::string stored = input.rest();

    check_naive_reading(stored.c_str());
    check<Mac>(stored, mac);
    check<Ip>(stored, cidr.address);
    check<Cidr>(stored, cidr);
    return 0;
}
