// The keys and values that every benchmark uses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// One entry to store. The value is text; `length` leaves its NUL out.
struct item {
    const char *key;
    const char *value;
    std::uint32_t length;
};

// The first `count` of one endless list of items with distinct keys of 4 to 64 characters: English
// words, the IEEE's address blocks and their holders, service names and the setting names of a
// device, in turn. When the others are used up, setting names go on alone.
std::span<const item> items(std::size_t count);

// The same order in every run, for each seed.
template <class T>
void shuffle(std::vector<T> &list, std::uint32_t seed = 20260101)
{
    std::mt19937 random(seed);
    for (std::size_t left = list.size(); left > 1; --left) {
        std::swap(list[left - 1], list[random() % left]);
    }
}

// Keys to look up, as a program would have just made them: copies, side by side in memory.
class key_list {
  public:
    explicit key_list(const std::vector<const char *> &keys);

    // In shuffled order, no more than `most` of them.
    explicit key_list(std::span<const item> of, std::size_t most = SIZE_MAX);

    std::size_t size() const
    {
        return keys_.size();
    }
    auto begin() const
    {
        return keys_.begin();
    }
    auto end() const
    {
        return keys_.end();
    }

  private:
    std::string text_;
    std::vector<const char *> keys_;
};

// The keys of the first `count` items.
key_list present_keys(std::size_t count);

// As many keys that are not among them, from further on in the list.
key_list absent_keys(std::size_t count);

// All keys in one order after another, so many or more altogether. The same few in the same order again
// and again, the processor would soon know by heart, and no branch would cost what it costs a program.
constexpr std::size_t keys_of_many_orders = 20'000;
key_list in_many_orders(const key_list &keys);

// The same for passes of which each goes through all keys once.
class key_orders {
  public:
    explicit key_orders(const key_list &keys)
        : keys_(in_many_orders(keys)), count_(static_cast<std::ptrdiff_t>(keys.size()))
    {
    }
    std::span<const char *const> next()
    {
        if (at_ == keys_.end()) {
            at_ = keys_.begin();
        }
        const auto first = at_;
        at_ += count_;
        return {first, at_};
    }

  private:
    key_list keys_;
    std::ptrdiff_t count_;
    std::vector<const char *>::const_iterator at_ = keys_.begin();
};

} // namespace bench
