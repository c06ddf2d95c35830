// What the multimap's tests share: a multimap that is walked and destroyed at the end, its full state
// as a value, and short forms of filling and reading.
#pragma once

#include "list_state.hpp"

#include <textmaps/multimap.h>

#include <string_view>

using MultimapState = ListState<multimap_t>;

// Checks every invariant on the way.
MultimapState state_of(const multimap_t &map);

// The same without the addresses: what a caller can observe of the order and content.
std::vector<KeyValues> content_of(const multimap_t &map);

// The values of one key; none if it is missing.
std::vector<std::string> values_of(const multimap_t &map, const char *key);

// Where the key's text, and the bytes at a position, lie in the multimap.
const char *stored_key(const multimap_t &map, const char *key);
const char *stored_text(const multimap_t &map, const char *key, uint32_t index);

// A multimap that was destroyed.
multimap_t released_multimap();

// Makes it an empty multimap with as many buckets.
void restart(multimap_t &map, uint32_t hashsize);

// Raw bytes, without a NUL, under a key.
int insert(multimap_t &map, const char *key, std::string_view value);
int delete_value(multimap_t &map, const char *key, std::string_view value);

// Each of the values, in order; the calls must succeed.
void fill(multimap_t &map, const std::vector<KeyValues> &content);

// What multimap_dump prints before the values.
std::string header_of(const multimap_t &map);

// No value's index: what a call that writes none leaves there.
constexpr uint32_t no_index = 0xA5A5A5A5;

// A multimap of its own that checks itself.
class Multimap {
  public:
    Multimap();
    // Walks and destroys it.
    ~Multimap();
    Multimap(const Multimap &) = delete;
    Multimap &operator=(const Multimap &) = delete;

    multimap_t *operator&()
    {
        return &map_;
    }
    multimap_t &operator*()
    {
        return map_;
    }
    multimap_t *operator->()
    {
        return &map_;
    }

  private:
    multimap_t map_;
};

// For TEST_F: one live multimap, and a check that the test leaked nothing.
class MultimapTest : public testing::Test {
  protected:
    MultimapTest();
    ~MultimapTest() override;

    // The call must return `result` and leave the multimap exactly as it is.
    void expect_unchanged(int result, const std::function<int()> &call);

  private:
    const std::size_t live_before_;

  protected:
    multimap_t map;
};
