#include "rows.hpp"

#include "table/words.hpp"

namespace textmaps {

namespace {

// How a number row keeps and reads its numbers.
struct number_form {
    std::uint8_t bits;       // to which the argument is reduced
    std::uint8_t range_bits; // of the numbers that are read
    bool is_signed;
    bool by_strtoull; // or else by strtoll
};

constexpr number_form forms[] = {
    {64, 64, false, true},  // uint64
    {64, 64, true, false},  // int64
    {32, 32, false, true},  // uint32
    {32, 32, true, false},  // int32
    {16, 16, false, true},  // uint16
    {16, 16, true, false},  // int16
    {8, 8, false, true},    // uint8
    {8, 8, true, false},    // int8
    {8, 1, false, false},   // bool
    {32, 32, false, false}, // uint
    {32, 32, true, false},  // int
    {8, 8, false, false},   // uchar
    {8, 8, true, false},    // char
};
static_assert(sizeof forms / sizeof forms[0] == id_macaddr);
static_assert(sizeof(int) == 4 && sizeof(bool) == 1);

bool is_number(row_id id)
{
    return id < id_macaddr;
}

// The argument as the row keeps it, sign-extended where it is signed.
std::uint64_t reduce(const number_form &form, word value)
{
    std::uint64_t number = value;
    if (form.bits == 64) {
        std::memcpy(&number, reinterpret_cast<const void *>(value), sizeof number);
    }
    const std::uint64_t low = ~std::uint64_t{0} >> (64 - form.bits);
    const std::uint64_t sign = form.is_signed ? (low >> 1) + 1 : 0;
    return ((number & low) ^ sign) - sign;
}

// n / 10: a multiplication, also where a compiler that is to save space would call its division.
constexpr std::uint32_t tenth(std::uint32_t n)
{
    return static_cast<std::uint32_t>(std::uint64_t{n} * 0xCCCCCCCD >> 35);
}

// Takes the last decimal digit off a number. 32-bit targets divide by steps of 16 bits: the
// compiler's 64-bit division is a kilobyte of code.
std::uint32_t take_digit(std::uint64_t &number)
{
    if constexpr (sizeof(word) == 8) {
        const auto digit = static_cast<std::uint32_t>(number % 10);
        number /= 10;
        return digit;
    }
    std::uint64_t quotient = 0;
    std::uint32_t rest = 0;
    for (unsigned int shift = 64; shift != 0;) {
        shift -= 16;
        const std::uint32_t part =
            rest << 16 | (static_cast<std::uint32_t>(number >> shift) & 0xFFFF);
        quotient = quotient << 16 | tenth(part);
        rest = part - tenth(part) * 10;
    }
    number = quotient;
    return rest;
}

// Writes a number in front of `end`, and gives its first digit.
char *put_digits(char *end, std::uint64_t number)
{
    while (number > UINT32_MAX) {
        *--end = static_cast<char>('0' + take_digit(number));
    }
    auto rest = static_cast<std::uint32_t>(number);
    do {
        const std::uint32_t left = tenth(rest);
        *--end = static_cast<char>('0' + (rest - left * 10));
        rest = left;
    } while (rest != 0);
    return end;
}

constexpr std::size_t most_digits = 16;

#ifdef TEXTMAPS_BY_WORDS

// The last `count` of eight characters, less '0' each, and 0 in place of the others.
std::uint64_t last_digits(const char *text, std::size_t count)
{
    const std::uint64_t others = ~std::uint64_t{0} >> (4 * count) >> (4 * count);
    return (load(text) ^ in_every_lane('0')) & ~others;
}

// The sum sets a lane's highest bit where it is above 9.
bool are_digits(std::uint64_t lanes)
{
    return ((lanes | (lanes + in_every_lane(0x7F - 9))) & in_every_lane(0x80)) == 0;
}

// The number that eight digits make, the first in the lowest lane: by pairs, then all of them.
std::uint64_t number_of(std::uint64_t digits)
{
    const std::uint64_t pairs = digits * 10 + (digits >> 8);
    constexpr std::uint64_t first = std::uint64_t{1000000} << 32 | 100;
    constexpr std::uint64_t second = std::uint64_t{10000} << 32 | 1;
    const std::uint64_t sum =
        (pairs & 0x000000FF000000FF) * first + (pairs >> 16 & 0x000000FF000000FF) * second;
    return sum >> 32;
}

// No loop over digits: the processor could not foresee its end. Words that end with the text are read,
// and may begin before it, in the header of the value's node: values lie directly behind one.
bool parse_digits(const char *text, std::size_t count, std::uint64_t &number)
{
    const char *const end = text + count;
    number = 0;
    if (count > 8) {
        const std::uint64_t digits = last_digits(end - 16, count - 8);
        if (!are_digits(digits)) {
            return false;
        }
        number = number_of(digits) * 100000000;
        count = 8;
    }
    const std::uint64_t digits = last_digits(end - 8, count);
    number += number_of(digits);
    return are_digits(digits);
}

#else

bool parse_digits(const char *text, std::size_t count, std::uint64_t &number)
{
    number = 0;
    for (const char *const end = text + count; text != end; ++text) {
        const std::uint32_t digit = static_cast<unsigned char>(*text) - std::uint32_t{'0'};
        if (digit > 9) {
            return false;
        }
        number = number * 10 + digit;
    }
    return true;
}

#endif

// Decimal text of no more than most_digits, as nearly every number is stored: what strtoll and strtoull
// make of it, at a fraction of their cost. False for any other.
bool parse_decimal(const char *text, std::uint32_t length, std::uint64_t &number)
{
    if (length == 0 || text[length - 1] != '\0') {
        return false;
    }
    const bool negative = *text == '-';
    text += negative;
    const std::size_t digits = length - 1 - std::size_t{negative};
    const bool octal = *text == '0' && digits > 1;
    if (digits == 0 || digits > most_digits || octal || !parse_digits(text, digits, number)) {
        return false;
    }
    if (negative) {
        number = 0 - number;
    }
    return true;
}

int read_number(const number_form &form, const stored &from, void *out)
{
    const auto *text = static_cast<const char *>(from.data);
    std::uint64_t number;
    if (!parse_decimal(text, from.length, number)) {
        if (std::memchr(text, '\0', from.length) == nullptr) {
            return ERANGE;
        }
        char *end;
        number = form.by_strtoull ? std::strtoull(text, &end, 0)
                                  : static_cast<std::uint64_t>(std::strtoll(text, &end, 0));
        if (end == text || *end != '\0') {
            return ERANGE;
        }
    }
    const std::uint64_t range = ~std::uint64_t{0} >> (64 - form.range_bits);
    const std::uint64_t min = form.is_signed ? ~(range >> 1) : 0;
    if (number - min > range) {
        return ERANGE;
    }
    switch (form.bits) {
    case 64: std::memcpy(out, &number, sizeof number); break;
    case 32: {
        const auto kept = static_cast<std::uint32_t>(number);
        std::memcpy(out, &kept, sizeof kept);
        break;
    }
    case 16: {
        const auto kept = static_cast<std::uint16_t>(number);
        std::memcpy(out, &kept, sizeof kept);
        break;
    }
    default: *static_cast<unsigned char *>(out) = static_cast<unsigned char>(number);
    }
    return 0;
}

std::uint32_t scratch_of(row_id id)
{
    return id == id_macaddr ? macaddr_scratch : id == id_ipaddr ? ipaddr_scratch : cidr_scratch;
}

int address_to_str(row_id id, word record, char *text)
{
    switch (id) {
    case id_macaddr:
        return ak_macaddr_to_str(reinterpret_cast<const macaddr_t *>(record), text,
                                 macaddr_scratch);
    case id_ipaddr:
        return ak_ipaddr_to_str(reinterpret_cast<const ipaddr_t *>(record), text, ipaddr_scratch);
    default: return ak_cidr_to_str(reinterpret_cast<const cidr_t *>(record), text, cidr_scratch);
    }
}

// Of a frame of its own, so that numbers are read without the scratch.
[[gnu::noinline]] int read_address(row_id id, const stored &from, void *out)
{
    char text[cidr_scratch];
    copy_text(text, scratch_of(id), from.data, from.length);
    switch (id) {
    case id_macaddr: return ak_macaddr_from_str(text, static_cast<macaddr_t *>(out));
    case id_ipaddr: return ak_ipaddr_from_str(text, static_cast<ipaddr_t *>(out));
    default: return ak_cidr_from_str(text, static_cast<cidr_t *>(out));
    }
}

} // namespace

void value_text::put_number(row_id id, word value)
{
    const number_form &form = forms[id];
    const std::uint64_t number = reduce(form, value);
    const bool negative = form.is_signed && number > UINT64_MAX / 2;
    char *const end = scratch_ + sizeof scratch_ - 1;
    char *text = put_digits(end, negative ? std::uint64_t{0} - number : number);
    if (negative) {
        *--text = '-';
    }
    // Of a bool, its first digit.
    char *const cut = form.range_bits == 1 ? text + 1 : end;
    *cut = '\0';
    text_ = text;
    size_ = static_cast<std::uint32_t>(cut - text + 1);
}

int value_text::render(row_id id, const void *container, const char *key, word value)
{
    if (container == nullptr || key == nullptr || (value == 0 && !is_number(id))) {
        return EINVAL;
    }
    if (is_number(id)) {
        put_number(id, value);
        return 0;
    }
    text_ = scratch_;
    if (id == id_str) {
        text_ = reinterpret_cast<const char *>(value);
    } else if (const int result = address_to_str(id, value, scratch_)) {
        return result;
    }
    const std::size_t size = std::strlen(text_) + 1;
    size_ = static_cast<std::uint32_t>(size);
    return size_ == size ? 0 : ENOMEM;
}

void value_text::render_any(row_id id, word value)
{
    if (is_number(id)) {
        put_number(id, value);
        return;
    }
    // What a conversion that writes nothing leaves.
    std::memset(scratch_, 0, sizeof scratch_);
    if (id == id_macaddr) {
        scratch_[0] = '0';
    }
    if (value != 0) {
        address_to_str(id, value, scratch_);
        scratch_[scratch_of(id) - 1] = '\0';
    }
    text_ = scratch_;
    size_ = static_cast<std::uint32_t>(std::strlen(scratch_) + 1);
}

int read(row_id id, const stored &from, void *out)
{
    if (out == nullptr) {
        return EINVAL;
    }
    if (from.result != 0) {
        return from.result;
    }
    return is_number(id) ? read_number(forms[id], from, out) : read_address(id, from, out);
}

int read_time(const stored &from, std::int32_t *out)
{
    std::int32_t seconds = 0;
    const int result = read(id_int32, from, &seconds);
    if (out != nullptr) {
        *out = seconds;
    }
    return result;
}

} // namespace textmaps
