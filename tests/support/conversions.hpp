// Watches the conversions of addresses to text. The test program is linked with --wrap for each of
// them: every call from the library and the tests passes through here.
#pragma once

#include <cstdint>

namespace conversions {

// The size of the buffer that the last conversion was given.
std::uint32_t last_size();

// How many there were so far.
unsigned int count();

} // namespace conversions
