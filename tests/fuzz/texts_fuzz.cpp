// Text in and out: copies of any stored bytes into buffers of every size, what plain and formatted
// text is stored as, and comparisons without regard to case. An input is a length, so many stored
// bytes, and a text.
#include "families.hpp"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace {

constexpr char key[] = "key";
constexpr char other_key[] = "other";

// An argument that no conversion takes: without any, compilers warn of a format that is not literal.
constexpr int unused = 0;

// As text, bytes end with the first NUL, if not before.
std::string text_in(const std::string &bytes)
{
    return bytes.substr(0, bytes.find('\0'));
}

std::string with_nul(const std::string &text)
{
    return text + '\0';
}

// A format that gives the text.
std::string format_of(const std::string &text)
{
    std::string format;
    for (const char c : text) {
        format += c;
        if (c == '%') {
            format += c;
        }
    }
    return format;
}

std::string padded(const std::string &text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

int sign(int number)
{
    return (number > 0) - (number < 0);
}

int folded(char c)
{
    const int byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
}

// The sign of a comparison without regard to case that ends with the stored bytes, if no NUL does.
int compare_folded(const std::string &text, const std::string &stored)
{
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const int difference = folded(text.c_str()[i]) - folded(stored[i]);
        if (difference != 0 || stored[i] == '\0') {
            return sign(difference);
        }
    }
    return 0;
}

template <class Family>
void check_copies(const typename Family::Container *map, const std::string &stored)
{
    const std::string text = text_in(stored);
    for (std::size_t size = 0; size <= stored.size() + 2; ++size) {
        std::string buffer(stored.size() + 4, '\xA5');
        std::string expected = buffer;
        if (size > 0) {
            const std::string cut = with_nul(text.substr(0, size - 1));
            expected.replace(0, cut.size(), cut);
        }
        expect(Family::read(Family::copy_str, map, key, buffer.data(),
                            static_cast<std::uint32_t>(size)),
               0);
        assert(buffer == expected);
    }

    char *copy = nullptr;
    expect(Family::read(Family::dup_str, map, key, &copy), 0);
    assert(std::string_view(copy, stored.size()) == stored);
    std::free(copy);
}

template <class Family>
void check_texts(typename Family::Container *map, const std::string &stored,
                 const std::string &text)
{
    hold<Family>(map, key, stored);
    check_copies<Family>(map, stored);

    expect(Family::clear(map), 0);
    expect(Family::insert_str(map, key, text.c_str()), 0);
    assert(held<Family>(map, key) == with_nul(text));

    const int precision = static_cast<int>(stored.size());
    const int width = static_cast<int>(text.size() % 32);
    const auto number = static_cast<unsigned int>(stored.size() * 12345);
    const char *inside = held_text<Family>(map, key);
    expect(Family::insert_fmt(map, other_key, "%s%%%.*s %*u", inside, precision, stored.data(),
                              width, number),
           0);
    assert(held<Family>(map, other_key) ==
           with_nul(text + '%' + text_in(stored) + ' ' +
                    padded(std::to_string(number), static_cast<std::size_t>(width))));

    expect(Family::clear(map), 0);
    expect(Family::insert_fmt(map, key, format_of(text).c_str(), unused), 0);
    assert(held<Family>(map, key) == with_nul(text));
}

// The rest is what only one family has. The containers come with the text, and its NUL, as their only
// value.

void check_own(map_t *map, const std::string &stored, const std::string &text)
{
    expect(map_insert_str(map, key, "x"), 1);
    expect(map_insert_fmt(map, key, "%c", 'x'), 1);
    expect(map_replace_fmt(map, key, "%s%s", held_text<MapFamily>(map, key), text.c_str()), 0);
    assert(held<MapFamily>(map, key) == with_nul(text + text));
    expect(map_replace_str(map, key, held_text<MapFamily>(map, key) + text.size()), 0);
    assert(held<MapFamily>(map, key) == with_nul(text));

    expect(map_cmp_str(map, key, text.c_str()), 0);
    hold<MapFamily>(map, key, stored);
    expect(sign(map_cmp_str(map, key, text.c_str())), sign(stored.compare(with_nul(text))));
    expect(sign(map_casecmp_str(map, key, text.c_str())), compare_folded(text, stored));
}

void check_own(multimap_t *map, const std::string &stored, const std::string &text)
{
    expect(multimap_insert_str(map, key, text.c_str()), 1);
    expect(multimap_insert_fmt(map, key, "%s", text.c_str()), 1);
    expect(multimap_find_str(map, key, text.c_str(), nullptr), 0);
    expect(multimap_delete_fmt(map, key, "%s", held_text<MultimapFamily>(map, key)), 0);
    assert(map->numvalues == 0);
    expect(multimap_insert_str(map, key, text.c_str()), 0);
    expect(multimap_delete_str(map, key, held_text<MultimapFamily>(map, key)), 0);
    assert(map->numvalues == 0);

    hold<MultimapFamily>(map, key, stored);
    const bool found = stored == with_nul(text);
    expect(multimap_find_str(map, key, text.c_str(), nullptr), found ? 0 : ENOENT);
    const bool found_folded = stored.size() == text.size() + 1 && compare_folded(text, stored) == 0;
    std::uint32_t index = 1;
    expect(multimap_casefind_str(map, key, text.c_str(), &index), found_folded ? 0 : ENOENT);
    assert(index == (found_folded ? 0 : 1));
}

void check_own(arraymap_t *map, const std::string &stored, const std::string &text)
{
    expect(arraymap_replace_fmt(map, key, 0, "%s%s", held_text<ArraymapFamily>(map, key),
                                text.c_str()),
           0);
    assert(held<ArraymapFamily>(map, key) == with_nul(text + text));
    expect(arraymap_replace_str(map, key, 0, held_text<ArraymapFamily>(map, key) + text.size()), 0);
    assert(held<ArraymapFamily>(map, key) == with_nul(text));
    expect(arraymap_delete_fmt(map, key, "%s", held_text<ArraymapFamily>(map, key)), 0);
    assert(map->numvalues == 0);

    hold<ArraymapFamily>(map, key, stored);
    const bool found = stored == with_nul(text);
    expect(arraymap_delete_str(map, key, text.c_str()), found ? 0 : ENOENT);
    assert(map->numvalues == (found ? 0 : 1));
}

template <class Family>
void check(const std::string &stored, const std::string &text)
{
    Owned<Family> map;
    check_texts<Family>(&map, stored, text);
    check_own(&map, stored, text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const std::string stored = input.bytes(input.byte());
    const std::string text = text_in(input.rest());
    check<MapFamily>(stored, text);
    check<MultimapFamily>(stored, text);
    check<ArraymapFamily>(stored, text);
    return 0;
}
