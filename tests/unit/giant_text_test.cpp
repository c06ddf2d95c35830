// A text of 4 GiB and 2 bytes: longer than any value, and its size with the NUL is 3 modulo 2^32. It is
// made of one piece of memory, mapped over and over.
#include "arraymap_fixture.hpp"
#include "map_fixture.hpp"
#include "multimap_fixture.hpp"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t piece = std::size_t{1} << 20;
constexpr std::size_t pieces = sizeof(std::size_t) == 4 ? 0 : 4096;
constexpr std::size_t page = std::size_t{64} << 10;

// Null if it cannot be had.
char *make_text()
{
    const int memory = memfd_create("piece", 0);
    if (memory < 0 || ftruncate(memory, static_cast<off_t>(piece)) != 0) {
        return nullptr;
    }
    void *mapped = mmap(nullptr, pieces * piece + page, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    auto *text = static_cast<char *>(mapped);
    for (std::size_t at = 0; at < pieces * piece; at += piece) {
        if (mmap(text + at, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0) ==
            MAP_FAILED) {
            return nullptr;
        }
    }
    close(memory);
    std::memset(text, 'm', piece);
    std::memset(text + pieces * piece, 'm', 2);
    return text;
}

template <class Test>
class GiantTextTest : public Test {
  protected:
    void SetUp() override
    {
        if (sizeof(std::size_t) == 4) {
            GTEST_SKIP() << "larger than the address space";
        }
        ASSERT_NE(text(), nullptr);
    }

    // One for all tests: to walk it for the first time is slow.
    static const char *text()
    {
        static const char *const made = make_text();
        return made;
    }
};

} // namespace

class MapGiantText : public GiantTextTest<MapTest> {};

class MultimapGiantText : public GiantTextTest<MultimapTest> {};

class ArraymapGiantText : public GiantTextTest<ArraymapTest> {};

TEST_F(MapGiantText, IsNotStored)
{
    ASSERT_EQ(map_insert_str(&map, "key", "old"), 0);
    expect_unchanged(ENOMEM, [&] { return map_insert_str(&map, "new", text()); });
    expect_unchanged(ENOMEM, [&] { return map_replace_str(&map, "key", text()); });
}

TEST_F(MapGiantText, IsLookedAtOnlyWithMapAndKey)
{
    expect_unchanged(EINVAL, [&] { return map_insert_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [&] { return map_insert_str(&map, nullptr, text()); });
    expect_unchanged(EINVAL, [&] { return map_replace_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [&] { return map_replace_str(&map, nullptr, text()); });
}

TEST_F(MapGiantText, ComparesByItsBeginning)
{
    ASSERT_EQ(map_insert_str(&map, "before", "aaa"), 0);
    ASSERT_EQ(map_insert_str(&map, "behind", "zzz"), 0);
    ASSERT_EQ(insert(map, "beginning", "mmm"), 0);
    EXPECT_LT(map_cmp_str(&map, "before", text()), 0);
    EXPECT_GT(map_cmp_str(&map, "behind", text()), 0);
    EXPECT_EQ(map_cmp_str(&map, "beginning", text()), -1) << "as many bytes modulo 2^32";
    EXPECT_EQ(map_cmp_str(&map, "missing", text()), -1);
    EXPECT_EQ(map_cmp_str(nullptr, "before", text()), -1);
}

TEST_F(MultimapGiantText, IsNeitherStoredNorSought)
{
    // As many bytes modulo 2^32.
    fill(map, {{"key", {"mmm"}}});
    expect_unchanged(ENOMEM, [this] { return multimap_insert_str(&map, "new", text()); });
    expect_unchanged(ENOMEM, [this] { return multimap_delete_str(&map, "key", text()); });
    uint32_t index = 77;
    expect_unchanged(ENOMEM, [&] { return multimap_find_str(&map, "key", text(), &index); });
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapGiantText, IsLookedAtOnlyWithMapAndKey)
{
    uint32_t index = 77;
    expect_unchanged(EINVAL, [] { return multimap_insert_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [this] { return multimap_insert_str(&map, nullptr, text()); });
    expect_unchanged(EINVAL, [] { return multimap_delete_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [this] { return multimap_delete_str(&map, nullptr, text()); });
    expect_unchanged(EINVAL, [&] { return multimap_find_str(nullptr, "key", text(), &index); });
    expect_unchanged(EINVAL, [&] { return multimap_find_str(&map, nullptr, text(), &index); });
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapGiantText, IsFoundInNoCase)
{
    fill(map, {{"key", {"mmm", "mm\0"s}}});
    uint32_t index = 77;
    expect_unchanged(ENOENT, [&] { return multimap_casefind_str(&map, "key", text(), &index); });
    EXPECT_EQ(index, 77U);
}

TEST_F(ArraymapGiantText, IsNeitherStoredNorDeleted)
{
    fill(map, {{"key", {"mmm"}}});
    expect_unchanged(ENOMEM, [this] { return arraymap_insert_str(&map, "new", text()); });
    expect_unchanged(ENOMEM, [this] { return arraymap_replace_str(&map, "key", 0, text()); });
    expect_unchanged(ENOMEM, [this] { return arraymap_delete_str(&map, "key", text()); });
}

TEST_F(ArraymapGiantText, IsLookedAtOnlyWithMapAndKey)
{
    expect_unchanged(EINVAL, [] { return arraymap_insert_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [this] { return arraymap_insert_str(&map, nullptr, text()); });
    expect_unchanged(EINVAL, [] { return arraymap_replace_str(nullptr, "key", 0, text()); });
    expect_unchanged(EINVAL, [this] { return arraymap_replace_str(&map, nullptr, 0, text()); });
    expect_unchanged(EINVAL, [] { return arraymap_delete_str(nullptr, "key", text()); });
    expect_unchanged(EINVAL, [this] { return arraymap_delete_str(&map, nullptr, text()); });
}
