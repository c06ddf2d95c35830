#include "benchmarks.hpp"
#include "measure.hpp"

int main(int argc, char **argv)
{
    bench::keep_memory();
    bench::add_map_benchmarks();
    bench::add_floor_benchmarks();
    bench::add_typed_benchmarks();
    bench::add_list_benchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
