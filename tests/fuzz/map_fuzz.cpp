// Operations on maps, chosen by a fuzzer's bytes, against the model of a map.
#include "fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    model::agree_or_abort(model::map_family(), data, size);
    return 0;
}
