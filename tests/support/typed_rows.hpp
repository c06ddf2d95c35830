// The numeric types: how each is put into text and read back, for the typed tests of every family.
#pragma once

#include "helpers.hpp"

#include <optional>
#include <random>
#include <string_view>

// One type. Values of every type are held in 64 bits, sign-extended.
struct NumberRow {
    struct Rendering {
        unsigned int bits;
        bool is_signed;
        std::size_t scratch;
    };

    struct Parsing {
        bool is_signed;
        int64_t lowest;
        uint64_t highest;
    };

    const char *name;
    Rendering rendering;
    Parsing parsing;
};

std::ostream &operator<<(std::ostream &out, const NumberRow &row);

const NumberRow &number_row(std::string_view name);

// The value that the row keeps of an argument, sign-extended.
uint64_t kept(const NumberRow &row, uint64_t value);

// The text that the row stores, with its NUL.
std::string rendered(const NumberRow &row, uint64_t value);

// The value that the row reads from a text; none if it refuses it.
std::optional<uint64_t> parsed(const NumberRow &row, const char *text);

// The same of bytes in which a NUL may end a text, anywhere.
std::optional<uint64_t> parsed_bytes(const NumberRow &row, const std::string &bytes);

// An argument whose text is the longest.
uint64_t widest_number(const NumberRow &row);

// Numbers about every width's ends, and their negatives.
std::vector<uint64_t> telling_numbers();

// Numbers of every length, their negatives, and at random: round ones in decimal and in binary, those
// next to them, and any.
std::vector<uint64_t> numbers_of_every_length();

// Arguments of a bool, and the text that they are stored as.
const std::vector<std::pair<unsigned int, std::string>> &telling_bools();

// Numbers about the ends of the ranges in every base and with every sign, and what is no number.
const std::vector<std::string> &hostile_texts();

// Values at random that are nearly numbers: of up to 25 digits in any base, with blanks, signs and
// zeros before them and anything behind, a NUL anywhere or nowhere, cut at any length.
class RandomNumberBytes {
  public:
    std::string next();

  private:
    unsigned int below(unsigned int limit);
    std::string any_of(std::string_view alphabet, unsigned int length);

    std::mt19937 random_{1};
};

// Values that lie next to the text, which ends with its NUL, without being it.
std::vector<std::string> near_misses(const std::string &text);

// What a reader gave.
struct Reading {
    int result;
    uint64_t value;
    bool changed;
};

template <class Output>
uint64_t widened(Output value)
{
    return static_cast<uint64_t>(value);
}

inline uint64_t widened(char value)
{
    return static_cast<uint64_t>(static_cast<signed char>(value));
}

// Calls get(out) with a variable of the type that holds `held`. Nothing may be written beside it.
template <class Output, class Get>
Reading read_over(uint64_t held, Get get)
{
    const auto before = static_cast<Output>(held);
    struct {
        char in_front[8];
        Output out;
        char behind[8];
    } outputs = {"beside!", before, "beside!"};
    const int result = get(&outputs.out);
    EXPECT_STREQ(outputs.in_front, "beside!");
    EXPECT_STREQ(outputs.behind, "beside!");
    return {result, widened(outputs.out), outputs.out != before};
}

// get(held) is such a reading: it must fail and leave the variable as it was.
void expect_failed_reading(int result, const std::function<Reading(uint64_t held)> &get);

// What a text is read as if the row refuses it.
constexpr std::nullopt_t refused = std::nullopt;
