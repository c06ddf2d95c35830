// The body of a fuzz target: a fuzzer's bytes choose the operations.
#pragma once

#include "operation.hpp"

#include <cstddef>
#include <cstdint>

namespace model {

// Aborts, having printed the operations and what differs, where library and model differ.
void agree_or_abort(const Family &family, const std::uint8_t *bytes, std::size_t size);

} // namespace model
