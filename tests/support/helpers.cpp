#include "helpers.hpp"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

std::string written(const std::function<void(FILE *)> &write)
{
    char *text = nullptr;
    std::size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    write(stream);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

int print_to_file(void *stream, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = std::vfprintf(static_cast<FILE *>(stream), format, arguments);
    va_end(arguments);
    return result;
}

std::unique_ptr<FILE, int (*)(FILE *)> unwritable_stream()
{
    return {std::fopen("/dev/null", "r"), std::fclose};
}

std::size_t allocations_of(const std::function<void()> &call)
{
    const allocations::Log log;
    call();
    return log.sizes().size();
}

uint32_t hash_all_to_zero(const void *, const char *)
{
    return 0;
}

uint32_t hash_all_to_maximum(const void *, const char *)
{
    return UINT32_MAX;
}

uint32_t hash_first_byte(const void *, const char *key)
{
    return static_cast<unsigned char>(key[0]);
}

uint32_t variable_hash = 0;

uint32_t hash_all_to_variable(const void *, const char *)
{
    return variable_hash;
}

uint32_t hash_length(const void *, const char *key)
{
    return static_cast<uint32_t>(std::strlen(key));
}

std::string every_byte()
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}
