// Operations on multimaps, chosen by a fuzzer's bytes, against the model of a multimap.
#include "fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    model::agree_or_abort(model::multimap_family(), data, size);
    return 0;
}
