// Watches and fails the allocations of the code under test. The test program is linked with
// --wrap=malloc and --wrap=free: every call from the library and the tests passes through here,
// calls from within libc and libstdc++ do not.
#pragma once

#include <cstddef>
#include <vector>

namespace allocations {

// Blocks now allocated.
std::size_t live();

// The sizes asked for during its life, failed requests included.
class Log {
  public:
    Log();
    ~Log();
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    const std::vector<std::size_t> &sizes() const;
};

// Makes the nth allocation (from 0) during its life fail, or that one and all that follow.
class Failure {
  public:
    enum How { once, for_good };
    explicit Failure(std::size_t nth, How how = for_good);
    ~Failure();
    Failure(const Failure &) = delete;
    Failure &operator=(const Failure &) = delete;
    // Whether any allocation was made to fail.
    bool happened() const;
};

} // namespace allocations
