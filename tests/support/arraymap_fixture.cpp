#include "arraymap_fixture.hpp"

#include "arraymap_internal.h"

ArraymapState state_of(const arraymap_t &map)
{
    return list_state_of<arraymap_key_t>(map,
                                         [](const arraymap_value_t &value) { return value.index; });
}

std::vector<KeyValues> content_of(const arraymap_t &map)
{
    return content_of(state_of(map));
}

std::vector<KeyValues> numbered_content_of(const arraymap_t &map)
{
    const ArraymapState state = state_of(map);
    for (const auto &chain : state.chains) {
        for (const auto &key : chain) {
            uint32_t position = 0;
            for (const auto &value : key.values) {
                EXPECT_EQ(value.index, position++) << key.key;
            }
        }
    }
    return content_of(state);
}

std::vector<std::string> values_of(const arraymap_t &map, const char *key)
{
    std::vector<std::string> values;
    const void *data;
    uint32_t len;
    for (uint32_t i = 0; arraymap_index(&map, key, i, &data, &len) == 0; ++i) {
        values.emplace_back(static_cast<const char *>(data), len);
    }
    return values;
}

std::vector<uint32_t> indexes_of(const arraymap_t &map, const char *key)
{
    std::vector<uint32_t> indexes;
    if (const arraymap_key_t *node = _arraymap_entry(&map, key)) {
        for (const auto *value = node->values.first; value != nullptr; value = value->next) {
            indexes.push_back(value->index);
        }
    }
    return indexes;
}

const char *stored_key(const arraymap_t &map, const char *key)
{
    const arraymap_key_t *node = _arraymap_entry(&map, key);
    return node != nullptr ? node->key : nullptr;
}

const char *stored_text(const arraymap_t &map, const char *key, uint32_t index)
{
    const void *data = nullptr;
    EXPECT_EQ(arraymap_index(&map, key, index, &data, nullptr), 0);
    return static_cast<const char *>(data);
}

arraymap_t released_arraymap()
{
    arraymap_t map;
    EXPECT_EQ(arraymap_init(&map), 0);
    EXPECT_EQ(arraymap_destroy(&map), 0);
    return map;
}

arraymap_t arraymap_without_buckets()
{
    arraymap_t map;
    EXPECT_EQ(arraymap_init_special(&map, 0), 0);
    return map;
}

void restart(arraymap_t &map, uint32_t hashsize)
{
    const int result = map.buckets != nullptr ? 0 : EINVAL;
    EXPECT_EQ(arraymap_destroy(&map), result);
    EXPECT_EQ(arraymap_init_special(&map, hashsize), 0);
}

void make_merged(arraymap_t &map)
{
    fill(map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    EXPECT_EQ(arraymap_setcasekeys(&map, 1), 0);
    EXPECT_EQ(values_of(map, "Key"), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(indexes_of(map, "Key"), (std::vector<uint32_t>{0, 1, 1}));
}

int insert(arraymap_t &map, const char *key, std::string_view value)
{
    return arraymap_insert(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

int delete_value(arraymap_t &map, const char *key, std::string_view value)
{
    return arraymap_delete(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

void fill(arraymap_t &map, const std::vector<KeyValues> &content)
{
    for (const auto &[key, values] : content) {
        for (const std::string &value : values) {
            EXPECT_EQ(insert(map, key.c_str(), value), 0) << key << ' ' << value;
        }
    }
}

std::string header_of(const arraymap_t &map)
{
    char header[128];
    std::snprintf(header, sizeof header, "arraymap %p hashsize=%d numkeys=%d numvalues=%d\n",
                  static_cast<const void *>(&map), static_cast<int>(map.hashsize), map.numkeys,
                  map.numvalues);
    return header;
}

Arraymap::Arraymap()
{
    EXPECT_EQ(arraymap_init(&map_), 0);
}

Arraymap::~Arraymap()
{
    state_of(map_);
    const int result = map_.buckets != nullptr ? 0 : EINVAL;
    EXPECT_EQ(arraymap_destroy(&map_), result);
}

ArraymapTest::ArraymapTest() : live_before_(allocations::live())
{
    EXPECT_EQ(arraymap_init(&map), 0);
}

ArraymapTest::~ArraymapTest()
{
    state_of(map);
    const int result = map.buckets != nullptr ? 0 : EINVAL;
    EXPECT_EQ(arraymap_destroy(&map), result);
    EXPECT_EQ(allocations::live(), live_before_) << "leaked";
}

void ArraymapTest::expect_unchanged(int result, const std::function<int()> &call)
{
    const ArraymapState before = state_of(map);
    const std::size_t live = allocations::live();
    EXPECT_EQ(call(), result);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}
