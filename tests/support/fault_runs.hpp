// Calls with each of their allocations failing, once and for good.
#pragma once

#include "helpers.hpp"

constexpr allocations::Failure::How ways_to_fail[] = {allocations::Failure::once,
                                                      allocations::Failure::for_good};

// Calls without memory for the nth allocation, for each nth that there is, and each way: prepare()
// comes before each call, expect_failed(nth) after each that must give 12. Gives their number.
std::size_t fail_each_allocation(const std::function<void()> &prepare,
                                 const std::function<int()> &call,
                                 const std::function<void(std::size_t)> &expect_failed);

// A call that gives 12 and changes nothing if one of its allocations fails, and else 0.
template <class Container>
struct AllocatingCall {
    std::string name;
    std::function<int(Container &)> make;
    std::size_t allocations;
};

// Makes each call on containers of its own, prepared alike: failing, and then with memory again.
template <class Own, class Container, class Prepare>
void expect_to_be_survived(const std::vector<AllocatingCall<Container>> &calls, Prepare prepare)
{
    for (const AllocatingCall<Container> &call : calls) {
        SCOPED_TRACE(call.name);
        for (const auto how : ways_to_fail) {
            for (std::size_t nth = 0; nth < call.allocations; ++nth) {
                Own fresh;
                prepare(*fresh);
                const auto before = state_of(*fresh);
                const std::size_t live = allocations::live();
                {
                    allocations::Failure failure(nth, how);
                    EXPECT_EQ(call.make(*fresh), ENOMEM);
                    EXPECT_TRUE(failure.happened());
                }
                EXPECT_EQ(state_of(*fresh), before);
                EXPECT_EQ(allocations::live(), live) << "leaked";
                // The same call succeeds, and had no further allocation.
                allocations::Failure none(call.allocations);
                EXPECT_EQ(call.make(*fresh), 0);
                EXPECT_FALSE(none.happened());
            }
        }
    }
}

// Runs operation(source, dst), which makes so many allocations, into destinations that leave_something
// has filled: if one fails, the destination must be empty, with its settings, and of use again.
template <class Own, class Container, class Operation, class Leave>
void expect_an_empty_destination(const char *name, const Container &source, Operation operation,
                                 Leave leave_something, std::size_t allocations)
{
    SCOPED_TRACE(name);
    const auto before = state_of(source);
    for (const auto how : ways_to_fail) {
        for (std::size_t nth = 0; nth < allocations; ++nth) {
            Own dst;
            const std::size_t empty = allocations::live();
            leave_something(*dst);
            const Container left = *dst;
            {
                allocations::Failure failure(nth, how);
                EXPECT_EQ(operation(&source, &dst), ENOMEM);
                EXPECT_TRUE(failure.happened());
            }
            EXPECT_EQ(dst->numkeys, 0);
            EXPECT_TRUE(content_of(*dst).empty());
            EXPECT_EQ(allocations::live(), empty) << "leaked";
            EXPECT_EQ(dst->maxkeys, left.maxkeys);
            EXPECT_EQ(dst->casekeys, left.casekeys);
            EXPECT_EQ(dst->hashfunc, left.hashfunc);
            EXPECT_EQ(state_of(source), before);
            EXPECT_EQ(operation(&source, &dst), 0);
            EXPECT_EQ(dst->numkeys, source.numkeys);
        }
    }
    Own dst;
    leave_something(*dst);
    allocations::Failure none(allocations);
    EXPECT_EQ(operation(&source, &dst), 0);
    EXPECT_FALSE(none.happened());
    EXPECT_EQ(dst->numkeys, source.numkeys);
}

// What the dumps and prints of a container give when the array to sort in is not to be had.
template <class Family, class Container>
void expect_fallback(const Container &map, const std::string &dump, const std::string &print)
{
    for (const auto how : ways_to_fail) {
        const std::string dumped = written([&](FILE *stream) {
            allocations::Failure failure(0, how);
            Family::dump(&map, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(dumped, dump);

        std::string buffer(dump.size() + 100, '#');
        {
            allocations::Failure failure(0, how);
            EXPECT_EQ(Family::sndump(&map, buffer.data(), static_cast<uint32_t>(buffer.size())),
                      dump.size());
            EXPECT_TRUE(failure.happened());
        }
        EXPECT_EQ(buffer.c_str(), dump);

        const std::string printed = written([&](FILE *stream) {
            allocations::Failure failure(0, how);
            Family::print(&map, print_to_file, stream);
            EXPECT_TRUE(failure.happened());
        });
        EXPECT_EQ(printed, print);
    }
}
