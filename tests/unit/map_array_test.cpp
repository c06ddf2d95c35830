#include "map_fixture.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

const std::string no_key_yet(256, '.');

// A key that is formed in the library's own room.
std::string cut(const std::string &key)
{
    return key.substr(0, 127);
}

std::string count_key(const std::string &name)
{
    return cut(name + ":max");
}

std::string element_key(const std::string &name, int index)
{
    return cut(name + ":" + std::to_string(index));
}

// Where an append notes the count to come: never 127 characters, as a cut key has.
std::string note_key(const std::string &name)
{
    return cut(name) + (name.size() == 121 ? ":max+01" : ":max+1");
}

// What the buffer must hold once it has received the text, cut to its size.
std::string key_buffer(const std::string &text, std::size_t size = no_key_yet.size())
{
    if (size == 0) {
        return no_key_yet;
    }
    const std::string cut_text = text.substr(0, size - 1);
    return cut_text + '\0' + no_key_yet.substr(cut_text.size() + 1);
}

std::vector<std::string> names()
{
    std::vector<std::string> all = {
        "dns", "", ":", ":max", "a:0", "0", "%s%n%d", "caf\303\251", "\377", "with blank", "x=y\n"};
    for (const std::size_t length :
         {120U, 121U, 122U, 123U, 124U, 125U, 126U, 127U, 128U, 130U, 200U, 1000U}) {
        all.emplace_back(length, 'n');
    }
    return all;
}

// Stored counts that are no int.
const std::string no_counts[] = {"",   "\0"s,   "many\0"s,       "3x\0"s,         "3 \0"s,
                                 "3"s, "0x\0"s, "2147483648\0"s, "-2147483649\0"s};

class MapArrayTest : public MapTest {
  protected:
    void set_count(const std::string &name, int count)
    {
        EXPECT_EQ(map_replace_int(&map, count_key(name).c_str(), count), 0);
    }

    void expect_count(int count, const std::string &name)
    {
        EXPECT_EQ(value_of(map, count_key(name).c_str()), std::to_string(count) + '\0');
    }

    // An array of the elements "value 0", "value 1" and onwards.
    void make_array(const std::string &name, int count)
    {
        set_count(name, count);
        for (int i = 0; i < count; ++i) {
            const std::string key = element_key(name, i);
            EXPECT_EQ(map_replace_fmt(&map, key.c_str(), "value %d", i), 0);
        }
    }

    std::vector<std::string> sorted_keys()
    {
        std::vector<std::string> keys = keys_of(map);
        std::sort(keys.begin(), keys.end());
        return keys;
    }

    std::string buffer = no_key_yet;
};

using Names = std::vector<std::string>;

} // namespace

class MapArrayInit : public MapArrayTest {};

TEST_F(MapArrayInit, StoresACountOfZero)
{
    for (const std::string &name : names()) {
        SCOPED_TRACE(name);
        ASSERT_EQ(map_clear(&map), 0);
        EXPECT_EQ(map_array_init(&map, name.c_str()), 0);
        EXPECT_EQ(content_of(map), (std::vector{std::pair(count_key(name), "0\0"s)}));
        int count = -1;
        EXPECT_EQ(map_array_get_max(&map, name.c_str(), &count), 0);
        EXPECT_EQ(count, 0);
    }
}

TEST_F(MapArrayInit, LeavesACountThatIsThereAlone)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(1, [this] { return map_array_init(&map, "dns"); });
    set_count("dns", 3);
    expect_unchanged(1, [this] { return map_array_init(&map, "dns"); });
    ASSERT_EQ(map_replace_str(&map, "dns:max", "no number"), 0);
    expect_unchanged(1, [this] { return map_array_init(&map, "dns"); });
}

TEST_F(MapArrayInit, TouchesNoElement)
{
    ASSERT_EQ(map_insert_str(&map, "dns:0", "value"), 0);
    EXPECT_EQ(map_array_init(&map, "dns"), 0);
    EXPECT_EQ(value_of(map, "dns:0"), "value\0"s);
}

TEST_F(MapArrayInit, RefusesNullForMapOrName)
{
    expect_unchanged(EINVAL, [] { return map_array_init(nullptr, "dns"); });
    expect_unchanged(EINVAL, [this] { return map_array_init(&map, nullptr); });
    expect_unchanged(EINVAL, [] { return map_array_init(nullptr, nullptr); });
}

TEST_F(MapArrayInit, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(map_array_init(&released, "dns"), EINVAL);
}

TEST_F(MapArrayInit, KeepsToTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    EXPECT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(1, [this] { return map_array_init(&map, "ntp"); });
}

TEST_F(MapArrayInit, ReportsThatThereIsNoMemory)
{
    const allocations::Failure failure(0);
    expect_unchanged(ENOMEM, [this] { return map_array_init(&map, "dns"); });
}

TEST_F(MapArrayInit, AllocatesNothingButTheEntry)
{
    const allocations::Log log;
    EXPECT_EQ(map_array_init(&map, "dns"), 0);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(map_entry_t) + sizeof "0" + sizeof "dns:max"});
}

TEST_F(MapArrayInit, SharesTheCountOfNamesThatAgreeIn127Characters)
{
    const std::string name(127, 'n');
    ASSERT_EQ(map_array_init(&map, (name + "one").c_str()), 0);
    expect_unchanged(1, [&] { return map_array_init(&map, (name + "two").c_str()); });
    expect_unchanged(1, [&] { return map_array_init(&map, name.c_str()); });
    EXPECT_EQ(map_array_init(&map, name.substr(1).c_str()), 0);
}

TEST_F(MapArrayInit, TakesANameThatLiesInTheMap)
{
    ASSERT_EQ(map_insert_str(&map, "key", "dns"), 0);
    EXPECT_EQ(map_array_init(&map, stored_text(map, "key")), 0);
    EXPECT_EQ(map_array_init(&map, stored_key(map, "key")), 0);
    EXPECT_EQ(sorted_keys(), (Names{"dns:max", "key", "key:max"}));
}

TEST_F(MapArrayInit, FollowsTheKeysCase)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(1, [this] { return map_array_init(&map, "DNS"); });
}

class MapArrayGetMax : public MapArrayTest {
  protected:
    int count = 4711;
};

TEST_F(MapArrayGetMax, GivesAnyStoredInt)
{
    for (const int stored : {0, 1, 3, 1000, INT_MAX, -1, INT_MIN}) {
        set_count("dns", stored);
        expect_unchanged(0, [this] { return map_array_get_max(&map, "dns", &count); });
        EXPECT_EQ(count, stored);
    }
}

TEST_F(MapArrayGetMax, ReadsACountThatWasStoredAsText)
{
    ASSERT_EQ(map_insert_str(&map, "dns:max", " 0x10"), 0);
    EXPECT_EQ(map_array_get_max(&map, "dns", &count), 0);
    EXPECT_EQ(count, 16);
}

TEST_F(MapArrayGetMax, ReportsThatThereIsNoArray)
{
    ASSERT_EQ(map_insert_int(&map, "dns", 1), 0);
    ASSERT_EQ(map_insert_int(&map, "dns:0", 1), 0);
    ASSERT_EQ(map_insert_int(&map, "DNS:max", 1), 0);
    expect_unchanged(ENOENT, [this] { return map_array_get_max(&map, "dns", &count); });
    EXPECT_EQ(count, 4711);
}

TEST_F(MapArrayGetMax, ReportsACountThatIsNoInt)
{
    for (const std::string &text : no_counts) {
        SCOPED_TRACE(testing::PrintToString(text));
        ASSERT_EQ(replace(map, "dns:max", text), 0);
        expect_unchanged(ERANGE, [this] { return map_array_get_max(&map, "dns", &count); });
        EXPECT_EQ(count, 4711);
    }
}

TEST_F(MapArrayGetMax, RefusesNullForMapNameOrCount)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    EXPECT_EQ(map_array_get_max(nullptr, "dns", &count), EINVAL);
    EXPECT_EQ(map_array_get_max(&map, nullptr, &count), EINVAL);
    EXPECT_EQ(map_array_get_max(&map, "dns", nullptr), EINVAL);
    EXPECT_EQ(map_array_get_max(&map, "missing", nullptr), EINVAL);
    EXPECT_EQ(count, 4711);
}

TEST_F(MapArrayGetMax, RefusesAReleasedMap)
{
    const map_t released = released_map();
    EXPECT_EQ(map_array_get_max(&released, "dns", &count), EINVAL);
    EXPECT_EQ(count, 4711);
}

TEST_F(MapArrayGetMax, TakesANameThatLiesInTheMap)
{
    set_count("7", 7);
    EXPECT_EQ(map_array_get_max(&map, stored_text(map, "7:max"), &count), 0);
    EXPECT_EQ(count, 7);
}

class MapArrayGetKey : public MapArrayTest {
  protected:
    int get_key(const map_t *from, const char *name, int index, int count)
    {
        return map_array_get_key(from, name, index, buffer.data(),
                                 static_cast<uint32_t>(buffer.size()), count);
    }
};

TEST_F(MapArrayGetKey, GivesTheKeyOfAnIndexBelowTheCount)
{
    for (const int index : {0, 1, 2, 9, 10, 12345, INT_MAX - 1}) {
        for (const int count : {index + 1, INT_MAX}) {
            buffer = no_key_yet;
            expect_unchanged(0, [&] { return get_key(&map, "dns", index, count); });
            EXPECT_EQ(buffer, key_buffer("dns:" + std::to_string(index)));
        }
    }
}

TEST_F(MapArrayGetKey, RefusesAnIndexNotBelowTheCount)
{
    EXPECT_EQ(get_key(&map, "dns", 3, 3), EINVAL);
    EXPECT_EQ(get_key(&map, "dns", 4, 3), EINVAL);
    EXPECT_EQ(get_key(&map, "dns", 0, 0), EINVAL);
    EXPECT_EQ(get_key(&map, "dns", INT_MAX, INT_MAX), EINVAL);
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayGetKey, RefusesANegativeIndexBeforeItReadsTheCount)
{
    for (const int index : {-1, -2, INT_MIN}) {
        // The count that it would read is missing, which would give 2.
        EXPECT_EQ(get_key(&map, "dns", index, -1), EINVAL);
        EXPECT_EQ(get_key(&map, "dns", index, 3), EINVAL);
    }
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayGetKey, ReadsTheCountIfItIsGivenANegativeOne)
{
    set_count("dns", 3);
    for (const int count : {-1, -100, INT_MIN}) {
        buffer = no_key_yet;
        expect_unchanged(EINVAL, [&] { return get_key(&map, "dns", 3, count); });
        EXPECT_EQ(buffer, no_key_yet);
        expect_unchanged(0, [&] { return get_key(&map, "dns", 2, count); });
        EXPECT_EQ(buffer, key_buffer("dns:2"));
    }
}

TEST_F(MapArrayGetKey, RefusesEveryIndexIfTheStoredCountIsNegative)
{
    for (const int stored : {-1, INT_MIN}) {
        set_count("dns", stored);
        EXPECT_EQ(get_key(&map, "dns", 0, -1), EINVAL);
        EXPECT_EQ(get_key(&map, "dns", INT_MAX, -1), EINVAL);
    }
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayGetKey, PassesOnThatTheCountCannotBeRead)
{
    EXPECT_EQ(get_key(&map, "dns", 0, -1), ENOENT);
    for (const std::string &text : no_counts) {
        ASSERT_EQ(replace(map, "dns:max", text), 0);
        EXPECT_EQ(get_key(&map, "dns", 0, -1), ERANGE) << testing::PrintToString(text);
    }
    const map_t released = released_map();
    EXPECT_EQ(get_key(&released, "dns", 0, -1), EINVAL);
    EXPECT_EQ(get_key(nullptr, "dns", 0, -1), EINVAL);
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayGetKey, NeedsNoMapIfItIsGivenTheCount)
{
    EXPECT_EQ(get_key(nullptr, "dns", 1, 2), 0);
    EXPECT_EQ(buffer, key_buffer("dns:1"));
    const map_t released = released_map();
    EXPECT_EQ(get_key(&released, "dns", 0, 2), 0);
    EXPECT_EQ(buffer.substr(0, 6), "dns:0\0"s);
}

TEST_F(MapArrayGetKey, TakesTheGivenCountForTheStoredOne)
{
    set_count("dns", 1);
    EXPECT_EQ(get_key(&map, "dns", 5, 6), 0);
    EXPECT_EQ(buffer, key_buffer("dns:5"));
}

TEST_F(MapArrayGetKey, CutsTheKeyToTheBufferAndWritesNoFurtherForEverySize)
{
    for (uint32_t size = 0; size <= 20; ++size) {
        buffer = no_key_yet;
        EXPECT_EQ(map_array_get_key(&map, "dns", 12, buffer.data(), size, 13), 0);
        EXPECT_EQ(buffer, key_buffer("dns:12", size)) << size;
    }
}

TEST_F(MapArrayGetKey, TakesTheGreatestSize)
{
    EXPECT_EQ(map_array_get_key(&map, "dns", 12, buffer.data(), UINT32_MAX, 13), 0);
    EXPECT_EQ(buffer, key_buffer("dns:12"));
}

TEST_F(MapArrayGetKey, CutsNoNameShortOfTheBuffer)
{
    for (const std::string &name : names()) {
        const std::string key = name + ":7";
        std::string large(2000, '.');
        EXPECT_EQ(map_array_get_key(&map, name.c_str(), 7, large.data(), 2000, 8), 0);
        EXPECT_STREQ(large.c_str(), key.c_str());
    }
}

TEST_F(MapArrayGetKey, GivesTheKeyThatAPopErasesInABufferOf128Bytes)
{
    for (const std::string &name : names()) {
        buffer = no_key_yet;
        EXPECT_EQ(map_array_get_key(&map, name.c_str(), 7, buffer.data(), 128, 8), 0);
        EXPECT_EQ(buffer, key_buffer(element_key(name, 7))) << name;
    }
}

TEST_F(MapArrayGetKey, ReadsTheCountOfACutName)
{
    const std::string name(130, 'n');
    set_count(name, 1);
    EXPECT_EQ(get_key(&map, name.c_str(), 1, -1), EINVAL);
    EXPECT_EQ(get_key(&map, name.c_str(), 0, -1), 0);
    EXPECT_EQ(buffer, key_buffer(name + ":0"));
}

TEST_F(MapArrayGetKey, TakesNoBufferIfItsSizeIsZero)
{
    EXPECT_EQ(map_array_get_key(&map, "dns", 0, nullptr, 0, 1), 0);
    EXPECT_EQ(map_array_get_key(&map, "dns", 1, nullptr, 0, 1), EINVAL);
}

TEST_F(MapArrayGetKey, RefusesNullForABufferWithASize)
{
    set_count("dns", 1);
    EXPECT_EQ(map_array_get_key(&map, "dns", 0, nullptr, 1, 1), EINVAL);
    EXPECT_EQ(map_array_get_key(&map, "dns", 0, nullptr, 128, -1), EINVAL);
}

TEST_F(MapArrayGetKey, RefusesNullForTheName)
{
    EXPECT_EQ(get_key(&map, nullptr, 0, 1), EINVAL);
    EXPECT_EQ(get_key(&map, nullptr, 0, -1), EINVAL);
    EXPECT_EQ(map_array_get_key(&map, nullptr, 0, nullptr, 0, 1), EINVAL);
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayGetKey, AllocatesNothing)
{
    set_count("dns", 1);
    const allocations::Log log;
    EXPECT_EQ(get_key(&map, "dns", 0, -1), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MapArrayGetKey, TakesANameThatLiesInTheMap)
{
    set_count("7", 7);
    EXPECT_EQ(get_key(&map, stored_text(map, "7:max"), 6, -1), 0);
    EXPECT_EQ(buffer, key_buffer("7:6"));
}

class MapArrayAppend : public MapArrayTest {
  protected:
    int append(const std::string &name)
    {
        return append(&map, name.c_str());
    }

    int append(map_t *to, const char *name)
    {
        return map_array_append(to, name, buffer.data(), static_cast<uint32_t>(buffer.size()));
    }

    // The keys of the map that another append of the name would make.
    Names keys_made_by_append(const std::string &name)
    {
        const Names before = sorted_keys();
        EXPECT_EQ(append(name), 0);
        const Names after = sorted_keys();
        Names made;
        std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                            std::back_inserter(made));
        return made;
    }
};

TEST_F(MapArrayAppend, GivesTheKeyBehindTheLastAndLeavesTheCountAlone)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    EXPECT_EQ(append("dns"), 0);
    EXPECT_EQ(buffer, key_buffer("dns:0"));
    expect_count(0, "dns");
}

TEST_F(MapArrayAppend, GivesTheSameKeyUntilTheCountIsRaised)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    for (int i = 0; i < 2; ++i) {
        buffer = no_key_yet;
        EXPECT_EQ(append("dns"), 0);
        EXPECT_EQ(buffer, key_buffer("dns:0"));
        expect_count(0, "dns");
    }
    set_count("dns", 1);
    buffer = no_key_yet;
    EXPECT_EQ(append("dns"), 0);
    EXPECT_EQ(buffer, key_buffer("dns:1"));
}

TEST_F(MapArrayAppend, BuildsAList)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    for (int i = 0; i < 20; ++i) {
        char key[16];
        ASSERT_EQ(map_array_append(&map, "dns", key, sizeof key), 0);
        ASSERT_EQ(map_insert_int(&map, key, i * i), 0);
        ASSERT_EQ(map_replace_int(&map, "dns:max", i + 1), 0);
    }
    for (int i = 0; i < 20; ++i) {
        char key[16];
        int element = -1;
        ASSERT_EQ(map_array_get_key(&map, "dns", i, key, sizeof key, -1), 0);
        EXPECT_EQ(map_get_int(&map, key, &element), 0);
        EXPECT_EQ(element, i * i);
    }
}

TEST_F(MapArrayAppend, NotesTheCountToComeUnderOneKeyMoreAndChangesNothingElse)
{
    make_array("dns", 2);
    const auto before = content_of(map);
    EXPECT_EQ(keys_made_by_append("dns"), Names{"dns:max+1"});
    EXPECT_EQ(value_of(map, "dns:max+1"), "3\0"s);
    EXPECT_EQ(keys_made_by_append("dns"), Names());
    ASSERT_EQ(map_erase(&map, "dns:max+1"), 0);
    EXPECT_EQ(content_of(map), before);
}

TEST_F(MapArrayAppend, NotesItUnderTheNameCutTo127Characters)
{
    for (const std::string &name : names()) {
        SCOPED_TRACE(name);
        ASSERT_EQ(map_array_init(&map, name.c_str()), 0);
        EXPECT_EQ(keys_made_by_append(name), Names{note_key(name)});
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapArrayAppend, NotesItUnderNoKeyThatAnArrayMayUse)
{
    for (std::size_t length = 0; length <= 200; ++length) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        ASSERT_EQ(map_array_init(&map, name.c_str()), 0);
        const Names made = keys_made_by_append(name);
        ASSERT_EQ(made.size(), 1U);
        const std::string &key = made.front();
        // A cut key has 127 characters, and they may be any. Others end with ":max" or an index.
        EXPECT_NE(key.size(), 127U);
        const std::string behind_colon = key.substr(key.rfind(':') + 1);
        EXPECT_NE(behind_colon, "max");
        EXPECT_NE(behind_colon.find_first_not_of("0123456789"), std::string::npos);
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapArrayAppend, TouchesNoArrayWhoseNameIsLikeTheKeyOfItsNote)
{
    for (std::size_t length = 110; length <= 200; ++length) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        for (const std::string &neighbour : {name + ":max+1", note_key(name)}) {
            // A long name's keys, cut, may be those of the neighbour.
            if (count_key(neighbour) != count_key(name)) {
                ASSERT_EQ(map_array_init(&map, name.c_str()), 0);
                set_count(neighbour, 5);
                EXPECT_EQ(append(name), 0);
                expect_count(5, neighbour);
                expect_count(0, name);
                ASSERT_EQ(map_clear(&map), 0);
            }
        }
    }
}

TEST_F(MapArrayAppend, PassesOnThatTheCountCannotBeRead)
{
    expect_unchanged(ENOENT, [this] { return append("dns"); });
    for (const std::string &text : no_counts) {
        ASSERT_EQ(replace(map, "dns:max", text), 0);
        expect_unchanged(ERANGE, [this] { return append("dns"); });
    }
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayAppend, RefusesNullForMapOrName)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(EINVAL, [this] { return append(nullptr, "dns"); });
    expect_unchanged(EINVAL, [this] { return append(&map, nullptr); });
    expect_unchanged(EINVAL, [this] { return append(nullptr, nullptr); });
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayAppend, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(append(&released, "dns"), EINVAL);
    EXPECT_EQ(buffer, no_key_yet);
}

TEST_F(MapArrayAppend, RefusesNullForABufferWithASize)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(EINVAL, [this] { return map_array_append(&map, "dns", nullptr, 1); });
    expect_unchanged(EINVAL, [this] { return map_array_append(&map, "dns", nullptr, 128); });
}

TEST_F(MapArrayAppend, TakesNoBufferIfItsSizeIsZero)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    EXPECT_EQ(map_array_append(&map, "dns", nullptr, 0), 0);
    expect_count(0, "dns");
}

TEST_F(MapArrayAppend, CutsTheKeyToTheBufferAndWritesNoFurtherForEverySize)
{
    set_count("dns", 12);
    for (uint32_t size = 0; size <= 20; ++size) {
        buffer = no_key_yet;
        EXPECT_EQ(map_array_append(&map, "dns", buffer.data(), size), 0);
        EXPECT_EQ(buffer, key_buffer("dns:12", size)) << size;
    }
}

TEST_F(MapArrayAppend, CutsNoNameShortOfTheBuffer)
{
    for (const std::string &name : names()) {
        SCOPED_TRACE(name);
        const std::string key = name + ":0";
        std::string large(2000, '.');
        ASSERT_EQ(map_array_init(&map, name.c_str()), 0);
        EXPECT_EQ(map_array_append(&map, name.c_str(), large.data(), 2000), 0);
        EXPECT_STREQ(large.c_str(), key.c_str());
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapArrayAppend, RefusesANegativeCountAndLeavesItAlone)
{
    for (const int stored : {-1, -2, INT_MIN}) {
        set_count("dns", stored);
        buffer = no_key_yet;
        EXPECT_EQ(append("dns"), EINVAL);
        expect_count(stored, "dns");
        EXPECT_EQ(buffer, key_buffer("dns"));
    }
}

TEST_F(MapArrayAppend, ReportsAFailedNoteBeforeANegativeCount)
{
    set_count("dns", -1);
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    expect_unchanged(1, [this] { return append("dns"); });
}

TEST_F(MapArrayAppend, RefusesACountThatCannotBeRaised)
{
    set_count("dns", INT_MAX);
    EXPECT_EQ(append("dns"), EINVAL);
    expect_count(INT_MAX, "dns");
    set_count("dns", INT_MAX - 1);
    buffer = no_key_yet;
    EXPECT_EQ(append("dns"), 0);
    EXPECT_EQ(buffer, key_buffer("dns:2147483646"));
}

TEST_F(MapArrayAppend, IsRefusedAtTheKeyLimit)
{
    ASSERT_EQ(map_setmaxkeys(&map, 2), 0);
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    expect_unchanged(1, [this] { return append("dns"); });
}

TEST_F(MapArrayAppend, ReportsThatThereIsNoMemory)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    const auto append_without_memory = [this] {
        const allocations::Failure failure(0);
        const int result = append("dns");
        EXPECT_TRUE(failure.happened());
        return result;
    };
    expect_unchanged(ENOMEM, append_without_memory);
    ASSERT_EQ(append("dns"), 0);
    expect_unchanged(ENOMEM, append_without_memory);
}

TEST_F(MapArrayAppend, AllocatesNothingButTheEntry)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    const allocations::Log log;
    EXPECT_EQ(append("dns"), 0);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(map_entry_t) + sizeof "1" + sizeof "dns:max+1"});
}

TEST_F(MapArrayAppend, LeavesThreeCharactersOfTheCountsKeyIfStoringFails)
{
    for (const std::string &name : names()) {
        SCOPED_TRACE(name);
        ASSERT_EQ(map_array_init(&map, name.c_str()), 0);
        const std::string beginning = (name + ":max").substr(0, 3);
        for (uint32_t size = 0; size <= buffer.size(); ++size) {
            buffer = no_key_yet;
            const allocations::Failure failure(0);
            ASSERT_EQ(map_array_append(&map, name.c_str(), buffer.data(), size), ENOMEM);
            ASSERT_EQ(buffer.substr(0, 4), key_buffer(beginning, size).substr(0, 4)) << size;
            ASSERT_EQ(buffer.substr(size), no_key_yet.substr(size)) << size;
        }
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapArrayAppend, WritesNothingBehindThemIfStoringFails)
{
    ASSERT_EQ(map_array_init(&map, "dns"), 0);
    for (uint32_t size = 0; size <= 20; ++size) {
        buffer = no_key_yet;
        const allocations::Failure failure(0);
        EXPECT_EQ(map_array_append(&map, "dns", buffer.data(), size), ENOMEM);
        ASSERT_EQ(buffer, key_buffer("dns", size)) << size;
    }
}

TEST_F(MapArrayAppend, TakesANameThatLiesInTheValueThatItReplaces)
{
    make_array("dns", 2);
    ASSERT_EQ(map_insert_str(&map, "dns:max+1", "dns"), 0);
    EXPECT_EQ(append(&map, stored_text(map, "dns:max+1")), 0);
    EXPECT_EQ(buffer, key_buffer("dns:2"));
    EXPECT_EQ(value_of(map, "dns:max+1"), "3\0"s);
}

TEST_F(MapArrayAppend, TakesANameOf126CharactersThatLiesInTheValueThatItReplaces)
{
    const std::string name(126, 'n');
    const std::string note = note_key(name);
    set_count(name, 2);
    ASSERT_EQ(map_insert_str(&map, note.c_str(), name.c_str()), 0);
    EXPECT_EQ(append(&map, stored_text(map, note.c_str())), 0);
    EXPECT_EQ(buffer, key_buffer(name + ":2"));
}

TEST_F(MapArrayAppend, TakesANameThatLiesInTheKeyThatItReplaces)
{
    make_array("1", 2);
    ASSERT_EQ(append("1"), 0);
    buffer = no_key_yet;
    EXPECT_EQ(append(&map, stored_key(map, "1:max+1") + std::strlen("1:max+")), 0);
    EXPECT_EQ(buffer, key_buffer("1:2"));
    EXPECT_EQ(value_of(map, "1:max+1"), "3\0"s);
}

class MapArrayPop : public MapArrayTest {};

TEST_F(MapArrayPop, ErasesTheLastElementAndLowersTheCount)
{
    make_array("dns", 2);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    EXPECT_EQ(sorted_keys(), (Names{"dns:0", "dns:max"}));
    EXPECT_EQ(value_of(map, "dns:0"), "value 0\0"s);
    expect_count(1, "dns");
}

TEST_F(MapArrayPop, EmptiesAnArrayOneByOne)
{
    make_array("dns", 15);
    for (int count = 14; count >= 0; --count) {
        EXPECT_EQ(map_array_pop(&map, "dns"), 0);
        EXPECT_EQ(map.numkeys, count + 1);
        expect_count(count, "dns");
    }
    expect_unchanged(EINVAL, [this] { return map_array_pop(&map, "dns"); });
}

TEST_F(MapArrayPop, RefusesAnEmptyArrayOrANegativeCount)
{
    for (const int stored : {0, -1, INT_MIN}) {
        set_count("dns", stored);
        expect_unchanged(EINVAL, [this] { return map_array_pop(&map, "dns"); });
    }
}

TEST_F(MapArrayPop, LowersTheCountThoughTheElementIsMissing)
{
    make_array("dns", 2);
    ASSERT_EQ(map_erase(&map, "dns:1"), 0);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    expect_count(1, "dns");
    EXPECT_EQ(sorted_keys(), (Names{"dns:0", "dns:max"}));
}

TEST_F(MapArrayPop, LowersTheGreatestCount)
{
    set_count("dns", INT_MAX);
    ASSERT_EQ(map_insert_str(&map, "dns:2147483646", "last"), 0);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    expect_count(INT_MAX - 1, "dns");
    EXPECT_EQ(sorted_keys(), Names{"dns:max"});
}

TEST_F(MapArrayPop, TouchesNoOtherArray)
{
    make_array("dns", 2);
    make_array("dns2", 2);
    make_array("", 2);
    make_array("dns:1", 2);
    ASSERT_EQ(map_insert_str(&map, "dns:10", "other"), 0);
    const auto before = content_of(map);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    ASSERT_EQ(map_insert_str(&map, "dns:1", "value 1"), 0);
    set_count("dns", 2);
    auto after = content_of(map);
    EXPECT_TRUE(std::is_permutation(before.begin(), before.end(), after.begin(), after.end()));
}

TEST_F(MapArrayPop, PassesOnThatTheCountCannotBeRead)
{
    expect_unchanged(ENOENT, [this] { return map_array_pop(&map, "dns"); });
    for (const std::string &text : no_counts) {
        ASSERT_EQ(replace(map, "dns:max", text), 0);
        expect_unchanged(ERANGE, [this] { return map_array_pop(&map, "dns"); });
    }
}

TEST_F(MapArrayPop, RefusesNullForMapOrName)
{
    make_array("dns", 2);
    expect_unchanged(EINVAL, [] { return map_array_pop(nullptr, "dns"); });
    expect_unchanged(EINVAL, [this] { return map_array_pop(&map, nullptr); });
    expect_unchanged(EINVAL, [] { return map_array_pop(nullptr, nullptr); });
}

TEST_F(MapArrayPop, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(map_array_pop(&released, "dns"), EINVAL);
}

TEST_F(MapArrayPop, HasErasedTheElementIfTheCountCannotBeStored)
{
    make_array("dns", 2);
    const allocations::Failure failure(0);
    EXPECT_EQ(map_array_pop(&map, "dns"), ENOMEM);
    EXPECT_EQ(sorted_keys(), (Names{"dns:0", "dns:max"}));
    expect_count(2, "dns");
}

TEST_F(MapArrayPop, AllocatesNothingButTheCountsEntry)
{
    make_array("dns", 2);
    const allocations::Log log;
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    EXPECT_EQ(log.sizes(), std::vector{sizeof(map_entry_t) + sizeof "1" + sizeof "dns:max"});
}

TEST_F(MapArrayPop, WorksInAFullMap)
{
    ASSERT_EQ(map_setmaxkeys(&map, 4), 0);
    make_array("dns", 2);
    ASSERT_EQ(map.numkeys, 3);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    expect_count(1, "dns");
}

TEST_F(MapArrayPop, ForgetsTheElementThatALongNameShares)
{
    for (const std::size_t length : {120U, 121U, 122U, 123U, 124U, 125U}) {
        const std::string name(length, 'n');
        SCOPED_TRACE(length);
        set_count(name, 101);
        ASSERT_EQ(map_insert_str(&map, element_key(name, 100).c_str(), "last"), 0);
        ASSERT_EQ(map_replace_str(&map, element_key(name, 2).c_str(), "third"), 0);
        EXPECT_EQ(map_array_pop(&map, name.c_str()), 0);
        EXPECT_EQ(map_haskey(&map, element_key(name, 100).c_str()), 0);
        EXPECT_EQ(map_haskey(&map, element_key(name, 2).c_str()), 1);
        expect_count(100, name);
        ASSERT_EQ(map_clear(&map), 0);
    }
}

// The element's key is the count's own.
TEST_F(MapArrayPop, StoresTheCountAnewUnderANameOf126CharactersOrMore)
{
    for (const std::size_t length : {126U, 127U, 130U, 200U}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        set_count(name, 2);
        EXPECT_EQ(map_array_pop(&map, name.c_str()), 0);
        EXPECT_EQ(content_of(map), (std::vector{std::pair(count_key(name), "1\0"s)}));
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(MapArrayPop, LosesSuchACountIfTheKeyLimitIsReached)
{
    const std::string name(130, 'n');
    set_count(name, 2);
    ASSERT_EQ(map_setmaxkeys(&map, 1), 0);
    EXPECT_EQ(map_array_pop(&map, name.c_str()), 1);
    EXPECT_EQ(map.numkeys, 0);
}

TEST_F(MapArrayPop, TakesANameThatLiesInTheElementThatItErases)
{
    make_array("dns", 2);
    ASSERT_EQ(map_replace_str(&map, "dns:1", "dns"), 0);
    EXPECT_EQ(map_array_pop(&map, stored_text(map, "dns:1")), 0);
    EXPECT_EQ(sorted_keys(), (Names{"dns:0", "dns:max"}));
    expect_count(1, "dns");

    make_array("0", 1);
    EXPECT_EQ(map_array_pop(&map, stored_key(map, "0:0") + 2), 0);
    EXPECT_EQ(map_haskey(&map, "0:0"), 0);
    expect_count(0, "0");
}

TEST_F(MapArrayPop, TakesANameThatLiesInTheCountThatItReplaces)
{
    make_array("1", 1);
    EXPECT_EQ(map_array_pop(&map, stored_text(map, "1:max")), 0);
    EXPECT_EQ(sorted_keys(), Names{"1:max"});
    expect_count(0, "1");

    make_array("x", 1);
    EXPECT_EQ(map_array_pop(&map, stored_key(map, "x:max") + 4), 0);
    EXPECT_EQ(sorted_keys(), (Names{"1:max", "x:max"}));
    expect_count(0, "x");
}

class MapArrayClear : public MapArrayTest {};

TEST_F(MapArrayClear, ErasesEveryElementAndKeepsTheCount)
{
    make_array("dns", 3);
    EXPECT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("dns:max"s, "3\0"s)}));
}

TEST_F(MapArrayClear, LeavesNothingToEraseToAPop)
{
    make_array("dns", 3);
    ASSERT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(map_array_pop(&map, "dns"), 0);
    EXPECT_EQ(content_of(map), (std::vector{std::pair("dns:max"s, "2\0"s)}));
}

TEST_F(MapArrayClear, ErasesManyElements)
{
    make_array("dns", 1001);
    EXPECT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(sorted_keys(), Names{"dns:max"});
}

TEST_F(MapArrayClear, PassesOverMissingElements)
{
    make_array("dns", 5);
    ASSERT_EQ(map_erase(&map, "dns:0"), 0);
    ASSERT_EQ(map_erase(&map, "dns:3"), 0);
    EXPECT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(sorted_keys(), Names{"dns:max"});
}

TEST_F(MapArrayClear, TouchesNothingElse)
{
    make_array("dns", 3);
    for (const char *key :
         {"dns", "dns:3", "dns:00", "dns:-1", "dns:max+1", "dns2:0", ":0", "DNS:0"}) {
        ASSERT_EQ(map_insert_str(&map, key, "other"), 0);
    }
    EXPECT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(sorted_keys(), (Names{":0", "DNS:0", "dns", "dns2:0", "dns:-1", "dns:00", "dns:3",
                                    "dns:max", "dns:max+1"}));
}

TEST_F(MapArrayClear, DoesNothingToAnEmptyArrayOrANegativeCount)
{
    ASSERT_EQ(map_insert_str(&map, "dns:0", "value"), 0);
    for (const int stored : {0, -1, INT_MIN}) {
        set_count("dns", stored);
        expect_unchanged(0, [this] { return map_array_clear(&map, "dns"); });
    }
}

TEST_F(MapArrayClear, PassesOnThatTheCountCannotBeRead)
{
    ASSERT_EQ(map_insert_str(&map, "dns:0", "value"), 0);
    expect_unchanged(ENOENT, [this] { return map_array_clear(&map, "dns"); });
    for (const std::string &text : no_counts) {
        ASSERT_EQ(replace(map, "dns:max", text), 0);
        expect_unchanged(ERANGE, [this] { return map_array_clear(&map, "dns"); });
    }
}

TEST_F(MapArrayClear, RefusesNullForMapOrName)
{
    make_array("dns", 3);
    expect_unchanged(EINVAL, [] { return map_array_clear(nullptr, "dns"); });
    expect_unchanged(EINVAL, [this] { return map_array_clear(&map, nullptr); });
    expect_unchanged(EINVAL, [] { return map_array_clear(nullptr, nullptr); });
}

TEST_F(MapArrayClear, RefusesAReleasedMap)
{
    map_t released = released_map();
    EXPECT_EQ(map_array_clear(&released, "dns"), EINVAL);
}

TEST_F(MapArrayClear, AllocatesNothing)
{
    make_array("dns", 3);
    const allocations::Log log;
    EXPECT_EQ(map_array_clear(&map, "dns"), 0);
    EXPECT_EQ(log.sizes(), std::vector<std::size_t>());
}

TEST_F(MapArrayClear, FindsTheElementsOfALongName)
{
    for (const std::size_t length : {120U, 121U, 122U, 123U, 124U, 125U}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        make_array(name, 101);
        EXPECT_EQ(map_array_clear(&map, name.c_str()), 0);
        EXPECT_EQ(content_of(map), (std::vector{std::pair(count_key(name), "101\0"s)}));
        ASSERT_EQ(map_clear(&map), 0);
    }
}

// The elements' key is the count's own.
TEST_F(MapArrayClear, ErasesTheCountUnderANameOf126CharactersOrMore)
{
    for (const std::size_t length : {126U, 127U, 130U, 200U}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        set_count(name, 2);
        EXPECT_EQ(map_array_clear(&map, name.c_str()), 0);
        EXPECT_EQ(map.numkeys, 0);
    }
}

TEST_F(MapArrayClear, TakesANameThatLiesInAnElement)
{
    make_array("dns", 3);
    ASSERT_EQ(map_replace_str(&map, "dns:0", "dns"), 0);
    EXPECT_EQ(map_array_clear(&map, stored_text(map, "dns:0")), 0);
    EXPECT_EQ(sorted_keys(), Names{"dns:max"});

    make_array("0", 3);
    EXPECT_EQ(map_array_clear(&map, stored_key(map, "0:0") + 2), 0);
    EXPECT_EQ(sorted_keys(), (Names{"0:max", "dns:max"}));
}
