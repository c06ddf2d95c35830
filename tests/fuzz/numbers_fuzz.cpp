// Numbers as text: what every reader makes of any stored bytes, and what every writer makes of any
// number. An input is a number of eight bytes and, behind it, the stored bytes.
#include "families.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

// In a map the key lies right behind the value: a reader that went on there would find a digit.
constexpr char key[] = "7";

// What the headers say of a type: of a number its low bits are stored, as so many characters at
// most; text is read by strtoll or strtoull, and accepted within a range.
struct NumberType {
    unsigned int bits;
    bool is_signed;
    std::size_t longest;
    bool read_by_strtoll;
    std::int64_t lowest;
    std::uint64_t highest;
    bool writes_on_failure = false;
};

constexpr NumberType type_uint64 = {64, false, 20, false, 0, UINT64_MAX};
constexpr NumberType type_int64 = {64, true, 20, true, INT64_MIN, INT64_MAX};
constexpr NumberType type_uint32 = {32, false, 10, false, 0, 4294967295};
constexpr NumberType type_int32 = {32, true, 11, true, -2147483648, 2147483647};
constexpr NumberType type_time = {32, true, 11, true, -2147483648, 2147483647, true};
constexpr NumberType type_uint16 = {16, false, 5, false, 0, 65535};
constexpr NumberType type_int16 = {16, true, 6, true, -32768, 32767};
constexpr NumberType type_uint8 = {8, false, 3, false, 0, 255};
constexpr NumberType type_int8 = {8, true, 4, true, -128, 127};
constexpr NumberType type_bool = {8, false, 1, true, 0, 1};
constexpr NumberType type_uint = {32, false, 10, true, 0, 4294967295};
constexpr NumberType type_int = {32, true, 11, true, -2147483648, 2147483647};
constexpr NumberType type_uchar = {8, false, 3, true, 0, 255};
constexpr NumberType type_char = {8, true, 4, true, -128, 127};

// The value, sign-extended, that the bytes are to be read as; none if they are to be refused.
std::optional<std::uint64_t> expected_value(const NumberType &type, const std::string &stored)
{
    if (stored.find('\0') == std::string::npos) {
        return std::nullopt;
    }
    const char *text = stored.c_str();
    char *end;
    std::uint64_t value;
    bool in_range;
    if (type.read_by_strtoll) {
        const long long number = std::strtoll(text, &end, 0);
        value = static_cast<std::uint64_t>(number);
        in_range = number < 0 ? number >= type.lowest : value <= type.highest;
    } else {
        value = std::strtoull(text, &end, 0);
        in_range = value <= type.highest;
    }
    if (end == text || *end != '\0' || !in_range) {
        return std::nullopt;
    }
    return value;
}

// The text, with its NUL, that the number is to be stored as.
std::string expected_text(const NumberType &type, std::uint64_t number)
{
    const unsigned int dropped = 64 - type.bits;
    const std::uint64_t low = number << dropped;
    const std::string digits = type.is_signed
                                   ? std::to_string(static_cast<std::int64_t>(low) >> dropped)
                                   : std::to_string(low >> dropped);
    return digits.substr(0, type.longest) + '\0';
}

// Three outputs side by side, of which a reader gets the second, as bytes.
template <class Output>
class Outputs {
  public:
    explicit Outputs(int fill)
    {
        std::memset(bytes_, fill, sizeof bytes_);
    }
    Output *second()
    {
        return reinterpret_cast<Output *>(bytes_ + sizeof(Output));
    }
    void set_second(std::uint64_t value)
    {
        const auto output = static_cast<Output>(value);
        std::memcpy(bytes_ + sizeof output, &output, sizeof output);
    }
    bool operator==(const Outputs &other) const
    {
        return std::memcmp(bytes_, other.bytes_, sizeof bytes_) == 0;
    }

  private:
    alignas(Output) unsigned char bytes_[3 * sizeof(Output)];
};

// get(out) is a call of the type's reader.
template <class Output, class Get>
void check_reading(const NumberType &type, std::optional<std::uint64_t> expected, Get get)
{
    for (const int fill : {0x00, 0xA5}) {
        Outputs<Output> outputs(fill);
        Outputs<Output> expected_outputs = outputs;
        if (expected || type.writes_on_failure) {
            expected_outputs.set_second(expected.value_or(0));
        }
        errno = ERANGE;
        const int result = get(outputs.second());
        assert(result == (expected ? 0 : ERANGE));
        assert(outputs == expected_outputs);
    }
}

// An input, and a container of each family: one value at a time, at position 0 of the key.
struct Trial {
    std::uint64_t number;
    std::string stored;
    Owned<MapFamily> map;
    Owned<MultimapFamily> multimap;
    Owned<ArraymapFamily> arraymap;
};

template <class Argument, class Output>
void check_map(Trial &trial, const NumberType &type, int (*insert)(map_t *, const char *, Argument),
               int (*replace)(map_t *, const char *, Argument),
               int (*cmp)(const map_t *, const char *, Argument),
               int (*get)(const map_t *, const char *, Output *))
{
    map_t *map = &trial.map;
    const auto read = [=](Output *out) {
        return get(map, key, out);
    };
    hold<MapFamily>(map, key, trial.stored);
    check_reading<Output>(type, expected_value(type, trial.stored), read);

    const auto number = static_cast<Argument>(trial.number);
    const std::string text = expected_text(type, trial.number);
    expect(replace(map, key, number), 0);
    assert(held<MapFamily>(map, key) == text);
    expect(map_erase(map, key), 0);
    expect(insert(map, key, number), 0);
    assert(held<MapFamily>(map, key) == text);
    expect(insert(map, key, number), 1);
    expect(cmp(map, key, number), 0);
    check_reading<Output>(type, expected_value(type, text), read);
}

template <class Argument, class Output>
void check_multimap(Trial &trial, const NumberType &type,
                    int (*insert)(multimap_t *, const char *, Argument),
                    int (*find)(const multimap_t *, const char *, Argument, std::uint32_t *),
                    int (*remove)(multimap_t *, const char *, Argument),
                    int (*get)(const multimap_t *, const char *, std::uint32_t, Output *))
{
    multimap_t *map = &trial.multimap;
    const auto read = [=](Output *out) {
        return get(map, key, 0, out);
    };
    hold<MultimapFamily>(map, key, trial.stored);
    check_reading<Output>(type, expected_value(type, trial.stored), read);

    const auto number = static_cast<Argument>(trial.number);
    const std::string text = expected_text(type, trial.number);
    std::uint32_t index = 1;
    expect(multimap_clear(map), 0);
    expect(insert(map, key, number), 0);
    assert(held<MultimapFamily>(map, key) == text);
    expect(insert(map, key, number), 1);
    expect(find(map, key, number, &index), 0);
    assert(index == 0);
    check_reading<Output>(type, expected_value(type, text), read);
    expect(remove(map, key, number), 0);
    assert(map->numvalues == 0);
}

template <class Argument, class Output>
void check_arraymap(Trial &trial, const NumberType &type,
                    int (*insert)(arraymap_t *, const char *, Argument),
                    int (*replace)(arraymap_t *, const char *, std::uint32_t, Argument),
                    int (*remove)(arraymap_t *, const char *, Argument),
                    int (*get)(const arraymap_t *, const char *, std::uint32_t, Output *))
{
    arraymap_t *map = &trial.arraymap;
    const auto read = [=](Output *out) {
        return get(map, key, 0, out);
    };
    hold<ArraymapFamily>(map, key, trial.stored);
    check_reading<Output>(type, expected_value(type, trial.stored), read);

    const auto number = static_cast<Argument>(trial.number);
    const std::string text = expected_text(type, trial.number);
    expect(replace(map, key, 0, number), 0);
    assert(held<ArraymapFamily>(map, key) == text);
    expect(arraymap_clear(map), 0);
    expect(insert(map, key, number), 0);
    assert(held<ArraymapFamily>(map, key) == text);
    expect(insert(map, key, number), 0);
    check_reading<Output>(type, expected_value(type, text), read);
    expect(remove(map, key, number), 0);
    assert(map->numvalues == 0);
}

} // namespace

#define CHECK(type)                                                                                \
    check_map(trial, type_##type, map_insert_##type, map_replace_##type, map_cmp_##type,           \
              map_get_##type);                                                                     \
    check_multimap(trial, type_##type, multimap_insert_##type, multimap_find_##type,               \
                   multimap_delete_##type, multimap_get_##type);                                   \
    check_arraymap(trial, type_##type, arraymap_insert_##type, arraymap_replace_##type,            \
                   arraymap_delete_##type, arraymap_get_##type)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    Trial trial;
    trial.number = input.number();
    trial.stored = input.rest();
    CHECK(uint64);
    CHECK(int64);
    CHECK(uint32);
    CHECK(int32);
    CHECK(time);
    CHECK(uint16);
    CHECK(int16);
    CHECK(uint8);
    CHECK(int8);
    CHECK(bool);
    CHECK(uint);
    CHECK(int);
    CHECK(uchar);
    CHECK(char);
    return 0;
}
