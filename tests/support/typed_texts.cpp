#include "typed_texts.hpp"

#include <cwchar>

namespace {

std::vector<std::string> make_texts()
{
    std::string every_byte;
    for (int byte = 1; byte <= 0xFF; ++byte) {
        every_byte += static_cast<char>(byte);
    }
    return {"",
            "a",
            " ",
            "\n",
            "abc",
            "%s%n%d",
            "caf\303\251",
            "7:8",
            "a=b c\td",
            every_byte,
            std::string(100000, 'x')};
}

} // namespace

const std::string untouched(64, '.');

const std::vector<std::string> &texts()
{
    static const std::vector<std::string> all = make_texts();
    return all;
}

std::vector<std::string> stored_texts()
{
    std::vector<std::string> values = texts();
    for (std::string &value : values) {
        value += '\0';
    }
    return values;
}

std::vector<std::string> values_of_every_kind()
{
    return {"\0"s, "abc\0"s, "abc", "a\0b\0c"s, "\0\0\0"s, "7", std::string(100000, 'x')};
}

std::string filled(const std::string &text)
{
    return text + '\0' + untouched.substr(text.size() + 1);
}

const wchar_t *unconvertible()
{
    static const wchar_t text[] = {0xD800, 0};
    return text;
}

const char *too_long_format()
{
    return "%2147483648d";
}
