#include "map_model.hpp"

#include <climits>
#include <cstdio>
#include <cstring>

namespace model {

namespace {

// As the keys of map arrays are cut.
std::string cut(const std::string &text)
{
    return text.substr(0, 127);
}

std::string count_key(const std::string &name)
{
    return cut(name + ":max");
}

std::string element_key(const std::string &name, int index)
{
    return name + ':' + std::to_string(index);
}

// No array's count and no element has such a key.
std::string key_of_count_to_come(const std::string &name)
{
    return cut(name) + (name.size() == 121 ? ":max+01" : ":max+1");
}

int sign_of(int number)
{
    return number < 0 ? any_negative : number > 0 ? any_positive : 0;
}

} // namespace

int MapModel::destroy()
{
    if (missing) {
        return EINVAL;
    }
    if (has_buckets()) {
        release();
    }
    return 0;
}

int MapModel::insert(Text key, Text value)
{
    if (!has_buckets() || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    if (find(*key) != nullptr || is_full()) {
        return refused;
    }
    append(*key).value = *value;
    return 0;
}

int MapModel::replace(Text key, Text value)
{
    if (!has_buckets() || key == nullptr || value == nullptr) {
        return EINVAL;
    }
    const MapEntry *old = find(*key);
    if (old == nullptr && is_full()) {
        return refused;
    }
    if (old != nullptr) {
        drop(old);
    }
    append(*key).value = *value;
    return 0;
}

int MapModel::erase(Text key)
{
    if (!has_buckets() || key == nullptr) {
        return EINVAL;
    }
    const MapEntry *entry = find(*key);
    if (entry == nullptr) {
        return ENOENT;
    }
    drop(entry);
    return 0;
}

Found MapModel::index(Text key) const
{
    if (!has_buckets() || key == nullptr) {
        return {EINVAL, nullptr};
    }
    const MapEntry *entry = find(*key);
    return entry == nullptr ? Found{ENOENT, nullptr} : Found{0, &entry->value};
}

int MapModel::cmp(Text key, Text value) const
{
    if (missing && key == nullptr && value == nullptr) {
        return 0;
    }
    const MapEntry *entry = value == nullptr ? nullptr : look_up(key);
    if (entry == nullptr) {
        return -1;
    }
    const std::string &stored = entry->value;
    const int compared =
        std::memcmp(stored.data(), value->data(), std::min(stored.size(), value->size()));
    if (compared != 0 || stored.size() == value->size()) {
        return sign_of(compared);
    }
    return stored.size() > value->size() ? 1 : -1;
}

int MapModel::casecmp(Text key, Text text) const
{
    if (missing && key == nullptr && text == nullptr) {
        return 0;
    }
    const MapEntry *entry = text == nullptr ? nullptr : look_up(key);
    if (entry == nullptr) {
        return -1;
    }
    for (std::size_t i = 0; i < entry->value.size(); ++i) {
        const char given = i < text->size() ? lower((*text)[i]) : '\0';
        const char stored = lower(entry->value[i]);
        if (given != stored) {
            const bool is_less =
                static_cast<unsigned char>(given) < static_cast<unsigned char>(stored);
            return is_less ? any_negative : any_positive;
        }
        if (given == '\0') {
            break;
        }
    }
    return 0;
}

bool MapModel::isequal(const MapModel &other) const
{
    if (missing || other.missing) {
        return missing && other.missing;
    }
    if (numkeys != other.numkeys) {
        return false;
    }
    for (const MapEntry *entry : entries()) {
        const MapEntry *found = other.find(entry->key);
        if (found == nullptr || found->value != entry->value) {
            return false;
        }
    }
    return true;
}

int MapModel::refill(const std::function<int()> &add)
{
    clear();
    const int result = add();
    if (result != 0) {
        clear();
    }
    return result;
}

int MapModel::add_all(const MapModel &source)
{
    int result = 0;
    for (const MapEntry *entry : source.entries()) {
        result = result != 0 ? result : insert(&entry->key, &entry->value);
    }
    return result;
}

int MapModel::intersection(const MapModel &a, const MapModel &b)
{
    if (a.missing || b.missing || !has_buckets() || this == &a || this == &b) {
        return EINVAL;
    }
    return refill([&] {
        int result = 0;
        for (const MapEntry *entry : a.entries()) {
            const MapEntry *match = b.look_up(&entry->key);
            if (result == 0 && match != nullptr && match->value == entry->value) {
                result = insert(&entry->key, &entry->value);
            }
        }
        return result;
    });
}

int MapModel::merge(const MapModel &source)
{
    if (source.missing || missing) {
        return EINVAL;
    }
    if (this == &source || source.numkeys == 0) {
        return 0;
    }
    if (!has_buckets()) {
        return EINVAL;
    }
    int result = 0;
    for (const MapEntry *entry : source.entries()) {
        if (result == 0 && find(entry->key) == nullptr) {
            result = insert(&entry->key, &entry->value);
        }
    }
    return result;
}

int MapModel::copy_dst_hashsize(const MapModel &source)
{
    if (source.missing || !has_buckets() || this == &source) {
        return EINVAL;
    }
    return refill([&] { return add_all(source); });
}

int MapModel::copy(const MapModel &source)
{
    if (source.missing || !has_buckets() || this == &source) {
        return EINVAL;
    }
    return refill([&] {
        const int resized = source.hashsize() == hashsize() ? 0 : sethashsize(source.hashsize());
        return resized != 0 ? resized : add_all(source);
    });
}

int MapModel::store_int(Text key, int number, int (MapModel::*store)(Text, Text))
{
    const std::string text = std::to_string(number) + '\0';
    return (this->*store)(key, &text);
}

int MapModel::array_init(Text name)
{
    if (name == nullptr) {
        return EINVAL;
    }
    const std::string key = count_key(*name);
    return store_int(&key, 0, &MapModel::insert);
}

int MapModel::array_get_max(Text name, int &count) const
{
    if (name == nullptr) {
        return EINVAL;
    }
    const std::string key = count_key(*name);
    const Found found = index(&key);
    if (found.result != 0) {
        return found.result;
    }
    const auto number = number_in(Type::integer, *found.value);
    if (!number) {
        return ERANGE;
    }
    count = static_cast<int>(*number);
    return 0;
}

int MapModel::array_get_key(Text name, int index, int count, std::string &key) const
{
    if (name == nullptr || index < 0) {
        return EINVAL;
    }
    const int result = count < 0 ? array_get_max(name, count) : 0;
    if (result != 0) {
        return result;
    }
    if (index >= count) {
        return EINVAL;
    }
    key = element_key(*name, index);
    return 0;
}

int MapModel::array_append(Text name, std::string &key, bool &count_was_read)
{
    int count = 0;
    const int read = array_get_max(name, count);
    count_was_read = read == 0;
    if (read != 0) {
        return read;
    }
    const std::string scratch = key_of_count_to_come(*name);
    const int stored =
        store_int(&scratch, count == INT_MAX ? INT_MIN : count + 1, &MapModel::replace);
    if (stored != 0) {
        return stored;
    }
    if (count < 0 || count == INT_MAX) {
        return EINVAL;
    }
    key = element_key(*name, count);
    return 0;
}

int MapModel::array_pop(Text name)
{
    int count = 0;
    const int read = array_get_max(name, count);
    if (read != 0) {
        return read;
    }
    if (count < 1) {
        return EINVAL;
    }
    const std::string element = cut(element_key(*name, count - 1));
    erase(&element);
    const std::string key = count_key(*name);
    return store_int(&key, count - 1, &MapModel::replace);
}

int MapModel::array_clear(Text name)
{
    int count = 0;
    const int read = array_get_max(name, count);
    for (int index = 0; read == 0 && index < count; ++index) {
        const std::string element = cut(element_key(*name, index));
        erase(&element);
    }
    return read;
}

std::string MapModel::line(const std::string &key, const MapEntry &entry)
{
    return key + '=' + until_nul(entry.value) + '\n';
}

std::string MapModel::header(const void *address) const
{
    char pointer[32];
    std::snprintf(pointer, sizeof pointer, "%p", address);
    return "map " + std::string(pointer) + " hashsize=" + std::to_string(hashsize()) +
           " numkeys=" + std::to_string(numkeys) + '\n';
}

void MapModel::absorb(MapEntry &, MapEntry &)
{
}

} // namespace model
