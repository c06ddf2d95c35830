#include <addrkit.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

template <class Record>
struct Sample {
    const char *text;
    Record record;
};

struct MacConversions {
    using Record = macaddr_t;
    static constexpr auto to_str = ak_macaddr_to_str;
    static constexpr auto from_str = ak_macaddr_from_str;
    static constexpr uint32_t buffer = AK_MACADDR_TEXT;
    static constexpr const char *name = "Mac";

    static std::vector<Sample<Record>> samples()
    {
        return {
            {"02:00:5e:10:00:ff", {{0x02, 0x00, 0x5E, 0x10, 0x00, 0xFF}}},
            {"00:00:00:00:00:00", {{}}},
            {"ff:ff:ff:ff:ff:ff", {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}},
            {"01:23:45:67:89:ab", {{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB}}},
            {"fe:dc:ba:98:76:54", {{0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54}}},
        };
    }

    static std::vector<const char *> refused()
    {
        return {
            "",
            " ",
            ":",
            ":::::",
            "0",
            "00",
            "00:",
            "00:00:5e:00:53",
            "00:00:5e:00:53:",
            "00:00:5e:00:53:0",
            "00:00:5e:00:53:0g",
            "00:00:5e:00:53:01:",
            "00:00:5e:00:53:01:02",
            "00:00:5e:00:53:01 ",
            "00:00:5e:00:53:01\n",
            "00:00:5e:00:53:011",
            " 00:00:5e:00:53:01",
            ":00:00:5e:00:53:01",
            "0:0:5e:0:53:1",
            "0:00:5e:00:53:01",
            "000:0:5e:00:53:01",
            "00:00:5e:00:5301",
            "00005e005301",
            "00-00-5e-00-53-01",
            "00:00:5e:00:53-01",
            "00.00.5e.00.53.01",
            "0000.5e00.5301",
            "00 00 5e 00 53 01",
            "00::5e:00:53:01",
            "+0:00:5e:00:53:01",
            "-1:00:5e:00:53:01",
            "0x:00:5e:00:53:01",
            "0x00:0x00:0x5e:0x00:0x53:0x01",
            "g0:00:5e:00:53:01",
            "\260\260:00:5e:00:53:01",
            "192.0.2.1",
            "::1",
        };
    }

    static std::vector<Record> unwritable()
    {
        return {};
    }
};

ipaddr_t ipv4(uint8_t a, uint8_t b, uint8_t c, uint8_t d)
{
    return {4, {a, b, c, d}};
}

// From its eight groups.
ipaddr_t ipv6(const std::vector<unsigned int> &groups)
{
    ipaddr_t address = {6, {}};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        address.bytes[2 * i] = static_cast<uint8_t>(groups[i] >> 8);
        address.bytes[2 * i + 1] = static_cast<uint8_t>(groups[i] & 0xFF);
    }
    return address;
}

const unsigned int every_bit = 0xFFFF;
const ipaddr_t widest_ipv6 =
    ipv6({every_bit, every_bit, every_bit, every_bit, every_bit, every_bit, every_bit, every_bit});

const uint8_t no_versions[] = {0, 1, 3, 5, 7, 10, 46, 64, 255};

struct IpConversions {
    using Record = ipaddr_t;
    static constexpr auto to_str = ak_ipaddr_to_str;
    static constexpr auto from_str = ak_ipaddr_from_str;
    static constexpr uint32_t buffer = AK_IPADDR_TEXT;
    static constexpr const char *name = "Ip";

    static std::vector<Sample<Record>> samples()
    {
        return {
            {"0.0.0.0", ipv4(0, 0, 0, 0)},
            {"127.0.0.1", ipv4(127, 0, 0, 1)},
            {"192.168.1.10", ipv4(192, 168, 1, 10)},
            {"255.255.255.255", ipv4(255, 255, 255, 255)},
            {"::", ipv6({0, 0, 0, 0, 0, 0, 0, 0})},
            {"::1", ipv6({0, 0, 0, 0, 0, 0, 0, 1})},
            {"fe80::1", ipv6({0xFE80, 0, 0, 0, 0, 0, 0, 1})},
            {"2001:db8::", ipv6({0x2001, 0x0DB8, 0, 0, 0, 0, 0, 0})},
            {"2001:db8::ff00:42:8329", ipv6({0x2001, 0x0DB8, 0, 0, 0, 0xFF00, 0x42, 0x8329})},
            {"1:2:3:4:5:6:7:8", ipv6({1, 2, 3, 4, 5, 6, 7, 8})},
            {"::ffff:255.255.255.255", ipv6({0, 0, 0, 0, 0, every_bit, every_bit, every_bit})},
            {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", widest_ipv6},
        };
    }

    static std::vector<const char *> refused()
    {
        return {
            "",
            " ",
            ".",
            ":",
            "...",
            ":::",
            "1",
            "1.2",
            "1.2.3",
            "1.2.3.",
            ".1.2.3",
            "1..2.3",
            "1.2.3.4.",
            "1.2.3.4.5",
            "256.2.3.4",
            "1.2.3.256",
            "1.2.3.1000",
            "1.2.3.4294967296",
            "01.2.3.4",
            "1.2.3.04",
            "1.2.3.00",
            "+1.2.3.4",
            "-1.2.3.4",
            "1.2.3.-4",
            " 1.2.3.4",
            "1. 2.3.4",
            "1.2.3.4 ",
            "1.2.3.4\n",
            "1.2.3.4x",
            "0x1.2.3.4",
            "a.b.c.d",
            "1,2,3,4",
            "1.2.3.4/24",
            "16909060",
            "\2611.2.3.4",
            "localhost",
            "1:2",
            "1:2:3:4:5:6:7",
            "1:2:3:4:5:6:7:",
            "1:2:3:4:5:6:7:8:",
            "1:2:3:4:5:6:7:8:9",
            ":1:2:3:4:5:6:7",
            "1::2::3",
            "12345::",
            "g::",
            "::-1",
            "::+1",
            "::0x1",
            " ::1",
            "::1 ",
            "::1\n",
            "::1%lo",
            "::1/64",
            "[::1]",
            "::1.2.3",
            "::1.2.3.256",
            "::01.2.3.4",
            "::1.2.3.4:5",
            "1.2.3.4::",
            "1:2:3:4:5:6:7:1.2.3.4",
            "\272:1",
            "00:00:5e:00:53:01",
            "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.2555",
        };
    }

    static std::vector<Record> unwritable()
    {
        std::vector<Record> records;
        for (const uint8_t version : no_versions) {
            records.push_back({version, {192, 0, 2, 1}});
        }
        return records;
    }
};

struct CidrConversions {
    using Record = cidr_t;
    static constexpr auto to_str = ak_cidr_to_str;
    static constexpr auto from_str = ak_cidr_from_str;
    static constexpr uint32_t buffer = AK_CIDR_TEXT;
    static constexpr const char *name = "Cidr";

    static std::vector<Sample<Record>> samples()
    {
        return {
            {"0.0.0.0/0", {ipv4(0, 0, 0, 0), 0}},
            {"192.168.1.0/24", {ipv4(192, 168, 1, 0), 24}},
            {"192.168.1.10/24", {ipv4(192, 168, 1, 10), 24}},
            {"255.255.255.255/0", {ipv4(255, 255, 255, 255), 0}},
            {"255.255.255.255/32", {ipv4(255, 255, 255, 255), 32}},
            {"::/0", {ipv6({0, 0, 0, 0, 0, 0, 0, 0}), 0}},
            {"fe80::1/10", {ipv6({0xFE80, 0, 0, 0, 0, 0, 0, 1}), 10}},
            {"::1/128", {ipv6({0, 0, 0, 0, 0, 0, 0, 1}), 128}},
            {"::ffff:192.0.2.1/96", {ipv6({0, 0, 0, 0, 0, every_bit, 0xC000, 0x0201}), 96}},
            {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128", {widest_ipv6, 128}},
        };
    }

    static std::vector<const char *> refused()
    {
        return {
            "",
            " ",
            "/",
            "/24",
            "192.0.2.0",
            "192.0.2.0/",
            "192.0.2.0//24",
            "192.0.2.0/24/",
            "192.0.2.0/24/24",
            "192.0.2.0/33",
            "192.0.2.0/128",
            "192.0.2.0/240",
            "192.0.2.0/256",
            "192.0.2.0/4294967296",
            "192.0.2.0/4294967320",
            "192.0.2.0/18446744073709551640",
            "192.0.2.0/99999999999999999999999999999999",
            "192.0.2.0/+24",
            "192.0.2.0/-1",
            "192.0.2.0/-0",
            "192.0.2.0/ 24",
            "192.0.2.0 /24",
            " 192.0.2.0/24",
            "192.0.2.0/24 ",
            "192.0.2.0/24\n",
            "192.0.2.0/24x",
            "192.0.2.0/024",
            "192.0.2.0/00",
            "192.0.2.0/0x18",
            "192.0.2.0/2:",
            "192.0.2.0/2/",
            "192.0.2.0/\262",
            "192.0.2.0/255.255.255.0",
            "192.0.2.256/24",
            "192.0.2/24",
            "192.0.2.00/24",
            "192.0.2.0:24",
            "192.0.2.0\\24",
            "::",
            "::/",
            "::/129",
            "::/200",
            "::/256",
            "::/0128",
            ":::/64",
            "::1 /64",
            "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffff/64",
            "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.2555/64",
            "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/64",
            "00:00:5e:00:53:01/48",
        };
    }

    static std::vector<Record> unwritable()
    {
        std::vector<Record> records;
        for (const ipaddr_t &address : IpConversions::unwritable()) {
            records.push_back({address, 24});
        }
        for (unsigned int prefix = 33; prefix <= 255; ++prefix) {
            records.push_back({ipv4(192, 0, 2, 0), static_cast<uint8_t>(prefix)});
        }
        for (unsigned int prefix = 129; prefix <= 255; ++prefix) {
            records.push_back({widest_ipv6, static_cast<uint8_t>(prefix)});
        }
        return records;
    }
};

template <class Record>
std::string memory_of(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof record);
}

template <class Record>
Record garbage()
{
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    return record;
}

// In memory that ends with the NUL, for a sanitizer to guard.
std::vector<char> exact_copy(const char *text)
{
    return std::vector<char>(text, text + std::strlen(text) + 1);
}

// The text that a conversion makes of the record.
template <class Conversions>
std::string text_of(const typename Conversions::Record &record)
{
    char text[Conversions::buffer];
    EXPECT_EQ(Conversions::to_str(&record, text, sizeof text), 0);
    return text;
}

template <class Conversions>
void expect_refused(const char *text)
{
    auto record = garbage<typename Conversions::Record>();
    const std::string before = memory_of(record);
    EXPECT_EQ(Conversions::from_str(exact_copy(text).data(), &record), EINVAL);
    EXPECT_EQ(memory_of(record), before);
}

struct ConversionsName {
    template <class Conversions>
    static std::string GetName(int)
    {
        return Conversions::name;
    }
};

} // namespace

template <class Conversions>
class AddressText : public testing::Test {
};

using AllConversions = testing::Types<MacConversions, IpConversions, CidrConversions>;
TYPED_TEST_SUITE(AddressText, AllConversions, ConversionsName);

TYPED_TEST(AddressText, IsWhatTheRecordSays)
{
    for (const auto &sample : TypeParam::samples()) {
        EXPECT_EQ(text_of<TypeParam>(sample.record), sample.text);
    }
}

TYPED_TEST(AddressText, GivesTheWholeRecordWhateverItHeld)
{
    for (const auto &sample : TypeParam::samples()) {
        SCOPED_TRACE(sample.text);
        auto record = garbage<typename TypeParam::Record>();
        EXPECT_EQ(TypeParam::from_str(exact_copy(sample.text).data(), &record), 0);
        EXPECT_EQ(memory_of(record), memory_of(sample.record));
    }
}

TYPED_TEST(AddressText, IsRefusedUnlessWhollyAnAddressAndLeavesTheRecordAlone)
{
    for (const char *text : TypeParam::refused()) {
        SCOPED_TRACE(testing::PrintToString(text));
        expect_refused<TypeParam>(text);
    }
}

TYPED_TEST(AddressText, IsRefusedWithAnyByteBehindIt)
{
    for (const auto &sample : TypeParam::samples()) {
        // More digits behind a number may make another address.
        for (int byte = 1; byte <= 0xFF; ++byte) {
            if (std::isxdigit(byte) == 0) {
                const std::string text = std::string(sample.text) + static_cast<char>(byte);
                SCOPED_TRACE(testing::PrintToString(text));
                expect_refused<TypeParam>(text.c_str());
            }
        }
    }
}

TYPED_TEST(AddressText, IsRefusedWithAnyByteBeforeIt)
{
    for (const auto &sample : TypeParam::samples()) {
        for (int byte = 1; byte <= 0xFF; ++byte) {
            if (std::isxdigit(byte) == 0) {
                const std::string text = static_cast<char>(byte) + std::string(sample.text);
                SCOPED_TRACE(testing::PrintToString(text));
                expect_refused<TypeParam>(text.c_str());
            }
        }
    }
}

TYPED_TEST(AddressText, NeedsABufferThatHoldsItAndItsNul)
{
    for (const auto &sample : TypeParam::samples()) {
        SCOPED_TRACE(sample.text);
        const std::string text(sample.text, std::strlen(sample.text) + 1);
        const std::string untouched(128, '\xA5');
        for (uint32_t size = 0; size <= untouched.size(); ++size) {
            std::string buffer = untouched;
            const int result = TypeParam::to_str(&sample.record, buffer.data(), size);
            if (size < text.size()) {
                EXPECT_EQ(result, ENOSPC) << size;
                EXPECT_EQ(buffer, untouched) << size;
            } else {
                EXPECT_EQ(result, 0) << size;
                EXPECT_EQ(buffer, text + untouched.substr(text.size())) << size;
            }
        }
    }
}

TYPED_TEST(AddressText, IsNotMadeOfARecordThatHoldsNoAddress)
{
    for (const auto &record : TypeParam::unwritable()) {
        SCOPED_TRACE(testing::PrintToString(memory_of(record)));
        std::string buffer(TypeParam::buffer, '\xA5');
        const std::string untouched = buffer;
        EXPECT_EQ(TypeParam::to_str(&record, buffer.data(), TypeParam::buffer), EINVAL);
        EXPECT_EQ(buffer, untouched);
    }
}

TYPED_TEST(AddressText, IsNotMadeOfNull)
{
    std::string buffer(TypeParam::buffer, '\xA5');
    const std::string untouched = buffer;
    EXPECT_EQ(TypeParam::to_str(nullptr, buffer.data(), TypeParam::buffer), EINVAL);
    EXPECT_EQ(buffer, untouched);
}

TYPED_TEST(AddressText, IsNotWrittenToNull)
{
    const auto sample = TypeParam::samples().front();
    EXPECT_EQ(TypeParam::to_str(&sample.record, nullptr, TypeParam::buffer), EINVAL);
    EXPECT_EQ(TypeParam::to_str(&sample.record, nullptr, 0), EINVAL);
    EXPECT_EQ(TypeParam::to_str(nullptr, nullptr, 0), EINVAL);
}

TYPED_TEST(AddressText, IsRefusedIfItIsNull)
{
    auto record = garbage<typename TypeParam::Record>();
    const std::string before = memory_of(record);
    EXPECT_EQ(TypeParam::from_str(nullptr, &record), EINVAL);
    EXPECT_EQ(memory_of(record), before);
}

TYPED_TEST(AddressText, IsNotReadIntoNull)
{
    EXPECT_EQ(TypeParam::from_str(TypeParam::samples().front().text, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::from_str("", nullptr), EINVAL);
    EXPECT_EQ(TypeParam::from_str(nullptr, nullptr), EINVAL);
}

TEST(MacText, HoldsEveryOctetInEveryPlace)
{
    for (std::size_t place = 0; place < sizeof macaddr_t::octets; ++place) {
        for (unsigned int octet = 0; octet <= 0xFF; ++octet) {
            macaddr_t address = {{0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}};
            address.octets[place] = static_cast<uint8_t>(octet);
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", octet & 0xFF);
            std::string expected = "aa:aa:aa:aa:aa:aa";
            expected.replace(3 * place, 2, digits);

            const std::string text = text_of<MacConversions>(address);
            ASSERT_EQ(text, expected);
            macaddr_t back;
            ASSERT_EQ(ak_macaddr_from_str(text.c_str(), &back), 0);
            ASSERT_EQ(memory_of(back), memory_of(address));
        }
    }
}

TEST(MacText, MayBeWrittenInEitherCase)
{
    const macaddr_t expected = {{0xAB, 0xCD, 0xEF, 0xAB, 0xCD, 0xEF}};
    for (const char *text : {"ab:cd:ef:ab:cd:ef", "AB:CD:EF:AB:CD:EF", "aB:Cd:eF:Ab:cD:Ef"}) {
        macaddr_t address;
        EXPECT_EQ(ak_macaddr_from_str(text, &address), 0) << text;
        EXPECT_EQ(memory_of(address), memory_of(expected)) << text;
    }
}

TEST(MacText, ConsistsOfHexadecimalDigitsAndColonsInTheirPlaces)
{
    const std::string good = "a1:a1:a1:a1:a1:a1";
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (int byte = 1; byte <= 0xFF; ++byte) {
            std::string text = good;
            text[place] = static_cast<char>(byte);
            const bool fits = good[place] == ':' ? byte == ':' : std::isxdigit(byte) != 0;
            SCOPED_TRACE(testing::PrintToString(text));
            if (fits) {
                macaddr_t address;
                EXPECT_EQ(ak_macaddr_from_str(text.c_str(), &address), 0);
            } else {
                expect_refused<MacConversions>(text.c_str());
            }
        }
    }
}

TEST(MacText, IsRefusedWhenCutAnywhere)
{
    const std::string good = "02:00:5e:10:00:ff";
    for (std::size_t length = 0; length < good.size(); ++length) {
        SCOPED_TRACE(length);
        expect_refused<MacConversions>(good.substr(0, length).c_str());
    }
}

TEST(IpText, OfVersion4UsesTheFirstFourBytesAlone)
{
    ipaddr_t address = garbage<ipaddr_t>();
    address.version = 4;
    std::memcpy(address.bytes, "\300\000\002\001", 4);
    EXPECT_EQ(text_of<IpConversions>(address), "192.0.2.1");
}

TEST(IpText, MayBeVersion6InAnyNotation)
{
    struct {
        const char *text;
        const char *written;
    } const notations[] = {
        {"FE80::ABCD", "fe80::abcd"},
        {"0:0:0:0:0:0:0:1", "::1"},
        {"0000:0000:0000:0000:0000:0000:0000:0001", "::1"},
        {"2001:0db8::0001", "2001:db8::1"},
        {"1:2:3:4:5:6:1.2.3.4", "1:2:3:4:5:6:102:304"},
        {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
        {"::ffff:c000:201", "::ffff:192.0.2.1"},
    };
    for (const auto &notation : notations) {
        SCOPED_TRACE(notation.text);
        ipaddr_t address;
        EXPECT_EQ(ak_ipaddr_from_str(notation.text, &address), 0);
        EXPECT_EQ(address.version, 6);
        EXPECT_EQ(text_of<IpConversions>(address), notation.written);
    }
}

TEST(IpText, MayTakeUpTheWholeBuffer)
{
    const char longest[] = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255";
    static_assert(sizeof longest == AK_IPADDR_TEXT);
    ipaddr_t address;
    EXPECT_EQ(ak_ipaddr_from_str(longest, &address), 0);
    EXPECT_EQ(memory_of(address), memory_of(widest_ipv6));
}

TEST(IpText, HoldsEveryOctetInEveryPlace)
{
    for (std::size_t place = 0; place < 4; ++place) {
        for (unsigned int octet = 0; octet <= 0xFF; ++octet) {
            ipaddr_t address = ipv4(1, 1, 1, 1);
            address.bytes[place] = static_cast<uint8_t>(octet);
            std::string expected = "1.1.1.1";
            expected.replace(2 * place, 1, std::to_string(octet));

            const std::string text = text_of<IpConversions>(address);
            ASSERT_EQ(text, expected);
            ipaddr_t back;
            ASSERT_EQ(ak_ipaddr_from_str(text.c_str(), &back), 0);
            ASSERT_EQ(memory_of(back), memory_of(address));
        }
    }
}

TEST(CidrText, HoldsEveryPrefixThatTheVersionAllows)
{
    struct {
        ipaddr_t address;
        const char *text;
        unsigned int widest;
    } const networks[] = {
        {ipv4(192, 0, 2, 0), "192.0.2.0/", 32},
        {ipv6({0x2001, 0x0DB8, 0, 0, 0, 0, 0, 0}), "2001:db8::/", 128},
    };
    for (const auto &network : networks) {
        for (unsigned int prefix = 0; prefix <= 1000; ++prefix) {
            const std::string text = network.text + std::to_string(prefix);
            SCOPED_TRACE(text);
            if (prefix > network.widest) {
                expect_refused<CidrConversions>(text.c_str());
                continue;
            }
            const cidr_t cidr = {network.address, static_cast<uint8_t>(prefix)};
            EXPECT_EQ(text_of<CidrConversions>(cidr), text);
            cidr_t back;
            EXPECT_EQ(ak_cidr_from_str(text.c_str(), &back), 0);
            EXPECT_EQ(memory_of(back), memory_of(cidr));
        }
    }
}

TEST(CidrText, KeepsHostBits)
{
    cidr_t cidr;
    ASSERT_EQ(ak_cidr_from_str("192.0.2.255/8", &cidr), 0);
    EXPECT_EQ(memory_of(cidr.address), memory_of(ipv4(192, 0, 2, 255)));
    EXPECT_EQ(text_of<CidrConversions>(cidr), "192.0.2.255/8");
}

TEST(CidrText, MayTakeUpTheWholeBuffer)
{
    const char longest[] = "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255/128";
    static_assert(sizeof longest == AK_CIDR_TEXT);
    cidr_t cidr;
    EXPECT_EQ(ak_cidr_from_str(longest, &cidr), 0);
    EXPECT_EQ(memory_of(cidr), memory_of(cidr_t{widest_ipv6, 128}));
}

TEST(CidrText, IsRefusedAtAnyLengthWithoutAnAddress)
{
    for (std::size_t length = 0; length <= 200; ++length) {
        SCOPED_TRACE(length);
        expect_refused<CidrConversions>((std::string(length, '1') + "/8").c_str());
        expect_refused<CidrConversions>(std::string(length, '1').c_str());
    }
}

TEST(AddressTextSizes, FitTheBuffersOfTheContainers)
{
    EXPECT_LE(AK_MACADDR_TEXT, 18);
    EXPECT_LE(AK_IPADDR_TEXT, 46);
    EXPECT_LE(AK_CIDR_TEXT, 92);
}
