#pragma once

namespace bench {

void add_map_benchmarks();
void add_floor_benchmarks();
void add_typed_benchmarks();
void add_list_benchmarks();

} // namespace bench
