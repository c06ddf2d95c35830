#include "fuzz.hpp"

#include "run.hpp"

#include <cstdio>
#include <cstdlib>

namespace model {

void agree_or_abort(const Family &family, const std::uint8_t *bytes, std::size_t size)
{
    ByteChoices choices(bytes, size);
    const Sequence sequence = choose_sequence(family, choices, size);
    const Finding finding = apply_sequence(family, sequence, 16);
    if (finding) {
        std::fputs(described(family, shrunk(family, finding)).c_str(), stderr);
        std::abort();
    }
}

} // namespace model
