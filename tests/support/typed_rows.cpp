#include "typed_rows.hpp"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>

namespace {

const NumberRow rows[] = {
    {"uint64", {64, false, 21}, {false, 0, UINT64_MAX}},
    {"int64", {64, true, 21}, {true, INT64_MIN, INT64_MAX}},
    {"uint32", {32, false, 12}, {false, 0, 4294967295}},
    {"int32", {32, true, 12}, {true, -2147483648, 2147483647}},
    {"time", {32, true, 12}, {true, -2147483648, 2147483647}},
    {"uint16", {16, false, 7}, {false, 0, 65535}},
    {"int16", {16, true, 7}, {true, -32768, 32767}},
    {"uint8", {8, false, 5}, {false, 0, 255}},
    {"int8", {8, true, 5}, {true, -128, 127}},
    {"bool", {8, false, 2}, {true, 0, 1}},
    {"uint", {32, false, 11}, {true, 0, 4294967295}},
    {"int", {32, true, 12}, {true, -2147483648, 2147483647}},
    {"uchar", {8, false, 4}, {true, 0, 255}},
    {"char", {8, true, 5}, {true, -128, 127}},
};

// Numbers about the ends of the ranges, in decimal, octal and hexadecimal digits, and none.
std::vector<std::string> telling_digits()
{
    std::istringstream words(
        "0 1 2 7 8 9 a f g 10 127 128 129 255 256 32767 32768 32769 65535 65536 "
        "2147483647 2147483648 2147483649 4294967295 4294967296 "
        "9223372036854775807 9223372036854775808 9223372036854775809 18446744073709551487 "
        "18446744073709551615 18446744073709551616 18446744073709551617 99999999999999999999 "
        "177 200 201 377 400 77777 100000 177777 200000 37777777777 40000000000 "
        "777777777777777777777 1000000000000000000000 "
        "1777777777777777777777 2000000000000000000000 "
        "7f 80 81 ff 100 7FFF 8000 8001 ffff 10000 7fffffff 80000000 80000001 FFFFFFFF 100000000 "
        "7fffffffffffffff 8000000000000000 8000000000000001 ffffffffffffffff 10000000000000000");
    std::vector<std::string> digits = {""};
    digits.insert(digits.end(), std::istream_iterator<std::string>(words), {});
    return digits;
}

std::vector<std::string> make_hostile_texts()
{
    const std::string zeros(5000, '0');
    const std::string blanks(5000, ' ');
    const std::string nines(5000, '9');
    std::vector<std::string> texts = {
        "--1",    "+-1",    "- 1",        "1-",        "1+1",   "1.0",       "1e3",       ".5",
        ",5",     "1,000",  "0x-1",       "1\001",     "\3771", "1\377",     "\2401",     "\240",
        "1\n",    "\t\n 1", "yes",        "true",      "nan",   "inf",       "1L",        "1u",
        "(null)", blanks,   blanks + "1", zeros + "1", nines,   "-" + nines, "0x" + nines};
    for (const char *blank : {"", " \t\n\v\f\r"}) {
        for (const char *sign : {"", "+", "-"}) {
            for (const char *base : {"", "0", "0x", "0X"}) {
                for (const std::string &digits : telling_digits()) {
                    for (const char *behind : {"", " ", "x"}) {
                        texts.push_back(std::string(blank) + sign + base + digits + behind);
                    }
                }
            }
        }
    }
    return texts;
}

} // namespace

std::ostream &operator<<(std::ostream &out, const NumberRow &row)
{
    return out << row.name;
}

const NumberRow &number_row(std::string_view name)
{
    for (const NumberRow &row : rows) {
        if (row.name == name) {
            return row;
        }
    }
    std::abort();
}

uint64_t kept(const NumberRow &row, uint64_t value)
{
    const unsigned int dropped = 64 - row.rendering.bits;
    const uint64_t low = value << dropped;
    return row.rendering.is_signed ? static_cast<uint64_t>(static_cast<int64_t>(low) >> dropped)
                                   : low >> dropped;
}

std::string rendered(const NumberRow &row, uint64_t value)
{
    char scratch[21];
    const unsigned long long number = kept(row, value);
    if (row.rendering.is_signed) {
        std::snprintf(scratch, row.rendering.scratch, "%lld", static_cast<long long>(number));
    } else {
        std::snprintf(scratch, row.rendering.scratch, "%llu", number);
    }
    return std::string(scratch, std::strlen(scratch) + 1);
}

std::optional<uint64_t> parsed(const NumberRow &row, const char *text)
{
    char *end;
    uint64_t number;
    bool in_range;
    if (row.parsing.is_signed) {
        const long long value = std::strtoll(text, &end, 0);
        number = static_cast<uint64_t>(value);
        in_range = value < 0 ? value >= row.parsing.lowest : number <= row.parsing.highest;
    } else {
        number = std::strtoull(text, &end, 0);
        in_range = number <= row.parsing.highest;
    }
    if (end == text || *end != '\0' || !in_range) {
        return std::nullopt;
    }
    return number;
}

std::optional<uint64_t> parsed_bytes(const NumberRow &row, const std::string &bytes)
{
    return bytes.find('\0') == std::string::npos ? std::nullopt : parsed(row, bytes.c_str());
}

uint64_t widest_number(const NumberRow &row)
{
    return row.rendering.is_signed ? uint64_t{1} << (row.rendering.bits - 1) : UINT64_MAX;
}

std::vector<uint64_t> telling_numbers()
{
    std::vector<uint64_t> numbers = {0, 1, 2, 5, 7, 9, 10, 12, 99, 100, 129, 200, 1000, 70000};
    for (const unsigned int bit : {7U, 8U, 15U, 16U, 31U, 32U, 63U}) {
        const uint64_t power = uint64_t{1} << bit;
        numbers.insert(numbers.end(), {power - 2, power - 1, power, power + 1});
    }
    numbers.push_back(UINT64_MAX);
    const std::size_t count = numbers.size();
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(-numbers[i]);
    }
    return numbers;
}

std::vector<uint64_t> numbers_of_every_length()
{
    std::vector<uint64_t> numbers;
    for (unsigned int bit = 0; bit < 64; ++bit) {
        numbers.push_back(uint64_t{1} << bit);
    }
    uint64_t power = 1;
    for (int exponent = 0; exponent < 20; ++exponent, power *= 10) {
        for (uint64_t digit = 1; digit <= 9; ++digit) {
            numbers.push_back(digit * power);
        }
    }
    const std::size_t round = numbers.size();
    for (std::size_t i = 0; i < round; ++i) {
        numbers.insert(numbers.end(), {numbers[i] - 1, numbers[i] + 1});
    }
    std::mt19937_64 random(1);
    for (unsigned int i = 0; i < 1000; ++i) {
        numbers.push_back(random() >> i % 64);
    }
    const std::size_t count = numbers.size();
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(-numbers[i]);
    }
    return numbers;
}

const std::vector<std::pair<unsigned int, std::string>> &telling_bools()
{
    static const std::vector<std::pair<unsigned int, std::string>> bools = {
        {0, "0\0"s},  {1, "1\0"s},   {7, "7\0"s},   {9, "9\0"s},   {10, "1\0"s},
        {12, "1\0"s}, {200, "2\0"s}, {255, "2\0"s}, {256, "0\0"s}, {0xFFFFFF07, "7\0"s},
    };
    return bools;
}

const std::vector<std::string> &hostile_texts()
{
    static const std::vector<std::string> texts = make_hostile_texts();
    return texts;
}

unsigned int RandomNumberBytes::below(unsigned int limit)
{
    return static_cast<unsigned int>(random_() % limit);
}

std::string RandomNumberBytes::any_of(std::string_view alphabet, unsigned int length)
{
    std::string text;
    while (text.size() < length) {
        text += alphabet[below(static_cast<unsigned int>(alphabet.size()))];
    }
    return text;
}

std::string RandomNumberBytes::next()
{
    static const std::string any_byte = every_byte();
    static const std::string_view alphabets[] = {"0123456789", "01234567", "0123456789abcdefABCDEF",
                                                 "01", "9"};
    static const char *const bases[] = {"", "", "", "0", "0x", "0X"};
    // The ends of the ranges, but for their last digits.
    static const char *const ends[] = {"1844674407370955", "922337203685477", "429496", "214748"};
    const bool is_long = below(2) == 0;
    std::string bytes = any_of(" \t\n\v\f\r", below(8) == 0 ? below(4) : 0);
    bytes += any_of("+-", below(2));
    bytes += bases[below(6)];
    bytes += any_of("0", below(8) == 0 ? below(25) : 0);
    bytes += below(8) == 0 ? ends[below(4)] : "";
    bytes += any_of(alphabets[below(5)], is_long ? 1 + below(25) : 1 + below(6));
    bytes += any_of(any_byte, below(8) == 0 ? 1 : 0);
    bytes += '\0';
    bytes += any_of(any_byte, below(8) == 0 ? below(4) : 0);
    if (below(8) == 0) {
        bytes[below(static_cast<unsigned int>(bytes.size()))] = any_of(any_byte, 1)[0];
    }
    if (below(8) == 0) {
        bytes.resize(below(static_cast<unsigned int>(bytes.size())));
    }
    return bytes;
}

std::vector<std::string> near_misses(const std::string &text)
{
    const std::string bare = text.substr(0, text.size() - 1);
    return {"", bare, text + '\0', " " + text, "+" + text, "0x" + text, bare + " \0"s};
}

void expect_failed_reading(int result, const std::function<Reading(uint64_t held)> &get)
{
    for (const uint64_t held : {uint64_t{0}, UINT64_MAX}) {
        const Reading reading = get(held);
        EXPECT_EQ(reading.result, result);
        EXPECT_FALSE(reading.changed);
    }
}
