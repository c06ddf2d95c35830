#include "allocations.hpp"

#include <cerrno>
#include <cstring>
#include <unordered_map>

extern "C" {
void *__real_malloc(std::size_t size);
void __real_free(void *block);
void *__wrap_malloc(std::size_t size);
void __wrap_free(void *block);
}

namespace {

// With their sizes.
std::unordered_map<void *, std::size_t> &blocks()
{
    static auto *map = new std::unordered_map<void *, std::size_t>;
    return *map;
}

std::vector<std::size_t> logged_sizes;
bool logging = false;

struct {
    bool armed;
    std::size_t countdown;
    allocations::Failure::How how;
    bool happened;
} failure;

bool must_fail()
{
    if (!failure.armed) {
        return false;
    }
    if (failure.countdown > 0) {
        --failure.countdown;
        return false;
    }
    failure.happened = true;
    failure.armed = failure.how == allocations::Failure::for_good;
    return true;
}

} // namespace

void *__wrap_malloc(std::size_t size)
{
    if (logging) {
        logged_sizes.push_back(size);
    }
    if (must_fail()) {
        errno = ENOMEM;
        return nullptr;
    }
    void *block = __real_malloc(size);
    if (block != nullptr) {
        blocks().emplace(block, size);
    }
    return block;
}

void __wrap_free(void *block)
{
    const auto known = blocks().find(block);
    if (known != blocks().end()) {
        // So that a use after the free shows.
        std::memset(block, 0xDD, known->second);
        blocks().erase(known);
    }
    __real_free(block);
}

namespace allocations {

std::size_t live()
{
    return blocks().size();
}

Log::Log()
{
    logged_sizes.clear();
    logging = true;
}

Log::~Log()
{
    logging = false;
}

const std::vector<std::size_t> &Log::sizes() const
{
    return logged_sizes;
}

Failure::Failure(std::size_t nth, How how)
{
    failure = {true, nth, how, false};
}

Failure::~Failure()
{
    failure.armed = false;
}

bool Failure::happened() const
{
    return failure.happened;
}

} // namespace allocations
