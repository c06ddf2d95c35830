#include "fault_runs.hpp"

std::size_t fail_each_allocation(const std::function<void()> &prepare,
                                 const std::function<int()> &call,
                                 const std::function<void(std::size_t)> &expect_failed)
{
    std::size_t allocations_made = 0;
    for (const auto how : ways_to_fail) {
        for (std::size_t nth = 0;; ++nth) {
            SCOPED_TRACE(nth);
            prepare();
            int result;
            bool failed;
            {
                allocations::Failure no_memory(nth, how);
                result = call();
                failed = no_memory.happened();
            }
            if (!failed) {
                EXPECT_EQ(result, 0);
                allocations_made = nth;
                break;
            }
            EXPECT_EQ(result, ENOMEM);
            expect_failed(nth);
        }
    }
    return allocations_made;
}
