#include "multimap_fixture.hpp"

#include "multimap_internal.h"

MultimapState state_of(const multimap_t &map)
{
    return list_state_of<multimap_key_t>(map, [](const multimap_value_t &) { return 0U; });
}

std::vector<KeyValues> content_of(const multimap_t &map)
{
    return content_of(state_of(map));
}

std::vector<std::string> values_of(const multimap_t &map, const char *key)
{
    std::vector<std::string> values;
    const void *data;
    uint32_t len;
    for (uint32_t i = 0; multimap_index(&map, key, i, &data, &len) == 0; ++i) {
        values.emplace_back(static_cast<const char *>(data), len);
    }
    return values;
}

const char *stored_key(const multimap_t &map, const char *key)
{
    const multimap_key_t *node = _multimap_entry(&map, key);
    return node != nullptr ? node->key : nullptr;
}

const char *stored_text(const multimap_t &map, const char *key, uint32_t index)
{
    const void *data = nullptr;
    EXPECT_EQ(multimap_index(&map, key, index, &data, nullptr), 0);
    return static_cast<const char *>(data);
}

multimap_t released_multimap()
{
    multimap_t map;
    EXPECT_EQ(multimap_init(&map), 0);
    EXPECT_EQ(multimap_destroy(&map), 0);
    return map;
}

void restart(multimap_t &map, uint32_t hashsize)
{
    EXPECT_EQ(multimap_destroy(&map), 0);
    EXPECT_EQ(multimap_init(&map), 0);
    EXPECT_EQ(multimap_sethashsize(&map, hashsize), 0);
}

int insert(multimap_t &map, const char *key, std::string_view value)
{
    return multimap_insert(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

int delete_value(multimap_t &map, const char *key, std::string_view value)
{
    return multimap_delete(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

void fill(multimap_t &map, const std::vector<KeyValues> &content)
{
    for (const auto &[key, values] : content) {
        for (const std::string &value : values) {
            EXPECT_EQ(insert(map, key.c_str(), value), 0) << key << ' ' << value;
        }
    }
}

std::string header_of(const multimap_t &map)
{
    char header[128];
    std::snprintf(header, sizeof header, "multimap %p hashsize=%d numkeys=%d numvalues=%d\n",
                  static_cast<const void *>(&map), static_cast<int>(map.hashsize), map.numkeys,
                  map.numvalues);
    return header;
}

Multimap::Multimap()
{
    EXPECT_EQ(multimap_init(&map_), 0);
}

Multimap::~Multimap()
{
    state_of(map_);
    const int result = map_.buckets != nullptr ? 0 : EINVAL;
    EXPECT_EQ(multimap_destroy(&map_), result);
}

MultimapTest::MultimapTest() : live_before_(allocations::live())
{
    EXPECT_EQ(multimap_init(&map), 0);
}

MultimapTest::~MultimapTest()
{
    state_of(map);
    const int result = map.buckets != nullptr ? 0 : EINVAL;
    EXPECT_EQ(multimap_destroy(&map), result);
    EXPECT_EQ(allocations::live(), live_before_) << "leaked";
}

void MultimapTest::expect_unchanged(int result, const std::function<int()> &call)
{
    const MultimapState before = state_of(map);
    const std::size_t live = allocations::live();
    EXPECT_EQ(call(), result);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}
