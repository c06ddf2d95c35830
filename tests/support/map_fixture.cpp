#include "map_fixture.hpp"

#include <ostream>
#include <tuple>

bool MapState::Entry::operator==(const Entry &other) const
{
    return address == other.address && key == other.key && value == other.value;
}

bool MapState::operator==(const MapState &other) const
{
    return std::tie(maxkeys, numkeys, casekeys, hashsize, hashfunc, buckets, chains) ==
           std::tie(other.maxkeys, other.numkeys, other.casekeys, other.hashsize, other.hashfunc,
                    other.buckets, other.chains);
}

std::ostream &operator<<(std::ostream &out, const MapState &state)
{
    out << "maxkeys=" << state.maxkeys << " numkeys=" << state.numkeys
        << " casekeys=" << state.casekeys << " hashsize=" << state.hashsize;
    for (std::size_t i = 0; i < state.chains.size(); ++i) {
        for (const MapState::Entry &entry : state.chains[i]) {
            out << "\n  [" << i << "] " << entry.address << ' ' << testing::PrintToString(entry.key)
                << '=' << testing::PrintToString(entry.value);
        }
    }
    return out;
}

MapState state_of(const map_t &map)
{
    MapState state{map.maxkeys, map.numkeys, map.casekeys, map.hashsize, map.hashfunc,
                   map.buckets, {}};
    if (!expect_consistent(map) || map.buckets == nullptr) {
        return state;
    }
    for (uint32_t i = 0; i < map.hashsize; ++i) {
        auto &chain = state.chains.emplace_back();
        auto *entry = static_cast<const map_entry_t *>(map.buckets[i].first);
        for (; entry != nullptr; entry = entry->next) {
            chain.push_back({entry, entry->key,
                             std::string(static_cast<const char *>(entry->value), entry->valuesz)});
        }
    }
    return state;
}

std::vector<std::pair<std::string, std::string>> content_of(const map_t &map)
{
    std::vector<std::pair<std::string, std::string>> content;
    for (const auto &chain : state_of(map).chains) {
        for (const MapState::Entry &entry : chain) {
            content.emplace_back(entry.key, entry.value);
        }
    }
    return content;
}

std::vector<std::string> keys_of(const map_t &map)
{
    std::vector<std::string> keys;
    for (const auto &[key, value] : content_of(map)) {
        keys.push_back(key);
    }
    return keys;
}

std::optional<std::string> value_of(const map_t &map, const char *key)
{
    const void *value;
    uint32_t length;
    if (map_index(&map, key, &value, &length) != 0) {
        return std::nullopt;
    }
    return std::string(static_cast<const char *>(value), length);
}

const char *stored_text(const map_t &map, const char *key)
{
    const void *value = nullptr;
    EXPECT_EQ(map_index(&map, key, &value, nullptr), 0);
    return static_cast<const char *>(value);
}

const char *stored_key(const map_t &map, const char *key)
{
    const map_entry_t *entry = map_get_entry(&map, key);
    return entry != nullptr ? entry->key : nullptr;
}

map_t released_map()
{
    map_t map;
    EXPECT_EQ(map_init(&map), 0);
    EXPECT_EQ(map_destroy(&map), 0);
    return map;
}

int insert(map_t &map, const char *key, std::string_view value)
{
    return map_insert(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

int replace(map_t &map, const char *key, std::string_view value)
{
    return map_replace(&map, key, value.data(), static_cast<uint32_t>(value.size()));
}

std::string header_of(const map_t &map)
{
    char header[128];
    std::snprintf(header, sizeof header, "map %p hashsize=%d numkeys=%d\n",
                  static_cast<const void *>(&map), static_cast<int>(map.hashsize), map.numkeys);
    return header;
}

Map::Map()
{
    EXPECT_EQ(map_init(&map_), 0);
}

Map::~Map()
{
    state_of(map_);
    EXPECT_EQ(map_destroy(&map_), 0);
}

MapTest::MapTest() : live_before_(allocations::live())
{
    EXPECT_EQ(map_init(&map), 0);
}

MapTest::~MapTest()
{
    state_of(map);
    EXPECT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(allocations::live(), live_before_) << "leaked";
}

void MapTest::expect_unchanged(int result, const std::function<int()> &call)
{
    const MapState before = state_of(map);
    const std::size_t live = allocations::live();
    EXPECT_EQ(call(), result);
    EXPECT_EQ(state_of(map), before);
    EXPECT_EQ(allocations::live(), live);
}
