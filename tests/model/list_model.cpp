#include "list_model.hpp"

#include <cstdio>

namespace model {

bool ListEntry::holds(const std::string &data) const
{
    return std::any_of(values.begin(), values.end(),
                       [&](const ListValue &value) { return value.data == data; });
}

void ListModel::start(std::uint32_t size)
{
    TableModel::start(size);
    maxvalues = -1;
    numvalues = 0;
}

int ListModel::clear()
{
    const int result = TableModel::clear();
    if (result == 0) {
        numvalues = 0;
    }
    return result;
}

int ListModel::destroy()
{
    if (!has_buckets()) {
        return EINVAL;
    }
    release();
    return 0;
}

ListEntry *ListModel::entry_of(Text key, int &result)
{
    if (!has_buckets() || key == nullptr) {
        result = EINVAL;
        return nullptr;
    }
    ListEntry *entry = find(*key);
    result = entry == nullptr ? ENOENT : 0;
    return entry;
}

int ListModel::erase(Text key)
{
    int result = 0;
    if (const ListEntry *entry = entry_of(key, result)) {
        numvalues -= static_cast<std::int32_t>(entry->values.size());
        drop(entry);
    }
    return result;
}

int ListModel::setmaxvalues(std::int32_t limit)
{
    return missing ? EINVAL : set_limit(maxvalues, limit, numvalues);
}

Found ListModel::index(Text key, std::uint32_t position) const
{
    if (!has_buckets() || key == nullptr) {
        return {EINVAL, nullptr};
    }
    const ListEntry *entry = find(*key);
    if (entry == nullptr || position >= entry->values.size()) {
        return {ENOENT, nullptr};
    }
    return {0, &entry->values[position].data};
}

bool ListModel::isequal(const ListModel &other) const
{
    if (missing || other.missing) {
        return missing && other.missing;
    }
    if (numkeys != other.numkeys || numvalues != other.numvalues) {
        return false;
    }
    return for_each(*this, [&](Text key, Text value) { return !other.holds(*key, *value); }) == 0;
}

std::string ListModel::line(const std::string &key, const ListEntry &entry)
{
    std::string lines;
    for (std::size_t position = 0; position < entry.values.size(); ++position) {
        lines += ' ' + key + '[' + std::to_string(position) +
                 "]=" + until_nul(entry.values[position].data) + '\n';
    }
    return lines;
}

std::string ListModel::header(const char *name, const void *address) const
{
    char pointer[32];
    std::snprintf(pointer, sizeof pointer, "%p", address);
    return std::string(name) + ' ' + pointer + " hashsize=" + std::to_string(hashsize()) +
           " numkeys=" + std::to_string(numkeys) + " numvalues=" + std::to_string(numvalues) + '\n';
}

int ListModel::append_value(Text key, Text value)
{
    ListEntry *entry = find(*key);
    if (entry == nullptr) {
        if (is_full()) {
            return refused;
        }
        entry = &append(*key);
    }
    ListValue added;
    added.data = *value;
    added.index = static_cast<std::uint32_t>(entry->values.size());
    entry->values.push_back(added);
    ++numvalues;
    return 0;
}

void ListModel::drop_value(ListEntry &entry, std::size_t position)
{
    entry.values.erase(entry.values.begin() + static_cast<std::ptrdiff_t>(position));
    --numvalues;
    if (entry.values.empty()) {
        drop(&entry);
    }
}

bool ListModel::holds(const std::string &key, const std::string &value) const
{
    const ListEntry *entry = look_up(&key);
    return entry != nullptr && entry->holds(value);
}

int ListModel::for_each(const ListModel &source, std::uint32_t bucket_count, const Add &add) const
{
    for (std::size_t bucket = 0; bucket < std::min(bucket_count, source.hashsize()); ++bucket) {
        for (const ListEntry &entry : source.buckets[bucket]) {
            for (const ListValue &value : entry.values) {
                if (const int result = add(&entry.key, &value.data)) {
                    return result;
                }
            }
        }
    }
    return 0;
}

int ListModel::for_each(const ListModel &source, const Add &add) const
{
    return for_each(source, source.hashsize(), add);
}

int ListModel::refill(const std::function<int()> &add)
{
    clear();
    const int result = add();
    if (result != 0) {
        clear();
    }
    return result;
}

int ListModel::refill_resized(const ListModel &source, const std::function<int()> &add)
{
    return refill([&] {
        const int resized = source.hashsize() == hashsize() ? 0 : sethashsize(source.hashsize());
        return resized != 0 ? resized : add();
    });
}

void ListModel::absorb(ListEntry &earlier, ListEntry &later)
{
    for (ListValue &value : later.values) {
        if (earlier.holds(value.data)) {
            --numvalues;
        } else {
            earlier.values.push_back(value);
        }
    }
}

int MultimapModel::insert(Text key, Text value)
{
    if (!has_buckets() || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    return holds(*key, *value) ? refused : append_value(key, value);
}

int MultimapModel::find_value(Text key, Text value, std::uint32_t &position) const
{
    if (!has_buckets() || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    const ListEntry *entry = find(*key);
    for (std::size_t i = 0; entry != nullptr && i < entry->values.size(); ++i) {
        if (entry->values[i].data == *value) {
            position = static_cast<std::uint32_t>(i);
            return 0;
        }
    }
    return ENOENT;
}

int MultimapModel::casefind(Text key, Text text, std::uint32_t &position) const
{
    if (missing || key == nullptr || text == nullptr) {
        return EINVAL;
    }
    const std::string with_nul = *text + '\0';
    const ListEntry *entry = look_up(key);
    for (std::size_t i = 0; entry != nullptr && i < entry->values.size(); ++i) {
        const std::string &data = entry->values[i].data;
        if (data.size() == with_nul.size() && equal_without_case(data, with_nul)) {
            position = static_cast<std::uint32_t>(i);
            return 0;
        }
    }
    return ENOENT;
}

int MultimapModel::delete_value(Text key, Text value)
{
    std::uint32_t position = 0;
    const int result = find_value(key, value, position);
    if (result == 0) {
        drop_value(*find(*key), position);
    }
    return result;
}

int MultimapModel::remove(Text key, std::uint32_t position)
{
    int result = 0;
    ListEntry *entry = entry_of(key, result);
    if (entry == nullptr) {
        return result;
    }
    if (position >= entry->values.size()) {
        return ENOENT;
    }
    drop_value(*entry, position);
    return 0;
}

int MultimapModel::intersection(const MultimapModel &a, const MultimapModel &b)
{
    if (a.missing || b.missing || !has_buckets() || this == &a || this == &b) {
        return EINVAL;
    }
    return refill([&] {
        return for_each(a, [&](Text key, Text value) {
            return b.holds(*key, *value) ? insert(key, value) : 0;
        });
    });
}

int MultimapModel::unite(const MultimapModel &a, const MultimapModel &b)
{
    if (a.missing || b.missing || !has_buckets() || this == &a || this == &b) {
        return EINVAL;
    }
    return refill([&] {
        const int result = for_each(a, [&](Text key, Text value) { return insert(key, value); });
        return result != 0 ? result : add_missing(b);
    });
}

int MultimapModel::merge(const MultimapModel &source)
{
    if (source.missing || missing) {
        return EINVAL;
    }
    if (this == &source || source.numkeys == 0) {
        return 0;
    }
    return has_buckets() ? add_missing(source) : EINVAL;
}

int MultimapModel::add_missing(const MultimapModel &source)
{
    return for_each(
        source, [&](Text key, Text value) { return holds(*key, *value) ? 0 : insert(key, value); });
}

int MultimapModel::copy(const MultimapModel &source)
{
    if (source.missing || !has_buckets() || this == &source) {
        return EINVAL;
    }
    return refill_resized(source, [&] {
        return for_each(source, [&](Text key, Text value) { return insert(key, value); });
    });
}

int ArraymapModel::insert(Text key, Text value)
{
    if (!has_buckets() || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    return append_value(key, value);
}

std::vector<ListValue>::iterator ArraymapModel::at_index(ListEntry &entry, std::uint32_t index)
{
    return std::find_if(entry.values.begin(), entry.values.end(),
                        [index](const ListValue &value) { return value.index == index; });
}

void ArraymapModel::number(ListEntry &entry)
{
    for (std::size_t i = 0; i < entry.values.size(); ++i) {
        entry.values[i].index = static_cast<std::uint32_t>(i);
    }
}

int ArraymapModel::replace(Text key, std::uint32_t index, Text value, std::uint32_t length)
{
    int result = 0;
    ListEntry *entry = entry_of(key, result);
    if (entry == nullptr) {
        return result;
    }
    const auto found = at_index(*entry, index);
    if (found == entry->values.end()) {
        return ENOENT;
    }
    if (value == nullptr && length != 0) {
        return EINVAL;
    }
    found->data = value == nullptr ? "" : *value;
    found->node = nullptr;
    return 0;
}

int ArraymapModel::delete_value(Text key, Text value)
{
    int result = value == nullptr ? EINVAL : 0;
    ListEntry *entry = result == 0 ? entry_of(key, result) : nullptr;
    if (entry == nullptr) {
        return result;
    }
    if (!entry->holds(*value)) {
        return ENOENT;
    }
    for (std::size_t i = entry->values.size(); i-- > 0;) {
        if (entry->values[i].data == *value) {
            const bool is_last = entry->values.size() == 1;
            drop_value(*entry, i);
            if (is_last) {
                return 0;
            }
        }
    }
    number(*entry);
    return 0;
}

int ArraymapModel::remove(Text key, std::uint32_t index)
{
    int result = 0;
    ListEntry *entry = entry_of(key, result);
    if (entry == nullptr) {
        return result;
    }
    const auto found = at_index(*entry, index);
    if (found == entry->values.end()) {
        return ENOENT;
    }
    const bool is_last = entry->values.size() == 1;
    drop_value(*entry, static_cast<std::size_t>(found - entry->values.begin()));
    if (!is_last) {
        number(*entry);
    }
    return 0;
}

int ArraymapModel::intersection(const ArraymapModel &a, const ArraymapModel &b)
{
    if (a.missing || b.missing || !has_buckets() || this == &a || this == &b) {
        return EINVAL;
    }
    return refill([&] {
        return for_each(a, [&](Text key, Text value) {
            return b.holds(*key, *value) ? insert(key, value) : 0;
        });
    });
}

int ArraymapModel::unite(const ArraymapModel &a, const ArraymapModel &b)
{
    if (a.missing || b.missing || !has_buckets() || this == &a || this == &b) {
        return EINVAL;
    }
    return refill([&] {
        const int result = for_each(a, [&](Text key, Text value) { return insert(key, value); });
        if (result != 0) {
            return result;
        }
        return for_each(b, a.hashsize(), [&](Text key, Text value) {
            return holds(*key, *value) ? 0 : insert(key, value);
        });
    });
}

int ArraymapModel::merge(const ArraymapModel &source)
{
    if (source.missing || missing || this == &source) {
        return EINVAL;
    }
    return for_each(source, [&](Text key, Text value) { return insert(key, value); });
}

int ArraymapModel::copy(const ArraymapModel &source)
{
    if (source.missing || !has_buckets() || this == &source) {
        return EINVAL;
    }
    return refill_resized(source, [&] {
        return for_each(source, [&](Text key, Text value) { return insert(key, value); });
    });
}

} // namespace model
