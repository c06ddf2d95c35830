// Sequences of operations: applied, and shrunk where library and model differ.
#pragma once

#include "operation.hpp"

#include <string>
#include <vector>

namespace model {

using Sequence = std::vector<Operation>;

// What differed, and the shortest sequence found that shows it. Empty if nothing differed.
struct Finding {
    Sequence sequence;
    std::string difference;

    explicit operator bool() const
    {
        return !difference.empty();
    }
};

// Up to `length` operations on containers of their own.
Sequence choose_sequence(const Family &family, Choices &choices, std::size_t length);

// Applies them. The containers are compared node by node after every `stride` operations and at the
// end. What is found is the sequence up to the operation that showed it. Tracing prints each operation
// before it is applied: of a crash, the last one is the cause.
Finding apply_sequence(const Family &family, const Sequence &sequence, std::size_t stride,
                       bool trace = false);

// Leaves out operations, and simplifies those that stay, until every one of them is needed.
Finding shrunk(const Family &family, const Finding &finding);

// A line for each operation, and the difference.
std::string described(const Family &family, const Finding &finding);

} // namespace model
