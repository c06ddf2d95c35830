#include "table_world.hpp"

namespace model {

int print_to(void *context, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), format, again);
    va_end(again);
    va_end(arguments);
    text.pop_back();
    static_cast<Printed *>(context)->text += text;
    return length;
}

} // namespace model
