// What the map's tests share: a map that is walked and destroyed at the end, its full state as a
// value, and short forms of filling and reading.
#pragma once

#include "helpers.hpp"

#include <textmaps/map.h>

#include <optional>
#include <string_view>

// The full state of a map: settings, and every entry with its address, bucket by bucket.
struct MapState {
    struct Entry {
        const void *address;
        std::string key;
        std::string value;
        bool operator==(const Entry &other) const;
    };

    int32_t maxkeys;
    int32_t numkeys;
    uint32_t casekeys;
    uint32_t hashsize;
    map_hash_fn hashfunc;
    const void *buckets;
    std::vector<std::vector<Entry>> chains;

    bool operator==(const MapState &other) const;
};

std::ostream &operator<<(std::ostream &out, const MapState &state);

// Walks the map first: a state is read only where every invariant holds.
MapState state_of(const map_t &map);

// The same without the addresses: what a caller can observe of the order and content.
std::vector<std::pair<std::string, std::string>> content_of(const map_t &map);

// Keys in iteration order.
std::vector<std::string> keys_of(const map_t &map);

// The value's bytes; none if the key is missing.
std::optional<std::string> value_of(const map_t &map, const char *key);

// Where the text under a key, and the key itself, lie in the map.
const char *stored_text(const map_t &map, const char *key);
const char *stored_key(const map_t &map, const char *key);

// A map that was destroyed.
map_t released_map();

// Raw bytes, without a NUL, under a key.
int insert(map_t &map, const char *key, std::string_view value);
int replace(map_t &map, const char *key, std::string_view value);

// What map_dump prints before the entries.
std::string header_of(const map_t &map);

// A map of its own that checks itself.
class Map {
  public:
    Map();
    // Walks and destroys it.
    ~Map();
    Map(const Map &) = delete;
    Map &operator=(const Map &) = delete;

    map_t *operator&()
    {
        return &map_;
    }
    map_t &operator*()
    {
        return map_;
    }
    map_t *operator->()
    {
        return &map_;
    }

  private:
    map_t map_;
};

// For TEST_F: one live map, and a check that the test leaked nothing.
class MapTest : public testing::Test {
  protected:
    MapTest();
    ~MapTest() override;

    // The call must return `result` and leave the map exactly as it is.
    void expect_unchanged(int result, const std::function<int()> &call);

  private:
    const std::size_t live_before_;

  protected:
    map_t map;
};
