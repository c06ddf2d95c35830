#include "multimap_fixture.hpp"
#include "recorded_hashing.hpp"

#include <algorithm>
#include <optional>
#include <random>

using Values = std::vector<std::string>;
using Content = std::vector<KeyValues>;
using Sizes = std::vector<std::size_t>;

namespace {

// None unless multimap_find gives 0.
std::optional<uint32_t> position_of(const multimap_t &map, const char *key, std::string_view value)
{
    uint32_t position = 77;
    const int result =
        multimap_find(&map, key, value.data(), static_cast<uint32_t>(value.size()), &position);
    return result == 0 ? std::optional<uint32_t>(position) : std::nullopt;
}

} // namespace

class MultimapInsert : public MultimapTest {};

TEST_F(MultimapInsert, RefusesAValueThatTheKeyHoldsAlready)
{
    const Values values{"abc",   "Abc",   "abC",    "aBc",    "",          "a\0c"s,
                        "a\0d"s, "b\0c"s, "ab\343", "ab\303", every_byte()};
    for (const char *key : {"key", ""}) {
        fill(map, {{key, values}});
        for (const std::string &value : values) {
            SCOPED_TRACE(testing::PrintToString(value));
            expect_unchanged(1, [&] { return insert(map, key, value); });
        }
    }
}

TEST_F(MultimapInsert, AllocatesNothingForAValueThatIsThereAlready)
{
    fill(map, {{"key", {"value"}}});
    ASSERT_EQ(multimap_setmaxkeys(&map, 1), 0);
    allocations::Log log;
    allocations::Failure failure(0);
    EXPECT_EQ(insert(map, "key", "value"), 1);
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(MultimapInsert, TellsNoEmptyValuesApartByTheirPointers)
{
    const char bytes[] = "ab";
    ASSERT_EQ(multimap_insert(&map, "key", bytes, 0), 0);
    expect_unchanged(1, [&] { return multimap_insert(&map, "key", bytes + 1, 0); });
    expect_unchanged(1, [&] { return multimap_insert(&map, "key", bytes + sizeof bytes, 0); });
}

class MultimapFind : public MultimapTest {
  protected:
    uint32_t index = 77;
};

TEST_F(MultimapFind, GivesThePositionOfTheValue)
{
    fill(map, {{"key", {"a", "b", "c"}}, {"other", {"c", "b"}}});
    EXPECT_EQ(position_of(map, "key", "a"), 0U);
    EXPECT_EQ(position_of(map, "key", "b"), 1U);
    EXPECT_EQ(position_of(map, "key", "c"), 2U);
    EXPECT_EQ(position_of(map, "other", "c"), 0U);
    EXPECT_EQ(position_of(map, "other", "b"), 1U);
}

TEST_F(MultimapFind, GivesTheNewPositionsAfterARemoval)
{
    fill(map, {{"key", {"a", "b", "c"}}});
    ASSERT_EQ(delete_value(map, "key", "a"), 0);
    EXPECT_EQ(position_of(map, "key", "a"), std::nullopt);
    EXPECT_EQ(position_of(map, "key", "b"), 0U);
    EXPECT_EQ(position_of(map, "key", "c"), 1U);
}

TEST_F(MultimapFind, TakesNullForThePosition)
{
    fill(map, {{"key", {"a", "b"}}});
    EXPECT_EQ(multimap_find(&map, "key", "b", 1, nullptr), 0);
    EXPECT_EQ(multimap_find(&map, "key", "c", 1, nullptr), ENOENT);
    EXPECT_EQ(multimap_find(&map, "missing", "b", 1, nullptr), ENOENT);
}

TEST_F(MultimapFind, ReportsAMissingKeyAndLeavesThePosition)
{
    expect_unchanged(ENOENT, [&] { return multimap_find(&map, "key", "a", 1, &index); });
    fill(map, {{"key", {"a"}}});
    for (const char *key : {"KEY", "", "ke", "keyy", "other"}) {
        SCOPED_TRACE(key);
        expect_unchanged(ENOENT, [&] { return multimap_find(&map, key, "a", 1, &index); });
    }
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, ReportsAMissingValueAndLeavesThePosition)
{
    fill(map, {{"key", {"ab", "cd"}}, {"other", {"value"}}});
    for (const auto &value : {"value"s, "a"s, "abc"s, "ab\0"s, "AB"s, "b"s, ""s}) {
        SCOPED_TRACE(value);
        expect_unchanged(ENOENT, [&] {
            return multimap_find(&map, "key", value.data(), static_cast<uint32_t>(value.size()),
                                 &index);
        });
    }
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, RefusesBadArgumentsAndLeavesThePosition)
{
    for (const Content &content : {Content{}, Content{{"key", {"", "a"}}}}) {
        fill(map, content);
        EXPECT_EQ(multimap_find(nullptr, "key", "a", 1, &index), EINVAL);
        EXPECT_EQ(multimap_find(nullptr, nullptr, "a", 1, &index), EINVAL);
        expect_unchanged(EINVAL, [&] { return multimap_find(&map, nullptr, "a", 1, &index); });
        for (const char *key : {"key", "missing"}) {
            for (const uint32_t len : {0U, 1U, UINT32_MAX}) {
                SCOPED_TRACE(key + " "s + std::to_string(len));
                expect_unchanged(EINVAL,
                                 [&] { return multimap_find(&map, key, nullptr, len, &index); });
            }
        }
    }
    ASSERT_EQ(multimap_destroy(&map), 0);
    expect_unchanged(EINVAL, [&] { return multimap_find(&map, "key", "a", 1, &index); });
    EXPECT_EQ(index, 77U);
}

TEST_F(MultimapFind, HashesTheKeyOnceUnlessAnArgumentIsBad)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recorded<hash_all_to_zero>), 0);
    for (const Content &content :
         {Content{}, Content{{"key", {"other"}}}, Content{{"key", {"a"}}}}) {
        SCOPED_TRACE(testing::PrintToString(content));
        fill(map, content);
        EXPECT_EQ(hashed_during([&] { multimap_find(&map, "key", "a", 1, nullptr); }), Keys{"key"});
        EXPECT_EQ(hashed_during([&] {
                      EXPECT_EQ(multimap_find(&map, nullptr, "a", 1, nullptr), EINVAL);
                      EXPECT_EQ(multimap_find(&map, "key", nullptr, 0, nullptr), EINVAL);
                  }),
                  Keys{});
    }
}

TEST_F(MultimapFind, AllocatesNothing)
{
    fill(map, {{"key", {"a", "b"}}});
    allocations::Log log;
    EXPECT_EQ(multimap_find(&map, "key", "b", 1, &index), 0);
    EXPECT_EQ(multimap_find(&map, "key", "c", 1, &index), ENOENT);
    EXPECT_EQ(log.sizes(), Sizes{});
}

TEST_F(MultimapFind, ComparesBytesBehindANul)
{
    fill(map, {{"key", {"a\0b"s, "a\0c"s}}});
    EXPECT_EQ(position_of(map, "key", "a\0c"s), 1U);
    EXPECT_EQ(position_of(map, "key", "a\0d"s), std::nullopt);
}

TEST_F(MultimapFind, FindsTheEmptyValue)
{
    fill(map, {{"key", {"a", ""}}});
    EXPECT_EQ(position_of(map, "key", ""), 1U);
    ASSERT_EQ(delete_value(map, "key", ""), 0);
    EXPECT_EQ(position_of(map, "key", ""), std::nullopt);
}

TEST_F(MultimapFind, ReadsNoByteOfAValueOfAnotherLength)
{
    fill(map, {{"key", {"v", ""}}});
    EXPECT_EQ(multimap_find(&map, "key", "v", UINT32_MAX, &index), ENOENT);
    EXPECT_EQ(multimap_find(&map, "missing", "v", UINT32_MAX, &index), ENOENT);
}

TEST_F(MultimapFind, MayWriteThePositionOverTheValueItWasGiven)
{
    const uint32_t wanted = 5;
    uint32_t value = wanted;
    fill(map, {{"key", {"a", "b"}}});
    ASSERT_EQ(multimap_insert(&map, "key", &value, sizeof value), 0);
    EXPECT_EQ(multimap_find(&map, "key", &value, sizeof value, &value), 0);
    EXPECT_EQ(value, 2U);
    value = wanted + 1;
    EXPECT_EQ(multimap_find(&map, "key", &value, sizeof value, &value), ENOENT);
    EXPECT_EQ(value, wanted + 1);
}

class MultimapCaseInsensitive : public MultimapTest {
  protected:
    MultimapCaseInsensitive()
    {
        EXPECT_EQ(multimap_setcasekeys(&map, 1), 0);
    }
};

TEST_F(MultimapCaseInsensitive, InsertRefusesTheValueUnderAnySpelling)
{
    fill(map, {{"Key", {"1"}}});
    expect_unchanged(1, [&] { return insert(map, "kEY", "1"); });
}

TEST_F(MultimapCaseInsensitive, FindFindsAnySpellingOfTheKeyAndTheValueAsItIs)
{
    fill(map, {{"Key", {"value", "VALUE"}}});
    EXPECT_EQ(position_of(map, "kEY", "value"), 0U);
    EXPECT_EQ(position_of(map, "KEY", "VALUE"), 1U);
    EXPECT_EQ(position_of(map, "KEY", "Value"), std::nullopt);
}

// Arguments that lie inside the multimap.
class MultimapAliasing : public MultimapTest {};

TEST_F(MultimapAliasing, InsertRefusesAValueItselfUnderItsOwnKey)
{
    fill(map, {{"key", {"a", "value"}}});
    const char *key = stored_key(map, "key");
    const char *text = stored_text(map, "key", 1);
    expect_unchanged(1, [&] { return multimap_insert(&map, key, text, 5); });
}

TEST_F(MultimapAliasing, FindTakesKeyAndValueOfTheMultimap)
{
    fill(map, {{"key", {"a", "b"}}, {"other", {"b", "a"}}});
    uint32_t index = 77;
    EXPECT_EQ(multimap_find(&map, stored_key(map, "key"), stored_text(map, "key", 1), 1, &index),
              0);
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(multimap_find(&map, stored_key(map, "other"), stored_text(map, "key", 1), 1, &index),
              0);
    EXPECT_EQ(index, 0U);
}

// Many calls in a random order, against a model: a list of keys that share a bucket.
class MultimapModel : public MultimapTest {};

TEST_F(MultimapModel, AgreesOverManyCalls)
{
    ASSERT_EQ(multimap_sethashfunc(&map, hash_all_to_zero), 0);
    Content model;
    std::mt19937 random(1);
    const auto below = [&](uint32_t end) {
        return static_cast<uint32_t>(random()) % end;
    };
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(step);
        const std::string key(below(5), 'k');
        const std::string value(below(6), 'v');
        const uint32_t index = below(6);
        const auto node =
            std::find_if(model.begin(), model.end(), [&](auto &held) { return held.first == key; });
        const bool known = node != model.end();
        Values none;
        Values &values = known ? node->second : none;
        const auto held = std::find(values.begin(), values.end(), value);
        const auto take = [&](Values::iterator gone) {
            values.erase(gone);
            if (values.empty()) {
                model.erase(node);
            }
        };
        switch (below(8)) {
        case 0:
            ASSERT_EQ(delete_value(map, key.c_str(), value), held != values.end() ? 0 : ENOENT);
            if (held != values.end()) {
                take(held);
            }
            break;
        case 1:
            ASSERT_EQ(multimap_remove(&map, key.c_str(), index),
                      index < values.size() ? 0 : ENOENT);
            if (index < values.size()) {
                take(values.begin() + index);
            }
            break;
        case 2:
            if (index == 0) {
                ASSERT_EQ(multimap_erase(&map, key.c_str()), known ? 0 : ENOENT);
                if (known) {
                    model.erase(node);
                }
            }
            break;
        case 3:
            if (held == values.end()) {
                ASSERT_EQ(position_of(map, key.c_str(), value), std::nullopt);
            } else {
                ASSERT_EQ(position_of(map, key.c_str(), value),
                          static_cast<uint32_t>(held - values.begin()));
            }
            break;
        default:
            ASSERT_EQ(insert(map, key.c_str(), value), held != values.end() ? 1 : 0);
            if (!known) {
                model.push_back({key, {value}});
            } else if (held == values.end()) {
                values.push_back(value);
            }
        }
        ASSERT_EQ(content_of(map), model);
    }
}
