#include "typed_texts.hpp"

#include <cstdlib>
#include <cwchar>
#include <printf.h>

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

int conversions_granted;

int convert_or_fail(FILE *stream, const printf_info *, const void *const *)
{
    if (conversions_granted-- > 0) {
        return std::fputs("converted", stream) < 0 ? -1 : 9;
    }
    errno = EIO;
    return -1;
}

int no_arguments(const printf_info *, std::size_t, int *, int *)
{
    return 0;
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

const char *fallible_format()
{
    return "%Y";
}

void grant_conversions(int count)
{
    conversions_granted = count;
}

void with_fallible_conversion(const std::function<void()> &run)
{
    EXPECT_EXIT(
        {
            EXPECT_EQ(register_printf_specifier('Y', convert_or_fail, no_arguments), 0);
            run();
            std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}
