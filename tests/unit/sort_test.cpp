#include "map_fixture.hpp"

#include "map_internal.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>
#include <sys/mman.h>

namespace {

using Keys = std::vector<std::string>;

class Sort : public MapTest {
  protected:
    // The keys are given to the sort in this order.
    void expect_sorted(const Keys &keys)
    {
        const walker::Pause pause; // Thousands of keys in one chain.
        ASSERT_EQ(map_sethashfunc(&map, hash_all_to_zero), 0);
        for (const std::string &key : keys) {
            ASSERT_EQ(insert(map, key.c_str(), "v"), 0);
        }
        expect_sorted_as_they_stand();
        ASSERT_EQ(map_clear(&map), 0);
    }

    void expect_sorted_as_they_stand()
    {
        std::vector<std::pair<std::string, int32_t>> expected;
        map_iter_t iterator{};
        int32_t index = 0;
        for (const char *key = map_first(&map, &iterator); key != nullptr;
             key = map_next(&iterator)) {
            expected.emplace_back(key, index++);
        }
        std::sort(expected.begin(), expected.end());
        map_sort_item_t *items = nullptr;
        int32_t count = 0;
        ASSERT_EQ(_map_sort(&map, &items, &count), 0);
        ASSERT_EQ(static_cast<std::size_t>(count), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(items[i].key, expected[i].first) << i;
            ASSERT_EQ(items[i].index, expected[i].second) << i;
        }
        std::free(items);
    }
};

uint32_t hash_of_case(const void *, const char *key)
{
    uint32_t hash = 0;
    for (; *key != '\0'; ++key) {
        hash = hash << 1 | (*key >= 'a' ? 1 : 0);
    }
    return hash;
}

// What a map's keys are sorted into, by a signal's handler: it can have a stack of any size.
struct Sorting {
    const map_t *map;
    map_sort_item_t *items;
    int32_t count;
    int result;
} sorting;

void sort_in_handler(int)
{
    sorting.result = _map_sort(sorting.map, &sorting.items, &sorting.count);
}

constexpr std::size_t small_stack = 64 * 1024;

// Whoever needs more of it reaches memory that cannot be written.
Keys sorted_on_a_small_stack(const map_t &map)
{
    constexpr std::size_t largest_page = 64 * 1024;
    void *memory = mmap(nullptr, largest_page + small_stack, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    EXPECT_EQ(mprotect(memory, largest_page, PROT_NONE), 0);
    stack_t stack{};
    stack.ss_sp = static_cast<char *>(memory) + largest_page;
    stack.ss_size = small_stack;
    stack_t stack_before;
    EXPECT_EQ(sigaltstack(&stack, &stack_before), 0);
    struct sigaction action {};
    action.sa_handler = sort_in_handler;
    action.sa_flags = SA_ONSTACK;
    struct sigaction action_before;
    EXPECT_EQ(sigaction(SIGUSR1, &action, &action_before), 0);

    sorting = {&map, nullptr, 0, -1};
    EXPECT_EQ(raise(SIGUSR1), 0);
    EXPECT_EQ(sorting.result, 0);

    sigaction(SIGUSR1, &action_before, nullptr);
    sigaltstack(&stack_before, nullptr);
    munmap(memory, largest_page + small_stack);
    Keys keys;
    for (int32_t i = 0; i < sorting.count; ++i) {
        keys.emplace_back(sorting.items[i].key);
    }
    std::free(sorting.items);
    return keys;
}

// Distinct, of the lengths and characters given.
Keys random_keys(std::size_t count, std::size_t longest, const std::string &of,
                 std::mt19937 &random)
{
    Keys keys;
    while (keys.size() < count) {
        std::string key(random() % (longest + 1), '\0');
        for (char &character : key) {
            character = of[random() % of.size()];
        }
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            keys.push_back(key);
        }
    }
    return keys;
}

} // namespace

TEST_F(Sort, GoesByTheBytesOfTheKeysAlone)
{
    Keys keys = {"", "B", "a", "aB", "aa", "a\x7f", "a\x80", "b", "\x80", "\xff"};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        expect_sorted(keys);
        std::rotate(keys.begin(), keys.begin() + 1, keys.end());
    }
    std::reverse(keys.begin(), keys.end());
    expect_sorted(keys);
}

TEST_F(Sort, OrdersAnyNumberOfKeysOfAnyBytes)
{
    std::string any;
    for (int byte = 1; byte <= 255; ++byte) {
        any += static_cast<char>(byte);
    }
    std::mt19937 random(1);
    for (std::size_t count = 0; count <= 80; ++count) {
        SCOPED_TRACE(count);
        expect_sorted(random_keys(count, 20, any, random));
        expect_sorted(random_keys(count, 60, "ab", random));
        expect_sorted(random_keys(count, 9, "\x01\xff", random));
    }
    expect_sorted(random_keys(1000, 40, "Ab\x80", random));
}

TEST_F(Sort, OrdersKeysHoweverLongTheyBeginAlike)
{
    for (std::size_t length = 0; length <= 34; ++length) {
        SCOPED_TRACE(length);
        const std::string alike(length, '\xff');
        Keys keys;
        for (const char *end : {"", "A", "a", "b", "\x80", "\xff"}) {
            for (const char *last : {"", "x", "\xff"}) {
                keys.push_back(alike + end + last);
            }
        }
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
        expect_sorted(keys);
    }
}

TEST_F(Sort, OrdersLongKeysThatDifferAtTheirEndsAlone)
{
    Keys keys;
    for (char end = 'A'; end <= 'Z'; ++end) {
        keys.push_back(std::string(5000, 'k') + end);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    expect_sorted(keys);
}

// Each of them divides most unevenly for some choice of what to divide by.
TEST_F(Sort, OrdersKeysWhateverTheirOrderBefore)
{
    Keys ascending;
    for (char first = 'a'; first <= 'z'; ++first) {
        for (char second = 'a'; second <= 'z'; ++second) {
            ascending.push_back({first, second});
        }
    }
    expect_sorted(ascending);
    expect_sorted({ascending.rbegin(), ascending.rend()});
    Keys outwards;
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        outwards.insert(i % 2 == 0 ? outwards.end() : outwards.begin(), ascending[i]);
    }
    expect_sorted(outwards);
    expect_sorted({outwards.rbegin(), outwards.rend()});
    std::rotate(ascending.begin(), ascending.begin() + 1, ascending.end());
    std::iter_swap(ascending.begin(), ascending.begin() + ascending.size() / 2);
    expect_sorted(ascending);
}

// Either part may be the smaller one, and the one that goes on alike may be either.
TEST_F(Sort, OrdersPartsThatBeginAlikeEachFromWhereItsKeysDiffer)
{
    std::mt19937 random(1);
    for (const char common : {'a', 'b', '\x80', '\xff'}) {
        for (const auto &[of_least, of_most] : {std::pair{12, 12}, {12, 40}, {40, 12}, {40, 40}}) {
            for (std::size_t alike = 6; alike <= 18; ++alike) {
                SCOPED_TRACE(alike);
                const std::string begin(alike, common);
                Keys keys;
                for (int i = 0; i < of_least; ++i) {
                    keys.push_back(begin + static_cast<char>('!' + i) + "and its end");
                }
                for (int i = 0; i < of_most; ++i) {
                    keys.push_back('\xff' + begin + static_cast<char>('!' + i) + "and its end");
                }
                std::shuffle(keys.begin(), keys.end(), random);
                expect_sorted(keys);
            }
        }
    }
}

// Each key has a part of its own, before those that go on alike or behind them: a call nested for each
// would fill the stack.
TEST_F(Sort, NeedsLittleStackHoweverTheKeysDivide)
{
    const walker::Pause pause; // Megabytes of keys.
    ASSERT_EQ(map_sethashsize(&map, 4096), 0);
    for (const char *end : {"", "~"}) {
        Keys keys;
        for (std::size_t length = 1; length <= 900; ++length) {
            keys.push_back(std::string(length * sizeof(void *), 'k') + end);
            ASSERT_EQ(insert(map, keys.back().c_str(), "v"), 0);
        }
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(sorted_on_a_small_stack(map), keys);
        ASSERT_EQ(map_clear(&map), 0);
    }
}

TEST_F(Sort, KeepsGroupsApartWhoseBeginningsAreNeighbours)
{
    std::mt19937 random(1);
    for (std::size_t alike = 0; alike <= 8; ++alike) {
        SCOPED_TRACE(alike);
        Keys keys;
        for (const char last : {'a', 'b'}) {
            for (char end = 'A'; end <= 'T'; ++end) {
                keys.push_back(std::string(alike, 'k') + last + end);
            }
        }
        for (int order = 0; order < 8; ++order) {
            std::shuffle(keys.begin(), keys.end(), random);
            expect_sorted(keys);
        }
    }
}

// A hash function that does not fold case keeps spellings of a key apart; fewer buckets bring them
// together again, and replacing gives each of them the new spelling in turn.
TEST_F(Sort, ListsASpellingAsOftenAsItStandsAndInOrderOfItsPositions)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_of_case), 0);
    const std::string spellings[] = {"abcd", "abcD", "abCd", "abCD", "aBcd", "aBcD",
                                     "aBCd", "aBCD", "Abcd", "AbcD", "AbCd", "AbCD"};
    for (const std::string &spelling : spellings) {
        ASSERT_EQ(insert(map, spelling.c_str(), "v"), 0);
    }
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (std::size_t i = 0; i < std::size(spellings); ++i) {
        ASSERT_EQ(map_replace(&map, "abcd", "v", 1), 0);
    }
    expect_sorted_as_they_stand();
    // Each goes to the end of the chain in turn, with others before it and behind it.
    for (const char *other : {"z", "A", "y", "B", "x", "C", "w", "D"}) {
        ASSERT_EQ(insert(map, other, "v"), 0);
        ASSERT_EQ(map_replace(&map, "abcd", "v", 1), 0);
        expect_sorted_as_they_stand();
    }
}

// Nothing is read behind their ends, where the others go on.
TEST_F(Sort, ListsASpellingAsOftenAsItStandsBeforeThoseThatBeginWithIt)
{
    ASSERT_EQ(map_setcasekeys(&map, 1), 0);
    ASSERT_EQ(map_sethashfunc(&map, hash_of_case), 0);
    const std::string spellings[] = {"abcdefgh", "abcdefgH", "abcdefGh",
                                     "abcdefGH", "abcdeFgh", "abcdeFgH"};
    for (const std::string &spelling : spellings) {
        ASSERT_EQ(insert(map, spelling.c_str(), "v"), 0);
    }
    ASSERT_EQ(map_sethashsize(&map, 1), 0);
    for (std::size_t i = 0; i < std::size(spellings); ++i) {
        ASSERT_EQ(map_replace(&map, "abcdefgh", "", 0), 0);
    }
    for (char end = '1'; end <= '6'; ++end) {
        ASSERT_EQ(insert(map, ("abcdefgh"s + end).c_str(), "v"), 0);
    }
    expect_sorted_as_they_stand();
}
