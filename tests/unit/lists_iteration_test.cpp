// Iteration, counting and sorting of keys, and what the value iterators have alike, for the multimap
// and the arraymap.
#include "list_iteration.hpp"

#include <algorithm>
#include <cstdlib>

namespace {

template <class Family>
class ListKeyIterator : public ListIterationTest<Family> {
};

template <class Family>
class ListValueIterator : public ListIterationTest<Family> {
};

template <class Family>
class ListAccess : public ListIterationTest<Family> {
};

template <class Family>
class ListSort : public ListIterationTest<Family> {
};

} // namespace

TYPED_TEST_SUITE(ListKeyIterator, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListValueIterator, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListAccess, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSort, ListFamilies, TypeName);

TYPED_TEST(ListKeyIterator, VisitsBucketsByIndexAndEachChainInOrderOfInsertion)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    fill(this->map,
         {{"ccc", {"v"}}, {"b", {"v"}}, {"aa", {"v"}}, {"a", {"v"}}, {"", {"v"}}, {"bbb", {"v"}}});
    EXPECT_EQ(this->visited_keys(), (Keys{"", "b", "a", "aa", "ccc", "bbb"}));
}

TYPED_TEST(ListKeyIterator, VisitsTheFirstAndTheLastBucket)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"\x1f", {"last"}}, {"\x20", {"first"}}});
    EXPECT_EQ(this->visited_keys(), (Keys{"\x20", "\x1f"}));
}

TYPED_TEST(ListKeyIterator, VisitsAKeyOnceHoweverManyValuesItHolds)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"b", {"1", "2", "3"}}, {"a", {"1"}}, {"b", {"4"}}});
    EXPECT_EQ(this->visited_keys(), (Keys{"b", "a"}));
}

TYPED_TEST(ListKeyIterator, VisitsAKeyMadeAnewAfterTheOthersOfItsBucket)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}, {"b", {"v"}}, {"c", {"v"}}});
    ASSERT_EQ(TypeParam::remove(&this->map, "a", 0), 0);
    ASSERT_EQ(insert(this->map, "a", "v"), 0);
    EXPECT_EQ(this->visited_keys(), (Keys{"b", "c", "a"}));
}

TYPED_TEST(ListKeyIterator, VisitsEveryKeyOnceInTablesOfAnySize)
{
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        this->insert_scrambled(500);
        Keys keys = this->visited_keys();
        EXPECT_EQ(keys, this->keys());
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
        EXPECT_EQ(keys.size(), 500U);
    }
}

TYPED_TEST(ListKeyIterator, VisitsKeysThatWereMergedOnce)
{
    fill(this->map, {{"k", {"1"}}, {"K", {"2"}}, {"x", {"3"}}});
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(this->visited_keys(), (Keys{"k", "x"}));
}

TYPED_TEST(ListKeyIterator, VisitsKeysOfAHashThatExceedsTheTable)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_maximum), 0);
    fill(this->map, {{"b", {"1"}}, {"a", {"2"}}});
    EXPECT_EQ(this->visited_keys(), (Keys{"b", "a"}));
}

TYPED_TEST(ListKeyIterator, TellsTheContainerTheBucketAndTheNodeItStandsOn)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    fill(this->map, {{"aaaaaaa", {"v"}}, {"bbb", {"v"}}, {"aaa", {"v"}}});
    typename TypeParam::KeyIterator it{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "bbb");
    this->expect_same(it, {&this->map, 3, TypeParam::entry(&this->map, "bbb")});
    ASSERT_STREQ(TypeParam::key_next(&it), "aaa");
    this->expect_same(it, {&this->map, 3, TypeParam::entry(&this->map, "aaa")});
    ASSERT_STREQ(TypeParam::key_next(&it), "aaaaaaa");
    this->expect_same(it, {&this->map, 7, TypeParam::entry(&this->map, "aaaaaaa")});
}

TYPED_TEST(ListKeyIterator, HandsOutTheStoredKeyItself)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}, {"b\xff", {"v"}}});
    typename TypeParam::KeyIterator it{};
    EXPECT_EQ(TypeParam::key_first(&this->map, &it), stored_key(this->map, "a"));
    EXPECT_EQ(TypeParam::key_elem(&it), stored_key(this->map, "a"));
    EXPECT_EQ(TypeParam::key_next(&it), stored_key(this->map, "b\xff"));
    EXPECT_EQ(TypeParam::key_elem(&it), stored_key(this->map, "b\xff"));
}

TYPED_TEST(ListKeyIterator, ElemDoesNotMoveTheIterator)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}, {"b", {"v"}}});
    typename TypeParam::KeyIterator it{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "a");
    const auto before = it;
    EXPECT_STREQ(TypeParam::key_elem(&it), "a");
    EXPECT_STREQ(TypeParam::key_elem(&it), "a");
    this->expect_same(it, before);
}

TYPED_TEST(ListKeyIterator, GivesAPointerForAnEmptyKey)
{
    fill(this->map, {{"", {"v"}}});
    typename TypeParam::KeyIterator it{};
    EXPECT_STREQ(TypeParam::key_first(&this->map, &it), "");
    EXPECT_STREQ(TypeParam::key_elem(&it), "");
}

TYPED_TEST(ListKeyIterator, FirstOfAnEmptyContainerGivesNoneAndStandsPastTheEnd)
{
    typename TypeParam::Own filled;
    fill(*filled, {{"a", {"v"}}});
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        typename TypeParam::KeyIterator used{};
        ASSERT_STREQ(TypeParam::key_first(&filled, &used), "a");
        for (auto it : {typename TypeParam::KeyIterator{}, used}) {
            EXPECT_EQ(TypeParam::key_first(&this->map, &it), nullptr);
            this->expect_same(it, {&this->map, size, nullptr});
            EXPECT_EQ(TypeParam::key_elem(&it), nullptr);
            EXPECT_EQ(TypeParam::key_next(&it), nullptr);
        }
    }
}

TYPED_TEST(ListKeyIterator, FirstAfterTheLastValueIsRemovedGivesNone)
{
    fill(this->map, {{"a", {"v"}}});
    ASSERT_EQ(TypeParam::remove(&this->map, "a", 0), 0);
    typename TypeParam::KeyIterator it{};
    EXPECT_EQ(TypeParam::key_first(&this->map, &it), nullptr);
    this->expect_same(it, {&this->map, this->map.hashsize, nullptr});
}

TYPED_TEST(ListKeyIterator, FirstWithoutBucketsGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(this->map, {{"a", {"v"}}});
    typename TypeParam::KeyIterator used{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &used), "a");
    for (const auto &before : {typename TypeParam::KeyIterator{}, used}) {
        auto it = before;
        for (const auto &without : TypeParam::without_buckets()) {
            EXPECT_EQ(TypeParam::key_first(&without, &it), nullptr);
            this->expect_same(it, before);
        }
        EXPECT_EQ(TypeParam::key_first(nullptr, &it), nullptr);
        this->expect_same(it, before);
    }
}

TYPED_TEST(ListKeyIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(TypeParam::key_first(&this->map, nullptr), nullptr);
}

TYPED_TEST(ListKeyIterator, FirstStartsAUsedIteratorAnew)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"a", {"v"}}, {"b", {"v"}}});
    typename TypeParam::KeyIterator it{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "a");
    ASSERT_STREQ(TypeParam::key_next(&it), "b");
    ASSERT_EQ(TypeParam::key_next(&it), nullptr);
    EXPECT_STREQ(TypeParam::key_first(&this->map, &it), "a");
    EXPECT_EQ(it.bucket, static_cast<uint32_t>('a') % this->map.hashsize);
    EXPECT_STREQ(TypeParam::key_next(&it), "b");
}

TYPED_TEST(ListKeyIterator, FirstMovesAUsedIteratorToAnotherContainer)
{
    fill(this->map, {{"a", {"v"}}});
    typename TypeParam::Own other;
    fill(*other, {{"z", {"w"}}});
    typename TypeParam::KeyIterator it{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "a");
    EXPECT_STREQ(TypeParam::key_first(&other, &it), "z");
    EXPECT_EQ(it.map, &other);
    EXPECT_EQ(TypeParam::key_next(&it), nullptr);
}

TYPED_TEST(ListKeyIterator, IteratorsOverOneContainerAreIndependent)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}, {"b", {"v"}}});
    typename TypeParam::KeyIterator one{};
    typename TypeParam::KeyIterator two{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &one), "a");
    ASSERT_STREQ(TypeParam::key_first(&this->map, &two), "a");
    EXPECT_STREQ(TypeParam::key_next(&one), "b");
    EXPECT_STREQ(TypeParam::key_elem(&two), "a");
    EXPECT_STREQ(TypeParam::key_next(&two), "b");
}

TYPED_TEST(ListKeyIterator, NextAfterTheEndStaysOnTheLastKeyInTheBucketOfTheHashSize)
{
    for (uint32_t size : TypeParam::hashsizes) {
        for (const char *last : {"\x05", "\x1f", "\x2f", "\xff"}) {
            SCOPED_TRACE(testing::Message() << size << ' ' << testing::PrintToString(last));
            restart(this->map, size);
            ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
            fill(this->map, {{"", {"v"}}, {last, {"v", "w"}}});
            typename TypeParam::KeyIterator it{};
            ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "");
            ASSERT_STREQ(TypeParam::key_next(&it), last);
            for (int poll = 0; poll < 5; ++poll) {
                EXPECT_EQ(TypeParam::key_next(&it), nullptr);
                this->expect_same(it, {&this->map, size, TypeParam::entry(&this->map, last)});
                EXPECT_EQ(TypeParam::key_elem(&it), stored_key(this->map, last));
            }
        }
    }
}

TYPED_TEST(ListKeyIterator, NextKeepsReturningNoneWhenTheBucketNumberCannotGrow)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}});
    typename TypeParam::KeyIterator it{};
    ASSERT_STREQ(TypeParam::key_first(&this->map, &it), "a");
    it.bucket = UINT32_MAX;
    for (int poll = 0; poll < 3; ++poll) {
        EXPECT_EQ(TypeParam::key_next(&it), nullptr);
        EXPECT_GE(it.bucket, this->map.hashsize);
        EXPECT_STREQ(TypeParam::key_elem(&it), "a");
    }
}

TYPED_TEST(ListKeyIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(this->map, {{"a", {"v"}}});
    const auto *node = TypeParam::entry(&this->map, "a");
    for (const auto &before : {typename TypeParam::KeyIterator{},
                               typename TypeParam::KeyIterator{&this->map, 0, nullptr},
                               typename TypeParam::KeyIterator{nullptr, 0, node}}) {
        SCOPED_TRACE(testing::Message() << before.map << ' ' << before.node);
        auto it = before;
        EXPECT_EQ(TypeParam::key_next(&it), nullptr);
        EXPECT_EQ(TypeParam::key_elem(&it), nullptr);
        this->expect_same(it, before);
    }
}

TYPED_TEST(ListKeyIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(TypeParam::key_next(nullptr), nullptr);
    EXPECT_EQ(TypeParam::key_elem(nullptr), nullptr);
}

TYPED_TEST(ListKeyIterator, ChangesNothingAllocatesNothingAndLooksNothingUp)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    this->insert_scrambled(50);
    this->expect_unchanged(0, [&] {
        hashings.clear();
        std::size_t steps = 0;
        std::size_t allocated;
        {
            allocations::Log log;
            typename TypeParam::KeyIterator it{};
            const char *key = TypeParam::key_first(&this->map, &it);
            for (; key != nullptr; key = TypeParam::key_next(&it)) {
                ++steps;
            }
            allocated = log.sizes().size();
        }
        EXPECT_EQ(steps, 50U);
        EXPECT_EQ(allocated, 0U);
        EXPECT_EQ(hashed_keys(), Keys{});
        return 0;
    });
}

TYPED_TEST(ListValueIterator, VisitsTheValuesOfAKeyInOrderOfInsertion)
{
    fill(this->map, {{"k", {"z", "", "a\0b"s, "z\0"s, "\x80\xff"}}, {"other", {"x"}}});
    EXPECT_EQ(this->visited_values("k"), (Values{"z", "", "a\0b"s, "z\0"s, "\x80\xff"}));
}

TYPED_TEST(ListValueIterator, VisitsNoValueOfAnotherKeyOfTheBucket)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"1"}}, {"b", {"2"}}, {"a", {"3"}}, {"c", {"4"}}});
    EXPECT_EQ(this->visited_values("a"), (Values{"1", "3"}));
    EXPECT_EQ(this->visited_values("b"), (Values{"2"}));
    EXPECT_EQ(this->visited_values("c"), (Values{"4"}));
}

TYPED_TEST(ListValueIterator, VisitsAValueInsertedAgainAfterTheOthers)
{
    fill(this->map, {{"k", {"a", "b", "c"}}});
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, "k", "a", 1), 0);
    ASSERT_EQ(insert(this->map, "k", "a"), 0);
    EXPECT_EQ(this->visited_values("k"), (Values{"b", "c", "a"}));
}

TYPED_TEST(ListValueIterator, VisitsEveryKeyAndValueTogetherWithAKeyIterator)
{
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        this->insert_scrambled(100);
        ASSERT_EQ(insert(this->map, "0", "third"), 0);
        Content visited;
        typename TypeParam::KeyIterator it{};
        for (const char *key = TypeParam::key_first(&this->map, &it); key != nullptr;
             key = TypeParam::key_next(&it)) {
            visited.emplace_back(key, this->visited_values(key));
        }
        EXPECT_EQ(visited, this->content());
    }
}

TYPED_TEST(ListValueIterator, HandsOutTheStoredValueItselfAndItsLength)
{
    fill(this->map, {{"k", {"one", "a\0b\xff"s}}});
    typename TypeParam::ValueIterator it{};
    EXPECT_EQ(TypeParam::value_first(&this->map, "k", &it), stored_text(this->map, "k", 0));
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 0));
    EXPECT_EQ(TypeParam::value_size(&it), 3U);
    EXPECT_EQ(TypeParam::value_next(&it), stored_text(this->map, "k", 1));
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 1));
    EXPECT_EQ(TypeParam::value_size(&it), 4U);
}

TYPED_TEST(ListValueIterator, CountsTheNulOfAStoredTextInItsSize)
{
    fill(this->map, {{"k", {"text\0"s}}});
    const auto it = this->iterator_at("k", 0);
    EXPECT_EQ(TypeParam::value_size(&it), 5U);
}

TYPED_TEST(ListValueIterator, GivesAPointerForAnEmptyValue)
{
    fill(this->map, {{"k", {"", "v"}}});
    typename TypeParam::ValueIterator it{};
    EXPECT_NE(TypeParam::value_first(&this->map, "k", &it), nullptr);
    EXPECT_NE(TypeParam::value_elem(&it), nullptr);
    EXPECT_EQ(TypeParam::value_size(&it), 0U);
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
    EXPECT_NE(TypeParam::value_next(&it), nullptr);
    EXPECT_EQ(TypeParam::value_size(&it), 1U);
}

TYPED_TEST(ListValueIterator, FindsTheValuesOfAnEmptyKey)
{
    fill(this->map, {{"", {"v"}}});
    EXPECT_EQ(this->visited_values(""), (Values{"v"}));
}

TYPED_TEST(ListValueIterator, ComparesKeysAsTheContainerDoes)
{
    fill(this->map, {{"Key", {"v", "w"}}});
    typename TypeParam::ValueIterator it{};
    EXPECT_EQ(TypeParam::value_first(&this->map, "kEY", &it), nullptr);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::value_first(&this->map, "kEY", &it), stored_text(this->map, "Key", 0));
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
}

TYPED_TEST(ListValueIterator, TakesTheStoredKeyForAKey)
{
    fill(this->map, {{"k", {"1", "2"}}});
    const auto it = this->iterator_at(stored_key(this->map, "k"), 1);
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 1));
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
}

TYPED_TEST(ListValueIterator, TakesAValueForAKey)
{
    fill(this->map, {{"k", {"other\0"s}}, {"other", {"1"}}});
    typename TypeParam::ValueIterator it{};
    EXPECT_EQ(TypeParam::value_first(&this->map, stored_text(this->map, "k", 0), &it),
              stored_text(this->map, "other", 0));
}

TYPED_TEST(ListValueIterator, TakesItsOwnValueForAKey)
{
    fill(this->map, {{"k", {"other\0"s}}, {"other", {"1"}}});
    auto it = this->iterator_at("k", 0);
    const char *key = stored_text(this->map, "k", 0);
    EXPECT_EQ(TypeParam::value_first(&this->map, static_cast<const char *>(it.node->data), &it),
              stored_text(this->map, "other", 0));
    this->expect_same(it, this->iterator_at(key, 0));
}

TYPED_TEST(ListValueIterator, AfterAMissingKeyCountsNothingEvenOnceTheKeyIsThere)
{
    typename TypeParam::ValueIterator it{};
    ASSERT_EQ(TypeParam::value_first(&this->map, "k", &it), nullptr);
    fill(this->map, {{"k", {"v"}}});
    this->expect_on_no_value(it);
}

TYPED_TEST(ListValueIterator, FirstWithoutAnArgumentGivesNoneAndLeavesTheIteratorAsItWas)
{
    fill(this->map, {{"a", {"1", "2"}}});
    for (const auto &before : {typename TypeParam::ValueIterator{}, this->iterator_at("a", 1),
                               this->iterator_past("a")}) {
        const auto expect_refused = [&](const typename TypeParam::Container *container,
                                        const char *key) {
            SCOPED_TRACE(testing::Message() << container << ' ' << (key != nullptr));
            auto it = before;
            EXPECT_EQ(TypeParam::value_first(container, key, &it), nullptr);
            this->expect_same(it, before);
        };
        for (const auto &without : TypeParam::without_buckets()) {
            expect_refused(&without, "a");
        }
        expect_refused(nullptr, "a");
        expect_refused(&this->map, nullptr);
        expect_refused(nullptr, nullptr);
    }
}

TYPED_TEST(ListValueIterator, FirstWithoutAnIteratorGivesNone)
{
    fill(this->map, {{"a", {"v"}}});
    EXPECT_EQ(TypeParam::value_first(&this->map, "a", nullptr), nullptr);
}

TYPED_TEST(ListValueIterator, FirstStartsAUsedIteratorAnew)
{
    fill(this->map, {{"k", {"1", "2"}}});
    const char *key = "k";
    for (auto it : {this->iterator_at(key, 1), this->iterator_past(key)}) {
        EXPECT_EQ(TypeParam::value_first(&this->map, key, &it), stored_text(this->map, key, 0));
        this->expect_same(it, this->iterator_at(key, 0));
        EXPECT_EQ(TypeParam::value_next(&it), stored_text(this->map, key, 1));
        this->expect_same(it, this->iterator_at(key, 1));
    }
}

TYPED_TEST(ListValueIterator, FirstMovesAUsedIteratorToAnotherContainerAndKey)
{
    fill(this->map, {{"a", {"1", "2"}}});
    typename TypeParam::Own other;
    fill(*other, {{"z", {"3"}}});
    const char *key = "z";
    typename TypeParam::ValueIterator unused{};
    auto used = this->iterator_at("a", 1);
    EXPECT_EQ(TypeParam::value_first(&other, key, &unused), stored_text(*other, key, 0));
    EXPECT_EQ(TypeParam::value_first(&other, key, &used), stored_text(*other, key, 0));
    this->expect_same(used, unused);
    EXPECT_EQ(used.map, &other);
    EXPECT_EQ(TypeParam::value_count(&used), 1U);
    EXPECT_EQ(TypeParam::value_next(&used), nullptr);
}

TYPED_TEST(ListValueIterator, IteratorsOverOneKeyAreIndependent)
{
    fill(this->map, {{"k", {"1", "2"}}});
    auto one = this->iterator_at("k", 0);
    const auto two = one;
    EXPECT_EQ(TypeParam::value_next(&one), stored_text(this->map, "k", 1));
    EXPECT_EQ(TypeParam::value_elem(&two), stored_text(this->map, "k", 0));
}

TYPED_TEST(ListValueIterator, ReadingTheCurrentValueDoesNotMoveTheIterator)
{
    fill(this->map, {{"k", {"1", "2"}}});
    const auto it = this->iterator_at("k", 0);
    const auto before = it;
    TypeParam::value_elem(&it);
    TypeParam::value_size(&it);
    TypeParam::value_count(&it);
    this->expect_same(it, before);
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 0));
}

TYPED_TEST(ListValueIterator, GivesNothingWhenItWasNeverStarted)
{
    fill(this->map, {{"k", {"1", "2"}}});
    auto without_container = this->iterator_at("k", 0);
    auto without_key = without_container;
    auto without_node = without_container;
    without_container.map = nullptr;
    without_key.key = nullptr;
    without_node.node = nullptr;
    for (const auto &unstarted :
         {typename TypeParam::ValueIterator{}, without_container, without_key, without_node}) {
        SCOPED_TRACE(testing::Message() << unstarted.map << ' ' << (unstarted.key != nullptr) << ' '
                                        << unstarted.node);
        this->expect_on_no_value(unstarted);
    }
}

TYPED_TEST(ListValueIterator, GivesNothingForANullIterator)
{
    EXPECT_EQ(TypeParam::value_next(nullptr), nullptr);
    EXPECT_EQ(TypeParam::value_elem(nullptr), nullptr);
    EXPECT_EQ(TypeParam::value_size(nullptr), 0U);
    EXPECT_EQ(TypeParam::value_count(nullptr), 0U);
}

TYPED_TEST(ListValueIterator, CountsTheSameFromEveryValueOfTheKey)
{
    fill(this->map, {{"k", {"1", "2", "3"}}, {"other", {"x"}}});
    for (uint32_t position = 0; position < 3; ++position) {
        const auto it = this->iterator_at("k", position);
        EXPECT_EQ(TypeParam::value_count(&it), 3U) << position;
    }
}

TYPED_TEST(ListValueIterator, CountsValuesInsertedSince)
{
    fill(this->map, {{"k", {"1"}}});
    const auto it = this->iterator_at("k", 0);
    fill(this->map, {{"k", {"2", "3"}}, {"other", {"x"}}});
    EXPECT_EQ(TypeParam::value_count(&it), 3U);
}

TYPED_TEST(ListValueIterator, CountsNoMoreTheValuesRemovedSince)
{
    fill(this->map, {{"k", {"1", "2", "3", "4"}}});
    const auto it = this->iterator_at("k", 1);
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, "k", "1", 1), 0);
    EXPECT_EQ(TypeParam::value_count(&it), 3U);
    ASSERT_EQ(TypeParam::remove(&this->map, "k", 2), 0);
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 0));
}

TYPED_TEST(ListValueIterator, CountsTheRestWhenItsOwnValueIsGone)
{
    fill(this->map, {{"k", {"1", "2", "3"}}});
    const auto it = this->iterator_at("k", 1);
    ASSERT_EQ(TypeParam::remove(&this->map, "k", 1), 0);
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
}

TYPED_TEST(ListValueIterator, CountsTheValuesMergedIntoItsKey)
{
    fill(this->map, {{"k", {"1", "2"}}, {"K", {"2", "3"}}});
    const auto it = this->iterator_at("k", 1);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::value_count(&it), 3U);
}

TYPED_TEST(ListValueIterator, StaysOnItsValueWhenTheTableIsRebuilt)
{
    fill(this->map, {{"k", {"1", "2"}}, {"other", {"x"}}});
    auto it = this->iterator_at("k", 0);
    const auto before = it;
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    this->expect_same(it, before);
    EXPECT_EQ(TypeParam::value_elem(&it), stored_text(this->map, "k", 0));
    EXPECT_EQ(TypeParam::value_count(&it), 2U);
    EXPECT_EQ(TypeParam::value_next(&it), stored_text(this->map, "k", 1));
    EXPECT_EQ(TypeParam::value_next(&it), nullptr);
}

TYPED_TEST(ListValueIterator, ChangesNothingAndAllocatesNothing)
{
    fill(this->map, {{"k", {"1", "2", "3"}}, {"other", {"x"}}});
    this->expect_unchanged(0, [&] {
        allocations::Log log;
        typename TypeParam::ValueIterator it{};
        uint32_t steps = 0;
        const void *data = TypeParam::value_first(&this->map, "k", &it);
        for (; data != nullptr; data = TypeParam::value_next(&it)) {
            TypeParam::value_elem(&it);
            TypeParam::value_size(&it);
            TypeParam::value_count(&it);
            ++steps;
        }
        TypeParam::value_first(&this->map, "missing", &it);
        EXPECT_EQ(steps, 3U);
        return static_cast<int>(log.sizes().size());
    });
}

TYPED_TEST(ListAccess, IsEmptyTellsWhetherTheContainerHoldsKeys)
{
    EXPECT_EQ(TypeParam::isempty(&this->map), 1);
    fill(this->map, {{"", {"", "v"}}});
    EXPECT_EQ(TypeParam::isempty(&this->map), 0);
    ASSERT_EQ(TypeParam::remove(&this->map, "", 0), 0);
    EXPECT_EQ(TypeParam::isempty(&this->map), 0);
    ASSERT_EQ(TypeParam::remove(&this->map, "", 0), 0);
    EXPECT_EQ(TypeParam::isempty(&this->map), 1);
    fill(this->map, {{"a", {"v"}}, {"b", {"v"}}});
    EXPECT_EQ(TypeParam::isempty(&this->map), 0);
    ASSERT_EQ(TypeParam::clear(&this->map), 0);
    EXPECT_EQ(TypeParam::isempty(&this->map), 1);
}

TYPED_TEST(ListAccess, ANullContainerAndOneWithoutBucketsAreEmpty)
{
    EXPECT_EQ(TypeParam::isempty(nullptr), 1);
    for (const auto &without : TypeParam::without_buckets()) {
        EXPECT_EQ(TypeParam::isempty(&without), 1);
    }
}

TYPED_TEST(ListAccess, KeyCountStoresTheNumberOfKeysAndNotOfValues)
{
    uint32_t count = 7;
    EXPECT_EQ(TypeParam::key_count(&this->map, &count), 0);
    EXPECT_EQ(count, 0U);
    this->insert_scrambled(40);
    EXPECT_EQ(TypeParam::key_count(&this->map, &count), 0);
    EXPECT_EQ(count, 40U);
    ASSERT_EQ(TypeParam::erase(&this->map, "0"), 0);
    EXPECT_EQ(TypeParam::key_count(&this->map, &count), 0);
    EXPECT_EQ(count, 39U);
}

TYPED_TEST(ListAccess, KeyCountOfAContainerWithoutBucketsIsZero)
{
    for (const auto &without : TypeParam::without_buckets()) {
        uint32_t count = 7;
        EXPECT_EQ(TypeParam::key_count(&without, &count), 0);
        EXPECT_EQ(count, 0U);
    }
}

TYPED_TEST(ListAccess, KeyCountCountsMergedKeysOnce)
{
    fill(this->map, {{"k", {"1"}}, {"K", {"2"}}, {"x", {"3"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    uint32_t count = 7;
    EXPECT_EQ(TypeParam::key_count(&this->map, &count), 0);
    EXPECT_EQ(count, 2U);
}

TYPED_TEST(ListAccess, KeyCountRefusesANullContainerOrOutput)
{
    uint32_t count = 7;
    EXPECT_EQ(TypeParam::key_count(nullptr, &count), EINVAL);
    EXPECT_EQ(count, 7U);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::key_count(&this->map, nullptr); });
    EXPECT_EQ(TypeParam::key_count(nullptr, nullptr), EINVAL);
}

TYPED_TEST(ListAccess, KeyNameGivesTheKeyAtEachOrdinalOfTheIterationOrder)
{
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        this->insert_scrambled(100);
        typename TypeParam::KeyIterator it{};
        int32_t ordinal = 0;
        for (const char *key = TypeParam::key_first(&this->map, &it); key != nullptr;
             key = TypeParam::key_next(&it)) {
            EXPECT_EQ(TypeParam::key_name(&this->map, ordinal), key) << ordinal;
            ++ordinal;
        }
        EXPECT_EQ(ordinal, 100);
        EXPECT_EQ(TypeParam::key_name(&this->map, ordinal), nullptr);
    }
}

TYPED_TEST(ListAccess, KeyNameOutsideTheKeysGivesNone)
{
    this->insert_scrambled(3);
    for (int32_t ordinal : {3, 4, 6, 1000, INT32_MAX, -1, -3, INT32_MIN}) {
        EXPECT_EQ(TypeParam::key_name(&this->map, ordinal), nullptr) << ordinal;
    }
}

TYPED_TEST(ListAccess, KeyNameOfAContainerWithoutKeysGivesNone)
{
    for (int32_t ordinal : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
        SCOPED_TRACE(ordinal);
        EXPECT_EQ(TypeParam::key_name(&this->map, ordinal), nullptr);
        EXPECT_EQ(TypeParam::key_name(nullptr, ordinal), nullptr);
        for (const auto &without : TypeParam::without_buckets()) {
            EXPECT_EQ(TypeParam::key_name(&without, ordinal), nullptr);
        }
    }
}

TYPED_TEST(ListAccess, CountingAndNamingChangeNothingAndLookNothingUp)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"3"}}});
    this->expect_unchanged(0, [&] {
        hashings.clear();
        std::size_t allocated;
        {
            allocations::Log log;
            uint32_t count;
            TypeParam::isempty(&this->map);
            TypeParam::key_count(&this->map, &count);
            TypeParam::key_name(&this->map, 1);
            TypeParam::key_name(&this->map, 2);
            allocated = log.sizes().size();
        }
        EXPECT_EQ(allocated, 0U);
        EXPECT_EQ(hashed_keys(), Keys{});
        return 0;
    });
}

TYPED_TEST(ListSort, ListsTheStoredKeysInByteOrderWithTheirOrdinals)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    for (const char *key : {"b", "\xff", "ab", "B", "\x80", "a", ""}) {
        fill(this->map, {{key, {"v", "w"}}});
    }
    typename TypeParam::SortItem *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(TypeParam::sort(&this->map, &items, &count), 0);
    const std::pair<std::string, int32_t> expected[] = {
        {"", 6}, {"B", 3}, {"a", 5}, {"ab", 2}, {"b", 0}, {"\x80", 4}, {"\xff", 1},
    };
    ASSERT_EQ(count, static_cast<int32_t>(std::size(expected)));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].key, expected[i].first);
        EXPECT_EQ(items[i].ordinal, expected[i].second);
        EXPECT_EQ(items[i].key, TypeParam::key_name(&this->map, items[i].ordinal));
    }
    std::free(items);
}

TYPED_TEST(ListSort, ListsUpperCaseFirstWhereKeysCompareWithoutCase)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"v"}}, {"Z", {"v"}}, {"_", {"v"}}});
    typename TypeParam::SortItem *items = nullptr;
    int32_t count = 0;
    ASSERT_EQ(TypeParam::sort(&this->map, &items, &count), 0);
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(items[0].key, "Z");
    EXPECT_STREQ(items[1].key, "_");
    EXPECT_STREQ(items[2].key, "a");
    std::free(items);
}

TYPED_TEST(ListSort, SortsAThousandKeysInATableOfAnySize)
{
    for (uint32_t size : TypeParam::hashsizes) {
        SCOPED_TRACE(size);
        restart(this->map, size);
        this->insert_scrambled(1000);
        Keys in_order = this->keys();
        const Keys by_ordinal = in_order;
        std::sort(in_order.begin(), in_order.end());
        typename TypeParam::SortItem *items = nullptr;
        int32_t count = 0;
        ASSERT_EQ(TypeParam::sort(&this->map, &items, &count), 0);
        ASSERT_EQ(count, 1000);
        for (std::size_t i = 0; i < in_order.size(); ++i) {
            EXPECT_EQ(items[i].key, in_order[i]);
            EXPECT_EQ(by_ordinal.at(static_cast<std::size_t>(items[i].ordinal)), in_order[i]);
        }
        std::free(items);
    }
}

TYPED_TEST(ListSort, MakesOneAllocationOfItsItemsAndNoLookUp)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    this->insert_scrambled(300);
    typename TypeParam::SortItem *items = nullptr;
    int32_t count = 0;
    Sizes sizes;
    hashings.clear();
    {
        allocations::Log log;
        ASSERT_EQ(TypeParam::sort(&this->map, &items, &count), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, Sizes{300 * sizeof(typename TypeParam::SortItem)});
    EXPECT_EQ(hashed_keys(), Keys{});
    std::free(items);
}

TYPED_TEST(ListSort, LeavesTheContainerAsItIs)
{
    this->insert_scrambled(40);
    this->expect_unchanged(0, [&] {
        typename TypeParam::SortItem *items = nullptr;
        int32_t count = 0;
        const int result = TypeParam::sort(&this->map, &items, &count);
        std::free(items);
        return result;
    });
}

TYPED_TEST(ListSort, RefusesANullOutputAndLeavesTheOther)
{
    fill(this->map, {{"a", {"v"}}});
    typename TypeParam::SortItem other{};
    typename TypeParam::SortItem *items = &other;
    int32_t count = -7;
    this->expect_unchanged(EINVAL, [&] { return TypeParam::sort(&this->map, nullptr, &count); });
    EXPECT_EQ(count, -7);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::sort(&this->map, &items, nullptr); });
    EXPECT_EQ(items, &other);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::sort(&this->map, nullptr, nullptr); });
}

TYPED_TEST(ListSort, WithoutMemoryLeavesTheOutputs)
{
    fill(this->map, {{"a", {"v"}}});
    typename TypeParam::SortItem other{};
    typename TypeParam::SortItem *items = &other;
    int32_t count = -7;
    this->expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return TypeParam::sort(&this->map, &items, &count);
    });
    EXPECT_EQ(items, &other);
    EXPECT_EQ(count, -7);
}
