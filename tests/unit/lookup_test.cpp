// Look-ups in all three families, and the operations that look up every key of a container, whatever
// was set before, and for keys that the built-in hash does not tell apart.
#include "latin1.hpp"
#include "list_families.hpp"
#include "map_fixture.hpp"

#include "table/hash.hpp"

#include <algorithm>
#include <optional>
#include <strings.h>
#include <tuple>

namespace {

using Keys = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

struct MapFamily {
    static constexpr const char *name = "Map";
    using Test = MapTest;
    using Own = Map;
    using Container = map_t;
    static constexpr auto clear = map_clear;
    static constexpr auto erase = map_erase;
    static constexpr auto haskey = map_haskey;
    static constexpr auto sethashsize = map_sethashsize;
    static constexpr auto sethashfunc = map_sethashfunc;
    static constexpr auto setcasekeys = map_setcasekeys;
    static constexpr auto intersection = map_intersection;
    static constexpr auto copy = map_copy;
    static constexpr auto merge = map_merge;
    static constexpr auto isequal = map_isequal;
};

using Families = testing::Types<MapFamily, MultimapFamily, ArraymapFamily>;

// Each value with its key, in iteration order.
Pairs pairs_of(const map_t &map)
{
    return content_of(map);
}

template <class Container>
Pairs pairs_of(const Container &map)
{
    Pairs pairs;
    for (const auto &[key, values] : content_of(map)) {
        for (const std::string &value : values) {
            pairs.emplace_back(key, value);
        }
    }
    return pairs;
}

bool holds(const map_t &map, const char *key, const std::string &value)
{
    return value_of(map, key) == value;
}

template <class Container>
bool holds(const Container &map, const char *key, const std::string &value)
{
    const std::vector<std::string> values = values_of(map, key);
    return std::find(values.begin(), values.end(), value) != values.end();
}

// The first that fails ends it.
template <class Container>
int insert_one_by_one(Container &map, const Pairs &pairs)
{
    for (const auto &[key, value] : pairs) {
        const int result = insert(map, key.c_str(), value);
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

// Keys of 2 and of 8 bytes that the built-in hash does not tell apart, since 31 * 'B' + '0' is
// 31 * 'A' + 'O'; and others. Of those with letters, two spellings.
const Keys short_collisions = {"B0", "b0", "AO", "ao"};
const Keys long_collisions = {"B0AOAOB0", "b0aoaob0", "AOB0AOB0",
                              "aob0aob0", "AOAOAOAO", "aoaoaoao"};
const Keys others = {"", "\xE9", "\xC9", "lan.ipaddr.first", "LAN.ipaddr.FIRST", "aobo"};

// To the built-in hash, a prefix of no effect: 31 * 1 + (0xE1 - 256) is 0.
const std::string nothing = "\x01\xE1";

// Keys of few bytes and of many, of one hash, some of the same length and some not; they differ at
// their beginning, or in one byte or two at any place.
std::vector<Keys> collisions_of_all_lengths()
{
    std::vector<Keys> all;
    for (const unsigned int length : {0U, 1U, 9U, 4090U, 4091U, 4092U, 4093U, 5000U}) {
        const std::string tail(length, 'k');
        all.push_back({"B0" + tail, "AO" + tail, nothing + "B0" + tail, nothing + "AO" + tail});
    }
    // Each begins with those behind it, and then with those before it.
    all.emplace_back();
    for (const unsigned int count : {2500U, 2048U, 2047U, 2046U, 2045U, 8U, 4U, 2U, 1U}) {
        std::string key;
        for (unsigned int i = 0; i < count; ++i) {
            key += nothing;
        }
        all.back().push_back(key);
    }
    all.emplace_back(all.back().rbegin(), all.back().rend());
    for (unsigned int before = 0; before < 26; ++before) {
        for (unsigned int behind = 0; before + behind < 26; ++behind) {
            const std::string head(before, 'k');
            const std::string tail(behind, 'k');
            // Two spellings of a letter are told apart by one byte.
            all.push_back(
                {head + "B0" + tail, head + "AO" + tail, head + "Ao" + tail, head + "ao" + tail});
        }
    }
    return all;
}

Keys all_keys()
{
    Keys keys = short_collisions;
    keys.insert(keys.end(), long_collisions.begin(), long_collisions.end());
    keys.insert(keys.end(), others.begin(), others.end());
    return keys;
}

const std::string *find(const Keys &keys, const std::string &key, uint32_t casekeys)
{
    const auto found = std::find_if(keys.begin(), keys.end(), [&](const std::string &other) {
        return casekeys != 0 ? strcasecmp(key.c_str(), other.c_str()) == 0 : key == other;
    });
    return found != keys.end() ? &*found : nullptr;
}

// How the key that a look-up finds is spelled; none if it finds no key.
template <class Container>
std::optional<std::string> spelling_of(const Container &map, const std::string &key)
{
    const char *stored = stored_key(map, key.c_str());
    return stored != nullptr ? std::optional<std::string>(stored) : std::nullopt;
}

template <class Family>
class Lookup : public Family::Test {
  protected:
    using Container = typename Family::Container;
    using Step = int (*)(Container *);

    const std::vector<Step> steps = {
        [](Container *to) { return Family::sethashfunc(to, nullptr); },
        [](Container *to) { return Family::sethashfunc(to, hash_length); },
        [](Container *to) { return Family::sethashfunc(to, hash_all_to_zero); },
        [](Container *to) { return Family::sethashsize(to, 1); },
        [](Container *to) { return Family::sethashsize(to, 256); },
        [](Container *to) { return Family::setcasekeys(to, 0); },
        [](Container *to) { return Family::setcasekeys(to, 1); },
    };

    void start()
    {
        ASSERT_EQ(Family::clear(&this->map), 0);
        ASSERT_EQ(Family::setcasekeys(&this->map, 0), 0);
        ASSERT_EQ(Family::sethashfunc(&this->map, nullptr), 0);
        ASSERT_EQ(Family::sethashsize(&this->map, 32), 0);
        held.clear();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (i % 3 != 0) {
                toggle(keys[i]);
            }
        }
    }

    // Of keys that become equal, the first in iteration order stays.
    void take(Step step)
    {
        const Pairs before = pairs_of(this->map);
        ASSERT_EQ(step(&this->map), 0);
        held.clear();
        for (const auto &[key, value] : before) {
            if (find(held, key, this->map.casekeys) == nullptr) {
                held.push_back(key);
            }
        }
    }

    // Erases the key if it is there; else inserts it.
    void toggle(const std::string &key)
    {
        const std::string *equal = find(held, key, this->map.casekeys);
        if (equal != nullptr) {
            ASSERT_EQ(Family::erase(&this->map, key.c_str()), 0);
            held.erase(held.begin() + (equal - held.data()));
        } else {
            ASSERT_EQ(Family::erase(&this->map, key.c_str()), ENOENT);
            ASSERT_EQ(insert(this->map, key.c_str(), ""), 0);
            held.push_back(key);
        }
    }

    void expect_all_found() const
    {
        for (const std::string &key : keys) {
            const std::string *equal = find(held, key, this->map.casekeys);
            ASSERT_EQ(Family::haskey(&this->map, key.c_str()), equal != nullptr) << key;
            ASSERT_EQ(spelling_of(this->map, key),
                      equal != nullptr ? std::optional(*equal) : std::nullopt);
        }
        ASSERT_EQ(this->map.numkeys, static_cast<int32_t>(held.size()));
    }

    const Keys keys = all_keys();
    Keys held;
};

struct Settings {
    map_hash_fn hashfunc;
    uint32_t hashsize;
    uint32_t casekeys;
};

// The last hash function does not fold: it keeps the spellings of a key apart in 64 buckets.
std::vector<Settings> all_settings()
{
    std::vector<Settings> all;
    for (const map_hash_fn hashfunc : {map_hash_fn{nullptr}, hash_length, hash_first_byte}) {
        for (const uint32_t hashsize : {1U, 64U}) {
            for (const uint32_t casekeys : {0U, 1U}) {
                all.push_back({hashfunc, hashsize, casekeys});
            }
        }
    }
    return all;
}

template <class Family>
class LookupOfEveryKey : public testing::Test {
  protected:
    using Own = typename Family::Own;
    using Container = typename Family::Container;

    static void set(Container &map, const Settings &to)
    {
        ASSERT_EQ(Family::sethashsize(&map, to.hashsize), 0);
        ASSERT_EQ(Family::sethashfunc(&map, to.hashfunc), 0);
        ASSERT_EQ(Family::setcasekeys(&map, to.casekeys), 0);
    }

    // Each key of which no equal is found.
    static void fill(Container &map, const Keys &keys)
    {
        for (const std::string &key : keys) {
            if (Family::haskey(&map, key.c_str()) == 0) {
                ASSERT_EQ(insert(map, key.c_str(), "value"), 0);
            }
        }
    }

    // With all keys, and with hidden ones if it is case-insensitive and they share a bucket then.
    static void fill_and_hide(Container &map, const Settings &to)
    {
        ASSERT_NO_FATAL_FAILURE(set(map, {hash_first_byte, 64, to.casekeys}));
        ASSERT_NO_FATAL_FAILURE(fill(map, all_keys()));
        ASSERT_NO_FATAL_FAILURE(set(map, to));
    }

    // For all settings of a source and a destination, and for sources with hidden keys and without.
    template <class Check>
    static void for_all_settings(Check check)
    {
        for (const Settings &from : all_settings()) {
            for (const bool hiding : {false, true}) {
                Own src;
                if (hiding) {
                    ASSERT_NO_FATAL_FAILURE(fill_and_hide(*src, from));
                } else {
                    ASSERT_NO_FATAL_FAILURE(set(*src, from));
                    ASSERT_NO_FATAL_FAILURE(fill(*src, all_keys()));
                }
                for (const Settings &to : all_settings()) {
                    SCOPED_TRACE(testing::PrintToString(
                        std::tuple(from.hashfunc, from.hashsize, from.casekeys, hiding, to.hashfunc,
                                   to.hashsize, to.casekeys)));
                    ASSERT_NO_FATAL_FAILURE(check(*src, to));
                }
            }
        }
    }

    static void expect_alike(const Container &map, const Container &expected)
    {
        ASSERT_EQ(pairs_of(map), pairs_of(expected));
        ASSERT_EQ(map.hashsize, expected.hashsize);
        for (const std::string &key : all_keys()) {
            ASSERT_EQ(spelling_of(map, key), spelling_of(expected, key));
        }
    }
};

// A case-insensitive map that holds "key" twice.
class MapOfOneSpellingTwice : public MapTest {
  protected:
    MapOfOneSpellingTwice()
    {
        EXPECT_EQ(map_setcasekeys(&map, 1), 0);
        EXPECT_EQ(map_sethashsize(&map, 64), 0);
        EXPECT_EQ(map_sethashfunc(&map, hash_first_byte), 0);
        EXPECT_EQ(insert(map, "Key", ""), 0);
        EXPECT_EQ(insert(map, "key", "value"), 0);
        // Now the first hides the second, and is what the look-up of its spelling finds.
        EXPECT_EQ(map_sethashfunc(&map, nullptr), 0);
        EXPECT_EQ(replace(map, "key", "value"), 0);
        EXPECT_EQ(content_of(map), (Pairs{{"key", "value"}, {"key", "value"}}));
        first = map_get_entry(&map, "key");
    }

    const map_entry_t *first;
};

} // namespace

TEST(LookupKeys, AreNotToldApartByTheBuiltinHash)
{
    std::vector<Keys> all = collisions_of_all_lengths();
    all.insert(all.end(), {short_collisions, long_collisions});
    for (const Keys &keys : all) {
        for (const std::string &key : keys) {
            EXPECT_EQ(textmaps::builtin_hash(key.c_str()).hash,
                      textmaps::builtin_hash(keys.front().c_str()).hash);
        }
    }
}

TYPED_TEST_SUITE(Lookup, Families, TypeName);

TYPED_TEST(Lookup, FindsTheKeysThatAreThereAfterAnyChangesOfTheSettings)
{
    std::size_t turn = 0;
    for (const auto first : this->steps) {
        for (const auto second : this->steps) {
            for (const auto third : this->steps) {
                ASSERT_NO_FATAL_FAILURE(this->start());
                for (const auto step : {first, second, third}) {
                    ASSERT_NO_FATAL_FAILURE(this->take(step));
                    ASSERT_NO_FATAL_FAILURE(this->expect_all_found());
                    ASSERT_NO_FATAL_FAILURE(this->toggle(this->keys[turn++ % this->keys.size()]));
                    ASSERT_NO_FATAL_FAILURE(this->expect_all_found());
                }
            }
        }
    }
}

TYPED_TEST(Lookup, TellsKeysOfOneHashApartWhateverTheirLengths)
{
    for (const Keys &alike : collisions_of_all_lengths()) {
        for (std::size_t i = 0; i < alike.size(); ++i) {
            EXPECT_EQ(TypeParam::haskey(&this->map, alike[i].c_str()), 0);
            EXPECT_EQ(insert(this->map, alike[i].c_str(), std::to_string(i)), 0);
        }
        typename TypeParam::Own copy;
        EXPECT_EQ(TypeParam::copy(&this->map, &copy), 0);
        for (std::size_t i = 0; i < alike.size(); ++i) {
            EXPECT_TRUE(holds(this->map, alike[i].c_str(), std::to_string(i)));
            EXPECT_TRUE(holds(*copy, alike[i].c_str(), std::to_string(i)));
            EXPECT_EQ(TypeParam::erase(&this->map, alike[i].c_str()), 0);
        }
    }
}

TYPED_TEST(Lookup, TakesOfACallersHashTheBucketAlone)
{
    ASSERT_EQ(TypeParam::sethashfunc(&this->map, hash_all_to_variable), 0);
    ASSERT_EQ(insert(this->map, "key", ""), 0);
    variable_hash = 0xFFFFFFE0;
    EXPECT_EQ(spelling_of(this->map, "key"), "key");
    EXPECT_EQ(TypeParam::erase(&this->map, "key"), 0);
    variable_hash = 0;
}

// It may know more letters than the built-in hash.
TYPED_TEST(Lookup, LeavesItToStrcasecmpWhichSpellingsAreEqual)
{
    const latin1::Folding folding;
    ASSERT_EQ(TypeParam::sethashsize(&this->map, 1), 0);
    ASSERT_EQ(insert(this->map, "caf\xE9", "value"), 0);
    EXPECT_EQ(spelling_of(this->map, "CAF\xC9"), std::nullopt);
    ASSERT_EQ(insert(this->map, "CAF\xC9", "value"), 0);
    ASSERT_EQ(TypeParam::setcasekeys(&this->map, 1), 0);
    EXPECT_EQ(pairs_of(this->map), (Pairs{{"caf\xE9", "value"}}));
    EXPECT_EQ(spelling_of(this->map, "CAF\xC9"), "caf\xE9");
    typename TypeParam::Own other;
    ASSERT_EQ(insert(*other, "Caf\xC9", "value"), 0);
    EXPECT_EQ(TypeParam::isequal(&other, &this->map), 1);
    EXPECT_EQ(TypeParam::isequal(&this->map, &other), 0);
}

// Which bucket a key is in takes more of its hash then. One family, since it takes seconds under valgrind
// and qemu.
TEST_F(MapTest, FindsWhatWasMergedIntoAHugeTable)
{
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(insert(map, ("interface." + std::to_string(i)).c_str(), "up"), 0);
    }
    Map huge;
    ASSERT_EQ(map_sethashsize(&huge, 1U << 21), 0);
    ASSERT_EQ(map_merge(&map, &huge), 0);
    EXPECT_EQ(map_isequal(&map, &huge), 1);
    for (const auto &[key, value] : pairs_of(map)) {
        EXPECT_TRUE(holds(*huge, key.c_str(), value)) << key;
    }
}

TYPED_TEST_SUITE(LookupOfEveryKey, Families, TypeName);

TYPED_TEST(LookupOfEveryKey, CopiesAsInsertingOneByOneDoes)
{
    this->for_all_settings([](const auto &src, const Settings &to) {
        typename TypeParam::Own dst;
        typename TypeParam::Own expected;
        TestFixture::set(*dst, to);
        TestFixture::fill(*dst, {"AO", "gone"});
        TestFixture::set(*expected, {to.hashfunc, src.hashsize, to.casekeys});
        const int result = insert_one_by_one(*expected, pairs_of(src));
        if (result != 0) {
            ASSERT_EQ(TypeParam::clear(&expected), 0);
        }
        ASSERT_EQ(TypeParam::copy(&src, &dst), result);
        TestFixture::expect_alike(*dst, *expected);
    });
}

TYPED_TEST(LookupOfEveryKey, MergesAsInsertingWhatIsNotThereDoes)
{
    this->for_all_settings([](const auto &src, const Settings &to) {
        typename TypeParam::Own dst;
        typename TypeParam::Own expected;
        for (auto *map : {&dst, &expected}) {
            TestFixture::set(*map, to);
            TestFixture::fill(*map, {"AO", "other", "aoaoaoao"});
        }
        for (const auto &[key, value] : pairs_of(src)) {
            insert(*expected, key.c_str(), value);
        }
        ASSERT_EQ(TypeParam::merge(&src, &dst), 0);
        TestFixture::expect_alike(*dst, *expected);
    });
}

TYPED_TEST(LookupOfEveryKey, IntersectsAndComparesAsLookingUpOneByOneDoes)
{
    this->for_all_settings([](const auto &src, const Settings &to) {
        typename TypeParam::Own other;
        TestFixture::set(*other, to);
        TestFixture::fill(*other, {"B0", "b0", "AOB0AOB0", "aoaoaoao", "", "LAN.ipaddr.FIRST"});
        Pairs common;
        for (const auto &[key, value] : pairs_of(src)) {
            if (holds(*other, key.c_str(), value)) {
                common.emplace_back(key, value);
            }
        }
        typename TypeParam::Own dst;
        typename TypeParam::Own expected;
        ASSERT_EQ(insert_one_by_one(*expected, common), 0);
        ASSERT_EQ(TypeParam::intersection(&src, &other, &dst), 0);
        TestFixture::expect_alike(*dst, *expected);
        const bool equal = src.numkeys == other->numkeys && common.size() == pairs_of(src).size();
        ASSERT_EQ(TypeParam::isequal(&src, &other), equal);
        ASSERT_EQ(TypeParam::isequal(&src, &src), 1);
    });
}

TEST_F(MapOfOneSpellingTwice, IsNotCopiedNorIntersected)
{
    for (const uint32_t casekeys : {0U, 1U}) {
        for (const map_hash_fn hashfunc : {map_hash_fn{nullptr}, hash_length}) {
            Map dst;
            ASSERT_EQ(map_setcasekeys(&dst, casekeys), 0);
            ASSERT_EQ(map_sethashfunc(&dst, hashfunc), 0);
            EXPECT_EQ(map_copy(&map, &dst), 1);
            EXPECT_EQ(content_of(*dst), Pairs{});
            EXPECT_EQ(map_copy_dst_hashsize(&map, &dst), 1);
            EXPECT_EQ(content_of(*dst), Pairs{});
            EXPECT_EQ(map_intersection(&map, &map, &dst), 1);
            EXPECT_EQ(content_of(*dst), Pairs{});
        }
    }
}

TEST_F(MapOfOneSpellingTwice, IsMergedAsOneKey)
{
    Map dst;
    EXPECT_EQ(map_merge(&map, &dst), 0);
    EXPECT_EQ(content_of(*dst), (Pairs{{"key", "value"}}));
}

TEST_F(MapOfOneSpellingTwice, KeepsTheFirstWhenCaseCountsAgain)
{
    EXPECT_EQ(map_setcasekeys(&map, 0), 0);
    EXPECT_EQ(content_of(map), (Pairs{{"key", "value"}}));
    EXPECT_EQ(map_get_entry(&map, "key"), first);
}

TEST_F(MapOfOneSpellingTwice, LosesOneAtATime)
{
    EXPECT_EQ(map_erase(&map, "KEY"), 0);
    EXPECT_NE(map_get_entry(&map, "key"), first);
    EXPECT_EQ(content_of(map), (Pairs{{"key", "value"}}));
}
