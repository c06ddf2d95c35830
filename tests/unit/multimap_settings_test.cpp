#include "list_settings.hpp"

namespace {

class MultimapHashFunction : public ListSettingsTest<MultimapFamily> {};

class MultimapSetCaseKeys : public ListSettingsTest<MultimapFamily> {};

} // namespace

TEST_F(MultimapHashFunction, IsCalledOnceByFind)
{
    ASSERT_EQ(multimap_sethashfunc(&map, recorded<hash_first_byte>), 0);
    fill(map, {{"a", {"1", "2", "3"}}});
    hashings.clear();
    EXPECT_EQ(multimap_find(&map, "a", "3", 1, nullptr), 0);
    EXPECT_EQ(hashed_keys(), Keys{"a"});
    EXPECT_EQ(hashed_for(&map), Keys{"a"});
}

TEST_F(MultimapSetCaseKeys, LetsAKeyRefuseAValueItHasInAnotherSpelling)
{
    fill(map, {{"Key", {"1"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    expect_unchanged(1, [&] { return insert(map, "KEY", "1"); });
}

TEST_F(MultimapSetCaseKeys, LetsAMergedKeyRefuseAValueItHasFromAnother)
{
    fill(map, {{"Key", {"1"}}, {"KEY", {"2", "1", "3"}}});
    ASSERT_EQ(multimap_setcasekeys(&map, 1), 0);
    for (const char *value : {"1", "2", "3"}) {
        expect_unchanged(1, [&] { return insert(map, "key", value); });
    }
}
