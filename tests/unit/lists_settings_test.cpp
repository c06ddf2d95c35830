// The settings of both families that keep lists of values.
#include "list_settings.hpp"

#include <cstddef>

namespace {

template <class Container>
struct Seeded {
    Container map;
    uint32_t seed;
};

template <class Container>
uint32_t seeded_hash(const void *container, const char *key)
{
    return static_cast<const Seeded<Container> *>(container)->seed + hash_length(container, key);
}

template <class Rebuild>
class ListRebuild : public ListSettingsTest<Rebuild> {
};

template <class Family>
class ListSetHashSize : public ListSettingsTest<Family> {
};

template <class Family>
class ListSetHashFunc : public ListSettingsTest<Family> {
};

template <class Family>
class ListHashFunction : public ListSettingsTest<Family> {
};

template <class Family>
class ListSetCaseKeys : public ListSettingsTest<Family> {
};

template <class Family>
class ListSetMaxKeys : public ListSettingsTest<Family> {
};

template <class Family>
class ListSetMaxValues : public ListSettingsTest<Family> {
};

using Rebuilds = RebuildsOf<MultimapFamily, ArraymapFamily>;

} // namespace

TYPED_TEST_SUITE(ListRebuild, Rebuilds, RebuildName);
TYPED_TEST_SUITE(ListSetHashSize, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSetHashFunc, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListHashFunction, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSetCaseKeys, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSetMaxKeys, ListFamilies, TypeName);
TYPED_TEST_SUITE(ListSetMaxValues, ListFamilies, TypeName);

TYPED_TEST(ListRebuild, KeepsEveryKeyAndValueReachable)
{
    this->insert_numbered(200);
    const Content before = content_of(this->map);
    ASSERT_EQ(before.size(), 200U);
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(this->map.numkeys, 200);
    EXPECT_EQ(this->map.numvalues, 399);
    for (const auto &[key, values] : before) {
        EXPECT_EQ(values_of(this->map, key.c_str()), values) << key;
    }
}

TYPED_TEST(ListRebuild, KeepsAMergedKeyAsItIs)
{
    fill(this->map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 0), 0);
    ASSERT_EQ(content_of(this->map), (Content{{"Key", {"1", "2", "3"}}}));
    const auto before = this->nodes();
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(this->nodes(), before);
}

TYPED_TEST(ListRebuild, MovesNoKeyAndNoValueInMemory)
{
    this->insert_numbered(100);
    const auto before = this->sorted_nodes();
    const char *key = stored_key(this->map, "7919");
    const char *text = stored_text(this->map, "7919", 1);
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(this->sorted_nodes(), before);
    EXPECT_EQ(stored_key(this->map, "7919"), key);
    EXPECT_STREQ(key, "7919");
    EXPECT_EQ(stored_text(this->map, "7919", 1), text);
    EXPECT_EQ(*text, '2');
}

TYPED_TEST(ListRebuild, FillsEachBucketInTheOldIterationOrder)
{
    this->insert_numbered(200);
    const auto before = this->nodes();
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    std::vector<std::vector<typename TestFixture::Key>> expected(this->map.hashsize);
    for (const auto &node : before) {
        expected[this->bucket_of(this->map, node.key.c_str())].push_back(node);
    }
    EXPECT_EQ(state_of(this->map).chains, expected);
}

TYPED_TEST(ListRebuild, LeavesAContainerThatCanBeChanged)
{
    this->insert_numbered(50);
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    ASSERT_EQ(insert(this->map, "new", "v"), 0);
    ASSERT_EQ(insert(this->map, "7919", "last"), 0);
    EXPECT_EQ(state_of(this->map).chains.at(this->bucket_of(this->map, "new")).back().key, "new");
    EXPECT_EQ(values_of(this->map, "7919"), (Values{"1", "2", "last"}));
    for (const auto &[key, values] : content_of(this->map)) {
        ASSERT_EQ(TypeParam::remove(&this->map, key.c_str(), 0), 0);
        EXPECT_EQ(values_of(this->map, key.c_str()), Values(values.begin() + 1, values.end()));
    }
}

TYPED_TEST(ListRebuild, KeepsMoreKeysAndValuesThanTheLimitsAdmit)
{
    this->insert_numbered(20);
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 20), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, this->map.numvalues), 0);
    const int32_t values = this->map.numvalues;
    EXPECT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(state_of(this->map).numkeys, 20);
    EXPECT_EQ(this->map.numvalues, values);
    EXPECT_EQ(this->map.maxkeys, 20);
    EXPECT_EQ(this->map.maxvalues, values);
}

TYPED_TEST(ListRebuild, AllocatesNothingButABucketArray)
{
    this->insert_numbered(20);
    std::vector<std::size_t> sizes;
    {
        allocations::Log log;
        ASSERT_EQ(TypeParam::call(&this->map), 0);
        sizes = log.sizes();
    }
    EXPECT_EQ(sizes, TypeParam::allocates
                         ? std::vector<std::size_t>{this->map.hashsize * sizeof(map_bucket_t)}
                         : std::vector<std::size_t>{});
}

TYPED_TEST(ListRebuild, FreesNothingButTheOldBucketArray)
{
    this->insert_numbered(20);
    const std::size_t live = allocations::live();
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(allocations::live(), live);
}

TYPED_TEST(ListRebuild, WithoutMemoryFailsOnlyIfItNeedsABucketArray)
{
    this->insert_numbered(20);
    for (const auto how : {allocations::Failure::once, allocations::Failure::for_good}) {
        const auto call = [&] {
            allocations::Failure no_memory(0, how);
            return TypeParam::call(&this->map);
        };
        if (TypeParam::allocates) {
            this->expect_unchanged(ENOMEM, call);
        } else {
            EXPECT_EQ(call(), 0);
        }
    }
    EXPECT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(state_of(this->map).numkeys, 20);
}

TYPED_TEST(ListRebuild, HashesEachKeyOnceHoweverManyValuesItHas)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    fill(this->map, {{"c", {"1", "2", "3"}}, {"a", {"1"}}, {"b", {"1", "2"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::call(&this->map), 0);
    if (this->map.hashfunc == recorded<hash_first_byte>) {
        EXPECT_EQ(hashed_keys(), (Keys{"a", "b", "c"}));
        EXPECT_EQ(hashed_for(&this->map), hashed_keys());
    } else {
        EXPECT_EQ(hashed_keys(), Keys{});
    }
}

TYPED_TEST(ListRebuild, OfAnEmptyContainerGivesAnEmptyContainer)
{
    EXPECT_EQ(TypeParam::call(&this->map), 0);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(insert(this->map, "a", "v"), 0);
    EXPECT_EQ(values_of(this->map, "a"), Values{"v"});
}

TYPED_TEST(ListRebuild, RefusesANullContainer)
{
    EXPECT_EQ(TypeParam::call(nullptr), EINVAL);
}

TYPED_TEST(ListSetHashSize, RefusesASizeThatIsNoPowerOfTwo)
{
    fill(this->map, {{"b", {"1", "2"}}, {"a", {"1"}}});
    for (uint32_t size : {0U, 3U, 31U, 33U, 48U, 100U, 0x80000001U, 0xc0000000U, UINT32_MAX}) {
        SCOPED_TRACE(size);
        this->expect_unchanged(EINVAL, [&] { return TypeParam::sethashsize(&this->map, size); });
        EXPECT_EQ(TypeParam::sethashsize(nullptr, size), EINVAL);
    }
}

TYPED_TEST(ListSetHashSize, RefusesANullContainerWithAnySize)
{
    EXPECT_EQ(TypeParam::sethashsize(nullptr, 32), EINVAL);
    EXPECT_EQ(TypeParam::sethashsize(nullptr, 0x80000000U), EINVAL);
}

TYPED_TEST(ListSetHashSize, OfThePresentSizeNeitherRebuildsNorAllocates)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    fill(this->map, {{"b", {"1"}}, {"a", {"1"}}});
    this->expect_no_rebuild([&] { return TypeParam::sethashsize(&this->map, 32); });
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    this->expect_no_rebuild([&] { return TypeParam::sethashsize(&this->map, 64); });
}

TYPED_TEST(ListSetHashSize, StoresTheSizeAndSpreadsTheKeysOverIt)
{
    fill(this->map, {{"a", {"1"}}, {"!", {"1"}}, {"b", {"1"}}});
    ASSERT_EQ(keys_of(this->map), (Keys{"a", "!", "b"}));
    EXPECT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    EXPECT_EQ(this->map.hashsize, 64U);
    EXPECT_EQ(this->bucket_of(this->map, "a"), 1U);
    EXPECT_EQ(this->bucket_of(this->map, "b"), 2U);
    EXPECT_EQ(this->bucket_of(this->map, "!"), 33U);
    EXPECT_EQ(keys_of(this->map), (Keys{"a", "b", "!"}));
}

TYPED_TEST(ListSetHashSize, OfOneKeepsTheOldIterationOrderInOneBucket)
{
    this->insert_numbered(100);
    const Content before = content_of(this->map);
    EXPECT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    EXPECT_EQ(state_of(this->map).chains.size(), 1U);
    EXPECT_EQ(content_of(this->map), before);
}

TYPED_TEST(ListSetHashSize, IsFollowedByAnIterationOverTheSameKeys)
{
    this->insert_numbered(100);
    Keys before = keys_of(this->map);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 256), 0);
    Keys visited;
    typename TypeParam::KeyIterator iter{};
    for (const char *key = TypeParam::key_first(&this->map, &iter); key != nullptr;
         key = TypeParam::key_next(&iter)) {
        visited.emplace_back(key);
    }
    std::sort(before.begin(), before.end());
    std::sort(visited.begin(), visited.end());
    EXPECT_EQ(visited, before);
}

TYPED_TEST(ListSetHashSize, KeepsTheOtherSettings)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 10), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 20), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 8), 0);
    EXPECT_EQ(this->map.maxkeys, 10);
    EXPECT_EQ(this->map.maxvalues, 20);
    EXPECT_EQ(this->map.casekeys, 1U);
    EXPECT_EQ(this->map.hashfunc, hash_length);
}

TYPED_TEST(ListSetHashSize, BeyondTheAddressSpaceChangesNothing)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (uint32_t size : {1U << 29, 1U << 30, 1U << 31}) {
        SCOPED_TRACE(size);
        const uint64_t bytes = uint64_t{size} * sizeof(map_bucket_t);
        std::vector<std::size_t> asked_for;
        this->expect_unchanged(ENOMEM, [&] {
            allocations::Failure no_memory(0);
            allocations::Log log;
            const int result = TypeParam::sethashsize(&this->map, size);
            asked_for = log.sizes();
            return result;
        });
        // A size that does not fit must not be asked for at all: what wraps around is small enough
        // to be granted.
        EXPECT_EQ(asked_for, bytes <= SIZE_MAX
                                 ? std::vector<std::size_t>{static_cast<std::size_t>(bytes)}
                                 : std::vector<std::size_t>{});
    }
}

TYPED_TEST(ListSetHashSize, BringsADestroyedContainerBackWithItsLimitsAndCaseFlag)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 3), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 7), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);

    EXPECT_EQ(TypeParam::sethashsize(&this->map, 64), 0);
    EXPECT_EQ(this->map.hashsize, 64U);
    EXPECT_EQ(this->map.maxkeys, 3);
    EXPECT_EQ(this->map.maxvalues, 7);
    EXPECT_EQ(this->map.casekeys, 1U);
    EXPECT_EQ(this->map.hashfunc, nullptr);
    EXPECT_EQ(content_of(this->map), Content{});
    EXPECT_EQ(insert(this->map, "Key", "v"), 0);
    EXPECT_EQ(insert(this->map, "KEY", "w"), 0);
    EXPECT_EQ(insert(this->map, "b", "v"), 0);
    EXPECT_EQ(insert(this->map, "c", "v"), 1);
    EXPECT_EQ(values_of(this->map, "key"), (Values{"v", "w"}));
}

TYPED_TEST(ListSetHashSize, BringsAContainerToLifeAfterAFailedInit)
{
    typename TypeParam::Container unborn;
    {
        allocations::Failure no_memory(0);
        ASSERT_EQ(TypeParam::init(&unborn), ENOMEM);
    }
    EXPECT_EQ(TypeParam::sethashsize(&unborn, 32), 0);
    EXPECT_EQ(insert(unborn, "a", "v"), 0);
    EXPECT_EQ(content_of(unborn), (Content{{"a", {"v"}}}));
    EXPECT_EQ(TypeParam::destroy(&unborn), 0);
}

TYPED_TEST(ListSetHashSize, LeavesAReleasedContainerReleasedWhenItFails)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    this->expect_unchanged(EINVAL, [&] { return TypeParam::sethashsize(&this->map, 0); });
    this->expect_unchanged(EINVAL, [&] { return TypeParam::sethashsize(&this->map, 48); });
    this->expect_unchanged(ENOMEM, [&] {
        allocations::Failure no_memory(0);
        return TypeParam::sethashsize(&this->map, 32);
    });
    EXPECT_EQ(this->map.buckets, nullptr);
}

TYPED_TEST(ListSetHashFunc, PutsKeysWhereTheFunctionSays)
{
    fill(this->map, {{"a", {"1"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    ASSERT_EQ(this->bucket_of(this->map, "a"), 1U);
    EXPECT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    EXPECT_EQ(this->map.hashfunc, hash_first_byte);
    EXPECT_EQ(this->bucket_of(this->map, "ccc"), static_cast<std::size_t>('c') % 32);
    EXPECT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    EXPECT_EQ(this->map.hashfunc, hash_length);
    EXPECT_EQ(this->bucket_of(this->map, "bb"), 2U);
    EXPECT_EQ(this->bucket_of(this->map, "ccc"), 3U);
    EXPECT_EQ(keys_of(this->map), (Keys{"a", "bb", "ccc"}));
}

TYPED_TEST(ListSetHashFunc, OfNoneRestoresTheBuiltInBuckets)
{
    fill(this->map, {{"a", {"1", "2"}}, {"bb", {"1"}}, {"ccc", {"1"}}});
    const auto before = state_of(this->map);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    ASSERT_EQ(this->bucket_of(this->map, "bb"), 0U);
    EXPECT_EQ(TypeParam::sethashfunc(&this->map, nullptr), 0);
    EXPECT_EQ(this->map.hashfunc, nullptr);
    EXPECT_EQ(state_of(this->map), before);
    // 'B' * 31 + 'B'
    EXPECT_EQ(this->bucket_of(this->map, "bb"), 2112U % 32);
}

TYPED_TEST(ListSetHashFunc, OfThePresentFunctionDoesNotRebuild)
{
    this->expect_no_rebuild([&] { return TypeParam::sethashfunc(&this->map, nullptr); });
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    fill(this->map, {{"b", {"1"}}, {"a", {"1"}}});
    this->expect_no_rebuild(
        [&] { return TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>); });
}

TYPED_TEST(ListSetHashFunc, HashesEachKeyOnceInTheOldIterationOrder)
{
    fill(this->map, {{"c", {"1", "2"}}, {"a", {"1"}}, {"b", {"1", "2", "3"}}});
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    EXPECT_EQ(hashed_keys(), (Keys{"a", "b", "c"}));
    EXPECT_EQ(hashed_for(&this->map), hashed_keys());
}

TYPED_TEST(ListSetHashFunc, KeepsTheOtherSettings)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 10), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 20), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    auto expected = state_of(this->map);
    expected.hashfunc = hash_length;
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    EXPECT_EQ(state_of(this->map), expected);
}

TYPED_TEST(ListSetHashFunc, RefusesANullContainer)
{
    EXPECT_EQ(TypeParam::sethashfunc(nullptr, nullptr), EINVAL);
    EXPECT_EQ(TypeParam::sethashfunc(nullptr, hash_length), EINVAL);
}

TYPED_TEST(ListSetHashFunc, OfAReleasedContainerHoldsOnceItLivesAgain)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    EXPECT_EQ(this->map.hashfunc, hash_length);
    EXPECT_EQ(this->map.buckets, nullptr);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 32), 0);
    fill(this->map, {{"cccc", {"1"}}, {"d", {"1"}}});
    EXPECT_EQ(keys_of(this->map), (Keys{"d", "cccc"}));
}

TYPED_TEST(ListHashFunction, IsCalledOnceForEachCallThatTakesAKey)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    fill(this->map, {{"a", {"1", "2", "3", "4", "5"}}});
    const auto expect_hashed = [&](const char *key, const std::function<void()> &call) {
        hashings.clear();
        call();
        EXPECT_EQ(hashed_keys(), Keys{key});
        EXPECT_EQ(hashed_for(&this->map), hashed_keys());
    };
    expect_hashed("a", [&] { insert(this->map, "a", "6"); });
    expect_hashed("a", [&] { insert(this->map, "a", "6"); });
    expect_hashed("b", [&] { insert(this->map, "b", "1"); });
    expect_hashed("a", [&] { TypeParam::index(&this->map, "a", 4, nullptr, nullptr); });
    expect_hashed("a", [&] { TypeParam::haskey(&this->map, "a"); });
    expect_hashed("a", [&] { delete_value(this->map, "a", "1"); });
    expect_hashed("a", [&] { TypeParam::remove(&this->map, "a", 0); });
    expect_hashed("b", [&] { delete_value(this->map, "b", "1"); });
    expect_hashed("a", [&] { TypeParam::erase(&this->map, "a"); });
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListHashFunction, CanKeepASeedInTheRecordThatEnclosesTheContainer)
{
    Seeded<typename TypeParam::Container> records[2];
    for (auto &record : records) {
        ASSERT_EQ(TypeParam::init(&record.map), 0);
        record.seed = &record == records ? 3 : 20;
        ASSERT_EQ(TypeParam::sethashfunc(&record.map, seeded_hash<typename TypeParam::Container>),
                  0);
        ASSERT_EQ(insert(record.map, "aa", "v"), 0);
    }
    EXPECT_EQ(this->bucket_of(records[0].map, "aa"), 5U);
    EXPECT_EQ(this->bucket_of(records[1].map, "aa"), 22U);
    for (auto &record : records) {
        ASSERT_EQ(TypeParam::sethashsize(&record.map, 4), 0);
        ASSERT_EQ(TypeParam::setcasekeys(&record.map, 1), 0);
        EXPECT_EQ(values_of(record.map, "AA"), Values{"v"});
        state_of(record.map);
    }
    EXPECT_EQ(this->bucket_of(records[0].map, "aa"), 1U);
    EXPECT_EQ(this->bucket_of(records[1].map, "aa"), 2U);
    for (auto &record : records) {
        ASSERT_EQ(TypeParam::destroy(&record.map), 0);
    }
}

TYPED_TEST(ListHashFunction, IsMaskedByTheNumberOfBuckets)
{
    ASSERT_EQ(
        TypeParam::sethashfunc(&this->map, [](const void *, const char *) { return UINT32_MAX; }),
        0);
    fill(this->map, {{"a", {"1", "2"}}});
    for (uint32_t size : {1U, 2U, 32U, 256U}) {
        ASSERT_EQ(TypeParam::sethashsize(&this->map, size), 0);
        EXPECT_EQ(this->bucket_of(this->map, "a"), size - 1);
        EXPECT_EQ(values_of(this->map, "a"), (Values{"1", "2"}));
    }
}

TYPED_TEST(ListSetCaseKeys, StoresOneForAnyFlagThatIsNotZero)
{
    for (uint32_t flag : {1U, 2U, 5U, 256U, 0x80000000U, UINT32_MAX}) {
        SCOPED_TRACE(flag);
        EXPECT_EQ(TypeParam::setcasekeys(&this->map, flag), 0);
        EXPECT_EQ(this->map.casekeys, 1U);
        EXPECT_EQ(TypeParam::setcasekeys(&this->map, 0), 0);
        EXPECT_EQ(this->map.casekeys, 0U);
    }
}

TYPED_TEST(ListSetCaseKeys, MakesKeysCompareWithoutRegardToCase)
{
    fill(this->map, {{"Key", {"1"}}});
    ASSERT_EQ(TypeParam::haskey(&this->map, "kEY"), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 5), 0);
    EXPECT_EQ(TypeParam::haskey(&this->map, "kEY"), 1);
    EXPECT_EQ(insert(this->map, "KEY", "2"), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2"}}}));
}

TYPED_TEST(ListSetCaseKeys, OfThePresentFlagDoesNotRebuild)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, recorded<hash_first_byte>), 0);
    fill(this->map, {{"b", {"1"}}, {"a", {"1"}}});
    this->expect_no_rebuild([&] { return TypeParam::setcasekeys(&this->map, 0); });
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 5), 0);
    for (uint32_t flag : {1U, 5U, 7U}) {
        SCOPED_TRACE(flag);
        this->expect_no_rebuild([&] { return TypeParam::setcasekeys(&this->map, flag); });
    }
}

TYPED_TEST(ListSetCaseKeys, MergesKeysThatBecomeEqualIntoTheOneCreatedFirst)
{
    fill(this->map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2", "3"}}}));
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 3);
}

TYPED_TEST(ListSetCaseKeys, PutsTheValuesOfTheMergedKeyBehindThoseOfTheFirstInTheirOrder)
{
    fill(this->map, {{"key", {"3", "1"}}, {"KEY", {"4", "1", "2", "3", "0"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"key", {"3", "1", "4", "2", "0"}}}));
    EXPECT_EQ(this->map.numvalues, 5);
}

TYPED_TEST(ListSetCaseKeys, MergesAnyNumberOfKeysIntoTheFirst)
{
    fill(this->map, {{"kEY", {"1"}},
                     {"KEY", {"2", "1"}},
                     {"key", {"2", "3"}},
                     {"Key", {"3", "4", "1"}},
                     {"keY", {"4"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"kEY", {"1", "2", "3", "4"}}}));
    EXPECT_EQ(this->map.numkeys, 1);
    EXPECT_EQ(this->map.numvalues, 4);
}

TYPED_TEST(ListSetCaseKeys, MergesOfSeveralKeysInOneBucketEachIntoItsFirst)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_zero), 0);
    fill(this->map, {{"a", {"1"}},
                     {"B", {"1"}},
                     {"A", {"2"}},
                     {"c", {"1"}},
                     {"b", {"1"}},
                     {"C", {"2", "1"}},
                     {"d", {"1"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map),
              (Content{{"a", {"1", "2"}}, {"B", {"1"}}, {"c", {"1", "2"}}, {"d", {"1"}}}));
}

TYPED_TEST(ListSetCaseKeys, KeepsValuesApartThatDifferInLengthOrOneByte)
{
    fill(this->map, {{"Key", {"", "a\0x"s, "ab"s, "\xff"}},
                     {"KEY", {"ab\0"s, "a\0y"s, "", "a", "\x7f", "a\0x"s, "\xff"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map),
              (Content{{"Key", {"", "a\0x"s, "ab"s, "\xff", "ab\0"s, "a\0y"s, "a", "\x7f"}}}));
}

TYPED_TEST(ListSetCaseKeys, FreesMergedKeysAndTheValuesThatTheSurvivorHolds)
{
    fill(this->map, {{"Key", {"1", "2"}}, {"KEY", {"2", "3", "1"}}, {"x", {"1"}}, {"key", {"3"}}});
    const std::size_t live = allocations::live();
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    const std::size_t keys = 2;
    const std::size_t values = 3;
    EXPECT_EQ(allocations::live(), live - keys - values);
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(this->map.numvalues, 4);
}

TYPED_TEST(ListSetCaseKeys, MovesNoSurvivingKeyOrValueInMemory)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    const auto *survivor = TypeParam::entry(&this->map, "Key");
    const std::vector<const char *> texts = {stored_text(this->map, "Key", 0),
                                             stored_text(this->map, "KEY", 0),
                                             stored_text(this->map, "KEY", 2)};
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::entry(&this->map, "key"), survivor);
    EXPECT_STREQ(survivor->key, "Key");
    for (uint32_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(stored_text(this->map, "key", i), texts[i]) << i;
    }
}

TYPED_TEST(ListSetCaseKeys, LeavesAMergedListThatCanBeChanged)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(insert(this->map, "key", "4"), 0);
    EXPECT_EQ(delete_value(this->map, "key", "2"), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "3", "4"}}}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(TypeParam::remove(&this->map, "key", 0), 0);
    }
    EXPECT_EQ(content_of(this->map), Content{});
}

TYPED_TEST(ListSetCaseKeys, LetsTheFirstInIterationOrderSurviveNotTheOldest)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 256), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"key", {"1"}}, {"Key", {"2"}}});
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, nullptr), 0);
    ASSERT_EQ(keys_of(this->map), (Keys{"Key", "key"}));
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"2", "1"}}}));
}

TYPED_TEST(ListSetCaseKeys, LeavesKeysApartThatTheHashFunctionPutsIntoDifferentBuckets)
{
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 256), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_first_byte), 0);
    fill(this->map, {{"Key", {"1"}}, {"key", {"1", "2"}}, {"kEY", {"3"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1"}}, {"key", {"1", "2", "3"}}}));
    EXPECT_EQ(this->map.numkeys, 2);
    EXPECT_EQ(this->map.numvalues, 4);
    EXPECT_EQ(values_of(this->map, "KEY"), Values{"1"});
    EXPECT_EQ(values_of(this->map, "keY"), (Values{"1", "2", "3"}));
}

TYPED_TEST(ListSetCaseKeys, BackToCaseSensitiveMergesNothingAndBringsNothingBack)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}, {"x", {"1"}}, {"Y", {"1"}}});
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    auto expected = state_of(this->map);
    expected.casekeys = 0;
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 0), 0);
    EXPECT_EQ(state_of(this->map), expected);
    EXPECT_EQ(this->map.numkeys, 3);
    EXPECT_EQ(TypeParam::haskey(&this->map, "KEY"), 0);
    EXPECT_EQ(values_of(this->map, "Key"), (Values{"1", "2"}));
    EXPECT_EQ(insert(this->map, "KEY", "1"), 0);
}

TYPED_TEST(ListSetCaseKeys, FoldsOnlyTheLettersOfAscii)
{
    fill(
        this->map,
        {{"\xc9", {"1"}}, {"\xe9", {"2"}}, {"[", {"1"}}, {"{", {"2"}}, {"@", {"1"}}, {"`", {"2"}}});
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(this->map.numkeys, 6);
    EXPECT_EQ(values_of(this->map, "\xc9"), Values{"1"});
    EXPECT_EQ(values_of(this->map, "\xe9"), Values{"2"});
}

TYPED_TEST(ListSetCaseKeys, HashesEachMergedKeyOnce)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map,
                                     [](const void *container, const char *key) {
                                         recorded<hash_first_byte>(container, key);
                                         return hash_length(container, key);
                                     }),
              0);
    fill(this->map, {{"aa", {"1", "2", "3"}}, {"AA", {"1", "4", "5"}}, {"b", {"1"}}});
    hashings.clear();
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(hashed_keys(), (Keys{"b", "aa", "AA"}));
    EXPECT_EQ(hashed_for(&this->map), hashed_keys());
    EXPECT_EQ(values_of(this->map, "aA"), (Values{"1", "2", "3", "4", "5"}));
}

TYPED_TEST(ListSetCaseKeys, MergesWithoutAllocating)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"1", "2"}}});
    {
        allocations::Failure no_memory(0);
        EXPECT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
        EXPECT_FALSE(no_memory.happened());
    }
    EXPECT_EQ(content_of(this->map), (Content{{"Key", {"1", "2"}}}));
}

TYPED_TEST(ListSetCaseKeys, MakesRoomUnderTheKeyLimit)
{
    fill(this->map, {{"Key", {"1"}}, {"KEY", {"2"}}});
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 3), 0);
    ASSERT_EQ(insert(this->map, "a", "v"), 1);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(this->map.maxkeys, 3);
    EXPECT_EQ(insert(this->map, "a", "v"), 0);
}

TYPED_TEST(ListSetCaseKeys, KeepsTheOtherSettings)
{
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 10), 0);
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 20), 0);
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_length), 0);
    auto expected = state_of(this->map);
    expected.casekeys = 1;
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(state_of(this->map), expected);
}

TYPED_TEST(ListSetCaseKeys, RefusesANullContainer)
{
    EXPECT_EQ(TypeParam::setcasekeys(nullptr, 0), EINVAL);
    EXPECT_EQ(TypeParam::setcasekeys(nullptr, 1), EINVAL);
}

TYPED_TEST(ListSetCaseKeys, OfAReleasedContainerHoldsOnceItLivesAgain)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::setcasekeys(&this->map, 9), 0);
    EXPECT_EQ(this->map.casekeys, 1U);
    EXPECT_EQ(this->map.buckets, nullptr);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 32), 0);
    fill(this->map, {{"Key", {"1"}}});
    EXPECT_EQ(TypeParam::haskey(&this->map, "KEY"), 1);
}

TYPED_TEST(ListSetMaxKeys, StoresANegativeLimitAsItIs)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
        EXPECT_EQ(TypeParam::setmaxkeys(&this->map, limit), 0);
        EXPECT_EQ(this->map.maxkeys, limit);
    }
    this->insert_numbered(100);
    EXPECT_EQ(this->map.numkeys, 102);
}

TYPED_TEST(ListSetMaxKeys, RefusesALimitBelowThePresentNumberOfKeys)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {0, 1, 2}) {
        SCOPED_TRACE(limit);
        this->expect_unchanged(1, [&] { return TypeParam::setmaxkeys(&this->map, limit); });
    }
    ASSERT_EQ(TypeParam::setmaxkeys(&this->map, 7), 0);
    this->expect_unchanged(1, [&] { return TypeParam::setmaxkeys(&this->map, 2); });
    EXPECT_EQ(this->map.maxkeys, 7);
}

TYPED_TEST(ListSetMaxKeys, AcceptsThePresentNumberThoughThenOnlyValuesFit)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    for (int32_t limit : {3, 4}) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(TypeParam::setmaxkeys(&this->map, limit), 0);
        EXPECT_EQ(this->map.maxkeys, limit);
        this->expect_unchanged(1, [&] { return insert(this->map, "d", "v"); });
        EXPECT_EQ(insert(this->map, "b", "new " + std::to_string(limit)), 0);
    }
    EXPECT_EQ(values_of(this->map, "b"), (Values{"1", "new 3", "new 4"}));
}

TYPED_TEST(ListSetMaxKeys, AdmitsOneKeyLessThanTheLimit)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}, {"c", {"1"}}});
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 5), 0);
    EXPECT_EQ(insert(this->map, "d", "v"), 0);
    EXPECT_EQ(insert(this->map, "e", "v"), 1);
}

TYPED_TEST(ListSetMaxKeys, AcceptsZeroForAnEmptyContainerThoughThenNoKeyFits)
{
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 0), 0);
    EXPECT_EQ(this->map.maxkeys, 0);
    EXPECT_EQ(insert(this->map, "a", "v"), 1);
}

TYPED_TEST(ListSetMaxKeys, AcceptsTheGreatestLimit)
{
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, INT32_MAX), 0);
    EXPECT_EQ(this->map.maxkeys, INT32_MAX);
    EXPECT_EQ(insert(this->map, "a", "v"), 0);
}

TYPED_TEST(ListSetMaxKeys, DoesNotCountValues)
{
    fill(this->map, {{"a", {"1", "2", "3", "4"}}});
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 1), 0);
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
}

TYPED_TEST(ListSetMaxKeys, TouchesNothingElse)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    auto expected = state_of(this->map);
    expected.maxkeys = 9;
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 9), 0);
    EXPECT_EQ(state_of(this->map), expected);
}

TYPED_TEST(ListSetMaxKeys, RefusesANullContainerWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(TypeParam::setmaxkeys(nullptr, limit), EINVAL);
    }
}

TYPED_TEST(ListSetMaxKeys, OfAReleasedContainerHoldsOnceItLivesAgain)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::setmaxkeys(&this->map, 2), 0);
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 32), 0);
    EXPECT_EQ(insert(this->map, "a", "v"), 0);
    EXPECT_EQ(insert(this->map, "b", "v"), 1);
}

TYPED_TEST(ListSetMaxValues, StoresANegativeLimitAsItIs)
{
    fill(this->map, {{"a", {"1", "2"}}});
    for (int32_t limit : {-5, -1, INT32_MIN}) {
        ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 2), 0);
        EXPECT_EQ(TypeParam::setmaxvalues(&this->map, limit), 0);
        EXPECT_EQ(this->map.maxvalues, limit);
    }
}

TYPED_TEST(ListSetMaxValues, RefusesALimitBelowThePresentNumberOfValuesUnderAllKeys)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {0, 1, 2, 3}) {
        SCOPED_TRACE(limit);
        this->expect_unchanged(1, [&] { return TypeParam::setmaxvalues(&this->map, limit); });
    }
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 7), 0);
    this->expect_unchanged(1, [&] { return TypeParam::setmaxvalues(&this->map, 3); });
    EXPECT_EQ(this->map.maxvalues, 7);
}

TYPED_TEST(ListSetMaxValues, AcceptsThePresentNumberAndAnyAbove)
{
    fill(this->map, {{"a", {"1", "2", "3"}}, {"b", {"1"}}});
    for (int32_t limit : {4, 5, INT32_MAX}) {
        EXPECT_EQ(TypeParam::setmaxvalues(&this->map, limit), 0);
        EXPECT_EQ(this->map.maxvalues, limit);
    }
}

TYPED_TEST(ListSetMaxValues, LimitsNoInsert)
{
    EXPECT_EQ(TypeParam::setmaxvalues(&this->map, 0), 0);
    EXPECT_EQ(this->map.maxvalues, 0);
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    ASSERT_EQ(TypeParam::setmaxvalues(&this->map, 3), 0);
    EXPECT_EQ(insert(this->map, "a", "3"), 0);
    EXPECT_EQ(insert(this->map, "c", "1"), 0);
    EXPECT_EQ(TypeParam::insert_str(&this->map, "c", "7"), 0);
    EXPECT_EQ(this->map.numvalues, 6);
    EXPECT_EQ(this->map.maxvalues, 3);
}

TYPED_TEST(ListSetMaxValues, TouchesNothingElse)
{
    fill(this->map, {{"a", {"1", "2"}}, {"b", {"1"}}});
    auto expected = state_of(this->map);
    expected.maxvalues = 9;
    EXPECT_EQ(TypeParam::setmaxvalues(&this->map, 9), 0);
    EXPECT_EQ(state_of(this->map), expected);
}

TYPED_TEST(ListSetMaxValues, RefusesANullContainerWithAnyLimit)
{
    for (int32_t limit : {-1, 0, 5}) {
        EXPECT_EQ(TypeParam::setmaxvalues(nullptr, limit), EINVAL);
    }
}

TYPED_TEST(ListSetMaxValues, OfAReleasedContainerIsStored)
{
    ASSERT_EQ(TypeParam::destroy(&this->map), 0);
    EXPECT_EQ(TypeParam::setmaxvalues(&this->map, 0), 0);
    EXPECT_EQ(this->map.maxvalues, 0);
    EXPECT_EQ(this->map.buckets, nullptr);
}
