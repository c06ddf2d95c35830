// What the tests share that run for both families that keep lists of values.
#pragma once

#include "list_families.hpp"

using Values = std::vector<std::string>;
using Content = std::vector<KeyValues>;
using Sizes = std::vector<std::size_t>;

// For TYPED_TEST: the family's own fixture.
template <class Family>
class ListTest : public Family::Test {
  protected:
    // The content; where values have indexes, these must be the positions.
    Content content() const
    {
        return Family::content(this->map);
    }
};
