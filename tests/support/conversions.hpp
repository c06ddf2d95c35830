// Watches the conversions of addresses to text. The test program is linked with --wrap for each of
// them: every call from the library and the tests passes through here.
#pragma once

#include <cstdint>

namespace conversions {

// The size of the buffer that the last conversion was given.
std::uint32_t last_size();

// How many there were so far.
unsigned int count();

// The next conversion succeeds, fills its buffer with '7', and ends the text nowhere, as one of a
// platform's own library might.
void leave_next_unended();

} // namespace conversions
