// Listings of hostile keys and values: to a stream, into a buffer of every size and through a
// caller's function, against a naive rendering of what a walk finds. An input is a family, settings,
// and entries.
#include "families.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr char empty_notice[] = "map is empty\n";
constexpr int most_entries = 16;

// Each key with its values, in iteration order.
using Content = std::vector<std::pair<std::string, std::vector<std::string>>>;

template <class Family>
Content content_of(const typename Family::Container *map)
{
    Content content;
    std::int32_t ordinal = 0;
    while (const char *key = Family::key_name(map, ordinal++)) {
        auto &[name, values] = content.emplace_back();
        name = key;
        const void *value;
        std::uint32_t length;
        while (Family::at(map, key, static_cast<std::uint32_t>(values.size()), &value, &length) ==
               0) {
            values.emplace_back(static_cast<const char *>(value), length);
        }
    }
    return content;
}

Content sorted(Content content)
{
    std::sort(content.begin(), content.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    return content;
}

std::string formatted(const char *format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    assert(length >= 0);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

// What the printers call: its context begins with a text, which may become the notice's prefix.
struct Printed {
    char prefix[3] = {'%', 's', '\0'};
    std::string text;
};

int print(void *context, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    static_cast<Printed *>(context)->text += formatted(format, arguments);
    va_end(arguments);
    return -1;
}

// What a call writes to a stream.
template <class Write>
std::string written(Write write)
{
    char *text = nullptr;
    std::size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    assert(stream != nullptr);
    write(stream);
    expect(std::fclose(stream), 0);
    const std::string result(text, size);
    std::free(text);
    return result;
}

std::string address_of(const void *container)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", container);
    return text;
}

std::string header_of(const map_t *map, const Content &content)
{
    return "map " + address_of(map) + " hashsize=" + std::to_string(map->hashsize) +
           " numkeys=" + std::to_string(content.size()) + '\n';
}

template <class Container>
std::string header_of(const char *family, const Container *map, const Content &content)
{
    std::size_t values = 0;
    for (const auto &key : content) {
        values += key.second.size();
    }
    return std::string(family) + ' ' + address_of(map) +
           " hashsize=" + std::to_string(map->hashsize) +
           " numkeys=" + std::to_string(content.size()) + " numvalues=" + std::to_string(values) +
           '\n';
}

std::string header_of(const multimap_t *map, const Content &content)
{
    return header_of("multimap", map, content);
}

std::string header_of(const arraymap_t *map, const Content &content)
{
    return header_of("arraymap", map, content);
}

// A line for each value, which is shown up to its first NUL.
std::string lines_of(const Content &content, const char *indent, bool with_positions)
{
    std::string lines;
    for (const auto &[key, values] : content) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::string position = with_positions ? '[' + std::to_string(i) + ']' : "";
            lines += indent + key + position + '=' + values[i].c_str() + '\n';
        }
    }
    return lines;
}

template <class Family>
void check_buffers(const typename Family::Container *map, const std::string &full)
{
    const std::string guard = "\xA5\xA5\xA5\xA5";
    for (std::size_t size = 0; size <= full.size() + 2; ++size) {
        std::string buffer = std::string(size, '\xA5') + guard;
        const std::uint32_t length =
            Family::sndump(map, buffer.data(), static_cast<std::uint32_t>(size));
        assert(buffer.substr(size) == guard);
        if (size == 0) {
            assert(length == 0);
        } else {
            assert(buffer.substr(0, length + 1) == full.substr(0, size - 1) + '\0');
        }
    }
}

template <class Family>
void check_listings(const typename Family::Container *map, const std::string &dump,
                    const std::string &printed)
{
    assert(written([=](FILE *stream) { Family::dump(map, stream); }) == dump);
    check_buffers<Family>(map, dump);
    Printed result;
    Family::print(map, print, &result);
    assert(result.text == printed);
}

void check(const map_t *map)
{
    const Content content = content_of<MapFamily>(map);
    const auto raw_dump = [=](FILE *stream) {
        map_raw_dump(map, stream);
    };
    if (content.empty()) {
        check_listings<MapFamily>(map, empty_notice, Printed().prefix + std::string(empty_notice));
        assert(written(raw_dump) == empty_notice);
        return;
    }
    const std::string header = header_of(map, content);
    const Content in_order = sorted(content);
    check_listings<MapFamily>(map, header + lines_of(in_order, " ", false),
                              lines_of(in_order, "", false));
    assert(written(raw_dump) == header + lines_of(content, " ", false));
}

template <class Family>
void check_lists(const typename Family::Container *map)
{
    const Content content = content_of<Family>(map);
    if (content.empty()) {
        check_listings<Family>(map, empty_notice, empty_notice);
        return;
    }
    const std::string lines = lines_of(sorted(content), " ", true);
    check_listings<Family>(map, header_of(map, content) + lines, lines);
}

void check(const multimap_t *map)
{
    check_lists<MultimapFamily>(map);
}

void check(const arraymap_t *map)
{
    check_lists<ArraymapFamily>(map);
}

template <class Family>
void run(FuzzInput input)
{
    Owned<Family> map;
    const unsigned int settings = input.byte();
    expect(Family::setcasekeys(&map, settings & 1), 0);
    expect(Family::sethashsize(&map, 1U << (settings >> 1 & 7)), 0);
    for (int i = 0; i < most_entries && !input.at_end(); ++i) {
        const std::string key = input.bytes(input.byte() % 8);
        const std::string value = input.bytes(input.byte() % 16);
        Family::insert(&map, key.c_str(), value.data(), static_cast<std::uint32_t>(value.size()));
    }
    check(&map);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    switch (input.byte() % 3) {
    case 0: run<MapFamily>(input); break;
    case 1: run<MultimapFamily>(input); break;
    default: run<ArraymapFamily>(input); break;
    }
    return 0;
}
