// How a pass over many keys is timed.
#pragma once

#include "keys.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// The thread's own processor time: what else the machine does is left out.
class stopwatch {
  public:
    double seconds() const
    {
        return now() - start_;
    }

  private:
    static double now()
    {
        std::timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }

    double start_ = now();
};

// Memory stays with the process, so that no page fault falls into a pass.
inline void keep_memory()
{
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 64 << 20);
}

// Every pass starts from the same heap: freed blocks are joined, which glibc does when a large one
// is asked for.
inline void settle_heap()
{
    constexpr std::size_t large = 1 << 20;
    void *block = std::malloc(large);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

// Passes are long enough for the clock: small tables are taken several at a time.
constexpr std::size_t shortest_pass = 1000;
constexpr std::size_t keys_in_a_run = 200'000;

constexpr std::size_t tables_for(std::size_t keys)
{
    return std::max<std::size_t>(1, shortest_pass / keys);
}

inline void report_keys(benchmark::State &state, std::size_t keys_in_a_pass)
{
    state.counters["keys"] = static_cast<double>(keys_in_a_pass);
}

// Each pass has subjects of its own, made by make(); use(subject) is timed, and goes through `count`
// keys.
template <class Make, class Use>
void time_changes(benchmark::State &state, std::size_t count, Make make, Use use)
{
    const std::size_t passes = tables_for(count);
    for (auto _ : state) {
        settle_heap();
        std::vector<decltype(make())> subjects;
        for (std::size_t i = 0; i < passes; ++i) {
            subjects.push_back(make());
        }
        const stopwatch watch;
        for (auto &subject : subjects) {
            use(subject);
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

// All passes read the same, the first one untimed; read() goes through `count` keys.
template <class Read>
void time_reading(benchmark::State &state, std::size_t count, Read read)
{
    const std::size_t passes = tables_for(count);
    read();
    for (auto _ : state) {
        const stopwatch watch;
        for (std::size_t i = 0; i < passes; ++i) {
            read();
        }
        state.SetIterationTime(watch.seconds());
    }
    report_keys(state, passes * count);
}

// body(state, count) is run as "OPERATION/CANDIDATE/COUNT", with `passes` in a run.
template <class Body>
void add_benchmark(const std::string &operation, const std::string &candidate, std::size_t count,
                   std::size_t passes, Body body)
{
    const auto name = operation + '/' + candidate + '/' + std::to_string(count);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) { body(state, count); })
        ->UseManualTime()
        ->Iterations(static_cast<benchmark::IterationCount>(passes));
}

// With as many passes as a run has time for.
template <class Body>
void add_benchmark(const std::string &operation, const std::string &candidate, std::size_t count,
                   Body body)
{
    const std::size_t keys = count * tables_for(count);
    add_benchmark(operation, candidate, count, std::max<std::size_t>(1, keys_in_a_run / keys),
                  body);
}

// For bodies that look up keys in many orders.
template <class Body>
void add_look_up(const std::string &operation, const std::string &candidate, std::size_t count,
                 Body body)
{
    const std::size_t keys = std::max(count, keys_of_many_orders);
    add_benchmark(operation, candidate, count, std::max<std::size_t>(1, 2 * keys_in_a_run / keys),
                  body);
}

} // namespace bench
