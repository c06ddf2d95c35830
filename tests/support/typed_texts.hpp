// Texts and formats, and a buffer to copy texts into, for the typed tests of every family.
#pragma once

#include "helpers.hpp"

// Text of every kind, its length from none to many pages.
const std::vector<std::string> &texts();

// The bytes that they are stored as.
std::vector<std::string> stored_texts();

// Values with and without NULs, for a reader to copy whole.
std::vector<std::string> values_of_every_kind();

// What a buffer holds before a text is copied into it, and after.
extern const std::string untouched;
std::string filled(const std::string &text);

// A wide text that "%ls" cannot convert in the "C" locale.
const wchar_t *unconvertible();

// A format whose text would be longer than INT_MAX.
const char *too_long_format();
