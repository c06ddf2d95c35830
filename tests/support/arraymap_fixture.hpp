// What the arraymap's tests share: an arraymap that is walked and destroyed at the end, its full state
// as a value, and short forms of filling and reading.
#pragma once

#include "list_state.hpp"

#include <textmaps/arraymap.h>

#include <string_view>

using ArraymapState = ListState<arraymap_t>;

// Checks every invariant on the way, other than that indexes are positions.
ArraymapState state_of(const arraymap_t &map);

// The same without the addresses: what a caller can observe of the order and content.
std::vector<KeyValues> content_of(const arraymap_t &map);

// The content, of which every index must be the position.
std::vector<KeyValues> numbered_content_of(const arraymap_t &map);

// The values of one key, and the indexes of their nodes; none if it is missing.
std::vector<std::string> values_of(const arraymap_t &map, const char *key);
std::vector<uint32_t> indexes_of(const arraymap_t &map, const char *key);

// Where the key's text, and the bytes at a position, lie in the arraymap.
const char *stored_key(const arraymap_t &map, const char *key);
const char *stored_text(const arraymap_t &map, const char *key, uint32_t index);

// An arraymap that was destroyed.
arraymap_t released_arraymap();

// One that was never given any buckets.
arraymap_t arraymap_without_buckets();

// Makes it, live or released, an empty arraymap with as many buckets, a power of two or not.
void restart(arraymap_t &map, uint32_t hashsize);

// Adds one key, "Key", with the values 1, 2, 3, whose indexes are 0, 1, 1.
void make_merged(arraymap_t &map);

// Raw bytes, without a NUL, under a key.
int insert(arraymap_t &map, const char *key, std::string_view value);
int delete_value(arraymap_t &map, const char *key, std::string_view value);

// Each of the values, in order; the calls must succeed.
void fill(arraymap_t &map, const std::vector<KeyValues> &content);

// What arraymap_dump prints before the values.
std::string header_of(const arraymap_t &map);

// An arraymap of its own that checks itself.
class Arraymap {
  public:
    Arraymap();
    // Walks and destroys it.
    ~Arraymap();
    Arraymap(const Arraymap &) = delete;
    Arraymap &operator=(const Arraymap &) = delete;

    arraymap_t *operator&()
    {
        return &map_;
    }
    arraymap_t &operator*()
    {
        return map_;
    }
    arraymap_t *operator->()
    {
        return &map_;
    }

  private:
    arraymap_t map_;
};

// For TEST_F: one live arraymap, and a check that the test leaked nothing.
class ArraymapTest : public testing::Test {
  protected:
    ArraymapTest();
    ~ArraymapTest() override;

    // The call must return `result` and leave the arraymap exactly as it is.
    void expect_unchanged(int result, const std::function<int()> &call);

  private:
    const std::size_t live_before_;

  protected:
    arraymap_t map;
};
