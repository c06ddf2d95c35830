// What the handles of the three families do alike: own their container, and pass on to its functions.
#include "helpers.hpp"
#include "type_name.hpp"

#include <textmaps/textmaps.hpp>

#include <algorithm>
#include <type_traits>

namespace {

using textmaps::status;

struct Map {
    static constexpr const char *name = "Map";
    using Handle = textmaps::map;
    using Record = map_t;
    static constexpr auto init = map_init;
    static constexpr auto destroy = map_destroy;
    static constexpr auto dump = map_dump;
};
struct Multimap {
    static constexpr const char *name = "Multimap";
    using Handle = textmaps::multimap;
    using Record = multimap_t;
    static constexpr auto init = multimap_init;
    static constexpr auto destroy = multimap_destroy;
    static constexpr auto dump = multimap_dump;
};
struct Arraymap {
    static constexpr const char *name = "Arraymap";
    using Handle = textmaps::arraymap;
    using Record = arraymap_t;
    static constexpr auto init = arraymap_init;
    static constexpr auto destroy = arraymap_destroy;
    static constexpr auto dump = arraymap_dump;
};

template <class Handle>
Handle holding(std::initializer_list<const char *> keys)
{
    Handle handle;
    for (const char *key : keys) {
        EXPECT_EQ(handle.try_insert(key, key), 0);
    }
    return handle;
}

template <class Handle>
std::vector<std::string> keys_of(const Handle &handle)
{
    std::vector<std::string> keys;
    for (const auto &shown : handle) {
        keys.emplace_back(shown.key);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

using Keys = std::vector<std::string>;

template <class Family>
class Face : public testing::Test {
  protected:
    ~Face() override
    {
        EXPECT_EQ(allocations::live(), live_before);
    }

  private:
    const std::size_t live_before = allocations::live();
};
using Families = testing::Types<Map, Multimap, Arraymap>;
TYPED_TEST_SUITE(Face, Families, TypeName);

TYPED_TEST(Face, IsTheRecordAndNothingElse)
{
    using Handle = typename TypeParam::Handle;
    using Record = typename TypeParam::Record;
    EXPECT_EQ(sizeof(Handle), sizeof(Record));
    EXPECT_TRUE(std::is_standard_layout_v<Handle>);
    Handle handle;
    EXPECT_EQ(static_cast<void *>(handle.record()), static_cast<void *>(&handle));
    EXPECT_EQ(std::as_const(handle).record(), handle.record());
}

TYPED_TEST(Face, IsMovedAndNotCopied)
{
    using Handle = typename TypeParam::Handle;
    EXPECT_FALSE(std::is_copy_constructible_v<Handle>);
    EXPECT_FALSE(std::is_copy_assignable_v<Handle>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Handle>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<Handle>);
}

TYPED_TEST(Face, BeginsEmptyAndLive)
{
    const typename TypeParam::Handle handle;
    EXPECT_TRUE(handle);
    EXPECT_TRUE(handle.empty());
    EXPECT_EQ(handle.key_count(), 0);
    EXPECT_EQ(handle.record()->maxkeys, -1);
    EXPECT_TRUE(handle.begin() == handle.end());
}

TYPED_TEST(Face, DestroysItsContainerAtTheEndOfItsScope)
{
    const std::size_t before = allocations::live();
    {
        const auto handle = holding<typename TypeParam::Handle>({"a", "b"});
        EXPECT_GT(allocations::live(), before);
    }
    EXPECT_EQ(allocations::live(), before);
}

TYPED_TEST(Face, IsReleasedWithoutMemory)
{
    const allocations::Failure failure(0);
    typename TypeParam::Handle handle;
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.try_insert("key", "value"), EINVAL);
}

TYPED_TEST(Face, MovesWithItsContent)
{
    using Handle = typename TypeParam::Handle;
    Handle source = holding<Handle>({"a", "b"});
    const void *const buckets = source.record()->buckets;
    const Handle moved = std::move(source);
    EXPECT_EQ(moved.record()->buckets, buckets);
    EXPECT_EQ(keys_of(moved), (Keys{"a", "b"}));
    EXPECT_TRUE(expect_consistent(*moved.record()));
}

TYPED_TEST(Face, MovedFromIsReleasedAndSafe)
{
    using Handle = typename TypeParam::Handle;
    Handle source = holding<Handle>({"a", "b"});
    EXPECT_EQ(source.set_maxkeys(7), 0);
    const Handle moved = std::move(source);
    EXPECT_FALSE(source);
    EXPECT_TRUE(source.empty());
    EXPECT_FALSE(source.contains("a"));
    EXPECT_TRUE(source.begin() == source.end());
    EXPECT_EQ(source.try_insert("a", "a"), EINVAL);
    EXPECT_EQ(source.erase("a"), EINVAL);
    EXPECT_EQ(source.assign(moved), EINVAL);
    EXPECT_TRUE(source.is_equal(Handle()));
    source.clear();
    source.set_casekeys(true);
    source.set_hashfunc(hash_length);
    EXPECT_TRUE(expect_consistent(*source.record()));
}

TYPED_TEST(Face, MovedFromLivesAgainWithBuckets)
{
    using Handle = typename TypeParam::Handle;
    Handle source = holding<Handle>({"a"});
    EXPECT_EQ(source.set_maxkeys(2), 0);
    const Handle moved = std::move(source);
    EXPECT_EQ(source.set_hashsize(4), 0);
    EXPECT_TRUE(source);
    EXPECT_EQ(source.try_insert("b", "b"), 0);
    EXPECT_EQ(source.try_insert("c", "c"), 0);
    EXPECT_EQ(keys_of(source), (Keys{"b", "c"}));
}

TYPED_TEST(Face, AssignmentByMoveReplacesTheContent)
{
    using Handle = typename TypeParam::Handle;
    Handle handle = holding<Handle>({"old", "older"});
    Handle source = holding<Handle>({"new"});
    handle = std::move(source);
    EXPECT_EQ(keys_of(handle), Keys{"new"});
    EXPECT_FALSE(source);
    source = holding<Handle>({"newer"});
    EXPECT_EQ(keys_of(source), Keys{"newer"});
}

TYPED_TEST(Face, MovedToItselfIsUnchanged)
{
    using Handle = typename TypeParam::Handle;
    Handle handle = holding<Handle>({"a"});
    Handle &itself = handle;
    handle = std::move(itself);
    EXPECT_TRUE(handle);
    EXPECT_EQ(keys_of(handle), Keys{"a"});
}

TYPED_TEST(Face, TakesARecordOver)
{
    typename TypeParam::Record record;
    ASSERT_EQ(TypeParam::init(&record), 0);
    typename TypeParam::Handle handle(record);
    EXPECT_EQ(handle.try_insert("a", "a"), 0);
    EXPECT_EQ(keys_of(handle), Keys{"a"});
}

TYPED_TEST(Face, HandsItsRecordOver)
{
    using Handle = typename TypeParam::Handle;
    Handle handle = holding<Handle>({"a"});
    typename TypeParam::Record record = handle.release();
    EXPECT_FALSE(handle);
    EXPECT_EQ(record.numkeys, 1);
    EXPECT_EQ(TypeParam::destroy(&record), 0);
}

TYPED_TEST(Face, TakesKeysThatEndWithANul)
{
    using Handle = typename TypeParam::Handle;
    struct Name {
        const char *c_str() const
        {
            return "name";
        }
    };
    EXPECT_EQ(keys_of(holding<Handle>({"literal"})), Keys{"literal"});
    Handle handle;
    EXPECT_EQ(handle.try_insert(std::string("string"), "value"), 0);
    EXPECT_EQ(handle.try_insert(Name(), "value"), 0);
    EXPECT_TRUE(handle.contains("string"));
    EXPECT_TRUE(handle.contains("name"));
    EXPECT_FALSE(handle.contains("value"));
    for (const auto &shown : handle) {
        EXPECT_TRUE(handle.contains(shown.key)) << shown.key;
    }
    EXPECT_FALSE((std::is_convertible_v<std::string_view, textmaps::zstring>));
    EXPECT_FALSE((std::is_convertible_v<int, textmaps::zstring>));
    EXPECT_FALSE((std::is_convertible_v<std::size_t, textmaps::zstring>));
}

TYPED_TEST(Face, RefusesNullKeysAndTexts)
{
    const char *const null = nullptr;
    typename TypeParam::Handle handle;
    EXPECT_EQ(handle.try_insert(null, "value"), EINVAL);
    EXPECT_EQ(handle.try_insert("key", null), EINVAL);
    EXPECT_EQ(handle.erase(null), EINVAL);
    EXPECT_FALSE(handle.contains(null));
}

TYPED_TEST(Face, HandsOutKeysOfTheContainer)
{
    using Handle = typename TypeParam::Handle;
    const Handle handle = holding<Handle>({"key"});
    const auto shown = *handle.begin();
    EXPECT_EQ(shown.key, "key");
    EXPECT_EQ(shown.key.size(), 3U);
    EXPECT_EQ(shown.key.c_str(), shown.key.data());
    EXPECT_EQ(shown.key.c_str()[3], '\0');
    const std::string_view view = shown.key;
    EXPECT_EQ(view, shown.key);
}

TYPED_TEST(Face, IsWalkedWithAlgorithms)
{
    using Handle = typename TypeParam::Handle;
    const Handle handle = holding<Handle>({"a", "bb", "cc", "d"});
    EXPECT_EQ(std::count_if(handle.begin(), handle.end(),
                            [](const auto &shown) { return shown.key.size() == 2; }),
              2);
    auto it = handle.begin();
    const auto first = it++;
    EXPECT_TRUE(first == handle.begin());
    EXPECT_TRUE(it != handle.begin());
    EXPECT_EQ(it->key.c_str(), (*it).key.c_str());
    EXPECT_EQ(std::distance(it, handle.end()), 3);
}

TYPED_TEST(Face, ErasesAndClears)
{
    using Handle = typename TypeParam::Handle;
    Handle handle = holding<Handle>({"a", "b", "c"});
    EXPECT_EQ(handle.key_count(), 3);
    EXPECT_EQ(handle.erase("b"), 0);
    EXPECT_EQ(handle.erase("b"), ENOENT);
    EXPECT_EQ(keys_of(handle), (Keys{"a", "c"}));
    handle.clear();
    EXPECT_TRUE(handle.empty());
    EXPECT_TRUE(handle);
}

TYPED_TEST(Face, HasTheSettingsOfTheRecord)
{
    using Handle = typename TypeParam::Handle;
    Handle handle = holding<Handle>({"a", "b"});
    EXPECT_EQ(handle.set_hashsize(64), 0);
    EXPECT_EQ(handle.record()->hashsize, 64U);
    EXPECT_EQ(handle.set_hashsize(65), EINVAL);
    handle.set_hashfunc(hash_length);
    EXPECT_TRUE(handle.record()->hashfunc == hash_length);
    EXPECT_EQ(handle.set_maxkeys(1), status::refused);
    EXPECT_EQ(handle.set_maxkeys(2), 0);
    EXPECT_EQ(handle.try_insert("c", "c"), status::refused);
    EXPECT_FALSE(handle.contains("A"));
    handle.set_casekeys(true);
    EXPECT_TRUE(handle.contains("A"));
    handle.set_casekeys(false);
    EXPECT_FALSE(handle.contains("A"));
}

TYPED_TEST(Face, ComparesAndCombines)
{
    using Handle = typename TypeParam::Handle;
    const Handle a = holding<Handle>({"1", "2"});
    const Handle b = holding<Handle>({"2", "3"});
    Handle handle = holding<Handle>({"old"});
    EXPECT_EQ(handle.assign_intersection(a, b), 0);
    EXPECT_EQ(keys_of(handle), Keys{"2"});
    EXPECT_EQ(handle.merge(holding<Handle>({"1"})), 0);
    EXPECT_EQ(keys_of(handle), (Keys{"1", "2"}));
    EXPECT_FALSE(handle.is_equal(b));
    EXPECT_EQ(handle.assign(b), 0);
    EXPECT_TRUE(handle.is_equal(b));
    EXPECT_EQ(handle.assign(handle), EINVAL);
}

TYPED_TEST(Face, DumpsAsTheRecordDoes)
{
    using Handle = typename TypeParam::Handle;
    const Handle handle = holding<Handle>({"a", "b"});
    const std::string dumped = written([&](FILE *stream) { handle.dump(stream); });
    EXPECT_EQ(dumped, written([&](FILE *stream) { TypeParam::dump(handle.record(), stream); }));
    EXPECT_NE(dumped.find("a"), std::string::npos);
}

// A container whose hash function finds a seed beside it.
template <class Handle>
struct Seeded {
    Handle handle;
    uint32_t seed;

    static uint32_t hash(const void *container, const char *)
    {
        return static_cast<const Seeded *>(container)->seed;
    }
};

TYPED_TEST(Face, ShowsItsPlaceToAHashFunction)
{
    Seeded<typename TypeParam::Handle> seeded{{}, 5};
    seeded.handle.set_hashfunc(seeded.hash);
    EXPECT_EQ(seeded.handle.try_insert("key", "value"), 0);
    EXPECT_NE(seeded.handle.record()->buckets[5].first, nullptr);
}

} // namespace
