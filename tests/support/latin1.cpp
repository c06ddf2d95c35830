#include "latin1.hpp"

static bool is_folding = false;

static int upper(char c)
{
    const int byte = static_cast<unsigned char>(c);
    const bool is_letter = (byte >= 'a' && byte <= 'z') || (byte >= 0xE0 && byte <= 0xFE);
    return is_letter && byte != 0xF7 ? byte - 32 : byte;
}

extern "C" int __real_strcasecmp(const char *a, const char *b);
extern "C" int __wrap_strcasecmp(const char *a, const char *b);
int __wrap_strcasecmp(const char *a, const char *b)
{
    if (!is_folding) {
        return __real_strcasecmp(a, b);
    }
    while (*a != '\0' && upper(*a) == upper(*b)) {
        ++a;
        ++b;
    }
    return upper(*a) - upper(*b);
}

latin1::Folding::Folding()
{
    is_folding = true;
}

latin1::Folding::~Folding()
{
    is_folding = false;
}
