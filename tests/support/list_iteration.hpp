// What the tests of iteration share, for both families that keep lists of values.
#pragma once

#include "list_test.hpp"
#include "recorded_hashing.hpp"

template <class Family>
class ListIterationTest : public ListTest<Family> {
  protected:
    using Container = typename Family::Container;
    using KeyIterator = typename Family::KeyIterator;
    using ValueIterator = typename Family::ValueIterator;

    // Keys that neither insertion nor hashing puts in sorted order, each with two values.
    void insert_scrambled(int count)
    {
        for (int i = 0; i < count; ++i) {
            fill(this->map, {{std::to_string(i * 7919 % 100003), {"v", "w"}}});
        }
    }

    // The keys in iteration order, as the nodes stand.
    Keys keys() const
    {
        Keys keys;
        for (const auto &[key, values] : this->content()) {
            keys.push_back(key);
        }
        return keys;
    }

    Keys visited_keys() const
    {
        Keys keys;
        KeyIterator it{};
        for (const char *key = Family::key_first(&this->map, &it); key != nullptr;
             key = Family::key_next(&it)) {
            keys.push_back(key);
        }
        return keys;
    }

    Values visited_values(const char *key) const
    {
        Values values;
        ValueIterator it{};
        for (const void *data = Family::value_first(&this->map, key, &it); data != nullptr;
             data = Family::value_next(&it)) {
            values.emplace_back(static_cast<const char *>(data), Family::value_size(&it));
        }
        return values;
    }

    // An iterator on the value at a position of the key's list.
    ValueIterator iterator_at(const char *key, uint32_t position) const
    {
        ValueIterator it{};
        EXPECT_NE(Family::value_first(&this->map, key, &it), nullptr);
        for (; position != 0; --position) {
            EXPECT_NE(Family::value_next(&it), nullptr);
        }
        return it;
    }

    // An iterator that was moved on beyond the key's last value.
    ValueIterator iterator_past(const char *key) const
    {
        ValueIterator it = iterator_at(key, 0);
        while (Family::value_next(&it) != nullptr) {
        }
        Family::value_next(&it);
        EXPECT_EQ(it.node->next, nullptr);
        return it;
    }

    static void expect_same(const KeyIterator &a, const KeyIterator &b)
    {
        EXPECT_EQ(a.map, b.map);
        EXPECT_EQ(a.bucket, b.bucket);
        EXPECT_EQ(a.node, b.node);
    }

    static void expect_same(const ValueIterator &a, const ValueIterator &b)
    {
        EXPECT_EQ(a.map, b.map);
        EXPECT_EQ(static_cast<const void *>(a.key), static_cast<const void *>(b.key));
        EXPECT_EQ(a.node, b.node);
        expect_same_position(a, b);
    }

    static void expect_on_no_value(ValueIterator it)
    {
        const ValueIterator before = it;
        EXPECT_EQ(Family::value_next(&it), nullptr);
        EXPECT_EQ(Family::value_elem(&it), nullptr);
        EXPECT_EQ(Family::value_size(&it), 0U);
        EXPECT_EQ(Family::value_count(&it), 0U);
        expect_same(it, before);
    }

  private:
    // The multimap's iterators hold no position.
    static void expect_same_position(const multimap_value_iter_t &, const multimap_value_iter_t &)
    {
    }
    static void expect_same_position(const arraymap_value_iter_t &a, const arraymap_value_iter_t &b)
    {
        EXPECT_EQ(a.position, b.position);
    }
};
