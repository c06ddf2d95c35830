#pragma once

#include <cstddef>

namespace bench {

// Of the map: numbers of keys, and the table that map_init makes, with chains of 32 and of 1,000 keys, of
// which a sample is looked up.
constexpr std::size_t map_sizes[] = {100, 1'000, 10'000, 100'000, 1'000'000};
constexpr std::size_t default_buckets = 32;
constexpr std::size_t long_chains[] = {32 * default_buckets, 1'000 * default_buckets};
constexpr std::size_t chain_sample = 1'000;
constexpr std::size_t chain_passes = 10;

void add_map_benchmarks();
void add_floor_benchmarks();
void add_typed_benchmarks();
void add_list_benchmarks();

} // namespace bench
