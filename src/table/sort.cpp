#include "sort.hpp"

#include "allocate.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace textmaps {

namespace {

static_assert(sizeof(sortable) == sizeof(sort_item));

// The word that the bytes of a text begin with: the first is the highest, and zeros stand for what is
// behind the end.
std::uintptr_t word_of(const char *text)
{
    std::uintptr_t word = 0;
    for (std::size_t i = 0; i != sizeof word; ++i) {
        word = word << 8 | static_cast<unsigned char>(*text);
        text += *text != '\0';
    }
    return word;
}

// Of items whose keys are alike up to `from`, and whose words begin there: byte order.
int _sort_compare(table in, const sortable &a, const sortable &b, std::size_t from)
{
    if (a.word != b.word) {
        return a.word < b.word ? -1 : 1;
    }
    return std::strcmp(in.key(*a.node) + from, in.key(*b.node) + from);
}

// Number by number, since what has just been written so cannot be read as a whole without a delay.
void swap(sortable &a, sortable &b)
{
    std::swap(a.node, b.node);
    std::swap(a.word, b.word);
}

void insertion_sort(table in, sortable *items, std::size_t count, std::size_t from)
{
    for (std::size_t next = 1; next < count; ++next) {
        for (sortable *item = items + next; item != items; --item) {
            if (_sort_compare(in, item[-1], item[0], from) <= 0) {
                break;
            }
            swap(item[-1], item[0]);
        }
    }
}

std::uintptr_t median(std::uintptr_t a, std::uintptr_t b, std::uintptr_t c)
{
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

std::uintptr_t middle_of_range(const sortable *items, std::size_t count)
{
    std::uintptr_t least = items->word;
    std::uintptr_t most = least;
    for (std::size_t i = 1; i < count; ++i) {
        least = std::min(least, items[i].word);
        most = std::max(most, items[i].word);
    }
    const std::uintptr_t range = most - least;
    return least + (range - range / 2);
}

// Puts the items whose words are among the `range` from `least` on first, and returns their number. No
// branch, since no processor could foresee its outcomes.
std::size_t part(sortable *items, std::size_t count, std::uintptr_t least, std::uintptr_t range)
{
    std::size_t first = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool goes = items[i].word - least < range;
        swap(items[i], items[first]);
        first += goes;
    }
    return first;
}

// Of Bentley and Sedgewick (1997), a word at a time: the keys are alike up to `from`. After an uneven
// division the range of the words is halved, so that no keys take more than some steps for each of their
// bits. Calls are nested no deeper than the number of items has bits.
void multikey_quicksort(table in, sortable *items, std::size_t count, std::size_t from)
{
    // So few are sorted sooner by insertion.
    constexpr std::size_t few = 8;
    bool uneven = false;
    while (count > few) {
        const std::uintptr_t pivot =
            uneven ? middle_of_range(items, count)
                   : median(items[0].word, items[count / 2].word, items[count - 1].word);
        std::size_t first = part(items, count, 0, pivot);
        std::size_t from_of_first = from;
        if (first == 0) {
            // The pivot is the least, and those that have it go on alike: what follows decides.
            first = part(items, count, pivot, 1);
            if ((pivot & 0xFF) == 0) {
                // They end here: one spelling, however often it stands.
                items += first;
                count -= first;
                continue;
            }
            from_of_first += sizeof pivot;
            for (std::size_t i = 0; i < first; ++i) {
                items[i].word = word_of(in.key(*items[i].node) + from_of_first);
            }
        }
        const std::size_t rest = count - first;
        uneven = std::min(first, rest) < count / 8;
        if (first < rest) {
            multikey_quicksort(in, items, first, from_of_first);
            items += first;
            count = rest;
        } else {
            multikey_quicksort(in, items + first, rest, from);
            count = first;
            from = from_of_first;
        }
    }
    insertion_sort(in, items, count, from);
}

} // namespace

sortable *sorted(table in)
{
    const auto keys = static_cast<std::size_t>(in.numkeys());
    auto *items = static_cast<sortable *>(allocate_array(keys, sizeof(sortable)));
    if (items != nullptr) {
        std::size_t count = 0;
        for (const links &node : nodes(in)) {
            items[count] = {&node, word_of(in.key(node))};
            ++count;
        }
        multikey_quicksort(in, items, count, 0);
    }
    return items;
}

int sort_keys(table in, sort_items *items, std::int32_t *count)
{
    if (items == nullptr || count == nullptr) {
        return EINVAL;
    }
    sortable *list = sorted(in);
    if (list == nullptr) {
        return ENOMEM;
    }
    // Positions take the place of the words. Those of one spelling ascend: it stands more than once where
    // a hash function that does not fold case has let it.
    constexpr std::uintptr_t none = UINTPTR_MAX;
    sortable *const end = list + in.numkeys();
    for (sortable *item = list; item != end; ++item) {
        item->word = none;
    }
    std::uintptr_t ordinal = 0;
    for (const links &node : nodes(in)) {
        const auto is_before = [in](const sortable &item, const char *key) {
            const int order = std::strcmp(in.key(*item.node), key);
            return order < 0 || (order == 0 && item.word != none);
        };
        *std::lower_bound(list, end, in.key(node), is_before) = {&node, ordinal};
        ++ordinal;
    }
    *items = reinterpret_cast<sort_item *>(list);
    *count = in.numkeys();
    for (sort_item *item = *items; list != end; ++item, ++list) {
        *item = {in.key(*list->node), static_cast<std::int32_t>(list->word)};
    }
    return 0;
}

} // namespace textmaps
