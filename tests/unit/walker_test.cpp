// The walker finds what is broken, and calls are walked around.
#include "list_test.hpp"
#include "map_fixture.hpp"

#include "map_internal.h"
#include "table/table.hpp"

#include <utility>

namespace {

// What a walk finds while the field has the value.
template <class Container, class Field>
walker::Walk walk_with(const Container &container, Field &field, Field value)
{
    const Field before = field;
    field = value;
    const walker::Walk found = walker::walk(container);
    field = before;
    EXPECT_EQ(walker::walk(container).broken, nullptr);
    return found;
}

void expect_found(const walker::Walk &found, const char *broken, const void *node)
{
    EXPECT_STREQ(found.broken, broken);
    EXPECT_EQ(found.node, node);
}

char &first_letter(const char *key)
{
    return *const_cast<char *>(key);
}

template <class Container>
void expect_record_to_be_held(Container &map)
{
    expect_found(walk_with(map, map.casekeys, 2U), "casekeys is 0 or 1", &map);
    expect_found(walk_with(map, map.maxkeys, map.numkeys - 1), "numkeys is within the limit", &map);
    EXPECT_EQ(walk_with(map, map.maxkeys, map.numkeys).broken, nullptr);
    expect_found(walk_with(map, map.hashsize, 0U), "where there are buckets, hashsize is not 0",
                 &map);
    expect_found(walk_with(map, map.numkeys, map.numkeys + 1), "numkeys is the number of keys",
                 &map);
    EXPECT_STREQ(walk_with(map, map.numkeys, map.numkeys - 1).broken,
                 "numkeys is the number of keys");
}

template <class Container>
void expect_released_record_to_be_held(Container &map)
{
    ASSERT_EQ(map.buckets, nullptr);
    expect_found(walk_with(map, map.hashsize, 1U), "without buckets, hashsize is 0", &map);
    expect_found(walk_with(map, map.numkeys, 1), "without buckets, numkeys is 0", &map);
    const walker::Walk found = walk_with(map, map.hashfunc, map_hash_fn(hash_length));
    EXPECT_EQ(found.broken, nullptr);
    EXPECT_EQ(found.oddities, walker::hash_without_buckets);
}

// Keys of one bucket, in their order.
template <class Container, class Node>
void expect_chain_to_be_held(Container &map, Node &first, Node &second, Node &last)
{
    map_bucket_t &bucket = *map.buckets;
    const char *const back_link = "a key's prev is the pointer that leads to it";
    expect_found(walk_with(map, first.prev, &first.next), back_link, &first);
    expect_found(walk_with(map, second.prev, first.prev), back_link, &second);
    expect_found(walk_with(map, first.next, &last), back_link, &last);
    expect_found(walk_with(map, last.next, &second), "numkeys is the number of keys", &second);
    const char *const tail = "a bucket's last is its last next";
    expect_found(walk_with(map, bucket.last, static_cast<void *>(&second.next)), tail, &bucket);
    expect_found(walk_with(map, second.next, static_cast<Node *>(nullptr)), tail, &bucket);
    expect_found(walk_with(map, first_letter(last.key), *first.key), "no two keys are equal",
                 &last);
}

template <class Container, class Node>
void expect_stamp_to_be_held(Container &map, Node &node)
{
    if (textmaps::keeps_stamps) {
        auto &kept =
            *reinterpret_cast<uint32_t *>(reinterpret_cast<char *>(&node) + textmaps::stamp_offset);
        expect_found(walk_with(map, kept, kept + map.hashsize),
                     "the stamp kept with a key is of its size and built-in hash", &node);
    }
}

// In a container of two spellings of a key.
template <class Container>
void expect_hidden_key(Container &map)
{
    const walker::Walk found = walk_with(map, map.casekeys, 1U);
    EXPECT_EQ(found.broken, nullptr);
    EXPECT_EQ(found.oddities, walker::hidden_key);
    EXPECT_EQ(walker::walk(map).oddities, 0U);
}

std::vector<std::string> reports;

void note(const char *when, const walker::Walk &finding)
{
    reports.push_back(when + ": "s + finding.broken);
}

// During its life what is found around calls is noted, and nothing else done about it.
class Reports {
  public:
    Reports() : before_(walker::set_report(note))
    {
        reports.clear();
    }
    ~Reports()
    {
        walker::set_report(before_);
    }
    Reports(const Reports &) = delete;
    Reports &operator=(const Reports &) = delete;

    static std::vector<std::string> taken()
    {
        return std::exchange(reports, {});
    }

  private:
    const walker::Report before_;
};

std::vector<std::string> around(const std::string &call, const std::string &broken)
{
    return {"before " + call + ": " + broken, "after " + call + ": " + broken};
}

} // namespace

class MapWalker : public MapTest {};

TEST_F(MapWalker, HoldsTheRecord)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    expect_record_to_be_held(map);
    expect_found(walk_with(map, map.hashsize, 48U), "hashsize is a power of two", &map);
    map_t released = released_map();
    expect_released_record_to_be_held(released);
}

TEST_F(MapWalker, HoldsChainsAndEntries)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (const char *key : {"Aey", "Bey", "Cey"}) {
        ASSERT_EQ(insert(map, key, "value"), 0);
    }
    map_entry_t &second = *_map_entry(&map, "Bey");
    expect_chain_to_be_held(map, *_map_entry(&map, "Aey"), second, *_map_entry(&map, "Cey"));
    const char *const value = "the value lies behind its entry";
    expect_found(walk_with(map, second.value, _map_entry(&map, "Aey")->value), value, &second);
    const char *const key = "the key lies behind its value";
    expect_found(walk_with(map, second.valuesz, 4U), key, &second);
    expect_found(walk_with(map, second.key, second.key + 1), key, &second);
}

TEST_F(MapWalker, HoldsTheBucketOfAKey)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    map_entry_t &entry = *_map_entry(&map, "key");
    expect_found(walk_with(map, first_letter(entry.key), 'x'), "a key is in the bucket of its hash",
                 &entry);
    expect_found(walk_with(map, map.hashfunc, map_hash_fn(hash_all_to_zero)),
                 "a key is in the bucket of its hash", &entry);
}

TEST_F(MapWalker, HoldsTheHashKeptWithAKey)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    expect_stamp_to_be_held(map, *_map_entry(&map, "key"));
}

TEST_F(MapWalker, TellsOfHiddenKeys)
{
    ASSERT_EQ(insert(map, "key", "1"), 0);
    ASSERT_EQ(insert(map, "Key", "2"), 0);
    expect_hidden_key(map);
}

TEST_F(MapWalker, ComparesWithAsManyPredecessorsAsItIsTold)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (const char *key : {"key", "other", "another", "Key"}) {
        ASSERT_EQ(insert(map, key, ""), 0);
    }
    map_entry_t &last = *_map_entry(&map, "Key");
    first_letter(last.key) = 'k';
    for (const uint32_t compared : {0U, 1U, 2U}) {
        EXPECT_EQ(walker::walk(map, compared).broken, nullptr) << compared;
    }
    expect_found(walker::walk(map, 3), "no two keys are equal", &last);
    first_letter(last.key) = 'K';
}

TEST_F(MapWalker, AllocatesNothing)
{
    ASSERT_EQ(insert(map, "key", "value"), 0);
    EXPECT_EQ(allocations_of([this] { walker::walk(map); }), 0U);
}

template <class Family>
class ListWalker : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListWalker, ListFamilies, TypeName);

TYPED_TEST(ListWalker, HoldsTheRecord)
{
    fill(this->map, {{"key", {"1", "2"}}});
    expect_record_to_be_held(this->map);
    int32_t &numvalues = this->map.numvalues;
    expect_found(walk_with(this->map, numvalues, 3), "numvalues is the number of values",
                 &this->map);
    expect_found(walk_with(this->map, numvalues, 1), "numvalues is the number of values",
                 TypeParam::value(&this->map, "key", "2", 1));
    auto released = TypeParam::released();
    expect_released_record_to_be_held(released);
    expect_found(walk_with(released, released.numvalues, 1), "without buckets, numvalues is 0",
                 &released);
}

TYPED_TEST(ListWalker, HoldsChainsAndKeys)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"Aey", {"1"}}, {"Bey", {"2"}}, {"Cey", {"3"}}});
    auto &second = *TypeParam::entry(&this->map, "Bey");
    expect_chain_to_be_held(this->map, *TypeParam::entry(&this->map, "Aey"), second,
                            *TypeParam::entry(&this->map, "Cey"));
    expect_found(walk_with(this->map, second.key, second.key + 1), "the text lies behind its key",
                 &second);
    expect_found(walk_with(this->map, second.count, 0U), "a key has values", &second);
    expect_found(walk_with(this->map, second.count, 2U), "count is the number of values", &second);
}

TYPED_TEST(ListWalker, HoldsTheBucketOfAKey)
{
    fill(this->map, {{"key", {"value"}}});
    auto &key = *TypeParam::entry(&this->map, "key");
    expect_found(walk_with(this->map, first_letter(key.key), 'x'),
                 "a key is in the bucket of its hash", &key);
}

TYPED_TEST(ListWalker, HoldsTheHashKeptWithAKey)
{
    fill(this->map, {{"key", {"value"}}});
    expect_stamp_to_be_held(this->map, *TypeParam::entry(&this->map, "key"));
}

TYPED_TEST(ListWalker, TellsOfHiddenKeys)
{
    fill(this->map, {{"key", {"1"}}, {"Key", {"2"}}});
    expect_hidden_key(this->map);
}

TYPED_TEST(ListWalker, HoldsListsAndValues)
{
    using Value = typename TypeParam::ValueNode;
    fill(this->map, {{"key", {"1", "2", "3"}}});
    auto &key = *TypeParam::entry(&this->map, "key");
    Value &first = *TypeParam::value(&this->map, "key", "1", 1);
    Value &second = *TypeParam::value(&this->map, "key", "2", 1);
    Value &last = *TypeParam::value(&this->map, "key", "3", 1);
    const char *const back_link = "a value's prev is the pointer that leads to it";
    expect_found(walk_with(this->map, first.prev, &first.next), back_link, &first);
    expect_found(walk_with(this->map, second.prev, first.prev), back_link, &second);
    expect_found(walk_with(this->map, first.next, &last), back_link, &last);
    const char *const count = "count is the number of values";
    expect_found(walk_with(this->map, key.count, 2U), count, &key);
    expect_found(walk_with(this->map, last.next, &first), "numvalues is the number of values",
                 &first);
    expect_found(walk_with(this->map, second.next, static_cast<Value *>(nullptr)), count, &key);
    expect_found(walk_with(this->map, key.values.last, &second.next),
                 "a list's last is its last next", &key);
    expect_found(walk_with(this->map, second.data, first.data), "the bytes lie behind their value",
                 &second);
}

class MultimapWalker : public MultimapTest {};

TEST_F(MultimapWalker, HoldsThatHashSizesArePowersOfTwo)
{
    expect_found(walk_with(map, map.hashsize, 48U), "hashsize is a power of two", &map);
}

TEST_F(MultimapWalker, HoldsThatTheValuesOfAKeyDiffer)
{
    fill(map, {{"key", {"1", "2", "13"}}, {"other", {"1"}}});
    multimap_value_t &last = *_multimap_value(&map, "key", "13", 2);
    expect_found(walk_with(map, last.len, 1U), "no two values of a key are equal", &last);
    EXPECT_EQ(walker::walk(map).broken, nullptr);
}

class ArraymapWalker : public ArraymapTest {};

TEST_F(ArraymapWalker, AllowsAnyHashSizeAndEqualValues)
{
    restart(map, 48);
    fill(map, {{"key", {"1", "1"}}});
    EXPECT_EQ(walker::walk(map).broken, nullptr);
    const arraymap_t without_buckets = arraymap_without_buckets();
    EXPECT_EQ(walker::walk(without_buckets).broken, nullptr);
}

TEST_F(ArraymapWalker, TellsOfIndexesThatAreNotPositions)
{
    fill(map, {{"key", {"1", "2", "3"}}});
    EXPECT_EQ(walker::walk(map).oddities, 0U);
    EXPECT_TRUE(walker::is_numbered(*_arraymap_entry(&map, "key")));
    arraymap_value_t &second = *_arraymap_value(&map, "key", "2", 1);
    EXPECT_EQ(walk_with(map, second.index, 2U).oddities, walker::merged_indexes);
    second.index = 0;
    EXPECT_FALSE(walker::is_numbered(*_arraymap_entry(&map, "key")));
    second.index = 1;
}

// Changes the map that a call asks it for a hash.
template <uint32_t casekeys>
uint32_t hash_and_set_casekeys(const void *container, const char *)
{
    if (!walker::is_walking()) {
        static_cast<map_t *>(const_cast<void *>(container))->casekeys = casekeys;
    }
    return 0;
}

class WalkedCalls : public MapTest {
  protected:
    // That a hash function sets `casekeys` is no reason for a call to hide keys.
    void expect_reported_where_a_hash_function_sets_casekeys()
    {
        ASSERT_EQ(map_sethashfunc(&map, hash_and_set_casekeys<1>), 0);
        map.casekeys = 0;
        Reports::taken();
        EXPECT_EQ(insert(map, "other", "3"), 0);
        EXPECT_EQ(Reports::taken(),
                  std::vector{"after map_insert: no two keys of a bucket are equal"s});
    }

    const Reports reports_;
};

TEST_F(WalkedCalls, AreFollowedByAWalk)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_and_set_casekeys<2>), 0);
    EXPECT_EQ(map_insert(&map, "key", "value", 5), 0);
    map.casekeys = 0;
    EXPECT_EQ(Reports::taken(), std::vector{"after map_insert: casekeys is 0 or 1"s});
    EXPECT_EQ(map_replace_int(&map, "key", 1), 0);
    map.casekeys = 0;
    EXPECT_EQ(Reports::taken(), std::vector{"after map_replace: casekeys is 0 or 1"s});
}

TEST_F(WalkedCalls, ArePrecededByAWalk)
{
    map.numkeys = 1;
    EXPECT_EQ(map_insert_str(&map, "key", "value"), 0);
    map.numkeys = 1;
    EXPECT_EQ(Reports::taken(), around("map_insert", "numkeys is the number of keys"));
}

TEST_F(WalkedCalls, AreNotWalkedAroundDuringAPause)
{
    map.casekeys = 2;
    {
        const walker::Pause pause;
        const walker::Pause another;
        EXPECT_EQ(map_clear(&map), 0);
    }
    EXPECT_TRUE(Reports::taken().empty());
    EXPECT_EQ(map_clear(&map), 0);
    map.casekeys = 0;
    EXPECT_EQ(Reports::taken(), around("map_clear", "casekeys is 0 or 1"));
}

TEST_F(WalkedCalls, AreWalkedAroundByLotForALargeMap)
{
    ASSERT_EQ(map_sethashsize(&map, 4096), 0);
    map.casekeys = 2;
    for (int i = 0; i < 900; ++i) {
        ASSERT_EQ(map_clear(&map), 0);
    }
    map.casekeys = 0;
    // Two for one call in 17.
    EXPECT_NEAR(static_cast<double>(Reports::taken().size()), 106, 40);
}

TEST_F(WalkedCalls, MayHideKeysWhenTheTableIsRebuilt)
{
    ASSERT_EQ(map_sethashsize(&map, 64), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(insert(map, "key", "1"), 0);
    ASSERT_EQ(insert(map, "KEY", "2"), 0);
    EXPECT_EQ(map_sethashsize(&map, 1), 0);
    EXPECT_EQ(insert(map, "other", "3"), 0);
    EXPECT_EQ(walker::walk(map).oddities, walker::hidden_key);
    EXPECT_TRUE(Reports::taken().empty());
}

TEST_F(WalkedCalls, MayHideKeysForNoOtherReason)
{
    ASSERT_EQ(insert(map, "key", "1"), 0);
    ASSERT_EQ(insert(map, "KEY", "2"), 0);
    expect_reported_where_a_hash_function_sets_casekeys();
}

TEST_F(WalkedCalls, MayHideNoKeyHoweverFarFromItsEqual)
{
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    ASSERT_EQ(insert(map, "key", "1"), 0);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(insert(map, std::to_string(i).c_str(), ""), 0);
    }
    ASSERT_EQ(insert(map, "KEY", "2"), 0);
    expect_reported_where_a_hash_function_sets_casekeys();
}

// Only neighbours are compared there: of keys that lay far apart it was not known.
TEST_F(WalkedCalls, MayBringHiddenKeysOfALargeMapTogether)
{
    ASSERT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    // The lot falls on a call now and then.
    for (int round = 0; round < 8; ++round) {
        ASSERT_EQ(map_sethashsize(&map, 64), 0);
        ASSERT_EQ(insert(map, "KEY", "1"), 0);
        for (int i = 0; i < 300; ++i) {
            ASSERT_EQ(insert(map, ("between " + std::to_string(i)).c_str(), ""), 0);
        }
        ASSERT_EQ(insert(map, "key", "2"), 0);
        ASSERT_EQ(map_sethashsize(&map, 1), 0);
        ASSERT_EQ(walker::walk(map, 16).oddities, 0U);
        EXPECT_EQ(replace(map, "key", "3"), 0);
        ASSERT_EQ(walker::walk(map, 16).oddities, walker::hidden_key);
        ASSERT_EQ(map_clear(&map), 0);
    }
    EXPECT_TRUE(Reports::taken().empty());
}

TEST_F(WalkedCalls, LeaveWithoutBucketsNoHashFunctionThatWasNotSetSo)
{
    ASSERT_EQ(map_destroy(&map), 0);
    EXPECT_EQ(map_sethashfunc(&map, hash_length), 0);
    EXPECT_EQ(map_setmaxkeys(&map, 1), 0);
    EXPECT_TRUE(Reports::taken().empty());
}

template <class Container>
void expect_walked(const std::string &call, Container &container, const std::function<int()> &make)
{
    container.casekeys = 2;
    make();
    container.casekeys = 0;
    const std::vector<std::string> taken = Reports::taken();
    ASSERT_FALSE(taken.empty()) << call;
    EXPECT_EQ(taken.front(), "before " + call + ": casekeys is 0 or 1");
}

template <class Container>
void expect_walked_with_each(const std::string &call, std::initializer_list<Container *> containers,
                             const std::function<int()> &make)
{
    for (Container *container : containers) {
        expect_walked(call, *container, make);
    }
}

TEST_F(WalkedCalls, AreAllThatChangeAMap)
{
    Map a;
    Map b;
    expect_walked("map_clear", map, [this] { return map_clear(&map); });
    expect_walked("map_insert", map, [this] { return map_insert(&map, "key", "1", 1); });
    expect_walked("map_replace", map, [this] { return map_replace(&map, "key", "1", 1); });
    expect_walked("map_erase", map, [this] { return map_erase(&map, "key"); });
    expect_walked("map_sethashsize", map, [this] { return map_sethashsize(&map, 64); });
    expect_walked("map_sethashfunc", map, [this] { return map_sethashfunc(&map, hash_length); });
    expect_walked("map_setcasekeys", map, [this] { return map_setcasekeys(&map, 0); });
    expect_walked("map_setmaxkeys", map, [this] { return map_setmaxkeys(&map, 9); });
    expect_walked_with_each("map_intersection", {&a, &b, &map},
                            [&] { return map_intersection(&a, &b, &map); });
    expect_walked_with_each("map_merge", {&a, &map}, [&] { return map_merge(&a, &map); });
    expect_walked_with_each("map_copy", {&a, &map}, [&] { return map_copy(&a, &map); });
    expect_walked_with_each("map_copy_dst_hashsize", {&a, &map},
                            [&] { return map_copy_dst_hashsize(&a, &map); });
    expect_walked("map_destroy", map, [this] { return map_destroy(&map); });
}

template <class Family>
class WalkedListCalls : public ListTest<Family> {
  protected:
    const Reports reports_;
};

TYPED_TEST_SUITE(WalkedListCalls, ListFamilies, TypeName);

TYPED_TEST(WalkedListCalls, AreAllThatChangeBoth)
{
    using F = TypeParam;
    const std::string family = F::name == "Multimap"s ? "multimap" : "arraymap";
    typename F::Own a;
    typename F::Own b;
    auto &dst = this->map;
    expect_walked(family + "_clear", dst, [&] { return F::clear(&dst); });
    expect_walked(family + "_insert", dst, [&] { return F::insert(&dst, "key", "1", 1); });
    expect_walked(family + "_delete", dst, [&] { return F::delete_bytes(&dst, "key", "1", 1); });
    expect_walked(family + "_remove", dst, [&] { return F::remove(&dst, "key", 0); });
    expect_walked(family + "_erase", dst, [&] { return F::erase(&dst, "key"); });
    expect_walked(family + "_sethashsize", dst, [&] { return F::sethashsize(&dst, 64); });
    expect_walked(family + "_sethashfunc", dst, [&] { return F::sethashfunc(&dst, hash_length); });
    expect_walked(family + "_setcasekeys", dst, [&] { return F::setcasekeys(&dst, 0); });
    expect_walked(family + "_setmaxkeys", dst, [&] { return F::setmaxkeys(&dst, 9); });
    expect_walked(family + "_setmaxvalues", dst, [&] { return F::setmaxvalues(&dst, 9); });
    expect_walked_with_each(family + "_intersection", {&a, &b, &dst},
                            [&] { return F::intersection(&a, &b, &dst); });
    expect_walked_with_each(family + "_union", {&a, &b, &dst},
                            [&] { return F::set_union(&a, &b, &dst); });
    expect_walked_with_each(family + "_merge", {&a, &dst}, [&] { return F::merge(&a, &dst); });
    expect_walked_with_each(family + "_copy", {&a, &dst}, [&] { return F::copy(&a, &dst); });
    expect_walked(family + "_destroy", dst, [&] { return F::destroy(&dst); });
    ASSERT_EQ(F::init(&dst), 0);
}

class WalkedArraymapCalls : public ArraymapTest {
  protected:
    const Reports reports_;
};

TEST_F(WalkedArraymapCalls, AreReplaceToo)
{
    expect_walked("arraymap_replace", map,
                  [this] { return arraymap_replace(&map, "key", 0, "1", 1); });
}

TEST_F(WalkedArraymapCalls, MayMoveIndexesWhenKeysAreMerged)
{
    make_merged(map);
    EXPECT_EQ(insert(map, "key", "4"), 0);
    EXPECT_EQ(walker::walk(map).oddities, walker::merged_indexes);
    EXPECT_EQ(arraymap_remove(&map, "key", 0), 0);
    EXPECT_EQ(walker::walk(map).oddities, 0U);
    EXPECT_TRUE(Reports::taken().empty());
}

TEST_F(WalkedArraymapCalls, MayMoveIndexesForNoOtherReason)
{
    fill(map, {{"key", {"1", "2"}}});
    ASSERT_EQ(arraymap_sethashfunc(&map,
                                   [](const void *container, const char *) {
                                       const auto *own = static_cast<const arraymap_t *>(container);
                                       auto *key =
                                           static_cast<arraymap_key_t *>(own->buckets->first);
                                       if (!walker::is_walking() && key != nullptr) {
                                           key->values.first->index = 1;
                                       }
                                       return 0U;
                                   }),
              0);
    EXPECT_EQ(insert(map, "key", "3"), 0);
    EXPECT_EQ(Reports::taken(),
              std::vector{"after arraymap_insert: a value's index is its position"s});
}
