// What the tests of every family share.
#pragma once

#include "allocations.hpp"
#include "walker.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace std::string_literals;

// Walks the container, and fails the test where an invariant does not hold. Whether all do.
template <class Container>
bool expect_consistent(const Container &container)
{
    const walker::Walk walk = walker::walk(container);
    EXPECT_EQ(walk.broken, nullptr) << walk.broken << ": see " << walk.node;
    return walk.broken == nullptr;
}

// What a function writes to a stream.
std::string written(const std::function<void(FILE *)> &write);

// A printf-like function whose context is a FILE.
int print_to_file(void *stream, const char *format, ...);

// One that every write fails on.
std::unique_ptr<FILE, int (*)(FILE *)> unwritable_stream();

// The number that a call makes.
std::size_t allocations_of(const std::function<void()> &call);

// Hash functions of a caller's.
uint32_t hash_all_to_zero(const void *container, const char *key);
uint32_t hash_all_to_maximum(const void *container, const char *key);
uint32_t hash_first_byte(const void *container, const char *key);
uint32_t hash_length(const void *container, const char *key);
// A hash that a test changes behind the container's back.
uint32_t hash_all_to_variable(const void *container, const char *key);
extern uint32_t variable_hash;

// Of the 256 bytes one each, in order.
std::string every_byte();
