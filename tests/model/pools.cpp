#include "pools.hpp"

namespace model {

namespace {

using namespace std::string_literals;

std::vector<std::string> make_keys()
{
    std::vector<std::string> keys = {
        "a",    "A",        "b",       "B",       "ab",      "aB",   "Ab",    "AB",
        "",     "key",      "Key",     "KEY",     "kEy",     "z",    "Z",     "\xE9",
        "\xC9", "\xFF\x80", "caf\xE9", "CAF\xE9", "one two", "%s%n", "a:max", "a:0",
    };
    const std::string forty(40, 'x');
    const std::string two_hundred(200, 'y');
    keys.insert(keys.end(),
                {
                    "[",       "{",         "@",         "`",         "A:MAX",
                    "a:1",     "a:2",       "a:max+1",   ":max",      ":0",
                    "dns:max", "dns:0",     "dns:1",     "a=b",       "\n",
                    forty,     forty + "a", forty + "A", two_hundred, two_hundred + "\xE9",
                });
    for (int i = 0; i < 20; ++i) {
        keys.push_back("k" + std::to_string(i));
    }
    const std::string long_key(5000, 'l');
    keys.insert(keys.end(), {long_key, long_key + 'm', long_key + 'M', long_key + "mm"});
    return keys;
}

std::vector<std::string> make_names()
{
    std::vector<std::string> names = {"a", "dns", "", "A", "a:0"};
    // ":max" and ":12" end within the 127 characters that a key is cut to, at their end, and behind.
    for (const std::size_t length : {116U, 123U, 124U, 125U, 126U, 128U, 140U}) {
        names.push_back(std::string(length, 'n'));
    }
    // The key of the count to come is as long as a key can be, and longer.
    names.insert(names.begin() + 3, {std::string(121, 'n'), std::string(127, 'n')});
    return names;
}

std::vector<std::string> make_values()
{
    std::vector<std::string> values = {
        "a"s,     "b"s,   "a\0"s,  "b\0"s,  "abc\0"s,  "ABC\0"s,   ""s,       "\0"s,
        "7\0"s,   "1\0"s, "0\0"s,  "-1\0"s, "3\0"s,    "ab"s,      "7"s,      "A\0"s,
        "aBc\0"s, "abc"s, "a\0b"s, "\0\0"s, "a\0b\0"s, "12\0abc"s, "12\0\0"s, "\xFF\x80\0"s,
    };
    // Numerals at the ends of every type's range, in every base.
    for (const char *text : {"9",
                             "10",
                             "2",
                             "127",
                             "128",
                             "-128",
                             "-129",
                             "255",
                             "256",
                             "32767",
                             "32768",
                             "-32768",
                             "-32769",
                             "65535",
                             "65536",
                             "2147483647",
                             "2147483648",
                             "-2147483648",
                             "-2147483649",
                             "4294967295",
                             "4294967296",
                             "9223372036854775807",
                             "9223372036854775808",
                             "-9223372036854775808",
                             "-9223372036854775809",
                             "18446744073709551615",
                             "18446744073709551616",
                             "-18446744073709551615",
                             "99999999999999999999",
                             "-99999999999999999999",
                             "0x1F",
                             "0XfF",
                             "-0x80",
                             "0xFFFFFFFF",
                             "0x",
                             "0xg",
                             "010",
                             "-010",
                             "0377",
                             "08",
                             "00",
                             "0b1",
                             " 12",
                             "\t\n 12",
                             "12 ",
                             "12\n",
                             "+5",
                             "-0",
                             "- 1",
                             "+-1",
                             "--1",
                             "+",
                             "-",
                             "1e3",
                             "1.0",
                             "12abc",
                             "abc12",
                             "1,000",
                             "inf",
                             " ",
                             "%d",
                             "02:00:5e:10:00:ff",
                             "02:00:5E:10:00:FF",
                             "02:00:5e:10:00:ff behind",
                             "02:00:5e:10:00:f",
                             "02-00-5e-10-00-ff",
                             "192.168.1.1",
                             "192.168.1.01",
                             "192.168.1.256",
                             "::1",
                             "FE80:0::1",
                             "fe80::1%eth0",
                             "::ffff:10.0.0.1",
                             "10.0.0.0/8",
                             "10.0.0.0/33",
                             "10.0.0.0/08",
                             "10.0.0.0/",
                             "10.0.0.0/8/8",
                             "2001:db8::/128",
                             "2001:db8::/129"}) {
        values.push_back(std::string(text) + '\0');
    }
    const std::string long_address = "0000:0000:0000:0000:0000:0000:0000:0001";
    values.insert(values.end(), {
                                    "12"s,
                                    "0x"s,
                                    " "s,
                                    long_address + std::string(10, ' ') + '\0',
                                    std::string(300, '1') + '\0',
                                    std::string(20, ' ') + "5\0"s,
                                    std::string(5000, 'v'),
                                });
    return values;
}

std::vector<std::uint64_t> make_numbers()
{
    std::vector<std::uint64_t> numbers = {7, 1, 0, 3, 2, 12};
    for (const std::uint64_t limit :
         {std::uint64_t{10}, std::uint64_t{100}, std::uint64_t{1} << 7, std::uint64_t{1} << 8,
          std::uint64_t{1} << 15, std::uint64_t{1} << 16, std::uint64_t{1} << 31,
          std::uint64_t{1} << 32, std::uint64_t{1} << 63}) {
        for (const std::uint64_t number : {limit - 1, limit, limit + 1}) {
            numbers.push_back(number);
            numbers.push_back(0 - number);
        }
    }
    return numbers;
}

ipaddr_t ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
{
    return {4, {a, b, c, d}};
}

} // namespace

const std::vector<std::string> &keys()
{
    static const std::vector<std::string> pool = make_keys();
    return pool;
}

const std::vector<std::string> &names()
{
    static const std::vector<std::string> pool = make_names();
    return pool;
}

const std::vector<std::string> &values()
{
    static const std::vector<std::string> pool = make_values();
    return pool;
}

const std::vector<std::uint64_t> &numbers()
{
    static const std::vector<std::uint64_t> pool = make_numbers();
    return pool;
}

const std::vector<macaddr_t> &macaddrs()
{
    static const std::vector<macaddr_t> pool = {
        {{0x02, 0x00, 0x5e, 0x10, 0x00, 0xff}},
        {{}},
        {{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}},
    };
    return pool;
}

const std::vector<ipaddr_t> &ipaddrs()
{
    static const std::vector<ipaddr_t> pool = {
        ipv4(192, 168, 1, 1),
        ipv4(0, 0, 0, 0),
        {6, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {6, {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}},
        {5, {1, 2, 3, 4}},
    };
    return pool;
}

const std::vector<cidr_t> &cidrs()
{
    static const std::vector<cidr_t> pool = {
        {ipv4(10, 0, 0, 0), 8},
        {ipv4(192, 168, 1, 1), 32},
        {ipv4(10, 0, 0, 0), 33},
        {{6, {0x20, 0x01, 0x0d, 0xb8}}, 128},
        {{6, {0x20, 0x01, 0x0d, 0xb8}}, 129},
        {{0, {}}, 0},
    };
    return pool;
}

} // namespace model
