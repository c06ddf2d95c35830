// The model tests must be able to fail: with a fault put between them and the library they find it,
// and shrink what shows it to the few operations that do.
#include "run.hpp"

#include <textmaps/arraymap.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <ostream>

namespace {

enum class Faulty {
    nothing,
    key_limit,
    spelling_of_replaced_key,
    outputs_on_bad_argument,
    rehashing,
    result_of_cut_dump,
    range_check,
    time_on_failure,
    position_of_found_value,
    equal_keys_merged,
    union_into_itself,
    indexes_after_removal,
    length_of_longer_value,
    settings_after_copy,
};

Faulty faulty = Faulty::nothing;

} // namespace

// The linker hands the calls to a library function F to __wrap_F, which finds F as __real_F.
extern "C" {

int __real_map_insert(map_t *map, const char *key, const void *value, uint32_t length);
int __wrap_map_insert(map_t *map, const char *key, const void *value, uint32_t length);
int __wrap_map_insert(map_t *map, const char *key, const void *value, uint32_t length)
{
    const bool raised = faulty == Faulty::key_limit && map != nullptr && map->maxkeys > 0 &&
                        map->maxkeys != INT32_MAX;
    if (raised) {
        ++map->maxkeys;
    }
    const int result = __real_map_insert(map, key, value, length);
    if (raised) {
        --map->maxkeys;
    }
    return result;
}

int __real_map_replace(map_t *map, const char *key, const void *value, uint32_t length);
int __wrap_map_replace(map_t *map, const char *key, const void *value, uint32_t length);
int __wrap_map_replace(map_t *map, const char *key, const void *value, uint32_t length)
{
    const map_entry_t *entry = map_get_entry(map, key);
    const bool keeps = faulty == Faulty::spelling_of_replaced_key && entry != nullptr;
    return __real_map_replace(map, keeps ? entry->key : key, value, length);
}

int __real_map_index(const map_t *map, const char *key, const void **value, uint32_t *length);
int __wrap_map_index(const map_t *map, const char *key, const void **value, uint32_t *length);
int __wrap_map_index(const map_t *map, const char *key, const void **value, uint32_t *length)
{
    const int result = __real_map_index(map, key, value, length);
    if (faulty == Faulty::outputs_on_bad_argument && result == EINVAL && length != nullptr) {
        *length = 0;
    }
    return result;
}

int __real_map_sethashfunc(map_t *map, map_hash_fn function);
int __wrap_map_sethashfunc(map_t *map, map_hash_fn function);
int __wrap_map_sethashfunc(map_t *map, map_hash_fn function)
{
    if (faulty == Faulty::rehashing && map != nullptr) {
        map->hashfunc = function;
        return 0;
    }
    return __real_map_sethashfunc(map, function);
}

uint32_t __real_map_sndump(const map_t *map, char *buffer, uint32_t size);
uint32_t __wrap_map_sndump(const map_t *map, char *buffer, uint32_t size);
uint32_t __wrap_map_sndump(const map_t *map, char *buffer, uint32_t size)
{
    const uint32_t length = __real_map_sndump(map, buffer, size);
    return faulty == Faulty::result_of_cut_dump && length + 1 == size ? size : length;
}

int __real_map_get_uint8(const map_t *map, const char *key, uint8_t *out);
int __wrap_map_get_uint8(const map_t *map, const char *key, uint8_t *out);
int __wrap_map_get_uint8(const map_t *map, const char *key, uint8_t *out)
{
    uint16_t wide = 0;
    if (faulty == Faulty::range_check && out != nullptr && map_get_uint16(map, key, &wide) == 0 &&
        wide > UINT8_MAX) {
        *out = 0;
        return 0;
    }
    return __real_map_get_uint8(map, key, out);
}

int __real_map_get_time(const map_t *map, const char *key, int32_t *out);
int __wrap_map_get_time(const map_t *map, const char *key, int32_t *out);
int __wrap_map_get_time(const map_t *map, const char *key, int32_t *out)
{
    const int32_t before = out == nullptr ? 0 : *out;
    const int result = __real_map_get_time(map, key, out);
    if (faulty == Faulty::time_on_failure && result != 0 && out != nullptr) {
        *out = before;
    }
    return result;
}

int __real_multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                         uint32_t *index);
int __wrap_multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                         uint32_t *index);
int __wrap_multimap_find(const multimap_t *map, const char *key, const void *data, uint32_t len,
                         uint32_t *index)
{
    const int result = __real_multimap_find(map, key, data, len, index);
    if (faulty == Faulty::position_of_found_value && result == 0 && index != nullptr) {
        *index = 0;
    }
    return result;
}

int __real_multimap_setcasekeys(multimap_t *map, uint32_t flag);
int __wrap_multimap_setcasekeys(multimap_t *map, uint32_t flag);
int __wrap_multimap_setcasekeys(multimap_t *map, uint32_t flag)
{
    const int32_t values = map == nullptr ? 0 : map->numvalues;
    const int result = __real_multimap_setcasekeys(map, flag);
    if (faulty == Faulty::equal_keys_merged && map != nullptr) {
        map->numvalues = values;
    }
    return result;
}

int __real_multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst);
int __wrap_multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst);
int __wrap_multimap_union(const multimap_t *a, const multimap_t *b, multimap_t *dst)
{
    if (faulty == Faulty::union_into_itself && a == dst && b != nullptr && dst != nullptr) {
        return multimap_merge(b, dst);
    }
    return __real_multimap_union(a, b, dst);
}

int __real_arraymap_remove(arraymap_t *map, const char *key, uint32_t index);
int __wrap_arraymap_remove(arraymap_t *map, const char *key, uint32_t index);
int __wrap_arraymap_remove(arraymap_t *map, const char *key, uint32_t index)
{
    const std::string text = key == nullptr ? "" : key;
    const int result = __real_arraymap_remove(map, key, index);
    arraymap_value_iter_t values = {};
    if (faulty == Faulty::indexes_after_removal && result == 0 &&
        arraymap_value_first(map, text.c_str(), &values) != nullptr) {
        values.key->values.first->index = index == 0 ? 1 : 0;
    }
    return result;
}

int __real_arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                            uint32_t len);
int __wrap_arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                            uint32_t len);
int __wrap_arraymap_replace(arraymap_t *map, const char *key, uint32_t index, const void *data,
                            uint32_t len)
{
    uint32_t old = len;
    if (faulty == Faulty::length_of_longer_value &&
        arraymap_index(map, key, index, nullptr, &old) == 0) {
        len = std::min(len, old);
    }
    return __real_arraymap_replace(map, key, index, data, len);
}

int __real_arraymap_copy(const arraymap_t *src, arraymap_t *dst);
int __wrap_arraymap_copy(const arraymap_t *src, arraymap_t *dst);
int __wrap_arraymap_copy(const arraymap_t *src, arraymap_t *dst)
{
    const int result = __real_arraymap_copy(src, dst);
    if (faulty == Faulty::settings_after_copy && result == 0) {
        dst->maxkeys = src->maxkeys;
    }
    return result;
}

} // extern "C"

namespace {

// Operations that a shrunk sequence may have.
constexpr std::size_t few = 6;

struct Case {
    const char *name;
    Faulty fault;
    const model::Family &(*family)();
};

std::ostream &operator<<(std::ostream &out, const Case &tested)
{
    return out << tested.name;
}

model::Finding search(const model::Family &family)
{
    model::RandomChoices choices(1);
    model::Finding finding;
    for (int i = 0; i < 50 && !finding; ++i) {
        const model::Sequence sequence = model::choose_sequence(family, choices, 500);
        finding = model::apply_sequence(family, sequence, 16);
    }
    return finding;
}

bool each_is_needed(const model::Family &family, const model::Sequence &sequence)
{
    for (auto left_out = sequence.begin(); left_out != sequence.end(); ++left_out) {
        model::Sequence rest(sequence.begin(), left_out);
        rest.insert(rest.end(), left_out + 1, sequence.end());
        if (model::apply_sequence(family, rest, 1)) {
            return false;
        }
    }
    return true;
}

class FaultsAreFound : public testing::TestWithParam<Case> {
  protected:
    ~FaultsAreFound() override
    {
        faulty = Faulty::nothing;
    }
};

TEST_P(FaultsAreFound, AndShrunk)
{
    const model::Family &family = GetParam().family();

    faulty = GetParam().fault;
    const model::Finding found = search(family);
    ASSERT_TRUE(found);
    const model::Finding shrunk = model::shrunk(family, found);
    const std::string described = model::described(family, shrunk);

    EXPECT_LE(shrunk.sequence.size(), few) << described;
    EXPECT_TRUE(each_is_needed(family, shrunk.sequence)) << described;
    EXPECT_EQ(std::count(described.begin(), described.end(), '\n'),
              static_cast<std::ptrdiff_t>(shrunk.sequence.size()) + 1)
        << described;

    faulty = Faulty::nothing;
    EXPECT_FALSE(model::apply_sequence(family, shrunk.sequence, 1)) << described;
}

INSTANTIATE_TEST_SUITE_P(
    , FaultsAreFound,
    testing::Values(
        Case{"KeyLimit", Faulty::key_limit, model::map_family},
        Case{"SpellingOfReplacedKey", Faulty::spelling_of_replaced_key, model::map_family},
        Case{"OutputsOnBadArgument", Faulty::outputs_on_bad_argument, model::map_family},
        Case{"Rehashing", Faulty::rehashing, model::map_family},
        Case{"ResultOfCutDump", Faulty::result_of_cut_dump, model::map_family},
        Case{"RangeCheck", Faulty::range_check, model::map_family},
        Case{"TimeOnFailure", Faulty::time_on_failure, model::map_family},
        Case{"PositionOfFoundValue", Faulty::position_of_found_value, model::multimap_family},
        Case{"EqualKeysMerged", Faulty::equal_keys_merged, model::multimap_family},
        Case{"UnionIntoItself", Faulty::union_into_itself, model::multimap_family},
        Case{"IndexesAfterRemoval", Faulty::indexes_after_removal, model::arraymap_family},
        Case{"LengthOfLongerValue", Faulty::length_of_longer_value, model::arraymap_family},
        Case{"SettingsAfterCopy", Faulty::settings_after_copy, model::arraymap_family}),
    [](const testing::TestParamInfo<Case> &tested) { return tested.param.name; });

} // namespace
