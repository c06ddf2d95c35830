// What each family's handle does besides, and how its values are walked.
#include "helpers.hpp"
#include "type_name.hpp"

#include <textmaps/textmaps.hpp>

#include <algorithm>

namespace {

using textmaps::status;

TEST(FaceOfMap, IsWalkedInIterationOrder)
{
    textmaps::map map;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(map.set<int>(std::to_string(i), i), 0);
    }
    map_iter_t it = {};
    const char *expected = map_first(map.record(), &it);
    for (const auto &[key, value] : map) {
        ASSERT_EQ(key.c_str(), expected);
        EXPECT_EQ(value.data(), map_value(&it));
        EXPECT_EQ(value.size(), map_valuesz(&it));
        EXPECT_EQ(value.text(), key);
        expected = map_next(&it);
    }
    EXPECT_EQ(expected, nullptr);
}

TEST(FaceOfMap, SetsAValueThatIsThere)
{
    textmaps::map map;
    EXPECT_EQ(map.set("key", "one"), 0);
    EXPECT_EQ(map.set("key", "two"s), 0);
    EXPECT_EQ(map.get("key").value_or(""), "two");
    EXPECT_EQ(map.key_count(), 1);
}

TEST(FaceOfMap, ComparesInOrder)
{
    textmaps::map map;
    EXPECT_EQ(map.set("key", "b"), 0);
    EXPECT_LT(map.compare("key", "c"), 0);
    EXPECT_GT(map.compare("key", "a"), 0);
}

TEST(FaceOfMap, GivesItsRecordToTheFunctionsOfC)
{
    textmaps::map map;
    const status done = map_replace_fmt(map.record(), "lan.name", "port-%d", 7);
    EXPECT_TRUE(done) << done.message();
    EXPECT_EQ(map.get("lan.name").value_or(""), "port-7");
}

struct Multimap {
    static constexpr const char *name = "Multimap";
    using Handle = textmaps::multimap;
};
struct Arraymap {
    static constexpr const char *name = "Arraymap";
    using Handle = textmaps::arraymap;
};

template <class Family>
class FaceOfLists : public testing::Test {
};
using Lists = testing::Types<Multimap, Arraymap>;
TYPED_TEST_SUITE(FaceOfLists, Lists, TypeName);

template <class Values>
std::string joined(const Values &values)
{
    std::string text;
    for (const textmaps::bytes value : values) {
        text += std::string(value.text()) + ' ';
    }
    return text;
}

TYPED_TEST(FaceOfLists, ShowTheValuesOfEachKeyInOrder)
{
    typename TypeParam::Handle lists;
    for (int i = 0; i < 100; ++i) {
        const std::string key = std::to_string(i);
        EXPECT_EQ(lists.try_insert(key, "first"), 0);
        EXPECT_EQ(lists.try_insert(key, key), 0);
    }
    int keys = 0;
    for (const auto &[key, values] : lists) {
        EXPECT_FALSE(values.empty());
        EXPECT_EQ(joined(values), "first " + std::string(key) + ' ');
        ++keys;
    }
    EXPECT_EQ(keys, 100);
}

TYPED_TEST(FaceOfLists, ShowTheValuesOfOneKey)
{
    typename TypeParam::Handle lists;
    for (const char *value : {"c", "a", "b"}) {
        EXPECT_EQ(lists.try_insert("key", value), 0);
    }
    EXPECT_EQ(joined(lists.values("key")), "c a b ");
    EXPECT_TRUE(lists.values("other").empty());
    EXPECT_EQ(joined(lists.values("other")), "");
    EXPECT_TRUE(lists.values(nullptr).empty());
    const auto values = lists.values("key");
    EXPECT_EQ(std::distance(values.begin(), values.end()), 3);
    auto it = values.begin();
    EXPECT_EQ((*it++).text(), "c");
    EXPECT_EQ(it->text(), "a");
    EXPECT_TRUE(it != values.begin());
}

TYPED_TEST(FaceOfLists, CountKeysAndValues)
{
    typename TypeParam::Handle lists;
    EXPECT_EQ(lists.try_insert("a", "1"), 0);
    EXPECT_EQ(lists.try_insert("a", "2"), 0);
    EXPECT_EQ(lists.try_insert("b", "1"), 0);
    EXPECT_EQ(lists.key_count(), 2);
    EXPECT_EQ(lists.value_count(), 3);
    EXPECT_EQ(lists.count("a"), 2U);
    EXPECT_EQ(lists.count("other"), 0U);
    EXPECT_EQ(lists.count(nullptr), 0U);
}

TYPED_TEST(FaceOfLists, RemoveByPosition)
{
    typename TypeParam::Handle lists;
    EXPECT_EQ(lists.try_insert("key", "a"), 0);
    EXPECT_EQ(lists.try_insert("key", "b"), 0);
    EXPECT_EQ(lists.remove("key", 2), ENOENT);
    EXPECT_EQ(lists.remove("key", 0), 0);
    EXPECT_EQ(joined(lists.values("key")), "b ");
    EXPECT_EQ(lists.remove("key", 0), 0);
    EXPECT_FALSE(lists.contains("key"));
}

TYPED_TEST(FaceOfLists, RecordALimitOnValues)
{
    typename TypeParam::Handle lists;
    EXPECT_EQ(lists.try_insert("key", "a"), 0);
    EXPECT_EQ(lists.set_maxvalues(0), status::refused);
    EXPECT_EQ(lists.set_maxvalues(1), 0);
    EXPECT_EQ(lists.record()->maxvalues, 1);
}

TYPED_TEST(FaceOfLists, Unite)
{
    typename TypeParam::Handle a;
    typename TypeParam::Handle b;
    typename TypeParam::Handle united;
    EXPECT_EQ(a.try_insert("key", "1"), 0);
    EXPECT_EQ(b.try_insert("key", "2"), 0);
    EXPECT_EQ(united.assign_union(a, b), 0);
    EXPECT_EQ(joined(united.values("key")), "1 2 ");
    EXPECT_EQ(a.assign_union(a, b), EINVAL);
}

TYPED_TEST(FaceOfLists, MovedFromHoldNoValues)
{
    typename TypeParam::Handle lists;
    EXPECT_EQ(lists.try_insert("key", "a"), 0);
    const auto moved = std::move(lists);
    EXPECT_EQ(lists.value_count(), 0);
    EXPECT_EQ(lists.count("key"), 0U);
    EXPECT_TRUE(lists.values("key").empty());
    EXPECT_EQ(lists.get("key", 0).error(), EINVAL);
    EXPECT_EQ(lists.remove("key", 0), EINVAL);
    EXPECT_EQ(lists.erase_value("key", "a"), EINVAL);
}

TEST(FaceOfMultimap, FindsThePositionOfAValue)
{
    textmaps::multimap ports;
    EXPECT_EQ(ports.try_insert("http", "80/tcp"), 0);
    EXPECT_EQ(ports.try_insert("http", "8080/tcp"), 0);
    EXPECT_EQ(ports.find("http", "8080/tcp").value_or(9), 1U);
    EXPECT_EQ(ports.find("http", "81/tcp").error(), ENOENT);
    EXPECT_EQ(ports.find(nullptr, "81/tcp").error(), EINVAL);
}

TEST(FaceOfArraymap, SetsAValueInItsPlace)
{
    textmaps::arraymap lists;
    EXPECT_EQ(lists.set("key", 0, "a"), ENOENT);
    EXPECT_EQ(lists.try_insert("key", "a"), 0);
    EXPECT_EQ(lists.try_insert("key", "b"), 0);
    EXPECT_EQ(lists.set("key", 0, "A"), 0);
    EXPECT_EQ(joined(lists.values("key")), "A b ");
}

} // namespace
