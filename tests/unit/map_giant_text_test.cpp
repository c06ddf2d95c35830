// A text of 4 GiB and 2 bytes: longer than any value, and its size with the NUL is 3 modulo 2^32. It is
// made of one piece of memory, mapped over and over.
#include "map_fixture.hpp"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t piece = std::size_t{16} << 20;
constexpr std::size_t pieces = sizeof(std::size_t) == 4 ? 0 : 256;
constexpr std::size_t page = std::size_t{64} << 10;

class GiantText : public MapTest {
  protected:
    void SetUp() override
    {
        if (sizeof(std::size_t) == 4) {
            GTEST_SKIP() << "larger than the address space";
        }
        const int memory = memfd_create("piece", 0);
        ASSERT_GE(memory, 0);
        ASSERT_EQ(ftruncate(memory, static_cast<off_t>(piece)), 0);
        void *mapped = mmap(nullptr, size_, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        ASSERT_NE(mapped, MAP_FAILED);
        text_ = static_cast<char *>(mapped);
        for (std::size_t at = 0; at < pieces * piece; at += piece) {
            ASSERT_NE(
                mmap(text_ + at, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0),
                MAP_FAILED);
        }
        close(memory);
        std::memset(text_, 'm', piece);
        std::memset(text_ + pieces * piece, 'm', 2);
    }

    ~GiantText() override
    {
        if (text_ != nullptr) {
            munmap(text_, size_);
        }
    }

    const char *text() const
    {
        return text_;
    }

  private:
    const std::size_t size_ = pieces * piece + page;
    char *text_ = nullptr;
};

} // namespace

TEST_F(GiantText, IsNotStored)
{
    ASSERT_EQ(map_insert_str(&map, "key", "old"), 0);
    expect_unchanged(ENOMEM, [&] { return map_insert_str(&map, "new", text()); });
    expect_unchanged(ENOMEM, [&] { return map_replace_str(&map, "key", text()); });
}

TEST_F(GiantText, ComparesByItsBeginning)
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
