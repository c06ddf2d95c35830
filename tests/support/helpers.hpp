// What the tests of every family share.
#pragma once

#include "allocations.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

using namespace std::string_literals;

// What a function writes to a stream.
std::string written(const std::function<void(FILE *)> &write);

// A printf-like function whose context is a FILE.
int print_to_file(void *stream, const char *format, ...);

// Hash functions of a caller's.
uint32_t hash_all_to_zero(const void *container, const char *key);
uint32_t hash_first_byte(const void *container, const char *key);
uint32_t hash_length(const void *container, const char *key);
