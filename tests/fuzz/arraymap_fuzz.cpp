// Operations on arraymaps, chosen by a fuzzer's bytes, against the model of an arraymap.
#include "fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    model::agree_or_abort(model::arraymap_family(), data, size);
    return 0;
}
