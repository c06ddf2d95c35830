// Texts, a buffer to copy them into, and a printf conversion that fails, for the typed tests of every
// family.
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

// A conversion of the tests' own: its format gives "converted" as often as was granted, and then fails
// with EIO. Registering one changes for good what printf makes of other formats, so `run` is run in a
// process of its own.
const char *fallible_format();
void grant_conversions(int count);
void with_fallible_conversion(const std::function<void()> &run);
