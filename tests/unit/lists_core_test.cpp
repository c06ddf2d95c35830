// What the multimap and the arraymap do alike: keys and their lists of values.

#include "list_test.hpp"
#include "recorded_hashing.hpp"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// One call of each operation that takes a key and checks its arguments.
template <class Family>
struct KeyedCall {
    const char *name;
    int (*run)(typename Family::Container *map, const char *key);
};

template <class Family>
const KeyedCall<Family> keyed_calls[] = {
    {"insert",
     [](auto *map, const char *key) {
         return Family::insert(map, key, "value", 5);
     }},
    {"delete",
     [](auto *map, const char *key) {
         return Family::delete_bytes(map, key, "value", 5);
     }},
    {"remove",
     [](auto *map, const char *key) {
         return Family::remove(map, key, 0);
     }},
    {"erase",
     [](auto *map, const char *key) {
         return Family::erase(map, key);
     }},
    {"index",
     [](auto *map, const char *key) {
         return Family::index(map, key, 0, nullptr, nullptr);
     }},
};

int sign(int number)
{
    return (number > 0) - (number < 0);
}

} // namespace

template <class Family>
class ListInit : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListInit, ListFamilies, TypeName);

TYPED_TEST(ListInit, MakesAnEmptyContainerOf32Buckets)
{
    EXPECT_EQ(this->map.maxkeys, -1);
    EXPECT_EQ(this->map.maxvalues, -1);
    EXPECT_EQ(this->map.numkeys, 0);
    EXPECT_EQ(this->map.numvalues, 0);
    EXPECT_EQ(this->map.casekeys, 0U);
    EXPECT_EQ(this->map.hashsize, 32U);
    EXPECT_EQ(this->map.hashfunc, nullptr);
    ASSERT_NE(this->map.buckets, nullptr);
    for (uint32_t i = 0; i < 32; ++i) {
        EXPECT_EQ(this->map.buckets[i].first, nullptr);
        EXPECT_EQ(this->map.buckets[i].last, &this->map.buckets[i].first);
    }
}

TYPED_TEST(ListInit, RefusesNull)
{
    EXPECT_EQ(TypeParam::init(nullptr), EINVAL);
}

TYPED_TEST(ListInit, AllocatesTheBucketsAlone)
{
    typename TypeParam::Container other;
    allocations::Log log;
    EXPECT_EQ(TypeParam::init(&other), 0);
    EXPECT_EQ(log.sizes(), Sizes{32 * sizeof(map_bucket_t)});
    EXPECT_EQ(TypeParam::destroy(&other), 0);
}

TYPED_TEST(ListInit, TakesNoNoticeOfWhatTheRecordHeld)
{
    typename TypeParam::Container other;
    std::memset(&other, 0xA5, sizeof other);
    EXPECT_EQ(TypeParam::init(&other), 0);
    auto expected = state_of(this->map);
    expected.buckets = other.buckets;
    EXPECT_EQ(state_of(other), expected);
    EXPECT_EQ(TypeParam::destroy(&other), 0);
}

TYPED_TEST(ListInit, LeavesAReleasedRecordWithoutMemory)
{
    typename TypeParam::Container other;
    std::memset(&other, 0xA5, sizeof other);
    {
        allocations::Failure failure(0);
        EXPECT_EQ(TypeParam::init(&other), ENOMEM);
    }
    EXPECT_EQ(other.maxkeys, -1);
    EXPECT_EQ(other.maxvalues, -1);
    EXPECT_EQ(other.numkeys, 0);
    EXPECT_EQ(other.numvalues, 0);
    EXPECT_EQ(other.casekeys, 0U);
    EXPECT_EQ(other.hashsize, 0U);
    EXPECT_EQ(other.hashfunc, nullptr);
    EXPECT_EQ(other.buckets, nullptr);
}

TYPED_TEST(ListInit, MayBeCalledAgainAfterItFailed)
{
    typename TypeParam::Container other;
    {
        allocations::Failure failure(0);
        ASSERT_EQ(TypeParam::init(&other), ENOMEM);
    }
    EXPECT_EQ(insert(other, "key", "value"), EINVAL);
    EXPECT_EQ(TypeParam::destroy(&other), EINVAL);
    ASSERT_EQ(TypeParam::init(&other), 0);
    EXPECT_EQ(insert(other, "key", "value"), 0);
    EXPECT_EQ(TypeParam::destroy(&other), 0);
}

template <class Family>
class ListArguments : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListArguments, ListFamilies, TypeName);

TYPED_TEST(ListArguments, ANullContainerIsRefused)
{
    for (const auto &call : keyed_calls<TypeParam>) {
        SCOPED_TRACE(call.name);
        EXPECT_EQ(call.run(nullptr, "key"), EINVAL);
        EXPECT_EQ(call.run(nullptr, nullptr), EINVAL);
    }
}

TYPED_TEST(ListArguments, ANullKeyIsRefusedAndChangesNothing)
{
    for (const Content &content : {Content{}, Content{{"key", {"value"}}}}) {
        fill(this->map, content);
        for (const auto &call : keyed_calls<TypeParam>) {
            SCOPED_TRACE(call.name);
            this->expect_unchanged(EINVAL, [&] { return call.run(&this->map, nullptr); });
        }
    }
}

TYPED_TEST(ListArguments, AReleasedContainerIsRefusedAndStaysAsItIs)
{
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    for (const auto &call : keyed_calls<TypeParam>) {
        SCOPED_TRACE(call.name);
        this->expect_unchanged(EINVAL, [&] { return call.run(&this->map, "key"); });
    }
}

TYPED_TEST(ListArguments, ANullValueIsRefusedWhateverItsLength)
{
    fill(this->map, {{"key", {""}}});
    for (const char *key : {"key", "missing"}) {
        for (const uint32_t len : {0U, 1U, UINT32_MAX}) {
            SCOPED_TRACE(key + " "s + std::to_string(len));
            this->expect_unchanged(
                EINVAL, [&] { return TypeParam::insert(&this->map, key, nullptr, len); });
            this->expect_unchanged(
                EINVAL, [&] { return TypeParam::delete_bytes(&this->map, key, nullptr, len); });
        }
    }
}

TYPED_TEST(ListArguments, AreCheckedBeforeTheKeyLimit)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 0), 0);
    this->expect_unchanged(EINVAL,
                           [&] { return TypeParam::insert(&this->map, "key", nullptr, 1); });
    this->expect_unchanged(EINVAL,
                           [&] { return TypeParam::insert(&this->map, nullptr, "value", 5); });
}

TYPED_TEST(ListArguments, AreCheckedBeforeMemory)
{
    fill(this->map, {{"key", {"value"}}});
    allocations::Log log;
    allocations::Failure failure(0);
    EXPECT_EQ(TypeParam::insert(&this->map, "key", nullptr, 1), EINVAL);
    EXPECT_EQ(TypeParam::insert(&this->map, nullptr, "value", 5), EINVAL);
    EXPECT_EQ(TypeParam::insert(nullptr, "key", "value", 5), EINVAL);
    EXPECT_EQ(log.sizes(), Sizes{});
}

TYPED_TEST(ListArguments, AreCheckedWithoutHashing)
{
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    EXPECT_EQ(hashed_during([&] {
                  for (const auto &call : keyed_calls<TypeParam>) {
                      EXPECT_EQ(call.run(&this->map, nullptr), EINVAL) << call.name;
                  }
                  EXPECT_EQ(TypeParam::insert(&this->map, "key", nullptr, 0), EINVAL);
                  EXPECT_EQ(TypeParam::delete_bytes(&this->map, "key", nullptr, 0), EINVAL);
              }),
              Keys{});
}

TYPED_TEST(ListArguments, TheKeyIsHashedOnce)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    for (const Values &values :
         {Values{}, Values{"value"}, Values{"value", "other"}, Values{"a"}}) {
        for (const auto &call : keyed_calls<TypeParam>) {
            SCOPED_TRACE(call.name + " "s + testing::PrintToString(values));
            fill(this->map, {{"key", values}});
            EXPECT_EQ(hashed_during([&] { call.run(&this->map, "key"); }), Keys{"key"});
            ASSERT_EQ(TypeParam::clear(&this->map), 0);
        }
    }
    fill(this->map, {{"key", {"value"}}});
    EXPECT_EQ(hashed_during([&] { EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 1); }),
              Keys{"key"});
}

TYPED_TEST(ListArguments, ReadingAndRemovingAllocateNothing)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    typename TypeParam::Container other;
    ASSERT_EQ(TypeParam::init(&other), 0);
    fill(other, {{"a", {"1"}}});
    allocations::Log log;
    EXPECT_EQ(TypeParam::index(&this->map, "a", 0, nullptr, nullptr), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "a"), 1);
    EXPECT_EQ(TypeParam::delete_bytes(&this->map, "a", "1", 1), 0);
    EXPECT_EQ(TypeParam::remove(&this->map, "a", 0), 0);
    EXPECT_EQ(TypeParam::erase(&this->map, "b"), 0);
    EXPECT_EQ(TypeParam::clear(&this->map), 0);
    EXPECT_EQ(TypeParam::destroy(&other), 0);
    EXPECT_EQ(log.sizes(), Sizes{});
}

template <class Family>
class ListInsert : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListInsert, ListFamilies, TypeName);

TYPED_TEST(ListInsert, StoresACopyOfKeyAndValue)
{
    char key[] = "key";
    char value[] = "value";
    ASSERT_EQ(TypeParam::insert(&this->map, key, value, 5), 0);
    key[0] = value[0] = 'X';
    EXPECT_EQ(this->content(), (Content{{"key", {"value"}}}));
}

TYPED_TEST(ListInsert, CountsKeysAndValues)
{
    fill(this->map, {{"a", {"1"}}});
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 1);
    fill(this->map, {{"a", {"2"}}, {"b", {"1", "2", "3"}}});
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(this->map.numvalues, 5);
    EXPECT_EQ(TypeParam::entry(&this->map, "a")->count, 2U);
    EXPECT_EQ(TypeParam::entry(&this->map, "b")->count, 3U);
}

TYPED_TEST(ListInsert, KeepsTheValuesOfAKeyInOrderOfInsertion)
{
    for (const char *value : {"b", "a", "c", "aa"}) {
        ASSERT_EQ(insert(this->map, "key", value), 0);
        ASSERT_EQ(insert(this->map, "other", value), 0);
    }
    EXPECT_EQ(values_of(this->map, "key"), (Values{"b", "a", "c", "aa"}));
    EXPECT_EQ(values_of(this->map, "other"), (Values{"b", "a", "c", "aa"}));
}

TYPED_TEST(ListInsert, AppendsNewKeysAtTheEndOfTheBucket)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}});
    EXPECT_EQ(this->content(), (Content{{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}}));
}

TYPED_TEST(ListInsert, LeavesAnExistingKeyAtItsPlaceInTheBucket)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"c", {"1"}}, {"a", {"1"}}, {"b", {"1"}}, {"c", {"2"}}, {"a", {"2"}}});
    EXPECT_EQ(this->content(), (Content{{"c", {"1", "2"}}, {"a", {"1", "2"}}, {"b", {"1"}}}));
}

TYPED_TEST(ListInsert, MovesNoNode)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    const auto before = state_of(this->map);
    ASSERT_EQ(insert(this->map, "a", "3"), 0);
    ASSERT_EQ(insert(this->map, "c", "1"), 0);
    ASSERT_EQ(delete_value(this->map, "a", "3"), 0);
    ASSERT_EQ(delete_value(this->map, "c", "1"), 0);
    EXPECT_EQ(state_of(this->map), before);
}

TYPED_TEST(ListInsert, OfANewKeyAllocatesTheValueAndThenTheKey)
{
    allocations::Log log;
    ASSERT_EQ(insert(this->map, "seven77", "twelve bytes"), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(typename TypeParam::ValueNode) + 12,
                                  sizeof(typename TypeParam::KeyNode) + 7 + 1}));
}

TYPED_TEST(ListInsert, UnderAnExistingKeyAllocatesTheValueAlone)
{
    fill(this->map, {{"key", {"1"}}});
    allocations::Log log;
    ASSERT_EQ(insert(this->map, "key", "twelve bytes"), 0);
    ASSERT_EQ(insert(this->map, "key", ""), 0);
    EXPECT_EQ(log.sizes(), (Sizes{sizeof(typename TypeParam::ValueNode) + 12,
                                  sizeof(typename TypeParam::ValueNode)}));
}

TYPED_TEST(ListInsert, LaysTheTextOfAKeyRightBehindItsNode)
{
    fill(this->map, {{"key", {"value"}}});
    const auto *node = TypeParam::entry(&this->map, "key");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(static_cast<const void *>(node->key), node + 1);
    EXPECT_EQ(std::memcmp(node + 1, "key", 4), 0);
}

TYPED_TEST(ListInsert, LaysTheBytesOfAValueRightBehindItsNode)
{
    fill(this->map, {{"key", {"va\0ue"s}}});
    const auto *key = TypeParam::entry(&this->map, "key");
    ASSERT_NE(key, nullptr);
    const auto *node = key->values.first;
    EXPECT_EQ(node->data, node + 1);
    EXPECT_EQ(node->len, 5U);
    EXPECT_EQ(std::memcmp(node + 1, "va\0ue", 5), 0);
}

TYPED_TEST(ListInsert, TakesAValueThatAnotherKeyHolds)
{
    fill(this->map, {{"a", {"value"}}, {"b", {"value"}}});
    EXPECT_EQ(values_of(this->map, "a"), Values{"value"});
    EXPECT_EQ(values_of(this->map, "b"), Values{"value"});
    EXPECT_NE(stored_text(this->map, "a", 0), stored_text(this->map, "b", 0));
    ASSERT_EQ(delete_value(this->map, "a", "value"), 0);
    EXPECT_EQ(values_of(this->map, "b"), Values{"value"});
}

TYPED_TEST(ListInsert, TakesAValueAgainThatWasRemoved)
{
    fill(this->map, {{"key", {"a", "b"}}});
    ASSERT_EQ(delete_value(this->map, "key", "a"), 0);
    EXPECT_EQ(insert(this->map, "key", "a"), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"b", "a"}));
}

TYPED_TEST(ListInsert, KeepsValuesApartThatDifferOnlyInLength)
{
    const Values values{"ab", "ab\0"s, "a", "ab\0\0"s, ""};
    fill(this->map, {{"key", values}});
    EXPECT_EQ(values_of(this->map, "key"), values);
}

TYPED_TEST(ListInsert, KeepsValuesApartThatDifferInOneByte)
{
    const Values values{"abc", "Abc", "abC", "aBc", "a\0c"s, "a\0d"s, "b\0c"s, "ab\343", "ab\303"};
    fill(this->map, {{"key", values}});
    EXPECT_EQ(values_of(this->map, "key"), values);
}

TYPED_TEST(ListInsert, StoresValuesWithEveryByte)
{
    fill(this->map, {{"all", {every_byte()}}});
    EXPECT_EQ(values_of(this->map, "all"), Values{every_byte()});
}

TYPED_TEST(ListInsert, StoresAnEmptyValue)
{
    fill(this->map, {{"key", {"a", "", "b"}}});
    const void *data = nullptr;
    uint32_t len = 77;
    ASSERT_EQ(TypeParam::index(&this->map, "key", 1, &data, &len), 0);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(len, 0U);
    EXPECT_EQ(this->map.numvalues, 3);
}

TYPED_TEST(ListInsert, TakesTheEmptyKey)
{
    fill(this->map, {{"", {"1", "2"}}});
    EXPECT_EQ(values_of(this->map, ""), (Values{"1", "2"}));
    EXPECT_EQ(this->map.buckets[0].first, TypeParam::entry(&this->map, ""));
    EXPECT_EQ(TypeParam::haskey(&this->map, ""), 1);
    EXPECT_EQ(delete_value(this->map, "", "1"), 0);
    EXPECT_EQ(values_of(this->map, ""), Values{"2"});
    EXPECT_EQ(TypeParam::erase(&this->map, ""), 0);
}

TYPED_TEST(ListInsert, TakesLongKeysAndValues)
{
    const std::string key(100000, 'k');
    const std::string value(300000, 'v');
    ASSERT_EQ(insert(this->map, key.c_str(), value), 0);
    ASSERT_EQ(insert(this->map, (key + 'k').c_str(), value), 0);
    ASSERT_EQ(insert(this->map, key.c_str(), value + 'v'), 0);
    EXPECT_EQ(values_of(this->map, key.c_str()), (Values{value, value + 'v'}));
}

TYPED_TEST(ListInsert, KeepsKeysWithBytesAbove0x7FApart)
{
    fill(this->map, {{"\351", {"1"}}, {"\311", {"2"}}, {"\377\200", {"3"}}, {"\200\377", {"4"}}});
    EXPECT_EQ(values_of(this->map, "\351"), Values{"1"});
    EXPECT_EQ(values_of(this->map, "\311"), Values{"2"});
    EXPECT_EQ(values_of(this->map, "\377\200"), Values{"3"});
    EXPECT_EQ(values_of(this->map, "\200\377"), Values{"4"});
}

TYPED_TEST(ListInsert, KeepsSpellingsApartInACaseSensitiveContainer)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"1"}}});
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(values_of(this->map, "key"), Values{});
    EXPECT_EQ(delete_value(this->map, "Key", "1"), 0);
    EXPECT_EQ(values_of(this->map, "KEY"), Values{"1"});
}

TYPED_TEST(ListInsert, WithoutMemoryForTheValueChangesNothing)
{
    fill(this->map, {{"key", {"value"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        this->expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return insert(this->map, key, "1234");
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(typename TypeParam::ValueNode) + 4});
    }
}

TYPED_TEST(ListInsert, WithoutMemoryForTheKeyFreesTheValueAndChangesNothing)
{
    fill(this->map, {{"key", {"value"}}});
    this->expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(1);
        const int result = insert(this->map, "new", "value");
        EXPECT_TRUE(failure.happened());
        return result;
    });
    EXPECT_EQ(insert(this->map, "new", "value"), 0);
}

TYPED_TEST(ListInsert, AsksForTheFullSizeOfTheGreatestLength)
{
    if (sizeof(std::size_t) == 4) {
        GTEST_SKIP() << "node and bytes do not fit the address space";
    }
    fill(this->map, {{"key", {"v"}}});
    for (const char *key : {"key", "new"}) {
        allocations::Log log;
        this->expect_unchanged(ENOMEM, [&] {
            allocations::Failure failure(0);
            return TypeParam::insert(&this->map, key, "v", UINT32_MAX);
        });
        EXPECT_EQ(log.sizes(), Sizes{sizeof(typename TypeParam::ValueNode) + UINT32_MAX});
    }
}

TYPED_TEST(ListInsert, RefusesALengthThatOverflowsTheAddressSpace)
{
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "a 32-bit length always fits";
    }
    fill(this->map, {{"key", {"v"}}});
    const uint32_t node = sizeof(typename TypeParam::ValueNode);
    for (const uint32_t below : {0U, 1U, node - 2, node - 1}) {
        for (const char *key : {"key", "new"}) {
            SCOPED_TRACE(below);
            allocations::Log log;
            this->expect_unchanged(ENOMEM, [&] {
                return TypeParam::insert(&this->map, key, "v", UINT32_MAX - below);
            });
            EXPECT_EQ(log.sizes(), Sizes{});
        }
    }
    for (const uint32_t below : {node, node + 1}) {
        SCOPED_TRACE(below);
        this->expect_unchanged(
            ENOMEM, [&] { return TypeParam::insert(&this->map, "new", "v", UINT32_MAX - below); });
    }
}

template <class Family>
class ListKeyLimit : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListKeyLimit, ListFamilies, TypeName);

TYPED_TEST(ListKeyLimit, Of0Or1AdmitsNoKey)
{
    for (const int limit : {0, 1}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(TypeParam::setmaxkeys(&this->map, limit), 0);
        this->expect_unchanged(1, [&] { return insert(this->map, "key", "value"); });
    }
}

TYPED_TEST(ListKeyLimit, Of2AdmitsOneKey)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    EXPECT_EQ(insert(this->map, "a", "1"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "b", "1"); });
}

TYPED_TEST(ListKeyLimit, Of3AdmitsTwoKeysAndAnyNumberOfValues)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 3), 0);
    EXPECT_EQ(insert(this->map, "a", "1"), 0);
    EXPECT_EQ(insert(this->map, "a", "2"), 0);
    EXPECT_EQ(insert(this->map, "a", "3"), 0);
    EXPECT_EQ(insert(this->map, "b", "1"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "c", "1"); });
    EXPECT_EQ(insert(this->map, "a", "4"), 0);
    EXPECT_EQ(insert(this->map, "b", "2"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "c", "1"); });
}

TYPED_TEST(ListKeyLimit, ThatIsNegativeIsNone)
{
    for (const int limit : {-1, -2, INT_MIN}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(TypeParam::setmaxkeys(&this->map, limit), 0);
        EXPECT_EQ(insert(this->map, std::to_string(limit).c_str(), "value"), 0);
    }
}

TYPED_TEST(ListKeyLimit, OfTheGreatestNumberAdmitsKeys)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, INT_MAX), 0);
    EXPECT_EQ(insert(this->map, "key", "value"), 0);
}

TYPED_TEST(ListKeyLimit, HoldsUpToTheGreatestCount)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, INT_MAX), 0);
    const walker::Pause pause;
    for (const int count : {INT_MAX - 1, INT_MAX}) {
        SCOPED_TRACE(count);
        this->map.numkeys = count;
        const int result = insert(this->map, "key", "value");
        this->map.numkeys = 0;
        EXPECT_EQ(result, 1);
    }
}

TYPED_TEST(ListKeyLimit, LetsAKeyInWhenAnotherHasGone)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    fill(this->map, {{"a", {"1", "2"}}});
    ASSERT_EQ(delete_value(this->map, "a", "1"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "b", "1"); });
    ASSERT_EQ(delete_value(this->map, "a", "2"), 0);
    EXPECT_EQ(insert(this->map, "b", "1"), 0);
}

TYPED_TEST(ListKeyLimit, ThatIsReachedStillTakesValuesUnderPresentKeys)
{
    fill(this->map, {{"a", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 1), 0);
    EXPECT_EQ(insert(this->map, "a", "2"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "b", "1"); });
}

TYPED_TEST(ListKeyLimit, RefusesOnceTheValueIsMadeAndFreesIt)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 1), 0);
    allocations::Log log;
    this->expect_unchanged(1, [&] { return insert(this->map, "key", "twelve bytes"); });
    EXPECT_EQ(log.sizes(), Sizes{sizeof(typename TypeParam::ValueNode) + 12});
}

TYPED_TEST(ListKeyLimit, ComesAfterMemoryForTheValueAndBeforeThatForTheKey)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 1), 0);
    this->expect_unchanged(ENOMEM, [&] {
        allocations::Failure failure(0);
        return insert(this->map, "key", "value");
    });
    this->expect_unchanged(1, [&] {
        allocations::Failure failure(1);
        return insert(this->map, "key", "value");
    });
}

TYPED_TEST(ListInsert, DoesNotEnforceTheValueLimit)
{
    for (const int limit : {0, 1, 2}) {
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
        ASSERT_EQ(TypeParam::setmaxvalues(&this->map, limit), 0);
        SCOPED_TRACE(limit);
        EXPECT_EQ(insert(this->map, "a", "1"), 0);
        EXPECT_EQ(insert(this->map, "a", "2"), 0);
        EXPECT_EQ(insert(this->map, "b", "1"), 0);
        EXPECT_EQ(this->map.numvalues, 3);
        EXPECT_EQ(this->map.maxvalues, limit);
    }
}

template <class Family>
class ListDelete : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListDelete, ListFamilies, TypeName);

TYPED_TEST(ListDelete, RemovesTheValueAlone)
{
    fill(this->map, {{"key", {"a", "b", "c"}}, {"other", {"b"}}});
    EXPECT_EQ(delete_value(this->map, "key", "b"), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(values_of(this->map, "other"), Values{"b"});
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(this->map.numvalues, 3);
    EXPECT_EQ(TypeParam::entry(&this->map, "key")->count, 2U);
}

TYPED_TEST(ListDelete, RemovesTheKeyWithItsLastValue)
{
    fill(this->map, {{"key", {"a", "b"}}, {"other", {"a"}}});
    ASSERT_EQ(delete_value(this->map, "key", "b"), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 1);
    ASSERT_EQ(delete_value(this->map, "key", "a"), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 0);
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 1);
    EXPECT_EQ(this->content(), (Content{{"other", {"a"}}}));
}

TYPED_TEST(ListDelete, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(this->map, {{"key", {"a", "b"}}});
    ASSERT_EQ(allocations::live(), live + 3);
    ASSERT_EQ(delete_value(this->map, "key", "a"), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(delete_value(this->map, "key", "b"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListDelete, ReportsAMissingKeyAndChangesNothing)
{
    this->expect_unchanged(ENOENT, [&] { return delete_value(this->map, "key", "a"); });
    fill(this->map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        this->expect_unchanged(ENOENT, [&] { return delete_value(this->map, key, "a"); });
    }
}

TYPED_TEST(ListDelete, ReportsAMissingValueAndChangesNothing)
{
    fill(this->map, {{"key", {"ab", "cd"}}, {"other", {"value"}}});
    for (const auto &value : {"value"s, "a"s, "abc"s, "ab\0"s, "AB"s, "b"s, ""s}) {
        SCOPED_TRACE(value);
        this->expect_unchanged(ENOENT, [&] { return delete_value(this->map, "key", value); });
    }
}

TYPED_TEST(ListDelete, TellsValuesApartByTheirLength)
{
    fill(this->map, {{"key", {"ab", "ab\0"s}}});
    ASSERT_EQ(delete_value(this->map, "key", "ab\0"s), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{"ab"});
}

TYPED_TEST(ListDelete, RemovesTheEmptyValue)
{
    fill(this->map, {{"key", {"", "a"}}});
    EXPECT_EQ(delete_value(this->map, "key", ""), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{"a"});
    this->expect_unchanged(ENOENT, [&] { return delete_value(this->map, "key", ""); });
}

TYPED_TEST(ListDelete, MatchesEveryByte)
{
    const Values values{"abc", "Abc", "abC", "aBc", "a\0c"s, "a\0d"s, "b\0c"s, "ab\343", "ab\303"};
    for (std::size_t gone = 0; gone < values.size(); ++gone) {
        SCOPED_TRACE(gone);
        fill(this->map, {{"key", values}});
        Values left = values;
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(gone));
        ASSERT_EQ(delete_value(this->map, "key", values[gone]), 0);
        EXPECT_EQ(values_of(this->map, "key"), left);
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
    }
}

TYPED_TEST(ListDelete, ComparesTheGivenLengthWithTheStoredOne)
{
    fill(this->map, {{"key", {"ab"}}});
    for (const uint32_t len : {1U, 3U}) {
        this->expect_unchanged(
            ENOENT, [&] { return TypeParam::delete_bytes(&this->map, "key", "ab", len); });
    }
    EXPECT_EQ(TypeParam::delete_bytes(&this->map, "key", "ab", 2), 0);
}

TYPED_TEST(ListDelete, ReadsNoByteOfAValueOfAnotherLength)
{
    fill(this->map, {{"key", {"v", ""}}});
    for (const char *key : {"key", "missing"}) {
        this->expect_unchanged(
            ENOENT, [&] { return TypeParam::delete_bytes(&this->map, key, "v", UINT32_MAX); });
    }
}

TYPED_TEST(ListDelete, RemovesTheEmptyValueWhateverThePointer)
{
    const char bytes[] = "ab";
    for (const char *data : {bytes, bytes + 1, bytes + sizeof bytes}) {
        fill(this->map, {{"key", {"", "a"}}});
        EXPECT_EQ(TypeParam::delete_bytes(&this->map, "key", data, 0), 0);
        EXPECT_EQ(values_of(this->map, "key"), Values{"a"});
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
    }
}

template <class Family>
class ListRemove : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListRemove, ListFamilies, TypeName);

TYPED_TEST(ListRemove, RemovesTheValueAtThePosition)
{
    fill(this->map, {{"key", {"a", "b", "c"}}, {"other", {"a", "b"}}});
    EXPECT_EQ(TypeParam::remove(&this->map, "key", 1), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"a", "c"}));
    EXPECT_EQ(TypeParam::remove(&this->map, "key", 1), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{"a"});
    EXPECT_EQ(values_of(this->map, "other"), (Values{"a", "b"}));
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(this->map.numvalues, 3);
}

TYPED_TEST(ListRemove, RemovesTheKeyWithItsLastValue)
{
    fill(this->map, {{"key", {"a"}}, {"other", {"a"}}});
    EXPECT_EQ(TypeParam::remove(&this->map, "key", 0), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 0);
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 1);
}

TYPED_TEST(ListRemove, FreesTheValueAndWithTheLastTheKey)
{
    const std::size_t live = allocations::live();
    fill(this->map, {{"key", {"a", "b"}}});
    ASSERT_EQ(TypeParam::remove(&this->map, "key", 1), 0);
    EXPECT_EQ(allocations::live(), live + 2);
    ASSERT_EQ(TypeParam::remove(&this->map, "key", 0), 0);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListRemove, ReportsAPositionBehindTheLastAndChangesNothing)
{
    fill(this->map, {{"key", {"a", "b"}}, {"other", {"a", "b", "c", "d"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(index);
        this->expect_unchanged(ENOENT, [&] { return TypeParam::remove(&this->map, "key", index); });
    }
}

TYPED_TEST(ListRemove, ReportsAMissingKeyAndChangesNothing)
{
    this->expect_unchanged(ENOENT, [&] { return TypeParam::remove(&this->map, "key", 0); });
    fill(this->map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "other"}) {
        this->expect_unchanged(ENOENT, [&] { return TypeParam::remove(&this->map, key, 0); });
    }
}

template <class Family>
class ListErase : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListErase, ListFamilies, TypeName);

TYPED_TEST(ListErase, RemovesTheKeyWithAllOfItsValues)
{
    fill(this->map, {{"key", {"a", "b", "c"}}, {"other", {"a", "d"}}});
    EXPECT_EQ(TypeParam::erase(&this->map, "key"), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 0);
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 2);
    EXPECT_EQ(this->content(), (Content{{"other", {"a", "d"}}}));
}

TYPED_TEST(ListErase, FreesKeyAndValues)
{
    const std::size_t live = allocations::live();
    fill(this->map, {{"key", {"a", "b", ""}}});
    ASSERT_EQ(allocations::live(), live + 4);
    ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListErase, ReportsAMissingKeyAndChangesNothing)
{
    this->expect_unchanged(ENOENT, [&] { return TypeParam::erase(&this->map, "key"); });
    fill(this->map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy"}) {
        SCOPED_TRACE(key);
        this->expect_unchanged(ENOENT, [&] { return TypeParam::erase(&this->map, key); });
    }
}

TYPED_TEST(ListErase, LetsTheKeyBeMadeAnew)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(TypeParam::erase(&this->map, "a"), 0);
    fill(this->map, {{"a", {"2"}}});
    EXPECT_EQ(this->content(), (Content{{"b", {"1"}}, {"a", {"2"}}}));
}

// Each order in which three values, or three keys that share a bucket, can go: first, middle and
// last. A new one is appended after each step, which shows a wrong tail.
template <class Family>
class ListUnlinking : public ListTest<Family> {
  protected:
    template <class Remove>
    void take_values(Remove remove)
    {
        Values order{"a", "b", "c"};
        do {
            Values expected{"a", "b", "c"};
            fill(this->map, {{"key", expected}});
            for (const std::string &value : order) {
                SCOPED_TRACE(testing::PrintToString(order) + " without " + value);
                const auto gone = std::find(expected.begin(), expected.end(), value);
                ASSERT_EQ(remove(value, static_cast<uint32_t>(gone - expected.begin())), 0);
                expected.erase(gone);
                EXPECT_EQ(this->content(), (Content{{"key", expected}}));
                expected.push_back("after " + value);
                ASSERT_EQ(insert(this->map, "key", expected.back()), 0);
                EXPECT_EQ(this->content(), (Content{{"key", expected}}));
            }
            ASSERT_EQ(Family::clear(&this->map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }

    template <class Remove>
    void take_keys(Remove remove)
    {
        ASSERT_EQ(Family::sethashsize(&this->map, 1), 0);
        Values order{"a", "b", "c"};
        do {
            Content expected{{"a", {"1"}}, {"b", {"1"}}, {"c", {"1"}}};
            fill(this->map, expected);
            for (const std::string &key : order) {
                SCOPED_TRACE(testing::PrintToString(order) + " without " + key);
                ASSERT_EQ(remove(key.c_str()), 0);
                expected.erase(std::find(expected.begin(), expected.end(), KeyValues{key, {"1"}}));
                EXPECT_EQ(this->content(), expected);
                expected.push_back({"after " + key, {"2"}});
                ASSERT_EQ(insert(this->map, expected.back().first.c_str(), "2"), 0);
                EXPECT_EQ(this->content(), expected);
            }
            ASSERT_EQ(Family::clear(&this->map), 0);
        } while (std::next_permutation(order.begin(), order.end()));
    }
};

TYPED_TEST_SUITE(ListUnlinking, ListFamilies, TypeName);

TYPED_TEST(ListUnlinking, DeleteTakesValuesOutInAnyOrder)
{
    this->take_values(
        [&](const std::string &value, uint32_t) { return delete_value(this->map, "key", value); });
}

TYPED_TEST(ListUnlinking, RemoveTakesValuesOutInAnyOrder)
{
    this->take_values([&](const std::string &, uint32_t index) {
        return TypeParam::remove(&this->map, "key", index);
    });
}

TYPED_TEST(ListUnlinking, DeleteOfTheLastValueTakesKeysOutInAnyOrder)
{
    this->take_keys([&](const char *key) { return delete_value(this->map, key, "1"); });
}

TYPED_TEST(ListUnlinking, RemoveOfTheLastValueTakesKeysOutInAnyOrder)
{
    this->take_keys([&](const char *key) { return TypeParam::remove(&this->map, key, 0); });
}

TYPED_TEST(ListUnlinking, EraseTakesKeysOutInAnyOrder)
{
    this->take_keys([&](const char *key) { return TypeParam::erase(&this->map, key); });
}

TYPED_TEST(ListUnlinking, OfTheOnlyKeyLeavesTheBucketAsItWas)
{
    const auto before = state_of(this->map);
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(delete_value(this->map, "key", "value"), 0);
    EXPECT_EQ(state_of(this->map), before);
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::remove(&this->map, "key", 0), 0);
    EXPECT_EQ(state_of(this->map), before);
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
    EXPECT_EQ(state_of(this->map), before);
}

template <class Family>
class ListIndex : public ListTest<Family> {
  protected:
    void expect_cleared(const char *key, uint32_t index)
    {
        SCOPED_TRACE(key + " "s + std::to_string(index));
        const void *data = "untouched";
        uint32_t len = 77;
        this->expect_unchanged(ENOENT,
                               [&] { return Family::index(&this->map, key, index, &data, &len); });
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(len, 0U);
    }
};

TYPED_TEST_SUITE(ListIndex, ListFamilies, TypeName);

TYPED_TEST(ListIndex, PointsIntoTheContainer)
{
    fill(this->map, {{"key", {"a", "bc", "def"}}});
    const auto *value = TypeParam::entry(&this->map, "key")->values.first;
    for (uint32_t i = 0; i < 3; ++i, value = value->next) {
        const void *data = nullptr;
        uint32_t len = 77;
        ASSERT_EQ(TypeParam::index(&this->map, "key", i, &data, &len), 0);
        EXPECT_EQ(data, value->data);
        EXPECT_EQ(len, i + 1);
    }
}

TYPED_TEST(ListIndex, TakesNullForEitherOutput)
{
    const void *data = "untouched";
    uint32_t len = 77;
    fill(this->map, {{"key", {"a", "bcd"}}});
    EXPECT_EQ(TypeParam::index(&this->map, "key", 1, nullptr, nullptr), 0);
    EXPECT_EQ(TypeParam::index(&this->map, "key", 1, &data, nullptr), 0);
    EXPECT_EQ(data, TypeParam::value(&this->map, "key", "bcd", 3)->data);
    EXPECT_EQ(TypeParam::index(&this->map, "key", 1, nullptr, &len), 0);
    EXPECT_EQ(len, 3U);
    EXPECT_EQ(TypeParam::index(&this->map, "key", 2, nullptr, nullptr), ENOENT);
    EXPECT_EQ(TypeParam::index(&this->map, "missing", 0, nullptr, nullptr), ENOENT);
    EXPECT_EQ(TypeParam::index(&this->map, "missing", 0, &data, nullptr), ENOENT);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(TypeParam::index(&this->map, "missing", 0, nullptr, &len), ENOENT);
    EXPECT_EQ(len, 0U);
}

TYPED_TEST(ListIndex, ClearsTheOutputsForAMissingKey)
{
    this->expect_cleared("key", 0);
    fill(this->map, {{"key", {"a"}}});
    this->expect_cleared("KEY", 0);
    this->expect_cleared("", 0);
}

TYPED_TEST(ListIndex, ClearsTheOutputsForAPositionBehindTheLast)
{
    fill(this->map, {{"key", {"a", "b"}}});
    for (const uint32_t index : {2U, 3U, 0x80000000U, UINT32_MAX}) {
        this->expect_cleared("key", index);
    }
}

TYPED_TEST(ListIndex, LeavesTheOutputsForBadArguments)
{
    const void *data = "untouched";
    const void *const before = data;
    uint32_t len = 77;
    fill(this->map, {{"key", {"a"}}});
    EXPECT_EQ(TypeParam::index(nullptr, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(TypeParam::index(&this->map, nullptr, 0, &data, &len), EINVAL);
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::index(&this->map, "key", 0, &data, &len), EINVAL);
    EXPECT_EQ(data, before);
    EXPECT_EQ(len, 77U);
}

TYPED_TEST(ListIndex, GivesPointersThatLastWhileOtherKeysAndValuesComeAndGo)
{
    fill(this->map, {{"key", {"a", "value", "c"}}});
    const void *data = nullptr;
    ASSERT_EQ(TypeParam::index(&this->map, "key", 1, &data, nullptr), 0);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(insert(this->map, std::to_string(i).c_str(), "v"), 0);
        ASSERT_EQ(insert(this->map, "key", std::to_string(i)), 0);
    }
    for (int i = 0; i < 100; i += 2) {
        ASSERT_EQ(TypeParam::erase(&this->map, std::to_string(i).c_str()), 0);
        ASSERT_EQ(delete_value(this->map, "key", std::to_string(i)), 0);
    }
    ASSERT_EQ(TypeParam::remove(&this->map, "key", 0), 0);
    EXPECT_EQ(std::memcmp(data, "value", 5), 0);
    EXPECT_EQ(stored_text(this->map, "key", 0), data);
}

template <class Family>
class ListHaskey : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListHaskey, ListFamilies, TypeName);

TYPED_TEST(ListHaskey, TellsWhetherTheKeyIsThere)
{
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 0);
    fill(this->map, {{"key", {"a", "b"}}});
    EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 1);
    EXPECT_EQ(TypeParam::haskey(&this->map, "KEY"), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, ""), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "other"), 0);
}

TYPED_TEST(ListHaskey, DoesNotLookAtTheKeyInAnEmptyContainer)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    EXPECT_EQ(hashed_during([&] { EXPECT_EQ(TypeParam::haskey(&this->map, "key"), 0); }), Keys{});
}

TYPED_TEST(ListHaskey, IsFalseForNullsAndReleasedContainers)
{
    EXPECT_EQ(TypeParam::haskey(nullptr, "key"), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, nullptr), 0);
    fill(this->map, {{"key", {"value"}}});
    this->expect_unchanged(0, [&] { return TypeParam::haskey(&this->map, nullptr); });
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(0, [&] { return TypeParam::haskey(&this->map, "key"); });
}

template <class Family>
class ListClear : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListClear, ListFamilies, TypeName);

TYPED_TEST(ListClear, RemovesEverythingAndKeepsSettingsAndBuckets)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 8), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 100), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 200), 0);
    const auto before = state_of(this->map);
    const std::size_t live = allocations::live();
    for (std::size_t i = 0; i < 50; ++i) {
        fill(this->map, {{std::string(i, 'k'), {"1", "2", ""}}});
    }
    EXPECT_EQ(allocations::live(), live + 200);
    EXPECT_EQ(TypeParam::clear(&this->map), 0);
    EXPECT_EQ(state_of(this->map), before);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListClear, OfAnEmptyContainerDoesNothing)
{
    this->expect_unchanged(0, [&] { return TypeParam::clear(&this->map); });
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::clear(&this->map), 0);
    this->expect_unchanged(0, [&] { return TypeParam::clear(&this->map); });
}

TYPED_TEST(ListClear, LooksAtNoBucketWithoutKeys)
{
    fill(this->map, {{"key", {"value"}}});
    const walker::Pause pause;
    for (const int count : {0, -1, INT_MIN}) {
        this->map.numkeys = count;
        EXPECT_EQ(TypeParam::clear(&this->map), 0);
        EXPECT_EQ(this->map.numkeys, count);
    }
    this->map.numkeys = 1;
    EXPECT_EQ(this->content(), (Content{{"key", {"value"}}}));
}

TYPED_TEST(ListClear, RefusesNullAndReleasedContainers)
{
    EXPECT_EQ(TypeParam::clear(nullptr), EINVAL);
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::clear(&this->map); });
}

TYPED_TEST(ListClear, LeavesAContainerThatCanBeFilledAgain)
{
    fill(this->map, {{"key", {"a", "b"}}});
    ASSERT_EQ(TypeParam::clear(&this->map), 0);
    fill(this->map, {{"key", {"b", "a"}}});
    EXPECT_EQ(values_of(this->map, "key"), (Values{"b", "a"}));
}

TYPED_TEST(ListClear, AsksNoHash)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_all_to_zero>), 0);
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    EXPECT_EQ(hashed_during([&] { EXPECT_EQ(TypeParam::clear(&this->map), 0); }), Keys{});
}

template <class Family>
class ListDestroy : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListDestroy, ListFamilies, TypeName);

TYPED_TEST(ListDestroy, ReleasesTheRecordAndKeepsLimitsAndCasekeys)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 9), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 11), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    fill(this->map, {{"key", {"a", "b"}}});
    EXPECT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(this->map.buckets, nullptr);
    EXPECT_EQ(this->map.hashsize, 0U);
    EXPECT_EQ(this->map.hashfunc, nullptr);
    EXPECT_EQ(this->map.numkeys, 0);
    EXPECT_EQ(this->map.numvalues, 0);
    EXPECT_EQ(this->map.maxkeys, 9);
    EXPECT_EQ(this->map.maxvalues, 11);
    EXPECT_EQ(this->map.casekeys, 1U);
}

TYPED_TEST(ListDestroy, FreesKeysValuesAndBuckets)
{
    typename TypeParam::Container other;
    const std::size_t live = allocations::live();
    ASSERT_EQ(TypeParam::init(&other), 0);
    for (int i = 0; i < 100; ++i) {
        fill(other, {{std::to_string(i), {"1", "2"}}});
    }
    EXPECT_EQ(allocations::live(), live + 301);
    EXPECT_EQ(TypeParam::destroy(&other), 0);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListDestroy, RefusesAReleasedContainer)
{
    fill(this->map, {{"key", {"value"}}});
    EXPECT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::destroy(&this->map); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::destroy(&this->map); });
}

TYPED_TEST(ListDestroy, RefusesNull)
{
    EXPECT_EQ(TypeParam::destroy(nullptr), EINVAL);
}

TYPED_TEST(ListDestroy, MayBeFollowedByInit)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    ASSERT_EQ(TypeParam::init(&this->map), 0);
    EXPECT_EQ(this->map.maxkeys, -1);
    EXPECT_EQ(this->map.maxvalues, -1);
    EXPECT_EQ(this->map.casekeys, 0U);
    fill(this->map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(this->map, "key"), (Values{"a", "b"}));
}

// One key of three spellings.
template <class Family>
class ListCaseInsensitive : public ListTest<Family> {
  protected:
    ListCaseInsensitive()
    {
        EXPECT_EQ(Family::setcasekeys(&this->map, 1), 0);
    }
};

TYPED_TEST_SUITE(ListCaseInsensitive, ListFamilies, TypeName);

TYPED_TEST(ListCaseInsensitive, InsertAddsToTheKeyAndKeepsItsFirstSpelling)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2"}}, {"key", {"3"}}});
    EXPECT_EQ(this->content(), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(this->map.numkeys, 1);
}

TYPED_TEST(ListCaseInsensitive, InsertNeedsNoRoomForAnotherSpelling)
{
    fill(this->map, {{"Key", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    EXPECT_EQ(insert(this->map, "KEY", "2"), 0);
    this->expect_unchanged(1, [&] { return insert(this->map, "other", "1"); });
}

TYPED_TEST(ListCaseInsensitive, ValuesStillDifferByCase)
{
    fill(this->map, {{"Key", {"value", "VALUE"}}});
    this->expect_unchanged(ENOENT, [&] { return delete_value(this->map, "KEY", "Value"); });
    ASSERT_EQ(delete_value(this->map, "KEY", "value"), 0);
    EXPECT_EQ(values_of(this->map, "key"), Values{"VALUE"});
}

TYPED_TEST(ListCaseInsensitive, EveryCallFindsAnySpelling)
{
    fill(this->map, {{"Key", {"1", "2", "3", "4"}}});
    EXPECT_EQ(TypeParam::haskey(&this->map, "kEY"), 1);
    EXPECT_EQ(values_of(this->map, "KEY"), (Values{"1", "2", "3", "4"}));
    EXPECT_EQ(delete_value(this->map, "KEY", "2"), 0);
    EXPECT_EQ(TypeParam::remove(&this->map, "kEY", 0), 0);
    EXPECT_EQ(this->content(), (Content{{"Key", {"3", "4"}}}));
    EXPECT_EQ(TypeParam::erase(&this->map, "keY"), 0);
    EXPECT_EQ(this->map.numkeys, 0);
}

TYPED_TEST(ListCaseInsensitive, AKeyMadeAnewTakesTheNewSpelling)
{
    fill(this->map, {{"Key", {"1"}}});
    ASSERT_EQ(delete_value(this->map, "key", "1"), 0);
    fill(this->map, {{"KEY", {"1"}}});
    EXPECT_EQ(this->content(), (Content{{"KEY", {"1"}}}));
}

TYPED_TEST(ListCaseInsensitive, SpellingsThatACallersHashPartsAreDifferentKeys)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 128), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"Key", {"1"}}, {"key", {"1"}}, {"KEY", {"2"}}});
    EXPECT_EQ(this->content(), (Content{{"Key", {"1", "2"}}, {"key", {"1"}}}));
}

// Arguments that lie inside the container, in the very node that the call frees where it frees one.
template <class Family>
class ListAliasing : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListAliasing, ListFamilies, TypeName);

TYPED_TEST(ListAliasing, InsertTakesAKeysTextAsItsOwnValue)
{
    fill(this->map, {{"key", {"value"}}});
    const char *key = stored_key(this->map, "key");
    ASSERT_EQ(TypeParam::insert(&this->map, key, key, 4), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"value", "key\0"s}));
}

TYPED_TEST(ListAliasing, InsertTakesAValuesTextAsANewKeyThatHoldsIt)
{
    fill(this->map, {{"key", {"value\0"s}}});
    const char *text = stored_text(this->map, "key", 0);
    ASSERT_EQ(TypeParam::insert(&this->map, text, text, 5), 0);
    EXPECT_EQ(values_of(this->map, "value"), Values{"value"});
    EXPECT_EQ(values_of(this->map, "key"), Values{"value\0"s});
}

TYPED_TEST(ListAliasing, InsertCopiesAValueToAnotherKey)
{
    fill(this->map, {{"key", {"value"}}});
    ASSERT_EQ(TypeParam::insert(&this->map, "other", stored_text(this->map, "key", 0), 5), 0);
    EXPECT_NE(stored_text(this->map, "other", 0), stored_text(this->map, "key", 0));
    ASSERT_EQ(TypeParam::erase(&this->map, "key"), 0);
    EXPECT_EQ(values_of(this->map, "other"), Values{"value"});
}

TYPED_TEST(ListAliasing, InsertTakesAPartOfAValueUnderItsOwnKey)
{
    fill(this->map, {{"key", {"value"}}});
    const char *text = stored_text(this->map, "key", 0);
    ASSERT_EQ(TypeParam::insert(&this->map, stored_key(this->map, "key"), text + 1, 3), 0);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"value", "alu"}));
}

TYPED_TEST(ListAliasing, IndexAndHaskeyTakeAKeyOfTheContainer)
{
    fill(this->map, {{"key", {"a", "b"}}});
    EXPECT_EQ(values_of(this->map, stored_key(this->map, "key")), (Values{"a", "b"}));
    EXPECT_EQ(TypeParam::haskey(&this->map, stored_key(this->map, "key")), 1);
}

TYPED_TEST(ListAliasing, DeleteTakesTheBytesOfTheValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values left{"a", "b", "c"};
        fill(this->map, {{"key", left}});
        left.erase(left.begin() + index);
        const char *text = stored_text(this->map, "key", index);
        ASSERT_EQ(TypeParam::delete_bytes(&this->map, stored_key(this->map, "key"), text, 1), 0);
        EXPECT_EQ(this->content(), (Content{{"key", left}}));
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
    }
}

TYPED_TEST(ListAliasing, DeleteTakesKeyAndValueThatGoTogether)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"a", {"1"}}, {"key", {"value"}}, {"z", {"1"}}});
    const char *key = stored_key(this->map, "key");
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, key, stored_text(this->map, "key", 0), 5), 0);
    EXPECT_EQ(this->content(), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TYPED_TEST(ListAliasing, DeleteTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(this->map, {{"key", {"key\0"s, "other"}}});
    const char *text = stored_text(this->map, "key", 0);
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, text, text, 4), 0);
    EXPECT_EQ(this->content(), (Content{{"key", {"other"}}}));
}

TYPED_TEST(ListAliasing, DeleteTakesAKeyThatLiesInTheOnlyValue)
{
    fill(this->map, {{"key", {"key\0"s}}});
    const char *text = stored_text(this->map, "key", 0);
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, text, text, 4), 0);
    EXPECT_EQ(this->content(), Content{});
}

TYPED_TEST(ListAliasing, DeleteTakesAValueThatLiesInTheKeyThatGoes)
{
    fill(this->map, {{"key", {"key"}}});
    const char *key = stored_key(this->map, "key");
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, key, key, 3), 0);
    EXPECT_EQ(this->content(), Content{});
}

TYPED_TEST(ListAliasing, DeleteTakesAPartOfAValueThatStays)
{
    fill(this->map, {{"key", {"alu", "value"}}});
    ASSERT_EQ(TypeParam::delete_bytes(&this->map, "key", stored_text(this->map, "key", 1) + 1, 3),
              0);
    EXPECT_EQ(this->content(), (Content{{"key", {"value"}}}));
}

TYPED_TEST(ListAliasing, RemoveTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"a", {"1"}}, {"key", {"1", "2"}}, {"z", {"1"}}});
    ASSERT_EQ(TypeParam::remove(&this->map, stored_key(this->map, "key"), 1), 0);
    ASSERT_EQ(TypeParam::remove(&this->map, stored_key(this->map, "key"), 0), 0);
    EXPECT_EQ(this->content(), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TYPED_TEST(ListAliasing, RemoveTakesAKeyThatLiesInTheValueThatGoes)
{
    fill(this->map, {{"key", {"other", "key\0"s}}});
    ASSERT_EQ(TypeParam::remove(&this->map, stored_text(this->map, "key", 1), 1), 0);
    EXPECT_EQ(this->content(), (Content{{"key", {"other"}}}));
    fill(this->map, {{"one", {"one\0"s}}});
    ASSERT_EQ(TypeParam::remove(&this->map, stored_text(this->map, "one", 0), 0), 0);
    EXPECT_EQ(this->content(), (Content{{"key", {"other"}}}));
}

TYPED_TEST(ListAliasing, EraseTakesTheTextOfTheKeyThatGoes)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"a", {"1"}}, {"key", {"1", "2", "3"}}, {"z", {"1"}}});
    ASSERT_EQ(TypeParam::erase(&this->map, stored_key(this->map, "key")), 0);
    EXPECT_EQ(this->content(), (Content{{"a", {"1"}}, {"z", {"1"}}}));
}

TYPED_TEST(ListAliasing, EraseTakesAKeyThatLiesInAValueThatGoes)
{
    for (uint32_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        Values values{"1", "2"};
        values.insert(values.begin() + index, "key\0"s);
        fill(this->map, {{"key", values}, {"other", {"1"}}});
        ASSERT_EQ(TypeParam::erase(&this->map, stored_text(this->map, "key", index)), 0);
        EXPECT_EQ(this->content(), (Content{{"other", {"1"}}}));
        ASSERT_EQ(TypeParam::clear(&this->map), 0);
    }
}

template <class Family>
class ListHashlist : public ListTest<Family> {
  protected:
    uint32_t bucket_of(const char *key)
    {
        return static_cast<uint32_t>(Family::hashlist(&this->map, key) - this->map.buckets);
    }
};

TYPED_TEST_SUITE(ListHashlist, ListFamilies, TypeName);

TYPED_TEST(ListHashlist, MasksTheBuiltInHash)
{
    EXPECT_EQ(this->bucket_of(""), 0U);
    EXPECT_EQ(this->bucket_of("A"), 65U % 32);
    EXPECT_EQ(this->bucket_of("AB"), (65U * 31 + 66) % 32);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1024), 0);
    EXPECT_EQ(this->bucket_of("AB"), (65U * 31 + 66) % 1024);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    EXPECT_EQ(this->bucket_of("AB"), 0U);
}

TYPED_TEST(ListHashlist, FoldsCaseWhateverCasekeysSays)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 4096), 0);
    for (const uint32_t casekeys : {0U, 1U}) {
        ASSERT_EQ(TypeParam::setcasekeys(&this->map, casekeys), 0);
        EXPECT_EQ(this->bucket_of("kEy"), 0x0001223FU % 4096);
        EXPECT_EQ(this->bucket_of("KEY"), this->bucket_of("key"));
        EXPECT_EQ(this->bucket_of("{"), 0x7BU);
        EXPECT_EQ(this->bucket_of("["), 0x5BU);
    }
}

TYPED_TEST(ListHashlist, CountsBytesAbove0x7FAsNegative)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 4096), 0);
    EXPECT_EQ(this->bucket_of("\377"), 0xFFFFFFFFU % 4096);
    EXPECT_EQ(this->bucket_of("\351"), 0xFFFFFFE9U % 4096);
    EXPECT_EQ(this->bucket_of("\200"), 0xFFFFFF80U % 4096);
    EXPECT_EQ(this->bucket_of("\377A"), (0xFFFFFFFFU * 31 + 65) % 4096);
}

TYPED_TEST(ListHashlist, MasksTheCallersHash)
{
    ASSERT_EQ(
        TypeParam::sethashfunc(&this->map, [](const void *, const char *) { return UINT32_MAX; }),
        0);
    EXPECT_EQ(this->bucket_of("key"), 31U);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 4), 0);
    EXPECT_EQ(this->bucket_of("key"), 3U);
}

TYPED_TEST(ListHashlist, GivesTheCallersHashTheContainerAndTheKey)
{
    static const void *container;
    static const char *asked;
    ASSERT_EQ(TypeParam::sethashfunc(&this->map,
                                     [](const void *record, const char *text) {
                                         container = record;
                                         asked = text;
                                         return 5U;
                                     }),
              0);
    const char key[] = "key";
    EXPECT_EQ(this->bucket_of(key), 5U);
    EXPECT_EQ(container, &this->map);
    EXPECT_EQ(asked, key);
}

template <class Family>
class ListKeycmp : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListKeycmp, ListFamilies, TypeName);

TYPED_TEST(ListKeycmp, OrdersAsStrcmp)
{
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "key", "key")), 0);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "a", "b")), -1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "b", "a")), 1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "", "a")), -1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "a", "aa")), -1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "a", "B")), 1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "key", "KEY")), 1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "\377", "a")), 1);
}

TYPED_TEST(ListKeycmp, OrdersAsStrcasecmpOnceCasekeysIsSet)
{
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "key", "KEY")), 0);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "KeY", "kEy")), 0);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "a", "B")), -1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "B", "a")), 1);
    EXPECT_EQ(sign(TypeParam::keycmp(&this->map, "a", "AA")), -1);
    EXPECT_NE(sign(TypeParam::keycmp(&this->map, "{", "[")), 0);
}

template <class Family>
class ListEntry : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListEntry, ListFamilies, TypeName);

TYPED_TEST(ListEntry, IsTheNodeOfTheKeyWhereverItStandsInItsBucket)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    fill(this->map, {{"one", {"1"}}, {"two", {"1", "2"}}, {"three", {"1", "2", "3"}}});
    const void *link = this->map.buckets[0].first;
    for (const char *key : {"one", "two", "three"}) {
        const auto *node = TypeParam::entry(&this->map, key);
        ASSERT_NE(node, nullptr) << key;
        EXPECT_EQ(node, link);
        EXPECT_STREQ(node->key, key);
        link = node->next;
    }
}

TYPED_TEST(ListEntry, IsNullForAMissingKey)
{
    EXPECT_EQ(TypeParam::entry(&this->map, "key"), nullptr);
    fill(this->map, {{"key", {"value"}}});
    EXPECT_EQ(TypeParam::entry(&this->map, "KEY"), nullptr);
    EXPECT_EQ(TypeParam::entry(&this->map, "value"), nullptr);
}

TYPED_TEST(ListEntry, IsFoundByAnySpellingOnceCasekeysIsSet)
{
    fill(this->map, {{"Key", {"value"}}});
    const auto *node = TypeParam::entry(&this->map, "Key");
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::entry(&this->map, "kEY"), node);
}

template <class Family>
class ListValue : public ListTest<Family> {
};

TYPED_TEST_SUITE(ListValue, ListFamilies, TypeName);

TYPED_TEST(ListValue, IsTheNodeOfTheBytesUnderTheKey)
{
    fill(this->map, {{"key", {"a", "ab", "a\0"s}}, {"other", {"ab"}}});
    const auto *first = TypeParam::entry(&this->map, "key")->values.first;
    EXPECT_EQ(TypeParam::value(&this->map, "key", "a", 1), first);
    EXPECT_EQ(TypeParam::value(&this->map, "key", "ab", 2), first->next);
    EXPECT_EQ(TypeParam::value(&this->map, "key", "a", 2), first->next->next);
    EXPECT_EQ(TypeParam::value(&this->map, "other", "ab", 2),
              TypeParam::entry(&this->map, "other")->values.first);
}

TYPED_TEST(ListValue, IsNullForAMissingKeyOrValue)
{
    EXPECT_EQ(TypeParam::value(&this->map, "key", "a", 1), nullptr);
    fill(this->map, {{"key", {"a"}}, {"other", {"b"}}});
    EXPECT_EQ(TypeParam::value(&this->map, "missing", "a", 1), nullptr);
    EXPECT_EQ(TypeParam::value(&this->map, "key", "b", 1), nullptr);
    EXPECT_EQ(TypeParam::value(&this->map, "key", "a", 0), nullptr);
    EXPECT_EQ(TypeParam::value(&this->map, "key", "a", 2), nullptr);
}
